#include "JobRunner.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <new>

#include "CFGRecords.h"
#include "HXRasterLib.h"
#include "JobProgress.h"
#include "JobRequest.h"
#include "ODAXGen.h"
#include "ODAXOutLib.h"
#include "PagePipeline.h"
#include "PrivateFolder.h"
#include "Report.h"
#include "StagedOutput.h"

namespace command {

namespace {

constexpr int kJobEnded = 1;  // ends a job; the library's own codes are negative
constexpr const char* kOutOfMemory = "out of memory";

// Some of the library's messages show errno, whoever set it: hooks must leave it alone.
class ErrnoKept {
 public:
  ErrnoKept() : errno_(errno) {}
  ~ErrnoKept() { errno = errno_; }
  ErrnoKept(const ErrnoKept&) = delete;
  ErrnoKept& operator=(const ErrnoKept&) = delete;

 private:
  int errno_;
};

// The library's messages: kept, or passed on with the progress out of their way.
class Messages : public ErrorSink {
 public:
  Messages(JobProgress& progress, bool areKept)
      : progress_(progress), areKept_(areKept), isTerminal_(isatty(STDERR_FILENO) == 1) {}

  void take(const char* text) override {
    const ErrnoKept kept;
    if (areKept_) {
      kept_ += text;
      return;
    }
    progress_.erase();
    // Lines of a file that is no configuration must not drive the terminal.
    std::fputs(isTerminal_ ? printableLines(text).c_str() : text, stderr);
  }
  [[nodiscard]] const std::string& kept() const { return kept_; }

 private:
  JobProgress& progress_;
  bool areKept_;
  bool isTerminal_;
  std::string kept_;
};

// The echo on a terminal: values of the configuration must not drive it either.
class TerminalEcho : public EchoSink {
 public:
  void take(const char* text) override {
    const ErrnoKept kept;
    std::fputs(printableLines(text).c_str(), stdout);
  }
};

// Where the echo goes; null: to standard output.
std::unique_ptr<EchoSink> echoFor(const RunOptions& options) {
  if (options.isQuiet) return std::make_unique<QuietEcho>();
  if (isatty(STDOUT_FILENO) == 1) return std::make_unique<TerminalEcho>();
  return nullptr;
}

class RunHooks : public JobHooks {
 public:
  RunHooks(const std::string& config, const RunOptions& options, JobProgress& progress,
           JobResult& result)
      : folder_(std::filesystem::path(config).parent_path().string()),
        progress_(progress),
        result_(result),
        output_(options.keepsPartialOutput) {}

  const char* completePath(const char* path) override {
    if (path[0] == '/') return path;
    path_ = folder_ + "/" + path;
    return path_.c_str();
  }
  const char* temporaryFolder() override {
    const ErrnoKept kept;
    return temporaryFolder_.make();
  }
  const char* stageOutput(const char* path) override {
    const ErrnoKept kept;
    return output_.stage(path);
  }
  void writeFailed(const char* path, int error) override {
    result_.hasWriteFailed = true;
    endJob(path, error);
  }
  void readFailed(const char* path, int error) override { endJob(path, error); }

  void jobBegins(const parameter& record) override {
    const ErrnoKept kept;
    result_.output = record.OutFilePath[0] == '\0' ? "ODAX.dat" : record.OutFilePath;
    const bool hasData = record.SendDataFile[0] != '\0';
    if (!hasData) numberPages(record);
    progress_.jobBegins(record, hasData ? completePath(record.SendDataFile) : "");
  }
  void pageBegins(const imageParameter& page, uint32_t rows) override {
    progress_.pageBegins(page, rows);
  }
  void bandSent(int rows) override {
    const ErrnoKept kept;
    progress_.bandSent(rows);
  }
  void pageEnds() override {
    ++result_.pages;
    progress_.pageEnds();
  }
  void pageSkipped(const imageParameter& page, const char* path) override {
    // The system's trouble is none of the page's: another time it is there, so it must not be
    // missing.
    const int error = path == nullptr ? ENOMEM : errno;
    if (path == nullptr) {
      endJob("page " + std::to_string(numbers_[&page]), error);
    } else if (isShortage(error)) {
      endJob(path, error);
    }
    result_.skipped.push_back({numbers_[&page], path});
    progress_.pageSkipped(page);
  }
  void dataCopied(uint64_t bytes) override {
    const ErrnoKept kept;
    progress_.dataCopied(bytes);
  }
  void outputComplete() override {
    if (wasMemoryRefused()) {  // to a plane or a table, which the job did without
      result_.cause = kOutOfMemory;
      throw kJobEnded;
    }
    output_.commit();
    progress_.erase();
  }

  /// After a failure.
  void giveUp() { result_.partial = output_.giveUp(); }

 private:
  // What keeps an image from being opened although nothing is wrong with it.
  static bool isShortage(int error) {
    return error == ENOMEM || error == EMFILE || error == ENFILE || error == EIO;
  }

  [[noreturn]] void endJob(const std::string& what, int error) {
    result_.cause = what + ": " + std::strerror(error);
    throw kJobEnded;
  }

  void numberPages(const parameter& record) {
    for (const imageParameter* page = record.imageParameterList; page != nullptr; page = page->next)
      numbers_[page] = numbers_.size() + 1;
  }

  std::string folder_;  // of the configuration
  JobProgress& progress_;
  JobResult& result_;
  StagedOutput output_;
  PrivateFolder temporaryFolder_;
  std::string path_;  // the last one completed
  std::map<const imageParameter*, size_t> numbers_;
};

// What an earlier job of the process would leave to this one.
void forgetEarlierJobs() {
  ODAX_SetSplitDataSize(0);
  HXRaster_Forget();
  closePagesLeftOpen();
  forgetMemoryRefusals();
  errno = 0;  // some messages show it
}

void runWith(const std::string& config, RunHooks& hooks, JobResult& result) {
  try {
    runJob(hooks, config.c_str());
    result.isDone = true;
  } catch (int code) {
    if (code != kJobEnded) result.code = code;
  } catch (const char* text) {
    result.cause = text;
  } catch (const std::bad_alloc&) {
    result.cause = kOutOfMemory;
  } catch (const std::exception& error) {
    result.cause = error.what();
  }
}

// Asks for no memory: the job is done, and nothing may fail any more.
uint64_t sizeOf(const std::string& path) {
  struct stat status = {};
  const bool isKnown = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  return isKnown ? static_cast<uint64_t>(status.st_size) : 0;
}

}  // namespace

JobResult runOneJob(const std::string& config, const RunOptions& options) {
  const auto begin = std::chrono::steady_clock::now();
  JobResult result;
  result.config = config;
  const std::unique_ptr<EchoSink> echo = echoFor(options);
  const std::string path = jobverify::absolutePath(config);
  {
    JobProgress progress(!options.isQuiet);
    const Messages messages(progress, options.keepsMessages);
    RunHooks hooks(path, options, progress, result);
    forgetEarlierJobs();
    runWith(path, hooks, result);
    // The writer's stream may still be open after a failure that the library does not clean up.
    if (!result.isDone) hooks.giveUp();
    result.message = messages.kept();
  }
  if (result.isDone) result.bytes = sizeOf(result.output);
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  return result;
}

}  // namespace command
