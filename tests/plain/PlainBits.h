// PlainBits - a text of bits, the most significant first, for the plain twins of what writes bits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace twin {

class Bits {
 public:
  /// The `count` low bits of `value`.
  void put(uint64_t value, unsigned count) {
    for (; count > 0; --count) put((value >> (count - 1) & 1U) != 0);
  }
  /// Bits as they are written: "0101".
  void put(std::string_view bits) {
    for (const char bit : bits) put(bit == '1');
  }
  /// The text as bytes, the last one filled up with zero bits.
  [[nodiscard]] const std::vector<uint8_t>& bytes() const { return bytes_; }
  /// As many of the bytes as `room` allows.
  void copyTo(uint8_t* dst, size_t room) const {
    std::copy_n(bytes_.begin(), std::min(room, bytes_.size()), dst);
  }

 private:
  void put(bool bit) {
    if (used_ % 8 == 0) bytes_.push_back(0);
    if (bit) bytes_.back() |= static_cast<uint8_t>(0x80U >> used_ % 8);
    ++used_;
  }

  std::vector<uint8_t> bytes_;
  size_t used_ = 0;  // bits
};

}  // namespace twin
