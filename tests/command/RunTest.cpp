// odaxgen run: several jobs, their results, the output that takes its place when it is whole,
// private temporary files, signals, full disks and the progress on a terminal.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "ExampleJob.h"
#include "JsonSchema.h"
#include "Program.h"
#include "TempFolder.h"
#include "TiffWriter.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr const char* kDefaultTemplates =
    "StartJobXmlFile=\"xml/a\"\nSetJobConfigurationXmlFile=\"xml/b\"\n"
    "SetConfigurationXmlFile=\"xml/c\"\nSendDataXmlFile=\"xml/d\"\nEndJobXmlFile=\"xml/e\"\n";

// A folder of jobs. Every path in a configuration is relative.
class RunTest : public testing::Test, public TempFolder {
 protected:
  RunTest() {
    for (const char* name : {"a", "b", "c", "d", "e"}) {
      write(std::string("xml/") + name, std::string("<") + name + "/>\n");
    }
  }

  // A job that sends a data file.
  void writeDataJob(const std::string& name, const std::string& data, const std::string& split,
                    const std::string& folder = "") const {
    write(folder + name + ".cfg", "[Global]\nOutFilePath=\"" + name +
                                      ".odx\"\nSplitDataSize=" + split + "\nSendDataFile=\"" +
                                      data + "\"\n[ODAX]\n" + kDefaultTemplates);
  }
  // A job of one page.
  void writePageJob(const std::string& name, const std::string& image,
                    const std::string& split) const {
    write(name + ".cfg", "[Global]\nOutFilePath=\"" + name + ".odx\"\nSplitDataSize=" + split +
                             "\n[ODAX]\n" + kDefaultTemplates +
                             "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n"
                             "[Image]\nColorSpace=3\nNumOfPlanes=4\nCompressionMode=2\n"
                             "PixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n"
                             "ImageFileK=\"" +
                             image + "\"\n");
  }
  // A page that claims so many rows that the job takes long.
  void writeLongJob(const std::string& name, const std::string& split) const {
    TiffPage page;
    page.width = 4000;
    page.height = 20000000;
    page.strips = {Bytes(4000, 0x55)};
    write("long.tif", tiffFile(page));
    fs::resize_file(path("long.tif"), 100'000'000);  // a smaller file would not be believed
    writePageJob(name, "long.tif", split);
  }
  // A pipe that a job reads: it waits there until somebody writes.
  void makePipe(const std::string& name) const { ASSERT_EQ(mkfifo(path(name).c_str(), 0600), 0); }

