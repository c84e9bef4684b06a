// Tests of the packets: overriding values in a line, sizes and continuation, which bytes of a line
// are written and counted, and the six kinds of packets.
#include "ODAXOutLib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Capture.h"
#include "JobFolder.h"
#include "ODAXState.h"
#include "Thrown.h"

namespace {

using namespace std::string_literals;
using testing::MatchesRegex;

constexpr const char* kSuppress = "ODAXGEN_SUPPRESSION";

// A line in a buffer of exactly 1024 bytes.
class Line {
 public:
  explicit Line(std::string_view text) : count(static_cast<uint32_t>(text.size())) {
    buffer_ = std::make_unique<char[]>(1024);
    text.copy(buffer_.get(), 1023);
  }
  char* get() { return buffer_.get(); }
  [[nodiscard]] std::string text() const { return buffer_.get(); }

  uint32_t count;

 private:
  std::unique_ptr<char[]> buffer_;
};

// Pairs in two arrays of 128 pointers, each string in a block of 1024 bytes.
class Pairs {
 public:
  using List = std::vector<std::pair<std::string, std::string>>;
  explicit Pairs(const List& pairs) {
    for (const auto& [key, value] : pairs) {
      keys.get()[size_] = block(key);
      values.get()[size_++] = block(value);
    }
  }
  std::unique_ptr<char*[]> keys = std::make_unique<char*[]>(128);
  std::unique_ptr<char*[]> values = std::make_unique<char*[]>(128);

 private:
  char* block(const std::string& text) {
    blocks_.push_back(std::make_unique<char[]>(1024));
    text.copy(blocks_.back().get(), 1023);
    return blocks_.back().get();
  }
  std::vector<std::unique_ptr<char[]>> blocks_;
  size_t size_ = 0;
};

class PacketsTest : public testing::Test {
 protected:
  void SetUp() override { begin(0); }
  void TearDown() override { ODAX_Delete(); }

  // A writer with the folder's templates and an open output.
  void begin(uint32_t splitSize) {
    ODAX_SetSplitDataSize(splitSize);
    ODAX_NewWithName(folder.path("out.dat").c_str());
    ODAX_SJ_XMLFilePath(folder.path("SJ.xml").c_str());
    ODAX_SJC_XMLFilePath(folder.path("SJC.xml").c_str());
    ODAX_SC_XMLFilePath(folder.path("SC.xml").c_str());
    ODAX_VC_XMLFilePath(folder.path("VC.xml").c_str());
    ODAX_SD_XMLFilePath(folder.path("SD.xml").c_str());
    ODAX_EJ_XMLFilePath(folder.path("EJ.xml").c_str());
    ASSERT_EQ(ODAX_Open(), 0);
  }
  void restart(uint32_t splitSize) {
    ODAX_Delete();
    begin(splitSize);
  }
  static void overrides(const Pairs::List& list) {
    const Pairs pairs(list);
    ODAX_SetOverRideKeyValue(pairs.keys.get(), pairs.values.get());
  }
  // Applies one pair to a line.
  static Line overridden(std::string_view text, const std::string& key, const std::string& value) {
    mOverRideKeyList[0].reset();
    mOverRideValueList[0].reset();
    overrides({{key, value}});
    Line line(text);
    overrideValues(line.get(), &line.count, 0);
    return line;
  }
  // What has been written to the output.
  std::string written() {
    ODAX_Close();
    return folder.text("out.dat");
  }

