#include "ChannelRows.h"

#include <algorithm>
#include <cstring>

#include "SampleRows.h"
#include "Words.h"

namespace {

constexpr size_t kChannels = 3;
constexpr size_t kDeepPixelBytes = 6;
constexpr size_t kCmykChannels = 4;

// Three samples of a pixel go out in one pass, as far as all three rows have room.
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

constexpr uint32_t kBlockPixels = 32;

// Whether the pixels of a block are all the same, as paper and full tints are: no byte differs from
// the same one of the next pixel.
template <size_t kPixelBytes>
bool isFlat(const uint8_t* src) {
  return std::memcmp(src, src + kPixelBytes, (kBlockPixels - 1) * kPixelBytes) == 0;
}

// The sample of the first pixel for a whole block.
template <class Sample>
void fillBlock(uint8_t* dst, Sample sample) {
  constexpr uint64_t kEverySample = ~uint64_t{0} / static_cast<Sample>(~Sample{0});
  for (size_t at = 0; at < kBlockPixels * sizeof(Sample); at += words::kBytes) {
    words::store(dst + at, sample * kEverySample);
  }
}

template <bool kLittleEndian>
void splitDeep(const uint8_t* src, uint32_t pixels, unsigned depth, const ChannelRowsRgb& out) {
  uint8_t* const red = out[0].bytes;
  uint8_t* const green = out[1].bytes;
  uint8_t* const blue = out[2].bytes;
  const auto stored = [depth](const uint8_t* sample) {
    return words::swapped(deepSample(sampleAt(sample, kLittleEndian), depth));
  };
  for (uint32_t first = 0; first < pixels; first += kBlockPixels) {
    const uint32_t count = std::min(kBlockPixels, pixels - first);
    const uint8_t* pixel = src + size_t{first} * kDeepPixelBytes;
    size_t at = size_t{first} * 2;
    if (count == kBlockPixels && isFlat<kDeepPixelBytes>(pixel)) {
      fillBlock(red + at, stored(pixel));
      fillBlock(green + at, stored(pixel + 2));
      fillBlock(blue + at, stored(pixel + 4));
      continue;
    }
    for (uint32_t i = 0; i < count; ++i, at += 2, pixel += kDeepPixelBytes) {
      words::store(red + at, stored(pixel));
      words::store(green + at, stored(pixel + 2));
      words::store(blue + at, stored(pixel + 4));
    }
  }
}

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

// Four bytes of every fourth sample, from a word of 8-bit samples each.
void extract8(const uint8_t* __restrict src, size_t samples, uint8_t* __restrict dst) {
  for (size_t i = 0; i < samples; ++i) dst[i] = src[i * kCmykChannels];
}

}  // namespace

void ChannelRows_Split8(const uint8_t* src, uint32_t pixels, const ChannelRowsRgb& out) {
  const uint32_t common = commonCount(out, pixels, 1);
  uint8_t* const red = out[0].bytes;
  uint8_t* const green = out[1].bytes;
  uint8_t* const blue = out[2].bytes;
  for (uint32_t first = 0; first < common; first += kBlockPixels) {
    const uint32_t count = std::min(kBlockPixels, common - first);
    const uint8_t* block = src + size_t{first} * kChannels;
    if (count == kBlockPixels && isFlat<kChannels>(block)) {
      fillBlock(red + first, block[0]);
      fillBlock(green + first, block[1]);
      fillBlock(blue + first, block[2]);
      continue;
    }
    for (uint32_t i = 0; i < count; ++i) {
      red[first + i] = block[kChannels * i];
      green[first + i] = block[kChannels * i + 1];
      blue[first + i] = block[kChannels * i + 2];
    }
  }
  // Rows of different lengths take what is left one by one.
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const uint32_t count = std::min(pixels, out[channel].count);
    for (uint32_t i = common; i < count; ++i) {
      out[channel].bytes[i] = src[size_t{i} * kChannels + channel];
    }
  }
}

void ChannelRows_Split16Wide(const uint8_t* src, uint32_t pixels, bool littleEndian, unsigned depth,
                             const ChannelRowsRgb& out) {
  const uint32_t common = commonCount(out, pixels, 2);
  if (littleEndian) {
    splitDeep<true>(src, common, depth, out);
  } else {
    splitDeep<false>(src, common, depth, out);
  }
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const uint32_t count = std::min(pixels, out[channel].count / 2);
    for (uint32_t i = common; i < count; ++i) {
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
  const uint8_t* __restrict bytes = src;
  uint8_t* __restrict highs = high;
  uint8_t* __restrict lows = low;
  for (size_t i = 0; i < count; ++i) highs[i] = bytes[2 * i];
  for (size_t i = 0; i < count; ++i) lows[i] = bytes[2 * i + 1];
}
