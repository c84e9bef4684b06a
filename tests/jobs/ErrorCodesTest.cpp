// One job for every failure that a configuration, a template, an image or the state of the file
// system can provoke: what is thrown, what is printed and echoed, and what is left on the disk.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <odaxgen/ODAXGen.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Capture.h"
#include "JobFolder.h"
#include "Thrown.h"
#include "TiffWriter.h"

namespace {

using namespace std::string_literals;
using testing::MatchesRegex;

std::string echo(std::string_view settings) {
  return std::string(kEchoStart).append(settings);
}

std::string required(std::string_view name) {
  return "REQUIRED ITEM NOT FOUND!: The item \"" + std::string(name) + "\" must be set.\n";
}

// Configurations ----------------------------------------------------------------------------------

// The settings in front of a page; they are echoed as they stand.
const std::string kRaster =
    "[Global]\nOutFilePath=\"@/out.dat\"\n" + std::string(kTemplates) +
    "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\nPrintableWidthInPixel=16\n";
// Lines 14 to 18.
const std::string kPage =
    "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthK=1\n";

struct Refused {
  const char* name;
  int code;
  std::string configuration;
  std::string err;
  std::string settings;  // the echo behind its two first lines
};

const Refused kRefused[] = {
    {"-4: no equals sign", -4, "[Global]\nOutFilePath\n",
     "INVALID VALUE OF ITEM!: line 2.\nOutFilePath\n", "[Global]\n"},
    {"-4: an override that is not closed, behind two others", -4, "[ODAX]\na=1\nb=2\nc=\"3\n",
     "INVALID VALUE OF ITEM!: line 4.\nc=\"3\n", "[ODAX]\na=1\nb=2\n"},
    {"-5: no HXRaster before a page", -5, "[ODAX]\na=1\n[Image]\n",
     "SECTION NOT FOUND!: The section \"[HXRaster]\" cannot be omitted.\n", "[ODAX]\na=1\n"},
    {"-8: an open comment", -8, "[Global]\n/*\nx\n", "INVALID VALUE OF ITEM!: line 3.\nx\n",
     "[Global]\n"},
    {"-9: an empty file", -9, "",
     "SECTION NOT FOUND!: The section \"[HXRaster]\" cannot be omitted.\n", "[Global]\n[ODAX]\n"},
    {"-10: no page", -10, "[Global]\n[ODAX]\n[HXRaster]\n",
     "SECTION NOT FOUND!: The section \"[Image]\" cannot be omitted.\n",
     "[Global]\n[ODAX]\n[HXRaster]\n"},
    {"-11: a comment in a comment", -11, "/*\n/*\n", "INVALID VALUE OF ITEM!: line 2.\n/*\n", ""},
    {"-12: an unknown key of Global", -12, "[Global]\nOutFile=\"x\"\n",
     "UNKNOWN ITEM!: line 2.\nOutFile=\"x\"\n", "[Global]\n"},
    {"-13: an unknown key of HXRaster", -13, kRaster + "Width=5\n",
     "UNKNOWN ITEM!: line 14.\nWidth=5\n", kRaster},
    {"-14: an unknown key of Image", -14, kRaster + "[Image]\nIndexLevelG=2\n",
     "UNKNOWN ITEM!: line 15.\nIndexLevelG=2\n", kRaster + "[Image]\n"},
    {"-15: a position given twice", -15,
     kRaster + "[Image]\nStartingPositionX=1\nStartingPositionX=2\n",
     "INVALID VALUE OF ITEM!: line 16.\nStartingPositionX=2\n",
     kRaster + "[Image]\nStartingPositionX=1\n"},
    {"-16: a position with a letter", -16, kRaster + "[Image]\nStartingPositionY=1a\n",
     "INVALID VALUE OF ITEM!: line 15.\nStartingPositionY=1a\n", kRaster + "[Image]\n"},
    {"-17: an offset given twice", -17, kRaster + "[Image]\nYOffset=1\nYOffset=1\n",
     "INVALID VALUE OF ITEM!: line 16.\nYOffset=1\n", kRaster + "[Image]\nYOffset=1\n"},
    {"-18: a negative offset", -18, kRaster + "[Image]\nYOffsetC=-1\n",
     "INVALID VALUE OF ITEM!: line 15.\nYOffsetC=-1\n", kRaster + "[Image]\n"},
    {"-19: planes and depths differ", -19,
     kRaster + "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0\n",
     "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
     "match.\nNumOfPlanes=1, the number of PixelDepthXXX=0\n",
     kRaster + "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0\n"},
    {"-20: RGB pixels without three depths", -20,
     kRaster + "[Image]\nColorSpace=18\nNumOfPlanes=1\nCompressionMode=0\n",
     "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
     "match.\nNumOfPlanes=1, the number of PixelDepthXXX=0\n",
     kRaster + "[Image]\nColorSpace=18\nNumOfPlanes=1\nCompressionMode=0\n"},
    {"-22: RGB rows of two planes", -22,
     kRaster + "[Image]\nColorSpace=2\nNumOfPlanes=2\nCompressionMode=0\nPixelDepthR=8\n"
               "PixelDepthG=8\n",
     "INVALID VALUE OF ITEM!: The combination of following values are invalid.\nColorSpace=2, "
     "NumOfPlanes=2\n",
     kRaster + "[Image]\nColorSpace=2\nNumOfPlanes=2\nCompressionMode=0\nPixelDepthR=8\n"
               "PixelDepthG=8\n"},
    {"-23: multi-level KCMY rows of one plane", -23,
     kRaster + "[Image]\nColorSpace=3\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthK=8\n",
     "INVALID VALUE OF ITEM!: The combination of following values are invalid.\nColorSpace=3, "
     "NumOfPlanes=1\n",
     kRaster + "[Image]\nColorSpace=3\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthK=8\n"},
    {"-24: ink rows of two planes", -24,
     kRaster + "[Image]\nColorSpace=4\nNumOfPlanes=2\nCompressionMode=0\nPixelDepthK=8\n"
               "PixelDepthC=8\n",
     "INVALID VALUE OF ITEM!: The combination of following values are invalid.\nColorSpace=4, "
     "NumOfPlanes=2\n",
     kRaster + "[Image]\nColorSpace=4\nNumOfPlanes=2\nCompressionMode=0\nPixelDepthK=8\n"
               "PixelDepthC=8\n"},
    {"-25: pixels of four planes", -25,
     kRaster + "[Image]\nColorSpace=19\nNumOfPlanes=4\nCompressionMode=0\n",
     "INVALID VALUE OF ITEM!: The combination of following values are invalid.\nColorSpace=19, "
     "NumOfPlanes=4\n",
     kRaster + "[Image]\nColorSpace=19\nNumOfPlanes=4\nCompressionMode=0\n"},
    {"-26: no such colour space", -26,
     kRaster + "[Image]\nColorSpace=1\nNumOfPlanes=1\nCompressionMode=0\n",
     "INVALID VALUE OF ITEM!: The combination of following values are invalid.\nColorSpace=1, "
     "NumOfPlanes=1\n",
     kRaster + "[Image]\nColorSpace=1\nNumOfPlanes=1\nCompressionMode=0\n"},
    {"-27: a path given twice", -27, "[ODAX]\nEndJobXmlFile=\"a\"\nEndJobXmlFile=\"b\"\n",
     "INVALID VALUE OF ITEM!: line 3.\nEndJobXmlFile=\"b\"\n", "[ODAX]\nEndJobXmlFile=\"a\"\n"},
    {"-28: an unquoted path", -28, "[ODAX]\na=1\nEndJobXmlFile=a\n",
     "INVALID VALUE OF ITEM!: line 3.\nEndJobXmlFile=a\n", "[ODAX]\na=1\n"},
    {"-30: a number given twice", -30, "[Global]\nSplitDataSize=0\nSplitDataSize=0\n",
     "INVALID VALUE OF ITEM!: line 3.\nSplitDataSize=0\n", "[Global]\nSplitDataSize=0\n"},
    {"-31: a number with a sign", -31, "[Global]\nSplitDataSize=-1\n",
     "INVALID VALUE OF ITEM!: line 2.\nSplitDataSize=-1\n", "[Global]\n"},
    {"-32: a colour space given twice", -32, kRaster + "[Image]\nColorSpace=5\nColorSpace=5\n",
     "INVALID VALUE OF ITEM!: line 16.\nColorSpace=5\n", kRaster + "[Image]\nColorSpace=5\n"},
    {"-33: an unknown symbol", -33, kRaster + "[Image]\nCompressionMode=packbits\n",
     "INVALID VALUE OF ITEM!: line 15.\nCompressionMode=packbits\n", kRaster + "[Image]\n"},
    {"-34: an unknown number of levels, which is echoed", -34, kRaster + "[Image]\nIndexLevelK=7\n",
     "INVALID VALUE OF ITEM!: line 15.\nIndexLevelK=7\n", kRaster + "[Image]\nIndexLevelK=7\n"},
    {"-35: a required item of all ones", -35, kRaster + "[Image]\nColorSpace=0xFFFFFFFF\n",
     "INVALID VALUE OF ITEM!: line 15.\nColorSpace=0xFFFFFFFF\n",
     kRaster + "[Image]\nColorSpace=0xFFFFFFFF\n"},
    {"-36: a required item is missing", -36, kRaster + "[Image]\nColorSpace=5\n",
     required("NumOfPlanes"), kRaster + "[Image]\nColorSpace=5\n"},
    {"-36: a light magenta file needs a depth above 0", -36,
     kRaster + kPage + "ImageFilem=\"@/k.tif\"\nPixelDepthm=0\n", required("PixelDepthm,"),
     kRaster + kPage + "ImageFilem=\"@/k.tif\"\nPixelDepthm=0\n"},
    {"-36: a page without items", -36, kRaster + "[Image]\n", required("ColorSpace"),
     kRaster + "[Image]\n"},
    {"-37: a drive form", -37, kRaster + kPage + "ImageFileK=\"C:\\k.tif\"\n",
     "ERROR!: Can't convert dir separator.\n\"C:\\k.tif\"\n",
     kRaster + kPage + "ImageFileK=\"C:\\k.tif\"\n"},
    {"-39: a missing table file", -39,
     "[Global]\nImageProcessingFile=\"no.tbl\"\nSendDataFile=\"@/data.bin\"\n",
     "ERROR!: Can't open file \"@/no.tbl\"\n",
     "[Global]\nImageProcessingFile=\"no.tbl\"\nSendDataFile=\"@/data.bin\"\n"},
    {"-40: a missing image file", -40, kRaster + kPage + "ImageFileK=\"no.tif\"\n",
     "ERROR!: Can't open file \"@/no.tif\"\n", kRaster + kPage + "ImageFileK=\"no.tif\"\n"},
};

TEST(RefusedConfigurations, AreReportedEchoedSoFarAndLeaveNothingBehind) {
  for (const Refused& c : kRefused) {
    SCOPED_TRACE(c.name);
    const JobFolder folder;
    folder.write("k.tif", "");
    folder.write("data.bin", "abc");
    const JobResult r = folder.run(c.configuration);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.exception, "");
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, echo(c.settings));
    EXPECT_FALSE(folder.exists("out.dat"));
    EXPECT_FALSE(folder.exists("job.dat"));
    EXPECT_TRUE(folder.names("temp").empty());
    EXPECT_TRUE(folder.names("cwd").empty());
  }
}

