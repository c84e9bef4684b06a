// Jobs whose files meet: data file, output and temporary file are the same, or an earlier job of
// the process still has the output open. Each must end, and each job's file is its own.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "JobFolder.h"
#include "TiffWriter.h"

namespace {

class SelfReferenceTest : public testing::Test {
 protected:
  // Opening packets larger than any buffer between the library and the disk.
  void SetUp() override {
    std::string lines;
    for (int i = 0; i < 100; ++i) lines += "<a>" + std::string(200, 'x') + "</a>\n";
    folder.write("SJ.xml", lines);
  }

  JobFolder folder;
};

TEST_F(SelfReferenceTest, ADataFileThatIsTheOutputIsReadAsFarAsItWentWhenItWasOpened) {
  const JobResult job = folder.run(
      "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=1000\nSendDataFile=\"@/out.dat\"\n" +
      std::string(kTemplates));
  EXPECT_EQ(job.code, 0) << job.err;
  const std::string file = folder.text("out.dat");
  EXPECT_LT(file.size(), 100000U);
  EXPECT_EQ(file.substr(file.size() - 5), "</EJ>");
}

TEST_F(SelfReferenceTest, AnOutputThatIsTheTemporaryFileIsNotCopiedIntoItselfForEver) {
  folder.write("data.bin", "abcde");
  const JobResult job = folder.run(
      "[Global]\nOutFilePath=\"@/temp/TEMP_ODAXGEN.dat\"\nSplitDataSize=0\n"
      "SendDataFile=\"@/data.bin\"\n" +
      std::string(kTemplates));
  EXPECT_EQ(job.code, 0) << job.err;
  // It was removed as the temporary file.
  EXPECT_TRUE(folder.names("temp").empty());
}

class AfterATextTest : public SelfReferenceTest {
 protected:
  // A composite page whose compression nobody knows, so that the job ends in a text.
  [[nodiscard]] JobResult runUntilText() const {
    TiffPage page;
    page.width = page.height = 1;
    page.bits = {8, 8, 8, 8};
    page.compression = 5;
    page.strips = {Bytes(4)};
    folder.write("cmyk.tif", tiffFile(page));
    return folder.run(
        "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=1000\n" + std::string(kTemplates) +
        "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n[Image]\n"
        "ImageFileCMYK=\"@/cmyk.tif\"\nPixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n"
        "ColorSpace=3\nNumOfPlanes=4\nCompressionMode=0\n");
  }
};

TEST_F(AfterATextTest, TheOutputShowsWhatWasWrittenSoFar) {
  const JobResult job = runUntilText();
  EXPECT_EQ(job.exception, "Internal Exception");
  const std::string file = folder.text("out.dat");
  EXPECT_EQ(file.substr(file.size() - 16), "<SJC/><SC/><VC/>");
}

TEST_F(AfterATextTest, TheNextJobsFileIsNotWrittenOverByTheOneBefore) {
  ASSERT_EQ(runUntilText().exception, "Internal Exception");
  folder.write("SJ.xml", "<SJ/>\n");
  folder.write("data.bin", "abcde");
  ASSERT_EQ(folder.run(sendDataJob("SplitDataSize=0\n")).code, 0);
  const std::string next = folder.text("out.dat");
  EXPECT_EQ(next.substr(0, kOpening.size()), kOpening);
  // What happens to streams that are still open when a process ends.
  std::fflush(nullptr);
  EXPECT_EQ(folder.text("out.dat"), next);
}

}  // namespace
