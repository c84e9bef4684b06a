#include "PlainRowUnpacker.h"

namespace twin {

RowUnpackerStep RowUnpacker_Unpack(const uint8_t* src, size_t count, uint8_t* row, size_t room,
                                   int16_t* state) {
  RowUnpackerStep done{0, 0};
  while (done.used < count && done.written < room) {
    const uint8_t byte = src[done.used++];
    if (*state < 0) {  // a literal
      row[done.written++] = byte;
      ++*state;
    } else if (*state > 0) {  // the byte of a run
      for (; *state > 0 && done.written < room; --*state) row[done.written++] = byte;
      *state = 0;
    } else if (byte < 128) {
      *state = static_cast<int16_t>(-1 - byte);
    } else if (byte > 128) {
      *state = static_cast<int16_t>(257 - byte);
    }
  }
  return done;
}

}  // namespace twin
