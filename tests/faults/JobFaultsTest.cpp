// Jobs of the library in which one call of the C library fails, or that call and all behind it:
// the first, the second, the third... of each kind, until a job runs through. Whatever fails, a job
// ends with a code or completes, closes what it has opened, and leaves nothing that the next job of
// the process would see. A host that ends jobs on failures never gets a job file with other bytes.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "FaultJobs.h"
#include "Faults.h"
#include "Measured.h"
#include "ODAXGen.h"
#include "ODAXOutLib.h"
#include "TempFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr int kNever = 0;

size_t openFiles() {
  const fs::directory_iterator files("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

// Keeps messages without asking for memory.
class KeptMessages : public ErrorSink {
 public:
  void take(const char* text) override {
    const size_t count = std::min(std::strlen(text), text_.size() - 1 - length_);
    std::memcpy(text_.data() + length_, text, count);
    length_ += count;
  }
  [[nodiscard]] std::string text() const { return {text_.data(), length_}; }

 private:
  std::array<char, 4096> text_{};
  size_t length_ = 0;
};

constexpr int kEnded = 1;  // what the hooks throw

// The host that lets everything pass, as the exported operation does, or the one that ends a job
// when bytes could not be read or written and takes no job that did without something.
class Host : public JobHooks {
 public:
  explicit Host(bool isStrict) : isStrict_(isStrict) {}

  void writeFailed(const char* /*path*/, int error) override { end(error); }
  void readFailed(const char* /*path*/, int error) override { end(error); }
  void jobBegins(const parameter& /*record*/) override { calls_ = FaultInjection::calls(); }
  void pageBegins(const imageParameter& page, uint32_t /*rows*/) override { mode_ = page.Mode; }
  void pageSkipped(const imageParameter& /*page*/, const char* /*path*/) override { end(ENOMEM); }
  void outputComplete() override {
    if (wasMemoryRefused()) end(ENOMEM);
  }
  [[nodiscard]] int mode() const { return mode_; }
  /// How many there were when the configuration was read.
  [[nodiscard]] int callsBeforeTheJob() const { return calls_; }

 private:
  void end(int error) const {
    EXPECT_GT(error, 0);
    if (isStrict_) throw kEnded;
  }

  bool isStrict_;
  int mode_ = 0;
  int calls_ = 0;
};

struct Attempt {
  int code = 0;  // 0 or what was thrown
  int calls = 0;
  int callsBeforeTheJob = 0;
  int mode = 0;
  bool hasStruck = false;
  std::string messages;
};

// A folder with the files of the jobs; it takes their temporary files, too.
class JobFaultsTest : public testing::Test, public TempFolder {
 protected:
  JobFaultsTest() {
    setenv("TMPDIR", path().c_str(), 1);
    writeFilesOfFaultJobs(*this);
  }
  ~JobFaultsTest() override { unsetenv("TMPDIR"); }

  void take(const FaultJob& job) {
    std::string text = job.configuration;
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at)) {
      text.replace(at, 1, path());
    }
    config_ = write("job.cfg", text);
  }

  [[nodiscard]] Attempt run(Fault fault, int n, bool goesOn = false, bool isStrict = false) const {
    const QuietEcho echo;
    const KeptMessages messages;
    Attempt attempt;
    Host host(isStrict);
    ODAX_SetSplitDataSize(0);
    forgetMemoryRefusals();
    fs::remove(path("job.odx"));
    {
      const FaultInjection injection(fault, n, goesOn);
      try {
        runJob(host, config_.c_str());
      } catch (int code) {
        attempt.code = code;
      }
      attempt.hasStruck = injection.hasStruck();
      attempt.calls = FaultInjection::calls();
    }
    attempt.mode = host.mode();
    attempt.callsBeforeTheJob = host.callsBeforeTheJob();
    attempt.messages = messages.text();
    closePagesLeftOpen();
    return attempt;
  }

  // Runs a job with every call of a kind failing in turn.
  void sweep(const FaultJob& job, Fault fault, bool isStrict, bool goesOn = false) {
    SCOPED_TRACE(job.name + ", " + nameOf(fault) + (isStrict ? ", strict" : "") +
                 (goesOn ? ", and from then on" : ""));
    take(job);
    const Attempt whole = run(fault, kNever, false, isStrict);
    ASSERT_EQ(whole.code, 0) << whole.messages;
    EXPECT_EQ(whole.messages, "");
    if (job.mode != 0) {
      EXPECT_EQ(whole.mode, job.mode);
      modes_.insert(whole.mode);
    }
    const Bytes usual = bytes("job.odx");
    // All modes read their configurations in the same way.
    const int first = job.mode == 0 ? 1 : whole.callsBeforeTheJob + 1;
    // Every call, but for some seconds of sanitizers: there a part, another one for each job.
    const int step = thinned() ? everyNth_ : 1;
    for (int n = first + sweeps_++ % step; n <= whole.calls; n += step) {
      SCOPED_TRACE("call " + std::to_string(n));
      const size_t before = openFiles();
      const Attempt attempt = run(fault, n, goesOn, isStrict);
      ASSERT_TRUE(attempt.hasStruck);
      ++injected_;
      expectAnEnd(attempt, fault, goesOn);
      // Left out on purpose: a table that we may not read, and what a file no longer has.
      const bool mayDiffer = fault == Fault::kShortRead || fault == Fault::kOpen;
      if (isStrict && attempt.code == 0 && !mayDiffer) {
        EXPECT_TRUE(bytes("job.odx") == usual) << "other bytes, and nobody was told";
      }
      // Without any memory a table cannot say that it leaves its stream open.
      const bool mayBeSilent = goesOn && fault == Fault::kAllocation;
      const size_t left = openFiles() - before;
      EXPECT_TRUE(left == keptOpen(attempt) || (mayBeSilent && left == 1))
          << left << attempt.messages;
      expectAUsualJob(usual, attempt);
    }
  }

  static bool thinned() {
    const char* const wanted = std::getenv("ODAXGEN_FAULTS");
    return kIsSanitized && (wanted == nullptr || std::strcmp(wanted, "all") != 0);
  }

  void expectAnEnd(const Attempt& attempt, Fault fault, bool goesOn) {
    EXPECT_LE(attempt.code, kEnded);
    EXPECT_GE(attempt.code, -80);
    if (attempt.code < 0) codes_[static_cast<size_t>(fault)].insert(attempt.code);
    // Without any memory there may be none for the message either.
    const bool mayBeSilent = goesOn && fault == Fault::kAllocation;
    if (attempt.code < 0 && !mayBeSilent) {
      EXPECT_NE(attempt.messages, "") << attempt.code;
    }
  }

  // A table without memory leaves its stream open, on purpose.
  static size_t keptOpen(const Attempt& attempt) {
    const bool isSaid =
        attempt.messages.find("HXRaster_SendTableFile memory error") != std::string::npos;
    return isSaid ? 1 : 0;
  }

  void expectAUsualJob(const Bytes& usual, const Attempt& before) const {
    const Attempt next = run(Fault::kAllocation, kNever);
    EXPECT_EQ(next.code, 0) << next.messages;
    EXPECT_EQ(next.messages, "");
    EXPECT_TRUE(bytes("job.odx") == usual) << "the job after one with code " << before.code;
    EXPECT_FALSE(exists("TEMP_ODAXGEN.dat"));
  }

  [[nodiscard]] const std::set<int>& codesOf(Fault fault) const {
    return codes_[static_cast<size_t>(fault)];
  }
  [[nodiscard]] const std::set<int>& modes() const { return modes_; }

  void reportInjected() const {
    RecordProperty("faults injected", injected_);
    std::printf("             %d faults injected\n", injected_);
  }

  int everyNth_ = 1;  // of the calls, where sweeps are thinned
  int sweeps_ = 0;
  int injected_ = 0;
  std::string config_;
  std::array<std::set<int>, std::size(kFaults)> codes_;
  std::set<int> modes_;
};

