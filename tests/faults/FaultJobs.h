// FaultJobs - small jobs that between them go every way that a job can go: each raster mode, both
// ways of sending, ready-made data, several pages, tables, composite files, overrides.
#pragma once

#include <string>
#include <vector>

#include "TempFolder.h"

struct FaultJob {
  std::string name;
  std::string configuration;  // without [Global]'s OutFilePath, which is "job.odx"
  int mode = 0;               // of its first page; 0: it has none
};

/// A job of one page for each raster mode.
/// @param split  SplitDataSize
std::vector<FaultJob> jobOfEachMode(const std::string& split);
/// The jobs that differ in more than the mode, each of them sent in both ways.
std::vector<FaultJob> jobsOfEachKind();

/// Writes the templates, images, tables and data that the jobs name.
void writeFilesOfFaultJobs(const TempFolder& folder);
