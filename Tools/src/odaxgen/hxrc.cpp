#include "hxrc.h"

#include <algorithm>

#include "Words.h"

namespace {

constexpr uint32_t kErrorNoOutput = static_cast<uint32_t>(-1);
constexpr uint32_t kErrorNoRow = static_cast<uint32_t>(-2);
constexpr uint32_t kErrorOutputIsRow = static_cast<uint32_t>(-3);
constexpr uint32_t kErrorOutputIsPrevious = static_cast<uint32_t>(-4);
constexpr uint32_t kErrorTooShort = static_cast<uint32_t>(-5);
constexpr uint32_t kErrorTooLong = static_cast<uint32_t>(-6);
constexpr uint32_t kLengthMask = 0xFFFF;
constexpr int kLongRunUnit = 128;

// A code that has been put together in advance: `length` bits, right-aligned.
struct Code {
  uint16_t value;
  uint16_t length;
};

constexpr Code joined(Code first, HxrcCode second) {
  return {static_cast<uint16_t>(first.value << second.length | second.value),
          static_cast<uint16_t>(first.length + second.length)};
}

constexpr Code prefixOf(HxrcPrefix kind) {
  return {huff[kind].value, huff[kind].length};
}

// A count of 0..127 as an Elias-gamma code behind its prefix: at most 4 + 7 + 6 bits.
constexpr Code runCode(HxrcPrefix kind, size_t count) {
  const Code code = joined(prefixOf(kind), huff2[count == 0 ? 0 : run_bits[count] + 1U]);
  return count < 2 ? code : joined(code, {run_data[count], run_bits[count]});
}

constexpr std::array<Code, kLongRunUnit> makeRunCodes(HxrcPrefix kind) {
  std::array<Code, kLongRunUnit> codes{};
  for (size_t count = 0; count < codes.size(); ++count) codes[count] = runCode(kind, count);
  return codes;
}

// The difference 0 has no code: such a byte equals its left one.
constexpr std::array<Code, 256> makeDifferenceCodes() {
  std::array<Code, 256> codes{};
  for (size_t difference = 1; difference < codes.size(); ++difference) {
    const uint8_t category = diff_bits[difference];
    codes[difference] = joined(prefixOf(kHxrcDifference), huff3[category - 1U]);
    if (category < 8) {
      codes[difference] = joined(codes[difference], {diff_data[difference], category});
    }
  }
  return codes;
}

// One look-up and one write for a whole run or difference instead of three of each.
constexpr auto kAboveCodes = makeRunCodes(kHxrcAbove);
constexpr auto kLeftCodes = makeRunCodes(kHxrcLeft);
constexpr auto kLongRunCodes = makeRunCodes(kHxrcLongRun);
constexpr auto kDifferenceCodes = makeDifferenceCodes();

// Writes bits, most significant first, four bytes at a time. A code has at most 17 bits and fewer
// than 32 are pending, so the accumulator never overflows; nothing is written before it is full, so
// no byte behind the code is touched.
class BitWriter {
 public:
  explicit BitWriter(uint8_t* out) : begin_(out), out_(out) {}

  void put(Code code) {
    accumulator_ = accumulator_ << code.length | code.value;
    pending_ += code.length;
    if (pending_ < 32) return;
    pending_ -= 32;
    putBytes(static_cast<uint32_t>(accumulator_ >> pending_), 4);
  }

  /// Pads the last byte with zero bits. @return bytes written in all
  uint32_t finish() {
    const unsigned bytes = (pending_ + 7) / 8;
    putBytes(static_cast<uint32_t>(accumulator_ << (32 - pending_)), bytes);
    return static_cast<uint32_t>(out_ - begin_);
  }

 private:
  // The first `count` bytes of a number, the highest first.
  void putBytes(uint32_t number, unsigned count) {
    for (unsigned i = 0; i < count; ++i) out_[i] = static_cast<uint8_t>(number >> (24 - 8 * i));
    out_ += count;
  }

  uint8_t* begin_;
  uint8_t* out_;
  uint64_t accumulator_ = 0;
  unsigned pending_ = 0;
};

inline void putRun(BitWriter& out, const std::array<Code, kLongRunUnit>& codes, int count) {
  if (count >= kLongRunUnit) {
    out.put(kLongRunCodes[static_cast<size_t>(count / kLongRunUnit)]);
    count %= kLongRunUnit;
  }
  out.put(codes[static_cast<size_t>(count)]);
}

void putDifference(BitWriter& out, uint8_t byte, uint8_t left) {
  out.put(kDifferenceCodes[static_cast<uint8_t>(byte - left)]);
}

// How many of the `count` bytes behind two equal ones are equal too, with them, as far as one run
// can tell.
int runLength(const uint8_t* a, const uint8_t* b, int count) {
  return 1 + words::countEqual(a + 1, b + 1, std::min(count, kHxrcMaxRun) - 1);
}

void compressAlone(BitWriter& out, const uint8_t* row, int length) {
  // The first byte is coded by itself, as one that has 0 to its left.
  if (row[0] != 0) {
    putDifference(out, row[0], 0);
  } else {
    putRun(out, kLeftCodes, 1);
  }
  for (int i = 1; i < length;) {
    if (row[i] == row[i - 1]) {
      const int run = runLength(row + i, row + i - 1, length - i);
      putRun(out, kLeftCodes, run);
      i += run;
    } else {
      putDifference(out, row[i], row[i - 1]);
      ++i;
    }
  }
}

// The first byte when it does not equal the one above. @return bytes coded
int compressFirst(BitWriter& out, const uint8_t* row, int length) {
  if (row[0] != 0) {
    putDifference(out, row[0], 0);
    return 1;
  }
  const int end = std::min(length, kHxrcMaxRun);
  const int run = 1 + words::countEqual(row + 1, row, end - 1);
  putRun(out, kLeftCodes, run);
  return run;
}

void compressBelow(BitWriter& out, const uint8_t* previous, const uint8_t* row, int length) {
  int i = row[0] == previous[0] ? 0 : compressFirst(out, row, length);
  while (i < length) {
    // "Above" wins when both apply. Most bytes are decided by one look at each.
    if (row[i] == previous[i]) {
      const int run = runLength(row + i, previous + i, length - i);
      putRun(out, kAboveCodes, run);
      i += run;
    } else if (row[i] == row[i - 1]) {
      const int run = runLength(row + i, row + i - 1, length - i);
      putRun(out, kLeftCodes, run);
      i += run;
    } else {
      putDifference(out, row[i], row[i - 1]);
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
  bits.put(prefixOf(kHxrcEnd));
  return bits.finish() & kLengthMask;
}
