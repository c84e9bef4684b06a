// Tests of the band encoder: which rows are blank, what is sent for the others in every mode, when
// the compression changes, and how much working memory is kept.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "HXRasterLib.h"
#include "HXRasterState.h"
#include "PageJob.h"
#include "RowPacker.h"

namespace {

struct WorldFree {
  void operator()(ZKGWorld* world) const { std::free(world); }
};
using World = std::unique_ptr<ZKGWorld, WorldFree>;

/// A plane of a band under test.
struct Plane {
  std::vector<Bytes> rows;
  int bits = 8;
  int width = -1;        // pixels; -1: as many bytes as the first row has
  bool missing = false;  // the pixel buffer was never made
};

// A buffer that is exactly as large as its rows, so that the sanitizer sees a byte too many.
World makeWorld(const Plane& plane) {
  const int width = plane.width >= 0
                        ? plane.width
                        : (plane.rows.empty() ? 0 : static_cast<int>(plane.rows[0].size()));
  const auto height = static_cast<long>(plane.rows.size());
  const ZKRect box = {0, 0, height, width};
  ZKGWorld* world = nullptr;
  const bool deep = plane.bits == 10 || plane.bits == 12;
  const auto depth = static_cast<int16_t>(plane.bits >= 1 && plane.bits <= 16 ? plane.bits : 8);
  if (ZKNewGWorld(&world, depth, &box, deep ? 1 : 0) != 0) throw std::bad_alloc();
  for (size_t row = 0; row < plane.rows.size(); ++row) {
    const Bytes& bytes = plane.rows[row];
    if (bytes.size() > static_cast<size_t>(world->rowBytes)) throw std::length_error("row");
    std::copy(bytes.begin(), bytes.end(),
              world->pixels + row * static_cast<size_t>(world->rowBytes));
  }
  return World(world);
}

class HXRasterBandTest : public testing::Test {
 protected:
  ~HXRasterBandTest() override {
    HXRaster_New();
    sThisIsBlankLine = false;
    HXRaster_SetPrintableWidthInPixel(0);
  }

  /// A new page of so many planes.
  void begin(int planes, int printableWidth, int compression = 0) {
    HXRaster_New();
    HXRaster_SetNumOfPlanes(planes);
    HXRaster_SetPrintableWidthInPixel(static_cast<uint32_t>(printableWidth));
    HXRaster_SetCompressionMode(compression);
    sThisIsBlankLine = false;
    mBlankLines = 0;
    stream.takeBytes();
  }

  /// Sends one band and gives what it sent. The planes' first rows say how wide the page is.
  Bytes bandBytes(int mode, const std::vector<Plane>& planes, int rows = -1) {
    std::vector<World> worlds;
    HXRasterPlane* list = nullptr;
    for (const Plane& plane : planes) {
      HXRasterPlane* entry = addPlane(list);
      if (list == nullptr) list = entry;
      worlds.push_back(plane.missing ? nullptr : makeWorld(plane));
      entry->pixels = worlds.back().get();
      entry->bitsPerPixel = static_cast<int8_t>(plane.bits);
    }
    size_t most = 0;
    for (const Plane& plane : planes) most = std::max(most, plane.rows.size());
    EXPECT_EQ(HXRaster_KeepWorkingMemory(list, mode), 0);
    HXRaster_SendBand(list, rows >= 0 ? rows : static_cast<int>(most), mode);
    HXRaster_FreeWorkingMemory(mode);
    deletePlane(list);
    return stream.takeBytes();
  }
  std::string band(int mode, const std::vector<Plane>& planes, int rows = -1) {
    return visible(bandBytes(mode, planes, rows));
  }

