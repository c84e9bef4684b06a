// Jobs in which one call of the C library fails: memory, opening, removing. Whatever fails, a job
// ends with a code or completes, and the next job of the process is not affected.

#include <gtest/gtest.h>
#include <odaxgen/ODAXGen.h>

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "Capture.h"
#include "Faults.h"
#include "TempFolder.h"
#include "TiffWriter.h"

namespace {

// An image with rows that differ, so that every coder has something to do.
Bytes tiffImage(uint32_t width, uint32_t height, const std::vector<uint32_t>& bits) {
  TiffPage page;
  page.width = width;
  page.height = height;
  page.bits = bits;
  page.photometric = 1;
  Bytes data(size_t{width} * height * bits.size() * bits[0] / 8);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 37 + i / 50);
  page.strips = {data};
  return tiffFile(page);
}

// A job that allocates in every way that its page can: overrides, tables, all packets.
class FaultJob {
 public:
  FaultJob(const std::string& image, const std::string& global) {
    setenv("TMPDIR", folder_.path().c_str(), 1);
    folder_.write("8.tif", tiffImage(20, 5, {8}));
    folder_.write("rgb48.tif", tiffImage(20, 5, {16, 16, 16}));
    folder_.write("cmyk.tif", tiffImage(20, 5, {8, 8, 8, 8}));
    folder_.write("table.bin", "TABLE");
    std::string templates;
    const std::pair<const char*, const char*> kTemplates[] = {
        {"StartJobXmlFile", "<j:Name>none</j:Name>\n"},
        {"SetJobConfigurationXmlFile", "<j:Copies>1</j:Copies>\n"},
        {"SetConfigurationXmlFile", "<a/>\n"},
        {"VendorCmdXmlFile", "<v/>\n"},
        {"SendDataXmlFile", "<datasize>0</datasize>\n<continue>X</continue>\n"},
        {"EndJobXmlFile", "<datasize>0</datasize>\n"},
    };
    for (const auto& [key, text] : kTemplates) {
      templates += std::string(key) + "=\"" + folder_.write(key, std::string_view(text)) + "\"\n";
    }
    config_ = folder_.write("job.cfg",
                            "[Global]\nOutFilePath=\"job.odx\"\n"
                            "ImageProcessingFile=\"table.bin\"\n" +
                                global + "[ODAX]\n" + templates +
                                "Name=job\nCopies=2\n"
                                "[HXRaster]\nGraphicsResolutionH=300\n"
                                "GraphicsResolutionV=300\n[Image]\n" +
                                image);
  }
  ~FaultJob() { unsetenv("TMPDIR"); }
  FaultJob(const FaultJob&) = delete;
  FaultJob& operator=(const FaultJob&) = delete;

  /// 0 or the thrown code. Anything else that is thrown reaches the test.
  int run() const {
    try {
      return makeODAXData(config_.c_str());
    } catch (int code) {
      return code;
    }
  }

  [[nodiscard]] const TempFolder& folder() const { return folder_; }

 private:
  TempFolder folder_;
  std::string config_;
};

// What one job with a fault in it came to. Nothing is asserted while the streams are captured.
struct Attempt {
  int code = 0;
  bool hasStruck = false;
  std::string err;
};

Attempt runWithFault(const FaultJob& job, Fault fault, int n) {
  Attempt attempt;
  Capture capture;
  {
    const FaultInjection injection(fault, n);
    attempt.code = job.run();
    attempt.hasStruck = injection.hasStruck();
  }
  attempt.err = capture.err();
  return attempt;
}

// Fails the first, second, third... call until a job runs through without meeting the fault.
// Returns the codes that were thrown on the way.
std::set<int> sweep(const FaultJob& job, Fault fault) {
  constexpr int kNever = 1000000;
  const Attempt whole = runWithFault(job, fault, kNever);
  EXPECT_EQ(whole.code, 0) << whole.err;
  const Bytes wholeFile = job.folder().bytes("job.odx");
  std::set<int> codes;
  for (int n = 1; n < 5000; ++n) {
    const Attempt attempt = runWithFault(job, fault, n);
    EXPECT_LE(attempt.code, 0);
    if (!attempt.hasStruck) {
      EXPECT_EQ(attempt.code, 0) << attempt.err;
      EXPECT_EQ(job.folder().bytes("job.odx"), wholeFile) << "after " << n << " failed jobs";
      return codes;
    }
    if (attempt.code != 0) {
      EXPECT_NE(attempt.err, "") << "code " << attempt.code << " at call " << n;
      codes.insert(attempt.code);
    }
  }
  ADD_FAILURE() << "the sweep does not end";
  return codes;
}

