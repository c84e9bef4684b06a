// Tests of the row decoders: every code of the three methods, their limits, and for each code that
// stands for no row the byte at which it goes wrong.
#include "RowDecoders.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Bits.h"
#include "Damage.h"
#include "DecodedRows.h"
#include "TempFolder.h"

namespace {

using jobreader::kMaxRowBytes;
using jobreader::RowBytes;

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes counting(size_t count, uint8_t first) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(first + i);
  return bytes;
}

Bytes copies(size_t count, const Bytes& bytes) {
  Bytes all;
  all.reserve(count * bytes.size());
  for (size_t i = 0; i < count; ++i) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

// A row of `size` zero bytes with `bytes` from `at` on.
Bytes rowWith(size_t size, size_t at, const Bytes& bytes) {
  Bytes row(size);
  std::copy(bytes.begin(), bytes.end(), row.begin() + static_cast<std::ptrdiff_t>(at));
  return row;
}

// The row of an HXRC code, however long.
Bytes hxrcRow(const Bytes& code, const Bytes* above = nullptr) {
  RowBytes row;
  jobreader::decodeHxrc(
      code, above != nullptr ? std::optional<std::span<const uint8_t>>(*above) : std::nullopt, row);
  return row;
}

// A code and the byte at which it goes wrong.
struct Damaged {
  const char* name;
  Bytes code;
  size_t position;
};

// PackBits -------------------------------------------------------------------------------------

TEST(PackBitsCode, HeadersStandForLiteralsAndRuns) {
  struct Case {
    const char* name;
    Bytes code, row;
  };
  const Case kCases[] = {
      {"no code is an empty row", {}, {}},
      {"0 is one literal byte", {0x00, 0x7E}, {0x7E}},
      {"2 is three literal bytes", {0x02, 0x80, 0x81, 0xFF}, {0x80, 0x81, 0xFF}},
      {"127 is 128 literal bytes", Bytes{0x7F} + counting(128, 5), counting(128, 5)},
      {"255 is a run of two", {0xFF, 0x41}, {0x41, 0x41}},
      {"254 is a run of three", {0xFE, 0x41}, {0x41, 0x41, 0x41}},
      {"129 is a run of 128", {0x81, 0x80}, Bytes(128, 0x80)},
      {"a row trimmed to nine bytes",
       {0xFC, 0x00, 0x00, 0x7E, 0xFE, 0x81},
       {0x00, 0x00, 0x00, 0x00, 0x00, 0x7E, 0x81, 0x81, 0x81}},
      {"a run goes on as another", {0xFE, 9, 0xFF, 9}, {9, 9, 9, 9, 9}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(decodePackBits(c.code), c.row);
  }
}

TEST(PackBitsCode, EveryHeaderGivesItsNumberOfBytes) {
  for (unsigned header = 0; header < 128; ++header) {
    SCOPED_TRACE(header);
    const Bytes literal = counting(header + 1, 0x70);
    EXPECT_EQ(decodePackBits(Bytes{static_cast<uint8_t>(header)} + literal), literal);
  }
  for (unsigned header = 129; header < 256; ++header) {
    SCOPED_TRACE(header);
    EXPECT_EQ(decodePackBits({static_cast<uint8_t>(header), 0x33}), Bytes(257 - header, 0x33));
  }
}

TEST(PackBitsCode, TheFormerContentOfTheRowIsDropped) {
  RowBytes row = {1, 2, 3, 4};
  jobreader::decodePackBits(Bytes{0x00, 9}, row);
  EXPECT_EQ(row, RowBytes{9});
  jobreader::decodePackBits({}, row);
  EXPECT_EQ(row, RowBytes{});
}

TEST(PackBitsCode, DamageIsNamedByItsByte) {
  const Damaged kCases[] = {
      {"128 is no header", {0x80}, 0},
      {"128 is no header, a byte behind it", {0x80, 0x00}, 0},
      {"128 behind a literal", {0x00, 0x41, 0x80, 0x41}, 2},
      {"128 behind a run", {0xFE, 0x80, 0x80, 0x41}, 2},
      {"a literal without its byte", {0x00}, 1},
      {"a literal with one byte of two", {0x01, 0x41}, 2},
      {"a literal with 127 bytes of 128", Bytes{0x7F} + counting(127, 0), 128},
      {"a run without its byte", {0xFE}, 1},
      {"a run without its byte behind a literal", {0x01, 1, 2, 0x81}, 4},
  };
  for (const Damaged& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(rowDamageOf([&] { decodePackBits(c.code); }), c.position);
  }
}

TEST(PackBitsCode, ALongestRowIsReadAndOneByteMoreIsRefused) {
  const Bytes longest = copies(kMaxRowBytes / 128, {0x81, 0x5A});
  RowBytes row;
  jobreader::decodePackBits(longest, row);
  EXPECT_EQ(row.size(), kMaxRowBytes);
  EXPECT_EQ(rowDamageOf([&] { decodePackBits(longest + Bytes{0x00, 1}); }), longest.size());
  EXPECT_EQ(rowDamageOf([&] { decodePackBits(longest + Bytes{0xFF, 1}); }), longest.size());
}

// Delta row ------------------------------------------------------------------------------------

TEST(DeltaRowCode, NoCodeIsTheSeedRowItself) {
  EXPECT_EQ(decodeDeltaRow({}, {1, 2, 3}), (Bytes{1, 2, 3}));
  EXPECT_EQ(decodeDeltaRow({}, {}), Bytes{});
}

TEST(DeltaRowCode, WhatNoCommandTouchesStays) {
  struct Case {
    const char* name;
    Bytes code, row;
  };
  const Case kCases[] = {
      // on the row 10 11 12 13 14 15 16 17 18 19
      {"one byte at once", {0x00, 0xAA}, Bytes{0xAA} + counting(9, 0x11)},
      {"one byte, 3 on",
       {0x03, 0xAA},
       {0x10, 0x11, 0x12, 0xAA, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19}},
      {"the last byte", {0x09, 0xAA}, counting(9, 0x10) + Bytes{0xAA}},
      {"eight bytes, 2 on", {0xE2, 1, 2, 3, 4, 5, 6, 7, 8}, {0x10, 0x11, 1, 2, 3, 4, 5, 6, 7, 8}},
      {"ten bytes in two commands",
       {0xE0, 1, 2, 3, 4, 5, 6, 7, 8, 0x20, 9, 10},
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
      {"an offset counts from behind the replacement before",
       {0x21, 0xAA, 0xBB, 0x02, 0xCC},
       {0x10, 0xAA, 0xBB, 0x13, 0x14, 0xCC, 0x16, 0x17, 0x18, 0x19}},
      {"a stretch may be cut anywhere",
       {0x01, 0xAA, 0x00, 0xBB, 0x20, 0xCC, 0xDD},
       {0x10, 0xAA, 0xBB, 0xCC, 0xDD, 0x15, 0x16, 0x17, 0x18, 0x19}},
      {"a replacement may be what was there", {0x04, 0x14}, counting(10, 0x10)},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(decodeDeltaRow(c.code, counting(10, 0x10)), c.row);
  }
}

TEST(DeltaRowCode, FourStretchesOf64Bytes) {
  const Bytes code = {0x42, 0xA1, 0xA2, 0xA3, 0x1F, 0x0E, 0x55, 0xE1, 1, 2,
                      3,    4,    5,    6,    7,    8,    0x20, 9,    10};
  Bytes row = rowWith(64, 2, {0xA1, 0xA2, 0xA3});
  row[50] = 0x55;
  for (size_t i = 0; i < 10; ++i) row[52 + i] = static_cast<uint8_t>(i + 1);
  EXPECT_EQ(decodeDeltaRow(code, Bytes(64)), row);
}

TEST(DeltaRowCode, OffsetsOf31AndMoreHaveOffsetBytes) {
  struct Case {
    size_t offset;
    Bytes head;
  };
  const Case kCases[] = {
      {30, {0x1E}},
      {31, {0x1F, 0x00}},
      {32, {0x1F, 0x01}},
      {285, {0x1F, 0xFE}},
      {286, {0x1F, 0xFF, 0x00}},
      {287, {0x1F, 0xFF, 0x01}},
      {540, {0x1F, 0xFF, 0xFE}},
      {541, {0x1F, 0xFF, 0xFF, 0x00}},
      {796, {0x1F, 0xFF, 0xFF, 0xFF, 0x00}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.offset);
    EXPECT_EQ(decodeDeltaRow(c.head + Bytes{0x77}, Bytes(c.offset + 1)),
              rowWith(c.offset + 1, c.offset, {0x77}));
    // The same from behind another replacement, and with the greatest count.
    Bytes head = c.head;
    head[0] = static_cast<uint8_t>(head[0] | 0xE0U);
    Bytes row = rowWith(c.offset + 9, c.offset + 1, counting(8, 1));
    row[0] = 0x99;
    EXPECT_EQ(decodeDeltaRow(Bytes{0x00, 0x99} + head + counting(8, 1), Bytes(c.offset + 9)), row);
  }
}

TEST(DeltaRowCode, DamageIsNamedByItsByte) {
  struct Case {
    const char* name;
    Bytes code;
    size_t rowBytes;
    size_t position;
  };
  const Case kCases[] = {
      {"a command without its byte", {0x00}, 9, 1},
      {"a command with two bytes of three", {0x40, 1, 2}, 9, 3},
      {"a command that needs offset bytes", {0x1F}, 400, 1},
      {"an offset byte of 255 is followed by another", {0x1F, 0xFF}, 400, 2},
      {"no replacement behind offset bytes", {0x1F, 0xFF, 0x00}, 400, 3},
      {"the second command is cut off", {0x00, 1, 0x20, 1}, 9, 4},
      {"anything in a row of no bytes", {0x00, 1}, 0, 0},
      {"an offset to the row's end", {0x02, 9}, 2, 0},
      {"an offset beyond the row's end", {0x03, 9}, 2, 0},
      {"a replacement that reaches beyond the end", {0x40, 1, 2, 3}, 2, 0},
      {"the second command reaches beyond the end", {0x20, 1, 2, 0x00, 3}, 2, 3},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(rowDamageOf([&] { decodeDeltaRow(c.code, Bytes(c.rowBytes)); }), c.position);
  }
}

TEST(DeltaRowCode, AnOffsetNeverWrapsAround) {
  const Bytes far = Bytes{0x1F} + Bytes(100000, 0xFF) + Bytes{0x00, 0x01};
  EXPECT_TRUE(rowDamageOf([&] { decodeDeltaRow(far, Bytes(100)); }).has_value());
}

// HXRC -----------------------------------------------------------------------------------------

TEST(HxrcCode, TheEndCodeAloneIsARowOfNoBytes) {
  EXPECT_EQ(hxrcRow({0x00}), Bytes{});
}

TEST(HxrcCode, EveryDifference) {
  struct Category {
    unsigned bits;
    const char* code;
  };
  const Category kCategories[] = {{1, "101"}, {2, "01"},   {3, "00"},   {4, "111"},
                                  {5, "100"}, {6, "1101"}, {7, "11001"}};
  for (const Category& category : kCategories) {
    const int all = (1 << category.bits) - 1;
    for (int v = 0; v <= all; ++v) {
      SCOPED_TRACE(category.code);
      SCOPED_TRACE(v);
      std::string code = std::string("1") + category.code;
      for (unsigned bit = category.bits; bit-- > 0;) code += (v >> bit & 1) != 0 ? '1' : '0';
      const int difference = v > all / 2 ? v : v - all;
      EXPECT_EQ(hxrcRow(bits(code + "00000")), Bytes{static_cast<uint8_t>(difference)});
      // From another left byte, which half of them wrap around.
      EXPECT_EQ(hxrcRow(bits("1 11001 1110000" + code + "00000")),  // +112
                (Bytes{112, static_cast<uint8_t>(112 + difference)}));
    }
  }
  EXPECT_EQ(hxrcRow(bits("1 11000 1 11000 00000")), (Bytes{0x80, 0x00}));
}

// Every count of 1 to 127 with its code.
std::string countCode(unsigned n) {
  struct Octave {
    unsigned first;
    const char* prefix;
    unsigned bits;
  };
  const Octave kOctaves[] = {{64, "0000001", 6}, {32, "000001", 5}, {16, "00001", 4},
                             {8, "0001", 3},     {4, "001", 2},     {2, "01", 1}};
  for (const Octave& octave : kOctaves) {
    if (n < octave.first) continue;
    std::string code = octave.prefix;
    for (unsigned bit = octave.bits; bit-- > 0;) code += (n >> bit & 1U) != 0 ? '1' : '0';
    return code;
  }
  return n == 1 ? "1" : "0000000";
}

// A run with the prefix of its kind; of 128 and more as a long run.
std::string runCode(const std::string& prefix, unsigned length) {
  return (length < 128 ? "" : "0001" + countCode(length / 128)) + prefix + countCode(length % 128);
}

TEST(HxrcCode, RunsOfEveryLength) {
  const Bytes above = counting(16383, 3);
  for (unsigned length = 1; length <= 16383; length += length < 300 ? 1 : 251) {
    SCOPED_TRACE(length);
    const Bytes start(above.begin(), above.begin() + length);
    ASSERT_EQ(hxrcRow(bits(runCode("01", length) + "00000"), &above), start);
    ASSERT_EQ(hxrcRow(bits(runCode("001", length) + "00000")), Bytes(length, 0));
    ASSERT_EQ(hxrcRow(bits("1 101 0" + runCode("001", length) + "00000")), Bytes(length + 1, 0xFF));
  }
  EXPECT_EQ(hxrcRow(bits(runCode("01", 16383) + "00000"), &above), above);
}

TEST(HxrcCode, WholeRows) {
  const Bytes first = {0x00, 0x00, 0x00, 0x10, 0x12, 0x12, 0x12, 0x12};
  const Bytes second = {0x00, 0x00, 0x00, 0x10, 0x0F, 0x0F, 0x0F, 0x12};
  EXPECT_EQ(hxrcRow({0x32, 0xB2, 0x16, 0x2C, 0x00}), first);
  EXPECT_EQ(hxrcRow({0x49, 0xA2, 0x98, 0x00}, &first), second);
  const Bytes above = counting(300, 7);
  EXPECT_EQ(hxrcRow({0x14, 0x82, 0xC0, 0x00}, &above), above);
  EXPECT_EQ(hxrcRow({0x31, 0x90, 0x3F, 0x80}), Bytes(256));
  EXPECT_EQ(hxrcRow({0xD1, 0xD3, 0x60}), (Bytes{0xFF, 0xFF, 0xFC, 0xFD}));
  EXPECT_EQ(hxrcRow({0xD1, 0xEF, 0x9A, 0xA0}), (Bytes{0xFF, 0xFF, 0x00, 0x55}));
}

TEST(HxrcCode, BothKindsOfRunFollowEachOtherAnywhere) {
  const Bytes above = {9, 8, 7, 6, 5, 4};
  struct Case {
    const char* name;
    const char* code;
    Bytes row;
  };
  const Case kCases[] = {
      {"a left run at the row's start repeats the 0 in front of it", "001 011", {0, 0, 0}},
      {"a left run behind a run of the row above", "01 010 001 010", {9, 8, 8, 8}},
      {"a run of the row above goes on at its own place", "001 010 01 010", {0, 0, 7, 6}},
      {"a difference behind a run of the row above", "01 1 1 101 1", {9, 10}},
      {"a run goes on as another of its kind", "01 1 01 1 001 1 001 1", {9, 8, 8, 8}},
      {"the row may be shorter than the one above", "01 1", {9}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(hxrcRow(bits(std::string(c.code) + "00000"), &above), c.row);
  }
}

TEST(HxrcCode, TheFormerContentOfTheRowIsDropped) {
  RowBytes row = {1, 2, 3, 4};
  jobreader::decodeHxrc(bits("001 1 00000"), std::nullopt, row);
  EXPECT_EQ(row, RowBytes{0});
}

TEST(HxrcCode, ThePaddingReachesToTheNextWholeByte) {
  const Bytes above = {9, 8};
  EXPECT_EQ(hxrcRow(bits("01 1 00000"), &above), (Bytes{9}));  // no padding
  EXPECT_EQ(hxrcRow({0x30, 0x00}), (Bytes{0}));                // 7 bits of it
}

TEST(HxrcCode, DamageIsNamedByTheByteInWhichItsCodeBegins) {
  const Damaged kCases[] = {
      {"no bits at all", {}, 0},
      {"no end", bits("001 1"), 1},
      {"no end behind whole bytes", bits("001 1 001 1"), 1},
      {"a difference that is cut off", bits("1 11001 11"), 1},
      {"a count that is cut off", bits("001 00000"), 1},
      {"a long run that is cut off", bits("0001 0100"), 1},
      {"the end code itself is cut off", bits("001 010 00"), 1},
      {"00001 is no code", bits("00001"), 0},
      {"00001 is no code, nor when a byte ends in it", bits("001 1 00001"), 0},
      {"00001 is no code in the second byte", bits("001 1 001 1 00001"), 1},
      {"a run of 0", bits("001 0000000 001 1 00000"), 0},
      {"a run of 0 whose count begins the second byte", bits("1 101 1 001 0000000 00000"), 1},
      {"a long run of 0", bits("0001 0000000 001 1 00000"), 0},
      {"a long run of 0 whose count begins the second byte", bits("001 1 0001 0000000 001 1 00000"),
       1},
      {"a long run of 0 in all", bits("0001 0000000 001 0000000 00000"), 0},
      {"the row above without one", bits("01 1 00000"), 0},
      {"the row above without one, in the second byte", bits("001 1 001 1 01 1 00000"), 1},
      {"a long run of the row above without one", bits("0001 1 01 1 00000"), 0},
      {"a long run of a long run", bits("0001 1 0001 1 001 1 00000"), 0},
      {"a difference behind a long run's count", bits("0001 1 1 101 1 00000"), 0},
      {"the end behind a long run's count", bits("0001 1 00000"), 0},
      {"padding that is not 0", bits("001 1 00000 1"), 1},
      {"padding whose last bit is not 0", bits("001 1 00000 0000001"), 1},
      {"a byte behind the end", bits("00000 000 0"), 1},
      {"a byte behind the end and its padding", bits("001 1 00000 0000000 0"), 2},
      {"two bytes behind the end", bits("00000 000 00000000 00000000"), 1},
      {"another row behind the end", bits("00000 000 001 1 00000"), 1},
  };
  for (const Damaged& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(rowDamageOf([&] { hxrcRow(c.code); }), c.position);
  }
}

TEST(HxrcCode, AWrongKindOfALongRunIsNamedByItsOwnByte) {
  // The count of 64 * 128 fills the first two bytes and one bit.
  EXPECT_EQ(rowDamageOf([] { hxrcRow(bits("0001 0000001000000 1 101 1 00000")); }), 2);
  EXPECT_EQ(rowDamageOf([] { hxrcRow(bits("0001 0000001000000 0001 1 001 1 00000")); }), 2);
  EXPECT_EQ(rowDamageOf([] { hxrcRow(bits("0001 0000001000000 00000")); }), 2);
}

TEST(HxrcCode, ALongRunOf0IsRefusedBeforeItsKindIsRead) {
  EXPECT_EQ(rowDamageOf([] { hxrcRow(bits("001 1 0001 0000000")); }), 1);
}

TEST(HxrcCode, NoRowIsLongerThanTheOneAbove) {
  const Bytes three = {1, 2, 3};
  const Bytes none;
  EXPECT_EQ(hxrcRow(bits("001 011 00000"), &three), Bytes(3));
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("001 00100 00000"), &three); }), 0);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("01 011 1 101 1 00000"), &three); }), 0);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("01 1 001 010 1 101 1 00000"), &three); }), 1);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("001 1 00000"), &none); }), 0);
  EXPECT_EQ(hxrcRow(bits("01 011 00000"), &three), three);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("01 00100 00000"), &three); }), 0);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("01 1 00000"), &none); }), 0);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits("01 1 01 1 01 1 01 1 00000"), &three); }), 1);
}

