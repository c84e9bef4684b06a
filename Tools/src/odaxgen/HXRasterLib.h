// HXRasterLib - the raster writer: turns settings, positions and bands of pixels into the HXRaster
// command stream. Every byte goes to the packet writer.
// HXRasterLib.cpp owns the state and the commands, HXRasterBand.cpp encodes the rows of a band.
// Knows nothing of image files, configurations and packets.
#pragma once

#include <cstdint>

#include "ZKGWorldLib.h"

/// One plane of a band. The list's order is the order in which planes are sent.
struct HXRasterPlane {
  ZKGWorld* pixels = nullptr;  // not owned; null counts as a plane of width 0
  int8_t bitsPerPixel = -1;    // -1: not yet set
  HXRasterPlane* next = nullptr;
};

/// Appends an entry (null starts a new list). @return the entry; null without memory, the list is
/// then unchanged
HXRasterPlane* addPlane(HXRasterPlane* list);
/// The last entry, or null for an empty list.
HXRasterPlane* getLastPlane(HXRasterPlane* list);
/// Frees every entry from `list` on, not the pixel buffers.
void deletePlane(HXRasterPlane* list);

/// Resets the state. Resolution, printable width, working memory and sThisIsBlankLine stay.
void HXRaster_New();
/// Resets what HXRaster_New() lets stay, except working memory: for a program that runs jobs which
/// must not know of each other.
void HXRaster_Forget();
/// Releases the table file paths. The working memory is HXRaster_FreeWorkingMemory()'s.
void HXRaster_Delete();

// Setters that take an int store its low 8 bits. A depth of 255 means "not used".
void HXRaster_SetColorSpace(int colorSpace);
void HXRaster_SetCompressionMode(int mode);
void HXRaster_SetNumOfPlanes(int planes);
void HXRaster_SetPixelDepthK(int bits);
void HXRaster_SetPixelDepthC(int bits);
void HXRaster_SetPixelDepthM(int bits);
void HXRaster_SetPixelDepthc(int bits);  // light cyan
void HXRaster_SetPixelDepthm(int bits);  // light magenta
void HXRaster_SetPixelDepthY(int bits);
void HXRaster_SetPixelDepthR(int bits);
void HXRaster_SetPixelDepthG(int bits);
void HXRaster_SetPixelDepthB(int bits);
void HXRaster_SetPixelDepthGy(int bits);   // gray
void HXRaster_SetPixelDepthPgy(int bits);  // photo gray
void HXRaster_SetPixelDepthPBK(int bits);
void HXRaster_SetPixelDepthMBK(int bits);
void HXRaster_SetPixelDepthCO(int bits);
void HXRaster_SetPixelDepthCO2(int bits);
/// Dots per inch.
void HXRaster_SetGraphicsResolution(uint32_t h, uint32_t v);
void HXRaster_SetPrintableWidthInPixel(uint32_t pixels);
/// Keeps the path of a table file. @return 0, or -1 after a line on the error stream: slot outside
/// 0..5 (nothing stored) or no memory (the slot is then empty)
int HXRaster_SetImageProcessingFile(int slot, const char* path);

// Commands, in the order in which a job sends them.

/// Three resets, then the table files by slot. @return 0, or -1 at the first table file that fails
int HXRaster_SendJobStart();
/// One table file with its size. @return 0, also for a file that cannot be read (nothing is sent
/// then, on purpose); -1 when it cannot be opened or held in memory
int HXRaster_SendTableFile(const char* path);
/// Begins a page: the raster configuration unless `sameAsFirst` is 1, then the resolution.
void HXRaster_SendTopOfPage(int sameAsFirst);
void HXRaster_SendStartRasterMode();
void HXRaster_SendEndRasterMode();
void HXRaster_SendEndOfPage();
void HXRaster_SendFormFeed();  // the same bytes as the end of a page, on purpose
void HXRaster_SendMoveCAPX(uint32_t x);
void HXRaster_SendMoveCAPY(uint32_t y);
// Kept on purpose: a relative move of 0 or less is sent in the absolute form with its sign.
void HXRaster_SendMoveCAPXRelative(int32_t dx);
void HXRaster_SendMoveCAPYRelative(int32_t dy);
// Negative offsets send nothing; a relative offset of 0 is sent in the absolute form.
void HXRaster_SendYOffset(int32_t rows);
void HXRaster_SendYOffsetRelative(int32_t rows);
void HXRaster_SendJobEnd();  // also flushes the packet writer

// Bands. `mode` is the group (1 to 5) times 1000 plus the compression (0, 2, 3, 4 or 256).

/// Makes the encoder's buffers for the planes of a page. @return 0, or -1 without memory
int HXRaster_KeepWorkingMemory(HXRasterPlane* list, int mode);
/// Releases them, in the compressed modes only. Kept on purpose: memory of mode 1000 stays until
/// the process ends or the next page makes its own.
void HXRaster_FreeWorkingMemory(int mode);
/// Sends rows 0 to rows-1 of every plane. An unknown mode sends nothing and changes nothing.
/// @throws -75, -78 no memory; -76, -77, -79, -80 a compressed row exceeds its bound
void HXRaster_SendBand(HXRasterPlane* list, int rows, int mode);
/// True when the row's first (bits * printable width + 7) / 8 bytes are all 0xFF; bytes past the
/// end of the pixel block count as 0xFF.
bool sIsThisAll255(const ZKGWorld* pixels, int8_t bitsPerPixel, int row);
/// Sends the compression method when it differs from the one in force.
void hxraster_ChangeCompressionMode(unsigned char mode);