TEST(RefusedConfigurations, AMissingFileIsMinus3) {
  const JobFolder folder;
  const JobResult r = folder.runFile(folder.path("none.cfg"));
  EXPECT_EQ(r.code, -3);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"@/none.cfg\"\n");
  EXPECT_EQ(r.out, "");
}

TEST(RefusedConfigurations, APathThatCannotBeCompletedIsMinus43) {
  const JobFolder folder;
  const std::string absolute = "/" + std::string(259, 'x');
  const JobResult first = folder.runFile(absolute);
  EXPECT_EQ(first.code, -43);
  EXPECT_EQ(first.err, "cannot get full path of " + absolute + "\n");
  EXPECT_EQ(first.out, "");

  const std::string relative(259, 'x');
  const JobResult second = folder.runFile(relative);
  EXPECT_EQ(second.code, -43);
  EXPECT_EQ(second.err, "cannot get full path of " + relative + "\n");
}

TEST(RefusedConfigurations, NoPathIsMinus43) {
  const Capture quiet;
  EXPECT_EQ(thrownBy([] { makeODAXData(nullptr); }), -43);
}

TEST(RefusedConfigurations, ALongestPathIsOpened) {
  const JobFolder folder;
  const std::string path = "/" + std::string(258, 'x');
  const JobResult r = folder.runFile(path);
  EXPECT_EQ(r.code, -3);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"" + path + "\"\n");
}

