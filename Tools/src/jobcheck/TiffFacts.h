// TiffFacts - what the system sees in a TIFF file: every directory counts, later ones overwrite
// earlier ones, and numbers are read by the system's rules. Reads no samples.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace jobcheck {

struct TiffFacts {
  // How the file is opened.
  bool hasExtension = true;  // false: the system does not take it for an image
  bool isOpen = false;       // false: it cannot be opened
  bool isTiff = false;       // false: an image without pixels, whatever its name
  bool isBigTiff = false;
  bool isTooLarge = false;    // a row cannot be held; taken as an image without pixels
  bool isBeyondFile = false;  // the file is far too small for its rows, and none is delivered
  bool isEndless = false;     // it has too many directories to look at
  bool isUnknown = false;     // it is endless, missing or no plain file: nothing below is known
  uint64_t fileBytes = 0;

  // What the system goes by.
  uint32_t width = 0;
  uint32_t height = 0;
  unsigned bitsPerPixel = 1;  // the first sample's bits times their number, in one byte
  unsigned sampleBits = 1;    // of a sample of a composite
  uint32_t compression = 0;
  uint16_t photometric = 0;
  uint32_t planar = 0;
  uint32_t rowsPerStrip = 0xFFFFFFFF;
  uint32_t strips = 0;
  uint16_t offsetType = 0;        // of the strip offsets; 0: there are none
  std::vector<uint32_t> offsets;  // as the system uses them; at most kMostOffsets

  // What it does not look at.
  size_t images = 0;  // directories
  bool hasPhotometric = false;
  unsigned bits = 1;       // of the first sample
  uint32_t bitsCount = 1;  // how many samples have their bits told
  uint32_t samplesPerPixel = 1;
  uint32_t fillOrder = 1;
  uint32_t orientation = 1;
  bool isTiled = false;
  bool isDirectoryCut = false;

  static constexpr size_t kMostOffsets = 100000;

  [[nodiscard]] bool canOpen() const { return hasExtension && isOpen; }
  [[nodiscard]] bool hasPixels() const { return isTiff && width > 0 && height > 0; }
  [[nodiscard]] uint64_t rowBytes() const { return (uint64_t{width} * bitsPerPixel + 7) / 8; }
};

TiffFacts readTiffFacts(const std::string& path);

/// The facts of the images of a job. Many pages often share a few files.
class TiffFiles {
 public:
  const TiffFacts& of(const std::string& path);

 private:
  std::map<std::string, TiffFacts> facts_;
};

}  // namespace jobcheck
