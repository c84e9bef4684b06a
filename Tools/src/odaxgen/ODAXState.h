// ODAXState - the packet writer's module state, shared by its two sources and by nobody else.
// Defined in ODAXOutLib.cpp. ODAX_NewWithName() empties all but mSplitDataSize.
#pragma once

#include <array>
#include <cstdint>

#include "CLibrary.h"
#include "Limits.h"

extern int32_t mSplitDataSize;      // 0 at load; see ODAX_SetSplitDataSize()
extern uint32_t mWriteBufferBytes;  // capacity of the buffer
extern CBytes mWriteBufferP;
extern uint32_t mWriteIndex;                               // bytes waiting in the buffer
extern std::array<CText, kMaxOverrides> mOverRideKeyList;  // ends at the first null
extern std::array<CText, kMaxOverrides> mOverRideValueList;
extern char mSJ_XMLFilePath[kPathBytes];
extern char mSJC_XMLFilePath[kPathBytes];
extern char mSC_XMLFilePath[kPathBytes];
extern char mVC_XMLFilePath[kPathBytes];
extern char mSD_XMLFilePath[kPathBytes];
extern char mEJ_XMLFilePath[kPathBytes];
extern uint32_t mJobDataSize;      // bytes counted as written by all packets so far
extern uint32_t mTempJobDataSize;  // bytes written to the temporary file
extern uint32_t mIsExistVC;        // not 0: a VendorCmd packet is sent

/// Lets the next send-data packet read its template again: something that its lines depend on,
/// other than the template and the packet's size, is about to change.
void ODAX_ForgetDataLines();
