// Tests of the PackBits row packer: where segments and runs begin and end, byte for byte, and that
// a receiver gets back the row.
#include "RowPacker.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "Capture.h"
#include "DecodedRows.h"
#include "TempFolder.h"

namespace {

size_t worstCase(size_t len) {
  return len + (len + 127) / 128;
}

Bytes pack(const Bytes& row) {
  Bytes out(worstCase(row.size()));
  const int size = RowPacker_Pack(row.data(), static_cast<int>(row.size()), out.data(),
                                  static_cast<int64_t>(out.size()));
  EXPECT_GE(size, 0);
  EXPECT_LE(static_cast<size_t>(size), out.size());
  out.resize(static_cast<size_t>(size));
  return out;
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes run(size_t count, uint8_t value) {
  return Bytes(count, value);
}

// `count` bytes of which no two neighbours are equal.
Bytes distinct(size_t count, uint8_t first = 0) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(first + i);
  return bytes;
}

struct Case {
  const char* name;
  Bytes row, want;
};

void expectPacked(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(pack(c.row), c.want);
    EXPECT_EQ(decodePackBits(c.want), c.row);
  }
}

TEST(RowPacker, AnEmptyRowWritesNothing) {
  const Bytes row(1);
  EXPECT_EQ(RowPacker_Pack(row.data(), 0, nullptr, 0), 0);
  EXPECT_EQ(RowPacker_Pack(row.data(), -1, nullptr, 0), 0);
}

TEST(RowPacker, ShortRows) {
  expectPacked({
      {"one byte is a literal", {0x5A}, {0x00, 0x5A}},
      {"two different bytes", {0x41, 0x42}, {0x01, 0x41, 0x42}},
      {"two equal bytes stay literal", {0x41, 0x41}, {0x01, 0x41, 0x41}},
      {"three equal bytes are a run", {0x41, 0x41, 0x41}, {0xFE, 0x41}},
      {"three zero bytes are a run", {0, 0, 0}, {0xFE, 0x00}},
      {"three 0xFF bytes are a run", {0xFF, 0xFF, 0xFF}, {0xFE, 0xFF}},
      {"two equal bytes before another stay literal", {0x41, 0x41, 0x42}, {0x02, 0x41, 0x41, 0x42}},
      {"a pair before a pair stays literal",
       {0x41, 0x41, 0x42, 0x42},
       {0x03, 0x41, 0x41, 0x42, 0x42}},
  });
}

TEST(RowPacker, RunsBetweenLiterals) {
  expectPacked({
      {"the byte that ends a run opens the next segment",
       {0x41, 0x41, 0x41, 0x42},
       {0xFE, 0x41, 0x00, 0x42}},
      {"literals, a run and the byte that ends it",
       {0x41, 0x42, 0x43, 0x43, 0x43, 0x44},
       {0x01, 0x41, 0x42, 0xFE, 0x43, 0x00, 0x44}},
      {"literals and a run at the end of the row",
       {0x41, 0x42, 0x43, 0x43, 0x43},
       {0x01, 0x41, 0x42, 0xFE, 0x43}},
      {"a pair before a run belongs to the literal",
       {0x41, 0x41, 0x42, 0x42, 0x42, 0x43},
       {0x01, 0x41, 0x41, 0xFE, 0x42, 0x00, 0x43}},
      {"the byte that ends a run can begin the next run",
       {0x41, 0x41, 0x41, 0x42, 0x42, 0x42},
       {0xFE, 0x41, 0xFE, 0x42}},
      {"the byte that ends a run and one like it are no run",
       {0x41, 0x41, 0x41, 0x42, 0x42, 0x43},
       {0xFE, 0x41, 0x02, 0x42, 0x42, 0x43}},
      {"the same value again after one other byte",
       {0x41, 0x41, 0x41, 0x42, 0x41, 0x41, 0x41},
       {0xFE, 0x41, 0x00, 0x42, 0xFE, 0x41}},
      {"0xFF at the start of a row is a byte like any other",
       {0xFF, 0x41, 0x41, 0x41},
       {0x00, 0xFF, 0xFE, 0x41}},
  });
}