  JobFolder folder;
};

// Replacing a value -------------------------------------------------------------------------------

TEST_F(PacketsTest, AValueBetweenTagsIsReplaced) {
  struct Case {
    const char* name;
    const char* line;
    const char* from;
    const char* to;
    const char* want;
  };
  const Case kCases[] = {
      {"same length", "<a>1</a>", "1", "2", "<a>2</a>"},
      {"longer", "<a>1</a>", "1", "1000", "<a>1000</a>"},
      {"shorter", "<a>1000</a>", "1000", "1", "<a>1</a>"},
      {"to nothing", "<a>1</a>", "1", "", "<a></a>"},
      {"from nothing: between the first > and <", "<a></a><b></b>", "", "5", "<a>5</a><b></b>"},
      {"only the first", "<a>1</a><b>1</b>", "1", "2", "<a>2</a><b>1</b>"},
      {"only as a whole", "<a>11</a><b>1</b>", "1", "2", "<a>11</a><b>2</b>"},
      {"not found", "<a>1</a>", "3", "4", "<a>1</a>"},
      {"no < behind", "<a>1", "1", "2", "<a>1"},
      {"equal", "<a>1</a>", "1", "1", "<a>1</a>"},
      {"empty line", "", "1", "2", ""},
      {"with tags inside", "<a><b>1</b></a>", "<b>1</b>", "2", "<a>2</a>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Line line(c.line);
    strchgXmlValue(line.get(), c.from, c.to);
    EXPECT_EQ(line.text(), c.want);
  }
}

TEST_F(PacketsTest, ALineOf1024CharactersIsRefused) {
  const std::string before = "<a>1</a>" + std::string(1000, ' ');
  struct Case {
    const char* name;
    std::string line, from, to;
    int code;
  };
  const Case kCases[] = {
      {"1023", before, "1", std::string(16, 'v'), 0},
      {"1024", before, "1", std::string(17, 'v'), -67},
      {"1024, old value not found", before, "2", std::string(17, 'v'), -67},
      {"1024, nothing to change", before + std::string(14, 'x'), std::string(10, 'v'),
       std::string(12, 'v'), -67},
      {"the longest value", "<a>1</a>", "1", std::string(1023, 'v'), -67},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Line line(c.line);
    Capture capture;
    EXPECT_EQ(thrownBy([&] { strchgXmlValue(line.get(), c.from.c_str(), c.to.c_str()); }), c.code);
    EXPECT_EQ(capture.err(),
              c.code == 0 ? "" : "ERROR!: A value of too int32_t overriding \"" + c.to + "\".\n");
    if (c.code != 0) {
      EXPECT_EQ(line.text(), c.line);
    }
  }
}

TEST_F(PacketsTest, TheLongestLineThatCanBeMadeFillsTheBuffer) {
  Line line("<a>1</a>" + std::string(1000, ' '));
  strchgXmlValue(line.get(), "1", std::string(16, 'v').c_str());
  EXPECT_EQ(line.text(), "<a>" + std::string(16, 'v') + "</a>" + std::string(1000, ' '));
}

TEST_F(PacketsTest, AnOldValueThatIsNotInTheLineNeverWritesPastTheBuffer) {
  // The old value is so long that the search for it finds the "<" alone.
  const std::string before = std::string(500, 'a') + "<" + std::string(499, 'a');
  Line line(before);
  const std::string from(1023, 'z');
  const std::string to(1023, 'w');
  std::string err;
  int code = 0;
  {
    Capture capture;
    code = thrownBy([&] { strchgXmlValue(line.get(), from.c_str(), to.c_str()); });
    err = capture.err();
  }
  EXPECT_EQ(code, -67);
  EXPECT_EQ(err, "ERROR!: A value of too int32_t overriding \"" + to + "\".\n");
  EXPECT_EQ(line.text(), before);
}

// Overriding --------------------------------------------------------------------------------------

TEST_F(PacketsTest, AnElementIsMatchedByPrefixedTagOrNameAttribute) {
  struct Case {
    const char* name;
    const char* line;
    const char* key;
    const char* value;
    const char* want;
    uint32_t count;
  };
  const Case kCases[] = {
      {"a prefixed tag", "<job:Copies>1</job:Copies>", "Copies", "3", "<job:Copies>3</job:Copies>",
       26},
      {"a longer value", "<job:Copies>1</job:Copies>", "Copies", "300",
       "<job:Copies>300</job:Copies>", 28},
      {"a shorter value", "<job:Copies>100</job:Copies>", "Copies", "3",
       "<job:Copies>3</job:Copies>", 26},
      {"an empty value", "<job:Copies>1</job:Copies>", "Copies", "", "<job:Copies></job:Copies>",
       25},
      {"an empty element", "<x:K></x:K>", "K", "7", "<x:K>7</x:K>", 12},
      {"an indented element", "  <x:K>1</x:K>", "K", "22", "  <x:K>22</x:K>", 15},
      {"a name attribute", "<set name=\"Quality\">draft</set>", "Quality", "fine",
       "<set name=\"Quality\">fine</set>", 30},
      {"a name attribute that begins with the key", "<s name=\"QualityLevel\">1</s>", "Quality",
       "22", "<s name=\"QualityLevel\">22</s>", 29},
      {"a tag must end with the key", "<x:CopiesMax>1</x:CopiesMax>", "Copies", "3",
       "<x:CopiesMax>1</x:CopiesMax>", 28},
      {"a tag with attributes does not", "<x:K a=\"b\">1</x:K >", "K", "3", "<x:K a=\"b\">1</x:K >",
       19},
      {"no prefix", "<Copies>1</Copies>", "Copies", "3", "<Copies>1</Copies>", 18},
      {"only in text", "<a>Copies</a>", "Copies", "3", "<a>Copies</a>", 13},
      {"another attribute", "<s id=\"K\">1</s>", "K", "3", "<s id=\"K\">1</s>", 15},
      {"another letter case", "<x:copies>1</x:copies>", "Copies", "3", "<x:copies>1</x:copies>",
       22},
      {"not in the line", "<x:A>1</x:A>", "K", "3", "<x:A>1</x:A>", 12},
      {"from the first > to the last <", "<x:K>1</x:K><b>2</b>", "K", "9", "<x:K>9</b>", 10},
      {"an outer element is the one changed", "<x:A><x:K>1</x:K></x:A>", "K", "9", "<x:A>9</x:A>",
       12},
      {"a closing tag: nothing is found, the count changes", "1</x:K>", "K", "333", "1</x:K>", 10},
      {"an opening tag alone", "<x:K>", "K", "333", "<x:K>", 8},
      {"no < behind the value: the count changes", "<s name=\"K\">12", "K", "3", "<s name=\"K\">12",
       13},
      {"no > in the line: nothing changes", "<s name=\"K\"", "K", "3", "<s name=\"K\"", 11},
      {"an empty key matches :>", "<x:>1</x:>", "", "5", "<x:>5</x:>", 10},
      {"an empty key matches any name attribute", "<s name=\"K\">1</s>", "", "5",
       "<s name=\"K\">5</s>", 17},
      {"an empty key matches nothing else", "<x:K>1</x:K>", "", "5", "<x:K>1</x:K>", 12},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Line line = overridden(c.line, c.key, c.value);
    EXPECT_EQ(line.text(), c.want);
    EXPECT_EQ(line.count, c.count);
  }
}

TEST_F(PacketsTest, SuppressionReplacesTheLineAndKeepsItsCount) {
  struct Case {
    const char* name;
    const char* line;
    const char* want;
  };
  const Case kCases[] = {
      {"a tag", "<x:K>1</x:K>", kSuppress},
      {"a name attribute", "<s name=\"K\">1</s>", kSuppress},
      {"a closing tag", "</x:K>", kSuppress},
      {"no > in the line", "<s name=\"K\"", "<s name=\"K\""},
      {"no match", "<K>1</K>", "<K>1</K>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Line line = overridden(c.line, "K", kSuppress);
    EXPECT_EQ(line.text(), c.want);
    EXPECT_EQ(line.count, std::strlen(c.line));
  }
}

TEST_F(PacketsTest, TooLongAnOverrideIsRefused) {
  const std::string before = "<x:K>1</x:K>" + std::string(1000, ' ');
  EXPECT_EQ(overridden(before, "K", std::string(12, 'v')).count, 1012U - 1U + 12U);
  // The value runs from the first > to the last <, here to the end tag.
  Capture capture;
  EXPECT_EQ(thrownBy([&] { overridden(before, "K", std::string(13, 'v')); }), -67);
  EXPECT_EQ(capture.err(), "ERROR!: A value of too int32_t overriding \"vvvvvvvvvvvvv\".\n");
}

TEST_F(PacketsTest, LongKeysEmptyTheSearchPatterns) {
  struct Case {
    const char* name;
    size_t length;
    const char* before;  // around the key
    const char* after;
    const char* want;  // around the key, null: the value replaces it
  };
  // In text a key matches neither pattern, unless the pattern was emptied.
  const Case kCases[] = {
      {"249: both patterns hold", 249, "<a>", "</a>", "kept"},
      {"250: the name pattern is empty", 250, "<a>", "</a>", nullptr},
      {"253: the tag pattern holds", 253, "<a>", "</a>", nullptr},
      {"254: the tag pattern is empty", 254, "<a>", "</a>", nullptr},
      {"255: the tag pattern is > alone", 255, "<a>", "</a>", nullptr},
      {"600", 600, "<a>", "</a>", nullptr},
      {"254 without >", 254, "", "", "kept"},
      {"255 without >", 255, "", "", "kept"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string key(c.length, 'k');
    const Line line = overridden(c.before + key + c.after, key, "v");
    EXPECT_EQ(line.text(), c.before + (c.want == nullptr ? "v"s : key) + c.after);
    EXPECT_EQ(line.count, line.text().size());
  }
}

TEST_F(PacketsTest, AKeyOf249CharactersIsStillMatchedInANameAttribute) {
  const std::string key(249, 'k');
  EXPECT_EQ(overridden("<s name=\"" + key + "\">1</s>", key, "2").text(),
            "<s name=\"" + key + "\">2</s>");
  const std::string longer(253, 'k');
  EXPECT_EQ(overridden("<x:" + longer + ">1</x:" + longer + ">", longer, "2").text(),
            "<x:" + longer + ">2</x:" + longer + ">");
}

TEST_F(PacketsTest, AnOldValueOf1022CharactersIsReplacedAtTheBeginningOfTheLine) {
  const std::string old = "name=\"K\"" + std::string(1014, 'x');
  const Line line = overridden(">" + old, "K", "new");
  EXPECT_EQ(line.text(), ">new");
  EXPECT_EQ(line.count, 4U);
}

TEST_F(PacketsTest, AnOldValueOf1021CharactersIsLookedForAsUsual) {
  const std::string old = "name=\"K\"" + std::string(1013, 'x');
  const Line line = overridden(">" + old, "K", "new");
  EXPECT_EQ(line.text(), ">" + old);
  EXPECT_EQ(line.count, 1022U - 1021U + 3U);
}

TEST_F(PacketsTest, ACountStaysBetween0And1024) {
  overrides({{"K", ""}, {"K", std::string(900, 'v')}});
  Line line("<s name=\"K\">12345678");
  const uint32_t kShrinking[] = {12, 4, 0, 0};
  for (const uint32_t want : kShrinking) {
    overrideValues(line.get(), &line.count, 0);
    EXPECT_EQ(line.count, want);
  }
  const uint32_t kGrowing[] = {892, 1024, 1024};
  for (const uint32_t want : kGrowing) {
    overrideValues(line.get(), &line.count, 1);
    EXPECT_EQ(line.count, want);
  }
  EXPECT_EQ(line.text(), "<s name=\"K\">12345678");
}

// The list of pairs -------------------------------------------------------------------------------

TEST_F(PacketsTest, PairsAreCopiedWhole) {
  Pairs pairs({{"a", "1"}, {"b", "2"}});
  std::memset(pairs.keys[0] + 2, 'x', 1022);
  ODAX_SetOverRideKeyValue(pairs.keys.get(), pairs.values.get());
  EXPECT_NE(mOverRideKeyList[0].get(), pairs.keys[0]);
  EXPECT_EQ(std::memcmp(mOverRideKeyList[0].get(), pairs.keys[0], 1024), 0);
  EXPECT_STREQ(mOverRideValueList[0].get(), "1");
  EXPECT_STREQ(mOverRideKeyList[1].get(), "b");
  EXPECT_STREQ(mOverRideValueList[1].get(), "2");
  EXPECT_EQ(mOverRideKeyList[2], nullptr);
  EXPECT_EQ(mOverRideValueList[2], nullptr);
}

TEST_F(PacketsTest, TheListEndsAtTheFirstMissingKeyOrValue) {
  Pairs noKey({{"a", "1"}, {"b", "2"}});
  noKey.keys[0] = nullptr;
  ODAX_SetOverRideKeyValue(noKey.keys.get(), noKey.values.get());
  EXPECT_EQ(mOverRideKeyList[0], nullptr);

  Pairs noValue({{"a", "1"}, {"b", "2"}, {"c", "3"}});
  noValue.values[1] = nullptr;
  ODAX_SetOverRideKeyValue(noValue.keys.get(), noValue.values.get());
  EXPECT_STREQ(mOverRideKeyList[0].get(), "a");
  EXPECT_EQ(mOverRideKeyList[1], nullptr);
}

TEST_F(PacketsTest, AFullListHas128Pairs) {
  Pairs::List list;
  for (int i = 0; i < 128; ++i) list.emplace_back("k" + std::to_string(i), std::to_string(i));
  overrides(list);
  EXPECT_STREQ(mOverRideKeyList[127].get(), "k127");
  folder.write("SJ.xml", "<x:k127>-</x:k127>\n");
  ODAX_SendJobSJ();
  EXPECT_EQ(written(), "<x:k127>127</x:k127>");
}

// Size and continuation ---------------------------------------------------------------------------

TEST_F(PacketsTest, TheFirstElementOfALineGetsTheSize) {
  struct Case {
    const char* name;
    const char* line;
    uint32_t size;
    const char* want;
    uint32_t count;
  };
  const Case kCases[] = {
      {"longer", "<d:datasize>0</d:datasize>", 1000, "<d:datasize>1000</d:datasize>", 29},
      {"shorter", "<d:datasize>12345</d:datasize>", 7, "<d:datasize>7</d:datasize>", 26},
      {"0", "<d:datasize>5</d:datasize>", 0, "<d:datasize>0</d:datasize>", 26},
      {"the same", "<d:datasize>5</d:datasize>", 5, "<d:datasize>5</d:datasize>", 26},
      {"the greatest", "<datasize>0</datasize>", 4294967295U, "<datasize>4294967295</datasize>",
       31},
      {"any text as placeholder", "<datasize>to be set</datasize>", 10, "<datasize>10</datasize>",
       23},
      {"the first element, whatever it is", "<a>1</a><datasize>2</datasize>", 33,
       "<a>33</a><datasize>2</datasize>", 31},
      {"text in front", "size: <datasize>0</datasize>", 33, "size: <datasize>33</datasize>", 29},
      {"> in front are skipped", ">>datasize>5<", 33, ">>datasize>33<", 14},
      {"< behind the > are skipped", "<datasize><5</datasize>", 33, "<datasize><5</datasize>", 24},
      {"no < behind: only the count changes", "<datasize>12", 3, "<datasize>12", 11},
      {"an empty element: only the count changes", "<datasize></datasize>", 5,
       "<datasize></datasize>", 12},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Line line(c.line);
    replaceCorrectSize(line.get(), c.size, &line.count);
    EXPECT_EQ(line.text(), c.want);
    EXPECT_EQ(line.count, c.count);
  }
}

TEST_F(PacketsTest, AChunkOfTheSplitSizeIsContinued) {
  struct Case {
    const char* name;
    uint32_t splitSize;
    int32_t chunk;
    const char* line;
    const char* want;
    uint32_t count;
  };
  const Case kCases[] = {
      {"the split size", 1000, 1000, "<continue>-</continue>", "<continue>ON</continue>", 23},
      {"less", 1000, 999, "<continue>-</continue>", "<continue>OFF</continue>", 24},
      {"no chunk", 1000, -1, "<continue>-</continue>", "<continue>OFF</continue>", 24},
      {"no chunk and a split size of -1", 0xFFFFFFFF, -1, "<continue>-</continue>",
       "<continue>OFF</continue>", 24},
      {"a negative split size", 0x80000000, 65536, "<continue>-</continue>",
       "<continue>OFF</continue>", 24},
      {"ON stays", 5, 5, "<continue>ON</continue>", "<continue>ON</continue>", 23},
      {"OFF to ON", 5, 5, "<continue>OFF</continue>", "<continue>ON</continue>", 23},
      {"the first element, whatever it is", 5, 5, "<a>1</a><continue/>", "<a>ON</a><continue/>",
       20},
      {"an empty element: only the count changes", 5, 4, "<continue></continue>",
       "<continue></continue>", 14},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    ODAX_SetSplitDataSize(c.splitSize);
    Line line(c.line);
    replaceCorrectContinueFlug(line.get(), c.chunk, &line.count);
    EXPECT_EQ(line.text(), c.want);
    EXPECT_EQ(line.count, c.count);
  }
  ODAX_SetSplitDataSize(0);
}

TEST_F(PacketsTest, ALineWithoutAnElementIsRefused) {
  for (const char* text : {"", ">", ">>>", "datasize continue", "<datasize><", "<continue>",
                           ">datasize>", "<datasize><<<"}) {
    SCOPED_TRACE(text);
    Line line(text);
    Capture size;
    EXPECT_EQ(thrownBy([&] { replaceCorrectSize(line.get(), 5, &line.count); }), -71);
    EXPECT_THAT(size.err(),
                MatchesRegex("ERROR! replaceCorrectSize\\(\\): strtok error\\([0-9]+\\) "
                             "ODAXOutLib.cpp\\(1172\\)\n"));
    Capture flag;
    EXPECT_EQ(thrownBy([&] { replaceCorrectContinueFlug(line.get(), 5, &line.count); }), -73);
    EXPECT_THAT(flag.err(),
                MatchesRegex("ERROR! replaceCorrectContinueFlug\\(\\): strtok error\\([0-9]+\\) "
                             "ODAXOutLib.cpp\\(1219\\)\n"));
    EXPECT_EQ(line.text(), text);
  }
}

TEST_F(PacketsTest, ASizeThatMakesTheLineTooLongIsRefused) {
  const std::string text = "<datasize>0</datasize>" + std::string(1000, ' ');
  Line fits(text);
  replaceCorrectSize(fits.get(), 12, &fits.count);
  EXPECT_EQ(fits.count, 1023U);

  Line line(text);
  Capture capture;
  EXPECT_EQ(thrownBy([&] { replaceCorrectSize(line.get(), 123, &line.count); }), -67);
  EXPECT_EQ(capture.err(), "ERROR!: A value of too int32_t overriding \"123\".\n");
}

// Writing lines -----------------------------------------------------------------------------------

TEST_F(PacketsTest, AJobPacketWritesTheLowByteOfACount) {
  sendSetODAX("abc", 3);
  sendSetODAX("xyz", 0);
  sendSetODAX("de\0f", 4);
  EXPECT_EQ(written(), "abcde\0f"s);
}

TEST_F(PacketsTest, AParameterBlockIsWrittenWhenItHasBytes) {
  sendPacketParameterBlock("abc", 2);
  sendPacketParameterBlock("xyz", 0);
  sendPacketParameterBlock("xyz", -1);
  EXPECT_EQ(written(), "ab");
}

// Job packets -------------------------------------------------------------------------------------

struct Packet {
  const char* name;
  const char* file;
  void (*send)();
  int openCode;
};
const Packet kPackets[] = {
    {"StartJob", "SJ.xml", ODAX_SendJobSJ, -51},
    {"SetJobConfiguration", "SJC.xml", ODAX_SendJobSJC, -53},
    {"SetConfiguration", "SC.xml", ODAX_SendJobSC, -55},
    {"VendorCmd", "VC.xml", ODAX_SendJobVC, -57},
    {"EndJob", "EJ.xml", ODAX_SendJobEJ, -65},
};

// The output of one packet from a template, and the bytes that it counted.
struct Sent {
  std::string bytes;
  uint32_t counted;
};

class JobPacketsTest : public PacketsTest {
 protected:
  Sent send(const Packet& packet, std::string_view content, const Pairs::List& pairs = {}) {
    restart(0);
    ODAX_SetIsExistVC(1);
    if (!pairs.empty()) overrides(pairs);
    folder.write(packet.file, content);
    packet.send();
    const uint32_t counted = mJobDataSize;
    return {written(), counted};
  }
};

TEST_F(JobPacketsTest, ATemplateIsWrittenWithoutItsLineEnds) {
  struct Case {
    const char* name;
    std::string content;
    std::string bytes;
    uint32_t counted;
  };
  const Case kCases[] = {
      {"LF", "<a>\n  <b/>\n</a>\n", "<a>  <b/></a>", 13},
      {"CR LF", "<a>\r\n  <b/>\r\n</a>\r\n", "<a>  <b/></a>", 13},
      {"CR", "<a>\r  <b/>\r</a>\r", "<a>  <b/></a>", 13},
      {"no end of the last line", "<a>\n</a>", "<a></a>", 7},
      {"empty lines", "\n\n<a>\n\n</a>\n\n", "<a></a>", 7},
      {"nothing", "", "", 0},
      {"a byte-order mark", "\xEF\xBB\xBF<a>\n</a>\n", "<a></a>", 7},
      {"a byte-order mark alone", "\xEF\xBB\xBF\n<a>\n", "<a>", 3},
      {"a byte-order mark on the second line stays", "<a>\n\xEF\xBB\xBF<b>\n", "<a>\xEF\xBB\xBF<b>",
       9},
      {"NUL bytes", "a\0b\nc\0\n"s, "a\0bc\0"s, 5},
      {"blanks and tabs", " \t<a> \t\n", " \t<a> \t", 7},
      {"a line of the suppression marker", "<a>\nODAXGEN_SUPPRESSION\n</a>\n", "<a></a>", 7},
      {"the marker is a whole line", "<a>\n ODAXGEN_SUPPRESSION\n</a>\n",
       "<a> ODAXGEN_SUPPRESSION</a>", 27},
      {"continue means nothing here", "<continue>x</continue>\n", "<continue>x</continue>", 22},
  };
  for (const Packet& packet : kPackets) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(packet.name + ": "s + c.name);
      const Sent sent = send(packet, c.content);
      EXPECT_EQ(sent.bytes, c.bytes);
      EXPECT_EQ(sent.counted, c.counted);
    }
  }
}

TEST_F(JobPacketsTest, LongLinesLoseMultiplesOf256BytesButAreCountedWhole) {
  struct Case {
    size_t length;
    size_t written;
    uint32_t counted;
  };
  const Case kCases[] = {{254, 254, 254},   {255, 255, 255}, {256, 0, 256},   {257, 1, 257},
                         {300, 44, 300},    {511, 255, 511}, {512, 0, 512},   {1022, 254, 1022},
                         {1023, 255, 1023}, {1024, 0, 1024}, {1025, 0, 1024}, {3000, 0, 1024}};
  for (const Packet& packet : kPackets) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(packet.name + " "s + std::to_string(c.length));
      std::string line = dataBytes(c.length);
      for (char& character : line) character = static_cast<char>('a' + (character & 15));
      const Sent sent = send(packet, line + "\n!\n");
      EXPECT_EQ(sent.bytes, line.substr(0, c.written) + "!");
      EXPECT_EQ(sent.counted, c.counted + 1);
    }
  }
}

