// OverrideRules: what a line is to an override, held against what the packet writer does with it.
#include "OverrideRules.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "Limits.h"
#include "ODAXOutLib.h"
#include "Silence.h"

using namespace jobcheck;

namespace {

TEST(OverrideRulesTest, AKeyIsTheEndOfATagOrANameAttribute) {
  EXPECT_EQ(matchOf("<j:Copies>1</j:Copies>", "Copies"), Match::kTag);
  EXPECT_EQ(matchOf("<j:Copies of=\"x\">1</j:Copies>", "Copies"), Match::kTag);
  EXPECT_EQ(matchOf("<j:S name=\"Quality\">1</j:S>", "Quality"), Match::kName);
  EXPECT_EQ(matchOf("<j:S name=\"Quality\">1</j:S>", "Qual"), Match::kNamePrefix);
  EXPECT_EQ(matchOf("<Copies>1</Copies>", "Copies"), Match::kNone);
  EXPECT_EQ(matchOf("<j:S name='Quality'>1</j:S>", "Quality"), Match::kNone);
  EXPECT_EQ(matchOf("", "x"), Match::kNone);
}

TEST(OverrideRulesTest, LongKeysMatchMoreThanTheySay) {
  EXPECT_EQ(matchOf(std::string(249, 'k'), std::string(249, 'k')), Match::kNone);
  EXPECT_NE(matchOf(std::string(250, 'k'), std::string(250, 'k')), Match::kNone);
  EXPECT_EQ(matchOf(std::string(254, 'k'), std::string(254, 'k')), Match::kTag);
}

TEST(OverrideRulesTest, TheTextsOfALine) {
  EXPECT_EQ(overriddenText("<a>1</a>"), "1");
  EXPECT_EQ(overriddenText("<a><b>1</b></a>"), "<b>1</b>");
  EXPECT_EQ(overriddenText("<a>1"), "1");
  EXPECT_EQ(overriddenText("<a"), std::nullopt);
  EXPECT_EQ(filledText("<a>1</a>"), "1");
  EXPECT_EQ(filledText("<a></a>"), "/a>");
  EXPECT_EQ(filledText("<a>"), std::nullopt);
  EXPECT_EQ(filledText(">>"), std::nullopt);
  EXPECT_EQ(filledText("text"), std::nullopt);
}

TEST(OverrideRulesTest, TheKeysOfALine) {
  const std::vector<std::string> keys =
      keysOfLine("<j:Copies>1</j:Copies><j:S name=\"Paper size\"/><j:T name=\"Ink\">");
  EXPECT_EQ(keys, (std::vector<std::string>{"Copies", "Copies", "Ink"}));
  EXPECT_TRUE(keysOfLine("urn:x <a:").empty());
}

TEST(OverrideRulesTest, OpeningAndMarkup) {
  EXPECT_TRUE(opensElement("<a>"));
  EXPECT_TRUE(opensElement("<a><b/>"));
  for (const char* line : {"", "text", "<a/>", "<a>1</a>", "</a>", "<?xml x?>", "<!-- a -->"})
    EXPECT_FALSE(opensElement(line)) << line;
  for (const char* text : {"a<b", "a & b", "&", "&;", "a&b", "&a b;"})
    EXPECT_TRUE(hasMarkup(text)) << text;
  for (const char* text : {"", "a > b", "&amp;", "a &lt; b", "&#65;"})
    EXPECT_FALSE(hasMarkup(text)) << text;
}

// The packet writer changes a line, by its text or its count, only when the rules say so; and when
// they name a text that stands between ">" and "<", that text is replaced.
TEST(OverrideRulesTest, ThePacketWriterGoesByThem) {
  std::mt19937 random(11);
  const auto below = [&random](size_t end) { return static_cast<size_t>(random() % end); };
  const std::array<std::string, 11> parts = {"<", ">", "</", ":K>", "name=\"K", "\"",
                                             "K", "x", " ",  "K2",  "name="};
  size_t replaced = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string line;
    for (size_t i = 0; i < 1 + below(9); ++i) line += parts[below(parts.size())];
    std::array<char, kLineBytes> key{"K"};
    std::array<char, kLineBytes> value{"value"};
    std::array<char*, kMaxOverrides> keys{key.data()};
    std::array<char*, kMaxOverrides> values{value.data()};
    ODAX_SetOverRideKeyValue(keys.data(), values.data());
    std::array<char, kLineBytes> text{};
    std::copy(line.begin(), line.end(), text.begin());
    auto count = static_cast<uint32_t>(line.size());
    overrideValues(text.data(), &count, 0);
    ODAX_Init();
    const bool isTouched = text.data() != line || count != line.size();
    const auto old = overriddenText(line);
    const bool isMatch = matchOf(line, "K") != Match::kNone && old.has_value();
    ASSERT_TRUE(isMatch || !isTouched) << line;
    if (!isMatch) continue;
    const bool isReplaced = text.data() != line;
    replaced += isReplaced ? 1 : 0;
    ASSERT_EQ(isReplaced, hasElementText(line, *old)) << line;
  }
  EXPECT_GT(replaced, 500U);
}

}  // namespace