  BareStream stream;
};

const int kAllModes[] = {1000, 1002, 1003, 1004, 1256, 2000, 2002, 2003, 2256, 3000, 3002, 3003,
                         3004, 3256, 4000, 4002, 4003, 4004, 4256, 5000, 5002, 5003, 5256};
const int kLazyModes[] = {1000, 1002, 2000, 2002, 4000, 4002, 5000, 5002};
const int kTrimmedModes[] = {1003, 1004, 1256, 2003, 2256, 4003, 4004, 4256, 5003, 5256};
const int kGroup3Modes[] = {3000, 3002, 3003, 3004, 3256};

int compressionOf(int mode) {
  return mode % 1000;
}
uint8_t blankOf(int mode) {
  const int group = mode / 1000;
  return group == 2 || group == 3 ? 0xFF : 0x00;
}
/// The compression that a page of a mode starts with.
int startOf(int mode) {
  return compressionOf(mode) == 256 ? 2 : compressionOf(mode);
}
/// What a row looks like on its own, whole or trimmed.
Bytes coded(int mode, const Bytes& row) {
  if (compressionOf(mode) != 2 && compressionOf(mode) != 256) return row;
  Bytes code(row.size() + row.size() / 128 + 1);
  code.resize(static_cast<size_t>(RowPacker_Pack(row.data(), static_cast<int>(row.size()),
                                                 code.data(), static_cast<int64_t>(code.size()))));
  return code;
}
std::string rowCommand(size_t bytes, char letter) {
  return "~*b" + std::to_string(bytes) + letter;
}
std::string label(int mode) {
  return "mode " + std::to_string(mode);
}

// Blank rows -------------------------------------------------------------------------------------

TEST_F(HXRasterBandTest, BlankRowsOfATrimmedModeSendNothingAndAreCounted) {
  for (const int mode : kTrimmedModes) {
    SCOPED_TRACE(label(mode));
    begin(2, 1);
    Plane blank;
    blank.rows = {Bytes(3, blankOf(mode)), Bytes(3, blankOf(mode))};
    EXPECT_EQ(band(mode, {blank, blank}), "");
    EXPECT_EQ(mBlankLines, 2);
  }
}

TEST_F(HXRasterBandTest, MoreBlankRowsThanANumberHoldsAreNoOverflow) {
  for (const int mode : {1000, 1003, 3000}) {
    SCOPED_TRACE(label(mode));
    const int planes = mode == 3000 ? 3 : 1;
    begin(planes, 1);
    mBlankLines = INT32_MAX;
    Plane blank;
    blank.rows = {Bytes(1, blankOf(mode))};
    EXPECT_EQ(band(mode, std::vector<Plane>(static_cast<size_t>(planes), blank)), "");
    EXPECT_EQ(mBlankLines, INT32_MIN);
  }
}

// Working memory ---------------------------------------------------------------------------------

int64_t leastMemory(int planes, int64_t printableWidth, int bits) {
  const int64_t ends = printableWidth < 16 ? 32 : 2 * printableWidth;
  const int64_t row = (bits * printableWidth + 7) / 8;
  return planes * std::max(ends, row + (row + 126) / 127);
}

TEST_F(HXRasterBandTest, TheFourUncompressedModesNeedNoWorkingMemory) {
  for (const int mode : {2000, 3000, 4000, 5000}) {
    uint8_t anything = 0;
    mCodeDataBytes = 5;
    mCodeDataP = &anything;
    EXPECT_EQ(HXRaster_KeepWorkingMemory(nullptr, mode), 0);
    EXPECT_EQ(mCodeDataBytes, 0);
    EXPECT_EQ(mCodeDataP, nullptr);
  }
}

TEST_F(HXRasterBandTest, EveryOtherModeKeepsThreeBuffersForAllPlanes) {
  struct Case {
    const char* name;
    int planes;
    int width;
    int bits;
  };
  const Case kCases[] = {
      {"width 0", 1, 0, 8},
      {"width 15", 1, 15, 8},
      {"width 16", 1, 16, 8},
      {"one bit", 4, 1000, 1},
      {"eight bits", 4, 127, 8},
      {"sixteen bits", 3, 127, 16},
      {"sixteen bits, one block more", 3, 128, 16},
      {"many planes", 127, 20, 8},
  };
  for (const int mode : kAllModes) {
    if (mode == 2000 || mode == 3000 || mode == 4000 || mode == 5000) continue;
    for (const Case& c : kCases) {
      SCOPED_TRACE(label(mode) + ", " + c.name);
      begin(c.planes, c.width);
      HXRasterPlane* list = addPlane(nullptr);
      list->bitsPerPixel = static_cast<int8_t>(c.bits);
      HXRasterPlane* second = addPlane(list);
      second->bitsPerPixel = 1;
      EXPECT_EQ(HXRaster_KeepWorkingMemory(list, mode), 0);
      EXPECT_GE(mCodeDataBytes, leastMemory(c.planes, c.width, c.bits));
      for (uint8_t* buffer : {mCodeDataP, mCodeDataHigherP, mCodeDataLowerP}) {
        ASSERT_NE(buffer, nullptr);
        std::memset(buffer, 0x55, static_cast<size_t>(mCodeDataBytes));
      }
      deletePlane(list);
      HXRaster_FreeWorkingMemory(mode);
    }
  }
}

TEST_F(HXRasterBandTest, NoPlanesAndAnUnsetWidthNeedNoMuchMemory) {
  for (const int planes : {0, 1, 127, 128, 255}) {
    for (const int width : {-1, 0, -1000}) {
      begin(planes, width);
      EXPECT_EQ(HXRaster_KeepWorkingMemory(nullptr, 1002), 0);
      EXPECT_GE(mCodeDataBytes, 0);
      HXRaster_FreeWorkingMemory(1002);
    }
  }
}

TEST_F(HXRasterBandTest, TheMemoryOfMode1000IsNotFreed) {
  begin(1, 100);
  HXRasterPlane* list = addPlane(nullptr);
  list->bitsPerPixel = 8;
  ASSERT_EQ(HXRaster_KeepWorkingMemory(list, 1000), 0);
  uint8_t* const kept = mCodeDataP;
  const auto size = static_cast<size_t>(mCodeDataBytes);
  HXRaster_FreeWorkingMemory(1000);
  EXPECT_EQ(mCodeDataP, kept);
  std::memset(kept, 1, size);  // the sanitizer sees memory that is gone
  deletePlane(list);
}

TEST_F(HXRasterBandTest, FreeingLeavesPointersIntoPixelBuffersAlone) {
  const Plane plane = {{{1, 2, 3, 4}}};
  const World world = makeWorld(plane);
  for (const int mode : {1000, 2000, 3000, 4000, 5000}) {
    begin(1, 4);
    HXRasterPlane* list = addPlane(nullptr);
    list->pixels = world.get();
    list->bitsPerPixel = 8;
    ASSERT_EQ(HXRaster_KeepWorkingMemory(list, mode), 0);
    HXRaster_SendBand(list, 1, mode);
    EXPECT_EQ(mCodeDataP, world->pixels);
    HXRaster_FreeWorkingMemory(mode);
    EXPECT_EQ(world->pixels[3], 4);
    deletePlane(list);
  }
}

// Rows that no compression writes past its memory: the printable width says less than the rows.
TEST_F(HXRasterBandTest, RowsWiderThanThePrintableWidthAreEncodedWhole) {
  std::mt19937 random(7);
  for (const int mode : kAllModes) {
    for (const int printable : {-1, 0, 1, 20, 999, 1000}) {
      for (const int bits : {1, 8, 12, 16}) {
        SCOPED_TRACE(label(mode) + ", printable " + std::to_string(printable) + ", bits " +
                     std::to_string(bits));
        const int width = 1000;
        const size_t stored = bits == 12 ? 2000 : static_cast<size_t>(width * bits / 8);
        std::vector<Plane> planes(3, Plane{{}, bits, width});
        for (Plane& plane : planes) {
          for (int row = 0; row < 3; ++row) {
            Bytes bytes(stored);
            for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() | 1U) & 0xFDU;
            plane.rows.push_back(bytes);
          }
        }
        begin(3, printable, startOf(mode));
        const Bytes got = bandBytes(mode, planes);
        // Without a printable width every row of group 3 passes for white.
        if (mode / 1000 == 3 && printable <= 0) {
          EXPECT_TRUE(got.empty());
        } else {
          EXPECT_GT(got.size(), 9 * stored / 4);
        }
      }
    }
  }
}

// Nothing to send --------------------------------------------------------------------------------

TEST_F(HXRasterBandTest, ABandWithoutRowsSendsNothing) {
  for (const int mode : kAllModes) {
    begin(3, 4);
    for (const int rows : {0, -1, -300}) {
      std::vector<Plane> planes(3, Plane{{{1, 2, 3, 4}}});
      HXRasterPlane* list = addPlane(nullptr);
      ASSERT_EQ(HXRaster_KeepWorkingMemory(list, mode), 0);
      HXRaster_SendBand(list, rows, mode);
      HXRaster_FreeWorkingMemory(mode);
      deletePlane(list);
      EXPECT_EQ(stream.take(), "") << label(mode);
      EXPECT_EQ(mBlankLines, 0);
    }
  }
}

