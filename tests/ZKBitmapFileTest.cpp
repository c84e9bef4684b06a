// Tests of the image front-end: which names open, and that every call reaches the TIFF reader for
// a tagged handle and nothing for any other.
#include "ZKBitmapFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "CLibrary.h"
#include "Capture.h"
#include "TempFolder.h"
#include "TiffWriter.h"

namespace {

struct ReaderDelete {
  void operator()(ImageReader* reader) const { ZKBMP_Delete(reader); }
};
using Reader = std::unique_ptr<ImageReader, ReaderDelete>;
struct UntaggedDelete {
  void operator()(ImageReader* reader) const { ZKTiff_Delete(reader); }
};
using Untagged = std::unique_ptr<ImageReader, UntaggedDelete>;
using World = CBlock<ZKGWorld>;

// A buffer of one row whose bytes are all 0x77.
World newWorld(long width, int16_t depth) {
  ZKGWorld* world = nullptr;
  const ZKRect box = {0, 0, 1, width};
  EXPECT_EQ(ZKNewGWorld(&world, depth, &box, 0), 0);
  std::memset(world->pixels, 0x77, static_cast<size_t>(world->rowBytes));
  return World(world);
}

Bytes rowOf(const World& world) {
  return {world->pixels, world->pixels + world->rowBytes};
}

// A page of two pixels with the given samples.
Bytes image(const std::vector<uint32_t>& bits, const Bytes& row) {
  TiffPage page;
  page.width = 2;
  page.height = 1;
  page.bits = bits;
  page.strips = {row};
  return tiffFile(page);
}

TEST(ZKBitmapFile, TheExtensionDecidesWhatIsOpened) {
  struct Case {
    const char* name;
    bool opens;
  };
  const Case kCases[] = {
      {"a.TIF", true},         {"a.tif", true},       {"a.tIf", true},
      {"a.Tiff", true},        {"a.TIFF", true},      {"a.tiff", true},
      {"a.TIFFX", true},       {"a.tiffany", true},   {"a.bmp.tif", true},
      {".tif", true},          {"a..tif", true},      {"a.b/c.tif", true},
      {"a.bmp", false},        {"a.tf", false},       {"a", false},
      {"tif", false},          {"atif", false},       {"a.ti", false},
      {"a.", false},           {"a.tif.", false},     {"a.tif.bmp", false},
      {"a.tifx", false},       {"a.tifx.tiff", true}, {"a.tif ", false},
      {"a. tif", false},       {"a.xtif", false},     {"dir.tif/file", false},
      {"dir.tiff/file", true},  // "TIFF" comes before the slash, and only four characters count
  };
  const TempFolder folder;
  const Bytes content = image({8}, {1, 2});
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string path = folder.write(c.name, content);
    Reader reader;
    EXPECT_EQ(errorsOf([&] { reader.reset(ZKBMP_New(path.c_str())); }), "");
    EXPECT_EQ(reader != nullptr, c.opens);
    if (reader) {
      EXPECT_EQ(reader->kind, 0x54494646U);
      EXPECT_EQ(ZKBMP_GetWidth(reader.get()), 2U);
    }
  }
}

TEST(ZKBitmapFile, AMissingFileGivesNullAndTheReadersMessage) {
  const TempFolder folder;
  const std::string path = folder.path("missing.tif");
  Reader reader;
  EXPECT_EQ(errorsOf([&] { reader.reset(ZKBMP_New(path.c_str())); }),
            "ERROR! ZKTiff_New can't open '" + path + "'. (errno=2)\n(2) ZKTiff.cpp(535)\n");
  EXPECT_EQ(reader, nullptr);
}

TEST(ZKBitmapFile, AnotherExtensionIsRefusedWithoutAMessage) {
  const TempFolder folder;
  Reader reader;
  EXPECT_EQ(errorsOf([&] { reader.reset(ZKBMP_New(folder.path("missing.bmp").c_str())); }), "");
  EXPECT_EQ(reader, nullptr);
}

TEST(ZKBitmapFile, ABitmapUnderATiffNameHasNoPixels) {
  const TempFolder folder;
  const Reader reader(ZKBMP_New(folder.write("a.tif", Bytes{'B', 'M', 0, 0}).c_str()));
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(reader->kind, kKindTiff);
  EXPECT_EQ(ZKBMP_GetWidth(reader.get()), 0U);
  const World world = newWorld(2, 8);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlock(reader.get(), world.get(), nullptr), 0);
}

