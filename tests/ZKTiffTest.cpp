// Tests of the TIFF reader's structure side: headers, directories, fields of every type in both
// byte orders, strip offsets, and files that are broken on purpose.
#include "ZKTiff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Capture.h"
#include "Faults.h"
#include "TempFolder.h"
#include "TiffWriter.h"

namespace {

struct ReaderDelete {
  void operator()(ImageReader* reader) const { ZKTiff_Delete(reader); }
};
using Reader = std::unique_ptr<ImageReader, ReaderDelete>;

class ZKTiffTest : public testing::Test {
 protected:
  [[nodiscard]] Reader open(const Bytes& content) const {
    return Reader(ZKTiff_New(folder.write("image.tif", content).c_str()));
  }
  [[nodiscard]] Reader open(const TiffWriter& file) const { return open(file.bytes()); }
  TempFolder folder;
};

void expectRefused(const Reader& reader) {
  ASSERT_NE(reader, nullptr);
  EXPECT_FALSE(reader->file.isOpen());
  EXPECT_EQ(reader->width, 0U);
  EXPECT_EQ(reader->height, 0U);
}

void expectSize(const Reader& reader, uint32_t width, uint32_t height) {
  ASSERT_NE(reader, nullptr);
  EXPECT_TRUE(reader->file.isOpen());
  EXPECT_EQ(reader->width, width);
  EXPECT_EQ(reader->height, height);
}

// Field types that are no integers of 8, 16 or 32 bits, and some that are none at all.
constexpr std::array<uint16_t, 10> kOtherTypes = {0, 2, 5, 7, 10, 11, 12, 13, 16, 0xFFFF};

// What 16-bit or 8-bit offsets look like when they are read as 32-bit ones.
uint32_t asStored(const void* stored, size_t bytes) {
  uint32_t value = 0;
  std::memcpy(&value, stored, bytes);
  return value;
}

// The words about a file that is not there.
std::string errorsOfMissing(const std::string& path) {
  Reader reader;
  std::string errors = errorsOf([&] { reader.reset(ZKTiff_New(path.c_str())); });
  EXPECT_EQ(reader, nullptr);
  return errors;
}

// Opening ----------------------------------------------------------------------------------------

TEST_F(ZKTiffTest, AMissingFileGivesNullAndAMessage) {
  const std::string path = folder.path("missing.tif");
  EXPECT_EQ(errorsOfMissing(path),
            "ERROR! ZKTiff_New can't open '" + path + "'. (errno=2)\n(2) ZKTiff.cpp(535)\n");
}

TEST_F(ZKTiffTest, APathThatFillsTheMessageBufferIsReportedWhole) {
  // 255 characters: 23 before the path, 13 behind it
  const std::string start = folder.path("");
  ASSERT_LT(start.size(), 150U);
  const std::string path = start + std::string(219 - start.size(), 'n');
  EXPECT_EQ(errorsOfMissing(path),
            "ERROR! ZKTiff_New can't open '" + path + "'. (errno=2)\n(2) ZKTiff.cpp(535)\n");
}

TEST_F(ZKTiffTest, APathThatIsTooLongForTheMessageLeavesItEmpty) {
  const std::string start = folder.path("");
  const std::string path = start + std::string(220 - start.size(), 'n');
  EXPECT_EQ(errorsOfMissing(path), "ERROR! (2) ZKTiff.cpp(535)\n");
}

TEST_F(ZKTiffTest, AFileThatCannotBeOpenedIsReportedWithItsErrorNumber) {
  const std::string path = folder.write("closed.tif", tiffFile({}));
  Reader reader;
  const std::string errors = errorsOf([&] {
    const FaultInjection injection(Fault::kOpen, 1);
    reader.reset(ZKTiff_New(path.c_str()));
  });
  EXPECT_EQ(reader, nullptr);
  EXPECT_EQ(errors,
            "ERROR! ZKTiff_New can't open '" + path + "'. (errno=13)\n(13) ZKTiff.cpp(535)\n");
}

TEST_F(ZKTiffTest, AFileThatIsNoTiffFileGivesAClosedRecordWithoutAMessage) {
  struct Case {
    const char* name;
    Bytes content;
  };
  const Case kCases[] = {
      {"empty", {}},
      {"one byte", {'I'}},
      {"three bytes", {'I', 'I', 0x2A}},
      {"a bitmap", {'B', 'M', 0x46, 0, 0, 0, 0, 0, 0, 0, 0x36, 0, 0, 0}},
      {"little-endian mark, big-endian 42", {'I', 'I', 0, 0x2A, 0, 0, 0, 8}},
      {"big-endian mark, little-endian 42", {'M', 'M', 0x2A, 0, 8, 0, 0, 0}},
      {"mixed marks", {'I', 'M', 0x2A, 0, 8, 0, 0, 0}},
      {"43", {'I', 'I', 0x2B, 0, 8, 0, 0, 0}},
      {"small letters", {'i', 'i', 0x2A, 0, 8, 0, 0, 0}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Reader reader;
    EXPECT_EQ(errorsOf([&] { reader = open(c.content); }), "");
    expectRefused(reader);
  }
}

TEST_F(ZKTiffTest, AFolderReadsAsAnEmptyFile) {
  Reader reader;
  EXPECT_EQ(errorsOf([&] { reader.reset(ZKTiff_New(folder.path().c_str())); }), "");
  expectRefused(reader);
}

TEST_F(ZKTiffTest, AHeaderAloneGivesTheInitialValues) {
  for (const Bytes& content : {Bytes{'I', 'I', 0x2A, 0}, Bytes{'I', 'I', 0x2A, 0, 0, 0, 0, 0},
                               Bytes{'I', 'I', 0x2A, 0, 8, 0}}) {
    SCOPED_TRACE(content.size());
    const Reader reader = open(content);
    expectSize(reader, 0, 0);
    EXPECT_EQ(reader->fileName.get(), folder.path("image.tif"));
    EXPECT_EQ(reader->bitsPerPixel, 1);
    EXPECT_EQ(reader->sampleBits, (std::array<uint8_t, 4>{1, 1, 1, 1}));
    EXPECT_EQ(reader->currentRow, 0U);
    EXPECT_EQ(reader->bytesPerRow, 0U);
    EXPECT_EQ(reader->sampleRowBytes, (std::array<uint32_t, 4>{}));
    EXPECT_EQ(reader->compression, 0U);
    EXPECT_EQ(reader->rowsPerStrip, 0xFFFFFFFFU);
    EXPECT_EQ(reader->stripCount, 0U);
    EXPECT_EQ(reader->stripOffsets, nullptr);
    EXPECT_EQ(reader->currentStrip, 0U);
    EXPECT_EQ(reader->rowsLeftInStrip, 0xFFFFFFFFU);
    EXPECT_EQ(reader->byteOrder, 'I');
    EXPECT_EQ(reader->firstStripOffset, 0);
    EXPECT_EQ(reader->decoderState, 0);
    EXPECT_EQ(reader->photometric, 0);
  }
}

TEST_F(ZKTiffTest, BothByteOrdersGiveTheSameValues) {
  for (const char order : {'I', 'M'}) {
    SCOPED_TRACE(order);
    TiffPage page;
    page.order = order;
    page.width = 70001;
    page.height = 5;
    page.bits = {8, 8, 8, 8};
    page.photometric = 5;
    page.compression = kPackBits;
    page.rowsPerStrip = 2;
    page.strips = {
        {1, 2, 3}, {4, 5}, {6}};  // written last one first: 6 at 8, 4 5 at 9, 1 2 3 at 11
    Reader reader;
    EXPECT_EQ(errorsOf([&] { reader = open(tiffFile(page)); }), "");
    expectSize(reader, 70001, 5);
    EXPECT_EQ(reader->byteOrder, order);
    EXPECT_EQ(reader->bitsPerPixel, 32);
    EXPECT_EQ(reader->sampleBits, (std::array<uint8_t, 4>{8, 8, 8, 8}));
    EXPECT_EQ(reader->bytesPerRow, 280004U);
    EXPECT_EQ(reader->sampleRowBytes, (std::array<uint32_t, 4>{70001, 70001, 70001, 70001}));
    EXPECT_EQ(reader->compression, 32773U);
    EXPECT_EQ(reader->photometric, 5);
    EXPECT_EQ(reader->planarConfiguration, 1U);
    EXPECT_EQ(reader->rowsPerStrip, 2U);
    EXPECT_EQ(reader->rowsLeftInStrip, 2U);
    EXPECT_EQ(reader->stripCount, 3U);
    EXPECT_EQ(reader->firstStripOffset, 11);
    EXPECT_EQ(stripOffset(reader.get(), 0), 11U);
    EXPECT_EQ(stripOffset(reader.get(), 1), 9U);
    EXPECT_EQ(stripOffset(reader.get(), 2), 8U);
    EXPECT_EQ(stripOffset(reader.get(), 3), 0U);
    EXPECT_EQ(reader->currentStrip, 0U);
    EXPECT_EQ(reader->decoderState, 0);
  }
}

TEST_F(ZKTiffTest, EachTagIsStoredInItsPlace) {
  struct Case {
    const char* name;
    uint16_t tag;
    uint32_t value;
    uint32_t (*stored)(const ImageReader&);
  };
  const Case kCases[] = {
      {"256", 256, 1234, [](const ImageReader& r) { return r.width; }},
      {"257", 257, 4321, [](const ImageReader& r) { return r.height; }},
      {"258", 258, 16, [](const ImageReader& r) { return uint32_t{r.bitsPerPixel}; }},
      {"259", 259, 32773, [](const ImageReader& r) { return r.compression; }},
      {"262", 262, 5, [](const ImageReader& r) { return uint32_t{r.photometric}; }},
      {"278", 278, 77, [](const ImageReader& r) { return r.rowsPerStrip; }},
      {"284", 284, 2, [](const ImageReader& r) { return r.planarConfiguration; }},
  };
  for (const char order : {'I', 'M'}) {
    for (const uint16_t type : {kTiffShort, kTiffLong}) {
      for (const Case& c : kCases) {
        SCOPED_TRACE(testing::Message() << order << " tag " << c.name << " type " << type);
        TiffWriter file(order);
        file.field(c.tag, type, {c.value});
        file.endDirectory();
        const Reader reader = open(file);
        ASSERT_NE(reader, nullptr);
        EXPECT_EQ(c.stored(*reader), c.value);
      }
    }
  }
}

TEST_F(ZKTiffTest, OtherTagsAreSkipped) {
  TiffWriter file('I');
  file.field(254, kTiffLong, {1});
  file.field(kTagWidth, kTiffShort, {10});
  file.field(266, kTiffShort, {2});
  file.field(kTagDescription, kTiffAscii, {'a', 'b', 'c', 'd', 'e', 0});
  file.field(kTagHeight, kTiffShort, {20});
  file.field(kTagSamplesPerPixel, kTiffShort, {4});
  file.field(kTagStripByteCounts, kTiffLong, {999});
  file.offsetField(282, kTiffRational, 1, 0xFFFFFF00);
  file.field(317, kTiffShort, {2});
  file.field(65535, kTiffByte, {1});
  file.endDirectory();
  const Reader reader = open(file);
  expectSize(reader, 10, 20);
  EXPECT_EQ(reader->bitsPerPixel, 1);
  EXPECT_EQ(reader->compression, 0U);
  EXPECT_EQ(reader->bytesPerRow, 2U);
}

TEST_F(ZKTiffTest, BitsOfAPixelAndOfItsSamples) {
  struct Case {
    const char* name;
    uint16_t type;
    std::vector<uint32_t> bits;
    uint8_t bitsPerPixel, sampleBits;
    uint32_t bytesPerRow, sampleRowBytes;  // of 9 pixels
  };
  const Case kCases[] = {
      {"1 bit", kTiffShort, {1}, 1, 1, 2, 2},
      {"2 bits", kTiffShort, {2}, 2, 1, 3, 2},
      {"4 bits", kTiffShort, {4}, 4, 1, 5, 2},
      {"8 bits", kTiffShort, {8}, 8, 1, 9, 2},
      {"16 bits", kTiffShort, {16}, 16, 1, 18, 2},
      {"two samples of 8 leave the sample bits", kTiffShort, {8, 8}, 16, 1, 18, 2},
      {"three of 8", kTiffShort, {8, 8, 8}, 24, 8, 27, 9},
      {"three of 16", kTiffShort, {16, 16, 16}, 48, 16, 54, 18},
      {"four of 8", kTiffShort, {8, 8, 8, 8}, 32, 8, 36, 9},
      {"four of 16", kTiffShort, {16, 16, 16, 16}, 64, 16, 72, 18},
      {"four of 1", kTiffShort, {1, 1, 1, 1}, 4, 1, 5, 2},
      {"five of 8", kTiffShort, {8, 8, 8, 8, 8}, 40, 8, 45, 9},
      {"the first value stands for all", kTiffShort, {8, 4, 2}, 24, 8, 27, 9},
      {"bytes leave the sample bits", kTiffByte, {8, 8, 8}, 24, 1, 27, 2},
      {"longs leave the sample bits", kTiffLong, {8, 8, 8}, 24, 1, 27, 2},
      {"the product is kept in 8 bits", kTiffShort, std::vector<uint32_t>(17, 16), 16, 16, 18, 18},
  };
  for (const char order : {'I', 'M'}) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(testing::Message() << order << ' ' << c.name);
      TiffWriter file(order);
      file.field(kTagWidth, kTiffShort, {9});
      file.field(kTagBitsPerSample, c.type, c.bits);
      file.endDirectory();
      const Reader reader = open(file);
      ASSERT_NE(reader, nullptr);
      EXPECT_EQ(reader->bitsPerPixel, c.bitsPerPixel);
      std::array<uint8_t, 4> bits{};
      bits.fill(c.sampleBits);
      EXPECT_EQ(reader->sampleBits, bits);
      EXPECT_EQ(reader->bytesPerRow, c.bytesPerRow);
      std::array<uint32_t, 4> rowBytes{};
      rowBytes.fill(c.sampleRowBytes);
      EXPECT_EQ(reader->sampleRowBytes, rowBytes);
    }
  }
}

