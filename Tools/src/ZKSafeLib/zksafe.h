// zksafe - string and memory operations that know the capacity of their destination.
// They never write past it and report misuse by an error number. No state of its own; zk_strtok
// uses the C library's, which is one for the whole process.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <ctime>

#if defined(__GNUC__)
#define ZK_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define ZK_PRINTF_LIKE(text, first)
#endif

constexpr int kZkInvalid = 22;  // EINVAL: a null argument or an invalid value
constexpr int kZkRange = 34;    // ERANGE: the result would not fit

// In all operations `dst` has room for `cap` bytes, the terminating NUL included. "Empties dst"
// means a NUL in its first byte, when there is one.

/// Copies a string.
/// @return 0; kZkInvalid for a null argument, kZkRange when it does not fit: both empty dst.
int zk_strcpy(char* dst, size_t cap, const char* src);

/// Appends a string.
/// @return 0; kZkInvalid for a null argument (dst emptied) or when dst is already longer than cap
///         (dst left as it is); kZkRange when the sum does not fit: dst is emptied, its old text
///         included, on purpose.
int zk_strcat(char* dst, size_t cap, const char* src);

/// Copies at most n characters and always sets dst[n] to NUL, also when src is shorter.
/// @return 0; kZkInvalid for a null argument (dst emptied) or cap 0; kZkRange when n >= cap (dst
///         emptied).
int zk_strncpy(char* dst, size_t cap, const char* src, size_t n);

/// Copies n bytes.
/// @return 0; kZkInvalid for a null dst, or for a null src (cap bytes of dst zeroed); kZkRange
///         when n > cap (cap bytes of dst zeroed).
int zk_memcpy(void* dst, size_t cap, const void* src, size_t n);

/// The smaller of strlen(s) and max. The whole string is measured, so s must be terminated.
size_t zk_strnlen(const char* s, size_t max);

/// Formats into dst; nothing partial is ever written.
/// @return 0; -1 for a null argument (errno 22) or when the text and its NUL exceed cap (errno
///         34): both empty dst.
int zk_sprintf(char* dst, size_t cap, const char* format, ...) ZK_PRINTF_LIKE(3, 4);
int zk_vsprintf(char* dst, size_t cap, const char* format, std::va_list arguments)
    ZK_PRINTF_LIKE(3, 0);

/// The C library's tokeniser: `context` is not used, the state is the process's.
/// Null delimiters store kZkInvalid through `error` and return null.
char* zk_strtok(char* s, const char* delimiters, char** context, int* error);

/// Checks a time value. A null or negative one sets the nine fields of `out` to -1.
/// @return 0; kZkInvalid for a null `out`, or a null or negative time.
/// Kept on purpose: on success the converted time is not stored in `out`.
int zk_gmtime(std::tm* out, const std::time_t* time);

/// Writes the C library's text form of a time: 26 bytes with line feed and NUL.
/// @return 0; kZkInvalid for a null dst, cap below 26 or a field out of range (dst emptied).
int zk_asctime(char* dst, size_t cap, const std::tm* time);
