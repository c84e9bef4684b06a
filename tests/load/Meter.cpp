// odaxgen-meter - runs a program and tells its peak memory and its work.
//
// usage: odaxgen-meter REPORT SECONDS PROGRAM ARGUMENT...
// Writes the peak of resident memory in KiB into REPORT, and ends as the program does: with its
// exit code, or 128 + the signal that killed it; SIGALRM after SECONDS.
//
// A process of its own because a peak counts from fork() on, with the memory of who forks.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kCannotStart = 127;
constexpr int kReport = 1, kSeconds = 2, kProgram = 3;  // places of the arguments

long microseconds(const timeval& time) {
  constexpr long kPerSecond = 1000000;
  return time.tv_sec * kPerSecond + time.tv_usec;
}

}  // namespace

int main(int count, char** arguments) {
  if (count <= kProgram) return kCannotStart;
  const pid_t process = fork();
  if (process < 0) return kCannotStart;
  if (process == 0) {
    std::signal(SIGALRM, SIG_DFL);
    alarm(static_cast<unsigned>(std::atoi(arguments[kSeconds])));
    execv(arguments[kProgram], arguments + kProgram);
    _exit(kCannotStart);
  }
  int status = 0;
  rusage usage{};
  if (wait4(process, &status, 0, &usage) != process) return kCannotStart;
  std::FILE* report = std::fopen(arguments[kReport], "w");
  if (report == nullptr) return kCannotStart;
  std::fprintf(report, "%ld %ld\n", usage.ru_maxrss,
               microseconds(usage.ru_utime) + microseconds(usage.ru_stime));
  if (std::fclose(report) != 0) return kCannotStart;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
