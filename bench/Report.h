// Report - what was measured, as tables of text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Jobs.h"

namespace bench {

/// Of some numbers; all 0 when there are none.
struct Spread {
  double least = 0, median = 0, most = 0;
};
Spread spreadOf(std::vector<double> numbers);

/// The measurements of one job.
struct JobResult {
  const Job* job;
  uint64_t inputBytes, outputBytes;
  Spread cp, tiffcp, cat;  ///< time of the job as a part of theirs, round by round
  double seconds;          ///< of the fastest run of the job
  uint64_t peakBytes;      ///< of resident memory, the largest
  uint64_t bandBytes;      ///< what of it its bands take
};

/// The table, one line for each job.
std::string tableText(const std::vector<JobResult>& results);

/// Columns side by side, the first to the left and the others to the right.
std::string alignedText(const std::vector<std::vector<std::string>>& lines);

/// With so many digits behind the point.
std::string number(double value, int digits);
std::string megabytes(uint64_t bytes, int digits = 0);

}  // namespace bench
