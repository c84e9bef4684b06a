#include "BlankRows.h"

#include <algorithm>
#include <cstring>

#include "Words.h"

int BlankRows_SignificantLength(const uint8_t* row, int length, uint8_t blank) {
  // From the end and by words, four at a time: most rows end in a long blank margin.
  constexpr int kBlockBytes = 4 * words::kBytes;
  const uint64_t blankWord = words::repeated(blank);
  for (; length >= kBlockBytes; length -= kBlockBytes) {
    const uint8_t* block = row + length - kBlockBytes;
    uint64_t differences = 0;
    for (int at = 0; at < kBlockBytes; at += words::kBytes) {
      differences |= words::load(block + at) ^ blankWord;
    }
    if (differences != 0) break;
  }
  while (length > 0 && row[length - 1] == blank) --length;
  return std::max(length, 0);
}

bool BlankRows_IsAll(const uint8_t* bytes, size_t count, uint8_t value) {
  // All equal to their neighbour and the first one right: one pass at the speed of memcmp.
  return bytes[0] == value && std::memcmp(bytes, bytes + 1, count - 1) == 0;
}
