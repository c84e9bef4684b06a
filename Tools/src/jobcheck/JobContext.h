// JobContext - what the checks of one job share.
#pragma once

#include <set>
#include <string>
#include <utility>

#include "Configuration.h"
#include "ProblemList.h"
#include "TiffFacts.h"

namespace jobcheck {

struct JobContext {
  const Configuration& configuration;
  ProblemList& problems;
  TiffFiles& files;
  std::set<std::pair<std::string, int>> checkedImages;  // by path and use: said once
};

}  // namespace jobcheck
