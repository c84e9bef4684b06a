// Tests of the TIFF reader's rows: every conversion with its bytes, strips and PackBits data, what
// is refused and with which words, and files written by an independent library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "CLibrary.h"
#include "Capture.h"
#include "Faults.h"
#include "ReductionTables.h"
#include "TempFolder.h"
#include "Thrown.h"
#include "TiffWriter.h"
#include "ZKTiff.h"

namespace {

struct ReaderDelete {
  void operator()(ImageReader* reader) const { ZKTiff_Delete(reader); }
};
using Reader = std::unique_ptr<ImageReader, ReaderDelete>;
using World = CBlock<ZKGWorld>;

constexpr const char* kUnsupportedDepth = "ZKTiff_ReadNextRasterBlock: unsupported bit depth.\n";

World newWorld(long width, long height, int depth, int deep = 0) {
  ZKGWorld* world = nullptr;
  const ZKRect box = {0, 0, height, width};
  EXPECT_EQ(ZKNewGWorld(&world, static_cast<int16_t>(depth), &box, deep), 0);
  return World(world);
}

Bytes rowOf(const World& world, long row) {
  const uint8_t* const from = world->pixels + row * world->rowBytes;
  return {from, from + world->rowBytes};
}

bool allPixelsAre(const World& world, uint8_t value) {
  const uint8_t* const begin = world->pixels;
  const uint8_t* const end = begin + (world->bounds.bottom - world->bounds.top) * world->rowBytes;
  return std::all_of(begin, end, [value](uint8_t byte) { return byte == value; });
}

// What reading a block gave and said.
struct Block {
  int rows = 0;
  int thrown = 0;
  std::string errors;
};

Block readBlock(const Reader& reader, const World& world, const uint8_t* table) {
  Block block;
  block.errors = errorsOf([&] {
    block.thrown = thrownBy(
        [&] { block.rows = ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), table); });
  });
  return block;
}

Block readChannel0(const Reader& reader, const World& world) {
  Block block;
  block.errors = errorsOf(
      [&] { block.rows = ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 0); });
  return block;
}

enum Mode { kByDepth, kRaw };

struct Conversion {
  const char* name;
  std::vector<uint32_t> photometrics;
  Mode mode;
  Bytes want;  // the first bytes of the row; the rest of the row is `rest`
  uint8_t rest = 0;
};

// One row of samples, converted for each photometric interpretation.
struct Samples {
  uint32_t width;
  uint32_t fileBits;
  int depth;
  Bytes row;
};

class ZKTiffRowsTest : public testing::Test {
 protected:
  [[nodiscard]] Reader open(const Bytes& content) const {
    Reader reader(ZKTiff_New(folder.write("image.tif", content).c_str()));
    EXPECT_NE(reader, nullptr);
    return reader;
  }
  [[nodiscard]] Reader open(const TiffPage& page) const { return open(tiffFile(page)); }
  [[nodiscard]] std::string path() const { return folder.path("image.tif"); }
  /// Converts a row for every case, photometric interpretation and byte order.
  void expectConversions(const Samples& samples, const std::vector<Conversion>& cases) const;

  TempFolder folder;

 private:
  void expectConversion(const Samples& samples, const Conversion& c, uint32_t photometric,
                        char order) const;
};

// A page of one row.
TiffPage onePage(uint32_t width, const std::vector<uint32_t>& bits, const Bytes& row,
                 uint32_t photometric = 0, char order = 'I') {
  TiffPage page;
  page.order = order;
  page.width = width;
  page.height = 1;
  page.bits = bits;
  page.photometric = photometric;
  page.strips = {row};
  return page;
}

// A page of 8-bit samples, row by row.
TiffPage rowsPage(const std::vector<Bytes>& rows, uint32_t rowsPerStrip,
                  uint32_t compression = kUncompressed) {
  TiffPage page;
  page.width = static_cast<uint32_t>(rows.at(0).size());
  page.height = static_cast<uint32_t>(rows.size());
  page.compression = compression;
  page.rowsPerStrip = rowsPerStrip;
  page.strips = stripsOf(rows, rowsPerStrip, compression);
  return page;
}

// Conversions of a single plane ------------------------------------------------------------------

void ZKTiffRowsTest::expectConversion(const Samples& samples, const Conversion& c,
                                      uint32_t photometric, char order) const {
  SCOPED_TRACE(testing::Message() << c.name << ", photometric " << photometric << ", " << order
                                  << ", " << samples.fileBits << " bits into " << samples.depth);
  Bytes row = samples.row;
  if (samples.fileBits == 16 && order == 'I')
    for (size_t i = 0; i + 1 < row.size(); i += 2) std::swap(row[i], row[i + 1]);
  const Reader reader = open(onePage(samples.width, {samples.fileBits}, row, photometric, order));
  const World world = newWorld(samples.width, 2, samples.depth);
  const uint8_t* const table = c.mode == kRaw ? rawSamplesMarker() : nullptr;
  const Block block = readBlock(reader, world, table);
  EXPECT_EQ(block.rows, 1);
  EXPECT_EQ(block.errors, "");
  const auto rowBytes = static_cast<size_t>(world->rowBytes);
  Bytes want = c.want;
  want.resize(rowBytes, c.rest);
  EXPECT_EQ(rowOf(world, 0), want);
  EXPECT_EQ(rowOf(world, 1), Bytes(rowBytes, c.mode == kRaw ? 0xFF : 0x00));
}

void ZKTiffRowsTest::expectConversions(const Samples& samples,
                                       const std::vector<Conversion>& cases) const {
  for (const Conversion& c : cases) {
    for (const uint32_t photometric : c.photometrics)
      for (const char order : {'I', 'M'}) expectConversion(samples, c, photometric, order);
  }
}

TEST_F(ZKTiffRowsTest, OneBitInto1) {
  // 12 pixels; the 4 pad bits of the file are set on purpose
  expectConversions({12, 1, 1, {0xA5, 0x5F}},
                    {{"white is zero: as it is", {0}, kByDepth, {0xA5, 0x50}},
                     {"others, separated too: inverted", {1, 2, 5}, kByDepth, {0x5A, 0xA0}},
                     {"raw: never inverted", {0, 1, 2, 5}, kRaw, {0xA5, 0x50}}});
  expectConversions({16, 1, 1, {0xA5, 0x5F}},
                    {{"a width of whole bytes", {0}, kByDepth, {0xA5, 0x5F}},
                     {"a width of whole bytes, inverted", {1}, kByDepth, {0x5A, 0xA0}}});
  expectConversions({1, 1, 1, {0xFF}}, {{"a single pixel", {0}, kByDepth, {0x80}},
                                        {"a single pixel, inverted", {1}, kByDepth, {0x00}}});
}

TEST_F(ZKTiffRowsTest, EightBitsInto1TestTheSign) {
  expectConversions({10, 8, 1, {0x00, 0x01, 0x7F, 0x80, 0xFF, 0x40, 0xC0, 0x00, 0x7F, 0x01}},
                    {{"above 0", {0, 5}, kByDepth, {0x64, 0xC0}},
                     {"0 and above", {1, 2}, kByDepth, {0xE5, 0xC0}}});
  expectConversions({8, 8, 1, {0x00, 0x01, 0x7F, 0x80, 0xFF, 0x40, 0xC0, 0x00}},
                    {{"a whole byte", {0, 5}, kByDepth, {0x64}},
                     {"a whole byte, 0 and above", {1, 2}, kByDepth, {0xE5}}});
}

TEST_F(ZKTiffRowsTest, EightBitsInto1RawTestForAbove0) {
  for (const uint32_t photometric : {0U, 1U, 2U, 5U}) {
    SCOPED_TRACE(photometric);
    const Bytes row = {0x00, 0x01, 0x7F, 0x80, 0xFF, 0x40, 0xC0, 0x00, 0x7F, 0x01};
    const Reader reader = open(onePage(10, {8}, row, photometric));
    const World world = newWorld(10, 1, 1);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), rawSamplesMarker()), 1);
    EXPECT_EQ(world->pixels[0], 0x64);
    EXPECT_EQ(world->pixels[1], 0xC0);  // the bits past the width are 0, although white is 1
  }
}

TEST_F(ZKTiffRowsTest, EightBitsInto2) {
  expectConversions({5, 8, 2, {0x00, 0x40, 0x80, 0xC0, 0xFF}},
                    {{"four levels", {0, 5}, kByDepth, {0x1B, 0xC0}},
                     {"four levels of the inverse", {1, 2}, kByDepth, {0xE4, 0x00}}});
  expectConversions({3, 8, 2, {0x3F, 0x7F, 0xBF}},
                    {{"level limits from below", {0}, kByDepth, {0x18}},
                     {"level limits from below, inverted", {1}, kByDepth, {0xE4}}});
  expectConversions(
      {5, 8, 2, {0x00, 0x01, 0x06, 0x07, 0xFF}},
      {{"raw: the low two bits, past the width 0", {0, 1, 2, 5}, kRaw, {0x1B, 0xC0}}});
}

TEST_F(ZKTiffRowsTest, EightBitsInto4) {
  expectConversions({3, 8, 4, {0x00, 0x7F, 0xFF}},
                    {{"sixteen levels", {0, 5}, kByDepth, {0x07, 0xF0}},
                     {"sixteen levels of the inverse", {1, 2}, kByDepth, {0xF8, 0x00}},
                     {"raw: the low four bits", {0, 1, 2, 5}, kRaw, {0x0F, 0xF0}}});
  expectConversions({2, 8, 4, {0x1F, 0xE0}}, {{"a whole byte", {0}, kByDepth, {0x1E}},
                                              {"a whole byte, inverted", {1}, kByDepth, {0xE1}}});
}

TEST_F(ZKTiffRowsTest, EightBitsInto8) {
  expectConversions({5, 8, 8, {0x00, 0x01, 0x7F, 0x80, 0xFF}},
                    {{"as they are", {0, 5}, kByDepth, {0x00, 0x01, 0x7F, 0x80, 0xFF}},
                     {"complemented", {1, 2}, kByDepth, {0xFF, 0xFE, 0x80, 0x7F, 0x00}},
                     {"raw", {0, 1, 2, 5}, kRaw, {0x00, 0x01, 0x7F, 0x80, 0xFF}}});
}

TEST_F(ZKTiffRowsTest, SixteenBitsInto12) {
  expectConversions({2, 16, 12, {0x12, 0x34, 0xAB, 0xCD}},
                    {{"a pair", {0, 5}, kByDepth, {0x12, 0x3A, 0xBC}},
                     {"a pair, complemented", {1, 2}, kByDepth, {0xED, 0xC5, 0x43}},
                     {"raw", {0, 1, 2, 5}, kRaw, {0x12, 0x3A, 0xBC}, 0xFF}});
  expectConversions(
      {3, 16, 12, {0x12, 0x34, 0xAB, 0xCD, 0x56, 0x78}},
      {{"an incomplete pair", {0, 5}, kByDepth, {0x12, 0x3A, 0xBC, 0x56, 0x70, 0x00}},
       {"an incomplete pair, complemented", {1, 2}, kByDepth, {0xED, 0xC5, 0x43, 0xA9, 0x80, 0x00}},
       {"raw, padded with 0", {0, 5}, kRaw, {0x12, 0x3A, 0xBC, 0x56, 0x70, 0x00}, 0xFF},
       {"raw, padded with 1", {1, 2}, kRaw, {0x12, 0x3A, 0xBC, 0x56, 0x7F, 0xFF}, 0xFF}});
}

