// Tests of the packet writer's life cycle and data path: buffer, flushes, template paths, temporary
// file and external data.
#include "ODAXOutLib.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Capture.h"
#include "JobFolder.h"
#include "ODAXState.h"
#include "Thrown.h"

namespace {

using namespace std::string_literals;

// A packet writer for @/out.dat with the folder's SendData and EndJob templates.
class PacketWriter {
 public:
  PacketWriter(const JobFolder& folder, uint32_t splitSize) {
    ODAX_SetSplitDataSize(splitSize);
    ODAX_NewWithName(folder.path("out.dat").c_str());
    ODAX_SD_XMLFilePath(folder.path("SD.xml").c_str());
    ODAX_EJ_XMLFilePath(folder.path("EJ.xml").c_str());
  }
  ~PacketWriter() { ODAX_Delete(); }
  PacketWriter(const PacketWriter&) = delete;
  PacketWriter& operator=(const PacketWriter&) = delete;
};

void send(std::string_view data) {
  ODAX_SendData(data.data(), static_cast<int32_t>(data.size()));
}

class OutLibTest : public testing::Test {
 protected:
  // A template that marks where a packet begins, and nothing else.
  void SetUp() override { folder.write("SD.xml", "|"); }
  JobFolder folder;
};

// Life cycle --------------------------------------------------------------------------------------

TEST_F(OutLibTest, TheBufferHasTheSplitSizeOr64KiB) {
  struct Case {
    const char* name;
    uint32_t splitSize;
    uint32_t bytes;
  };
  const Case kCases[] = {
      {"0", 0, 65536},
      {"1", 1, 1},
      {"1000", 1000, 1000},
      {"more than 64 KiB", 100000, 100000},
      {"the least negative number", 0xFFFFFFFF, 65536},
      {"the greatest negative number", 0x80000000, 65536},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const PacketWriter writer(folder, c.splitSize);
    EXPECT_EQ(mSplitDataSize, static_cast<int32_t>(c.splitSize));
    EXPECT_EQ(mWriteBufferBytes, c.bytes);
    EXPECT_NE(mWriteBufferP, nullptr);
  }
}

TEST_F(OutLibTest, ANewWriterHasNoPathsPairsAndCounts) {
  mJobDataSize = mTempJobDataSize = mIsExistVC = 5;
  for (char* path : {mSJ_XMLFilePath, mSJC_XMLFilePath, mSC_XMLFilePath, mVC_XMLFilePath,
                     mSD_XMLFilePath, mEJ_XMLFilePath})
    path[0] = 'x';
  ODAX_NewWithName(folder.path("out.dat").c_str());
  for (const char* path : {mSJ_XMLFilePath, mSJC_XMLFilePath, mSC_XMLFilePath, mVC_XMLFilePath,
                           mSD_XMLFilePath, mEJ_XMLFilePath})
    EXPECT_STREQ(path, "");
  EXPECT_EQ(mJobDataSize, 0U);
  EXPECT_EQ(mTempJobDataSize, 0U);
  EXPECT_EQ(mIsExistVC, 0U);
  for (const CText& key : mOverRideKeyList) EXPECT_EQ(key, nullptr);
  for (const CText& value : mOverRideValueList) EXPECT_EQ(value, nullptr);
  ODAX_Delete();
}

TEST_F(OutLibTest, WithoutANameTheOutputIsODAXDatInTheCurrentFolder) {
  struct Case {
    const char* name;
    void (*create)();
  };
  for (const Case& c :
       {Case{"null", [] { ODAX_NewWithName(nullptr); }},
        Case{"empty", [] { ODAX_NewWithName(""); }}, Case{"ODAX_New", [] { ODAX_New(); }}}) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove("ODAX.dat");
    c.create();
    EXPECT_EQ(ODAX_Open(), 0);
    ODAX_Delete();
    EXPECT_TRUE(folder.exists("cwd/ODAX.dat"));
  }
}

