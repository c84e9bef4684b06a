#include "PlainBlankRows.h"

#include <algorithm>

namespace twin {

int BlankRows_SignificantLength(const uint8_t* row, int length, uint8_t blank) {
  while (length > 0 && row[length - 1] == blank) --length;
  return std::max(length, 0);
}

bool BlankRows_IsAll(const uint8_t* bytes, size_t count, uint8_t value) {
  return std::all_of(bytes, bytes + count, [value](uint8_t byte) { return byte == value; });
}

}  // namespace twin
