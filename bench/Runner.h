// Runner - runs programs and measures them as whole processes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

struct Measured {
  double seconds = 0;      ///< from its start until it has ended
  double cpuSeconds = 0;   ///< of the processor, in the program and in the kernel for it
  uint64_t peakBytes = 0;  ///< of resident memory
};

using Words = std::vector<std::string>;

/// From now on a signal that asks us to end lets the next run() throw, so that callers tidy up.
void stopAtSignals();

/// Runs a program, found as a shell finds it, without input. Standard output goes into a file.
/// @throws std::runtime_error when it cannot be started or does not end with 0, and behind a signal
Measured run(const Words& words, const std::string& output = "/dev/null");

/// Runs several, one behind the other: times are sums, memory that of the largest.
Measured runAll(const std::vector<Words>& programs);

/// What a program writes on standard output.
std::string outputOf(const Words& words, const std::string& placeForFile);

}  // namespace bench
