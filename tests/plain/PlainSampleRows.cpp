#include "PlainSampleRows.h"

#include "PlainBits.h"

namespace twin {

namespace {

void clearBehind(uint64_t usedBits, uint8_t* dst, uint32_t dstBytes) {
  for (uint64_t bit = usedBits; bit < uint64_t{dstBytes} * 8; ++bit) {
    dst[bit / 8] &= static_cast<uint8_t>(~(0x80U >> bit % 8));
  }
}

void copy(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes, bool invert) {
  for (uint32_t i = 0; i < count && i < dstBytes; ++i) {
    dst[i] = invert ? static_cast<uint8_t>(~src[i]) : src[i];
  }
}

}  // namespace

void SampleRows_Copy1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule) {
  copy(src, count, dst, dstBytes, !rule.keepsBilevel && !rule.raw);
  clearBehind(rule.width, dst, dstBytes);
}

void SampleRows_Copy8(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule) {
  copy(src, count, dst, dstBytes, rule.invert);
  clearBehind(uint64_t{rule.width} * 8, dst, dstBytes);
}

void SampleRows_8to1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                     const SampleRule& rule) {
  const int least = rule.raw || rule.inkIsPositive ? 1 : 0;
  for (uint32_t i = 0; i < count && i / 8 < dstBytes; ++i) {
    if (i % 8 == 0) dst[i / 8] = 0;
    const bool isInk = src[i] < 128 && src[i] >= least;
    if (isInk) dst[i / 8] |= static_cast<uint8_t>(0x80U >> i % 8);
  }
}

void SampleRows_8toLevels(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                          const SampleRule& rule, unsigned depth) {
  const uint32_t perByte = 8 / depth;
  for (uint32_t i = 0; i < count && i / perByte < dstBytes; ++i) {
    if (i % perByte == 0) dst[i / perByte] = 0;
    const unsigned sample = rule.invert ? 255U - src[i] : src[i];
    const unsigned level = rule.table == nullptr ? sample : rule.table[sample];
    const unsigned fitting = level % (1U << depth);
    dst[i / perByte] |= static_cast<uint8_t>(fitting << (8 - depth * (i % perByte + 1)));
  }
  clearBehind(uint64_t{rule.width} * depth, dst, dstBytes);
}

void SampleRows_16toPacked(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                           const SampleRule& rule, unsigned depth) {
  const uint32_t perGroup = depth == 10 ? 4 : 2;
  Bits bits;
  for (uint32_t i = 0; i < count || i % perGroup != 0; ++i) {
    unsigned sample = rule.inkIsPositive ? 0x0000 : 0xFFFF;
    if (i < count) {
      const unsigned first = src[size_t{i} * 2];
      const unsigned second = src[size_t{i} * 2 + 1];
      sample = rule.littleEndian ? first + 256 * second : 256 * first + second;
    }
    if (rule.invert) sample = 0xFFFF - sample;
    bits.put(sample >> (16 - depth), depth);
  }
  bits.copyTo(dst, dstBytes);
}

void SampleRows_PackGroup(const uint16_t* samples, unsigned depth, uint8_t* group) {
  Bits bits;
  for (unsigned i = 0; i < (depth == 10 ? 4 : 2); ++i) bits.put(samples[i] >> (16 - depth), depth);
  bits.copyTo(group, depth == 10 ? 5 : 3);
}

}  // namespace twin