// Images ------------------------------------------------------------------------------------------

TEST(RefusedImages, AnUnsupportedCompressionOfAPlaneIsMinus41) {
  const JobFolder folder;
  TiffPage page;
  page.width = 16;
  page.height = 1;
  page.compression = 5;
  page.strips = {Bytes(16)};
  folder.write("k.tif", tiffFile(page));
  const std::string configuration = kRaster + kPage + "ImageFileK=\"@/k.tif\"\n";
  const JobResult r = folder.run(configuration);
  EXPECT_EQ(r.code, -41);
  EXPECT_EQ(r.err, "UNSUPPORTED COMPRESSION!: \"@/k.tif\".\n");
  EXPECT_EQ(r.out, echo(configuration));
  // The commands are still in the buffer: only packets have been written.
  EXPECT_EQ(folder.text("out.dat"), kOpening);
}

TEST(RefusedImages, AnUnsupportedCompressionOfAnRgbFileIsMinus42) {
  const JobFolder folder;
  TiffPage page;
  page.width = 4;
  page.height = 1;
  page.bits = {8, 8, 8};
  page.photometric = 2;
  page.compression = 5;
  page.strips = {Bytes(12)};
  folder.write("rgb.tif", tiffFile(page));
  const std::string configuration =
      kRaster +
      "[Image]\nColorSpace=2\nNumOfPlanes=3\nCompressionMode=0\nPixelDepthR=8\nPixelDepthG=8\n"
      "PixelDepthB=8\nImageFileRGB=\"@/rgb.tif\"\n";
  const JobResult r = folder.run(configuration);
  EXPECT_EQ(r.code, -42);
  EXPECT_EQ(r.err, "UNSUPPORTED COMPRESSION!: \"@/rgb.tif\".\n");
  EXPECT_EQ(r.out, echo(configuration));
  EXPECT_EQ(folder.text("out.dat"), kOpening);
}