TEST_F(ZKTiffRowsTest, SixteenBitsInto10) {
  const Bytes four = {0x12, 0x34, 0xAB, 0xCD, 0xFF, 0xFF, 0x80, 0x00};
  expectConversions({4, 16, 10, four},
                    {{"a group", {0, 5}, kByDepth, {0x12, 0x2A, 0xFF, 0xFE, 0x00}},
                     {"a group, complemented", {1, 2}, kByDepth, {0xED, 0xD5, 0x00, 0x01, 0xFF}},
                     {"raw", {0, 1, 2, 5}, kRaw, {0x12, 0x2A, 0xFF, 0xFE, 0x00}, 0xFF}});
  Bytes five = four;
  five.insert(five.end(), {0x56, 0x78});
  expectConversions(
      {5, 16, 10, five},
      {{"an incomplete group", {0, 5}, kByDepth, {0x12, 0x2A, 0xFF, 0xFE, 0x00, 0x56, 0x40, 0x00}},
       {"an incomplete group, complemented",
        {1, 2},
        kByDepth,
        {0xED, 0xD5, 0x00, 0x01, 0xFF, 0xA9, 0x80, 0x00}},
       {"raw, padded with 1", {1, 2}, kRaw, {0x12, 0x2A, 0xFF, 0xFE, 0x00, 0x56, 0x7F, 0xFF}}});
  expectConversions({1, 16, 10, {0x56, 0x78}},
                    {{"a single sample", {0}, kByDepth, {0x56, 0x40, 0x00, 0x00}},
                     {"a single sample, complemented", {1}, kByDepth, {0xA9, 0x80, 0x00, 0x00}}});
}

TEST_F(ZKTiffRowsTest, BytesOfAnIncompleteGroupThatDoNotFitAreDropped) {
  struct Case {
    const char* name;
    uint32_t width;
    int depth;
    std::vector<uint16_t> first, second;
    Bytes wantFirst, wantSecond;
  };
  const Case kCases[] = {
      {"12 bits: 9 bytes for a row of 8",
       5,
       12,
       {0x1111, 0x2222, 0x3333, 0x4444, 0x5555},
       {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF},
       {0x11, 0x12, 0x22, 0x33, 0x34, 0x44, 0x55, 0x50},
       {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF0}},
      {"10 bits: 5 bytes for a row of 4",
       3,
       10,
       {0xFFC0, 0x0000, 0xFFC0},
       {0x1234, 0xABCD, 0xFFFF},
       {0xFF, 0xC0, 0x0F, 0xFC},
       {0x12, 0x2A, 0xFF, 0xFC}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    TiffPage page = onePage(c.width, {16}, samples16('M', c.first), 0, 'M');
    const Bytes second = samples16('M', c.second);
    page.height = 2;
    page.strips[0].insert(page.strips[0].end(), second.begin(), second.end());
    const Reader reader = open(page);
    const World world = newWorld(c.width, 2, c.depth);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), 2);
    EXPECT_EQ(rowOf(world, 0), c.wantFirst);
    EXPECT_EQ(rowOf(world, 1), c.wantSecond);
  }
}

TEST_F(ZKTiffRowsTest, ATableMapsSamplesIntoDepths2And4Only) {
  ReductionTable table{};
  for (size_t v = 0; v < 256; ++v) table[v] = static_cast<uint8_t>(v ^ 0x5A);
  struct Case {
    const char* name;
    int depth;
    const uint8_t* table;
    uint32_t photometric;
    Bytes want;
  };
  const Bytes row = {0x00, 0x8C, 0xFF, 0x55};
  const Case kCases[] = {
      {"2 levels at depth 2", 2, Reduce256To2Tbl.data(), 0, {0x14}},                 // 0 1 1 0
      {"2 levels of the inverse at depth 2", 2, Reduce256To2Tbl.data(), 1, {0x41}},  // 1 0 0 1
      {"3 levels at depth 2", 2, Reduce256To3Tbl.data(), 0, {0x18}},                 // 0 1 2 0
      {"levels keep their low two bits", 2, table.data(), 0, {0xA7}},                // 2 2 1 3
      {"identity keeps the low two bits", 2, ReduceNoConvertTbl.data(), 0, {0x0D}},  // 0 0 3 1
      {"2 levels at depth 4", 4, Reduce256To2Tbl.data(), 0, {0x01, 0x10}},
      {"6 levels at depth 4", 4, Reduce256To6Tbl.data(), 0, {0x03, 0x51}},
      {"6 levels of the inverse at depth 4", 4, Reduce256To6Tbl.data(), 1, {0x52, 0x03}},
      {"levels keep their low four bits", 4, table.data(), 0, {0xA6, 0x5F}},
      {"no table at depth 8", 8, Reduce256To2Tbl.data(), 0, {0x00, 0x8C, 0xFF, 0x55}},
      {"no table at depth 1", 1, table.data(), 0, {0x10}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Reader reader = open(onePage(4, {8}, row, c.photometric));
    const World world = newWorld(4, 1, c.depth);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), c.table), 1);
    Bytes want = c.want;
    want.resize(4);
    EXPECT_EQ(rowOf(world, 0), want);
  }
}

TEST_F(ZKTiffRowsTest, ABlackIsZeroSampleIsInvertedBeforeItIsLookedUp) {
  const Reader reader = open(onePage(2, {8}, {0x0F, 0x73}, 1));
  const World world = newWorld(2, 1, 4);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), Reduce256To2Tbl.data()), 1);
  EXPECT_EQ(rowOf(world, 0), (Bytes{0x11, 0, 0, 0}));  // 240 and 140
}

// Whether a row of `fileBits` is read for a buffer of `depth`.
bool goTogether(uint32_t fileBits, int depth) {
  if (fileBits == 8 && (depth == 1 || depth == 2 || depth == 4)) return true;
  if (fileBits == 16 && (depth == 10 || depth == 12)) return true;
  return static_cast<int>(fileBits) == depth;
}

TEST_F(ZKTiffRowsTest, DepthsThatDoNotGoTogetherAreRefusedWithoutReading) {
  for (uint32_t fileBits = 1; fileBits <= 64; fileBits += fileBits < 17 ? 1 : 5) {
    const std::string path = folder.write(
        "image.tif", tiffFile(onePage(4, {fileBits}, Bytes(size_t{4} * fileBits, 0x55))));
    for (int depth = 1; depth <= 33; ++depth) {
      SCOPED_TRACE(testing::Message() << fileBits << " bits into " << depth);
      const bool isRead = goTogether(fileBits, depth);
      const bool isConverted =
          isRead && (fileBits != static_cast<uint32_t>(depth) || fileBits == 1 || fileBits == 8);
      for (const bool raw : {false, true}) {
        const Reader reader(ZKTiff_New(path.c_str()));
        const World world = newWorld(4, 2, depth);
        std::memset(world->pixels, 0x77, 2 * static_cast<size_t>(world->rowBytes));
        const Block block = readBlock(reader, world, raw ? rawSamplesMarker() : nullptr);
        EXPECT_EQ(block.rows, isRead ? 1 : 0);
        EXPECT_EQ(reader->currentRow, isRead ? 1U : 0U);
        EXPECT_EQ(block.errors, isRead && !isConverted ? kUnsupportedDepth : "");
        EXPECT_NE(allPixelsAre(world, raw ? 0xFF : 0x00), isConverted);
        if (!isRead) {
          EXPECT_EQ(readByte(reader.get()), 0x55);
        }
      }
    }
  }
}

TEST_F(ZKTiffRowsTest, EqualDepthsWithoutAConversionAreReportedOnceARow) {
  for (const uint32_t bits : {2U, 3U, 4U, 10U, 12U, 16U, 24U, 32U}) {
    SCOPED_TRACE(bits);
    TiffPage page = onePage(3, {bits}, Bytes(36, 0x55));
    page.height = 3;
    const Reader reader = open(page);
    const World world = newWorld(3, 2, static_cast<int>(bits));
    const Block first = readBlock(reader, world, nullptr);
    EXPECT_EQ(first.rows, 2);
    EXPECT_EQ(first.errors, std::string(kUnsupportedDepth) + kUnsupportedDepth);
    EXPECT_TRUE(allPixelsAre(world, 0x00));
    const Block second = readBlock(reader, world, rawSamplesMarker());
    EXPECT_EQ(second.rows, 1);
    EXPECT_EQ(second.errors, kUnsupportedDepth);
    EXPECT_TRUE(allPixelsAre(world, 0xFF));
  }
}

TEST_F(ZKTiffRowsTest, ABufferWiderThanTheFileIsClearedPastItsRow) {
  const World one = newWorld(64, 1, 1);
  EXPECT_EQ(
      ZKTiff_ReadNextRasterBlock(open(onePage(12, {1}, {0xA5, 0x5F}, 1)).get(), one.get(), nullptr),
      1);
  EXPECT_EQ(rowOf(one, 0), (Bytes{0x5A, 0xA0, 0, 0, 0, 0, 0, 0}));
  const World eight = newWorld(8, 1, 8);
  EXPECT_EQ(
      ZKTiff_ReadNextRasterBlock(open(onePage(3, {8}, {1, 2, 3}, 1)).get(), eight.get(), nullptr),
      1);
  EXPECT_EQ(rowOf(eight, 0), (Bytes{0xFE, 0xFD, 0xFC, 0, 0, 0, 0, 0}));
}

TEST_F(ZKTiffRowsTest, ABufferNarrowerThanTheFileTakesTheFirstPixels) {
  const Bytes row(100, 0x80);
  struct Case {
    int depth, first, second;
  };
  for (const Case& c :
       {Case{1, 0x00, 0xF0}, Case{2, 0xAA, 0x55}, Case{4, 0x88, 0x44}, Case{8, 0x80, 0x40}}) {
    const int depth = c.depth;
    SCOPED_TRACE(depth);
    TiffPage page = onePage(100, {8}, row);
    page.height = 2;
    page.strips[0].resize(200, 0x40);
    const Reader reader = open(page);
    const World world = newWorld(4, 2, depth);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), 2);
    // The first pixels of each row: two of 4 bits, four of the smaller ones.
    const int first = world->pixels[0];
    const int second = world->pixels[world->rowBytes];
    EXPECT_EQ(depth == 1 ? first & 0xF0 : first, c.first);
    EXPECT_EQ(depth == 1 ? second & 0xF0 : second, c.second);
  }
  for (const int depth : {10, 12}) {
    SCOPED_TRACE(depth);
    const Reader reader = open(onePage(50, {16}, row));
    const World world = newWorld(4, 1, depth);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), 1);
    EXPECT_EQ(world->pixels[0], 0x80);
  }
}

