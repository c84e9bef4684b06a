// PlateTiff - the TIFF file of a plate.
#pragma once

#include <string>

#include "StarterPage.h"

namespace command {

/// The bytes of a TIFF file of 8 bits per sample, white is zero, PackBits, in one strip.
/// @throws std::runtime_error when it cannot be made
std::string plateTiff(const Plate& plate);

}  // namespace command
