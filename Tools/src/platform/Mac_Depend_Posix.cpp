// Mac_Depend on a POSIX system: the application is the running executable.

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "CLibrary.h"
#include "Mac_Depend.h"
#include "zksafe.h"

#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace {

#if defined(__APPLE__)
bool executablePath(char* path, size_t cap) {
  auto size = static_cast<uint32_t>(cap);
  return _NSGetExecutablePath(path, &size) == 0;
}
#else
bool executablePath(char* path, size_t cap) {
  const ssize_t length = readlink("/proc/self/exe", path, cap - 1);
  if (length < 0) return false;
  path[length] = '\0';
  return true;
}
#endif

// Cuts the executable's name off; a program in the root folder leaves an empty text, to which
// "/name" is appended like to any other folder.
bool applicationFolder(char* folder, size_t cap) {
  if (!executablePath(folder, cap)) return false;
  char* slash = std::strrchr(folder, '/');
  if (slash == nullptr) return false;
  *slash = '\0';
  return true;
}

}  // namespace

int32_t GetFullPathMac(const char* path, int32_t cap, char* out) {
  if (path == nullptr) return -1;
  const auto room = static_cast<size_t>(cap < 0 ? 0 : cap);
  if (path[0] == '/') return zk_strcpy(out, room, path) == 0 ? 0 : -1;

  char folder[PATH_MAX];
  if (!applicationFolder(folder, sizeof folder)) {
    zk_strcpy(out, room, "");
    return -1;
  }
  return zk_sprintf(out, room, "%s/%s", folder, path) == 0 ? 0 : -1;
}

void GetTempFolderMac(char* out, int32_t cap) {
  const auto room = static_cast<size_t>(cap < 0 ? 0 : cap);
  const char* folder = std::getenv("TMPDIR");
  if (folder == nullptr || folder[0] == '\0') folder = "/tmp";
  const size_t length = std::strlen(folder);
  zk_sprintf(out, room, folder[length - 1] == '/' ? "%s" : "%s/", folder);
}
