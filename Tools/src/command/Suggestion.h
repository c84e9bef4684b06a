// Suggestion - "did you mean": the known word that a mistyped one is closest to.
#pragma once

#include <string>
#include <vector>

namespace command {

/// @return the one of `known` that differs from `word` in at most two letters (inserted, left out
/// or
///         replaced) and in less than half of them; empty: none
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

}  // namespace command
