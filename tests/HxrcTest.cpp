// Tests of the HXRC compressor: every code with its bits written out, runs and their limits, the
// refused calls, and that a receiver gets back the row with and without the row above.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "Bits.h"
#include "DecodedRows.h"
#include "TempFolder.h"
#include "hxrc.h"

namespace {

size_t worstCase(size_t length) {
  return (13 * length + 5 + 7) / 8;
}

// Compresses with every buffer exactly as long as it may be used.
Bytes compress(const Bytes& row, const Bytes* above = nullptr) {
  Bytes out(worstCase(row.size()));
  const uint32_t size = HXRC_Compress(out.data(), above != nullptr ? above->data() : nullptr,
                                      row.data(), static_cast<int>(row.size()));
  EXPECT_LE(size, out.size());
  out.resize(std::min(size_t{size}, out.size()));
  return out;
}

// Tables ---------------------------------------------------------------------------------------

template <size_t N>
void expectCodes(const std::array<HxrcCode, N>& table, const std::array<HxrcCode, N>& want) {
  for (size_t i = 0; i < N; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(table[i].value, want[i].value);
    EXPECT_EQ(table[i].length, want[i].length);
  }
}

TEST(HxrcTables, PrefixesOfTheFiveKinds) {
  expectCodes(huff, {{{0b01, 2}, {0b001, 3}, {0b0001, 4}, {0b1, 1}, {0b00000, 5}}});
}

TEST(HxrcTables, PrefixesOfRunLengths) {
  expectCodes(huff2, {{{0b0000000, 7},
                       {0b1, 1},
                       {0b01, 2},
                       {0b001, 3},
                       {0b0001, 4},
                       {0b00001, 5},
                       {0b000001, 6},
                       {0b0000001, 7}}});
}

TEST(HxrcTables, CodesOfDifferenceCategories) {
  expectCodes(huff3, {{{0b101, 3},
                       {0b01, 2},
                       {0b00, 2},
                       {0b111, 3},
                       {0b100, 3},
                       {0b1101, 4},
                       {0b11001, 5},
                       {0b11000, 5}}});
}

TEST(HxrcTables, LowBitsOfEveryRunLength) {
  struct Octave {
    unsigned first, last, bits;
  };
  const Octave kOctaves[] = {{0, 0, 0},  {1, 1, 0},   {2, 3, 1},   {4, 7, 2},
                             {8, 15, 3}, {16, 31, 4}, {32, 63, 5}, {64, 127, 6}};
  for (const Octave& octave : kOctaves) {
    for (unsigned n = octave.first; n <= octave.last; ++n) {
      SCOPED_TRACE(n);
      EXPECT_EQ(run_bits.at(n), octave.bits);
      EXPECT_EQ(run_data.at(n), n - octave.first);
    }
  }
}

TEST(HxrcTables, CategoryAndExtraBitsOfEveryDifference) {
  struct Category {
    unsigned category;
    int least, greatest;  // of the magnitude
  };
  const Category kCategories[] = {{1, 1, 1},   {2, 2, 3},   {3, 4, 7},   {4, 8, 15},
                                  {5, 16, 31}, {6, 32, 63}, {7, 64, 127}};
  for (const Category& c : kCategories) {
    for (int d = c.least; d <= c.greatest; ++d) {
      SCOPED_TRACE(d);
      EXPECT_EQ(diff_bits.at(static_cast<size_t>(d)), c.category);
      EXPECT_EQ(diff_data.at(static_cast<size_t>(d)), d);
      EXPECT_EQ(diff_bits.at(static_cast<size_t>(256 - d)), c.category);
      EXPECT_EQ(diff_data.at(static_cast<size_t>(256 - d)), c.greatest - d);
    }
  }
  EXPECT_EQ(diff_bits[0x80], 8);
}

TEST(HxrcTables, Limits) {
  EXPECT_EQ(kHxrcMaxRowBytes, 120000);
  EXPECT_EQ(kHxrcMaxRun, 16383);
}

// Refused calls --------------------------------------------------------------------------------

TEST(HxrcRefusals, EachHasItsCode) {
  Bytes out(worstCase(4));
  const Bytes row(4);
  const Bytes above(4);
  const Bytes long1(120001);
  struct Case {
    const char* name;
    uint8_t* out;
    const uint8_t* above;
    const uint8_t* row;
    int length;
    int want;
  };
  const Case kCases[] = {
      {"no output", nullptr, above.data(), row.data(), 4, -1},
      {"no output comes before no row", nullptr, nullptr, nullptr, 0, -1},
      {"no row", out.data(), above.data(), nullptr, 4, -2},
      {"no row comes before the output being the row above", out.data(), out.data(), nullptr, 4,
       -2},
      {"the output is the row above", out.data(), out.data(), row.data(), 4, -4},
      {"the output is both rows", out.data(), out.data(), out.data(), 4, -4},
      {"the output is the row", out.data(), above.data(), out.data(), 4, -3},
      {"the output is the row, no row above", out.data(), nullptr, out.data(), 4, -3},
      {"the output being the row comes before the length", out.data(), nullptr, out.data(), 0, -3},
      {"no bytes", out.data(), above.data(), row.data(), 0, -5},
      {"fewer than none", out.data(), above.data(), row.data(), -1, -5},
      {"120001 bytes", out.data(), nullptr, long1.data(), 120001, -6},
      {"2^31-1 bytes", out.data(), nullptr, row.data(), 0x7FFFFFFF, -6},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(static_cast<int32_t>(HXRC_Compress(c.out, c.above, c.row, c.length)), c.want);
  }
  EXPECT_EQ(out, Bytes(out.size()));
}

TEST(HxrcRefusals, A120000ByteRowIsAccepted) {
  const Bytes row(120000);
  std::string text = "001 1";  // the first byte, then 119999 left copies: 7 full runs and 5318
  for (int i = 0; i < 7; ++i) text += " 0001 0000001111111 001 0000001111111";
  text += " 0001 00000101001 001 0000001000110";  // 41 * 128 + 70
  EXPECT_EQ(compress(row), bits(text + " 00000"));
}

// Codes ----------------------------------------------------------------------------------------

TEST(HxrcDifferences, EachIsPrefixCategoryAndBits) {
  struct Case {
    int difference;
    const char* code;
  };
  const Case kCases[] = {
      {1, "101 1"},           {-1, "101 0"},            // category 1
      {2, "01 10"},           {3, "01 11"},             // category 2
      {-2, "01 01"},          {-3, "01 00"},            //
      {4, "00 100"},          {5, "00 101"},            // category 3
      {7, "00 111"},          {-4, "00 011"},           //
      {-5, "00 010"},         {-7, "00 000"},           //
      {8, "111 1000"},        {15, "111 1111"},         // category 4
      {-8, "111 0111"},       {-15, "111 0000"},        //
      {16, "100 10000"},      {31, "100 11111"},        // category 5
      {-16, "100 01111"},     {-31, "100 00000"},       //
      {32, "1101 100000"},    {63, "1101 111111"},      // category 6
      {-32, "1101 011111"},   {-63, "1101 000000"},     //
      {64, "11001 1000000"},  {127, "11001 1111111"},   // category 7
      {-64, "11001 0111111"}, {-127, "11001 0000000"},  //
      {-128, "11000"},                                  // category 8 has no bits
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.difference);
    const auto byte = static_cast<uint8_t>(c.difference);
    const std::string code = std::string("1 ") + c.code;
    EXPECT_EQ(compress({byte}), bits(code + " 00000"));
    // The same from another left byte, across the wrap from 255 to 0 for half of them.
    const Bytes row = {0xC8, static_cast<uint8_t>(0xC8 + c.difference)};
    EXPECT_EQ(compress(row), bits("1 1101 000111 " + code + " 00000"));  // 0xC8 is -56
    const Bytes above(1, static_cast<uint8_t>(byte + 1));
    EXPECT_EQ(compress({byte}, &above), bits(code + " 00000"));
  }
}

