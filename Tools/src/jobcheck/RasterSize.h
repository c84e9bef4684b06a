// RasterSize - how many bytes of a raster stream are sent at least. Counts the commands, whose
// lengths are known without the pictures.
#pragma once

#include <cstddef>
#include <cstdint>

#include "JobContext.h"

namespace jobcheck {

/// @param pages  the bytes in front of the first row of this page, from 0; as many as there are
///               pages, or more: those of the whole stream without its rows
uint64_t leastRasterBytes(JobContext& job, size_t pages);

}  // namespace jobcheck