TEST(RowPacker, ARunItemCarries257MinusItsLength) {
  for (unsigned count = 3; count <= 128; ++count) {
    SCOPED_TRACE(count);
    EXPECT_EQ(pack(run(count, 0xA5)), (Bytes{static_cast<uint8_t>(257 - count), 0xA5}));
  }
  EXPECT_EQ(pack(run(3, 7)), (Bytes{0xFE, 7}));
  EXPECT_EQ(pack(run(128, 7)), (Bytes{0x81, 7}));
}

TEST(RowPacker, ALiteralItemCarriesItsLengthMinusOne) {
  for (unsigned count = 1; count <= 128; ++count) {
    SCOPED_TRACE(count);
    const Bytes row = distinct(count);
    EXPECT_EQ(pack(row), Bytes{static_cast<uint8_t>(count - 1)} + row);
  }
}

TEST(RowPacker, SegmentsEndAt128Bytes) {
  const Bytes d125 = distinct(125);
  const Bytes d126 = distinct(126);
  const Bytes d127 = distinct(127);
  const Bytes d128 = distinct(128);
  expectPacked({
      {"300 zero bytes: each run begins afresh", run(300, 0), {0x81, 0, 0x81, 0, 0xD5, 0}},
      {"a run of 128 is one item", run(128, 9), {0x81, 9}},
      {"the 129th equal byte stands alone", run(129, 9), {0x81, 9, 0x00, 9}},
      {"two equal bytes past the limit are literal", run(130, 9), {0x81, 9, 0x01, 9, 9}},
      {"three equal bytes past the limit are a run", run(131, 9), {0x81, 9, 0xFE, 9}},
      {"128 literal bytes", d128, Bytes{0x7F} + d128},
      {"129 literal bytes", distinct(129), Bytes{0x7F} + d128 + Bytes{0x00, 128}},
      {"256 literal bytes", distinct(256), Bytes{0x7F} + d128 + Bytes{0x7F} + distinct(128, 128)},
      {"125 bytes and a run of 3 up to the limit", d125 + run(3, 0xEE),
       Bytes{0x7C} + d125 + Bytes{0xFE, 0xEE}},
      {"a run over the limit is restarted", d125 + run(6, 0xEE),
       Bytes{0x7C} + d125 + Bytes{0xFE, 0xEE, 0xFE, 0xEE}},
      {"a run over the limit leaves fewer than three", d125 + run(5, 0xEE),
       Bytes{0x7C} + d125 + Bytes{0xFE, 0xEE, 0x01, 0xEE, 0xEE}},
      {"a pair at the limit is literal, and so is what is left of the run", d126 + run(4, 0xEE),
       Bytes{0x7F} + d126 + Bytes{0xEE, 0xEE, 0x01, 0xEE, 0xEE}},
      {"a pair at the limit is literal, three more are a run", d126 + run(5, 0xEE),
       Bytes{0x7F} + d126 + Bytes{0xEE, 0xEE, 0xFE, 0xEE}},
      {"one byte of a run before the limit", d127 + run(4, 0xEE),
       Bytes{0x7F} + d127 + Bytes{0xEE, 0xFE, 0xEE}},
      {"a run begun before the limit needs three again behind it", d127 + run(3, 0xEE),
       Bytes{0x7F} + d127 + Bytes{0xEE, 0x01, 0xEE, 0xEE}},
      {"a run that ends one byte before the limit", distinct(124) + run(3, 0xEE) + Bytes{0x77},
       Bytes{0x7B} + distinct(124) + Bytes{0xFE, 0xEE, 0x00, 0x77}},
      {"a run that ends exactly at the limit, then another byte", d125 + run(3, 0xEE) + Bytes{0x77},
       Bytes{0x7C} + d125 + Bytes{0xFE, 0xEE, 0x00, 0x77}},
  });
}

