#include "PageSetup.h"

#include <algorithm>

#include "HXRasterLib.h"
#include "ZKBitmapFile.h"

namespace {

constexpr int32_t kPackBits = 2;
constexpr int32_t kPackBitsSeedRow = 256;

using DepthSetter = void (*)(int);

struct DepthRoute {
  ImageInteger depth;
  DepthSetter set;
};
constexpr DepthRoute kDepthRoutes[] = {
    {&imageParameter::PixelDepthR, HXRaster_SetPixelDepthR},
    {&imageParameter::PixelDepthG, HXRaster_SetPixelDepthG},
    {&imageParameter::PixelDepthB, HXRaster_SetPixelDepthB},
    {&imageParameter::PixelDepthK, HXRaster_SetPixelDepthK},
    {&imageParameter::PixelDepthC, HXRaster_SetPixelDepthC},
    {&imageParameter::PixelDepthM, HXRaster_SetPixelDepthM},
    {&imageParameter::PixelDepthY, HXRaster_SetPixelDepthY},
    {&imageParameter::PixelDepthc, HXRaster_SetPixelDepthc},
    {&imageParameter::PixelDepthm, HXRaster_SetPixelDepthm},
    {&imageParameter::PixelDepthGy, HXRaster_SetPixelDepthGy},
    {&imageParameter::PixelDepthPgy, HXRaster_SetPixelDepthPgy},
    {&imageParameter::PixelDepthPBK, HXRaster_SetPixelDepthPBK},
    {&imageParameter::PixelDepthMBK, HXRaster_SetPixelDepthMBK},
    {&imageParameter::PixelDepthCO, HXRaster_SetPixelDepthCO},
    {&imageParameter::PixelDepthCO2, HXRaster_SetPixelDepthCO2},
};

// The width of an image; false when it cannot be opened.
bool readWidth(const char* path, int32_t* width) {
  ImageReader* reader = ZKBMP_New(path);
  if (reader == nullptr) return false;
  *width = static_cast<int32_t>(ZKBMP_GetWidth(reader));
  ZKBMP_Delete(reader);
  return true;
}

}  // namespace

int processHXRasterConfiguration(parameter* record) {
  HXRaster_SetGraphicsResolution(static_cast<uint32_t>(record->GraphicsResolutionH),
                                 static_cast<uint32_t>(record->GraphicsResolutionV));
  if (record->PrintableWidthInPixel == kNotSet) setPrintableWidthInPixel(record);
  HXRaster_SetPrintableWidthInPixel(static_cast<uint32_t>(record->PrintableWidthInPixel));
  int slot = 0;  // counts every entry, so an empty one leaves a gap
  for (const imageProcessingFile* file = record->imageProcessingFileList; file != nullptr;
       file = file->next, ++slot) {
    if (file->path[0] != '\0') HXRaster_SetImageProcessingFile(slot, file->path);
  }
  return static_cast<int16_t>(HXRaster_SendJobStart()) < 0 ? 1 : 0;
}

int processHXRasterImageConfiguration(const imageParameter* image) {
  HXRaster_SetColorSpace(image->ColorSpace);
  // The writer keeps the method in one byte; packbits with seed row begins as packbits.
  const bool isBoth = image->CompressionMode == kPackBitsSeedRow;
  HXRaster_SetCompressionMode(isBoth ? kPackBits : image->CompressionMode);
  HXRaster_SetNumOfPlanes(image->NumOfPlanes);
  for (const DepthRoute& route : kDepthRoutes) {
    if (image->*route.depth != kNotSet) route.set(image->*route.depth);
  }
  return 0;
}

int setPrintableWidthInPixel(parameter* record) {
  int32_t widest = 0;
  for (const imageParameter* image = record->imageParameterList; image != nullptr;
       image = image->next) {
    for (const ImagePath file : kImageFiles) {
      const char* path = image->*file;
      if (path[0] == '\0') continue;
      int32_t width = 0;
      if (!readWidth(path, &width)) return 1;
      widest = std::max(widest, width);
    }
  }
  record->PrintableWidthInPixel = widest;
  return 0;
}