TEST(HxrcCode, ARowOf120000BytesIsReadAndOneByteMoreIsRefused) {
  std::string code;
  for (int i = 0; i < 7; ++i) code += runCode("001", 16383);
  code += runCode("001", 5319);
  EXPECT_EQ(hxrcRow(bits(code + "00000")), Bytes(120000));
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits(code + "001 1 00000")); }), code.size() / 8);
  EXPECT_EQ(rowDamageOf([&] { hxrcRow(bits(code + "1 101 1 00000")); }), code.size() / 8);
}

// Properties -----------------------------------------------------------------------------------
// That the decoders undo the encoders is held where the encoders are tested. These use codes that
// the encoders would not choose.

RC_GTEST_PROP(PackBitsCodeProperty, AnyItemsMakeARow, ()) {
  Bytes code;
  Bytes row;
  for (auto items = *rc::gen::inRange(0, 20); items > 0; --items) {
    const auto count = *rc::gen::inRange<size_t>(1, 129);
    const auto value = *rc::gen::arbitrary<uint8_t>();
    if (count > 1 && *rc::gen::arbitrary<bool>()) {
      code = code + Bytes{static_cast<uint8_t>(257 - count), value};
      row = row + Bytes(count, value);
    } else {
      code = code + Bytes{static_cast<uint8_t>(count - 1)} + counting(count, value);
      row = row + counting(count, value);
    }
  }
  RC_ASSERT(decodePackBits(code) == row);
}

