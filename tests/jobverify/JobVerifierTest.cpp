// Tests of the verdict on a job file: first with what a reader tells given by hand, then with whole
// jobs of the library.
#include "JobVerifier.h"

#include <gtest/gtest.h>
#include <odaxgen/ODAXGen.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Capture.h"
#include "ExpectedStream.h"
#include "JobComparison.h"
#include "PageJob.h"
#include "ReadError.h"
#include "TiffWriter.h"

namespace {

using jobreader::Command;
using jobreader::Ink;
using jobreader::PlaneRow;
using jobverify::JobRequest;
using jobverify::PageRequest;
using jobverify::PlaneRequest;
using jobverify::Verdict;
using Texts = std::vector<std::string>;

// A job of one page of black, and what a reader tells of its file.
class VerifyByHand : public testing::Test {
 protected:
  VerifyByHand() {
    request.resolutionH = request.resolutionV = 600;
    request.printableWidth = 100;
    request.pages.push_back(page("k.tif", {{1, 2, 3}, {0, 0, 0}, {4, 5, 6}}));
  }

  /// A page of black at 8 bits whose file has these rows.
  PageRequest page(const std::string& name, const std::vector<Bytes>& rows, int colorSpace = 5,
                   size_t section = 1) {
    PageRequest page;
    page.section = section;
    page.colorSpace = colorSpace;
    page.numOfPlanes = 1;
    page.compression = 0;
    page.mode = colorSpace == 2 ? 2000 : 1000;
    page.planes.push_back(plane(Ink::K, name, rows));
    page.allPlanes = page.planes;
    page.rows = rows.size();
    return page;
  }

  PlaneRequest plane(Ink ink, const std::string& name, const std::vector<Bytes>& rows) const {
    TiffPage file;
    file.width = static_cast<uint32_t>(rows.at(0).size());
    file.height = static_cast<uint32_t>(rows.size());
    file.strips = stripsOf(rows, file.height, kUncompressed);
    PlaneRequest plane;
    plane.ink = ink;
    plane.depth = 8;
    plane.source.path = folder.write(name, tiffFile(file));
    plane.width = file.width;
    plane.rows = file.height;
    plane.hasSamples = true;
    return plane;
  }

  jobverify::JobComparison& job() {
    if (!job_) job_.emplace(request, findings_);
    return *job_;
  }

  static Command command(const std::string& text, int64_t number = 0) {
    Command command;
    command.offset = 77;
    command.text = text;
    command.number = number;
    command.family = text.starts_with("$") ? "$r" : "*t";
    command.letter = text.back();
    return command;
  }

  /// What a reader tells in front of the rows of a page, as it should be.
  jobreader::PageStart startOf(size_t index) const {
    const PageRequest& page = request.pages.at(index);
    jobreader::PageStart start;
    start.offset = 50;
    start.configuration = jobverify::configureBlock(page);
    start.configurationOffset = 55;
    for (const std::string& move : jobverify::moveCommands(page))
      start.moves.push_back(command(move));
    start.method = jobverify::startMethod(page);
    return start;
  }
  void begin(size_t index = 0) { begin(startOf(index)); }
  void begin(const jobreader::PageStart& start) {
    job().command(command("*t600R"));
    job().beginPage(start);
  }
  void row(uint64_t index, const std::vector<Bytes>& planes, int method = 0, int64_t failure = 0) {
    std::vector<PlaneRow> rows(planes.size());
    for (size_t i = 0; i < planes.size(); ++i) {
      rows[i].bytes = planes[i];
      rows[i].method = method;
      rows[i].failure = failure;
    }
    job().row(index, rows);
  }
  void blankRows(uint64_t first, uint64_t count) {
    job().blankRows(first, count, command("*b" + std::to_string(count) + "Y"));
  }
  void end(bool ended = true) {
    jobreader::PageEnd end;
    end.ended = ended;
    end.offset = 99;
    job().endPage(end);
  }
  /// The right rows of the page of black.
  void rightRows() {
    row(0, {{1, 2, 3}});
    blankRows(1, 1);
    row(2, {{4, 5, 6}});
  }
  void rightPage() {
    begin();
    rightRows();
    end();
  }
  const Verdict& finish() {
    job().finish();
    return verdict;
  }
  /// The differences, whose number must be that of all.
  Texts differences() {
    finish();
    EXPECT_EQ(verdict.differenceCount, verdict.differences.size());
    return verdict.differences;
  }

