// The same job with memory that the C library fills with one value or another, when it is asked for
// and when it is given back: what nobody has written is not seen in anything that a job gives.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <regex>
#include <string>

#include "../jobcheck/RandomJob.h"
#include "FaultJobs.h"
#include "Program.h"
#include "TempFolder.h"

#ifdef ODAXGEN_FAULTY_CALLS  // a sanitizer has its own memory

namespace {

namespace fs = std::filesystem;

bool areManyWanted() {
  const char* const wanted = std::getenv("ODAXGEN_FAULTS");
  return wanted != nullptr && std::string(wanted) == "all";
}

// Everything that a run gives: what it says, and the files that are there behind it.
struct Outcome {
  ProgramResult result;
  std::map<std::string, std::string> files;
};

class FillPatternTest : public testing::Test, public TempFolder {
 protected:
  FillPatternTest() { fs::create_directory(path("cwd")); }

  static std::string configurationOf(const FaultJob& job) {
    return std::regex_replace(job.configuration, std::regex("@/"), "");
  }

  void expectTheSameWithEveryFill(const std::string& configuration) {
    const Outcome first = run(configuration, "0");
    EXPECT_LE(first.result.exitCode, 1) << first.result.err;
    for (const char* fill : {"85", "254"}) {
      SCOPED_TRACE(std::string("MALLOC_PERTURB_=") + fill);
      const Outcome other = run(configuration, fill);
      EXPECT_EQ(other.result.exitCode, first.result.exitCode);
      EXPECT_EQ(other.result.out, first.result.out);
      EXPECT_EQ(other.result.err, first.result.err);
      EXPECT_TRUE(other.files == first.files);
    }
    ++jobs_;
  }

  void reportJobs() const {
    RecordProperty("jobs", jobs_);
    std::printf("             %d jobs\n", jobs_);
  }

 private:
  [[nodiscard]] Outcome run(const std::string& configuration, const std::string& fill) const {
    write("job.cfg", configuration);  // an odd job has written over it
    // What an earlier run has made is no input of this one.
    for (const auto& [name, content] : filesHere()) {
      if (name.ends_with(".odx") || name.ends_with(".dat") || name.ends_with(".partial")) {
        fs::remove(path(name));
      }
    }
    Outcome outcome;
    outcome.result = runOdaxgen({"run", "--keep-partial", "../job.cfg"}, path("cwd"),
                                {.variables = {{"MALLOC_PERTURB_", fill}}});
    // The names of private folders and of files in the making differ on purpose.
    const std::regex unguessable("/[^/\n]*/odaxgen-[A-Za-z0-9]{6}/");
    outcome.result.err = std::regex_replace(outcome.result.err, unguessable, "/");
    outcome.files = filesHere();
    return outcome;
  }

  [[nodiscard]] std::map<std::string, std::string> filesHere() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(path())) {
      const std::string name = fs::relative(entry.path(), path()).string();
      if (entry.is_regular_file()) files[name] = text(name);
    }
    return files;
  }

  int jobs_ = 0;
};

TEST_F(FillPatternTest, EveryModeAndEveryKindOfJob) {
  writeFilesOfFaultJobs(*this);
  for (const char* split : {"0", "100"}) {
    for (const FaultJob& job : jobOfEachMode(split)) {
      SCOPED_TRACE(job.name);
      expectTheSameWithEveryFill(configurationOf(job));
    }
  }
  for (const FaultJob& job : jobsOfEachKind()) {
    SCOPED_TRACE(job.name);
    expectTheSameWithEveryFill(configurationOf(job));
  }
  reportJobs();
}

TEST_F(FillPatternTest, RandomJobs) {
  RandomJob job(*this);
  const uint32_t first = std::random_device()();
  const uint32_t count = areManyWanted() ? 2000 : 24;
  for (uint32_t i = 0; i < count; ++i) {
    SCOPED_TRACE("seed " + std::to_string(first + i));
    const std::string configuration = job.write(first + i);
    SCOPED_TRACE(configuration);
    expectTheSameWithEveryFill(configuration);
    if (HasFailure()) return;  // one is enough to read
  }
  reportJobs();
}

}  // namespace

#endif
