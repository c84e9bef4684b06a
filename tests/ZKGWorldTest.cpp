// Tests of the pixel buffer: its layout for every depth, making, clearing and refusing it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "CLibrary.h"
#include "Capture.h"
#include "Faults.h"
#include "ZKGWorldLib.h"

namespace {

using World = CBlock<ZKGWorld>;

World newWorld(const ZKRect& bounds, int16_t depth, int32_t deep = 0) {
  ZKGWorld* world = nullptr;
  EXPECT_EQ(ZKNewGWorld(&world, depth, &bounds, deep), 0);
  return World(world);
}

World newWorld(long width, long height, int16_t depth, int32_t deep = 0) {
  return newWorld(ZKRect{0, 0, height, width}, depth, deep);
}

bool pixelsAre(const ZKGWorld& world, long rows, uint8_t value) {
  return std::all_of(world.pixels, world.pixels + rows * world.rowBytes,
                     [value](uint8_t byte) { return byte == value; });
}

TEST(ZKGWorldLayout, BytesPerRowFollowFromDepthWidthAndFlag) {
  struct Case {
    int16_t depth;
    int32_t deep;
    long width;
    int32_t rowBytes;
  };
  const Case kCases[] = {
      // 1 bit: 8 pixels a byte
      {1, 0, 1, 4},
      {1, 0, 32, 4},
      {1, 0, 33, 8},
      {1, 1, 33, 8},
      {1, 0, 2401, 304},
      // 2 bits: 4 pixels a byte
      {2, 0, 1, 4},
      {2, 0, 16, 4},
      {2, 0, 17, 8},
      {2, 1, 17, 8},
      // 4 bits: 2 pixels a byte
      {4, 0, 1, 4},
      {4, 0, 8, 4},
      {4, 0, 9, 8},
      {4, 1, 9, 8},
      // 8 bits
      {8, 0, 1, 4},
      {8, 0, 4, 4},
      {8, 0, 5, 8},
      {8, 1, 5, 8},
      // 10 bits: packed, or two bytes each
      {10, 0, 1, 4},
      {10, 0, 3, 4},
      {10, 1, 3, 8},
      {10, -1, 3, 8},
      {10, 0, 4, 8},
      {10, 0, 6, 8},
      {10, 0, 7, 12},
      {10, 1, 7, 16},
      // 12 bits: packed, or two bytes each
      {12, 0, 1, 4},
      {12, 0, 2, 4},
      {12, 1, 2, 4},
      {12, 0, 3, 8},
      {12, 1, 3, 8},
      {12, 0, 5, 8},
      {12, 1, 5, 12},
      // 16 bits
      {16, 0, 1, 4},
      {16, 0, 2, 4},
      {16, 0, 3, 8},
      {16, 1, 3, 8},
      // 24 and 32 bits, and 0 for 32
      {24, 0, 3, 12},
      {24, 1, 3, 12},
      {32, 0, 3, 12},
      {0, 0, 3, 12},
      {0, 1, 3, 12},
      // depths without a packing of their own take four bytes a pixel
      {3, 0, 3, 12},
      {5, 0, 3, 12},
      {6, 0, 3, 12},
      {7, 0, 3, 12},
      {9, 0, 3, 12},
      {11, 0, 3, 12},
      {13, 0, 3, 12},
      {14, 0, 3, 12},
      {15, 0, 3, 12},
      {15, 1, 3, 12},
      {17, 0, 3, 12},
      {48, 0, 3, 12},
      {-1, 0, 3, 12},
      // no width, no bytes
      {1, 0, 0, 0},
      {10, 0, 0, 0},
      {32, 0, 0, 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message()
                 << "depth " << c.depth << ", flag " << c.deep << ", width " << c.width);
    const World world = newWorld(c.width, 2, c.depth, c.deep);
    ASSERT_NE(world, nullptr);
    EXPECT_EQ(world->rowBytes, c.rowBytes);
    EXPECT_TRUE(pixelsAre(*world, 2, 0x00));
  }
}

TEST(ZKGWorldLayout, TheRecordKnowsItselfItsBoundsAndItsDepth) {
  const World world = newWorld(ZKRect{10, 5, 13, 38}, 1);
  EXPECT_EQ(world->self, world.get());
  EXPECT_EQ(world->rowBytes, 8);  // 33 pixels
  EXPECT_EQ(world->bounds.top, 10);
  EXPECT_EQ(world->bounds.left, 5);
  EXPECT_EQ(world->bounds.bottom, 13);
  EXPECT_EQ(world->bounds.right, 38);
  EXPECT_EQ(world->depth, 1);
}

TEST(ZKGWorldLayout, PixelsStandDirectlyBehindTheRecord) {
  const World world = newWorld(4, 1, 8);
  EXPECT_EQ(world->pixels, reinterpret_cast<const uint8_t*>(world.get() + 1));
}

TEST(ZKGWorldLayout, Depth0IsStoredAs32AndGivesTheSameBuffer) {
  const World none = newWorld(5, 3, 0);
  const World full = newWorld(5, 3, 32);
  EXPECT_EQ(none->depth, 32);
  EXPECT_EQ(full->depth, 32);
  EXPECT_EQ(none->rowBytes, full->rowBytes);
}

TEST(ZKGWorldLayout, TheLastByteOfTheLastRowCanBeWritten) {
  const World world = newWorld(5, 300, 8);
  world->pixels[300 * 8 - 1] = 0xAA;
  EXPECT_EQ(world->pixels[300 * 8 - 1], 0xAA);
}

TEST(ZKGWorldLayout, SizesAreComputedIn32Bits) {
  const World world = newWorld(ZKRect{0, 0, 0x100000002L, 0x100000005L}, 8);
  ASSERT_NE(world, nullptr);
  EXPECT_EQ(world->rowBytes, 8);
  ZKClearGWorldRGB(world.get());
  EXPECT_TRUE(pixelsAre(*world, 2, 0xFF));
  ZKClearGWorld(world.get());
  EXPECT_TRUE(pixelsAre(*world, 2, 0x00));
}

TEST(ZKGWorldClear, SetsEveryByteToNoInkOrToWhite) {
  const World world = newWorld(ZKRect{7, 3, 10, 8}, 8);
  std::fill_n(world->pixels, 3 * 8, uint8_t{0x5A});
  ZKClearGWorld(world.get());
  EXPECT_TRUE(pixelsAre(*world, 3, 0x00));
  ZKClearGWorldRGB(world.get());
  EXPECT_TRUE(pixelsAre(*world, 3, 0xFF));
  EXPECT_EQ(world->bounds.bottom, 10);  // the record itself is not touched
}

TEST(ZKGWorldClear, ABufferWithoutRowsHasNothingToClear) {
  const World world = newWorld(100, 0, 8);
  EXPECT_EQ(world->rowBytes, 100);
  ZKClearGWorld(world.get());
  ZKClearGWorldRGB(world.get());
  EXPECT_EQ(world->self, world.get());
}

TEST(ZKGWorldClear, NullIsIgnored) {
  ZKClearGWorld(nullptr);
  ZKClearGWorldRGB(nullptr);
}

TEST(ZKGWorldFailure, MissingMemoryIsReportedAndNothingIsStored) {
  ZKGWorld untouched{};
  ZKGWorld* world = &untouched;
  const ZKRect bounds = {0, 0, 300, 100};
  int32_t result = 0;
  std::string errors;
  {
    Capture capture;
    {
      const FaultInjection injection(Fault::kAllocation, 1);
      result = ZKNewGWorld(&world, 8, &bounds, 0);
    }
    errors = capture.err();
  }
  EXPECT_EQ(result, 12);
  EXPECT_EQ(world, &untouched);
  EXPECT_EQ(errors, "ERROR! ZKewGWorld failed.(12) ZKGWorldLib.cpp(85)\n");
}

TEST(ZKGWorldFailure, ASizeThatCannotBeHeldFailsLikeMissingMemory) {
  struct Case {
    const char* name;
    int16_t depth;
    int32_t deep;
    long width, height;
  };
  const Case kCases[] = {
      {"a row of 2^31 bytes", 16, 0, 0x40000000, 1},
      {"a row of over 2^32 bytes", 32, 0, 0x7FFFFFFF, 1},
      {"a row that only its rounding makes too long", 8, 0, 0x7FFFFFFE, 1},
      {"deep pixels of over 2^31 bytes", 10, 1, 0x40000000, 1},
      {"300 rows of 8 million bytes", 32, 0, 2097152, 300},
      {"2^31 bytes in all", 8, 0, 65536, 32768},
      {"rows times bytes over 2^63", 32, 0, 0x7FFFFFFF, 0x7FFFFFFF},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    ZKGWorld untouched{};
    ZKGWorld* world = &untouched;
    const ZKRect bounds = {0, 0, c.height, c.width};
    int32_t result = 0;
    std::string errors;
    {
      Capture capture;
      result = ZKNewGWorld(&world, c.depth, &bounds, c.deep);
      errors = capture.err();
    }
    EXPECT_EQ(result, 12);
    EXPECT_EQ(world, &untouched);
    EXPECT_EQ(errors, "ERROR! ZKewGWorld failed.(12) ZKGWorldLib.cpp(85)\n");
  }
}

// Pages of memory that this process holds.
long residentPages() {
  long all = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return resident;
}

TEST(ZKGWorldClearing, MemoryThatWasNeverWrittenToStaysAway) {
  constexpr long kMiB = (1L << 20) / 4096;
  const World world = newWorld(1 << 20, 300, 8);
  const long before = residentPages();
  ZKClearGWorld(world.get());
  EXPECT_LT(residentPages() - before, 16 * kMiB);
  EXPECT_TRUE(pixelsAre(*world, 300, 0));
}

TEST(ZKGWorldClearing, EveryBytePlaceIsCleared) {
  const World world = newWorld(4100, 3, 8);
  for (long at = 0; at < 3L * world->rowBytes; ++at) {
    world->pixels[at] = 1;
    ZKClearGWorld(world.get());
    ASSERT_EQ(world->pixels[at], 0) << at;
  }
}

}  // namespace