TEST_F(ZKTiffTest, ARowThatCannotBeHeldRefusesTheFile) {
  struct Case {
    const char* name;
    uint32_t width;
    std::vector<uint32_t> bits;
  };
  const Case kCases[] = {
      {"2^31 bytes", 0x80000000, {8}},
      {"2^31 bytes of 64-bit pixels", 0x10000000, {16, 16, 16, 16}},
      {"2^32 bytes of 32-bit pixels", 0x40000000, {8, 8, 8, 8}},
      {"as many as can be", 0xFFFFFFFF, {16, 16, 16, 16}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    TiffPage page;
    page.width = c.width;
    page.height = 1;
    page.bits = c.bits;
    page.strips = {{1, 2, 3}};
    Reader reader;
    const std::string errors = errorsOf([&] { reader = open(tiffFile(page)); });
    expectRefused(reader);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  }
}

TEST_F(ZKTiffTest, AClaimThatTheFileCannotHoldIsMarked) {
  TiffPage page;
  page.width = 13;
  page.strips = {{1, 2, 3}};
  // 2^31 bytes and 1024 for each of the file's, at 77 for a row
  const size_t size = tiffFile(page).size();
  const auto most = static_cast<uint32_t>(((uint64_t{1} << 31U) + size * 1024) / 77);
  page.height = most;
  EXPECT_FALSE(open(tiffFile(page))->isBeyondFile);
  page.height = most + 1;
  const Reader reader = open(tiffFile(page));
  EXPECT_TRUE(reader->isBeyondFile);
  expectSize(reader, 13, most + 1);  // the record tells what the file says
}

// Directories ------------------------------------------------------------------------------------

TEST_F(ZKTiffTest, TheLastPageOfAFileCounts) {
  for (const char order : {'I', 'M'}) {
    SCOPED_TRACE(order);
    TiffWriter file(order);
    TiffPage page;
    page.order = order;
    page.width = 10;
    page.height = 20;
    page.photometric = 1;
    page.strips = {{1}};
    addPage(file, page);
    page.width = 30;
    page.height = 40;
    page.photometric = 0;
    page.strips = {{2}, {3}};
    const uint32_t second = file.size() + 1;  // its strips begin here, last one first
    addPage(file, page);
    const Reader reader = open(file);
    expectSize(reader, 30, 40);
    EXPECT_EQ(reader->photometric, 0);
    EXPECT_EQ(reader->stripCount, 2U);
    EXPECT_EQ(reader->firstStripOffset, static_cast<int32_t>(second));
    EXPECT_EQ(reader->bytesPerRow, 30U);
  }
}

TEST_F(ZKTiffTest, WhatALaterPageDoesNotSayStays) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {10});
  file.field(kTagHeight, kTiffShort, {20});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.endDirectory();
  file.field(kTagWidth, kTiffShort, {11});
  file.endDirectory();
  const Reader reader = open(file);
  expectSize(reader, 11, 20);
  EXPECT_EQ(reader->bytesPerRow, 11U);
}

