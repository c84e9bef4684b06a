#include "RowDecoders.h"

#include <algorithm>
#include <array>
#include <bit>

namespace jobreader {

namespace {

constexpr size_t kMaxHxrcRowBytes = 120000;  // the longest row that this coding has

// Bits of a code, the highest of each byte first.
class BitReader {
 public:
  explicit BitReader(std::span<const uint8_t> code) : code_(code) {}

  /// The byte that the next bit stands in.
  [[nodiscard]] size_t position() const { return next_ - (have_ + 7) / 8; }

  /// The next `count` bits (1 to 7) as a number.
  unsigned take(unsigned count) {
    need(count);
    const auto value = static_cast<unsigned>(bits_ >> (64 - count));
    drop(count);
    return value;
  }

  /// Takes the zero bits in front of the next one bit, and that bit too; or `most` (up to 7) zero
  /// bits.
  unsigned takeZeros(unsigned most) {
    if (have_ < 8) refill();
    const auto zeros = static_cast<unsigned>(std::countl_zero(bits_));
    if (zeros >= most) {
      need(most);
      drop(most);
      return most;
    }
    need(zeros + 1);
    drop(zeros + 1);
    return zeros;
  }

  void expectPaddingOnly() {
    refill();
    const unsigned padding = have_ % 8;
    const size_t at = position();
    if (padding != 0 && bits_ >> (64 - padding) != 0)
      throw RowError(at, "padding bits behind the end code are not 0");
    drop(padding);
    if (have_ != 0 || next_ != code_.size())
      throw RowError(position(), "bytes behind the end code");
  }

 private:
  void refill() {
    while (have_ <= 56 && next_ < code_.size()) {
      bits_ |= uint64_t{code_[next_++]} << (56 - have_);
      have_ += 8;
    }
  }
  void need(unsigned count) {
    if (have_ >= count) return;
    refill();
    if (have_ < count) throw RowError(code_.size(), "the code ends without its end code");
  }
  // `count` is at most 63.
  void drop(unsigned count) {
    bits_ <<= count;
    have_ -= count;
  }