  TempFolder folder;
  JobRequest request;
  Verdict verdict;

 private:
  jobverify::Findings findings_{verdict};
  std::optional<jobverify::JobComparison> job_;
};

TEST_F(VerifyByHand, ARightPageIsProven) {
  rightPage();
  EXPECT_EQ(differences(), Texts{});
  EXPECT_TRUE(verdict.isProven());
  EXPECT_EQ(verdict.pages, 1U);
  EXPECT_EQ(verdict.planes, 1U);
  EXPECT_EQ(verdict.pixels, 9U);
  EXPECT_EQ(verdict.notes, Texts{});
}

TEST_F(VerifyByHand, BlankRowsMayBeSentOrNot) {
  begin();
  row(0, {{1, 2, 3}});
  row(1, {{}});
  row(2, {{4, 5, 6}});
  end();
  EXPECT_EQ(differences(), Texts{});
}

TEST_F(VerifyByHand, BytesBehindTheEndOfARowAreBlank) {
  request.pages[0] = page("k.tif", {{1, 0, 0}, {0, 0, 5}});
  begin();
  row(0, {{1}});
  row(1, {{0, 0}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 1, column 2: level 0, expected 5"}));
}

TEST_F(VerifyByHand, EachPixelThatDiffersIsNamed) {
  begin();
  row(0, {{1, 9, 7}});
  blankRows(1, 1);
  row(2, {{4, 5, 6}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0, column 1: level 9, expected 2",
                                  "page 1, K, row 0, column 2: level 7, expected 3"}));
  EXPECT_EQ(verdict.pixels, 9U);
  EXPECT_FALSE(verdict.isProven());
}

TEST_F(VerifyByHand, PixelsOfBitsAreFoundInTheirBytes) {
  request.pages[0] = page("k.tif", {{0, 255, 0, 255, 255}});
  request.pages[0].planes[0].depth = 2;
  request.pages[0].allPlanes[0].depth = 2;
  begin();
  row(0, {{0x3B, 0x80}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0, column 2: level 2, expected 0",
                                  "page 1, K, row 0, column 4: level 2, expected 3"}));
}

TEST_F(VerifyByHand, BitsBehindTheLastPixelAreTold) {
  request.pages[0] = page("k.tif", {{0, 255, 0, 255, 255}});
  request.pages[0].planes[0].depth = 2;
  request.pages[0].allPlanes[0].depth = 2;
  begin();
  row(0, {{0x33, 0xC1}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0: the bits behind the last pixel differ"}));
}

TEST_F(VerifyByHand, TwentyDifferencesAreNamedAndAllCounted) {
  request.pages[0] = page("k.tif", std::vector<Bytes>(5, Bytes(10, 7)));
  begin();
  end();
  finish();
  EXPECT_EQ(verdict.differences.size(), jobverify::kMaxDifferences);
  EXPECT_EQ(verdict.differences.back(), "page 1, K, row 1, column 9: level 0, expected 7");
  EXPECT_EQ(verdict.differenceCount, 50U);
}

TEST_F(VerifyByHand, RowsThatWereSkippedAreComparedAsBlank) {
  begin();
  blankRows(0, 2);
  row(2, {{4, 5, 6}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0, column 0: level 0, expected 1",
                                  "page 1, K, row 0, column 1: level 0, expected 2",
                                  "page 1, K, row 0, column 2: level 0, expected 3"}));
}

TEST_F(VerifyByHand, RowsThatAreMissingAtTheEndAreBlank) {
  begin();
  row(0, {{1, 2, 3}});
  end();
  EXPECT_EQ(differences().size(), 3U);
  EXPECT_EQ(verdict.differences[0], "page 1, K, row 2, column 0: level 0, expected 4");
}

TEST_F(VerifyByHand, RowsBehindTheLastOneAreDifferences) {
  begin();
  rightRows();
  row(3, {{0}});
  blankRows(4, 2);
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, row 3: the page has only 3 rows",
                                  "page 1, row 4: 2 blank rows go past the page's 3 rows"}));
}

