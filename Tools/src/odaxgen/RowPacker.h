// RowPacker - PackBits coding of one row. Pure: bytes in, bytes out.
#pragma once

#include <cstdint>

/// Encodes a row with PackBits (header n = 0..127: n+1 literal bytes; -127..-1: one byte repeated
/// 1-n times). Segments of at most 128 input bytes, runs of three or more.
///
/// @param src       `len` bytes
/// @param len       0 or less writes nothing
/// @param dst       room for len + (len + 127) / 128 bytes; must not overlap `src`
/// @param capacity  bytes that `dst` has; bounds each copy
/// @return bytes written
int RowPacker_Pack(const uint8_t* src, int len, uint8_t* dst, int64_t capacity);
