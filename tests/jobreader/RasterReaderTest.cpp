// Tests of the raster reader: whole streams as what it tells of them, what a stream may not hold
// and where, and that no damage goes unnoticed or does harm.
#include "RasterReader.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "Damage.h"
#include "MemoryStream.h"
#include "PageJob.h"
#include "RasterSink.h"
#include "TempFolder.h"

namespace {

using jobreader::Command;
using jobreader::Ink;
using jobreader::PageEnd;
using jobreader::PageFormat;
using jobreader::PageStart;
using jobreader::PlaneFormat;
using jobreader::PlaneRow;
using jobreader::RasterSink;
using jobreader::ReadError;

std::string hex(std::span<const uint8_t> bytes) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) text += " ";
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

// Writes down what it is told, one line for each call: what the stream means, and on request also
// where everything stands.
class Recorder : public RasterSink {
 public:
  enum Detail { kMeaning, kEverything };
  explicit Recorder(Detail detail = kMeaning) : isDetailed_(detail == kEverything) {}

  void command(const Command& command) override {
    if (isDetailed_) line("command " + command.text + at(command.offset));
  }
  void note(uint64_t offset, const std::string& what) override {
    notes.push_back(offset);
    if (isDetailed_) line("note " + what + at(offset));
  }
  void beginTable(size_t number, const Command& command) override {
    line("table " + std::to_string(number) + " " + command.text + ":" + at(command.offset));
  }
  void tableData(std::span<const uint8_t> bytes) override {
    for (const uint8_t byte : bytes) text += " " + hex({&byte, 1});
  }
  void beginPage(const PageStart& page) override {
    std::string line1 = "page " + std::to_string(page.number) + ": ";
    line1 += std::to_string(page.resolutionH) + " x " + std::to_string(page.resolutionV);
    for (const Command& move : page.moves) line1 += " " + move.text + at(move.offset);
    line1 += " method " + std::to_string(page.method);
    for (const PlaneFormat& plane : page.format.planes) line1 += " " + plane.name;
    line1 += at(page.offset);
    if (isDetailed_) line1 += " " + hex(page.configuration) + at(page.configurationOffset);
    line(line1);
    pages.push_back(page);
  }
  void pageOffset(const Command& command) override {
    line("offset " + command.text + at(command.offset));
  }
  void blankRows(uint64_t first, uint64_t count, const Command& command) override {
    line("blank " + std::to_string(first) + " + " + std::to_string(count) + at(command.offset));
  }
  void row(uint64_t index, std::span<const PlaneRow> planes) override {
    line("row " + std::to_string(index) + ":");
    for (const PlaneRow& plane : planes) {
      if (&plane != planes.data()) text += " |";
      if (plane.failure != 0) text += " failed " + std::to_string(plane.failure);
      if (!plane.bytes.empty()) text += " " + hex(plane.bytes);
      if (isDetailed_) {
        text += at(plane.offset) + " method " + std::to_string(plane.method) + " coded " +
                std::to_string(plane.codedBytes);
      }
    }
  }
  void endPage(const PageEnd& end) override {
    line(std::string(end.ended ? "end: " : "broken off: ") + std::to_string(end.rows) + " rows" +
         at(end.offset));
  }

  std::string text;
  std::vector<PageStart> pages;
  std::vector<uint64_t> notes;

 private:
  [[nodiscard]] std::string at(uint64_t offset) const {
    return isDetailed_ ? " at " + std::to_string(offset) : "";
  }
  void line(const std::string& what) { text += (text.empty() ? "" : "\n") + what; }

  bool isDetailed_;
};

const char* const kStart = "~%-12345X~%0A~E";
const char* const kEnd = "~$E~%-12345X";

// Configure blocks.
const Bytes kBlackAlone = joined({"~$v10W", Bytes{0x05, 1, 0x00, 0, 0, 0, 1, 0, 0, 0}});
const Bytes kFourInks = joined({"~$v10W", Bytes{0x05, 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 1}});
const Bytes kGray = joined({"~$v4W", Bytes{0x02, 1, 0x05, 8}});
const Bytes kColours10 = joined({"~$v8W", Bytes{0x02, 3, 0x02, 10, 0x03, 10, 0x04, 10}});

/// A stream of one image that is not at an offset.
Bytes oneImage(const Bytes& configuration, const std::string& method, const Bytes& rows) {
  return joined(
      {kStart, configuration, "~*t600R~*p0X~*p0Y~*r1A~*b" + method + "M", rows, "~*rC", kEnd});
}

// What the reader tells of a stream that it reads to its end.
std::string toldOf(const Bytes& stream, const std::vector<PageFormat>* formats = nullptr,
                   Recorder::Detail detail = Recorder::kMeaning) {
  Recorder sink(detail);
  MemoryStream data(stream);
  try {
    if (!readRaster(data, sink, formats)) return "no raster stream";
  } catch (const ReadError& error) {
    return sink.text + "\nerror at " + std::to_string(error.offset()) + ": " + error.what();
  }
  return data.atEnd() ? sink.text : sink.text + "\nnot read to the end";
}

// The rows and offsets of an image, without the lines in front of and behind them.
std::string rowsOf(const Bytes& stream, const std::vector<PageFormat>* formats = nullptr) {
  std::string text = toldOf(stream, formats);
  const size_t first = text.find('\n');
  const size_t last = text.rfind("\nend: ");
  if (first == std::string::npos || last == std::string::npos) return text;
  return first == last ? "" : text.substr(first + 1, last - first - 1);
}

std::optional<uint64_t> damageIn(const Bytes& stream,
                                 const std::vector<PageFormat>* formats = nullptr) {
  return damageOf([&] {
    RasterSink sink;
    MemoryStream data(stream);
    EXPECT_TRUE(readRaster(data, sink, formats));
  });
}

// Whole streams --------------------------------------------------------------------------------

const Bytes kBlackPage =
    oneImage(kBlackAlone, "0", joined({"~*b1Y", "~*b1W", Bytes{0xFF}, "~*b2W", Bytes{0x80, 0x01}}));

TEST(RasterReader, APageOfBlackAtOneBit) {
  EXPECT_EQ(toldOf(kBlackPage),
            "page 1: 600 x 600 *p0X *p0Y method 0 K\n"
            "blank 0 + 1\n"
            "row 1: FF\n"
            "row 2: 80 01\n"
            "end: 3 rows");
}

TEST(RasterReader, EverythingIsToldInOrderWithItsPlace) {
  EXPECT_EQ(toldOf(kBlackPage, nullptr, Recorder::kEverything),
            "command %-12345X at 0\n"
            "command %0A at 9\n"
            "command E at 13\n"
            "command $v10W at 15\n"
            "command *t600R at 31\n"
            "command *p0X at 38\n"
            "command *p0Y at 43\n"
            "command *r1A at 48\n"
            "command *b0M at 53\n"
            "page 1: 600 x 600 *p0X at 38 *p0Y at 43 method 0 K at 15 "
            "05 01 00 00 00 00 01 00 00 00 at 21\n"
            "command *b1Y at 58\n"
            "blank 0 + 1 at 58\n"
            "command *b1W at 63\n"
            "row 1: FF at 63 method 0 coded 1\n"
            "command *b2W at 69\n"
            "row 2: 80 01 at 69 method 0 coded 2\n"
            "command *rC at 76\n"
            "end: 3 rows at 76\n"
            "command $E at 80\n"
            "command %-12345X at 83");
}

