#include "CFGCheck.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "CFGKeys.h"
#include "CFGState.h"
#include "ReductionTables.h"

namespace {

constexpr int kErrorPlaneCount = -19;
constexpr int kErrorPixelRgbCount = -20;
constexpr int kErrorRequiredValue = -35;
constexpr int kErrorRequiredItem = -36;

// What an image file asks for when its depths are not all at least 1.
struct FileRequirement {
  ImagePath file;
  std::array<ImageInteger, 4> depths;  // null behind the last
  std::array<const char*, 4> keys;
};

// "PixelDepthm," and "PixelDepthCO2," have a comma too many, on purpose: no item matches them, so
// these two cases always fail.
constexpr FileRequirement kFileRequirements[] = {
    {&imageParameter::ImageFileRGB,
     {&imageParameter::PixelDepthR, &imageParameter::PixelDepthG, &imageParameter::PixelDepthB},
     {"PixelDepthR", "PixelDepthG", "PixelDepthB"}},
    {&imageParameter::ImageFileCMYK,
     {&imageParameter::PixelDepthK, &imageParameter::PixelDepthC, &imageParameter::PixelDepthM,
      &imageParameter::PixelDepthY},
     {"PixelDepthK", "PixelDepthC", "PixelDepthM", "PixelDepthY"}},
    {&imageParameter::ImageFileK, {&imageParameter::PixelDepthK}, {"PixelDepthK"}},
    {&imageParameter::ImageFileC, {&imageParameter::PixelDepthC}, {"PixelDepthC"}},
    {&imageParameter::ImageFileM, {&imageParameter::PixelDepthM}, {"PixelDepthM"}},
    {&imageParameter::ImageFileY, {&imageParameter::PixelDepthY}, {"PixelDepthY"}},
    {&imageParameter::ImageFilec, {&imageParameter::PixelDepthc}, {"PixelDepthc"}},
    {&imageParameter::ImageFilem, {&imageParameter::PixelDepthm}, {"PixelDepthm,"}},
    {&imageParameter::ImageFileGy, {&imageParameter::PixelDepthGy}, {"PixelDepthGy"}},
    {&imageParameter::ImageFilePgy, {&imageParameter::PixelDepthPgy}, {"PixelDepthPgy"}},
    {&imageParameter::ImageFileR, {&imageParameter::PixelDepthR}, {"PixelDepthR"}},
    {&imageParameter::ImageFileG, {&imageParameter::PixelDepthG}, {"PixelDepthG"}},
    {&imageParameter::ImageFileB, {&imageParameter::PixelDepthB}, {"PixelDepthB"}},
    {&imageParameter::ImageFilePBK, {&imageParameter::PixelDepthPBK}, {"PixelDepthPBK"}},
    {&imageParameter::ImageFileMBK, {&imageParameter::PixelDepthMBK}, {"PixelDepthMBK"}},
    {&imageParameter::ImageFileCO, {&imageParameter::PixelDepthCO}, {"PixelDepthCO"}},
    {&imageParameter::ImageFileCO2, {&imageParameter::PixelDepthCO2}, {"PixelDepthCO2,"}},
};

bool hasAllDepths(const imageParameter* image, const FileRequirement& requirement) {
  for (const ImageInteger depth : requirement.depths) {
    if (depth != nullptr && image->*depth < 1) return false;
  }
  return true;
}

bool areSet(const imageParameter* image, std::initializer_list<ImageInteger> depths) {
  for (const ImageInteger depth : depths) {
    if (image->*depth == kNotSet) return false;
  }
  return true;
}

bool isOneOf(int32_t value, std::initializer_list<int32_t> values) {
  for (const int32_t one : values) {
    if (one == value) return true;
  }
  return false;
}

int32_t modeFor(int32_t base, int32_t compression, bool allowsHxrc) {
  if (isOneOf(compression, {0, 2, 3, 256})) return base + compression;
  return compression == 4 && allowsHxrc ? base + compression : kNotSet;
}

int32_t rgbMode(const imageParameter* image) {
  if (image->NumOfPlanes == 1) return modeFor(2000, image->CompressionMode, false);
  if (image->NumOfPlanes == 3) return modeFor(3000, image->CompressionMode, true);
  return kNotSet;
}

// The first row that applies decides; a depth of 0 counts as set.
int32_t inkMode(const imageParameter* image) {
  const int32_t planes = image->NumOfPlanes;
  const int32_t compression = image->CompressionMode;
  const bool hasKcmy = areSet(image, {&imageParameter::PixelDepthK, &imageParameter::PixelDepthC,
                                      &imageParameter::PixelDepthM, &imageParameter::PixelDepthY});
  const bool hasLight = areSet(image, {&imageParameter::PixelDepthc, &imageParameter::PixelDepthm});
  if (planes == 6 || (hasKcmy && hasLight)) return modeFor(5000, compression, false);
  if (planes == 4 || hasKcmy) return modeFor(4000, compression, true);
  if (planes == 11) return modeFor(4000, compression, false);
  if (planes == 1 || image->PixelDepthK != kNotSet) return modeFor(1000, compression, true);
  if (isOneOf(planes, {5, 8, 12, 13})) return modeFor(4000, compression, true);
  return kNotSet;
}

// The NumOfPlanes values of some colour spaces (0: no further one) and the code for any other.
struct PlaneRule {
  int32_t firstColorSpace, lastColorSpace;
  std::array<int32_t, 6> planes;
  int code;
};
constexpr PlaneRule kPlaneRules[] = {
    {2, 2, {1, 3}, -22},
    {3, 3, {4, 6}, -23},
    {4, 5, {1, 4, 5, 8, 12, 13}, -24},
    {18, 21, {1}, -25},
};
constexpr int kErrorColorSpace = -26;

bool allows(const PlaneRule& rule, int32_t planes) {
  return planes != 0 &&
         std::find(rule.planes.begin(), rule.planes.end(), planes) != rule.planes.end();
}

[[noreturn]] void failCombination(const imageParameter* image, int code) {
  printError(
      "INVALID VALUE OF ITEM!: The combination of following values are invalid.\n"
      "ColorSpace=%d, NumOfPlanes=%d\n",
      image->ColorSpace, image->NumOfPlanes);
  throw code;
}

[[noreturn]] void failPlaneCount(const imageParameter* image, int depths, int code) {
  printError(
      "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX "
      "does not match.\nNumOfPlanes=%d, the number of PixelDepthXXX=%d\n",
      image->NumOfPlanes, depths);
  throw code;
}

}  // namespace

