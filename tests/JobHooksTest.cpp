// What hooks see of a job and decide about it: runJob() with hooks of all kinds, in this process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "Capture.h"
#include "JobFolder.h"
#include "ODAXGen.h"
#include "PageJob.h"
#include "Thrown.h"
#include "ZKFile.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

constexpr int kStop = -1000;

// Writes down what it is told, and ends the job at one of these.
class WatchingHooks : public JobHooks {
 public:
  void jobBegins(const parameter& record) override {
    note("job " + std::to_string(record.SplitDataSize));
  }
  void pageBegins(const imageParameter& page, uint32_t rows) override {
    note("page of " + std::to_string(page.NumOfPlanes) + " planes, " + std::to_string(rows) +
         " rows");
  }
  void bandSent(int rows) override { note("band " + std::to_string(rows)); }
  void pageEnds() override { note("page ends"); }
  void pageSkipped(const imageParameter& page, const char* path) override {
    static_cast<void>(page);
    note(std::string("skipped ") + (path == nullptr ? "" : path));
  }
  void dataCopied(uint64_t bytes) override { note("copied " + std::to_string(bytes)); }
  void outputComplete() override { note("complete"); }

  std::vector<std::string> seen;
  std::string stopAt;

 private:
  void note(const std::string& what) {
    seen.push_back(what);
    if (what == stopAt) throw kStop;
  }
};

class JobHooksTest : public testing::Test {
 protected:
  // Runs a configuration in which "@" stands for the folder, and returns what was thrown.
  int run(JobHooks& hooks, const std::string& configuration) {
    const std::string path = folder.write("job.cfg", folder.expand(configuration));
    Capture capture;
    const int code = thrownBy([&] { runJob(hooks, path.c_str()); });
    echo = capture.out();
    errors = capture.err();
    return code;
  }

  // One page of K in 700 rows, then one whose image is no TIFF by its name.
  std::string twoPages(const std::string& split) {
    folder.writeImage("k.tif", std::vector<Bytes>(700, Bytes(8, 0xFF)));
    folder.write("k.png", "");
    return "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=" + split + "\n" +
           std::string(kTemplates) +
           "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n"
           "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthK=8\n"
           "ImageFileK=\"@/k.tif\"\n[Image]\nImageFileK=\"@/k.png\"\n";
  }

  JobFolder folder;
  std::string echo, errors;
};

TEST_F(JobHooksTest, SeeEveryPageAndBandInTheirOrder) {
  WatchingHooks hooks;
  EXPECT_EQ(run(hooks, twoPages("65536")), 0);
  EXPECT_THAT(hooks.seen,
              ElementsAre("job 65536", "page of 1 planes, 700 rows", "band 300", "band 300",
                          "band 100", "page ends", "skipped " + folder.path("k.png"), "complete"));
}

TEST_F(JobHooksTest, SeeDataOnItsWayThroughTheTemporaryFile) {
  folder.write("data.bin", std::string(70000, 'x'));
  WatchingHooks hooks;
  EXPECT_EQ(run(hooks, sendDataJob("SplitDataSize=0\n")), 0);
  EXPECT_THAT(hooks.seen, ElementsAre("job 0", "copied 65536", "copied 4464", "copied 65536",
                                      "copied 4464", "complete"));
}

// The default hooks are the exported operation.
TEST_F(JobHooksTest, DefaultsAreTheJobAsHostsKnowIt) {
  for (const char* split : {"0", "1000"}) {
    const std::string job = twoPages(split);
    const JobResult exported = folder.run(job);
    const Bytes output = folder.bytes("out.dat");
    JobHooks defaults;
    EXPECT_EQ(run(defaults, job), exported.code);
    EXPECT_EQ(folder.shorten(echo), exported.out);
    EXPECT_EQ(folder.shorten(errors), exported.err);
    EXPECT_EQ(folder.bytes("out.dat"), output);
  }
}

