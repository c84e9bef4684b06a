// SummaryText - a job file's summary for a person.
#pragma once

#include <string>

#include "JobSummary.h"

namespace command {

/// Lines of text, each with its LF.
std::string summaryText(const std::string& path, const jobreader::JobSummary& summary);

/// A command as one line: offset, text, data.
std::string commandLine(const jobreader::Command& command);

}  // namespace command
