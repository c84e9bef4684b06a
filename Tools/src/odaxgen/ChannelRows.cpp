#include "ChannelRows.h"

#include <algorithm>
#include <cstring>

#include "SampleRows.h"
#include "Triples.h"
#include "Words.h"

namespace {

constexpr size_t kChannels = 3;
constexpr size_t kDeepPixelBytes = 6;
constexpr size_t kCmykChannels = 4;

// Blocks go to all three rows at once, as far as each has room.
uint32_t commonCount(const ChannelRowsRgb& out, uint32_t pixels, uint32_t sampleBytes) {
  for (const ChannelRow& row : out) pixels = std::min(pixels, row.count / sampleBytes);
  return pixels;
}

// The two bytes of a sample of `depth` bits: its top bits in the low bits, the free bits set.
uint16_t deepSample(uint16_t sample, unsigned depth) {
  const unsigned free = ~((1U << depth) - 1) & 0xFFFFU;
  return static_cast<uint16_t>(free | unsigned{sample} >> (16 - depth));
}

uint16_t sampleAt(const uint8_t* bytes, bool littleEndian) {
  const auto sample = words::loadAs<uint16_t>(bytes);
  return littleEndian ? sample : words::swapped(sample);
}

void storeDeep(uint8_t* dst, const uint8_t* sample, bool littleEndian, unsigned depth) {
  words::store(dst, words::swapped(deepSample(sampleAt(sample, littleEndian), depth)));
}

// Both return how many of the pixels they took: whole blocks of 48 bytes.
#ifdef ODAXGEN_HAS_VECTORS
uint32_t splitBlocks(const uint8_t* src, uint32_t pixels, const ChannelRowsRgb& out) {
  constexpr uint32_t kBlock = 16;
  uint32_t at = 0;
  for (; pixels - at >= kBlock; at += kBlock) {
    const auto block = triples::split<vectors::Bytes>(src + size_t{at} * kChannels);
    vectors::store(out[0].bytes + at, block.first);
    vectors::store(out[1].bytes + at, block.second);
    vectors::store(out[2].bytes + at, block.third);
  }
  return at;
}

vectors::Words swapped(vectors::Words words) {
  return words << 8 | words >> 8;
}

// storeDeep() for eight samples.
template <bool kLittleEndian>
void storeDeep(uint8_t* dst, vectors::Words samples, unsigned depth) {
  if (!kLittleEndian) samples = swapped(samples);
  const auto free = static_cast<uint16_t>(~((1U << depth) - 1));
  vectors::store(dst, swapped(samples >> static_cast<uint16_t>(16 - depth) | free));
}

template <bool kLittleEndian>
uint32_t splitDeepBlocks(const uint8_t* src, uint32_t pixels, unsigned depth,
                         const ChannelRowsRgb& out) {
  constexpr uint32_t kBlock = 8;
  uint32_t at = 0;
  for (; pixels - at >= kBlock; at += kBlock) {
    const auto block = triples::split<vectors::Words>(src + size_t{at} * kDeepPixelBytes);
    storeDeep<kLittleEndian>(out[0].bytes + size_t{at} * 2, block.first, depth);
    storeDeep<kLittleEndian>(out[1].bytes + size_t{at} * 2, block.second, depth);
    storeDeep<kLittleEndian>(out[2].bytes + size_t{at} * 2, block.third, depth);
  }
  return at;
}
#else
uint32_t splitBlocks(const uint8_t* /*src*/, uint32_t /*pixels*/, const ChannelRowsRgb& /*out*/) {
  return 0;
}
template <bool kLittleEndian>
uint32_t splitDeepBlocks(const uint8_t* /*src*/, uint32_t /*pixels*/, unsigned /*depth*/,
                         const ChannelRowsRgb& /*out*/) {
  return 0;
}
#endif

void packChannel(const uint8_t* src, uint32_t pixels, bool littleEndian, unsigned depth,
                 ChannelRow out) {
  const uint32_t perGroup = depth == 10 ? 4 : 2;
  const uint32_t groupBytes = depth == 10 ? 5 : 3;
  for (uint32_t first = 0; first < pixels && out.count > 0; first += perGroup) {
    std::array<uint16_t, 4> group = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    for (uint32_t i = 0; i < perGroup && first + i < pixels; ++i) {
      group[i] = sampleAt(src + (size_t{first} + i) * kDeepPixelBytes, littleEndian);
    }
    std::array<uint8_t, 5> packed{};
    SampleRows_PackGroup(group.data(), depth, packed.data());
    const uint32_t part = std::min(groupBytes, out.count);
    std::memcpy(out.bytes, packed.data(), part);
    out.bytes += part;
    out.count -= part;
  }
}

// Told apart, compilers make 16 bytes at a time of it.
void extract8(const uint8_t* __restrict src, size_t samples, uint8_t* __restrict dst) {
  for (size_t i = 0; i < samples; ++i) dst[i] = src[i * kCmykChannels];
}

}  // namespace

