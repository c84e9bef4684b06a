// Tests of the line reader and of the byte-order mark: where lines end, where they are cut, what is
// counted, and what stays in the buffer. Line buffers have exactly the size that is stated.
#include "TextLine.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CLibrary.h"
#include "TempFolder.h"

namespace {

using namespace std::string_literals;

constexpr std::string_view kMark = "\xEF\xBB\xBF";

// A file with a content, and a line buffer of exactly `size` bytes to read it with.
class Lines {
 public:
  explicit Lines(std::string_view content, int size = 1024) : size_(size) {
    file_.reset(std::fopen(folder_.write("text", content).c_str(), "rb"));
    line_ = std::make_unique<char[]>(static_cast<size_t>(size));
  }
  /// False at the end of the file.
  bool next() {
    count = -1;
    char* const result = sReadLine(line_.get(), size_, file_.get(), &count);
    EXPECT_TRUE(result == nullptr || result == line_.get());
    return result != nullptr;
  }
  [[nodiscard]] std::string text() const { return line_.get(); }
  /// The first bytes of the buffer, whatever they are.
  [[nodiscard]] std::string bytes(size_t amount) const { return {line_.get(), amount}; }

  int count = -1;

 private:
  int size_;
  TempFolder folder_;
  CFile file_;
  std::unique_ptr<char[]> line_;
};

// All lines of a content, each with its count.
struct Line {
  std::string text;
  int count;
  bool operator==(const Line&) const = default;
};

void PrintTo(const Line& line, std::ostream* out) {
  *out << '"' << line.text << "\" (" << line.count << ')';
}

std::vector<Line> linesOf(std::string_view content, int size = 1024) {
  Lines lines(content, size);
  std::vector<Line> all;
  while (lines.next()) all.push_back({lines.text(), lines.count});
  EXPECT_EQ(lines.count, 0);
  EXPECT_FALSE(lines.next());
  return all;
}

TEST(ReadLine, LinesEndAtCrAndAtLf) {
  struct Case {
    const char* name;
    std::string content;
    std::vector<Line> want;
  };
  const Case kCases[] = {
      {"an empty file has no line", "", {}},
      {"line feeds", "ab\ncd\n", {{"ab", 2}, {"cd", 2}}},
      {"carriage returns", "ab\rcd\r", {{"ab", 2}, {"cd", 2}}},
      {"a pair ends a line and makes an empty one",
       "ab\r\ncd\r\n",
       {{"ab", 2}, {"", 0}, {"cd", 2}, {"", 0}}},
      {"a pair the other way round too", "ab\n\rcd", {{"ab", 2}, {"", 0}, {"cd", 2}}},
      {"the last line needs no end", "ab\ncd", {{"ab", 2}, {"cd", 2}}},
      {"a single line without an end", "ab", {{"ab", 2}}},
      {"an end alone is an empty line", "\n", {{"", 0}}},
      {"empty lines count", "\n\n\n", {{"", 0}, {"", 0}, {"", 0}}},
      {"blanks and tabs are text", " a\tb \n", {{" a\tb ", 5}}},
      {"a byte of all ones is text", "\xFF\xFE\n\xFF", {{"\xFF\xFE", 2}, {"\xFF", 1}}},
      {"other control bytes are text", "a\x0B\x0C\x1A\n", {{"a\x0B\x0C\x1A", 4}}},
      {"a NUL byte is counted", "a\0bc\nd"s, {{"a", 4}, {"d", 1}}},
      {"a last line of one NUL byte is a line", "a\n\0"s, {{"a", 1}, {"", 1}}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(linesOf(c.content), c.want);
  }
}

TEST(ReadLine, TheThirdLineOfACrLfFileIsTheFifthThatIsRead) {
  const std::vector<Line> lines = linesOf("one\r\ntwo\r\nthree\r\n");
  ASSERT_GE(lines.size(), 5U);
  EXPECT_EQ(lines[4].text, "three");
}

TEST(ReadLine, ALineOfSizeCharactersIsCut) {
  struct Case {
    const char* name;
    std::string content;
    std::vector<Line> want;
  };
  const Case kCases[] = {
      {"one less than the size is whole", "1234567\nx", {{"1234567", 7}, {"x", 1}}},
      {"the size itself", "12345678\nx", {{"1234567", 8}, {"x", 1}}},
      {"one more", "123456789\nx", {{"1234567", 8}, {"x", 1}}},
      {"much more", "12345678" + std::string(5000, 'y') + "\nx", {{"1234567", 8}, {"x", 1}}},
      {"dropped up to a carriage return", "123456789\r\nx", {{"1234567", 8}, {"", 0}, {"x", 1}}},
      {"dropped up to the end of the file", "123456789", {{"1234567", 8}}},
      {"the size itself at the end of the file", "12345678", {{"1234567", 8}}},
      {"one less at the end of the file", "1234567", {{"1234567", 7}}},
      {"a NUL byte in what is dropped", "12345678\0y\nx"s, {{"1234567", 8}, {"x", 1}}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(linesOf(c.content, 8), c.want);
  }
}

TEST(ReadLine, ALineBufferOf1024BytesHolds1023Characters) {
  const std::string text(1023, 'a');
  EXPECT_EQ(linesOf(text + "\n"), (std::vector<Line>{{text, 1023}}));
  EXPECT_EQ(linesOf(text + "b\n"), (std::vector<Line>{{text, 1024}}));
  EXPECT_EQ(linesOf(text + "bc\n"), (std::vector<Line>{{text, 1024}}));
}

TEST(ReadLine, ABufferOfOneByteHoldsTheEmptyText) {
  EXPECT_EQ(linesOf("abc\n\nd", 1), (std::vector<Line>{{"", 1}, {"", 0}, {"", 1}}));
}

TEST(ReadLine, BytesBehindALineStayAsEarlierLinesLeftThem) {
  Lines lines("abcdefgh\nxy\n\n", 16);
  ASSERT_TRUE(lines.next());
  ASSERT_TRUE(lines.next());
  EXPECT_EQ(lines.bytes(10), "xy\0defgh\0\0"s);
  ASSERT_TRUE(lines.next());
  EXPECT_EQ(lines.bytes(10), "\0y\0defgh\0\0"s);
}

TEST(ReadLine, ACutLineLeavesNothingOfItsLastCharacter) {
  Lines lines("12345678\n", 8);
  ASSERT_TRUE(lines.next());
  EXPECT_EQ(lines.bytes(8), "1234567\0"s);
}

TEST(ReadLine, AFolderReadsAsAnEmptyFile) {
  const TempFolder folder;
  const CFile file(std::fopen(folder.path().c_str(), "rb"));
  ASSERT_NE(file, nullptr);
  char line[16] = {};
  int count = -1;
  EXPECT_EQ(sReadLine(line, 16, file.get(), &count), nullptr);
  EXPECT_EQ(count, 0);
}

// A line buffer of 1024 bytes with a content, and its count.
class Marked {
 public:
  explicit Marked(const std::string& content, uint32_t bytes)
      : line_(std::make_unique<char[]>(1024)), count_(bytes) {
    content.copy(line_.get(), 1024);
    deleteBOM(line_.get(), &count_);
  }
  [[nodiscard]] uint32_t count() const { return count_; }
  [[nodiscard]] std::string text() const { return line_.get(); }
  [[nodiscard]] std::string bytes(size_t amount) const { return {line_.get(), amount}; }

 private:
  std::unique_ptr<char[]> line_;
  uint32_t count_;
};

TEST(ByteOrderMark, IsDroppedFromTheTextAndFromTheCount) {
  struct Case {
    const char* name;
    std::string line, want;
    uint32_t wantCount;
  };
  const Case kCases[] = {
      {"before a text", "\xEF\xBB\xBF<xml>", "<xml>", 5},
      {"alone", "\xEF\xBB\xBF", "", 0},
      {"only the first of two", "\xEF\xBB\xBF\xEF\xBB\xBFz", "\xEF\xBB\xBFz", 4},
      {"no mark", "<xml>", "<xml>", 5},
      {"an empty line", "", "", 0},
      {"one byte of it", "\xEF", "\xEF", 1},
      {"two bytes of it", "\xEF\xBB", "\xEF\xBB", 2},
      {"two bytes of it before a text", "\xEF\xBB<x>", "\xEF\xBB<x>", 5},
      {"a mark behind a text", "a\xEF\xBB\xBF", "a\xEF\xBB\xBF", 4},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Marked marked(c.line, static_cast<uint32_t>(c.line.size()));
    EXPECT_EQ(marked.text(), c.want);
    EXPECT_EQ(marked.count(), c.wantCount);
  }
}

TEST(ByteOrderMark, IsDroppedFromTheLongestLine) {
  const std::string rest(1020, 'r');
  const Marked marked(std::string(kMark) + rest, 1023);
  EXPECT_EQ(marked.text(), rest);
  EXPECT_EQ(marked.count(), 1020U);
}

TEST(ByteOrderMark, IsDroppedFromALineThatWasCut) {
  const std::string rest(1020, 'r');
  const Marked marked(std::string(kMark) + rest, 1024);
  EXPECT_EQ(marked.text(), rest);
  EXPECT_EQ(marked.count(), 1021U);
}

TEST(ByteOrderMark, TheTextMovesWithItsNulAndNothingElseDoes) {
  const Marked marked(
      "\xEF\xBB\xBF"
      "a\0xyz"s,
      8);
  EXPECT_EQ(marked.count(), 5U);
  EXPECT_EQ(marked.bytes(8),
            "a\0\xBF"
            "a\0xyz"s);
}

TEST(ByteOrderMark, ACountNeverFallsBelow0) {
  const Marked marked(
      "\xEF\xBB\xBF"
      "abc",
      2);
  EXPECT_EQ(marked.count(), 0U);
}

TEST(ByteOrderMark, IsRecognisedByItsThreeBytesAtTheStart) {
  struct Case {
    std::string text;
    int32_t want;
  };
  const Case kCases[] = {
      {"", 0},
      {"a", 0},
      {"\xEF", 0},
      {"\xEF\xBB", 0},
      {"\xEF\xBB\xBE", 0},
      {"\xBB\xEF\xBF", 0},
      {"a\xEF\xBB\xBF", 0},
      {"\xEF\xBB\xBF", 1},
      {"\xEF\xBB\xBF"
       "abc",
       1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(visible(bytesOf(c.text)));
    const std::unique_ptr<char[]> exact(new char[c.text.size() + 1]);
    std::memcpy(exact.get(), c.text.c_str(), c.text.size() + 1);
    EXPECT_EQ(withBOM(exact.get()), c.want);
  }
}

}  // namespace