TEST_F(JobPacketsTest, ValuesAreOverriddenInListOrder) {
  struct Case {
    const char* name;
    const char* content;
    Pairs::List pairs;
    const char* bytes;
    uint32_t counted;
  };
  const Case kCases[] = {
      {"one value", "<a>\n<x:K>1</x:K>\n</a>\n", {{"K", "22"}}, "<a><x:K>22</x:K></a>", 20},
      {"two pairs of one key", "<x:K>1</x:K>\n", {{"K", "22"}, {"K", "333"}}, "<x:K>333</x:K>", 14},
      {"two keys",
       "<x:K>1</x:K>\n<x:L>2</x:L>\n",
       {{"L", "4"}, {"K", "3"}},
       "<x:K>3</x:K><x:L>4</x:L>",
       24},
      {"a dropped line", "<a>\n<x:K>1</x:K>\n</a>\n", {{"K", kSuppress}}, "<a></a>", 7},
      {"a line dropped by the second pair",
       "<x:K>1</x:K>\n",
       {{"K", "2"}, {"K", kSuppress}},
       "",
       0},
      {"a dropped line has no key any more",
       "<x:K>1</x:K>\n",
       {{"K", kSuppress}, {"K", "2"}},
       "",
       0},
      {"every line with the key",
       "<x:K>1</x:K>\n<x:K>1</x:K>\n",
       {{"K", "2"}},
       "<x:K>2</x:K><x:K>2</x:K>",
       24},
      {"a value that makes the marker", "ODAXGEN_x\n", {{"x", "SUPPRESSION"}}, "ODAXGEN_x", 9},
  };
  for (const Packet& packet : kPackets) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(packet.name + ": "s + c.name);
      const Sent sent = send(packet, c.content, c.pairs);
      EXPECT_EQ(sent.bytes, c.bytes);
      EXPECT_EQ(sent.counted, c.counted);
    }
  }
}