TEST_F(JobHooksTest, CanEndAJobAtEveryObservation) {
  folder.write("data.bin", std::string(70000, 'x'));
  const std::string data = sendDataJob("SplitDataSize=0\n");
  const std::string pages = twoPages("65536");
  const struct {
    std::string job;
    std::string at;
  } kCases[] = {{pages, "job 65536"},
                {pages, "page of 1 planes, 700 rows"},
                {pages, "band 300"},
                {pages, "page ends"},
                {pages, "skipped " + folder.path("k.png")},
                {pages, "complete"},
                {data, "copied 65536"},
                {data, "copied 4464"}};
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.at);
    WatchingHooks hooks;
    hooks.stopAt = each.at;
    EXPECT_EQ(run(hooks, each.job), kStop);
    EXPECT_EQ(hooks.seen.back(), each.at);
    EXPECT_THAT(echo, testing::Not(HasSubstr("done.")));
    // Everything is released: the next job is as ever.
    JobHooks defaults;
    EXPECT_EQ(run(defaults, each.job), 0);
    EXPECT_THAT(echo, EndsWith("done.\n"));
  }
}

// Hooks that put every path somewhere else.
class MovingHooks : public JobHooks {
 public:
  explicit MovingHooks(const std::string& folder)
      : folder_(folder), temporary_(folder + "/private/"), staged_(folder + "/staged.part") {}

  const char* completePath(const char* path) override {
    completed_ = path[0] == '/' ? path : folder_ + "/" + path;
    return completed_.c_str();
  }
  const char* temporaryFolder() override { return temporary_.c_str(); }
  const char* stageOutput(const char* path) override {
    finalPath = path;
    return staged_.c_str();
  }
  std::string finalPath;

 private:
  std::string folder_, temporary_, staged_, completed_;
};

TEST_F(JobHooksTest, CompleteThePathsOfTemplatesAndData) {
  folder.write("data.bin", "RASTER");
  std::string job = sendDataJob("SplitDataSize=0\n");
  for (size_t at = job.find("=\"@/"); at != std::string::npos; at = job.find("=\"@/", at + 1)) {
    job.erase(at + 2, 2);
  }
  folder.write("private/.keep", "");
  MovingHooks hooks(folder.path());
  EXPECT_EQ(run(hooks, job), 0) << errors;
  EXPECT_THAT(folder.text("staged.part"), testing::StartsWith(std::string(kOpening)));
}

TEST_F(JobHooksTest, StageTheOutputUnderAnotherName) {
  folder.write("data.bin", "RASTER");
  folder.write("out.dat", "earlier");
  folder.write("private/.keep", "");
  for (const char* split : {"0", "1000"}) {
    MovingHooks hooks(folder.path());
    EXPECT_EQ(run(hooks, sendDataJob(std::string("SplitDataSize=") + split + "\n")), 0);
    EXPECT_EQ(hooks.finalPath, folder.path("out.dat"));
    EXPECT_EQ(folder.text("out.dat"), "earlier");
    EXPECT_THAT(folder.text("staged.part"), HasSubstr("RASTER"));
  }
}

TEST_F(JobHooksTest, AStagedOutputThatCannotBeOpenedIsNamedByItsFinalPath) {
  folder.write("data.bin", "RASTER");
  MovingHooks hooks(folder.path("none"));
  EXPECT_EQ(run(hooks, sendDataJob("SplitDataSize=1000\n")), -49);
  EXPECT_EQ(errors, "ERROR!: Can't open the file \"" + folder.path("out.dat") + "\".\n");
}

TEST_F(JobHooksTest, TheTemporaryFileLiesWhereTheySay) {
  folder.write("data.bin", "RASTER");
  MovingHooks hooks(folder.path());
  EXPECT_EQ(run(hooks, sendDataJob("SplitDataSize=0\n")), -46) << "private/ is not there";
  EXPECT_THAT(errors, HasSubstr(folder.path("private/TEMP_ODAXGEN.dat")));
  folder.write("private/.keep", "");
  EXPECT_EQ(run(hooks, sendDataJob("SplitDataSize=0\n")), 0);
  EXPECT_THAT(folder.names("private"), ElementsAre(".keep"));
  // The next job's lies where the platform has it.
  JobHooks defaults;
  folder.write("temp/.keep", "");
  EXPECT_EQ(run(defaults, sendDataJob("SplitDataSize=0\n")), 0);
}

// Failed writes.

class FailureHooks : public JobHooks {
 public:
  void writeFailed(const char* path, int error) override {
    failures.push_back(std::string(path) + " " + std::to_string(error));
    if (stops) throw kStop;
  }
  std::vector<std::string> failures;
  bool stops = true;
};

