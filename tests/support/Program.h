// Program - runs a command as a user does, in a folder, and collects what it says.
#pragma once

#include <string>
#include <vector>

struct ProgramResult {
  int exitCode = -1;  // 128 + signal for a program that was killed
  std::string out;
  std::string err;
};

/// Runs `arguments[0]` with the rest as its arguments, in `folder`, with a folder of its own for
/// temporary files.
ProgramResult runProgram(const std::vector<std::string>& arguments, const std::string& folder);

/// Runs the odaxgen command with these arguments, in `folder`.
ProgramResult runOdaxgen(std::vector<std::string> arguments, const std::string& folder);
