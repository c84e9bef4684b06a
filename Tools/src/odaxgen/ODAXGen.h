// ODAXGen - the job driver. runJob() runs a job from configuration to job file; makeODAXData()
// (declared in <odaxgen/ODAXGen.h>) is that with the default hooks. ODAXGen.cpp is the order of the
// job, PageSetup.cpp tells the raster writer the settings, PagePipeline.cpp turns the image files
// of a page into bands.
#pragma once

#include <odaxgen/ODAXGen.h>

#include "CFGRecords.h"
#include "CLibrary.h"  // GetFullPath
#include "JobHooks.h"
#include "PagePipeline.h"
#include "PageSetup.h"

/// The override pairs between the configuration reader, which makes the strings, and the packet
/// writer, which copies them.
struct OverrideLists {
  char* keys[kMaxOverrides] = {};
  char* values[kMaxOverrides] = {};

  OverrideLists() = default;
  OverrideLists(const OverrideLists&) = delete;
  OverrideLists& operator=(const OverrideLists&) = delete;
  ~OverrideLists() { release(); }

  void release();
};

/// Runs one job.
/// @param configurationPath  a relative one starts at the application's folder
/// @return 0. @throws -3 to -80, the text "Internal Exception", and what a hook throws
int runJob(JobHooks& hooks, const char* configurationPath);

/// Reads a configuration as a job begins: completes its path, derives the folder and the default
/// output from it, and parses the file.
/// @return the record, which the caller gives to disposeParameter(). @throws -3 to -45
parameter* readConfiguration(const char* path, OverrideLists* overrides, int32_t* hasVendorCmd);

/// Creates the packet writer for a job: output, templates and, unless the split size is 0, the
/// open output file. @throws -49 when the output cannot be opened; the record is then freed
void processODAX(parameter* record);
void processODAXWith(JobHooks& hooks, parameter* record);  ///< decided by hooks
