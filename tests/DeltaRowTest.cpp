// Tests of the delta-row coder: commands, offsets and their extension bytes, the limit, and that a
// receiver with the same seed row gets back the row.
#include "DeltaRow.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>

#include "DecodedRows.h"
#include "TempFolder.h"

namespace {

// The code, or nothing when it would need more than `limit` bytes.
std::optional<Bytes> encode(const Bytes& row, const Bytes* seed, size_t limit) {
  Bytes out(limit);
  const int size =
      DeltaRow_Encode(row.data(), seed != nullptr ? seed->data() : nullptr,
                      static_cast<int>(row.size()), out.data(), static_cast<int>(limit));
  if (size == -1) return std::nullopt;
  EXPECT_GE(size, 0);
  EXPECT_LE(static_cast<size_t>(size), limit);
  out.resize(static_cast<size_t>(size));
  return out;
}

// A limit that no code reaches: every byte costs a command at the most.
size_t enoughFor(const Bytes& row) {
  return 2 * row.size() + 2;
}

// A row of `size` zero bytes with `bytes` from `at` on.
Bytes rowWith(size_t size, size_t at, const Bytes& bytes) {
  Bytes row(size);
  std::copy(bytes.begin(), bytes.end(), row.begin() + static_cast<std::ptrdiff_t>(at));
  return row;
}

Bytes counting(size_t count) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(i + 1);
  return bytes;
}

struct Case {
  const char* name;
  Bytes row, seed, want;
};

void expectCoded(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(encode(c.row, &c.seed, c.want.size()), c.want);
    EXPECT_EQ(decodeDeltaRow(c.want, c.seed), c.row);
    if (!c.want.empty()) {
      EXPECT_EQ(encode(c.row, &c.seed, c.want.size() - 1), std::nullopt);
    }
  }
}

TEST(DeltaRow, EqualRowsNeedNoBytes) {
  const Bytes row = {1, 2, 3, 0, 0xFF};
  EXPECT_EQ(encode(row, &row, 0), Bytes{});
  const Bytes none;
  EXPECT_EQ(encode(none, &none, 0), Bytes{});
}

TEST(DeltaRow, WithoutASeedRowZeroBytesCountAsEqual) {
  EXPECT_EQ(encode({0, 0, 0, 0}, nullptr, 0), Bytes{});
  EXPECT_EQ(encode({0, 0, 7, 0}, nullptr, 4), (Bytes{0x02, 7}));
  EXPECT_EQ(encode({9, 0, 7, 8}, nullptr, 5), (Bytes{0x00, 9, 0x21, 7, 8}));
}

TEST(DeltaRow, AStretchIsACommandOfCountAndOffset) {
  expectCoded({
      {"the first byte", {9, 0}, {0, 0}, {0x00, 9}},
      {"the last byte", {0, 9}, {0, 0}, {0x01, 9}},
      {"a changed byte may become 0", {5, 0, 5}, {5, 5, 5}, {0x01, 0}},
      {"two bytes", rowWith(8, 5, {1, 2}), Bytes(8), {0x25, 1, 2}},
      {"three bytes at 5", rowWith(8, 5, {1, 2, 3}), Bytes(8), {0x45, 1, 2, 3}},
      {"four bytes", rowWith(8, 1, counting(4)), Bytes(8), {0x61, 1, 2, 3, 4}},
      {"five bytes", rowWith(8, 1, counting(5)), Bytes(8), {0x81, 1, 2, 3, 4, 5}},
      {"six bytes", rowWith(8, 1, counting(6)), Bytes(8), {0xA1, 1, 2, 3, 4, 5, 6}},
      {"seven bytes", rowWith(8, 1, counting(7)), Bytes(8), {0xC1, 1, 2, 3, 4, 5, 6, 7}},
      {"eight bytes", rowWith(9, 1, counting(8)), Bytes(9), {0xE1, 1, 2, 3, 4, 5, 6, 7, 8}},
  });
}

TEST(DeltaRow, ALongStretchIsSeveralCommandsWithOffset0AfterTheFirst) {
  expectCoded({
      {"nine bytes",
       rowWith(12, 2, counting(9)),
       Bytes(12),
       {0xE2, 1, 2, 3, 4, 5, 6, 7, 8, 0x00, 9}},
      {"sixteen bytes",
       counting(16),
       Bytes(16),
       {0xE0, 1, 2, 3, 4, 5, 6, 7, 8, 0xE0, 9, 10, 11, 12, 13, 14, 15, 16}},
      {"seventeen bytes up to the end of the row",
       counting(17),
       Bytes(17),
       {0xE0, 1, 2, 3, 4, 5, 6, 7, 8, 0xE0, 9, 10, 11, 12, 13, 14, 15, 16, 0x00, 17}},
  });
}

TEST(DeltaRow, OffsetsCountFromTheEndOfTheReplacementBefore) {
  expectCoded({
      {"one equal byte between", {1, 5, 2}, {0, 5, 0}, {0x00, 1, 0x01, 2}},
      {"three equal bytes between", {1, 5, 5, 5, 2}, {0, 5, 5, 5, 0}, {0x00, 1, 0x03, 2}},
      {"nothing is said of equal bytes at the end", {1, 5, 5, 5}, {0, 5, 5, 5}, {0x00, 1}},
      {"three stretches", {1, 2, 0, 0, 3, 0, 4, 0}, Bytes(8), {0x20, 1, 2, 0x02, 3, 0x01, 4}},
  });
}