TEST_F(ZKTiffTest, AnEmptyDirectoryIsPassed) {
  TiffWriter file('M');
  file.endDirectory();
  file.field(kTagWidth, kTiffShort, {11});
  file.endDirectory();
  expectSize(open(file), 11, 0);
}

TEST_F(ZKTiffTest, AChainOfDirectoriesThatComesBackEnds) {
  TiffWriter self('I');
  self.field(kTagWidth, kTiffShort, {7});
  self.link(self.endDirectory(), 8);
  ASSERT_EQ(self.bytes()[4], 8);
  expectSize(open(self), 7, 0);

  TiffWriter ring('M');
  ring.field(kTagWidth, kTiffShort, {1});
  const uint32_t first = ring.endDirectory();
  ring.field(kTagWidth, kTiffShort, {2});
  ring.endDirectory();
  ring.field(kTagWidth, kTiffShort, {3});
  ring.link(ring.endDirectory(), first);
  expectSize(open(ring), 3, 0);

  TiffWriter tail('I');
  tail.field(kTagWidth, kTiffShort, {1});
  tail.endDirectory();
  tail.field(kTagWidth, kTiffShort, {2});
  const uint32_t second = tail.endDirectory();
  tail.field(kTagWidth, kTiffShort, {3});
  tail.link(tail.endDirectory(), second);
  expectSize(open(tail), 3, 0);
}

