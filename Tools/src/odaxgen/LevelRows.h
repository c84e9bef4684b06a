// LevelRows - reduces 8-bit samples to ink levels of 2 or 4 bits. Pure: bytes in, bytes out.
#pragma once

#include <cstdint>

/// How a sample becomes a level.
struct LevelRule {
  const uint8_t* table;  // 256 levels by sample; null: the sample itself
  bool invert;           // complement the sample before the table
  unsigned depth;        // 2 or 4 bits; a level that does not fit keeps its low bits
};

/// Packs the levels of `count` samples, the first one in the highest bits. The last byte is filled
/// up with zero bits.
/// @param dst  room for `dstBytes` bytes; what does not fit is left out
/// @return bytes written
uint32_t LevelRows_Pack(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                        const LevelRule& rule);