TEST_F(JobPacketsTest, ACountGreaterThanTheTextWritesWhatEarlierLinesLeft) {
  // The second line grows by 3 characters that were never put in; the buffer began with zeros.
  const std::string content = "ABCDEFGHIJ\n1</x:K>\n12345</x:K>\n";
  const Sent sent = send(kPackets[0], content, {{"K", "333"}});
  EXPECT_EQ(sent.bytes,
            "ABCDEFGHIJ"
            "1</x:K>\0IJ"
            "12345</x:K>\0\0\0"s);
  EXPECT_EQ(sent.counted, 34U);
}

TEST_F(JobPacketsTest, AnOverrideChangesTheTextInFrontOfANul) {
  const Sent sent = send(kPackets[0], "<x:K>1</x:K>\0tail\n"s, {{"K", "1"}});
  EXPECT_EQ(sent.bytes, "<x:K>1</x:K>\0tail"s);
  EXPECT_EQ(sent.counted, 17U);
  // A longer text moves its NUL; the bytes behind that stay where they were.
  EXPECT_EQ(send(kPackets[0], "<x:K>1</x:K>\0tail\n"s, {{"K", "22"}}).bytes,
            "<x:K>22</x:K>\0ail\0"s);
}

TEST_F(JobPacketsTest, AMissingTemplateIsReported) {
  for (const Packet& packet : kPackets) {
    SCOPED_TRACE(packet.name);
    restart(0);
    ODAX_SetIsExistVC(1);
    std::filesystem::remove(folder.path(packet.file));
    Capture capture;
    EXPECT_EQ(thrownBy(packet.send), packet.openCode);
    EXPECT_EQ(folder.shorten(capture.err()),
              "ERROR!: Can't open file \"@/"s + packet.file + "\"\n");
  }
}

