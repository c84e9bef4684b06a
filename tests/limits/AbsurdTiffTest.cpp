// TIFF files of some hundred bytes that claim to be enormous, or to be built without end: whatever
// the command does with them, it ends, and in little memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include "Measured.h"
#include "PageJob.h"
#include "TiffWriter.h"

namespace {

// The command takes 6 MiB for a page of one pixel.
constexpr uint64_t kLittleMemory = 32 * kMiB;

struct Claim {
  const char* name;
  uint32_t width;
  uint32_t height;
  std::vector<uint32_t> bits = {8};  // one per sample
  uint32_t compression = kUncompressed;
};

Bytes fileOf(const Claim& claim) {
  TiffPage page;
  page.width = claim.width;
  page.height = claim.height;
  page.bits = claim.bits;
  page.photometric = claim.bits.size() == 3 ? 2 : (claim.bits.size() == 4 ? 5 : 0);
  page.compression = claim.compression;
  page.strips = {{1, 2, 3}};
  return tiffFile(page);
}

class AbsurdTiffTest : public PageJob {
 protected:
  ~AbsurdTiffTest() override {
    std::cout << "peak memory " << mostBytes_ / 1024 << " KiB" << std::endl;
  }

  /// Holds the command to its time and memory with a page of this file.
  void expectSmall(const Bytes& file, size_t samples = 1) {
    folder.write("page.tif", file);
    writeJob(samples);
    expectSmallRun({"run", "--quiet", "job.cfg"});
    if (kIsSanitized) return;  // which starts slowly; the fuzzers read files of all kinds
    expectSmallRun({"check", "job.cfg"});
    expectSmallRun({"verify", "job.cfg"});
  }

 private:
  uint64_t mostBytes_ = 0;

  void writeJob(size_t samples) {
    std::string text = "[Global]\nOutFilePath=\"out.dat\"\nSplitDataSize=65536\n[ODAX]\n";
    for (const char* name : {"StartJob", "SetJobConfiguration", "SetConfiguration"})
      text += std::string(name) + "XmlFile=\"sj.xml\"\n";
    text += "SendDataXmlFile=\"sd.xml\"\nEndJobXmlFile=\"ej.xml\"\n[HXRaster]\n";
    text += "GraphicsResolutionH=600\nGraphicsResolutionV=600\n[Image]\nCompressionMode=0\n";
    if (samples == 1) {
      text += "ColorSpace=5\nNumOfPlanes=1\nImageFileK=\"page.tif\"\nPixelDepthK=8\n";
    } else if (samples == 3) {
      text += "ColorSpace=2\nNumOfPlanes=3\nImageFileRGB=\"page.tif\"\n";
      for (const char* ink : {"R", "G", "B"}) text += std::string("PixelDepth") + ink + "=8\n";
    } else {
      text += "ColorSpace=5\nNumOfPlanes=4\nImageFileCMYK=\"page.tif\"\n";
      for (const char* ink : {"K", "C", "M", "Y"}) text += std::string("PixelDepth") + ink + "=8\n";
    }
    folder.write("job.cfg", text);
  }

  void expectSmallRun(const std::vector<std::string>& arguments) {
    SCOPED_TRACE(arguments.front());
    const Measured run = measureOdaxgen(arguments, folder.path());
    EXPECT_LE(run.result.exitCode, 1) << run.result.err.substr(0, 1000);
    EXPECT_LE(run.peakBytes, kLittleMemory);
    EXPECT_LE(run.result.err.size(), 4000U) << run.result.err.substr(0, 1000);
    mostBytes_ = std::max(mostBytes_, run.peakBytes);
  }
};

TEST_F(AbsurdTiffTest, SizesThatTheFileCannotHoldAreRefused) {
  // Addresses for two gigabytes cost nothing, but a sanitizer keeps books of them.
  if (kIsSanitized) GTEST_SKIP();
  const std::vector<uint32_t> rgb = {8, 8, 8};
  const std::vector<uint32_t> cmyk = {8, 8, 8, 8};
  const Claim kClaims[] = {
      {"as many rows as can be claimed", 1, 0xFFFFFFFF},
      {"more rows than a signed number holds", 1, 0x80000000},
      {"rows without pixels", 0, 0xFFFFFFFF},
      {"the longest row that can be held", 0x7FFFFFFF, 1},
      {"a row that cannot be held", 0x80000000, 1},
      {"the widest image", 0xFFFFFFFF, 1},
      {"the widest and highest image", 0xFFFFFFFF, 0xFFFFFFFF},
      {"a square of a gigabyte and more", 40000, 40000},
      {"the same, packed", 40000, 40000, {8}, kPackBits},
      {"the widest image whose band can be made", 7158276, 1000},
      {"a band of a gigabyte", 7158276, 140},
      {"a wide image without rows", 16800000, 0},
      {"a wide composite RGB without rows", 7158276, 0, rgb},
      {"16 bits", 0x3FFFFFFF, 2, {16}},
      {"1 bit", 0xFFFFFFFF, 16, {1}},
      {"composite RGB", 2386092, 1000, rgb},
      {"a wide composite RGB of one row", 7158276, 1, rgb},
      {"composite CMYK", 1789569, 1000, cmyk},
      {"the widest composite CMYK", 0x1FFFFFFF, 1, cmyk},
      {"bits that fill the pixel's number", 0x7FFFFFFF, 100, {255}},
  };
  for (const Claim& claim : kClaims) {
    SCOPED_TRACE(claim.name);
    expectSmall(fileOf(claim), claim.bits.size());
  }
}

// The bytes of a file of little-endian numbers, written at any place.
class FileBuilder {
 public:
  explicit FileBuilder(size_t bytes) : file_(bytes) { put(0, 0x002A4949, 4); }
  void put(size_t at, uint32_t value, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i) file_.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
  }
  /// A directory entry.
  void entry(size_t at, uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
    put(at, tag, 2);
    put(at + 2, type, 2);
    put(at + 4, count, 4);
    put(at + 8, value, 4);
  }
  [[nodiscard]] const Bytes& bytes() const { return file_; }

