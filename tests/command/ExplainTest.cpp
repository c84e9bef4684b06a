// odaxgen explain, through the binary.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Program.h"
#include "TempFolder.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

ProgramResult explain(std::vector<std::string> arguments) {
  const TempFolder folder;
  arguments.insert(arguments.begin(), "explain");
  return runOdaxgen(std::move(arguments), folder.path());
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(Explain, SaysWhatHappenedWhyAndWhatToDo) {
  const ProgramResult result = explain({"-3"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out,
            "-3: the configuration cannot be opened\n"
            "\n"
            "Why it happens\n"
            "  There is no file of this name, it may not be read, or a folder on the way does\n"
            "  not exist. The command starts relative paths at the current folder.\n"
            "\n"
            "What to do\n"
            "  Check the path that the message shows, and the permissions of the file.\n");
  EXPECT_EQ(result.err, "");
}

TEST(Explain, ACodeMayBeWrittenWithoutItsSign) {
  const ProgramResult signedCode = explain({"-36"});
  EXPECT_EQ(signedCode.exitCode, 0);
  EXPECT_THAT(signedCode.out, StartsWith("-36: a required key is missing\n"));
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"36"}, {"--", "-36"}, {"036"}}) {
    const ProgramResult result = explain(arguments);
    EXPECT_EQ(result.exitCode, 0) << arguments.back();
    EXPECT_EQ(result.out, signedCode.out);
  }
}

TEST(Explain, ACodeThatIsNotUsedSaysSo) {
  for (const char* code : {"-21", "-29", "-44", "-69", "-70"}) {
    const ProgramResult result = explain({code});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, StartsWith(code + std::string(": not used: no job ends with this ")));
  }
}

TEST(Explain, LinesHaveAtMost80Columns) {
  for (int code = 3; code <= 80; ++code) {
    for (const std::string& line : linesOf(explain({std::to_string(code)}).out)) {
      EXPECT_LE(line.size(), 80U) << line;
    }
  }
}

TEST(Explain, TheListHasALineForEachUsedCode) {
  const ProgramResult result = explain({"--list"});
  EXPECT_EQ(result.exitCode, 0);
  const std::vector<std::string> lines = linesOf(result.out);
  ASSERT_EQ(lines.size(), 73U);
  EXPECT_EQ(lines.front(), " -3  the configuration cannot be opened");
  EXPECT_EQ(lines.at(7), "-10  there is no [Image] section and no SendDataFile");
  EXPECT_EQ(lines.back(), "-80  HXRC: a row with the row above exceeds its bound");
  for (const std::string& line : lines) EXPECT_LE(line.size(), 80U) << line;
}

TEST(Explain, WhatIsNoCodeIsWrongUsage) {
  struct Case {
    const char* name;
    std::vector<std::string> arguments;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"nothing", {}, "CODE or --list is required"},
      {"an empty text", {""}, "'' is no error code"},
      {"a word", {"packbits"}, "'packbits' is no error code"},
      {"a sign alone", {"--", "-"}, "'-' is no error code"},
      {"a number and a letter", {"-36x"}, "'-36x' is no error code"},
      {"a control character", {"3\n"}, "'3\\x0A' is no error code"},
      {"a plus sign", {"+36"}, "'+36' is no error code"},
      {"two codes", {"-36", "-37"}, "The following argument was not expected: -37"},
      {"a code and the list", {"--list", "36"}, "CODE excludes --list"},
      {"one above the first", {"-2"}, "there is no error code -2; they go from -3 to -80"},
      {"one below the last", {"81"}, "there is no error code 81; they go from -3 to -80"},
      {"zero", {"0"}, "there is no error code 0; they go from -3 to -80"},
      {"more than an integer holds",
       {"4294967299"},
       "there is no error code 4294967299; they go from -3 to -80"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ProgramResult result = explain(c.arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "odaxgen: " + std::string(c.message) + "\ntry 'odaxgen explain --help'\n");
  }
}

TEST(Explain, HasItsOwnHelp) {
  const ProgramResult result = explain({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, AllOf(HasSubstr("Usage: odaxgen explain [OPTIONS] [CODE]\n"),
                                HasSubstr("--list"), HasSubstr("Exit codes: 0 ")));
}

}  // namespace
