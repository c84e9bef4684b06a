// PixelRows - reads the decoded rows of one plane as pixels. Holds tables only; rows do not depend
// on each other here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "RasterSink.h"

namespace jobrender {

class PixelRows {
 public:
  /// Pieces of a row begin at a multiple of this: whole bytes at every depth.
  static constexpr size_t kPieceStep = 8;

  /// False for the depths whose pixels are laid out in no defined way, and for an unknown one.
  static bool hasLayout(const jobreader::PlaneFormat& plane);
  /// True when a row is also one of a gray picture of the same depth (1, 2, 4 or 8), apart from
  /// which end of the scale is white.
  static bool isPlain(const jobreader::PlaneFormat& plane);

  /// @param plane    with a layout
  /// @param isLight  values are light, not ink; what a row leaves out is white in any case
  PixelRows(const jobreader::PlaneFormat& plane, bool isLight);

  /// Tones of pixels: 255 for paper, 0 for all of the ink or no light.
  /// @param row    decoded; what is missing at its end is blank
  /// @param first  pixel to begin with, a multiple of kPieceStep
  /// @param tones  one for each pixel; may go on behind the row and behind the plane's width
  void tones(std::span<const uint8_t> row, size_t first, std::span<uint8_t> tones) const;

  /// A whole row of a plain plane as one of a gray picture.
  /// @param out  may go on behind the row and behind the plane's width, where it is white
  void gray(std::span<const uint8_t> row, std::span<uint8_t> out) const;

 private:
  template <size_t kPixelsPerByte>
  size_t tonesOfBytes(std::span<const uint8_t> bytes, std::span<uint8_t> tones) const;
  size_t tonesOfWords(std::span<const uint8_t> bytes, std::span<uint8_t> tones) const;

  size_t bitsPerPixel_;
  uint32_t mask_;  // of the bits that hold the value
  uint8_t blank_;
  size_t width_;  // pixels behind these are blank, whatever the row says
  std::vector<uint8_t> toneOfValue_;
  std::vector<uint8_t> tonesOfByte_;  // of all pixels in a byte; empty above 8 bits
};

}  // namespace jobrender