TEST_F(JobPacketsTest, TooLongAnOverrideStopsThePacketWhereItIs) {
  for (const Packet& packet : kPackets) {
    SCOPED_TRACE(packet.name);
    restart(0);
    ODAX_SetIsExistVC(1);
    overrides({{"K", std::string(1015, 'v')}});
    folder.write(packet.file, "<a>\n<x:K>1</x:K>\n</a>\n");
    Capture capture;
    EXPECT_EQ(thrownBy(packet.send), -67);
    EXPECT_EQ(capture.err(),
              "ERROR!: A value of too int32_t overriding \"" + std::string(1015, 'v') + "\".\n");
    EXPECT_EQ(mJobDataSize, 3U);
    EXPECT_EQ(written(), "<a>");
  }
}

TEST_F(JobPacketsTest, WithoutItsFlagVendorCmdDoesNotEvenOpenItsTemplate) {
  std::filesystem::remove(folder.path("VC.xml"));
  ODAX_SetIsExistVC(0);
  ODAX_SendJobVC();
  EXPECT_EQ(mJobDataSize, 0U);
  EXPECT_EQ(written(), "");
}

TEST_F(JobPacketsTest, OnlyEndJobRewritesTheSize) {
  for (const Packet& packet : kPackets) {
    SCOPED_TRACE(packet.name);
    const Sent sent = send(packet, "12345\n<datasize>0</datasize>\n<datasize>0</datasize>\n");
    if (packet.send == ODAX_SendJobEJ) {
      EXPECT_EQ(sent.bytes, "12345<datasize>5</datasize><datasize>27</datasize>");
      EXPECT_EQ(sent.counted, 50U);
    } else {
      EXPECT_EQ(sent.bytes, "12345<datasize>0</datasize><datasize>0</datasize>");
      EXPECT_EQ(sent.counted, 49U);
    }
  }
}

