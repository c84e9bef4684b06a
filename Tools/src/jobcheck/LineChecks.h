// LineChecks - what surprises in single lines of a configuration, whatever the settings say
// together. Rules only, no state but the line before.
#pragma once

#include <string>

#include "CFGState.h"
#include "FileText.h"
#include "ProblemList.h"

namespace jobcheck {

/// A line of the configuration outside of comments.
void checkLine(const TextLine& line, Section section, const Place& place, ProblemList& problems);

/// A line that opens a comment block.
void checkCommentBegin(const TextLine& line, const Place& place, ProblemList& problems);
/// A line inside a comment block, the one that closes it included.
void checkCommentLine(const TextLine& line, const Place& place, ProblemList& problems);

/// An accepted item.
void checkItem(const std::string& key, const std::string& value, Section section,
               const Place& place, ProblemList& problems);

}  // namespace jobcheck
