// JobRenderer - draws the pages of a job file as PNG pictures: one per page and ink, and one of all
// inks together. Streams: holds one row of pixels of each picture, whatever the page's height.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "JobFile.h"
#include "JobSummary.h"
#include "KnownJob.h"

namespace jobrender {

struct RenderOptions {
  std::string folder;                 // made when it is missing
  std::string stem = "page";          // file names: STEM-1.png, STEM-1-K.png
  double scale = 1.0;                 // above 0, at most 1
  std::optional<uint32_t> maxPixels;  // longest side of a picture; makes the scale smaller
  std::set<size_t> pages;             // numbers from 1; empty: all
  std::set<std::string> inks;  // names; empty: all inks and the composite. "composite" is one
  bool coatings = false;       // show coatings in the composite
  bool overwrite = false;
  std::function<void(uint64_t offset)> progress;  // now and then; may be empty
};

struct Picture {
  std::string path;
  size_t page = 0;
  std::string ink;  // "composite" for all together
  uint32_t width = 0;
  uint32_t height = 0;
};

/// Draws a job.
/// @param summary  of the same file, without damage
/// @return the pictures that were written, in order of page and plane
/// @throws FileError for a folder or file that cannot be written, or that is there already;
///         std::invalid_argument with a text for the user when the options do not fit the job (no
///         such page or ink, a picture too large without a scale, inks or depths not known)
std::vector<Picture> renderJob(jobreader::JobFile& file, const jobreader::KnownJob* known,
                               const jobreader::JobSummary& summary, const RenderOptions& options);

}  // namespace jobrender
