#include "PixelRows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "InkColours.h"

namespace jobrender {

using jobreader::PlaneFormat;

namespace {

constexpr uint8_t kBlankInk = 0x00;
constexpr uint8_t kBlankLight = 0xFF;
constexpr int kWordBits = 16;
constexpr size_t kByteValues = 256;

constexpr std::array<int, 7> kDepths = {1, 2, 4, 8, 10, 12, 16};

// The value that stands for all of the ink. One level alone would make no picture: then, as when
// none are given, it is the highest that the depth has.
uint32_t topOf(const PlaneFormat& plane) {
  const uint32_t most = (uint32_t{1} << plane.depth) - 1;
  if (plane.levels < 2) return most;
  return std::min(most, static_cast<uint32_t>(plane.levels) - 1);
}

std::vector<uint8_t> toneTable(const PlaneFormat& plane, bool isLight) {
  const uint32_t top = topOf(plane);
  std::vector<uint8_t> table(size_t{1} << plane.depth);
  for (uint32_t value = 0; value < table.size(); ++value) {
    const auto level = static_cast<uint8_t>((std::min(value, top) * kPaper + top / 2) / top);
    table[value] = isLight ? level : static_cast<uint8_t>(kPaper - level);
  }
  return table;
}

// The tones of a byte's pixels, for each byte, the leftmost pixel first.
std::vector<uint8_t> byteTable(std::span<const uint8_t> toneOfValue, size_t bitsPerPixel) {
  const size_t mask = (size_t{1} << bitsPerPixel) - 1;
  std::vector<uint8_t> table;
  table.reserve(kByteValues * 8 / bitsPerPixel);
  for (size_t byte = 0; byte < kByteValues; ++byte) {
    for (size_t shift = 8; shift > 0; shift -= bitsPerPixel) {
      table.push_back(toneOfValue[byte >> (shift - bitsPerPixel) & mask]);
    }
  }
  return table;
}

}  // namespace

bool PixelRows::hasLayout(const PlaneFormat& plane) {
  if (plane.halves && plane.depth <= 8) return false;
  return std::find(kDepths.begin(), kDepths.end(), plane.depth) != kDepths.end();
}

bool PixelRows::isPlain(const PlaneFormat& plane) {
  return hasLayout(plane) && plane.depth <= 8 && topOf(plane) == (1U << plane.depth) - 1;
}

PixelRows::PixelRows(const PlaneFormat& plane, bool isLight)
    : bitsPerPixel_(static_cast<size_t>(plane.halves ? kWordBits : plane.depth)),
      mask_((uint32_t{1} << plane.depth) - 1),
      blank_(isLight ? kBlankLight : kBlankInk),
      width_(plane.width > 0 ? plane.width : std::numeric_limits<size_t>::max() / kWordBits) {
  if (!hasLayout(plane)) throw std::logic_error("a depth without a layout");
  toneOfValue_ = toneTable(plane, isLight);
  if (bitsPerPixel_ <= 8) tonesOfByte_ = byteTable(toneOfValue_, bitsPerPixel_);
}

void PixelRows::tones(std::span<const uint8_t> row, size_t first, std::span<uint8_t> tones) const {
  const size_t inPlane = first < width_ ? std::min(tones.size(), width_ - first) : 0;
  const std::span<uint8_t> drawn = tones.first(inPlane);
  const std::span<const uint8_t> rest =
      row.subspan(std::min(row.size(), first * bitsPerPixel_ / 8));
  size_t count = 0;
  switch (bitsPerPixel_) {
    case 1:
      count = tonesOfBytes<8>(rest, drawn);
      break;
    case 2:
      count = tonesOfBytes<4>(rest, drawn);
      break;
    case 4:
      count = tonesOfBytes<2>(rest, drawn);
      break;
    case 8:
      count = tonesOfBytes<1>(rest, drawn);
      break;
    default:
      count = tonesOfWords(rest, drawn);
      break;
  }
  std::fill(tones.begin() + static_cast<std::ptrdiff_t>(count), tones.end(), kPaper);
}

template <size_t kPixelsPerByte>
size_t PixelRows::tonesOfBytes(std::span<const uint8_t> bytes, std::span<uint8_t> tones) const {
  const size_t whole = std::min(bytes.size(), tones.size() / kPixelsPerByte);
  uint8_t* out = tones.data();
  for (size_t i = 0; i < whole; ++i) {
    // A constant size: one move for all pixels of a byte.
    std::memcpy(out, &tonesOfByte_[bytes[i] * kPixelsPerByte], kPixelsPerByte);
    out += kPixelsPerByte;
  }
  const size_t count = whole * kPixelsPerByte;
  if (whole == bytes.size() || count == tones.size()) return count;
  std::memcpy(out, &tonesOfByte_[bytes[whole] * kPixelsPerByte], tones.size() - count);
  return tones.size();
}

size_t PixelRows::tonesOfWords(std::span<const uint8_t> bytes, std::span<uint8_t> tones) const {
  const size_t begun = (bytes.size() * 8 + bitsPerPixel_ - 1) / bitsPerPixel_;
  const size_t count = std::min(begun, tones.size());
  const auto byteAt = [this, bytes](size_t i) -> uint32_t {
    return i < bytes.size() ? bytes[i] : blank_;
  };
  for (size_t pixel = 0; pixel < count; ++pixel) {
    // No pixel reaches into a fourth byte: 10 bits begin at an even bit, 12 at a multiple of 4.
    const size_t bit = pixel * bitsPerPixel_;
    const size_t at = bit / 8;
    const uint32_t window = byteAt(at) << 16 | byteAt(at + 1) << 8 | byteAt(at + 2);
    tones[pixel] = toneOfValue_[window >> (24 - bit % 8 - bitsPerPixel_) & mask_];
  }
  return count;
}

void PixelRows::gray(std::span<const uint8_t> row, std::span<uint8_t> out) const {
  const uint8_t inversion = blank_ ^ kBlankLight;
  const size_t bits = std::min({width_ * bitsPerPixel_, row.size() * 8, out.size() * 8});
  const size_t bytes = (bits + 7) / 8;
  std::transform(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(bytes), out.begin(),
                 [inversion](uint8_t byte) { return static_cast<uint8_t>(byte ^ inversion); });
  if (bits % 8 != 0) out[bytes - 1] |= static_cast<uint8_t>(0xFF >> (bits % 8));
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(bytes), out.end(), kBlankLight);
}

}  // namespace jobrender
