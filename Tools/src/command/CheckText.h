// CheckText - the problems of jobs for a person, in the form of a compiler.
#pragma once

#include <string>
#include <vector>

#include "Problem.h"

namespace command {

struct CheckTextOptions {
  bool hasColours = false;
  bool isQuiet = false;  // problems only: no hints, no summary
};

/// Lines of text, each with its LF; the summary last.
std::string checkText(const std::vector<jobcheck::CheckedJob>& jobs,
                      const CheckTextOptions& options);

}  // namespace command
