#include "PlainRowPacker.h"

#include <algorithm>

namespace twin {

namespace {

int lengthOfRun(const uint8_t* src, int from, int end) {
  int to = from;
  while (to < end && src[to] == src[from]) ++to;
  return to - from;
}

}  // namespace

// A segment ends behind its first run of three or more, or after 128 bytes.
int RowPacker_Pack(const uint8_t* src, int len, uint8_t* dst, int64_t /*capacity*/) {
  uint8_t* out = dst;
  for (int start = 0; start < len;) {
    const int end = std::min(start + 128, len);
    int run = start;
    while (run < end && lengthOfRun(src, run, end) < 3) ++run;
    if (run > start) {
      *out++ = static_cast<uint8_t>(run - start - 1);
      out = std::copy(src + start, src + run, out);
    }
    start = run;
    if (run < end) {
      const int count = lengthOfRun(src, run, end);
      *out++ = static_cast<uint8_t>(257 - count);
      *out++ = src[run];
      start += count;
    }
  }
  return static_cast<int>(out - dst);
}

}  // namespace twin
