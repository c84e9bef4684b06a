#include "hxrc.h"

#include <algorithm>
#include <bit>
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

// What one byte by itself is coded as, by its difference from the left one and, in the upper half
// of the table, when it equals the one above. The difference 0 is a run of one.
constexpr size_t kIsAbove = 256;

constexpr std::array<Code, 2 * kIsAbove> makeSingleCodes() {
  std::array<Code, 2 * kIsAbove> codes{};
  codes[0] = runCode(kHxrcLeft, 1);
  for (size_t difference = 1; difference < kIsAbove; ++difference) {
    const uint8_t category = diff_bits[difference];
    codes[difference] = joined(prefixOf(kHxrcDifference), huff3[category - 1U]);
    if (category < 8) {
      codes[difference] = joined(codes[difference], {diff_data[difference], category});
    }
  }
  for (size_t i = kIsAbove; i < codes.size(); ++i) codes[i] = runCode(kHxrcAbove, 1);
  return codes;
}

// One look-up and one write for a whole run or difference instead of three of each.
using RunCodes = std::array<Code, kLongRunUnit>;
constexpr RunCodes kAboveCodes = makeRunCodes(kHxrcAbove);
constexpr RunCodes kLeftCodes = makeRunCodes(kHxrcLeft);
constexpr RunCodes kLongRunCodes = makeRunCodes(kHxrcLongRun);
constexpr auto kSingleCodes = makeSingleCodes();

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

  // The same where there is room for eight bytes: no loop and no branch, so that nothing depends on
  // the lengths of codes, which nobody can foresee.
  void putQuickly(Code code) {
    add(code);
    flushQuickly();
  }
  /// Adds a code of at most 13 bits; up to four of them, then flushQuickly().
  void add(Code code) {
    accumulator_ = accumulator_ << code.length | code.value;
    pending_ += code.length;
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

// Runs of 128 and more take two codes.
template <class Put>
void putRun(const RunCodes& codes, int count, Put put) {
  if (count >= kLongRunUnit) {
    put(kLongRunCodes[static_cast<size_t>(count / kLongRunUnit)]);
    count %= kLongRunUnit;
  }
  put(codes[static_cast<size_t>(count)]);
}

// Codes one row, from its second byte on. "Above" wins when a byte equals both the one above and
// the left one.
class RowCoder {
 public:
  /// @param previous  null: no byte equals the one above
  RowCoder(const uint8_t* previous, const uint8_t* row, int length)
      : previous_(previous), row_(row), length_(length) {}

  // The writer goes through all of this by value: its fields stay in registers, as no byte that it
  // writes could be a part of them.
  BitWriter code(BitWriter out, int from) const {
    int at = from;
    while (length_ - at >= kBlock + kTail) at = codeBlock(&out, at);
    while (at < length_) at = codeStep(&out, at);
    return out;
  }

 private:
  static constexpr int kBlock = masks::kBytes;
  // So many bytes have room for eight bytes of code, at 13 bits each in the worst case.
  static constexpr int kTail = 8;

  [[nodiscard]] bool isAbove(int at) const {
    return previous_ != nullptr && row_[at] == previous_[at];
  }
  [[nodiscard]] bool isLeft(int at) const { return row_[at] == row_[at - 1]; }

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

  // Byte by byte: what codeBlock() does for 64 at a time. Returns where it goes on.
  int codeStep(BitWriter* out, int at) const {
    const auto put = [out](Code code) { out->put(code); };
    int run = 1;
    if (isAbove(at)) {
      run = runLength(true, at, 1);
      putRun(kAboveCodes, run, put);
    } else if (isLeft(at)) {
      run = runLength(false, at, 1);
      putRun(kLeftCodes, run, put);
    } else {
      put(kSingleCodes[static_cast<uint8_t>(row_[at] - row_[at - 1])]);
    }
    return at + run;
  }

  // Finds the runs of two and more of a block by its bits. What lies between them, in photos nearly
  // everything, is coded without a branch that depends on the bytes.
  int codeBlock(BitWriter* out, int at) const {
    const uint64_t above = previous_ == nullptr ? 0 : masks::equal(row_ + at, previous_ + at);
    const uint64_t left = masks::equal(row_ + at, row_ + at - 1);
    const uint64_t nextAbove = above >> 1 | uint64_t{isAbove(at + kBlock)} << (kBlock - 1);
    const uint64_t nextLeft = left >> 1 | uint64_t{isLeft(at + kBlock)} << (kBlock - 1);
    const uint64_t runs = (above & nextAbove) | (~above & left & nextLeft);
    // Of paper there are none: the whole block is one run.
    const Singles singles = runs == ~uint64_t{0} ? Singles{} : singlesOf(at);
    for (int i = 0; i < kBlock;) {
      const int run = std::min(i + std::countr_zero(runs >> i), kBlock);
      putSingles(out, singles.data() + i, singles.data() + run);
      if (run == kBlock) break;
      i = run;
      const bool isAboveRun = (above >> i & 1U) != 0;
      int count = std::countr_one((isAboveRun ? above : left) >> i);
      const bool goesOn = i + count == kBlock;
      if (goesOn) count = runLength(isAboveRun, at + i, count);
      putRun(isAboveRun ? kAboveCodes : kLeftCodes, count,
             [out](Code code) { out->putQuickly(code); });
      i += count;
      if (goesOn) return at + i;
    }
    return at + kBlock;
  }

  // Where the codes of a block's bytes stand in kSingleCodes.
  using Singles = std::array<uint16_t, kBlock>;

  Singles singlesOf(int block) const {
    Singles singles;
    const uint8_t* row = row_ + block;
#ifdef ODAXGEN_HAS_VECTORS
    using vectors::Bytes;
    for (size_t i = 0; i < singles.size(); i += sizeof(Bytes)) {
      const auto bytes = vectors::load<Bytes>(row + i);
      const Bytes difference = bytes - vectors::load<Bytes>(row + i - 1);
      Bytes above = {};
      if (previous_ != nullptr) {
        above = reinterpret_cast<Bytes>(bytes == vectors::load<Bytes>(previous_ + block + i)) & 1;
      }
      const std::array<Bytes, 2> places = {vectors::merged(difference, above),
                                           vectors::mergedEnds(difference, above)};
      std::memcpy(&singles[i], places.data(), sizeof places);
    }
#else
    for (size_t i = 0; i < singles.size(); ++i) {
      const bool isOne = isAbove(block + static_cast<int>(i));
      const auto difference = static_cast<uint8_t>(row[i] - row[static_cast<int>(i) - 1]);
      singles[i] = static_cast<uint16_t>(difference + (isOne ? kIsAbove : 0));
    }
#endif
    return singles;
  }

  static void putSingles(BitWriter* out, const uint16_t* at, const uint16_t* end) {
    for (; end - at >= 4; at += 4) {
      out->add(kSingleCodes[at[0]]);
      out->add(kSingleCodes[at[1]]);
      out->add(kSingleCodes[at[2]]);
      out->add(kSingleCodes[at[3]]);
      out->flushQuickly();
    }
    if (at == end) return;
    for (; at != end; ++at) out->add(kSingleCodes[*at]);
    out->flushQuickly();
  }

  const uint8_t* previous_;
  const uint8_t* row_;
  int length_;
};

// The first byte has 0 to its left. Returns how many bytes were coded.
int codeFirst(BitWriter& out, const uint8_t* previous, const uint8_t* row, int length) {
  const auto put = [&out](Code code) { out.put(code); };
  const int most = std::min(length, kHxrcMaxRun);
  if (previous != nullptr && row[0] == previous[0]) {
    const int run = words::countEqual(row, previous, most);
    putRun(kAboveCodes, run, put);
    return run;
  }
  if (row[0] != 0) {
    put(kSingleCodes[row[0]]);
    return 1;
  }
  // Without a row above, it is a run of its own.
  const int run = previous == nullptr ? 1 : 1 + words::countEqual(row + 1, row, most - 1);
  putRun(kLeftCodes, run, put);
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
