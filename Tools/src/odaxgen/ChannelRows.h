// ChannelRows - takes rows apart whose pixels hold several samples, and samples of two bytes. Pure:
// bytes in, bytes out. The block decoders of ZKTiff decide which and where to, this module how.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Where one channel of a row goes.
struct ChannelRow {
  uint8_t* bytes;
  uint32_t count;  // bytes that it has room for; what does not fit is left out
};
using ChannelRowsRgb = std::array<ChannelRow, 3>;  // red, green, blue

/// Rows of 8-bit samples in threes, one byte each.
/// @param src  3 * `pixels` bytes
void ChannelRows_Split8(const uint8_t* src, uint32_t pixels, const ChannelRowsRgb& out);

/// Rows of 16-bit samples in threes. A sample takes two bytes, the high one first: its `depth` top
/// bits in the low bits, the free bits set.
/// @param src           6 * `pixels` bytes
/// @param littleEndian  byte order of the samples
/// @param depth         10, 12 or 16
void ChannelRows_Split16Wide(const uint8_t* src, uint32_t pixels, bool littleEndian, unsigned depth,
                             const ChannelRowsRgb& out);

/// The same for packed samples of 10 or 12 bits: SampleRows_PackGroup(). The last group is filled
/// up with samples of all ones.
void ChannelRows_Split16Packed(const uint8_t* src, uint32_t pixels, bool littleEndian,
                               unsigned depth, const ChannelRowsRgb& out);

/// One channel out of four, as it stands in the file. Samples that the source does not reach are 0.
/// @param src          `srcBytes` bytes, pixels of 4 * `sampleBytes`
/// @param channel      0 to 3
/// @param sampleBytes  1 or 2
/// @param dst          `samples` * `sampleBytes` bytes
void ChannelRows_Extract(const uint8_t* src, size_t srcBytes, size_t channel, size_t sampleBytes,
                         size_t samples, uint8_t* dst);

/// The high and the low bytes of `count` samples of two bytes, high byte first.
void ChannelRows_SplitHalves(const uint8_t* src, size_t count, uint8_t* high, uint8_t* low);
