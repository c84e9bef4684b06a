// FaultyCalls - a library to preload into the command: it counts the calls of one kind that the
// program makes of the C library, and makes one of them, or that one and all later ones, fail.
//
// ODAXGEN_FAULT is "KIND N once", "KIND N on" (and from then on), "KIND N nomem" (for want of
// memory) or "KIND N short" (less than was asked for is read or written, without an error);
// ODAXGEN_FAULT_LOG names a file that gets a line for each fault that struck, and in the end how
// many calls there were.
//
// Knows nothing of the program. It allocates nothing itself, and every call that it does not count
// goes straight through. Calls of the C library to itself are not seen: full disks and descriptors
// that fail by themselves are for the tests to make.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A program that hangs ends by the alarm clock.
constexpr unsigned kMostSeconds = 60;

struct Plan {
  char kind[32] = {};
  long strikeAt = 0;  // 0: never
  bool goesOn = false;
  bool isShort = false;
  bool isForMemory = false;
  bool isArmed = false;
  long calls = 0;
  int log = -1;
};
Plan plan;

// What the calls are called otherwise.
template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool isCounted(const char* kind) {
  return plan.isArmed && std::strcmp(plan.kind, kind) == 0;
}

void note(const char* text) {
  if (plan.log < 0) return;
  static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
  static_cast<void>(real(plan.log, text, std::strlen(text)));
}

// Whether this call is one to fail.
bool strikes(const char* kind, const char* call) {
  if (!isCounted(kind)) return false;
  const long number = ++plan.calls;
  if (plan.strikeAt == 0 || number < plan.strikeAt) return false;
  if (!plan.goesOn && number > plan.strikeAt) return false;
  note("struck ");
  note(call);
  note("\n");
  return true;
}

bool fails(const char* kind, const char* call, int error) {
  if (!strikes(kind, call)) return false;
  errno = plan.isForMemory ? ENOMEM : error;
  return true;
}

void readPlan() {
  const char* const wanted = std::getenv("ODAXGEN_FAULT");
  if (wanted == nullptr) return;
  char how[16] = {};
  if (std::sscanf(wanted, "%31s %ld %15s", plan.kind, &plan.strikeAt, how) < 2) return;
  plan.goesOn = std::strcmp(how, "on") == 0;
  plan.isShort = std::strcmp(how, "short") == 0;
  plan.isForMemory = std::strcmp(how, "nomem") == 0;
  const char* const log = std::getenv("ODAXGEN_FAULT_LOG");
  static auto* const real = next<int(const char*, int, ...)>("open");
  if (log != nullptr) plan.log = real(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  plan.isArmed = true;
}

void noteCalls() {
  plan.isArmed = false;
  char text[32];
  std::snprintf(text, sizeof text, "calls %ld\n", plan.calls);
  note(text);
}

// Armed last of all libraries, so that their own beginnings are left alone.
__attribute__((constructor)) void begin() {
  alarm(kMostSeconds);
  readPlan();
}
__attribute__((destructor)) void end() {
  noteCalls();
}

// Memory that is asked for while the real functions are looked up.
alignas(16) char early[4096];
size_t earlyUsed = 0;
bool isLookingUp = false;

void* fromEarly(size_t size) {
  const size_t begin = earlyUsed;
  earlyUsed += (size + 15) / 16 * 16;
  return earlyUsed <= sizeof early ? early + begin : nullptr;
}
bool isEarly(const void* block) {
  return block >= early && block < early + sizeof early;
}

struct Memory {
  void* (*allocate)(size_t) = nullptr;
  void* (*allocateZeroed)(size_t, size_t) = nullptr;
  void* (*resize)(void*, size_t) = nullptr;
  void (*release)(void*) = nullptr;
};
Memory memory;

bool isReady() {
  if (memory.release != nullptr) return true;
  if (isLookingUp) return false;
  isLookingUp = true;
  memory.allocate = next<void*(size_t)>("malloc");
  memory.allocateZeroed = next<void*(size_t, size_t)>("calloc");
  memory.resize = next<void*(void*, size_t)>("realloc");
  memory.release = next<void(void*)>("free");
  isLookingUp = false;
  return true;
}

// The message of a failure must get through, or nobody would know what the program meant to say.
bool isWatched(std::FILE* stream) {
  return stream != stderr;
}

// Sets the error flag: by reading from what is open for writing, or the other way round.
void spoil(std::FILE* stream) {
  static auto* const put = next<int(int, std::FILE*)>("fputc");
  const bool isWritable = stream == stdout;
  static_cast<void>(isWritable ? std::fgetc(stream) : put('?', stream));
}

int failedWrite(std::FILE* stream) {
  if (stream == stdout) spoil(stream);
  errno = ENOSPC;
  return EOF;
}

}  // namespace

