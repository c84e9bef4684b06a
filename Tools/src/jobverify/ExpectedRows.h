// ExpectedRows - the bytes that a row of a plane must have, worked out from the samples of its
// image: inversion, levels, packing, the bits behind the last pixel. No files, no state but tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "JobRequest.h"
#include "TiffImage.h"

namespace jobverify {

/// Bytes of a plane's row as it is sent: ceil(width * depth / 8), two per pixel for halves.
size_t sentRowBytes(const PlaneRequest& plane);

/// The level that a sample of 8 bits becomes, before it is cut to the depth. `levels` as in
/// PlaneRequest, 0 with depth 2 or 4 only.
unsigned levelOf(unsigned ink, int levels, int depth);

class ExpectedRows {
 public:
  /// @param facts  of the plane's file; not looked at when the plane has no samples
  ExpectedRows(const PlaneRequest& plane, const ImageFacts& facts);

  [[nodiscard]] size_t size() const { return size_; }

  /// A row that no sample is written to.
  void clear(std::span<uint8_t> row) const;
  /// The row of a row of samples.
  /// @param samples  as TiffImage gives them
  /// @param row      size() bytes
  void pack(std::span<const uint8_t> samples, std::span<uint8_t> row) const;

 private:
  enum class Layout { kBits, kReduced, kWords, kDeep };

  [[nodiscard]] Layout layoutOf(unsigned bits) const;
  void chooseInversion(const ImageFacts& facts);
  void fillTable();
  [[nodiscard]] unsigned reduced(unsigned sample) const;
  void packBits(std::span<const uint8_t> samples, std::span<uint8_t> row) const;
  void packReduced(std::span<const uint8_t> samples, std::span<uint8_t> row) const;
  void packWords(std::span<const uint8_t> samples, std::span<uint8_t> row) const;
  void packDeep(std::span<const uint8_t> samples, std::span<uint8_t> row) const;
  [[nodiscard]] unsigned wordAt(std::span<const uint8_t> samples, size_t x) const;

  PlaneRequest plane_;
  size_t size_;
  Layout layout_ = Layout::kBits;
  size_t samplesPerPixel_ = 1;
  size_t channel_ = 0;
  bool inverts_ = false;
  bool zeroIsNoDot_ = false;  // of 8 bits into 1
  bool padsWithOnes_ = false;
  std::array<uint8_t, 256> table_{};  // what a sample of 8 bits becomes, cut to the depth
};

}  // namespace jobverify
