// Tests that the row coders write what their plain twins say: PackBits, the PackBits decoder for
// rows in pieces, delta rows, HXRC.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "KernelRows.h"
#include "PlainDeltaRow.h"
#include "PlainHxrc.h"
#include "PlainRowPacker.h"
#include "PlainRowUnpacker.h"

namespace {

using testing::AssertionFailure;
using testing::AssertionResult;
using testing::AssertionSuccess;

// Whether two codes have one length and are the same bytes.
AssertionResult isSameCode(int64_t got, int64_t want, const Target& fast, const Target& plain) {
  if (got != want) return AssertionFailure() << "length " << got << " and not " << want;
  return isSame(fast, plain, static_cast<size_t>(std::max<int64_t>(want, 0)));
}

// PackBits --------------------------------------------------------------------------------------

size_t packedRoom(size_t length) {
  return length + (length + 127) / 128;
}

TEST(CoderKernels, PackedRowsAreWhatTheirTwinSays) {
  forEachRow("RowPacker_Pack", [](const KernelCase& one) {
    const auto length = static_cast<int>(one.row.size());
    const size_t room = packedRoom(one.row.size());
    const Source source(one.row, one.alignment);
    const Target fast(room, one.targetAlignment, 0), plain(room, one.targetAlignment, 0);
    const auto capacity = static_cast<int64_t>(room);
    return isSameCode(RowPacker_Pack(source.get(), length, fast.get(), capacity),
                      twin::RowPacker_Pack(source.get(), length, plain.get(), capacity), fast,
                      plain);
  });
}

TEST(CoderKernels, PackingALengthBelow0WritesNothing) {
  const Target out(1, 0, 0x77);
  EXPECT_EQ(RowPacker_Pack(nullptr, -1, out.get(), 1), 0);
  EXPECT_EQ(*out.begin(), 0x77);
}

// A row in which a run of every length begins at every place of a segment.
TEST(CoderKernels, RunsOfEveryLengthArePackedAlikeAtEveryPlace) {
  for (size_t run = 1; run <= 260; ++run) {
    for (size_t place = 0; place < 130; ++place) {
      Bytes row(place + run + 5);
      for (size_t i = 0; i < row.size(); ++i) row[i] = static_cast<uint8_t>(1 + i % 100);
      std::fill_n(row.begin() + static_cast<std::ptrdiff_t>(place), run, uint8_t{0});
      const size_t room = packedRoom(row.size());
      const Target fast(room, 0, 0), plain(room, 0, 0);
      const auto length = static_cast<int>(row.size());
      const auto capacity = static_cast<int64_t>(room);
      ASSERT_TRUE(isSameCode(RowPacker_Pack(row.data(), length, fast.get(), capacity),
                             twin::RowPacker_Pack(row.data(), length, plain.get(), capacity), fast,
                             plain))
          << "a run of " << run << " at " << place;
    }
  }
}

// PackBits decoder ------------------------------------------------------------------------------

// Decodes one piece with both; what was written before comes along in `state`.
AssertionResult isPieceSame(const uint8_t* src, size_t count, size_t room, size_t alignment,
                            int16_t* state, RowUnpackerStep* step) {
  const Source source(src, count, alignment);
  const Target fast(room, (alignment * 7 + count) % 16, 0x3C);
  const Target plain(room, (alignment * 7 + count) % 16, 0x3C);
  const int16_t before = *state;
  int16_t plainState = before;
  *step = RowUnpacker_Unpack(source.get(), count, fast.get(), room, state);
  const RowUnpackerStep want =
      twin::RowUnpacker_Unpack(source.get(), count, plain.get(), room, &plainState);
  if (step->used != want.used || step->written != want.written || *state != plainState) {
    return AssertionFailure() << "used " << step->used << ", written " << step->written
                              << ", state " << *state << " and not " << want.used << ", "
                              << want.written << ", " << plainState << "; " << count
                              << " bytes for " << room << " from state " << before;
  }
  AssertionResult same = isSame(fast, plain, want.written);
  if (!same) same << "; " << count << " bytes for " << room << " from state " << before;
  return same;
}

// Decodes a stream into rows of `rowBytes`, in pieces of `pieces` bytes behind the first.
AssertionResult isStreamSame(const Bytes& stream, size_t firstPiece, size_t pieces, size_t rowBytes,
                             size_t alignment, int16_t state) {
  size_t inRow = 0, at = 0, end = std::min(firstPiece, stream.size());
  while (at < stream.size()) {
    while (at < end) {
      RowUnpackerStep step{0, 0};
      const AssertionResult same =
          isPieceSame(stream.data() + at, end - at, rowBytes - inRow, alignment, &state, &step);
      if (!same) return AssertionFailure() << same.message() << "; at byte " << at;
      at += step.used;
      inRow += step.written;
      if (inRow == rowBytes) inRow = 0;
    }
    end = std::min(end + pieces, stream.size());
  }
  return AssertionSuccess();
}

Bytes packed(const Bytes& row) {
  Bytes code(packedRoom(row.size()));
  const int size = twin::RowPacker_Pack(row.data(), static_cast<int>(row.size()), code.data(), 0);
  code.resize(static_cast<size_t>(size));
  return code;
}

// The rows as they are make hostile streams; packed, well-formed ones.
TEST(CoderKernels, UnpackedRowsAreWhatTheirTwinSays) {
  forEachRow("RowUnpacker_Unpack", [](const KernelCase& one) {
    Random& random = one.random;
    const Bytes stream = random.flag() ? packed(one.row) : one.row;
    const auto size = static_cast<uint32_t>(stream.size());
    const bool isWholeRow = random.flag();
    const size_t rowBytes = isWholeRow ? one.row.size() + 1 : random.between(1, 300);
    const size_t pieces = size < 2000 && random.flag() ? random.between(1, 40) : size + 1;
    const auto state = static_cast<int16_t>(static_cast<int>(random.between(0, 256)) - 128);
    return isStreamSame(stream, random.below(size + 1), pieces,
                        std::max<size_t>(rowBytes, size / 50), one.alignment,
                        random.flag() ? state : int16_t{0});
  });
}

TEST(CoderKernels, RowsCutAtEveryPositionAreUnpackedAlike) {
  Random random(kernelSeed());
  for (int k = 0; k < kRowKinds; ++k) {
    const Bytes row = makeRow(static_cast<RowKind>(k), random.between(200, 600), random);
    for (const Bytes& stream : {packed(row), row}) {
      for (size_t cut = 0; cut <= stream.size(); ++cut) {
        ASSERT_TRUE(
            isStreamSame(stream, cut, stream.size() + 1, random.between(1, 700), cut % 16, 0))
            << "kind " << k << ", cut at " << cut << ", ODAXGEN_KERNEL_SEED=" << kernelSeed();
      }
    }
  }
}

TEST(CoderKernels, NothingIsUnpackedWithoutRoomOrSource) {
  for (const int16_t start : {int16_t{-128}, int16_t{-1}, int16_t{0}, int16_t{2}, int16_t{128}}) {
    const Bytes source = {5, 6};
    const Target row(2, 0, 0x44);
    int16_t state = start;
    RowUnpackerStep step = RowUnpacker_Unpack(source.data(), 2, row.get(), 0, &state);
    EXPECT_EQ(step.used + step.written, 0U);
    step = RowUnpacker_Unpack(source.data(), 0, row.get(), 2, &state);
    EXPECT_EQ(step.used + step.written, 0U);
    EXPECT_EQ(state, start);
    EXPECT_EQ(row.begin()[0], 0x44);
  }
}

// Delta rows ------------------------------------------------------------------------------------

AssertionResult isDeltaSame(const KernelCase& one, const uint8_t* seed, int limit) {
  const Source source(one.row, one.alignment);
  const auto length = static_cast<int>(one.row.size());
  const auto room = static_cast<size_t>(limit);
  const Target fast(room, one.targetAlignment, 0), plain(room, one.targetAlignment, 0);
  AssertionResult same = isSameCode(
      DeltaRow_Encode(source.get(), seed, length, fast.get(), limit),
      twin::DeltaRow_Encode(source.get(), seed, length, plain.get(), limit), fast, plain);
  if (!same) same << (seed == nullptr ? ", no seed row" : "") << ", limit " << limit;
  return same;
}

TEST(CoderKernels, DeltaRowsAreWhatTheirTwinSays) {
  forEachRow("DeltaRow_Encode", [](const KernelCase& one) -> AssertionResult {
    const Bytes above = makeRowAbove(one.row, one.random);
    const Source aboveSource(above, one.random.below(16));
    const uint8_t* seed = one.random.below(5) == 0 ? nullptr : aboveSource.get();
    const auto length = static_cast<int>(one.row.size());
    Bytes code(2 * one.row.size() + 8);
    const int needed = twin::DeltaRow_Encode(one.row.data(), seed, length, code.data(),
                                             static_cast<int>(code.size()));
    const int limits[] = {needed, std::max(needed - 1, 0), length,
                          static_cast<int>(one.random.below(static_cast<uint32_t>(needed) + 1))};
    return isDeltaSame(one, seed, one.random.oneOf(limits));
  });
}

// Distances of every length round the values that extension bytes hold.
TEST(CoderKernels, DeltaOffsetsOfEveryLengthAreWhatTheirTwinSays) {
  Random random(kernelSeed());
  for (size_t offset = 0; offset < 1100; ++offset) {
    Bytes row(offset + 1);
    row.back() = 7;
    const Bytes seed(row.size());
    const KernelCase one{row, RowKind::kZeros, offset % 16, 0, random};
    ASSERT_TRUE(isDeltaSame(one, seed.data(), 16)) << "offset " << offset;
    ASSERT_TRUE(isDeltaSame(one, nullptr, 16)) << "offset " << offset;
  }
}

TEST(CoderKernels, ALimitBelow0IsTooShortForNoBytes) {
  const uint8_t row = 0;
  uint8_t out = 0;
  EXPECT_EQ(DeltaRow_Encode(&row, nullptr, -3, &out, -3), -1);
  EXPECT_EQ(twin::DeltaRow_Encode(&row, nullptr, -3, &out, -3), -1);
}

// HXRC ------------------------------------------------------------------------------------------

AssertionResult isHxrcSame(const KernelCase& one, const uint8_t* previous) {
  const auto length = static_cast<int>(one.row.size());
  const Bytes want = twin::hxrcCode(previous, one.row.data(), length);
  const Source source(one.row, one.alignment);
  const Target fast((13 * one.row.size() + 5 + 7) / 8, one.targetAlignment, 0x99);
  const uint32_t got = HXRC_Compress(fast.get(), previous, source.get(), length);
  if (got != want.size() % 65536) {
    return AssertionFailure() << "length " << got << " and not " << want.size() % 65536;
  }
  const Target plain(want.size(), 0, 0);
  std::copy(want.begin(), want.end(), plain.get());
  return isSame(fast, plain, want.size());
}

TEST(CoderKernels, HxrcRowsAloneAreWhatTheirTwinSays) {
  forEachRow("HXRC_Compress without a row above", [](const KernelCase& one) -> AssertionResult {
    if (one.row.empty()) return AssertionSuccess();
    return isHxrcSame(one, nullptr);
  });
}

TEST(CoderKernels, HxrcRowsBelowOthersAreWhatTheirTwinSays) {
  forEachRow("HXRC_Compress", [](const KernelCase& one) -> AssertionResult {
    if (one.row.empty()) return AssertionSuccess();
    const Bytes above = makeRowAbove(one.row, one.random);
    const Source aboveSource(above, one.random.below(16));
    AssertionResult same = isHxrcSame(one, aboveSource.get());
    if (!same) same << ", row above at " << aboveSource.get();
    return same;
  });
}

// Every difference from the byte to the left, between all others.
TEST(CoderKernels, HxrcDifferencesAreWhatTheirTwinSays) {
  Bytes row;
  for (unsigned left = 0; left < 256; ++left) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      row.push_back(static_cast<uint8_t>(left));
      row.push_back(static_cast<uint8_t>(byte));
    }
  }
  row.resize(kHxrcMaxRowBytes);
  Random random(kernelSeed());
  const Bytes above(row.size(), 0x55);
  const KernelCase one{row, RowKind::kNoise, 0, 0, random};
  EXPECT_TRUE(isHxrcSame(one, nullptr));
  EXPECT_TRUE(isHxrcSame(one, above.data()));
}

