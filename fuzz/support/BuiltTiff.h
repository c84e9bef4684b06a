// BuiltTiff - a TIFF file made from decisions: well formed as a rule, with a few bytes changed
// where the decisions say so. Random bytes alone seldom come past the first directory.
#pragma once

#include "Choices.h"
#include "TempFolder.h"

/// The pixels come from the decisions too, as one run of bytes that is repeated.
/// At most 71 x 47 pixels of 5 samples.
Bytes buildTiff(Choices& choices);
