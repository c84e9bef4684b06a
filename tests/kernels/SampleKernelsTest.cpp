// Tests that the kernels for samples do what their plain twins say: conversion of samples, channels
// taken apart, blank rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "KernelRows.h"
#include "PlainBlankRows.h"
#include "PlainChannelRows.h"
#include "PlainSampleRows.h"
#include "ReductionTables.h"

namespace {

using testing::AssertionFailure;
using testing::AssertionResult;
using testing::AssertionSuccess;

// A call of a kernel, fast or plain, with all but its bytes bound.
using RowCall = std::function<void(const uint8_t* src, uint8_t* dst)>;

AssertionResult isSameRow(const KernelCase& one, size_t srcBytes, uint32_t dstBytes,
                          const RowCall& fast, const RowCall& plain) {
  const uint8_t fill = one.random.byte();
  const Source source(one.row.data(), srcBytes, one.alignment);
  const Target got(dstBytes, one.targetAlignment, fill);
  const Target want(dstBytes, one.targetAlignment, fill);
  fast(source.get(), got.get());
  plain(source.get(), want.get());
  return isSame(got, want);
}

// Samples ---------------------------------------------------------------------------------------

constexpr const ReductionTable* kTables[] = {
    &ReduceNoConvertTbl, &Reduce256To2Tbl, &Reduce256To3Tbl, &Reduce256To4Tbl,
    &Reduce256To5Tbl,    &Reduce256To6Tbl, &Reduce256To16Tbl};

// Thresholds in order, in any order, and levels that do not fit.
ReductionTable makeTable(Random& random) {
  ReductionTable table{};
  const uint8_t most = random.oneOf(std::array<uint8_t, 4>{3, 15, 16, 255});
  for (uint8_t& level : table) level = static_cast<uint8_t>(random.below(most + 1U));
  if (random.flag()) std::sort(table.begin(), table.end());
  if (random.flag()) {  // few different levels, one behind another
    for (size_t v = 0; v < table.size(); ++v) table[v] = table[v / 37 * 37];
  }
  return table;
}

// A rule, and the table that it may show to. The library's tables are known by their address, so
// a copy of one is another table.
struct AnyRule {
  SampleRule rule{};
  ReductionTable table{};
  int tableNumber = -1;  // of kTables; -1: none, -2: a random one, -3: a copy of one of kTables

  AnyRule(uint32_t count, Random& random) {
    // The last three are 2^32 bits at depths 8, 4 and 2.
    rule.width = random.oneOf(std::array<uint32_t, 9>{count, count, count + random.below(20),
                                                      random.below(count + 1), 0, 0xFFFFFFFF,
                                                      1U << 29, 1U << 30, 1U << 31});
    rule.invert = random.flag();
    rule.raw = random.flag();
    rule.inkIsPositive = random.flag();
    rule.keepsBilevel = random.flag();
    rule.littleEndian = random.flag();
    tableNumber = static_cast<int>(random.below(std::size(kTables) + 3)) - 3;
    if (tableNumber == -2) table = makeTable(random);
    if (tableNumber == -3) table = *random.oneOf(kTables);
    if (tableNumber < -1) rule.table = table.data();
    if (tableNumber >= 0) rule.table = kTables[tableNumber]->data();
  }
  AnyRule(const AnyRule&) = delete;
  AnyRule& operator=(const AnyRule&) = delete;

