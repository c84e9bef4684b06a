// CheckJson - the problems of jobs for programs; docs/check-json.md describes it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Problem.h"

namespace command {

/// Keys stand in a fixed order.
nlohmann::ordered_json checkJson(const std::vector<jobcheck::CheckedJob>& jobs);

/// How to mend a problem: its own hint, else the advice for its code; empty: there is none.
std::string hintOf(const jobcheck::Problem& problem);

}  // namespace command
