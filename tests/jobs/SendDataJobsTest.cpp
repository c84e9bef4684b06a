// Jobs that send a ready-made data file: whole job files byte for byte, in split mode, in
// one-packet mode and without a split size; long and unusual template lines; what overrides do to
// sizes.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "JobFolder.h"

namespace {

using namespace std::string_literals;

class SendDataTest : public testing::Test {
 protected:
  // Runs a job that must succeed, and gives its output.
  std::string output(std::string_view global, std::string_view odax = "") {
    std::filesystem::remove(folder.path("out.dat"));
    const std::string configuration = sendDataJob(global, odax);
    const JobResult r = folder.run(configuration);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.exception, "");
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, std::string(kEchoStart) + configuration + "done.\n");
    EXPECT_TRUE(folder.names("temp").empty());
    EXPECT_TRUE(folder.names("cwd").empty());
    return folder.text("out.dat");
  }
  void data(std::string_view bytes) { folder.write("data.bin", bytes); }

  JobFolder folder;
};

// Output modes ------------------------------------------------------------------------------------

TEST_F(SendDataTest, SplitModeMakesOnePacketPerChunk) {
  struct Case {
    const char* name;
    const char* data;
    const char* output;
  };
  const Case kCases[] = {
      {"no data, no packet", "",
       "<SJ/><SJC/><SC/><VC/>"
       "<EJ><d:datasize>25</d:datasize></EJ>"},
      {"one byte", "a",
       "<SJ/><SJC/><SC/><VC/>"
       "<SD><d:datasize>1</d:datasize><d:continue>OFF</d:continue></SD>a"
       "<EJ><d:datasize>89</d:datasize></EJ>"},
      {"one less than the size", "123456789",
       "<SJ/><SJC/><SC/><VC/>"
       "<SD><d:datasize>9</d:datasize><d:continue>OFF</d:continue></SD>123456789"
       "<EJ><d:datasize>97</d:datasize></EJ>"},
      {"the size: the last packet says ON", "1234567890",
       "<SJ/><SJC/><SC/><VC/>"
       "<SD><d:datasize>10</d:datasize><d:continue>ON</d:continue></SD>1234567890"
       "<EJ><d:datasize>98</d:datasize></EJ>"},
      {"one more than the size", "1234567890a",
       "<SJ/><SJC/><SC/><VC/>"
       "<SD><d:datasize>10</d:datasize><d:continue>ON</d:continue></SD>1234567890"
       "<SD><d:datasize>1</d:datasize><d:continue>OFF</d:continue></SD>a"
       "<EJ><d:datasize>162</d:datasize></EJ>"},
      {"a multiple of the size: the last packet says ON", "1234567890abcdefghij",
       "<SJ/><SJC/><SC/><VC/>"
       "<SD><d:datasize>10</d:datasize><d:continue>ON</d:continue></SD>1234567890"
       "<SD><d:datasize>10</d:datasize><d:continue>ON</d:continue></SD>abcdefghij"
       "<EJ><d:datasize>171</d:datasize></EJ>"},
      {"no multiple of the size", "1234567890abcdefghijABCDE",
       "<SJ/><SJC/><SC/><VC/>"
       "<SD><d:datasize>10</d:datasize><d:continue>ON</d:continue></SD>1234567890"
       "<SD><d:datasize>10</d:datasize><d:continue>ON</d:continue></SD>abcdefghij"
       "<SD><d:datasize>5</d:datasize><d:continue>OFF</d:continue></SD>ABCDE"
       "<EJ><d:datasize>239</d:datasize></EJ>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    data(c.data);
    EXPECT_EQ(output("SplitDataSize=10\n"), c.output);
    EXPECT_EQ(output("SplitDataSize=0x0000000A\n"), c.output);
  }
}

TEST_F(SendDataTest, ASplitSizeOf1MakesAPacketPerByte) {
  data("ab");
  EXPECT_EQ(output("SplitDataSize=1\n"),
            "<SJ/><SJC/><SC/><VC/>"
            "<SD><d:datasize>1</d:datasize><d:continue>ON</d:continue></SD>a"
            "<SD><d:datasize>1</d:datasize><d:continue>ON</d:continue></SD>b"
            "<EJ><d:datasize>151</d:datasize></EJ>");
}

TEST_F(SendDataTest, SplitSize1000Sends2500BytesInThreePacketsAnd2000InTwo) {
  const std::string bytes = dataBytes(2500);
  data(bytes);
  EXPECT_TRUE(output("SplitDataSize=1000\n") ==
              "<SJ/><SJC/><SC/><VC/>"
              "<SD><d:datasize>1000</d:datasize><d:continue>ON</d:continue></SD>" +
                  bytes.substr(0, 1000) +
                  "<SD><d:datasize>1000</d:datasize><d:continue>ON</d:continue></SD>" +
                  bytes.substr(1000, 1000) +
                  "<SD><d:datasize>500</d:datasize><d:continue>OFF</d:continue></SD>" +
                  bytes.substr(2000) + "<EJ><d:datasize>2720</d:datasize></EJ>");
  data(bytes.substr(0, 2000));
  EXPECT_TRUE(output("SplitDataSize=1000\n") ==
              "<SJ/><SJC/><SC/><VC/>"
              "<SD><d:datasize>1000</d:datasize><d:continue>ON</d:continue></SD>" +
                  bytes.substr(0, 1000) +
                  "<SD><d:datasize>1000</d:datasize><d:continue>ON</d:continue></SD>" +
                  bytes.substr(1000, 1000) + "<EJ><d:datasize>2155</d:datasize></EJ>");
}

TEST_F(SendDataTest, OnePacketModeSendsAllDataAtOnce) {
  struct Case {
    size_t size;
    const char* packet;
    const char* end;
  };
  const Case kCases[] = {
      {0, "<SD><d:datasize>0</d:datasize><d:continue>OFF</d:continue></SD>",
       "<EJ><d:datasize>88</d:datasize></EJ>"},
      {3, "<SD><d:datasize>3</d:datasize><d:continue>OFF</d:continue></SD>",
       "<EJ><d:datasize>91</d:datasize></EJ>"},
      {65535, "<SD><d:datasize>65535</d:datasize><d:continue>OFF</d:continue></SD>",
       "<EJ><d:datasize>65627</d:datasize></EJ>"},
      {65536, "<SD><d:datasize>65536</d:datasize><d:continue>OFF</d:continue></SD>",
       "<EJ><d:datasize>65628</d:datasize></EJ>"},
      {65537, "<SD><d:datasize>65537</d:datasize><d:continue>OFF</d:continue></SD>",
       "<EJ><d:datasize>65629</d:datasize></EJ>"},
      {200000, "<SD><d:datasize>200000</d:datasize><d:continue>OFF</d:continue></SD>",
       "<EJ><d:datasize>200093</d:datasize></EJ>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.size);
    const std::string bytes = dataBytes(c.size);
    data(bytes);
    EXPECT_TRUE(output("SplitDataSize=0\n") == "<SJ/><SJC/><SC/><VC/>"s + c.packet + bytes + c.end);
  }
}

TEST_F(SendDataTest, ANegativeSplitSizeSendsChunksOf64KiBThatAllSayOff) {
  const std::string bytes = dataBytes(65546);
  for (const char* setting : {"2147483648", "4294967294"}) {
    SCOPED_TRACE(setting);
    data(bytes);
    const std::string configuration = sendDataJob("SplitDataSize="s + setting + "\n");
    const JobResult r = folder.run(configuration);
    EXPECT_EQ(r.code, 0);
    // The echo shows the number as it is stored.
    EXPECT_NE(r.out.find(setting == "2147483648"s ? "\nSplitDataSize=-2147483648\n"
                                                  : "\nSplitDataSize=-2\n"),
              std::string::npos);
    EXPECT_TRUE(folder.text("out.dat") ==
                "<SJ/><SJC/><SC/><VC/>"
                "<SD><d:datasize>65536</d:datasize><d:continue>OFF</d:continue></SD>" +
                    bytes.substr(0, 65536) +
                    "<SD><d:datasize>10</d:datasize><d:continue>OFF</d:continue></SD>" +
                    bytes.substr(65536) + "<EJ><d:datasize>65702</d:datasize></EJ>");
  }
  data(bytes.substr(0, 65536));
  EXPECT_TRUE(output("SplitDataSize=0x80000000\n") ==
              "<SJ/><SJC/><SC/><VC/>"
              "<SD><d:datasize>65536</d:datasize><d:continue>OFF</d:continue></SD>" +
                  bytes.substr(0, 65536) + "<EJ><d:datasize>65628</d:datasize></EJ>");
}

TEST_F(SendDataTest, WithoutASplitSizeTheDataStandBareAndAreNotCounted) {
  std::filesystem::remove(folder.path("SD.xml"));  // it is not opened
  for (const size_t size : {0U, 3U, 65536U, 65546U, 200000U}) {
    SCOPED_TRACE(size);
    const std::string bytes = dataBytes(size);
    data(bytes);
    const std::string want =
        "<SJ/><SJC/><SC/><VC/>" + bytes + "<EJ><d:datasize>25</d:datasize></EJ>";
    EXPECT_TRUE(output("") == want);
    // All ones is the same as not given.
    EXPECT_TRUE(output("SplitDataSize=0xFFFFFFFF\n") == want);
  }
}

TEST_F(SendDataTest, DataOfEveryByteComeThroughUnchanged) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  data(bytes);
  folder.write("SD.xml", "|");
  EXPECT_EQ(output("SplitDataSize=100\n"), "<SJ/><SJC/><SC/><VC/>|" + bytes.substr(0, 100) + "|" +
                                               bytes.substr(100, 100) + "|" + bytes.substr(200) +
                                               "<EJ><d:datasize>284</d:datasize></EJ>");
}

TEST_F(SendDataTest, AnExistingOutputIsReplaced) {
  folder.write("out.dat", std::string(1000, 'x'));
  data("");
  folder.write("EJ.xml", "<EJ/>\n");
  EXPECT_EQ(folder.run(sendDataJob("SplitDataSize=5\n")).code, 0);
  EXPECT_EQ(folder.text("out.dat"), "<SJ/><SJC/><SC/><VC/><EJ/>");
}

TEST_F(SendDataTest, AFolderAsDataFileIsAnEmptyFile) {
  std::filesystem::create_directory(folder.path("data.bin"));
  EXPECT_EQ(output("SplitDataSize=5\n"),
            "<SJ/><SJC/><SC/><VC/><EJ><d:datasize>25</d:datasize></EJ>");
}

TEST_F(SendDataTest, ARelativeDataFileIsRelativeToTheCurrentFolder) {
  folder.write("cwd/here.bin", "abc");
  folder.write("here.bin", "beside the configuration");
  const JobResult r = folder.run(
      "[Global]\nOutFilePath=\"@/out.dat\"\nSendDataFile=\"here.bin\"\n" + std::string(kTemplates));
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(folder.text("out.dat"), "<SJ/><SJC/><SC/><VC/>abc<EJ><d:datasize>25</d:datasize></EJ>");
}

TEST_F(SendDataTest, PagesAndRasterSettingsBesideADataFileSendNothing) {
  data("abc");
  folder.write("k.tif", "");
  const std::string raster =
      "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n"
      "[Image]\nImageFileK=\"@/k.tif\"\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\n"
      "CompressionMode=0\n";
  EXPECT_EQ(output("", raster), "<SJ/><SJC/><SC/><VC/>abc<EJ><d:datasize>25</d:datasize></EJ>");
}

// Templates ---------------------------------------------------------------------------------------

TEST_F(SendDataTest, WithoutItsKeyThereIsNoVendorCommand) {
  data("");
  const JobResult r = folder.run(
      "[Global]\nOutFilePath=\"@/out.dat\"\nSendDataFile=\"@/data.bin\"\n[ODAX]\n"
      "StartJobXmlFile=\"@/SJ.xml\"\nSetJobConfigurationXmlFile=\"@/SJC.xml\"\n"
      "SetConfigurationXmlFile=\"@/SC.xml\"\nEndJobXmlFile=\"@/EJ.xml\"\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(folder.text("out.dat"), "<SJ/><SJC/><SC/><EJ><d:datasize>20</d:datasize></EJ>");
}

TEST_F(SendDataTest, LongLinesOfJobPacketsLoseMultiplesOf256BytesAndAreCountedWhole) {
  struct Case {
    size_t length;
    size_t written;
    const char* end;  // 16 bytes of the other packets, 4 of EndJob, and the line as counted
  };
  const Case kCases[] = {
      {255, 255, "<EJ><d:datasize>275</d:datasize></EJ>"},
      {256, 0, "<EJ><d:datasize>276</d:datasize></EJ>"},
      {257, 1, "<EJ><d:datasize>277</d:datasize></EJ>"},
      {300, 44, "<EJ><d:datasize>320</d:datasize></EJ>"},
      {1023, 255, "<EJ><d:datasize>1043</d:datasize></EJ>"},
      {1024, 0, "<EJ><d:datasize>1044</d:datasize></EJ>"},
      {1025, 0, "<EJ><d:datasize>1044</d:datasize></EJ>"},
  };
  data("");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.length);
    const std::string line(c.length, 'x');
    folder.write("SJ.xml", line + "\n");
    EXPECT_EQ(output("SplitDataSize=5\n"), line.substr(0, c.written) + "<SJC/><SC/><VC/>" + c.end);
  }
}

