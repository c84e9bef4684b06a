// Tests of how large an image may say it is, with the file it stands in.
#include "ImageClaim.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace {

constexpr uint64_t kGranted = uint64_t{1} << 31U;

TEST(ImageClaim, TwoGibibytesAreGrantedToAnyFile) {
  // 2^20 rows of 2048 bytes, each with its own cost in them
  EXPECT_FALSE(isClaimBeyondFile(1U << 20U, 2048 - 64, 8, 1));
  EXPECT_FALSE(isClaimBeyondFile((1U << 20U) + 1, 2048 - 64, 8, 2));
  EXPECT_TRUE(isClaimBeyondFile((1U << 20U) + 1, 2048 - 64, 8, 1));
  EXPECT_TRUE(isClaimBeyondFile(0xFFFFFFFF, 0, 8, 120));
  EXPECT_TRUE(isClaimBeyondFile(1, 0x7FFFFFFF, 8, 120));
}

TEST(ImageClaim, EachByteOfTheFileGrants1024) {
  const uint64_t fileBytes = 100'000'000;
  const auto rows = static_cast<uint32_t>((kGranted + fileBytes * 1024) / 1024);
  EXPECT_FALSE(isClaimBeyondFile(rows, 1024 - 64, 8, fileBytes));
  EXPECT_TRUE(isClaimBeyondFile(rows + 1, 1024 - 64, 8, fileBytes));
}

TEST(ImageClaim, ABandOf256MebibytesIsGrantedToAnyFile) {
  EXPECT_FALSE(isClaimBeyondFile(256, 1U << 20U, 8, 120));
  EXPECT_FALSE(isClaimBeyondFile(257, 1U << 20U, 8, 1024));
  EXPECT_TRUE(isClaimBeyondFile(257, 1U << 20U, 8, 1023));
  EXPECT_FALSE(isClaimBeyondFile(30, 7158276, 8, 120));
  EXPECT_TRUE(isClaimBeyondFile(140, 7158276, 8, 120));
}

TEST(ImageClaim, OfAFileWithoutASizeNothingIsKnown) {
  EXPECT_FALSE(isClaimBeyondFile(0xFFFFFFFF, 0x7FFFFFFF, 8, 0));
}

TEST(ImageClaim, AFileOfAnySizeIsNoMoreThanItsNumber) {
  EXPECT_FALSE(isClaimBeyondFile(0xFFFFFFFF, 1000, 8, UINT64_MAX));
}

TEST(ImageClaim, ABandHasTheRowsOfTheImageAndThoseOfRgbAlways300) {
  EXPECT_EQ(bandBytesOf(9, 1000, 8), 9000U);
  EXPECT_EQ(bandBytesOf(301, 1000, 8), 300000U);
  EXPECT_EQ(bandBytesOf(9, 4000, 32), 36000U);
  EXPECT_EQ(bandBytesOf(9, 3000, 24), 900000U);
  EXPECT_EQ(bandBytesOf(9, 6000, 48), 1800000U);
}

TEST(ImageClaim, AnRgbBandThatCannotBeMadeCostsNothing) {
  // 300 rows of 7,158,278 bytes are 2^31-1 bytes at most, one byte more is too much
  EXPECT_EQ(bandBytesOf(9, 3 * 7158278, 24), uint64_t{300} * 3 * 7158278);
  EXPECT_EQ(bandBytesOf(9, 3 * 7158279, 24), 0U);
}

// What a page may be and how its file may look when every row is in it.
RC_GTEST_PROP(ImageClaimProperty, NoFileThatHoldsItsRowsIsTooSmall, ()) {
  const auto rows = *rc::gen::inRange<uint32_t>(1, 0xFFFFFFFF);
  const auto rowBytes = *rc::gen::inRange<uint32_t>(1, 0x7FFFFFFF);
  const auto bits = *rc::gen::element(1U, 8U, 16U, 24U, 32U, 48U);
  const bool isPacked = *rc::gen::arbitrary<bool>();
  const bool isLowRgb = rows < kBandRows && (bits == 24 || bits == 48);
  const uint64_t inFile = isPacked && !isLowRgb ? (uint64_t{rowBytes} + 127) / 128 * 2 : rowBytes;
  RC_ASSERT(!isClaimBeyondFile(rows, rowBytes, bits, rows * inFile));
}

}  // namespace
