// Tests of the paths of a configuration: the three conversions of separators, the completion of
// relative paths, the files that must exist, and which paths each step touches.
#include "CFGPaths.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "CFGFile.h"
#include "Capture.h"
#include "JobFolder.h"
#include "Thrown.h"

namespace {

using namespace std::string_literals;

// What one conversion did with a path in a buffer of exactly 260 bytes.
struct Converted {
  std::string path;
  int result = 0;
  int code = 0;
  std::string err;
};

template <class Conversion>
Converted converted(Conversion&& conversion, const std::string& path) {
  const auto buffer = std::make_unique<char[]>(260);
  path.copy(buffer.get(), 259);
  Converted c;
  Capture capture;
  c.code = thrownBy([&] { c.result = conversion(buffer.get()); });
  c.err = capture.err();
  EXPECT_EQ(capture.out(), "");
  c.path = buffer.get();
  return c;
}

struct Case {
  const char* path;
  const char* want;
  int result;
};

std::string shown(std::string_view from, std::string_view to) {
  return "\nConverting directory separator...\n"s.append(from).append("\n->\n").append(to).append(
      "\n");
}

// Separators --------------------------------------------------------------------------------------

TEST(ToSlash, BackslashesAndColonsBecomeSlashes) {
  const Case kCases[] = {
      {"", "", 0},
      {"a/b.tif", "a/b.tif", 0},
      {"/abs/p.tif", "/abs/p.tif", 0},
      {"../a", "../a", 0},
      {"img\\page1.tif", "img/page1.tif", 1},
      {"\\a\\b", "/a/b", 1},
      {"a:b:c", "a/b/c", 1},
      {"a::b", "a//b", 1},
      {":a", "a", 1},
      {"::a", "../a", 1},
      {":::a", "../../a", 1},
      {":a:b", "a/b", 1},
      {"::a:b\\c", "../a/b/c", 1},
      {":", "", 1},
      {"::", "../", 1},
      {":\\a", "/a", 1},
      {"C:/x", "C//x", 1},
      {"C:x\\y", "C/x/y", 1},
      {"AB:\\x", "AB//x", 1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.path);
    const Converted r = converted(toSlash, c.path);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.result, c.result);
    EXPECT_EQ(r.path, c.want);
    EXPECT_EQ(r.err, c.result == 1 ? shown(c.path, c.want) : "");
  }
}

TEST(ToSlash, ADriveFormIsRefused) {
  for (const char* path : {"C:\\x", "c:\\", "1:\\a\\b", "::\\a"}) {
    SCOPED_TRACE(path);
    const Converted r = converted(toSlash, path);
    EXPECT_EQ(r.code, -37);
    EXPECT_EQ(r.err, "ERROR!: Can't convert dir separator.\n\""s + path + "\"\n");
    EXPECT_EQ(r.path, path);
  }
}

TEST(ToSlash, APathThatWouldGrowPast259CharactersIsRefusedAsItWas) {
  // 86 colons become 85 times "../", which is 255 characters.
  const std::string colons(86, ':');
  const Converted fits = converted(toSlash, colons + "abcd");
  EXPECT_EQ(fits.code, 0);
  EXPECT_EQ(fits.result, 1);
  EXPECT_EQ(fits.path.size(), 259U);
  EXPECT_EQ(fits.path.substr(252), "../abcd");

  const Converted over = converted(toSlash, colons + "abcde");
  EXPECT_EQ(over.code, -37);
  EXPECT_EQ(over.path, colons + "abcde");
  EXPECT_EQ(over.err, "ERROR!: Can't convert dir separator.\n\"" + colons + "abcde\"\n");

  EXPECT_EQ(converted(toSlash, std::string(259, ':')).code, -37);
}

TEST(ToSlash, TheLongestPathIsConverted) {
  const Converted r = converted(toSlash, std::string(259, '\\'));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.path, std::string(259, '/'));
}

TEST(ToBackSlash, SlashesAndColonsBecomeBackslashes) {
  const Case kCases[] = {
      {"", "", 0},           {"a\\b", "a\\b", 0},
      {"ab", "ab", 0},       {"a/b", "a\\b", 1},
      {"/a/b", "\\a\\b", 1}, {"../a", "..\\a", 1},
      {"a:b", "a\\b", 1},    {":a", "a", 1},
      {"::a", "..\\a", 1},   {":::a/b", "..\\..\\a\\b", 1},
      {"C:/x", "C\\\\x", 1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.path);
    const Converted r = converted(toBackSlash, c.path);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.result, c.result);
    EXPECT_EQ(r.path, c.want);
    EXPECT_EQ(r.err, c.result == 1 ? shown(c.path, c.want) : "");
  }
}

