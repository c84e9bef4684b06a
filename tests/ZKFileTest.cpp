// Tests of ZKFile: what each operation leaves on the disk, returns and prints.
#include "ZKFile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "Capture.h"
#include "Faults.h"
#include "TempFolder.h"

namespace {

// Works in a fresh folder, and leaves no stream behind for the next test.
class ZKFileTest : public testing::Test {
 protected:
  void SetUp() override {
    before_ = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
  }
  void TearDown() override { std::filesystem::current_path(before_); }

  TempFolder folder;

 private:
  std::filesystem::path before_;
};

// A name for the module while it lives.
class Named {
 public:
  explicit Named(const std::string& path) { ZKFile_NewWithName(path.c_str()); }
  ~Named() { ZKFile_Delete(); }
  Named(const Named&) = delete;
  Named& operator=(const Named&) = delete;
};

TEST_F(ZKFileTest, TheBytesWrittenStandInTheNamedFileAfterClosing) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  ZKFile_Write("ab\0c", 4);
  ZKFile_Write("\xFF", 1);
  ZKFile_Close();
  EXPECT_EQ(folder.bytes("out.dat"), (Bytes{'a', 'b', 0, 'c', 0xFF}));
}

TEST_F(ZKFileTest, WithoutANameTheFileIsODAXDatInTheCurrentFolder) {
  struct Case {
    const char* name;
    void (*create)();
  };
  const Case kCases[] = {
      {"null", [] { ZKFile_NewWithName(nullptr); }},
      {"empty", [] { ZKFile_NewWithName(""); }},
      {"ZKFile_New", [] { ZKFile_New(); }},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove("ODAX.dat");
    c.create();
    EXPECT_EQ(ZKFile_Open(), 0);
    ZKFile_Write("x", 1);
    ZKFile_Delete();
    EXPECT_EQ(folder.text("ODAX.dat"), "x");
  }
}

TEST_F(ZKFileTest, TheNameIsCopied) {
  std::string name = folder.path("kept.dat");
  ZKFile_NewWithName(name.c_str());
  name.assign(name.size(), 'z');
  EXPECT_EQ(ZKFile_Open(), 0);
  ZKFile_Delete();
  EXPECT_TRUE(folder.exists("kept.dat"));
}

TEST_F(ZKFileTest, NamingAFileDoesNotTouchIt) {
  const std::string path = folder.write("out.dat", "old");
  const Named file(path);
  EXPECT_EQ(folder.text("out.dat"), "old");
}

TEST_F(ZKFileTest, OpeningTruncatesAnExistingFile) {
  const Named file(folder.write("out.dat", "old content"));
  ASSERT_EQ(ZKFile_Open(), 0);
  EXPECT_EQ(folder.text("out.dat"), "");
  ZKFile_Write("new", 3);
  ZKFile_Close();
  EXPECT_EQ(folder.text("out.dat"), "new");
}

TEST_F(ZKFileTest, AFileThatCannotBeOpenedIsReportedByName) {
  const std::string path = folder.path("no/such/folder/out.dat");
  const Named file(path);
  int32_t result = 0;
  const std::string errors = errorsOf([&] { result = ZKFile_Open(); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errors, "ERROR!: Can't open the file \"" + path + "\".\n");
}

TEST_F(ZKFileTest, ATemporaryFileThatCannotBeOpenedIsReportedByItsOwnName) {
  const std::string path = folder.path("no/such/folder/temp.dat");
  const Named file(folder.path("out.dat"));
  int32_t result = 0;
  const std::string errors = errorsOf([&] { result = ZKFile_OpenTemp(path.c_str()); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errors, "ERROR!: Can't open the file \"" + path + "\".\n");
}

TEST_F(ZKFileTest, AfterAFailedOpeningThereIsNothingToClose) {
  const Named file(folder.path("no/such/folder/out.dat"));
  errorsOf([] { ZKFile_Open(); });
  EXPECT_EQ(ZKFile_Flush(), EOF);
  ZKFile_Close();
  EXPECT_EQ(ZKFile_OpenTemp(folder.path("temp.dat").c_str()), 0);
  ZKFile_Close();
}

TEST_F(ZKFileTest, ATemporaryFileLeavesTheStoredNameAsItIs) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_OpenTemp(folder.path("temp.dat").c_str()), 0);
  ZKFile_Write("first", 5);
  ZKFile_Close();
  EXPECT_FALSE(folder.exists("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  ZKFile_Write("second", 6);
  ZKFile_Close();
  EXPECT_EQ(folder.text("temp.dat"), "first");
  EXPECT_EQ(folder.text("out.dat"), "second");
}

TEST_F(ZKFileTest, OpeningATemporaryFileTruncatesIt) {
  const std::string path = folder.write("temp.dat", "old");
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_OpenTemp(path.c_str()), 0);
  ZKFile_Close();
  EXPECT_EQ(folder.text("temp.dat"), "");
}

TEST_F(ZKFileTest, ClosingTwiceIsHarmless) {
  const Named file(folder.path("out.dat"));
  ZKFile_Close();
  ASSERT_EQ(ZKFile_Open(), 0);
  ZKFile_Write("x", 1);
  ZKFile_Close();
  ZKFile_Close();
  EXPECT_EQ(folder.text("out.dat"), "x");
}

TEST_F(ZKFileTest, DeletingClosesAnOpenFile) {
  ZKFile_NewWithName(folder.path("out.dat").c_str());
  ASSERT_EQ(ZKFile_Open(), 0);
  ZKFile_Write("x", 1);
  ZKFile_Delete();
  EXPECT_EQ(folder.text("out.dat"), "x");
}

TEST_F(ZKFileTest, WritingNoBytesWritesNothing) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  ZKFile_Write("abc", 0);
  ZKFile_Close();
  EXPECT_EQ(folder.text("out.dat"), "");
}