TEST(RasterReader, AStreamWithoutImages) {
  EXPECT_EQ(toldOf(joined({kStart, kEnd})), "");
}

TEST(RasterReader, AnImageWithoutRows) {
  EXPECT_EQ(toldOf(oneImage(kBlackAlone, "0", {})),
            "page 1: 600 x 600 *p0X *p0Y method 0 K\n"
            "end: 0 rows");
}

TEST(RasterReader, TheDataAreLeftBehindTheStreamsEnd) {
  for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{5}, kBlackPage.size()}) {
    SCOPED_TRACE(piece);
    RasterSink sink;
    MemoryStream data(joined({kBlackPage, "~%-12345X<EndJob/>"}), piece);
    EXPECT_TRUE(readRaster(data, sink, nullptr));
    EXPECT_EQ(data.offset(), kBlackPage.size());
  }
}

TEST(RasterReader, OtherDataAreNoRasterStream) {
  for (const char* const other :
       {"", "~", "~%-12345", "~%-12345x", "%-12345X", "~E~%-12345X", "<StartJob/>"}) {
    SCOPED_TRACE(other);
    Recorder sink(Recorder::kEverything);
    MemoryStream data(joined({other}));
    EXPECT_FALSE(readRaster(data, sink, nullptr));
    EXPECT_EQ(sink.text, "");
  }
}

TEST(RasterReader, TheSinkMayStopIt) {
  class Stopping : public RasterSink {
   public:
    void row(uint64_t index, std::span<const PlaneRow> /*planes*/) override {
      throw std::runtime_error("row " + std::to_string(index));
    }
  };
  Stopping sink;
  MemoryStream data(kBlackPage);
  try {
    readRaster(data, sink, nullptr);
    FAIL() << "went on";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "row 1");
  }
}

// Tables and page starts -----------------------------------------------------------------------

TEST(RasterReader, TablesAreNumberedAndPassedOn) {
  const Bytes stream =
      joined({kStart, "~$b3W", Bytes{1, 0x1B, 3}, "~$b0W", "~$b1W", Bytes{0xFF}, kEnd});
  EXPECT_EQ(toldOf(stream),
            "table 1 $b3W: 01 1B 03\n"
            "table 2 $b0W:\n"
            "table 3 $b1W: FF");
}

