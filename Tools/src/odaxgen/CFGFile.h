// CFGFile - the configuration reader: turns a configuration file into the `parameter` record.
// This header is the face of four sources: CFGFile.cpp reads and splits lines and echoes the
// settings, CFGKeys.cpp knows the keys and the records, CFGCheck.cpp validates sections,
// CFGPaths.cpp converts and completes paths.
// Failures print one or two lines on the error stream and throw a negative int.
#pragma once

#include <cstdint>

#include "CFGCheck.h"
#include "CFGKeys.h"
#include "CFGPaths.h"
#include "CFGRecords.h"
#include "TextLine.h"

/// Remembers the default output file: at most 259 characters. Called before each parse.
void setDefaultFileName(const char* name);

/// Parses a whole configuration file.
///
/// @param cfgPath             full path of the file
/// @param record              allocated with malloc; CFGFileDirectory is already filled
/// @param overrideKeys        128 null pointers; receives the keys of the override pairs
/// @param overrideValues      the same for the values. The strings are blocks of 1024 bytes from
///                            malloc and belong to the caller, also after a failure
/// @param hasVendorCmdXmlFile set to 1 when a VendorCmdXmlFile item is read
/// @throws -3 to -40. The record is then freed and must not be used any more
void parseParameter(const char* cfgPath, parameter* record, char** overrideKeys,
                    char** overrideValues, int32_t* hasVendorCmdXmlFile);

/// Splits one line; the section that a header names becomes the current one.
/// @param key, value  1024 bytes each; for a header its text and the line number in decimal
/// @return 0 for an item or header, -1 for nothing to do, -2 for an invalid line
/// @throws -11 for a comment inside a comment block
int parseKeyValue(const char* line, int lineNo, char* key, char* value);

/// Unquotes a value: `dst` has 1024 bytes. Both "" and \" stand for a quote.
/// @return 0, or -1 when `src` is not one well-formed quoted string (the name is kept as it is)
int processQuotaions(const char* src, char* dst);

/// Trims blanks and tabs in front, blanks, tabs, CR and LF behind, in place; at most 1023
/// characters. A string left with one character keeps it. @return s
char* trimSpaces(char* s);

/// Appends a new item behind `last` (null: starts a list). @return it, or null without memory
CFGFileItem* addCFGFile(CFGFileItem* last);
CFGFileItem* getLastCFGFile(CFGFileItem* head);
void deleteCFGFile(CFGFileItem* head);
