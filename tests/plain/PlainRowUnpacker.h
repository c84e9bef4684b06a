// PlainRowUnpacker - the plain twin of RowUnpacker: one byte after another.
#pragma once

#include "RowUnpacker.h"

namespace twin {

RowUnpackerStep RowUnpacker_Unpack(const uint8_t* src, size_t count, uint8_t* row, size_t room,
                                   int16_t* state);

}  // namespace twin
