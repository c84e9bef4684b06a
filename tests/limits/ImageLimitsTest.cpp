// Images at and past the limits of the image reader and of the pixel buffers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Capture.h"
#include "Measured.h"
#include "TempFolder.h"
#include "TiffWriter.h"
#include "ZKGWorldLib.h"
#include "ZKTiff.h"

namespace {

using Reader = std::unique_ptr<ImageReader, decltype(&ZKTiff_Delete)>;

class ImageLimitsTest : public testing::Test {
 protected:
  Reader open(const Bytes& file) {
    Capture capture;
    Reader reader(ZKTiff_New(folder_.write("image.tif", file).c_str()), &ZKTiff_Delete);
    errors_ = capture.err();
    return reader;
  }
  static Bytes file(uint32_t width, uint32_t height, uint32_t bits = 8) {
    TiffPage page;
    page.width = width;
    page.height = height;
    page.bits = {bits};
    page.strips = {{1, 2, 3}};
    return tiffFile(page);
  }
  /// Reads into a buffer of one row.
  int rowsRead(const Reader& reader) {
    ZKGWorld* world = nullptr;
    const ZKRect box = {0, 0, 1, static_cast<long>(reader->width)};
    int rows = -1;
    errors_ = errorsOf([&] {
      if (ZKNewGWorld(&world, 8, &box, 0) != 0) return;
      rows = ZKTiff_ReadNextRasterBlock(reader.get(), world, nullptr);
    });
    std::free(world);
    return rows;
  }
  [[nodiscard]] int errorLines() const {
    return static_cast<int>(std::count(errors_.begin(), errors_.end(), '\n'));
  }

 private:
  TempFolder folder_;
  std::string errors_;
};

// A file that holds nothing of its rows may claim 2^31 bytes and 1024 for each of its own, a row
// counting 64 bytes more than it has.
uint64_t mostRows(const Bytes& file, uint64_t rowBytes) {
  return ((uint64_t{1} << 31U) + file.size() * 1024) / (rowBytes + 64);
}

TEST_F(ImageLimitsTest, RowsThatAFileMayClaimAndOneMore) {
  for (const uint32_t width : {1U, 1000U, 100000U}) {
    SCOPED_TRACE(width);
    const auto rows = static_cast<uint32_t>(mostRows(file(width, 1), width));
    const Reader granted = open(file(width, rows));
    EXPECT_EQ(rowsRead(granted), 1);
    EXPECT_EQ(errorLines(), 0);

    const Reader refused = open(file(width, rows + 1));
    EXPECT_EQ(rowsRead(refused), 0);
    EXPECT_EQ(errorLines(), 1);
    // It is said once.
    EXPECT_EQ(rowsRead(refused), 0);
    EXPECT_EQ(errorLines(), 0);
  }
}

TEST_F(ImageLimitsTest, AFileThatHoldsItsRowsIsNeverRefused) {
  // The lowest rows that there are, one byte each, and as many as make over 2^30 with their costs.
  constexpr uint32_t kRows = 17000000;
  TiffPage page;
  page.width = 1;
  page.height = kRows;
  page.strips = {Bytes(kRows, 7)};
  const Reader reader = open(tiffFile(page));
  EXPECT_EQ(rowsRead(reader), 1);
  EXPECT_EQ(errorLines(), 0);
}

TEST_F(ImageLimitsTest, BitsOfARowUpTo2To31Minus1Bytes) {
  // Two rows of such a width would be beyond the file; without rows a width costs nothing.
  const Reader widest = open(file(0x7FFFFFFF, 0));
  ASSERT_NE(widest, nullptr);
  EXPECT_EQ(widest->bytesPerRow, 0x7FFFFFFFU);
  EXPECT_EQ(errorLines(), 0);
  const Reader wider = open(file(0x80000000, 0));
  ASSERT_NE(wider, nullptr);
  EXPECT_EQ(wider->width, 0U);
  EXPECT_EQ(errorLines(), 1);
  // Of one bit there are never too many.
  const Reader bits = open(file(0xFFFFFFFF, 0, 1));
  ASSERT_NE(bits, nullptr);
  EXPECT_EQ(bits->bytesPerRow, 0x20000000U);
  EXPECT_EQ(errorLines(), 0);
}

TEST(BufferLimits, ABandOf300RowsHoldsThisWidthAndNotOnePixelMore) {
  struct Case {
    int16_t depth;
    int32_t deep;
    long width;  // the widest
  };
  // 300 rows of 7,158,276 bytes are 2,147,482,800: rows are a multiple of 4 bytes.
  const Case kCases[] = {
      {1, 0, 57266208}, {2, 0, 28633104}, {4, 0, 14316552}, {8, 0, 7158276},  {10, 0, 5726620},
      {10, 1, 3579138}, {12, 0, 4772184}, {12, 1, 3579138}, {16, 0, 3579138}, {32, 0, 1789569},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.depth);
    if (kIsSanitized && c.depth != 8) continue;  // it keeps books of all that memory
    ZKGWorld* widest = nullptr;
    const ZKRect box = {0, 0, 300, c.width};
    EXPECT_EQ(ZKNewGWorld(&widest, c.depth, &box, c.deep), 0);
    ASSERT_NE(widest, nullptr);
    EXPECT_EQ(widest->rowBytes, 7158276);
    std::free(widest);

    ZKGWorld* wider = nullptr;
    const ZKRect onePixelMore = {0, 0, 300, c.width + 1};
    EXPECT_NE(errorsOf([&] { ZKNewGWorld(&wider, c.depth, &onePixelMore, c.deep); }), "");
    EXPECT_EQ(wider, nullptr);
  }
}

}  // namespace
