// The command with calls of the C library that fail: in its own process, by a library that is
// loaded first. Every run ends: with exit code 0 and exactly the usual output, or with 1, a line
// that says what failed, and nothing half done under a final name or left behind.
//
// Every call that is on a file fails in turn. Of the memory that a command asks for, a sample is
// refused, another one in each run of the tests; ODAXGEN_FAULTS=all refuses all of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "FaultJobs.h"
#include "Program.h"
#include "TempFolder.h"

#ifdef ODAXGEN_FAULTY_CALLS  // a sanitizer's library would have to be first itself

using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

namespace fs = std::filesystem;

constexpr const char* kFileFaults[] = {"open", "make", "close", "stat", "rename", "remove",
                                       "name", "mode", "read",  "seek", "write",  "flush"};

bool areAllWanted() {
  const char* const wanted = std::getenv("ODAXGEN_FAULTS");
  return wanted != nullptr && std::string(wanted) == "all";
}

uint32_t seed() {
  static const uint32_t value = [] {
    const char* const given = std::getenv("ODAXGEN_FAULTS_SEED");
    return given == nullptr ? std::random_device()()
                            : static_cast<uint32_t>(std::strtoul(given, nullptr, 10));
  }();
  return value;
}

struct Command {
  std::vector<std::string> arguments;
  std::string output;                 // the file or folder that it makes; empty: none
  bool saysFailuresOnStdout = false;  // findings are what it is for
};

using Files = std::map<std::string, std::string>;  // by path

class CommandFaultsTest : public testing::Test, public TempFolder {
 protected:
  CommandFaultsTest() {
    writeFilesOfFaultJobs(*this);
    fs::create_directory(path("tmp"));
    for (const FaultJob& job : jobsOfEachKind()) {
      std::string text = job.configuration;
      for (size_t at = text.find("@/"); at != std::string::npos; at = text.find("@/", at)) {
        text.erase(at, 2);
      }
      configs_[job.name] = write("job" + std::to_string(configs_.size()) + ".cfg", text);
    }
  }

  /// A configuration by the name of its job; relative, as users give it.
  [[nodiscard]] std::string config(const std::string& name) const {
    return fs::path(configs_.at(name)).filename().string();
  }
  [[nodiscard]] std::vector<std::string> configNames() const {
    std::vector<std::string> names;
    for (const auto& [name, file] : configs_) names.push_back(name);
    return names;
  }

  struct Run {
    ProgramResult result;
    int calls = 0;
    bool hasStruck = false;
  };

  [[nodiscard]] Run run(const Command& command, const std::string& fault,
                        uint64_t mostBytes = 0) const {
    if (!command.output.empty()) fs::remove_all(path(command.output));
    fs::remove(path("log"));
    Run run;
    run.result = runOdaxgen(command.arguments, path(),
                            {.variables = {{"TMPDIR", path("tmp")},
                                           {"LD_PRELOAD", ODAXGEN_FAULTY_CALLS},
                                           {"ODAXGEN_FAULT", fault},
                                           {"ODAXGEN_FAULT_LOG", path("log")}},
                             .mostBytes = mostBytes});
    const std::string log = text("log");
    run.hasStruck = log.find("struck") != std::string::npos;
    const size_t at = log.find("calls ");
    run.calls = at == std::string::npos ? 0 : std::atoi(log.c_str() + at + 6);
    return run;
  }

  /// Everything that stands under a path, itself included.
  [[nodiscard]] Files under(const std::string& name) const {
    Files files;
    if (name.empty() || !exists(name)) return files;
    if (!fs::is_directory(path(name))) return {{name, text(name)}};
    for (const auto& entry : fs::recursive_directory_iterator(path(name))) {
      const std::string inner = fs::relative(entry.path(), path()).string();
      if (entry.is_regular_file()) files[inner] = text(inner);
    }
    return files;
  }