TEST(RasterReader, ResolutionsAndMovesOfAPage) {
  struct Case {
    const char* name;
    const char* commands;
    const char* page;
  };
  const Case kCases[] = {
      {"one resolution", "~*t300R", "300 x 300"},
      {"two resolutions", "~$r600X~$r1200Y", "600 x 1200"},
      {"a position", "~*t600R~*p20X~*p30Y", "600 x 600 *p20X *p30Y"},
      {"moves by", "~*t600R~*p+20X~*p-30Y", "600 x 600 *p+20X *p-30Y"},
      {"a move down alone", "~*t600R~*p30Y", "600 x 600 *p30Y"},
      {"an offset in front of the moves", "~*t600R~*b7Y~*p20X", "600 x 600 *b7Y *p20X"},
      {"an offset behind the moves", "~*t600R~*p20X~*b+7Y", "600 x 600 *p20X *b+7Y"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(toldOf(joined({kStart, kGray, c.commands, "~*r1A~*b2M~*rC", kEnd})),
              std::string("page 1: ") + c.page + " method 2 K\nend: 0 rows");
  }
}

TEST(RasterReader, APageStartHoldsItsConfiguration) {
  Recorder sink;
  MemoryStream data(joined({kStart, kColours10, "~*t600R~*r1A~*b4M~*rC", kEnd}));
  ASSERT_TRUE(readRaster(data, sink, nullptr));
  const PageStart& page = sink.pages.at(0);
  EXPECT_EQ(page.number, 1);
  EXPECT_EQ(page.offset, 15);
  EXPECT_EQ(page.configuration, (Bytes{0x02, 3, 0x02, 10, 0x03, 10, 0x04, 10}));
  EXPECT_EQ(page.configurationOffset, 20);
  EXPECT_EQ(page.method, 4);
  EXPECT_EQ(page.format.colorSpace, 2);
  EXPECT_TRUE(page.format.isLight());
  ASSERT_EQ(page.format.planes.size(), 3);
  EXPECT_EQ(page.format.planes[2].ink, Ink::B);
  EXPECT_EQ(page.format.planes[2].depth, 10);
  EXPECT_TRUE(page.format.planes[2].halves);
}

TEST(RasterReader, HalvesAreAMatterOfMethodAndFormat) {
  struct Case {
    const char* name;
    Bytes configuration;
    const char* method;
    bool halves;
  };
  const Case kCases[] = {
      {"ten bits, method 4", kColours10, "4", true},
      {"ten bits, method 0", kColours10, "0", false},
      {"ten bits, method 3", kColours10, "3", false},
      {"gray, method 4", kGray, "4", false},
      {"inks, method 4", kFourInks, "4", false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Recorder sink;
    MemoryStream data(oneImage(c.configuration, c.method, {}));
    ASSERT_TRUE(readRaster(data, sink, nullptr));
    for (const PlaneFormat& plane : sink.pages.at(0).format.planes)
      EXPECT_EQ(plane.halves, c.halves);
  }
}

TEST(RasterReader, ImagesWithoutAConfigureBlockInheritTheFirstOnes) {
  const char* const kBegin = "~*t600R~*r1A~*b0M";
  const Bytes stream = joined({kStart, kFourInks, kBegin, "~*rC", kBegin, "~*rC", kGray, kBegin,
                               "~*rC", kBegin, "~*rC", kEnd});
  EXPECT_EQ(toldOf(stream),
            "page 1: 600 x 600 method 0 K C M Y\n"
            "end: 0 rows\n"
            "page 2: 600 x 600 method 0 K C M Y\n"
            "end: 0 rows\n"
            "page 3: 600 x 600 method 0 K\n"
            "end: 0 rows\n"
            "page 4: 600 x 600 method 0 K C M Y\n"
            "end: 0 rows");
  Recorder sink;
  MemoryStream data(stream);
  ASSERT_TRUE(readRaster(data, sink, nullptr));
  EXPECT_TRUE(sink.pages.at(1).configuration.empty());
  EXPECT_EQ(sink.pages.at(2).format.blank, 0xFF);
  EXPECT_EQ(sink.pages.at(3).format.blank, 0x00);
}

TEST(RasterReader, TheRowsOfPagesAreCountedFrom0) {
  const Bytes page = joined({"~*t600R~*r1A~*b0M~*b1W", Bytes{1}, "~*b1W", Bytes{2}, "~*rC"});
  EXPECT_EQ(toldOf(joined({kStart, kBlackAlone, page, page, kEnd})),
            "page 1: 600 x 600 method 0 K\n"
            "row 0: 01\n"
            "row 1: 02\n"
            "end: 2 rows\n"
            "page 2: 600 x 600 method 0 K\n"
            "row 0: 01\n"
            "row 1: 02\n"
            "end: 2 rows");
}

TEST(RasterReader, AnImageThatRanOutOfMemoryEndsBehindItsLastOffset) {
  struct Case {
    const char* name;
    const char* rest;
    const char* told;
  };
  const Case kCases[] = {
      {"the last image", "", "page 1: 600 x 600 method 0 K\nbroken off: 0 rows"},
      {"another one behind it", "~*t300R~*r1A~*b0M~*rC",
       "page 1: 600 x 600 method 0 K\n"
       "broken off: 0 rows\n"
       "page 2: 300 x 300 method 0 K\n"
       "end: 0 rows"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(toldOf(joined({kStart, kBlackAlone, "~*t600R~*r1A~*b0M", c.rest, kEnd})), c.told);
  }
  EXPECT_EQ(toldOf(joined({kStart, kBlackAlone, "~*t600R~*r1A~*b0M~*b+7Y", kEnd})),
            "page 1: 600 x 600 method 0 K\n"
            "offset *b+7Y\n"
            "broken off: 0 rows");
}

TEST(RasterReader, AnImageThatBreaksOffBehindARowIsReadWithANote) {
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A~*b0M~*b1W", Bytes{7}});
  Recorder sink;
  MemoryStream data(joined({head, kEnd}));
  ASSERT_TRUE(readRaster(data, sink, nullptr));
  EXPECT_EQ(sink.text,
            "page 1: 600 x 600 method 0 K\n"
            "row 0: 07\n"
            "broken off: 1 rows");
  EXPECT_EQ(sink.notes, std::vector<uint64_t>{head.size()});
}

TEST(RasterReader, APageOfUnknownInksIsReadWithANote) {
  Recorder sink;
  MemoryStream data(joined({kStart, "~*t600R~*r1A~*b0M~*b1W", Bytes{7}, "~*rC", kEnd}));
  ASSERT_TRUE(readRaster(data, sink, nullptr));
  EXPECT_EQ(sink.notes, std::vector<uint64_t>{15});
  EXPECT_EQ(sink.pages.at(0).format.colorSpace, -1);
}

TEST(RasterReader, WhatStandsInFrontOfDamageHasBeenTold) {
  struct Case {
    const char* name;
    const char* commands;
    const char* told;
  };
  const Case kCases[] = {
      {"the end of a page", "~*rC~&", "\nend: 0 rows"},
      {"a page that broke off", "~$E~&", "\nbroken off: 0 rows"},
      {"blank rows", "~*b1W7~*b2Y~&", "\nrow 0: 37\nblank 1 + 2"},
      {"the page's own offset", "~*b+2Y~&", "\noffset *b+2Y"},
      {"a row", "~*b1W7~&", "\nrow 0: 37"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Recorder sink;
    const Bytes stream = joined({kStart, kBlackAlone, "~*t600R~*r1A~*b0M", c.commands});
    MemoryStream data(stream);
    EXPECT_EQ(damageOf([&] { readRaster(data, sink, nullptr); }), stream.size() - 1);
    EXPECT_EQ(sink.text, std::string("page 1: 600 x 600 method 0 K") + c.told);
  }
}

// Offsets in raster mode -----------------------------------------------------------------------

PageFormat knownFormat(bool beginsWithYOffset, uint32_t width = 16) {
  PageFormat format;
  format.colorSpace = 5;
  format.beginsWithYOffset = beginsWithYOffset;
  PlaneFormat plane;
  plane.ink = Ink::K;
  plane.depth = 1;
  plane.width = width;
  plane.name = "K";
  format.planes.push_back(plane);
  return format;
}

TEST(RasterReaderOffsets, AnOffsetIsBlankRows) {
  EXPECT_EQ(
      rowsOf(oneImage(kBlackAlone, "0", joined({"~*b3Y~*b1W", Bytes{1}, "~*b2Y~*b1W", Bytes{2}}))),
      "blank 0 + 3\n"
      "row 3: 01\n"
      "blank 4 + 2\n"
      "row 6: 02");
}

TEST(RasterReaderOffsets, OneFromTheCurrentPositionIsThePagesOwn) {
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "0", joined({"~*b+3Y~*b2Y~*b1W", Bytes{1}}))),
            "offset *b+3Y\n"
            "blank 0 + 2\n"
            "row 2: 01");
}

TEST(RasterReaderOffsets, OfTwoThatFollowEachOtherTheFirstIsThePagesOwn) {
  // Blank rows in succession are one offset.
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "0", joined({"~*b3Y~*b2Y~*b1W", Bytes{1}}))),
            "offset *b3Y\n"
            "blank 0 + 2\n"
            "row 2: 01");
}

TEST(RasterReaderOffsets, AnOffsetOf0IsThePagesOwn) {
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "0", joined({"~*b0Y~*b1W", Bytes{1}}))),
            "offset *b0Y\n"
            "row 0: 01");
}

TEST(RasterReaderOffsets, AGivenFormatSaysWhetherThereIsOne) {
  const Bytes rows = joined({"~*b3Y~*b1W", Bytes{1}, "~*b2Y~*b1W", Bytes{2}});
  const std::vector<PageFormat> with = {knownFormat(true)};
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "0", rows), &with),
            "offset *b3Y\n"
            "row 0: 01\n"
            "blank 1 + 2\n"
            "row 3: 02");
  const std::vector<PageFormat> without = {knownFormat(false)};
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "0", rows), &without),
            "blank 0 + 3\n"
            "row 3: 01\n"
            "blank 4 + 2\n"
            "row 6: 02");
}

TEST(RasterReaderOffsets, ThePagesOwnIsNoRow) {
  const std::vector<PageFormat> with = {knownFormat(true)};
  EXPECT_EQ(toldOf(oneImage(kBlackAlone, "0", joined({"~*b300Y"})), &with),
            "page 1: 600 x 600 *p0X *p0Y method 0 K\n"
            "offset *b300Y\n"
            "end: 0 rows");
}

TEST(RasterReaderOffsets, EachPageHasItsOwn) {
  const Bytes page = joined({"~*t600R~*r1A~*b0M~*b3Y~*b1W", Bytes{1}, "~*rC"});
  const std::vector<PageFormat> formats = {knownFormat(true), knownFormat(false)};
  EXPECT_EQ(toldOf(joined({kStart, kBlackAlone, page, page, kEnd}), &formats),
            "page 1: 600 x 600 method 0 K\n"
            "offset *b3Y\n"
            "row 0: 01\n"
            "end: 1 rows\n"
            "page 2: 600 x 600 method 0 K\n"
            "blank 0 + 3\n"
            "row 3: 01\n"
            "end: 4 rows");
}

