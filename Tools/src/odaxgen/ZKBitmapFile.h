// ZKBitmapFile - the door through which image files are opened: chooses the reader by the file
// name's extension and forwards every call to it. TIFF is the only format. No state.
#pragma once

#include <cstdint>

#include "ZKTiff.h"

/// The kind tag of a TIFF reader: the characters "TIFF".
constexpr uint32_t kKindTiff = 0x54494646;

/// Opens an image file. The extension is what stands behind the last '.', in any letter case; only
/// its first four characters count, so ".tiffany" is accepted, on purpose.
/// @return the reader, owned by the caller until ZKBMP_Delete(); null for another extension or a
///         file that cannot be opened
ImageReader* ZKBMP_New(const char* path);

// All of these ignore a null handle and one that the front-end has not tagged.
void ZKBMP_Delete(ImageReader* reader);
void ZKBMP_GetImageBox(const ImageReader* reader, ZKRect* box);
void ZKBMP_Rewind(ImageReader* reader);
int ZKBMP_ReadNextRasterBlock(ImageReader* reader, ZKGWorld* world, const uint8_t* table);
int ZKBMP_ReadNextRasterBlockCMYK(ImageReader* reader, ZKGWorld* world, const uint8_t* table,
                                  int channel);
int ZKBMP_ReadNextRasterBlocksCMYK(const CmykChannels& channels);
int ZKBMP_ReadNextRasterBlockRGB(ImageReader* reader, ZKGWorld* red, ZKGWorld* green,
                                 ZKGWorld* blue, int deep);

/// The width in pixels; all ones (-1) for a null handle. The tag is not tested.
uint32_t ZKBMP_GetWidth(const ImageReader* reader);
