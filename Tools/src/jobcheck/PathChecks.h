// PathChecks - the paths of a configuration: converts and completes them as the library does, and
// checks that what they name is there.
#pragma once

#include "Configuration.h"

namespace jobcheck {

/// Converts and completes the paths of the record in place; those that fail are left as they are.
/// Lists the errors -37, -39 and -40.
void checkPaths(Configuration& configuration, ProblemList& problems);

/// The file that the job writes. @return an absolute path
std::string outputOf(const Configuration& configuration);

/// Lists an error when the output cannot be made.
/// @param code  -49 or -47
void checkOutput(const Configuration& configuration, int code, ProblemList& problems);

/// Lists -46 and -68: the temporary file cannot be made.
void checkTemporaryFolder(const Configuration& configuration, ProblemList& problems);

/// Warns of an output that takes the place of a file that the job reads.
void checkOutputIsNoInput(const Configuration& configuration, ProblemList& problems);

}  // namespace jobcheck
