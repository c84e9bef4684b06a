// Tests of drawing pages: which pictures there are and what they are called, their pixels at full
// and at smaller size, what is refused, and what is left when drawing ends early.
#include "PageRenderer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "PngReader.h"
#include "ReadError.h"
#include "TempFolder.h"

namespace {

using jobreader::Command;
using jobreader::FileError;
using jobreader::Ink;
using jobreader::JobSummary;
using jobreader::PageSummary;
using jobreader::PlaneFormat;
using jobreader::PlaneRow;
using jobrender::fullColour;
using jobrender::PageRenderer;
using jobrender::Picture;
using jobrender::planPages;
using jobrender::RenderOptions;
using jobrender::Rgb;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uint8_t kLight = 0xFF;

PlaneFormat plane(Ink ink, int depth, uint32_t width) {
  PlaneFormat format;
  format.ink = ink;
  format.depth = depth;
  format.width = width;
  const jobreader::InkInfo* const info = jobreader::inkInfo(ink);
  format.name = info != nullptr ? info->name : "plane 1";
  return format;
}

PageSummary page(const std::vector<PlaneFormat>& planes, uint64_t height, uint8_t blank = 0) {
  PageSummary summary;
  summary.start.number = 1;
  summary.start.resolutionH = 600;
  summary.start.resolutionV = 300;
  summary.start.format.planes = planes;
  summary.start.format.height = height;
  summary.start.format.blank = blank;
  summary.rows = height;
  for (const PlaneFormat& format : planes) summary.planes.emplace_back().format = format;
  return summary;
}

JobSummary job(std::vector<PageSummary> pages) {
  JobSummary summary;
  summary.pages = std::move(pages);
  for (size_t i = 0; i < summary.pages.size(); ++i) summary.pages[i].start.number = i + 1;
  return summary;
}

// Draws one job into a fresh folder, as far as the test tells it rows.
class Drawing {
 public:
  explicit Drawing(JobSummary summary, RenderOptions options = {})
      : summary_(std::move(summary)), options_(std::move(options)) {
    options_.folder = folder_.path();
    renderer_.emplace(planPages(summary_, options_), options_);
  }

  Drawing& begin(size_t number = 1) {
    renderer_->beginPage(summary_.pages.at(number - 1).start);
    next_ = 0;
    return *this;
  }
  Drawing& row(const std::vector<Bytes>& planes) {
    std::vector<PlaneRow> rows(planes.size());
    for (size_t i = 0; i < planes.size(); ++i) rows[i].bytes = planes[i];
    renderer_->row(next_++, rows);
    return *this;
  }
  Drawing& blank(uint64_t count) {
    renderer_->blankRows(next_, count, Command{});
    next_ += count;
    return *this;
  }
  Drawing& end() {
    renderer_->endPage({});
    return *this;
  }
  void giveUp() { renderer_.reset(); }