TEST_F(HXRasterBandTest, AnUnknownModeSendsNothingAndChangesNothing) {
  for (const int mode : {-1, 0, 2, 3, 4, 256, 1001, 2004, 3001, 5004, 1255, 6000, 6003, 10000}) {
    SCOPED_TRACE(label(mode));
    begin(1, 4, 3);
    mBlankLines = 5;
    EXPECT_EQ(band(mode, {{{{1, 2, 3, 4}, {0, 0, 0, 0}, {0xFF, 0xFF, 0xFF, 0xFF}}}}), "");
    EXPECT_EQ(mBlankLines, 5);
    EXPECT_EQ(mCompressionMode, 3);
    EXPECT_FALSE(sSeedRowUnkown);
    EXPECT_FALSE(sThisIsBlankLine);
    sSeedRowUnkown = true;
    sThisIsBlankLine = true;
    EXPECT_EQ(band(mode, {{{{1, 2, 3, 4}}}}), "");
    EXPECT_TRUE(sSeedRowUnkown);
    EXPECT_TRUE(sThisIsBlankLine);
  }
}

// Blank rows -------------------------------------------------------------------------------------

/// The first row of a page, or the first after an offset.
std::string freshRow(int mode, int inForce, const Bytes& row, char letter) {
  std::string text;
  const int method = compressionOf(mode) == 3 ? 0 : compressionOf(mode) == 256 ? 2 : inForce;
  if (method != inForce) text += sent({"~*b" + std::to_string(method) + "M"});
  const Bytes code = coded(mode, row);
  return text + sent({rowCommand(code.size(), letter), code});
}

TEST_F(HXRasterBandTest, BlankRowsAreCountedAndSentBeforeTheNextRowWithData) {
  for (const int mode : kAllModes) {
    if (compressionOf(mode) == 4) continue;
    SCOPED_TRACE(label(mode));
    const uint8_t blank = blankOf(mode);
    const Bytes white(4, blank);
    const Bytes ink = {1, 2, 3, 4};
    std::vector<Plane> planes(3, Plane{{white, white, ink, white, white, white}});
    begin(3, 4, startOf(mode));
    const int after = compressionOf(mode) == 3 ? 0 : startOf(mode);
    const std::string row = freshRow(mode, startOf(mode), ink, 'V') +
                            freshRow(mode, after, ink, 'V') + freshRow(mode, after, ink, 'W');
    EXPECT_EQ(band(mode, planes), sent({"~*b2Y"}) + row);
    EXPECT_EQ(mBlankLines, 3);
    // The next band goes on counting.
    for (Plane& plane : planes) plane.rows = {white, ink};
    EXPECT_EQ(band(mode, planes), sent({"~*b4Y"}) + freshRow(mode, after, ink, 'V') +
                                      freshRow(mode, after, ink, 'V') +
                                      freshRow(mode, after, ink, 'W'));
    EXPECT_EQ(mBlankLines, 0);
  }
}

TEST_F(HXRasterBandTest, BlankRowsInFrontOfAnHxrcRowMakeItsPreviousRowUnknown) {
  for (const int mode : {1004, 3004, 4004}) {
    SCOPED_TRACE(label(mode));
    const Bytes white(1, blankOf(mode));
    // One byte of 1: a difference of 1 from the left, 1 101 1, and the end code 00000.
    const Bytes alone = {0xD8, 0x00};
    // The same below itself: a run of 1 from above, 01 1, and the end code.
    const Bytes again = {0x60};
    std::vector<Plane> planes(3, Plane{{white, {1}, {1}, white, {1}}});
    begin(3, 1, 4);
    EXPECT_EQ(band(mode, planes),
              sent({"~*b1Y", "~*b2V", alone,   "~*b2V", alone,   "~*b2W", alone,
                    "~*b1V", again,   "~*b1V", again,   "~*b1W", again,   "~*b1Y",
                    "~*b2V", alone,   "~*b2V", alone,   "~*b2W", alone}));
  }
}

TEST_F(HXRasterBandTest, ABandOfBlankRowsSendsNothing) {
  for (const int mode : kAllModes) {
    SCOPED_TRACE(label(mode));
    begin(3, 5, startOf(mode));
    const std::vector<Plane> planes(3, Plane{std::vector<Bytes>(300, Bytes(5, blankOf(mode)))});
    EXPECT_EQ(band(mode, planes), "");
    EXPECT_EQ(mBlankLines, 300);
    EXPECT_FALSE(sSeedRowUnkown);
  }
}

TEST_F(HXRasterBandTest, WhatIsBlankInOneGroupIsInkInTheOther) {
  for (const int mode : kAllModes) {
    SCOPED_TRACE(label(mode));
    const auto notBlank = static_cast<uint8_t>(~blankOf(mode));
    begin(3, 1, startOf(mode));
    const std::vector<Plane> planes(3, Plane{{{notBlank}}});
    EXPECT_NE(band(mode, planes), "");
    EXPECT_EQ(mBlankLines, 0);
  }
}

TEST_F(HXRasterBandTest, OnlyOffsetsOfTheEagerBlankTestsForgetTheRowAbove) {
  for (const int mode : kAllModes) {
    SCOPED_TRACE(label(mode));
    const bool differences = compressionOf(mode) >= 3;
    begin(3, 1, startOf(mode));
    mBlankLines = 1;
    const std::vector<Plane> planes(3, Plane{{{7}}});
    band(mode, planes);
    // Rows of the seed-row and HXRC modes clear the flag again; 3000 and 3002 leave it set.
    EXPECT_EQ(sSeedRowUnkown, mode == 3000 || mode == 3002);
    sSeedRowUnkown = true;
    band(mode, planes);
    EXPECT_EQ(sSeedRowUnkown, !differences);
  }
}

// Lazy blank test: compression 0 and 2 -----------------------------------------------------------

TEST_F(HXRasterBandTest, TrailingBlankBytesAreNotSent) {
  Bytes row(100, 0);
  for (size_t i = 0; i < 60; ++i) row[i] = static_cast<uint8_t>(i + 1);
  const Bytes first60(row.begin(), row.begin() + 60);
  begin(1, 100);
  EXPECT_EQ(band(1000, {{{row}}}), sent({"~*b60W", first60}));
  begin(2, 100);
  EXPECT_EQ(band(1000, {{{row}}, {{row}}}), sent({"~*b60V", first60, "~*b60W", first60}));
}

