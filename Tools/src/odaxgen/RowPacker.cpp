#include "RowPacker.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "ByteMasks.h"
#include "CLibrary.h"
#include "EqualBytes.h"
#include "Words.h"
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
    zk_memcpy(dst_ + written_, capacity_, src_ + from, static_cast<size_t>(count));
    written_ += count;
  }

  void run(int from, int to) {
    dst_[written_++] = static_cast<uint8_t>(257 - (to - from));
    dst_[written_++] = src_[from];
  }

  // Most segments are short, and nobody can foresee how short. So as far as neither row nor buffer
  // ends, they are found by the bits of 64 bytes and put out with few branches: a page of text
  // takes two thirds of the time. Stops at a segment whose run does not begin within 64 bytes, or
  // near the end. Returns where the next segment begins.
  int quickSegments(int start) {
    const uint8_t* from = src_ + start;
    const uint8_t* const rowEnd = src_ + len_;
    uint8_t* out = dst_ + written_;
    const uint8_t* const outEnd = dst_ + capacity_;
    while (rowEnd - from >= kQuickRoom && outEnd - out >= kQuickRoom) {
      uint64_t equal = masks::equal(from, from + 1);
      if (!hasRun(equal)) break;
      Segment segment = firstOf(equal);
      int left = masks::kBytes;  // of the bytes that the bits stand for
      if (segment.bytes() > left) segment = wholeOf(segment, from);
      do {
        out = put(segment, from, out);
        from += segment.bytes();
        left -= segment.bytes();
        if (left <= 0) break;
        equal >>= segment.bytes();
        if (!hasRun(equal)) break;
        segment = firstOf(equal);
      } while (segment.bytes() <= left);
    }
    written_ = static_cast<int>(out - dst_);
    return static_cast<int>(from - src_);
  }

  [[nodiscard]] int written() const { return written_; }

 private:
  static constexpr int kPiece = 16;
  // More than a whole segment and what is looked at or moved behind it.
  static constexpr int kQuickRoom = 2 * masks::kBytes + kPiece + 1;

  struct Segment {
    int literals, copies;
    [[nodiscard]] int bytes() const { return literals + copies; }
  };

  // A bit says that a byte equals the next one; so two of them make a run.
  static bool hasRun(uint64_t equal) { return (equal & equal >> 1) != 0; }

  // One byte longer than the bits when its run goes on behind them.
  static Segment firstOf(uint64_t equal) {
    const int literals = words::lowestBit(equal & equal >> 1);
    return {literals, std::countr_one(equal >> literals) + 1};
  }

  // A segment whose run leaves the 64 bytes at `from`.
  static Segment wholeOf(const Segment& begun, const uint8_t* from) {
    const uint8_t* behind = from + masks::kBytes;
    const int copies = begun.copies + std::countr_one(masks::equal(behind, behind + 1));
    return {begun.literals, std::min(copies, kMaxSegment - begun.literals)};
  }

  // Literals are moved in pieces of 16 bytes; what is too much is written over by what follows.
  static uint8_t* put(const Segment& segment, const uint8_t* from, uint8_t* out) {
    *out = static_cast<uint8_t>(segment.literals - 1);
    uint8_t* bytes = out + 1;
    std::memcpy(bytes, from, kPiece);
    for (int i = kPiece; i < segment.literals; i += kPiece) {
      std::memcpy(bytes + i, from + i, kPiece);
    }
    out += segment.literals + (segment.literals == 0 ? 0 : 1);
    *out++ = static_cast<uint8_t>(257 - segment.copies);
    *out++ = from[segment.literals];
    return out;
  }

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
  for (int start = 0;;) {
    start = out.quickSegments(start);
    if (start >= len) break;
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