TEST_F(SendDataTest, LongLinesOfSendDataPacketsAreWrittenAsCounted) {
  struct Case {
    size_t length;
    std::string written;
    const char* splitEnd;  // two packets of one and two bytes
    const char* oneEnd;
  };
  const Case kCases[] = {
      {255, std::string(255, 'x'), "<EJ><d:datasize>538</d:datasize></EJ>",
       "<EJ><d:datasize>283</d:datasize></EJ>"},
      {256, std::string(256, 'x'), "<EJ><d:datasize>540</d:datasize></EJ>",
       "<EJ><d:datasize>284</d:datasize></EJ>"},
      {257, std::string(257, 'x'), "<EJ><d:datasize>542</d:datasize></EJ>",
       "<EJ><d:datasize>285</d:datasize></EJ>"},
      {300, std::string(300, 'x'), "<EJ><d:datasize>628</d:datasize></EJ>",
       "<EJ><d:datasize>328</d:datasize></EJ>"},
      {1023, std::string(1023, 'x'), "<EJ><d:datasize>2074</d:datasize></EJ>",
       "<EJ><d:datasize>1051</d:datasize></EJ>"},
      {1024, std::string(1023, 'x') + "\0"s, "<EJ><d:datasize>2076</d:datasize></EJ>",
       "<EJ><d:datasize>1052</d:datasize></EJ>"},
      {1025, std::string(1023, 'x') + "\0"s, "<EJ><d:datasize>2076</d:datasize></EJ>",
       "<EJ><d:datasize>1052</d:datasize></EJ>"},
  };
  data("abc");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.length);
    folder.write("SD.xml", std::string(c.length, 'x') + "\n");
    EXPECT_EQ(output("SplitDataSize=2\n"),
              "<SJ/><SJC/><SC/><VC/>" + c.written + "ab" + c.written + "c" + c.splitEnd);
    EXPECT_EQ(output("SplitDataSize=0\n"), "<SJ/><SJC/><SC/><VC/>" + c.written + "abc" + c.oneEnd);
  }
}

