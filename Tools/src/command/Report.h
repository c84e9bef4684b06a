// Report - how the command speaks: errors on standard error, the work of a subcommand with its
// failures turned into exit codes, and the configuration that a subcommand was given.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "KnownJob.h"

namespace command {

/// Prints "odaxgen: TEXT" on standard error.
void complain(const std::string& text);

/// Prints "odaxgen: out of memory" without asking for any.
void complainOfMemory() noexcept;

/// The same as complain() for a longer text: lines of at most 80 columns, each with "odaxgen: " in
/// front. Nothing for an empty text.
void complainWrapped(const std::string& text);

/// Cuts a text at blanks into lines of at most `columns`; a longer word has a line of its own.
std::vector<std::string> wrapped(const std::string& text, size_t columns);

/// Runs `work`, which gives an exit code. What it throws is said on standard error and becomes 1.
int guarded(const std::function<int()>& work);

/// What a configuration tells of its job file; nothing for an empty path.
/// @throws jobverify::RefusedConfiguration
std::optional<jobreader::KnownJob> knownJobOf(const std::string& config);

/// A text for a terminal: control characters are shown in hexadecimal, as `\xNN`.
std::string printable(const std::string& text);

/// The same for several lines, which stay lines.
std::string printableLines(const std::string& text);

/// 1234567 as "1,234,567".
std::string grouped(uint64_t number);

/// "1 page", "2,000 pages".
std::string counted(uint64_t number, const std::string& noun);

}  // namespace command