TEST(ToBackSlash, ADriveFormStaysWithoutAMessage) {
  for (const char* path : {"C:\\x", "C:\\a/b"}) {
    SCOPED_TRACE(path);
    const Converted r = converted(toBackSlash, path);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.path, path);
    EXPECT_EQ(r.err, "");
  }
}

TEST(ToColon, SlashesAndBackslashesBecomeColons) {
  const Case kCases[] = {
      {"", "", 0},
      {"a", "a", 0},
      {"a:b", "a:b", 0},
      {"a/b", ":a:b", 1},
      {"a\\b/c", ":a:b:c", 1},
      {"/a/b", "a:b", 1},
      {"\\a", "a", 1},
      {"../a", "::a", 1},
      {"..\\a", "::a", 1},
      {"../../a/b", ":::a:b", 1},
      {"../..\\a", ":::a", 1},
      {"a/../b", ":a:..:b", 1},
      {"./a", ":.:a", 1},
      {"..a/b", ":..a:b", 1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.path);
    const Converted r = converted(toColon, c.path);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.result, c.result);
    EXPECT_EQ(r.path, c.want);
    EXPECT_EQ(r.err, c.result == 1 ? shown(c.path, c.want) : "");
  }
}

TEST(ToColon, ADriveFormIsRefused) {
  const Converted r = converted(toColon, "C:\\x");
  EXPECT_EQ(r.code, -38);
  EXPECT_EQ(r.err, "ERROR!: Can't convert dir separator.\n\"C:\\x\"\n");
  EXPECT_EQ(r.path, "C:\\x");
}

// Completion --------------------------------------------------------------------------------------

class RecordTest : public testing::Test {
 protected:
  void SetUp() override {
    record.reset(static_cast<parameter*>(std::calloc(1, sizeof(parameter))));
    initCommonParameter(record.get());
    directory("/a/b");
  }
  void directory(const std::string& path) {
    std::memset(record->CFGFileDirectory, 0, kPathBytes);
    path.copy(record->CFGFileDirectory, kPathBytes - 1);
  }
  Converted complete(const std::string& path) {
    return converted([&](char* buffer) { return toFullPath(buffer, record.get()); }, path);
  }
  imageParameter* addPage() {
    imageParameter* const page = addImageParameter(record->lastImageParameter);
    initImageParameter(page);
    if (record->imageParameterList == nullptr) record->imageParameterList = page;
    record->lastImageParameter = page;
    return page;
  }
  imageProcessingFile* addTable(const std::string& path) {
    imageProcessingFile* const table = addImageProcessingFile(record->lastImageProcessingFile);
    if (record->imageProcessingFileList == nullptr) record->imageProcessingFileList = table;
    record->lastImageProcessingFile = table;
    path.copy(table->path, kPathBytes - 1);
    return table;
  }
  Converted step(void (*call)(parameter*)) {
    Converted c;
    Capture capture;
    c.code = thrownBy([&] { call(record.get()); });
    c.err = capture.err();
    return c;
  }

  ParameterOwner record;
};

TEST_F(RecordTest, RelativePathsBeginAtTheConfigurationsFolder) {
  const Case kCases[] = {
      {"", "", 0},
      {"/abs/p.tif", "/abs/p.tif", 0},
      {"/", "/", 0},
      {"p.tif", "/a/b/p.tif", 1},
      {"img/page1.tif", "/a/b/img/page1.tif", 1},
      {"./p", "/a/b/p", 1},
      {"././p", "/a/b/p", 1},
      {"../pages/p.tif", "/a/pages/p.tif", 1},
      {"./../p", "/a/p", 1},
      {".././p", "/a/p", 1},
      {"../../p", "/p", 1},
      {"../../../p", "/p", 1},
      {"../../../../../p/q", "/p/q", 1},
      {"p/../q", "/a/b/p/../q", 1},
      {"p/./q", "/a/b/p/./q", 1},
      {".hidden", "/a/b/.hidden", 1},
      {"..hidden", "/a/b/..hidden", 1},
      {".../p", "/a/b/.../p", 1},
      {".", "/a/b/.", 1},
      {"..", "/a/b/..", 1},
      {"./", "/a/b/", 1},
      {"../", "/a/", 1},
      {"..//p", "/a//p", 1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.path);
    const Converted r = complete(c.path);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.result, c.result);
    EXPECT_EQ(r.path, c.want);
    EXPECT_EQ(r.err, "");
  }
}

