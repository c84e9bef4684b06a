// Words - eight bytes at a time, at any address. What stands first in memory is the lowest byte of
// a word, on every machine.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace words {

constexpr int kBytes = 8;
constexpr uint64_t kOnes = 0x0101010101010101;
constexpr uint64_t kLowBits = 0x7F * kOnes;

constexpr uint64_t repeated(uint8_t byte) {
  return byte * kOnes;
}

// Compilers make one instruction of each of these.
constexpr uint16_t swapped(uint16_t word) {
  return static_cast<uint16_t>(word << 8 | word >> 8);
}
constexpr uint32_t swapped(uint32_t word) {
  return word << 24 | (word & 0xFF00U) << 8 | (word >> 8 & 0xFF00U) | word >> 24;
}
constexpr uint64_t swapped(uint64_t word) {
  return uint64_t{swapped(static_cast<uint32_t>(word))} << 32 |
         swapped(static_cast<uint32_t>(word >> 32));
}

/// A word of 2, 4 or 8 bytes.
template <class Word>
Word loadAs(const uint8_t* bytes) {
  Word word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return std::endian::native == std::endian::little ? word : swapped(word);
}
inline uint64_t load(const uint8_t* bytes) {
  return loadAs<uint64_t>(bytes);
}

template <class Word>
void store(uint8_t* bytes, Word word) {
  if constexpr (std::endian::native == std::endian::big) word = swapped(word);
  std::memcpy(bytes, &word, sizeof word);
}

/// The places of the lowest and the highest bit of a word that has one. The standard's functions
/// ask that first.
inline int lowestBit(uint64_t word) {
#ifdef __GNUC__
  return __builtin_ctzll(word);
#else
  return std::countr_zero(word);
#endif
}
inline int highestBit(uint64_t word) {
#ifdef __GNUC__
  return 63 - __builtin_clzll(word);
#else
  return 63 - std::countl_zero(word);
#endif
}
constexpr uint64_t withoutLowestBit(uint64_t word) {
  return word & (word - 1);
}

/// The place of the lowest byte that is not 0, of a word that has one.
inline int firstSet(uint64_t word) {
  return std::countr_zero(word) / 8;
}

/// 0x80 in each byte that is 0, and 0 in all others: no carry leaves a byte.
constexpr uint64_t zeroBytes(uint64_t word) {
  return ~(((word & kLowBits) + kLowBits) | word | kLowBits);
}

/// The top bits of the eight bytes, that of the first byte lowest. All other bits must be 0.
constexpr unsigned topBits(uint64_t word) {
  return static_cast<unsigned>((word >> 7) * 0x0102040810204080 >> 56);
}

/// How many of the first `count` bytes are equal one by one.
inline int countEqual(const uint8_t* a, const uint8_t* b, int count) {
  int at = 0;
  for (; at + kBytes <= count; at += kBytes) {
    const uint64_t differences = load(a + at) ^ load(b + at);
    if (differences != 0) return at + firstSet(differences);
  }
  while (at < count && a[at] == b[at]) ++at;
  return at;
}

}  // namespace words
