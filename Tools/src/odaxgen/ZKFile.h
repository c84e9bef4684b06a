// ZKFile - the one output stream of the process. Every packet, template line and raster byte
// reaches the disk through it; it holds either the job file or the temporary file.
// Owns mStream and mFilePath, and knows who is told of a failed write. Knows nothing of what it
// writes.
#pragma once

#include <cstdint>

/// Stores a copy of the output path; null or empty stands for "ODAX.dat" in the current directory.
/// The stream is null afterwards. Without memory the path stays unset, silently.
void ZKFile_NewWithName(const char* path);
/// ZKFile_NewWithName() with "ODAX.dat".
void ZKFile_New();
/// Closes the stream if one is open and frees the path.
void ZKFile_Delete();

/// The stored path; "" without one.
const char* ZKFile_Path();
/// Bytes go to another file than the stored path, which messages keep naming; null: to that path.
/// Lasts until ZKFile_NewWithName() or ZKFile_Delete().
void ZKFile_WriteTo(const char* path);

/// Is told of the first write of a stream that fails: the path written to and errno. It may throw.
using ZKFileWriteFailure = void (*)(void* context, const char* path, int error);
/// Null: nobody is told.
void ZKFile_OnWriteFailure(ZKFileWriteFailure tell, void* context);

/// Opens the stored path for writing ("wb+": an existing file is truncated).
/// @return 0; -1 after "ERROR!: Can't open the file "PATH"." on the error stream
int32_t ZKFile_Open();
/// The same for a given path; the stored path is left as it is.
int32_t ZKFile_OpenTemp(const char* path);
/// Closes the stream if open. A second call finds none and is harmless.
void ZKFile_Close();
/// Flushes the stream; the result of the C library, or EOF without a stream.
int ZKFile_Flush();

/// Writes `count` bytes. A short write is reported to nobody but ZKFile_OnWriteFailure().
void ZKFile_Write(const void* data, uint32_t count);
/// Writes the low byte. @return items written, 1 or 0
int ZKFile_WriteByte(int32_t value);
/// Writes the low 16 bits: low byte first when the flag's low 8 bits are not 0, else high byte
/// first. @return the result of the last byte
int ZKFile_WriteWord(uint32_t value, int littleEndian);
/// Writes 32 bits in the same two orders. @return the result of the last byte
int ZKFile_WriteLong(uint32_t value, int littleEndian);
/// Writes the characters without the NUL, as one item. @return items written
int ZKFile_WriteCString(const char* text);
/// Reads up to `count` bytes from the stream. @return the number read
int32_t ZKFile_Read(void* buffer, int32_t count);
