#include "PlainHxrc.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "PlainBits.h"

namespace twin {

namespace {

constexpr std::string_view kAbove = "01", kLeft = "001", kLongRun = "0001", kDifference = "1";
constexpr std::string_view kEnd = "00000";
constexpr std::array<std::string_view, 8> kCategories = {"101", "01",   "00",    "111",
                                                         "100", "1101", "11001", "11000"};

unsigned bitsOf(int number) {
  unsigned bits = 0;
  for (; number > 0; number /= 2) ++bits;
  return bits;
}

// Of n bits, n - 1 zero bits in front; 0 is seven zero bits.
void putCount(Bits& out, int count) {
  out.put(0, count == 0 ? 7 : bitsOf(count) - 1);
  out.put(static_cast<uint64_t>(count), bitsOf(count));
}

void putRun(Bits& out, std::string_view kind, int count) {
  if (count >= 128) {
    out.put(kLongRun);
    putCount(out, count / 128);
  }
  out.put(kind);
  putCount(out, count % 128);
}

// The category is the number of bits of the amount; a negative amount has its bits inverted. The
// largest, 128, has no sign and needs no bits.
void putDifference(Bits& out, uint8_t byte, uint8_t left) {
  const int around = (byte - left + 256) % 256;
  const int difference = around > 128 ? around - 256 : around;
  const int amount = std::abs(difference);
  const unsigned category = bitsOf(amount);
  out.put(kDifference);
  out.put(kCategories[category - 1]);
  const auto bits = static_cast<unsigned>(amount);
  if (category < 8) out.put(difference < 0 ? ~bits : bits, category);
}

}  // namespace

std::vector<uint8_t> hxrcCode(const uint8_t* previous, const uint8_t* row, int length) {
  const auto left = [=](int i) { return i == 0 ? uint8_t{0} : row[i - 1]; };
  Bits out;
  for (int i = 0; i < length;) {
    // A first byte of 0 in a row without a row above is a run of its own, on purpose.
    const int longest = previous == nullptr && i == 0 ? 1 : std::min(length - i, kHxrcMaxRun);
    int above = 0, same = 0;
    while (previous != nullptr && above < longest && row[i + above] == previous[i + above]) ++above;
    while (same < longest && row[i + same] == left(i + same)) ++same;
    if (above > 0) {
      putRun(out, kAbove, above);
      i += above;
    } else if (same > 0) {
      putRun(out, kLeft, same);
      i += same;
    } else {
      putDifference(out, row[i], left(i));
      ++i;
    }
  }
  out.put(kEnd);
  return out.bytes();
}

uint32_t HXRC_Compress(uint8_t* out, const uint8_t* previous, const uint8_t* row, int length) {
  if (out == nullptr) return static_cast<uint32_t>(-1);
  if (row == nullptr) return static_cast<uint32_t>(-2);
  if (out == previous) return static_cast<uint32_t>(-4);
  if (out == row) return static_cast<uint32_t>(-3);
  if (length < 1) return static_cast<uint32_t>(-5);
  if (length > 120000) return static_cast<uint32_t>(-6);
  const std::vector<uint8_t> code = hxrcCode(previous, row, length);
  std::copy(code.begin(), code.end(), out);
  return static_cast<uint32_t>(code.size()) % 65536;
}

}  // namespace twin