extern "C" {

// Memory.

void* malloc(size_t size) {
  if (!isReady()) return fromEarly(size);
  return fails("memory", "malloc", ENOMEM) ? nullptr : memory.allocate(size);
}
void* calloc(size_t count, size_t size) {
  if (!isReady()) return fromEarly(count * size);
  return fails("memory", "calloc", ENOMEM) ? nullptr : memory.allocateZeroed(count, size);
}
void* realloc(void* block, size_t size) {
  if (!isReady()) return nullptr;
  return fails("memory", "realloc", ENOMEM) ? nullptr : memory.resize(block, size);
}
void free(void* block) {
  if (!isEarly(block) && isReady()) memory.release(block);
}

// Files that are opened, closed and measured.

std::FILE* fopen(const char* path, const char* mode) {
  static auto* const real = next<std::FILE*(const char*, const char*)>("fopen");
  return fails("open", "fopen", EMFILE) ? nullptr : real(path, mode);
}
std::FILE* fdopen(int file, const char* mode) {
  static auto* const real = next<std::FILE*(int, const char*)>("fdopen");
  return fails("open", "fdopen", ENOMEM) ? nullptr : real(file, mode);
}
int open(const char* path, int flags, ...) {
  static auto* const real = next<int(const char*, int, ...)>("open");
  std::va_list arguments;
  va_start(arguments, flags);
  const int mode = (flags & O_CREAT) == 0 ? 0 : va_arg(arguments, int);
  va_end(arguments);
  return fails("open", "open", EMFILE) ? -1 : real(path, flags, mode);
}
int mkstemps(char* name, int suffix) {
  static auto* const real = next<int(char*, int)>("mkstemps");
  return fails("make", "mkstemps", EACCES) ? -1 : real(name, suffix);
}
char* mkdtemp(char* name) {
  static auto* const real = next<char*(char*)>("mkdtemp");
  return fails("make", "mkdtemp", EACCES) ? nullptr : real(name);
}
int mkdir(const char* path, mode_t mode) {
  static auto* const real = next<int(const char*, mode_t)>("mkdir");
  return fails("make", "mkdir", EACCES) ? -1 : real(path, mode);
}
int fclose(std::FILE* stream) {
  static auto* const real = next<int(std::FILE*)>("fclose");
  const bool isFailing = isWatched(stream) && strikes("close", "fclose");
  const int result = real(stream);  // whatever it says, the stream is gone
  if (!isFailing) return result;
  errno = EIO;
  return EOF;
}
int close(int file) {
  static auto* const real = next<int(int)>("close");
  const bool isFailing = strikes("close", "close");
  const int result = real(file);
  if (!isFailing) return result;
  errno = EIO;
  return -1;
}
int stat(const char* path, struct stat* status) {
  static auto* const real = next<int(const char*, struct stat*)>("stat");
  return fails("stat", "stat", EACCES) ? -1 : real(path, status);
}
int lstat(const char* path, struct stat* status) {
  static auto* const real = next<int(const char*, struct stat*)>("lstat");
  return fails("stat", "lstat", EACCES) ? -1 : real(path, status);
}
int fstat(int file, struct stat* status) {
  static auto* const real = next<int(int, struct stat*)>("fstat");
  return fails("stat", "fstat", EIO) ? -1 : real(file, status);
}
int access(const char* path, int mode) {
  static auto* const real = next<int(const char*, int)>("access");
  return fails("stat", "access", EACCES) ? -1 : real(path, mode);
}

// Names.

int rename(const char* from, const char* to) {
  static auto* const real = next<int(const char*, const char*)>("rename");
  return fails("rename", "rename", EACCES) ? -1 : real(from, to);
}
int remove(const char* path) {
  static auto* const real = next<int(const char*)>("remove");
  return fails("remove", "remove", EACCES) ? -1 : real(path);
}
int unlink(const char* path) {
  static auto* const real = next<int(const char*)>("unlink");
  return fails("remove", "unlink", EACCES) ? -1 : real(path);
}
int rmdir(const char* path) {
  static auto* const real = next<int(const char*)>("rmdir");
  return fails("remove", "rmdir", EACCES) ? -1 : real(path);
}
ssize_t readlink(const char* path, char* out, size_t room) {
  static auto* const real = next<ssize_t(const char*, char*, size_t)>("readlink");
  return fails("name", "readlink", EACCES) ? -1 : real(path, out, room);
}
char* realpath(const char* path, char* out) {
  static auto* const real = next<char*(const char*, char*)>("realpath");
  return fails("name", "realpath", EACCES) ? nullptr : real(path, out);
}
char* getcwd(char* out, size_t room) {
  static auto* const real = next<char*(char*, size_t)>("getcwd");
  return fails("name", "getcwd", ENOENT) ? nullptr : real(out, room);
}
int chmod(const char* path, mode_t mode) {
  static auto* const real = next<int(const char*, mode_t)>("chmod");
  return fails("mode", "chmod", EPERM) ? -1 : real(path, mode);
}
int chown(const char* path, uid_t user, gid_t group) {
  static auto* const real = next<int(const char*, uid_t, gid_t)>("chown");
  return fails("mode", "chown", EPERM) ? -1 : real(path, user, group);
}

// Reading and moving.

size_t fread(void* out, size_t size, size_t count, std::FILE* stream) {
  static auto* const real = next<size_t(void*, size_t, size_t, std::FILE*)>("fread");
  if (!strikes("read", "fread")) return real(out, size, count, stream);
  if (plan.isShort) return real(out, size, count / 2, stream);
  spoil(stream);
  errno = EIO;
  return 0;
}
int nextByte(std::FILE* stream) asm("__uflow");  // what getc_unlocked() calls for a new block
int nextByte(std::FILE* stream) {
  static auto* const real = next<int(std::FILE*)>("__uflow");
  const bool isInMemory = fileno(stream) < 0;  // nothing of that can fail
  if (isInMemory || !strikes("read", "getc")) return real(stream);
  if (!plan.isShort) spoil(stream);
  errno = EIO;
  return EOF;
}
ssize_t read(int file, void* out, size_t count) {
  static auto* const real = next<ssize_t(int, void*, size_t)>("read");
  if (!strikes("read", "read")) return real(file, out, count);
  if (plan.isShort) return real(file, out, (count + 1) / 2);
  errno = EIO;
  return -1;
}
ssize_t pread(int file, void* out, size_t count, off_t offset) {
  static auto* const real = next<ssize_t(int, void*, size_t, off_t)>("pread");
  if (!strikes("read", "pread")) return real(file, out, count, offset);
  if (plan.isShort) return real(file, out, (count + 1) / 2, offset);
  errno = EIO;
  return -1;
}
void* mmap(void* at, size_t size, int protection, int flags, int file, off_t offset) {
  static auto* const real = next<void*(void*, size_t, int, int, int, off_t)>("mmap");
  if (!fails("read", "mmap", ENODEV)) return real(at, size, protection, flags, file, offset);
  return MAP_FAILED;
}
int fseek(std::FILE* stream, long offset, int from) {
  static auto* const real = next<int(std::FILE*, long, int)>("fseek");
  return fails("seek", "fseek", EIO) ? -1 : real(stream, offset, from);
}
int fseeko(std::FILE* stream, off_t offset, int from) {
  static auto* const real = next<int(std::FILE*, off_t, int)>("fseeko");
  return fails("seek", "fseeko", EIO) ? -1 : real(stream, offset, from);
}
long ftell(std::FILE* stream) {
  static auto* const real = next<long(std::FILE*)>("ftell");
  return fails("seek", "ftell", EIO) ? -1 : real(stream);
}
off_t ftello(std::FILE* stream) {
  static auto* const real = next<off_t(std::FILE*)>("ftello");
  return fails("seek", "ftello", EIO) ? -1 : real(stream);
}
off_t lseek(int file, off_t offset, int from) {
  static auto* const real = next<off_t(int, off_t, int)>("lseek");
  return fails("seek", "lseek", EIO) ? -1 : real(file, offset, from);
}

// Writing.

size_t fwrite(const void* bytes, size_t size, size_t count, std::FILE* stream) {
  static auto* const real = next<size_t(const void*, size_t, size_t, std::FILE*)>("fwrite");
  if (!isWatched(stream) || !strikes("write", "fwrite")) return real(bytes, size, count, stream);
  // Half of it gets there.
  const size_t written = real(bytes, 1, size * count / 2, stream);
  failedWrite(stream);
  return size == 0 ? 0 : written / size;
}
int fputs(const char* text, std::FILE* stream) {
  static auto* const real = next<int(const char*, std::FILE*)>("fputs");
  if (!isWatched(stream) || !strikes("write", "fputs")) return real(text, stream);
  return failedWrite(stream);
}
int puts(const char* text) {
  static auto* const real = next<int(const char*)>("puts");
  return strikes("write", "puts") ? failedWrite(stdout) : real(text);
}
int vfprintf(std::FILE* stream, const char* format, std::va_list arguments) {
  static auto* const real = next<int(std::FILE*, const char*, std::va_list)>("vfprintf");
  if (!isWatched(stream) || !strikes("write", "vfprintf")) return real(stream, format, arguments);
  return failedWrite(stream);
}
int printf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = vfprintf(stdout, format, arguments);
  va_end(arguments);
  return result;
}
ssize_t write(int file, const void* bytes, size_t count) {
  static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
  if (file == STDERR_FILENO || !strikes("write", "write")) return real(file, bytes, count);
  if (plan.isShort) return real(file, bytes, (count + 1) / 2);
  errno = ENOSPC;
  return -1;
}
int fflush(std::FILE* stream) {
  static auto* const real = next<int(std::FILE*)>("fflush");
  if (!isWatched(stream) || !strikes("flush", "fflush")) return real(stream);
  return failedWrite(stream);
}

}  // extern "C"
