// Tests of reading rows as pixels: each depth and layout, levels, light, and what rows leave out.
#include "PixelRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "TempFolder.h"

namespace {

using jobreader::PlaneFormat;
using jobrender::PixelRows;

PlaneFormat plane(int depth, int levels = 0, uint32_t width = 0, bool halves = false) {
  PlaneFormat format;
  format.depth = depth;
  format.levels = levels;
  format.width = width;
  format.halves = halves;
  return format;
}

// Rows in memory of exactly their size, so that reading one byte too many is noticed.
Bytes tonesOf(const PixelRows& rows, const Bytes& row, size_t pixels, size_t first = 0) {
  const auto exact = std::make_unique<uint8_t[]>(row.size());
  std::copy(row.begin(), row.end(), exact.get());
  Bytes tones(pixels, 99);
  rows.tones({exact.get(), row.size()}, first, tones);
  return tones;
}

struct Case {
  const char* name;
  PlaneFormat format;
  bool isLight;
  Bytes row, tones;
};

TEST(PixelRows, ReadsEachLayout) {
  const Case cases[] = {
      {"1 bit", plane(1), false, {0xA0, 0x40}, {0, 255, 0, 255, 255, 255, 255, 255, 255, 0}},
      {"2 bits", plane(2), false, {0x1B, 0xC0}, {255, 170, 85, 0, 0}},
      {"4 bits", plane(4), false, {0x0F, 0x80}, {255, 0, 119}},
      {"8 bits", plane(8), false, {0x00, 0x01, 0xFF}, {255, 254, 0}},
      {"10 bits",
       plane(10),
       false,
       {0xFF, 0xC0, 0x08, 0x04, 0x00, 0xFF, 0xC0},
       {0, 255, 127, 255, 0}},
      {"12 bits", plane(12), false, {0xFF, 0xF0, 0x00, 0x80, 0x00}, {0, 255, 127}},
      {"16 bits", plane(16), false, {0xFF, 0xFF, 0x00, 0xFF, 0x80, 0x00}, {0, 254, 127}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(tonesOf(PixelRows(c.format, c.isLight), c.row, c.tones.size()), c.tones);
  }
}

TEST(PixelRows, LightIsItsOwnTone) {
  const Case cases[] = {
      {"1 bit", plane(1), true, {0xA0}, {255, 0, 255, 0}},
      {"2 bits", plane(2), true, {0x1B}, {0, 85, 170, 255}},
      {"8 bits", plane(8), true, {0x00, 0x01, 0xFF}, {0, 1, 255}},
      {"10 bits", plane(10), true, {0xFF, 0xC0, 0x08, 0x04, 0x00}, {255, 0, 128, 0}},
      {"12 bits", plane(12), true, {0xFF, 0xF0, 0x00}, {255, 0}},
      {"16 bits", plane(16), true, {0xFF, 0xFF, 0x01, 0x00}, {255, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(tonesOf(PixelRows(c.format, c.isLight), c.row, c.tones.size()), c.tones);
  }
}

TEST(PixelRows, DeepWordsHoldTheValueInTheLowBits) {
  const Case cases[] = {
      {"10 bits", plane(10, 0, 0, true), true, {0xFF, 0xFF, 0xFC, 0x00, 0xFD, 0x55}, {255, 0, 85}},
      {"12 bits", plane(12, 0, 0, true), true, {0xFF, 0xFF, 0xF0, 0x00, 0xF8, 0x00}, {255, 0, 128}},
      {"16 bits", plane(16, 0, 0, true), true, {0xFF, 0xFF, 0x00, 0x00, 0x80, 0x80}, {255, 0, 128}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(tonesOf(PixelRows(c.format, c.isLight), c.row, c.tones.size()), c.tones);
  }
}

TEST(PixelRows, TheHighestLevelInUseIsAllOfTheInk) {
  EXPECT_EQ(tonesOf(PixelRows(plane(2, 3), false), {0x18}, 3), (Bytes{255, 127, 0}));
  EXPECT_EQ(tonesOf(PixelRows(plane(4, 6), false), {0x15}, 2), (Bytes{204, 0}));
}

TEST(PixelRows, ValuesAboveTheHighestLevelAreAllOfTheInk) {
  EXPECT_EQ(tonesOf(PixelRows(plane(2, 3), false), {0xC0}, 1), Bytes{0});
  EXPECT_EQ(tonesOf(PixelRows(plane(2, 3), true), {0xC0}, 1), Bytes{255});
}

TEST(PixelRows, LevelsThatTheDepthDoesNotHaveAreThoseOfTheDepth) {
  for (const int levels : {1, 4, 99, -1})
    EXPECT_EQ(tonesOf(PixelRows(plane(2, levels), false), {0x1B}, 4), (Bytes{255, 170, 85, 0}));
}

TEST(PixelRows, WhatARowLeavesOutIsPaper) {
  struct Short {
    const char* name;
    PlaneFormat format;
    Bytes ink, inkTones, light, lightTones;
  };
  const Short cases[] = {
      {"nothing at all", plane(2), {}, {255, 255}, {}, {255, 255}},
      {"2 bits", plane(2), {0xFF}, {0, 0, 0, 0, 255}, {0x00}, {0, 0, 0, 0, 255}},
      {"8 bits", plane(8), {0xFF}, {0, 255}, {0x00}, {0, 255}},
      {"half a sample of 16 bits", plane(16), {0xFF}, {1, 255}, {0x00}, {1, 255}},
      {"a part of a sample of 10 bits", plane(10), {0xFF}, {1, 255}, {0x00}, {1, 255}},
      {"a part of a sample of 12 bits",
       plane(12),
       {0, 0, 0, 0xF0},
       {255, 255, 16, 255},
       {0xFF, 0xFF, 0xFF, 0x0F},
       {255, 255, 16, 255}},
      {"nothing of deep words", plane(10, 0, 0, true), {}, {255, 255}, {}, {255, 255}},
  };
  for (const Short& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(tonesOf(PixelRows(c.format, false), c.ink, c.inkTones.size()), c.inkTones);
    EXPECT_EQ(tonesOf(PixelRows(c.format, true), c.light, c.lightTones.size()), c.lightTones);
  }
}

TEST(PixelRows, NothingIsDrawnBehindTheWidthOfThePlane) {
  EXPECT_EQ(tonesOf(PixelRows(plane(2, 0, 3), false), {0xFF, 0xFF}, 6),
            (Bytes{0, 0, 0, 255, 255, 255}));
  EXPECT_EQ(tonesOf(PixelRows(plane(10, 0, 1), false), {0xFF, 0xFF, 0xFF}, 2), (Bytes{0, 255}));
  EXPECT_EQ(tonesOf(PixelRows(plane(8, 0, 4), false), {0, 0, 0, 0, 0, 0, 0, 0, 0}, 2, 8),
            (Bytes{255, 255}));
}

TEST(PixelRows, ReadsPiecesOfARow) {
  Bytes row(40);
  for (size_t i = 0; i < row.size(); ++i) row[i] = static_cast<uint8_t>(i * 37);
  for (const PlaneFormat& format : {plane(1), plane(2), plane(4), plane(8), plane(10), plane(12),
                                    plane(16), plane(10, 0, 0, true)}) {
    SCOPED_TRACE(format.depth);
    const PixelRows rows(format, false);
    const Bytes whole = tonesOf(rows, row, 360);
    Bytes pieces;
    for (size_t first = 0; first < whole.size(); first += 24) {
      const Bytes piece = tonesOf(rows, row, 24, first);
      pieces.insert(pieces.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(pieces, whole);
  }
}

TEST(PixelRows, OnlySomeDepthsHaveALayout) {
  for (const int depth : {1, 2, 4, 8, 10, 12, 16})
    EXPECT_TRUE(PixelRows::hasLayout(plane(depth))) << depth;
  for (const int depth : {-1, 0, 3, 5, 6, 7, 9, 11, 13, 15, 17, 32, 127})
    EXPECT_FALSE(PixelRows::hasLayout(plane(depth))) << depth;
  for (const int depth : {10, 12, 16})
    EXPECT_TRUE(PixelRows::hasLayout(plane(depth, 0, 0, true))) << depth;
  EXPECT_FALSE(PixelRows::hasLayout(plane(8, 0, 0, true)));
  EXPECT_THROW(PixelRows(plane(3), false), std::logic_error);
}

TEST(PixelRows, RowsOfAllLevelsOfASmallDepthArePlain) {
  for (const int depth : {1, 2, 4, 8}) EXPECT_TRUE(PixelRows::isPlain(plane(depth))) << depth;
  EXPECT_TRUE(PixelRows::isPlain(plane(2, 4)));
  EXPECT_FALSE(PixelRows::isPlain(plane(2, 3)));
  EXPECT_FALSE(PixelRows::isPlain(plane(10)));
  EXPECT_FALSE(PixelRows::isPlain(plane(3)));
}

TEST(PixelRows, APlainRowIsAGrayRow) {
  struct Plain {
    const char* name;
    PlaneFormat format;
    bool isLight;
    Bytes row, gray;
  };
  const Plain cases[] = {
      {"ink is dark", plane(2), false, {0x1B, 0xFF}, {0xE4, 0x00}},
      {"light is light", plane(2), true, {0x1B, 0xFF}, {0x1B, 0xFF}},
      {"a missing end of ink is white", plane(2), false, {0x1B}, {0xE4, 0xFF}},
      {"a missing end of light is white", plane(2), true, {0x1B}, {0x1B, 0xFF}},
      {"a missing row is white", plane(1), false, {}, {0xFF}},
      {"a row that is too long is cut", plane(8), false, {1, 2, 3}, {254, 253}},
      {"what is behind the plane's width is white", plane(2, 0, 3), false, {0xFF, 0xFF}, {3, 0xFF}},
  };
  for (const Plain& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes gray(c.gray.size(), 99);
    PixelRows(c.format, c.isLight).gray(c.row, gray);
    EXPECT_EQ(gray, c.gray);
  }
}

}  // namespace
