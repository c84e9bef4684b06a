// odaxgen verify, through the binary.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ExampleJob.h"
#include "PageJob.h"
#include "Program.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class VerifyTest : public PageJob {
 protected:
  ProgramResult verify(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "verify");
    return runOdaxgen(arguments, folder.path());
  }
  /// A page of black, 10 x 5 pixels of 8 bits, uncompressed.
  void makeBlackPage() {
    const JobRun job = run({"0"}, separations("5", 1, 0, {{"K", 8, mixed(10, 5, 8, 0, 1)}}));
    ASSERT_EQ(job.code, 0) << job.err;
  }
};

TEST_F(VerifyTest, TheConfigurationNamesTheFileWhenNoneIsGiven) {
  makeBlackPage();
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"job.cfg"}, {"job.cfg", "out.dat"}}) {
    const ProgramResult result = verify(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "1 page, 1 plane, 50 pixels: identical\n");
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(VerifyTest, APixelThatDiffersIsNamed) {
  makeBlackPage();
  std::string file = folder.text("out.dat");
  const size_t row = file.find("*b10W");
  ASSERT_NE(row, std::string::npos);
  char& pixel = file[row + 5 + 3];
  const int was = static_cast<uint8_t>(pixel);
  pixel = static_cast<char>(pixel ^ 1);
  const int is = static_cast<uint8_t>(pixel);
  folder.write("changed.dat", file);
  const ProgramResult result = verify({"job.cfg", "changed.dat"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, StartsWith("page 1, K, row 0, column 3: level " + std::to_string(is) +
                                     ", expected " + std::to_string(was) + "\n"));
  EXPECT_THAT(result.out, HasSubstr("1 page, 1 plane, 50 pixels: 1 difference\n"));
}

TEST_F(VerifyTest, TheFirstTwentyDifferencesAreListedAndAllAreCounted) {
  makeBlackPage();
  image("image1.tif", {plain(10, 5, 8, 77)});
  const ProgramResult result = verify({"job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 20 + 2);
  EXPECT_THAT(result.out, HasSubstr("\nand 30 more differences\n"
                                    "1 page, 1 plane, 50 pixels: 50 differences\n"));
}

TEST_F(VerifyTest, AMissingJobFileIsAFailure) {
  makeBlackPage();
  const ProgramResult result = verify({"job.cfg", "none.dat"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "odaxgen: none.dat: No such file or directory\n");
}

TEST_F(VerifyTest, ARefusedConfigurationIsAFailure) {
  folder.write("bad.cfg", "[Global]\nNoSuchKey=1\n");
  const ProgramResult result = verify({"bad.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "UNKNOWN ITEM!: line 2.\nNoSuchKey=1\n"
            "odaxgen: bad.cfg: refused as a configuration with code -12\n");
}

TEST(VerifyExample, TheExampleJobIsIdenticalInBothModes) {
  const ExampleJob folder;
  for (const char* name : {"newsletter", "newsletter-one-packet"}) {
    const ProgramResult result =
        runOdaxgen({"verify", "newsletter/" + std::string(name) + ".cfg"}, folder.path());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "1 page, 4 planes, 17,340,160 pixels: identical\n");
  }
}

}  // namespace
