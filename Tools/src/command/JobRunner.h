// JobRunner - runs a job as the command does: paths start at the configuration, temporary files are
// private, the output takes its place when it is whole, and a failed write ends the job.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace command {

struct RunOptions {
  bool isQuiet = false;             // no echo of the settings, no progress
  bool keepsMessages = false;       // the library's messages go into the result only
  bool keepsPartialOutput = false;  // of a failed job, as OUTPUT.partial
};

struct SkippedPage {
  size_t number = 0;  // of its [Image] section, from 1
  std::string image;  // that cannot be opened; empty: there was no memory for the page
};

struct JobResult {
  std::string config;  // as given
  bool isDone = false;
  std::optional<int> code;      // of a job that ended with one
  std::string cause;            // of one that ended otherwise
  bool hasWriteFailed = false;  // that is the cause
  std::string message;          // of the library, when they are kept
  std::string output;           // path of the job file; empty: the configuration was refused
  std::string partial;          // where the output of a failed job was kept
  uint64_t bytes = 0;           // of the job file
  size_t pages = 0;             // that are in it
  std::vector<SkippedPage> skipped;
  double seconds = 0;
};

/// Runs one job as if it were the first of the process.
/// @param config  path of the configuration; a relative one starts at the current folder
JobResult runOneJob(const std::string& config, const RunOptions& options);

}  // namespace command