TEST_F(ZKTiffTest, ADirectoryOffsetBehindTheEndEndsTheWalk) {
  for (const uint32_t offset : {0x1000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(offset);
    TiffWriter file('I');
    file.field(kTagWidth, kTiffShort, {7});
    file.link(file.endDirectory(), offset);
    Reader reader;
    EXPECT_EQ(errorsOf([&] { reader = open(file); }), "");
    expectSize(reader, 7, 0);
  }
}

TEST_F(ZKTiffTest, ADirectoryThatTheFileCutsKeepsItsWholeEntries) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffLong, {100});
  file.field(kTagHeight, kTiffLong, {200});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.endDirectory();
  const Reader noLink = open(file.cut(4));
  expectSize(noLink, 100, 200);
  EXPECT_EQ(noLink->bitsPerPixel, 8);
  const Reader twoEntries = open(file.cut(4 + 12));
  expectSize(twoEntries, 100, 200);
  EXPECT_EQ(twoEntries->bitsPerPixel, 1);
  expectSize(open(file.cut(4 + 24)), 100, 0);
  expectSize(open(file.cut(4 + 24 + 4)), 0, 0);  // the width's value is missing, and so is 0
  expectSize(open(file.cut(4 + 36)), 0, 0);
}

TEST_F(ZKTiffTest, ATruncatedFileNeverHarms) {
  for (const char order : {'I', 'M'}) {
    TiffPage page;
    page.order = order;
    page.width = 9;
    page.height = 3;
    page.bits = {8, 8, 8};
    page.rowsPerStrip = 1;
    page.strips = {Bytes(27, 1), Bytes(27, 2), Bytes(27, 3)};
    const Bytes whole = tiffFile(page);
    for (size_t size = 0; size < whole.size(); ++size) {
      const Reader reader = open(Bytes(whole.begin(), whole.begin() + static_cast<int>(size)));
      ASSERT_NE(reader, nullptr) << size;
    }
  }
}

TEST_F(ZKTiffTest, OfEntriesWithOneTagTheLastCounts) {
  for (const char order : {'I', 'M'}) {
    SCOPED_TRACE(order);
    TiffWriter file(order);
    file.field(kTagWidth, kTiffShort, {9});
    file.field(kTagBitsPerSample, kTiffShort, {16, 16, 16});
    file.field(kTagStripOffsets, kTiffLong, {1, 2, 3});
    file.field(kTagWidth, kTiffLong, {70000});
    file.field(kTagBitsPerSample, kTiffShort, {8});
    file.field(kTagStripOffsets, kTiffLong, {5});
    file.endDirectory();
    const Reader reader = open(file);
    expectSize(reader, 70000, 0);
    EXPECT_EQ(reader->bitsPerPixel, 8);
    EXPECT_EQ(reader->stripCount, 1U);
    EXPECT_EQ(reader->firstStripOffset, 5);
    // A single value says nothing of the samples, so what was said before stays.
    EXPECT_EQ(reader->sampleBits, (std::array<uint8_t, 4>{16, 16, 16, 16}));
  }
}

