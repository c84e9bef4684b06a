#include "LevelRows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "ReductionTables.h"
#include "Vectors.h"
#include "Words.h"

namespace {

constexpr uint32_t kBlock = 64;  // samples that are converted at a time
using Block = std::array<uint8_t, kBlock>;

uint8_t levelOf(uint8_t sample, const LevelRule& rule) {
  const auto value = static_cast<uint8_t>(rule.invert ? ~sample : sample);
  const unsigned level = rule.table == nullptr ? value : rule.table[value];
  return static_cast<uint8_t>(level & ((1U << rule.depth) - 1));
}

// Which bits of a sample are its level, and how far they are from the top of their field.
struct Bits {
  uint8_t flip = 0;  // all ones: the sample is complemented before
  uint8_t keep = 0;
  unsigned up = 0, down = 0;
};

Bits bitsFrom(unsigned lowest, unsigned depth, bool invert) {
  const unsigned top = 8 - depth;
  return {static_cast<uint8_t>(invert ? 0xFF : 0x00),
          static_cast<uint8_t>(((1U << depth) - 1) << lowest), top > lowest ? top - lowest : 0,
          lowest > top ? lowest - top : 0};
}

#ifdef ODAXGEN_HAS_VECTORS

// The levels of 16 samples, at the top of their bytes, in words of two.
template <bool kMoves>
vectors::Words fieldsOf(const uint8_t* samples, const Bits& bits) {
  const auto flip = static_cast<uint16_t>(words::repeated(bits.flip));
  const auto keep = static_cast<uint16_t>(words::repeated(bits.keep));
  const auto kept = (vectors::load<vectors::Words>(samples) ^ flip) & keep;
  if (!kMoves) return kept;
  return kept << static_cast<uint16_t>(bits.up) >> static_cast<uint16_t>(bits.down);
}

// Makes one byte of each two: the second slides behind the first one's highest bits.
template <unsigned kBits>
vectors::Bytes pairs(vectors::Words first, vectors::Words second) {
  return vectors::evenBytes(first | first >> (8 + kBits), second | second >> (8 + kBits));
}

// Packs 32 samples into bytes of two levels, at the top of half bytes.
template <bool kMoves, unsigned kDepth>
vectors::Bytes packTwos(const uint8_t* src, const Bits& bits) {
  return pairs<kDepth>(fieldsOf<kMoves>(src, bits), fieldsOf<kMoves>(src + 16, bits));
}

// Inlined, so that a row's bits are spread over a vector once.
template <bool kMoves, unsigned kDepth>
[[gnu::always_inline]] inline void packFields(const uint8_t* src, uint8_t* dst, const Bits& bits) {
  const vectors::Bytes first = packTwos<kMoves, kDepth>(src, bits);
  const vectors::Bytes second = packTwos<kMoves, kDepth>(src + kBlock / 2, bits);
  if (kDepth == 4) {
    vectors::store(dst, first);
    vectors::store(dst + sizeof first, second);
  } else {
    vectors::store(dst, pairs<4>(reinterpret_cast<vectors::Words>(first),
                                 reinterpret_cast<vectors::Words>(second)));
  }
}

#else

template <bool /*kMoves*/, unsigned kDepth>
void packFields(const uint8_t* src, uint8_t* dst, const Bits& bits) {
  constexpr size_t kPerByte = 8 / kDepth;
  for (size_t i = 0; i < kBlock / kPerByte; ++i) {
    unsigned byte = 0;
    for (size_t j = 0; j < kPerByte; ++j) {
      const unsigned kept = (src[i * kPerByte + j] ^ bits.flip) & unsigned{bits.keep};
      byte |= kept << bits.up >> bits.down >> (kDepth * j);
    }
    dst[i] = static_cast<uint8_t>(byte);
  }
}

#endif

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
      : rule_(rule), invert_(rule.invert ? 0xFF : 0x00), bits_(bitsFrom(0, kDepth, false)) {
    setFlat(0xFF);
    const auto isOurs = [&rule](const auto& known) { return known.table == rule.table; };
    const auto* shift = std::find_if(std::begin(kShiftTables), std::end(kShiftTables), isOurs);
    isShift_ = shift != std::end(kShiftTables);
    if (isShift_) {
      bits_ = bitsFrom(shift->lowestBit, kDepth, rule.invert);
      return;
    }
    const auto* steps =
        std::find_if(std::begin(kThresholdTables), std::end(kThresholdTables), isOurs);
    thresholds_ = steps != std::end(kThresholdTables) ? steps : nullptr;
  }

  void pack(const uint8_t* src, uint8_t* dst, uint32_t blocks) {
    if (!isShift_) {
      for (uint32_t i = 0; i < blocks; ++i)
        packByTable(src + size_t{i} * kBlock, dst + size_t{i} * kBytes);
    } else if (bits_.up + bits_.down == 0) {  // tables of as many levels as the depth has
      packByShift<false>(src, dst, blocks);
    } else {
      packByShift<true>(src, dst, blocks);
    }
  }

 private:
  template <bool kMoves>
  void packByShift(const uint8_t* src, uint8_t* dst, uint32_t blocks) {
    const Bits bits = bits_;  // a copy that no written byte can be a part of
    for (; blocks > 0; --blocks, src += kBlock, dst += kBytes) {
      packFields<kMoves, kDepth>(src, dst, bits);
    }
  }

  void packByTable(const uint8_t* src, uint8_t* dst) {
    if (isFlat(src)) {
      if (src[0] != flatSample_) setFlat(src[0]);
      for (uint32_t at = 0; at < kBytes; at += words::kBytes) words::store(dst + at, flatWord_);
      return;
    }
    Block levels;
    if (thresholds_ != nullptr) {
      countThresholds(src, levels.data(), invert_, *thresholds_);
    } else {
      for (uint32_t i = 0; i < kBlock; ++i) levels[i] = levelOf(src[i], rule_);
    }
    packFields<true, kDepth>(levels.data(), dst, bits_);
  }

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
  BlockPacker<kDepth> packer(rule);
  const uint32_t whole = std::min(count / kPerByte, dstBytes);
  const uint32_t blocks = whole / packer.kBytes;
  packer.pack(src, dst, blocks);
  const uint32_t rest = count % kPerByte;  // samples of a byte that is not full
  const uint32_t bytes = std::min(count / kPerByte + (rest != 0 ? 1 : 0), dstBytes);
  const uint32_t done = blocks * packer.kBytes;
  if (done == bytes) return bytes;

  // What is left of the row is less than a block: it is filled up and converted like one.
  Block samples{};
  std::copy_n(src + size_t{blocks} * kBlock, std::min(count - blocks * kBlock, kBlock),
              samples.data());
  std::array<uint8_t, BlockPacker<kDepth>::kBytes> levels{};
  packer.pack(samples.data(), levels.data(), 1);
  if (bytes > count / kPerByte) {
    levels[bytes - done - 1] &= static_cast<uint8_t>(0xFF00U >> (rest * kDepth));
  }
  std::copy_n(levels.data(), bytes - done, dst + done);
  return bytes;
}

}  // namespace

uint32_t LevelRows_Pack(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                        const LevelRule& rule) {
  return rule.depth == 2 ? packRow<2>(src, count, dst, dstBytes, rule)
                         : packRow<4>(src, count, dst, dstBytes, rule);
}
