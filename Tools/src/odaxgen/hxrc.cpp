#include "hxrc.h"

#include <algorithm>

namespace {

constexpr uint32_t kErrorNoOutput = static_cast<uint32_t>(-1);
constexpr uint32_t kErrorNoRow = static_cast<uint32_t>(-2);
constexpr uint32_t kErrorOutputIsRow = static_cast<uint32_t>(-3);
constexpr uint32_t kErrorOutputIsPrevious = static_cast<uint32_t>(-4);
constexpr uint32_t kErrorTooShort = static_cast<uint32_t>(-5);
constexpr uint32_t kErrorTooLong = static_cast<uint32_t>(-6);
constexpr uint32_t kLengthMask = 0xFFFF;
constexpr int kLongRunUnit = 128;

// Writes bits, most significant first. A field has at most 7 bits and fewer than 8 are pending, so
// the accumulator never overflows.
class BitWriter {
 public:
  explicit BitWriter(uint8_t* out) : begin_(out), out_(out) {}

  void put(uint32_t value, unsigned bits) {
    accumulator_ = accumulator_ << bits | value;
    pending_ += bits;
    while (pending_ >= 8) {
      pending_ -= 8;
      *out_++ = static_cast<uint8_t>(accumulator_ >> pending_);
    }
  }
  void put(HxrcCode code) { put(code.value, code.length); }

  /// Pads the last byte with zero bits. @return bytes written in all
  uint32_t finish() {
    if (pending_ > 0) put(0, 8 - pending_);
    return static_cast<uint32_t>(out_ - begin_);
  }

 private:
  uint8_t* begin_;
  uint8_t* out_;
  uint32_t accumulator_ = 0;
  unsigned pending_ = 0;
};

// A count of 0..127 as an Elias-gamma code.
void putCount(BitWriter& out, int count) {
  const auto n = static_cast<size_t>(count);
  out.put(huff2[n == 0 ? 0 : run_bits[n] + 1U]);
  if (n >= 2) out.put(run_data[n], run_bits[n]);
}

void putRun(BitWriter& out, HxrcPrefix kind, int count) {
  if (count >= kLongRunUnit) {
    out.put(huff[kHxrcLongRun]);
    putCount(out, count / kLongRunUnit);
    count %= kLongRunUnit;
  }
  out.put(huff[kind]);
  putCount(out, count);
}

void putDifference(BitWriter& out, uint8_t byte, uint8_t left) {
  const auto difference = static_cast<uint8_t>(byte - left);
  const uint8_t category = diff_bits[difference];
  out.put(huff[kHxrcDifference]);
  out.put(huff3[category - 1U]);
  if (category < 8) out.put(diff_data[difference], category);
}

// How many of the first `count` bytes are equal one by one, as far as one run can tell.
int countEqual(const uint8_t* a, const uint8_t* b, int count) {
  const int end = std::min(count, kHxrcMaxRun);
  int i = 0;
  while (i < end && a[i] == b[i]) ++i;
  return i;
}

// How many bytes from `at` on equal the byte to their left; the left of the first byte is 0.
int countLeft(const uint8_t* row, int at, int length) {
  if (at > 0) return countEqual(row + at, row + at - 1, length - at);
  if (row[0] != 0) return 0;
  return std::min(1 + countEqual(row + 1, row, length - 1), kHxrcMaxRun);
}

void compressAlone(BitWriter& out, const uint8_t* row, int length) {
  if (row[0] != 0) {
    putDifference(out, row[0], 0);
  } else {
    putRun(out, kHxrcLeft, 1);
  }
  for (int i = 1; i < length;) {
    const int run = countLeft(row, i, length);
    if (run > 0) {
      putRun(out, kHxrcLeft, run);
      i += run;
    } else {
      putDifference(out, row[i], row[i - 1]);
      ++i;
    }
  }
}

void compressBelow(BitWriter& out, const uint8_t* previous, const uint8_t* row, int length) {
  for (int i = 0; i < length;) {
    // "Above" wins when both apply.
    if (const int above = countEqual(row + i, previous + i, length - i); above > 0) {
      putRun(out, kHxrcAbove, above);
      i += above;
    } else if (const int left = countLeft(row, i, length); left > 0) {
      putRun(out, kHxrcLeft, left);
      i += left;
    } else {
      putDifference(out, row[i], i == 0 ? uint8_t{0} : row[i - 1]);
      ++i;
    }
  }
}

}  // namespace

uint32_t HXRC_Compress(uint8_t* out, const uint8_t* previous, const uint8_t* row, int length) {
  if (out == nullptr) return kErrorNoOutput;
  if (row == nullptr) return kErrorNoRow;
  if (out == previous) return kErrorOutputIsPrevious;
  if (out == row) return kErrorOutputIsRow;
  if (length < 1) return kErrorTooShort;
  if (length > kHxrcMaxRowBytes) return kErrorTooLong;

  BitWriter bits(out);
  if (previous == nullptr) {
    compressAlone(bits, row, length);
  } else {
    compressBelow(bits, previous, row, length);
  }
  bits.put(huff[kHxrcEnd]);
  return bits.finish() & kLengthMask;
}