// Where reading goes on without strip offsets.
TEST_F(ZKTiffTest, AValueElsewhereMovesTheFileAlsoWhenALaterEntryReplacesIt) {
  TiffWriter file('I');
  const uint32_t at = file.append({9, 0, 0, 0, 0x55});
  file.offsetField(kTagWidth, kTiffLong, 2, at);
  file.field(kTagWidth, kTiffShort, {3});
  file.endDirectory();
  const Reader reader = open(file);
  EXPECT_EQ(reader->width, 3U);
  EXPECT_EQ(readByte(reader.get()), 0x55);
}

TEST_F(ZKTiffTest, AValueBehindTheEndEndsTheWalkAlsoWhenALaterEntryReplacesIt) {
  TiffWriter file('I');
  file.offsetField(kTagWidth, kTiffLong, 2, 0x1000);
  file.field(kTagWidth, kTiffShort, {3});
  file.endDirectory();
  file.field(kTagHeight, kTiffShort, {7});
  file.endDirectory();
  const Reader reader = open(file);
  expectSize(reader, 3, 0);
}

// A chain of directories of 786 KB each, eight bytes apart, and a small one behind it.
TEST_F(ZKTiffTest, DirectoriesThatOverlapEndWhenTheyAreMoreThanAFileCanHold) {
  constexpr uint32_t kEntries = 65535;
  constexpr uint32_t kDirectories = 2000;
  constexpr uint32_t kApart = 8;
  TiffWriter file('I');
  const uint32_t begin = file.size();
  const uint32_t linkAt = 2 + kEntries * 12;
  Bytes chain(linkAt + size_t{kDirectories} * kApart);
  const auto put = [&file](Bytes& bytes, size_t at, uint32_t value) {
    const Bytes number = file.number(value, 4);
    std::copy(number.begin(), number.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  };
  for (uint32_t i = 0; i < kDirectories; ++i) {
    const size_t at = size_t{i} * kApart;
    chain[at] = chain[at + 1] = 0xFF;
    put(chain, at + linkAt, begin + (i + 1) * kApart);
  }
  const auto behind = static_cast<uint32_t>(begin + chain.size());
  put(chain, size_t{kDirectories - 1} * kApart + linkAt, behind);
  file.append(chain);
  file.append({1, 0, 0x01, 0x01, 3, 0, 1, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0});  // a height of 7
  Bytes bytes = file.bytes();
  put(bytes, 4, behind);
  EXPECT_EQ(open(bytes)->height, 7U);
  put(bytes, 4, begin);
  EXPECT_EQ(open(bytes)->height, 0U);
}

TEST_F(ZKTiffTest, AsManyEntriesAsCanBeClaimedAreHarmless) {
  Bytes content = {'I', 'I', 0x2A, 0, 8, 0, 0, 0, 0xFF, 0xFF};
  const Bytes width = {0x00, 0x01, 0x03, 0x00, 0x01, 0, 0, 0, 0x21, 0, 0, 0};
  content.insert(content.end(), width.begin(), width.end());
  expectSize(open(content), 0x21, 0);
}

// Fields -----------------------------------------------------------------------------------------

TEST_F(ZKTiffTest, NumbersAreReadInTheFilesOrderAndShortReadsAreMarked) {
  struct Case {
    char order;
    uint32_t wantLong;
    uint16_t wantWord;
  };
  for (const Case& c : {Case{'I', 0x04030281, 0x0281}, Case{'M', 0x81020304, 0x8102}}) {
    SCOPED_TRACE(c.order);
    TiffWriter file(c.order);
    const uint32_t at = file.append({0x81, 2, 3, 4});
    const Reader reader = open(file);
    ASSERT_NE(reader, nullptr);
    reader->file.seek(at);
    EXPECT_EQ(readLong(reader.get()), c.wantLong);
    EXPECT_EQ(reader->ioStatus, 0);
    EXPECT_EQ(readByte(reader.get()), 0);
    EXPECT_EQ(reader->ioStatus, -1);
    reader->file.seek(at);
    EXPECT_EQ(readWord(reader.get()), c.wantWord);
    EXPECT_EQ(reader->ioStatus, 0);
    EXPECT_EQ(readByte(reader.get()), 3);
    EXPECT_EQ(reader->ioStatus, 0);
    EXPECT_EQ(readWord(reader.get()), 0);  // one byte is left
    EXPECT_EQ(reader->ioStatus, -1);
    reader->file.seek(at + 1);
    EXPECT_EQ(readLong(reader.get()), 0U);  // three bytes are left
    EXPECT_EQ(reader->ioStatus, -1);
    reader->file.seek(at);
    EXPECT_EQ(readByte(reader.get()), 0x81);
    EXPECT_EQ(reader->ioStatus, 0);
  }
}

TEST_F(ZKTiffTest, AValueFieldIsANumberInTheFilesOrder) {
  const std::array<uint8_t, 4> raw = {0x81, 0x02, 0x03, 0x84};
  EXPECT_EQ(correctPointerEndian(open(TiffWriter('I')).get(), raw), 0x84030281U);
  EXPECT_EQ(correctPointerEndian(open(TiffWriter('M')).get(), raw), 0x81020384U);
}

TEST_F(ZKTiffTest, TheFirstValueOfAnEntryByType) {
  struct Case {
    const char* name;
    uint16_t type;
    uint32_t count;
    int32_t littleEndian, bigEndian;
  };
  // Values in the entry stand in raw; others at 8, where the file has the bytes F1 02 83 F4.
  const std::array<uint8_t, 4> raw = {0xF8, 0x01, 0x02, 0x83};
  const Case kField[] = {
      {"BYTE", kTiffByte, 1, 0xF8, 0xF8},
      {"4 BYTE", kTiffByte, 4, 0xF8, 0xF8},
      {"SBYTE", kTiffSByte, 1, -8, -8},
      {"4 SBYTE", kTiffSByte, 4, -8, -8},
      {"SHORT", kTiffShort, 1, 0x01F8, 0xF801},
      {"2 SHORT", kTiffShort, 2, 0x01F8, 0xF801},
      {"SSHORT", kTiffSShort, 1, 0x01F8, -0x07FF},
      {"2 SSHORT", kTiffSShort, 2, 0x01F8, -0x07FF},
      {"LONG", kTiffLong, 1, static_cast<int32_t>(0x830201F8), static_cast<int32_t>(0xF8010283)},
      {"SLONG", kTiffSLong, 1, static_cast<int32_t>(0x830201F8), static_cast<int32_t>(0xF8010283)},
  };
  const Case kOffset[] = {
      {"5 BYTE", kTiffByte, 5, 0xF1, 0xF1},
      {"5 SBYTE", kTiffSByte, 5, -15, -15},
      {"3 SHORT", kTiffShort, 3, 0x02F1, 0xF102},
      {"3 SSHORT", kTiffSShort, 3, 0x02F1, -0x0EFE},
      {"2 LONG", kTiffLong, 2, static_cast<int32_t>(0xF48302F1), static_cast<int32_t>(0xF10283F4)},
      {"2 SLONG", kTiffSLong, 2, static_cast<int32_t>(0xF48302F1),
       static_cast<int32_t>(0xF10283F4)},
      {"as many BYTE as can be", kTiffByte, 0xFFFFFFFF, 0xF1, 0xF1},
      {"as many LONG as can be", kTiffLong, 0xFFFFFFFF, static_cast<int32_t>(0xF48302F1),
       static_cast<int32_t>(0xF10283F4)},
  };
  for (const char order : {'I', 'M'}) {
    TiffWriter file(order);
    const uint32_t at = file.append({0xF1, 0x02, 0x83, 0xF4});
    ASSERT_EQ(at, 8U);
    const Bytes eight = file.number(8, 4);
    std::array<uint8_t, 4> pointer{};
    std::copy(eight.begin(), eight.end(), pointer.begin());
    const Reader reader = open(file);
    ASSERT_NE(reader, nullptr);
    for (const Case& c : kField) {
      SCOPED_TRACE(testing::Message() << order << ' ' << c.name);
      EXPECT_EQ(readOneInteger(reader.get(), {0, c.type, c.count, raw}),
                order == 'I' ? c.littleEndian : c.bigEndian);
    }
    for (const Case& c : kOffset) {
      SCOPED_TRACE(testing::Message() << order << ' ' << c.name);
      EXPECT_EQ(readOneInteger(reader.get(), {0, c.type, c.count, pointer}),
                order == 'I' ? c.littleEndian : c.bigEndian);
    }
    for (const uint16_t type : kOtherTypes) {
      SCOPED_TRACE(testing::Message() << order << " type " << type);
      EXPECT_EQ(readOneInteger(reader.get(), {0, type, 1, raw}), 0);
      EXPECT_EQ(readOneInteger(reader.get(), {0, type, 9, pointer}), 0);
    }
  }
}

TEST_F(ZKTiffTest, AValueThatTheFileDoesNotHoldIs0) {
  TiffWriter file('I');
  file.append({1, 2, 3});
  const Reader reader = open(file);
  ASSERT_NE(reader, nullptr);
  for (const uint32_t at : {9U, 100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    SCOPED_TRACE(at);
    const Bytes text = file.number(at, 4);
    const std::array<uint8_t, 4> pointer = {text[0], text[1], text[2], text[3]};
    EXPECT_EQ(readOneInteger(reader.get(), {0, kTiffLong, 2, pointer}), 0);
    EXPECT_EQ(reader->ioStatus, -1);
  }
}

// Strip offsets ----------------------------------------------------------------------------------

TEST_F(ZKTiffTest, LongStripOffsetsAreNumbersOfTheHost) {
  for (const char order : {'I', 'M'}) {
    for (const uint16_t type : {kTiffLong, kTiffSLong}) {
      SCOPED_TRACE(testing::Message() << order << " type " << type);
      TiffWriter one(order);
      one.field(kTagStripOffsets, type, {0x01020304});
      one.endDirectory();
      const Reader single = open(one);
      EXPECT_EQ(single->stripCount, 1U);
      EXPECT_EQ(single->firstStripOffset, 0x01020304);
      EXPECT_EQ(stripOffset(single.get(), 0), 0x01020304U);
      EXPECT_EQ(stripOffset(single.get(), 1), 0U);

      TiffWriter three(order);
      three.field(kTagStripOffsets, type, {0x80000001, 2, 0xFFFFFFFF});
      three.endDirectory();
      const Reader several = open(three);
      EXPECT_EQ(several->stripCount, 3U);
      EXPECT_EQ(several->firstStripOffset, static_cast<int32_t>(0x80000001));
      EXPECT_EQ(stripOffset(several.get(), 0), 0x80000001U);
      EXPECT_EQ(stripOffset(several.get(), 1), 2U);
      EXPECT_EQ(stripOffset(several.get(), 2), 0xFFFFFFFFU);
      EXPECT_EQ(stripOffset(several.get(), 3), 0U);
      EXPECT_EQ(stripOffset(several.get(), 0xFFFFFFFF), 0U);
    }
  }
}

TEST_F(ZKTiffTest, ShortStripOffsetsAreReadTwoByTwo) {
  for (const char order : {'I', 'M'}) {
    for (const uint16_t type : {kTiffShort, kTiffSShort}) {
      for (size_t count = 1; count <= 5; ++count) {
        SCOPED_TRACE(testing::Message() << order << " type " << type << " count " << count);
        const std::vector<uint32_t> all = {0x0102, 0x8304, 0x0506, 0x0708, 0x090A};
        const std::vector<uint32_t> values(all.begin(), all.begin() + static_cast<int>(count));
        TiffWriter file(order);
        file.field(kTagStripOffsets, type, values);
        file.endDirectory();
        const Reader reader = open(file);
        ASSERT_NE(reader, nullptr);
        std::vector<uint16_t> stored(6);
        for (size_t i = 0; i < count; ++i) stored[i] = static_cast<uint16_t>(values[i]);
        EXPECT_EQ(reader->stripCount, count);
        EXPECT_EQ(reader->firstStripOffset, static_cast<int32_t>(asStored(stored.data(), 4)));
        EXPECT_EQ(stripOffset(reader.get(), 0), asStored(stored.data(), 4));
        EXPECT_EQ(stripOffset(reader.get(), 1), asStored(stored.data() + 2, 4));
        EXPECT_EQ(stripOffset(reader.get(), 2), asStored(stored.data() + 4, 4));
        EXPECT_EQ(stripOffset(reader.get(), 3), 0U);
      }
    }
  }
}

TEST_F(ZKTiffTest, ByteStripOffsetsAreReadFourByFour) {
  for (const char order : {'I', 'M'}) {
    for (const uint16_t type : {kTiffByte, kTiffSByte}) {
      for (size_t count = 1; count <= 6; ++count) {
        SCOPED_TRACE(testing::Message() << order << " type " << type << " count " << count);
        const std::vector<uint32_t> all = {0x11, 0x82, 0x13, 0x14, 0x15, 0x16};
        const std::vector<uint32_t> values(all.begin(), all.begin() + static_cast<int>(count));
        TiffWriter file(order);
        file.field(kTagStripOffsets, type, values);
        file.endDirectory();
        const Reader reader = open(file);
        ASSERT_NE(reader, nullptr);
        Bytes stored(values.begin(), values.end());
        stored.resize(8);
        EXPECT_EQ(reader->stripCount, count);
        EXPECT_EQ(stripOffset(reader.get(), 0), asStored(stored.data(), 4));
        EXPECT_EQ(stripOffset(reader.get(), 1), asStored(stored.data() + 4, 4));
        EXPECT_EQ(stripOffset(reader.get(), 2), 0U);
      }
    }
  }
}

TEST_F(ZKTiffTest, StripOffsetsOfOtherTypesAreNone) {
  for (const uint16_t type : kOtherTypes) {
    SCOPED_TRACE(type);
    TiffWriter file('I');
    file.rawField(kTagStripOffsets, type, 1, {8, 0, 0, 0});
    file.endDirectory();
    const Reader reader = open(file);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->stripOffsets, nullptr);
    EXPECT_EQ(reader->stripCount, 1U);
    EXPECT_EQ(reader->firstStripOffset, 0);
    EXPECT_EQ(stripOffset(reader.get(), 0), 0U);
  }
}

TEST_F(ZKTiffTest, NoStripOffsetsAtAllArePresentWithAFirstOneOf0) {
  TiffWriter file('I');
  file.rawField(kTagStripOffsets, kTiffLong, 0, {9, 9, 9, 9});
  file.endDirectory();
  const Reader reader = open(file);
  ASSERT_NE(reader, nullptr);
  EXPECT_NE(reader->stripOffsets, nullptr);
  EXPECT_EQ(reader->stripCount, 0U);
  EXPECT_EQ(reader->firstStripOffset, 0);
  EXPECT_EQ(stripOffset(reader.get(), 0), 0U);
  EXPECT_EQ(readByte(reader.get()), 'I');  // the first strip stands at 0
}

TEST_F(ZKTiffTest, StripOffsetsThatTheFileDoesNotHoldAre0) {
  for (const char order : {'I', 'M'}) {
    SCOPED_TRACE(order);
    TiffWriter file(order);
    file.offsetField(kTagStripOffsets, kTiffLong, 100, 26);
    ASSERT_EQ(file.endDirectory(), 8U);
    ASSERT_EQ(file.append(file.number(500, 4)), 26U);
    file.append(file.number(600, 4));
    file.append({1, 2, 3});
    const Reader reader = open(file);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->stripCount, 100U);
    EXPECT_EQ(stripOffset(reader.get(), 0), 500U);
    EXPECT_EQ(stripOffset(reader.get(), 1), 600U);
    EXPECT_EQ(stripOffset(reader.get(), 2), 0U);
    EXPECT_EQ(stripOffset(reader.get(), 99), 0U);
    EXPECT_EQ(stripOffset(reader.get(), 100), 0U);
  }
}

