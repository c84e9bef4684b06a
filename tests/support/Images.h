// Images - pictures for tests: their samples, the TIFF files that hold them, and the rows of ink
// levels that a printer must get of them. The levels follow the rule of reduction directly, sample
// by sample and bit by bit, and share no code with the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "TempFolder.h"

/// The samples of one channel as they stand in the file, row after row.
struct Samples {
  uint32_t width = 0;
  uint32_t height = 0;
  unsigned bits = 8;  // 1, 8 or 16 per sample
  std::vector<uint16_t> values;

  [[nodiscard]] uint16_t at(uint32_t x, uint32_t y) const {
    return values.at(size_t{y} * width + x);
  }
};

/// All samples equal.
Samples plain(uint32_t width, uint32_t height, unsigned bits, uint16_t value);
/// What `value(x, y)` gives.
template <class Rule>
Samples drawn(uint32_t width, uint32_t height, unsigned bits, Rule&& value) {
  Samples samples{width, height, bits, {}};
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      samples.values.push_back(static_cast<uint16_t>(value(x, y)));
  return samples;
}
/// A page as it comes in practice: runs, noise, white areas and rows that repeat the row above.
/// The same seed gives the same picture.
/// @param white  the sample that stands for no ink
Samples mixed(uint32_t width, uint32_t height, unsigned bits, uint16_t white, uint32_t seed);

/// How samples are stored.
struct FileForm {
  char order = 'I';
  uint32_t photometric = 1;
  uint32_t rowsPerStrip = 0;  // 0: all rows in one strip
  bool packed = false;        // PackBits
};

/// A TIFF file of one channel, or of several interleaved ones of the same size and bits.
Bytes tiffOf(const std::vector<Samples>& channels, const FileForm& form);
/// The rows of such a file, as they stand in it before compression.
std::vector<Bytes> fileRows(const std::vector<Samples>& channels, char order);

constexpr int kLevelsByDepth = 0;  // no table is set: depth 2 has 4 levels, depth 4 has 16
constexpr int kLevelsAll = 256;    // a sample is its own level
constexpr int kLevelsRaw = -1;     // samples untouched, not even inverted

/// The rows of a plane of `depth` bits per pixel, (width * depth + 7) / 8 bytes each.
/// @param levels  number of levels that samples are reduced to (2 to 6, 16), or one of the above
std::vector<Bytes> inkRows(const Samples& samples, uint32_t photometric, int depth, int levels);

/// The rows of one channel of an RGB page: samples are never inverted and never reduced. The bits
/// of the last byte past the width are ones.
std::vector<Bytes> rgbRows(const Samples& samples, int depth);
/// The same with every sample in two bytes, high byte first, the bits above its own set.
std::vector<Bytes> deepRgbRows(const Samples& samples, int depth);