RC_GTEST_PROP(DeltaRowCodeProperty, AnyCommandsMakeARow, ()) {
  Bytes row = counting(*rc::gen::inRange<size_t>(1, 2000), 1);
  const Bytes seed = row;
  Bytes code;
  for (size_t at = 0; at < row.size();) {
    const auto offset = *rc::gen::inRange<size_t>(0, row.size() - at);
    const auto count =
        *rc::gen::inRange<size_t>(1, std::min<size_t>(8, row.size() - at - offset) + 1);
    code.push_back(static_cast<uint8_t>((count - 1) << 5U | std::min<size_t>(offset, 31)));
    if (offset >= 31) {
      code.insert(code.end(), (offset - 31) / 255, 0xFF);
      code.push_back(static_cast<uint8_t>((offset - 31) % 255));
    }
    at += offset;
    for (size_t i = 0; i < count; ++i, ++at) {
      row[at] = *rc::gen::arbitrary<uint8_t>();
      code.push_back(row[at]);
    }
  }
  RC_ASSERT(decodeDeltaRow(code, seed) == row);
}

struct HxrcRow {
  std::string code;
  Bytes row;
};

// Codes in any order, and the row that they stand for below `above`.
HxrcRow anyHxrcRow(const Bytes& above) {
  HxrcRow made;
  for (auto codes = *rc::gen::inRange(0, 30); codes > 0; --codes) {
    const auto kind = *rc::gen::inRange(0, 3);
    const auto length =
        *rc::gen::oneOf(rc::gen::inRange<unsigned>(1, 10), rc::gen::inRange<unsigned>(100, 400));
    const uint8_t left = made.row.empty() ? 0 : made.row.back();
    if (made.row.size() + length > above.size()) break;
    if (kind == 0) {
      const size_t sign = *rc::gen::inRange<size_t>(0, 2);
      made.code += sign == 0 ? "1 00 100" : "1 111 0101";  // +4, -10
      made.row.push_back(static_cast<uint8_t>(sign == 0 ? left + 4 : left - 10));
    } else if (kind == 1) {
      made.code += runCode("001", length);
      made.row.insert(made.row.end(), length, left);
    } else {
      made.code += runCode("01", length);
      for (unsigned i = 0; i < length; ++i) made.row.push_back(above[made.row.size()]);
    }
  }
  made.code += "00000";
  return made;
}

