// Program - runs a command as a user does, in a folder, and collects what it says.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "TempFolder.h"

struct ProgramResult {
  int exitCode = -1;  // 128 + signal for a program that was killed
  std::string out;
  std::string err;
};

/// What surrounds a program.
struct Surroundings {
  std::map<std::string, std::string> variables =
      {};                         // of the environment, beside those of the tests
  std::string out = {};           // a file for standard output; empty: it is collected
  uint64_t mostBytes = 0;         // that a file which it writes may have; 0: any number
  std::vector<int> ignored = {};  // signals that its parent ignores
};

/// A program that runs beside the test, with a folder of its own for temporary files.
class RunningProgram {
 public:
  RunningProgram(const std::vector<std::string>& arguments, const std::string& folder,
                 const Surroundings& surroundings = {});
  ~RunningProgram();  // kills it if it still runs
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  void signal(int number) const;
  ProgramResult wait();
  /// Its folder for temporary files.
  [[nodiscard]] const TempFolder& temporaryFiles() const { return temporary_; }

 private:
  TempFolder streams_;
  TempFolder temporary_;
  pid_t process_ = -1;
};

/// Runs `arguments[0]` with the rest as its arguments, in `folder`, with a folder of its own for
/// temporary files.
ProgramResult runProgram(const std::vector<std::string>& arguments, const std::string& folder,
                         const Surroundings& surroundings = {});

/// Runs the odaxgen command with these arguments, in `folder`.
ProgramResult runOdaxgen(std::vector<std::string> arguments, const std::string& folder,
                         const Surroundings& surroundings = {});

/// The odaxgen command with these arguments, ready for RunningProgram.
std::vector<std::string> odaxgenWith(std::vector<std::string> arguments);

/// Runs the odaxgen command on a terminal of 80 columns. Both streams come as `out`, as the
/// terminal gets them.
/// @param interruptAt  SIGINT is sent when the terminal shows this; empty: never
ProgramResult runOdaxgenOnTerminal(const std::vector<std::string>& arguments,
                                   const std::string& folder,
                                   const std::map<std::string, std::string>& variables = {},
                                   const std::string& interruptAt = "");