TEST_F(JobPacketsTest, TheSizeIsRewrittenBeforeItIsOverridden) {
  const Sent sent = send(kPackets[4], "123\n<x:datasize>0</x:datasize>\n", {{"datasize", "77"}});
  EXPECT_EQ(sent.bytes, "123<x:datasize>77</x:datasize>");
}

TEST_F(JobPacketsTest, AnEndJobSizeWithoutAnElementStopsThePacket) {
  folder.write("EJ.xml", "<a>\ndatasize\n</a>\n");
  Capture capture;
  EXPECT_EQ(thrownBy(ODAX_SendJobEJ), -71);
  EXPECT_EQ(written(), "<a>");
}

// Send-data packets -------------------------------------------------------------------------------

class DataPacketsTest : public PacketsTest {
 protected:
  Sent send(std::string_view content, std::string_view data, const Pairs::List& pairs = {}) {
    restart(5);
    if (!pairs.empty()) overrides(pairs);
    folder.write("SD.xml", content);
    sendDataRaster(data.data(), static_cast<uint32_t>(data.size()));
    const uint32_t counted = mJobDataSize;
    return {written(), counted};
  }
};

TEST_F(DataPacketsTest, ATemplateIsFollowedByItsData) {
  struct Case {
    const char* name;
    std::string content;
    std::string data;
    Pairs::List pairs;
    std::string bytes;
    uint32_t counted;
  };
  const Case kCases[] = {
      {"a chunk of the split size",
       "<datasize>0</datasize>\n<continue>-</continue>\n",
       "abcde",
       {},
       "<datasize>5</datasize><continue>ON</continue>abcde",
       50},
      {"less",
       "<datasize>0</datasize>\n<continue>-</continue>\n",
       "abc",
       {},
       "<datasize>3</datasize><continue>OFF</continue>abc",
       49},
      {"more",
       "<datasize>0</datasize>\n<continue>-</continue>\n",
       "abcdefghijk",
       {},
       "<datasize>11</datasize><continue>OFF</continue>abcdefghijk",
       58},
      {"data of any bytes", "<a>\n", "\0\r\n\xFF"s, {}, "<a>\0\r\n\xFF"s, 7},
      {"no lines", "", "abc", {}, "abc", 3},
      {"CR LF", "<a>\r\n</a>\r\n", "abc", {}, "<a></a>abc", 10},
      {"a byte-order mark is kept",
       "\xEF\xBB\xBF<a>\n</a>\n",
       "abc",
       {},
       "\xEF\xBB\xBF<a></a>abc",
       13},
      {"a NUL in a line", "a\0b\n"s, "abc", {}, "a\0babc"s, 6},
      {"size and continuation in one line",
       "<a>0</a><b datasize continue/>\n",
       "abc",
       {},
       "<a>OFF</a><b datasize continue/>abc",
       35},
      {"any line that holds the words",
       "<x>0</x> the datasize\n<y>0</y> to be continued\n",
       "abc",
       {},
       "<x>3</x> the datasize<y>OFF</y> to be continuedabc",
       50},
      {"an overridden value", "<x:K>1</x:K>\n", "abc", {{"K", "22"}}, "<x:K>22</x:K>abc", 16},
      {"an overridden size",
       "<x:datasize>0</x:datasize>\n",
       "abc",
       {{"datasize", "77"}},
       "<x:datasize>77</x:datasize>abc",
       30},
      {"a dropped size",
       "<x:datasize>0</x:datasize>\n",
       "abc",
       {{"datasize", kSuppress}},
       "abc",
       3},
      {"a line of the suppression marker", "<a>\nODAXGEN_SUPPRESSION\n", "abc", {}, "<a>abc", 6},
      {"an empty size element keeps its wrong count",
       "<datasize></datasize>\n",
       "abc",
       {},
       "<datasize></abc",
       15},
      {"a size without <: cut", "<datasize>12\n", "abc", {}, "<datasize>1abc", 14},
      {"an empty continue element keeps its wrong count",
       "<continue></continue>\n",
       "abc",
       {},
       "<continue></coabc",
       17},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Sent sent = send(c.content, c.data, c.pairs);
    EXPECT_EQ(sent.bytes, c.bytes);
    EXPECT_EQ(sent.counted, c.counted);
  }
}