TEST_F(ZKTiffTest, AsManyStripsAsCanBeClaimedAreHarmless) {
  for (const uint16_t type : {kTiffByte, kTiffShort, kTiffLong}) {
    for (const uint32_t count : {0x10000000U, 0x40000000U, 0x80000000U, 0xFFFFFFFFU}) {
      SCOPED_TRACE(testing::Message() << "type " << type << " count " << count);
      TiffWriter file('I');
      file.field(kTagWidth, kTiffShort, {7});
      file.offsetField(kTagStripOffsets, type, count, 8);
      file.field(kTagHeight, kTiffShort, {9});
      file.endDirectory();
      const Reader reader = open(file);
      ASSERT_NE(reader, nullptr);
      EXPECT_EQ(reader->width, 7U);
      EXPECT_EQ(reader->height, 9U);
    }
  }
}

TEST_F(ZKTiffTest, ReadingStartsAtTheFirstStrip) {
  TiffPage page;
  page.width = 3;
  page.height = 2;
  page.rowsPerStrip = 1;
  page.strips = {{0xA1, 0xA2, 0xA3}, {0xB1, 0xB2, 0xB3}};
  const Reader reader = open(tiffFile(page));
  EXPECT_EQ(readByte(reader.get()), 0xA1);
}

TEST_F(ZKTiffTest, WithoutStripOffsetsReadingStartsBehindTheDirectory) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {3});
  file.endDirectory();
  file.append({0xC1});
  EXPECT_EQ(readByte(open(file).get()), 0xC1);
}

