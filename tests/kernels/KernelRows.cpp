#include "KernelRows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>

namespace {

constexpr size_t kLongestOfEvery = 300;
constexpr uint32_t kLongest = 70000;
constexpr int kLongRows = 5;  // of each kind
constexpr size_t kAlignments = 16;
constexpr uint8_t kGuardByte = 0xA5;

// Run lengths at which something begins or ends: words, vectors, segments, counts of 7 and 8 bits.
constexpr uint32_t kRunLengths[] = {1,   1,   1,   2,   2,   3,   3,     4,     5,    6,
                                    7,   8,   9,   15,  16,  17,  24,    31,    32,   33,
                                    63,  64,  65,  126, 127, 128, 129,   130,   131,  255,
                                    256, 257, 383, 384, 385, 640, 16383, 16384, 16385};

constexpr const char* kKindNames[kRowKinds] = {"zeros",      "ones", "flat",       "runs",
                                               "gradient",   "text", "two values", "noise",
                                               "blank tail", "speck"};

void fillRuns(Bytes& row, Random& random) {
  for (size_t at = 0; at < row.size();) {
    const size_t run = std::min<size_t>(random.oneOf(kRunLengths), row.size() - at);
    std::memset(row.data() + at, random.flag() ? random.byte() : 0, run);
    at += run;
  }
}

void fillGradient(Bytes& row, Random& random) {
  const uint32_t first = random.byte();
  const uint32_t step = random.between(1, 400);
  for (size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<uint8_t>(first + i * step / 100);
  }
}

// Strokes with soft edges on paper.
void fillText(Bytes& row, Random& random) {
  const uint8_t paper = random.flag() ? 0x00 : 0xFF;
  std::fill(row.begin(), row.end(), paper);
  for (size_t at = random.below(40); at < row.size(); at += random.between(1, 60)) {
    row[at++] = random.byte();
    for (uint32_t stroke = random.below(9); stroke > 0 && at < row.size(); --stroke) {
      row[at++] = static_cast<uint8_t>(~paper);
    }
    if (at < row.size()) row[at] = random.byte();
  }
}

void fillTwoValues(Bytes& row, Random& random) {
  const uint8_t values[] = {random.byte(), random.byte()};
  for (uint8_t& byte : row) byte = random.oneOf(values);
}

void fillNoise(Bytes& row, size_t count, Random& random) {
  for (size_t i = 0; i < count; ++i) row[i] = random.byte();
}

// Another byte in one place, often one that differs in a single bit.
void fillSpeck(Bytes& row, Random& random) {
  if (row.empty()) return;
  uint8_t& byte = row[random.below(static_cast<uint32_t>(row.size()))];
  byte = random.flag() ? random.byte() : static_cast<uint8_t>(byte ^ 1U << random.below(8));
}

std::string describe(const KernelCase& one) {
  return std::string("row of ") + std::to_string(one.row.size()) + " bytes, " +
         kKindNames[static_cast<size_t>(one.kind)] + ", source at " +
         std::to_string(one.alignment) + ", destination at " + std::to_string(one.targetAlignment) +
         " modulo 16";
}

}  // namespace

uint64_t Random::next() {
  state_ += 0x9E3779B97F4A7C15U;
  uint64_t mixed = state_;
  mixed = (mixed ^ mixed >> 30U) * 0xBF58476D1CE4E5B9U;
  mixed = (mixed ^ mixed >> 27U) * 0x94D049BB133111EBU;
  return mixed ^ mixed >> 31U;
}

uint64_t kernelSeed() {
  static const uint64_t seed = [] {
    const char* given = std::getenv("ODAXGEN_KERNEL_SEED");
    const uint64_t chosen =
        given != nullptr ? std::strtoull(given, nullptr, 10) : uint64_t{std::random_device()()};
    std::cout << "ODAXGEN_KERNEL_SEED=" << chosen << '\n';
    return chosen;
  }();
  return seed;
}

Bytes makeRow(RowKind kind, size_t length, Random& random) {
  Bytes row(length);
  switch (kind) {
    case RowKind::kZeros:
      break;
    case RowKind::kOnes:
      row.assign(length, 0xFF);
      break;
    case RowKind::kFlat:
      row.assign(length, random.byte());
      break;
    case RowKind::kRuns:
      fillRuns(row, random);
      break;
    case RowKind::kGradient:
      fillGradient(row, random);
      break;
    case RowKind::kText:
      fillText(row, random);
      break;
    case RowKind::kTwoValues:
      fillTwoValues(row, random);
      break;
    case RowKind::kNoise:
      fillNoise(row, length, random);
      break;
    case RowKind::kBlankTail:
      row.assign(length, random.flag() ? 0x00 : 0xFF);
      if (length > 0) fillNoise(row, random.below(static_cast<uint32_t>(length)), random);
      break;
    case RowKind::kSpeck:
      row.assign(length, random.flag() ? 0x00 : 0xFF);
      fillSpeck(row, random);
      break;
  }
  return row;
}

