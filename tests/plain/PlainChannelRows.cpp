#include "PlainChannelRows.h"

#include "PlainBits.h"

namespace twin {

namespace {

unsigned sampleAt(const uint8_t* src, size_t index, bool littleEndian) {
  const unsigned first = src[2 * index];
  const unsigned second = src[2 * index + 1];
  return littleEndian ? first + 256 * second : 256 * first + second;
}

}  // namespace

void ChannelRows_Split8(const uint8_t* src, uint32_t pixels, const ChannelRowsRgb& out) {
  for (size_t i = 0; i < size_t{pixels} * 3; ++i) {
    if (i / 3 < out[i % 3].count) out[i % 3].bytes[i / 3] = src[i];
  }
}

void ChannelRows_Split16Wide(const uint8_t* src, uint32_t pixels, bool littleEndian, unsigned depth,
                             const ChannelRowsRgb& out) {
  const unsigned setBits = 0x10000U - (1U << depth);
  for (size_t i = 0; i < size_t{pixels} * 3; ++i) {
    const unsigned sample = setBits + (sampleAt(src, i, littleEndian) >> (16 - depth));
    const ChannelRow& row = out[i % 3];
    const size_t at = i / 3 * 2;
    if (at + 1 >= row.count) continue;  // no half samples
    row.bytes[at] = static_cast<uint8_t>(sample / 256);
    row.bytes[at + 1] = static_cast<uint8_t>(sample % 256);
  }
}

void ChannelRows_Split16Packed(const uint8_t* src, uint32_t pixels, bool littleEndian,
                               unsigned depth, const ChannelRowsRgb& out) {
  const uint32_t perGroup = depth == 10 ? 4 : 2;
  for (size_t channel = 0; channel < 3; ++channel) {
    Bits bits;
    for (uint32_t i = 0; i < pixels || i % perGroup != 0; ++i) {
      const unsigned sample =
          i < pixels ? sampleAt(src, size_t{i} * 3 + channel, littleEndian) : 0xFFFF;
      bits.put(sample >> (16 - depth), depth);
    }
    bits.copyTo(out[channel].bytes, out[channel].count);
  }
}

void ChannelRows_Extract(const uint8_t* src, size_t srcBytes, size_t channel, size_t sampleBytes,
                         size_t samples, uint8_t* dst) {
  for (size_t i = 0; i < samples * sampleBytes; ++i) {
    const size_t pixel = i / sampleBytes;
    const size_t at = (pixel * 4 + channel) * sampleBytes + i % sampleBytes;
    dst[i] = at < srcBytes ? src[at] : uint8_t{0};
  }
}

void ChannelRows_SplitHalves(const uint8_t* src, size_t count, uint8_t* high, uint8_t* low) {
  for (size_t i = 0; i < count; ++i) {
    high[i] = src[2 * i];
    low[i] = src[2 * i + 1];
  }
}

}  // namespace twin