RC_GTEST_PROP(HxrcCodeProperty, AnyCodesMakeARow, ()) {
  const Bytes above = *rc::gen::container<Bytes>(2000, rc::gen::arbitrary<uint8_t>());
  const HxrcRow made = anyHxrcRow(above);
  RC_ASSERT(hxrcRow(bits(made.code), &above) == made.row);
}

RC_GTEST_PROP(HxrcCodeProperty, ACodeThatIsCutOffEndsTooEarly, ()) {
  const Bytes above = *rc::gen::container<Bytes>(2000, rc::gen::arbitrary<uint8_t>());
  Bytes code = bits(anyHxrcRow(above).code);
  code.resize(*rc::gen::inRange<size_t>(0, code.size()));
  RC_ASSERT(rowDamageOf([&] { hxrcRow(code, &above); }) == code.size());
}

RC_GTEST_PROP(RowDecodersProperty, AnyBytesGiveARowOrDamageInThem, (const Bytes& code)) {
  const Bytes above = *rc::gen::container<Bytes>(rc::gen::arbitrary<uint8_t>());
  RowBytes row;
  const auto packed = rowDamageOf([&] { jobreader::decodePackBits(code, row); });
  RC_ASSERT(packed.value_or(0) <= code.size());
  RC_ASSERT(row.size() <= 128 * code.size());

  row = above;
  const auto delta = rowDamageOf([&] { jobreader::decodeDeltaRow(code, row); });
  RC_ASSERT(delta.value_or(0) <= code.size());
  RC_ASSERT(row.size() == above.size());

  for (const bool hasAbove : {false, true}) {
    const auto hxrc = rowDamageOf([&] { row = hxrcRow(code, hasAbove ? &above : nullptr); });
    RC_ASSERT(hxrc.value_or(0) <= code.size());
    RC_ASSERT(row.size() <= 16383 * code.size() + above.size());
  }
}

}  // namespace