TEST_F(HXRasterBandTest, TrimmedRowsAreSentInEveryUncompressedAndPackedMode) {
  for (const int mode : {1000, 1002, 2000, 2002, 3000, 3002, 4000, 4002, 5000, 5002}) {
    SCOPED_TRACE(label(mode));
    const uint8_t blank = blankOf(mode);
    begin(3, 8, startOf(mode));
    const Bytes trimmed = {blank, 1, 1, 1, blank, 5};
    Bytes row = trimmed;
    row.resize(8, blank);
    const Bytes full = {8, 7, 6, 5, 4, 3, 2, 1};
    const Bytes codeTrimmed = coded(mode, trimmed);
    const Bytes codeFull = coded(mode, full);
    EXPECT_EQ(
        band(mode, {{{row}}, {{full}}, {{row}}}),
        sent({rowCommand(codeTrimmed.size(), 'V'), codeTrimmed, rowCommand(codeFull.size(), 'V'),
              codeFull, rowCommand(codeTrimmed.size(), 'W'), codeTrimmed}));
  }
}

TEST_F(HXRasterBandTest, PackedRowsAreTheseBytes) {
  begin(1, 8, 2);
  EXPECT_EQ(band(1002, {{{{0x41, 0x41, 0x41, 0x42, 0, 0, 0, 0}}}}),
            sent({"~*b4W", Bytes{0xFE, 0x41, 0x00, 0x42}}));
  begin(1, 300, 2);
  EXPECT_EQ(band(2002, {{{Bytes(300, 0)}}}),
            sent({"~*b6W", Bytes{0x81, 0x00, 0x81, 0x00, 0xD5, 0x00}}));
}

TEST_F(HXRasterBandTest, EmptyPlanesInFrontOfTheFirstWithDataAreSentWithIt) {
  begin(3, 4, 2);
  const Bytes white(4, 0);
  EXPECT_EQ(band(1002, {{{white}}, {{{0x41, 0, 0, 0}}}, {{white}}}),
            sent({"~*b0V", "~*b2V", Bytes{0x00, 0x41}, "~*b0W"}));
}

TEST_F(HXRasterBandTest, LazyOffsetsStandInFrontOfTheEmptyPlanes) {
  for (const int mode : kLazyModes) {
    SCOPED_TRACE(label(mode));
    const Bytes white(4, blankOf(mode));
    const Bytes ink = {1, 2, 3, 4};
    const Bytes code = coded(mode, ink);
    begin(4, 4, startOf(mode));
    EXPECT_EQ(band(mode, {{{white, white, white}},
                          {{white, white, white}},
                          {{white, white, ink}},
                          {{white, ink, white}}}),
              sent({"~*b1Y", "~*b0V", "~*b0V", "~*b0V", rowCommand(code.size(), 'W'), code,  //
                    "~*b0V", "~*b0V", rowCommand(code.size(), 'V'), code, "~*b0W"}));
    EXPECT_FALSE(sSeedRowUnkown);
  }
}

TEST_F(HXRasterBandTest, WithOnlyTheFirstPlaneInkedTheOthersAreEmpty) {
  begin(3, 2);
  const Bytes white(2, 0);
  EXPECT_EQ(band(4000, {{{{9, 8}}}, {{white}}, {{white}}}),
            sent({"~*b2V", Bytes{9, 8}, "~*b0V", "~*b0W"}));
}

TEST_F(HXRasterBandTest, TheFlagOfABlankRowIsClearOnceDataWereSent) {
  begin(1, 1);
  band(1000, {{{{0}}}});
  EXPECT_TRUE(sThisIsBlankLine);
  band(1000, {{{{1}}}});
  EXPECT_FALSE(sThisIsBlankLine);
}

// Seed rows: compression 3 and 256 ---------------------------------------------------------------

const int kSeedModes[] = {1003, 2003, 3003, 4003, 5003, 1256, 2256, 3256, 4256, 5256};

TEST_F(HXRasterBandTest, TheFirstRowIsSentWholeAndTheNextAsItsDifference) {
  for (const int mode : kSeedModes) {
    SCOPED_TRACE(label(mode));
    const uint8_t blank = blankOf(mode);
    const Bytes first = {1, 2, 3, blank};
    const Bytes second = {1, 9, 3, blank};
    begin(3, 4, startOf(mode));
    const std::vector<Plane> planes(3, Plane{{first, second, second}});
    std::string want = freshRow(mode, startOf(mode), first, 'V');
    const int after = compressionOf(mode) == 3 ? 0 : 2;
    want += freshRow(mode, after, first, 'V') + freshRow(mode, after, first, 'W');
    want += sent({"~*b3M", "~*b2V", Bytes{0x01, 9}, "~*b2V", Bytes{0x01, 9}, "~*b2W",
                  Bytes{0x01, 9}, "~*b0V", "~*b0V", "~*b0W"});
    EXPECT_EQ(band(mode, planes), want);
    EXPECT_EQ(mCompressionMode, 3);
  }
}

TEST_F(HXRasterBandTest, ARowIsRawAndMode256IsPackedAfterAnOffset) {
  begin(1, 4, 3);
  const Bytes a = {1, 2, 3, 4};
  const Bytes white(4, 0);
  EXPECT_EQ(band(1003, {{{a, {1, 9, 3, 4}, white, white, a, a}}}),
            sent({"~*b0M", "~*b4W", a, "~*b3M", "~*b2W", Bytes{0x01, 9}, "~*b2Y", "~*b0M", "~*b4W",
                  a, "~*b3M", "~*b0W"}));
  begin(1, 4, 2);
  const Bytes packed = {3, 1, 2, 3, 4};
  EXPECT_EQ(band(1256, {{{a, {1, 9, 3, 4}, white, white, a, a}}}),
            sent({"~*b5W", packed, "~*b3M", "~*b2W", Bytes{0x01, 9}, "~*b2Y", "~*b2M", "~*b5W",
                  packed, "~*b3M", "~*b0W"}));
}

TEST_F(HXRasterBandTest, TheFirstRowOfABandIsNeverADifference) {
  begin(1, 4, 3);
  const Bytes a = {1, 2, 3, 4};
  EXPECT_EQ(band(1003, {{{a}}}), sent({"~*b0M", "~*b4W", a}));
  EXPECT_EQ(band(1003, {{{a}}}), sent({"~*b4W", a}));
  begin(1, 4, 2);
  EXPECT_EQ(band(1256, {{{a}}}), sent({"~*b5W", Bytes{3, 1, 2, 3, 4}}));
  EXPECT_EQ(band(1256, {{{a}}}), sent({"~*b5W", Bytes{3, 1, 2, 3, 4}}));
}