  [[nodiscard]] std::vector<std::string> leftBehind() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(path())) {
      const std::string name = entry.path().string();
      const bool isTemporary = name.starts_with(path("tmp/"));
      if (isTemporary || name.ends_with(".part")) names.push_back(name);
    }
    return names;
  }

  void sweep(const Command& command, const std::string& kind, const std::string& how,
             int stride = 1, int last = 0) {
    const Run usual = run(command, kind + " 0");
    ASSERT_EQ(usual.result.exitCode, 0) << usual.result.err << usual.result.out;
    const Files usualFiles = under(command.output);
    const auto shift =
        (seed() + static_cast<uint32_t>(kind.size())) % static_cast<uint32_t>(stride);
    for (int n = 1; n <= usual.calls; ++n) {
      const bool isOfSample = static_cast<uint32_t>(n) % static_cast<uint32_t>(stride) == shift;
      if (!isOfSample && n <= usual.calls - last) continue;
      std::string fault = kind;
      fault += " " + std::to_string(n) + " ";
      fault += how;
      SCOPED_TRACE(testing::PrintToString(command.arguments) + ", " + fault);
      const Run faulty = run(command, fault);
      ++injected_;
      EXPECT_TRUE(faulty.hasStruck);
      expectAnEnd(command, faulty.result, kind, how == "short");
      // That a file cannot be opened may be a finding like any other.
      const bool isFinding = command.saysFailuresOnStdout && (kind == "open" || kind == "stat");
      if (faulty.result.exitCode == 0 && how != "short" && !isFinding) {
        EXPECT_EQ(faulty.result.out, usual.result.out);
        EXPECT_TRUE(under(command.output) == usualFiles) << "other output, and nobody was told";
      }
      expectWholeFilesOnly(command, faulty.result, usualFiles, how == "short");
      expectNothingLeft(faulty.result, kind);
    }
  }

  static void expectAnEnd(const Command& command, const ProgramResult& result,
                          const std::string& kind, bool isShort) {
    ASSERT_THAT(result.exitCode, AnyOf(0, 1)) << result.err;
    EXPECT_THAT(result.err, Not(HasSubstr("terminate")));
    if (result.exitCode == 0) return;
    const std::string all = command.saysFailuresOnStdout ? result.out + result.err : result.err;
    if (command.saysFailuresOnStdout) {
      EXPECT_NE(all, "");
    } else {
      EXPECT_THAT("\n" + result.err, HasSubstr("\nodaxgen: "));
    }
    const bool isOnAFile = kind != "memory" && kind != "name" && kind != "stat" && !isShort;
    if (isOnAFile) {
      EXPECT_THAT(all, testing::ContainsRegex("/|\\.cfg|\\.odx|new|pictures|standard output"));
    }
  }

  // What has its final name is whole. Nothing has it, unless only the saying of it failed, or it is
  // one of several that were made one by one.
  static void expectNoFiles(const Files& files) { EXPECT_TRUE(files.empty()); }
  void expectWholeFilesOnly(const Command& command, const ProgramResult& result, const Files& usual,
                            bool isShort) const {
    if (result.exitCode == 0) return;
    const Files files = under(command.output);
    const bool areSeveral = command.arguments[0] == "render";
    const bool isUnsaid = result.err.find("standard output") != std::string::npos;
    if (!areSeveral && !isUnsaid) expectNoFiles(files);
    if (isShort) return;
    for (const auto& [name, content] : files) {
      EXPECT_TRUE(usual.count(name) == 1 && usual.at(name) == content) << name;
    }
  }

  // What could not be removed is named.
  void expectNothingLeft(const ProgramResult& result, const std::string& kind) const {
    for (const std::string& name : leftBehind()) {
      if (kind == "remove") {
        const std::string shown = name.substr(0, name.rfind("/TEMP_"));
        EXPECT_THAT(result.err, HasSubstr(shown));
      } else {
        ADD_FAILURE() << "left behind: " << name << "\n" << result.err;
      }
      fs::remove_all(name);
    }
  }

  void sweepFileFaults(const Command& command) {
    for (const char* kind : kFileFaults) {
      sweep(command, kind, "once");
      if (areAllWanted() || command.arguments[0] == "run") sweep(command, kind, "on");
    }
    sweep(command, "read", "short");
  }
  // The options are read in the same way for all; the last calls are those of the work itself.
  void sweepMemory(const Command& command, int stride, int last = 0) {
    const int step = areAllWanted() ? 1 : stride;
    sweep(command, "memory", "once", step, last);
    sweep(command, "memory", "on", step);
  }

  void reportInjected() const {
    RecordProperty("faults injected", injected_);
    std::printf("             %d faults injected, ODAXGEN_FAULTS_SEED=%u\n", injected_, seed());
  }

  int injected_ = 0;

 private:
  std::map<std::string, std::string> configs_;
};