TEST_F(SendDataTest, ALongLineOfEndJobCountsIntoTheSizeBehindIt) {
  data("");
  folder.write("EJ.xml", std::string(300, 'x') + "\n<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(output("SplitDataSize=5\n"),
            "<SJ/><SJC/><SC/><VC/>" + std::string(44, 'x') + "<d:datasize>321</d:datasize>");
}

TEST_F(SendDataTest, LineEndsAreNotWritten) {
  data("abc");
  struct Case {
    const char* name;
    const char* end;
  };
  for (const Case& c : {Case{"CR LF", "\r\n"}, Case{"CR", "\r"}, Case{"LF CR", "\n\r"},
                        Case{"empty lines", "\n\n\r\n"}}) {
    SCOPED_TRACE(c.name);
    folder.write("SJ.xml", "<a>"s + c.end + " <b/>" + c.end + "</a>" + c.end);
    folder.write("SD.xml",
                 "<d:datasize>0</d:datasize>"s + c.end + "<d:continue>-</d:continue>" + c.end);
    folder.write("EJ.xml", "<EJ>"s + c.end + "<d:datasize>0</d:datasize>" + c.end + "</EJ>");
    EXPECT_EQ(output("SplitDataSize=5\n"),
              "<a> <b/></a><SJC/><SC/><VC/>"
              "<d:datasize>3</d:datasize><d:continue>OFF</d:continue>abc"
              "<EJ><d:datasize>89</d:datasize></EJ>");
  }
}

