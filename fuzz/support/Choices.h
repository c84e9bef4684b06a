// Choices - reads the decisions of a structured fuzz target from its input. An input that has come
// to its end decides for zero, so every input means something.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

class Choices {
 public:
  Choices(const uint8_t* data, size_t size) : left_(data, size) {}

  [[nodiscard]] bool atEnd() const { return left_.empty(); }
  [[nodiscard]] size_t left() const { return left_.size(); }

  uint8_t byte() {
    if (left_.empty()) return 0;
    const uint8_t value = left_.front();
    left_ = left_.subspan(1);
    return value;
  }
  bool flag() { return (byte() & 1U) != 0; }
  bool oneIn(uint32_t n) { return byte() % n == n - 1; }
  uint16_t word() {
    const unsigned high = byte();
    return static_cast<uint16_t>(high << 8U | byte());
  }
  uint32_t number() {
    const uint32_t high = word();
    return high << 16U | word();
  }
  /// 0 to end - 1.
  uint32_t below(uint32_t end) { return (end <= 256 ? byte() : word()) % end; }

  template <class T, size_t N>
  const T& any(const std::array<T, N>& list) {
    return list[below(static_cast<uint32_t>(N))];
  }

  /// The next bytes, at most so many.
  std::span<const uint8_t> bytes(size_t most) {
    const auto taken = left_.first(std::min(most, left_.size()));
    left_ = left_.subspan(taken.size());
    return taken;
  }
  /// The next bytes up to a count that stands in front of them.
  std::span<const uint8_t> counted() {
    const size_t count = word();
    return bytes(count);
  }
  std::span<const uint8_t> rest() { return bytes(left_.size()); }
  /// A text of at most so many characters, ended by a zero byte.
  std::string text(size_t most) {
    std::string out;
    while (!left_.empty() && out.size() < most) {
      const uint8_t next = byte();
      if (next == 0) break;
      out.push_back(static_cast<char>(next));
    }
    return out;
  }

 private:
  std::span<const uint8_t> left_;
};
