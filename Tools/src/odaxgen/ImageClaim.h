// ImageClaim - how large an image may say it is. Rows that are not in the file are delivered all
// the same, as a file that was cut short has always been; so a file of a hundred bytes could ask
// for hours of rows. Arithmetic only.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>

#include "Limits.h"

/// Bytes of a band that rows are written to: as many as the image has. Those of an RGB image are
/// filled with ink-free samples however low it is, unless the band cannot be made at all.
constexpr uint64_t bandBytesOf(uint32_t rows, uint32_t rowBytes, unsigned bitsPerPixel) {
  const bool isRgb = bitsPerPixel == 24 || bitsPerPixel == 48;
  if (isRgb) rows = uint64_t{rowBytes} / 3 * kBandRows <= INT_MAX ? kBandRows : 0;
  return std::min<uint64_t>(rows, kBandRows) * rowBytes;
}

/// Whether an image says that it is larger than its file can be meant to be: in all, which takes
/// time, or in one band, which takes memory.
///
/// No file that holds its rows is found too small, but for blank RGB images of a few rows that are
/// hundreds of thousands of pixels wide: a row takes at least one byte of the file, PackBits makes
/// 64 bytes of one at most, and the factor leaves room for strips that several places of the page
/// share.
/// @param rowBytes   of one row, decoded
/// @param fileBytes  of the file; 0: nobody knows, and nothing is too large
constexpr bool isClaimBeyondFile(uint32_t rows, uint32_t rowBytes, unsigned bitsPerPixel,
                                 uint64_t fileBytes) {
  constexpr uint64_t kGranted = uint64_t{1} << 31U;  // bytes, also of a file that was cut short
  constexpr uint64_t kGrantedBand = uint64_t{1} << 28U;
  constexpr uint64_t kGrantedPerByte = 1024;
  constexpr uint64_t kCostOfRow = 64;  // in bytes, beside its own
  constexpr uint64_t kMostFileBytes = uint64_t{1} << 53U;
  if (fileBytes == 0) return false;
  const uint64_t byFile = std::min(fileBytes, kMostFileBytes) * kGrantedPerByte;
  return rows * (rowBytes + kCostOfRow) > kGranted + byFile ||
         bandBytesOf(rows, rowBytes, bitsPerPixel) > kGrantedBand + byFile;
}
