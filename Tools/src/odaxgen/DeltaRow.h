// DeltaRow - codes a row as its differences from a seed row. Pure: bytes in, bytes out.
#pragma once

#include <cstdint>

/// Encodes the bytes of `row` that differ from `seed`: commands of up to 8 replacement bytes, each
/// with its distance from the byte after the previous replacement. Equal rows give 0 bytes.
///
/// @param row    `len` bytes
/// @param seed   `len` bytes; null stands for a row of 0x00
/// @param out    room for `limit` bytes
/// @param limit  the most that the code may take
/// @return bytes written, or -1 when the code would need more than `limit` bytes
int DeltaRow_Encode(const uint8_t* row, const uint8_t* seed, int len, uint8_t* out, int limit);
