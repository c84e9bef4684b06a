// CFGPaths - separators, relative paths and existence of the files that a configuration names.
// SendDataFile and the six templates are left as written. No state.
#pragma once

#include "CFGRecords.h"

/// toSlash() on the output path, the table files and every image file. @throws -37
void convertDirSeparator(parameter* record);
/// toFullPath() on the table files, the output path and every image file. @throws -39, -40
void convertToFullPath(parameter* record);
/// Every table file and every image file that is named must exist. @throws -39, -40
void checkIfFileExist(parameter* record);

// Conversions in place, in buffers of 260 bytes. 0: nothing to do, 1: converted and both forms
// shown on the error stream.

/// Backslashes and colons become slashes; a leading colon is a classic relative path.
/// @throws -37 for a drive form ("C:\...") or a result over 259 characters
int toSlash(char* path);
/// Slashes and colons become backslashes; a drive form is left unchanged (1, no message).
int toBackSlash(char* path);
/// Slashes and backslashes become colons. @throws -38 for a drive form
int toColon(char* path);

/// Completes a relative path with the configuration's directory.
/// @return 0 for an empty or absolute path, 1 after completing it
/// @throws -40 when the result exceeds 259 characters
int toFullPath(char* path, parameter* record);