TEST_F(HXRasterBandTest, SeedRowsKeepTheirTrailingBlankBytes) {
  begin(1, 4, 3);
  EXPECT_EQ(band(1003, {{{{1, 0, 0, 0}}}}), sent({"~*b0M", "~*b4W", Bytes{1, 0, 0, 0}}));
  begin(1, 4, 2);
  EXPECT_EQ(band(1256, {{{{1, 0, 0, 0}}}}), sent({"~*b4W", Bytes{0, 1, 0xFE, 0}}));
}

TEST_F(HXRasterBandTest, PlanesThatAreBlankInARowWithDataAreSentInTheSeedRowModes) {
  begin(2, 3, 3);
  EXPECT_EQ(band(1003, {{{{0, 0, 0}, {5, 5, 5}}}, {{{7, 7, 7}, {0, 0, 0}}}}),
            sent({"~*b0M", "~*b3V", Bytes{0, 0, 0}, "~*b3W", Bytes{7, 7, 7},  //
                  "~*b3M", "~*b0M", "~*b3V", Bytes{5, 5, 5},                  //
                  "~*b3M", "~*b0M", "~*b3W", Bytes{0, 0, 0}}));
}

TEST_F(HXRasterBandTest, ADifferenceOfMoreBytesThanTheRowIsGivenUp) {
  // Two changed bytes need three bytes of code.
  begin(1, 2, 3);
  EXPECT_EQ(band(1003, {{{{1, 2}, {3, 4}}}}),
            sent({"~*b0M", "~*b2W", Bytes{1, 2}, "~*b3M", "~*b0M", "~*b2W", Bytes{3, 4}}));
  begin(1, 2, 2);
  EXPECT_EQ(band(1256, {{{{1, 2}, {3, 4}}}}),
            sent({"~*b3W", Bytes{1, 1, 2}, "~*b3M", "~*b2M", "~*b3W", Bytes{1, 3, 4}}));
  begin(1, 3, 3);
  EXPECT_EQ(band(1003, {{{{1, 2, 5}, {3, 4, 5}}}}),
            sent({"~*b0M", "~*b3W", Bytes{1, 2, 5}, "~*b3M", "~*b3W", Bytes{0x20, 3, 4}}));
}

TEST_F(HXRasterBandTest, ARowAfterOneThatWasGivenUpIsADifferenceAgain) {
  begin(1, 2, 3);
  EXPECT_EQ(band(1003, {{{{1, 2}, {3, 4}, {3, 4}}}}),
            sent({"~*b0M", "~*b2W", Bytes{1, 2}, "~*b3M", "~*b0M", "~*b2W", Bytes{3, 4}, "~*b3M",
                  "~*b0W"}));
}

TEST_F(HXRasterBandTest, EachPlaneChoosesForItself) {
  begin(3, 2, 3);
  EXPECT_EQ(
      band(4003, {{{{1, 1}, {1, 1}}}, {{{1, 2}, {3, 4}}}, {{{1, 1}, {1, 2}}}}),
      sent({"~*b0M", "~*b2V", Bytes{1, 1}, "~*b2V", Bytes{1, 2}, "~*b2W", Bytes{1, 1},  //
            "~*b3M", "~*b0V", "~*b0M", "~*b2V", Bytes{3, 4}, "~*b3M", "~*b2W", Bytes{0x01, 2}}));
}

