// PlainDeltaRow - the plain twin of DeltaRow.
#pragma once

#include "DeltaRow.h"

namespace twin {

int DeltaRow_Encode(const uint8_t* row, const uint8_t* seed, int len, uint8_t* out, int limit);

}  // namespace twin
