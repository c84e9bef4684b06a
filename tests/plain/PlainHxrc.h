// PlainHxrc - the plain twin of the HXRC row compressor, with prefix codes of its own.
#pragma once

#include <vector>

#include "hxrc.h"

namespace twin {

uint32_t HXRC_Compress(uint8_t* out, const uint8_t* previous, const uint8_t* row, int length);

/// All bytes of the code, of which HXRC_Compress() returns the number modulo 65536.
std::vector<uint8_t> hxrcCode(const uint8_t* previous, const uint8_t* row, int length);

}  // namespace twin
