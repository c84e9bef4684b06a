// The odaxgen command, through its binary, in a fresh folder.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Program.h"
#include "TempFolder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

ProgramResult odaxgen(const TempFolder& folder, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), ODAXGEN_PROGRAM);
  return runProgram(arguments, folder.path());
}

// A whole job that needs no image: a data file in one packet.
void writeJob(const TempFolder& folder, const std::string& name) {
  std::string templates;
  for (const char* key : {"StartJobXmlFile", "SetJobConfigurationXmlFile",
                          "SetConfigurationXmlFile", "SendDataXmlFile", "EndJobXmlFile"}) {
    templates +=
        std::string(key) + "=\"" + folder.write(key, std::string("<") + key + "/>\n") + "\"\n";
  }
  folder.write("data.bin", "RASTER");
  folder.write(name, "[Global]\nOutFilePath=\"job.odx\"\nSplitDataSize=0\nSendDataFile=\"" +
                         folder.path("data.bin") + "\"\n[ODAX]\n" + templates);
}

constexpr const char* kJobFile =
    "<StartJobXmlFile/><SetJobConfigurationXmlFile/><SetConfigurationXmlFile/>"
    "<SendDataXmlFile/>RASTER<EndJobXmlFile/>";

TEST(Command, AJobThatSucceedsEchoesItsSettingsAndExits0) {
  const TempFolder folder;
  writeJob(folder, "job.cfg");
  const ProgramResult result = odaxgen(folder, {folder.path("job.cfg")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith("-----"));
  EXPECT_THAT(result.out, EndsWith("\ndone.\n"));
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(folder.text("job.odx"), kJobFile);
}

TEST(Command, ARelativeConfigurationStandsInTheCurrentFolder) {
  const TempFolder folder;
  writeJob(folder, "jobs/job.cfg");
  const ProgramResult result = odaxgen(folder, {"jobs/job.cfg"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(folder.text("jobs/job.odx"), kJobFile);
}

TEST(Command, AConfigurationWhoseNameBeginsWithADashFollowsTwoDashes) {
  const TempFolder folder;
  writeJob(folder, "-job.cfg");
  EXPECT_EQ(odaxgen(folder, {"--", "-job.cfg"}).exitCode, 0);
  EXPECT_EQ(folder.text("job.odx"), kJobFile);
}

TEST(Command, AThrownCodeIsTheLastLineAndExits1) {
  const TempFolder folder;
  folder.write("job.cfg", "[Global]\nNoSuchKey=1\n");
  const ProgramResult result = odaxgen(folder, {"job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "UNKNOWN ITEM!: line 2.\nNoSuchKey=1\nodaxgen: job failed with code -12\n");
}

TEST(Command, AMissingConfigurationIsAFailedJob) {
  const TempFolder folder;
  const ProgramResult result = odaxgen(folder, {"none.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "ERROR!: Can't open file \"" + folder.path("none.cfg") +
                            "\"\nodaxgen: job failed with code -3\n");
}

TEST(Command, WrongUsageExits2AndSaysWhereHelpIs) {
  const TempFolder folder;
  struct Case {
    const char* name;
    std::vector<std::string> arguments;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"nothing", {}, "odaxgen: missing CONFIG\n"},
      {"only dashes", {"--"}, "odaxgen: missing CONFIG\n"},
      {"unknown option", {"--frob"}, "odaxgen: unknown option --frob\n"},
      {"two files", {"a.cfg", "b.cfg"}, "odaxgen: unexpected argument b.cfg\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ProgramResult result = odaxgen(folder, c.arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, std::string(c.message) + "try 'odaxgen --help'\n");
  }
}

TEST(Command, HelpAndVersionGoToStandardOutput) {
  const TempFolder folder;
  for (const char* option : {"--help", "-h"}) {
    const ProgramResult help = odaxgen(folder, {option});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.out, StartsWith("Usage: odaxgen CONFIG\n"));
    EXPECT_THAT(help.out, HasSubstr("Exit codes: 0 done, 1 the job failed, 2 wrong usage."));
  }
  const ProgramResult version = odaxgen(folder, {"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_THAT(version.out, testing::MatchesRegex("odaxgen [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

// The example that the README runs: both of its modes give the raster data the same bytes.
TEST(Command, TheExampleJobRunsInBothModes) {
  namespace fs = std::filesystem;
  const TempFolder folder;
  const fs::path example = fs::path(ODAXGEN_SOURCE_FOLDER) / "examples/newsletter";
  fs::copy(example, folder.path("newsletter"), fs::copy_options::recursive);
  fs::remove(folder.path("newsletter/newsletter.odx"));
  fs::remove(folder.path("newsletter/newsletter-one-packet.odx"));
  const ProgramResult split = odaxgen(folder, {"newsletter/newsletter.cfg"});
  EXPECT_EQ(split.exitCode, 0) << split.err;
  const ProgramResult whole = odaxgen(folder, {"newsletter/newsletter-one-packet.cfg"});
  EXPECT_EQ(whole.exitCode, 0) << whole.err;
  EXPECT_EQ(split.err + whole.err, "");
  const std::string splitJob = folder.text("newsletter/newsletter.odx");
  const std::string wholeJob = folder.text("newsletter/newsletter-one-packet.odx");
  // The raster data begin behind the first send-data packet; the first chunk is the same.
  const std::string opening =
      "\x1B%-12345X\x1B%0A\x1B"
      "E\x1B$v10W";
  ASSERT_NE(splitJob.find(opening), std::string::npos);
  ASSERT_NE(wholeJob.find(opening), std::string::npos);
  EXPECT_EQ(splitJob.substr(splitJob.find(opening), 65536),
            wholeJob.substr(wholeJob.find(opening), 65536));
  EXPECT_THAT(wholeJob, HasSubstr("\x1B$E\x1B%-12345X"));
}

}  // namespace