TEST(RefusedImages, AnUnsupportedCompressionOfACmykFileIsAText) {
  const JobFolder folder;
  TiffPage page;
  page.width = 4;
  page.height = 1;
  page.bits = {8, 8, 8, 8};
  page.photometric = 5;
  page.compression = 5;
  page.strips = {Bytes(16)};
  folder.write("cmyk.tif", tiffFile(page));
  const std::string configuration =
      kRaster +
      "[Image]\nColorSpace=5\nNumOfPlanes=4\nCompressionMode=0\nPixelDepthK=1\nPixelDepthC=1\n"
      "PixelDepthM=1\nPixelDepthY=1\nImageFileCMYK=\"@/cmyk.tif\"\n";
  const JobResult r = folder.run(configuration);
  EXPECT_EQ(r.exception, "Internal Exception");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "UNSUPPORTED COMPRESSION!: \"@/cmyk.tif\".\n");
  EXPECT_EQ(r.out, echo(configuration));
  EXPECT_EQ(folder.text("out.dat"), kOpening);  // left as written so far
  // The next job finds everything in order.
  folder.write("data.bin", "");
  EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=4\n")).code, 0);
}

// Files -------------------------------------------------------------------------------------------

// A job with a send-data file of three bytes, split into packets of two.
class FilesTest : public testing::Test {
 protected:
  void SetUp() override { folder.write("data.bin", "abc"); }

