// SampleRows - converts one row of image samples to the depth of a pixel buffer. Pure: bytes in,
// bytes out. The readers decide what to convert, this module how.
#pragma once

#include <cstdint>

/// How the samples of a row are to be read.
struct SampleRule {
  uint32_t width;      // pixels of the image
  bool invert;         // complement the samples, so that larger values mean more ink
  bool raw;            // samples as they are: no table
  bool inkIsPositive;  // the photometric interpretation counts ink upwards (WhiteIsZero, Separated)
  bool keepsBilevel;   // WhiteIsZero: rows of 1 bit are copied as they are
  bool littleEndian;   // byte order of 16-bit samples
  const uint8_t* table;  // 256 levels by sample; null: the sample itself
};

// `src` holds `count` samples or, for the two copies, bytes; `dst` is a row of `dstBytes` bytes.
// Nothing is written beyond it; a last incomplete group loses the bytes that do not fit.

/// 1 bit into depth 1: bytes copied or inverted; bits and bytes past the width are 0.
void SampleRows_Copy1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule);
/// 8 bits into depth 8: bytes copied or complemented; bytes past the width are 0.
void SampleRows_Copy8(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule);
/// 8 bits into depth 1, by the sign of the sample.
void SampleRows_8to1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                     const SampleRule& rule);
/// 8 bits into depth 2 or 4, through the table; levels that do not fit keep their low bits.
void SampleRows_8toLevels(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                          const SampleRule& rule, unsigned depth);
/// 16 bits into depth 10 or 12: the top bits of each sample, packed big-endian. A last incomplete
/// group is filled up with 0 bytes when ink counts upwards, with 0xFF bytes otherwise, before
/// inversion.
void SampleRows_16toPacked(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                           const SampleRule& rule, unsigned depth);

/// Packs one group of big-endian 16-bit samples: four into 5 bytes (depth 10) or two into 3 (12).
void SampleRows_PackGroup(const uint16_t* samples, unsigned depth, uint8_t* group);
