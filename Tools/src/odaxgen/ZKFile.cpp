#include "ZKFile.h"

#include <cstdio>
#include <cstring>

#include "CLibrary.h"

// Module state.
static CFile mStream;    // null: no file is open
static CText mFilePath;  // null: no path is stored

namespace {

int32_t openStream(const char* path) {
  mStream.reset(my_fopen(path, "wb+"));
  if (mStream != nullptr) return 0;
  std::fprintf(stderr, "ERROR!: Can't open the file \"%s\".\n", path == nullptr ? "" : path);
  return -1;
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
  if (path == nullptr || path[0] == '\0') path = "ODAX.dat";
  mFilePath = newTextCopy(path);
}

void ZKFile_New() {
  ZKFile_NewWithName("ODAX.dat");
}

void ZKFile_Delete() {
  mStream.reset();
  mFilePath.reset();
}

int32_t ZKFile_Open() {
  return openStream(mFilePath.get());
}

int32_t ZKFile_OpenTemp(const char* path) {
  return openStream(path);
}

void ZKFile_Close() {
  mStream.reset();
}

int ZKFile_Flush() {
  return mStream == nullptr ? EOF : std::fflush(mStream.get());
}

void ZKFile_Write(const void* data, uint32_t count) {
  if (mStream == nullptr || count == 0) return;
  static_cast<void>(std::fwrite(data, count, 1, mStream.get()));
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