  void remove(std::string_view name) const { std::filesystem::remove_all(folder.path(name)); }
  // The job in both output modes.
  [[nodiscard]] JobResult split(std::string_view odax = "") const {
    configuration_ = sendDataJob("SplitDataSize=2\n", odax);
    return folder.run(configuration_);
  }
  [[nodiscard]] JobResult onePacket(std::string_view odax = "") const {
    configuration_ = sendDataJob("SplitDataSize=0\n", odax);
    return folder.run(configuration_);
  }
  // The whole echo of the last job, without the line that ends a job.
  [[nodiscard]] std::string settings() const { return echo(configuration_); }
  [[nodiscard]] std::string output() const { return folder.text("out.dat"); }

  JobFolder folder;

 private:
  mutable std::string configuration_;
};

const std::string kFirstPacket = "<SD><d:datasize>2</d:datasize><d:continue>ON</d:continue></SD>ab";
const std::string kSecondPacket =
    "<SD><d:datasize>1</d:datasize><d:continue>OFF</d:continue></SD>c";
const std::string kOnePacket = "<SD><d:datasize>3</d:datasize><d:continue>OFF</d:continue></SD>abc";
const std::string kStart(kOpening);

TEST_F(FilesTest, ATemporaryFileThatCannotBeMadeIsMinus46) {
  setenv("TMPDIR", folder.path("none").c_str(), 1);
  const JobResult r = onePacket();
  EXPECT_EQ(r.code, -46);
  EXPECT_EQ(r.err, "ERROR!: Can't open the file \"@/none/TEMP_ODAXGEN.dat\".\n");
  EXPECT_EQ(r.out, settings());
  EXPECT_FALSE(folder.exists("out.dat"));
}

TEST_F(FilesTest, AFolderInPlaceOfTheTemporaryFileIsMinus46) {
  std::filesystem::create_directory(folder.path("temp/TEMP_ODAXGEN.dat"));
  const JobResult r = onePacket();
  EXPECT_EQ(r.code, -46);
  EXPECT_EQ(r.err, "ERROR!: Can't open the file \"@/temp/TEMP_ODAXGEN.dat\".\n");
  EXPECT_FALSE(folder.exists("out.dat"));
}

TEST_F(FilesTest, AnOutputThatCannotBeMadeIsMinus47InOnePacketMode) {
  std::filesystem::create_directory(folder.path("out.dat"));
  const JobResult r = onePacket();
  EXPECT_EQ(r.code, -47);
  EXPECT_EQ(r.err, "ERROR!: Can't open the file \"@/out.dat\".\n");
  EXPECT_EQ(r.out, settings());
  EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "abc");
}

TEST_F(FilesTest, AnOutputThatCannotBeMadeIsMinus49InSplitMode) {
  std::filesystem::create_directory(folder.path("out.dat"));
  const JobResult r = split();
  EXPECT_EQ(r.code, -49);
  EXPECT_EQ(r.err, "ERROR!: Can't open the file \"@/out.dat\".\n");
  EXPECT_EQ(r.out, settings());
  EXPECT_TRUE(folder.names("temp").empty());
}

TEST_F(FilesTest, AnOutputThatCannotBeMadeIsMinus49AlsoBehindOverridePairs) {
  std::filesystem::create_directory(folder.path("out.dat"));
  EXPECT_EQ(split("Copies=3\nTitle=\"x\"\n").code, -49);
}

