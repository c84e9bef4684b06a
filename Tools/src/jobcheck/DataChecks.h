// DataChecks - the errors that end a job while its data are made: images that cannot be decoded,
// ready-made data that cannot be opened.
#pragma once

#include <cstdint>
#include <optional>

#include "JobContext.h"

namespace jobcheck {

struct DataOutcome {
  /// The page, from 0, at whose first row the job ends; nothing: it gets through its pages.
  std::optional<size_t> failingPage;
  bool isMissing = false;   // the ready-made data cannot be opened
  uint64_t leastBytes = 0;  // of data that a job that gets through sends
  bool isExact = false;     // it sends no more
};

/// Lists the errors.
DataOutcome checkData(JobContext& job);

}  // namespace jobcheck