void failRequiredItem(const char* name) {
  printError("REQUIRED ITEM NOT FOUND!: The item \"%s\" must be set.\n", name);
  throw kErrorRequiredItem;
}

void checkParameterInteger(const char* name, int32_t invalidValue, const CFGFileItem* items,
                           int sectionLine) {
  for (const CFGFileItem* item = items; item != nullptr; item = item->next) {
    if (item->lineNumber < sectionLine || std::strcmp(item->key.get(), name) != 0) continue;
    if (item->integer != invalidValue) return;
    failInvalidValue(item->lineNumber, item->line.get(), kErrorRequiredValue);
  }
  failRequiredItem(name);
}

void checkGlobalSectionParameter(parameter* record) {
  if (record->OutFilePath[0] != '\0') return;
  zk_strcpy(record->OutFilePath, kPathBytes, sDefaultOutFileName);
}

void checkODAXSectionParameter() {}

void checkHXRasterSectionParameter(const CFGFileItem* items, int sectionLine) {
  checkParameterInteger("GraphicsResolutionH", kNotSet, items, sectionLine);
  checkParameterInteger("GraphicsResolutionV", kNotSet, items, sectionLine);
}

void checkImageSectionParameter(parameter* record, const CFGFileItem* items, int sectionLine) {
  imageParameter* first = record->imageParameterList;
  if (first == nullptr) failRequiredItem("ColorSpace");
  imageParameter* image = first;
  if (first->next != nullptr) {
    image = record->lastImageParameter;
    if (image == nullptr) image = getLastImageParameter(first);
    setDefaultImageParameter(image, first);
    checkConfigureImageDataGraphicResolution(image, first);
  } else {
    for (const char* name : {"ColorSpace", "NumOfPlanes", "CompressionMode"}) {
      checkParameterInteger(name, kNotSet, items, sectionLine);
    }
  }
  checkImageFile(image, items, sectionLine);
  checkNumOfPlanesPixelDepthCombination(image);
  checkColorSpaceNumOfPlanesCombination(image);
  setMode(image);
}