// Runs of every length for which a code changes, up to beyond the longest that one code holds.
TEST(CoderKernels, HxrcRunsOfEveryLengthAreWhatTheirTwinSays) {
  std::vector<size_t> lengths;
  for (size_t run = 1; run < 700; ++run) lengths.push_back(run);
  for (const size_t limit : {size_t{kHxrcMaxRun}, 2 * size_t{kHxrcMaxRun}}) {
    for (size_t run = limit - 4; run < limit + 5; ++run) lengths.push_back(run);
  }
  Random random(kernelSeed());
  for (const size_t run : lengths) {
    Bytes row(run, 0x41);
    row.push_back(0x42);
    Bytes above = row;
    above.back() = 0x41;
    const KernelCase one{row, RowKind::kFlat, 0, 0, random};
    ASSERT_TRUE(isHxrcSame(one, nullptr)) << "a run of " << run;
    ASSERT_TRUE(isHxrcSame(one, above.data())) << "a run of " << run << " equal to above";
  }
}

TEST(CoderKernels, HxrcRefusesWhatItsTwinRefuses) {
  uint8_t out[64] = {};
  const uint8_t row[4] = {1, 2, 3, 4};
  const struct {
    uint8_t* out;
    const uint8_t* previous;
    const uint8_t* row;
    int length;
  } kCalls[] = {{nullptr, nullptr, nullptr, 0}, {out, out, nullptr, 0}, {out, out, out, 0},
                {out, nullptr, out, 0},         {out, row, row, 0},     {out, row, row, -1},
                {out, row, row, 120001},        {out, row, row, 4}};
  for (const auto& call : kCalls) {
    EXPECT_EQ(HXRC_Compress(call.out, call.previous, call.row, call.length),
              twin::HXRC_Compress(call.out, call.previous, call.row, call.length))
        << "length " << call.length;
  }
}

}  // namespace
