// FormatNames - words for the numbers of the raster stream.
#pragma once

#include <string>
#include <vector>

namespace command {

/// "row KCMY multi-level"; the number itself when it has no name, "unknown format" for -1.
std::string colorSpaceName(int colorSpace);

/// "packbits + delta row".
std::string methodNames(const std::vector<int>& methods);

}  // namespace command
