// Whole jobs of pages at the limits of bands, rows and codes: every pixel comes back.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "PageJob.h"

namespace {

class RasterLimitsTest : public PageJob {
 protected:
  /// Runs a page of black and compares every row.
  void expectWhole(uint32_t width, uint32_t height, int compression, const std::string& split) {
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", compression " +
                 std::to_string(compression) + ", split " + split);
    Separation black;
    black.ink = "K";
    black.depth = 8;
    black.samples = drawn(width, height, 8, [](uint32_t x, uint32_t y) {
      return (x * 31 + y * 7) % 13 == 0 ? (x + y) % 251 : 200;
    });
    black.form = {'I', 0, 0, false};
    const std::string section = separations("5", 1, compression, {black});
    const auto rows = sentRows({black}, 1);
    const DecodedStream decoded = pages({split}, section, {shapeOf(rows, 0)});
    EXPECT_EQ(firstDifference(decoded.pages[0].rows, rows), "");
  }
};

TEST_F(RasterLimitsTest, HeightsAroundTheBandsAndTheSixteenBits) {
  for (const uint32_t height : {1U, 299U, 300U, 301U, 599U, 600U, 601U, 65535U, 65536U, 65537U}) {
    expectWhole(3, height, 2, "0");
  }
}

TEST_F(RasterLimitsTest, WidthsAroundTheSegmentsTheBlocksAndTheSixteenBits) {
  for (const uint32_t width :
       {1U, 2U, 127U, 128U, 129U, 255U, 256U, 257U, 65535U, 65536U, 65537U}) {
    for (const int compression : {0, 2, 3, 256}) expectWhole(width, 3, compression, "65536");
  }
}

TEST_F(RasterLimitsTest, HxrcRowsBelow64K) {
  // 13 bits at most for a byte: the code of such a row stays below the 65,536 of its length.
  for (const uint32_t width : {1U, 2U, 127U, 128U, 1024U, 40000U})
    expectWhole(width, 3, 4, "65536");
}

TEST_F(RasterLimitsTest, PacketsThatEndAtTheLastByteOrOneBesideIt) {
  for (const char* split : {"1", "255", "256", "257", "65535", "65536", "65537"})
    expectWhole(257, 5, 0, split);
}

}  // namespace
