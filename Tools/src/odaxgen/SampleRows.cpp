#include "SampleRows.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "LevelRows.h"

namespace {

uint32_t bytesFor(uint32_t samples, uint32_t samplesPerByte) {
  return samples / samplesPerByte + (samples % samplesPerByte != 0 ? 1 : 0);
}

// Sets what lies behind the width to 0: pad bits of the last byte and whole bytes.
void clearBehindWidth(uint8_t* dst, uint32_t dstBytes, uint32_t width, uint32_t bits) {
  const uint64_t usedBits = uint64_t{width} * bits;
  const uint64_t wholeBytes = usedBits / 8;
  if (wholeBytes >= dstBytes) return;
  auto first = static_cast<uint32_t>(wholeBytes);
  if (usedBits % 8 != 0) dst[first++] &= static_cast<uint8_t>(0xFF00U >> (usedBits % 8));
  std::memset(dst + first, 0, dstBytes - first);
}

void copyOrComplement(const uint8_t* src, uint32_t count, uint8_t* dst, bool invert) {
  if (!invert) {
    std::memcpy(dst, src, count);
    return;
  }
  const uint8_t* __restrict from = src;  // told apart, compilers make 16 bytes at a time of it
  uint8_t* __restrict to = dst;
  for (uint32_t i = 0; i < count; ++i) to[i] = static_cast<uint8_t>(~from[i]);
}

uint16_t sampleAt(const uint8_t* src, uint32_t index, const SampleRule& rule) {
  const uint8_t* bytes = src + size_t{index} * 2;
  const unsigned high = rule.littleEndian ? bytes[1] : bytes[0];
  const unsigned low = rule.littleEndian ? bytes[0] : bytes[1];
  return static_cast<uint16_t>(high << 8U | low);
}

}  // namespace

void SampleRows_Copy1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule) {
  const uint32_t bytes = std::min(count, dstBytes);
  copyOrComplement(src, bytes, dst, !rule.keepsBilevel && !rule.raw);
  clearBehindWidth(dst, dstBytes, rule.width, 1);
}

void SampleRows_Copy8(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule) {
  copyOrComplement(src, std::min(count, dstBytes), dst, rule.invert);
  clearBehindWidth(dst, dstBytes, rule.width, 8);
}

void SampleRows_8to1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                     const SampleRule& rule) {
  // Kept on purpose: the sample counts as a signed byte, so 128 and above read as negative.
  const int8_t least = rule.raw || rule.inkIsPositive ? 1 : 0;
  const uint32_t bytes = std::min(bytesFor(count, 8), dstBytes);
  for (uint32_t b = 0; b < bytes; ++b) {
    const uint32_t first = b * 8;
    const uint32_t samples = std::min<uint32_t>(8, count - first);
    unsigned byte = 0;
    for (uint32_t i = 0; i < samples; ++i) {
      if (static_cast<int8_t>(src[first + i]) >= least) byte |= 0x80U >> i;
    }
    dst[b] = static_cast<uint8_t>(byte);
  }
}

void SampleRows_8toLevels(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                          const SampleRule& rule, unsigned depth) {
  LevelRows_Pack(src, count, dst, dstBytes, {rule.table, rule.invert, depth});
  clearBehindWidth(dst, dstBytes, rule.width, depth);
}

void SampleRows_16toPacked(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                           const SampleRule& rule, unsigned depth) {
  const uint32_t perGroup = depth == 10 ? 4 : 2;
  const uint32_t groupBytes = depth == 10 ? 5 : 3;
  const uint16_t padding = rule.inkIsPositive ? 0x0000 : 0xFFFF;
  const uint16_t mask = rule.invert ? 0xFFFF : 0x0000;
  uint32_t written = 0;
  for (uint32_t first = 0; first < count && written < dstBytes; first += perGroup) {
    std::array<uint16_t, 4> samples{};
    for (uint32_t i = 0; i < perGroup; ++i) {
      const uint16_t sample = first + i < count ? sampleAt(src, first + i, rule) : padding;
      samples[i] = sample ^ mask;
    }
    std::array<uint8_t, 5> group{};
    SampleRows_PackGroup(samples.data(), depth, group.data());
    const uint32_t room = std::min(groupBytes, dstBytes - written);
    std::memcpy(dst + written, group.data(), room);
    written += room;
  }
}

void SampleRows_PackGroup(const uint16_t* samples, unsigned depth, uint8_t* group) {
  const unsigned count = depth == 10 ? 4 : 2;
  const unsigned bytes = depth == 10 ? 5 : 3;
  uint64_t bits = 0;
  for (unsigned i = 0; i < count; ++i) bits = bits << depth | uint64_t{samples[i]} >> (16 - depth);
  for (unsigned i = 0; i < bytes; ++i) {
    group[i] = static_cast<uint8_t>(bits >> (8 * (bytes - 1 - i)));
  }
}
