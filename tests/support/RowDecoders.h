// RowDecoders - what a printer does with the bytes of one row: PackBits, delta row and HXRC.
// Written from the receiving side and free of state; shares no code with the encoders.
// All throw std::runtime_error on data that a receiver could not make sense of.
#pragma once

#include <cstddef>

#include "TempFolder.h"

/// The bytes that a PackBits code stands for. The header 0x80 is refused: no encoder here has a
/// use for it.
Bytes decodePackBits(const Bytes& code);

/// The row that a delta-row code makes of the seed row.
Bytes decodeDeltaRow(const Bytes& code, const Bytes& seed);

/// The row of `rowBytes` bytes that an HXRC code stands for. The end code must come right behind
/// the last byte and be padded with zero bits to a whole byte, with nothing behind it.
/// @param above  the previous row, or null when the receiver has none
Bytes decodeHxrc(const Bytes& code, const Bytes* above, size_t rowBytes);
