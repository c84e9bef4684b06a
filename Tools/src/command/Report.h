// Report - how the command speaks: errors on standard error, the work of a subcommand with its
// failures turned into exit codes, and the configuration that a subcommand was given.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "KnownJob.h"

namespace command {

/// Prints "odaxgen: TEXT" on standard error.
void complain(const std::string& text);

/// Runs `work`, which gives an exit code. What it throws is said on standard error and becomes 1.
int guarded(const std::function<int()>& work);

/// What a configuration tells of its job file; nothing for an empty path.
/// @throws jobverify::RefusedConfiguration
std::optional<jobreader::KnownJob> knownJobOf(const std::string& config);

/// A text for a terminal: control characters are shown as \xNN.
std::string printable(const std::string& text);

/// 1234567 as "1,234,567".
std::string grouped(uint64_t number);

/// "1 page", "2,000 pages".
std::string counted(uint64_t number, const std::string& noun);

}  // namespace command
