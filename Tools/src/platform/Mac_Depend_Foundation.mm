// Mac_Depend on the platform's Foundation services: the application is the main bundle.

#import <Foundation/Foundation.h>

#include <cstring>

#include "Mac_Depend.h"
#include "zksafe.h"

namespace {

// Strings that the services return live as long as the pool that was open when they were made.
class Pool {
 public:
  Pool() : pool_([[NSAutoreleasePool alloc] init]) {}
  ~Pool() { [pool_ drain]; }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

 private:
  NSAutoreleasePool* pool_;
};

size_t roomOf(int32_t cap) { return cap < 0 ? 0 : static_cast<size_t>(cap); }

}  // namespace

int32_t GetFullPathMac(const char* path, int32_t cap, char* out) {
  if (path == nullptr) return -1;
  if (path[0] == '/') return zk_strcpy(out, roomOf(cap), path) == 0 ? 0 : -1;

  const Pool pool;
  NSString* name = [NSString stringWithCString:path encoding:NSUTF8StringEncoding];
  NSString* folder = [[[NSBundle mainBundle] bundlePath] stringByDeletingLastPathComponent];
  // A name that is not UTF-8 gives no string; the copy then empties `out` and reports it.
  NSString* full = name == nil ? nil : [folder stringByAppendingPathComponent:name];
  return zk_strcpy(out, roomOf(cap), [full UTF8String]) == 0 ? 0 : -1;
}

void GetTempFolderMac(char* out, int32_t cap) {
  const Pool pool;
  const char* folder = [NSTemporaryDirectory() UTF8String];
  if (folder == nullptr) {
    zk_strcpy(out, roomOf(cap), folder);
    return;
  }
  // Not every Foundation ends the folder with the "/" that the caller relies on.
  const size_t length = std::strlen(folder);
  const bool complete = length > 0 && folder[length - 1] == '/';
  zk_sprintf(out, roomOf(cap), complete ? "%s" : "%s/", folder);
}