  [[nodiscard]] ProgramResult run(const std::vector<std::string>& arguments,
                                  const Surroundings& surroundings = {}) const {
    std::vector<std::string> all = {"run"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runOdaxgen(all, path(), surroundings);
  }

  // Everything in the folder that is not whole or not finished.
  [[nodiscard]] std::vector<std::string> partsLeft() const { return namesWith(path(), ".part"); }

  static std::vector<std::string> namesWith(const std::string& folder, const std::string& part) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
      const std::string name = entry.path().filename().string();
      if (name.find(part) != std::string::npos) names.push_back(name);
    }
    return names;
  }
  static std::vector<std::string> namesIn(const TempFolder& folder) {
    return namesWith(folder.path(), "");
  }

  template <class Condition>
  static void waitUntil(Condition isTrue) {
    for (int i = 0; i < 2000 && !isTrue(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_TRUE(isTrue());
  }
};

// Writes into a pipe and keeps it open, so that its reader is in the middle of the data.
class HeldPipe {
 public:
  HeldPipe(const std::string& path, size_t bytes) : file_(open(path.c_str(), O_WRONLY)) {
    const std::string data(bytes, 'x');
    for (size_t done = 0; done < bytes;) {
      const ssize_t written = write(file_, data.data() + done, bytes - done);
      if (written <= 0) break;
      done += static_cast<size_t>(written);
    }
  }
  ~HeldPipe() { close(file_); }
  HeldPipe(const HeldPipe&) = delete;
  HeldPipe& operator=(const HeldPipe&) = delete;

 private:
  int file_;
};

// A pipe whose writer takes longer than the command waits before it shows its progress.
class SlowPipe {
 public:
  explicit SlowPipe(const std::string& path) : path_(path) {
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    writer_ = std::thread([path] {
      const HeldPipe pipe(path, 100000);
      std::this_thread::sleep_for(std::chrono::milliseconds(1300));
      const HeldPipe rest(path, 100000);
    });
  }
  ~SlowPipe() {
    writer_.join();
    fs::remove(path_);
  }
  SlowPipe(const SlowPipe&) = delete;
  SlowPipe& operator=(const SlowPipe&) = delete;

 private:
  std::string path_;
  std::thread writer_;
};

TEST_F(RunTest, IsTheSameAsTheCommandWithAConfiguration) {
  writeDataJob("job", "data", "0");
  write("data", "RASTER");
  const ProgramResult plain = runOdaxgen({"job.cfg"}, path());
  const std::string job = text("job.odx");
  fs::remove(path("job.odx"));
  const ProgramResult result = run({"job.cfg"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, plain.out);
  EXPECT_THAT(result.out, EndsWith("\ndone.\n"));
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(text("job.odx"), job);
  EXPECT_EQ(job, "<a/><b/><c/><d/>RASTER<e/>");
}

TEST_F(RunTest, EveryRelativePathStartsAtTheFolderOfTheConfiguration) {
  write("jobs/data", "RASTER");
  for (const char* name : {"a", "b", "c", "d", "e"}) {
    write(std::string("jobs/xml/") + name, "[" + std::string(name) + "]\n");
  }
  writeDataJob("job", "data", "0", "jobs/");
  const ProgramResult result = run({"jobs/job.cfg"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(text("jobs/job.odx"), "[a][b][c][d]RASTER[e]");
}

TEST_F(RunTest, QuietSaysNothingOfAJobThatSucceeds) {
  writeDataJob("job", "data", "4");
  write("data", "RASTER");
  for (const char* option : {"-q", "--quiet"}) {
    const ProgramResult result = run({option, "job.cfg"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(RunTest, QuietStillSaysWhatFailed) {
  write("job.cfg", "[Global]\nNoSuchKey=1\n");
  const ProgramResult result = run({"--quiet", "job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, StartsWith("UNKNOWN ITEM!: line 2.\nNoSuchKey=1\n"
                                     "odaxgen: job failed with code -12\nodaxgen: "));
}

TEST_F(RunTest, AFailedJobNeitherStopsTheLaterOnesNorIsForgotten) {
  writeDataJob("first", "data", "0");
  writeDataJob("second", "none", "0");
  writeDataJob("third", "data", "0");
  write("data", "RASTER");
  const ProgramResult result = run({"-q", "first.cfg", "second.cfg", "third.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(exists("first.odx"));
  EXPECT_FALSE(exists("second.odx"));
  EXPECT_TRUE(exists("third.odx"));
  EXPECT_THAT(result.err, HasSubstr("odaxgen: second.cfg: job failed with code -74\n"));
}

// The library keeps the split size for jobs that do not set one; a command must not.
TEST_F(RunTest, AJobIsTheSameWhateverRanBeforeIt) {
  write("data", "RASTER");
  write("unset.cfg", std::string("[Global]\nOutFilePath=\"unset.odx\"\nSendDataFile=\"data\"\n"
                                 "[ODAX]\n") +
                         kDefaultTemplates);
  EXPECT_EQ(run({"-q", "unset.cfg"}).exitCode, 0);
  const std::string alone = text("unset.odx");
  EXPECT_EQ(alone, "<a/><b/><c/>RASTER<e/>");
  writeDataJob("split", "data", "4");
  EXPECT_EQ(run({"-q", "split.cfg", "unset.cfg"}).exitCode, 0);
  EXPECT_EQ(text("unset.odx"), alone);
}

TEST_F(RunTest, ImagesOfPagesThatWereLeftOutAreClosedBetweenJobs) {
  TiffPage page;
  page.width = 8;
  page.height = 1;
  page.strips = {Bytes(8, 1)};
  write("k.tif", tiffFile(page));
  write("c.png", "");
  writePageJob("skip", "k.tif", "4096");
  write("skip.cfg", text("skip.cfg") + "ImageFileC=\"c.png\"\n");
  writePageJob("job", "k.tif", "4096");
  std::string command = "ulimit -n 20; exec " + std::string(ODAXGEN_PROGRAM) + " run -q";
  for (int i = 0; i < 30; ++i) command += " skip.cfg";
  EXPECT_EQ(runProgram({"/bin/sh", "-c", command + " job.cfg"}, path()).exitCode, 0);
}

// Some messages show errno: nothing that the command does may leave one.
TEST_F(RunTest, MessagesAreTheLibrarysToTheLetter) {
  write("data", "RASTER");
  write("job.odx", "earlier");
  write("xml/d", "datasize\n");
  for (const char* split : {"0", "4"}) {
    writeDataJob("job", "data", split);
    const std::string message = run({"-q", "job.cfg"}).err;
    EXPECT_THAT(message, StartsWith("ERROR! replaceCorrectSize(): strtok error(0) "));
  }
}

TEST_F(RunTest, JsonGivesTheResultsAndNothingElse) {
  writeDataJob("good", "data", "0");
  writeDataJob("bad", "none", "0");
  write("data", "RASTER");
  const ProgramResult result = run({"--json", "good.cfg", "bad.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "");
  const Json json = Json::parse(result.out);
  EXPECT_EQ(schemaProblems("run", json), "");
  ASSERT_EQ(json["jobs"].size(), 2U);
  const Json& good = json["jobs"][0];
  EXPECT_EQ(good["config"], "good.cfg");
  EXPECT_EQ(good["result"], "done");
  EXPECT_EQ(good["code"], nullptr);
  EXPECT_EQ(good["output"], path("good.odx"));
  EXPECT_EQ(good["bytes"], fs::file_size(path("good.odx")));
  EXPECT_GT(good["seconds"], 0.0);
  const Json& bad = json["jobs"][1];
  EXPECT_EQ(bad["result"], "failed");
  EXPECT_EQ(bad["code"], -74);
  EXPECT_EQ(bad["message"], "ERROR!: Can't open file \"" + path("none") + "\"\n");
  EXPECT_THAT(bad["advice"].get<std::string>(), HasSubstr("SendDataFile"));
}

TEST_F(RunTest, APageThatIsLeftOutIsSaid) {
  TiffPage page;
  page.width = 8;
  page.height = 3;
  page.strips = {Bytes(24, 1)};
  write("page.tif", tiffFile(page));
  write("photo.png", "not read");
  writePageJob("job", "page.tif", "0");
  write("job.cfg", text("job.cfg") + "[Image]\nImageFileK=\"photo.png\"\n");
  const ProgramResult result = run({"-q", "job.cfg"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "odaxgen: warning: page 2 is left out: " + path("photo.png") +
                            " cannot be opened as a TIFF file\n");
  const Json json = Json::parse(run({"--json", "job.cfg"}).out);
  EXPECT_EQ(json["jobs"][0]["pages"], 1);
  const Json skipped = {{{"page", 2}, {"image", path("photo.png")}}};
  EXPECT_EQ(json["jobs"][0]["skippedPages"], skipped);
}

// The output.

// Whatever went wrong before it: a band of the first page that is too large is out of memory, too.
TEST_F(RunTest, APageIsNotLeftOutForTheTroubleOfAnother) {
  TiffPage wide;
  wide.width = 8000000;
  wide.height = 1;
  wide.strips = {{1, 2, 3}};
  write("wide.tif", tiffFile(wide));
  writePageJob("job", "wide.tif", "65536");
  write("job.cfg", text("job.cfg") + "[Image]\nImageFileK=\"photo.png\"\n");
  write("photo.png", "x");
  const ProgramResult result = run({"-q", "job.cfg"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, StartsWith("ERROR! ZKewGWorld failed.(12) "));
  EXPECT_THAT(result.err, HasSubstr("odaxgen: warning: page 2 is left out: "));
}

TEST_F(RunTest, AFailedJobLeavesTheEarlierFileAsItWas) {
  for (const char* split : {"0", "4"}) {
    writeDataJob("job", "none", split);
    write("job.odx", "earlier");
    EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 1);
    EXPECT_EQ(text("job.odx"), "earlier");
    EXPECT_THAT(partsLeft(), IsEmpty());
  }
}

TEST_F(RunTest, AFailedJobLeavesNoOutputOfItsOwn) {
  writeDataJob("job", "none", "4");
  EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 1);
  EXPECT_FALSE(exists("job.odx"));
  EXPECT_THAT(partsLeft(), IsEmpty());
}

TEST_F(RunTest, PartialOutputThatCannotHaveItsNameKeepsTheOneItHas) {
  writeDataJob("job", "none", "4");
  fs::create_directory(path("job.odx.partial"));
  const ProgramResult result = run({"-q", "--keep-partial", "job.cfg"});
  ASSERT_EQ(partsLeft().size(), 2U);
  for (const std::string& name : partsLeft()) {
    if (name == "job.odx.partial") continue;
    EXPECT_EQ(text(name), "<a/><b/><c/>");
    EXPECT_THAT(result.err, EndsWith("what was written is in " + path(name) + "\n"));
  }
}

TEST_F(RunTest, KeepPartialKeepsWhatAFailedJobHasWritten) {
  writeDataJob("job", "none", "4");
  write("job.odx", "earlier");
  const ProgramResult result = run({"-q", "--keep-partial", "job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(text("job.odx"), "earlier");
  EXPECT_EQ(text("job.odx.partial"), "<a/><b/><c/>");
  EXPECT_THAT(result.err,
              EndsWith("odaxgen: what was written is in " + path("job.odx.partial") + "\n"));
}

TEST_F(RunTest, TheOutputHasTheModeOfAnyNewFileOrOfTheEarlierOne) {
  writeDataJob("job", "data", "4");
  write("data", "RASTER");
  const mode_t mask = umask(0027);
  EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 0);
  umask(mask);
  EXPECT_EQ(fs::status(path("job.odx")).permissions(), fs::perms(0640));
  fs::permissions(path("job.odx"), fs::perms(0604));
  EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 0);
  EXPECT_EQ(fs::status(path("job.odx")).permissions(), fs::perms(0604));
}

TEST_F(RunTest, ALinkKeepsLeadingToTheOutput) {
  writeDataJob("job", "data", "4");
  write("data", "RASTER");
  fs::create_directory(path("store"));
  fs::create_symlink("store/real.odx", path("job.odx"));
  for (const char* turn : {"the file is not there yet", "it is"}) {
    SCOPED_TRACE(turn);
    EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(path("job.odx")));
    EXPECT_THAT(text("store/real.odx"), StartsWith("<a/><b/><c/><d/>RAST<d/>ER"));
  }
}

TEST_F(RunTest, LinksInACircleAreRefused) {
  writeDataJob("job", "data", "4");
  write("data", "RASTER");
  fs::create_symlink("other", path("job.odx"));
  fs::create_symlink("job.odx", path("other"));
  EXPECT_THAT(run({"-q", "job.cfg"}).err, HasSubstr("odaxgen: job failed with code -49\n"));
  EXPECT_TRUE(fs::is_symlink(path("job.odx")));
}

TEST_F(RunTest, StandardOutputCanBeTheOutput) {
  write("job.cfg", std::string("[Global]\nOutFilePath=\"/dev/stdout\"\nSplitDataSize=4\n"
                               "SendDataFile=\"data\"\n[ODAX]\n") +
                       kDefaultTemplates);
  write("data", "RASTER");
  const std::string command = std::string(ODAXGEN_PROGRAM) + " run -q job.cfg | cat >piped";
  EXPECT_EQ(runProgram({"/bin/sh", "-c", command}, path()).exitCode, 0);
  EXPECT_EQ(text("piped"), "<a/><b/><c/><d/>RAST<d/>ER<e/>");
}

TEST_F(RunTest, AFolderThatTakesNoFilesIsSaid) {
  write("data", "RASTER");
  write("job.cfg", std::string("[Global]\nOutFilePath=\"/proc/job.odx\"\nSplitDataSize=4\n"
                               "SendDataFile=\"data\"\n[ODAX]\n") +
                       kDefaultTemplates);
  EXPECT_THAT(run({"-q", "job.cfg"}).err,
              StartsWith("ERROR!: Can't open the file \"/proc/job.odx\".\n"
                         "odaxgen: job failed with code -49\n"));
}

TEST_F(RunTest, ACurrentFolderThatIsGoneIsAnOutputThatCannotBeOpened) {
  // Without a name of its own and behind [ODAX] the output is ODAX.dat in the current folder.
  write("job.cfg", std::string("[Global]\nSplitDataSize=4\nSendDataFile=\"data\"\n[ODAX]\n") +
                       kDefaultTemplates);
  write("data", "RASTER");
  const std::string command =
      "mkdir gone && cd gone && rmdir ../gone && " + std::string(ODAXGEN_PROGRAM) + " run -q ";
  EXPECT_THAT(runProgram({"/bin/sh", "-c", command + path("job.cfg")}, path()).err,
              StartsWith("ERROR!: Can't open the file \"ODAX.dat\".\n"));
  EXPECT_THAT(runProgram({"/bin/sh", "-c", command + "job.cfg"}, path()).err,
              HasSubstr("odaxgen: "));
}

TEST_F(RunTest, ADeviceIsWrittenAsItIs) {
  write("job.cfg", std::string("[Global]\nOutFilePath=\"/dev/null\"\nSplitDataSize=4\n"
                               "SendDataFile=\"data\"\n[ODAX]\n") +
                       kDefaultTemplates);
  write("data", "RASTER");
  EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(RunTest, AnOutputThatIsAFolderOrInNoFolderIsRefusedUnderItsOwnName) {
  write("data", "RASTER");
  fs::create_directory(path("job.odx"));
  for (const auto& [split, code] : {std::pair("4", "-49"), std::pair("0", "-47")}) {
    writeDataJob("job", "data", split);
    const ProgramResult folder = run({"-q", "job.cfg"});
    EXPECT_EQ(folder.exitCode, 1);
    EXPECT_THAT(folder.err, StartsWith("ERROR!: Can't open the file \"" + path("job.odx") +
                                       "\".\nodaxgen: job failed with code " + code + "\n"));
    writeDataJob("none/job", "data", split);
    const ProgramResult none = run({"-q", "none/job.cfg"});
    EXPECT_EQ(none.exitCode, 1);
  }
  EXPECT_TRUE(fs::is_directory(path("job.odx")));
}

TEST_F(RunTest, ThePathOfTheOutputMayBeAsLongAsTheLibraryHasIt) {
  write("data", "RASTER");
  const std::string name(259 - path().size() - 1, 'n');
  ASSERT_LE(name.size(), 255U) << "of the file system";
  writeDataJob("job", "data", "4");
  std::string config = text("job.cfg");
  config.replace(config.find("job.odx"), 7, name);
  write("job.cfg", config);
  EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 0);
  EXPECT_TRUE(exists(name));
}

// Temporary files.

TEST_F(RunTest, TheTemporaryFolderIsPrivateAndGoneAfterwards) {
  writeDataJob("job", "pipe", "0");
  makePipe("pipe");
  RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path());
  {
    const HeldPipe data(path("pipe"), 100000);
    waitUntil([&] { return !namesIn(job.temporaryFiles()).empty(); });
    const auto names = namesIn(job.temporaryFiles());
    ASSERT_EQ(names.size(), 1U);
    EXPECT_THAT(names[0], StartsWith("odaxgen-"));
    EXPECT_EQ(fs::status(job.temporaryFiles().path(names[0])).permissions(), fs::perms(0700));
    EXPECT_TRUE(job.temporaryFiles().exists(names[0] + "/TEMP_ODAXGEN.dat"));
  }
  EXPECT_EQ(job.wait().exitCode, 0);
  EXPECT_THAT(namesIn(job.temporaryFiles()), IsEmpty());
}

TEST_F(RunTest, AFailedJobLeavesNoTemporaryFolder) {
  writeDataJob("job", "none", "0");
  RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path());
  EXPECT_EQ(job.wait().exitCode, 1);
  EXPECT_THAT(namesIn(job.temporaryFiles()), IsEmpty());
}

TEST_F(RunTest, WithoutATemporaryFolderOnlyAJobInOnePacketFails) {
  write("data", "RASTER");
  const Surroundings nowhere = {.variables = {{"TMPDIR", path("nowhere")}}};
  writeDataJob("split", "data", "4");
  EXPECT_EQ(run({"-q", "split.cfg"}, nowhere).exitCode, 0);
  writeDataJob("whole", "data", "0");
  const ProgramResult result = run({"-q", "whole.cfg"}, nowhere);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, StartsWith("ERROR!: Can't open the file \"" + path("nowhere") + "/"));
  EXPECT_THAT(result.err, HasSubstr("odaxgen: job failed with code -46\n"));
}

TEST_F(RunTest, ATemporaryFolderWithTooLongANameIsRefused) {
  write("data", "RASTER");
  writeDataJob("job", "data", "0");
  write("TEMP_ODAXGEN.dat", "mine");
  for (const size_t length : {230U, 244U, 400U}) {
    const Surroundings deep = {.variables = {{"TMPDIR", "/" + std::string(length - 1, 'd')}}};
    EXPECT_THAT(run({"-q", "job.cfg"}, deep).err, HasSubstr("odaxgen: job failed with code -68\n"));
    EXPECT_EQ(text("TEMP_ODAXGEN.dat"), "mine");
  }
}

TEST_F(RunTest, EightJobsInOnePacketRunSideBySide) {
  const TempFolder temporary;
  std::vector<std::unique_ptr<RunningProgram>> jobs;
  std::vector<std::string> wanted;
  for (int i = 0; i < 8; ++i) {
    const std::string number = std::to_string(i);
    const std::string data = std::string(300000, static_cast<char>('a' + i));
    write("data" + number, data);
    writeDataJob("job" + number, "data" + number, "0");
    wanted.push_back("<a/><b/><c/><d/>" + data + "<e/>");
    jobs.push_back(std::make_unique<RunningProgram>(
        odaxgenWith({"run", "-q", "job" + number + ".cfg"}), path(),
        Surroundings{.variables = {{"TMPDIR", temporary.path()}}}));
  }
  for (size_t i = 0; i < jobs.size(); ++i) {
    EXPECT_EQ(jobs[i]->wait().exitCode, 0);
    EXPECT_TRUE(text("job" + std::to_string(i) + ".odx") == wanted[i]) << i;
  }
  EXPECT_THAT(namesIn(temporary), IsEmpty());
}

// Signals.

class RunSignalTest : public RunTest, public testing::WithParamInterface<int> {};

TEST_P(RunSignalTest, EndsAJobAndTakesItsFilesAway) {
  for (const char* split : {"0", "65536"}) {
    SCOPED_TRACE(split);
    writeDataJob("job", "pipe", split);
    write("job.odx", "earlier");
    fs::remove(path("pipe"));
    makePipe("pipe");
    RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path());
    const HeldPipe data(path("pipe"), 500000);  // the job is in the middle of its data
    job.signal(GetParam());
    EXPECT_EQ(job.wait().exitCode, 128 + GetParam()) << "ends as every program does";
    EXPECT_EQ(text("job.odx"), "earlier");
    EXPECT_THAT(partsLeft(), IsEmpty());
    EXPECT_THAT(namesIn(job.temporaryFiles()), IsEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(Signals, RunSignalTest, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT),
                         [](const auto& each) { return sigabbrev_np(each.param); });

TEST_F(RunTest, AnInterruptedJobOfManyRowsLeavesNothing) {
  for (const char* split : {"0", "65536"}) {
    writeLongJob("job", split);
    RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path());
    waitUntil([&] { return !partsLeft().empty() || !namesIn(job.temporaryFiles()).empty(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    job.signal(SIGINT);
    EXPECT_EQ(job.wait().exitCode, 128 + SIGINT);
    EXPECT_FALSE(exists("job.odx"));
    EXPECT_THAT(partsLeft(), IsEmpty());
    EXPECT_THAT(namesIn(job.temporaryFiles()), IsEmpty());
  }
}

TEST_F(RunTest, AnInterruptedJobKeepsItsPartialOutputWhenAsked) {
  writeDataJob("job", "pipe", "65536");
  makePipe("pipe");
  RunningProgram job(odaxgenWith({"run", "-q", "--keep-partial", "job.cfg"}), path());
  const HeldPipe data(path("pipe"), 500000);
  job.signal(SIGTERM);
  EXPECT_EQ(job.wait().exitCode, 128 + SIGTERM);
  EXPECT_FALSE(exists("job.odx"));
  EXPECT_THAT(text("job.odx.partial"), StartsWith("<a/><b/><c/><d/>xxx"));
}

TEST_F(RunTest, AKilledJobLeavesTheEarlierFileAsItWas) {
  writeDataJob("job", "pipe", "65536");
  write("job.odx", "earlier");
  makePipe("pipe");
  RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path());
  const HeldPipe data(path("pipe"), 500000);
  job.signal(SIGKILL);
  EXPECT_EQ(job.wait().exitCode, 128 + SIGKILL);
  EXPECT_EQ(text("job.odx"), "earlier");
}

TEST_F(RunTest, ASignalThatTheParentIgnoresStaysIgnored) {
  writeDataJob("job", "pipe", "65536");
  makePipe("pipe");
  RunningProgram job(odaxgenWith({"run", "-q", "job.cfg"}), path(), {.ignored = {SIGHUP}});
  {
    const HeldPipe data(path("pipe"), 500000);
    job.signal(SIGHUP);
  }
  EXPECT_EQ(job.wait().exitCode, 0);
  EXPECT_TRUE(exists("job.odx"));
}

// Writes that fail.

TEST_F(RunTest, AFullDiskIsSaidAndLeavesTheEarlierFileAsItWas) {
  write("data", std::string(300000, 'x'));
  for (const char* split : {"0", "65536"}) {
    SCOPED_TRACE(split);
    writeDataJob("job", "data", split);
    write("job.odx", "earlier");
    const ProgramResult result = run({"-q", "job.cfg"}, {.mostBytes = 100000});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, StartsWith("odaxgen: job failed: "));
    EXPECT_THAT(result.err, HasSubstr(": File too large\nodaxgen: Make room there, "));
    EXPECT_EQ(text("job.odx"), "earlier");
    EXPECT_THAT(partsLeft(), IsEmpty());
  }
}

TEST_F(RunTest, ThePathThatCannotBeWrittenIsNamed) {
  write("data", std::string(300000, 'x'));
  writeDataJob("job", "data", "65536");
  EXPECT_THAT(run({"-q", "job.cfg"}, {.mostBytes = 100000}).err,
              StartsWith("odaxgen: job failed: " + path("job.odx") + ": File too large\n"));
  writeDataJob("job", "data", "0");
  EXPECT_THAT(run({"-q", "job.cfg"}, {.mostBytes = 100000}).err,
              HasSubstr("/TEMP_ODAXGEN.dat: File too large\n"));
}

TEST_F(RunTest, TheLastBytesThatDoNotFitAreNoticedToo) {
  write("data", std::string(50, 'x'));
  writeDataJob("job", "data", "65536");
  EXPECT_EQ(run({"-q", "job.cfg"}).exitCode, 0);
  const uint64_t size = fs::file_size(path("job.odx"));
  EXPECT_EQ(run({"-q", "job.cfg"}, {.mostBytes = size}).exitCode, 0);
  EXPECT_EQ(run({"-q", "job.cfg"}, {.mostBytes = size - 1}).exitCode, 1);
}

TEST_F(RunTest, AFullDeviceFailsTheJob) {
  write("data", std::string(300000, 'x'));
  write("job.cfg", std::string("[Global]\nOutFilePath=\"/dev/full\"\nSplitDataSize=4096\n"
                               "SendDataFile=\"data\"\n[ODAX]\n") +
                       kDefaultTemplates);
  const ProgramResult result = run({"-q", "job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, StartsWith("odaxgen: job failed: /dev/full: No space left on device\n"));
}

TEST_F(RunTest, AReadErrorOfTheDataFailsTheJob) {
  writeDataJob("job", "/proc/self/mem", "4096");
  const ProgramResult result = run({"-q", "job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "odaxgen: job failed: /proc/self/mem: Input/output error\n");
  EXPECT_FALSE(exists("job.odx"));
}

// The number of a closed stream would go to the job file.
TEST_F(RunTest, MessagesNeverGoIntoTheJobFile) {
  TiffPage page;
  page.width = 8;
  page.height = 1;
  page.bits = {16};
  page.strips = {Bytes(16, 1)};
  write("k.tif", tiffFile(page));
  writePageJob("job", "k.tif", "4096");
  write("job.cfg",
        text("job.cfg").replace(text("job.cfg").find("PixelDepthK=8"), 13, "PixelDepthK=16"));
  EXPECT_THAT(run({"-q", "job.cfg"}).err, HasSubstr("unsupported bit depth"));
  const std::string job = text("job.odx");
  const std::string command = std::string(ODAXGEN_PROGRAM) + " run -q job.cfg";
  for (const char* closed : {" 2>&-", " >&- 2>&-", " <&- >&- 2>&-"}) {
    fs::remove(path("job.odx"));
    runProgram({"/bin/sh", "-c", command + closed}, path());
    EXPECT_EQ(text("job.odx"), job) << closed;
  }
}

TEST_F(RunTest, AnEchoThatCannotBeWrittenFailsTheCommand) {
  write("data", "RASTER");
  writeDataJob("job", "data", "0");
  const ProgramResult result = run({"job.cfg"}, {.out = "/dev/full"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "odaxgen: standard output cannot be written\n");
}

// The terminal.

TEST_F(RunTest, ALongJobShowsItsProgressOnATerminal) {
  writeLongJob("job", "1048576");
  const ProgramResult result = runOdaxgenOnTerminal({"run", "job.cfg"}, path(), {}, " left");
  EXPECT_EQ(result.exitCode, 128 + SIGINT);
  EXPECT_THAT(result.out, testing::ContainsRegex("\r\\[#*\\.*\\] +[0-9]+ %  page 1/1  row "
                                                 "[0-9,]+/20,000,000  [0-9.]+ MB/s  "
                                                 "[0-9]+:[0-9][0-9] left\033\\[K"));
}

TEST_F(RunTest, TheProgressIsTakenAwayBeforeAnythingElseIsSaid) {
  writeDataJob("job", "pipe", "65536");
  const SlowPipe pipe(path("pipe"));
  const ProgramResult result = runOdaxgenOnTerminal({"run", "job.cfg"}, path());
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, EndsWith(" MB/s\033[K\r\033[Kdone.\r\n"));
}

TEST_F(RunTest, NoProgressWhereNobodyWantsOrSeesIt) {
  writeDataJob("job", "pipe", "65536");
  {
    const SlowPipe pipe(path("pipe"));
    EXPECT_EQ(runOdaxgenOnTerminal({"run", "-q", "job.cfg"}, path()).out, "");
  }
  const SlowPipe pipe(path("pipe"));
  const auto dumb = runOdaxgenOnTerminal({"run", "job.cfg"}, path(), {{"TERM", "dumb"}});
  EXPECT_THAT(dumb.out, Not(HasSubstr("MB/s")));
}

TEST_F(RunTest, LinesOfAWrongFileDoNotDriveTheTerminal) {
  write("job.cfg", "\033[2Jclear\n");
  const ProgramResult result = runOdaxgenOnTerminal({"run", "-q", "job.cfg"}, path());
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, HasSubstr("\\x1B[2Jclear\r\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("\033")));
  EXPECT_THAT(run({"job.cfg"}).err, HasSubstr("\033[2Jclear\n")) << "a pipe gets the bytes";
}

TEST_F(RunTest, ValuesOfAConfigurationDoNotDriveTheTerminal) {
  writeDataJob("job", "data", "0");
  write("data", "RASTER");
  write("job.cfg", text("job.cfg") + "Name=\033[2J\n");
  EXPECT_THAT(runOdaxgenOnTerminal({"run", "job.cfg"}, path()).out,
              testing::AllOf(HasSubstr("Name=\\x1B[2J\r\n"), Not(HasSubstr("\033"))));
  EXPECT_THAT(run({"job.cfg"}).out, HasSubstr("Name=\033[2J\n")) << "a pipe gets the bytes";
}

}  // namespace
