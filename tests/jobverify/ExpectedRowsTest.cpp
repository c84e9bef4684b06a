// Tests of the rows that a job file must hold, worked out from samples: which levels, which bits,
// what stands behind the last pixel.
#include "ExpectedRows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "TempFolder.h"

namespace {

using jobverify::ExpectedRows;
using jobverify::ImageFacts;
using jobverify::PlaneRequest;

ImageFacts facts(unsigned bits, uint16_t photometric, unsigned samples = 1) {
  ImageFacts facts;
  facts.bits = bits;
  facts.samples = samples;
  facts.photometric = photometric;
  return facts;
}

PlaneRequest plane(int depth, uint32_t width) {
  PlaneRequest plane;
  plane.depth = depth;
  plane.width = width;
  plane.hasSamples = true;
  plane.source.path = "plane.tif";
  return plane;
}

Bytes packed(const PlaneRequest& plane, const ImageFacts& facts, const Bytes& samples) {
  const ExpectedRows rows(plane, facts);
  Bytes row(rows.size(), 0x55);
  rows.pack(samples, row);
  return row;
}

// Samples of 16 bits in the order of this machine.
Bytes words(const std::vector<uint16_t>& values) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(values.data());
  return {bytes, bytes + values.size() * 2};
}

struct Case {
  const char* name;
  int depth;
  unsigned bits;
  uint16_t photometric;
  Bytes samples;
  uint32_t width;
  Bytes want;
};

void expectRows(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(packed(plane(c.depth, c.width), facts(c.bits, c.photometric), c.samples), c.want);
  }
}

TEST(ExpectedRows, BitsAreInvertedUnlessWhiteIsZero) {
  expectRows({
      {"white is zero", 1, 1, 0, {0xA5, 0xFF}, 12, {0xA5, 0xF0}},
      {"black is zero", 1, 1, 1, {0xA5, 0x0F}, 12, {0x5A, 0xF0}},
      {"separated, although it grows with the ink", 1, 1, 5, {0xA5, 0x0F}, 12, {0x5A, 0xF0}},
      {"a whole byte has no bits behind it", 1, 1, 1, {0x00}, 8, {0xFF}},
  });
}

TEST(ExpectedRows, DotsOfBytesGoByTheSign) {
  const Bytes samples = {0, 1, 127, 128, 255, 140, 2, 0, 1};
  expectRows({
      {"white is zero: 1 to 127", 1, 8, 0, samples, 9, {0x62, 0x80}},
      {"separated: likewise", 1, 8, 5, samples, 9, {0x62, 0x80}},
      {"black is zero: 0 to 127", 1, 8, 1, samples, 9, {0xE3, 0x80}},
  });
}

TEST(ExpectedRows, BytesBecomeLevelsOfTheDepth) {
  expectRows({
      {"2 bits", 2, 8, 0, {0, 63, 64, 127, 128, 191, 192, 255, 255}, 9, {0x05, 0xAF, 0xC0}},
      {"2 bits, inverted", 2, 8, 1, {255, 191, 127, 63, 0}, 5, {0x1B, 0xC0}},
      {"4 bits", 4, 8, 5, {0, 16, 31, 240, 255}, 5, {0x01, 0x1F, 0xF0}},
      {"8 bits", 8, 8, 0, {0, 1, 255}, 3, {0, 1, 255}},
      {"8 bits, inverted", 8, 8, 1, {0, 1, 255}, 3, {255, 254, 0}},
      {"8 bits, of colours too", 8, 8, 2, {0}, 1, {255}},
  });
}

TEST(ExpectedRows, LevelsBeginWhereTheIndexLevelSays) {
  const struct {
    int levels;
    std::vector<unsigned> begins;
  } kCases[] = {
      {2, {140}},
      {3, {86, 171}},
      {4, {64, 128, 192}},
      {5, {52, 103, 154, 205}},
      {6, {43, 86, 128, 171, 214}},
      {16, {16, 32, 48, 64, 80, 96, 112, 128, 144, 160, 176, 192, 208, 224, 240}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.levels);
    std::vector<unsigned> begins;
    for (unsigned ink = 1; ink < 256; ++ink) {
      const unsigned level = jobverify::levelOf(ink, c.levels, 4);
      if (level == jobverify::levelOf(ink - 1, c.levels, 4)) continue;
      begins.push_back(ink);
      EXPECT_EQ(level, begins.size());
    }
    EXPECT_EQ(begins, c.begins);
  }
}