  [[nodiscard]] const TempFolder& folder() const { return folder_; }
  [[nodiscard]] const std::vector<Picture>& pictures() const { return renderer_->pictures(); }
  [[nodiscard]] PngPicture png(const std::string& name) const {
    return readPng(folder_.path(name));
  }
  [[nodiscard]] Bytes pixels(const std::string& name) const { return png(name).pixels; }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  TempFolder folder_;
  JobSummary summary_;
  RenderOptions options_;
  std::optional<PageRenderer> renderer_;
  uint64_t next_ = 0;
};

std::string refusalOf(const JobSummary& summary, const RenderOptions& options = {}) {
  try {
    planPages(summary, options);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "nothing was refused";
}

RenderOptions scaledBy(double scale) {
  RenderOptions options;
  options.scale = scale;
  return options;
}

RenderOptions inks(std::set<std::string> names) {
  RenderOptions options;
  options.inks = std::move(names);
  return options;
}

Bytes bytesOf(const std::vector<Rgb>& colours) {
  Bytes bytes;
  for (const Rgb& colour : colours)
    bytes.insert(bytes.end(), {colour.red, colour.green, colour.blue});
  return bytes;
}

const std::vector<PlaneFormat> kBlackAndCyan = {plane(Ink::K, 2, 5), plane(Ink::C, 2, 5)};

// Pictures and pixels -----------------------------------------------------------------------------

TEST(PageRenderer, DrawsEachInkAndAllTogether) {
  Drawing drawing(job({page(kBlackAndCyan, 2)}));
  drawing.begin().row({{0x1B, 0x00}, {0x00, 0x00}}).row({{0x00, 0x00}, {0x00, 0xC0}}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{255, 170, 85, 0, 255, 255, 255, 255, 255, 255}));
  EXPECT_EQ(drawing.pixels("page-1-C.png"),
            (Bytes{255, 255, 255, 255, 255, 255, 255, 255, 255, 0}));
  const Bytes all = drawing.pixels("page-1.png");
  ASSERT_EQ(all.size(), 30U);
  EXPECT_EQ(Bytes(all.begin() + 9, all.begin() + 12), bytesOf({fullColour(Ink::K, false)}));
  EXPECT_EQ(Bytes(all.begin() + 12, all.begin() + 27), Bytes(15, 255));
  EXPECT_EQ(Bytes(all.begin() + 27, all.end()), bytesOf({fullColour(Ink::C, false)}));
}

TEST(PageRenderer, ListsThePicturesInOrderOfPageAndPlane) {
  const PageSummary blank = page(kBlackAndCyan, 1);
  Drawing drawing(job({blank, blank}));
  drawing.begin(1).end().begin(2).end();
  std::vector<std::string> list;
  for (const Picture& picture : drawing.pictures()) {
    EXPECT_EQ(picture.width, 5U);
    EXPECT_EQ(picture.height, 1U);
    list.push_back(std::to_string(picture.page) + " " + picture.ink + " " +
                   std::filesystem::path(picture.path).filename().string());
  }
  EXPECT_THAT(list, ElementsAre("1 K page-1-K.png", "1 C page-1-C.png", "1 composite page-1.png",
                                "2 K page-2-K.png", "2 C page-2-C.png", "2 composite page-2.png"));
}

TEST(PageRenderer, KeepsTheDepthOfAPlaneAtFullSize) {
  const std::vector<PlaneFormat> planes = {plane(Ink::PBK, 1, 9), plane(Ink::C, 4, 9),
                                           plane(Ink::M, 8, 9), plane(Ink::Y, 12, 9)};
  Drawing drawing(job({page(planes, 1)}));
  drawing.begin().row({{0x80}, {0xF0}, {0xFF}, {0xFF, 0xF0}}).end();
  EXPECT_EQ(drawing.png("page-1-PBK.png").bitDepth, 1);
  EXPECT_EQ(drawing.png("page-1-C.png").bitDepth, 4);
  EXPECT_EQ(drawing.png("page-1-M.png").bitDepth, 8);
  EXPECT_EQ(drawing.png("page-1-Y.png").bitDepth, 8);
  for (const char* name : {"page-1-PBK.png", "page-1-C.png", "page-1-M.png", "page-1-Y.png"})
    EXPECT_EQ(drawing.pixels(name), (Bytes{0, 255, 255, 255, 255, 255, 255, 255, 255})) << name;
}

TEST(PageRenderer, StretchesTheLevelsInUse) {
  PlaneFormat black = plane(Ink::K, 2, 3);
  black.levels = 3;
  Drawing drawing(job({page({black}, 1)}));
  drawing.begin().row({{0x18}}).end();
  EXPECT_EQ(drawing.png("page-1-K.png").bitDepth, 8);
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{255, 127, 0}));
}

TEST(PageRenderer, DrawsWideRowsWithoutASeam) {
  constexpr uint32_t kWidth = 9001;
  Drawing drawing(job({page({plane(Ink::K, 10, kWidth), plane(Ink::C, 1, kWidth)}, 1)}));
  const Bytes black((kWidth * 10 + 7) / 8, 0xFF);
  drawing.begin().row({black, {}}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), Bytes(kWidth, 0));
  EXPECT_EQ(drawing.pixels("page-1-C.png"), Bytes(kWidth, 255));
  EXPECT_EQ(drawing.pixels("page-1.png"),
            bytesOf(std::vector<Rgb>(kWidth, fullColour(Ink::K, false))));
}

