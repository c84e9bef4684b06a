#include "RowPacker.h"

#include <algorithm>
#include <cstring>

#include "CLibrary.h"
#include "EqualBytes.h"
#include "zksafe.h"

namespace {

constexpr int kMaxSegment = 128;
constexpr int kMinRun = 3;

// Writes the items of one segment.
class Packer {
 public:
  Packer(const uint8_t* src, int len, uint8_t* dst, int64_t capacity)
      : src_(src), len_(len), dst_(dst), capacity_(static_cast<size_t>(capacity)) {}

  void literal(int from, int to) {
    const int count = to - from;
    if (count <= 0) return;
    dst_[written_++] = static_cast<uint8_t>(count - 1);
    // Most literals are short, and nobody can foresee how short: 16 bytes are moved for any of
    // them, and what is too much is written over by what follows.
    const auto room = static_cast<int64_t>(capacity_) - written_;
    if (count <= kShort && from + kShort <= len_ && room >= kShort) {
      std::memcpy(dst_ + written_, src_ + from, kShort);
    } else {
      zk_memcpy(dst_ + written_, capacity_, src_ + from, static_cast<size_t>(count));
    }
    written_ += count;
  }

  void run(int from, int to) {
    dst_[written_++] = static_cast<uint8_t>(257 - (to - from));
    dst_[written_++] = src_[from];
  }

  [[nodiscard]] int written() const { return written_; }

 private:
  static constexpr int kShort = 16;

  const uint8_t* src_;
  int len_;
  uint8_t* dst_;
  size_t capacity_;
  int written_ = 0;
};

// The segment limit makes these messages impossible; one that appears tells of a broken packer.
void checkPair(const char* where, int count, int segment) {
  if (count > kMaxSegment) printError("%s:n1(%d), n(%d)\n", where, count, segment);
}
void checkWhole(const char* where, int segment) {
  if (segment > kMaxSegment) printError("%s:n(%d)\n", where, segment);
}

struct Labels {
  const char* literal;
  const char* run;
  const char* whole;
};
constexpr Labels kAtDifference = {"7", "8", nullptr};
constexpr Labels kAtLimit = {"1", "2", "3"};
constexpr Labels kAtEnd = {"4", "5", "5"};  // "5" twice, kept on purpose

// Emits the segment [start, end): a literal and the run that ends it, or a literal alone when `run`
// is the end.
void emitSegment(Packer& out, int start, int run, int end, const Labels& labels) {
  if (run == end) {
    checkWhole(labels.whole, end - start);
    out.literal(start, end);
    return;
  }
  checkPair(labels.literal, run - start, end - start);
  out.literal(start, run);
  checkPair(labels.run, end - run, end - start);
  out.run(run, end);
}

}  // namespace

// A segment ends behind its first run of three or more, at the segment limit or at the row's end. A
// run that crosses the limit is cut there, and its rest needs three equal bytes again.
int RowPacker_Pack(const uint8_t* src, int len, uint8_t* dst, int64_t capacity) {
  if (len <= 0) return 0;
  Packer out(src, len, dst, capacity);
  EqualBytes next(src, src + 1, len - 1);  // where a byte equals the next one
  for (int start = 0; start < len;) {
    const int limit = len - start < kMaxSegment ? len : start + kMaxSegment;
    // Two bytes that equal their next ones make three.
    const int last = limit - kMinRun + 1;
    const int found = next.firstTwoEqual(start, last);
    const int run = found < last ? found : limit;
    const int end = run < limit ? next.firstDifferent(run, limit - 1) + 1 : limit;
    const bool isFull = end - start == kMaxSegment;
    emitSegment(out, start, run, end, end < limit ? kAtDifference : isFull ? kAtLimit : kAtEnd);
    start = end;
  }
  return out.written();
}