const std::string kGrayPage =
    "ImageFileK=\"8.tif\"\nPixelDepthK=2\nColorSpace=4\nNumOfPlanes=1\nCompressionMode=256\n";
const std::string kDeepRgbPage =
    "ImageFileRGB=\"rgb48.tif\"\nPixelDepthR=10\nPixelDepthG=10\nPixelDepthB=10\n"
    "ColorSpace=2\nNumOfPlanes=3\nCompressionMode=4\n";
const std::string kCmykPage =
    "ImageFileCMYK=\"cmyk.tif\"\nPixelDepthK=2\nPixelDepthC=2\nPixelDepthM=2\nPixelDepthY=2\n"
    "ColorSpace=3\nNumOfPlanes=4\nCompressionMode=2\n";
const std::string kUncompressedGrayPage =
    "ImageFileK=\"8.tif\"\nPixelDepthK=8\nColorSpace=4\nNumOfPlanes=1\nCompressionMode=0\n";

struct JobCase {
  const char* name;
  std::string image;
  std::string global;
};
const std::vector<JobCase>& jobCases() {
  static const std::vector<JobCase> cases = {
      {"packed gray in split mode", kGrayPage, "SplitDataSize=100\n"},
      {"packed gray in one packet", kGrayPage, "SplitDataSize=0\n"},
      {"deep RGB in split mode", kDeepRgbPage, "SplitDataSize=100\n"},
      {"composite CMYK in one packet", kCmykPage, "SplitDataSize=0\n"},
      {"uncompressed gray in split mode", kUncompressedGrayPage, "SplitDataSize=4096\n"},
  };
  return cases;
}

TEST(Faults, EveryFailedAllocationEndsInACodeOrACompletedJob) {
  std::set<int> codes;
  for (const JobCase& c : jobCases()) {
    SCOPED_TRACE(c.name);
    codes.merge(sweep(FaultJob(c.image, c.global), Fault::kAllocation));
  }
  EXPECT_EQ(codes, (std::set<int>{-6, -7, -41, -45, -46, -47, -49, -50, -52, -54, -56, -58, -60,
                                  -61, -63, -66, -72, -75, -78}));
}

TEST(Faults, EveryFileThatCannotBeOpenedEndsInACodeOrACompletedJob) {
  std::set<int> codes;
  for (const JobCase& c : jobCases()) {
    SCOPED_TRACE(c.name);
    codes.merge(sweep(FaultJob(c.image, c.global), Fault::kOpen));
  }
  EXPECT_EQ(codes, (std::set<int>{-3, -46, -47, -49, -51, -53, -55, -57, -59, -62, -64, -65}));
}

TEST(Faults, ATemporaryFileThatCannotBeRemovedStopsTheJobBehindItsDataPacket) {
  constexpr int kNever = 1000000;
  const FaultJob job(kGrayPage, "SplitDataSize=0\n");
  ASSERT_EQ(runWithFault(job, Fault::kRemove, kNever).code, 0);
  const std::string whole = job.folder().text("job.odx");

  const Attempt failed = runWithFault(job, Fault::kRemove, 1);
  EXPECT_EQ(failed.code, -48);
  const std::string temp = job.folder().path("TEMP_ODAXGEN.dat");
  EXPECT_EQ(failed.err, "ERROR!: Can't delete file \"" + temp + "\"\n");
  EXPECT_TRUE(job.folder().exists("TEMP_ODAXGEN.dat"));
  EXPECT_EQ(job.folder().text("job.odx"), whole.substr(0, whole.rfind("<datasize>")));

  // The next job writes over it and takes it away.
  EXPECT_EQ(runWithFault(job, Fault::kRemove, kNever).code, 0);
  EXPECT_FALSE(job.folder().exists("TEMP_ODAXGEN.dat"));
  EXPECT_EQ(job.folder().text("job.odx"), whole);
}

}  // namespace