  [[nodiscard]] std::string describe() const {
    return ", width " + std::to_string(rule.width) + (rule.invert ? ", inverted" : "") +
           (rule.raw ? ", raw" : "") + (rule.inkIsPositive ? ", ink is positive" : "") +
           (rule.keepsBilevel ? ", keeps bilevel" : "") +
           (rule.littleEndian ? ", little-endian" : "") + ", table " + std::to_string(tableNumber);
  }
};

using SampleKernel = void (*)(const uint8_t*, uint32_t, uint8_t*, uint32_t, const SampleRule&);

// @param bytesPerSample  of the source
// @param bits            of a sample in the destination
AssertionResult areSamplesSame(const KernelCase& one, uint32_t bytesPerSample, unsigned bits,
                               SampleKernel fast, SampleKernel plain) {
  const auto count = static_cast<uint32_t>(one.row.size()) / bytesPerSample;
  const uint32_t dstBytes = one.roomFor((count * bits + 7) / 8);
  const AnyRule any(count * 8 / (bits == 1 ? 1 : 8), one.random);
  AssertionResult result = isSameRow(
      one, size_t{count} * bytesPerSample, dstBytes,
      [&](const uint8_t* src, uint8_t* dst) { fast(src, count, dst, dstBytes, any.rule); },
      [&](const uint8_t* src, uint8_t* dst) { plain(src, count, dst, dstBytes, any.rule); });
  if (!result) result << "\n" << dstBytes << " bytes of destination" << any.describe();
  return result;
}

TEST(SampleKernels, Copy1IsWhatItsTwinSays) {
  forEachRow("SampleRows_Copy1", [](const KernelCase& one) {
    return areSamplesSame(one, 1, 8, SampleRows_Copy1, twin::SampleRows_Copy1);
  });
}

TEST(SampleKernels, Copy8IsWhatItsTwinSays) {
  forEachRow("SampleRows_Copy8", [](const KernelCase& one) {
    return areSamplesSame(one, 1, 8, SampleRows_Copy8, twin::SampleRows_Copy8);
  });
}

TEST(SampleKernels, EightBitsTo1AreWhatTheirTwinSays) {
  forEachRow("SampleRows_8to1", [](const KernelCase& one) {
    return areSamplesSame(one, 1, 1, SampleRows_8to1, twin::SampleRows_8to1);
  });
}

template <unsigned kDepth>
AssertionResult areLevelsSame(const KernelCase& one) {
  return areSamplesSame(
      one, 1, kDepth,
      [](const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
         const SampleRule& rule) { SampleRows_8toLevels(src, count, dst, dstBytes, rule, kDepth); },
      [](const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
         const SampleRule& rule) {
        twin::SampleRows_8toLevels(src, count, dst, dstBytes, rule, kDepth);
      });
}

TEST(SampleKernels, EightBitsToLevelsAreWhatTheirTwinSays) {
  forEachRow("SampleRows_8toLevels, depth 2", areLevelsSame<2>);
  forEachRow("SampleRows_8toLevels, depth 4", areLevelsSame<4>);
}

// Rows in which every sample stands at every place of a byte, and alone for a whole row.
TEST(SampleKernels, EverySampleBecomesTheLevelOfEveryTable) {
  constexpr uint32_t kSamples = 256 * 5;
  Bytes row;
  for (uint32_t i = 0; i < kSamples; ++i) row.push_back(static_cast<uint8_t>(i * 51));
  for (unsigned v = 0; v < 256; ++v) row.insert(row.end(), 100, static_cast<uint8_t>(v));
  const auto count = static_cast<uint32_t>(row.size());
  Random random(kernelSeed());
  constexpr int kRandomTables = 200;
  for (int t = -kRandomTables; t < static_cast<int>(std::size(kTables)); ++t) {
    const ReductionTable randomTable = makeTable(random);
    const ReductionTable& table = t < 0 ? randomTable : *kTables[t];
    for (const unsigned depth : {2U, 4U}) {
      for (const bool invert : {false, true}) {
        const SampleRule rule{count, invert, false, !invert, false, false, table.data()};
        const uint32_t bytes = count * depth / 8;
        const Source source(row, 0);
        const Target got(bytes, 0, 0xEE);
        const Target want(bytes, 0, 0xEE);
        SampleRows_8toLevels(source.get(), count, got.get(), bytes, rule, depth);
        twin::SampleRows_8toLevels(source.get(), count, want.get(), bytes, rule, depth);
        ASSERT_TRUE(isSame(got, want)) << "table " << t << ", depth " << depth << ", inverted "
                                       << invert << ", ODAXGEN_KERNEL_SEED=" << kernelSeed();
      }
    }
  }
}

template <unsigned kDepth>
AssertionResult arePackedSame(const KernelCase& one) {
  return areSamplesSame(
      one, 2, kDepth,
      [](const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
         const SampleRule& rule) {
        SampleRows_16toPacked(src, count, dst, dstBytes, rule, kDepth);
      },
      [](const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
         const SampleRule& rule) {
        twin::SampleRows_16toPacked(src, count, dst, dstBytes, rule, kDepth);
      });
}

TEST(SampleKernels, PackedSamplesAreWhatTheirTwinSays) {
  forEachRow("SampleRows_16toPacked, depth 10", arePackedSame<10>);
  forEachRow("SampleRows_16toPacked, depth 12", arePackedSame<12>);
}

TEST(SampleKernels, APackedGroupIsWhatItsTwinSays) {
  Random random(kernelSeed());
  for (int i = 0; i < 2000; ++i) {
    std::array<uint16_t, 4> samples{};
    for (uint16_t& sample : samples) sample = static_cast<uint16_t>(random.next());
    const unsigned depth = random.flag() ? 10 : 12;
    const size_t bytes = depth == 10 ? 5 : 3;
    const Target got(bytes, 0, 0);
    const Target want(bytes, 0, 0);
    SampleRows_PackGroup(samples.data(), depth, got.get());
    twin::SampleRows_PackGroup(samples.data(), depth, want.get());
    ASSERT_TRUE(isSame(got, want)) << "depth " << depth << ", ODAXGEN_KERNEL_SEED=" << kernelSeed();
  }
}

// Channels --------------------------------------------------------------------------------------

// Three destinations, often too short or of different lengths.
struct RgbTargets {
  std::array<uint32_t, 3> room;
  std::array<size_t, 3> alignment;
  uint8_t fill;

