#include "DeltaRow.h"

#include <algorithm>

#include "EqualBytes.h"
#include "Words.h"

namespace {

constexpr int kMaxReplacements = 8;  // bytes of one command: three bits hold the count minus 1
constexpr int kLongOffset = 31;      // five bits; this value says that extension bytes follow
constexpr int kFullExtension = 255;  // says that another extension byte follows

// Writes the commands of a row into a buffer with a limit; remembers when that was too small.
class Commands {
 public:
  Commands(const uint8_t* row, int len, uint8_t* out, int limit)
      : row_(row), len_(len), out_(out), limit_(limit) {}

  /// Replaces the bytes [begin, end) of the row. False when there is no room.
  bool replace(int begin, int end) {
    int offset = begin - replaced_;
    replaced_ = end;
    const int count = end - begin;
    // Most commands are short, and nobody can foresee how short: eight bytes are moved for any of
    // them, and what is too much is written over by the next one.
    const bool isShort = count <= kMaxReplacements && offset < kLongOffset;
    if (isShort && begin + kMaxReplacements <= len_ && used_ + kMaxReplacements < limit_) {
      putQuickly(offset, begin, count);
      return true;
    }
    if (offset < kLongOffset && hasRoomFor(begin, end)) {
      for (; end - begin > kMaxReplacements; begin += kMaxReplacements, offset = 0) {
        putQuickly(offset, begin, kMaxReplacements);
      }
      putQuickly(offset, begin, end - begin);
      return true;
    }
    for (; begin < end && used_ <= limit_; offset = 0) {
      const int part = std::min(end - begin, kMaxReplacements);
      put(offset, row_ + begin, part);
      begin += part;
    }
    return used_ <= limit_;
  }

  /// Bytes written, or -1.
  [[nodiscard]] int used() const { return used_ <= limit_ ? used_ : -1; }

 private:
  // For all commands of a run by putQuickly(): they take no more than twice its bytes.
  [[nodiscard]] bool hasRoomFor(int begin, int end) const {
    const int64_t most = 2 * (int64_t{end} - begin + kMaxReplacements);
    return end <= len_ - kMaxReplacements && used_ + most < limit_;
  }

  // One command without a call, where row and buffer go on for eight bytes more.
  void putQuickly(int offset, int begin, int count) {
    out_[used_] = static_cast<uint8_t>((count - 1) << 5 | offset);
    words::store(out_ + used_ + 1, words::load(row_ + begin));
    used_ += 1 + count;
  }

  void put(int offset, const uint8_t* bytes, int count) {
    putByte((count - 1) << 5 | std::min(offset, kLongOffset));
    if (offset >= kLongOffset) {
      int rest = offset - kLongOffset;
      for (; rest >= kFullExtension; rest -= kFullExtension) putByte(kFullExtension);
      putByte(rest);
    }
    if (used_ + count <= limit_) std::copy_n(bytes, count, out_ + used_);
    used_ += count;
  }
  void putByte(int byte) {
    if (used_ < limit_) out_[used_] = static_cast<uint8_t>(byte);
    ++used_;
  }

  const uint8_t* row_;
  int len_;
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
  Commands commands(row, len, out, limit);
  const auto replace = [&commands](int begin, int end) { return commands.replace(begin, end); };
  if (seed == nullptr) {
    forEachByteRun(row, len, replace);
  } else {
    EqualBytes(row, seed, len).forEachDifference(replace);
  }
  return commands.used();
}