TEST_F(HXRasterBandTest, ALongDistanceIsWrittenInExtensionBytes) {
  struct Case {
    const char* name;
    size_t distance;
    Bytes want;
  };
  const Case kCases[] = {
      {"30", 30, {0x1E, 9}},
      {"31", 31, {0x1F, 0, 9}},
      {"32", 32, {0x1F, 1, 9}},
      {"31 + 254", 285, {0x1F, 254, 9}},
      {"31 + 255", 286, {0x1F, 255, 0, 9}},
      {"31 + 256", 287, {0x1F, 255, 1, 9}},
      {"31 + 510", 541, {0x1F, 255, 255, 0, 9}},
      {"31 + 511", 542, {0x1F, 255, 255, 1, 9}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Bytes row(600, 0x55);
    const Bytes first = row;
    row[c.distance] = 9;
    begin(1, 600, 0);
    EXPECT_EQ(band(1003, {{{first, row}}}),
              sent({"~*b600W", first, "~*b3M", rowCommand(c.want.size(), 'W'), c.want}));
  }
}

TEST_F(HXRasterBandTest, AReplacementHoldsEightBytesAtMost) {
  Bytes first(40, 0x55);
  Bytes row = first;
  for (size_t i = 2; i < 19; ++i) row[i] = static_cast<uint8_t>(i);
  row[21] = 0xAA;
  begin(1, 40, 0);
  EXPECT_EQ(band(1003, {{{first, row}}}),
            sent({"~*b40W", first, "~*b3M", "~*b22W",
                  Bytes{0xE2, 2,  3,  4,  5,  6,  7,  8,    9,  0xE0, 10,
                        11,   12, 13, 14, 15, 16, 17, 0x00, 18, 0x02, 0xAA}}));
}

TEST_F(HXRasterBandTest, AChangedLastByteEndsTheCode) {
  begin(1, 5, 0);
  EXPECT_EQ(band(1003, {{{{1, 2, 3, 4, 5}, {1, 2, 3, 4, 6}}}}),
            sent({"~*b5W", Bytes{1, 2, 3, 4, 5}, "~*b3M", "~*b2W", Bytes{0x04, 6}}));
}

// Group 3 ----------------------------------------------------------------------------------------

TEST_F(HXRasterBandTest, AWhitePlaneInARowWithDataElsewhereIsEmpty) {
  const Bytes white(4, 0xFF);
  const Bytes ink = {1, 2, 3, 4};
  const Bytes code = {3, 1, 2, 3, 4};
  begin(3, 4, 2);
  EXPECT_EQ(band(3002, {{{white, white, ink}}, {{white, ink, white}}, {{white, white, white}}}),
            sent({"~*b1Y", "~*b0V", "~*b5V", code, "~*b0W", "~*b5V", code, "~*b0V", "~*b0W"}));
  begin(3, 4, 0);
  EXPECT_EQ(band(3000, {{{white}}, {{white}}, {{ink}}}), sent({"~*b0V", "~*b0V", "~*b4W", ink}));
}

TEST_F(HXRasterBandTest, OnlyTheFirstThreePlanesOfGroup3DecideWhatIsBlank) {
  const Bytes white(2, 0xFF);
  for (const int mode : kGroup3Modes) {
    SCOPED_TRACE(label(mode));
    begin(4, 2, startOf(mode));
    EXPECT_EQ(band(mode, {{{white}}, {{white}}, {{white}}, {{{1, 2}}}}), "");
    EXPECT_EQ(mBlankLines, 1);
  }
}

TEST_F(HXRasterBandTest, ThePrintableWidthDecidesHowMuchOfARowIsTested) {
  const Bytes white(4, 0xFF);
  const Bytes ink = {0xFF, 0xFF, 1, 1};
  for (const int mode : kGroup3Modes) {
    SCOPED_TRACE(label(mode));
    begin(3, 2, startOf(mode));
    EXPECT_EQ(band(mode, {{{ink}}, {{white}}, {{white}}}), "");
    EXPECT_EQ(mBlankLines, 1);
    begin(3, 3, startOf(mode));
    EXPECT_NE(band(mode, {{{ink}}, {{white}}, {{white}}}), "");
  }
}

TEST_F(HXRasterBandTest, ATestThatRunsPastItsRowSeesTheNextOne) {
  const Bytes white(4, 0xFF);
  const Bytes ink = {1, 2, 3, 4};
  begin(3, 5);
  // The first row is white but the test reaches into the second; the last has nothing behind it.
  EXPECT_EQ(band(3000, {{{white, ink, white}}, {{white, white, white}}, {{white, white, white}}}),
            sent({"~*b0V", "~*b0V", "~*b0W", "~*b4V", ink, "~*b0V", "~*b0W"}));
  EXPECT_EQ(mBlankLines, 1);
}

TEST_F(HXRasterBandTest, ABlankRowOfALazyPageIsStillRememberedInGroup3) {
  const Bytes white(4, 0xFF);
  const Bytes ink = {1, 2, 3, 4};
  // The row only passes for inked because the test reaches into the next one. With the flag still
  // set from the page before, its empty planes wait for data that never come.
  begin(3, 5);
  sThisIsBlankLine = true;
  EXPECT_EQ(band(3000, {{{white, ink}}, {{white, white}}, {{white, white}}}),
            sent({"~*b4V", ink, "~*b0V", "~*b0W"}));
  EXPECT_EQ(mBlankLines, 0);
}

TEST_F(HXRasterBandTest, ARowIsAll255WithinThePrintableWidth) {
  struct Case {
    const char* name;
    int printable;
    int bits;
    int row;
    bool want;
  };
  // Two rows of four bytes.
  const Plane plane = {{{0xFF, 0xFF, 0xFF, 0xFE}, {0xFF, 0xFF, 0x7F, 0xFF}}};
  const Case kCases[] = {
      {"three bytes are", 3, 8, 0, true},
      {"the fourth is not", 4, 8, 0, false},
      {"24 bits are", 24, 1, 0, true},
      {"a 25th bit takes the whole fourth byte", 25, 1, 0, false},
      {"one pixel of 16 bits is", 1, 16, 0, true},
      {"two pixels of 16 bits are not", 2, 16, 0, false},
      {"two pixels of 12 bits are", 2, 12, 0, true},
      {"three pixels of 12 bits are not", 3, 12, 0, false},
      {"no width", 0, 8, 0, true},
      {"a width that is not set", -1, 8, 0, true},
      {"no bits", 4, 0, 0, true},
      {"negative bits", 4, -8, 0, true},
      {"second row, two bytes are", 2, 8, 1, true},
      {"second row, the third is not", 3, 8, 1, false},
      {"behind the block everything is", 4, 8, 2, true},
  };
  const World world = makeWorld(plane);
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    HXRaster_SetPrintableWidthInPixel(static_cast<uint32_t>(c.printable));
    EXPECT_EQ(sIsThisAll255(world.get(), static_cast<int8_t>(c.bits), c.row), c.want);
  }
}

TEST_F(HXRasterBandTest, ATestPastTheEndOfTheBlockCountsWhatIsThere) {
  const World world = makeWorld({{Bytes(4, 0xFF), Bytes(4, 0xFF)}});
  for (const int printable : {4, 5, 8, 9, 1000, 0x7FFFFFFF}) {
    HXRaster_SetPrintableWidthInPixel(static_cast<uint32_t>(printable));
    EXPECT_TRUE(sIsThisAll255(world.get(), 8, 0)) << printable;
    EXPECT_TRUE(sIsThisAll255(world.get(), 8, 1)) << printable;
  }
  world->pixels[7] = 0;
  HXRaster_SetPrintableWidthInPixel(7);
  EXPECT_TRUE(sIsThisAll255(world.get(), 8, 0));
  HXRaster_SetPrintableWidthInPixel(8);
  EXPECT_FALSE(sIsThisAll255(world.get(), 8, 0));
}

TEST_F(HXRasterBandTest, AMissingBufferIsAll255) {
  HXRaster_SetPrintableWidthInPixel(100);
  EXPECT_TRUE(sIsThisAll255(nullptr, 8, 0));
}

// HXRC -------------------------------------------------------------------------------------------

TEST_F(HXRasterBandTest, HxrcRowsAreWholeAndRebuiltFromTheRowAbove) {
  std::mt19937 random(3);
  for (const int mode : {1004, 3004, 4004}) {
    SCOPED_TRACE(label(mode));
    std::vector<Plane> planes(3, Plane{{}});
    for (Plane& plane : planes) {
      for (int row = 0; row < 20; ++row) {
        Bytes bytes(50, row % 7 == 6 ? blankOf(mode) : uint8_t{40});
        if (row % 7 != 6)
          for (size_t i = 0; i < 10; ++i) bytes[random() % 50] = static_cast<uint8_t>(random());
        plane.rows.push_back(bytes);
      }
    }
    begin(3, 50, 4);
    const Bytes got = bandBytes(mode, planes);
    const Bytes page =
        joined({"~%-12345X~%0A~E", "~*t600R", "~*r1A", "~*b4M", got, "~*rC", "~$E~%-12345X"});
    const PageShape shape = {{50, 50, 50}, 20, blankOf(mode)};
    const DecodedStream decoded = decodeStream(page, {shape});
    EXPECT_EQ(decoded.pages[0].methodChanges, 0);
    EXPECT_EQ(
        firstDifference(decoded.pages[0].rows, {planes[0].rows, planes[1].rows, planes[2].rows}),
        "");
  }
}

