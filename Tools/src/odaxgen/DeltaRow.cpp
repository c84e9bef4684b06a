#include "DeltaRow.h"

#include <algorithm>
#include <cstring>

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

}  // namespace

int DeltaRow_Encode(const uint8_t* row, const uint8_t* seed, int len, uint8_t* out, int limit) {
  const auto isEqual = [row, seed](int i) { return row[i] == (seed == nullptr ? 0 : seed[i]); };
  Output output(out, limit);
  int replaced = 0;  // the byte behind the last replacement
  for (int at = 0; !output.isTooLong();) {
    while (at < len && isEqual(at)) ++at;
    if (at >= len) break;
    int end = at + 1;
    while (end < len && !isEqual(end)) ++end;

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
