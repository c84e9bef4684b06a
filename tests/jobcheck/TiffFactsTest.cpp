// TiffFacts sees in a file what the system's own reader sees.
#include "TiffFacts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Silence.h"
#include "TempFolder.h"
#include "TiffWriter.h"
#include "ZKBitmapFile.h"

using jobcheck::readTiffFacts;
using jobcheck::TiffFacts;

namespace {

Bytes plainPage(char order, std::vector<uint32_t> bits, uint16_t offsetType = kTiffLong) {
  TiffPage page;
  page.order = order;
  page.width = 6;
  page.height = 5;
  page.bits = bits;
  page.photometric = 1;
  page.rowsPerStrip = 2;
  page.offsetType = offsetType;
  const std::vector<Bytes> rows(5, Bytes(6 * bits.size() * bits[0] / 8, 0x55));
  page.strips = stripsOf(rows, 2, kUncompressed);
  return tiffFile(page);
}

// What the system's reader makes of a file, and where the facts differ from it.
std::string differences(const std::string& path) {
  const jobcheck::Silence silence;
  const TiffFacts facts = readTiffFacts(path);
  ImageReader* reader = ZKBMP_New(path.c_str());
  if (reader == nullptr) return facts.canOpen() ? "the system does not open it" : "";
  std::string text;
  const auto compare = [&text](const char* what, uint64_t mine, uint64_t theirs) {
    if (mine != theirs) {
      text += std::string(what) + " " + std::to_string(mine) + ", the system has " +
              std::to_string(theirs) + "; ";
    }
  };
  compare("opened", facts.canOpen() ? 1 : 0, 1);
  compare("TIFF", facts.isTiff ? 1 : 0, reader->file.isOpen() ? 1 : 0);
  compare("width", facts.width, reader->width);
  compare("height", facts.height, reader->height);
  if (facts.isTiff) {
    compare("bits per pixel", facts.bitsPerPixel, reader->bitsPerPixel);
    compare("sample bits", facts.sampleBits, reader->sampleBits[0]);
    compare("compression", facts.compression, reader->compression);
    compare("photometric", facts.photometric, reader->photometric);
    compare("planar", facts.planar, reader->planarConfiguration);
    compare("rows per strip", facts.rowsPerStrip, reader->rowsPerStrip);
    compare("strips", facts.strips, reader->stripCount);
    for (uint32_t i = 0; i < facts.offsets.size(); ++i)
      compare("offset", facts.offsets[i], stripOffset(reader, i));
  }
  ZKBMP_Delete(reader);
  return text;
}

TEST(TiffFactsTest, BothByteOrdersGiveTheSameFacts) {
  const TempFolder folder;
  for (const char order : {'I', 'M'}) {
    const TiffFacts facts = readTiffFacts(folder.write("a.tif", plainPage(order, {8, 8, 8, 8})));
    EXPECT_TRUE(facts.isTiff);
    EXPECT_EQ(facts.width, 6U);
    EXPECT_EQ(facts.height, 5U);
    EXPECT_EQ(facts.bitsPerPixel, 32U);
    EXPECT_EQ(facts.sampleBits, 8U);
    EXPECT_EQ(facts.samplesPerPixel, 4U);
    EXPECT_EQ(facts.compression, 1U);
    EXPECT_EQ(facts.photometric, 1U);
    EXPECT_TRUE(facts.hasPhotometric);
    EXPECT_EQ(facts.rowsPerStrip, 2U);
    EXPECT_EQ(facts.strips, 3U);
    EXPECT_EQ(facts.offsets.size(), 3U);
    EXPECT_EQ(facts.images, 1U);
    EXPECT_EQ(facts.offsetType, kTiffLong);
    EXPECT_FALSE(facts.isDirectoryCut);
  }
}

TEST(TiffFactsTest, TheExtensionDecidesFirst) {
  const TempFolder folder;
  const Bytes page = plainPage('I', {8});
  for (const char* name : {"a.tif", "a.TIFF", "a.TiFfany"})
    EXPECT_TRUE(readTiffFacts(folder.write(name, page)).canOpen()) << name;
  for (const char* name : {"a.tf", "a.png", "a.", "atif"})
    EXPECT_FALSE(readTiffFacts(folder.write(name, page)).canOpen()) << name;
}

TEST(TiffFactsTest, AMissingFileIsUnknownAndNotRefused) {
  const TempFolder folder;
  const TiffFacts facts = readTiffFacts(folder.path("none.png"));
  EXPECT_TRUE(facts.isUnknown);
  EXPECT_TRUE(facts.canOpen());
}

TEST(TiffFactsTest, OtherFilesAreToldApart) {
  const TempFolder folder;
  EXPECT_FALSE(readTiffFacts(folder.write("a.tif", "")).isTiff);
  EXPECT_FALSE(readTiffFacts(folder.write("b.tif", "BM......")).isTiff);
  const TiffFacts big = readTiffFacts(folder.write("c.tif", std::string("MM\0\x2B\0\x08\0\0", 8)));
  EXPECT_FALSE(big.isTiff);
  EXPECT_TRUE(big.isBigTiff);
}

TEST(TiffFactsTest, ALoopOfDirectoriesEnds) {
  const TempFolder folder;
  TiffWriter file('I');
  TiffPage page;
  page.width = page.height = 1;
  page.strips = {{0}};
  const uint32_t first = addPage(file, page);
  const uint32_t second = addPage(file, page);
  file.link(second, first);
  const TiffFacts facts = readTiffFacts(folder.write("a.tif", file.bytes()));
  EXPECT_EQ(facts.images, 2U);
  EXPECT_FALSE(facts.isEndless);
}

// Directories that overlap, each with many entries and a link to the next.
TEST(TiffFactsTest, VeryManyEntriesAreGivenUp) {
  const TempFolder folder;
  Bytes file = {'I', 'I', 42, 0, 8, 0, 0, 0};
  constexpr size_t kDirectories = 3000;
  constexpr uint32_t kEntries = 5000;
  file.resize(8 + kDirectories * 8 + 2 + size_t{kEntries} * 12 + 8);
  const auto put = [&file](size_t at, uint32_t value, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i) file[at + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  for (uint32_t i = 0; i < kDirectories; ++i) {
    const uint32_t at = 8 + 8 * i;
    put(at, kEntries, 2);
    put(at + 2 + size_t{kEntries} * 12, at + 8, 4);
  }
  const TiffFacts facts = readTiffFacts(folder.write("a.tif", file));
  EXPECT_TRUE(facts.isEndless);
  EXPECT_TRUE(facts.isUnknown);
}

TEST(TiffFactsTest, NarrowOffsetsAreUsedAsTheSystemUsesThem) {
  const TempFolder folder;
  const std::string path = folder.write("a.tif", plainPage('I', {8}, kTiffShort));
  EXPECT_EQ(readTiffFacts(path).offsetType, kTiffShort);
  EXPECT_EQ(differences(path), "");
}

TEST(TiffFactsTest, DamagedFilesGiveTheFactsOfTheSystem) {
  const TempFolder folder;
  std::mt19937 random(7);
  const auto below = [&random](size_t end) { return static_cast<size_t>(random() % end); };
  std::vector<Bytes> wholes;
  for (const char order : {'I', 'M'}) {
    wholes.push_back(plainPage(order, {8}));
    wholes.push_back(plainPage(order, {16, 16, 16}));
    wholes.push_back(plainPage(order, {8, 8, 8, 8}, kTiffShort));
    TiffWriter two(order);
    for (const uint32_t width : {5U, 9U}) {
      TiffPage page;
      page.order = order;
      page.width = page.height = width;
      page.strips = std::vector<Bytes>(3, Bytes(27, 1));
      addPage(two, page);
    }
    wholes.push_back(two.bytes());
  }
  for (int round = 0; round < 4000; ++round) {
    Bytes file = wholes[below(wholes.size())];
    const size_t changes = 1 + below(4);
    for (size_t i = 0; i < changes; ++i) {
      // Rather in the directory, which stands behind the data.
      const size_t at = below(2) == 0 ? below(file.size()) : file.size() - 1 - below(120);
      file[at] = static_cast<uint8_t>(below(2) == 0 ? below(8) : below(256));
    }
    if (below(4) == 0) file.resize(file.size() - below(file.size()));
    ASSERT_EQ(differences(folder.write("a.tif", file)), "") << "round " << round;
  }
}

}  // namespace
