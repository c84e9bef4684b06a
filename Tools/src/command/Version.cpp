#include "Version.h"

#include <string_view>

#include "Revision.h"

namespace command {

std::string versionText() {
  constexpr std::string_view revision = kRevision;
  const std::string version = "odaxgen " ODAXGEN_VERSION;
  return revision.empty() ? version : version + " (" + std::string(revision) + ")";
}

}  // namespace command
