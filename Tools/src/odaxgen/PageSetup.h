// PageSetup - tells the raster writer the settings of a job and of a page. No state.
#pragma once

#include "CFGRecords.h"

/// Job-wide settings, table files and the start of the raster job. Computes the printable width
/// when the configuration gives none. @return 1 when the start of the job failed, else 0
int processHXRasterConfiguration(parameter* record);

/// Colour space, compression, planes and depths of one page. @return 0
int processHXRasterImageConfiguration(const imageParameter* image);

/// Sets the printable width to the width of the widest image of all pages. @return 0, or 1 (and
/// nothing stored) when an image cannot be opened
int setPrintableWidthInPixel(parameter* record);
