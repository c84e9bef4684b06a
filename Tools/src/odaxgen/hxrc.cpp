#include "hxrc.h"

#include <algorithm>
#include <cstring>

#include "ByteMasks.h"
#include "Vectors.h"
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

// One look-up and one write for a whole run or difference instead of three of each.
using RunCodes = std::array<Code, kLongRunUnit>;
constexpr RunCodes kAboveCodes = makeRunCodes(kHxrcAbove);
constexpr RunCodes kLeftCodes = makeRunCodes(kHxrcLeft);
constexpr RunCodes kLongRunCodes = makeRunCodes(kHxrcLongRun);

constexpr Code differenceCode(unsigned difference) {
  const uint8_t category = diff_bits[difference];
  const Code code = joined(prefixOf(kHxrcDifference), huff3[category - 1U]);
  return category == 8 ? code : joined(code, {diff_data[difference], category});
}

Code longRunCode(int count) {
  return kLongRunCodes[static_cast<size_t>(count / kLongRunUnit)];
}
Code runCode(const RunCodes& codes, int count) {
  return codes[static_cast<size_t>(count % kLongRunUnit)];
}

// Everything that begins at a byte of a block, so that nobody has to ask what it is: its place is
// the base of its kind and its length. A difference is one byte long.
constexpr size_t kDifferenceBase = 0;  // and the difference
constexpr size_t kLeftBase = 256;
constexpr size_t kAboveBase = kLeftBase + kLongRunUnit;
constexpr size_t kTokens = kAboveBase + kLongRunUnit;

constexpr std::array<Code, kTokens> makeTokenCodes() {
  std::array<Code, kTokens> codes{};
  for (unsigned difference = 1; difference < 256; ++difference) {
    codes[kDifferenceBase + difference + 1] = differenceCode(difference);
  }
  for (size_t count = 1; count < kLongRunUnit; ++count) {
    codes[kLeftBase + count] = kLeftCodes[count];
    codes[kAboveBase + count] = kAboveCodes[count];
  }
  return codes;
}
constexpr auto kTokenCodes = makeTokenCodes();

constexpr Code differenceToken(uint8_t difference) {
  return kTokenCodes[kDifferenceBase + difference + 1];
}

// Writes bits, most significant first. Fewer than 8 bits are pending between two calls.
class BitWriter {
 public:
  explicit BitWriter(uint8_t* out) : begin_(out), out_(out) {}

  /// Touches no byte behind the code.
  void put(Code code) {
    add(code);
    while (pending_ >= 8) {
      pending_ -= 8;
      *out_++ = static_cast<uint8_t>(accumulator_ >> pending_);
    }
  }

  /// Runs of 128 and more take two codes.
  void putRun(const RunCodes& codes, int count) {
    if (count >= kLongRunUnit) put(longRunCode(count));
    put(runCode(codes, count));
  }

  // The same where there is room for eight bytes: no loop and no branch, so that nothing depends on
  // the lengths of codes, which nobody can foresee.
  void putQuickly(Code code) {
    add(code);
    flushQuickly();
  }
  void putRunQuickly(const RunCodes& codes, int count) {
    if (count >= kLongRunUnit) putQuickly(longRunCode(count));
    putQuickly(runCode(codes, count));
  }
  /// Adds a code of at most 14 bits; up to four of them, then flushQuickly().
  void add(Code code) {
    accumulator_ = accumulator_ << code.length | code.value;
    pending_ += code.length;
  }
  // Four codes by two and two, so that no pair waits for the one before.
  void addFour(Code a, Code b, Code c, Code d) {
    const uint64_t first = uint64_t{a.value} << b.length | b.value;
    const uint64_t second = uint64_t{c.value} << d.length | d.value;
    const unsigned secondLength = unsigned{c.length} + d.length;
    const unsigned length = unsigned{a.length} + b.length + secondLength;
    accumulator_ = accumulator_ << length | first << secondLength | second;
    pending_ += length;
  }
  /// At least one code has been added.
  void flushQuickly() {
    words::store(out_, words::swapped(accumulator_ << (64 - pending_)));
    out_ += pending_ / 8;
    pending_ %= 8;
  }

  /// Pads the last byte with zero bits. @return bytes written in all
  uint32_t finish() {
    if (pending_ > 0) put({0, static_cast<uint16_t>(8 - pending_)});
    return static_cast<uint32_t>(out_ - begin_);
  }

