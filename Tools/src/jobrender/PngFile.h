// PngFile - writes one PNG picture row by row. It appears under its name when it is complete; until
// then it stands beside it under another, and goes when it is given up.
// Knows nothing of what the pixels mean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace jobrender {

struct PngFormat {
  uint32_t width = 0;   // pixels, at least 1, at most kMaxSide
  uint32_t height = 0;  // the same
  int bitDepth = 8;     // gray: 1, 2, 4 or 8; colour: 8
  bool isColour = false;
  uint32_t xPixelsPerMetre = 0;  // 0 in either: the picture does not say its size
  uint32_t yPixelsPerMetre = 0;

  /// Of a row: gray pixels packed with the leftmost in the highest bits, colour as R, G, B.
  [[nodiscard]] size_t rowBytes() const {
    const size_t bits = isColour ? 24 : static_cast<size_t>(bitDepth);
    return (width * bits + 7) / 8;
  }
};

class PngFile {
 public:
  /// What the PNG library takes without being asked for more.
  static constexpr uint32_t kMaxSide = 1000000;

  /// Begins a picture.
  /// @param overwrite  false: a file of this name is an error
  /// @throws FileError
  PngFile(const std::string& path, const PngFormat& format, bool overwrite);
  /// Removes a picture that was not finished.
  ~PngFile();
  PngFile(const PngFile&) = delete;
  PngFile& operator=(const PngFile&) = delete;

  [[nodiscard]] const PngFormat& format() const;
  /// @param row  rowBytes() bytes; only borrowed
  /// @throws FileError; std::logic_error behind the last row
  void writeRow(std::span<const uint8_t> row);
  /// Completes the picture, once, after all its rows, and gives it its name.
  /// @throws FileError; std::logic_error when rows are missing
  void finish();

 private:
  class Writer;
  std::unique_ptr<Writer> writer_;
};

}  // namespace jobrender
