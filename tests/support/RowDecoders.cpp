#include "RowDecoders.h"

#include <array>
#include <stdexcept>
#include <string>

namespace {

[[noreturn]] void refuse(const std::string& what) {
  throw std::runtime_error(what);
}

class ByteReader {
 public:
  explicit ByteReader(const Bytes& bytes) : bytes_(bytes) {}
  [[nodiscard]] bool atEnd() const { return next_ == bytes_.size(); }
  uint8_t take() {
    if (atEnd()) refuse("the code ends too early");
    return bytes_[next_++];
  }

 private:
  const Bytes& bytes_;
  size_t next_ = 0;
};

class BitReader {
 public:
  explicit BitReader(const Bytes& bytes) : bytes_(bytes) {}
  unsigned take() {
    if (next_ == bytes_.size() * 8) refuse("the bits end too early");
    const unsigned bit = unsigned{bytes_[next_ / 8]} >> (7 - next_ % 8) & 1U;
    ++next_;
    return bit;
  }
  unsigned take(unsigned count) {
    unsigned value = 0;
    while (count-- > 0) value = value * 2 + take();
    return value;
  }
  /// Zero bits up to and without the next one bit, at most `most`.
  unsigned zeros(unsigned most) {
    unsigned count = 0;
    while (count < most && take() == 0) ++count;
    return count;
  }
  void expectPaddingOnly() {
    if (bytes_.size() * 8 - next_ > 7) refuse("bytes behind the end code");
    while (next_ < bytes_.size() * 8)
      if (take() != 0) refuse("padding bits that are not 0");
  }

 private:
  const Bytes& bytes_;
  size_t next_ = 0;
};

// A count of 0..127: seven zero bits for 0, else as many zero bits as there are bits below the
// leading one, then the number itself.
unsigned takeCount(BitReader& bits) {
  const unsigned low = bits.zeros(7);
  if (low == 7) return 0;
  return (1U << low) + bits.take(low);
}

// The category of a difference: 00 3, 01 2, 100 5, 101 1, 1101 6, 11001 7, 11000 8, 111 4.
unsigned takeCategory(BitReader& bits) {
  if (bits.take() == 0) return bits.take() == 0 ? 3 : 2;
  if (bits.take() == 0) return bits.take() == 0 ? 5 : 1;
  if (bits.take() == 1) return 4;
  if (bits.take() == 1) return 6;
  return bits.take() == 1 ? 7 : 8;
}

unsigned takeDifference(BitReader& bits) {
  const unsigned category = takeCategory(bits);
  if (category == 8) return 0x80;
  const unsigned value = bits.take(category);
  const bool positive = value >> (category - 1) == 1;
  return positive ? value : value - ((1U << category) - 1);  // wraps modulo 256 later
}

enum Prefix { kDifference, kAbove, kLeft, kLongRun, kEnd };

Prefix takePrefix(BitReader& bits) {
  constexpr std::array<Prefix, 4> kByZeros = {kDifference, kAbove, kLeft, kLongRun};
  const unsigned zeros = bits.zeros(5);
  if (zeros == 5) return kEnd;
  if (zeros == 4) refuse("00001 is no prefix");
  return kByZeros.at(zeros);
}

}  // namespace

Bytes decodePackBits(const Bytes& code) {
  ByteReader in(code);
  Bytes row;
  while (!in.atEnd()) {
    const unsigned header = in.take();
    if (header == 0x80) refuse("PackBits header 0x80");
    if (header < 0x80) {
      for (unsigned left = header + 1; left > 0; --left) row.push_back(in.take());
    } else {
      row.insert(row.end(), 257 - header, in.take());
    }
  }
  return row;
}

Bytes decodeDeltaRow(const Bytes& code, const Bytes& seed) {
  ByteReader in(code);
  Bytes row = seed;
  size_t at = 0;
  while (!in.atEnd()) {
    const unsigned command = in.take();
    at += command & 0x1FU;
    if ((command & 0x1FU) == 0x1F) {
      uint8_t more = 0;
      do {
        more = in.take();
        at += more;
      } while (more == 0xFF);
    }
    for (unsigned left = (command >> 5) + 1; left > 0; --left) {
      if (at >= row.size()) refuse("a replacement behind the end of the row");
      row[at++] = in.take();
    }
  }
  return row;
}

Bytes decodeHxrc(const Bytes& code, const Bytes* above, size_t rowBytes) {
  if (above != nullptr && above->size() != rowBytes) refuse("rows of different lengths");
  BitReader bits(code);
  Bytes row;
  const auto left = [&row] { return row.empty() ? uint8_t{0} : row.back(); };
  for (;;) {
    Prefix prefix = takePrefix(bits);
    if (prefix == kEnd) break;
    if (prefix == kDifference) {
      row.push_back(static_cast<uint8_t>(left() + takeDifference(bits)));
      continue;
    }
    size_t run = 0;
    if (prefix == kLongRun) {
      run = size_t{128} * takeCount(bits);
      if (run == 0) refuse("a long run of 0");
      prefix = takePrefix(bits);
      if (prefix != kAbove && prefix != kLeft) refuse("a long run of no kind");
    }
    run += takeCount(bits);
    if (run == 0) refuse("a run of 0");
    if (row.size() + run > rowBytes) refuse("a run behind the end of the row");
    if (prefix == kAbove && above == nullptr) refuse("a run of a row above that is not there");
    for (; run > 0; --run) row.push_back(prefix == kAbove ? (*above)[row.size()] : left());
  }
  bits.expectPaddingOnly();
  if (row.size() != rowBytes) refuse("a row of the wrong length");
  return row;
}