// Blocks, strips and compressions ----------------------------------------------------------------

std::vector<Bytes> numberedRows(size_t count, size_t width) {
  std::vector<Bytes> rows(count, Bytes(width));
  for (size_t row = 0; row < count; ++row)
    for (size_t x = 0; x < width; ++x) rows[row][x] = static_cast<uint8_t>(row + x * x / 3);
  return rows;
}

// Reads the whole of an 8-bit file by blocks of `height` rows.
std::vector<Bytes> allRows(const Reader& reader, long height) {
  std::vector<Bytes> rows;
  const World world = newWorld(reader->width, height, 8);
  for (;;) {
    const int count = ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr);
    EXPECT_LE(count, height);
    if (count < 1) return rows;
    for (int row = 0; row < count; ++row) {
      rows.push_back(rowOf(world, row));
      rows.back().resize(reader->width);
    }
  }
}

TEST_F(ZKTiffRowsTest, A700RowFileGives300And300And100AndThenNone) {
  for (const uint32_t compression : {kUncompressed, kPackBits}) {
    SCOPED_TRACE(compression);
    const std::vector<Bytes> rows = numberedRows(700, 5);
    const Reader reader = open(rowsPage(rows, 64, compression));
    const World world = newWorld(5, 300, 8);
    size_t at = 0;
    for (const int want : {300, 300, 100}) {
      ASSERT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), want);
      for (int row = 0; row < want; ++row, ++at) {
        Bytes expected = rows[at];
        expected.resize(8);
        ASSERT_EQ(rowOf(world, row), expected) << at;
      }
      EXPECT_EQ(reader->currentRow, at);
    }
    EXPECT_EQ(rowOf(world, 100), Bytes(8));  // what the last block does not fill is cleared
    EXPECT_EQ(rowOf(world, 299), Bytes(8));
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), 0);
    EXPECT_TRUE(allPixelsAre(world, 0x00));
  }
}

TEST_F(ZKTiffRowsTest, StripBoundariesAreCrossedWithoutLosingARow) {
  const std::vector<Bytes> rows = numberedRows(23, 7);
  for (const uint32_t compression : {kUncompressed, kPackBits}) {
    for (const uint32_t rowsPerStrip : {1U, 2U, 3U, 10U, 22U, 23U, 24U}) {
      for (const long height : {1L, 2L, 5L, 23L, 300L}) {
        SCOPED_TRACE(testing::Message() << "compression " << compression << ", strips of "
                                        << rowsPerStrip << ", blocks of " << height);
        EXPECT_EQ(allRows(open(rowsPage(rows, rowsPerStrip, compression)), height), rows);
      }
    }
  }
}

TEST_F(ZKTiffRowsTest, AFileWithoutRowsPerStripIsOneStrip) {
  const std::vector<Bytes> rows = numberedRows(23, 7);
  TiffPage page = rowsPage(rows, 23);
  page.rowsPerStrip.reset();
  EXPECT_EQ(allRows(open(page), 5), rows);
}

TEST_F(ZKTiffRowsTest, AStripOf0RowsNeverEnds) {
  TiffPage page = rowsPage({{1, 2}, {3, 4}, {5, 6}}, 3);
  page.strips.push_back({9, 9});
  page.rowsPerStrip = 0;
  const Reader reader = open(page);
  EXPECT_EQ(allRows(reader, 1), (std::vector<Bytes>{{1, 2}, {3, 4}, {5, 6}}));
  EXPECT_EQ(reader->currentStrip, 0U);
  EXPECT_EQ(reader->rowsLeftInStrip, 0xFFFFFFFDU);
}

TEST_F(ZKTiffRowsTest, PastTheLastStripReadingGoesOnWhereItIs) {
  TiffWriter file('I');
  const uint32_t first = file.append({1, 2, 3, 4, 5, 6, 7, 8});
  file.field(kTagWidth, kTiffShort, {2});
  file.field(kTagHeight, kTiffShort, {4});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {1});
  file.field(kTagStripOffsets, kTiffLong, {first});
  file.field(kTagRowsPerStrip, kTiffShort, {1});
  file.endDirectory();
  const Reader reader = open(file.bytes());
  EXPECT_EQ(allRows(reader, 3), (std::vector<Bytes>{{1, 2}, {3, 4}, {5, 6}, {7, 8}}));
  EXPECT_EQ(reader->currentStrip, 4U);
}

TEST_F(ZKTiffRowsTest, WithoutStripOffsetsRowsStandBehindTheDirectory) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {2});
  file.field(kTagHeight, kTiffShort, {2});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {1});
  file.endDirectory();
  file.append({1, 2, 3, 4});
  EXPECT_EQ(allRows(open(file.bytes()), 3), (std::vector<Bytes>{{1, 2}, {3, 4}}));
}

TEST_F(ZKTiffRowsTest, AFirstStripAt0ReadsTheHeader) {
  TiffWriter file('M');
  file.field(kTagWidth, kTiffShort, {4});
  file.field(kTagHeight, kTiffShort, {1});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {1});
  file.rawField(kTagStripOffsets, kTiffLong, 0, {});
  file.endDirectory();
  EXPECT_EQ(allRows(open(file.bytes()), 1), (std::vector<Bytes>{{'M', 'M', 0, 0x2A}}));
}

TEST_F(ZKTiffRowsTest, ShortStripOffsetsAreRightForASingleStripOnly) {
  const uint16_t one = 1;
  if (*reinterpret_cast<const uint8_t*>(&one) != 1) GTEST_SKIP() << "says what it does elsewhere";
  for (const char order : {'I', 'M'}) {
    SCOPED_TRACE(order);
    TiffPage page = rowsPage({{1, 2, 3, 4}, {5, 6, 7, 8}}, 2);
    page.order = order;
    page.offsetType = kTiffShort;
    EXPECT_EQ(allRows(open(page), 2), (std::vector<Bytes>{{1, 2, 3, 4}, {5, 6, 7, 8}}));
    // Two of them make one offset far behind the end; the second is past the array and so 0.
    page = rowsPage({{1, 2, 3, 4}, {5, 6, 7, 8}}, 1);
    page.order = order;
    page.offsetType = kTiffShort;
    const Bytes header = tiffFile(page);
    EXPECT_EQ(allRows(open(page), 2),
              (std::vector<Bytes>{{0, 0, 0, 0}, Bytes(header.begin(), header.begin() + 4)}));
  }
}

TEST_F(ZKTiffRowsTest, AShortReadLeavesTheRestOfTheRowAsItWas) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {4});
  file.field(kTagHeight, kTiffShort, {3});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {1});
  file.endDirectory();
  file.append({1, 2, 3, 4, 5, 6});
  EXPECT_EQ(allRows(open(file.bytes()), 2),
            (std::vector<Bytes>{{1, 2, 3, 4}, {5, 6, 3, 4}, {5, 6, 3, 4}}));
  EXPECT_EQ(allRows(open(file.cut(3)), 3),
            (std::vector<Bytes>{{1, 2, 3, 0}, {1, 2, 3, 0}, {1, 2, 3, 0}}));
}

TEST_F(ZKTiffRowsTest, RewindingDeliversTheRowsAgainFromTheFirstStrip) {
  const std::vector<Bytes> rows = numberedRows(6, 4);
  const Reader reader = open(rowsPage(rows, 3));
  EXPECT_EQ(allRows(reader, 3), rows);
  EXPECT_EQ(reader->rowsLeftInStrip, 3U);
  ZKTiff_Rewind(reader.get());
  EXPECT_EQ(allRows(reader, 4), rows);
}

TEST_F(ZKTiffRowsTest, RewindingInsideAStripLeavesItsRowsCounted) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {1});
  file.field(kTagHeight, kTiffShort, {4});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {1});
  file.field(kTagRowsPerStrip, kTiffShort, {3});
  file.field(kTagStripOffsets, kTiffLong, {200, 203});
  file.endDirectory();
  file.append(Bytes(200 - file.size()));
  file.append({1, 2, 3, 4, 5, 6});
  const Reader reader = open(file.bytes());
  const World world = newWorld(1, 2, 8);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), 2);
  ZKTiff_Rewind(reader.get());
  EXPECT_EQ(allRows(reader, 4), (std::vector<Bytes>{{1}, {4}, {5}, {6}}));
}

TEST_F(ZKTiffRowsTest, NothingIsReadWithoutAReaderAFileOrABuffer) {
  const World world = newWorld(4, 2, 8);
  const auto fill = [&world] { std::memset(world->pixels, 0x77, 8); };
  const Reader refused = open(Bytes{'B', 'M'});
  for (ImageReader* const reader : {static_cast<ImageReader*>(nullptr), refused.get()}) {
    fill();
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader, world.get(), nullptr), 0);
    EXPECT_TRUE(allPixelsAre(world, 0x00));
    fill();
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader, world.get(), Reduce256To2Tbl.data()), 0);
    EXPECT_TRUE(allPixelsAre(world, 0x00));
    EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader, world.get(), rawSamplesMarker()), 0);
    EXPECT_TRUE(allPixelsAre(world, 0xFF));
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader, world.get(), nullptr, 0), 0);
    EXPECT_TRUE(allPixelsAre(world, 0x00));
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(reader, world.get(), world.get(), world.get(), 0), 0);
    EXPECT_TRUE(allPixelsAre(world, 0xFF));
  }
  const Reader reader = open(rowsPage({{1, 2, 3, 4}}, 1));
  EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), nullptr, nullptr), 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), nullptr, rawSamplesMarker()), 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlock(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(reader->currentRow, 0U);
  EXPECT_EQ(allRows(reader, 1), (std::vector<Bytes>{{1, 2, 3, 4}}));
}

TEST_F(ZKTiffRowsTest, OtherCompressionsAreRefusedByName) {
  for (const uint32_t compression : {0U, 2U, 3U, 4U, 5U, 7U, 8U, 32771U, 32774U}) {
    SCOPED_TRACE(compression);
    TiffPage page = rowsPage({{1, 2, 3, 4}}, 1);
    page.compression = compression;
    const Reader reader = open(page);
    const World world = newWorld(4, 1, 8);
    const Block block = readBlock(reader, world, nullptr);
    EXPECT_EQ(block.thrown, -41);
    EXPECT_EQ(block.errors, "UNSUPPORTED COMPRESSION!: \"" + path() + "\".\n");
  }
}

TEST_F(ZKTiffRowsTest, AFileThatDoesNotNameItsCompressionIsRefused) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {1});
  file.field(kTagHeight, kTiffShort, {1});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.endDirectory();
  const Reader reader = open(file.bytes());
  const World world = newWorld(1, 1, 8);
  const Block block = readBlock(reader, world, nullptr);
  EXPECT_EQ(block.thrown, -41);
  EXPECT_EQ(block.errors, "UNSUPPORTED COMPRESSION!: \"" + path() + "\".\n");
}

