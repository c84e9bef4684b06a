// Large jobs: many pages, many rows, wide planes. The memory is that of the bands and of the list
// of pages, whatever the size of the images.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include "Load.h"
#include "Measured.h"
#include "PageJob.h"
#include "TiffWriter.h"

namespace {

constexpr uint64_t kBandRows = 300;

class SizeLoadTest : public PageJob {
 protected:
  /// Writes job.cfg: these sections, templates that are relative to the job's folder.
  void writeJob(const std::string& sections, const std::string& split = "65536") const {
    folder.write("job.cfg",
                 "[Global]\nOutFilePath=\"out.dat\"\nSplitDataSize=" + split +
                     "\n[ODAX]\nStartJobXmlFile=\"sj.xml\"\nSetJobConfigurationXmlFile=\"sjc.xml\""
                     "\nSetConfigurationXmlFile=\"sc.xml\"\nSendDataXmlFile=\"sd.xml\"\n"
                     "EndJobXmlFile=\"ej.xml\"\n[HXRaster]\nGraphicsResolutionH=600\n"
                     "GraphicsResolutionV=600\n" +
                     sections);
  }
  struct Peak {
    uint64_t bytes;         // of memory, running
    uint64_t microseconds;  // of the processor, running and verifying
  };
  /// Runs it and verifies it, each within its time.
  [[nodiscard]] Peak runAndVerify(int seconds = 60) const {
    const Measured run = measureOdaxgen({"run", "--quiet", "job.cfg"}, folder.path(), {}, seconds);
    EXPECT_EQ(run.result.exitCode, 0) << run.result.err;
    const Measured verify = measureOdaxgen({"verify", "job.cfg"}, folder.path(), {}, seconds);
    EXPECT_EQ(verify.result.exitCode, 0) << verify.result.out << verify.result.err;
    return {run.peakBytes, run.microseconds + verify.microseconds};
  }
  /// Writes `name`: packed rows that are all alike, of a pattern or of one value.
  /// @param bits  of each sample
  void writeRows(const std::string& name, uint32_t width, uint32_t height,
                 const std::vector<uint32_t>& bits, bool isPlain) const {
    TiffPage page;
    page.width = width;
    page.height = height;
    page.bits = bits;
    page.photometric = bits.size() == 3 ? 2 : (bits.size() == 4 ? 5 : 0);
    page.compression = kPackBits;
    page.rowsPerStrip = height;
    Bytes row((size_t{width} * bits.size() * bits.front() + 7) / 8, 0x5A);
    for (size_t i = 0; i < row.size() && !isPlain; ++i) row[i] = static_cast<uint8_t>(i * 37);
    const Bytes packed = packBits(row);
    Bytes strip;
    for (uint32_t y = 0; y < height; ++y) strip.insert(strip.end(), packed.begin(), packed.end());
    page.strips = {strip};
    folder.write(name, tiffFile(page));
  }
};

TEST_F(SizeLoadTest, TenThousandPagesTakeTheMemoryOfTheirList) {
  // A page of the list has 17 paths of 260 bytes and its numbers.
  constexpr uint64_t kBytesOfPage = 6144;
  constexpr uint64_t kFew = 1000;
  constexpr uint64_t kMany = 10000;
  image("page.tif", {mixed(16, 3, 8, 255, 1)}, {'I', 0, 0, false});
  const auto pagesOf = [](uint64_t pages) {
    std::string text = imageSection("5", 1, 2, {{"K", "page.tif", 8}});
    for (uint64_t page = 1; page < pages; ++page) text += "[Image]\nImageFileK=\"page.tif\"\n";
    return text;
  };
  writeJob(pagesOf(kFew));
  const Peak few = runAndVerify();
  writeJob(pagesOf(kMany));
  const Peak many = runAndVerify(120);
  EXPECT_LE(many.bytes, few.bytes + (kMany - kFew) * kBytesOfPage);
  if (isLongLoad()) {
    // Ten times the work, or a good deal more on a busy machine; not a hundred times.
    EXPECT_LE(many.microseconds, few.microseconds * 30);
  }
  std::cout << kFew << " pages " << few.bytes / 1024 << " KiB, " << few.microseconds / 1000
            << " ms; " << kMany << " pages " << many.bytes / 1024 << " KiB, "
            << many.microseconds / 1000 << " ms" << std::endl;
}

TEST_F(SizeLoadTest, APageOfAHundredThousandRowsTakesTheMemoryOfOneBand) {
  constexpr uint32_t kWidth = 1000;
  Peak peaks[2] = {};
  const uint32_t kRows[2] = {300, 100000};
  for (size_t i = 0; i < 2; ++i) {
    writeRows("page.tif", kWidth, kRows[i], {8}, true);
    writeJob(imageSection("5", 1, 2, {{"K", "page.tif", 8}}), i == 0 ? "0" : "65536");
    peaks[i] = runAndVerify();
  }
  EXPECT_LE(peaks[1].bytes, peaks[0].bytes + kMiB);
  std::cout << kRows[0] << " rows " << peaks[0].bytes / 1024 << " KiB, " << kRows[1] << " rows "
            << peaks[1].bytes / 1024 << " KiB, " << peaks[1].microseconds / 1000 << " ms"
            << std::endl;
}

// One for every raster mode.
struct ModeCase {
  const char* name;
  const char* colorSpace;
  int planes;
  std::vector<const char*> inks;
  int depth;
  uint32_t fileBits;
  const char* composite;  // "RGB" or "CMYK"; empty: a file for each ink
  std::vector<int> compressions;
  const char* indexLevel;
};

TEST_F(SizeLoadTest, ThePeakOfEveryModeIsThatOfItsBands) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer's own memory is as large";
  // What the command takes beside its bands: program, libraries, stacks, rows.
  constexpr uint64_t kBeside = 8 * kMiB;
  constexpr uint32_t kWidth = 20000;
  const std::vector<int> all = {0, 2, 3, 4, 256};
  const std::vector<int> withoutHxrc = {0, 2, 3, 256};
  const ModeCase kCases[] = {
      {"black", "5", 1, {"K"}, 8, 8, "", all, ""},
      {"untouched black", "2", 1, {"K"}, 8, 8, "", withoutHxrc, "0"},
      {"RGB", "2", 3, {"R", "G", "B"}, 8, 8, "RGB", all, ""},
      {"RGB of 10 bits", "2", 3, {"R", "G", "B"}, 10, 16, "RGB", all, ""},
      {"KCMY", "3", 4, {"K", "C", "M", "Y"}, 8, 8, "", all, ""},
      {"composite CMYK", "3", 4, {"K", "C", "M", "Y"}, 8, 8, "CMYK", all, ""},
      {"light inks", "3", 6, {"K", "C", "M", "Y", "c", "m"}, 8, 8, "", withoutHxrc, ""},
  };
  for (const ModeCase& c : kCases) {
    const bool isComposite = c.composite[0] != '\0';
    const size_t samples = isComposite ? c.inks.size() : 1;
    writeRows("page.tif", kWidth, kBandRows + 1, std::vector<uint32_t>(samples, c.fileBits), true);
    for (const int compression : c.compressions) {
      SCOPED_TRACE(std::string(c.name) + ", compression " + std::to_string(compression));
      std::vector<InkSetting> inks;
      for (const char* ink : c.inks)
        inks.push_back({ink, isComposite ? "" : "page.tif", c.depth, c.indexLevel});
      std::string more;
      if (isComposite) more = std::string("ImageFile") + c.composite + "=\"page.tif\"\n";
      writeJob(imageSection(c.colorSpace, c.planes, compression, inks, more));
      const Measured run = measureOdaxgen({"run", "--quiet", "job.cfg"}, folder.path());
      EXPECT_EQ(run.result.exitCode, 0) << run.result.err;
      // Deep samples have two bytes each.
      const uint64_t bits = c.depth == 10 && compression == 4 ? 16 : static_cast<uint64_t>(c.depth);
      const uint64_t bands = c.inks.size() * kBandRows * ((kWidth * bits + 31) / 32 * 4);
      EXPECT_LE(run.peakBytes, bands + kBeside);
      EXPECT_GE(run.peakBytes, bands);  // it did touch them
      std::cout << c.name << ", compression " << compression << ": bands " << bands / 1024
                << " KiB, peak " << run.peakBytes / 1024 << " KiB" << std::endl;
    }
  }
}

}  // namespace
