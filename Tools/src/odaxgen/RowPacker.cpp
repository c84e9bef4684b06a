#include "RowPacker.h"

#include "CLibrary.h"
#include "zksafe.h"

namespace {

constexpr int kMaxSegment = 128;
constexpr int kMinRun = 3;
constexpr int kNoByte = -1;  // "previous byte" that no byte equals
constexpr int kNoStretch = -1;

// Writes the items of one segment.
class Packer {
 public:
  Packer(const uint8_t* src, uint8_t* dst, int64_t capacity)
      : src_(src), dst_(dst), capacity_(static_cast<size_t>(capacity)) {}

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

// Emits the segment [start, end): a literal and the stretch of equal bytes that ends it, or all of
// it as one literal when there is no such stretch of three or more.
void emitSegment(Packer& out, int start, int stretch, int end, const Labels& labels) {
  if (stretch != kNoStretch && end - stretch >= kMinRun) {
    checkPair(labels.literal, stretch - start, end - start);
    out.literal(start, stretch);
    checkPair(labels.run, end - stretch, end - start);
    out.run(stretch, end);
    return;
  }
  checkWhole(labels.whole, end - start);
  out.literal(start, end);
}

}  // namespace

int RowPacker_Pack(const uint8_t* src, int len, uint8_t* dst, int64_t capacity) {
  Packer out(src, dst, capacity);
  int start = 0;             // first byte of the pending segment
  int stretch = kNoStretch;  // first byte of the open stretch of equal bytes
  int previous = kNoByte;
  for (int i = 0; i < len; ++i) {
    const int byte = src[i];
    if (byte != previous) {
      if (stretch != kNoStretch && i - stretch >= kMinRun) {
        emitSegment(out, start, stretch, i, kAtDifference);
        start = i;
      }
      stretch = kNoStretch;
      previous = byte;
    } else if (stretch == kNoStretch) {
      stretch = i - 1;
    }
    // A run that crosses the limit is cut here and needs three equal bytes again.
    if (i + 1 - start == kMaxSegment) {
      emitSegment(out, start, stretch, i + 1, kAtLimit);
      start = i + 1;
      stretch = kNoStretch;
      previous = kNoByte;
    }
  }
  if (start < len) emitSegment(out, start, stretch, len, kAtEnd);
  return out.written();
}