TEST_F(ZKTiffRowsTest, ACompressionIsOnlyAskedForARow) {
  TiffPage page = rowsPage({{1, 2, 3, 4}}, 1);
  page.compression = 5;
  for (const int depth : {3, 8}) {
    SCOPED_TRACE(depth);
    const Block block = readBlock(open(page), newWorld(4, 1, depth), nullptr);
    EXPECT_EQ(block.thrown, 0);
    EXPECT_EQ(block.rows, 0);
    EXPECT_EQ(block.errors, "");
    page.height = 0;  // no row to read for the depth that would go
  }
}

// PackBits ---------------------------------------------------------------------------------------

// A reader at the start of some data.
class PackBitsTest : public ZKTiffRowsTest {
 protected:
  [[nodiscard]] Reader at(const Bytes& data) const {
    TiffWriter file('I');
    file.endDirectory();
    file.append(data);
    return open(file.bytes());
  }
  // Decodes into a block of exactly `count` bytes; what was filled of it.
  static Bytes take(const Reader& reader, uint32_t count) {
    Bytes bytes(count, 0xEE);
    bytes.resize(unpackbits(reader.get(), bytes.data(), count));
    return bytes;
  }
};

TEST_F(PackBitsTest, HeadersStandForLiteralsAndRepeats) {
  Bytes longest = {0x7F};
  for (int i = 0; i < 128; ++i) longest.push_back(static_cast<uint8_t>(i));
  struct Case {
    const char* name;
    Bytes data, want;
  };
  const Case kCases[] = {
      {"one literal byte", {0x00, 0x41}, {0x41}},
      {"three literal bytes", {0x02, 1, 2, 3}, {1, 2, 3}},
      {"128 literal bytes", longest, Bytes(longest.begin() + 1, longest.end())},
      {"two copies", {0xFF, 0x41}, {0x41, 0x41}},
      {"three copies", {0xFE, 0x41}, {0x41, 0x41, 0x41}},
      {"128 copies", {0x81, 0x41}, Bytes(128, 0x41)},
      {"literals and copies", {0x01, 1, 2, 0xFE, 3, 0x00, 4}, {1, 2, 3, 3, 3, 4}},
      {"128 stands for nothing", {0x80, 0x80, 0x00, 0x41, 0x80, 0xFF, 0x42}, {0x41, 0x42, 0x42}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Reader reader = at(c.data);
    EXPECT_EQ(take(reader, static_cast<uint32_t>(c.want.size())), c.want);
    EXPECT_EQ(reader->decoderState, 0);
  }
}

TEST_F(PackBitsTest, NoBytesWantedReadNothing) {
  const Reader reader = at({0x00, 0x41});
  EXPECT_EQ(take(reader, 0), Bytes{});
  EXPECT_EQ(reader->decoderState, 0);
  EXPECT_EQ(readByte(reader.get()), 0x00);
}

TEST_F(PackBitsTest, ALiteralRunGoesOnInTheNextCall) {
  const Reader reader = at({0x05, 1, 2, 3, 4, 5, 6, 0xFF, 7});
  EXPECT_EQ(take(reader, 2), (Bytes{1, 2}));
  EXPECT_EQ(reader->decoderState, -4);
  EXPECT_EQ(take(reader, 3), (Bytes{3, 4, 5}));
  EXPECT_EQ(take(reader, 3), (Bytes{6, 7, 7}));
  EXPECT_EQ(reader->decoderState, 0);
}

TEST_F(PackBitsTest, CopiesThatDoNotFitAreDropped) {
  const Reader reader = at({0xFB, 9, 0x00, 1});  // six copies
  EXPECT_EQ(take(reader, 4), Bytes(4, 9));
  EXPECT_EQ(reader->decoderState, 0);
  EXPECT_EQ(take(reader, 1), Bytes{1});
}

TEST_F(PackBitsTest, TheEndOfTheFileIsTheEndOfWhatIsFilled) {
  const Reader literal = at({0x03, 1, 2});
  EXPECT_EQ(take(literal, 4), (Bytes{1, 2}));
  EXPECT_EQ(literal->decoderState, -2);
  EXPECT_EQ(take(literal, 1), Bytes{});
  const Reader repeat = at({0xFE});
  EXPECT_EQ(take(repeat, 2), Bytes{});
  EXPECT_EQ(repeat->decoderState, 3);
  EXPECT_EQ(take(at({}), 1), Bytes{});
  EXPECT_EQ(take(at({0x80}), 1), Bytes{});
}

// Three rows of 300 bytes; the second ends with the file behind its first byte, after headers
// that stand for nothing and have nothing to do with the bytes behind it.
TEST_F(PackBitsTest, ARowCutByTheEndOfTheFileKeepsTheRowBeforeBehindTheCut) {
  Bytes first, packed;
  for (int i = 0; i < 300; ++i) first.push_back(static_cast<uint8_t>(i));
  for (int i = 0; i < 300; i += 100) {
    packed.push_back(99);
    packed.insert(packed.end(), first.begin() + i, first.begin() + i + 100);
  }
  packed.insert(packed.end(), {0x00, 77});
  packed.insert(packed.end(), 200, 0x80);
  Bytes cut = first;
  cut[0] = 77;
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {300});
  file.field(kTagHeight, kTiffShort, {3});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {kPackBits});
  file.endDirectory();
  file.append(packed);
  EXPECT_EQ(allRows(open(file.bytes()), 3), (std::vector<Bytes>{first, cut, cut}));
}

TEST_F(PackBitsTest, ARunThatIsOpenAtTheEndOfAStripIsForgotten) {
  TiffPage page;
  page.width = 2;
  page.height = 2;
  page.compression = kPackBits;
  page.rowsPerStrip = 1;
  page.strips = {{0x05, 1, 2, 3}, {0x01, 4, 5}};
  EXPECT_EQ(allRows(open(page), 2), (std::vector<Bytes>{{1, 2}, {4, 5}}));
}

TEST_F(PackBitsTest, ALiteralRunMayCoverSeveralRowsAndARepeatOnlyOne) {
  TiffPage page;
  page.width = 2;
  page.height = 4;
  page.compression = kPackBits;
  page.rowsPerStrip = 4;
  page.strips = {{0x03, 1, 2, 3, 4, 0xFD, 5, 0x01, 6, 7}};
  EXPECT_EQ(allRows(open(page), 2), (std::vector<Bytes>{{1, 2}, {3, 4}, {5, 5}, {6, 7}}));
}

// Past the last strip the state is reset by every member but the RGB one.
Bytes packBitsPastTheLastStrip() {
  TiffWriter file('I');
  const uint32_t first = file.append({0x05, 1, 2, 3, 0x02, 4, 5, 6, 7});
  file.field(kTagWidth, kTiffShort, {1});
  file.field(kTagHeight, kTiffShort, {2});
  file.field(kTagBitsPerSample, kTiffShort, {8, 8, 8});
  file.field(kTagCompression, kTiffShort, {kPackBits});
  file.field(kTagStripOffsets, kTiffLong, {first});
  file.field(kTagRowsPerStrip, kTiffShort, {1});
  file.endDirectory();
  return file.bytes();
}

TEST_F(PackBitsTest, PastTheLastStripTheOtherMembersStartAfresh) {
  const Reader reader = open(packBitsPastTheLastStrip());
  const World world = newWorld(1, 2, 8);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 0), 2);
  EXPECT_EQ(world->pixels[0], 1);
  EXPECT_EQ(world->pixels[4], 4);
  EXPECT_EQ(reader->currentStrip, 2U);
}

TEST_F(PackBitsTest, PastTheLastStripTheRgbMemberGoesOn) {
  const Reader reader = open(packBitsPastTheLastStrip());
  const World red = newWorld(1, 2, 8);
  const World green = newWorld(1, 2, 8);
  const World blue = newWorld(1, 2, 8);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(reader.get(), red.get(), green.get(), blue.get(), 0), 2);
  EXPECT_EQ(red->pixels[0], 1);
  EXPECT_EQ(red->pixels[4], 2);  // the literal run's 0x02, 4 and 5
  EXPECT_EQ(green->pixels[4], 4);
  EXPECT_EQ(blue->pixels[4], 5);
  EXPECT_EQ(reader->currentStrip, 0U);
}

constexpr std::array<int, 5> kFiveSamples = {0x1234, 0xABCD, 0xFFFF, 0x8000, 0x5678};

// Composite CMYK ---------------------------------------------------------------------------------

TEST_F(ZKTiffRowsTest, EachChannelOfACompositeFileIsDeliveredByItself) {
  // Five pixels of C, M, Y, K.
  const Bytes row = {0x00, 0x10, 0x20, 0xFF, 0x40, 0x11, 0x5F, 0xF0, 0x80, 0x12,
                     0x9F, 0x0F, 0xC0, 0x13, 0xDF, 0x80, 0xFF, 0x14, 0xFF, 0x7F};
  struct Case {
    int channel, depth;
    uint32_t photometric;
    Bytes want;
  };
  const Case kCases[] = {
      {0, 8, 5, {0x00, 0x40, 0x80, 0xC0, 0xFF}},
      {1, 8, 5, {0x10, 0x11, 0x12, 0x13, 0x14}},
      {2, 8, 5, {0x20, 0x5F, 0x9F, 0xDF, 0xFF}},
      {3, 8, 5, {0xFF, 0xF0, 0x0F, 0x80, 0x7F}},
      {3, 8, 0, {0xFF, 0xF0, 0x0F, 0x80, 0x7F}},
      {3, 8, 1, {0x00, 0x0F, 0xF0, 0x7F, 0x80}},
      {0, 8, 2, {0xFF, 0xBF, 0x7F, 0x3F, 0x00}},
      {0, 4, 5, {0x04, 0x8C, 0xF0}},
      {0, 4, 1, {0xFB, 0x73, 0x00}},
      {0, 2, 5, {0x1B, 0xC0}},
      {0, 2, 1, {0xE4, 0x00}},
      {3, 1, 5, {0x28}},  // 0F and 7F
      {3, 1, 0, {0x28}},
      {3, 1, 1, {0x28}},
      {0, 1, 1, {0xC0}},  // 00 and 40
      {0, 1, 5, {0x40}},
  };
  for (const char order : {'I', 'M'}) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(testing::Message() << order << " channel " << c.channel << " depth " << c.depth
                                      << " photometric " << c.photometric);
      // A table of all ones is no raw mode here: it goes by depth like null.
      for (const uint8_t* const table :
           {static_cast<const uint8_t*>(nullptr), rawSamplesMarker()}) {
        const Reader reader = open(onePage(5, {8, 8, 8, 8}, row, c.photometric, order));
        const World world = newWorld(5, 2, c.depth);
        std::memset(world->pixels, 0x77, 2 * static_cast<size_t>(world->rowBytes));
        EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), table, c.channel), 1);
        Bytes want = c.want;
        want.resize(static_cast<size_t>(world->rowBytes));
        EXPECT_EQ(rowOf(world, 0), want);
        EXPECT_EQ(rowOf(world, 1), Bytes(want.size()));
      }
    }
  }
}

