// Mac_Depend - the two questions that only the platform can answer: where is the application, and
// where do temporary files go. One header, one source per platform, no state.
#pragma once

#include <cstdint>

/// Completes a path against the folder that holds the application.
///
/// POSIX: the folder of the running executable. Foundation: the folder that holds the main bundle.
/// A path that begins with "/" is taken as it is. Nothing is normalised.
///
/// @param path  NUL-terminated, UTF-8; null is refused
/// @param cap   room in `out` with the NUL
/// @return 0; -1 for a null path (out untouched) or when the result does not fit (out empty)
int32_t GetFullPathMac(const char* path, int32_t cap, char* out);

/// Writes the folder for temporary files, ending with "/": file names are appended directly.
///
/// POSIX: TMPDIR when it is set and not empty, else /tmp. Foundation: NSTemporaryDirectory.
/// A folder that does not fit leaves `out` empty.
void GetTempFolderMac(char* out, int32_t cap);