  RgbTargets(const KernelCase& one, uint32_t needed)
      : room{one.roomFor(needed), needed, one.roomFor(needed)},
        alignment{one.targetAlignment, one.random.below(16), one.random.below(16)},
        fill(one.random.byte()) {}

  [[nodiscard]] Target make(size_t channel) const {
    return {room[channel], alignment[channel], fill};
  }
};

using RgbCall = std::function<void(const uint8_t* src, const ChannelRowsRgb& out)>;

AssertionResult areChannelsSame(const KernelCase& one, size_t srcBytes, uint32_t needed,
                                const RgbCall& fast, const RgbCall& plain) {
  const RgbTargets targets(one, needed);
  const Source source(one.row.data(), srcBytes, one.alignment);
  const Target got[3] = {targets.make(0), targets.make(1), targets.make(2)};
  const Target want[3] = {targets.make(0), targets.make(1), targets.make(2)};
  ChannelRowsRgb fastRows{}, plainRows{};
  for (size_t c = 0; c < 3; ++c) {
    fastRows[c] = {got[c].get(), targets.room[c]};
    plainRows[c] = {want[c].get(), targets.room[c]};
  }
  fast(source.get(), fastRows);
  plain(source.get(), plainRows);
  for (size_t c = 0; c < 3; ++c) {
    if (const AssertionResult same = isSame(got[c], want[c]); !same) {
      return AssertionFailure() << "channel " << c << " with room for " << targets.room[c] << " of "
                                << needed << " bytes: " << same.message();
    }
  }
  return AssertionSuccess();
}

TEST(ChannelKernels, SamplesInThreesAreWhatTheirTwinSays) {
  forEachRow("ChannelRows_Split8", [](const KernelCase& one) {
    const auto pixels = static_cast<uint32_t>(one.row.size()) / 3;
    return areChannelsSame(
        one, size_t{pixels} * 3, pixels,
        [&](const uint8_t* src, const ChannelRowsRgb& out) {
          ChannelRows_Split8(src, pixels, out);
        },
        [&](const uint8_t* src, const ChannelRowsRgb& out) {
          twin::ChannelRows_Split8(src, pixels, out);
        });
  });
}

TEST(ChannelKernels, WideSamplesAreWhatTheirTwinSays) {
  forEachRow("ChannelRows_Split16Wide", [](const KernelCase& one) {
    const auto pixels = static_cast<uint32_t>(one.row.size()) / 6;
    const unsigned depth = one.random.oneOf(std::array<unsigned, 3>{10, 12, 16});
    const bool littleEndian = one.random.flag();
    AssertionResult result = areChannelsSame(
        one, size_t{pixels} * 6, pixels * 2,
        [&](const uint8_t* src, const ChannelRowsRgb& out) {
          ChannelRows_Split16Wide(src, pixels, littleEndian, depth, out);
        },
        [&](const uint8_t* src, const ChannelRowsRgb& out) {
          twin::ChannelRows_Split16Wide(src, pixels, littleEndian, depth, out);
        });
    if (!result) result << "\ndepth " << depth << ", little-endian " << littleEndian;
    return result;
  });
}

TEST(ChannelKernels, PackedSamplesAreWhatTheirTwinSays) {
  forEachRow("ChannelRows_Split16Packed", [](const KernelCase& one) {
    const auto pixels = static_cast<uint32_t>(one.row.size()) / 6;
    const unsigned depth = one.random.flag() ? 10 : 12;
    const bool littleEndian = one.random.flag();
    const uint32_t needed = depth == 10 ? (pixels + 3) / 4 * 5 : (pixels + 1) / 2 * 3;
    AssertionResult result = areChannelsSame(
        one, size_t{pixels} * 6, needed,
        [&](const uint8_t* src, const ChannelRowsRgb& out) {
          ChannelRows_Split16Packed(src, pixels, littleEndian, depth, out);
        },
        [&](const uint8_t* src, const ChannelRowsRgb& out) {
          twin::ChannelRows_Split16Packed(src, pixels, littleEndian, depth, out);
        });
    if (!result) result << "\ndepth " << depth << ", little-endian " << littleEndian;
    return result;
  });
}

// Blocks of paper may be taken at once: one bit anywhere makes them none.
TEST(ChannelKernels, ABitInWhitePixelsIsWhatTheirTwinSays) {
  constexpr uint32_t kPixels = 48;
  Random random(kernelSeed());
  for (size_t bit = 0; bit < size_t{kPixels} * 6 * 8; ++bit) {
    Bytes row(size_t{kPixels} * 6, 0xFF);
    row[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
    const KernelCase one{row, RowKind::kSpeck, 0, 0, random};
    ASSERT_TRUE(areChannelsSame(
        one, row.size(), kPixels * 2,
        [](const uint8_t* src, const ChannelRowsRgb& out) {
          ChannelRows_Split16Wide(src, kPixels, true, 16, out);
        },
        [](const uint8_t* src, const ChannelRowsRgb& out) {
          twin::ChannelRows_Split16Wide(src, kPixels, true, 16, out);
        }))
        << "bit " << bit;
    ASSERT_TRUE(areChannelsSame(
        one, row.size(), kPixels * 2,
        [](const uint8_t* src, const ChannelRowsRgb& out) {
          ChannelRows_Split8(src, kPixels * 2, out);
        },
        [](const uint8_t* src, const ChannelRowsRgb& out) {
          twin::ChannelRows_Split8(src, kPixels * 2, out);
        }))
        << "bit " << bit;
  }
}

TEST(ChannelKernels, AChannelOutOfFourIsWhatItsTwinSays) {
  forEachRow("ChannelRows_Extract", [](const KernelCase& one) {
    const size_t channel = one.random.below(4);
    const size_t sampleBytes = one.random.flag() ? 1 : 2;
    // Sources that end in front of the last sample, within it, or behind it.
    const auto whole = static_cast<uint32_t>(one.row.size() / (4 * sampleBytes));
    const size_t samples = one.roomFor(whole + 1);
    const auto dstBytes = static_cast<uint32_t>(samples * sampleBytes);
    AssertionResult result = isSameRow(
        one, one.row.size(), dstBytes,
        [&](const uint8_t* src, uint8_t* dst) {
          ChannelRows_Extract(src, one.row.size(), channel, sampleBytes, samples, dst);
        },
        [&](const uint8_t* src, uint8_t* dst) {
          twin::ChannelRows_Extract(src, one.row.size(), channel, sampleBytes, samples, dst);
        });
    if (!result) {
      result << "\nchannel " << channel << ", samples " << samples << " of " << sampleBytes
             << " bytes";
    }
    return result;
  });
}

TEST(ChannelKernels, HalvesAreWhatTheirTwinSays) {
  forEachRow("ChannelRows_SplitHalves", [](const KernelCase& one) {
    const size_t count = one.row.size() / 2;
    const Source source(one.row.data(), 2 * count, one.alignment);
    const size_t lowAlignment = one.random.below(16);
    const Target high(count, one.targetAlignment, 1), wantedHigh(count, one.targetAlignment, 1);
    const Target low(count, lowAlignment, 1), wantedLow(count, lowAlignment, 1);
    ChannelRows_SplitHalves(source.get(), count, high.get(), low.get());
    twin::ChannelRows_SplitHalves(source.get(), count, wantedHigh.get(), wantedLow.get());
    if (AssertionResult same = isSame(high, wantedHigh); !same) return same << " (high bytes)";
    AssertionResult same = isSame(low, wantedLow);
    if (!same) same << " (low bytes)";
    return same;
  });
}

// Blank rows ------------------------------------------------------------------------------------

TEST(BlankKernels, TheSignificantLengthIsWhatItsTwinSays) {
  forEachRow("BlankRows_SignificantLength", [](const KernelCase& one) -> AssertionResult {
    const Source source(one.row, one.alignment);
    const auto length = static_cast<int>(one.row.size());
    for (const uint8_t blank : {uint8_t{0x00}, uint8_t{0xFF}}) {
      const int got = BlankRows_SignificantLength(source.get(), length, blank);
      const int want = twin::BlankRows_SignificantLength(source.get(), length, blank);
      if (got == want) continue;
      return AssertionFailure() << got << " and not " << want << ", blank is " << int{blank};
    }
    return AssertionSuccess();
  });
}

TEST(BlankKernels, ARowWithoutBytesIsNotLookedAt) {
  for (const int length : {0, -1, -8, -70000}) {
    EXPECT_EQ(BlankRows_SignificantLength(nullptr, length, 0x00), 0) << length;
    EXPECT_EQ(BlankRows_SignificantLength(nullptr, length, 0xFF), 0) << length;
  }
}

TEST(BlankKernels, WhetherAllBytesAreOneIsWhatTheTwinSays) {
  forEachRow("BlankRows_IsAll", [](const KernelCase& one) -> AssertionResult {
    if (one.row.empty()) return AssertionSuccess();
    const Source source(one.row, one.alignment);
    for (const uint8_t value : {uint8_t{0x00}, uint8_t{0xFF}, one.row[0], one.row.back()}) {
      const bool got = BlankRows_IsAll(source.get(), one.row.size(), value);
      const bool want = twin::BlankRows_IsAll(source.get(), one.row.size(), value);
      if (got != want) return AssertionFailure() << got << ", value " << int{value};
    }
    return AssertionSuccess();
  });
}

}  // namespace