TEST_F(ZKTiffTest, ANegativeFirstStripOffsetIsNotSought) {
  TiffWriter file('I');
  file.field(kTagStripOffsets, kTiffLong, {0x80000008});
  file.endDirectory();
  file.append({0xC1, 0xC2});
  const Reader reader = open(file);
  EXPECT_EQ(reader->firstStripOffset, static_cast<int32_t>(0x80000008));
  EXPECT_EQ(readByte(reader.get()), 0xC1);
  ZKTiff_Rewind(reader.get());
  EXPECT_EQ(readByte(reader.get()), 0xC2);
}

// The rest of the interface ----------------------------------------------------------------------

TEST_F(ZKTiffTest, TheImageBoxIsTheWholeImage) {
  TiffPage page;
  page.width = 12;
  page.height = 34;
  const Reader reader = open(tiffFile(page));
  ZKRect box = {9, 9, 9, 9};
  ZKTiff_GetImageBox(reader.get(), &box);
  EXPECT_EQ(box.top, 0);
  EXPECT_EQ(box.left, 0);
  EXPECT_EQ(box.bottom, 34);
  EXPECT_EQ(box.right, 12);
}

TEST_F(ZKTiffTest, NullIsIgnored) {
  ZKRect box = {1, 2, 3, 4};
  ZKTiff_GetImageBox(nullptr, &box);
  EXPECT_EQ(box.top, 1);
  EXPECT_EQ(box.left, 2);
  EXPECT_EQ(box.bottom, 3);
  EXPECT_EQ(box.right, 4);
  ZKTiff_Delete(nullptr);
}

