// CFGState - the configuration reader's module state, shared by its sources and by nobody else.
// Defined in CFGFile.cpp. All but the file name is reset at the start of each parse.
#pragma once

#include "Limits.h"

/// Where the reader stands. The numbers are this module's own.
enum Section : int {
  kNoSection = 0,
  kGlobalSection = 1,
  kHXRasterSection = 2,
  kImageSection = 3,
  kImageHeader = 4,  // an [Image] header was just read
  kODAXSection = 5,
};

extern char sDefaultOutFileName[kPathBytes];  // set by setDefaultFileName()
extern int sSection;                          // a Section
extern bool sIsCStyleComment;                 // inside a comment block
extern bool sIsNewImageSection;               // an [Image] header was read and no item of it yet
