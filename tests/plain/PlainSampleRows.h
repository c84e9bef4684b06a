// PlainSampleRows - the plain twin of SampleRows: the same results, one sample after another.
#pragma once

#include "SampleRows.h"

namespace twin {

void SampleRows_Copy1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule);
void SampleRows_Copy8(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                      const SampleRule& rule);
void SampleRows_8to1(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                     const SampleRule& rule);
void SampleRows_8toLevels(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                          const SampleRule& rule, unsigned depth);
void SampleRows_16toPacked(const uint8_t* src, uint32_t count, uint8_t* dst, uint32_t dstBytes,
                           const SampleRule& rule, unsigned depth);
void SampleRows_PackGroup(const uint16_t* samples, unsigned depth, uint8_t* group);

}  // namespace twin