TEST(HxrcDifferences, TheyAreTakenModulo256) {
  EXPECT_EQ(compress({0xFF, 0x01}), bits("1 101 0  1 01 10  00000"));        // -1, +2
  EXPECT_EQ(compress({0x01, 0xFF}), bits("1 101 1  1 01 01  00000"));        // +1, -2
  EXPECT_EQ(compress({0x80, 0x00}), bits("1 11000  1 11000  00000"));        // -128 twice
  EXPECT_EQ(compress({0x7F, 0x80}), bits("1 11001 1111111 1 101 1 00000"));  // 127, +1
}

TEST(HxrcDifferences, AReceiverReadsEveryOneOfThem) {
  for (unsigned left = 0; left < 256; left += 51) {
    for (unsigned d = 0; d < 256; ++d) {
      const Bytes row = {static_cast<uint8_t>(left), static_cast<uint8_t>(left + d)};
      EXPECT_EQ(decodeHxrc(compress(row), nullptr, 2), row);
    }
  }
}

struct RunCase {
  unsigned length;
  const char* code;  // '+' stands for the prefix of the kind
};

// The codes of runs, of either kind.
const RunCase kRuns[] = {
    {1, "+ 1"},
    {2, "+ 010"},
    {3, "+ 011"},
    {4, "+ 00100"},
    {7, "+ 00111"},
    {8, "+ 0001000"},
    {15, "+ 0001111"},
    {16, "+ 000010000"},
    {31, "+ 000011111"},
    {32, "+ 00000100000"},
    {63, "+ 00000111111"},
    {64, "+ 0000001000000"},
    {127, "+ 0000001111111"},
    {128, "0001 1 + 0000000"},
    {129, "0001 1 + 1"},
    {130, "0001 1 + 010"},
    {255, "0001 1 + 0000001111111"},
    {256, "0001 010 + 0000000"},
    {300, "0001 010 + 00000101100"},
    {384, "0001 011 + 0000000"},
    {8192, "0001 0000001000000 + 0000000"},
    {16256, "0001 0000001111111 + 0000000"},
    {16383, "0001 0000001111111 + 0000001111111"},
    {16384, "0001 0000001111111 + 0000001111111 + 1"},
    {32766, "0001 0000001111111 + 0000001111111 0001 0000001111111 + 0000001111111"},
    {32769, "0001 0000001111111 + 0000001111111 0001 0000001111111 + 0000001111111 + 011"},
};

