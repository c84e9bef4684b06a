// Jobs - the jobs of the comparison: what they read, what their configurations say, and how long
// they may take beside a plain copy of their images.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace bench {

/// A line of a configuration that names an input.
struct InputKey {
  const char* key;   ///< null behind the last
  const char* file;  ///< of the inputs
};
using InputKeys = std::array<InputKey, 4>;

/// Time as a part of that of cp and of tiffcp; 0: no such target.
struct Target {
  double cp, tiffcp;
};

/// Bits of each sample in the bands that a job keeps in memory.
struct Bands {
  int planes, bits;
};

struct Job {
  const char* name;
  const char* title;
  InputKeys inputs;
  InputKeys copied;         ///< what cp copies
  const char* compression;  ///< of tiffcp; null: it does not run
  int splitDataSize;
  const char* image;   ///< further lines of [Image]
  const char* format;  ///< as `odaxgen inspect` calls it; null: the job is no raster
  Bands bands;
  Target must, aim;
};

std::span<const Job> jobs();

/// What the bands of a job take, by the width of its images: one band of 300 rows for each plane.
uint64_t bandBytes(const Job& job, size_t width);

}  // namespace bench