TEST(DeltaRow, OffsetsOf31AndMoreAreExtended) {
  struct Offset {
    size_t bytes;
    Bytes want;
  };
  const Offset kOffsets[] = {
      {0, {0x00, 9}},
      {1, {0x01, 9}},
      {30, {0x1E, 9}},
      {31, {0x1F, 0, 9}},
      {32, {0x1F, 1, 9}},
      {285, {0x1F, 254, 9}},
      {286, {0x1F, 255, 0, 9}},  // an exact multiple of 255 ends with a 0
      {287, {0x1F, 255, 1, 9}},
      {540, {0x1F, 255, 254, 9}},
      {541, {0x1F, 255, 255, 0, 9}},
      {542, {0x1F, 255, 255, 1, 9}},
      {796, {0x1F, 255, 255, 255, 0, 9}},
  };
  for (const Offset& offset : kOffsets) {
    SCOPED_TRACE(offset.bytes);
    const Bytes seed(offset.bytes + 2);
    const Bytes row = rowWith(seed.size(), offset.bytes, {9});
    EXPECT_EQ(encode(row, &seed, offset.want.size()), offset.want);
    EXPECT_EQ(encode(row, &seed, offset.want.size() - 1), std::nullopt);
    EXPECT_EQ(decodeDeltaRow(offset.want, seed), row);
  }
}

TEST(DeltaRow, AnExtendedOffsetCombinesWithTheCount) {
  const Bytes seed(50);
  EXPECT_EQ(encode(rowWith(50, 40, counting(3)), &seed, 5), (Bytes{0x5F, 9, 1, 2, 3}));
  EXPECT_EQ(encode(rowWith(50, 40, counting(9)), &seed, 12),
            (Bytes{0xFF, 9, 1, 2, 3, 4, 5, 6, 7, 8, 0x00, 9}));
}

TEST(DeltaRow, ACodeLongerThanTheLimitIsGivenUp) {
  const Bytes seed(3);
  EXPECT_EQ(encode({1, 0, 2}, &seed, 3), std::nullopt);
  EXPECT_EQ(encode({1, 0, 2}, &seed, 4), (Bytes{0x00, 1, 0x01, 2}));
  EXPECT_EQ(encode({1, 2, 3}, &seed, 3), std::nullopt);
  EXPECT_EQ(encode({1, 2, 0}, &seed, 3), (Bytes{0x20, 1, 2}));
  EXPECT_EQ(encode({1, 0, 0}, &seed, 0), std::nullopt);
}

// Properties -----------------------------------------------------------------------------------

struct RowPair {
  Bytes row, seed;
};

// A seed row, and a row that keeps some stretches of it and changes others.
RowPair anyRows() {
  const auto stretch = rc::gen::inRange<size_t>(0, *rc::gen::element<size_t>(3, 20, 600));
  RowPair rows;
  for (size_t left = *rc::gen::inRange<size_t>(0, 12); left > 0; --left) {
    const Bytes kept = *rc::gen::container<Bytes>(*stretch, rc::gen::arbitrary<uint8_t>());
    rows.row.insert(rows.row.end(), kept.begin(), kept.end());
    rows.seed.insert(rows.seed.end(), kept.begin(), kept.end());
    const Bytes changed =
        *rc::gen::container<Bytes>(*rc::gen::inRange<size_t>(0, 20), rc::gen::arbitrary<uint8_t>());
    rows.row.insert(rows.row.end(), changed.begin(), changed.end());
    rows.seed.insert(rows.seed.end(), changed.size(), *rc::gen::arbitrary<uint8_t>());
  }
  return rows;
}

RC_GTEST_PROP(DeltaRowProperty, AReceiverGetsBackTheRow, ()) {
  const RowPair rows = anyRows();
  const auto code = encode(rows.row, &rows.seed, enoughFor(rows.row));
  RC_ASSERT(code.has_value());
  RC_ASSERT(decodeDeltaRow(*code, rows.seed) == rows.row);
}

RC_GTEST_PROP(DeltaRowProperty, ASeedRowOfZerosIsAsGoodAsNone, ()) {
  const RowPair rows = anyRows();
  const Bytes zeros(rows.row.size());
  RC_ASSERT(encode(rows.row, nullptr, enoughFor(rows.row)) ==
            encode(rows.row, &zeros, enoughFor(rows.row)));
}

RC_GTEST_PROP(DeltaRowProperty, TheLimitDecidesAndChangesNothingElse, ()) {
  const RowPair rows = anyRows();
  const auto code = encode(rows.row, &rows.seed, enoughFor(rows.row));
  RC_ASSERT(code.has_value());
  RC_ASSERT(encode(rows.row, &rows.seed, code->size()) == code);
  if (!code->empty()) {
    const auto limit = *rc::gen::inRange<size_t>(0, code->size());
    RC_ASSERT(encode(rows.row, &rows.seed, limit) == std::nullopt);
  }
}

// The test's own decoder must not forgive what a receiver would not.
TEST(DeltaRowDecoder, RefusesWhatAReceiverCouldNotRead) {
  EXPECT_EQ(decodeDeltaRow({}, {1, 2}), (Bytes{1, 2}));
  EXPECT_THROW(decodeDeltaRow({0x00}, {1, 2}), std::runtime_error);
  EXPECT_THROW(decodeDeltaRow({0x02, 9}, {1, 2}), std::runtime_error);
  EXPECT_THROW(decodeDeltaRow({0x1F}, Bytes(40)), std::runtime_error);
  EXPECT_THROW(decodeDeltaRow({0x1F, 255}, Bytes(400)), std::runtime_error);
  EXPECT_THROW(decodeDeltaRow({0x40, 1, 2, 3}, {1, 2}), std::runtime_error);
}

}  // namespace
