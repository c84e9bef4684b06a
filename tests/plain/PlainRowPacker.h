// PlainRowPacker - the plain twin of RowPacker.
#pragma once

#include "RowPacker.h"

namespace twin {

/// @param capacity  not looked at: the room that `dst` needs is enough
int RowPacker_Pack(const uint8_t* src, int len, uint8_t* dst, int64_t capacity);

}  // namespace twin