TEST_F(HXRasterBandTest, SamplesOfTwoBytesAreSentAsHighAndLowHalves) {
  // FC differs from 0 by -4: 1 00 011, then the end code. 01 as ever.
  const Bytes high = {0x8C, 0x00};
  const Bytes low = {0xD8, 0x00};
  const Bytes again = {0x60};
  for (const int bits : {10, 12, 16}) {
    SCOPED_TRACE(bits);
    begin(3, 1, 4);
    const std::vector<Plane> planes(3, Plane{{{0xFC, 0x01}, {0xFC, 0x01}}, bits, 1});
    EXPECT_EQ(band(3004, planes), sent({"~*b2V", high,  "~*b2V", low,   "~*b2V", high,
                                        "~*b2V", low,   "~*b2V", high,  "~*b2W", low,  //
                                        "~*b1V", again, "~*b1V", again, "~*b1V", again,
                                        "~*b1V", again, "~*b1V", again, "~*b1W", again}));
    for (size_t plane = 0; plane < 3; ++plane) EXPECT_EQ(sRowBytesPre[plane], 2);
  }
}

TEST_F(HXRasterBandTest, HalvesForgetTheRowAboveAfterAnOffset) {
  const Bytes white = {0xFF, 0xFF};
  const Bytes ink = {0xFC, 0x01};
  const Bytes high = {0x8C, 0x00};
  const Bytes low = {0xD8, 0x00};
  begin(3, 1, 4);
  const std::vector<Plane> planes(3, Plane{{ink, white, ink}, 10, 1});
  EXPECT_EQ(band(3004, planes), sent({"~*b2V", high,    "~*b2V", low,     "~*b2V", high,    "~*b2V",
                                      low,     "~*b2V", high,    "~*b2W", low,     "~*b1Y",  //
                                      "~*b2V", high,    "~*b2V", low,     "~*b2V", high,    "~*b2V",
                                      low,     "~*b2V", high,    "~*b2W", low}));
}

TEST_F(HXRasterBandTest, WhiteOfTwoByteSamplesIsTestedOverBothBytes) {
  // Ten bits alone would be tested over two bytes of the four.
  begin(3, 2, 4);
  const Bytes white(4, 0xFF);
  EXPECT_EQ(band(3004, {{{white}, 10, 2}, {{white}, 10, 2}, {{white}, 10, 2}}), "");
  EXPECT_EQ(mBlankLines, 1);
  EXPECT_NE(band(3004, {{{{0xFF, 0xFF, 0xFF, 0xFE}}, 10, 2}, {{white}, 10, 2}, {{white}, 10, 2}}),
            "");
  EXPECT_EQ(mBlankLines, 0);
}

TEST_F(HXRasterBandTest, EightBitPlanesOfMode3004AreSentInOnePiece) {
  begin(3, 1, 4);
  const std::vector<Plane> planes(3, Plane{{{1}}});
  EXPECT_EQ(band(3004, planes),
            sent({"~*b2V", Bytes{0xD8, 0}, "~*b2V", Bytes{0xD8, 0}, "~*b2W", Bytes{0xD8, 0}}));
}

TEST_F(HXRasterBandTest, OtherGroupsDoNotSplitTwoByteSamples) {
  begin(1, 1, 4);
  // 01 below 00 01: a left run of one 0 byte, 001 1, then 1 101 1 and the end code.
  EXPECT_EQ(band(1004, {{{{0x00, 0x01}}, 16, 1}}), sent({"~*b2W", Bytes{0x3D, 0x80}}));
}

TEST_F(HXRasterBandTest, ARowTooLongForHxrcIsAnnouncedWithTheRefusal) {
  begin(1, 120001, 4);
  EXPECT_EQ(band(1004, {{{Bytes(120001, 1)}}}), sent({"~*b-6W"}));
  begin(2, 120000, 4);
  const Bytes row(120000, 0x55);
  const Bytes got = bandBytes(4004, {{{row}}, {{row}}});
  EXPECT_EQ(got[0], 0x1B);
  EXPECT_LT(got.size(), 200U);
}

TEST_F(HXRasterBandTest, AnHxrcRowOf64KAndMoreLosesItsMultiplesOf64K) {
  Bytes row(60000);
  for (size_t i = 0; i < row.size(); ++i) row[i] = i % 2 == 0 ? 0x7F : 0x00;
  // Every byte differs by 127 or -127: 13 bits each, and 5 for the end.
  const size_t length = (60000 * 13 + 5 + 7) / 8 % 65536;
  begin(1, 60000, 4);
  const Bytes got = bandBytes(1004, {{{row}}});
  const std::string command = rowCommand(length, 'W');
  ASSERT_EQ(got.size(), command.size() + length);
  EXPECT_EQ(visible(Bytes(got.begin(), got.begin() + static_cast<long>(command.size()))),
            sent({command}));
}

// Lists and buffers that do not fit ---------------------------------------------------------------

TEST_F(HXRasterBandTest, AListShorterThanTheNumberOfPlanesNeverEndsItsRows) {
  for (const int mode : kAllModes) {
    if (mode / 1000 == 3 || compressionOf(mode) == 4) continue;
    SCOPED_TRACE(label(mode));
    const Bytes ink = {1, 2, 3, 4};
    begin(3, 4, startOf(mode));
    const int after = compressionOf(mode) == 3 ? 0 : startOf(mode);
    EXPECT_EQ(band(mode, {{{ink}}, {{ink}}}),
              freshRow(mode, startOf(mode), ink, 'V') + freshRow(mode, after, ink, 'V'));
  }
}

TEST_F(HXRasterBandTest, AListLongerThanTheNumberOfPlanesIsCut) {
  begin(1, 2);
  EXPECT_EQ(band(4000, {{{{1, 2}}}, {{{3, 4}}}}), sent({"~*b2W", Bytes{1, 2}}));
}

TEST_F(HXRasterBandTest, TheBlankTestOfTheSeedRowModesLooksAtTheWholeList) {
  begin(1, 2, 3);
  EXPECT_EQ(band(4003, {{{{0, 0}}}, {{{3, 4}}}}), sent({"~*b0M", "~*b2W", Bytes{0, 0}}));
}

