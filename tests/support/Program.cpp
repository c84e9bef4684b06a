#include "Program.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace {

constexpr int kCannotStart = 127;

bool setVariables(const std::map<std::string, std::string>& variables) {
  for (const auto& [name, value] : variables) {
    if (setenv(name.c_str(), value.c_str(), 1) != 0) return false;
  }
  return true;
}

[[noreturn]] void become(const std::vector<std::string>& arguments, const std::string& folder) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  if (chdir(folder.c_str()) != 0) _exit(kCannotStart);
  execv(argv[0], argv.data());
  _exit(kCannotStart);
}

void redirect(int stream, const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
  if (dup2(file, stream) < 0) _exit(kCannotStart);
}

void limitFiles(uint64_t bytes) {
  const rlimit limit = {bytes, bytes};
  if (bytes > 0 && setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(kCannotStart);
}

int exitCodeOf(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// What a terminal gets, until the program closes it.
std::string readTerminal(int terminal, pid_t program, const std::string& interruptAt) {
  std::string text;
  bool isInterrupted = interruptAt.empty();
  char piece[1024];
  for (;;) {
    const ssize_t got = read(terminal, piece, sizeof piece);
    if (got <= 0) return text;
    text.append(piece, static_cast<size_t>(got));
    if (isInterrupted || text.find(interruptAt) == std::string::npos) continue;
    isInterrupted = true;
    kill(program, SIGINT);
  }
}

}  // namespace

RunningProgram::RunningProgram(const std::vector<std::string>& arguments, const std::string& folder,
                               const Surroundings& surroundings) {
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("cannot start a process");
  if (process_ > 0) return;
  redirect(STDOUT_FILENO, surroundings.out.empty() ? streams_.path("out") : surroundings.out);
  redirect(STDERR_FILENO, streams_.path("err"));
  // A shell that runs the tests in the background ignores some of these.
  for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(number, SIG_DFL);
  for (const int number : surroundings.ignored) std::signal(number, SIG_IGN);
  if (!setVariables({{"TMPDIR", temporary_.path()}})) _exit(kCannotStart);
  if (!setVariables(surroundings.variables)) _exit(kCannotStart);
  limitFiles(surroundings.mostBytes);
  become(arguments, folder);
}

RunningProgram::~RunningProgram() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void RunningProgram::signal(int number) const {
  kill(process_, number);
}

ProgramResult RunningProgram::wait() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  return {exitCodeOf(status), streams_.text("out"), streams_.text("err")};
}

ProgramResult runProgram(const std::vector<std::string>& arguments, const std::string& folder,
                         const Surroundings& surroundings) {
  return RunningProgram(arguments, folder, surroundings).wait();
}

std::vector<std::string> odaxgenWith(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), ODAXGEN_PROGRAM);
  return arguments;
}

ProgramResult runOdaxgen(std::vector<std::string> arguments, const std::string& folder,
                         const Surroundings& surroundings) {
  return runProgram(odaxgenWith(std::move(arguments)), folder, surroundings);
}

ProgramResult runOdaxgenOnTerminal(const std::vector<std::string>& arguments,
                                   const std::string& folder,
                                   const std::map<std::string, std::string>& variables,
                                   const std::string& interruptAt) {
  int terminal = -1;
  const winsize size = {24, 80, 0, 0};
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child < 0) throw std::runtime_error("cannot start a process on a terminal");
  if (child == 0) {
    std::signal(SIGINT, SIG_DFL);
    if (!setVariables({{"TERM", "xterm"}}) || !setVariables(variables)) _exit(kCannotStart);
    become(odaxgenWith(arguments), folder);
  }
  ProgramResult result;
  result.out = readTerminal(terminal, child, interruptAt);
  int status = 0;
  waitpid(child, &status, 0);
  close(terminal);
  result.exitCode = exitCodeOf(status);
  return result;
}
