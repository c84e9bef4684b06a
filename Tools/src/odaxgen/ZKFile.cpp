#include "ZKFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "CLibrary.h"
#include "Limits.h"

// Module state.
static CFile mStream;                       // null: no file is open
static CText mFilePath;                     // null: no path is stored
static const char* mWriteTo;                // null: the stored path
static char mWritingTo[kPathBytes];         // what mStream was opened as
static bool mHasFailed;                     // a write of mStream failed
static ZKFileWriteFailure mOnWriteFailure;  // null: nobody is told
static void* mOnWriteFailureContext;

namespace {

int32_t openStream(const char* path, const char* shown) {
  mStream.reset(my_fopen(path, "wb+"));
  zk_strcpy(mWritingTo, sizeof mWritingTo, shown);
  mHasFailed = false;
  if (mStream != nullptr) return 0;
  printError("ERROR!: Can't open the file \"%s\".\n", shown == nullptr ? "" : shown);
  return -1;
}

void tellOfFailure(int error) {
  if (mHasFailed) return;
  mHasFailed = true;
  if (mOnWriteFailure != nullptr) mOnWriteFailure(mOnWriteFailureContext, mWritingTo, error);
}

int writeByte(uint32_t byte) {
  if (mStream == nullptr) return 0;
  return std::putc(static_cast<int>(byte & 0xFFU), mStream.get()) == EOF ? 0 : 1;
}

// The lowest `bytes` bytes of `value`, one write each; the result is the last one's.
int writeBytes(uint32_t value, unsigned bytes, int littleEndian) {
  const bool lowFirst = (static_cast<unsigned>(littleEndian) & 0xFFU) != 0;
  int written = 0;
  for (unsigned i = 0; i < bytes; ++i) {
    const unsigned place = lowFirst ? i : bytes - 1 - i;
    written = writeByte(value >> (8 * place));
  }
  return written;
}

}  // namespace

void ZKFile_NewWithName(const char* path) {
  mStream.reset();
  mWriteTo = nullptr;
  if (path == nullptr || path[0] == '\0') path = "ODAX.dat";
  mFilePath = newTextCopy(path);
}

void ZKFile_New() {
  ZKFile_NewWithName("ODAX.dat");
}

void ZKFile_Delete() {
  mStream.reset();
  mFilePath.reset();
  mWriteTo = nullptr;
}

const char* ZKFile_Path() {
  return mFilePath == nullptr ? "" : mFilePath.get();
}

void ZKFile_WriteTo(const char* path) {
  mWriteTo = path;
}

void ZKFile_OnWriteFailure(ZKFileWriteFailure tell, void* context) {
  mOnWriteFailure = tell;
  mOnWriteFailureContext = context;
}

int32_t ZKFile_Open() {
  return openStream(mWriteTo == nullptr ? mFilePath.get() : mWriteTo, mFilePath.get());
}

int32_t ZKFile_OpenTemp(const char* path) {
  return openStream(path, path);
}

void ZKFile_Close() {
  // The last bytes reach the disk here, or do not.
  if (mStream != nullptr && std::fclose(mStream.release()) != 0) tellOfFailure(errno);
}

int ZKFile_Flush() {
  return mStream == nullptr ? EOF : std::fflush(mStream.get());
}

void ZKFile_Write(const void* data, uint32_t count) {
  if (mStream == nullptr || count == 0) return;
  if (std::fwrite(data, count, 1, mStream.get()) != 1) tellOfFailure(errno);
}

int ZKFile_WriteByte(int32_t value) {
  return writeByte(static_cast<uint32_t>(value));
}

int ZKFile_WriteWord(uint32_t value, int littleEndian) {
  return writeBytes(value, 2, littleEndian);
}

int ZKFile_WriteLong(uint32_t value, int littleEndian) {
  return writeBytes(value, 4, littleEndian);
}

int ZKFile_WriteCString(const char* text) {
  if (mStream == nullptr) return 0;
  return static_cast<int>(std::fwrite(text, std::strlen(text), 1, mStream.get()));
}

int32_t ZKFile_Read(void* buffer, int32_t count) {
  if (mStream == nullptr || count <= 0) return 0;
  return static_cast<int32_t>(std::fread(buffer, 1, static_cast<size_t>(count), mStream.get()));
}
