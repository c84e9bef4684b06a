#include "Faults.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <new>

namespace {

// What is to fail: counted down by each call, 0 when nothing is.
struct Countdown {
  Fault fault = Fault::kAllocation;
  int left = 0;
  bool struck = false;
} countdown;

bool strikes(Fault fault) {
  if (countdown.left == 0 || countdown.fault != fault || --countdown.left > 0) return false;
  countdown.struck = true;
  return true;
}

}  // namespace

FaultInjection::FaultInjection(Fault fault, int n) {
  countdown = {fault, n, false};
}
FaultInjection::~FaultInjection() {
  countdown = {};
}
bool FaultInjection::hasStruck() const {
  return countdown.struck;
}

// Names that the linker's --wrap option gives.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void* __real_calloc(size_t count, size_t size);
void* __real__Znwm(size_t size);
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag);
std::FILE* __real_fopen(const char* path, const char* mode);
int __real_remove(const char* path);

void* __wrap_calloc(size_t count, size_t size) {
  if (!strikes(Fault::kAllocation)) return __real_calloc(count, size);
  errno = ENOMEM;
  return nullptr;
}

void* __wrap__Znwm(size_t size) {
  if (strikes(Fault::kAllocation)) throw std::bad_alloc();
  return __real__Znwm(size);
}

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) {
  return strikes(Fault::kAllocation) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  if (!strikes(Fault::kOpen)) return __real_fopen(path, mode);
  errno = EACCES;
  return nullptr;
}

int __wrap_remove(const char* path) {
  if (!strikes(Fault::kRemove)) return __real_remove(path);
  errno = EACCES;
  return -1;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
