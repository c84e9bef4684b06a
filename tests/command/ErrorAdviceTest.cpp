// The table behind odaxgen explain, held against the library's sources and docs/error-codes.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Program.h"
#include "TempFolder.h"

using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

constexpr int kFirst = -3;
constexpr int kLast = -80;

const fs::path kSource = ODAXGEN_SOURCE_FOLDER;

std::string textOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string explain(const std::string& argument) {
  const TempFolder folder;
  const ProgramResult result = runOdaxgen({"explain", argument}, folder.path());
  EXPECT_EQ(result.exitCode, 0) << result.err;
  return result.out;
}

// In the order of the list.
std::vector<int> listedCodes() {
  std::vector<int> codes;
  std::istringstream list(explain("--list"));
  for (std::string line; std::getline(list, line);) codes.push_back(std::stoi(line));
  return codes;
}

std::set<int> numbersIn(const std::string& text, const std::regex& pattern) {
  std::set<int> numbers;
  for (auto at = std::sregex_iterator(text.begin(), text.end(), pattern);
       at != std::sregex_iterator(); ++at) {
    const int number = std::stoi((*at)[1]);
    if (number <= kFirst && number >= kLast) numbers.insert(number);
  }
  return numbers;
}

// The negative numbers in the sources of the library, comments left out.
std::set<int> thrownCodes() {
  const std::regex comment("//[^\n]*");
  const std::regex negative("[^0-9A-Za-z_](-[0-9]+)\\b");
  std::set<int> codes;
  for (const fs::directory_entry& entry : fs::directory_iterator(kSource / "Tools/src/odaxgen")) {
    const std::string code = std::regex_replace(textOf(entry.path()), comment, "");
    codes.merge(numbersIn(code, negative));
  }
  return codes;
}

// The rows of the tables of docs/error-codes.md that begin with a code: "| -36 | what happened | ".
std::set<int> documentedCodes(const std::string& second) {
  return numbersIn(textOf(kSource / "docs/error-codes.md"),
                   std::regex("\n\\| (-[0-9]+) \\| " + second));
}

std::set<int> asSet(const std::vector<int>& codes) {
  return {codes.begin(), codes.end()};
}

TEST(ErrorAdvice, EveryNumberOfTheRangeHasTitleCauseAndAdvice) {
  for (int code = kFirst; code >= kLast; --code) {
    const std::string name = std::to_string(code);
    SCOPED_TRACE(name);
    const std::regex form(name + ": [^\n]{8,72}[^.\n]\n\nWhy it happens\n(  [^\n]+\n)+" +
                          "\nWhat to do\n(  [^\n]+\n)+");
    const std::string text = explain(name);
    EXPECT_TRUE(std::regex_match(text, form)) << text;
    EXPECT_THAT(text, HasSubstr(".\n\nWhat to do\n"));  // whole sentences
    EXPECT_EQ(text.substr(text.size() - 2), ".\n");
    for (const char c : text) EXPECT_TRUE(c == '\n' || (c >= ' ' && c <= '~'));
  }
}

TEST(ErrorAdvice, TheListGoesDownWithoutRepeatingACode) {
  const std::vector<int> codes = listedCodes();
  for (size_t i = 1; i < codes.size(); ++i) EXPECT_LT(codes[i], codes[i - 1]);
}

TEST(ErrorAdvice, TheCodesInUseAreThoseOfTheSources) {
  EXPECT_EQ(asSet(listedCodes()), thrownCodes());
}

TEST(ErrorAdvice, TheCodesInUseAreThoseOfTheDocumentation) {
  const std::set<int> unused = {-21, -29, -44, -69, -70};
  EXPECT_EQ(documentedCodes("unused"), unused);
  std::set<int> all = asSet(listedCodes());
  all.insert(unused.begin(), unused.end());
  EXPECT_EQ(documentedCodes(""), all);
}

// What a program prints under the code stays short.
TEST(ErrorAdvice, AdviceHasAtMostThreeSentences) {
  const std::regex end("\\.(\\s|$)");
  for (int code = kFirst; code >= kLast; --code) {
    const std::string text = explain(std::to_string(code));
    const std::string advice = text.substr(text.find("What to do\n"));
    const auto count = std::distance(std::sregex_iterator(advice.begin(), advice.end(), end),
                                     std::sregex_iterator());
    EXPECT_GE(count, 1) << advice;
    EXPECT_LE(count, 3) << advice;
  }
}

}  // namespace
