// RowUnpacker - PackBits decoding of rows that arrive in pieces. Pure: bytes in, bytes out.
#pragma once

#include <cstddef>
#include <cstdint>

/// What one call has done: bytes taken from the source, bytes written to the row.
struct RowUnpackerStep {
  size_t used;
  size_t written;
};

/// Decodes until the row is full or the source is used up. A literal run that does not fit goes on
/// in the next call; copies that do not fit are dropped, on purpose: encoders end runs with rows.
///
/// @param src    `count` bytes
/// @param row    room for `room` bytes; those behind what is reported may change too
/// @param state  where the decoder stands, 0 at the start of a strip: below 0 so many literals are
///               to come, above 0 the next byte is to be written so many times
RowUnpackerStep RowUnpacker_Unpack(const uint8_t* src, size_t count, uint8_t* row, size_t room,
                                   int16_t* state);
