// KeyNames - the keys and headers of a configuration, and which of them a misspelt one may mean.
#pragma once

#include <string>
#include <vector>

#include "CFGState.h"

namespace jobcheck {

/// The keys of a section: kGlobalSection, kODAXSection (its templates), kHXRasterSection,
/// kImageSection; none for others.
const std::vector<std::string>& keysOf(Section section);

/// "[Global]" and so on.
const char* headerOf(Section section);

/// The header that a line means that is none, by its blanks, its case or a comment behind it.
/// kNoSection: none.
Section meantHeader(const std::string& line);

/// Whether two keys differ by no more than a slip of the hand, or by upper and lower case.
bool isSimilar(const std::string& one, const std::string& other);

/// The key of a section that is most like `key`; empty: none is like it.
std::string similarKey(const std::string& key, Section section);

/// The section that has exactly this key; kNoSection: none.
Section sectionOf(const std::string& key);

}  // namespace jobcheck