 private:
  uint8_t* begin_;
  uint8_t* out_;
  uint64_t accumulator_ = 0;  // the pending bits are the lowest; what is above them is done with
  unsigned pending_ = 0;
};

// Codes one row, from its second byte on. "Above" wins when a byte equals both the one above and
// the left one.
class RowCoder {
 public:
  /// @param previous  null: no byte equals the one above
  RowCoder(const uint8_t* previous, const uint8_t* row, int length)
      : previous_(previous), row_(row), length_(length) {}

  BitWriter code(BitWriter out, int from) const {
    int at = from;
    out = codeBlocks(out, &at);
    while (at < length_) at = codeStep(&out, at);
    return out;
  }

 private:
  static constexpr int kBlock = masks::kBytes;
  // So many bytes have room for eight bytes of code, at 13 bits each in the worst case.
  static constexpr int kTail = 8;
  // The beginnings of 16 single bytes and of what follows them.
  static constexpr uint64_t kSingles = 0x1FFFF;

  // What the bytes of a block equal, a bit for each.
  struct Equal {
    uint64_t above, left;

    // Where codes begin. In a stretch of bytes that equal their left ones, the first that does not
    // equal the one above begins a run up to the stretch's end, whatever is above the others. What
    // such runs leave over are runs above and differences.
    [[nodiscard]] uint64_t beginnings() const {
      const uint64_t firsts = left & ~above;
      // Added to its stretch, the lowest of them clears everything from there on by its carry.
      const uint64_t leftRuns = (((left + firsts) ^ left) | firsts) & left;
      const uint64_t aboveRuns = above & ~leftRuns;
      return (leftRuns & ~(leftRuns << 1)) | (aboveRuns & ~(aboveRuns << 1)) | ~(above | left);
    }
  };

  [[nodiscard]] bool isAbove(int at) const {
    return previous_ != nullptr && row_[at] == previous_[at];
  }
  [[nodiscard]] bool isLeft(int at) const { return row_[at] == row_[at - 1]; }
  [[nodiscard]] uint8_t difference(int at) const {
    return static_cast<uint8_t>(row_[at] - row_[at - 1]);
  }

  // The byte above the one at `at`, or the left one.
  [[nodiscard]] const uint8_t* neighbour(bool above, int at) const {
    return above ? previous_ + at : row_ + at - 1;
  }

  // How many bytes from `at` on, where `known` of them are, equal their neighbours, as far as one
  // run can tell.
  [[nodiscard]] int runLength(bool above, int at, int known) const {
    const int most = std::min(length_ - at, kHxrcMaxRun);
    const uint8_t* other = neighbour(above, at);
    return known + words::countEqual(row_ + at + known, other + known, most - known);
  }

  // Byte by byte: what codeBlock() does for 64 at a time. Returns where to go on.
  int codeStep(BitWriter* out, int at) const {
    int run = 1;
    if (isAbove(at)) {
      run = runLength(true, at, 1);
      out->putRun(kAboveCodes, run);
    } else if (isLeft(at)) {
      run = runLength(false, at, 1);
      out->putRun(kLeftCodes, run);
    } else {
      out->put(differenceToken(difference(at)));
    }
    return at + run;
  }

  // The writer goes through all of this by value, and nobody has its address: its fields stay in
  // registers, as no byte that it writes could be a part of them.
  BitWriter codeBlocks(BitWriter out, int* at) const {
    while (length_ - *at >= kBlock + kTail) out = codeBlock(out, at);
    return out;
  }

  // Finds where the codes of a block begin by its bits, all at once, and goes from one to the next
  // without a branch that depends on what they are: a fifth quicker than from run to run. The last
  // one may reach beyond the block.
  BitWriter codeBlock(BitWriter out, int* at) const {
    const Equal equal = equalIn(*at);
    const uint64_t beginnings = equal.beginnings();
    const int last = words::highestBit(beginnings);
    if (last > 0) out = putTokens(out, basesOf(*at), beginnings);
    *at += last;
    const bool isAboveRun = (equal.above >> last & 1U) != 0;
    if (!isAboveRun && (equal.left >> last & 1U) == 0) {
      out.putQuickly(differenceToken(difference(*at)));
      ++*at;
      return out;
    }
    const int count = runLength(isAboveRun, *at, kBlock - last);
    out.putRunQuickly(isAboveRun ? kAboveCodes : kLeftCodes, count);
    *at += count;
    return out;
  }