TEST_F(HXRasterBandTest, NoPlanesOrOver127SendNoRows) {
  for (const int planes : {0, 128, 200, 255}) {
    SCOPED_TRACE(planes);
    for (const int mode : kAllModes) {
      begin(planes, 2, startOf(mode));
      const std::vector<Plane> list(3, Plane{{{1, 2}, {1, 2}}});
      EXPECT_EQ(band(mode, list), "") << label(mode);
    }
    begin(planes, 2);
    band(1000, {{{{1, 2}, {1, 2}}}});
    EXPECT_EQ(mBlankLines, 2);  // no plane had data
    begin(planes, 2, 3);
    mBlankLines = 3;
    EXPECT_EQ(band(1003, {{{{1, 2}}}}), sent({"~*b3Y"}));
  }
}

TEST_F(HXRasterBandTest, AMissingBufferIsAPlaneOfWidth0) {
  const Plane none = {{}, 8, -1, true};
  const Plane inked = {{{1, 2}, {1, 2}}};
  struct Case {
    int mode;
    std::string want;
  };
  const Case kCases[] = {
      {4000, sent({"~*b0V", "~*b2W", Bytes{1, 2}, "~*b0V", "~*b2W", Bytes{1, 2}})},
      {4002, sent({"~*b0V", "~*b3W", Bytes{1, 1, 2}, "~*b0V", "~*b3W", Bytes{1, 1, 2}})},
      {4003, sent({"~*b0M", "~*b0V", "~*b2W", Bytes{1, 2}, "~*b3M", "~*b0V", "~*b0W"})},
      {4256, sent({"~*b0V", "~*b3W", Bytes{1, 1, 2}, "~*b3M", "~*b0V", "~*b0W"})},
      // 1, then 2 beside it: 1 101 1, 1 101 1, 00000. Below itself: 01 01 0, 00000.
      {4004, sent({"~*b-5V", "~*b2W", Bytes{0xDE, 0xC0}, "~*b-5V", "~*b2W", Bytes{0x50, 0x00}})},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(label(c.mode));
    begin(2, 2, startOf(c.mode));
    EXPECT_EQ(band(c.mode, {none, inked}), c.want);
  }
}

TEST_F(HXRasterBandTest, MissingBuffersOnlyAreBlankRows) {
  for (const int mode : kAllModes) {
    SCOPED_TRACE(label(mode));
    begin(3, 4, startOf(mode));
    const std::vector<Plane> planes(3, Plane{{}, 8, -1, true});
    EXPECT_EQ(band(mode, planes, 5), "");
    EXPECT_EQ(mBlankLines, 5);
  }
}

TEST_F(HXRasterBandTest, AMissingBufferOfTwoByteSamplesIsRefusedTwice) {
  const Plane none = {{}, 10, -1, true};
  const Plane inked = {{{0xFC, 0x01}}, 10, 1};
  begin(3, 1, 4);
  EXPECT_EQ(band(3004, {none, inked, inked}),
            sent({"~*b-5V", "~*b-5V", "~*b2V", Bytes{0x8C, 0}, "~*b2V", Bytes{0xD8, 0}, "~*b2V",
                  Bytes{0x8C, 0}, "~*b2W", Bytes{0xD8, 0}}));
}

TEST_F(HXRasterBandTest, RowsOfABufferThatIsTooShortAreZero) {
  // Sixteen bits per pixel over a buffer of 8: the second half of each row is the next row, and
  // what is behind the last row counts as 0.
  const Plane plane = {{{1, 2, 3, 4}, {5, 6, 7, 8}}};
  const World world = makeWorld(plane);
  HXRasterPlane* list = addPlane(nullptr);
  list->pixels = world.get();
  list->bitsPerPixel = 16;
  begin(1, 4, 0);
  ASSERT_EQ(HXRaster_KeepWorkingMemory(list, 1003), 0);
  HXRaster_SendBand(list, 1, 1003);
  EXPECT_EQ(stream.take(), sent({"~*b8W", Bytes{1, 2, 3, 4, 5, 6, 7, 8}}));
  HXRaster_FreeWorkingMemory(1003);
  begin(1, 4, 0);
  ASSERT_EQ(HXRaster_KeepWorkingMemory(list, 1000), 0);
  HXRaster_SendBand(list, 2, 1000);
  EXPECT_EQ(stream.take(),
            sent({"~*b8W", Bytes{1, 2, 3, 4, 5, 6, 7, 8}, "~*b4W", Bytes{5, 6, 7, 8}}));
  HXRaster_FreeWorkingMemory(1000);
  begin(1, 4, 0);
  sSeedRowUnkown = true;
  ASSERT_EQ(HXRaster_KeepWorkingMemory(list, 1003), 0);
  HXRaster_SendBand(list, 2, 1003);
  // 05 06 07 08 00 00 00 00 below 01 .. 08 differs in every byte: given up.
  EXPECT_EQ(stream.take(), sent({"~*b8W", Bytes{1, 2, 3, 4, 5, 6, 7, 8}, "~*b3M", "~*b0M", "~*b8W",
                                 Bytes{5, 6, 7, 8, 0, 0, 0, 0}}));
  HXRaster_FreeWorkingMemory(1003);
  deletePlane(list);
}

TEST_F(HXRasterBandTest, MoreRowsThanTheBufferHoldsAreBlank) {
  begin(1, 2, 0);
  EXPECT_EQ(band(1000, {{{{1, 2}}}}, 3), sent({"~*b2W", Bytes{1, 2}}));
  EXPECT_EQ(mBlankLines, 2);
}

TEST_F(HXRasterBandTest, ADepthOver127MakesANegativeLengthWithoutData) {
  // 200 bits are -56 as a signed byte; 8 pixels are (8 * -56 + 7) / 8 = -55 bytes.
  const Plane odd = {{Bytes(8, 1)}, 200};
  const Plane inked = {{Bytes{9, 8}}};
  begin(2, 8, 0);
  EXPECT_EQ(band(4003, {odd, inked}), sent({"~*b-55V", "~*b2W", Bytes{9, 8}}));
  begin(2, 8, 4);
  EXPECT_EQ(band(4004, {odd, {{{1}}}}), sent({"~*b-5V", "~*b2W", Bytes{0xD8, 0}}));
}

}  // namespace