TEST_F(JobFaultsTest, EveryKindOfFaultInEveryKindOfJob) {
  for (const FaultJob& job : jobsOfEachKind()) {
    for (const Fault fault : kFaults) {
      everyNth_ = 1;
      sweep(job, fault, false);
      everyNth_ = 8;
      sweep(job, fault, true);
    }
  }
  EXPECT_EQ(codesOf(Fault::kAllocation),
            (std::set<int>{-6, -7, -41, -45, -46, -47, -49, -50, -52, -54, -56, -58, -60, -61, -63,
                           -66, -72, -75, -78}));
  EXPECT_EQ(codesOf(Fault::kOpen),
            (std::set<int>{-3, -46, -47, -49, -51, -53, -55, -57, -59, -62, -64, -65, -74}));
  EXPECT_EQ(codesOf(Fault::kRemove), (std::set<int>{-48}));
  EXPECT_EQ(codesOf(Fault::kWrite), (std::set<int>{}));
  reportInjected();
}

TEST_F(JobFaultsTest, EveryKindOfFaultInEveryMode) {
  everyNth_ = 8;
  for (const char* split : {"0", "100"}) {
    for (const FaultJob& job : jobOfEachMode(split)) {
      for (const Fault fault : kFaults) sweep(job, fault, true);
    }
  }
  EXPECT_EQ(modes(),
            (std::set<int>{1000, 1002, 1003, 1004, 1256, 2000, 2002, 2003, 2256, 3000, 3002, 3003,
                           3004, 3256, 4000, 4002, 4003, 4004, 4256, 5000, 5002, 5003, 5256}));
  reportInjected();
}

