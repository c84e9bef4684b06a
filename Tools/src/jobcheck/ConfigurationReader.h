// ConfigurationReader - reads a configuration as the library does, line by line and with the
// library's own parsing, but goes on behind a bad line as a compiler does. A line that was refused
// is not the cause of further errors.
#pragma once

#include "Configuration.h"

namespace jobcheck {

/// Reads a configuration. Errors are listed in the order in which the library would meet them,
/// warnings about single lines between them. What the settings say together is not looked at, nor
/// are the files that they name.
/// @param configuration  path is filled, the rest is empty
void readConfiguration(Configuration& configuration, ProblemList& problems);

}  // namespace jobcheck