// Rows -----------------------------------------------------------------------------------------

TEST(RasterReaderRows, EveryPlaneOfARowInTheOrderOfTheFormat) {
  EXPECT_EQ(rowsOf(oneImage(kFourInks, "0",
                            joined({"~*b2Y", "~*b3V", Bytes{0, 0, 0xC0}, "~*b0V", "~*b2V",
                                    Bytes{0xFF, 0xFF}, "~*b0W"}))),
            "blank 0 + 2\n"
            "row 2: 00 00 C0 | | FF FF |");
}

TEST(RasterReaderRows, EveryMethod) {
  struct Case {
    const char* name;
    const char* method;
    Bytes rows;
    const char* told;
  };
  const Case kCases[] = {
      {"bytes", "0", joined({"~*b3W", Bytes{1, 2, 3}}), "row 0: 01 02 03"},
      {"PackBits", "2", joined({"~*b6W", Bytes{0xFC, 0x00, 0x00, 0x7E, 0xFE, 0x81}}),
       "row 0: 00 00 00 00 00 7E 81 81 81"},
      {"delta row behind a whole row", "3",
       joined({"~*b0M~*b4W", Bytes{1, 2, 3, 4}, "~*b3M~*b2W", Bytes{0x02, 0xAA}}),
       "row 0: 01 02 03 04\n"
       "row 1: 01 02 AA 04"},
      {"delta row behind a packed row", "2",
       joined({"~*b2W", Bytes{0xFD, 0x55}, "~*b3M~*b2W", Bytes{0x00, 0xAA}}),
       "row 0: 55 55 55 55\n"
       "row 1: AA 55 55 55"},
      {"delta rows without data", "3",
       joined({"~*b0M~*b2W", Bytes{1, 2}, "~*b3M~*b0W~*b2W", Bytes{0x01, 9}, "~*b0W"}),
       "row 0: 01 02\n"
       "row 1: 01 02\n"
       "row 2: 01 09\n"
       "row 3: 01 09"},
      {"HXRC, and HXRC below it", "4",
       joined(
           {"~*b5W", Bytes{0x32, 0xB2, 0x16, 0x2C, 0x00}, "~*b4W", Bytes{0x49, 0xA2, 0x98, 0x00}}),
       "row 0: 00 00 00 10 12 12 12 12\n"
       "row 1: 00 00 00 10 0F 0F 0F 12"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(rowsOf(oneImage(kBlackAlone, c.method, c.rows)), c.told);
  }
}

TEST(RasterReaderRows, TheMethodMayChangeBetweenTwoPlanes) {
  const Bytes block = joined({"~$v8W", Bytes{0x02, 2, 0x02, 8, 0x03, 8, 0x04, 0}});
  EXPECT_EQ(rowsOf(oneImage(block, "3",
                            joined({"~*b0M~*b3V", Bytes{1, 2, 3}, "~*b3W", Bytes{4, 5, 6},
                                    "~*b3M~*b2V", Bytes{0x01, 0xAA}, "~*b0M~*b3W", Bytes{7, 8, 9},
                                    "~*b3M~*b0M~*b3V", Bytes{7, 7, 7}, "~*b3M~*b0W"}))),
            "row 0: 01 02 03 | 04 05 06\n"
            "row 1: 01 AA 03 | 07 08 09\n"
            "row 2: 07 07 07 | 07 08 09");
}

TEST(RasterReaderRows, EachPlaneHasItsOwnRowAbove) {
  const Bytes block = joined({"~$v8W", Bytes{0x02, 2, 0x02, 8, 0x03, 0, 0x04, 8}});
  EXPECT_EQ(rowsOf(oneImage(block, "4",
                            joined({"~*b2V", Bytes{0xD9, 0x80}, "~*b2W", Bytes{0xD1, 0x80}, "~*b2V",
                                    Bytes{0x50, 0x00}, "~*b2W", Bytes{0x50, 0x00}}))),
            "row 0: 01 01 | FF FF\n"
            "row 1: 01 01 | FF FF");
}

TEST(RasterReaderRows, HalvesAreJoined) {
  const Bytes high = joined({"~*b3V", Bytes{0xD1, 0xD3, 0x60}});
  const Bytes low = Bytes{0xD1, 0xEF, 0x9A, 0xA0};
  const Bytes row = joined({high, "~*b4V", low, high, "~*b4V", low, high, "~*b4W", low});
  // Of the second row every byte is the one above: 01 00100 00000.
  const Bytes same =
      joined({"~*b2V", Bytes{0x48, 0x00}, "~*b2V", Bytes{0x48, 0x00}, "~*b2V", Bytes{0x48, 0x00},
              "~*b2V", Bytes{0x48, 0x00}, "~*b2V", Bytes{0x48, 0x00}, "~*b2W", Bytes{0x48, 0x00}});
  EXPECT_EQ(rowsOf(oneImage(kColours10, "4", joined({row, same}))),
            "row 0: FF FF FF FF FC 00 FD 55 | FF FF FF FF FC 00 FD 55 | FF FF FF FF FC 00 FD 55\n"
            "row 1: FF FF FF FF FC 00 FD 55 | FF FF FF FF FC 00 FD 55 | FF FF FF FF FC 00 FD 55");
}

TEST(RasterReaderRows, TheFirstHalfIsWhereAPlaneStandsAndBothCount) {
  class Planes : public RasterSink {
   public:
    void row(uint64_t /*index*/, std::span<const PlaneRow> planes) override {
      for (const PlaneRow& plane : planes) {
        offsets.push_back(plane.offset);
        coded.push_back(plane.codedBytes);
      }
    }
    std::vector<uint64_t> offsets, coded;
  };
  const Bytes high = joined({"~*b3V", Bytes{0xD1, 0xD3, 0x60}});
  const Bytes low = Bytes{0xD1, 0xEF, 0x9A, 0xA0};
  const Bytes head = joined({kStart, kColours10, "~*t600R~*r1A~*b4M"});
  Planes sink;
  MemoryStream data(
      joined({head, high, "~*b4V", low, high, "~*b4V", low, high, "~*b4W", low, "~*rC", kEnd}));
  ASSERT_TRUE(readRaster(data, sink, nullptr));
  EXPECT_EQ(sink.offsets, (std::vector<uint64_t>{head.size(), head.size() + 17, head.size() + 34}));
  EXPECT_EQ(sink.coded, (std::vector<uint64_t>{7, 7, 7}));
}

TEST(RasterReaderRows, APlaneThatCouldNotBeEncodedHasANumberInsteadOfData) {
  EXPECT_EQ(rowsOf(oneImage(kFourInks, "4",
                            joined({"~*b2V", Bytes{0x30, 0x00}, "~*b-5V", "~*b2V",
                                    Bytes{0xD8, 0x00}, "~*b-6W"}))),
            "row 0: 00 | failed -5 | 01 | failed -6");
  EXPECT_EQ(rowsOf(oneImage(kColours10, "4", joined({"~*b-6V~*b-6V~*b-6V~*b-6V~*b-6V~*b-6W"}))),
            "row 0: failed -6 | failed -6 | failed -6");
}

TEST(RasterReaderRows, WithoutAFormatTheFirstRowShowsHowManyPlanesThereAre) {
  const std::vector<PageFormat> unknown(1);
  const Bytes image = joined({"~*t600R~*r1A~*b0M~*b1V", Bytes{1}, "~*b1V", Bytes{2}, "~*b1W",
                              Bytes{3}, "~*b0V~*b0V~*b1W", Bytes{4}, "~*rC"});
  const Bytes stream = joined({kStart, image, kEnd});
  const char* const kTold =
      "page 1: 600 x 600 method 0\n"
      "row 0: 01 | 02 | 03\n"
      "row 1: | | 04\n"
      "end: 2 rows";
  EXPECT_EQ(toldOf(stream), kTold);
  EXPECT_EQ(toldOf(stream, &unknown), kTold);
}

TEST(RasterReaderRows, WithoutAFormatARowHasAtMost256Planes) {
  const Bytes head = joined({kStart, "~*t600R~*r1A~*b0M"});
  Bytes planes;
  for (int i = 0; i < 256; ++i) planes = joined({planes, "~*b0V"});
  EXPECT_EQ(damageIn(joined({head, planes, "~*b0W~*rC", kEnd})), head.size() + planes.size());
}

// Seed rows ------------------------------------------------------------------------------------

// A stream whose damage begins at a known place.
struct Damaged {
  const char* name;
  Bytes good;
  Bytes bad;
  size_t position = 0;  // in the bad bytes
};

void expectDamage(const std::vector<Damaged>& cases,
                  const std::vector<PageFormat>* formats = nullptr) {
  for (const Damaged& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(damageIn(joined({c.good, c.bad, "~*rC", kEnd}), formats), c.good.size() + c.position);
  }
}

const Bytes kBlackHead = joined({kStart, kBlackAlone, "~*t600R~*p0X~*p0Y~*r1A"});

TEST(RasterReaderSeedRow, NothingRefersToARowThatIsNotThere) {
  const Bytes delta = joined({"~*b2W", Bytes{0x00, 1}});
  const Bytes above = joined({"~*b1W", Bytes{0x60}});  // 01 1 00000
  const Bytes plain = joined({kBlackHead, "~*b0M~*b1W", Bytes{1}});
  const Bytes hxrc = joined({kBlackHead, "~*b4M~*b2W", Bytes{0x30, 0x00}});
  const char* const kNextPage = "~*rC~*t600R~*r1A";
  expectDamage({
      {"a delta row as the first row", joined({kBlackHead, "~*b3M"}), delta, 5},
      {"a delta row behind an offset", joined({plain, "~*b2Y~*b3M"}), delta, 5},
      {"a delta row as the second page's first", joined({plain, kNextPage, "~*b3M"}), delta, 5},
      {"HXRC of the row above as the first row", joined({kBlackHead, "~*b4M"}), above, 5},
      {"HXRC of the row above behind an offset", joined({hxrc, "~*b1Y"}), above, 5},
      {"HXRC of the row above as the second page's first", joined({hxrc, kNextPage, "~*b4M"}),
       above, 5},
  });
}

TEST(RasterReaderSeedRow, ADeltaRowWithoutDataIsNamedByItsCommand) {
  expectDamage({
      {"as the first row", joined({kBlackHead, "~*b3M"}), joined({"~*b0W"})},
      {"behind an offset", joined({kBlackHead, "~*b0M~*b1W", Bytes{1}, "~*b2Y~*b3M"}),
       joined({"~*b0W"})},
  });
}

TEST(RasterReaderSeedRow, BehindAnOffsetARowStandsForItself) {
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "4",
                            joined({"~*b2W", Bytes{0x30, 0x00}, "~*b1Y", "~*b2W", Bytes{0x30, 0x00},
                                    "~*b1W", Bytes{0x60}}))),
            "row 0: 00\n"
            "blank 1 + 1\n"
            "row 2: 00\n"
            "row 3: 00");
  EXPECT_EQ(
      rowsOf(oneImage(kBlackAlone, "3",
                      joined({"~*b0M~*b1W", Bytes{5}, "~*b1Y~*b1W", Bytes{6}, "~*b3M~*b0W"}))),
      "row 0: 05\n"
      "blank 1 + 1\n"
      "row 2: 06\n"
      "row 3: 06");
}

