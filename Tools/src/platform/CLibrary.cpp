#include "CLibrary.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "Mac_Depend.h"

namespace {

MessageSink* sEchoSink = nullptr;   // null: standard output
MessageSink* sErrorSink = nullptr;  // null: standard error
ReadFailure sReadFailure = nullptr;
void* sReadFailureContext = nullptr;
bool sWasMemoryRefused = false;

void* zeroedBlock(size_t count) {
  void* block = std::calloc(count == 0 ? 1 : count, 1);
  if (block == nullptr) noteMemoryRefused();
  return block;
}

ZK_PRINTF_LIKE(3, 0)
void print(MessageSink* sink, std::FILE* stream, const char* format, std::va_list arguments) {
  if (sink == nullptr) {
    std::vfprintf(stream, format, arguments);
    return;
  }
  std::va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length < 0) return;
  const size_t room = static_cast<size_t>(length) + 1;
  const CText text = newZeroedText(room);
  if (text == nullptr) return;
  std::vsnprintf(text.get(), room, format, arguments);
  sink->take(text.get());
}

}  // namespace

void noteMemoryRefused() {
  sWasMemoryRefused = true;
}
bool wasMemoryRefused() {
  return sWasMemoryRefused;
}
void forgetMemoryRefusals() {
  sWasMemoryRefused = false;
}

CBytes newZeroedBytes(size_t count) {
  return CBytes(static_cast<uint8_t*>(zeroedBlock(count)));
}

CText newZeroedText(size_t count) {
  return CText(static_cast<char*>(zeroedBlock(count)));
}

CText newTextCopy(const char* text) {
  const size_t room = std::strlen(text) + 1;
  CText copy = newZeroedText(room);
  if (copy != nullptr) zk_strcpy(copy.get(), room, text);
  return copy;
}

uint64_t regularFileSize(std::FILE* file) {
  struct stat status = {};
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return status.st_size < 0 ? 0 : static_cast<uint64_t>(status.st_size);
}

bool fileStateOf(std::FILE* file, FileState* state) {
  struct stat status = {};
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return false;
#ifdef __APPLE__
  const timespec changed = status.st_mtimespec;
#else
  const timespec changed = status.st_mtim;
#endif
  *state = {static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino),
            static_cast<uint64_t>(status.st_size), changed.tv_sec, changed.tv_nsec};
  return true;
}

void onReadFailure(ReadFailure tell, void* context) {
  sReadFailure = tell;
  sReadFailureContext = context;
}

void tellReadFailure(const char* path, int error) {
  if (sReadFailure != nullptr && error != EISDIR) sReadFailure(sReadFailureContext, path, error);
}

std::FILE* my_fopen(const char* path, const char* mode) {
  if (path == nullptr) return nullptr;
  return std::fopen(path, mode);
}

int my_access(const char* path, int32_t mode) {
  return access(path, mode);
}

void my_printf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  print(sEchoSink, stdout, format, arguments);
  va_end(arguments);
}

void printError(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  print(sErrorSink, stderr, format, arguments);
  va_end(arguments);
}

MessageSink::MessageSink(MessageSink** place) : place_(place), before_(*place) {
  *place = this;
}

MessageSink::~MessageSink() {
  *place_ = before_;
}

EchoSink::EchoSink() : MessageSink(&sEchoSink) {}

ErrorSink::ErrorSink() : MessageSink(&sErrorSink) {}

int32_t GetFullPath(const char* path, int32_t cap, char* out) {
  return GetFullPathMac(path, cap, out) == 0 ? 0 : -1;
}

void reportError(const char* message, int number, const char* file, int line) {
  printError("ERROR! %s(%d) %s(%d)\n", message, number, file, line);
}

void reportCannotOpen(const char* path) {
  printError("ERROR!: Can't open file \"%s\"\n", path);
}