 private:
  Bytes file_;
};

TEST_F(AbsurdTiffTest, DirectoriesThatOverlapAreNotReadForHours) {
  // Each begins 4 bytes behind the one before and claims 65,535 entries: 120,000 of them would be
  // 94 gigabytes to read, of a file of 1.3 megabytes.
  constexpr size_t kDirectories = 120000, kBegin = 8, kLinks = 2 + size_t{65535} * 12;
  FileBuilder file(kBegin + kDirectories * 4 + kLinks + 4);
  file.put(4, kBegin, 4);
  for (size_t i = 0; i < kDirectories; ++i) {
    const size_t at = kBegin + 4 * i;
    file.put(at, 0xFFFF, 2);
    file.put(at + kLinks, i + 1 < kDirectories ? static_cast<uint32_t>(at + 4) : 0, 4);
  }
  expectSmall(file.bytes());
}

TEST_F(AbsurdTiffTest, AChainOfTwentyThousandDirectoriesEnds) {
  constexpr size_t kDirectories = 20000, kBytes = 2 + 12 + 4;
  FileBuilder file(8 + kDirectories * kBytes);
  file.put(4, 8, 4);
  for (size_t i = 0; i < kDirectories; ++i) {
    const size_t at = 8 + i * kBytes;
    file.put(at, 1, 2);
    file.entry(at + 2, kTagWidth, kTiffLong, 1, 4);
    const bool isLast = i + 1 == kDirectories;
    file.put(at + kBytes - 4, isLast ? 0 : static_cast<uint32_t>(at + kBytes), 4);
  }
  expectSmall(file.bytes());
}

TEST_F(AbsurdTiffTest, CountsThatNoFileHoldsTakeNoMemory) {
  struct Case {
    const char* name;
    TiffTag tag;
    TiffType type;
    uint32_t count;
    uint32_t offset;
  };
  const Case kCases[] = {
      {"strips at the end", kTagStripOffsets, kTiffLong, 0xFFFFFFFF, 0xFFFFFFFF},
      {"strips of all the file", kTagStripOffsets, kTiffLong, 0xFFFFFFFF, 0},
      {"strips of two bytes", kTagStripOffsets, kTiffShort, 0xFFFFFFFF, 8},
      {"strips of one byte", kTagStripOffsets, kTiffByte, 0xFFFFFFFF, 8},
      {"no strips", kTagStripOffsets, kTiffLong, 0, 8},
      {"a strip more than fits into 32 bits", kTagStripOffsets, kTiffLong, 0x40000001, 8},
      {"samples", kTagBitsPerSample, kTiffShort, 0xFFFFFFFF, 8},
      {"samples of eight bytes in the field", kTagBitsPerSample, kTiffByte, 0x20000001, 8},
      {"widths", kTagWidth, kTiffLong, 0xFFFFFFFF, 8},
      {"heights", kTagHeight, kTiffShort, 0xFFFFFFFF, 0xFFFFFFF0},
      {"a description", kTagDescription, kTiffAscii, 0xFFFFFFFF, 8},
      {"byte counts of the strips", kTagStripByteCounts, kTiffLong, 0xFFFFFFFF, 8},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    TiffWriter file('I');
    const uint32_t strip = file.append({1, 2, 3, 4});
    file.field(kTagWidth, kTiffLong, {2});
    file.field(kTagHeight, kTiffLong, {2});
    file.field(kTagBitsPerSample, kTiffShort, {8});
    file.field(kTagCompression, kTiffShort, {kUncompressed});
    file.field(kTagPhotometric, kTiffShort, {0});
    file.field(kTagStripOffsets, kTiffLong, {strip});
    file.field(kTagRowsPerStrip, kTiffLong, {2});
    file.offsetField(c.tag, c.type, c.count, c.offset);
    file.endDirectory();
    expectSmall(file.bytes());
  }
}

}  // namespace