TEST(PageRenderer, WhatIsNotSentIsPaper) {
  Drawing drawing(job({page({plane(Ink::K, 8, 3)}, 5)}));
  drawing.begin().row({{0}}).blank(1).row({{0xFF}}).row({}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{255, 255, 255,  //
                                                   255, 255, 255,  //
                                                   0, 255, 255,    //
                                                   255, 255, 255,  //
                                                   255, 255, 255}));
}

TEST(PageRenderer, LeavesOutRowsBehindThePage) {
  Drawing drawing(job({page({plane(Ink::K, 8, 1)}, 2)}));
  drawing.begin().row({{1}}).blank(5).row({{2}}).row({{3}}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{254, 255}));
}

TEST(PageRenderer, DrawsAPageWhoseSizeOnlyItsRowsTell) {
  PageSummary summary = page({plane(Ink::K, 8, 0)}, 0);
  summary.rows = 2;
  summary.planes[0].pixels = 3;
  Drawing drawing(job({summary}));
  drawing.begin().row({{0xFF}}).row({{0, 0, 0xFF}}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{0, 255, 255, 255, 255, 0}));
}

TEST(PageRenderer, RedGreenAndBlueLightMakeAPictureAsTheyAre) {
  const std::vector<PlaneFormat> planes = {plane(Ink::R, 8, 2), plane(Ink::G, 8, 2),
                                           plane(Ink::B, 8, 2)};
  Drawing drawing(job({page(planes, 2, kLight)}));
  drawing.begin().row({{1, 2}, {30, 40}, {200}}).end();
  EXPECT_EQ(drawing.pixels("page-1.png"),
            (Bytes{1, 30, 200, 2, 40, 255, 255, 255, 255, 255, 255, 255}));
  EXPECT_EQ(drawing.pixels("page-1-G.png"), (Bytes{30, 40, 255, 255}));
}

TEST(PageRenderer, DeepLightIsReadFromWords) {
  std::vector<PlaneFormat> planes = {plane(Ink::R, 10, 2), plane(Ink::G, 10, 2),
                                     plane(Ink::B, 10, 2)};
  for (PlaneFormat& format : planes) format.halves = true;
  Drawing drawing(job({page(planes, 1, kLight)}));
  drawing.begin()
      .row({{0xFC, 0x00, 0xFF, 0xFF}, {0xFD, 0x55, 0xFF, 0xFF}, {0xFE, 0xAA, 0xFC, 0x00}})
      .end();
  EXPECT_EQ(drawing.pixels("page-1.png"), (Bytes{0, 85, 170, 255, 255, 0}));
}

TEST(PageRenderer, BlackLightIsAGrayPicture) {
  Drawing drawing(job({page({plane(Ink::K, 8, 3)}, 1, kLight)}));
  drawing.begin().row({{0, 100}}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{0, 100, 255}));
  EXPECT_EQ(drawing.pixels("page-1.png"), (Bytes{0, 0, 0, 100, 100, 100, 255, 255, 255}));
}

TEST(PageRenderer, CoatingsShowInTheCompositeWhenAskedFor) {
  const JobSummary summary = job({page({plane(Ink::CO, 8, 1)}, 1)});
  RenderOptions options;
  for (const bool coatings : {false, true}) {
    options.coatings = coatings;
    Drawing drawing(summary, options);
    drawing.begin().row({{0xFF}}).end();
    EXPECT_EQ(drawing.pixels("page-1-CO.png"), Bytes{0});
    EXPECT_EQ(drawing.pixels("page-1.png"),
              bytesOf({coatings ? fullColour(Ink::CO, false) : Rgb{}}));
  }
}

// Size --------------------------------------------------------------------------------------------

TEST(PageRenderer, HalfAPageIsTheMeanOfItsPixels) {
  Drawing drawing(job({page({plane(Ink::K, 1, 4)}, 4)}), scaledBy(0.5));
  drawing.begin().row({{0x80}}).row({{0xC0}}).row({{0x00}}).row({{0x10}}).end();
  const PngPicture black = drawing.png("page-1-K.png");
  EXPECT_EQ(black.bitDepth, 8);
  EXPECT_EQ(black.pixels, (Bytes{64, 255, 255, 191}));
}

