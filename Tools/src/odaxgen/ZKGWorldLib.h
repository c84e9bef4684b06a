// ZKGWorldLib - the pixel buffer: a rectangle of pixels of one depth, rows padded to four bytes.
// The pipeline makes one per plane of a band, the image readers fill it, the band encoder reads
// it. No state.
#pragma once

#include <cstdint>

struct ZKRect {
  long top, left, bottom, right;  // in pixels; bottom and right are outside
};

/// One pixel buffer: record and pixels are one zero-filled block, released by a single free().
struct ZKGWorld {
  ZKGWorld* self;    // the record itself
  uint8_t* pixels;   // first byte of row 0, directly behind the record
  int32_t rowBytes;  // bytes per row, a multiple of 4
  ZKRect bounds;
  int16_t depth;  // bits per pixel
};

/// Makes a zero-filled pixel buffer.
///
/// @param out     receives the buffer; untouched on failure
/// @param depth   bits per pixel; 0 is stored as 32. Depths without a packing of their own (3, 5,
///                6, 7, 9, 11, 13 to 15 and everything above 16) take 4 bytes per pixel, on purpose
/// @param bounds  width = right - left, height = bottom - top
/// @param deep    not 0: pixels of 10 and 12 bits are stored in 16 bits
/// @return 0, or errno after a line on the error stream. A size over 2^31-1 bytes fails like a
///         failed allocation.
int32_t ZKNewGWorld(ZKGWorld** out, int16_t depth, const ZKRect* bounds, int32_t deep);

/// Sets all pixel bytes to 0x00 (no ink); null is ignored.
void ZKClearGWorld(ZKGWorld* world);
/// Sets all pixel bytes to 0xFF (white of RGB data); null is ignored.
void ZKClearGWorldRGB(ZKGWorld* world);
/// The same for the rows from `first` on, when those above it are all written to.
void ZKClearGWorldFrom(ZKGWorld* world, uint32_t first);
void ZKClearGWorldRGBFrom(ZKGWorld* world, uint32_t first);
