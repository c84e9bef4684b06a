// PageChecks - what surprises in the settings of a page together, and in what its files give it.
#pragma once

#include <vector>

#include "JobContext.h"
#include "PagePlanes.h"

namespace jobcheck {

/// Lists the warnings of every page.
void checkPages(JobContext& job);

}  // namespace jobcheck