TEST_F(ZKFileTest, FlushingMakesTheBytesVisible) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  ZKFile_Write("abc", 3);
  EXPECT_EQ(ZKFile_Flush(), 0);
  EXPECT_EQ(folder.text("out.dat"), "abc");
  ZKFile_Close();
}

TEST_F(ZKFileTest, AByteIsTheLowOneOfTheValue) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  EXPECT_EQ(ZKFile_WriteByte(0x41), 1);
  EXPECT_EQ(ZKFile_WriteByte(0x1234), 1);
  EXPECT_EQ(ZKFile_WriteByte(-1), 1);
  EXPECT_EQ(ZKFile_WriteByte(0), 1);
  ZKFile_Close();
  EXPECT_EQ(folder.bytes("out.dat"), (Bytes{0x41, 0x34, 0xFF, 0x00}));
}

TEST_F(ZKFileTest, WordsAndLongsAreWrittenInBothByteOrders) {
  struct Case {
    const char* name;
    int (*write)(uint32_t, int);
    uint32_t value;
    int littleEndian;
    Bytes want;
  };
  const Case kCases[] = {
      {"word, flag set", ZKFile_WriteWord, 0x1234, 1, {0x34, 0x12}},
      {"word, flag clear", ZKFile_WriteWord, 0x1234, 0, {0x12, 0x34}},
      {"word, any flag that is not 0", ZKFile_WriteWord, 0x1234, 0x80, {0x34, 0x12}},
      {"word, a flag whose low 8 bits are 0", ZKFile_WriteWord, 0x1234, 0x100, {0x12, 0x34}},
      {"word, upper half ignored", ZKFile_WriteWord, 0xABCD1234, 1, {0x34, 0x12}},
      {"word, upper half ignored, high first", ZKFile_WriteWord, 0xABCD1234, 0, {0x12, 0x34}},
      {"long, flag set", ZKFile_WriteLong, 0x12345678, 1, {0x78, 0x56, 0x34, 0x12}},
      {"long, flag clear", ZKFile_WriteLong, 0x12345678, 0, {0x12, 0x34, 0x56, 0x78}},
      {"long, any flag that is not 0", ZKFile_WriteLong, 0x12345678, -1, {0x78, 0x56, 0x34, 0x12}},
      {"long, a flag whose low 8 bits are 0",
       ZKFile_WriteLong,
       0x12345678,
       0x7F00,
       {0x12, 0x34, 0x56, 0x78}},
      {"long, top bit set", ZKFile_WriteLong, 0xFEDCBA98, 0, {0xFE, 0xDC, 0xBA, 0x98}},
  };
  const Named file(folder.path("out.dat"));
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(ZKFile_Open(), 0);
    EXPECT_EQ(c.write(c.value, c.littleEndian), 1);
    ZKFile_Close();
    EXPECT_EQ(folder.bytes("out.dat"), c.want);
  }
}

TEST_F(ZKFileTest, ATextIsWrittenAsOneItemWithoutItsNul) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  EXPECT_EQ(ZKFile_WriteCString("hello"), 1);
  ZKFile_Close();
  EXPECT_EQ(folder.text("out.dat"), "hello");
}

TEST_F(ZKFileTest, AnEmptyTextIsNoItem) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  EXPECT_EQ(ZKFile_WriteCString(""), 0);
  ZKFile_Close();
  EXPECT_EQ(folder.text("out.dat"), "");
}

TEST_F(ZKFileTest, ReadingGivesTheBytesThatAreThereAndTheirNumber) {
  const Named file(folder.path("out.dat"));
  ASSERT_EQ(ZKFile_Open(), 0);
  folder.write("out.dat", "abcdef");  // behind the module's back, so that there is what to read
  const std::unique_ptr<char[]> four(new char[4]);
  EXPECT_EQ(ZKFile_Read(four.get(), 4), 4);
  EXPECT_EQ(std::string(four.get(), 4), "abcd");
  EXPECT_EQ(ZKFile_Read(four.get(), 4), 2);
  EXPECT_EQ(std::string(four.get(), 4), "efcd");
  EXPECT_EQ(ZKFile_Read(four.get(), 4), 0);
  EXPECT_EQ(ZKFile_Read(four.get(), 0), 0);
  ZKFile_Close();
}

TEST_F(ZKFileTest, WithoutMemoryThePathStaysUnsetSilently) {
  const std::string path = folder.path("out.dat");
  EXPECT_EQ(errorsOf([&path] {
              const FaultInjection injection(Fault::kAllocation, 1);
              ZKFile_NewWithName(path.c_str());
            }),
            "");
  int32_t result = 0;
  errorsOf([&result] { result = ZKFile_Open(); });
  EXPECT_EQ(result, -1);
  ZKFile_Delete();
  EXPECT_FALSE(folder.exists("out.dat"));
}

TEST_F(ZKFileTest, AWriteThatFailsIsNotReported) {
  std::error_code none;
  if (!std::filesystem::exists("/dev/full", none)) GTEST_SKIP() << "no device that is always full";
  const Named file("/dev/full");
  int flushed = 0;
  const std::string errors = errorsOf([&flushed] {
    ZKFile_Open();
    ZKFile_Write("abc", 3);
    flushed = ZKFile_Flush();
    ZKFile_Close();
  });
  EXPECT_NE(flushed, 0);
  EXPECT_EQ(errors, "");
}

}  // namespace
