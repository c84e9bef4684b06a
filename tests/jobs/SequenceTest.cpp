// Several jobs in one process: what a job leaves to the next one, which is the split size and
// nothing else, also when it failed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "JobFolder.h"
#include "TiffWriter.h"

namespace {

using namespace std::string_literals;

class SequenceTest : public testing::Test {
 protected:
  void SetUp() override {
    folder.write("data.bin", "abcde");
    folder.writeImage("k.tif", {{1, 1, 1, 1, 1, 1, 1, 1}});
  }
  [[nodiscard]] JobResult split(std::string_view odax = "") const {
    return folder.run(sendDataJob("SplitDataSize=4\n", odax));
  }
  // Three jobs in the three output modes must give what a fresh process gives.
  void expectFresh() const {
    const JobResult one = folder.run(sendDataJob("SplitDataSize=0\n"));
    EXPECT_EQ(one.code, 0);
    EXPECT_EQ(one.err, "");
    EXPECT_EQ(one.out, std::string(kEchoStart) + sendDataJob("SplitDataSize=0\n") + "done.\n");
    EXPECT_EQ(folder.text("out.dat"), kOne);
    EXPECT_TRUE(folder.names("temp").empty());

    const JobResult bare = folder.run(sendDataJob(""));
    EXPECT_EQ(bare.code, 0);
    EXPECT_EQ(folder.text("out.dat"), kBare);

    const JobResult two = split();
    EXPECT_EQ(two.code, 0);
    EXPECT_EQ(two.err, "");
    EXPECT_EQ(two.out, std::string(kEchoStart) + sendDataJob("SplitDataSize=4\n") + "done.\n");
    EXPECT_EQ(folder.text("out.dat"), kSplit);
  }

  static constexpr const char* kOne =
      "<SJ/><SJC/><SC/><VC/>"
      "<SD><d:datasize>5</d:datasize><d:continue>OFF</d:continue></SD>abcde"
      "<EJ><d:datasize>93</d:datasize></EJ>";
  static constexpr const char* kSplit =
      "<SJ/><SJC/><SC/><VC/>"
      "<SD><d:datasize>4</d:datasize><d:continue>ON</d:continue></SD>abcd"
      "<SD><d:datasize>1</d:datasize><d:continue>OFF</d:continue></SD>e"
      "<EJ><d:datasize>155</d:datasize></EJ>";
  static constexpr const char* kBare =
      "<SJ/><SJC/><SC/><VC/>abcde<EJ><d:datasize>25</d:datasize></EJ>";

  JobFolder folder;
};

TEST_F(SequenceTest, TheSameJobTwiceGivesTheSameBytes) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(split().code, 0);
    EXPECT_EQ(folder.text("out.dat"), kSplit);
  }
  expectFresh();
  expectFresh();
}

TEST_F(SequenceTest, OverridesOfAnEarlierJobAreForgotten) {
  folder.write("SJ.xml", "<x:K>1</x:K>\n<x:L>1</x:L>\n");
  folder.write("EJ.xml", "<EJ/>\n");
  folder.write("data.bin", "");
  EXPECT_EQ(split("K=2\nL=ODAXGEN_SUPPRESSION\n").code, 0);
  EXPECT_EQ(folder.text("out.dat"), "<x:K>2</x:K><SJC/><SC/><VC/><EJ/>");
  EXPECT_EQ(split("L=3\n").code, 0);
  EXPECT_EQ(folder.text("out.dat"), "<x:K>1</x:K><x:L>3</x:L><SJC/><SC/><VC/><EJ/>");
  EXPECT_EQ(split().code, 0);
  EXPECT_EQ(folder.text("out.dat"), "<x:K>1</x:K><x:L>1</x:L><SJC/><SC/><VC/><EJ/>");
}

