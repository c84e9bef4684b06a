// Folders where everybody puts files: links and files that somebody else has planted under the
// names that the command is about to use.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "FaultJobs.h"
#include "Program.h"
#include "TempFolder.h"

using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

constexpr const char* kVictim = "nobody may write here";
constexpr uid_t kSomebody = 12345;

class PlantedFilesTest : public testing::Test, public TempFolder {
 protected:
  PlantedFilesTest() {
    writeFilesOfFaultJobs(*this);
    write("victim", std::string_view(kVictim));
    fs::create_directory(path("shared"));
    fs::permissions(path("shared"), fs::perms(01777));
  }

  /// A job with ready-made data. @param output  as in its configuration
  void writeJob(const std::string& output, const std::string& split,
                const std::string& data = "data.bin") const {
    write("job.cfg", "[Global]\nOutFilePath=\"" + output + "\"\nSplitDataSize=" + split +
                         "\nSendDataFile=\"" + data +
                         "\"\n[ODAX]\nStartJobXmlFile=\"StartJob.xml\"\n"
                         "SetJobConfigurationXmlFile=\"SetJobConfiguration.xml\"\n"
                         "SetConfigurationXmlFile=\"SetConfiguration.xml\"\n"
                         "SendDataXmlFile=\"SendData.xml\"\nEndJobXmlFile=\"EndJob.xml\"\n");
  }
  void plant(const std::string& name) const { fs::create_symlink(path("victim"), path(name)); }
  void expectVictimUntouched() const { EXPECT_EQ(text("victim"), kVictim); }
};

TEST_F(PlantedFilesTest, ATemporaryFileUnderTheNameOfTheLibrarysOwn) {
  plant("shared/TEMP_ODAXGEN.dat");
  writeJob("job.odx", "0");
  const ProgramResult result =
      runOdaxgen({"run", "-q", "job.cfg"}, path(), {.variables = {{"TMPDIR", path("shared")}}});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_TRUE(fs::is_symlink(path("shared/TEMP_ODAXGEN.dat")));
  expectVictimUntouched();
}

TEST_F(PlantedFilesTest, APartialOutputReplacesALinkAndDoesNotFollowIt) {
  plant("shared/job.odx.partial");
  writeJob("shared/job.odx", "100", "none");
  const ProgramResult result = runOdaxgen({"run", "-q", "--keep-partial", "job.cfg"}, path());
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_FALSE(fs::is_symlink(path("shared/job.odx.partial")));
  EXPECT_THAT(text("shared/job.odx.partial"), HasSubstr("<SJ>"));
  expectVictimUntouched();
}

TEST_F(PlantedFilesTest, ALinkOfSomebodyElseInASharedFolderIsNoPlaceForTheOutput) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can plant a link for somebody else";
  for (const char* split : {"0", "100"}) {
    SCOPED_TRACE(split);
    fs::remove(path("shared/job.odx"));
    plant("shared/job.odx");
    ASSERT_EQ(lchown(path("shared/job.odx").c_str(), kSomebody, kSomebody), 0);
    writeJob("shared/job.odx", split);
    const ProgramResult result = runOdaxgen({"run", "-q", "job.cfg"}, path());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err,
                HasSubstr("ERROR!: Can't open the file \"" + path("shared/job.odx") + "\".\n"));
    EXPECT_TRUE(fs::is_symlink(path("shared/job.odx")));
    expectVictimUntouched();
    // Our own is followed, as everywhere.
    ASSERT_EQ(lchown(path("shared/job.odx").c_str(), geteuid(), getegid()), 0);
    EXPECT_EQ(runOdaxgen({"run", "-q", "job.cfg"}, path()).exitCode, 0);
    EXPECT_THAT(text("victim"), HasSubstr("<SJ>"));
    write("victim", std::string_view(kVictim));
  }
}

// Whoever knows the number of the process knows the names that a picture has until it is whole.
TEST_F(PlantedFilesTest, APictureThatIsBeingWrittenTakesAnotherNameThanTheOneThatIsThere) {
  std::string job;
  for (const FaultJob& each : jobsOfEachKind()) {
    if (each.name == "two tables and three pages, split 100") job = each.configuration;
  }
  for (size_t at = job.find("@/"); at != std::string::npos; at = job.find("@/", at)) {
    job.erase(at, 2);
  }
  write("job.cfg", job);
  ASSERT_EQ(runOdaxgen({"run", "-q", "job.cfg"}, path()).exitCode, 0);
  // The shell becomes the command and keeps its number.
  const std::string command =
      "for n in 0 1 2; do ln -s ../victim shared/page-1-K.png.$$.$n.part; done; exec " +
      std::string(ODAXGEN_PROGRAM) + " render job.odx -o shared --page 1 --ink K";
  const ProgramResult result = runProgram({"/bin/sh", "-c", command}, path());
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(text("shared/page-1-K.png").substr(1, 3), "PNG");
  size_t links = 0;
  for (const auto& entry : fs::directory_iterator(path("shared"))) links += entry.is_symlink();
  EXPECT_EQ(links, 3U);
  expectVictimUntouched();
}

TEST_F(PlantedFilesTest, AJobToStartFromIsNotWrittenThroughALink) {
  fs::create_symlink(path("elsewhere"), path("shared/first"));
  const ProgramResult dangling = runOdaxgen({"init", "shared/first"}, path());
  EXPECT_EQ(dangling.exitCode, 1) << dangling.err;
  EXPECT_FALSE(exists("elsewhere"));
}

// The name of the file that becomes the output cannot be guessed, and nobody else can open it
// before it is whole.
TEST_F(PlantedFilesTest, AnOutputInTheMakingIsNew) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  writeJob("shared/job.odx", "100", "pipe");
  std::vector<std::string> names;
  for (int turn = 0; turn < 2; ++turn) {
    RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path());
    std::FILE* const data = std::fopen(path("pipe").c_str(), "w");  // the job has got this far
    ASSERT_NE(data, nullptr);
    for (const auto& entry : fs::directory_iterator(path("shared"))) {
      if (entry.path().extension() != ".part") continue;
      names.push_back(entry.path().string());
      struct stat status = {};
      ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
      EXPECT_TRUE(S_ISREG(status.st_mode));
      EXPECT_EQ(status.st_mode & 0777U, 0600U);
    }
    std::fclose(data);
    EXPECT_EQ(job.wait().exitCode, 0);
  }
  ASSERT_EQ(names.size(), 2U);
  EXPECT_NE(names[0], names[1]);
}

}  // namespace
