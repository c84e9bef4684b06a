#include "LevelRows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "ReductionTables.h"
#include "Words.h"

namespace {

constexpr uint32_t kBlock = 64;  // samples that are converted at a time
using Block = std::array<uint8_t, kBlock>;

uint8_t levelOf(uint8_t sample, const LevelRule& rule) {
  const auto value = static_cast<uint8_t>(rule.invert ? ~sample : sample);
  const unsigned level = rule.table == nullptr ? value : rule.table[value];
  return static_cast<uint8_t>(level & ((1U << rule.depth) - 1));
}

uint8_t packedByte(const uint8_t* src, uint32_t samples, const LevelRule& rule) {
  unsigned byte = 0;
  for (unsigned i = 0; i < samples; ++i) {
    byte |= static_cast<unsigned>(levelOf(src[i], rule)) << (8 - rule.depth * (i + 1));
  }
  return static_cast<uint8_t>(byte);
}

// Which bits of a sample are its level, and how far they are moved to the top of their field.
struct Bits {
  uint8_t keep;
  unsigned up, down;
};

Bits bitsFrom(unsigned lowest, unsigned depth) {
  const auto keep = static_cast<uint8_t>(((1U << depth) - 1) << lowest);
  const unsigned top = 8 - depth;
  return {keep, top > lowest ? top - lowest : 0, lowest > top ? lowest - top : 0};
}

// Four samples at a time: the fields of each two, and then of all four, slide together. Compilers
// make 16 samples at a time of it.
void packFields(const uint8_t* __restrict src, uint8_t* __restrict dst, uint8_t invert,
                const Bits& bits, std::integral_constant<unsigned, 2> /*depth*/) {
  const auto flip = static_cast<uint32_t>(words::repeated(invert));
  const auto keep = static_cast<uint32_t>(words::repeated(bits.keep));
  for (uint32_t i = 0; i < kBlock / 4; ++i) {
    const uint32_t four =
        ((words::loadAs<uint32_t>(src + 4 * i) ^ flip) & keep) << bits.up >> bits.down;
    const uint32_t pairs = four | four >> 10;
    dst[i] = static_cast<uint8_t>(pairs | pairs >> 20);
  }
}

// The same with two samples.
void packFields(const uint8_t* __restrict src, uint8_t* __restrict dst, uint8_t invert,
                const Bits& bits, std::integral_constant<unsigned, 4> /*depth*/) {
  const auto flip = static_cast<uint16_t>(words::repeated(invert));
  const auto keep = static_cast<uint16_t>(words::repeated(bits.keep));
  for (uint32_t i = 0; i < kBlock / 2; ++i) {
    const auto kept = static_cast<uint16_t>((words::loadAs<uint16_t>(src + 2 * i) ^ flip) & keep);
    const auto pair = static_cast<uint16_t>(kept << bits.up >> bits.down);
    dst[i] = static_cast<uint8_t>(pair | pair >> 12);
  }
}

// Tables that are a shift of the sample, by the lowest bit of the level. No table is one too.
struct ShiftTable {
  const uint8_t* table;
  unsigned lowestBit;
};
constexpr ShiftTable kShiftTables[] = {{nullptr, 0},
                                       {ReduceNoConvertTbl.data(), 0},
                                       {Reduce256To4Tbl.data(), 6},
                                       {Reduce256To16Tbl.data(), 4}};

// Tables whose level is how many thresholds a sample reaches.
struct ThresholdTable {
  const uint8_t* table;
  unsigned levels;
  std::array<uint8_t, 5> thresholds;
};

constexpr ThresholdTable thresholdsOf(const ReductionTable& table) {
  ThresholdTable found = {table.data(), table[255] + 1U, {}};
  for (unsigned v = 1; v < table.size(); ++v) {
    if (table[v] != table[v - 1]) found.thresholds[table[v - 1]] = static_cast<uint8_t>(v);
  }
  return found;
}

constexpr ThresholdTable kThresholdTables[] = {
    thresholdsOf(Reduce256To2Tbl), thresholdsOf(Reduce256To3Tbl), thresholdsOf(Reduce256To5Tbl),
    thresholdsOf(Reduce256To6Tbl)};

void countThresholds(const uint8_t* __restrict src, uint8_t* __restrict levels, uint8_t invert,
                     const ThresholdTable& table) {
  std::memset(levels, 0, kBlock);
  for (unsigned t = 0; t + 1 < table.levels; ++t) {
    const uint8_t threshold = table.thresholds[t];
    for (uint32_t i = 0; i < kBlock; ++i) {
      const auto value = static_cast<uint8_t>(src[i] ^ invert);
      levels[i] = static_cast<uint8_t>(levels[i] + (value >= threshold ? 1 : 0));
    }
  }
}

// Converts blocks of 64 samples in the quickest way that the table allows.
template <unsigned kDepth>
class BlockPacker {
 public:
  static constexpr uint32_t kBytes = kBlock * kDepth / 8;  // of a packed block