TEST_F(ZKTiffRowsTest, ATableMapsTheSamplesOfAChannel) {
  const Bytes row = {0x00, 139, 0, 0, 0x00, 140, 0, 0, 0x00, 255, 0, 0};
  const Reader reader = open(onePage(3, {8, 8, 8, 8}, row, 5));
  const World world = newWorld(3, 1, 2);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), Reduce256To2Tbl.data(), 1),
            1);
  EXPECT_EQ(rowOf(world, 0), (Bytes{0x14, 0, 0, 0}));
}

TEST_F(ZKTiffRowsTest, SixteenBitChannelsGoInto10BitsOnly) {
  // Five pixels; every channel has its own samples.
  std::vector<uint16_t> samples;
  for (const int sample : kFiveSamples) {
    for (const int flip : {0, 0x40, 0x80, 0xC0})
      samples.push_back(static_cast<uint16_t>(sample ^ flip));
  }
  struct Case {
    int channel;
    uint32_t photometric;
    Bytes want;
  };
  const Case kCases[] = {
      {0, 5, {0x12, 0x2A, 0xFF, 0xFE, 0x00, 0x56, 0x40, 0x00}},
      {0, 0, {0x12, 0x2A, 0xFF, 0xFE, 0x00, 0x56, 0x40, 0x00}},
      {0, 1, {0xED, 0xD5, 0x00, 0x01, 0xFF, 0xA9, 0x80, 0x00}},
      {0, 2, {0xED, 0xD5, 0x00, 0x01, 0xFF, 0xA9, 0x80, 0x00}},
      {1, 5, {0x12, 0x6A, 0xEF, 0xFA, 0x01, 0x56, 0x00, 0x00}},
      {2, 5, {0x12, 0xAA, 0xDF, 0xF6, 0x02, 0x56, 0xC0, 0x00}},
      {3, 5, {0x12, 0xEA, 0xCF, 0xF2, 0x03, 0x56, 0x80, 0x00}},
  };
  for (const char order : {'I', 'M'}) {
    const Bytes row = samples16(order, samples);
    for (const Case& c : kCases) {
      SCOPED_TRACE(testing::Message()
                   << order << " channel " << c.channel << " photometric " << c.photometric);
      const Reader reader = open(onePage(5, {16, 16, 16, 16}, row, c.photometric, order));
      const World world = newWorld(5, 1, 10);
      EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, c.channel), 1);
      EXPECT_EQ(rowOf(world, 0), c.want);
    }
    for (const int depth : {1, 2, 4, 8, 12, 16}) {
      SCOPED_TRACE(depth);
      const Reader reader = open(onePage(5, {16, 16, 16, 16}, row, 5, order));
      const World world = newWorld(5, 1, depth);
      const Block block = readChannel0(reader, world);
      EXPECT_EQ(block.rows, 0);
      EXPECT_EQ(block.errors, "");
      EXPECT_TRUE(allPixelsAre(world, 0x00));
      EXPECT_EQ(reader->currentRow, 0U);
    }
  }
}

TEST_F(ZKTiffRowsTest, ChannelsThatDoNotGoIntoTheDepthAreRefused) {
  struct Case {
    std::vector<uint32_t> bits;
    int depth;
  };
  const Case kCases[] = {
      {{8, 8, 8, 8}, 3},  {{8, 8, 8, 8}, 10}, {{8, 8, 8, 8}, 12}, {{8, 8, 8, 8}, 16},
      {{8, 8, 8, 8}, 32}, {{1, 1, 1, 1}, 8},  {{4, 4, 4, 4}, 8},  {{8}, 8},  // bits of 1 sample: 1
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message() << c.bits.size() << " x " << c.bits[0] << " into " << c.depth);
    const Reader reader = open(onePage(4, c.bits, Bytes(16, 0x55), 5));
    const World world = newWorld(4, 1, c.depth);
    const Block block = readChannel0(reader, world);
    EXPECT_EQ(block.rows, 0);
    EXPECT_EQ(block.errors, "");
    EXPECT_TRUE(allPixelsAre(world, 0x00));
  }
}

TEST_F(ZKTiffRowsTest, ChannelsOfOtherThan8And16BitsHaveOnlyZeroSamples) {
  const Bytes row(6, 0xFF);  // 12 pixels of 4 x 1 bit
  for (const uint32_t photometric : {0U, 5U}) {
    SCOPED_TRACE(photometric);
    const Reader reader = open(onePage(12, {1, 1, 1, 1}, row, photometric));
    const World world = newWorld(12, 1, 1);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 2), 1);
    EXPECT_EQ(rowOf(world, 0), photometric == 0 ? Bytes(4) : (Bytes{0xFF, 0xF0, 0, 0}));
  }
}

TEST_F(ZKTiffRowsTest, ChannelsWithoutAConversionAreReportedOnceARow) {
  for (const uint32_t bits : {2U, 4U}) {
    SCOPED_TRACE(bits);
    TiffPage page = onePage(4, {bits, bits, bits, bits}, Bytes(16, 0x55), 5);
    page.height = 2;
    const Reader reader = open(page);
    const World world = newWorld(4, 2, static_cast<int>(bits));
    const Block block = readChannel0(reader, world);
    EXPECT_EQ(block.rows, 2);
    EXPECT_EQ(block.errors, std::string(kUnsupportedDepth) + kUnsupportedDepth);
    EXPECT_TRUE(allPixelsAre(world, 0x00));
  }
}

TEST_F(ZKTiffRowsTest, SamplesPastTheEndOfTheRowAre0) {
  // Three samples a pixel, read as if there were four.
  const Bytes row = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  struct Case {
    int channel;
    Bytes want;
  };
  for (const Case& c : {Case{0, {1, 5, 9, 0}}, Case{3, {4, 8, 12, 0}}}) {
    SCOPED_TRACE(c.channel);
    const Reader reader = open(onePage(4, {8, 8, 8}, row, 5));
    const World world = newWorld(4, 1, 8);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, c.channel), 1);
    EXPECT_EQ(rowOf(world, 0), c.want);
  }
  const Reader inverted = open(onePage(4, {8, 8, 8}, row, 1));
  const World world = newWorld(4, 1, 8);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(inverted.get(), world.get(), nullptr, 3), 1);
  EXPECT_EQ(rowOf(world, 0), (Bytes{0xFB, 0xF7, 0xF3, 0xFF}));

  const Reader deep = open(onePage(4, {16, 16, 16}, Bytes(24, 0xFF), 5));
  const World ten = newWorld(4, 1, 10);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(deep.get(), ten.get(), nullptr, 0), 1);
  EXPECT_EQ(rowOf(ten, 0), (Bytes{0xFF, 0xFF, 0xFF, 0xFC, 0, 0, 0, 0}));
}

TEST_F(ZKTiffRowsTest, CompositeFilesAreReadThroughTheirStripsByBlocks) {
  std::vector<Bytes> rows(7, Bytes(12));
  for (size_t row = 0; row < rows.size(); ++row)
    for (size_t i = 0; i < 12; ++i) rows[row][i] = static_cast<uint8_t>(row * 16 + i);
  for (const uint32_t compression : {kUncompressed, kPackBits}) {
    SCOPED_TRACE(compression);
    TiffPage page = rowsPage(rows, 3, compression);
    page.width = 3;
    page.bits = {8, 8, 8, 8};
    page.photometric = 5;
    const Reader reader = open(page);
    const World world = newWorld(3, 4, 8);
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 2), 4);
    EXPECT_EQ(rowOf(world, 3), (Bytes{0x32, 0x36, 0x3A, 0}));
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 2), 3);
    EXPECT_EQ(rowOf(world, 0), (Bytes{0x42, 0x46, 0x4A, 0}));
    EXPECT_EQ(rowOf(world, 2), (Bytes{0x62, 0x66, 0x6A, 0}));
    EXPECT_EQ(rowOf(world, 3), Bytes(4));
    EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 2), 0);
  }
}

// The four channels of a composite file, each with a reader of its own, as a page holds them.
class FourChannelsTest : public ZKTiffRowsTest {
 protected:
  struct Channels {
    std::array<Reader, 4> readers;
    std::array<World, 4> worlds;

    [[nodiscard]] CmykChannels all() const {
      CmykChannels channels{};
      for (size_t i = 0; i < channels.size(); ++i) {
        channels[i] = {readers[i].get(), worlds[i].get(), nullptr, static_cast<int>(i)};
      }
      return channels;
    }
  };

  // Seven rows of three pixels: a sample says its row and its place in the row.
  static TiffPage compositePage() {
    std::vector<Bytes> rows(7, Bytes(12));
    for (size_t row = 0; row < rows.size(); ++row) {
      for (size_t i = 0; i < 12; ++i) rows[row][i] = static_cast<uint8_t>(row * 16 + i);
    }
    TiffPage page = rowsPage(rows, 3);
    page.width = 3;
    page.bits = {8, 8, 8, 8};
    page.photometric = 5;
    return page;
  }

  [[nodiscard]] Channels openFour(const Bytes& content, const std::array<int, 4>& depths,
                                  long height = 4) const {
    Channels channels;
    for (size_t i = 0; i < depths.size(); ++i) {
      channels.readers.at(i) = open(content);
      channels.worlds.at(i) = newWorld(3, height, depths.at(i));
    }
    return channels;
  }

  // Whether two blocks of four channels are what reading them one by one gives.
  void expectAsOneByOne(const Bytes& content, const std::array<int, 4>& depths) const {
    const Channels together = openFour(content, depths);
    const Channels alone = openFour(content, depths);
    for (int block = 0; block < 3; ++block) {
      SCOPED_TRACE(testing::Message() << "block " << block);
      int rows = 0, most = 0;
      const std::string errors =
          errorsOf([&] { rows = ZKTiff_ReadNextRasterBlocksCMYK(together.all()); });
      const std::string errorsAlone = errorsOf([&] {
        for (const CmykChannel& one : alone.all()) {
          most = std::max(
              most, ZKTiff_ReadNextRasterBlockCMYK(one.reader, one.world, one.table, one.channel));
        }
      });
      EXPECT_EQ(rows, most);
      EXPECT_EQ(errors, errorsAlone);
      for (size_t i = 0; i < depths.size(); ++i) {
        for (long row = 0; row < 4; ++row) {
          EXPECT_EQ(rowOf(together.worlds.at(i), row), rowOf(alone.worlds.at(i), row))
              << "channel " << i << ", row " << row;
        }
      }
    }
  }
};

