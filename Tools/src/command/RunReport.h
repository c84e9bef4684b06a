// RunReport - what the command says about jobs that it ran.
#pragma once

#include <string>
#include <vector>

#include "JobRunner.h"

namespace command {

/// Prints a job's warnings, its failure and what to do about it on standard error.
/// @param isOneOfMany  its configuration is named
void reportResult(const JobResult& result, bool isOneOfMany);

/// {"format": 1, "jobs": [...]}, see docs/run-json.md. Ends with a line end.
std::string resultsAsJson(const std::vector<JobResult>& results);

}  // namespace command