TEST(ExpectedRows, LevelsThatDoNotFitKeepTheirLowBits) {
  PlaneRequest five = plane(2, 4);
  five.levels = 5;
  EXPECT_EQ(packed(five, facts(8, 0), {0, 103, 204, 205}), Bytes{0x2C});
  PlaneRequest as = plane(2, 4);
  as.samplesAreLevels = true;
  EXPECT_EQ(packed(as, facts(8, 0), {1, 3, 4, 7}), Bytes{0x73});
  EXPECT_EQ(packed(as, facts(8, 1), {254, 252, 251, 255}), Bytes{0x70});
}

TEST(ExpectedRows, IndexLevelsOnlyMatterForTwoAndFourBits) {
  PlaneRequest two = plane(8, 2);
  two.levels = 2;
  EXPECT_EQ(packed(two, facts(8, 0), {7, 200}), (Bytes{7, 200}));
  two.depth = 1;
  EXPECT_EQ(packed(two, facts(8, 0), {7, 200}), Bytes{0x80});
}

TEST(ExpectedRows, WordsArePackedFromTheTop) {
  const Bytes samples = words({0xFFFF, 0x0000, 0xAAAA, 0x5555, 0xFFC0});
  expectRows({
      {"10 bits", 10, 16, 0, samples, 4, {0xFF, 0xC0, 0x0A, 0xA9, 0x55}},
      {"10 bits, a last group that is not full",
       10,
       16,
       5,
       samples,
       5,
       {0xFF, 0xC0, 0x0A, 0xA9, 0x55, 0xFF, 0xC0}},
      {"10 bits, inverted: zeros fill up", 10, 16, 1, words({0x0000}), 1, {0xFF, 0xC0}},
      {"12 bits", 12, 16, 0, words({0x1234, 0xABCD, 0x5678}), 3, {0x12, 0x3A, 0xBC, 0x56, 0x70}},
      {"12 bits, inverted", 12, 16, 1, words({0xFFF0, 0x0000}), 2, {0x00, 0x0F, 0xFF}},
  });
}

TEST(ExpectedRows, RawSamplesAreNeverInverted) {
  PlaneRequest raw = plane(8, 3);
  raw.raw = true;
  EXPECT_EQ(packed(raw, facts(8, 1), {0, 1, 255}), (Bytes{0, 1, 255}));
  raw.depth = 10;
  raw.width = 1;
  EXPECT_EQ(packed(raw, facts(16, 1), words({0})), (Bytes{0x00, 0x3F})) << "ones fill up";
  EXPECT_EQ(packed(raw, facts(16, 0), words({0})), (Bytes{0x00, 0x00})) << "zeros fill up";
}

TEST(ExpectedRows, ChannelsOfCompositesAreTakenApart) {
  PlaneRequest channel = plane(8, 2);
  channel.source.channel = 3;
  const Bytes samples = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(packed(channel, facts(8, 5, 4), samples), (Bytes{4, 8}));
  EXPECT_EQ(packed(channel, facts(8, 2, 4), samples), (Bytes{251, 247}));
  channel.depth = 10;
  channel.source.channel = 1;
  channel.width = 1;
  EXPECT_EQ(packed(channel, facts(16, 5, 4), words({0, 0x8040, 0, 0})), (Bytes{0x80, 0x40}));
}