TEST(RowPacker, TheByteThatEndedARunCountsInItsSegment) {
  const Bytes d128 = distinct(128);
  expectPacked({
      {"127 bytes more fill the segment", run(3, 0xEE) + d128, Bytes{0xFE, 0xEE, 0x7F} + d128},
      {"the next one begins another", run(3, 0xEE) + distinct(129),
       Bytes{0xFE, 0xEE, 0x7F} + d128 + Bytes{0x00, 128}},
      {"a run of 128 from the ending byte on is one item",
       run(3, 0xEE) + run(128, 1),
       {0xFE, 0xEE, 0x81, 1}},
      {"and of 131 it is two", run(3, 0xEE) + run(131, 1), {0xFE, 0xEE, 0x81, 1, 0xFE, 1}},
  });
}

TEST(RowPacker, NoSegmentTriggersAConsistencyMessage) {
  std::vector<Bytes> rows;
  for (size_t before = 0; before < 130; ++before) {
    for (const size_t count : {size_t{2}, size_t{3}, size_t{128}, size_t{129}, size_t{260}})
      rows.push_back(distinct(before) + run(count, 0xEE) + distinct(130));
  }
  Bytes out(worstCase(129 + 260 + 130));
  std::string errors;
  {
    Capture capture;
    for (const Bytes& row : rows) {
      RowPacker_Pack(row.data(), static_cast<int>(row.size()), out.data(),
                     static_cast<int64_t>(out.size()));
    }
    errors = capture.err();
  }
  EXPECT_EQ(errors, "");
}

// Properties -----------------------------------------------------------------------------------

rc::Gen<Bytes> anyRow() {
  const auto noise = rc::gen::arbitrary<Bytes>();
  const auto fewValues = rc::gen::container<Bytes>(rc::gen::inRange<uint8_t>(0, 2));
  const auto runs = rc::gen::map(
      rc::gen::pair(rc::gen::inRange<size_t>(0, 300), rc::gen::arbitrary<uint8_t>()),
      [](const std::pair<size_t, uint8_t>& piece) { return run(piece.first, piece.second); });
  return rc::gen::map(
      rc::gen::container<std::vector<Bytes>>(rc::gen::oneOf(noise, fewValues, runs)),
      [](const std::vector<Bytes>& pieces) {
        Bytes row;
        for (const Bytes& piece : pieces) row = row + piece;
        return row;
      });
}

bool hasRunOfThree(const Bytes& bytes) {
  for (size_t i = 2; i < bytes.size(); ++i)
    if (bytes[i] == bytes[i - 1] && bytes[i] == bytes[i - 2]) return true;
  return false;
}

RC_GTEST_PROP(RowPackerProperty, AReceiverGetsBackTheRow, ()) {
  const Bytes row = *anyRow();
  RC_ASSERT(decodePackBits(pack(row)) == row);
}

RC_GTEST_PROP(RowPackerProperty, RunsAreThreeOrMoreAndLiteralsHoldNone, ()) {
  const Bytes code = pack(*anyRow());
  for (size_t at = 0; at < code.size();) {
    const size_t header = code[at];
    if (header < 0x80) {
      const auto from = code.begin() + static_cast<std::ptrdiff_t>(at) + 1;
      RC_ASSERT(!hasRunOfThree(Bytes(from, from + static_cast<std::ptrdiff_t>(header) + 1)));
      at += header + 2;
    } else {
      RC_ASSERT(header >= 0x81U);
      RC_ASSERT(header <= 0xFEU);
      at += 2;
    }
  }
}

// The test's own decoder must not forgive what a receiver would not.
TEST(PackBitsDecoder, RefusesWhatAReceiverCouldNotRead) {
  EXPECT_EQ(decodePackBits({}), Bytes{});
  EXPECT_THROW(decodePackBits({0x80}), std::runtime_error);
  EXPECT_THROW(decodePackBits({0x01, 0x41}), std::runtime_error);
  EXPECT_THROW(decodePackBits({0xFE}), std::runtime_error);
}

}  // namespace