TEST_F(RecordTest, ACompletedPathHasAtMost259Characters) {
  const std::string rest(254, 'x');
  const Converted fits = complete(rest);
  EXPECT_EQ(fits.result, 1);
  EXPECT_EQ(fits.path, "/a/b/" + rest);

  const Converted over = complete(rest + "y");
  EXPECT_EQ(over.code, -40);
  EXPECT_EQ(over.err, "ERROR!: Can't open file \"/a/b/" + rest + "y\"\n");
}

TEST_F(RecordTest, TooLongACompletionIsMinus39ForATableFileAndMinus40ForTheRest) {
  const std::string longPath(255, 'x');
  const std::string err = "ERROR!: Can't open file \"/a/b/" + longPath + "\"\n";

  longPath.copy(record->OutFilePath, kPathBytes - 1);
  const Converted output = step(convertToFullPath);
  EXPECT_EQ(output.code, -40);
  EXPECT_EQ(output.err, err);

  addTable(longPath);  // table files come first
  const Converted table = step(convertToFullPath);
  EXPECT_EQ(table.code, -39);
  EXPECT_EQ(table.err, err);
}

TEST_F(RecordTest, TooLongACompletionOfAnImageFileIsMinus40) {
  const std::string longPath(255, 'x');
  for (const ImagePath file : kImageFiles) {
    imageParameter* const page = addPage();
    longPath.copy(page->*file, kPathBytes - 1);
    const Converted r = step(convertToFullPath);
    EXPECT_EQ(r.code, -40);
    EXPECT_EQ(r.err, "ERROR!: Can't open file \"/a/b/" + longPath + "\"\n");
    (page->*file)[0] = '\0';
  }
}

TEST_F(RecordTest, OutputTableAndImageFilesAreConvertedAndCompleted) {
  std::strcpy(record->OutFilePath, "o\\o");
  addTable("t\\1");
  addTable("t\\2");
  for (int i = 0; i < 2; ++i) {
    imageParameter* const page = addPage();
    for (const ImagePath file : kImageFiles) std::strcpy(page->*file, "p\\i");
  }
  std::strcpy(record->SendDataFile, "s\\s");
  PathText* const kAsWritten[] = {&record->SendDataFile,
                                  &record->StartJobXmlFile,
                                  &record->SetJobConfigurationXmlFile,
                                  &record->SetConfigurationXmlFile,
                                  &record->VendorCmdXmlFile,
                                  &record->SendDataXmlFile,
                                  &record->EndJobXmlFile};
  for (PathText* path : kAsWritten) std::strcpy(*path, "x\\x");

  std::string shownAll = shown("o\\o", "o/o") + shown("t\\1", "t/1") + shown("t\\2", "t/2");
  for (int i = 0; i < 34; ++i) shownAll += shown("p\\i", "p/i");
  const Converted conversion = step(convertDirSeparator);
  EXPECT_EQ(conversion.code, 0);
  EXPECT_EQ(conversion.err, shownAll);
  EXPECT_STREQ(record->OutFilePath, "o/o");

  const Converted completion = step(convertToFullPath);
  EXPECT_EQ(completion.code, 0);
  EXPECT_EQ(completion.err, "");
  EXPECT_STREQ(record->OutFilePath, "/a/b/o/o");
  EXPECT_STREQ(record->imageProcessingFileList->path, "/a/b/t/1");
  EXPECT_STREQ(record->imageProcessingFileList->next->path, "/a/b/t/2");
  for (const imageParameter* p = record->imageParameterList; p != nullptr; p = p->next)
    for (const ImagePath file : kImageFiles) EXPECT_STREQ(p->*file, "/a/b/p/i");
  for (PathText* path : kAsWritten) EXPECT_STREQ(*path, "x\\x");
}

// Existence ---------------------------------------------------------------------------------------

