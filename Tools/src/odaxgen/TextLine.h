// TextLine - reads lines of text files and strips a byte-order mark. Used by the configuration
// reader and by the packet writer for its templates. No state.
#pragma once

#include <cstdint>
#include <cstdio>

/// Reads the next line.
///
/// CR and LF each end a line by themselves, so a CR LF pair gives the line and then an empty one
/// (kept on purpose: nothing pairs them). A line of `size` characters or more is cut: its first
/// size-1 characters stay, `*length` is `size`, and the rest up to the next CR or LF is dropped.
/// Bytes behind the terminating NUL stay as earlier lines left them.
///
/// @param buf     room for `size` bytes; zero-filled by the caller before the first line
/// @param length  receives the number of characters read, NUL bytes of the file included
/// @return `buf`, or null at the end of the file
char* sReadLine(char* buf, int size, std::FILE* fp, int* length);

/// The same; onReadFailure() is told when the file cannot be read.
char* readLineOf(const char* path, char* buf, int size, std::FILE* fp, int* length);

/// Drops a UTF-8 byte-order mark: the text behind it, with its NUL, moves three bytes to the front
/// and the count drops by 3.
void deleteBOM(char* line, uint32_t* count);

/// 1 when the string begins with the bytes EF BB BF, else 0.
int32_t withBOM(const char* text);