std::string withPrefix(const char* code, const char* prefix) {
  std::string text;
  for (; *code != '\0'; ++code) text += *code == '+' ? std::string(prefix) : std::string(1, *code);
  return text;
}

TEST(HxrcRuns, OfTheRowAbove) {
  for (const RunCase& c : kRuns) {
    SCOPED_TRACE(c.length);
    Bytes row(c.length);
    for (size_t i = 0; i < row.size(); ++i) row[i] = static_cast<uint8_t>(i * 7 + 1);
    const Bytes above = row;
    EXPECT_EQ(compress(row, &above), bits(withPrefix(c.code, "01") + " 00000"));
  }
}

TEST(HxrcRuns, OfTheLeftByteWithARowAbove) {
  for (const RunCase& c : kRuns) {
    SCOPED_TRACE(c.length);
    const Bytes row(c.length, 0x00);  // the left of the first byte counts as 0
    const Bytes above(c.length, 0x55);
    EXPECT_EQ(compress(row, &above), bits(withPrefix(c.code, "001") + " 00000"));
  }
}

TEST(HxrcRuns, OfTheLeftByteBehindADifference) {
  for (const RunCase& c : kRuns) {
    SCOPED_TRACE(c.length);
    const Bytes row(c.length + 1, 0x01);
    EXPECT_EQ(compress(row), bits("1 101 1 " + withPrefix(c.code, "001") + " 00000"));
    const Bytes above(c.length + 1, 0x55);
    EXPECT_EQ(compress(row, &above), bits("1 101 1 " + withPrefix(c.code, "001") + " 00000"));
  }
}

TEST(HxrcRuns, AReceiverReadsEveryLength) {
  const Bytes row(16383);
  Bytes out(worstCase(row.size()));
  const Bytes above(16383, 0x55);
  for (size_t length = 1; length <= 16383; length += length < 1200 ? 1 : 97) {
    const uint32_t size =
        HXRC_Compress(out.data(), above.data(), row.data(), static_cast<int>(length));
    const Bytes code(out.begin(), out.begin() + size);
    const Bytes shortAbove(above.begin(), above.begin() + static_cast<std::ptrdiff_t>(length));
    ASSERT_EQ(decodeHxrc(code, &shortAbove, length),
              Bytes(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(length)));
  }
}