int isImageHXRasterSetting(const imageParameter* image) {
  if (image->ColorSpace != kNotSet || image->CompressionMode != kNotSet ||
      image->NumOfPlanes != kNotSet) {
    return 1;
  }
  for (const InkKeys& ink : kInks) {
    if (image->*ink.depth != kNotSet) return 1;
    if (ink.level != nullptr && image->*ink.level != nullptr) return 1;
  }
  return -1;
}

void setDefaultImageParameter(imageParameter* image, const imageParameter* first) {
  if (isImageHXRasterSetting(image) == 1) return;
  image->ColorSpace = first->ColorSpace;
  image->CompressionMode = first->CompressionMode;
  image->NumOfPlanes = first->NumOfPlanes;
  for (const InkKeys& ink : kInks) {
    image->*ink.depth = first->*ink.depth;
    if (ink.level != nullptr) image->*ink.level = first->*ink.level;
  }
}

void checkConfigureImageDataGraphicResolution(imageParameter* image, const imageParameter* first) {
  if (image->ColorSpace != first->ColorSpace || image->NumOfPlanes != first->NumOfPlanes) return;
  for (const InkKeys& ink : kInks) {
    if (image->*ink.depth != first->*ink.depth) return;
  }
  image->SameAsFirstImage = 1;
}

void checkImageFile(const imageParameter* image, const CFGFileItem* items, int sectionLine) {
  for (const FileRequirement& requirement : kFileRequirements) {
    if ((image->*requirement.file)[0] == '\0' || hasAllDepths(image, requirement)) continue;
    for (const char* key : requirement.keys) {
      if (key != nullptr) checkParameterInteger(key, kNotSet, items, sectionLine);
    }
  }
}

void checkNumOfPlanesPixelDepthCombination(const imageParameter* image) {
  int depths = 0;
  for (const InkKeys& ink : kInks) depths += image->*ink.depth >= 1 ? 1 : 0;
  if (image->ColorSpace == 18 && depths != 3) failPlaneCount(image, depths, kErrorPixelRgbCount);
  const bool isRowFormat = image->ColorSpace >= 2 && image->ColorSpace <= 5;
  if (isRowFormat && depths != image->NumOfPlanes) {
    failPlaneCount(image, depths, kErrorPlaneCount);
  }
}

void checkColorSpaceNumOfPlanesCombination(const imageParameter* image) {
  for (const PlaneRule& rule : kPlaneRules) {
    if (image->ColorSpace < rule.firstColorSpace || image->ColorSpace > rule.lastColorSpace)
      continue;
    if (allows(rule, image->NumOfPlanes)) return;
    failCombination(image, rule.code);
  }
  failCombination(image, kErrorColorSpace);
}

void setMode(imageParameter* image) {
  if (isOneOf(image->ColorSpace, {3, 4, 5, 19, 20, 21})) {
    image->Mode = inkMode(image);
    return;
  }
  image->Mode = image->ColorSpace == 2 ? rgbMode(image) : kNotSet;
  // Gray of these depths is sent as it is, without reduction and inversion.
  if (image->ColorSpace == 2 && image->NumOfPlanes == 1 &&
      isOneOf(image->PixelDepthK, {8, 10, 12})) {
    image->IndexLevelK = rawSamplesMarker();
  }
}
