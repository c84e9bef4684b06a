// link - a host that links the library. It runs jobs one after another, keeps what they print, and
// turns what they throw into a result.
//
// usage: link-host CONFIGURATION...
#include <odaxgen/ODAXGen.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>

namespace {

// Takes a stream of the process away while it lives: stdout with the echo of the settings, stderr
// with the messages. Without a temporary file the stream stays where it is.
class Capture {
 public:
  explicit Capture(std::FILE* stream) : stream_(stream), file_(std::tmpfile()) {
    if (file_ == nullptr) return;
    std::fflush(stream_);
    before_ = dup(fileno(stream_));
    if (before_ >= 0) dup2(fileno(file_), fileno(stream_));
  }
  ~Capture() { giveBack(); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  // Gives the stream back and tells what was printed.
  std::string text() {
    if (file_ == nullptr) return "";
    std::fflush(stream_);
    std::rewind(file_);
    std::string text;
    for (int c = std::fgetc(file_); c != EOF; c = std::fgetc(file_)) {
      text += static_cast<char>(c);
    }
    giveBack();
    return text;
  }

 private:
  void giveBack() {
    if (file_ == nullptr) return;
    std::fflush(stream_);
    if (before_ >= 0) {
      dup2(before_, fileno(stream_));
      close(before_);
    }
    std::fclose(file_);
    file_ = nullptr;
  }

  std::FILE* stream_;
  std::FILE* file_;
  int before_ = -1;
};

struct Outcome {
  bool isDone = false;
  std::string reason;    // of a failure
  std::string echo;      // what the job printed on standard output
  std::string messages;  // what it printed on standard error; a job that is done may have some too
};

// The library keeps its state in variables of the process, and so do the two streams.
Outcome runJob(const std::string& configuration) {
  static std::mutex oneJobAtATime;
  const std::lock_guard<std::mutex> lock(oneJobAtATime);

  Outcome outcome;
  Capture echo(stdout);
  Capture messages(stderr);
  try {
    makeODAXData(configuration.c_str());
    outcome.isDone = true;
  } catch (int code) {
    outcome.reason = "code " + std::to_string(code);
  } catch (const char* text) {
    outcome.reason = text;
  }
  outcome.messages = messages.text();
  outcome.echo = echo.text();
  return outcome;
}

void report(const std::string& configuration, const Outcome& outcome) {
  const std::string result = outcome.isDone ? "done" : "failed, " + outcome.reason;
  std::printf("%s: %s\n", configuration.c_str(), result.c_str());
  if (!outcome.messages.empty()) std::printf("%s", outcome.messages.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  bool areAllDone = argc > 1;
  for (int i = 1; i < argc; ++i) {
    // The library completes a relative path with the folder of the program, not the current one.
    const std::string configuration = std::filesystem::absolute(argv[i]).string();
    const Outcome outcome = runJob(configuration);
    report(configuration, outcome);
    areAllDone = areAllDone && outcome.isDone;
  }
  return areAllDone ? 0 : 1;
}
