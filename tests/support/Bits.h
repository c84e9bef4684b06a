// Bits - bytes written as bits.
#pragma once

#include <cstdint>
#include <string_view>

#include "TempFolder.h"

/// Bytes from bits, the highest of a byte first; blanks only group them, the last byte is filled
/// with zeros.
inline Bytes bits(std::string_view text) {
  Bytes bytes;
  unsigned count = 0;
  for (const char bit : text) {
    if (bit == ' ') continue;
    if (count % 8 == 0) bytes.push_back(0);
    if (bit == '1') bytes.back() = static_cast<uint8_t>(bytes.back() | 0x80U >> count % 8);
    ++count;
  }
  return bytes;
}