TEST_F(SendDataTest, AByteOrderMarkIsDroppedExceptInSendDataPackets) {
  const std::string mark = "\xEF\xBB\xBF";
  data("abc");
  folder.write("SJ.xml", mark + "<SJ/>\n");
  folder.write("SJC.xml", mark + "<SJC/>\n");
  folder.write("SC.xml", mark + "<SC/>\n");
  folder.write("VC.xml", mark + "<VC/>\n");
  folder.write("SD.xml", mark + "<SD/>\n");
  folder.write("EJ.xml", mark + "<EJ>\n<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(output("SplitDataSize=2\n"),
            "<SJ/><SJC/><SC/><VC/>\xEF\xBB\xBF<SD/>ab\xEF\xBB\xBF<SD/>c"
            "<EJ><d:datasize>44</d:datasize>");
  EXPECT_EQ(output("SplitDataSize=0\n"),
            "<SJ/><SJC/><SC/><VC/>\xEF\xBB\xBF<SD/>abc<EJ><d:datasize>36</d:datasize>");
}

TEST_F(SendDataTest, NulBytesOfTemplatesAreWritten) {
  data("abc");
  folder.write("SJ.xml", "a\0b\n\0\n"s);
  folder.write("SD.xml", "<d:datasize>0</d:datasize>\nc\0d\n"s);
  folder.write("EJ.xml", "e\0\n<d:datasize>0</d:datasize>\n"s);
  EXPECT_EQ(output("SplitDataSize=5\n"),
            "a\0b\0<SJC/><SC/><VC/><d:datasize>3</d:datasize>c\0dabc"
            "e\0<d:datasize>54</d:datasize>"s);
}

