// ImageRules - what an image file gives a plane: pixels, rows, samples. Rules only, no files.
#pragma once

#include <array>

#include "JobRequest.h"
#include "TiffImage.h"

namespace jobverify {

/// Fills in what follows from a plane's file: width, rows, hasSamples and notCompared.
/// @param plane      its ink, depth and source are known
/// @param rgbDepths  of R, G and B of the page; 0: not set
/// @param facts      of the plane's file
void applyImage(PlaneRequest& plane, const std::array<int, 3>& rgbDepths, const ImageFacts& facts);

}  // namespace jobverify
