#include "RowUnpacker.h"

#include <algorithm>

#include "ShortRuns.h"

namespace {

// What a header byte announces; 128 means nothing.
int announced(uint8_t header) {
  if (header < 128) return -(header + 1);
  return header == 128 ? 0 : 257 - header;
}

}  // namespace

RowUnpackerStep RowUnpacker_Unpack(const uint8_t* src, size_t count, uint8_t* row, size_t room,
                                   int16_t* state) {
  size_t used = 0;
  size_t written = 0;
  int pending = *state;
  while (written < room && used < count) {
    if (pending == 0) {
      pending = announced(src[used++]);
    } else if (pending < 0) {
      const size_t run = std::min({static_cast<size_t>(-pending), count - used, room - written});
      runs::copy(row + written, src + used, run);
      used += run;
      written += run;
      pending += static_cast<int>(run);
    } else {
      const size_t run = std::min(static_cast<size_t>(pending), room - written);
      runs::fill(row + written, src[used++], run);
      written += run;
      pending = 0;
    }
  }
  *state = static_cast<int16_t>(pending);
  return {used, written};
}
