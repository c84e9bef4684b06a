// Load - how much of it: tests do a part of what `./dev load` does.
#pragma once

#include <cstdlib>

/// Whether this is the long form.
inline bool isLongLoad() {
  return std::getenv("ODAXGEN_LOAD") != nullptr;
}