// A job that reads or writes a pipe waits for the other end, so that a test can change the disk at
// a known moment.
TEST_F(FilesTest, ATemporaryFileThatCannotBeRemovedIsMinus48) {
  // More than a pipe and the job's own buffers hold: the job is still copying when the first byte
  // of data comes out.
  const size_t size = 1000000;
  const std::string data(size, 'd');
  folder.write("data.bin", data);
  folder.write("SD.xml", "|\n");
  ASSERT_EQ(mkfifo(folder.path("out.dat").c_str(), 0600), 0);

  std::string received;
  std::thread reader([&] {
    std::ifstream pipe(folder.path("out.dat"), std::ios::binary);
    bool removed = false;
    for (char byte = 0; pipe.get(byte);) {
      received.push_back(byte);
      if (byte == 'd' && !removed)
        removed = std::filesystem::remove(folder.path("temp/TEMP_ODAXGEN.dat"));
    }
  });
  const JobResult r = onePacket();
  close(open(folder.path("out.dat").c_str(), O_RDWR));  // the reader waits if the job never came
  reader.join();
  EXPECT_EQ(r.code, -48);
  EXPECT_EQ(r.err, "ERROR!: Can't delete file \"@/temp/TEMP_ODAXGEN.dat\"\n");
  EXPECT_EQ(r.out, settings());
  EXPECT_TRUE(received == kStart + "|" + data);
}

TEST_F(FilesTest, ATemporaryFileThatIsGoneIsMinus64) {
  remove("SD.xml");
  ASSERT_EQ(mkfifo(folder.path("SD.xml").c_str(), 0600), 0);
  std::thread writer([&] {
    // Opening waits for the job to open its template; the temporary file is complete by then.
    std::ofstream pipe(folder.path("SD.xml"), std::ios::binary);
    remove("temp/TEMP_ODAXGEN.dat");
    pipe << "<SD/>\n";
  });
  const JobResult r = onePacket();
  const int end = open(folder.path("SD.xml").c_str(), O_RDWR);  // and so does the writer
  writer.join();
  close(end);
  EXPECT_EQ(r.code, -64);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"@/temp/TEMP_ODAXGEN.dat\"\n");
  EXPECT_EQ(r.out, settings());
  EXPECT_EQ(output(), kStart + "<SD/>");
}

TEST_F(FilesTest, ATemporaryPathThatIsTooLongIsMinus68) {
  setenv("TMPDIR", ("/" + std::string(242, 'x') + "/").c_str(), 1);
  const JobResult r = onePacket();
  EXPECT_EQ(r.code, -68);
  EXPECT_EQ(r.err, "ERROR!: Configuration file has too int32_t filename.\n");
  EXPECT_EQ(r.out, settings());
  EXPECT_FALSE(folder.exists("out.dat"));
}

TEST_F(FilesTest, AMissingSendDataFileIsMinus74) {
  remove("data.bin");
  const JobResult inSplit = split();
  EXPECT_EQ(inSplit.code, -74);
  EXPECT_EQ(inSplit.err, "ERROR!: Can't open file \"@/data.bin\"\n");
  EXPECT_EQ(inSplit.out, settings());
  EXPECT_EQ(output(), kStart);

  remove("out.dat");
  const JobResult inOne = onePacket();
  EXPECT_EQ(inOne.code, -74);
  EXPECT_EQ(inOne.err, "ERROR!: Can't open file \"@/data.bin\"\n");
  EXPECT_EQ(inOne.out, settings());
  EXPECT_FALSE(folder.exists("out.dat"));
  EXPECT_TRUE(folder.exists("temp/TEMP_ODAXGEN.dat"));
  EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "");
}

// Templates ---------------------------------------------------------------------------------------

