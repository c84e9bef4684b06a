// RowBlankness - the test for blank rows, a memory comparison instead of a loop over bytes. No
// state.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

namespace jobreader {

/// True when every byte has this value; of no bytes too.
inline bool isAll(std::span<const uint8_t> bytes, uint8_t value) {
  if (bytes.empty()) return true;
  // The first byte is right, and each one equals the one before it.
  return bytes[0] == value && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

}  // namespace jobreader
