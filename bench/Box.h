// Box - a part of a page in dots. And numbers that look random but are the same everywhere.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

inline constexpr uint16_t kFullInk = 65535;

struct Box {
  size_t left, top, width, height;

  [[nodiscard]] bool hasRow(size_t y) const { return y >= top && y - top < height; }
};

/// Spreads a number over 64 bits, so that neighbours have nothing in common.
constexpr uint64_t scatter(uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

/// Numbers in a row: Marsaglia's xorshift with 64 bits.
class Numbers {
 public:
  explicit Numbers(uint64_t seed) : state_(scatter(seed) | 1U) {}

  uint64_t next() {
    state_ ^= state_ << 13U;
    state_ ^= state_ >> 7U;
    state_ ^= state_ << 17U;
    return state_;
  }
  /// 0 to `count` - 1.
  size_t below(size_t count) { return static_cast<size_t>((next() >> 32U) % count); }

 private:
  uint64_t state_;
};

}  // namespace bench
