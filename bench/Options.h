// Options - the options of the programs here, and what each main() does around its work.
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace bench {

/// --name for a bool, --name VALUE for others: numbers are above 0, lists grow with each use.
struct Option {
  const char* name;
  std::variant<bool*, int*, double*, std::string*, std::vector<std::string>*> value;
  const char* help;
};

struct Program {
  const char* name;
  const char* purpose;
  const char* wordsHelp;            ///< what has to be given beside options, or ""
  std::vector<std::string*> words;  ///< where that goes
  std::vector<Option> options;
};

/// Reads the options and works.
/// @return the exit code: what `work` returns; 1 behind a message when it throws; 2 for wrong usage
int runProgram(const Program& program, int count, char** arguments,
               const std::function<int()>& work);

}  // namespace bench