TEST(RasterReaderSeedRow, EveryPlaneOfARowIsNewBehindAnOffset) {
  const Bytes good = joined({kStart, kFourInks, "~*t600R~*r1A~*b4M~*b1Y", "~*b2V",
                             Bytes{0x30, 0x00}, "~*b2V", Bytes{0x30, 0x00}});
  expectDamage({{"the third plane", good, joined({"~*b1V", Bytes{0x60}}), 5}});
}

// What may stand where -------------------------------------------------------------------------

// Every command, with data where it has some.
struct Part {
  const char* name;
  Bytes bytes;
};

const std::vector<Part>& allParts() {
  static const std::vector<Part> kParts = {
      {"reset", joined({"~%-12345X"})},
      {"reset 0A", joined({"~%0A"})},
      {"reset E", joined({"~E"})},
      {"table", joined({"~$b1W", Bytes{7}})},
      {"configure", kFourInks},
      {"resolution", joined({"~*t600R"})},
      {"resolution X", joined({"~$r600X"})},
      {"resolution Y", joined({"~$r600Y"})},
      {"move X", joined({"~*p1X"})},
      {"move Y", joined({"~*p1Y"})},
      {"offset", joined({"~*b1Y"})},
      {"begin raster", joined({"~*r1A"})},
      {"method", joined({"~*b0M"})},
      {"plane", joined({"~*b1V", Bytes{7}})},
      {"last plane", joined({"~*b1W", Bytes{7}})},
      {"end raster", joined({"~*rC"})},
      {"end of page", joined({"~$E"})},
  };
  return kParts;
}