TEST_F(JobFaultsTest, FaultsThatDoNotGoAway) {
  everyNth_ = 8;
  for (const FaultJob& job : jobsOfEachKind()) {
    for (const Fault fault : kFaults) sweep(job, fault, true, true);
  }
  reportInjected();
}

// The disk is full behind so many bytes of each file.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    before_ = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &limit_);
    const rlimit limit = {bytes, limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &limit_);
    std::signal(SIGXFSZ, before_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit limit_{};
  void (*before_)(int) = nullptr;
};

TEST_F(JobFaultsTest, ADiskThatIsFullBehindAnyNumberOfBytes) {
  for (const FaultJob& job : jobsOfEachKind()) {
    SCOPED_TRACE(job.name);
    take(job);
    ASSERT_EQ(run(Fault::kAllocation, kNever).code, 0);
    const Bytes usual = bytes("job.odx");
    const size_t step = usual.size() > 1000 ? 97 : 7;
    for (size_t room = 0; room < usual.size(); room += step) {
      SCOPED_TRACE(room);
      const size_t before = openFiles();
      for (const bool isStrict : {false, true}) {
        Attempt attempt;
        {
          const FullDisk disk(room);
          attempt = run(Fault::kAllocation, kNever, false, isStrict);
        }
        ++injected_;
        EXPECT_EQ(attempt.code, isStrict ? kEnded : 0) << attempt.messages;
        EXPECT_LE(bytes("job.odx").size(), room);
      }
      EXPECT_EQ(openFiles(), before);
    }
    expectAUsualJob(usual, {});
  }
  reportInjected();
}

TEST_F(JobFaultsTest, ATemporaryFileThatCannotBeRemovedStopsTheJobBehindItsDataPacket) {
  take({"",
        "[Global]\nOutFilePath=\"job.odx\"\nSplitDataSize=0\nSendDataFile=\"@/data.bin\"\n"
        "[ODAX]\nStartJobXmlFile=\"@/StartJob.xml\"\n"
        "SetJobConfigurationXmlFile=\"@/SetJobConfiguration.xml\"\n"
        "SetConfigurationXmlFile=\"@/SetConfiguration.xml\"\n"
        "SendDataXmlFile=\"@/SendData.xml\"\nEndJobXmlFile=\"@/EndJob.xml\"\n"});
  ASSERT_EQ(run(Fault::kRemove, kNever).code, 0);
  const std::string whole = text("job.odx");

  const Attempt failed = run(Fault::kRemove, 1);
  EXPECT_EQ(failed.code, -48);
  EXPECT_EQ(failed.messages, "ERROR!: Can't delete file \"" + path("TEMP_ODAXGEN.dat") + "\"\n");
  EXPECT_TRUE(exists("TEMP_ODAXGEN.dat"));
  EXPECT_EQ(text("job.odx"), whole.substr(0, whole.rfind("<EJ>")));

  // The next job writes over it and takes it away.
  expectAUsualJob(bytesOf(whole), failed);
}

// A call that fails unseen would be one that no sweep tries.
TEST(FaultCalls, EveryCallOfTheLibraryThatCanFailIsAmongThem) {
  std::FILE* const names = popen(("nm -D -u " ODAXGEN_LOADABLE), "r");
  ASSERT_NE(names, nullptr);
  std::set<std::string> called;
  char line[1024];
  while (std::fgets(line, sizeof line, names) != nullptr) {
    const std::string name = line;
    const size_t begin = name.find_last_of(' ') + 1;
    called.insert(name.substr(begin, name.find_first_of("@\n", begin) - begin));
  }
  ASSERT_EQ(pclose(names), 0);
  // Other forms of operator new, without the underscore that their names begin with.
  for (const char* other : {"Znam", "ZnamRKSt9nothrow_t", "ZnwmSt11align_val_t"}) {
    EXPECT_EQ(called.count(std::string("_") + other), 0U) << other << " is no kind of fault yet";
  }
  EXPECT_TRUE(called.count("fread") == 1 && called.count("fopen") == 1);
  for (const char* other :
       {"malloc", "realloc", "reallocarray", "aligned_alloc", "posix_memalign", "strdup", "strndup",

        "open",   "open64",  "fdopen",       "freopen",       "tmpfile",        "read",   "pread",
        "mmap",   "fgets",   "fgetc",        "getc",          "getline",        "write",  "pwrite",
        "fputs",  "fputc",   "fprintf",      "fsetpos",       "lseek",          "fsync",  "rename",
        "unlink", "mkstemp", "realpath",     "getcwd"}) {
    EXPECT_EQ(called.count(other), 0U) << other << " is no kind of fault yet";
  }
}

}  // namespace