TEST(PageRenderer, TheCompositeIsAMeanOfColours) {
  // Black beside cyan: the mean of the mixed tones would be darker.
  const std::vector<PlaneFormat> planes = {plane(Ink::K, 1, 2), plane(Ink::C, 1, 2)};
  Drawing drawing(job({page(planes, 1)}), scaledBy(0.5));
  drawing.begin().row({{0x80}, {0x40}}).end();
  const Rgb black = fullColour(Ink::K, false);
  const Rgb cyan = fullColour(Ink::C, false);
  const auto mean = [](uint8_t a, uint8_t b) { return static_cast<uint8_t>((a + b + 1) / 2); };
  EXPECT_EQ(drawing.pixels("page-1.png"),
            (Bytes{mean(black.red, cyan.red), mean(black.green, cyan.green),
                   mean(black.blue, cyan.blue)}));
}

TEST(PageRenderer, RoundsSidesUp) {
  struct Case {
    const char* name;
    double scale;
    uint32_t width, height, scaledWidth, scaledHeight;
  };
  const Case cases[] = {
      {"thirds of odd sides", 1.0 / 3, 7, 5, 3, 2},
      {"thirds of whole sides", 1.0 / 3, 9, 3, 3, 1},
      {"halves of odd sides", 0.5, 7, 1, 4, 1},
      {"a scale that is a little more", 0.07, 100, 200, 7, 14},
      {"never nothing", 1e-9, 7, 5, 1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Drawing drawing(job({page({plane(Ink::K, 8, c.width)}, c.height)}), scaledBy(c.scale));
    drawing.begin().row({Bytes(c.width, 0xFF)}).end();
    const PngPicture picture = drawing.png("page-1-K.png");
    EXPECT_EQ(picture.width, c.scaledWidth);
    EXPECT_EQ(picture.height, c.scaledHeight);
  }
}

TEST(PageRenderer, ThirdsOfOddSidesCountCutPixelsByTheirPart) {
  // Three columns of 7/3 pixels, two rows of 5/2: the first column takes a third of pixel 2.
  Drawing drawing(job({page({plane(Ink::K, 8, 7)}, 5)}), scaledBy(1.0 / 3));
  const Bytes row = {0, 0, 210};
  drawing.begin().row({row}).row({row}).row({row}).end();
  // Column 0: 210 * (1/3) / (7/3) = 30. Column 1: 210 * (2/3) / (7/3) = 60. Row 1 is a fifth of it.
  EXPECT_EQ(drawing.pixels("page-1-K.png"), (Bytes{225, 195, 255, 249, 243, 255}));
}

TEST(PageRenderer, FitsTheLongerSide) {
  RenderOptions options;
  options.maxPixels = 10;
  Drawing drawing(job({page({plane(Ink::K, 8, 30)}, 7), page({plane(Ink::K, 8, 3)}, 7)}), options);
  drawing.begin(1).end().begin(2).end();
  EXPECT_EQ(drawing.png("page-1.png").width, 10U);
  EXPECT_EQ(drawing.png("page-1.png").height, 3U);
  EXPECT_EQ(drawing.png("page-2.png").width, 3U);
  EXPECT_EQ(drawing.png("page-2.png").height, 7U);
}

TEST(PageRenderer, SaysTheSizeOnPaper) {
  const JobSummary summary = job({page({plane(Ink::K, 8, 4)}, 4)});
  Drawing full(summary);
  full.begin().end();
  EXPECT_EQ(full.png("page-1.png").xPixelsPerMetre, 23622U);
  EXPECT_EQ(full.png("page-1.png").yPixelsPerMetre, 11811U);
  Drawing half(summary, scaledBy(0.5));
  half.begin().end();
  EXPECT_EQ(half.png("page-1-K.png").xPixelsPerMetre, 11811U);
  EXPECT_EQ(half.png("page-1-K.png").yPixelsPerMetre, 5906U);
}

TEST(PageRenderer, SaysNoSizeWithoutAResolution) {
  PageSummary summary = page({plane(Ink::K, 8, 1)}, 1);
  summary.start.resolutionH = -600;
  Drawing drawing(job({summary}));
  drawing.begin().end();
  EXPECT_EQ(drawing.png("page-1.png").xPixelsPerMetre, 0U);
}

TEST(PageRenderer, TakesBillionsOfBlankRowsAtOnce) {
  constexpr uint64_t kRun = uint64_t{1} << 31;
  RenderOptions options;
  options.maxPixels = 100;
  Drawing drawing(job({page(kBlackAndCyan, 3 * kRun + 1)}), options);
  drawing.begin().blank(kRun).blank(kRun).blank(kRun).row({{0xFF}, {}}).end();
  EXPECT_EQ(drawing.pixels("page-1-K.png"), Bytes(100, 255));
  EXPECT_EQ(drawing.png("page-1.png").height, 100U);
}

TEST(PageRenderer, RefusesSidesThatArePastAllPictures) {
  const JobSummary summary = job({page({plane(Ink::K, 1, 8)}, 5000000)});
  EXPECT_THAT(refusalOf(summary), AllOf(HasSubstr("page 1: 8 x 5000000"), HasSubstr("--max-size")));
  EXPECT_THAT(refusalOf(summary, scaledBy(0.21)), HasSubstr("--max-size"));
  EXPECT_EQ(planPages(summary, scaledBy(0.2)).at(0).pictures.at(0).format.height, 1000000U);
  RenderOptions options;
  options.maxPixels = 1000000;
  EXPECT_EQ(planPages(summary, options).at(0).pictures.at(0).format.height, 1000000U);
}

TEST(PageRenderer, RefusesScalesThatAreNone) {
  const JobSummary summary = job({page({plane(Ink::K, 1, 8)}, 1)});
  for (const double scale : {0.0, -1.0, 1.001, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_THAT(refusalOf(summary, scaledBy(scale)), HasSubstr("scale")) << scale;
  RenderOptions options;
  options.maxPixels = 0;
  EXPECT_THAT(refusalOf(summary, options), HasSubstr("no pixels"));
}

// Selection ---------------------------------------------------------------------------------------

TEST(PageRenderer, DrawsThePagesThatAreAskedFor) {
  const PageSummary blank = page({plane(Ink::K, 1, 8)}, 1);
  RenderOptions options;
  options.pages = {1, 3};
  Drawing drawing(job({blank, blank, blank}), options);
  for (size_t number = 1; number <= 3; ++number) drawing.begin(number).row({{0xFF}}).end();
  EXPECT_THAT(drawing.names(),
              ElementsAre("page-1-K.png", "page-1.png", "page-3-K.png", "page-3.png"));
}

TEST(PageRenderer, DrawsTheInksThatAreAskedFor) {
  Drawing ink(job({page(kBlackAndCyan, 1)}), inks({"C"}));
  ink.begin().row({{0xFF}, {0xC0}}).end();
  EXPECT_THAT(ink.names(), ElementsAre("page-1-C.png"));
  EXPECT_EQ(ink.pixels("page-1-C.png"), (Bytes{0, 255, 255, 255, 255}));

  Drawing composite(job({page(kBlackAndCyan, 1)}), inks({"composite"}));
  composite.begin().row({{}, {0xC0}}).end();
  EXPECT_THAT(composite.names(), ElementsAre("page-1.png"));
}

TEST(PageRenderer, PassesOverPagesWithoutTheInk) {
  Drawing drawing(job({page({plane(Ink::K, 1, 8)}, 1), page(kBlackAndCyan, 1)}), inks({"C"}));
  drawing.begin(1).row({{0xFF}}).end().begin(2).end();
  EXPECT_THAT(drawing.names(), ElementsAre("page-2-C.png"));
}

TEST(PageRenderer, PassesOverPagesWithoutPixels) {
  JobSummary summary = job({page({}, 7), page(kBlackAndCyan, 0), page(kBlackAndCyan, 1)});
  EXPECT_EQ(planPages(summary, {}).size(), 1U);
  RenderOptions options;
  options.pages = {2};
  EXPECT_EQ(refusalOf(summary, options), "page 2: has nothing to draw");
}

TEST(PageRenderer, RefusesPagesAndInksThatThereAreNot) {
  const JobSummary summary = job({page(kBlackAndCyan, 1)});
  RenderOptions options;
  options.pages = {2};
  EXPECT_EQ(refusalOf(summary, options), "there is no page 2; the job has 1");
  options.pages = {0};
  EXPECT_EQ(refusalOf(summary, options), "there is no page 0; the job has 1");
  EXPECT_EQ(refusalOf(summary, inks({"C", "c"})), "there is no ink c; there are K C composite");
}

TEST(PageRenderer, RefusesDepthsWithoutALayoutUnlessOtherInksAreAskedFor) {
  const JobSummary summary = job({page({plane(Ink::K, 3, 8), plane(Ink::C, 2, 8)}, 1)});
  EXPECT_THAT(refusalOf(summary), AllOf(HasSubstr("page 1: K has 3 bits"), HasSubstr("--ink")));
  EXPECT_THAT(refusalOf(summary, inks({"composite"})), HasSubstr("K has 3 bits"));
  Drawing drawing(summary, inks({"C"}));
  drawing.begin().row({{0xFF, 0xFF, 0xFF}, {0xFF}}).end();
  EXPECT_EQ(drawing.pixels("page-1-C.png"), (Bytes{0, 0, 0, 0, 255, 255, 255, 255}));
}

TEST(PageRenderer, DrawsAnUnknownInkAloneButNotTogether) {
  const JobSummary summary = job({page({plane(Ink::kUnknown, 8, 1)}, 1)});
  EXPECT_THAT(refusalOf(summary), AllOf(HasSubstr("which ink plane 1 is"), HasSubstr("--config")));
  Drawing drawing(summary, inks({"plane 1"}));
  drawing.begin().row({{0xFF}}).end();
  EXPECT_EQ(drawing.pixels("page-1-plane-1.png"), Bytes{0});
}

TEST(PageRenderer, RefusesPlanesOfUnknownDepth) {
  const JobSummary summary = job({page({plane(Ink::kUnknown, 0, 8)}, 1)});
  EXPECT_THAT(refusalOf(summary), AllOf(HasSubstr("how many bits"), HasSubstr("--config")));
}

// Files -------------------------------------------------------------------------------------------

TEST(PageRenderer, NamesOfLightInksDifferInMoreThanCase) {
  std::vector<PlaneFormat> planes;
  for (const Ink ink : {Ink::C, Ink::M, Ink::c, Ink::m}) planes.push_back(plane(ink, 1, 8));
  RenderOptions options = inks({"C", "M", "c", "m"});
  options.stem = "proof";
  Drawing drawing(job({page(planes, 1)}), options);
  drawing.begin().end();
  EXPECT_THAT(drawing.names(),
              ElementsAre("proof-1-C.png", "proof-1-M.png", "proof-1-lc.png", "proof-1-lm.png"));
  EXPECT_EQ(drawing.pictures().at(2).ink, "c");
}

TEST(PageRenderer, DoesNotReplaceFilesUnlessToldTo) {
  const JobSummary summary = job({page({plane(Ink::K, 1, 8)}, 1)});
  Drawing first(summary);
  first.folder().write("page-1-K.png", "mine");
  EXPECT_THROW(first.begin(), FileError);
  EXPECT_THAT(first.names(), ElementsAre("page-1-K.png"));
  EXPECT_EQ(first.folder().text("page-1-K.png"), "mine");

  RenderOptions options;
  options.overwrite = true;
  Drawing second(summary, options);
  second.folder().write("page-1-K.png", "old");
  second.begin().end();
  EXPECT_EQ(second.pixels("page-1-K.png"), Bytes(8, 255));
}

TEST(PageRenderer, KeepsFinishedPicturesOnlyWhenItEndsEarly) {
  const PageSummary blank = page({plane(Ink::K, 1, 8)}, 2);
  Drawing drawing(job({blank, blank}));
  drawing.begin(1).end().begin(2).row({{0xFF}});
  EXPECT_EQ(drawing.names().size(), 4U);
  drawing.giveUp();
  EXPECT_THAT(drawing.names(), ElementsAre("page-1-K.png", "page-1.png"));
}

TEST(PageRenderer, WritesNothingBeforeAPageBegins) {
  const Drawing drawing(job({page({plane(Ink::K, 1, 8)}, 2)}));
  EXPECT_THAT(drawing.names(), IsEmpty());
}

TEST(PageRenderer, PassesProgressOn) {
  std::vector<uint64_t> offsets;
  RenderOptions options;
  options.progress = [&offsets](uint64_t offset) { offsets.push_back(offset); };
  PageRenderer renderer({}, options);
  renderer.progress(5);
  PageRenderer({}, {}).progress(6);
  EXPECT_THAT(offsets, ElementsAre(5));
}

}  // namespace
