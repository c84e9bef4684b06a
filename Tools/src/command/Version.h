// Version - what --version prints.
#pragma once

#include <string>

namespace command {

/// @return "odaxgen 0.1.0 (1a2b3c4d5)": the version and the revision that it was built from, with
///         "-dirty" behind a revision whose files were changed; just "odaxgen 0.1.0" when it was
///         built without a checkout
std::string versionText();

}  // namespace command
