// PngReader - reads a PNG picture back for the tests.
#pragma once

#include <cstdint>
#include <string>

#include "TempFolder.h"

struct PngPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  int bitDepth = 0;
  bool isColour = false;
  uint32_t xPixelsPerMetre = 0;  // 0: not said
  uint32_t yPixelsPerMetre = 0;
  Bytes pixels;  // 8 bits each, rows one after another: gray, or R, G, B in turn
};

/// @throws std::runtime_error for a file that is no gray or RGB picture
PngPicture readPng(const std::string& path);