TEST_F(FourChannelsTest, RowsAreReadOnceByTheFirstReader) {
  const Channels channels = openFour(tiffFile(compositePage()), {8, 8, 8, 8});
  EXPECT_EQ(ZKTiff_ReadNextRasterBlocksCMYK(channels.all()), 4);
  EXPECT_EQ(rowOf(channels.worlds[0], 3), (Bytes{0x30, 0x34, 0x38, 0}));
  EXPECT_EQ(rowOf(channels.worlds[3], 3), (Bytes{0x33, 0x37, 0x3B, 0}));
  EXPECT_EQ(channels.readers[0]->currentStrip, 1U);
  EXPECT_EQ(channels.readers[1]->currentStrip, 0U);
}

TEST_F(FourChannelsTest, RowsAreWhatEachReaderAloneDelivers) {
  const Bytes file = tiffFile(compositePage());
  expectAsOneByOne(file, {8, 8, 8, 8});
  expectAsOneByOne(file, {4, 2, 1, 8});
}

TEST_F(FourChannelsTest, ADepthThatDoesNotFitLeavesOnlyItsOwnChannelEmpty) {
  const Bytes file = tiffFile(compositePage());
  expectAsOneByOne(file, {8, 8, 10, 8});
  const Channels channels = openFour(file, {8, 8, 10, 8});
  EXPECT_EQ(ZKTiff_ReadNextRasterBlocksCMYK(channels.all()), 4);
  EXPECT_EQ(rowOf(channels.worlds[1], 0), (Bytes{0x01, 0x05, 0x09, 0}));
  EXPECT_TRUE(allPixelsAre(channels.worlds[2], 0x00));
  EXPECT_EQ(channels.readers[0]->currentStrip, 1U);
  EXPECT_EQ(channels.readers[1]->currentStrip, 1U);  // one by one, each goes its own way
}

TEST_F(FourChannelsTest, AClaimBeyondTheFileIsSaidForEachChannel) {
  TiffPage page = compositePage();
  page.height = 2000000000;
  expectAsOneByOne(tiffFile(page), {8, 8, 8, 8});
  const Channels channels = openFour(tiffFile(page), {8, 8, 8, 8});
  const std::string said =
      errorsOf([&] { EXPECT_EQ(ZKTiff_ReadNextRasterBlocksCMYK(channels.all()), 0); });
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 4) << said;
}

TEST_F(FourChannelsTest, ARowCutByTheEndOfTheFileIsCutInAllChannels) {
  TiffPage page = compositePage();
  page.height = 9;
  expectAsOneByOne(tiffFile(page), {8, 8, 8, 8});
}

TEST_F(FourChannelsTest, ACompressionThatIsNotReadThrowsTheTextOfOneReader) {
  TiffPage page = compositePage();
  page.compression = 5;
  const Channels channels = openFour(tiffFile(page), {8, 8, 8, 8});
  const char* thrown = nullptr;
  const std::string said = errorsOf([&] {
    try {
      ZKTiff_ReadNextRasterBlocksCMYK(channels.all());
    } catch (const char* text) {
      thrown = text;
    }
  });
  EXPECT_STREQ(thrown, "Internal Exception");
  EXPECT_EQ(said, "UNSUPPORTED COMPRESSION!: \"" + path() + "\".\n");
}

TEST_F(ZKTiffRowsTest, ACompositeFileOfAnotherCompressionThrowsAText) {
  TiffPage page = onePage(2, {8, 8, 8, 8}, Bytes(8), 5);
  page.compression = 5;
  const Reader reader = open(page);
  const World world = newWorld(2, 1, 8);
  std::string thrown;
  const std::string errors = errorsOf([&] {
    try {
      ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 0);
    } catch (const char* text) {
      thrown = text;
    }
  });
  EXPECT_EQ(thrown, "Internal Exception");
  EXPECT_EQ(errors, "UNSUPPORTED COMPRESSION!: \"" + path() + "\".\n");
}

TEST_F(ZKTiffRowsTest, ACompositeReaderWithoutABufferReadsNothing) {
  const Reader reader = open(onePage(2, {8, 8, 8, 8}, Bytes(8), 5));
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), nullptr, nullptr, 0), 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), nullptr, rawSamplesMarker(), 0), 0);
  EXPECT_EQ(reader->currentRow, 0U);
}

// RGB --------------------------------------------------------------------------------------------

struct Rgb {
  World red, green, blue;
  Rgb(long width, long height, int depth, int deep = 0)
      : red(newWorld(width, height, depth, deep)),
        green(newWorld(width, height, depth, deep)),
        blue(newWorld(width, height, depth, deep)) {}
  int read(const Reader& reader, int deep = 0) const {
    return ZKTiff_ReadNextRasterBlockRGB(reader.get(), red.get(), green.get(), blue.get(), deep);
  }
};

TEST_F(ZKTiffRowsTest, EightBitRgbIsSplitAsItIs) {
  const Bytes row = {0x00, 0x10, 0x20, 0x41, 0x51, 0x61, 0x82, 0x92, 0xA2};
  for (const uint32_t photometric : {0U, 1U, 2U, 5U}) {
    for (const int deep : {0, 1}) {
      SCOPED_TRACE(testing::Message() << "photometric " << photometric << " deep " << deep);
      const Reader reader = open(onePage(3, {8, 8, 8}, row, photometric));
      const Rgb rgb(3, 2, 8, deep);
      EXPECT_EQ(rgb.read(reader, deep), 1);
      EXPECT_EQ(rowOf(rgb.red, 0), (Bytes{0x00, 0x41, 0x82, 0xFF}));
      EXPECT_EQ(rowOf(rgb.green, 0), (Bytes{0x10, 0x51, 0x92, 0xFF}));
      EXPECT_EQ(rowOf(rgb.blue, 0), (Bytes{0x20, 0x61, 0xA2, 0xFF}));
      EXPECT_EQ(rowOf(rgb.red, 1), Bytes(4, 0xFF));
      EXPECT_EQ(rgb.read(reader, deep), 0);
      EXPECT_TRUE(allPixelsAre(rgb.blue, 0xFF));
    }
  }
}

// Five pixels; green has bit 6 of every sample of red flipped, blue bit 7.
std::vector<uint16_t> rgbSamples() {
  std::vector<uint16_t> samples;
  for (const int sample : kFiveSamples)
    for (const int flip : {0, 0x40, 0x80}) samples.push_back(static_cast<uint16_t>(sample ^ flip));
  return samples;
}

TEST_F(ZKTiffRowsTest, SixteenBitRgbByDepthAndFlag) {
  struct Case {
    const char* name;
    int depth, deep;
    Bytes red, green, blue;
  };
  const Case kCases[] = {
      {"10 bits packed, the last group filled with 1",
       10,
       0,
       {0x12, 0x2A, 0xFF, 0xFE, 0x00, 0x56, 0x7F, 0xFF},
       {0x12, 0x6A, 0xEF, 0xFA, 0x01, 0x56, 0x3F, 0xFF},
       {0x12, 0xAA, 0xDF, 0xF6, 0x02, 0x56, 0xFF, 0xFF}},
      {"10 bits in two bytes each",
       10,
       1,
       {0xFC, 0x48, 0xFE, 0xAF, 0xFF, 0xFF, 0xFE, 0x00, 0xFD, 0x59, 0xFF, 0xFF},
       {0xFC, 0x49, 0xFE, 0xAE, 0xFF, 0xFE, 0xFE, 0x01, 0xFD, 0x58, 0xFF, 0xFF},
       {0xFC, 0x4A, 0xFE, 0xAD, 0xFF, 0xFD, 0xFE, 0x02, 0xFD, 0x5B, 0xFF, 0xFF}},
      {"12 bits packed, the last pair filled with 1, its last byte dropped",
       12,
       0,
       {0x12, 0x3A, 0xBC, 0xFF, 0xF8, 0x00, 0x56, 0x7F},
       {0x12, 0x7A, 0xB8, 0xFF, 0xB8, 0x04, 0x56, 0x3F},
       {0x12, 0xBA, 0xB4, 0xFF, 0x78, 0x08, 0x56, 0xFF}},
      {"12 bits in two bytes each",
       12,
       1,
       {0xF1, 0x23, 0xFA, 0xBC, 0xFF, 0xFF, 0xF8, 0x00, 0xF5, 0x67, 0xFF, 0xFF},
       {0xF1, 0x27, 0xFA, 0xB8, 0xFF, 0xFB, 0xF8, 0x04, 0xF5, 0x63, 0xFF, 0xFF},
       {0xF1, 0x2B, 0xFA, 0xB4, 0xFF, 0xF7, 0xF8, 0x08, 0xF5, 0x6F, 0xFF, 0xFF}},
      {"16 bits",
       16,
       0,
       {0x12, 0x34, 0xAB, 0xCD, 0xFF, 0xFF, 0x80, 0x00, 0x56, 0x78, 0xFF, 0xFF},
       {0x12, 0x74, 0xAB, 0x8D, 0xFF, 0xBF, 0x80, 0x40, 0x56, 0x38, 0xFF, 0xFF},
       {0x12, 0xB4, 0xAB, 0x4D, 0xFF, 0x7F, 0x80, 0x80, 0x56, 0xF8, 0xFF, 0xFF}},
      {"16 bits, flag set",
       16,
       1,
       {0x12, 0x34, 0xAB, 0xCD, 0xFF, 0xFF, 0x80, 0x00, 0x56, 0x78, 0xFF, 0xFF},
       {0x12, 0x74, 0xAB, 0x8D, 0xFF, 0xBF, 0x80, 0x40, 0x56, 0x38, 0xFF, 0xFF},
       {0x12, 0xB4, 0xAB, 0x4D, 0xFF, 0x7F, 0x80, 0x80, 0x56, 0xF8, 0xFF, 0xFF}},
  };
  for (const char order : {'I', 'M'}) {
    for (const uint32_t photometric : {0U, 1U, 2U, 5U}) {
      for (const Case& c : kCases) {
        SCOPED_TRACE(testing::Message()
                     << c.name << ", " << order << ", photometric " << photometric);
        const Reader reader =
            open(onePage(5, {16, 16, 16}, samples16(order, rgbSamples()), photometric, order));
        const Rgb rgb(5, 1, c.depth, c.deep);
        EXPECT_EQ(rgb.read(reader, c.deep), 1);
        EXPECT_EQ(rowOf(rgb.red, 0), c.red);
        EXPECT_EQ(rowOf(rgb.green, 0), c.green);
        EXPECT_EQ(rowOf(rgb.blue, 0), c.blue);
      }
    }
  }
}