TEST_F(DataPacketsTest, LongLinesAreWrittenWhole) {
  for (const size_t length : {255U, 256U, 257U, 300U, 512U, 1022U, 1023U}) {
    SCOPED_TRACE(length);
    const std::string line(length, 'x');
    const Sent sent = send(line + "\n!\n", "abc");
    EXPECT_EQ(sent.bytes, line + "!abc");
    EXPECT_EQ(sent.counted, length + 4);
  }
}

TEST_F(DataPacketsTest, ALineThatWasCutIsWrittenWithItsNul) {
  for (const size_t length : {1024U, 1025U, 3000U}) {
    SCOPED_TRACE(length);
    const Sent sent = send(std::string(length, 'x') + "\n!\n", "abc");
    EXPECT_EQ(sent.bytes, std::string(1023, 'x') + "\0!abc"s);
    EXPECT_EQ(sent.counted, 1028U);
  }
}

TEST_F(DataPacketsTest, ALineWithoutAnElementStopsThePacketWhereItIs) {
  struct Case {
    const char* content;
    int code;
  };
  for (const Case& c : {Case{"<a>\ndatasize\n", -71}, Case{"<a>\n<datasize>\n", -71},
                        Case{"<a>\ncontinue\n", -73}, Case{"<a>\n<continue>\n", -73}}) {
    SCOPED_TRACE(c.content);
    restart(5);
    folder.write("SD.xml", c.content);
    Capture capture;
    EXPECT_EQ(thrownBy([] { sendDataRaster("abc", 3); }), c.code);
    EXPECT_EQ(written(), "<a>");
  }
}

