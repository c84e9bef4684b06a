#include "ZKBitmapFile.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t kExtensionTif = 0x54494600;  // "TIF" and a missing fourth character
constexpr uint32_t kExtensionTiff = 0x54494646;

uint8_t upperCase(char c) {
  return static_cast<uint8_t>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
}

// Up to four characters behind the last '.', the first in the top byte; 0 without a '.'.
uint32_t extensionCode(const char* path) {
  const char* dot = std::strrchr(path, '.');
  if (dot == nullptr) return 0;
  uint32_t code = 0;
  for (unsigned i = 0; i < 4 && dot[1 + i] != '\0'; ++i) {
    code |= static_cast<uint32_t>(upperCase(dot[1 + i])) << (24 - 8 * i);
  }
  return code;
}

bool isTiff(const ImageReader* reader) {
  return reader != nullptr && reader->kind == kKindTiff;
}

}  // namespace

ImageReader* ZKBMP_New(const char* path) {
  const uint32_t extension = extensionCode(path);
  if (extension != kExtensionTif && extension != kExtensionTiff) return nullptr;
  ImageReader* reader = ZKTiff_New(path);
  if (reader != nullptr) reader->kind = kKindTiff;
  return reader;
}

void ZKBMP_Delete(ImageReader* reader) {
  if (isTiff(reader)) ZKTiff_Delete(reader);
}

void ZKBMP_GetImageBox(const ImageReader* reader, ZKRect* box) {
  if (isTiff(reader)) ZKTiff_GetImageBox(reader, box);
}

void ZKBMP_Rewind(ImageReader* reader) {
  if (isTiff(reader)) ZKTiff_Rewind(reader);
}

int ZKBMP_ReadNextRasterBlock(ImageReader* reader, ZKGWorld* world, const uint8_t* table) {
  return isTiff(reader) ? ZKTiff_ReadNextRasterBlock(reader, world, table) : 0;
}

int ZKBMP_ReadNextRasterBlockCMYK(ImageReader* reader, ZKGWorld* world, const uint8_t* table,
                                  int channel) {
  return isTiff(reader) ? ZKTiff_ReadNextRasterBlockCMYK(reader, world, table, channel) : 0;
}

int ZKBMP_ReadNextRasterBlocksCMYK(const CmykChannels& channels) {
  return std::all_of(channels.begin(), channels.end(),
                     [](const CmykChannel& one) { return isTiff(one.reader); })
             ? ZKTiff_ReadNextRasterBlocksCMYK(channels)
             : 0;
}

int ZKBMP_ReadNextRasterBlockRGB(ImageReader* reader, ZKGWorld* red, ZKGWorld* green,
                                 ZKGWorld* blue, int deep) {
  return isTiff(reader) ? ZKTiff_ReadNextRasterBlockRGB(reader, red, green, blue, deep) : 0;
}

uint32_t ZKBMP_GetWidth(const ImageReader* reader) {
  return reader == nullptr ? 0xFFFFFFFF : reader->width;
}
