// JobRequest - what a configuration asks for, in the terms of its job file. Reads configurations
// with the library's own reader, without its echo; everything else about a job is worked out here
// anew.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "KnownJob.h"

namespace jobverify {

/// Where the samples of a plane come from.
struct PlaneSource {
  std::string path;    // TIFF file; empty: none, the plane has no pixels
  int channel = -1;    // of a composite; -1: the file holds this plane only
  bool isRgb = false;  // composite of R, G, B
  bool isRead = true;  // false: the file gives the plane its width only, its rows stay 0
};

struct PlaneRequest {
  jobreader::Ink ink = jobreader::Ink::kUnknown;
  int depth = 0;
  int levels = 0;                 // of the configuration's index level; 0: as the depth has it
  bool samplesAreLevels = false;  // samples are not reduced, only cut to the depth
  bool raw = false;               // samples are not inverted and not reduced
  bool isDeep = false;            // each sample of an RGB file stands in two bytes
  bool isHalved = false;          // sent as a row of high bytes and a row of low bytes
  PlaneSource source;
  uint32_t width = 0;       // pixels
  uint64_t rows = 0;        // that the file gives; the page's further ones hold the cleared byte
  bool hasSamples = false;  // false: the rows that it gives are cleared ones
  std::string lost;  // why no pixel of its file is on the page, which the rules then leave blank
  std::string notCompared;  // why its rows cannot be compared; empty: they can

  /// What stands where no sample is written.
  [[nodiscard]] uint8_t clearedByte() const {
    return source.isRead && (source.isRgb || raw) ? 0xFF : 0x00;
  }
};

/// A number that may be written with a sign, or not at all.
struct Position {
  bool given = false;
  bool relative = false;
  int32_t value = 0;
};

struct PageRequest {
  size_t section = 0;       // its [Image] section, from 1
  std::string missing;      // why the page is not in the file; empty: it is
  std::string notCompared;  // why its rows cannot be compared; empty: they can
  int colorSpace = 0;
  int numOfPlanes = 0;
  int compression = 0;                  // as configured: 0, 2, 3, 4, 256
  int mode = -1;                        // group * 1000 + compression; -1: no rows are sent
  bool sameAsFirst = false;             // its configure block is left out
  std::vector<PlaneRequest> planes;     // in the order of a row, the first numOfPlanes of them
  std::vector<PlaneRequest> allPlanes;  // all that have a depth: the configure block names them
  uint64_t rows = 0;                    // of the page: as many as its tallest file gives
  Position x, y;
  Position yOffset;                      // in raster mode
  Position yOffsetBefore, yOffsetAfter;  // before and behind the position

  [[nodiscard]] int group() const { return mode < 0 ? 0 : mode / 1000; }
  /// The byte of white paper.
  [[nodiscard]] uint8_t blank() const { return colorSpace == 2 ? 0xFF : 0x00; }
};

struct JobRequest {
  std::string outputPath;    // "ODAX.dat" in the current folder when the configuration gives none
  std::string sendDataFile;  // empty: the pages are sent
  jobreader::JobTemplates templates;
  uint32_t resolutionH = 0, resolutionV = 0;
  int32_t printableWidth = -1;      // pixels; worked out from the images when it is not given
  std::vector<std::string> tables;  // by slot, at most six; an empty one is not sent
  std::vector<PageRequest> pages;   // every [Image] section
};

/// A configuration that the library refuses; its messages are on the error stream.
struct RefusedConfiguration {
  std::string path;
  int code = 0;
};

/// The path of a configuration for the library, which completes relative ones with its
/// application's folder: a command is expected to start from the current one.
/// @throws std::filesystem::filesystem_error when the current folder is gone
std::string absolutePath(const std::string& path);

/// Reads a configuration, and of its image files what they are.
/// @param path  of the configuration; a relative one starts at the current folder
/// @throws RefusedConfiguration
JobRequest readRequest(const std::string& path);

/// What a reader of the job file can know beforehand.
jobreader::KnownJob knownJob(const JobRequest& request);

}  // namespace jobverify