// The lines of packets of one size are put together once.
TEST_F(DataPacketsTest, ASecondPacketHasTheLinesOfItsOwnTime) {
  restart(5);
  folder.write("SD.xml", "<datasize>0</datasize>\n<x:K>1</x:K>\n");
  sendDataRaster("abc", 3);
  sendDataRaster("def", 3);
  folder.write("SD.xml", "<datasize>-</datasize>\n<x:K>another</x:K>\n");
  sendDataRaster("ghi", 3);
  overrides({{"K", "2"}});
  sendDataRaster("jkl", 3);
  sendDataRaster("m", 1);
  EXPECT_EQ(written(),
            "<datasize>3</datasize><x:K>1</x:K>abc<datasize>3</datasize><x:K>1</x:K>def"
            "<datasize>3</datasize><x:K>another</x:K>ghi<datasize>3</datasize><x:K>2</x:K>jkl"
            "<datasize>1</datasize><x:K>2</x:K>m");
  std::filesystem::remove(folder.path("SD.xml"));
  Capture capture;
  EXPECT_EQ(thrownBy([] { sendDataRaster("n", 1); }), -59);
}

TEST_F(DataPacketsTest, AMissingTemplateIsReported) {
  restart(5);
  std::filesystem::remove(folder.path("SD.xml"));
  Capture capture;
  EXPECT_EQ(thrownBy([] { sendDataRaster("abc", 3); }), -59);
  EXPECT_EQ(folder.shorten(capture.err()), "ERROR!: Can't open file \"@/SD.xml\"\n");
  EXPECT_EQ(written(), "");
}

TEST_F(DataPacketsTest, TheTemporaryFileIsSentAsOnePacket) {
  for (const size_t size : {0U, 1U, 65536U, 65537U, 200000U}) {
    SCOPED_TRACE(size);
    restart(0);
    const std::string data = dataBytes(size);
    folder.write("temp/TEMP_ODAXGEN.dat", data);
    folder.write("SD.xml",
                 "\xEF\xBB\xBF<datasize>0</datasize>\n<continue>-</continue>\n<x:K>1</x:K>\n"
                 "ODAXGEN_SUPPRESSION\n");
    overrides({{"K", "22"}});
    mTempJobDataSize = static_cast<uint32_t>(size);
    sendDataRasterNotDivide();
    const std::string number = std::to_string(size);
    EXPECT_EQ(mJobDataSize, 3 + 21 + number.size() + 24 + 13 + size);
    std::string want = "\xEF\xBB\xBF<datasize>";
    want += number;
    want += "</datasize><continue>OFF</continue><x:K>22</x:K>";
    want += data;
    EXPECT_TRUE(written() == want);
    EXPECT_TRUE(folder.exists("temp/TEMP_ODAXGEN.dat"));
  }
}

TEST_F(DataPacketsTest, OnePacketsLongLinesAreWrittenWhole) {
  folder.write("temp/TEMP_ODAXGEN.dat", "abc");
  folder.write("SD.xml", std::string(300, 'x') + "\n" + std::string(1024, 'y') + "\n");
  sendDataRasterNotDivide();
  EXPECT_EQ(written(), std::string(300, 'x') + std::string(1023, 'y') + "\0abc"s);
}

TEST_F(DataPacketsTest, OnePacketWithoutTemplateOrTemporaryFileIsReported) {
  {
    Capture capture;
    EXPECT_EQ(thrownBy(sendDataRasterNotDivide), -64);
    EXPECT_EQ(folder.shorten(capture.err()),
              "ERROR!: Can't open file \"@/temp/TEMP_ODAXGEN.dat\"\n");
  }
  std::filesystem::remove(folder.path("SD.xml"));
  Capture capture;
  EXPECT_EQ(thrownBy(sendDataRasterNotDivide), -62);
  EXPECT_EQ(folder.shorten(capture.err()), "ERROR!: Can't open file \"@/SD.xml\"\n");
}

}  // namespace
