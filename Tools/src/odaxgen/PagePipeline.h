// PagePipeline - turns the image files of one page into raster bands.
#pragma once

#include "CFGRecords.h"
#include "JobHooks.h"
#include "ZKBitmapFile.h"
#include "ZKGWorldLib.h"

/// Sends one page: opens its images, positions it, sends its bands, releases everything.
/// @return 0; 1 when an image cannot be opened (nothing is sent); the low 16 bits of
///         HXRaster_KeepWorkingMemory(), sign-extended, when the working memory is refused
/// @throws the codes of the modules below; everything is released then
int processHXRasterImageData(const imageParameter* image);
int processHXRasterImageDataWith(JobHooks& hooks, const imageParameter* image);  ///< seen by hooks

/// Closes the images of pages that were left out, which otherwise stay open until the process ends.
void closePagesLeftOpen();

/// Makes the pixel buffer of one plane: 300 rows, as wide as the image. Does nothing without a
/// reader, and no buffer for a depth whose low 16 bits are 0 or all ones.
void prepareBand(ZKGWorld** slot, const ImageReader* reader, ZKRect* box, int32_t depth, int deep);
