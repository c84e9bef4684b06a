// hxrc - the HXRC row compressor: runs of bytes that equal the row above or the byte to the left,
// and differences from the left byte, as prefix codes. Pure, constant tables, no allocation.
#pragma once

#include <array>
#include <cstdint>

constexpr int kHxrcMaxRowBytes = 120000;
constexpr int kHxrcMaxRun = 127 * 128 + 127;  // the longest run that the long-run form can carry

/// Compresses one row.
///
/// @param out       room for the worst case, (13 * length + 5) bits rounded up to whole bytes
/// @param previous  the row above, `length` bytes, or null when the receiver does not know it
/// @param row       `length` bytes
/// @param length    1..120000 bytes
/// @return the number of output bytes modulo 65536 (kept: rows stay far below), or a code as a
///         two's-complement number: -1 no output buffer, -2 no row, -4 the output is the previous
///         row, -3 the output is the row, -5 length below 1, -6 length above 120000; checked in
///         this order
uint32_t HXRC_Compress(uint8_t* out, const uint8_t* previous, const uint8_t* row, int length);

/// A code of `length` bits, right-aligned in `value`.
struct HxrcCode {
  uint8_t value;
  uint8_t length;
};

enum HxrcPrefix { kHxrcAbove, kHxrcLeft, kHxrcLongRun, kHxrcDifference, kHxrcEnd };

/// Prefix codes, indexed by HxrcPrefix: 01, 001, 0001, 1, 00000.
inline constexpr std::array<HxrcCode, 5> huff = {{{1, 2}, {1, 3}, {1, 4}, {1, 1}, {0, 5}}};
/// Run-length prefixes: index 0 for a run of 0, floor(log2 n) + 1 for a run of n.
inline constexpr std::array<HxrcCode, 8> huff2 = {
    {{0, 7}, {1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}, {1, 7}}};
/// Difference categories 1 to 8, indexed by category - 1.
inline constexpr std::array<HxrcCode, 8> huff3 = {
    {{5, 3}, {1, 2}, {0, 2}, {7, 3}, {4, 3}, {13, 4}, {25, 5}, {24, 5}}};

namespace hxrc {

/// floor(log2 n) for n >= 1, and 0 for 0.
constexpr uint8_t floorLog2(unsigned n) {
  uint8_t bits = 0;
  while (n > 1) {
    n >>= 1U;
    ++bits;
  }
  return bits;
}

constexpr std::array<uint8_t, 128> makeRunBits() {
  std::array<uint8_t, 128> table{};
  for (unsigned n = 0; n < 128; ++n) table[n] = floorLog2(n);
  return table;
}

constexpr std::array<uint8_t, 128> makeRunData() {
  std::array<uint8_t, 128> table{};
  for (unsigned n = 1; n < 128; ++n) table[n] = static_cast<uint8_t>(n - (1U << floorLog2(n)));
  return table;
}

constexpr unsigned magnitude(unsigned byte) {
  return byte < 128 ? byte : 256 - byte;
}

constexpr std::array<uint8_t, 256> makeDiffBits() {
  std::array<uint8_t, 256> table{};
  for (unsigned d = 1; d < 256; ++d) table[d] = static_cast<uint8_t>(floorLog2(magnitude(d)) + 1);
  return table;
}

constexpr std::array<uint8_t, 256> makeDiffData() {
  std::array<uint8_t, 256> table{};
  for (unsigned d = 1; d < 128; ++d) table[d] = static_cast<uint8_t>(d);
  // Negative: the ones' complement of the magnitude within its bits. 0x80 has none.
  for (unsigned d = 129; d < 256; ++d) {
    const unsigned bits = floorLog2(magnitude(d)) + 1U;
    table[d] = static_cast<uint8_t>((1U << bits) - 1 - magnitude(d));
  }
  return table;
}

}  // namespace hxrc

inline constexpr std::array<uint8_t, 128> run_bits = hxrc::makeRunBits();    // low bits of a run
inline constexpr std::array<uint8_t, 128> run_data = hxrc::makeRunData();    // their value
inline constexpr std::array<uint8_t, 256> diff_bits = hxrc::makeDiffBits();  // category, by byte
inline constexpr std::array<uint8_t, 256> diff_data = hxrc::makeDiffData();  // extra bits' value