TEST_F(SendDataTest, EmptyTemplatesMakeEmptyPackets) {
  data("abc");
  for (const char* name : {"SJ.xml", "SJC.xml", "SC.xml", "VC.xml", "SD.xml", "EJ.xml"})
    folder.write(name, "");
  EXPECT_EQ(output("SplitDataSize=2\n"), "abc");
  EXPECT_EQ(output("SplitDataSize=0\n"), "abc");
}

// Overrides ---------------------------------------------------------------------------------------

TEST_F(SendDataTest, OverridesReachEveryPacketAndChangeTheSizes) {
  data("abc");
  folder.write("SJ.xml", "<x:K>1</x:K>\n<x:L>1</x:L>\n");
  folder.write("SJC.xml", "<s name=\"K\">long value</s>\n");
  folder.write("SC.xml", "<K>1</K>\n");
  folder.write("VC.xml", "<x:K>5</x:K><y/>\n");
  folder.write("SD.xml", "<x:K>5</x:K>\n<d:datasize>0</d:datasize>\n");
  folder.write("EJ.xml", "<x:K>5</x:K>\n<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(output("SplitDataSize=2\n", "K=2222\nL=ODAXGEN_SUPPRESSION\n"),
            "<x:K>2222</x:K>"
            "<s name=\"K\">2222</s>"
            "<K>1</K>"
            "<x:K>2222<y/>"
            "<x:K>2222</x:K><d:datasize>2</d:datasize>ab"
            "<x:K>2222</x:K><d:datasize>1</d:datasize>c"
            "<x:K>2222</x:K><d:datasize>156</d:datasize>");
}

