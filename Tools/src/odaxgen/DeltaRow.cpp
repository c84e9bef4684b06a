#include "DeltaRow.h"

#include <algorithm>
#include <cstring>

#include "Words.h"

namespace {

constexpr int kMaxReplacements = 8;  // bytes of one command: three bits hold the count minus 1
constexpr int kLongOffset = 31;      // five bits; this value says that extension bytes follow
constexpr int kFullExtension = 255;  // says that another extension byte follows

// Appends to a buffer with a limit; remembers when it was too small.
class Output {
 public:
  Output(uint8_t* out, int limit) : out_(out), limit_(limit) {}

  void put(int byte) {
    if (used_ < limit_) out_[used_] = static_cast<uint8_t>(byte);
    ++used_;
  }
  void put(const uint8_t* bytes, int count) {
    if (used_ + count <= limit_) std::memcpy(out_ + used_, bytes, static_cast<size_t>(count));
    used_ += count;
  }
  [[nodiscard]] bool isTooLong() const { return used_ > limit_; }
  [[nodiscard]] int used() const { return used_; }

 private:
  uint8_t* out_;
  int limit_;
  int used_ = 0;
};

void putCommand(Output& out, int offset, const uint8_t* bytes, int count) {
  out.put((count - 1) << 5 | std::min(offset, kLongOffset));
  if (offset >= kLongOffset) {
    int rest = offset - kLongOffset;
    for (; rest >= kFullExtension; rest -= kFullExtension) out.put(kFullExtension);
    out.put(rest);
  }
  out.put(bytes, count);
}

// The first byte from `at` on that differs from the seed, or equals it; a null seed is a row of 0.
int firstDifferent(const uint8_t* row, const uint8_t* seed, int at, int len) {
  if (seed != nullptr) return at + words::countEqual(row + at, seed + at, len - at);
  while (at < len && row[at] == 0) ++at;
  return at;
}
int firstEqual(const uint8_t* row, const uint8_t* seed, int at, int len) {
  if (seed != nullptr) return at + words::countDifferent(row + at, seed + at, len - at);
  while (at < len && row[at] != 0) ++at;
  return at;
}

}  // namespace

int DeltaRow_Encode(const uint8_t* row, const uint8_t* seed, int len, uint8_t* out, int limit) {
  Output output(out, limit);
  int replaced = 0;  // the byte behind the last replacement
  while (!output.isTooLong()) {
    int at = firstDifferent(row, seed, replaced, len);
    if (at >= len) break;
    const int end = firstEqual(row, seed, at, len);
    int offset = at - replaced;
    for (; at < end && !output.isTooLong(); offset = 0) {
      const int count = std::min(end - at, kMaxReplacements);
      putCommand(output, offset, row + at, count);
      at += count;
    }
    replaced = at;
  }
  return output.isTooLong() ? -1 : output.used();
}