TEST_F(VerifyByHand, ManyBlankRowsCostNothing) {
  begin();
  rightRows();
  blankRows(3, UINT64_C(1) << 62);
  blankRows(3 + (UINT64_C(1) << 62), UINT64_C(1) << 63);
  row(UINT64_MAX, {{1, 2, 3}});
  end();
  EXPECT_EQ(differences().size(), 3U);
}

TEST_F(VerifyByHand, ManyClearedRowsCostNothing) {
  PageRequest& gray = request.pages[0] = page("k.tif", {{0, 0, 0}}, 2);
  gray.planes[0].hasSamples = false;
  gray.rows = gray.planes[0].rows = UINT32_MAX;
  begin();
  row(0, {{0, 0, 0}});
  end();
  finish();
  EXPECT_EQ(verdict.differenceCount, 3 * (UINT64_C(0xFFFFFFFF) - 1)) << "all others are white";
  EXPECT_EQ(verdict.differences[0], "page 1, K, row 1, column 0: level 255, expected 0");
}

TEST_F(VerifyByHand, RowsThatAreTooLongAreTold) {
  begin();
  row(0, {{1, 2, 3, 0}});
  row(1, {{}});
  row(2, {{4, 5, 6}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0: 4 bytes, expected at most 3"}));
}

TEST_F(VerifyByHand, RowsOfOtherPlanesAreTold) {
  begin();
  row(0, {{1, 2, 3}, {1}});
  row(1, {});
  row(2, {{4, 5, 6}});
  end();
  EXPECT_EQ(differences(),
            (Texts{"page 1, row 0: 2 planes, expected 1", "page 1, row 1: 0 planes, expected 1"}));
}

TEST_F(VerifyByHand, WhiteIsBlankInGray) {
  request.pages[0] = page("k.tif", {{255, 255}, {9, 255}}, 2);
  request.pages[0].planes[0].raw = true;
  begin();
  blankRows(0, 1);
  row(1, {{9}});
  end();
  EXPECT_EQ(differences(), Texts{});
}

TEST_F(VerifyByHand, PlanesOfOtherHeightsEndInClearedRows) {
  request.pages[0].planes.push_back(plane(Ink::C, "c.tif", {{8}}));
  begin();
  row(0, {{1, 2, 3}, {8}});
  row(2, {{4, 5, 6}, {1}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, C, row 2, column 0: level 1, expected 0"}));
  EXPECT_EQ(verdict.planes, 2U);
  EXPECT_EQ(verdict.pixels, 12U);
}

TEST_F(VerifyByHand, APlaneWithoutAnImageHasNothing) {
  PlaneRequest none;
  none.ink = Ink::C;
  none.depth = 8;
  request.pages[0].planes.push_back(none);
  begin();
  row(0, {{1, 2, 3}, {}});
  row(2, {{4, 5, 6}, {1}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, C, row 2: 1 bytes, expected at most 0"}));
}

TEST_F(VerifyByHand, APlaneThatCannotBeEncodedIsExpectedWithoutBytes) {
  PageRequest& page = request.pages[0];
  page.compression = 4;
  page.mode = 1004;
  page.planes[0].width = 0;
  page.planes[0].hasSamples = false;
  begin();
  row(0, {{}}, 4, -5);
  row(1, {{}}, 4, 0);
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 1: coded as 0, expected -5"}));
}

TEST_F(VerifyByHand, APlaneThatShouldHaveBeenEncodedIsADifference) {
  PageRequest& page = request.pages[0];
  page.compression = 4;
  page.mode = 1004;
  begin();
  row(0, {{}}, 4, -6);
  row(2, {{4, 5, 6}}, 4);
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0: coded as -6, expected 0"}));
}

TEST_F(VerifyByHand, RowsThatAreTooLongForTheirCompressionAreNotCompared) {
  for (const size_t width : {size_t{120000}, size_t{120001}}) {
    SCOPED_TRACE(width);
    request.pages = {page("k.tif", {Bytes(width, 1)})};
    request.pages[0].compression = 4;
    request.pages[0].mode = 1004;
    Verdict found;
    jobverify::Findings findings(found);
    jobverify::PageComparison rows(request.pages[0], 0, findings);
    PlaneRow row;
    const Bytes bytes(width, 1);
    const bool fits = width == 120000;
    if (fits) row.bytes = bytes;
    row.method = 4;
    row.failure = fits ? 0 : -6;
    rows.takeRow(0, std::span(&row, 1));
    rows.finish();
    EXPECT_EQ(found.differenceCount, 0U);
    EXPECT_EQ(found.notCompared.size(), fits ? 0U : 1U);
    EXPECT_EQ(found.planes, fits ? 1U : 0U);
  }
}

TEST_F(VerifyByHand, RowsInAnotherCompressionAreToldOnce) {
  begin();
  row(0, {{1, 2, 3}}, 2);
  row(2, {{4, 5, 6}}, 2);
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, K, row 0: compression method 2, configured is 0"}));
}

TEST_F(VerifyByHand, TheStartOfAPageIsCompared) {
  PageRequest& page = request.pages[0];
  page.x = {true, true, 5};
  jobreader::PageStart start = startOf(0);
  start.configuration[6] = 4;
  start.moves = {command("*p5X"), command("*p1Y")};
  start.method = 2;
  job().command(command("$r600X"));
  job().command(command("$r300Y"));
  job().beginPage(start);
  rightRows();
  end(false);
  EXPECT_EQ(differences(),
            (Texts{"page 1, resolution: ESC$r600X ESC$r300Y, expected ESC*t600R",
                   "offset 55: page 1: byte 6 of the configure block is 04, expected 08",
                   "page 1, moves: ESC*p5X ESC*p1Y, expected ESC*p+5X",
                   "page 1: its rows begin with method 2, expected 0",
                   "offset 99: page 1: its raster mode is not ended"}));
}

TEST_F(VerifyByHand, ConfigureBlocksAreThereOrNot) {
  request.pages.push_back(page("k2.tif", {{1}}, 5, 2));
  request.pages[1].sameAsFirst = true;
  jobreader::PageStart first = startOf(0);
  first.configuration.clear();
  begin(first);
  rightRows();
  end();
  jobreader::PageStart second = startOf(1);
  second.configuration = {5, 1};
  begin(second);
  row(0, {{1}});
  end();
  EXPECT_EQ(differences(),
            (Texts{"offset 50: page 1: the configure block is missing",
                   "offset 55: page 2: a configure block, expected is the one of the first page"}));
}

TEST_F(VerifyByHand, ConfigureBlocksOfAnotherLength) {
  jobreader::PageStart start = startOf(0);
  start.configuration = {5, 1, 5, 8};
  begin(start);
  rightRows();
  end();
  EXPECT_EQ(differences(), (Texts{"offset 55: page 1: a configure block of 4 bytes, expected 10"}));
}

TEST_F(VerifyByHand, TheOffsetOfAPageIsCompared) {
  const struct {
    const char* found;
    jobverify::Position position;
    Texts want;
  } kCases[] = {
      {"*b5Y", {true, false, 5}, {}},
      {"*b+5Y", {true, true, 5}, {}},
      {"*b5Y", {true, true, 5}, {"page 1, offset: ESC*b5Y, expected ESC*b+5Y"}},
      {"", {true, true, 0}, {"page 1, offset: nothing, expected ESC*b0Y"}},
      {"", {}, {}},
      {"*b5Y", {}, {"page 1, offset: ESC*b5Y, expected nothing"}},
  };
  for (const auto& c : kCases) {
    request.pages[0].yOffset = c.position;
    Verdict found;
    jobverify::Findings findings(found);
    jobverify::JobComparison job(request, findings);
    job.command(command("*t600R"));
    job.beginPage(startOf(0));
    if (c.found[0] != '\0') job.pageOffset(command(c.found));
    const Bytes first = {1, 2, 3};
    const Bytes last = {4, 5, 6};
    PlaneRow row;
    row.bytes = first;
    job.row(0, std::span(&row, 1));
    row.bytes = last;
    job.row(2, std::span(&row, 1));
    job.endPage({});
    job.finish();
    EXPECT_EQ(found.differences, c.want) << c.found;
  }
}

TEST_F(VerifyByHand, PagesAreCounted) {
  request.pages.push_back(page("k2.tif", {{1}}, 5, 2));
  rightPage();
  EXPECT_EQ(differences(), (Texts{"page 2 is missing"}));
}

TEST_F(VerifyByHand, APageMoreIsADifferenceAndNothingElse) {
  rightPage();
  begin();
  row(0, {{9}});
  blankRows(1, 2);
  job().pageOffset(command("*b5Y"));
  end();
  EXPECT_EQ(differences(), (Texts{"offset 50: a page more than the configuration has"}));
}

TEST_F(VerifyByHand, PagesThatAreNotInTheFileArePassedOver) {
  const PageRequest right = request.pages[0];
  request.pages = {right, right, right};
  for (size_t i = 0; i < 3; ++i) request.pages[i].section = i + 1;
  request.pages[0].missing = "page.bmp is no TIFF file";
  request.pages[2].missing = "last.tif cannot be opened";
  begin(1);
  row(0, {{1, 2, 4}});
  row(2, {{4, 5, 6}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 2, K, row 0, column 2: level 4, expected 3"}));
  EXPECT_EQ(verdict.notCompared, (Texts{"page 1 is not in the file: page.bmp is no TIFF file",
                                        "page 3 is not in the file: last.tif cannot be opened"}));
  EXPECT_EQ(verdict.pages, 1U);
}

TEST_F(VerifyByHand, PagesWithoutModeAreNotComparedAndHaveNoRows) {
  request.pages[0].mode = -1;
  request.pages[0].notCompared = "no rows";
  begin();
  row(0, {{1, 2, 3}});
  row(1, {{1, 2, 3}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, row 0: the page has rows"}));
  EXPECT_EQ(verdict.notCompared, (Texts{"page 1: no rows"}));
  EXPECT_EQ(verdict.pages, 0U);
}

TEST_F(VerifyByHand, PlanesWhoseFilesCannotBeReadAreNotCompared) {
  folder.write("k.tif", folder.text("k.tif").substr(4));
  begin();
  rightRows();
  end();
  EXPECT_EQ(differences(), Texts{});
  ASSERT_EQ(verdict.notCompared.size(), 1U);
  EXPECT_EQ(verdict.notCompared[0].substr(0, 11), "page 1, K: ");
  EXPECT_FALSE(verdict.isProven());
  EXPECT_EQ(verdict.planes, 0U);
}

TEST_F(VerifyByHand, PacketsAreCountedAndTheirDifferencesKept) {
  job().packet({});
  job().packet({});
  job().packetNote(3, "odd");
  job().note(4, "odd too");
  job().packetDifference(5, "no such line");
  rightPage();
  EXPECT_EQ(differences(), (Texts{"offset 5: no such line"}));
  EXPECT_EQ(verdict.notes, (Texts{"offset 3: odd", "offset 4: odd too"}));
  EXPECT_EQ(verdict.packets, 2U);
}

TEST_F(VerifyByHand, DataThatAreNoRasterStreamAreOneDifference) {
  job().foreignData(40);
  EXPECT_EQ(differences(), (Texts{"offset 40: the data are no raster stream"}));
  EXPECT_EQ(verdict.notCompared, (Texts{"the pages"}));
}

class VerifyRgb : public VerifyByHand {
 protected:
  /// A page of one composite of three colours.
  void colours(const std::vector<Bytes>& rows, int32_t printableWidth) {
    TiffPage file;
    file.width = static_cast<uint32_t>(rows.at(0).size() / 3);
    file.height = static_cast<uint32_t>(rows.size());
    file.bits = {8, 8, 8};
    file.strips = stripsOf(rows, file.height, kUncompressed);
    // The fields of the writer do without the number of samples, which libtiff needs.
    TiffWriter tiff('I');
    const uint32_t strip = tiff.append(file.strips[0]);
    tiff.field(kTagWidth, kTiffLong, {file.width});
    tiff.field(kTagHeight, kTiffLong, {file.height});
    tiff.field(kTagBitsPerSample, kTiffShort, {8, 8, 8});
    tiff.field(kTagCompression, kTiffShort, {1});
    tiff.field(kTagPhotometric, kTiffShort, {2});
    tiff.field(kTagStripOffsets, kTiffLong, {strip});
    tiff.field(kTagSamplesPerPixel, kTiffShort, {3});
    tiff.field(kTagStripByteCounts, kTiffLong, {static_cast<uint32_t>(file.strips[0].size())});
    tiff.endDirectory();
    request.printableWidth = printableWidth;
    PageRequest& page = request.pages[0];
    page.colorSpace = 2;
    page.mode = 3000;
    page.numOfPlanes = 3;
    page.rows = file.height;
    page.planes.assign(3, PlaneRequest{});
    for (int channel = 0; channel < 3; ++channel) {
      PlaneRequest& plane = page.planes[static_cast<size_t>(channel)];
      plane.ink = static_cast<Ink>(static_cast<int>(Ink::R) + channel);
      plane.depth = 8;
      plane.source = {folder.path("rgb.tif"), channel, true, true};
      plane.width = file.width;
      plane.rows = file.height;
      plane.hasSamples = true;
    }
    page.allPlanes = page.planes;
    folder.write("rgb.tif", tiff.bytes());
  }
};

const Bytes kWhiteThenRed = {255, 255, 255, 255, 0, 0};
const Bytes kRedThenWhite = {255, 0, 0, 255, 255, 255};

TEST_F(VerifyRgb, ChannelsComeFromOneRow) {
  colours({kRedThenWhite, kWhiteThenRed}, 2);
  begin();
  row(0, {{}, {0}, {0}});
  row(1, {{}, {255, 0}, {255, 1}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, B, row 1, column 1: level 1, expected 0"}));
  EXPECT_EQ(verdict.pixels, 12U);
}

TEST_F(VerifyRgb, RowsThatAreWhiteOverThePrintableWidthAreBlank) {
  colours({kRedThenWhite, kWhiteThenRed, kWhiteThenRed}, 1);
  begin();
  row(0, {{}, {0}, {0}});
  row(2, {{}, {255, 0}, {255, 0}});
  end();
  EXPECT_EQ(differences(), (Texts{"page 1, G, row 2, column 1: level 0, expected 255",
                                  "page 1, B, row 2, column 1: level 0, expected 255"}));
  EXPECT_EQ(verdict.notes,
            (Texts{"page 1: 2 rows are white over the printable width, which is 1, and count as "
                   "blank; what stands to the right of it is not in the file"}));
}

TEST_F(VerifyRgb, WithoutAPrintableWidthAllRowsAreBlank) {
  for (const int32_t width : {0, -1}) {
    colours({kRedThenWhite}, width);
    Verdict found;
    jobverify::Findings findings(found);
    jobverify::PageComparison rows(request.pages[0], width, findings);
    rows.finish();
    EXPECT_EQ(found.differenceCount, 0U);
    EXPECT_EQ(found.notes.size(), 1U);
  }
}

TEST_F(VerifyRgb, ARowIsNotLostWhereThePrintableWidthReachesPastIt) {
  colours({kRedThenWhite, kWhiteThenRed}, 5);
  begin();
  end();
  EXPECT_EQ(differences().size(), 4U);
  EXPECT_EQ(verdict.notes, Texts{});
}

class VerifyTables : public VerifyByHand {
 protected:
  VerifyTables() { request.tables = {folder.write("one", "abc"), "", folder.write("two", "")}; }
  void table(size_t number, const std::string& content) {
    job().beginTable(number, command("$b3W"));
    const Bytes bytes = bytesOf(content);
    const size_t half = bytes.size() / 2;
    job().tableData(std::span(bytes).first(half));
    job().tableData(std::span(bytes).subspan(half));
  }
};

TEST_F(VerifyTables, AreEqualByteForByte) {
  table(1, "abc");
  table(2, "");
  rightPage();
  EXPECT_EQ(differences(), Texts{});
}

TEST_F(VerifyTables, EachDifferenceIsNamed) {
  table(1, "abd");
  table(2, "x");
  table(3, "y");
  rightPage();
  EXPECT_EQ(differences(), (Texts{"table 1: byte 2 is 64, expected 63 (" + folder.path("one") + ")",
                                  "table 2: longer than its 0 bytes (" + folder.path("two") + ")",
                                  "offset 77: table 3: the job has only 2"}));
}

TEST_F(VerifyTables, MayEndEarlyOrBeMissing) {
  table(1, "ab");
  rightPage();
  EXPECT_EQ(differences(), (Texts{"table 1: ends after 2 of 3 bytes (" + folder.path("one") + ")",
                                  "table 2 is missing (" + folder.path("two") + ")"}));
}

TEST_F(VerifyTables, OneThatCannotBeReadEndsThem) {
  std::filesystem::create_directory(folder.path("folder"));
  request.tables[1] = folder.path("folder");
  table(1, "abc");
  rightPage();
  EXPECT_EQ(differences(), Texts{});
  EXPECT_EQ(verdict.notes,
            (Texts{folder.path("folder") +
                   " cannot be read: it and the table files behind it are not sent"}));
}

class JobVerifierTest : public PageJob {
 protected:
  Verdict verify() const {
    return jobverify::verifyJob(jobverify::readRequest(folder.path("job.cfg")),
                                folder.path("out.dat"));
  }
  /// Runs a job and verifies it.
  Verdict verdictOf(const std::string& sections, const JobSettings& settings = {}) {
    const JobRun job = run(settings, sections);
    EXPECT_EQ(job.code, 0) << job.err;
    return verify();
  }
};

std::string textOf(const Verdict& verdict) {
  std::string text;
  for (const Texts& texts : {verdict.differences, verdict.notCompared, verdict.notes})
    for (const std::string& each : texts) text += each + "\n";
  return text;
}

TEST_F(JobVerifierTest, EveryCompressionOfInksIsProven) {
  for (const int compression : {0, 2, 3, 256, 4}) {
    const std::string page =
        separations("3", 4, compression,
                    {{"K", 2, mixed(61, 350, 8, 255, 1)},
                     {"C", 1, mixed(77, 301, 8, 0, 2), {'M', 0, 9, true}},
                     {"M", 8, mixed(8, 299, 8, 255, 3), {'I', 1, 0, false}, "2", 2},
                     {"Y", 10, mixed(33, 20, 16, 65535, 4)}},
                    "StartingPositionX=-5\nYOffset=+3\nYOffsetC=2\n");
    const Verdict verdict = verdictOf(page);
    EXPECT_TRUE(verdict.isProven()) << compression << "\n" << textOf(verdict);
    EXPECT_EQ(verdict.pages, 1U);
    EXPECT_EQ(verdict.planes, 4U);
    EXPECT_EQ(verdict.pixels, (61U + 77 + 8 + 33) * 350);
    EXPECT_EQ(verdict.packets, 5U);
  }
}

TEST_F(JobVerifierTest, EveryPackingIsProven) {
  const std::string page = separations("5", 1, 2, {{"K", 4, mixed(100, 40, 8, 255, 5)}}) +
                           separations("5", 1, 4, {{"K", 4, mixed(100, 40, 8, 255, 6)}});
  for (const char* split : {"", "0", "100", "4294967290"}) {
    JobSettings settings;
    settings.split = split;
    settings.resolutionV = 300;
    const Verdict verdict = verdictOf(page, settings);
    EXPECT_TRUE(verdict.isProven()) << split << "\n" << textOf(verdict);
    EXPECT_EQ(verdict.pages, 2U);
  }
}

TEST_F(JobVerifierTest, GrayIsProven) {
  for (const int depth : {1, 2, 4, 8, 10, 12}) {
    for (const uint32_t photometric : {0U, 1U}) {
      const Samples samples = mixed(45, 30, depth > 8 ? 16 : 8, depth > 8 ? 65535 : 255, 8);
      const Verdict verdict =
          verdictOf(separations("2", 1, 3, {{"K", depth, samples, {'I', photometric, 0, false}}}));
      EXPECT_TRUE(verdict.isProven()) << depth << "\n" << textOf(verdict);
    }
  }
}

TEST_F(JobVerifierTest, AChangedImageIsFound) {
  Samples samples = plain(20, 10, 8, 255);
  const std::string page = separations("5", 1, 2, {{"K", 2, samples}});
  EXPECT_TRUE(verdictOf(page).isProven());
  samples.values[3 * 20 + 7] = 100;
  image("image1.tif", {samples});
  const Verdict verdict = verify();
  EXPECT_EQ(textOf(verdict), "page 1, K, row 3, column 7: level 0, expected 2\n");
}

TEST_F(JobVerifierTest, AChangedConfigurationIsFound) {
  const Samples samples = plain(20, 10, 8, 255);
  EXPECT_TRUE(verdictOf(separations("5", 1, 2, {{"K", 2, samples}})).isProven());
  std::string text = folder.text("job.cfg");
  text.replace(text.find("GraphicsResolutionH=600"), 23, "GraphicsResolutionH=300");
  folder.write("job.cfg", text);
  EXPECT_EQ(textOf(verify()), "page 1, resolution: ESC*t600R, expected ESC$r300X ESC$r600Y\n");
}

TEST_F(JobVerifierTest, APageThatIsNotThereIsNamed) {
  folder.write("none.bmp", "BM");
  const Verdict verdict = verdictOf(separations("5", 1, 2, {{"K", 2, plain(20, 10, 8, 0)}}) +
                                    "[Image]\nImageFileK=\"none.bmp\"\n");
  EXPECT_EQ(textOf(verdict), "page 2 is not in the file: none.bmp does not end in .tif or .tiff\n");
  EXPECT_EQ(verdict.pages, 1U);
}

TEST_F(JobVerifierTest, DamageEndsTheComparison) {
  verdictOf(separations("5", 1, 0, {{"K", 8, plain(20, 10, 8, 0)}}));
  Bytes job = folder.bytes("out.dat");
  const std::string text(job.begin(), job.end());
  const size_t at = text.find("\x1B*b20W", text.find("\x1B*b20W") + 1);
  job[at] = 'x';
  folder.write("out.dat", job);
  const Verdict verdict = verify();
  EXPECT_EQ(verdict.differenceCount, 1U) << textOf(verdict);
  EXPECT_EQ(verdict.differences.at(0).substr(0, 7), "offset ");
  EXPECT_EQ(verdict.notCompared, (Texts{"what follows offset " + std::to_string(at)}));
  EXPECT_EQ(verdict.pages, 0U);
}

TEST_F(JobVerifierTest, AJobFileThatIsNotThereIsAnError) {
  verdictOf(separations("5", 1, 0, {{"K", 8, plain(2, 1, 8, 0)}}));
  std::filesystem::remove(folder.path("out.dat"));
  EXPECT_THROW(verify(), jobreader::FileError);
}

TEST_F(JobVerifierTest, SeveralImagesInAFileAreNoted) {
  const std::string page = separations("5", 1, 0, {{"K", 8, plain(4, 1, 8, 9)}});
  TiffWriter file('I');
  TiffPage first;
  first.width = 4;
  first.height = 1;
  first.strips = {{1, 2, 3, 4}};
  addPage(file, first);
  addPage(file, first);
  folder.write("image1.tif", file.bytes());
  const Verdict verdict = verdictOf(page);
  EXPECT_TRUE(verdict.isProven());
  EXPECT_EQ(verdict.notes, (Texts{"page 1, K: of the 2 images in " + folder.path("image1.tif") +
                                  " the last one counts"}));
}

TEST_F(JobVerifierTest, DataOfAFileAreEqualByteForByte) {
  const struct {
    const char* name;
    std::string data;
    const char* difference;
  } kCases[] = {
      {"the same", "0123456789", ""},
      {"another byte", "0123456x89", ": byte 7 is 37, expected 78\n"},
      {"shorter", "01234567", ": longer than its 8 bytes\n"},
      {"longer", "0123456789a", ": ends after 10 of 11 bytes\n"},
      {"empty", "", ": longer than its 0 bytes\n"},
  };
  for (const char* split : {"", "0", "3", "4294967290"}) {
    const std::string data = folder.write("data", "0123456789");
    run({split}, "");
    std::string text = folder.text("job.cfg");
    text.insert(text.find("[ODAX]"), "SendDataFile=\"" + data + "\"\n");
    folder.write("job.cfg", text);
    {
      const Capture quiet;
      makeODAXData(folder.path("job.cfg").c_str());
    }
    for (const auto& c : kCases) {
      folder.write("data", c.data);
      const Verdict verdict = verify();
      const std::string want = c.difference[0] == '\0' ? "" : data + c.difference;
      EXPECT_EQ(textOf(verdict), want) << c.name << ", split " << split;
      EXPECT_EQ(verdict.dataBytes == 10, want.empty() || c.data.size() > 10) << c.name;
    }
  }
}

}  // namespace
