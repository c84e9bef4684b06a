// PlaneChecks - what surprises in a single plane of a page: its depth, its file, its levels.
#pragma once

#include "JobContext.h"
#include "PagePlanes.h"

namespace jobcheck {

/// Lists the warnings of the planes of a page, and of each of its files the first time.
void checkPlanes(JobContext& job, const PageLines& page, const PagePlanes& plan);

}  // namespace jobcheck
