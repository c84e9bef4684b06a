// ImageChecks - what surprises in one image file, whatever page uses it. Rules only, no files.
#pragma once

#include <string>

#include "ProblemList.h"
#include "TiffFacts.h"

namespace jobcheck {

/// How an image is used, as far as it matters for what is expected of it.
enum class ImageUse { kPlate, kCmyk, kRgb };

/// @param place  the line that names the file
/// @param name   of the file, for the texts
void checkImage(const TiffFacts& facts, ImageUse use, const Place& place, const std::string& name,
                ProblemList& problems);

/// "TIFF" for a name that the system takes for an image, and why it is refused for others.
std::string whyNotOpened(const TiffFacts& facts);

}  // namespace jobcheck