TEST_F(OutLibTest, InitClearsPathsAndCountsAndLeavesBufferAndFile) {
  const PacketWriter writer(folder, 10);
  ASSERT_EQ(ODAX_Open(), 0);
  send("abc");
  mJobDataSize = mTempJobDataSize = mIsExistVC = 5;
  ODAX_Init();
  EXPECT_STREQ(mSD_XMLFilePath, "");
  EXPECT_STREQ(mEJ_XMLFilePath, "");
  EXPECT_EQ(mJobDataSize, 0U);
  EXPECT_EQ(mTempJobDataSize, 0U);
  EXPECT_EQ(mIsExistVC, 0U);
  EXPECT_EQ(mWriteBufferBytes, 10U);
  EXPECT_EQ(mWriteIndex, 3U);
  ODAX_SD_XMLFilePath(folder.path("SD.xml").c_str());
  ODAX_Flush();
  ODAX_Close();
  EXPECT_EQ(folder.text("out.dat"), "|abc");
}

TEST_F(OutLibTest, OpeningEmptiesTheBufferAndTruncatesTheFile) {
  folder.write("out.dat", "old");
  const PacketWriter writer(folder, 10);
  send("abc");
  EXPECT_EQ(mWriteIndex, 3U);
  EXPECT_EQ(ODAX_Open(), 0);
  EXPECT_EQ(mWriteIndex, 0U);
  EXPECT_EQ(folder.text("out.dat"), "");
}

TEST_F(OutLibTest, AnOutputThatCannotBeOpenedIsReported) {
  ODAX_NewWithName(folder.path("none/out.dat").c_str());
  Capture capture;
  EXPECT_EQ(ODAX_Open(), -1);
  EXPECT_EQ(folder.shorten(capture.err()), "ERROR!: Can't open the file \"@/none/out.dat\".\n");
  ODAX_Delete();
}

TEST_F(OutLibTest, ClosingDoesNotFlushTheBuffer) {
  const PacketWriter writer(folder, 10);
  ASSERT_EQ(ODAX_Open(), 0);
  send("abc");
  ODAX_Close();
  EXPECT_EQ(folder.text("out.dat"), "");
}

// Template paths ----------------------------------------------------------------------------------

struct PathSetter {
  const char* name;
  void (*set)(const char*);
  const char* path;
};
const PathSetter kSetters[] = {
    {"SJ", ODAX_SJ_XMLFilePath, mSJ_XMLFilePath}, {"SJC", ODAX_SJC_XMLFilePath, mSJC_XMLFilePath},
    {"SC", ODAX_SC_XMLFilePath, mSC_XMLFilePath}, {"VC", ODAX_VC_XMLFilePath, mVC_XMLFilePath},
    {"SD", ODAX_SD_XMLFilePath, mSD_XMLFilePath}, {"EJ", ODAX_EJ_XMLFilePath, mEJ_XMLFilePath},
};

TEST_F(OutLibTest, TemplatePathsAreCompletedWithTheApplicationsFolder) {
  for (const PathSetter& s : kSetters) {
    SCOPED_TRACE(s.name);
    s.set("/t/a.xml");
    EXPECT_STREQ(s.path, "/t/a.xml");
    s.set("../t/b.xml");
    EXPECT_EQ(s.path, executableFolder() + "/../t/b.xml");
    const std::string longest = "/" + std::string(258, 'x');
    s.set(longest.c_str());
    EXPECT_EQ(s.path, longest);
  }
  ODAX_Init();
}

TEST_F(OutLibTest, ATemplatePathThatDoesNotResolveLeavesTheTemplateWithoutPath) {
  for (const PathSetter& s : kSetters) {
    SCOPED_TRACE(s.name);
    s.set("/t/a.xml");
    s.set(("/" + std::string(259, 'x')).c_str());
    EXPECT_STREQ(s.path, "");
    s.set("/t/a.xml");
    s.set(std::string(259, 'x').c_str());
    EXPECT_STREQ(s.path, "");
  }
}

TEST_F(OutLibTest, EachSetterSetsItsOwnTemplate) {
  for (const PathSetter& s : kSetters) s.set(("/"s + s.name).c_str());
  for (const PathSetter& s : kSetters) EXPECT_EQ(s.path, "/"s + s.name);
  ODAX_Init();
}

// Data --------------------------------------------------------------------------------------------

