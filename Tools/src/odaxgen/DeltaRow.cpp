#include "DeltaRow.h"

#include <algorithm>
#include <cstring>

#include "EqualBytes.h"
#include "ShortRuns.h"

namespace {

constexpr unsigned kMaxReplacements = 8;  // bytes of one command: three bits hold the count minus 1
constexpr int kLongOffset = 31;           // five bits; this value says that extension bytes follow
constexpr int kFullExtension = 255;       // says that another extension byte follows

// Writes the commands of a row into a buffer with a limit; remembers when that was too small.
class Commands {
 public:
  Commands(const uint8_t* row, uint8_t* out, int limit) : row_(row), out_(out), limit_(limit) {}

  /// Replaces the bytes [begin, end) of the row. False when there is no room.
  bool replace(int begin, int end) {
    int offset = begin - replaced_;
    replaced_ = end;
    for (; begin < end && used_ <= limit_; offset = 0) {
      const unsigned count = std::min(static_cast<unsigned>(end - begin), kMaxReplacements);
      put(offset, row_ + begin, count);
      begin += static_cast<int>(count);
    }
    return used_ <= limit_;
  }

  /// Bytes written, or -1.
  [[nodiscard]] int used() const { return used_ <= limit_ ? used_ : -1; }

 private:
  void put(int offset, const uint8_t* bytes, unsigned count) {
    putByte(static_cast<int>(count - 1) << 5 | std::min(offset, kLongOffset));
    if (offset >= kLongOffset) {
      int rest = offset - kLongOffset;
      for (; rest >= kFullExtension; rest -= kFullExtension) putByte(kFullExtension);
      putByte(rest);
    }
    const int end = used_ + static_cast<int>(count);
    if (end <= limit_) runs::copy(out_ + used_, bytes, count);
    used_ = end;
  }
  void putByte(int byte) {
    if (used_ < limit_) out_[used_] = static_cast<uint8_t>(byte);
    ++used_;
  }

  const uint8_t* row_;
  uint8_t* out_;
  int limit_;
  int used_ = 0;
  int replaced_ = 0;  // the byte behind the last replacement
};

// The same as EqualBytes with a row of zeros, which nobody has.
template <class Visit>
void forEachByteRun(const uint8_t* row, int len, Visit visit) {
  for (int begin = 0; begin < len;) {
    int end = begin;
    while (end < len && row[end] != 0) ++end;
    if (end > begin && !visit(begin, end)) return;
    begin = end + 1;
  }
}

}  // namespace

int DeltaRow_Encode(const uint8_t* row, const uint8_t* seed, int len, uint8_t* out, int limit) {
  if (limit < 0) return -1;
  Commands commands(row, out, limit);
  const auto replace = [&commands](int begin, int end) { return commands.replace(begin, end); };
  if (seed == nullptr) {
    forEachByteRun(row, len, replace);
  } else {
    EqualBytes(row, seed, len).forEachDifference(replace);
  }
  return commands.used();
}