Bytes makeRowAbove(const Bytes& row, Random& random) {
  Bytes above = row;
  if (row.empty()) return above;
  const auto length = static_cast<uint32_t>(row.size());
  switch (random.below(4)) {
    case 0:  // equal
      break;
    case 1:
      for (uint32_t left = random.between(1, 6); left > 0; --left) {
        const uint32_t at = random.below(length);
        const uint32_t changed = std::min(random.oneOf(kRunLengths), length - at);
        for (uint32_t i = 0; i < changed; ++i) above[at + i] = random.byte();
      }
      break;
    case 2:
      std::rotate(above.begin(), above.begin() + 1, above.end());
      break;
    default:
      above = makeRow(static_cast<RowKind>(random.below(kRowKinds)), row.size(), random);
      break;
  }
  return above;
}

uint32_t KernelCase::roomFor(uint32_t needed) const {
  switch (random.below(4)) {
    case 0:
      return random.below(needed + 1);
    case 1:
      return needed + random.below(40);
    default:
      return needed;
  }
}

void forEachRow(const char* kernel,
                const std::function<testing::AssertionResult(const KernelCase&)>& tryOne) {
  const uint64_t seed = kernelSeed();
  Random random(seed);
  const auto isGood = [&](const KernelCase& one) {
    const testing::AssertionResult result = tryOne(one);
    if (!result) {
      ADD_FAILURE() << kernel << ": " << describe(one) << "\n"
                    << result.message() << "\nagain: ODAXGEN_KERNEL_SEED=" << seed;
    }
    return static_cast<bool>(result);
  };
  for (int k = 0; k < kRowKinds; ++k) {
    const auto kind = static_cast<RowKind>(k);
    for (size_t length = 0; length <= kLongestOfEvery; ++length) {
      const Bytes row = makeRow(kind, length, random);
      // Every other alignment; the next kind takes those between. Over all lengths, every pair of
      // alignments.
      for (size_t at = (static_cast<size_t>(k) + length) % 2; at < kAlignments; at += 2) {
        if (!isGood({row, kind, at, (at + length) % kAlignments, random})) return;
      }
    }
    for (int i = 0; i < kLongRows; ++i) {
      const Bytes row = makeRow(kind, random.between(kLongestOfEvery, kLongest), random);
      if (!isGood({row, kind, random.below(kAlignments), random.below(kAlignments), random}))
        return;
    }
  }
}

Source::Source(const uint8_t* bytes, size_t count, size_t alignment)
    : block_(new uint8_t[alignment + count]), alignment_(alignment) {
  std::memset(block_.get(), kGuardByte, alignment);
  if (count > 0) std::memcpy(block_.get() + alignment, bytes, count);
}

Target::Target(size_t size, size_t alignment, uint8_t fill)
    : block_(new uint8_t[kGuard + alignment + size + kGuard * (alignment % 2)]),
      alignment_(alignment),
      size_(size),
      behind_(kGuard * (alignment % 2)) {
  std::memset(block_.get(), kGuardByte, kGuard + alignment + size + behind_);
  std::memset(get(), fill, size);
}

bool Target::isGuardWhole() const {
  const auto isGuard = [](uint8_t byte) { return byte == kGuardByte; };
  const uint8_t* end = begin() + size_;
  return std::all_of(static_cast<const uint8_t*>(block_.get()), begin(), isGuard) &&
         std::all_of(end, end + behind_, isGuard);
}

testing::AssertionResult isSame(const Target& fast, const Target& plain, size_t count) {
  if (!fast.isGuardWhole()) {
    return testing::AssertionFailure() << "bytes around the destination have changed";
  }
  if (std::memcmp(fast.begin(), plain.begin(), count) == 0) return testing::AssertionSuccess();
  const size_t at = static_cast<size_t>(
      std::mismatch(fast.begin(), fast.begin() + count, plain.begin()).first - fast.begin());
  return testing::AssertionFailure()
         << "byte " << at << " of " << count << " is " << int{fast.begin()[at]} << " and not "
         << int{plain.begin()[at]};
}

testing::AssertionResult isSame(const Target& fast, const Target& plain) {
  return isSame(fast, plain, plain.size());
}