TEST_F(OutLibTest, AFullBufferIsOnePacket) {
  struct Case {
    const char* name;
    std::vector<const char*> writes;
    const char* file;  // before the last flush
    uint32_t waiting;
  };
  const Case kCases[] = {
      {"less than the room waits", {"abcd"}, "", 4},
      {"exactly the room is flushed at once", {"abcde"}, "|abcde", 0},
      {"one more leaves one", {"abcdef"}, "|abcde", 1},
      {"two buffers", {"abcdefghij"}, "|abcde|fghij", 0},
      {"two buffers and more", {"abcdefghijk"}, "|abcde|fghij", 1},
      {"several writes", {"ab", "c", "de", "f"}, "|abcde", 1},
      {"a write across the end", {"abc", "defg"}, "|abcde", 2},
      {"the room that is left", {"abc", "de"}, "|abcde", 0},
      {"the room that is left and one", {"abc", "def"}, "|abcde", 1},
      {"nothing", {""}, "", 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const PacketWriter writer(folder, 5);
    ASSERT_EQ(ODAX_Open(), 0);
    for (const char* text : c.writes) send(text);
    EXPECT_EQ(mWriteIndex, c.waiting);
    ODAX_Close();
    EXPECT_EQ(folder.text("out.dat"), c.file);
  }
}

TEST_F(OutLibTest, ACountBelow1SendsNothing) {
  const PacketWriter writer(folder, 5);
  ASSERT_EQ(ODAX_Open(), 0);
  ODAX_SendData("abc", 0);
  ODAX_SendData("abc", -1);
  ODAX_SendData(nullptr, 0);
  EXPECT_EQ(mWriteIndex, 0U);
}

TEST_F(OutLibTest, AStringIsSentWithoutItsNul) {
  const PacketWriter writer(folder, 5);
  ASSERT_EQ(ODAX_Open(), 0);
  ODAX_SendCString("");
  ODAX_SendCString("ab");
  ODAX_SendCString("cd");
  EXPECT_EQ(mWriteIndex, 4U);
  ODAX_Flush();
  ODAX_Close();
  EXPECT_EQ(folder.text("out.dat"), "|abcd");
}

TEST_F(OutLibTest, FlushingAnEmptyBufferMakesNoPacket) {
  const PacketWriter writer(folder, 5);
  ODAX_SD_XMLFilePath(folder.path("none.xml").c_str());
  ASSERT_EQ(ODAX_Open(), 0);
  ODAX_Flush();
  EXPECT_EQ(mJobDataSize, 0U);
  ODAX_Close();
  EXPECT_EQ(folder.text("out.dat"), "");
}

TEST_F(OutLibTest, WithSplitSize0TheBufferGoesToTheOpenFileAndIsCounted) {
  const PacketWriter writer(folder, 0);
  ASSERT_EQ(ODAX_Open(), 0);
  const std::string data = dataBytes(65536 + 10);
  send(data);
  EXPECT_EQ(mWriteIndex, 10U);
  EXPECT_EQ(mTempJobDataSize, 65536U);
  ODAX_Flush();
  EXPECT_EQ(mWriteIndex, 0U);
  EXPECT_EQ(mTempJobDataSize, 65546U);
  EXPECT_EQ(mJobDataSize, 0U);
  ODAX_Close();
  EXPECT_TRUE(folder.text("out.dat") == data);
}

TEST_F(OutLibTest, TemporaryDataAreWrittenAndCounted) {
  const PacketWriter writer(folder, 5);
  ASSERT_EQ(ODAX_OpenTemp(), 0);
  sendTempDataRaster("abc", 3);
  sendTempDataRaster("de", 2);
  EXPECT_EQ(mTempJobDataSize, 5U);
  EXPECT_EQ(mJobDataSize, 0U);
  ODAX_Close();
  EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "abcde");
}

// Temporary file ----------------------------------------------------------------------------------

std::string tempPath() {
  char path[260] = {};
  getTempPath(260, path);
  return path;
}

