// The odaxgen command, through its binary, in a fresh folder.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ExampleJob.h"
#include "Program.h"
#include "TempFolder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

ProgramResult odaxgen(const TempFolder& folder, const std::vector<std::string>& arguments) {
  return runOdaxgen(arguments, folder.path());
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

TEST(Command, AThrownCodeIsSaidWithWhatToDoAndExits1) {
  const TempFolder folder;
  folder.write("job.cfg", "[Global]\nNoSuchKey=1\n");
  const ProgramResult result = odaxgen(folder, {"job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "UNKNOWN ITEM!: line 2.\nNoSuchKey=1\nodaxgen: job failed with code -12\n"
            "odaxgen: Correct the key or move the line to its section. [Global] has\n"
            "odaxgen: OutFilePath, SplitDataSize, ImageProcessingFile and SendDataFile.\n");
}

TEST(Command, AMissingConfigurationIsAFailedJob) {
  const TempFolder folder;
  const ProgramResult result = odaxgen(folder, {"none.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, StartsWith("ERROR!: Can't open file \"" + folder.path("none.cfg") +
                                     "\"\nodaxgen: job failed with code -3\nodaxgen: "));
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
      {"unknown option", {"--frob"}, "odaxgen: The following argument was not expected: --frob\n"},
      {"two files", {"a.cfg", "b.cfg"}, "odaxgen: a.cfg is neither a file nor a subcommand\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ProgramResult result = odaxgen(folder, c.arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, std::string(c.message) + "try 'odaxgen --help'\n");
  }
}

TEST(Command, AnEmptyNameIsWrongUsage) {
  const TempFolder folder;
  const ProgramResult result = odaxgen(folder, {""});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "odaxgen: CONFIG: the name is empty\ntry 'odaxgen --help'\n");
  EXPECT_EQ(odaxgen(folder, {"run", ""}).exitCode, 2);
}

TEST(Command, AMistypedSubcommandIsGuessed) {
  const TempFolder folder;
  const ProgramResult alone = odaxgen(folder, {"verfy"});
  EXPECT_EQ(alone.exitCode, 2);
  EXPECT_EQ(alone.err,
            "odaxgen: verfy is neither a file nor a subcommand\n"
            "odaxgen: did you mean 'odaxgen verify'?\ntry 'odaxgen --help'\n");
  EXPECT_THAT(odaxgen(folder, {"inpsect", "job.odx"}).err,
              HasSubstr("odaxgen: did you mean 'odaxgen inspect'?\n"));
  EXPECT_EQ(odaxgen(folder, {"poster.cfg"}).exitCode, 1) << "resembles no subcommand";
  writeJob(folder, "verfy");
  EXPECT_EQ(odaxgen(folder, {"verfy"}).exitCode, 0) << "it is a file";
}

TEST(Command, HelpAndVersionGoToStandardOutput) {
  const TempFolder folder;
  for (const char* option : {"--help", "-h"}) {
    const ProgramResult help = odaxgen(folder, {option});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.out, HasSubstr("Usage: odaxgen CONFIG\n       odaxgen SUBCOMMAND "));
    EXPECT_THAT(help.out, HasSubstr("Exit codes: 0 done; 1 the job failed, "));
    EXPECT_EQ(help.err, "");
  }
  const ProgramResult version = odaxgen(folder, {"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_THAT(version.out, testing::MatchesRegex(
                               "odaxgen [0-9]+\\.[0-9]+\\.[0-9]+( \\([0-9a-f]+(-dirty)?\\))?\n"));
}

TEST(Command, ASubcommandHasItsOwnHelp) {
  const TempFolder folder;
  for (const char* subcommand : {"run", "check", "inspect", "verify", "render", "init"}) {
    SCOPED_TRACE(subcommand);
    const ProgramResult help = odaxgen(folder, {subcommand, "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.out, HasSubstr(std::string("Usage: odaxgen ") + subcommand));
    EXPECT_THAT(help.out, HasSubstr("Exit codes: 0 "));
    const ProgramResult nothing = odaxgen(folder, {subcommand});
    EXPECT_EQ(nothing.exitCode, 2);
    EXPECT_THAT(nothing.err, EndsWith(std::string("try 'odaxgen ") + subcommand + " --help'\n"));
  }
}

TEST(Command, AConfigurationNamedLikeASubcommandFollowsTwoDashes) {
  const TempFolder folder;
  writeJob(folder, "inspect");
  EXPECT_EQ(odaxgen(folder, {"--", "inspect"}).exitCode, 0);
  EXPECT_EQ(folder.text("job.odx"), kJobFile);
}

// The example that the README runs: both of its modes give the raster data the same bytes.
TEST(Command, TheExampleJobRunsInBothModes) {
  const ExampleJob folder;
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
