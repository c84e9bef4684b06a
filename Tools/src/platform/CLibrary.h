// CLibrary - thin wrappers around the C library, so that a platform can exchange them in one
// place, and owners for the C library's resources. Its only state is who takes the echo and the
// messages of failures, who is told of failed reads, and whether memory was refused.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "zksafe.h"

struct CFree {
  void operator()(void* block) const noexcept { std::free(block); }
};
struct CFileClose {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

/// A block from malloc or calloc: CBlock<char[]> or CBlock<Record>.
template <class T>
using CBlock = std::unique_ptr<T, CFree>;
using CFile = std::unique_ptr<std::FILE, CFileClose>;
using CBytes = CBlock<uint8_t[]>;
using CText = CBlock<char[]>;

/// Sets what wasMemoryRefused() tells.
void noteMemoryRefused();

/// A zero-filled block, or null when there is no memory (errno says so). Blocks are zeroed because
/// bytes that no input filled must never reach an output. A request for 0 bytes gets a block.
CBytes newZeroedBytes(size_t count);
CText newZeroedText(size_t count);
/// A copy of a string, or null when there is no memory.
CText newTextCopy(const char* text);

/// A new record, or null when there is no memory.
template <class T>
T* newOrNull() {
  T* record = new (std::nothrow) T;
  if (record == nullptr) noteMemoryRefused();
  return record;
}

/// Whether memory was refused since the last forgetMemoryRefusals(). A job goes on without a page
/// or a plane that cannot be held; this tells that its file is not what it should be.
bool wasMemoryRefused();
void forgetMemoryRefusals();

/// The size of an open regular file; 0 for an empty one and for everything else.
uint64_t regularFileSize(std::FILE* file);

/// What tells that a regular file has not been written to since it was last looked at.
struct FileState {
  uint64_t device, number, bytes;
  int64_t seconds, nanoseconds;  // of the last change

  bool operator==(const FileState&) const = default;
};
/// False for what is no regular file: it may say something else each time it is read.
bool fileStateOf(std::FILE* file, FileState* state);

/// Plain fopen; null path or failure gives null.
std::FILE* my_fopen(const char* path, const char* mode);
/// The C library's access test and its result.
int my_access(const char* path, int32_t mode);
/// Formats to standard output, or to the EchoSink that lives: the echo of the settings and "done.".
void my_printf(const char* format, ...) ZK_PRINTF_LIKE(1, 2);

/// Takes what one of the two functions prints while it lives. The youngest one does.
class MessageSink {
 public:
  MessageSink(const MessageSink&) = delete;
  MessageSink& operator=(const MessageSink&) = delete;

  /// @param text  one message as it would have been printed, with its line ends
  virtual void take(const char* text) = 0;

 protected:
  explicit MessageSink(MessageSink** place);
  virtual ~MessageSink();

 private:
  MessageSink** place_;
  MessageSink* before_;
};

/// Takes the echo.
class EchoSink : public MessageSink {
 public:
  EchoSink();
};

/// Drops the echo: for those who read a configuration without running its job.
class QuietEcho : public EchoSink {
 public:
  void take(const char* /*text*/) override {}
};

/// Formats to standard error, or to the ErrorSink that lives: every message of a failure.
void printError(const char* format, ...) ZK_PRINTF_LIKE(1, 2);

/// Takes the messages of failures.
class ErrorSink : public MessageSink {
 public:
  ErrorSink();
};

/// Is told of a text or an image that could be opened but not read to its end, and why (errno). It
/// may throw an int.
using ReadFailure = void (*)(void* context, const char* path, int error);
/// Null: nobody is told, and a file ends where it cannot be read, as it has always done.
void onReadFailure(ReadFailure tell, void* context);
/// @param error  errno of the failure. A folder is none: it reads as an empty file.
void tellReadFailure(const char* path, int error);

/// Hands a file's bytes on, piece by piece, until a read returns none. A regular file that has a
/// size when the copy begins is read only that far: one that the copy itself makes grow would
/// never end.
/// @param piece, room  the buffer for one piece
/// @param take         called with each piece's bytes and count
template <class Take>
void forEachPiece(std::FILE* file, uint8_t* piece, size_t room, Take take);

/// GetFullPathMac() with its result reduced to 0 or -1.
int32_t GetFullPath(const char* path, int32_t cap, char* out);

/// Prints "ERROR! MESSAGE(NUMBER) FILE(LINE)": the form of resource failures. `number` is errno or
/// the refused value, `file` the bare name of the reporting source.
void reportError(const char* message, int number, const char* file, int line);
/// Prints "ERROR!: Can't open file "PATH"".
void reportCannotOpen(const char* path);

template <class Take>
void forEachPiece(std::FILE* file, uint8_t* piece, size_t room, Take take) {
  const uint64_t size = regularFileSize(file);
  uint64_t left = size == 0 ? UINT64_MAX : size;
  while (left > 0) {
    const size_t wanted = left < room ? static_cast<size_t>(left) : room;
    const size_t got = std::fread(piece, 1, wanted, file);
    if (got == 0) return;
    take(piece, got);
    left -= got;
  }
}
