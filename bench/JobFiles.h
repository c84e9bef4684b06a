// JobFiles - writes configurations and the templates that they name.
#pragma once

#include <string>

#include "Jobs.h"

namespace bench {

/// Writes the six templates into a folder.
/// @throws std::runtime_error when one cannot be written
void writeTemplates(const std::string& folder);

/// What a configuration says in front of its pages.
struct JobHead {
  std::string output;     ///< path of the job file
  std::string templates;  ///< folder of writeTemplates()
  int splitDataSize;
  std::string sendDataFile;  ///< path, or empty for a job of pages
};
/// [Global], [ODAX] and, for a job of pages, [HXRaster].
std::string headText(const JobHead& head);

/// Writes the configuration of a job of the comparison.
/// @param inputs  folder of its inputs
void writeConfiguration(const std::string& path, const Job& job, const std::string& inputs,
                        const std::string& templates, const std::string& output);

/// @throws std::runtime_error when the file cannot be written
void writeText(const std::string& path, const std::string& text);

}  // namespace bench