TEST_F(ZKTiffTest, RewindingGoesToTheFirstStripButNotToItsFirstRow) {
  TiffPage page;
  page.width = 1;
  page.height = 4;
  page.rowsPerStrip = 3;
  page.strips = {{1, 2, 3}, {4}};
  const Reader reader = open(tiffFile(page));
  reader->currentRow = 2;
  reader->currentStrip = 1;
  reader->rowsLeftInStrip = 2;
  readByte(reader.get());
  ZKTiff_Rewind(reader.get());
  EXPECT_EQ(reader->currentRow, 0U);
  EXPECT_EQ(reader->currentStrip, 0U);
  EXPECT_EQ(reader->rowsLeftInStrip, 2U);
  EXPECT_EQ(readByte(reader.get()), 1);
}

// Missing memory ---------------------------------------------------------------------------------

// Opens a file again and again, failing one allocation after the other, until none is left to fail.
template <class Check>
void sweepAllocations(const std::string& path, Check&& check) {
  for (int n = 1; n < 100; ++n) {
    SCOPED_TRACE(n);
    Reader reader;
    bool hasStruck = false;
    errorsOf([&] {
      const FaultInjection injection(Fault::kAllocation, n);
      reader.reset(ZKTiff_New(path.c_str()));
      hasStruck = injection.hasStruck();
    });
    if (!hasStruck) return;
    check(reader);
  }
  ADD_FAILURE() << "opening a file takes no end of blocks";
}

TEST_F(ZKTiffTest, WithoutMemoryForADirectoryTheWalkEndsWithWhatWasRead) {
  TiffWriter file('I');
  file.field(kTagWidth, kTiffShort, {10});
  file.endDirectory();
  file.field(kTagWidth, kTiffShort, {20});
  file.endDirectory();
  bool firstIsMissing = false;
  bool secondIsMissing = false;
  sweepAllocations(folder.write("image.tif", file.bytes()), [&](const Reader& reader) {
    if (reader == nullptr || !reader->file.isOpen()) return;
    firstIsMissing |= reader->width == 0;
    secondIsMissing |= reader->width == 10;
  });
  EXPECT_TRUE(firstIsMissing);
  EXPECT_TRUE(secondIsMissing);
}

TEST_F(ZKTiffTest, WithoutMemoryForStripOffsetsThereAreNone) {
  TiffPage page;
  page.width = 3;
  page.height = 2;
  page.rowsPerStrip = 1;
  page.strips = {{1, 2, 3}, {4, 5, 6}};
  bool areMissing = false;
  sweepAllocations(folder.write("image.tif", tiffFile(page)), [&](const Reader& reader) {
    if (reader == nullptr || !reader->file.isOpen() || reader->width == 0) return;
    areMissing |= reader->stripOffsets == nullptr && reader->stripCount == 2;
  });
  EXPECT_TRUE(areMissing);
}

}  // namespace
