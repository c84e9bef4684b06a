#include "BenchRows.h"

#include <algorithm>

namespace bench {

namespace {

constexpr size_t kGlyph = 48;       // dots from letter to letter
constexpr size_t kStroke = 7;       // dots across a stroke
constexpr size_t kStrokeRows = 20;  // rows that a stroke stays as it is

// A number that looks random, the same for the same place.
uint32_t hash(size_t a, size_t b) {
  uint64_t mixed = (uint64_t{a} << 32U) + b + 0x9E3779B97F4A7C15U;
  mixed = (mixed ^ mixed >> 30U) * 0xBF58476D1CE4E5B9U;
  mixed = (mixed ^ mixed >> 27U) * 0x94D049BB133111EBU;
  return static_cast<uint32_t>(mixed ^ mixed >> 31U);
}

// Letters of one, two or three strokes; every seventh is a blank. Edges lie between dots.
uint8_t textAt(size_t x, size_t y) {
  const size_t letter = x / kGlyph;
  const uint32_t shape = hash(letter, y / kStrokeRows);
  if (shape % 7 == 0) return 0;
  const size_t spacing = 12 + shape % 3 * 6;
  const size_t within = x % kGlyph % spacing;
  if (within > kStroke) return 0;
  const bool isEdge = within == 0 || within == kStroke;
  return static_cast<uint8_t>(isEdge ? 32 + hash(letter, y / 4) % 192 : 255);
}

uint8_t gradientAt(size_t x, size_t y) {
  return static_cast<uint8_t>((x * 255 / kRowSamples + y / 8) % 256);
}

// Light and shade over many dots, and the grain of a few levels.
uint8_t photoAt(size_t x, size_t y) {
  const size_t wave = x % 1600 < 800 ? x % 800 : 800 - x % 800;
  const auto shade = static_cast<uint32_t>(40 + wave / 5 + (y / 3) % 16);
  return static_cast<uint8_t>(shade + hash(x, y) % 8);
}

uint8_t mixedAt(size_t x, size_t y) {
  const size_t percent = x * 100 / kRowSamples;
  if (percent < 8 || percent >= 92 || (percent >= 45 && percent < 52)) return 0;
  if (percent < 45) return textAt(x, y);
  if (percent < 70) return photoAt(x, y);
  return percent < 80 ? gradientAt(x, y) : uint8_t{0};
}

uint8_t sampleAt(RowKind kind, size_t x, size_t y) {
  switch (kind) {
    case RowKind::kText:
      return textAt(x, y);
    case RowKind::kGradient:
      return gradientAt(x, y);
    case RowKind::kPhoto:
      return photoAt(x, y);
    case RowKind::kMixed:
      return mixedAt(x, y);
    case RowKind::kWhite:
      break;
  }
  return 0;
}

}  // namespace

Bytes makeSamples(RowKind kind, size_t y) {
  Bytes row(kRowSamples);
  for (size_t x = 0; x < row.size(); ++x) row[x] = sampleAt(kind, x, y);
  return row;
}

Bytes makeBits(RowKind kind, size_t y) {
  // Thresholds of four rows of four dots.
  constexpr uint8_t kScreen[16] = {8,  136, 40, 168, 200, 72,  232, 104,
                                   56, 184, 24, 152, 248, 120, 216, 88};
  Bytes row(kRowSamples / 8);
  for (size_t x = 0; x < kRowSamples; ++x) {
    if (sampleAt(kind, x, y) < kScreen[y % 4 * 4 + x % 4]) continue;
    row[x / 8] |= static_cast<uint8_t>(0x80U >> x % 8);
  }
  return row;
}

Bytes makePixels(RowKind kind, size_t y, size_t channels, size_t sampleBytes) {
  Bytes row;
  row.reserve(kRowSamples * channels * sampleBytes);
  for (size_t x = 0; x < kRowSamples; ++x) {
    for (size_t channel = 0; channel < channels; ++channel) {
      const uint8_t sample = sampleAt(kind, x, y);
      const bool isPlain = sample == 0 || sample == 255;
      row.push_back(isPlain ? sample : static_cast<uint8_t>(sample - sample / 4 * channel / 4));
      if (sampleBytes == 2) {
        row.push_back(isPlain ? sample : static_cast<uint8_t>(hash(x, y + channel)));
      }
    }
  }
  return row;
}

}  // namespace bench
