// PlainBlankRows - the plain twin of BlankRows.
#pragma once

#include "BlankRows.h"

namespace twin {

int BlankRows_SignificantLength(const uint8_t* row, int length, uint8_t blank);
bool BlankRows_IsAll(const uint8_t* bytes, size_t count, uint8_t value);

}  // namespace twin