TEST(RasterReaderOrder, AMisplacedCommandIsNamedByItsEsc) {
  const Bytes head = joined({kStart, kFourInks, "~*t600R"});
  const Bytes raster = joined({head, "~*r1A~*b0M"});
  const Bytes rows =
      joined({raster, "~*b1V", Bytes{7}, "~*b1V", Bytes{7}, "~*b1V", Bytes{7}, "~*b1W", Bytes{7}});
  struct Place {
    const char* name;
    Bytes stream;
    std::vector<std::string> allowed;
  };
  const Place kPlaces[] = {
      {"behind the first reset", joined({"~%-12345X"}), {"reset 0A"}},
      {"behind the second reset", joined({"~%-12345X~%0A"}), {"reset E"}},
      {"behind the last reset",
       joined({kStart}),
       {"table", "configure", "resolution", "resolution X", "end of page"}},
      {"behind a table",
       joined({kStart, "~$b1W", Bytes{7}}),
       {"table", "configure", "resolution", "resolution X", "end of page"}},
      {"behind a configure block", joined({kStart, kFourInks}), {"resolution", "resolution X"}},
      {"between the two resolutions", joined({kStart, kFourInks, "~$r600X"}), {"resolution Y"}},
      {"behind the start of raster mode", joined({head, "~*r1A"}), {"method"}},
      {"inside a row", joined({raster, "~*b1V", Bytes{7}}), {"method", "plane"}},
      {"in front of the last plane",
       joined({raster, "~*b1V", Bytes{7}, "~*b1V", Bytes{7}, "~*b1V", Bytes{7}}),
       {"method", "last plane"}},
      {"behind a row",
       rows,
       {"offset", "method", "plane", "end raster", "configure", "resolution", "resolution X",
        "end of page"}},
      {"behind the end of raster mode",
       joined({rows, "~*rC"}),
       {"configure", "resolution", "resolution X", "end of page"}},
      {"behind the end of the page", joined({rows, "~*rC~$E"}), {"reset"}},
  };
  for (const Place& place : kPlaces) {
    SCOPED_TRACE(place.name);
    for (const Part& part : allParts()) {
      SCOPED_TRACE(part.name);
      const bool isAllowed =
          std::find(place.allowed.begin(), place.allowed.end(), part.name) != place.allowed.end();
      const Bytes stream = joined({place.stream, part.bytes});
      const auto damage = damageIn(stream);
      if (!isAllowed) {
        EXPECT_EQ(damage, place.stream.size());
      } else if (damage) {  // the stream ends there
        EXPECT_EQ(damage, stream.size());
      }
    }
  }
}

TEST(RasterReaderOrder, NothingOfARowStandsBetweenResolutionAndRasterMode) {
  const Bytes head = joined({kStart, kFourInks, "~*t600R~*p1X~*p1Y"});
  for (const Part& part : allParts()) {
    const std::string name = part.name;
    if (name != "table" && name != "method" && name != "plane" && name != "last plane" &&
        name != "end raster" && name != "reset" && name != "reset 0A" && name != "reset E") {
      continue;
    }
    SCOPED_TRACE(name);
    EXPECT_EQ(damageIn(joined({head, part.bytes})), head.size());
  }
}

TEST(RasterReaderOrder, NothingOfAPageStartStandsInRasterMode) {
  const Bytes head = joined({kStart, kFourInks, "~*t600R~*r1A~*b0M"});
  for (const Part& part : allParts()) {
    const std::string name = part.name;
    if (name != "table" && name != "move X" && name != "move Y" && name != "begin raster" &&
        name != "resolution Y" && name != "reset" && name != "reset 0A" && name != "reset E") {
      continue;
    }
    SCOPED_TRACE(name);
    EXPECT_EQ(damageIn(joined({head, part.bytes})), head.size());
  }
}

TEST(RasterReaderOrder, ARowHasAsManyCommandsAsThePageHasPlanes) {
  const Bytes head = joined({kStart, kFourInks, "~*t600R~*r1A~*b0M"});
  const Bytes two = joined({head, "~*b0V~*b1V", Bytes{1}});
  const Bytes three = joined({two, "~*b0V"});
  const Bytes row = joined({three, "~*b0W"});
  const Bytes halves = joined({kStart, kColours10, "~*t600R~*r1A~*b4M~*b-5V~*b-5V"});
  const Bytes unknown = joined({kStart, "~*t600R~*r1A~*b0M~*b1V", Bytes{1}, "~*b1W", Bytes{2}});
  expectDamage({
      {"one of four", head, joined({"~*b1W", Bytes{1}})},
      {"three of four", two, joined({"~*b1W", Bytes{1}})},
      {"five of four", three, joined({"~*b1V", Bytes{1}})},
      {"one of four in the second row", row, joined({"~*b0W"})},
      {"three of six halves", halves, joined({"~*b-5W"})},
      {"one of two, as the first row had", unknown, joined({"~*b1W", Bytes{1}})},
      {"three of two", joined({unknown, "~*b0V"}), joined({"~*b0V"})},
      {"an end inside a row", two, {}},
      {"an offset inside a row", two, joined({"~*b1Y"})},
  });
}

TEST(RasterReaderOrder, RowsOfAMethodThatThereIsNotAreRefusedWhereItWasSet) {
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A"});
  for (const char* const method : {"~*b1M", "~*b5M", "~*b256M", "~*b2147483647M"}) {
    SCOPED_TRACE(method);
    const Bytes row = joined({method, "~*b1W", Bytes{1}});
    expectDamage({
        {"as the first", head, row},
        {"between rows", joined({head, "~*b0M~*b1W", Bytes{1}}), row},
    });
  }
}

// The writer names the configured method also on pages that it has no rows for.
TEST(RasterReaderOrder, APageWithoutRowsMayNameAnyMethod) {
  Recorder recorder;
  MemoryStream data(joined({kStart, kBlackAlone, "~*t600R~*r1A~*b7M~*rC", kEnd}));
  EXPECT_TRUE(readRaster(data, recorder, nullptr));
}

TEST(RasterReaderOrder, AWrongConfigureBlockIsNamedByItsByte) {
  const Bytes head = joined({kStart});
  expectDamage({
      {"an identifier", head, joined({"~$v8W", Bytes{0x02, 3, 0x02, 8, 0x02, 8, 0x04, 8}}), 9},
      {"a colour space", head, joined({"~$v4W", Bytes{0x05, 1, 0x05, 8}}), 5},
      {"a depth", head, joined({"~$v4W", Bytes{0x02, 1, 0x05, 0x80}}), 8},
  });
  // Sizes that no block has: at the command when they are out of all bounds, else at the data.
  expectDamage({
      {"no bytes", head, joined({"~$v0W"})},
      {"five bytes", head, joined({"~$v5W", Bytes(5, 5)}), 5},
      {"29 bytes", head, joined({"~$v29W", Bytes(29, 5)}), 6},
      {"2147483647 bytes", head, joined({"~$v2147483647W"})},
  });
}

// Lengths and data -----------------------------------------------------------------------------

TEST(RasterReaderRows, ARowIsNotLongerThanAGivenWidth) {
  const std::vector<PageFormat> formats = {knownFormat(false)};  // 16 pixels at one bit
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A"});
  EXPECT_EQ(rowsOf(oneImage(kBlackAlone, "0", joined({"~*b2W", Bytes{1, 2}})), &formats),
            "row 0: 01 02");
  expectDamage(
      {
          {"three bytes", joined({head, "~*b0M"}), joined({"~*b3W", Bytes{1, 2, 3}})},
          {"three bytes packed", joined({head, "~*b2M"}), joined({"~*b2W", Bytes{0xFE, 1}})},
          {"three bytes in HXRC", joined({head, "~*b4M"}), joined({"~*b2W", Bytes{0x32, 0x80}})},
      },
      &formats);
}

