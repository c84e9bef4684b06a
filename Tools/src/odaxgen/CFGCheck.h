// CFGCheck - what a finished section must hold, and the raster mode of a page. No state.
#pragma once

#include <cstdint>

#include "CFGRecords.h"

/// Requires an item in the current section.
/// @param items        the list, walked from here
/// @param sectionLine  line of the section's header; earlier items do not count
/// @throws -35 when the first such item holds `invalidValue`, -36 when there is none
void checkParameterInteger(const char* name, int32_t invalidValue, const CFGFileItem* items,
                           int sectionLine);

/// Prints "REQUIRED ITEM NOT FOUND!: The item "NAME" must be set." and throws -36.
[[noreturn]] void failRequiredItem(const char* name);

/// Gives an empty OutFilePath the default output file.
void checkGlobalSectionParameter(parameter* record);
void checkODAXSectionParameter();  // nothing to check
/// Requires both resolutions.
void checkHXRasterSectionParameter(const CFGFileItem* items, int sectionLine);

/// Checks the last [Image] section: inherits the format of the first when it sets none, checks
/// files, depths, planes and colour space, and derives Mode.
/// @throws -19, -20, -22 to -26, -35, -36
void checkImageSectionParameter(parameter* record, const CFGFileItem* items, int sectionLine);

/// 1 when the section sets colour space, compression, planes, a depth or an index level, else -1.
int isImageHXRasterSetting(const imageParameter* image);

// The steps of checkImageSectionParameter().
void setDefaultImageParameter(imageParameter* image, const imageParameter* first);
void checkConfigureImageDataGraphicResolution(imageParameter* image, const imageParameter* first);
void checkImageFile(const imageParameter* image, const CFGFileItem* items, int sectionLine);
void checkNumOfPlanesPixelDepthCombination(const imageParameter* image);
void checkColorSpaceNumOfPlanesCombination(const imageParameter* image);
void setMode(imageParameter* image);