void ChannelRows_Split8(const uint8_t* src, uint32_t pixels, const ChannelRowsRgb& out) {
  const uint32_t done = splitBlocks(src, commonCount(out, pixels, 1), out);
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const uint32_t count = std::min(pixels, out[channel].count);
    for (uint32_t i = done; i < count; ++i) {
      out[channel].bytes[i] = src[size_t{i} * kChannels + channel];
    }
  }
}

void ChannelRows_Split16Wide(const uint8_t* src, uint32_t pixels, bool littleEndian, unsigned depth,
                             const ChannelRowsRgb& out) {
  const uint32_t common = commonCount(out, pixels, 2);
  const uint32_t done = littleEndian ? splitDeepBlocks<true>(src, common, depth, out)
                                     : splitDeepBlocks<false>(src, common, depth, out);
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const uint32_t count = std::min(pixels, out[channel].count / 2);
    for (uint32_t i = done; i < count; ++i) {
      storeDeep(out[channel].bytes + size_t{i} * 2, src + size_t{i} * kDeepPixelBytes + channel * 2,
                littleEndian, depth);
    }
  }
}

void ChannelRows_Split16Packed(const uint8_t* src, uint32_t pixels, bool littleEndian,
                               unsigned depth, const ChannelRowsRgb& out) {
  for (size_t channel = 0; channel < kChannels; ++channel) {
    packChannel(src + channel * 2, pixels, littleEndian, depth, out[channel]);
  }
}

void ChannelRows_Extract(const uint8_t* src, size_t srcBytes, size_t channel, size_t sampleBytes,
                         size_t samples, uint8_t* dst) {
  const size_t pixelBytes = kCmykChannels * sampleBytes;
  const size_t whole = std::min(samples, srcBytes / pixelBytes);
  if (sampleBytes == 1) {
    extract8(src + channel, whole, dst);
  } else {
    for (size_t i = 0; i < whole; ++i) {
      std::memcpy(dst + 2 * i, src + i * pixelBytes + channel * 2, 2);
    }
  }
  for (size_t at = whole * sampleBytes; at < samples * sampleBytes; ++at) {
    const size_t from = at / sampleBytes * pixelBytes + channel * sampleBytes + at % sampleBytes;
    dst[at] = from < srcBytes ? src[from] : uint8_t{0};
  }
}

void ChannelRows_SplitHalves(const uint8_t* src, size_t count, uint8_t* high, uint8_t* low) {
  const uint8_t* __restrict from = src;  // told apart, compilers make 16 bytes at a time of it
  uint8_t* __restrict toHigh = high;
  uint8_t* __restrict toLow = low;
  for (size_t i = 0; i < count; ++i) {
    toHigh[i] = from[2 * i];
    toLow[i] = from[2 * i + 1];
  }
}
