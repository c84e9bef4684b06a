// BlankRows - finds out how much of a row is blank. Pure: bytes in, a number out.
#pragma once

#include <cstddef>
#include <cstdint>

/// The position behind the last byte of a row that is not `blank` (0x00 or 0xFF); 0 for a blank row
/// and for a length of 0 or less, for which `row` may be null.
int BlankRows_SignificantLength(const uint8_t* row, int length, uint8_t blank);

/// Whether all of `count` bytes, at least one, equal `value`.
bool BlankRows_IsAll(const uint8_t* bytes, size_t count, uint8_t value);
