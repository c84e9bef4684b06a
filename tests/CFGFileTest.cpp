// Tests of the configuration reader: lines, comments, quotes, section headers, the order of the
// sections with its echo, override pairs, and what each syntax error prints and throws.
#include "CFGFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CFGState.h"
#include "Capture.h"
#include "JobFolder.h"
#include "Thrown.h"

namespace {

using namespace std::string_literals;

constexpr std::string_view kInvalid = "INVALID VALUE OF ITEM!: line ";
constexpr std::string_view kNoHXRaster =
    "SECTION NOT FOUND!: The section \"[HXRaster]\" cannot be omitted.\n";
constexpr std::string_view kNoImage =
    "SECTION NOT FOUND!: The section \"[Image]\" cannot be omitted.\n";

std::string start(std::string_view rest) {
  return std::string(kEchoStart).append(rest);
}

std::string required(std::string_view name) {
  return "REQUIRED ITEM NOT FOUND!: The item \"" + std::string(name) + "\" must be set.\n";
}

// Trimming ----------------------------------------------------------------------------------------

TEST(TrimSpaces, TakesBlanksFromBothEndsAndLineEndsFromTheRight) {
  struct Case {
    const char* name;
    const char* text;
    const char* want;
  };
  const Case kCases[] = {
      {"nothing to trim", "ab", "ab"},
      {"empty", "", ""},
      {"blanks and tabs in front", " \t ab", "ab"},
      {"blanks and tabs behind", "ab\t ", "ab"},
      {"CR and LF behind", "ab \r\n", "ab"},
      {"CR and LF in front stay", "\r\nab", "\r\nab"},
      {"blanks inside stay", " a \t b ", "a \t b"},
      {"other white space stays", "\vab\f", "\vab\f"},
      {"a single character stays", "a", "a"},
      {"a single CR stays", "\r", "\r"},
      {"a single LF stays", "\n", "\n"},
      {"a CR left alone in front stays", " \r", "\r"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto text = std::make_unique<char[]>(1024);
    std::strcpy(text.get(), c.text);
    EXPECT_EQ(trimSpaces(text.get()), text.get());
    EXPECT_STREQ(text.get(), c.want);
  }
}

TEST(TrimSpaces, TouchesNothingBehindAShortString) {
  const auto text = std::make_unique<char[]>(4);
  std::strcpy(text.get(), " a ");
  trimSpaces(text.get());
  EXPECT_STREQ(text.get(), "a");
}

// Quotes ------------------------------------------------------------------------------------------

TEST(Quotes, AWellFormedStringIsUnquoted) {
  struct Case {
    const char* name;
    const char* text;
    const char* want;
  };
  const Case kCases[] = {
      {"plain", "\"abc\"", "abc"},
      {"empty", "\"\"", ""},
      {"two quotes stand for one", "\"a\"\"b\"", "a\"b"},
      {"a backslash and a quote stand for one", "\"a\\\"b\"", "a\"b"},
      {"only two quotes inside", "\"\"\"\"", "\""},
      {"only an escaped quote inside", "\"\\\"\"", "\""},
      {"a lone backslash is copied", "\"a\\b\"", "a\\b"},
      {"two backslashes are two", "\"a\\\\b\"", "a\\\\b"},
      {"blanks are kept", "\" a \"", " a "},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto text = std::make_unique<char[]>(1024);
    EXPECT_EQ(processQuotaions(c.text, text.get()), 0);
    EXPECT_STREQ(text.get(), c.want);
  }
}

TEST(Quotes, AnythingElseIsRefused) {
  struct Case {
    const char* name;
    const char* text;
  };
  const Case kCases[] = {
      {"empty text", ""},
      {"no quotes", "abc"},
      {"no opening quote", "abc\""},
      {"no closing quote", "\"abc"},
      {"a lone quote", "\""},
      {"three quotes", "\"\"\""},
      {"a quote before the end", "\"a\"b\""},
      {"text behind the closing quote", "\"a\"b"},
      {"a blank behind the closing quote", "\"a\" "},
      {"the last quote is escaped", "\"a\\\""},
      {"the last quote is escaped by the second of two backslashes", "\"a\\\\\""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto text = std::make_unique<char[]>(1024);
    EXPECT_EQ(processQuotaions(c.text, text.get()), -1);
  }
}

TEST(Quotes, TheLongestValueOfALineIsUnquoted) {
  const auto text = std::make_unique<char[]>(1024);
  const std::string inner(1021, 'x');
  EXPECT_EQ(processQuotaions(("\"" + inner + "\"").c_str(), text.get()), 0);
  EXPECT_EQ(text.get(), inner);
}

// Lines -------------------------------------------------------------------------------------------

class LineTest : public testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }

  int split(const std::string& line, int number = 7) {
    key = std::make_unique<char[]>(1024);
    value = std::make_unique<char[]>(1024);
    return parseKeyValue(line.c_str(), number, key.get(), value.get());
  }

  std::unique_ptr<char[]> key;
  std::unique_ptr<char[]> value;

 private:
  static void reset() {
    sSection = kNoSection;
    sIsCStyleComment = false;
    sIsNewImageSection = false;
  }
};

TEST_F(LineTest, AnItemIsSplitAtItsFirstEqualsSign) {
  struct Case {
    const char* name;
    const char* line;
    int result;
    const char* key;
    const char* value;
  };
  const Case kCases[] = {
      {"plain", "Key=value", 0, "Key", "value"},
      {"blanks around", "\t Key \t=\t value \t", 0, "Key", "value"},
      {"a note behind", "Key = value # note", 0, "Key", "value"},
      {"a second equals sign", "a=b=c", 0, "a", "b=c"},
      {"an equals sign as value", "a==", 0, "a", "="},
      {"no key", "=value", 0, "", "value"},
      {"a hash between quotes cuts too", "Key=\"a#b\"", 0, "Key", "\"a"},
      {"a comment mark that does not begin the line", "Key=/* x */", 0, "Key", "/* x */"},
      {"no equals sign", "Key", -2, "Key", ""},
      {"no equals sign, blanks around", "  Key  ", -2, "Key", ""},
      {"no value", "Key=", -2, "Key", ""},
      {"a value of blanks", "Key = \t", -2, "Key", ""},
      {"a note instead of a value", "Key=# note", -2, "Key", ""},
      {"the end of a comment outside one", "*/", -2, "*/", ""},
      {"blanks only", " \t ", -2, "", ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(split(c.line), c.result);
    EXPECT_STREQ(key.get(), c.key);
    EXPECT_STREQ(value.get(), c.value);
    EXPECT_EQ(sSection, kNoSection);
  }
}

TEST_F(LineTest, EmptyLinesAndCommentsAreNothingToDo) {
  for (const char* line : {"", "#", "# note", "  # note", "\t#[Global]", "#Key=value"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(split(line), -1);
  }
  EXPECT_EQ(sSection, kNoSection);
}

TEST_F(LineTest, AHeaderGivesItsTextAndTheLineNumberAndBeginsItsSection) {
  struct Case {
    const char* header;
    int section;
    bool newImage;
  };
  const Case kCases[] = {
      {"[Global]", 1, false},
      {"[ODAX]", 5, false},
      {"[HXRaster]", 2, false},
      {"[Image]", 4, true},
  };
  for (const Case& c : kCases) {
    for (const std::string& line :
         {c.header + ""s, " \t" + (c.header + " "s), c.header + "# note"s}) {
      SCOPED_TRACE(line);
      sSection = kNoSection;
      sIsNewImageSection = false;
      EXPECT_EQ(split(line, 123), 0);
      EXPECT_STREQ(key.get(), c.header);
      EXPECT_STREQ(value.get(), "123");
      EXPECT_EQ(sSection, c.section);
      EXPECT_EQ(sIsNewImageSection, c.newImage);
    }
  }
}

TEST_F(LineTest, WhatOnlyLooksLikeAHeaderIsNone) {
  struct Case {
    const char* name;
    const char* line;
    int result;
    const char* key;
    const char* value;
  };
  const Case kCases[] = {
      {"a blank before a note stays and spoils the header", "[Global] # note", -2, "[Global]", ""},
      {"another letter case", "[global]", -2, "[global]", ""},
      {"an unknown name", "[Page]", -2, "[Page]", ""},
      {"blanks inside", "[ Global ]", -2, "[ Global ]", ""},
      {"text behind", "[Global]x", -2, "[Global]x", ""},
      {"an item of that name", "[Global]=5", 0, "[Global]", "5"},
      {"an item of a page's name", "[Image]=5", 0, "[Image]", "5"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(split(c.line), c.result);
    EXPECT_STREQ(key.get(), c.key);
    EXPECT_STREQ(value.get(), c.value);
    EXPECT_EQ(sSection, kNoSection);
    EXPECT_FALSE(sIsNewImageSection);
  }
}

TEST_F(LineTest, ACommentBlockEndsOnlyAtALineThatBeginsWithItsEnd) {
  EXPECT_EQ(split("/* x */"), -1);
  for (const char* line : {"Key=value", "[Global]", "x */", " ", "", "# note", "nonsense"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(split(line), -1);
    EXPECT_TRUE(sIsCStyleComment);
    EXPECT_EQ(sSection, kNoSection);
  }
  EXPECT_EQ(split("  */ Key=value"), -1);
  EXPECT_FALSE(sIsCStyleComment);
  EXPECT_EQ(split("Key=value"), 0);
}

TEST_F(LineTest, ACommentBlockIsOpenedAlsoByALineWithBlanksOrANote) {
  EXPECT_EQ(split(" \t/* # note"), -1);
  EXPECT_TRUE(sIsCStyleComment);
}

TEST_F(LineTest, ACommentInsideACommentShowsTheLineAsItWasRead) {
  EXPECT_EQ(split("/*"), -1);
  Capture capture;
  EXPECT_EQ(thrownBy([&] { split("  /* again ", 9); }), -11);
  EXPECT_EQ(capture.err(), "INVALID VALUE OF ITEM!: line 9.\n  /* again \n");
  EXPECT_EQ(capture.out(), "");
}

TEST_F(LineTest, TheLongestLineIsSplit) {
  const std::string name(500, 'k');
  const std::string text(522, 'v');
  EXPECT_EQ(split(name + "=" + text), 0);
  EXPECT_EQ(key.get(), name);
  EXPECT_EQ(value.get(), text);
}

// Items -------------------------------------------------------------------------------------------

TEST(Items, AreAppendedBehindTheLast) {
  CFGFileItem* const first = addCFGFile(nullptr);
  CFGFileItem* const second = addCFGFile(first);
  CFGFileItem* const third = addCFGFile(second);
  EXPECT_EQ(first->next, second);
  EXPECT_EQ(second->next, third);
  EXPECT_EQ(third->next, nullptr);
  EXPECT_EQ(getLastCFGFile(first), third);
  EXPECT_EQ(getLastCFGFile(third), third);
  deleteCFGFile(first);
}

TEST(Items, BeginWithTheInteger0) {
  CFGFileItem* const item = addCFGFile(nullptr);
  EXPECT_EQ(item->integer, 0);
  deleteCFGFile(item);
}

TEST(DefaultFile, IsCutAfter259Characters) {
  setDefaultFileName(std::string(300, 'x').c_str());
  EXPECT_EQ(sDefaultOutFileName, std::string(259, 'x'));
  setDefaultFileName("/a/b.dat");
  EXPECT_STREQ(sDefaultOutFileName, "/a/b.dat");
}

// Whole configurations ----------------------------------------------------------------------------

class ReaderTest : public testing::Test {
 protected:
  void SetUp() override { folder.write("k.tif", ""); }
  JobFolder folder;
};

TEST_F(ReaderTest, EverySettingIsEchoedInOrder) {
  const ReadResult r = folder.read(
      "# a job\n"
      "\n"
      "[Global]\n"
      "  OutFilePath = \"o\"\"ut.dat\"   # where to\n"
      "SplitDataSize=0x1000\n"
      "/* SplitDataSize=1\n"
      "*/\n"
      "[ODAX]\n"
      "StartJobXmlFile = \"/t/SJ.xml\"\n"
      "Copies = 3\n"
      "Title = \"a \"\"b\"\"\"\n"
      "[HXRaster]\n"
      "GraphicsResolutionH = 600\n"
      "GraphicsResolutionV = 0x12C\n"
      "[Image]\n"
      "StartingPositionX = +5\n"
      "ImageFileK = \"k.tif\"\n"
      "ColorSpace = hxraster_id_val_image_format_row_inkcolor_bi_level\n"
      "NumOfPlanes = 1\n"
      "PixelDepthK = 1\n"
      "IndexLevelK = 2\n"
      "CompressionMode = 0\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out,
            "----------------------------------------------------------------------\n"
            "The Parameters you set are...\n"
            "[Global]\n"
            "OutFilePath=\"o\"ut.dat\"\n"
            "SplitDataSize=0x00001000\n"
            "[ODAX]\n"
            "StartJobXmlFile=\"/t/SJ.xml\"\n"
            "Copies=3\n"
            "Title=\"a \"\"b\"\"\"\n"
            "[HXRaster]\n"
            "GraphicsResolutionH=600\n"
            "GraphicsResolutionV=0x0000012C\n"
            "[Image]\n"
            "StartingPositionX=+5\n"
            "ImageFileK=\"k.tif\"\n"
            "ColorSpace=hxraster_id_val_image_format_row_inkcolor_bi_level (=0x00000005)\n"
            "NumOfPlanes=1\n"
            "PixelDepthK=1\n"
            "IndexLevelK=2\n"
            "CompressionMode=0\n");
  const std::vector<std::pair<std::string, std::string>> kPairs = {{"Copies", "3"},
                                                                   {"Title", "a \"b\""}};
  EXPECT_EQ(r.overrides, kPairs);
}

TEST_F(ReaderTest, AMissingFileIsReportedBeforeAnythingIsEchoed) {
  const ReadResult r = folder.readFile(folder.path("none.cfg"));
  EXPECT_EQ(r.code, -3);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"@/none.cfg\"\n");
  EXPECT_EQ(r.out, "");
}

TEST_F(ReaderTest, AFolderReadsAsAnEmptyFile) {
  const ReadResult r = folder.readFile(folder.path());
  EXPECT_EQ(r.code, -9);
  EXPECT_EQ(r.err, kNoHXRaster);
  EXPECT_EQ(r.out, start("[Global]\n[ODAX]\n"));
}

TEST_F(ReaderTest, TheEchoShowsTheSectionsInOrder) {
  struct Case {
    const char* name;
    const char* configuration;
    int code;
    std::string_view err;
    const char* echo;
  };
  const Case kCases[] = {
      {"a send-data file needs no other section", "[Global]\nSendDataFile=\"d\"\n", 0, "",
       "[Global]\nSendDataFile=\"d\"\n"},
      {"from Global to ODAX", "[Global]\nSendDataFile=\"d\"\n[ODAX]\n", 0, "",
       "[Global]\nSendDataFile=\"d\"\n[ODAX]\n"},
      {"from ODAX to Global", "[ODAX]\n[Global]\nSendDataFile=\"d\"\n", 0, "",
       "[ODAX]\n[Global]\nSendDataFile=\"d\"\n"},
      {"from Global to HXRaster", "[Global]\nSendDataFile=\"d\"\n[HXRaster]\n", 0, "",
       "[Global]\nSendDataFile=\"d\"\n[ODAX]\n[HXRaster]\n"},
      {"HXRaster opens the file", "[HXRaster]\n[Global]\nSendDataFile=\"d\"\n", 0, "",
       "[Global]\n[ODAX]\n[HXRaster]\n[Global]\nSendDataFile=\"d\"\n"},
      {"all three", "[Global]\nSendDataFile=\"d\"\n[ODAX]\n[HXRaster]\n", 0, "",
       "[Global]\nSendDataFile=\"d\"\n[ODAX]\n[HXRaster]\n"},
      {"the same header again is not echoed", "[Global]\n[Global]\nSendDataFile=\"d\"\n[Global]\n",
       0, "", "[Global]\nSendDataFile=\"d\"\n"},

      {"Image opens the file", "[Image]\n", -5, kNoHXRaster, "[Global]\n[ODAX]\n"},
      {"from Global to Image", "[Global]\n[Image]\n", -5, kNoHXRaster, "[Global]\n[ODAX]\n"},
      {"from ODAX to Image", "[ODAX]\n[Image]\n", -5, kNoHXRaster, "[ODAX]\n"},
      {"from ODAX to Image behind HXRaster", "[HXRaster]\n[ODAX]\n[Image]\n", -5, kNoHXRaster,
       "[Global]\n[ODAX]\n[HXRaster]\n[ODAX]\n"},
      {"also with a send-data file", "[Global]\nSendDataFile=\"d\"\n[Image]\n", -5, kNoHXRaster,
       "[Global]\nSendDataFile=\"d\"\n[ODAX]\n"},

      {"an empty file", "", -9, kNoHXRaster, "[Global]\n[ODAX]\n"},
      {"an empty send-data file is none", "[Global]\nSendDataFile=\"\"\n", -9, kNoHXRaster,
       "[Global]\nSendDataFile=\"\"\n[ODAX]\n"},
      {"items only in front of the first header", "a=b\n", -9, kNoHXRaster, "[Global]\n[ODAX]\n"},
      {"only Global", "[Global]\n", -9, kNoHXRaster, "[Global]\n[ODAX]\n"},
      {"only ODAX", "[ODAX]\n", -9, kNoHXRaster, "[ODAX]\n[Global]\n"},
      {"Global and ODAX", "[Global]\n[ODAX]\n", -9, kNoHXRaster, "[Global]\n[ODAX]\n"},

      {"only HXRaster: what was skipped is echoed again", "[HXRaster]\n", -10, kNoImage,
       "[Global]\n[ODAX]\n[HXRaster]\n[Global]\n[ODAX]\n"},
      {"Global and HXRaster", "[Global]\n[HXRaster]\n", -10, kNoImage,
       "[Global]\n[ODAX]\n[HXRaster]\n[ODAX]\n"},
      {"ODAX and HXRaster", "[ODAX]\n[HXRaster]\n", -10, kNoImage,
       "[ODAX]\n[HXRaster]\n[Global]\n"},
      {"all but Image", "[Global]\n[ODAX]\n[HXRaster]\n", -10, kNoImage,
       "[Global]\n[ODAX]\n[HXRaster]\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read(c.configuration);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, start(c.echo));
  }
}

TEST_F(ReaderTest, TheDefaultOutputFileIsTakenOnlyWhereHXRasterFollowsGlobalOrOpensTheFile) {
  struct Case {
    const char* name;
    const char* configuration;
    const char* path;
  };
  const Case kCases[] = {
      {"HXRaster follows Global", "[Global]\nSendDataFile=\"d\"\n[HXRaster]\n", "@/job.dat"},
      {"HXRaster opens the file", "[HXRaster]\n[Global]\nSendDataFile=\"d\"\n", "@/job.dat"},
      {"ODAX stands between", "[Global]\nSendDataFile=\"d\"\n[ODAX]\n[HXRaster]\n", ""},
      {"ODAX opens the file", "[ODAX]\n[HXRaster]\n[Global]\nSendDataFile=\"d\"\n", ""},
      {"no HXRaster", "[Global]\nSendDataFile=\"d\"\n", ""},
      {"a given path stays", "[Global]\nOutFilePath=\"/o\"\nSendDataFile=\"d\"\n[HXRaster]\n",
       "/o"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read(c.configuration);
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(folder.shorten(r.record->OutFilePath), c.path);
  }
}

TEST_F(ReaderTest, TheSectionBeforeAPageNeedsBothResolutions) {
  struct Case {
    const char* name;
    const char* configuration;
    int code;
    std::string err;
    const char* echo;
  };
  const Case kCases[] = {
      {"neither", "[HXRaster]\n[Image]\n", -36, required("GraphicsResolutionH"),
       "[Global]\n[ODAX]\n[HXRaster]\n"},
      {"no H", "[HXRaster]\nGraphicsResolutionV=1\n[Image]\n", -36, required("GraphicsResolutionH"),
       "[Global]\n[ODAX]\n[HXRaster]\nGraphicsResolutionV=1\n"},
      {"no V", "[HXRaster]\nGraphicsResolutionH=1\n[Image]\n", -36, required("GraphicsResolutionV"),
       "[Global]\n[ODAX]\n[HXRaster]\nGraphicsResolutionH=1\n"},
      {"all ones", "[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=0xFFFFFFFF\n[Image]\n",
       -35, "INVALID VALUE OF ITEM!: line 3.\nGraphicsResolutionV=0xFFFFFFFF\n",
       "[Global]\n[ODAX]\n[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=0xFFFFFFFF\n"},
      {"in front of a second header of the section",
       "[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=1\n[HXRaster]\n[Image]\n", -36,
       required("GraphicsResolutionH"),
       "[Global]\n[ODAX]\n[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=1\n"},
      {"also with a send-data file", "[Global]\nSendDataFile=\"d\"\n[HXRaster]\n[Image]\n", -36,
       required("GraphicsResolutionH"), "[Global]\nSendDataFile=\"d\"\n[ODAX]\n[HXRaster]\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read(c.configuration);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, start(c.echo));
  }
}

// The settings of a page that passes all checks, and the echo up to it.
constexpr std::string_view kRaster =
    "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n";
constexpr std::string_view kPage =
    "[Image]\nImageFileK=\"k.tif\"\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\n"
    "CompressionMode=0\n";
const std::string kJob = std::string(kRaster).append(kPage);
const std::string kEcho = start("[Global]\n[ODAX]\n");

TEST_F(ReaderTest, AnImageHeaderWithoutItemsIsRefused) {
  const std::string raster(kRaster);
  struct Case {
    const char* name;
    std::string configuration;
    int code;
    std::string err;
    std::string out;
  };
  const Case kCases[] = {
      {"at the end of the file", raster + "[Image]\n", -36, required("ColorSpace"),
       kEcho + raster + "[Image]\n"},
      {"with comments only", raster + "[Image]\n# note\n\n/*\n*/\n", -36, required("ColorSpace"),
       kEcho + raster + "[Image]\n"},
      {"at the next page", raster + "[Image]\n" + std::string(kPage), -36, required("ColorSpace"),
       kEcho + raster + "[Image]\n"},
      {"at another header", raster + "[Image]\n[ODAX]\n", -36, required("ColorSpace"),
       kEcho + raster + "[Image]\n"},
      {"behind a complete page", kJob + "[Image]\n", -36, required("ColorSpace"),
       kEcho + kJob + "[Image]\n"},
      {"with a send-data file", "[Global]\nSendDataFile=\"d\"\n" + raster + "[Image]\n", -36,
       required("ColorSpace"),
       start("[Global]\nSendDataFile=\"d\"\n[ODAX]\n") + raster + "[Image]\n"},
      {"an open comment comes first", raster + "[Image]\n/*\n", -8,
       "INVALID VALUE OF ITEM!: line 5.\n/*\n", kEcho + raster + "[Image]\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read(c.configuration);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, c.out);
  }
}

TEST_F(ReaderTest, APageIsCheckedWhenTheNextBeginsAlsoWithASendDataFile) {
  const std::string raster(kRaster);
  const ReadResult r = folder.read("[Global]\nSendDataFile=\"d\"\n" + raster +
                                   "[Image]\nNumOfPlanes=1\n[Image]\nNumOfPlanes=1\n");
  EXPECT_EQ(r.code, -36);
  EXPECT_EQ(r.err, required("ColorSpace"));
  EXPECT_EQ(r.out,
            start("[Global]\nSendDataFile=\"d\"\n[ODAX]\n") + raster + "[Image]\nNumOfPlanes=1\n");
}

TEST_F(ReaderTest, TheLastPageIsNotCheckedWithASendDataFile) {
  const std::string raster(kRaster);
  const ReadResult r =
      folder.read("[Global]\nSendDataFile=\"d\"\n" + raster + "[Image]\nNumOfPlanes=1\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "");
}

TEST_F(ReaderTest, AtTheEndTheLastPageIsCheckedFromTheLastHeaderWhateverThatIs) {
  const ReadResult r = folder.read(kJob + "[ODAX]\nCopies=1\n");
  EXPECT_EQ(r.code, -36);
  EXPECT_EQ(r.err, required("ColorSpace"));
  EXPECT_EQ(r.out, kEcho + kJob + "[ODAX]\nCopies=1\n");
}

TEST_F(ReaderTest, AnInvalidLineIsShownAsItWasRead) {
  struct Case {
    const char* name;
    std::string configuration;
    int line;
    const char* text;
    const char* echo;
  };
  const Case kCases[] = {
      {"no equals sign", "[Global]\n  OutFilePath  # x\n", 2, "  OutFilePath  # x", "[Global]\n"},
      {"no value", "[Global]\n\nOutFilePath=\n", 3, "OutFilePath=", "[Global]\n"},
      {"blanks only", "[Global]\n  \t\n", 2, "  \t", "[Global]\n"},
      {"in front of the first header", "nonsense\n", 1, "nonsense", ""},
      {"a blank before the note of a header", "[Global] # note\n", 1, "[Global] # note", ""},
      {"no line end", "[Global]\nx", 2, "x", "[Global]\n"},
      {"an override that is not closed", "[ODAX]\nCopies=\"1\n", 2, "Copies=\"1", "[ODAX]\n"},
      {"an override with a quote inside", "[ODAX]\n Copies=\"1\"2\"\n", 2, " Copies=\"1\"2\"",
       "[ODAX]\n"},
      {"an override of one quote", "[ODAX]\nCopies=\"\n", 2, "Copies=\"", "[ODAX]\n"},
      {"a byte-order mark on the second line", "[Global]\n\xEF\xBB\xBF[ODAX]\n", 2,
       "\xEF\xBB\xBF[ODAX]", "[Global]\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read(c.configuration);
    EXPECT_EQ(r.code, -4);
    EXPECT_EQ(r.err, std::string(kInvalid) + std::to_string(c.line) + ".\n" + c.text + "\n");
    EXPECT_EQ(r.out, start(c.echo));
  }
}

TEST_F(ReaderTest, ACommentThatIsNotClosedShowsTheLastLine) {
  struct Case {
    const char* name;
    const char* configuration;
    const char* err;
    const char* echo;
  };
  const Case kCases[] = {
      {"the opening line", "[Global]\n/* open */\n",
       "INVALID VALUE OF ITEM!: line 2.\n/* open */\n", "[Global]\n"},
      {"a line of the block", "[Global]\n/*\n  the end ",
       "INVALID VALUE OF ITEM!: line 3.\n  the end \n", "[Global]\n"},
      {"an empty line", "[Global]\n/*\nx\n\n", "INVALID VALUE OF ITEM!: line 4.\n\n", "[Global]\n"},
      {"before a missing section is noticed", "/*\n[HXRaster]\n",
       "INVALID VALUE OF ITEM!: line 2.\n[HXRaster]\n", ""},
      {"also with a send-data file", "[Global]\nSendDataFile=\"d\"\n/*\n",
       "INVALID VALUE OF ITEM!: line 3.\n/*\n", "[Global]\nSendDataFile=\"d\"\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read(c.configuration);
    EXPECT_EQ(r.code, -8);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, start(c.echo));
  }
}

TEST_F(ReaderTest, ACommentInsideACommentStopsTheReader) {
  const ReadResult r = folder.read("[Global]\n/* one\n /* two\n*/\n");
  EXPECT_EQ(r.code, -11);
  EXPECT_EQ(r.err, "INVALID VALUE OF ITEM!: line 3.\n /* two\n");
  EXPECT_EQ(r.out, start("[Global]\n"));
}

TEST_F(ReaderTest, AFileOfCrLfLinesCountsEveryLineTwice) {
  const ReadResult r = folder.read("[Global]\r\nSplitDataSize=1\r\nnonsense\r\n");
  EXPECT_EQ(r.code, -4);
  EXPECT_EQ(r.err, "INVALID VALUE OF ITEM!: line 5.\nnonsense\n");
  EXPECT_EQ(r.out, start("[Global]\nSplitDataSize=1\n"));
}

TEST_F(ReaderTest, AFileOfCrLinesIsRead) {
  const ReadResult r = folder.read("[Global]\rSplitDataSize=1\rSendDataFile=\"d\"\r");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, start("[Global]\nSplitDataSize=1\nSendDataFile=\"d\"\n"));
}

TEST_F(ReaderTest, AByteOrderMarkIsTakenFromTheFirstLine) {
  const ReadResult r = folder.read("\xEF\xBB\xBF[Global]\nSendDataFile=\"d\"\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, start("[Global]\nSendDataFile=\"d\"\n"));
}

TEST_F(ReaderTest, ALineEndsAtItsFirstNul) {
  const ReadResult r = folder.read("[Global]\nSplitDataSize=12\0 34\nSendDataFile=\"d\"\0\n"s);
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, start("[Global]\nSplitDataSize=12\nSendDataFile=\"d\"\n"));
  EXPECT_EQ(r.record->SplitDataSize, 12);
}

TEST_F(ReaderTest, ALastLineOfOneNulIsAnEmptyLine) {
  const ReadResult r = folder.read("[Global]\nSendDataFile=\"d\"\n/*\n\0"s);
  EXPECT_EQ(r.code, -8);
  EXPECT_EQ(r.err, "INVALID VALUE OF ITEM!: line 4.\n\n");
}

TEST_F(ReaderTest, ALineIsCutAfter1023Characters) {
  const std::string value(1100, 'v');
  const ReadResult r = folder.read("[Global]\nSendDataFile=\"d\"\n[ODAX]\nK=" + value + "\nL=1\n");
  ASSERT_EQ(r.code, 0);
  ASSERT_EQ(r.overrides.size(), 2U);
  EXPECT_EQ(r.overrides[0].second, std::string(1021, 'v'));
  EXPECT_EQ(r.overrides[1].first, "L");
  EXPECT_EQ(r.out,
            start("[Global]\nSendDataFile=\"d\"\n[ODAX]\nK=" + std::string(1021, 'v') + "\nL=1\n"));
}

TEST_F(ReaderTest, ItemsInFrontOfTheFirstHeaderAreIgnored) {
  const ReadResult r = folder.read("SplitDataSize=x\nany=thing\n[Global]\nSendDataFile=\"d\"\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.record->SplitDataSize, -1);
  EXPECT_EQ(r.out, start("[Global]\nSendDataFile=\"d\"\n"));
}

TEST_F(ReaderTest, AnItemWithTheNameOfAHeaderIsAnItem) {
  const ReadResult global = folder.read("[Global]\n[Global]=5\n");
  EXPECT_EQ(global.code, -12);
  EXPECT_EQ(global.err, "UNKNOWN ITEM!: line 2.\n[Global]=5\n");
  EXPECT_EQ(global.out, start("[Global]\n"));

  const ReadResult odax = folder.read("[Global]\nSendDataFile=\"d\"\n[ODAX]\n[Image]=5\n");
  EXPECT_EQ(odax.code, 0);
  ASSERT_EQ(odax.overrides.size(), 1U);
  EXPECT_EQ(odax.overrides[0].first, "[Image]");
  EXPECT_EQ(odax.overrides[0].second, "5");
}

TEST_F(ReaderTest, NothingOfAnEarlierFileIsLeft) {
  // The first file ends inside a comment block of a page.
  EXPECT_EQ(folder.read(kJob + "/*\n").code, -8);
  // Neither is the second file in a comment, nor does its first item belong to a page.
  const ReadResult r = folder.read("ColorSpace=nonsense\n" + kJob);
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, kEcho + kJob);

  EXPECT_EQ(folder.read(std::string(kRaster) + "[Image]\n").code, -36);
  EXPECT_EQ(folder.read("ColorSpace=nonsense\n" + kJob).code, 0);
}

// Override pairs ----------------------------------------------------------------------------------

TEST_F(ReaderTest, UnknownItemsOfODAXAreOverridePairs) {
  struct Case {
    const char* name;
    const char* line;
    const char* key;
    const char* value;
    const char* echo;
  };
  const Case kCases[] = {
      {"as it stands", "Copies=3", "Copies", "3", "Copies=3\n"},
      {"blanks around", " Copies \t= 3  4 ", "Copies", "3  4", "Copies=3  4\n"},
      {"quoted", "Title=\" a \"", "Title", " a ", "Title=\" a \"\n"},
      {"quoted and empty", "Title=\"\"", "Title", "", "Title=\"\"\n"},
      {"doubled quotes", "Title=\"a\"\"b\"", "Title", "a\"b", "Title=\"a\"\"b\"\n"},
      {"escaped quotes", "Title=\"a\\\"b\"", "Title", "a\"b", "Title=\"a\\\"b\"\n"},
      {"a quote that does not begin the value", "Size=3\"", "Size", "3\"", "Size=3\"\n"},
      {"the suppression marker", "Proof=ODAXGEN_SUPPRESSION", "Proof", "ODAXGEN_SUPPRESSION",
       "Proof=ODAXGEN_SUPPRESSION\n"},
      {"a key of another section", "OutFilePath=x", "OutFilePath", "x", "OutFilePath=x\n"},
      {"another letter case of a known key", "startjobxmlfile=x", "startjobxmlfile", "x",
       "startjobxmlfile=x\n"},
      {"no key", "=x", "", "x", "=x\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = folder.read("[Global]\nSendDataFile=\"d\"\n[ODAX]\n"s + c.line + "\n");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, start("[Global]\nSendDataFile=\"d\"\n[ODAX]\n"s + c.echo));
    ASSERT_EQ(r.overrides.size(), 1U);
    EXPECT_EQ(r.overrides[0].first, c.key);
    EXPECT_EQ(r.overrides[0].second, c.value);
    EXPECT_EQ(r.hasVendorCmdXmlFile, 0);
  }
}

TEST_F(ReaderTest, OverridePairsKeepTheirOrderAndMayRepeatAKey) {
  const ReadResult r =
      folder.read("[Global]\nSendDataFile=\"d\"\n[ODAX]\nb=1\na=2\nb=3\n[Global]\n[ODAX]\nc=4\n");
  const std::vector<std::pair<std::string, std::string>> kPairs = {
      {"b", "1"}, {"a", "2"}, {"b", "3"}, {"c", "4"}};
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.overrides, kPairs);
}

TEST_F(ReaderTest, TheVendorCommandTemplateIsMarkedByItsKey) {
  for (const char* line : {"VendorCmdXmlFile=\"x\"", "VendorCmdXmlFile=\"\""}) {
    SCOPED_TRACE(line);
    const ReadResult r = folder.read("[Global]\nSendDataFile=\"d\"\n[ODAX]\n"s + line + "\n");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.hasVendorCmdXmlFile, 1);
    EXPECT_TRUE(r.overrides.empty());
  }
}

TEST_F(ReaderTest, OverridePairNumber129IsRefused) {
  std::string text = "[Global]\nSendDataFile=\"d\"\n[ODAX]\n";
  for (int i = 0; i < 128; ++i) text += "k" + std::to_string(i) + "=v" + std::to_string(i) + "\n";
  const ReadResult full = folder.read(text);
  EXPECT_EQ(full.code, 0);
  EXPECT_EQ(full.out, start(text));
  ASSERT_EQ(full.overrides.size(), 128U);
  EXPECT_EQ(full.overrides[127].first, "k127");
  EXPECT_EQ(full.overrides[127].second, "v127");

  const ReadResult over = folder.read(text + "k128=v128\n");
  EXPECT_EQ(over.code, -4);
  EXPECT_EQ(over.err, "INVALID VALUE OF ITEM!: line 132.\nk128=v128\n");
  EXPECT_EQ(over.out, start(text));
  EXPECT_EQ(over.overrides.size(), 128U);
}

TEST_F(ReaderTest, KnownKeysAreReadBehind128OverridePairs) {
  std::string text = "[Global]\nSendDataFile=\"d\"\n[ODAX]\n";
  for (int i = 0; i < 128; ++i) text += "k=v\n";
  const ReadResult r = folder.read(text + "EndJobXmlFile=\"/e\"\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_STREQ(r.record->EndJobXmlFile, "/e");
}

// Size --------------------------------------------------------------------------------------------

TEST_F(ReaderTest, TenThousandPagesAreRead) {
  std::string text(kRaster);
  for (int i = 0; i < 10000; ++i) text.append(kPage);
  const ReadResult r = folder.read(text);
  ASSERT_EQ(r.code, 0);
  int pages = 0;
  for (const imageParameter* p = r.page(); p != nullptr; p = p->next) ++pages;
  EXPECT_EQ(pages, 10000);
}

}  // namespace
