// ODAXOutLib - the packet writer: turns one job into the output file. Raster data passes through
// its buffer, job-control packets are built from six XML template files.
// ODAXOutLib.cpp owns the state, the buffer and the life cycle; ODAXPackets.cpp builds packets.
// Knows nothing of raster commands; writes through ZKFile.
#pragma once

#include <cstdint>

#include "JobHooks.h"
#include "TextLine.h"

// Life cycle, in the order in which a job uses it.

/// Stores the split size. Above 0: every full buffer becomes one send-data packet. 0: the data go
/// to the temporary file and are sent as one packet. The value lasts until it is set again, also
/// into the next job of the process.
void ODAX_SetSplitDataSize(uint32_t bytes);
/// Starts a job: makes the buffer (the split size when that is above 0 as a signed number, else
/// 65536 bytes), names the output file (null or empty: "ODAX.dat"), clears paths, overrides and
/// counters. Must follow ODAX_SetSplitDataSize().
void ODAX_NewWithName(const char* outputPath);
/// ODAX_NewWithName() with a null path.
void ODAX_New();
/// Clears override lists, template paths and counters; leaves buffer and file alone.
void ODAX_Init();
/// Closes the output, frees the buffer and the override strings.
void ODAX_Delete();
/// Opens the output file with an empty buffer. @return 0, or -1 when it cannot be opened or the
/// buffer could not be made
int32_t ODAX_Open();
/// The same for the temporary file. @throws -68 when its path would be too long
int32_t ODAX_OpenTemp();
/// Closes the file. Does not flush the buffer: ODAX_Flush() comes first.
void ODAX_Close();

/// Set the path of one template; a relative path is completed with the application's folder. A
/// path that does not resolve leaves the template path empty.
void ODAX_SJ_XMLFilePath(const char* path);   // StartJob
void ODAX_SJC_XMLFilePath(const char* path);  // SetJobConfiguration
void ODAX_SC_XMLFilePath(const char* path);   // SetConfiguration
void ODAX_VC_XMLFilePath(const char* path);   // VendorCmd
void ODAX_SD_XMLFilePath(const char* path);   // SendData
void ODAX_EJ_XMLFilePath(const char* path);   // EndJob

/// Not 0: the job has a VendorCmd packet.
void ODAX_SetIsExistVC(uint32_t flag);
/// Copies the override pairs. Both arrays end at the first null pointer, after at most 128 entries;
/// every string stands in a block of 1024 bytes. @throws -50 without memory
void ODAX_SetOverRideKeyValue(char* const* keys, char* const* values);

// Data.

/// Sends bytes through the buffer; a count below 1 sends nothing. A write that exactly fills the
/// buffer flushes it. @throws the codes of sendDataRaster()
void ODAX_SendData(const void* data, int32_t count);
/// Sends the characters of a string without its NUL.
void ODAX_SendCString(const char* text);
/// Empties the buffer: to the open file when the split size is 0, else as one send-data packet.
/// Nothing happens when it is empty.
void ODAX_Flush();
/// Feeds a file's bytes through the buffer and flushes it. @throws -74 when it cannot be opened
void readExternalFile(const char* path);
void readExternalFileWith(JobHooks& hooks, const char* path);  ///< the same, seen by hooks

// Packets. Each is the template's lines without their line ends, with overridden values.

void ODAX_SendJobSJ();   ///< @throws -51 template cannot be opened, -52 no memory
void ODAX_SendJobSJC();  ///< @throws -53, -54 likewise
void ODAX_SendJobSC();   ///< @throws -55, -56 likewise
void ODAX_SendJobVC();   ///< @throws -57, -58 likewise; nothing at all without the VC flag
void ODAX_SendJobEJ();   ///< @throws -65, -66 likewise; "datasize" becomes the job's size so far
/// One send-data packet in split mode: the template with its size and continuation, then `count`
/// bytes. @throws -59 template cannot be opened, -60 no memory
void sendDataRaster(const void* data, uint32_t count);
/// The one send-data packet of temporary-file mode, with that file's content.
/// @throws -61, -63 no memory, -62 template and -64 temporary file cannot be opened
void sendDataRasterNotDivide();
void sendDataRasterNotDivideWith(JobHooks& hooks);  ///< the same, seen by hooks
/// Writes bytes to the open (temporary) file and counts them.
void sendTempDataRaster(const void* data, uint32_t count);

/// The folder of the temporary file, ending with "/"; null: the platform's. Borrowed until it is
/// set again.
void ODAX_SetTempFolder(const char* folder);
/// The temporary file's path; the first argument is ignored, `out` has 260 bytes.
/// @throws -68 when folder and name exceed 259 characters
void getTempPath(int ignored, char* out);

// Lines. A line buffer has 1024 bytes; its byte count is kept beside it and stays in 0..1024.

/// Applies override pair `index` to one line. @throws -67 when the line would become too long
void overrideValues(char* line, uint32_t* count, int index);
/// Replaces the first ">OLD<" of the line by ">NEW<". @throws -67 when the line would reach 1024
void strchgXmlValue(char* line, const char* oldValue, const char* newValue);
/// Sets the line's first element value to a size. @throws -71 without an element, -72 no memory
void replaceCorrectSize(char* line, uint32_t size, uint32_t* count);
/// Sets it to "ON" when the chunk size equals the split size, to "OFF" else and for -1 (no chunk).
/// @throws -73 without an element. (The name is misspelt and stays.)
void replaceCorrectContinueFlug(char* line, int32_t chunkSize, uint32_t* count);
/// Writes a line. Kept on purpose: the count is 8 bits wide, longer lines lose their multiples of
/// 256.
void sendSetODAX(const char* line, uint8_t count);
/// Writes bytes; nothing for a count below 1.
void sendPacketParameterBlock(const void* data, int32_t count);
