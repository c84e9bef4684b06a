// RasterReader - follows the commands of a raster stream as a printer does and rebuilds every row.
// It holds the last row of each plane and nothing else of the page.
#pragma once

#include <vector>

#include "DataStream.h"
#include "RasterSink.h"

namespace jobreader {

/// The bytes that every raster stream begins with.
inline constexpr char kRasterStart[] = "\x1B%-12345X";

/// Reads a stream from its reset to the reset at its end, and leaves `data` behind that.
/// @param formats  of the pages in the stream, in order; null: what the stream itself says
/// @return false, with nothing told, when the data are no raster stream
/// @throws ReadError at the first byte that a printer could not follow; FileError
bool readRaster(DataStream& data, RasterSink& sink, const std::vector<PageFormat>* formats);

}  // namespace jobreader