TEST(HxrcWithoutARowAbove, AFirstByteOf0IsARunOfOne) {
  EXPECT_EQ(compress({0}), bits("001 1  00000"));
  EXPECT_EQ(compress({0}), (Bytes{0x30, 0x00}));
  EXPECT_EQ(compress({0, 0}), bits("001 1  001 1  00000"));
  EXPECT_EQ(compress({0, 5}), bits("001 1  1 00 101  00000"));
}

TEST(HxrcWithoutARowAbove, TenZeroBytes) {
  EXPECT_EQ(compress(Bytes(10)), bits("001 1  001 0001001  00000"));
  EXPECT_EQ(compress(Bytes(10)), (Bytes{0x32, 0x24, 0x00}));
}

TEST(HxrcWithoutARowAbove, AnotherFirstByteIsADifferenceFrom0) {
  EXPECT_EQ(compress({1}), bits("1 101 1  00000"));
  EXPECT_EQ(compress({1}), (Bytes{0xD8, 0x00}));
  EXPECT_EQ(compress({1, 1}), bits("1 101 1  001 1  00000"));
  EXPECT_EQ(compress({1, 2, 2, 2, 0}), bits("1 101 1  1 101 1  001 010  1 01 01  00000"));
}

TEST(HxrcWithARowAbove, A300ByteRowEqualToIt) {
  const Bytes row(300, 0x42);
  const Bytes above = row;
  EXPECT_EQ(compress(row, &above), (Bytes{0x14, 0x82, 0xC0, 0x00}));
}

TEST(HxrcWithARowAbove, RunsAndDifferencesFollowEachOther) {
  struct Case {
    const char* name;
    Bytes row, above;
    const char* code;
  };
  const Case kCases[] = {
      {"zeros are left copies from the first byte on", {0, 0, 0}, {9, 9, 9}, "001 011"},
      {"above wins over left", {0, 0, 0}, {0, 0, 0}, "01 011"},
      {"above wins even when left would reach further",
       {0, 0, 0, 0},
       {0, 1, 1, 1},
       "01 1  001 011"},
      {"a left run goes on where the row above matches too",
       {5, 5, 5, 5},
       {9, 9, 5, 9},
       "1 00 101  001 011"},
      {"above is asked first after a difference",
       {5, 5, 5, 5},
       {9, 5, 5, 9},
       "1 00 101  01 010  001 1"},
      {"a difference is from the left byte, not from the one above",
       {3, 7, 6},
       {3, 9, 9},
       "01 1  1 00 100  1 101 0"},
      {"above runs on both sides of a change",
       {1, 2, 3, 4, 5},
       {1, 2, 9, 4, 5},
       "01 010  1 101 1  01 010"},
      {"a left run at the end of the row", {7, 7}, {9, 9}, "1 00 111  001 1"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(compress(c.row, &c.above), bits(std::string(c.code) + " 00000"));
    EXPECT_EQ(decodeHxrc(compress(c.row, &c.above), &c.above, c.row.size()), c.row);
  }
}

TEST(HxrcEnd, TheEndBitsArePaddedToAWholeByte) {
  struct Case {
    const char* name;
    Bytes row, above, want;
  };
  const Case kCases[] = {
      {"8 bits", {9}, {9}, {0x60}},                           // 01 1 00000
      {"9 bits", {0}, {9}, {0x30, 0x00}},                     // 001 1 00000
      {"10 bits", {9, 8}, {9, 8}, {0x50, 0x00}},              // 01 010 00000
      {"16 bits", {1, 0x81}, {7, 7}, {0xDF, 0x00}},           // 1 1011 1 11000 00000
      {"18 bits", {1, 2, 9}, {7, 7, 9}, {0xDE, 0xD8, 0x00}},  // 1 1011 1 1011 01 1 00000
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(compress(c.row, &c.above), c.want);
  }
}

// Differences of 127 and -127 by turns: 13 bits a byte, the longest code there is.
Bytes worstRow(size_t length) {
  Bytes row(length);
  for (size_t i = 0; i < length; i += 2) row[i] = 0x7F;
  return row;
}

TEST(HxrcEnd, ThirteenBitsAByteIsTheWorstCase) {
  for (const size_t length : {size_t{1}, size_t{2}, size_t{3}, size_t{8}, size_t{1000}}) {
    const Bytes row = worstRow(length);
    EXPECT_EQ(compress(row).size(), worstCase(length));
    EXPECT_EQ(decodeHxrc(compress(row), nullptr, length), row);
  }
}

TEST(HxrcEnd, TheLengthIsReportedModulo65536) {
  struct Case {
    int length;
    uint32_t want;
  };
  const Case kCases[] = {
      {40328, 65534},  // 524269 bits
      {40329, 0},      // 524282 bits are 65536 bytes
      {40330, 1},      // 524295 bits are 65537 bytes
      {120000, 195001 - 2 * 65536},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.length);
    const Bytes row = worstRow(static_cast<size_t>(c.length));
    Bytes out(worstCase(row.size()));
    EXPECT_EQ(HXRC_Compress(out.data(), nullptr, row.data(), c.length), c.want);
    EXPECT_EQ(decodeHxrc(out, nullptr, row.size()), row);  // what is written is whole
  }
}

