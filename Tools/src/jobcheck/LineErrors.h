// LineErrors - the words for lines of a configuration that the library refuses.
#pragma once

#include <string>

#include "CFGState.h"
#include "ProblemList.h"

namespace jobcheck {

/// What the library refused, and where.
struct RefusedLine {
  Place place;
  int code = 0;
  Section section = kNoSection;
  std::string line;  // as it was read
  std::string key;
  std::string value;
  int earlierLine = 0;  // that has the same key already; 0: none
};

/// Lists the error of a refused line with what is wrong with it and how to mend it.
void listRefusedLine(const RefusedLine& refused, ProblemList& problems);

}  // namespace jobcheck