  std::span<const uint8_t> code_;
  size_t next_ = 0;    // byte that is loaded next
  uint64_t bits_ = 0;  // loaded, the first one on top, zeros below
  unsigned have_ = 0;  // how many of them
};

// A count of 0 to 127: seven zero bits for 0, else as many zero bits as there are bits below the
// leading one, then the number itself.
unsigned takeCount(BitReader& bits) {
  const unsigned low = bits.takeZeros(7);
  if (low == 7) return 0;
  return low == 0 ? 1 : (1U << low) + bits.take(low);
}

// The category of a difference: 00 3, 01 2, 100 5, 101 1, 1100 and 1 more bit 8 or 7, 1101 6,
// 111 4.
unsigned takeCategory(BitReader& bits) {
  if (bits.take(1) == 0) return bits.take(1) == 0 ? 3 : 2;
  if (bits.take(1) == 0) return bits.take(1) == 0 ? 5 : 1;
  if (bits.take(1) == 1) return 4;
  if (bits.take(1) == 1) return 6;
  return bits.take(1) == 1 ? 7 : 8;
}

// Modulo 256.
uint8_t takeDifference(BitReader& bits) {
  const unsigned category = takeCategory(bits);
  if (category == 8) return 0x80;
  const unsigned value = bits.take(category);
  const bool isPositive = value >> (category - 1) == 1;
  return static_cast<uint8_t>(isPositive ? value : value - ((1U << category) - 1));
}

enum class Prefix { kDifference, kAbove, kLeft, kLongRun, kEnd };

Prefix takePrefix(BitReader& bits) {
  constexpr std::array<Prefix, 4> kByZeros = {Prefix::kDifference, Prefix::kAbove, Prefix::kLeft,
                                              Prefix::kLongRun};
  const size_t at = bits.position();
  const unsigned zeros = bits.takeZeros(5);
  if (zeros == 5) return Prefix::kEnd;
  if (zeros == 4) throw RowError(at, "the bits 00001 are no code");
  return kByZeros[zeros];
}

struct Run {
  Prefix kind;
  size_t length;
};

Run takeRun(BitReader& bits, Prefix prefix) {
  const size_t at = bits.position();
  size_t length = 0;
  if (prefix == Prefix::kLongRun) {
    length = size_t{128} * takeCount(bits);
    if (length == 0) throw RowError(at, "a long run of 0 bytes");
    const size_t kindAt = bits.position();
    prefix = takePrefix(bits);
    if (prefix != Prefix::kAbove && prefix != Prefix::kLeft)
      throw RowError(kindAt, "a long run of no kind");
  }
  length += takeCount(bits);
  if (length == 0) throw RowError(at, "a run of 0 bytes");
  return {prefix, length};
}

uint8_t leftOf(const RowBytes& row) {
  return row.empty() ? uint8_t{0} : row.back();
}

}  // namespace

void decodePackBits(std::span<const uint8_t> code, RowBytes& row) {
  row.clear();
  size_t at = 0;
  while (at < code.size()) {
    const size_t header = code[at];
    if (header == 0x80) throw RowError(at, "PackBits header 0x80");
    const bool isRun = header > 0x80;
    const size_t count = isRun ? 257 - header : header + 1;
    const size_t stored = isRun ? 1 : count;
    if (code.size() - at - 1 < stored) throw RowError(code.size(), "the PackBits code is cut off");
    if (row.size() + count > kMaxRowBytes) throw RowError(at, "the row is too long");
    const auto first = code.begin() + static_cast<std::ptrdiff_t>(at) + 1;
    if (isRun) {
      row.insert(row.end(), count, *first);
    } else {
      row.insert(row.end(), first, first + static_cast<std::ptrdiff_t>(count));
    }
    at += 1 + stored;
  }
}

void decodeDeltaRow(std::span<const uint8_t> code, RowBytes& row) {
  size_t at = 0;     // in the code
  size_t place = 0;  // in the row
  const auto take = [&]() -> size_t {
    if (at == code.size()) throw RowError(at, "the delta-row code is cut off");
    return code[at++];
  };
  while (at < code.size()) {
    const size_t start = at;
    const size_t command = take();
    const size_t count = (command >> 5) + 1;
    place += command & 0x1F;
    if ((command & 0x1F) == 0x1F) {
      size_t more = 0;
      do {
        more = take();
        place += more;
      } while (more == 0xFF);
    }
    if (place > row.size() || row.size() - place < count) {
      throw RowError(start, "a replacement behind the end of the row of " +
                                std::to_string(row.size()) + " bytes");
    }
    if (code.size() - at < count) throw RowError(code.size(), "the delta-row code is cut off");
    std::copy_n(code.begin() + static_cast<std::ptrdiff_t>(at), count,
                row.begin() + static_cast<std::ptrdiff_t>(place));
    at += count;
    place += count;
  }
}

void decodeHxrc(std::span<const uint8_t> code, const std::optional<std::span<const uint8_t>>& above,
                RowBytes& row) {
  row.clear();
  BitReader bits(code);
  const size_t most = above ? above->size() : kMaxHxrcRowBytes;
  for (;;) {
    const size_t at = bits.position();
    const Prefix prefix = takePrefix(bits);
    if (prefix == Prefix::kEnd) break;
    if (prefix == Prefix::kDifference) {
      if (row.size() == most) throw RowError(at, "a byte behind the end of the row");
      row.push_back(static_cast<uint8_t>(leftOf(row) + takeDifference(bits)));
      continue;
    }
    const Run run = takeRun(bits, prefix);
    if (run.kind == Prefix::kAbove && !above)
      throw RowError(at, "a run of the row above, which is not known here");
    if (most - row.size() < run.length) throw RowError(at, "a run behind the end of the row");
    if (run.kind == Prefix::kAbove) {
      const auto from = above->begin() + static_cast<std::ptrdiff_t>(row.size());
      row.insert(row.end(), from, from + static_cast<std::ptrdiff_t>(run.length));
    } else {
      row.insert(row.end(), run.length, leftOf(row));
    }
  }
  bits.expectPaddingOnly();
}

}  // namespace jobreader