TEST_F(CommandFaultsTest, RunWithFilesThatFail) {
  for (const std::string& name : configNames()) {
    const bool isTried =
        areAllWanted() || name.starts_with("two tables") || name == "ready-made data, split 0";
    if (isTried) sweepFileFaults({{"run", "-q", config(name)}, "job.odx"});
  }
  reportInjected();
}

TEST_F(CommandFaultsTest, RunWithMemoryThatRunsOut) {
  for (const std::string& name : configNames()) {
    const bool isTried = areAllWanted() || name.starts_with("two tables");
    if (isTried) sweepMemory({{"run", config(name)}, "job.odx"}, 41, 130);
  }
  reportInjected();
}

// The objects of the option parser are made before main().
TEST_F(CommandFaultsTest, TheFirstMemoryThatIsRefusedIsSaidLikeAnyOther) {
  for (const char* how : {"once", "on"}) {
    const ProgramResult result = run({{"--version"}, ""}, std::string("memory 1 ") + how).result;
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "odaxgen: out of memory\n");
  }
}

TEST_F(CommandFaultsTest, RunOnADiskThatIsFull) {
  for (const char* name : {"ready-made data, split 0", "ready-made data, split 100"}) {
    const Command command = {{"run", "-q", config(name)}, "job.odx"};
    ASSERT_EQ(run(command, "none 0").result.exitCode, 0);
    const std::string usual = text("job.odx");
    const size_t step = areAllWanted() ? 1 : 1 + usual.size() / 30;
    // The messages go into a file, too, and have to fit.
    constexpr size_t kMessages = 500;
    for (size_t room = kMessages + seed() % step; room < usual.size(); room += step) {
      SCOPED_TRACE(room);
      const ProgramResult result = run(command, "none 0", room).result;
      ++injected_;
      EXPECT_EQ(result.exitCode, 1);
      EXPECT_THAT(result.err, HasSubstr(": File too large\n"));
      EXPECT_FALSE(exists("job.odx"));
      EXPECT_THAT(leftBehind(), IsEmpty());
    }
  }
  reportInjected();
}

TEST_F(CommandFaultsTest, APartialOutputThatIsKeptIsNamed) {
  const Command command = {{"run", "-q", "--keep-partial", config("deep RGB, split 100")},
                           "job.odx"};
  const int writes = run(command, "write 0").calls;
  for (int n = 1; n <= writes; n += 3) {
    SCOPED_TRACE(n);
    const ProgramResult result = run(command, "write " + std::to_string(n) + " on").result;
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(exists("job.odx"));
    EXPECT_TRUE(exists("job.odx.partial"));
    EXPECT_THAT(result.err, HasSubstr(path("job.odx.partial")));
    fs::remove(path("job.odx.partial"));
  }
}

TEST_F(CommandFaultsTest, CheckBlamesNoFileForWantOfMemory) {
  const Command command = {{"check", config("two tables and three pages, split 100")}, ""};
  const int files = run(command, "open 0").calls;
  for (int n = 1; n <= files; ++n) {
    SCOPED_TRACE(n);
    const ProgramResult result = run(command, "open " + std::to_string(n) + " nomem").result;
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "odaxgen: out of memory\n");
    EXPECT_THAT(result.out, Not(HasSubstr("cannot be opened")));
  }
}

TEST_F(CommandFaultsTest, TheOtherSubcommands) {
  const std::string config = this->config("two tables and three pages, split 100");
  ASSERT_EQ(run({{"run", "-q", config}, ""}, "none 0").result.exitCode, 0);
  fs::rename(path("job.odx"), path("made.odx"));
  const Command commands[] = {
      {{"inspect", "made.odx"}, ""},
      {{"inspect", "--json", "--config", config, "made.odx"}, ""},
      {{"verify", config, "made.odx"}, "", true},
      {{"check", config}, "", true},
      {{"render", "made.odx", "-o", "pictures", "--config", config, "--page", "1"}, "pictures"},
      {{"init", "new/job"}, "new"},
  };
  for (const Command& command : commands) {
    sweepFileFaults(command);
    sweepMemory(command, 211);
  }
  reportInjected();
}

}  // namespace

#endif