  explicit BlockPacker(const LevelRule& rule)
      : rule_(rule), invert_(rule.invert ? 0xFF : 0x00), bits_(bitsFrom(0, kDepth)) {
    setFlat(0xFF);
    const auto isOurs = [&rule](const auto& known) { return known.table == rule.table; };
    const auto* shift = std::find_if(std::begin(kShiftTables), std::end(kShiftTables), isOurs);
    isShift_ = shift != std::end(kShiftTables);
    if (isShift_) {
      bits_ = bitsFrom(shift->lowestBit, kDepth);
      return;
    }
    const auto* steps =
        std::find_if(std::begin(kThresholdTables), std::end(kThresholdTables), isOurs);
    const bool fits = steps != std::end(kThresholdTables) && steps->levels <= 1U << kDepth;
    thresholds_ = fits ? steps : nullptr;
  }

  void pack(const uint8_t* src, uint8_t* dst) {
    constexpr std::integral_constant<unsigned, kDepth> kDepthOf;
    if (isFlat(src)) {
      if (src[0] != flatSample_) setFlat(src[0]);
      for (uint32_t at = 0; at < kBytes; at += words::kBytes) words::store(dst + at, flatWord_);
    } else if (isShift_) {
      packFields(src, dst, invert_, bits_, kDepthOf);
    } else {
      Block levels;
      if (thresholds_ != nullptr) {
        countThresholds(src, levels.data(), invert_, *thresholds_);
      } else {
        for (uint32_t i = 0; i < kBlock; ++i) levels[i] = levelOf(src[i], rule_);
      }
      packFields(levels.data(), dst, 0, bits_, kDepthOf);
    }
  }

 private:
  // Paper and full ink are most of a page.
  static bool isFlat(const uint8_t* src) {
    const uint64_t first = words::repeated(src[0]);
    // Of a photo the first word shows it.
    if (words::load(src) != first) return false;
    uint64_t differences = 0;
    for (uint32_t at = words::kBytes; at < kBlock; at += words::kBytes) {
      differences |= words::load(src + at) ^ first;
    }
    return differences == 0;
  }

  void setFlat(uint8_t sample) {
    constexpr unsigned kEveryField = kDepth == 2 ? 0x55 : 0x11;
    flatSample_ = sample;
    flatWord_ = words::repeated(static_cast<uint8_t>(levelOf(sample, rule_) * kEveryField));
  }

  const LevelRule& rule_;
  uint8_t invert_;
  uint8_t flatSample_ = 0;  // the sample of the last flat block, and eight bytes of its levels
  uint64_t flatWord_ = 0;
  Bits bits_;
  bool isShift_ = false;
  const ThresholdTable* thresholds_ = nullptr;
};

template <unsigned kDepth>
uint32_t packRow(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                 const LevelRule& rule) {
  constexpr uint32_t kPerByte = 8 / kDepth;
  BlockPacker<kDepth> blocks(rule);
  const uint32_t whole = std::min(count / kPerByte, dstBytes);
  uint32_t at = 0;
  for (; whole - at >= blocks.kBytes; at += blocks.kBytes) {
    blocks.pack(src + size_t{at} * kPerByte, dst + at);
  }
  const uint32_t bytes = std::min(count / kPerByte + (count % kPerByte != 0 ? 1 : 0), dstBytes);
  for (; at < bytes; ++at) {
    const uint32_t first = at * kPerByte;
    dst[at] = packedByte(src + first, std::min(kPerByte, count - first), rule);
  }
  return bytes;
}

}  // namespace

uint32_t LevelRows_Pack(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                        const LevelRule& rule) {
  return rule.depth == 2 ? packRow<2>(src, count, dst, dstBytes, rule)
                         : packRow<4>(src, count, dst, dstBytes, rule);
}
