#include "PlainDeltaRow.h"

#include <algorithm>
#include <vector>

namespace twin {

namespace {

void putCommand(std::vector<uint8_t>& code, int offset, const uint8_t* bytes, int count) {
  code.push_back(static_cast<uint8_t>((count - 1) * 32 + std::min(offset, 31)));
  if (offset >= 31) {
    for (offset -= 31; offset >= 255; offset -= 255) code.push_back(255);
    code.push_back(static_cast<uint8_t>(offset));
  }
  code.insert(code.end(), bytes, bytes + count);
}

}  // namespace

// All of the code first; then it is seen whether it fits.
int DeltaRow_Encode(const uint8_t* row, const uint8_t* seed, int len, uint8_t* out, int limit) {
  const auto differs = [=](int i) { return row[i] != (seed == nullptr ? 0 : seed[i]); };
  std::vector<uint8_t> code;
  int behind = 0;  // the last replacement
  for (int at = 0; at < len;) {
    int count = 0;
    while (count < 8 && at + count < len && differs(at + count)) ++count;
    if (count == 0) {
      ++at;
      continue;
    }
    putCommand(code, at - behind, row + at, count);
    at += count;
    behind = at;
  }
  const auto size = static_cast<int>(code.size());
  if (size > limit) return -1;
  std::copy(code.begin(), code.end(), out);
  return size;
}

}  // namespace twin