TEST(ZKBitmapFile, CallsReachTheReaderOfATaggedHandle) {
  const TempFolder folder;
  const World world = newWorld(2, 8);
  ZKRect box = {9, 9, 9, 9};

  const Reader gray(ZKBMP_New(folder.write("k.tif", image({8}, {1, 2})).c_str()));
  ZKBMP_GetImageBox(gray.get(), &box);
  EXPECT_EQ(box.top, 0);
  EXPECT_EQ(box.left, 0);
  EXPECT_EQ(box.bottom, 1);
  EXPECT_EQ(box.right, 2);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(ZKBMP_ReadNextRasterBlock(gray.get(), world.get(), nullptr), 1);
    EXPECT_EQ(rowOf(world), (Bytes{1, 2, 0, 0}));
    EXPECT_EQ(ZKBMP_ReadNextRasterBlock(gray.get(), world.get(), nullptr), 0);
    ZKBMP_Rewind(gray.get());
  }

  const Reader cmyk(
      ZKBMP_New(folder.write("cmyk.tif", image({8, 8, 8, 8}, {1, 2, 3, 4, 5, 6, 7, 8})).c_str()));
  EXPECT_EQ(ZKBMP_ReadNextRasterBlockCMYK(cmyk.get(), world.get(), nullptr, 3), 1);
  EXPECT_EQ(rowOf(world), (Bytes{4, 8, 0, 0}));

  const Reader rgb(
      ZKBMP_New(folder.write("rgb.tif", image({8, 8, 8}, {1, 2, 3, 4, 5, 6})).c_str()));
  const World green = newWorld(2, 8);
  const World blue = newWorld(2, 8);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlockRGB(rgb.get(), world.get(), green.get(), blue.get(), 0), 1);
  EXPECT_EQ(rowOf(world), (Bytes{1, 4, 0xFF, 0xFF}));
  EXPECT_EQ(rowOf(green), (Bytes{2, 5, 0xFF, 0xFF}));
  EXPECT_EQ(rowOf(blue), (Bytes{3, 6, 0xFF, 0xFF}));
}

TEST(ZKBitmapFile, TablesAndFlagsAreHandedOn) {
  const TempFolder folder;
  const Reader gray(ZKBMP_New(folder.write("k.tif", image({8}, {0x10, 0x2F})).c_str()));
  std::array<uint8_t, 256> table{};
  table[0x10] = 5;
  table[0x2F] = 9;
  const World four = newWorld(2, 4);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlock(gray.get(), four.get(), table.data()), 1);
  EXPECT_EQ(rowOf(four), (Bytes{0x59, 0, 0, 0}));

  const Reader rgb(
      ZKBMP_New(folder.write("rgb.tif", image({16, 16, 16}, Bytes(12, 0x00))).c_str()));
  ZKGWorld* made[3] = {};
  const ZKRect box = {0, 0, 1, 2};
  for (ZKGWorld*& world : made) ASSERT_EQ(ZKNewGWorld(&world, 10, &box, 1), 0);
  const World red(made[0]);
  const World green(made[1]);
  const World blue(made[2]);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlockRGB(rgb.get(), red.get(), green.get(), blue.get(), 1), 1);
  EXPECT_EQ(rowOf(blue), (Bytes{0xFC, 0, 0xFC, 0}));
}

// Everything that a call without a usable handle must leave alone.
void expectIgnored(ImageReader* handle) {
  const World world = newWorld(2, 8);
  const Bytes before = rowOf(world);
  ZKRect box = {1, 2, 3, 4};
  ZKBMP_GetImageBox(handle, &box);
  EXPECT_EQ(box.top, 1);
  EXPECT_EQ(box.left, 2);
  EXPECT_EQ(box.bottom, 3);
  EXPECT_EQ(box.right, 4);
  ZKBMP_Rewind(handle);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlock(handle, world.get(), nullptr), 0);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlockCMYK(handle, world.get(), nullptr, 0), 0);
  EXPECT_EQ(ZKBMP_ReadNextRasterBlockRGB(handle, world.get(), world.get(), world.get(), 0), 0);
  EXPECT_EQ(rowOf(world), before);
  ZKBMP_Delete(handle);
}

TEST(ZKBitmapFile, ANullHandleIsAcceptedByEveryOperation) {
  expectIgnored(nullptr);
  EXPECT_EQ(ZKBMP_GetWidth(nullptr), 0xFFFFFFFFU);
}

TEST(ZKBitmapFile, AHandleWithoutTheTagIsIgnoredButForItsWidth) {
  const TempFolder folder;
  const std::string path = folder.write("k.tif", image({8}, {1, 2}));
  for (const uint32_t kind : {0x00000000U, 0x54494600U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(kind);
    const Untagged reader(ZKTiff_New(path.c_str()));
    ASSERT_NE(reader, nullptr);
    reader->kind = kind;
    reader->currentRow = 1;
    expectIgnored(reader.get());
    EXPECT_EQ(reader->currentRow, 1U);
    EXPECT_TRUE(reader->file.isOpen());
    EXPECT_EQ(ZKBMP_GetWidth(reader.get()), 2U);
  }
}

}  // namespace
