// KernelRows - what the tests of the kernels are made of: random rows of every kind and length,
// sources and destinations at every alignment.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TempFolder.h"

/// Random numbers that are the same for the same seed, everywhere.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint64_t next();
  /// 0 to `bound` - 1.
  uint32_t below(uint32_t bound) { return static_cast<uint32_t>(next() % bound); }
  uint32_t between(uint32_t least, uint32_t most) { return least + below(most - least + 1); }
  uint8_t byte() { return static_cast<uint8_t>(next()); }
  bool flag() { return (next() & 1U) != 0; }

  template <class Choices>
  auto oneOf(const Choices& choices) {
    return std::data(choices)[below(static_cast<uint32_t>(std::size(choices)))];
  }

 private:
  uint64_t state_;
};

/// The seed of this run: ODAXGEN_KERNEL_SEED, or another one each time. Printed once.
uint64_t kernelSeed();

enum class RowKind {
  kZeros,
  kOnes,
  kFlat,
  kRuns,
  kGradient,
  kText,
  kTwoValues,
  kNoise,
  kBlankTail,
  kSpeck
};
constexpr int kRowKinds = 10;

Bytes makeRow(RowKind kind, size_t length, Random& random);
/// A row that could stand above: equal, with few differences, moved by a byte, or another one.
Bytes makeRowAbove(const Bytes& row, Random& random);

/// One try: a row, and where it and what comes of it shall stand in memory.
struct KernelCase {
  const Bytes& row;
  RowKind kind;
  size_t alignment, targetAlignment;  // 0 to 15
  Random& random;

  /// A length for a destination that needs `needed`: that, less or more.
  [[nodiscard]] uint32_t roomFor(uint32_t needed) const;
};

/// Runs `tryOne` for rows of every kind, of every length from 0 to 300 at every alignment and of
/// some lengths up to 70000, until one fails; says which.
void forEachRow(const char* kernel,
                const std::function<testing::AssertionResult(const KernelCase&)>& tryOne);

/// Bytes for reading at an address of the given alignment, with nothing behind them.
class Source {
 public:
  Source(const uint8_t* bytes, size_t count, size_t alignment);
  Source(const Bytes& bytes, size_t alignment) : Source(bytes.data(), bytes.size(), alignment) {}
  [[nodiscard]] const uint8_t* get() const { return block_.get() + alignment_; }

 private:
  std::unique_ptr<uint8_t[]> block_;
  size_t alignment_;
};

/// Room for writing at an address of the given alignment, between bytes that nobody may change. At
/// every other alignment there are none behind it, so that AddressSanitizer watches there.
class Target {
 public:
  /// @param fill  what it holds at first
  Target(size_t size, size_t alignment, uint8_t fill);
  [[nodiscard]] uint8_t* get() const { return block_.get() + kGuard + alignment_; }
  [[nodiscard]] const uint8_t* begin() const { return get(); }
  [[nodiscard]] size_t size() const { return size_; }
  [[nodiscard]] bool isGuardWhole() const;

 private:
  static constexpr size_t kGuard = 16;

  std::unique_ptr<uint8_t[]> block_;
  size_t alignment_, size_, behind_;
};

/// Whether the first `count` bytes, or all, are what the plain kernel has written, and what stands
/// around them is as it was.
testing::AssertionResult isSame(const Target& fast, const Target& plain, size_t count);
testing::AssertionResult isSame(const Target& fast, const Target& plain);