TEST_F(ZKTiffRowsTest, WholeGroupsOfRgbSamplesNeedNoFilling) {
  const std::vector<uint16_t> samples = rgbSamples();
  const std::vector<uint16_t> four(samples.begin(), samples.begin() + 12);
  const Reader ten = open(onePage(4, {16, 16, 16}, samples16('M', four), 2, 'M'));
  const Rgb rgb10(4, 1, 10);
  EXPECT_EQ(rgb10.read(ten), 1);
  EXPECT_EQ(rowOf(rgb10.red, 0), (Bytes{0x12, 0x2A, 0xFF, 0xFE, 0x00, 0xFF, 0xFF, 0xFF}));
  const Reader twelve = open(onePage(4, {16, 16, 16}, samples16('M', four), 2, 'M'));
  const Rgb rgb12(4, 1, 12);
  EXPECT_EQ(rgb12.read(twelve), 1);
  EXPECT_EQ(rowOf(rgb12.red, 0), (Bytes{0x12, 0x3A, 0xBC, 0xFF, 0xF8, 0x00, 0xFF, 0xFF}));
}

TEST_F(ZKTiffRowsTest, RgbDepthsThatDoNotGoTogetherAreRefused) {
  struct Case {
    uint32_t bits;
    int red, green, blue;
  };
  const Case kCases[] = {
      {8, 10, 10, 10}, {8, 12, 12, 12},  {8, 16, 16, 16},  {8, 4, 4, 4},     {8, 8, 8, 10},
      {8, 8, 10, 8},   {8, 10, 8, 8},    {16, 8, 8, 8},    {16, 10, 10, 12}, {16, 10, 12, 10},
      {16, 16, 16, 8}, {16, 12, 10, 10}, {16, 16, 12, 12}, {4, 8, 8, 8},     {1, 1, 1, 1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message()
                 << "3 x " << c.bits << " into " << c.red << ", " << c.green << ", " << c.blue);
    const Reader reader = open(onePage(4, {c.bits, c.bits, c.bits}, Bytes(24, 0x55), 2));
    const World red = newWorld(4, 1, c.red);
    const World green = newWorld(4, 1, c.green);
    const World blue = newWorld(4, 1, c.blue);
    int rows = -1;
    EXPECT_EQ(errorsOf([&] {
                rows = ZKTiff_ReadNextRasterBlockRGB(reader.get(), red.get(), green.get(),
                                                     blue.get(), 0);
              }),
              "");
    EXPECT_EQ(rows, 0);
    EXPECT_TRUE(allPixelsAre(red, 0xFF));
    EXPECT_TRUE(allPixelsAre(green, 0xFF));
    EXPECT_TRUE(allPixelsAre(blue, 0xFF));
    EXPECT_EQ(reader->currentRow, 0U);
  }
}

TEST_F(ZKTiffRowsTest, FilesThatAreNotRgbAreRefusedByTheRgbMember) {
  for (const std::vector<uint32_t>& bits :
       {std::vector<uint32_t>{8}, {8, 8, 8, 8}, {16}, {16, 16, 16, 16}}) {
    const Reader reader = open(onePage(4, bits, Bytes(32), 2));
    EXPECT_EQ(Rgb(4, 1, 8).read(reader), 0);
    EXPECT_EQ(Rgb(4, 1, 16).read(reader), 0);
  }
  // Only the bits of a whole pixel are looked at.
  EXPECT_EQ(Rgb(1, 1, 8).read(open(onePage(1, {24}, {1, 2, 3}, 2))), 1);
}

TEST_F(ZKTiffRowsTest, TheRgbMemberNeedsAllThreeBuffers) {
  const Reader reader = open(onePage(1, {8, 8, 8}, {1, 2, 3}, 2));
  const Rgb rgb(1, 1, 8);
  ImageReader* const file = reader.get();
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(file, nullptr, rgb.green.get(), rgb.blue.get(), 0), 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(file, rgb.red.get(), nullptr, rgb.blue.get(), 0), 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(file, rgb.red.get(), rgb.green.get(), nullptr, 0), 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(file, nullptr, nullptr, nullptr, 0), 0);
  EXPECT_EQ(reader->currentRow, 0U);
  EXPECT_EQ(rgb.read(reader), 1);
}

TEST_F(ZKTiffRowsTest, AnRgbFileOfAnotherCompressionThrowsItsOwnCode) {
  TiffPage page = onePage(1, {8, 8, 8}, {1, 2, 3}, 2);
  page.compression = 5;
  const Reader reader = open(page);
  const Rgb rgb(1, 1, 8);
  int thrown = 0;
  const std::string errors = errorsOf([&] { thrown = thrownBy([&] { rgb.read(reader); }); });
  EXPECT_EQ(thrown, -42);
  EXPECT_EQ(errors, "UNSUPPORTED COMPRESSION!: \"" + path() + "\".\n");
}

TEST_F(ZKTiffRowsTest, RgbRowsAreReadThroughStripsByBlocks) {
  std::vector<Bytes> rows(7, Bytes(6));
  for (size_t row = 0; row < rows.size(); ++row)
    for (size_t i = 0; i < 6; ++i) rows[row][i] = static_cast<uint8_t>(row * 16 + i);
  for (const uint32_t compression : {kUncompressed, kPackBits}) {
    SCOPED_TRACE(compression);
    TiffPage page = rowsPage(rows, 3, compression);
    page.width = 2;
    page.bits = {8, 8, 8};
    const Reader reader = open(page);
    const Rgb rgb(2, 4, 8);
    EXPECT_EQ(rgb.read(reader), 4);
    EXPECT_EQ(rowOf(rgb.green, 3), (Bytes{0x31, 0x34, 0xFF, 0xFF}));
    EXPECT_EQ(rgb.read(reader), 3);
    EXPECT_EQ(rowOf(rgb.red, 0), (Bytes{0x40, 0x43, 0xFF, 0xFF}));
    EXPECT_EQ(rowOf(rgb.blue, 2), (Bytes{0x62, 0x65, 0xFF, 0xFF}));
    EXPECT_EQ(rowOf(rgb.blue, 3), Bytes(4, 0xFF));
    EXPECT_EQ(rgb.read(reader), 0);
    EXPECT_EQ(reader->currentStrip, 2U);  // the last one: this member does not move past it
  }
}

// Two rows of twelve pixels; the red samples of the first one are 0, 3, 6 up to 33.
TiffPage countingRgbPage() {
  Bytes row(36);
  for (size_t i = 0; i < row.size(); ++i) row[i] = static_cast<uint8_t>(i);
  TiffPage page = onePage(12, {8, 8, 8}, row, 2);
  page.height = 2;
  page.strips[0].resize(72);
  return page;
}

TEST_F(ZKTiffRowsTest, RgbBuffersThatAreNarrowerThanAnotherAreNotOverrun) {
  const World wide = newWorld(12, 2, 8);
  const World narrow = newWorld(1, 2, 8);
  ZKGWorld* const w = wide.get();
  ZKGWorld* const n = narrow.get();
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(open(countingRgbPage()).get(), n, w, w, 0), 2);
  EXPECT_EQ(n->pixels[0], 0);
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(open(countingRgbPage()).get(), w, n, n, 0), 2);
  EXPECT_EQ(w->pixels[11], 33);
}

TEST_F(ZKTiffRowsTest, RgbBuffersThatAreLowerThanAnotherAreNotOverrun) {
  const World high = newWorld(12, 2, 8);
  const World low = newWorld(12, 1, 8);
  ZKGWorld* const h = high.get();
  ZKGWorld* const l = low.get();
  EXPECT_EQ(ZKTiff_ReadNextRasterBlockRGB(open(countingRgbPage()).get(), l, h, h, 0), 1);
  EXPECT_EQ(l->pixels[11], 33);
  ZKTiff_ReadNextRasterBlockRGB(open(countingRgbPage()).get(), h, l, l, 0);
  EXPECT_EQ(h->pixels[11], 33);
}

TEST_F(ZKTiffRowsTest, RgbBuffersMadeForTheOtherFlagAreNotOverrun) {
  for (const int depth : {10, 12, 16}) {
    for (const int deep : {0, 1}) {
      SCOPED_TRACE(testing::Message() << depth << ", made with flag " << deep);
      const Rgb rgb(6, 1, depth, deep);
      EXPECT_EQ(rgb.read(open(onePage(6, {16, 16, 16}, Bytes(36, 0x55), 2)), 1 - deep), 1);
    }
  }
}

// Missing memory ---------------------------------------------------------------------------------

TEST_F(ZKTiffRowsTest, ACompositeRowWithoutMemoryIsHarmless) {
  for (int n = 1; n < 20; ++n) {
    SCOPED_TRACE(n);
    const Reader reader = open(onePage(3, {8, 8, 8, 8}, Bytes(12, 0x55), 5));
    const World world = newWorld(3, 1, 8);
    bool hasStruck = false;
    const std::string errors = errorsOf([&] {
      const FaultInjection injection(Fault::kAllocation, n);
      // What becomes of the row is open, and so is the code; memory must stay in order.
      thrownBy([&] { ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr, 0); });
      hasStruck = injection.hasStruck();
    });
    if (!hasStruck) {
      EXPECT_EQ(rowOf(world, 0), (Bytes{0x55, 0x55, 0x55, 0}));
      return;
    }
  }
  ADD_FAILURE() << "reading one row takes no end of blocks";
}

// Files from an independent writer ---------------------------------------------------------------

struct TiffCloser {
  void operator()(TIFF* file) const { TIFFClose(file); }
};
using LibTiff = std::unique_ptr<TIFF, TiffCloser>;

struct Written {
  const char* name;
  const char* mode;
  uint16_t compression;
  uint32_t rowsPerStrip;
};

const Written kWritten[] = {
    {"little-endian", "wl", COMPRESSION_NONE, 7},
    {"big-endian", "wb", COMPRESSION_NONE, 7},
    {"little-endian, packed", "wl", COMPRESSION_PACKBITS, 7},
    {"big-endian, packed", "wb", COMPRESSION_PACKBITS, 7},
    {"one strip", "wl", COMPRESSION_NONE, 1000},
    {"one strip, packed", "wb", COMPRESSION_PACKBITS, 1000},
    {"a strip a row, packed", "wl", COMPRESSION_PACKBITS, 1},
};

constexpr uint32_t kWidth = 37;
constexpr uint32_t kHeight = 50;

// Samples with flat parts and noise, so that both kinds of PackBits items occur.
template <class Sample>
std::vector<Sample> picture(uint32_t samplesPerPixel) {
  std::vector<Sample> samples(size_t{kWidth} * kHeight * samplesPerPixel);
  uint32_t noise = 12345;
  for (size_t i = 0; i < samples.size(); ++i) {
    noise = noise * 1664525 + 1013904223;
    const bool flat = i / 16 % 3 == 0;
    samples[i] = static_cast<Sample>(flat ? i / 48 : noise >> 13);
  }
  return samples;
}

