// StarterJob - the files of a small job that teaches: a configuration with notes, templates, the
// plates of a page and a README. Knows nothing of the disk.
#pragma once

#include <string>
#include <vector>

namespace command {

constexpr const char* kStarterConfiguration = "job.cfg";
constexpr const char* kStarterOutput = "job.odx";       // what the configuration says
constexpr const char* kStarterTemplates = "templates";  // the only folder within

struct StarterFile {
  std::string name;  // below the job's folder
  std::string content;
};

/// In the order in which they are to be written.
/// @throws std::runtime_error when a plate cannot be made
std::vector<StarterFile> starterJob();

}  // namespace command