// Properties -----------------------------------------------------------------------------------

rc::Gen<Bytes> anyStretch() {
  const auto runs = rc::gen::map(
      rc::gen::pair(rc::gen::inRange<size_t>(0, 700), rc::gen::arbitrary<uint8_t>()),
      [](const std::pair<size_t, uint8_t>& piece) { return Bytes(piece.first, piece.second); });
  const auto fewValues = rc::gen::container<Bytes>(rc::gen::inRange<uint8_t>(0, 3));
  return rc::gen::oneOf(rc::gen::arbitrary<Bytes>(), fewValues, runs);
}

struct RowPair {
  Bytes row, above;
};

// A row above, and a row made of runs, noise and copies of it.
RowPair anyRows() {
  RowPair rows;
  for (size_t left = *rc::gen::inRange<size_t>(1, 10); left > 0; --left) {
    const Bytes above = *anyStretch();
    Bytes row = *anyStretch();
    if (*rc::gen::arbitrary<bool>()) row = above;
    row.resize(above.size());
    rows.above.insert(rows.above.end(), above.begin(), above.end());
    rows.row.insert(rows.row.end(), row.begin(), row.end());
  }
  rows.above.push_back(*rc::gen::arbitrary<uint8_t>());
  rows.row.push_back(*rc::gen::arbitrary<uint8_t>());
  return rows;
}

RC_GTEST_PROP(HxrcProperty, AReceiverGetsBackTheRowWithoutARowAbove, ()) {
  const Bytes row = anyRows().row;
  RC_ASSERT(decodeHxrc(compress(row), nullptr, row.size()) == row);
}

RC_GTEST_PROP(HxrcProperty, AReceiverGetsBackTheRowWithTheRowAbove, ()) {
  const RowPair rows = anyRows();
  RC_ASSERT(decodeHxrc(compress(rows.row, &rows.above), &rows.above, rows.row.size()) == rows.row);
}

// The test's own decoder must not forgive what a receiver would not.
TEST(HxrcDecoder, RefusesWhatAReceiverCouldNotRead) {
  struct Case {
    const char* name;
    Bytes code;
  };
  const Case kCases[] = {
      {"no bits at all", {}},
      {"00001 is no prefix", bits("001 1 00001")},
      {"no end", bits("001 1")},
      {"a row that is too short", bits("00000")},
      {"a row that is too long", bits("001 010 00000")},
      {"a run of 0", bits("001 0000000 001 1 00000")},
      {"a run of the row above without one", bits("01 1 00000")},
      {"a long run without a kind", bits("0001 1 1 101 1 00000")},
      {"padding that is not 0", bits("001 1 00000 1")},
      {"a byte behind the end", bits("001 1 00000 0000000 0")},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(decodeHxrc(c.code, nullptr, 1), std::runtime_error);
  }
}

}  // namespace
