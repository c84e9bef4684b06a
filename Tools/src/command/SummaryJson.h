// SummaryJson - a job file's summary for programs; docs/inspect-json.md describes it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "JobSummary.h"

namespace command {

/// Keys stand in a fixed order. All offsets and sizes are bytes.
nlohmann::ordered_json summaryJson(const std::string& path, const jobreader::JobSummary& summary);

/// One line of text for one command, without LF.
std::string commandJson(const jobreader::Command& command);

/// Bytes that are no UTF-8 are replaced; names and values come from a file.
std::string dumped(const nlohmann::ordered_json& json, int indent);

}  // namespace command
