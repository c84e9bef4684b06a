// Whole jobs of several pages: inherited settings, pages like the first, skipped pages, bands, and
// what is sent once for all of them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "PageJob.h"

namespace {

const FileForm kInkGrows = {'I', 0, 0, false};
constexpr const char* kStart = "~%-12345X~%0A~E";
constexpr const char* kEnd = "~$E~%-12345X";
// Black of 8 bits, one plane, colour space 5.
const Bytes kBlackBlock = {5, 1, 0, 0, 0, 0, 8, 0, 0, 0};

class PagesTest : public PageJob {
 protected:
  /// A page of one black dot of a level.
  std::string blackPage(uint8_t level, const std::string& moreLines = "") {
    return separations("5", 1, 0, {{"K", 8, plain(1, 1, 8, level), kInkGrows}}, moreLines);
  }
  /// What such a page sends, without its configuration block.
  static std::string blackRows(uint8_t level) {
    return sent({"~*t600R", "~*r1A", "~*b0M", "~*b1W", Bytes{level}, "~*rC"});
  }
};

TEST_F(PagesTest, TheEndOfPageAndTheEndOfTheJobAreSentOnce) {
  const JobRun job = run({"0"}, blackPage(1) + blackPage(2) + blackPage(3));
  EXPECT_EQ(job.code, 0);
  EXPECT_EQ(visible(job.raster), sent({kStart, "~$v10W", kBlackBlock}) + blackRows(1) +
                                     blackRows(2) + blackRows(3) + sent({kEnd}));
}

TEST_F(PagesTest, APageWithOnlyFilesInheritsTheFormatOfTheFirst) {
  image("second.tif", {plain(8, 1, 8, 130)}, kInkGrows);
  const std::string first =
      separations("5", 1, 2, {{"K", 4, plain(8, 1, 8, 250), kInkGrows, "5", 5}});
  const JobRun job = run({"0"}, first + "[Image]\nImageFileK=\"second.tif\"\n");
  // 250 is level 4 of 5 and 130 level 2.
  EXPECT_EQ(visible(job.raster),
            sent({kStart, "~$v10W", Bytes{5, 1, 0, 0, 0, 0, 4, 0, 0, 0},  //
                  "~*t600R", "~*r1A", "~*b2M", "~*b2W", Bytes{0xFD, 0x44}, "~*rC", "~*t600R",
                  "~*r1A", "~*b2M", "~*b2W", Bytes{0xFD, 0x22}, "~*rC", kEnd}));
}

TEST_F(PagesTest, APageWithOneSettingOfItsOwnInheritsNone) {
  image("second.tif", {plain(1, 1, 8, 130)}, kInkGrows);
  // Without planes and colour space the section makes no sense of its own.
  const JobRun job =
      run({"0"}, blackPage(1) + "[Image]\nImageFileK=\"second.tif\"\nPixelDepthK=8\n");
  EXPECT_EQ(job.code, -26);
}

TEST_F(PagesTest, OnlyAPageThatDiffersFromTheFirstSendsItsConfiguration) {
  struct Case {
    const char* name;
    std::string section;
    Bytes block;  // empty: none
  };
  const Samples dot = plain(1, 1, 8, 9);
  const auto one = [&](const char* colorSpace, int compression, int depth, const char* level) {
    return separations(colorSpace, 1, compression, {{"K", depth, dot, kInkGrows, level}});
  };
  const Case kCases[] = {
      {"the same settings", one("5", 0, 8, ""), {}},
      {"another compression", one("5", 2, 8, ""), {}},
      {"another table", one("5", 0, 8, "3"), {}},
      {"another depth", one("5", 0, 4, ""), {5, 1, 0, 0, 0, 0, 4, 0, 0, 0}},
      {"another colour space", one("4", 0, 8, ""), {4, 1, 5, 8, 6, 0, 7, 0, 8, 0}},
      {"another ink",
       separations("5", 1, 0, {{"C", 8, dot, kInkGrows}}),
       {5, 1, 5, 0, 6, 8, 7, 0, 8, 0}},
      {"an ink of 0 bits more",
       one("5", 0, 8, "") + "PixelDepthC=0\n",
       {5, 1, 5, 8, 6, 0, 7, 0, 8, 0}},
      {"more planes",
       separations("5", 4, 0,
                   {{"K", 8, dot, kInkGrows},
                    {"C", 8, dot, kInkGrows},
                    {"M", 8, dot, kInkGrows},
                    {"Y", 8, dot, kInkGrows}}),
       {5, 4, 5, 8, 6, 8, 7, 8, 8, 8}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const bool many = c.block.size() > 1 && c.block[1] == 4;
    const PageShape shape = {std::vector<size_t>(many ? 4 : 1, 1), 1, 0, false};
    // The third page is like the first again.
    const DecodedStream decoded = pages({"0"}, blackPage(9) + c.section + blackPage(9),
                                        {{{1}, 1, 0, false}, shape, {{1}, 1, 0, false}});
    EXPECT_EQ(visible(decoded.pages[0].configuration), visible(kBlackBlock));
    EXPECT_EQ(visible(decoded.pages[1].configuration), visible(c.block));
    EXPECT_EQ(visible(decoded.pages[2].configuration), "");
  }
}

TEST_F(PagesTest, APageWhoseImageCannotBeOpenedIsSkipped) {
  // Present, but of a kind that is not read.
  folder.write("page.bmp", "BM");
  const std::string skipped =
      "[Image]\nColorSpace=5\nCompressionMode=0\nNumOfPlanes=1\nPixelDepthK=8\n"
      "ImageFileK=\"page.bmp\"\nStartingPositionX=7\n";
  const std::string last = sent({kEnd});
  const JobRun middle = run({"0"}, blackPage(1) + skipped + blackPage(3));
  EXPECT_EQ(visible(middle.raster),
            sent({kStart, "~$v10W", kBlackBlock}) + blackRows(1) + blackRows(3) + last);
  EXPECT_EQ(middle.out.substr(middle.out.size() - 6), "done.\n");
  // The block is the first page's, which was skipped; the others are like it.
  const JobRun first = run({"0"}, skipped + blackPage(2));
  EXPECT_EQ(visible(first.raster), sent({kStart}) + blackRows(2) + last);
  const JobRun only = run({"0"}, skipped);
  EXPECT_EQ(only.code, 0);
  EXPECT_EQ(visible(only.raster), sent({kStart, kEnd}));
  EXPECT_EQ(only.err, "");
}

TEST_F(PagesTest, SevenHundredRowsComeInBandsOf300And300And100) {
  const Samples samples = drawn(3, 700, 8, [](uint32_t x, uint32_t y) { return 1 + (x + y) % 7; });
  const std::string section = separations("5", 1, 256, {{"K", 8, samples, kInkGrows}});
  const auto want = std::vector<std::vector<Bytes>>{inkRows(samples, 0, 8, kLevelsByDepth)};
  const DecodedStream decoded = pages({"0"}, section, {shapeOf(want, 0)});
  EXPECT_EQ(firstDifference(decoded.pages[0].rows, want), "");
  // Each band starts with a row that is packed for sure, and every difference is given up: the
  // compression changes twice for each row that is not the first of a band.
  EXPECT_EQ(decoded.pages[0].methodChanges, 2 * (299 + 299 + 99));
}

TEST_F(PagesTest, APageWithoutRowsStillHasItsRasterMode) {
  const std::string empty = separations("5", 1, 0, {{"K", 8, plain(5, 0, 8, 0)}});
  const JobRun job = run({"0"}, empty + blackPage(4));
  EXPECT_EQ(visible(job.raster),
            sent({kStart, "~$v10W", kBlackBlock, "~*t600R", "~*r1A", "~*b0M", "~*rC"}) +
                blackRows(4) + sent({kEnd}));
}

TEST_F(PagesTest, BlankRowsAtTheEndOfAPageAreNotCarriedToTheNext) {
  const Samples fading = drawn(1, 5, 8, [](uint32_t, uint32_t y) { return y == 0 ? 9 : 0; });
  const std::string first = separations("5", 1, 0, {{"K", 8, fading, kInkGrows}});
  const JobRun job = run({"0"}, first + blackPage(4));
  EXPECT_EQ(visible(job.raster),
            sent({kStart, "~$v10W", kBlackBlock}) + blackRows(9) + blackRows(4) + sent({kEnd}));
}

TEST_F(PagesTest, TheFirstRowOfEveryPageIsSentWhole) {
  const Samples rows = plain(4, 2, 8, 9);
  const std::string page = separations("5", 1, 3, {{"K", 8, rows, kInkGrows}});
  const std::string one =
      sent({"~*t600R", "~*r1A", "~*b3M", "~*b0M", "~*b4W", Bytes(4, 9), "~*b3M", "~*b0W", "~*rC"});
  const JobRun job = run({"0"}, page + page);
  EXPECT_EQ(visible(job.raster), sent({kStart, "~$v10W", kBlackBlock}) + one + one + sent({kEnd}));
}

TEST_F(PagesTest, TableFilesAreSentOnceInFrontOfAllPages) {
  folder.write("tables/a", "first table");
  folder.write("tables/b", "");
  JobSettings settings{"0"};
  settings.tables = {"tables/a", "tables\\b"};
  const JobRun job = run(settings, blackPage(1) + blackPage(2));
  EXPECT_EQ(visible(job.raster),
            sent({kStart, "~$b11W", "first table", "~$b0W", "~$v10W", kBlackBlock}) + blackRows(1) +
                blackRows(2) + sent({kEnd}));
}

TEST_F(PagesTest, ManyPagesOfDifferentModesFollowOneAnother) {
  std::string sections;
  std::vector<PageShape> shapes;
  std::vector<std::vector<std::vector<Bytes>>> wants;
  const int kCompressions[] = {0, 2, 3, 4, 256};
  for (uint32_t page = 0; page < 20; ++page) {
    std::vector<Separation> inks;
    const bool black = page % 3 == 0;
    for (const char* ink : {"K", "C", "M", "Y"}) {
      inks.push_back({ink, 2, mixed(10 + page, 5 + page, 8, 0, page), kInkGrows});
      if (black) break;
    }
    sections += separations(black ? "5" : "3", black ? 1 : 4, kCompressions[page % 5], inks);
    wants.push_back(sentRows(inks, 4));
    shapes.push_back(shapeOf(wants.back(), 0));
  }
  const DecodedStream decoded = pages({"500"}, sections, shapes);
  for (size_t page = 0; page < wants.size(); ++page)
    EXPECT_EQ(firstDifference(decoded.pages[page].rows, wants[page]), "") << "page " << page;
  EXPECT_EQ(decoded.endsOfPage, 1);
}

TEST_F(PagesTest, OneJobAfterAnotherLeavesNothingBehind) {
  const std::string section = blackPage(1) + blackPage(2);
  const Bytes alone = run({"0"}, section).file;
  run({"16"}, separations("3", 4, 3,
                          {{"K", 8, mixed(9, 9, 8, 0, 1), kInkGrows},
                           {"C", 8, mixed(9, 9, 8, 0, 2), kInkGrows},
                           {"M", 8, mixed(9, 9, 8, 0, 3), kInkGrows},
                           {"Y", 8, mixed(9, 9, 8, 0, 4), kInkGrows}}));
  EXPECT_EQ(run({"0"}, section).file, alone);
}

TEST_F(PagesTest, AJobAfterOneThatFailedInsideAPageIsAsGoodAsEver) {
  const std::string section = separations("5", 1, 2, {{"K", 8, mixed(50, 50, 8, 0, 3), kInkGrows}});
  const Bytes alone = run({"16"}, section).file;
  const std::string kept = folder.text("sd.xml");
  // Without the template the first full buffer fails, in the middle of the page's opening, when the
  // working memory of the last page is already given back.
  std::filesystem::remove(folder.path("sd.xml"));
  const JobRun failed = run({"16"}, section);
  EXPECT_EQ(failed.code, -59);
  folder.write("sd.xml", kept);
  EXPECT_EQ(run({"16"}, section).file, alone);
}

}  // namespace
