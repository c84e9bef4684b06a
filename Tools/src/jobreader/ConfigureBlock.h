// ConfigureBlock - reads the parameter bytes of a configure-raster block. No state.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "RasterSink.h"

namespace jobreader {

/// What a block says of the rows of its page. Planes that it cannot name are numbered.
/// @param offsetOf  where a byte of the block stands in the job file
/// @throws ReadError at the first byte that fits no block
PageFormat readConfigureBlock(std::span<const uint8_t> bytes,
                              const std::function<uint64_t(size_t)>& offsetOf);

/// True for the planes that method 4 sends as two rows, of high and of low bytes.
bool hasHalves(const PageFormat& format, const PlaneFormat& plane, int method);

}  // namespace jobreader