TEST_F(SequenceTest, TheVendorCommandOfAnEarlierJobIsForgotten) {
  EXPECT_EQ(split().code, 0);
  const std::string without =
      "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=9\nSendDataFile=\"@/data.bin\"\n[ODAX]\n"
      "StartJobXmlFile=\"@/SJ.xml\"\nSetJobConfigurationXmlFile=\"@/SJC.xml\"\n"
      "SetConfigurationXmlFile=\"@/SC.xml\"\nSendDataXmlFile=\"@/SD.xml\"\n"
      "EndJobXmlFile=\"@/EJ.xml\"\n";
  EXPECT_EQ(folder.run(without).code, 0);
  EXPECT_EQ(folder.text("out.dat"),
            "<SJ/><SJC/><SC/>"
            "<SD><d:datasize>5</d:datasize><d:continue>OFF</d:continue></SD>abcde"
            "<EJ><d:datasize>88</d:datasize></EJ>");
}

TEST_F(SequenceTest, TheTemplatesOfAnEarlierJobAreForgotten) {
  EXPECT_EQ(split().code, 0);
  const JobResult r = folder.run(
      "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=4\nSendDataFile=\"@/data.bin\"\n");
  EXPECT_EQ(r.code, -51);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"\"\n");
}

// The split size ----------------------------------------------------------------------------------

TEST_F(SequenceTest, AJobWithoutSplitSizeKeepsThatOfTheJobBefore) {
  EXPECT_EQ(split().code, 0);
  const JobResult r = folder.run(sendDataJob(""));
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, std::string(kEchoStart) + sendDataJob("") + "done.\n");
  EXPECT_EQ(folder.text("out.dat"), kSplit);
  // And so does the one after it.
  EXPECT_EQ(folder.run(sendDataJob("")).code, 0);
  EXPECT_EQ(folder.text("out.dat"), kSplit);
}

TEST_F(SequenceTest, ASplitSizeOfAllOnesIsNotSetAndKeepsThatOfTheJobBefore) {
  EXPECT_EQ(split().code, 0);
  EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=0xFFFFFFFF\n")).code, 0);
  EXPECT_EQ(folder.text("out.dat"), kSplit);
}

TEST_F(SequenceTest, BehindAOnePacketJobTheDataStandBare) {
  EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=0\n")).code, 0);
  EXPECT_EQ(folder.run(sendDataJob("")).code, 0);
  EXPECT_EQ(folder.text("out.dat"), kBare);
  EXPECT_TRUE(folder.names("temp").empty());
}

TEST_F(SequenceTest, ANegativeSplitSizeIsKeptToo) {
  EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=2147483648\n")).code, 0);
  EXPECT_EQ(folder.run(sendDataJob("")).code, 0);
  EXPECT_EQ(folder.text("out.dat"),
            "<SJ/><SJC/><SC/><VC/>"
            "<SD><d:datasize>5</d:datasize><d:continue>OFF</d:continue></SD>abcde"
            "<EJ><d:datasize>93</d:datasize></EJ>");
}

TEST_F(SequenceTest, AJobThatFailedLaterHasSetTheSplitSize) {
  const std::string path = folder.path("SJ.xml");
  std::filesystem::remove(path);
  EXPECT_EQ(split().code, -51);
  folder.write("SJ.xml", "<SJ/>\n");
  EXPECT_EQ(folder.run(sendDataJob("")).code, 0);
  EXPECT_EQ(folder.text("out.dat"), kSplit);
}

TEST_F(SequenceTest, AJobThatFailedInItsConfigurationHasNotSetTheSplitSize) {
  EXPECT_EQ(folder.run("[Global]\nSplitDataSize=4\nnonsense\n").code, -4);
  EXPECT_EQ(folder.run(sendDataJob("")).code, 0);
  EXPECT_EQ(folder.text("out.dat"), kBare);
}

// After a failure ---------------------------------------------------------------------------------