TEST(RasterReaderRows, AWholeRowIsNotShorterThanAGivenWidth) {
  const std::vector<PageFormat> formats = {knownFormat(false)};
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A"});
  expectDamage(
      {
          {"one byte in HXRC", joined({head, "~*b4M"}), joined({"~*b2W", Bytes{0x30, 0x00}})},
          {"one byte in front of delta rows", joined({head, "~*b3M~*b0M"}),
           joined({"~*b1W", Bytes{1}})},
      },
      &formats);
}

TEST(RasterReaderRows, WholeRowsOfAPlaneAreOfOneLength) {
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A"});
  const Bytes hxrcOfOne = joined({"~*b2W", Bytes{0x30, 0x00}});
  const Bytes hxrcOfTwo = joined({"~*b2W", Bytes{0x33, 0x00}});  // 001 1 001 1 00000
  const Bytes delta = joined({head, "~*b3M~*b0M~*b2W", Bytes{1, 2}});
  expectDamage({
      {"a longer one in HXRC behind an offset", joined({head, "~*b4M", hxrcOfOne, "~*b1Y"}),
       hxrcOfTwo},
      {"a shorter one in HXRC", joined({head, "~*b4M", hxrcOfTwo}), hxrcOfOne},
      {"a longer one in front of delta rows", delta, joined({"~*b3W", Bytes{1, 2, 3}})},
      {"a shorter one in front of delta rows", delta, joined({"~*b1W", Bytes{1}})},
      {"a shorter one behind an offset", joined({delta, "~*b1Y"}), joined({"~*b1W", Bytes{1}})},
  });
}

TEST(RasterReaderRows, TrimmedRowsMayHaveAnyLength) {
  EXPECT_EQ(
      rowsOf(oneImage(kBlackAlone, "0",
                      joined({"~*b2W", Bytes{1, 2}, "~*b1W", Bytes{3}, "~*b3W", Bytes{4, 5, 6}}))),
      "row 0: 01 02\n"
      "row 1: 03\n"
      "row 2: 04 05 06");
}

TEST(RasterReaderRows, BothHalvesOfAPlaneAreOfOneLength) {
  const Bytes good = joined({kStart, kColours10, "~*t600R~*r1A~*b4M~*b2V", Bytes{0x33, 0x00}});
  expectDamage({{"two high bytes, one low byte", good, joined({"~*b2V", Bytes{0x30, 0x00}})}});
}

TEST(RasterReaderRows, DamagedDataAreNamedByTheirByte) {
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A"});
  const Bytes packed = joined({head, "~*b2M"});
  const Bytes delta = joined({head, "~*b3M~*b0M~*b4W", Bytes{1, 2, 3, 4}, "~*b3M"});
  const Bytes hxrc = joined({head, "~*b4M"});
  expectDamage({
      {"PackBits 128", packed, joined({"~*b4W", Bytes{0x00, 1, 0x80, 2}}), 7},
      {"PackBits that are cut off", packed, joined({"~*b3W", Bytes{0xFE, 1, 0xFE}}), 8},
      {"PackBits without a byte for a header", packed, joined({"~*b1W", Bytes{0x00}}), 6},
      {"a delta row that reaches too far", delta, joined({"~*b4W", Bytes{0x00, 9, 0x03, 9}}), 7},
      {"a delta row that is cut off", delta, joined({"~*b1W", Bytes{0x00}}), 6},
      {"HXRC without end", hxrc, joined({"~*b1W", Bytes{0x33}}), 6},
      {"HXRC without data", hxrc, joined({"~*b0W"}), 0},
      {"HXRC that is no code", hxrc, joined({"~*b3W", Bytes{0x33, 0x08, 0x00}}), 6},
      {"HXRC with bytes behind its end", hxrc, joined({"~*b3W", Bytes{0x30, 0x00, 0x00}}), 7},
  });
}

// Packets --------------------------------------------------------------------------------------

TEST(RasterReaderPackets, DamageIsNamedByItsPlaceInTheFile) {
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A~*b2M"});
  const Bytes rest = joined({"~*rC", kEnd});
  const Damaged kCases[] = {
      {"a byte of data", head, joined({"~*b4W", Bytes{0x00, 1, 0x80, 2}}), 7},
      {"a byte that continues no command", head, joined({"~*bQ"}), 3},
      {"a command that is misplaced", head, joined({"~*p1X"}), 0},
      {"a number that is none", head, joined({"~*b01W"}), 0},
      {"a wrong configure block", head, joined({"~*rC~$v4W", Bytes{0x02, 1, 0x06, 8}}), 11},
  };
  for (const Damaged& c : kCases) {
    SCOPED_TRACE(c.name);
    const Bytes stream = joined({c.good, c.bad, rest});
    const size_t at = c.good.size() + c.position;
    size_t wrong = 0;  // piece sizes
    for (size_t piece = 1; piece <= stream.size(); ++piece) {
      RasterSink sink;
      MemoryStream data(stream, piece, 1000);
      if (damageOf([&] { readRaster(data, sink, nullptr); }) != at + at / piece * 1000) ++wrong;
    }
    EXPECT_EQ(wrong, 0U);
  }
}

// A stream with everything in it.
Bytes richStream() {
  const Bytes high = joined({"~*b3V", Bytes{0xD1, 0xD3, 0x60}});
  const Bytes low = Bytes{0xD1, 0xEF, 0x9A, 0xA0};
  const Bytes black = joined({"~*b0M~*b4W", Bytes{1, 2, 3, 4}, "~*b3M~*b2W", Bytes{0x02, 0xAA},
                              "~*b0W~*b7Y~*b0M~*b4W", Bytes{4, 3, 2, 1}});
  return joined({kStart, "~$b5W", Bytes{0x1B, 2, 3, 4, 5}, "~$b0W",
                 // deep colours in HXRC
                 kColours10, "~$r600X~$r1200Y~*b3Y~*p10X~*p+20Y~*r1A~*b4M~*b+5Y~*b2Y", high,
                 "~*b4V", low, high, "~*b4V", low, high, "~*b4W", low, "~*rC",
                 // the same format, broken off
                 "~*t600R~*p0X~*p0Y~*r1A~*b4M",
                 // one ink, delta rows
                 kBlackAlone, "~*t600R~*p-1X~*r1A~*b3M", black, "~*rC",
                 // four inks, PackBits, one plane without an image
                 kFourInks, "~*t600R~*r1A~*b2M~*b2V", Bytes{0xFE, 0x55}, "~*b0V~*b3V",
                 Bytes{1, 0, 9}, "~*b-7W~*rC", kEnd});
}

