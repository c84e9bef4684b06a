// Problem - one thing that is wrong or surprising in a job, and where.
#pragma once

#include <string>
#include <vector>

namespace jobcheck {

enum class Severity { kError, kWarning };

struct Problem {
  Severity severity = Severity::kError;
  std::string file;  // the configuration, or a file that it names
  int line = 0;      // from 1; 0: the file as a whole
  int code = 0;      // what the job would end with; 0: a warning, or a text instead of a code
  std::string id;    // of a warning: a few words joined by "-", the same for the same cause; of an
                     // error without a code: the text that the job ends with
  std::string text;  // what is so, and what the job does then
  std::string hint;  // how to mend it; may be empty
};

/// Everything that can be known of one job without running it.
struct CheckedJob {
  std::string config;             // as it was given
  std::vector<Problem> problems;  // errors in the order in which the job would meet them

  [[nodiscard]] size_t count(Severity severity) const;
};

/// Checks one job. The files that it names are read, nothing is written.
/// @param config  path of the configuration; a relative one starts at the current folder
CheckedJob checkJob(const std::string& config);

/// Checks several jobs that are run one after another, and what they do to each other.
std::vector<CheckedJob> checkJobs(const std::vector<std::string>& configs);

}  // namespace jobcheck