std::string jobOnFullDevice(const std::string& job) {
  std::string changed = job;
  const std::string output = "@/out.dat";
  return changed.replace(changed.find(output), output.size(), "/dev/full");
}

TEST_F(JobHooksTest, AFailedWriteCanEndTheJob) {
  folder.write("data.bin", std::string(100000, 'x'));
  FailureHooks hooks;
  EXPECT_EQ(run(hooks, jobOnFullDevice(sendDataJob("SplitDataSize=4096\n"))), kStop);
  EXPECT_THAT(hooks.failures, ElementsAre("/dev/full " + std::to_string(ENOSPC)));
}

// Small jobs reach the disk only when the file is closed.
TEST_F(JobHooksTest, AFailedCloseIsAFailedWrite) {
  folder.write("data.bin", "RASTER");
  FailureHooks hooks;
  EXPECT_EQ(run(hooks, jobOnFullDevice(sendDataJob("SplitDataSize=4096\n"))), kStop);
  EXPECT_THAT(hooks.failures, ElementsAre("/dev/full " + std::to_string(ENOSPC)));
}

TEST_F(JobHooksTest, WithoutThemAFailedWriteIsNotReported) {
  folder.write("data.bin", std::string(100000, 'x'));
  const JobResult result = folder.run(jobOnFullDevice(sendDataJob("SplitDataSize=4096\n")));
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, EndsWith("done.\n"));
}

TEST_F(JobHooksTest, AreToldOnceForEachFile) {
  folder.write("data.bin", std::string(300000, 'x'));
  FailureHooks hooks;
  hooks.stops = false;
  EXPECT_EQ(run(hooks, jobOnFullDevice(sendDataJob("SplitDataSize=4096\n"))), 0);
  EXPECT_EQ(hooks.failures.size(), 1U);
}

// Files that can be opened and not be read.
class FailingReads : public JobHooks {
 public:
  void readFailed(const char* path, int error) override {
    file = std::string(path);
    number = error;
    throw kStop;
  }
  std::string file;
  int number = 0;
};

// A file with an input error: the beginning of this process's own memory.
constexpr const char* kUnreadable = "/proc/self/mem";

TEST_F(JobHooksTest, AnInputThatCannotBeReadIsTold) {
  folder.writeImage("page.tif", {{1, 2, 3}});
  std::filesystem::create_symlink(kUnreadable, folder.path("bad.tif"));
  std::filesystem::create_symlink(kUnreadable, folder.path("bad.cfg"));
  const std::string rest =
      "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n[Image]\nColorSpace=4\n"
      "NumOfPlanes=1\nCompressionMode=2\nPixelDepthK=8\nImageFileK=\"@/page.tif\"\n";
  const std::string job =
      "[Global]\nOutFilePath=\"@/out.dat\"\nSplitDataSize=0\n" + std::string(kTemplates) + rest;
  struct Case {
    const char* part;
    const char* instead;
    const char* told;
  };
  const Case kCases[] = {
      {"page.tif", "bad.tif", "@/bad.tif"},
      {"@/SJ.xml", kUnreadable, kUnreadable},
      {"@/SD.xml", kUnreadable, kUnreadable},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.part);
    std::string bad = job;
    bad.replace(bad.find(c.part), std::string(c.part).size(), c.instead);
    FailingReads hooks;
    EXPECT_EQ(run(hooks, bad), kStop);
    EXPECT_EQ(folder.shorten(hooks.file), c.told);
    EXPECT_EQ(hooks.number, EIO);
  }
}

TEST_F(JobHooksTest, AConfigurationThatCannotBeReadIsTold) {
  FailingReads hooks;
  Capture capture;
  EXPECT_EQ(thrownBy([&] { runJob(hooks, kUnreadable); }), kStop);
  EXPECT_EQ(hooks.file, kUnreadable);
  EXPECT_EQ(hooks.number, EIO);
}

TEST_F(JobHooksTest, AFolderIsNoFailureButAnEmptyFile) {
  FailingReads hooks;
  Capture capture;
  EXPECT_EQ(thrownBy([&] { runJob(hooks, folder.path("temp").c_str()); }), -9);
}

}  // namespace