TEST_F(OutLibTest, TheTemporaryFileLiesInTheTemporaryFolder) {
  struct Case {
    const char* name;
    const char* folder;
    const char* path;
  };
  const Case kCases[] = {
      {"a slash is put between", "/some/where", "/some/where/TEMP_ODAXGEN.dat"},
      {"a slash at the end is enough", "/some/where/", "/some/where/TEMP_ODAXGEN.dat"},
      {"relative", "here", "here/TEMP_ODAXGEN.dat"},
      {"empty stands for /tmp", "", "/tmp/TEMP_ODAXGEN.dat"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    setenv("TMPDIR", c.folder, 1);
    EXPECT_EQ(tempPath(), c.path);
  }
  unsetenv("TMPDIR");
  EXPECT_EQ(tempPath(), "/tmp/TEMP_ODAXGEN.dat");
}

TEST_F(OutLibTest, TheTemporaryFoldersPathHasAtMost243Characters) {
  const std::string fits = "/" + std::string(241, 'x') + "/";
  setenv("TMPDIR", fits.c_str(), 1);
  EXPECT_EQ(tempPath(), fits + "TEMP_ODAXGEN.dat");
  EXPECT_EQ(tempPath().size(), 259U);

  for (const size_t length : {242U, 257U}) {
    setenv("TMPDIR", ("/" + std::string(length, 'x') + "/").c_str(), 1);
    Capture capture;
    EXPECT_EQ(thrownBy([] { tempPath(); }), -68);
    EXPECT_EQ(capture.err(), "ERROR!: Configuration file has too int32_t filename.\n");
  }
}

TEST_F(OutLibTest, ATemporaryFolderThatDoesNotFitAtAllLeavesTheNameAlone) {
  setenv("TMPDIR", ("/" + std::string(300, 'x')).c_str(), 1);
  EXPECT_EQ(tempPath(), "TEMP_ODAXGEN.dat");
}

TEST_F(OutLibTest, OpeningTheTemporaryFileEmptiesTheBufferAndTruncatesTheFile) {
  folder.write("temp/TEMP_ODAXGEN.dat", "old");
  const PacketWriter writer(folder, 0);
  send("abc");
  EXPECT_EQ(ODAX_OpenTemp(), 0);
  EXPECT_EQ(mWriteIndex, 0U);
  EXPECT_EQ(folder.text("temp/TEMP_ODAXGEN.dat"), "");
  EXPECT_FALSE(folder.exists("out.dat"));
}

TEST_F(OutLibTest, ATemporaryFileThatCannotBeOpenedIsReported) {
  setenv("TMPDIR", folder.path("none").c_str(), 1);
  const PacketWriter writer(folder, 0);
  Capture capture;
  EXPECT_EQ(ODAX_OpenTemp(), -1);
  EXPECT_EQ(folder.shorten(capture.err()),
            "ERROR!: Can't open the file \"@/none/TEMP_ODAXGEN.dat\".\n");
}

// External data -----------------------------------------------------------------------------------

TEST_F(OutLibTest, AnExternalFileIsSentLikeRasterDataAndFlushed) {
  for (const size_t size : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 5000U}) {
    SCOPED_TRACE(size);
    const std::string data = dataBytes(size);
    const PacketWriter writer(folder, 1000);
    ASSERT_EQ(ODAX_Open(), 0);
    readExternalFile(folder.write("data.bin", data).c_str());
    EXPECT_EQ(mWriteIndex, 0U);
    ODAX_Close();
    std::string want;
    for (size_t at = 0; at < size; at += 1000) want += "|" + data.substr(at, 1000);
    EXPECT_TRUE(folder.text("out.dat") == want);
  }
}

TEST_F(OutLibTest, AnExternalFileThatCannotBeOpenedIsReported) {
  const PacketWriter writer(folder, 1000);
  ASSERT_EQ(ODAX_Open(), 0);
  Capture capture;
  EXPECT_EQ(thrownBy([&] { readExternalFile(folder.path("none.bin").c_str()); }), -74);
  EXPECT_EQ(folder.shorten(capture.err()), "ERROR!: Can't open file \"@/none.bin\"\n");
}

TEST_F(OutLibTest, AFolderReadsAsAnEmptyExternalFile) {
  const PacketWriter writer(folder, 1000);
  ASSERT_EQ(ODAX_Open(), 0);
  readExternalFile(folder.path("cwd").c_str());
  ODAX_Close();
  EXPECT_EQ(folder.text("out.dat"), "");
}

TEST_F(OutLibTest, TheSplitSizeStaysUntilItIsSetAgain) {
  { const PacketWriter writer(folder, 1000); }
  ODAX_NewWithName(nullptr);
  EXPECT_EQ(mSplitDataSize, 1000);
  EXPECT_EQ(mWriteBufferBytes, 1000U);
  ODAX_Delete();
}

}  // namespace
