// Measured - runs the command and tells how much memory and work it took.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Program.h"

// Sanitizers keep memory of their own beside that of the program.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif
#else
inline constexpr bool kIsSanitized = false;
#endif

constexpr uint64_t kMiB = uint64_t{1} << 20U;

struct Measured {
  ProgramResult result;       // 128 + SIGALRM when it went on for too long
  uint64_t peakBytes = 0;     // of resident memory; 0 under a sanitizer, which would count its own
  uint64_t microseconds = 0;  // of the processor
};

/// Runs the odaxgen command with these arguments, in `folder`.
/// @param seconds  after which it is taken for one that never ends
Measured measureOdaxgen(const std::vector<std::string>& arguments, const std::string& folder,
                        const Surroundings& surroundings = {}, int seconds = 60);
