#include "Program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <cstdlib>
#include <stdexcept>

#include "TempFolder.h"

namespace {

[[noreturn]] void become(const std::vector<std::string>& arguments, const std::string& folder,
                         const TempFolder& streams) {
  constexpr int kCannotStart = 127;
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const int outFile = open(streams.path("out").c_str(), O_WRONLY | O_CREAT, 0600);
  const int errFile = open(streams.path("err").c_str(), O_WRONLY | O_CREAT, 0600);
  if (dup2(outFile, STDOUT_FILENO) < 0 || dup2(errFile, STDERR_FILENO) < 0) _exit(kCannotStart);
  // Tests run side by side, and the temporary file of a job has one name.
  if (setenv("TMPDIR", streams.path().c_str(), 1) != 0) _exit(kCannotStart);
  if (chdir(folder.c_str()) != 0) _exit(kCannotStart);
  execv(argv[0], argv.data());
  _exit(kCannotStart);
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments, const std::string& folder) {
  const TempFolder streams;
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot start a process");
  if (child == 0) become(arguments, folder, streams);
  int status = 0;
  waitpid(child, &status, 0);
  const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {exitCode, streams.text("out"), streams.text("err")};
}

ProgramResult runOdaxgen(std::vector<std::string> arguments, const std::string& folder) {
  arguments.insert(arguments.begin(), ODAXGEN_PROGRAM);
  return runProgram(arguments, folder);
}
