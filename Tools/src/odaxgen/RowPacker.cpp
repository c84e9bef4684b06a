#include "RowPacker.h"

#include <algorithm>
#include <bit>

#include "CLibrary.h"
#include "ShortRuns.h"
#include "Words.h"
#include "zksafe.h"

namespace {

constexpr int kMaxSegment = 128;
constexpr int kMinRun = 3;

// Writes the items of one segment.
class Packer {
 public:
  Packer(const uint8_t* src, uint8_t* dst, int64_t capacity)
      : src_(src), dst_(dst), capacity_(static_cast<size_t>(capacity)) {}

  void literal(int from, int to) {
    const int count = to - from;
    if (count <= 0) return;
    dst_[written_++] = static_cast<uint8_t>(count - 1);
    const auto bytes = static_cast<size_t>(count);
    if (bytes <= std::min(capacity_, runs::kShort)) {
      runs::copy(dst_ + written_, src_ + from, bytes);
    } else {
      zk_memcpy(dst_ + written_, capacity_, src_ + from, bytes);
    }
    written_ += count;
  }

  void run(int from, int to) {
    dst_[written_++] = static_cast<uint8_t>(257 - (to - from));
    dst_[written_++] = src_[from];
  }

  [[nodiscard]] int written() const { return written_; }

 private:
  const uint8_t* src_;
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

// Knows where bytes of a row equal the next one, as bits for 64 bytes at a time, so that a search
// steps from run to run instead of from byte to byte.
class EqualNext {
 public:
  EqualNext(const uint8_t* row, int len) : row_(row), len_(len) {}

  /// The first of three equal bytes, from `from` on and all of them before `end`; `end` without.
  int firstOfThree(int from, int end) {
    for (; from < end; from = first_ + kBits) {
      show(from);
      const uint64_t threes = equal_ & (equal_ >> 1 | uint64_t{isNextEqual(first_ + kBits)} << 63);
      const uint64_t left = threes >> (from - first_);
      if (left == 0) continue;
      const int found = from + std::countr_zero(left);
      return found + kMinRun <= end ? found : end;
    }
    return end;
  }

  /// The position behind the bytes from `from` on that are equal, at most `end`.
  int behindRun(int from, int end) {
    for (; from < end; from = first_ + kBits) {
      show(from);
      const uint64_t different = ~equal_ >> (from - first_);
      if (different != 0) return std::min(from + std::countr_zero(different) + 1, end);
    }
    return end;
  }

 private:
  static constexpr int kBits = 64;

  [[nodiscard]] bool isNextEqual(int at) const { return at + 1 < len_ && row_[at] == row_[at + 1]; }

  void show(int at) {
    const int first = at - at % kBits;
    if (first == first_) return;
    first_ = first;
    equal_ = 0;
    if (first + kBits < len_) {
      for (int i = 0; i < kBits; i += words::kBytes) {
        const uint8_t* bytes = row_ + first + i;
        const uint64_t differences = words::load(bytes) ^ words::load(bytes + 1);
        equal_ |= uint64_t{words::topBits(words::zeroBytes(differences))} << i;
      }
      return;
    }
    for (int i = 0; i < kBits; ++i) equal_ |= uint64_t{isNextEqual(first + i)} << i;
  }

  const uint8_t* row_;
  int len_;
  int first_ = -1;      // the position that the lowest bit stands for
  uint64_t equal_ = 0;  // a bit is set when its byte equals the next one of the row
};

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
  Packer out(src, dst, capacity);
  EqualNext bytes(src, len);
  for (int start = 0; start < len;) {
    const int limit = len - start < kMaxSegment ? len : start + kMaxSegment;
    const int run = bytes.firstOfThree(start, limit);
    const int end = run < limit ? bytes.behindRun(run, limit) : limit;
    const bool isFull = end - start == kMaxSegment;
    emitSegment(out, start, run, end, end < limit ? kAtDifference : isFull ? kAtLimit : kAtEnd);
    start = end;
  }
  return out.written();
}