TEST(ExpectedRows, RgbIsNeverInvertedAndFilledUpWithWhite) {
  PlaneRequest green = plane(8, 2);
  green.source = {"rgb.tif", 1, true, true};
  EXPECT_EQ(packed(green, facts(8, 1, 3), {1, 2, 3, 4, 5, 6}), (Bytes{2, 5}));
  green.width = 1;
  green.depth = 10;
  EXPECT_EQ(packed(green, facts(16, 2, 3), words({9, 0x0000, 9})), (Bytes{0x00, 0x3F}));
  green.depth = 12;
  EXPECT_EQ(packed(green, facts(16, 0, 3), words({9, 0x1239, 9})), (Bytes{0x12, 0x3F}));
  green.depth = 16;
  EXPECT_EQ(packed(green, facts(16, 2, 3), words({9, 0x1239, 9})), (Bytes{0x12, 0x39}));
}

TEST(ExpectedRows, DeepRgbStandsInTwoBytesWithTheUpperBitsSet) {
  PlaneRequest red = plane(10, 4);
  red.source = {"rgb.tif", 0, true, true};
  red.isDeep = red.isHalved = true;
  const Bytes samples = words({0xFFC0, 0, 0, 0xFFC0, 0, 0, 0, 0, 0, 0x5540, 0, 0});
  EXPECT_EQ(packed(red, facts(16, 2, 3), samples),
            (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFC, 0x00, 0xFD, 0x55}));
  red.depth = 12;
  EXPECT_EQ(packed(red, facts(16, 2, 3), samples),
            (Bytes{0xFF, 0xFC, 0xFF, 0xFC, 0xF0, 0x00, 0xF5, 0x54}));
}

TEST(ExpectedRows, DeepRowsThatAreNotHalvedAreCutToThePackedLength) {
  PlaneRequest red = plane(10, 4);
  red.source = {"rgb.tif", 0, true, true};
  red.isDeep = true;
  const Bytes samples = words({0xFFC0, 0, 0, 0xFFC0, 0, 0, 0, 0, 0, 0x5540, 0, 0});
  EXPECT_EQ(packed(red, facts(16, 2, 3), samples), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFC}));
}

TEST(ExpectedRows, PlatesInTheMemoryOfDeepRowsLeaveItsEndCleared) {
  PlaneRequest red = plane(10, 4);
  red.isDeep = red.isHalved = true;
  EXPECT_EQ(packed(red, facts(16, 0), words({0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF})),
            (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00}));
}

TEST(ExpectedRows, RowsWithoutSamplesAreClearedByTheKindOfPlane) {
  const auto clearedOf = [](const PlaneRequest& plane) {
    const ExpectedRows rows(plane, {});
    Bytes row(rows.size());
    rows.clear(row);
    return row;
  };
  PlaneRequest ink = plane(2, 5);
  EXPECT_EQ(clearedOf(ink), (Bytes{0, 0}));
  ink.raw = true;
  EXPECT_EQ(clearedOf(ink), (Bytes{0xFF, 0xFF}));
  PlaneRequest rgb = plane(8, 1);
  rgb.source.isRgb = true;
  EXPECT_EQ(clearedOf(rgb), Bytes{0xFF});
  rgb.source.isRead = false;
  EXPECT_EQ(clearedOf(rgb), Bytes{0x00}) << "memory that no reader touches";
}

TEST(ExpectedRows, LengthsAreRoundedUpToBytes) {
  const struct {
    int depth;
    uint32_t width;
    bool isHalved;
    size_t bytes;
  } kCases[] = {{1, 0, false, 0},  {1, 1, false, 1},  {1, 8, false, 1}, {1, 9, false, 2},
                {2, 5, false, 2},  {4, 3, false, 2},  {8, 7, false, 7}, {10, 3, false, 4},
                {12, 3, false, 5}, {16, 3, false, 6}, {10, 3, true, 6}, {3, 3, false, 2},
                {12, 0, true, 0},  {32, 1, false, 4}};
  for (const auto& c : kCases) {
    PlaneRequest request = plane(c.depth, c.width);
    request.isHalved = c.isHalved;
    EXPECT_EQ(jobverify::sentRowBytes(request), c.bytes) << c.depth << " bits, " << c.width;
  }
}

}  // namespace