TEST(RasterReaderPackets, EveryPieceSizeGivesTheSame) {
  const Bytes stream = richStream();
  Recorder whole(Recorder::kEverything);
  MemoryStream data(stream);
  ASSERT_TRUE(readRaster(data, whole, nullptr));
  EXPECT_EQ(whole.pages.size(), 4U);
  for (size_t piece = 1; piece <= stream.size(); ++piece) {
    Recorder sink(Recorder::kEverything);
    MemoryStream pieces(stream, piece);
    ASSERT_TRUE(readRaster(pieces, sink, nullptr));
    ASSERT_EQ(sink.text, whole.text) << piece;
    ASSERT_TRUE(pieces.atEnd());
  }
}

TEST(RasterReaderPackets, EveryCommandIsWhereItsEscStands) {
  class Offsets : public RasterSink {
   public:
    void command(const Command& command) override { offsets.push_back(command.offset); }
    std::vector<uint64_t> offsets;
  };
  const Bytes stream = richStream();
  Offsets whole;
  MemoryStream data(stream);
  ASSERT_TRUE(readRaster(data, whole, nullptr));
  for (const uint64_t offset : whole.offsets) EXPECT_EQ(stream.at(offset), 0x1B);
  for (size_t piece = 1; piece <= stream.size(); ++piece) {
    Offsets sink;
    MemoryStream pieces(stream, piece, 1000);
    ASSERT_TRUE(readRaster(pieces, sink, nullptr));
    ASSERT_EQ(sink.offsets.size(), whole.offsets.size());
    for (size_t i = 0; i < sink.offsets.size(); ++i)
      ASSERT_EQ(sink.offsets[i], whole.offsets[i] + whole.offsets[i] / piece * 1000) << piece;
  }
}

// Damage of every kind -------------------------------------------------------------------------

TEST(RasterReaderDamage, AStreamThatIsCutOffAnywhereEndsTooEarly) {
  const Bytes stream = richStream();
  for (size_t size = 0; size < stream.size(); ++size) {
    const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
    for (const size_t piece : {SIZE_MAX, size_t{1}}) {
      RasterSink sink;
      MemoryStream data(cut, piece);
      if (size < 9) {
        ASSERT_FALSE(readRaster(data, sink, nullptr)) << size;
      } else {
        ASSERT_EQ(damageOf([&] { readRaster(data, sink, nullptr); }), size);
      }
    }
  }
}

// Reads anything; fails when an error is named outside of the stream.
void readAnything(const Bytes& stream, const std::vector<PageFormat>* formats) {
  Recorder sink(Recorder::kEverything);
  MemoryStream data(stream, 16);
  const auto damage = damageOf([&] { readRaster(data, sink, formats); });
  ASSERT_LE(damage.value_or(0), stream.size());
}

TEST(RasterReaderDamage, AChangeOfAnyByteIsReadOrRefused) {
  const Bytes good = richStream();
  const std::vector<PageFormat> formats = {knownFormat(true), knownFormat(false)};
  for (size_t at = 0; at < good.size(); ++at) {
    Bytes values = bytesOf("019+-*$ERWVYM\x1B\xFF");
    values.push_back(0);
    for (unsigned bit = 0; bit < 8; ++bit)
      values.push_back(static_cast<uint8_t>(good[at] ^ 1U << bit));
    Bytes stream = good;
    for (const uint8_t value : values) {
      stream[at] = value;
      ASSERT_NO_FATAL_FAILURE(readAnything(stream, nullptr));
    }
    ASSERT_NO_FATAL_FAILURE(readAnything(stream, &formats));
  }
}

TEST(RasterReaderDamage, CommandsInAnyOrderAreReadOrRefused) {
  std::mt19937 random(20240501);
  const std::vector<Part>& parts = allParts();
  const Bytes heads[] = {joined({kStart}), kBlackHead,
                         joined({kStart, kColours10, "~*t600R~*r1A~*b4M"}),
                         joined({kStart, "~*t600R~*r1A~*b2M"})};
  for (int round = 0; round < 4000; ++round) {
    Bytes stream = heads[random() % std::size(heads)];
    for (size_t i = random() % 12; i > 0; --i) {
      const Bytes& part = parts[random() % parts.size()].bytes;
      stream.insert(stream.end(), part.begin(), part.end());
    }
    ASSERT_NO_FATAL_FAILURE(readAnything(stream, nullptr));
  }
}

TEST(RasterReaderDamage, AHugeNumberTakesNoTimeAndNoMemory) {
  const Bytes head = joined({kStart, kBlackAlone, "~*t600R~*r1A"});
  for (const char* const row :
       {"~*b0M~*b2147483647W", "~*b2M~*b2147483647W", "~*b4M~*b2147483647W"}) {
    SCOPED_TRACE(row);
    const Bytes stream = joined({head, row, kEnd});
    EXPECT_EQ(damageIn(stream), stream.size());
  }
  EXPECT_EQ(
      rowsOf(oneImage(kBlackAlone, "0",
                      joined({"~*b2147483647Y~*b1W", Bytes{1}, "~*b2147483647Y~*b1W", Bytes{2}}))),
      "blank 0 + 2147483647\n"
      "row 2147483647: 01\n"
      "blank 2147483648 + 2147483647\n"
      "row 4294967295: 02");
}

RC_GTEST_PROP(RasterReaderProperty, AnyBytesBehindAGoodBeginning, (const Bytes& rest)) {
  const auto begin = *rc::gen::element<Bytes>(
      Bytes{}, joined({"~%-12345X"}), joined({kStart}), joined({kStart, kBlackAlone}), kBlackHead,
      joined({kStart, kColours10, "~*t600R~*r1A~*b4M~*b40V"}),
      joined({kStart, kBlackAlone, "~*t600R~*r1A~*b2M~*b20W"}));
  const Bytes stream = joined({begin, rest});
  RasterSink sink;
  MemoryStream data(stream);
  const auto damage = damageOf([&] { RC_ASSERT(!readRaster(data, sink, nullptr)); });
  RC_ASSERT(damage.value_or(0) <= stream.size());
}

// What a row of any bytes is sent as and read back from.
RC_GTEST_PROP(RasterReaderProperty, RowsAreReadBackThroughAnyPackets, ()) {
  const auto rows = *rc::gen::container<std::vector<Bytes>>(rc::gen::resize(
      200, rc::gen::nonEmpty(rc::gen::container<Bytes>(rc::gen::arbitrary<uint8_t>()))));
  Bytes commands;
  std::string want;
  for (size_t i = 0; i < rows.size(); ++i) {
    commands = joined({commands, "~*b" + std::to_string(rows[i].size()) + "W", rows[i]});
    want += "\nrow " + std::to_string(i) + ": " + hex(rows[i]);
  }
  Recorder sink;
  MemoryStream data(oneImage(kBlackAlone, "0", commands), *rc::gen::inRange<size_t>(1, 300), 77);
  RC_ASSERT(readRaster(data, sink, nullptr));
  RC_ASSERT(sink.text == "page 1: 600 x 600 *p0X *p0Y method 0 K" + want +
                             "\nend: " + std::to_string(rows.size()) + " rows");
}

}  // namespace