TEST_F(SequenceTest, AJobAfterAFailedOneIsLikeAFirstOne) {
  const std::string page =
      "[Global]\nOutFilePath=\"@/out.dat\"\n" + std::string(kTemplates) +
      "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n[Image]\n"
      "ImageFileK=\"@/bad.tif\"\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\nCompressionMode=0\n";
  TiffPage bad;
  bad.width = bad.height = 8;
  bad.compression = 5;
  bad.strips = {Bytes(64)};
  folder.write("bad.tif", tiffFile(bad));
  const std::string tooLong = std::string(1015, 'v');
  folder.write("SJ2.xml", "<x:K>1</x:K>\n");

  struct Case {
    const char* name;
    int code;
    std::string configuration;
  };
  const Case kCases[] = {
      {"an open comment block", -8, "[Global]\n/*\n"},
      {"in a page", -14, page + "nonsense=1\n"},
      {"behind the header of a page", -36,
       "[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=1\n[Image]\n"},
      {"behind override pairs", -4, "[ODAX]\nK=1\nL=2\nM=\"\n"},
      {"a missing image", -40, page + "ImageFileC=\"none.tif\"\nPixelDepthC=0\n"},
      {"no output", -49,
       "[Global]\nOutFilePath=\"@/none/out.dat\"\nSplitDataSize=4\nSendDataFile=\"@/data.bin\"\n" +
           std::string(kTemplates) + "K=1\n"},
      {"no output in one-packet mode", -47,
       "[Global]\nOutFilePath=\"@/none/out.dat\"\nSplitDataSize=0\nSendDataFile=\"@/data.bin\"\n" +
           std::string(kTemplates) + "K=1\n"},
      {"no data file", -74,
       "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=4\nSendDataFile=\"@/none\"\n" +
           std::string(kTemplates) + "K=1\n"},
      {"no data file in one-packet mode", -74,
       "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=0\nSendDataFile=\"@/none\"\n" +
           std::string(kTemplates)},
      {"too long an override", -67,
       "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=4\nSendDataFile=\"@/data.bin\"\n[ODAX]\n"
       "StartJobXmlFile=\"@/SJ2.xml\"\nK=" +
           tooLong + "\n"},
      {"an unsupported image", -41, page},
      {"no configuration", -3, ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    // A one-packet job in front, so that a job without a split size sends its data bare.
    EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=0\n")).code, 0);
    const JobResult failed = c.configuration.empty() ? folder.runFile(folder.path("none.cfg"))
                                                     : folder.run(c.configuration);
    EXPECT_EQ(failed.code, c.code);
    std::filesystem::remove(folder.path("temp/TEMP_ODAXGEN.dat"));
    expectFresh();
  }
}

TEST_F(SequenceTest, ATemporaryFileLeftByAFailedJobIsNotSent) {
  const std::string long_(1000, 'x');
  folder.write("data.bin", long_);
  std::filesystem::remove(folder.path("SJ.xml"));
  EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=0\n")).code, -51);
  EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), long_);
  folder.write("SJ.xml", "<SJ/>\n");
  folder.write("data.bin", "abcde");
  expectFresh();
}

TEST_F(SequenceTest, RasterAndDataJobsFollowEachOther) {
  const std::string page =
      "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=1000\n" + std::string(kTemplates) +
      "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n[Image]\n"
      "ImageFileK=\"@/k.tif\"\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\nCompressionMode=0\n";
  const std::string want =
      "<SJ/><SJC/><SC/><VC/>"
      "<SD><d:datasize>70</d:datasize><d:continue>OFF</d:continue></SD>"
      "\x1B%-12345X\x1B%0A\x1B"
      "E"
      "\x1B$v10W\x05\x01\0\0\0\0\x01\0\0\0\x1B*t600R\x1B*r1A\x1B*b0M\x1B*b1W\xFF\x1B*rC"
      "\x1B$E\x1B%-12345X"
      "<EJ><d:datasize>159</d:datasize></EJ>"s;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(folder.run(page).code, 0);
    EXPECT_EQ(folder.text("out.dat"), want);
    EXPECT_EQ(split().code, 0);
    EXPECT_EQ(folder.text("out.dat"), kSplit);
  }
}

}  // namespace