TEST_F(FilesTest, AMissingTemplateStopsTheJobBeforeItsPacket) {
  struct Case {
    const char* file;
    int split;
    std::string splitOutput;
    int one;
    std::string oneOutput;
    bool tempLeft;  // in one-packet mode
  };
  const Case kCases[] = {
      {"SJ.xml", -51, "", -51, "", true},
      {"SJC.xml", -53, "<SJ/>", -53, "<SJ/>", true},
      {"SC.xml", -55, "<SJ/><SJC/>", -55, "<SJ/><SJC/>", true},
      {"VC.xml", -57, "<SJ/><SJC/><SC/>", -57, "<SJ/><SJC/><SC/>", true},
      {"SD.xml", -59, kStart, -62, kStart, true},
      {"EJ.xml", -65, kStart + kFirstPacket + kSecondPacket, -65, kStart + kOnePacket, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.file);
    const std::string content = folder.text(c.file);
    remove(c.file);
    const std::string err = "ERROR!: Can't open file \"@/"s + c.file + "\"\n";

    const JobResult inSplit = split();
    EXPECT_EQ(inSplit.code, c.split);
    EXPECT_EQ(inSplit.err, err);
    EXPECT_EQ(inSplit.out, settings());
    EXPECT_EQ(output(), c.splitOutput);
    EXPECT_TRUE(folder.names("temp").empty());

    const JobResult inOne = onePacket();
    EXPECT_EQ(inOne.code, c.one);
    EXPECT_EQ(inOne.err, err);
    EXPECT_EQ(inOne.out, settings());
    EXPECT_EQ(output(), c.oneOutput);
    EXPECT_EQ(folder.exists("temp/TEMP_ODAXGEN.dat"), c.tempLeft);
    if (c.tempLeft) {
      EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "abc");
    }

    remove("temp/TEMP_ODAXGEN.dat");
    folder.write(c.file, content);
  }
}

