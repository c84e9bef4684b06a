// FileText: lines as the library reads them, numbered as an editor numbers them.
#include "FileText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TempFolder.h"

using jobcheck::FileText;
using jobcheck::TextLine;

namespace {

std::vector<TextLine> linesOf(const std::string& content) {
  const TempFolder folder;
  FileText file;
  EXPECT_TRUE(file.read(folder.write("a", content)));
  EXPECT_EQ(file.content(), content);
  std::vector<TextLine> lines;
  file.forEachLine([&lines](const TextLine& line) { lines.push_back(line); });
  return lines;
}

TEST(FileTextTest, LineEndsOfAllKinds) {
  for (const std::string end : {"\n", "\r", "\r\n"}) {
    const std::vector<TextLine> lines =
        linesOf(std::string("a").append(end).append(end).append("b").append(end).append("c"));
    std::string texts;
    for (const TextLine& line : lines) {
      if (!line.text.empty()) texts.append(line.text).append(std::to_string(line.number) + " ");
    }
    EXPECT_EQ(texts, "a1 b3 c4 ");
  }
}

TEST(FileTextTest, TheLibraryCountsBothHalvesOfALineEnd) {
  const std::vector<TextLine> lines = linesOf("a\r\nb\r\n");
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[2].text, "b");
  EXPECT_EQ(lines[2].readNumber, 3);
  EXPECT_EQ(lines[2].number, 2);
  EXPECT_EQ(lines[3].number, 2);
}

TEST(FileTextTest, LongLinesAreCutAndMeasured) {
  const std::vector<TextLine> lines = linesOf(std::string(1500, 'x') + "\nb\n");
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].text.size(), 1023U);
  EXPECT_EQ(lines[0].count, 1024);
  EXPECT_EQ(lines[0].fullSize, 1500U);
  EXPECT_EQ(lines[1].text, "b");
  EXPECT_EQ(lines[1].number, 2);
}

TEST(FileTextTest, ANulByteEndsTheTextAndNotTheLine) {
  const std::vector<TextLine> lines = linesOf(std::string("a\0bc\n", 5));
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].text, "a");
  EXPECT_EQ(lines[0].count, 4);
  EXPECT_EQ(lines[0].fullSize, 4U);
}

TEST(FileTextTest, EmptyFilesAndFoldersHaveNoLines) {
  const TempFolder folder;
  EXPECT_TRUE(linesOf("").empty());
  FileText file;
  EXPECT_TRUE(file.read(folder.path()));
  EXPECT_EQ(file.content(), "");
  EXPECT_FALSE(file.read(folder.path("none")));
}

}  // namespace
