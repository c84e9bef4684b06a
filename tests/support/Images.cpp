#include "Images.h"

#include <algorithm>
#include <random>

#include "TiffWriter.h"

namespace {

// Writes numbers of any width, most significant bit first.
class BitRow {
 public:
  void put(unsigned value, unsigned bits) {
    while (bits-- > 0) {
      if (used_ % 8 == 0) bytes_.push_back(0);
      bytes_.back() = static_cast<uint8_t>(bytes_.back() | (value >> bits & 1U) << (7 - used_ % 8));
      ++used_;
    }
  }
  void fillUp(unsigned bit) {
    while (used_ % 8 != 0) put(bit, 1);
  }
  [[nodiscard]] const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  size_t used_ = 0;
};

constexpr uint32_t kPhotometricWhiteIsZero = 0;
constexpr uint32_t kPhotometricSeparated = 5;

unsigned largest(unsigned bits) {
  return (1U << bits) - 1;
}

unsigned levelOf(unsigned sample, int depth, int levels) {
  if (levels == kLevelsByDepth) levels = depth == 2 ? 4 : 16;
  if (levels == kLevelsAll) return sample;
  if (levels == 2) return sample < 140 ? 0 : 1;
  return sample * static_cast<unsigned>(levels) / 256;
}

// One sample of 8 bits as a dot. The sign of the byte decides: 128 and more are no ink.
bool dotOf(unsigned sample, bool zeroIsNoInk) {
  return sample < 128 && (sample > 0 || !zeroIsNoInk);
}

}  // namespace

Samples plain(uint32_t width, uint32_t height, unsigned bits, uint16_t value) {
  return {width, height, bits, std::vector<uint16_t>(size_t{width} * height, value)};
}

Samples mixed(uint32_t width, uint32_t height, unsigned bits, uint16_t white, uint32_t seed) {
  std::mt19937 random(seed);
  const auto below = [&random](uint32_t end) { return static_cast<uint32_t>(random() % end); };
  const auto any = [&] { return static_cast<uint16_t>(random() & largest(bits)); };
  Samples samples{width, height, bits, {}};
  std::vector<uint16_t> row(width, white);
  uint32_t sameKind = 0;
  uint32_t kind = 0;
  for (uint32_t y = 0; y < height; ++y) {
    if (sameKind == 0) {
      kind = below(6);
      sameKind = 1 + below(kind == 0 ? 40 : 8);
    }
    --sameKind;
    if (kind == 0) std::fill(row.begin(), row.end(), white);
    if (kind == 1) std::generate(row.begin(), row.end(), any);
    if (kind == 2 && width > 0) row[below(width)] = any();  // the row above but for one sample
    if (kind >= 4) {                                        // runs, some of them white
      for (uint32_t x = 0; x < width;) {
        const uint32_t run = std::min(width - x, 1 + below(40));
        const uint16_t value = below(3) == 0 ? white : any();
        std::fill_n(row.begin() + x, run, value);
        x += run;
      }
    }
    samples.values.insert(samples.values.end(), row.begin(), row.end());
  }
  return samples;
}

std::vector<Bytes> fileRows(const std::vector<Samples>& channels, char order) {
  std::vector<Bytes> rows;
  const Samples& first = channels.front();
  for (uint32_t y = 0; y < first.height; ++y) {
    BitRow bits;
    Bytes row;
    for (uint32_t x = 0; x < first.width; ++x) {
      for (const Samples& channel : channels) {
        if (first.bits < 16) {
          bits.put(channel.at(x, y), first.bits);
        } else {
          const uint16_t sample = channel.at(x, y);
          const auto high = static_cast<uint8_t>(sample >> 8);
          const auto low = static_cast<uint8_t>(sample);
          row.push_back(order == 'M' ? high : low);
          row.push_back(order == 'M' ? low : high);
        }
      }
    }
    rows.push_back(first.bits < 16 ? bits.bytes() : row);
  }
  return rows;
}

Bytes tiffOf(const std::vector<Samples>& channels, const FileForm& form) {
  const Samples& first = channels.front();
  TiffPage page;
  page.order = form.order;
  page.width = first.width;
  page.height = first.height;
  page.bits.assign(channels.size(), first.bits);
  page.photometric = form.photometric;
  page.compression = form.packed ? kPackBits : kUncompressed;
  const uint32_t all = std::max(first.height, 1U);
  const uint32_t perStrip = form.rowsPerStrip == 0 ? all : form.rowsPerStrip;
  page.rowsPerStrip = perStrip;
  page.strips = stripsOf(fileRows(channels, form.order), perStrip, page.compression);
  return tiffFile(page);
}

std::vector<Bytes> inkRows(const Samples& samples, uint32_t photometric, int depth, int levels) {
  const bool raw = levels == kLevelsRaw;
  const bool inkGrows =
      photometric == kPhotometricWhiteIsZero || photometric == kPhotometricSeparated;
  // Pages of one bit take no notice of "separated": only WhiteIsZero leaves them as they are.
  const bool inverts =
      !raw && (samples.bits == 1 ? photometric != kPhotometricWhiteIsZero : !inkGrows);
  const unsigned largestSample = largest(samples.bits);
  const auto width = static_cast<unsigned>(depth);
  std::vector<Bytes> rows;
  for (uint32_t y = 0; y < samples.height; ++y) {
    BitRow row;
    for (uint32_t x = 0; x < samples.width; ++x) {
      const unsigned sample = samples.at(x, y);
      const unsigned ink = inverts ? largestSample - sample : sample;
      if (samples.bits == 1) {
        row.put(ink, 1);
      } else if (samples.bits == 16) {
        row.put(ink >> (16 - width), width);
      } else if (depth == 1) {
        row.put(dotOf(sample, raw || inkGrows) ? 1 : 0, 1);
      } else if (depth == 8) {
        row.put(ink, 8);
      } else {
        row.put(levelOf(ink, depth, levels) & largest(width), width);
      }
    }
    row.fillUp(raw && samples.bits == 16 && !inkGrows ? 1 : 0);
    rows.push_back(row.bytes());
  }
  return rows;
}

std::vector<Bytes> rgbRows(const Samples& samples, int depth) {
  const auto width = static_cast<unsigned>(depth);
  std::vector<Bytes> rows;
  for (uint32_t y = 0; y < samples.height; ++y) {
    BitRow row;
    for (uint32_t x = 0; x < samples.width; ++x)
      row.put(static_cast<unsigned>(samples.at(x, y)) >> (samples.bits - width), width);
    row.fillUp(1);
    rows.push_back(row.bytes());
  }
  return rows;
}

std::vector<Bytes> deepRgbRows(const Samples& samples, int depth) {
  const auto width = static_cast<unsigned>(depth);
  std::vector<Bytes> rows;
  for (uint32_t y = 0; y < samples.height; ++y) {
    BitRow row;
    for (uint32_t x = 0; x < samples.width; ++x) {
      row.put(largest(16 - width), 16 - width);
      row.put(static_cast<unsigned>(samples.at(x, y)) >> (samples.bits - width), width);
    }
    rows.push_back(row.bytes());
  }
  return rows;
}