TEST_F(RecordTest, EveryImageFileMustExist) {
  const JobFolder folder;
  const std::string here = folder.write("here", "");
  const std::string gone = folder.path("gone");
  addTable(here);
  addPage();
  for (const ImagePath file : kImageFiles) {
    imageParameter* const page = addPage();
    here.copy(page->*file, kPathBytes - 1);
    EXPECT_EQ(step(checkIfFileExist).code, 0);
    gone.copy(page->*file, kPathBytes - 1);
    const Converted r = step(checkIfFileExist);
    EXPECT_EQ(r.code, -40);
    EXPECT_EQ(r.err, "ERROR!: Can't open file \"" + gone + "\"\n");
    (page->*file)[0] = '\0';
  }
}

TEST_F(RecordTest, EveryTableFileMustExistAndIsAskedForFirst) {
  const JobFolder folder;
  const std::string gone = folder.path("gone");
  gone.copy(addPage()->ImageFileK, kPathBytes - 1);
  addTable(folder.write("here", ""));
  addTable(folder.path("no-table"));
  const Converted r = step(checkIfFileExist);
  EXPECT_EQ(r.code, -39);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"" + folder.path("no-table") + "\"\n");
}

TEST_F(RecordTest, AnEmptyTableFileDoesNotExist) {
  addTable("");
  const Converted r = step(checkIfFileExist);
  EXPECT_EQ(r.code, -39);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"\"\n");
}

TEST_F(RecordTest, PresenceIsEnough) {
  const JobFolder folder;
  folder.path().copy(addPage()->ImageFileK, kPathBytes - 1);
  EXPECT_EQ(step(checkIfFileExist).code, 0);
}

TEST_F(RecordTest, OutputAndSendDataFilesNeedNotExist) {
  std::strcpy(record->OutFilePath, "/no/such/folder/o");
  std::strcpy(record->SendDataFile, "/no/such/folder/s");
  std::strcpy(record->StartJobXmlFile, "/no/such/folder/x");
  EXPECT_EQ(step(checkIfFileExist).code, 0);
}

// Through the reader ------------------------------------------------------------------------------

TEST(PathsInAFile, AreConvertedCompletedAndLookedFor) {
  const JobFolder folder;
  folder.write("img/page1.tif", "");
  const ReadResult r = folder.read(
      "[Global]\nOutFilePath=\":out:o\"\nImageProcessingFile=\"./img\\page1.tif\"\n[HXRaster]\n"
      "GraphicsResolutionH=1\nGraphicsResolutionV=1\n[Image]\nColorSpace=5\nNumOfPlanes=1\n"
      "CompressionMode=0\nPixelDepthK=1\nImageFileK=\"img\\page1.tif\"\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, shown(":out:o", "out/o") + shown("./img\\page1.tif", "./img/page1.tif") +
                       shown("img\\page1.tif", "img/page1.tif"));
  EXPECT_EQ(folder.shorten(r.record->OutFilePath), "@/out/o");
  EXPECT_EQ(folder.shorten(r.record->imageProcessingFileList->path), "@/img/page1.tif");
  EXPECT_EQ(folder.shorten(r.page()->ImageFileK), "@/img/page1.tif");
}

TEST(PathsInAFile, TheDefaultOutputFileIsConvertedAndCompletedToo) {
  const JobFolder folder;
  const std::string configuration =
      folder.write("c.cfg", "[Global]\nSendDataFile=\"d\"\n[HXRaster]\n");
  auto* const record = static_cast<parameter*>(std::calloc(1, sizeof(parameter)));
  std::strcpy(record->CFGFileDirectory, "/a/b");
  setDefaultFileName("../x:job.dat");
  char* keys[128] = {};
  char* values[128] = {};
  int32_t flag = 0;
  Capture capture;
  ASSERT_EQ(thrownBy([&] { parseParameter(configuration.c_str(), record, keys, values, &flag); }),
            0);
  const ParameterOwner owner(record);
  EXPECT_STREQ(record->OutFilePath, "/a/x/job.dat");
  EXPECT_EQ(capture.err(), shown("../x:job.dat", "../x/job.dat"));
}

TEST(PathsInAFile, AnEmptyTableFileIsStoredAndThenRefused) {
  const JobFolder folder;
  const ReadResult r = folder.read("[Global]\nImageProcessingFile=\"\"\nSendDataFile=\"d\"\n");
  EXPECT_EQ(r.code, -39);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"\"\n");
  EXPECT_EQ(r.out,
            std::string(kEchoStart) + "[Global]\nImageProcessingFile=\"\"\nSendDataFile=\"d\"\n");
}

}  // namespace