class LibTiffTest : public ZKTiffRowsTest {
 protected:
  [[nodiscard]] Reader written(const Written& how, uint16_t photometric, uint16_t samplesPerPixel,
                               uint16_t bits, const Bytes& rows) const {
    {
      const LibTiff file(TIFFOpen(path().c_str(), how.mode));
      EXPECT_NE(file, nullptr);
      TIFFSetField(file.get(), TIFFTAG_IMAGEWIDTH, kWidth);
      TIFFSetField(file.get(), TIFFTAG_IMAGELENGTH, kHeight);
      TIFFSetField(file.get(), TIFFTAG_BITSPERSAMPLE, bits);
      TIFFSetField(file.get(), TIFFTAG_SAMPLESPERPIXEL, samplesPerPixel);
      TIFFSetField(file.get(), TIFFTAG_PHOTOMETRIC, photometric);
      TIFFSetField(file.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
      TIFFSetField(file.get(), TIFFTAG_COMPRESSION, how.compression);
      TIFFSetField(file.get(), TIFFTAG_ROWSPERSTRIP, how.rowsPerStrip);
      const size_t rowBytes = rows.size() / kHeight;
      for (uint32_t row = 0; row < kHeight; ++row) {
        Bytes line(rows.begin() + static_cast<std::ptrdiff_t>(row * rowBytes),
                   rows.begin() + static_cast<std::ptrdiff_t>((row + 1) * rowBytes));
        EXPECT_EQ(TIFFWriteScanline(file.get(), line.data(), row, 0), 1);
      }
    }
    Reader reader(ZKTiff_New(path().c_str()));
    EXPECT_NE(reader, nullptr);
    EXPECT_EQ(reader->width, kWidth);
    EXPECT_EQ(reader->height, kHeight);
    return reader;
  }
};

template <class Sample>
Bytes asBytes(const std::vector<Sample>& samples) {
  Bytes bytes(samples.size() * sizeof(Sample));
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

TEST_F(LibTiffTest, GraySamplesComeBack) {
  const auto samples = picture<uint8_t>(1);
  for (const Written& how : kWritten) {
    for (const auto photometric :
         {uint16_t{PHOTOMETRIC_MINISWHITE}, uint16_t{PHOTOMETRIC_MINISBLACK}}) {
      SCOPED_TRACE(testing::Message() << how.name << ", photometric " << photometric);
      const std::vector<Bytes> rows = allRows(written(how, photometric, 1, 8, samples), 12);
      ASSERT_EQ(rows.size(), kHeight);
      for (size_t i = 0; i < samples.size(); ++i) {
        ASSERT_EQ(rows[i / kWidth][i % kWidth],
                  photometric == PHOTOMETRIC_MINISWHITE ? samples[i] : 255 - samples[i])
            << i;
      }
    }
  }
}

TEST_F(LibTiffTest, BitsComeBack) {
  const size_t rowBytes = (kWidth + 7) / 8;
  const auto noise = picture<uint8_t>(1);
  const Bytes bits(noise.begin(), noise.begin() + static_cast<std::ptrdiff_t>(rowBytes * kHeight));
  for (const Written& how : kWritten) {
    SCOPED_TRACE(how.name);
    const Reader reader = written(how, PHOTOMETRIC_MINISWHITE, 1, 1, bits);
    const World world = newWorld(kWidth, kHeight, 1);
    ASSERT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), int{kHeight});
    for (uint32_t row = 0; row < kHeight; ++row) {
      for (uint32_t x = 0; x < kWidth; ++x) {
        ASSERT_EQ(
            world->pixels[row * static_cast<uint32_t>(world->rowBytes) + x / 8] >> (7 - x % 8) & 1,
            bits[row * rowBytes + x / 8] >> (7 - x % 8) & 1)
            << row << ' ' << x;
      }
    }
  }
}

TEST_F(LibTiffTest, SixteenBitSamplesComeBackWithTheirTopTwelve) {
  const auto samples = picture<uint16_t>(1);
  for (const Written& how : kWritten) {
    SCOPED_TRACE(how.name);
    const Reader reader = written(how, PHOTOMETRIC_MINISWHITE, 1, 16, asBytes(samples));
    const World world = newWorld(kWidth, kHeight, 12);
    ASSERT_EQ(ZKTiff_ReadNextRasterBlock(reader.get(), world.get(), nullptr), int{kHeight});
    for (size_t i = 0; i < samples.size(); ++i) {
      const size_t x = i % kWidth;
      const uint8_t* const at =
          world->pixels + i / kWidth * static_cast<size_t>(world->rowBytes) + x / 2 * 3;
      const unsigned got = x % 2 == 0 ? at[0] * 16U + (at[1] >> 4U) : (at[1] & 15U) * 256U + at[2];
      ASSERT_EQ(got, samples[i] >> 4U) << i;
    }
  }
}

TEST_F(LibTiffTest, CmykChannelsComeBack) {
  const auto samples = picture<uint8_t>(4);
  for (const Written& how : kWritten) {
    for (size_t channel = 0; channel < 4; ++channel) {
      SCOPED_TRACE(testing::Message() << how.name << ", channel " << channel);
      const Reader reader = written(how, PHOTOMETRIC_SEPARATED, 4, 8, samples);
      const World world = newWorld(kWidth, kHeight, 8);
      ASSERT_EQ(ZKTiff_ReadNextRasterBlockCMYK(reader.get(), world.get(), nullptr,
                                               static_cast<int>(channel)),
                int{kHeight});
      for (size_t i = 0; i < samples.size() / 4; ++i) {
        ASSERT_EQ(world->pixels[i / kWidth * static_cast<size_t>(world->rowBytes) + i % kWidth],
                  samples[i * 4 + channel])
            << i;
      }
    }
  }
}

TEST_F(LibTiffTest, RgbChannelsOf8BitsComeBack) {
  const auto samples = picture<uint8_t>(3);
  for (const Written& how : kWritten) {
    SCOPED_TRACE(how.name);
    const Rgb rgb(kWidth, kHeight, 8);
    ASSERT_EQ(rgb.read(written(how, PHOTOMETRIC_RGB, 3, 8, samples)), int{kHeight});
    for (size_t i = 0; i < samples.size() / 3; ++i) {
      const size_t at = i / kWidth * static_cast<size_t>(rgb.red->rowBytes) + i % kWidth;
      ASSERT_EQ(rgb.red->pixels[at], samples[i * 3]) << i;
      ASSERT_EQ(rgb.green->pixels[at], samples[i * 3 + 1]) << i;
      ASSERT_EQ(rgb.blue->pixels[at], samples[i * 3 + 2]) << i;
    }
  }
}

TEST_F(LibTiffTest, RgbChannelsOf16BitsComeBack) {
  const auto samples = picture<uint16_t>(3);
  for (const Written& how : kWritten) {
    SCOPED_TRACE(how.name);
    const Rgb rgb(kWidth, kHeight, 16);
    ASSERT_EQ(rgb.read(written(how, PHOTOMETRIC_RGB, 3, 16, asBytes(samples))), int{kHeight});
    for (size_t i = 0; i < samples.size() / 3; ++i) {
      const size_t at = i / kWidth * static_cast<size_t>(rgb.red->rowBytes) + i % kWidth * 2;
      ASSERT_EQ(rgb.red->pixels[at] * 256 + rgb.red->pixels[at + 1], samples[i * 3]) << i;
      ASSERT_EQ(rgb.green->pixels[at] * 256 + rgb.green->pixels[at + 1], samples[i * 3 + 1]) << i;
      ASSERT_EQ(rgb.blue->pixels[at] * 256 + rgb.blue->pixels[at + 1], samples[i * 3 + 2]) << i;
    }
  }
}

// Properties -----------------------------------------------------------------------------------

RC_GTEST_PROP(ZKTiffRowsProperty, RowsComeBackHoweverTheyAreCutAndPacked, ()) {
  const TempFolder folder;
  const auto width = *rc::gen::inRange<size_t>(1, 400);
  const auto height = *rc::gen::inRange<size_t>(1, 40);
  std::vector<Bytes> rows;
  while (rows.size() < height)
    rows.push_back(*rc::gen::container<Bytes>(width, rc::gen::inRange<uint8_t>(0, 4)));
  TiffPage page = rowsPage(rows, *rc::gen::inRange<uint32_t>(1, 50),
                           *rc::gen::element(kUncompressed, kPackBits));
  page.order = *rc::gen::element('I', 'M');
  const Reader reader(ZKTiff_New(folder.write("image.tif", tiffFile(page)).c_str()));
  RC_ASSERT(allRows(reader, *rc::gen::inRange<long>(1, 50)) == rows);
}

TEST_F(ZKTiffRowsTest, RowsThatTheFileCannotHoldAreNotDeliveredAndSaidOnce) {
  TiffPage page;
  page.width = 13;
  page.height = 0xFFFFFFFF;
  page.strips = {{1, 2, 3}};
  const Reader reader = open(tiffFile(page));
  const World world = newWorld(13, 300, 8);
  const Block first = readBlock(reader, world, nullptr);
  EXPECT_EQ(first.rows, 0);
  EXPECT_EQ(first.errors, "ERROR!: \"" + folder.path("image.tif") +
                              "\": the file is too small for 4294967295 rows of 13 bytes.\n");
  const Block second = readBlock(reader, world, nullptr);
  EXPECT_EQ(second.rows, 0);
  EXPECT_EQ(second.errors, "");
}

TEST_F(ZKTiffRowsTest, ACompressionThatIsNotReadIsRefusedWhateverIsClaimed) {
  TiffPage page;
  page.width = 13;
  page.height = 0xFFFFFFFF;
  page.compression = 5;
  page.strips = {{1, 2, 3}};
  const Block block = readBlock(open(tiffFile(page)), newWorld(13, 300, 8), nullptr);
  EXPECT_EQ(block.thrown, -41);
}

TEST_F(ZKTiffRowsTest, ChannelsThatTheFileCannotHoldAreNotDelivered) {
  TiffPage page;
  page.width = 13;
  page.height = 0xFFFFFFFF;
  page.bits = {8, 8, 8, 8};
  page.strips = {{1, 2, 3}};
  const Block block = readChannel0(open(tiffFile(page)), newWorld(13, 300, 8));
  EXPECT_EQ(block.rows, 0);
  EXPECT_THAT(block.errors, testing::HasSubstr(": the file is too small for "));
}

TEST_F(ZKTiffRowsTest, BuffersOfAnRgbClaimAreNotTouched) {
  TiffPage page;
  page.width = 300000;
  page.height = 1;
  page.bits = {8, 8, 8};
  page.photometric = 2;
  page.strips = {{1, 2, 3}};
  const Reader reader = open(tiffFile(page));
  const World red = newWorld(4, 2, 8);
  const World green = newWorld(4, 2, 8);
  const World blue = newWorld(4, 2, 8);
  int rows = -1;
  const std::string errors = errorsOf([&] {
    rows = ZKTiff_ReadNextRasterBlockRGB(reader.get(), red.get(), green.get(), blue.get(), 0);
  });
  EXPECT_EQ(rows, 0);
  EXPECT_THAT(errors, testing::HasSubstr(": the file is too small for 1 rows of 900000 bytes.\n"));
  EXPECT_TRUE(allPixelsAre(red, 0));
}

}  // namespace
