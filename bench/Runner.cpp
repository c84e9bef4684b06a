#include "Runner.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

constexpr int kCannotStart = 127;

volatile std::sig_atomic_t sIsStopped = 0;  // 1 once a signal has asked us to end

void stop(int /*signal*/) {
  sIsStopped = 1;
}

// In the new process, which only replaces itself.
[[noreturn]] void become(char* const* arguments, const char* output) {
  const int input = open("/dev/null", O_RDONLY);
  const int out = open(output, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (input < 0 || out < 0) _exit(kCannotStart);
  dup2(input, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  execvp(arguments[0], arguments);
  _exit(kCannotStart);
}

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::string joined(const Words& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

}  // namespace

void stopAtSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, stop);
}

Measured run(const Words& words, const std::string& output) {
  if (sIsStopped != 0) throw std::runtime_error("interrupted");
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t process = fork();
  if (process == 0) become(arguments.data(), output.c_str());
  int status = 0;
  rusage usage{};
  if (process < 0 || wait4(process, &status, 0, &usage) != process) {
    throw std::runtime_error("cannot run " + joined(words));
  }
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  if (status != 0) throw std::runtime_error("failed: " + joined(words));
  return {time.count(), secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
          static_cast<uint64_t>(usage.ru_maxrss) * 1024};
}

Measured runAll(const std::vector<Words>& programs) {
  Measured sum;
  for (const Words& words : programs) {
    const Measured one = run(words);
    sum.seconds += one.seconds;
    sum.cpuSeconds += one.cpuSeconds;
    sum.peakBytes = std::max(sum.peakBytes, one.peakBytes);
  }
  return sum;
}

std::string outputOf(const Words& words, const std::string& placeForFile) {
  const std::string path = placeForFile + "/output.txt";
  run(words, path);
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  std::filesystem::remove(path);
  return text.str();
}

}  // namespace bench
