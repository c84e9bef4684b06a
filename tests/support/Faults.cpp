#include "Faults.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <new>

namespace {

struct Plan {
  Fault fault = Fault::kAllocation;
  int strikeAt = 0;  // 0: never
  bool goesOn = false;
  bool isActive = false;
  int calls = 0;
  bool hasStruck = false;
};
Plan plan;

bool strikes(Fault fault) {
  if (!plan.isActive || plan.fault != fault) return false;
  ++plan.calls;
  if (plan.strikeAt == 0 || plan.calls < plan.strikeAt) return false;
  if (!plan.goesOn && plan.calls > plan.strikeAt) return false;
  plan.hasStruck = true;
  return true;
}

bool fails(Fault fault, int error) {
  if (!strikes(fault)) return false;
  errno = error;
  return true;
}

// Sets the error flag of a stream that is open for reading, as a failed read does.
void spoil(std::FILE* stream) {
  static_cast<void>(std::fputc('?', stream));
  errno = EIO;
}

}  // namespace

const char* nameOf(Fault fault) {
  constexpr const char* kNames[] = {"allocation", "open",   "too many open", "read",
                                    "short read", "write",  "seek",          "flush",
                                    "close",      "remove", "look-up"};
  return kNames[static_cast<size_t>(fault)];
}

FaultInjection::FaultInjection(Fault fault, int n, bool goesOn) {
  plan = {fault, n, goesOn, true, 0, false};
}
FaultInjection::~FaultInjection() {
  plan = {};
}
bool FaultInjection::hasStruck() const {
  return plan.hasStruck;
}
int FaultInjection::calls() {
  return plan.calls;
}

// Names that the linker's --wrap option gives.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void* __real_calloc(size_t count, size_t size);
void* __real__Znwm(size_t size);
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag);
std::FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fread(void* out, size_t size, size_t count, std::FILE* stream);
int __real___uflow(std::FILE* stream);
int __real_getc_unlocked(std::FILE* stream);
size_t __real_fwrite(const void* bytes, size_t size, size_t count, std::FILE* stream);
int __real_putc(int byte, std::FILE* stream);
int __real_fseek(std::FILE* stream, long offset, int from);
int __real_fseeko(std::FILE* stream, off_t offset, int from);
long __real_ftell(std::FILE* stream);
off_t __real_ftello(std::FILE* stream);
int __real_fflush(std::FILE* stream);
int __real_fclose(std::FILE* stream);
int __real_remove(const char* path);
int __real_access(const char* path, int mode);
ssize_t __real_readlink(const char* path, char* out, size_t room);

void* __wrap_calloc(size_t count, size_t size) {
  return fails(Fault::kAllocation, ENOMEM) ? nullptr : __real_calloc(count, size);
}

void* __wrap__Znwm(size_t size) {
  if (strikes(Fault::kAllocation)) throw std::bad_alloc();
  return __real__Znwm(size);
}

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) {
  return strikes(Fault::kAllocation) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  if (fails(Fault::kOpen, EACCES) || fails(Fault::kTooManyOpen, EMFILE)) return nullptr;
  return __real_fopen(path, mode);
}

size_t __wrap_fread(void* out, size_t size, size_t count, std::FILE* stream) {
  if (strikes(Fault::kShortRead)) return __real_fread(out, size, count / 2, stream);
  if (!strikes(Fault::kRead)) return __real_fread(out, size, count, stream);
  spoil(stream);
  return 0;
}

// What getc_unlocked() calls when its block is used up; and itself, where it is no macro.
int __wrap___uflow(std::FILE* stream) {
  if (strikes(Fault::kShortRead)) return EOF;
  if (!strikes(Fault::kRead)) return __real___uflow(stream);
  spoil(stream);
  return EOF;
}
int __wrap_getc_unlocked(std::FILE* stream) {
  if (strikes(Fault::kShortRead)) return EOF;
  if (!strikes(Fault::kRead)) return __real_getc_unlocked(stream);
  spoil(stream);
  return EOF;
}

size_t __wrap_fwrite(const void* bytes, size_t size, size_t count, std::FILE* stream) {
  if (!strikes(Fault::kWrite)) return __real_fwrite(bytes, size, count, stream);
  const size_t written = __real_fwrite(bytes, 1, size * count / 2, stream);
  errno = ENOSPC;
  return size == 0 ? 0 : written / size;
}
int __wrap_putc(int byte, std::FILE* stream) {
  return fails(Fault::kWrite, ENOSPC) ? EOF : __real_putc(byte, stream);
}

int __wrap_fseek(std::FILE* stream, long offset, int from) {
  return fails(Fault::kSeek, EIO) ? -1 : __real_fseek(stream, offset, from);
}
int __wrap_fseeko(std::FILE* stream, off_t offset, int from) {
  return fails(Fault::kSeek, EIO) ? -1 : __real_fseeko(stream, offset, from);
}
long __wrap_ftell(std::FILE* stream) {
  return fails(Fault::kSeek, EIO) ? -1 : __real_ftell(stream);
}
off_t __wrap_ftello(std::FILE* stream) {
  return fails(Fault::kSeek, EIO) ? -1 : __real_ftello(stream);
}

int __wrap_fflush(std::FILE* stream) {
  return fails(Fault::kFlush, ENOSPC) ? EOF : __real_fflush(stream);
}

int __wrap_fclose(std::FILE* stream) {
  const bool isFailing = strikes(Fault::kClose);
  const int result = __real_fclose(stream);  // whatever it says, the stream is gone
  if (!isFailing) return result;
  errno = ENOSPC;
  return EOF;
}

int __wrap_remove(const char* path) {
  return fails(Fault::kRemove, EACCES) ? -1 : __real_remove(path);
}

int __wrap_access(const char* path, int mode) {
  return fails(Fault::kLookUp, EACCES) ? -1 : __real_access(path, mode);
}
ssize_t __wrap_readlink(const char* path, char* out, size_t room) {
  return fails(Fault::kLookUp, EACCES) ? -1 : __real_readlink(path, out, room);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
