// StreamDecoder - a raster stream as the planes of its pages, rebuilt by the job reader, which
// follows the commands as a printer does and shares no code with the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "TempFolder.h"

/// What a printer knows of a page before its rows come.
struct PageShape {
  std::vector<size_t> rowBytes;  // of each plane that is sent, in order
  size_t rows = 0;               // blank rows at the end of a page are not sent, but are there
  uint8_t blank = 0x00;          // the byte of white paper
  bool halves = false;           // planes of two-byte samples: all high bytes, then all low bytes
};

struct DecodedPage {
  Bytes configuration;                   // the parameter bytes; empty when the page sent none
  int resolutionH = 0;                   // dots per inch
  int resolutionV = 0;                   //
  std::vector<std::string> positions;    // between resolution and raster mode, without ESC: "*p20X"
  int method = -1;                       // compression that raster mode starts with
  int methodChanges = 0;                 // compression changes after that
  std::vector<std::string> offsets;      // inside raster mode: "*b3Y"
  std::vector<std::vector<Bytes>> rows;  // by plane, then by row
};

struct DecodedStream {
  std::vector<Bytes> tables;  // in the order sent
  std::vector<DecodedPage> pages;
  int endsOfPage = 0;
};

/// Decodes a whole stream, from the resets of the job's start to the reset at its end.
/// @param shapes  one for each page of the stream
/// @throws std::runtime_error that names the offset, for anything that a printer could not follow:
///         unknown or misplaced commands, a row of too many or too few planes, rows that are too
///         long, differences from a row that the printer does not have, rows behind the page's end
DecodedStream decodeStream(const Bytes& stream, const std::vector<PageShape>& shapes);
