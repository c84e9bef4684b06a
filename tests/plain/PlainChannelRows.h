// PlainChannelRows - the plain twin of ChannelRows.
#pragma once

#include "ChannelRows.h"

namespace twin {

void ChannelRows_Split8(const uint8_t* src, uint32_t pixels, const ChannelRowsRgb& out);
void ChannelRows_Split16Wide(const uint8_t* src, uint32_t pixels, bool littleEndian, unsigned depth,
                             const ChannelRowsRgb& out);
void ChannelRows_Split16Packed(const uint8_t* src, uint32_t pixels, bool littleEndian,
                               unsigned depth, const ChannelRowsRgb& out);
void ChannelRows_Extract(const uint8_t* src, size_t srcBytes, size_t channel, size_t sampleBytes,
                         size_t samples, uint8_t* dst);
void ChannelRows_SplitHalves(const uint8_t* src, size_t count, uint8_t* high, uint8_t* low);

}  // namespace twin