TEST_F(SendDataTest, ALineThatGrowsPast255BytesIsCutInJobPacketsOnly) {
  data("abc");
  const std::string line = "<x:K>1</x:K>" + std::string(243, 'x') + "\n";  // 255 bytes
  folder.write("SJ.xml", line);
  folder.write("SD.xml", line);
  folder.write("EJ.xml", "<d:datasize>0</d:datasize>\n");
  const std::string grown = "<x:K>22</x:K>" + std::string(243, 'x');  // 256 bytes
  EXPECT_EQ(output("SplitDataSize=5\n", "K=22\n"),
            "<SJC/><SC/><VC/>" + grown + "abc<d:datasize>531</d:datasize>");
  const std::string more = "<x:K>4444</x:K>" + std::string(243, 'x');  // 258 bytes
  EXPECT_EQ(output("SplitDataSize=5\n", "K=4444\n"),
            "<x<SJC/><SC/><VC/>" + more + "abc<d:datasize>535</d:datasize>");
}

TEST_F(SendDataTest, ALineThatShrinksBelow256BytesIsWrittenWhole) {
  data("");
  folder.write("SJ.xml", "<x:K>22</x:K>" + std::string(243, 'x') + "\n");  // 256 bytes
  folder.write("EJ.xml", "<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(
      output("SplitDataSize=5\n", "K=1\n"),
      "<x:K>1</x:K>" + std::string(243, 'x') + "<SJC/><SC/><VC/><d:datasize>271</d:datasize>");
}

TEST_F(SendDataTest, ACountThatOverridesMadeTooSmallCutsTheLine) {
  data("abc");
  // The value has no end in its line: nothing is replaced, but the count shrinks by 3, to 0 at
  // most.
  folder.write("SJ.xml", "<s name=\"K\">1234\n<x/>\n");
  folder.write("SD.xml", "<s name=\"K\">1234\n<x/>\n");
  folder.write("EJ.xml", "<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(output("SplitDataSize=5\n", "K=1\n"),
            "<s name=\"K\">1<x/><SJC/><SC/><VC/><s name=\"K\">1<x/>abc<d:datasize>53</d:datasize>");
  EXPECT_EQ(output("SplitDataSize=5\n", "K=\"\"\nK=\"\"\nK=\"\"\nK=\"\"\nK=\"\"\n"),
            "<x/><SJC/><SC/><VC/><x/>abc<d:datasize>27</d:datasize>");
}

TEST_F(SendDataTest, ACountThatOverridesMadeTooGreatWritesWhatEarlierLinesLeft) {
  data("abc");
  folder.write("SD.xml", "ABCDEFGHIJ\n1</x:K>\n12345</x:K>\n");
  folder.write("EJ.xml", "<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(output("SplitDataSize=5\n", "K=333\n"),
            "<SJ/><SJC/><SC/><VC/>"
            "ABCDEFGHIJ"
            "1</x:K>\0IJ"
            "12345</x:K>\0\0\0"
            "abc"
            "<d:datasize>58</d:datasize>"s);
}

TEST_F(SendDataTest, ACountStaysBelow1025) {
  data("abc");
  // Four values of 300 characters are counted in, none of them is put in.
  const std::string pair = "K=" + std::string(300, 'v') + "\n";
  folder.write("SD.xml", "</x:K>\n!\n");
  folder.write("EJ.xml", "<d:datasize>0</d:datasize>\n");
  EXPECT_EQ(output("SplitDataSize=5\n", pair + pair + pair + pair),
            "<SJ/><SJC/><SC/><VC/></x:K>" + std::string(1018, '\0') +
                "!abc<d:datasize>1049</d:datasize>");
}

TEST_F(SendDataTest, The128thPairIsAppliedToo) {
  data("");
  std::string pairs;
  for (int i = 0; i < 127; ++i) pairs += "none" + std::to_string(i) + "=x\n";
  folder.write("SJ.xml", "<x:K>1</x:K>\n");
  folder.write("EJ.xml", "<EJ/>\n");
  EXPECT_EQ(output("SplitDataSize=5\n", pairs + "K=last\n"),
            "<x:K>last</x:K><SJC/><SC/><VC/><EJ/>");
}

}  // namespace