  [[nodiscard]] Equal equalIn(int block) const {
    const uint8_t* row = row_ + block;
    return {previous_ == nullptr ? 0 : masks::equal(row, previous_ + block),
            masks::equal(row, row - 1)};
  }

  // Of each byte of a block, the base of what begins there, see kTokenCodes.
  using Bases = std::array<uint16_t, kBlock>;

  [[nodiscard]] Bases basesOf(int block) const {
    Bases bases;
#ifdef ODAXGEN_HAS_VECTORS
    using vectors::Bytes;
    static_assert(kLeftBase == 256 && kAboveBase == 256 + 128);
    const uint8_t* row = row_ + block;
    for (size_t i = 0; i < bases.size(); i += sizeof(Bytes)) {
      const auto bytes = vectors::load<Bytes>(row + i);
      const Bytes difference = bytes - vectors::load<Bytes>(row + i - 1);
      Bytes above = {};
      if (previous_ != nullptr) {
        above = reinterpret_cast<Bytes>(bytes == vectors::load<Bytes>(previous_ + block + i));
      }
      const auto left = reinterpret_cast<Bytes>(difference == 0);
      const Bytes low = (difference & ~above) | (above & 128);
      const Bytes high = (above | left) & 1;
      const std::array<Bytes, 2> both = {vectors::merged(low, high),
                                         vectors::mergedEnds(low, high)};
      std::memcpy(&bases[i], both.data(), sizeof both);
    }
#else
    for (int i = 0; i < kBlock; ++i) {
      const int at = block + i;
      bases[static_cast<size_t>(i)] =
          static_cast<uint16_t>(isAbove(at)  ? kAboveBase
                                : isLeft(at) ? kLeftBase
                                             : kDifferenceBase + difference(at));
    }
#endif
    return bases;
  }

  // Codes everything that begins in a block but the last.
  static BitWriter putTokens(BitWriter out, const Bases& bases, uint64_t beginnings) {
    const uint16_t* base = bases.data();
    const auto code = [base](int begin, int end) {
      return *(kTokenCodes.data() + base[begin] + (end - begin));
    };
    int begin = 0;
    uint64_t ends = words::withoutLowestBit(beginnings);
    for (;;) {
      // In photos, nearly everything is one byte long.
      while ((beginnings >> begin & kSingles) == kSingles) {
        for (const int stop = begin + 16; begin < stop; begin += 4) {
          out.addFour(code(begin, begin + 1), code(begin + 1, begin + 2),
                      code(begin + 2, begin + 3), code(begin + 3, begin + 4));
          out.flushQuickly();
        }
        ends &= ~uint64_t{1} << begin;
      }
      const uint64_t ends2 = words::withoutLowestBit(ends);
      const uint64_t ends3 = words::withoutLowestBit(ends2);
      const uint64_t ends4 = words::withoutLowestBit(ends3);
      if (ends4 == 0) break;
      const int second = words::lowestBit(ends);
      const int third = words::lowestBit(ends2);
      const int fourth = words::lowestBit(ends3);
      const int next = words::lowestBit(ends4);
      out.addFour(code(begin, second), code(second, third), code(third, fourth),
                  code(fourth, next));
      out.flushQuickly();
      begin = next;
      ends = words::withoutLowestBit(ends4);
    }
    if (ends == 0) return out;
    for (; ends != 0; ends = words::withoutLowestBit(ends)) {
      const int end = words::lowestBit(ends);
      out.add(code(begin, end));
      begin = end;
    }
    out.flushQuickly();
    return out;
  }

  const uint8_t* previous_;
  const uint8_t* row_;
  int length_;
};

// The first byte has 0 to its left. Returns how many bytes were coded.
int codeFirst(BitWriter& out, const uint8_t* previous, const uint8_t* row, int length) {
  const int most = std::min(length, kHxrcMaxRun);
  if (previous != nullptr && row[0] == previous[0]) {
    const int run = words::countEqual(row, previous, most);
    out.putRun(kAboveCodes, run);
    return run;
  }
  if (row[0] != 0) {
    out.put(differenceToken(row[0]));
    return 1;
  }
  // Without a row above, it is a run of its own.
  const int run = previous == nullptr ? 1 : 1 + words::countEqual(row + 1, row, most - 1);
  out.putRun(kLeftCodes, run);
  return run;
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
  const int coded = codeFirst(bits, previous, row, length);
  bits = RowCoder(previous, row, length).code(bits, coded);
  bits.put(prefixOf(kHxrcEnd));
  return bits.finish() & kLengthMask;
}