TEST_F(FilesTest, ATemplateThatIsNotNamedHasAnEmptyPath) {
  const std::string start =
      "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=2\nSendDataFile=\"@/data.bin\"\n[ODAX]\n";
  struct Case {
    const char* name;
    std::string keys;
    int code;
    const char* output;
  };
  const Case kCases[] = {
      {"StartJob", "", -51, ""},
      {"SetJobConfiguration", "StartJobXmlFile=\"@/SJ.xml\"\n", -53, "<SJ/>"},
      {"VendorCmd, named but empty",
       "StartJobXmlFile=\"@/SJ.xml\"\nSetJobConfigurationXmlFile=\"@/SJC.xml\"\n"
       "SetConfigurationXmlFile=\"@/SC.xml\"\nVendorCmdXmlFile=\"\"\n",
       -57, "<SJ/><SJC/><SC/>"},
      {"SendData",
       "StartJobXmlFile=\"@/SJ.xml\"\nSetJobConfigurationXmlFile=\"@/SJC.xml\"\n"
       "SetConfigurationXmlFile=\"@/SC.xml\"\n",
       -59, "<SJ/><SJC/><SC/>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const JobResult r = folder.run(start + c.keys);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, "ERROR!: Can't open file \"\"\n");
    EXPECT_EQ(r.out, echo(start + c.keys));
    EXPECT_EQ(output(), c.output);
  }
}

TEST_F(FilesTest, TooLongAnOverrideIsMinus67) {
  const std::string value(1015, 'v');
  struct Case {
    const char* file;
    std::string splitOutput;
    std::string oneOutput;
  };
  const Case kCases[] = {
      {"SJ.xml", "<a>", "<a>"},
      {"SJC.xml", "<SJ/><a>", "<SJ/><a>"},
      {"SC.xml", "<SJ/><SJC/><a>", "<SJ/><SJC/><a>"},
      {"VC.xml", "<SJ/><SJC/><SC/><a>", "<SJ/><SJC/><SC/><a>"},
      {"SD.xml", kStart + "<a>", kStart + "<a>"},
      {"EJ.xml", kStart + kFirstPacket + kSecondPacket + "<a>", kStart + kOnePacket + "<a>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.file);
    const std::string content = folder.text(c.file);
    folder.write(c.file, "<a>\n<x:K>1</x:K>\n</a>\n");
    const std::string err = "ERROR!: A value of too int32_t overriding \"" + value + "\".\n";

    const JobResult inSplit = split("K=" + value + "\n");
    EXPECT_EQ(inSplit.code, -67);
    EXPECT_EQ(inSplit.err, err);
    EXPECT_EQ(inSplit.out, settings());
    EXPECT_EQ(output(), c.splitOutput);

    const JobResult inOne = onePacket("K=" + value + "\n");
    EXPECT_EQ(inOne.code, -67);
    EXPECT_EQ(inOne.err, err);
    EXPECT_EQ(inOne.out, settings());
    EXPECT_EQ(output(), c.oneOutput);
    EXPECT_EQ(folder.exists("temp/TEMP_ODAXGEN.dat"), c.file != "EJ.xml"s);

    remove("temp/TEMP_ODAXGEN.dat");
    folder.write(c.file, content);
  }
}

TEST_F(FilesTest, ASizeLineWithoutAnElementIsMinus71) {
  for (const char* line : {"datasize", "<datasize>", "<datasize><"}) {
    SCOPED_TRACE(line);
    const std::string kErr =
        "ERROR! replaceCorrectSize\\(\\): strtok error\\([0-9]+\\) ODAXOutLib.cpp\\(1172\\)\n";
    folder.write("SD.xml", "<a>\n"s + line + "\n");
    const JobResult inSplit = split();
    EXPECT_EQ(inSplit.code, -71);
    EXPECT_THAT(inSplit.err, MatchesRegex(kErr));
    EXPECT_EQ(inSplit.out, settings());
    EXPECT_EQ(output(), kStart + "<a>");
    const JobResult inOne = onePacket();
    EXPECT_EQ(inOne.code, -71);
    EXPECT_THAT(inOne.err, MatchesRegex(kErr));
    EXPECT_EQ(output(), kStart + "<a>");
    EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "abc");

    folder.write("SD.xml", "<SD/>\n");
    folder.write("EJ.xml", "<a>\n"s + line + "\n");
    const JobResult atEnd = split();
    EXPECT_EQ(atEnd.code, -71);
    EXPECT_THAT(atEnd.err, MatchesRegex(kErr));
    EXPECT_EQ(output(), kStart + "<SD/>ab<SD/>c<a>");
    folder.write("EJ.xml", "<EJ/>\n");
  }
}

TEST_F(FilesTest, AContinueLineWithoutAnElementIsMinus73) {
  for (const char* line : {"continue", "<continue>", "<continue><"}) {
    SCOPED_TRACE(line);
    const std::string kErr =
        "ERROR! replaceCorrectContinueFlug\\(\\): strtok error\\([0-9]+\\) "
        "ODAXOutLib.cpp\\(1219\\)\n";
    folder.write("SD.xml", "<a>\n"s + line + "\n");
    const JobResult inSplit = split();
    EXPECT_EQ(inSplit.code, -73);
    EXPECT_THAT(inSplit.err, MatchesRegex(kErr));
    EXPECT_EQ(inSplit.out, settings());
    EXPECT_EQ(output(), kStart + "<a>");
    const JobResult inOne = onePacket();
    EXPECT_EQ(inOne.code, -73);
    EXPECT_THAT(inOne.err, MatchesRegex(kErr));
    EXPECT_EQ(output(), kStart + "<a>");
    EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "abc");
  }
}

TEST_F(FilesTest, AFailureInALaterPacketLeavesTheEarlierOnes) {
  // The line has room for ON but not for OFF.
  const std::string blanks(1000, ' ');
  folder.write("SD.xml", "<continue>-</continue>" + blanks + "\n");
  const JobResult r = split();
  EXPECT_EQ(r.code, -67);
  EXPECT_EQ(r.err, "ERROR!: A value of too int32_t overriding \"OFF\".\n");
  EXPECT_EQ(output(), kStart + "<continue>ON</continue>" + blanks + "ab");
}

}  // namespace
