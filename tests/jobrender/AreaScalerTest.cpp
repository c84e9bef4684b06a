// Tests of the scaler: means over whole and over cut pixels, against a plain computation, and runs
// of blank rows.
#include "AreaScaler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "TempFolder.h"

namespace {

using jobrender::AreaScaler;
using jobrender::PictureSize;

// Rows of a picture, made smaller; given in pieces of at most `piece` pixels.
Bytes scale(PictureSize from, PictureSize to, size_t channels, const Bytes& pixels,
            size_t piece = SIZE_MAX) {
  Bytes result;
  AreaScaler scaler(from, to, channels, [&result](std::span<const uint8_t> row) {
    result.insert(result.end(), row.begin(), row.end());
  });
  const size_t rowBytes = from.width * channels;
  const size_t most = piece < from.width ? piece * channels : rowBytes;
  for (size_t row = 0; row < pixels.size(); row += rowBytes) {
    for (size_t x = 0; x < rowBytes; x += most)
      scaler.addPixels(std::span(pixels).subspan(row + x, std::min(most, rowBytes - x)));
  }
  return result;
}

// What an interval of 1/parts of a length takes of one pixel.
double share(uint64_t length, uint64_t parts, uint64_t part, uint64_t pixel) {
  const double size = static_cast<double>(length) / static_cast<double>(parts);
  const double begin = size * static_cast<double>(part);
  const double first = std::max(begin, static_cast<double>(pixel));
  const double last = std::min(begin + size, static_cast<double>(pixel) + 1);
  return std::max(0.0, last - first) / size;
}

double meanOf(PictureSize from, PictureSize to, const Bytes& pixels, uint64_t column,
              uint64_t row) {
  double mean = 0;
  for (uint64_t y = 0; y < from.height; ++y) {
    for (uint64_t x = 0; x < from.width; ++x) {
      mean += pixels[y * from.width + x] * share(from.width, to.width, column, x) *
              share(from.height, to.height, row, y);
    }
  }
  return mean;
}

TEST(AreaScaler, HalvesByTheMeanOfFour) {
  const Bytes pixels = {0,   255, 10, 20,  //
                        255, 255, 30, 40,  //
                        7,   7,   0,  0,   //
                        7,   7,   0,  1};
  EXPECT_EQ(scale({4, 4}, {2, 2}, 1, pixels), (Bytes{191, 25, 7, 0}));
}

TEST(AreaScaler, CountsCutPixelsByTheirPart) {
  // Each of two columns takes two and a half pixels.
  EXPECT_EQ(scale({5, 1}, {2, 1}, 1, {100, 0, 50, 0, 200}), (Bytes{50, 90}));
  // Each of two rows takes one and a half.
  EXPECT_EQ(scale({1, 3}, {1, 2}, 1, {30, 60, 90}), (Bytes{40, 80}));
}

TEST(AreaScaler, RoundsHalvesUp) {
  EXPECT_EQ(scale({2, 1}, {1, 1}, 1, {0, 255}), Bytes{128});
  EXPECT_EQ(scale({4, 1}, {1, 1}, 1, {0, 0, 0, 1}), Bytes{0});
}

TEST(AreaScaler, KeepsChannelsApart) {
  EXPECT_EQ(scale({2, 1}, {1, 1}, 3, {0, 100, 255, 10, 200, 255}), (Bytes{5, 150, 255}));
}

TEST(AreaScaler, LeavesAPictureOfTheSameSizeAsItIs) {
  const Bytes pixels = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(scale({3, 2}, {3, 2}, 1, pixels), pixels);
  EXPECT_EQ(scale({2, 1}, {2, 1}, 3, pixels), pixels);
}

TEST(AreaScaler, ScalesInOneDirectionOnly) {
  EXPECT_EQ(scale({1, 4}, {1, 2}, 1, {10, 20, 30, 40}), (Bytes{15, 35}));
  EXPECT_EQ(scale({4, 1}, {2, 1}, 1, {10, 20, 30, 40}), (Bytes{15, 35}));
}

TEST(AreaScaler, AgreesWithAPlainComputationAtEverySize) {
  std::mt19937 random(7);
  for (uint32_t width = 1; width <= 13; ++width) {
    const PictureSize from = {width, 14 - width};
    Bytes pixels(from.width * from.height);
    for (uint8_t& pixel : pixels) pixel = static_cast<uint8_t>(random());
    for (uint32_t column = 1; column <= from.width; ++column) {
      for (uint64_t row = 1; row <= from.height; ++row) {
        const PictureSize to = {column, row};
        const Bytes result = scale(from, to, 1, pixels);
        ASSERT_EQ(result.size(), column * row);
        for (size_t i = 0; i < result.size(); ++i) {
          ASSERT_NEAR(result[i], meanOf(from, to, pixels, i % column, i / column), 0.5 + 1e-9)
              << from.width << " x " << from.height << " to " << column << " x " << row;
        }
      }
    }
  }
}

TEST(AreaScaler, GivesTheSameForPiecesAsForWholeRows) {
  std::mt19937 random(8);
  Bytes pixels(size_t{37} * 5 * 3);
  for (uint8_t& pixel : pixels) pixel = static_cast<uint8_t>(random());
  const Bytes whole = scale({37, 5}, {11, 2}, 3, pixels);
  for (const size_t piece : {1U, 2U, 3U, 8U, 36U})
    EXPECT_EQ(scale({37, 5}, {11, 2}, 3, pixels, piece), whole);
}

TEST(AreaScaler, BlankRowsAreRowsOfPaper) {
  Bytes result;
  AreaScaler scaler({2, 7}, {1, 3}, 1, [&result](std::span<const uint8_t> row) {
    result.insert(result.end(), row.begin(), row.end());
  });
  const Bytes black = {0, 0};
  scaler.addBlankRows(1);
  scaler.addPixels(black);
  scaler.addBlankRows(4);
  scaler.addBlankRows(0);
  scaler.addPixels(black);
  const Bytes rows = {255, 255, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0};
  EXPECT_EQ(result, scale({2, 7}, {1, 3}, 1, rows));
  EXPECT_EQ(result, (Bytes{146, 255, 146}));
}

TEST(AreaScaler, TakesBillionsOfBlankRowsAtOnce) {
  constexpr uint64_t kRun = uint64_t{1} << 31;
  Bytes result;
  AreaScaler scaler({1, 3 * kRun + 1}, {1, 6}, 1, [&result](std::span<const uint8_t> row) {
    result.insert(result.end(), row.begin(), row.end());
  });
  for (int i = 0; i < 3; ++i) scaler.addBlankRows(kRun);
  EXPECT_EQ(result.size(), 5U);
  scaler.addPixels(Bytes{0});
  EXPECT_EQ(result, (Bytes{255, 255, 255, 255, 255, 255}));
}

TEST(AreaScaler, TakesTheHighestPageThatThereIs) {
  Bytes result;
  AreaScaler scaler({1, AreaScaler::kMaxHeight}, {1, 1000000}, 1,
                    [&result](std::span<const uint8_t> row) {
                      result.insert(result.end(), row.begin(), row.end());
                    });
  scaler.addBlankRows(AreaScaler::kMaxHeight);
  EXPECT_EQ(result, Bytes(1000000, 255));
}

}  // namespace
