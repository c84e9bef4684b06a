#include "zksafe.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kAsctimeBytes = 26;  // "Thu Jan  1 00:00:00 1970\n" and the NUL

void makeEmpty(char* dst, size_t cap) {
  if (dst != nullptr && cap > 0) dst[0] = '\0';
}

// Compared unsigned, so a negative field is out of range too.
bool isBelow(int field, unsigned limit) {
  return static_cast<unsigned>(field) < limit;
}

bool isWritableTime(const std::tm& time) {
  return isBelow(time.tm_hour, 24) && isBelow(time.tm_mday, 32) && isBelow(time.tm_min, 60) &&
         isBelow(time.tm_mon, 12) && isBelow(time.tm_sec, 60) && isBelow(time.tm_wday, 7) &&
         isBelow(time.tm_yday, 366) && time.tm_year >= 0;
}

}  // namespace

int zk_strcpy(char* dst, size_t cap, const char* src) {
  if (dst == nullptr || src == nullptr) {
    makeEmpty(dst, cap);
    return kZkInvalid;
  }
  const size_t length = std::strlen(src);
  if (length >= cap) {
    makeEmpty(dst, cap);
    return kZkRange;
  }
  std::memcpy(dst, src, length + 1);
  return 0;
}

int zk_strcat(char* dst, size_t cap, const char* src) {
  if (dst == nullptr || src == nullptr) {
    makeEmpty(dst, cap);
    return kZkInvalid;
  }
  const size_t length = std::strlen(dst);
  if (length > cap) return kZkInvalid;
  const size_t added = std::strlen(src);
  if (length + added >= cap) {
    makeEmpty(dst, cap);  // kept on purpose: the text that was there is lost too
    return kZkRange;
  }
  std::memcpy(dst + length, src, added + 1);
  return 0;
}

int zk_strncpy(char* dst, size_t cap, const char* src, size_t n) {
  if (dst == nullptr || src == nullptr) {
    makeEmpty(dst, cap);
    return kZkInvalid;
  }
  if (cap == 0) return kZkInvalid;
  if (n >= cap) {
    makeEmpty(dst, cap);
    return kZkRange;
  }
  std::strncpy(dst, src, n);
  dst[n] = '\0';
  return 0;
}

int zk_memcpy(void* dst, size_t cap, const void* src, size_t n) {
  if (dst == nullptr) return kZkInvalid;
  if (src == nullptr) {
    std::memset(dst, 0, cap);
    return kZkInvalid;
  }
  if (n > cap) {
    std::memset(dst, 0, cap);
    return kZkRange;
  }
  std::memcpy(dst, src, n);
  return 0;
}

size_t zk_strnlen(const char* s, size_t max) {
  const size_t length = std::strlen(s);
  return length < max ? length : max;
}

int zk_sprintf(char* dst, size_t cap, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = zk_vsprintf(dst, cap, format, arguments);
  va_end(arguments);
  return result;
}

int zk_vsprintf(char* dst, size_t cap, const char* format, std::va_list arguments) {
  if (dst == nullptr || format == nullptr) {
    errno = kZkInvalid;
    makeEmpty(dst, cap);
    return -1;
  }
  std::va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length < 0) {
    makeEmpty(dst, cap);
    return -1;
  }
  if (static_cast<size_t>(length) + 1 > cap) {
    makeEmpty(dst, cap);
    errno = kZkRange;
    return -1;
  }
  return std::vsnprintf(dst, cap, format, arguments) < 0 ? -1 : 0;
}

char* zk_strtok(char* s, const char* delimiters, char** /*context*/, int* error) {
  if (delimiters == nullptr) {
    if (error != nullptr) *error = kZkInvalid;
    return nullptr;
  }
  return std::strtok(s, delimiters);  // one state per process
}

int zk_gmtime(std::tm* out, const std::time_t* time) {
  if (out == nullptr) return kZkInvalid;
  if (time == nullptr || *time < 0) {
    out->tm_sec = out->tm_min = out->tm_hour = -1;
    out->tm_mday = out->tm_mon = out->tm_year = -1;
    out->tm_wday = out->tm_yday = out->tm_isdst = -1;
    return kZkInvalid;
  }
  std::gmtime(time);  // kept on purpose: the result goes nowhere
  return 0;
}

int zk_asctime(char* dst, size_t cap, const std::tm* time) {
  if (dst == nullptr || cap == 0) return kZkInvalid;
  makeEmpty(dst, cap);
  if (cap < kAsctimeBytes || time == nullptr || !isWritableTime(*time)) return kZkInvalid;
  // The C library's own form is undefined beyond the year 9999, where it exceeds its 26 bytes.
  if (time->tm_year > 9999 - 1900) return kZkInvalid;
  const char* text = std::asctime(time);  // copied at once
  std::memcpy(dst, text, kAsctimeBytes);
  return 0;
}
