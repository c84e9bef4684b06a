// HXRasterState - the raster writer's module state, shared by its two sources and by nobody else.
// Defined in HXRasterLib.cpp. HXRaster_New() gives the values in the right-hand column.
#pragma once

#include <array>
#include <cstdint>

#include "CLibrary.h"

constexpr size_t kTableSlots = 6;
constexpr size_t kMaxPlanes = 127;  // mNumOfPlanes is read as a signed byte

extern std::array<CText, kTableSlots> mImageProcessingDataPath;  // all empty
extern uint8_t mColorSpace;                                      // 0
extern uint8_t mNumOfPlanes;                                     // 0
extern uint8_t mBlackDepth, mCyanDepth, mMagentaDepth;           // 255, and so the other depths
extern uint8_t mLightCyanDepth, mLightMagentaDepth, mYellowDepth;
extern uint8_t mRedDepth, mGreenDepth, mBlueDepth;
extern uint8_t mGrayDepth, mPhotoGrayDepth;
extern uint8_t mPBKDepth, mMBKDepth, mCODepth, mCO2Depth;
// The method in force in the printer. One byte on purpose: 256 (packbits with seed row) must not
// be stored here; the page setup stores 2, and the band encoder switches per row.
extern uint8_t mCompressionMode;                             // 0
extern int32_t mNumOfPages;                                  // 0; pages begun in this job
extern int32_t mBlankLines;                                  // 0; blank rows seen, not yet sent
extern uint32_t mGraphicsResolutionH, mGraphicsResolutionV;  // not touched; dots per inch
extern int32_t mDeviceWidthInPixel;                          // not touched; printable width

// Working memory of the band encoder: sizes and the places written to. Not touched.
extern int64_t mCodeDataBytes;
extern uint8_t* mCodeDataP;  // in the uncompressed modes: the row just sent, inside a pixel buffer
extern uint8_t* mCodeDataHigherP;
extern uint8_t* mCodeDataLowerP;

extern bool sThisIsBlankLine;  // not touched; no plane of the current row was sent yet
// Spelt so on purpose.
extern bool sSeedRowUnkown;  // false; the printer's seed row is not the row above
extern std::array<int32_t, kMaxPlanes> sRowBytesPre;  // not touched; bytes of each plane's last row
