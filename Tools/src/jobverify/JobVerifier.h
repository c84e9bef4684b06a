// JobVerifier - proves that a job file holds exactly what a configuration asks for, pixel by pixel.
// Shares no code with what made the file: images are read by libtiff, ink levels and the command
// stream are worked out anew, and the file is read by the job reader.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "JobRequest.h"

namespace jobverify {

constexpr size_t kMaxDifferences = 20;

struct Verdict {
  uint64_t pages = 0;
  uint64_t planes = 0;  // of all pages
  uint64_t pixels = 0;  // compared, of all planes
  uint64_t packets = 0;
  uint64_t dataBytes = 0;  // of a send-data file
  uint64_t differenceCount = 0;
  std::vector<std::string> differences;  // the first kMaxDifferences
  std::vector<std::string> notCompared;  // what could not be compared, and why
  std::vector<std::string> notes;        // that help to understand the differences

  [[nodiscard]] bool isProven() const { return differenceCount == 0 && notCompared.empty(); }
};

/// @param progress  told the offset reached in the job file, now and then; may be empty
/// @throws jobreader::FileError when the job file cannot be opened or read
Verdict verifyJob(const JobRequest& request, const std::string& jobFile,
                  const std::function<void(uint64_t offset)>& progress = {});

}  // namespace jobverify
