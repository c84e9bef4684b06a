// PagePlanes - what a page makes of its image files: which file gives which ink its pixels, and
// what comes of them at the ink's depth. The rules of the page pipeline, without its work.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Configuration.h"
#include "TiffFacts.h"

namespace jobcheck {

enum class Source { kNone, kPlate, kCmyk, kRgb };

enum class Delivery {
  kNothing,      // no rows
  kClearedRows,  // rows without the file's samples
  kSamples,
};

struct Plane {
  Ink ink = kInkK;
  int32_t depth = kNotSet;
  Source source = Source::kNone;
  std::string path;                  // of its file; empty: none
  const char* fileKey = "";          // that names it
  const TiffFacts* facts = nullptr;  // of its file; null: none
  int channel = -1;                  // of a composite
  bool isRead = false;               // false: the file gives the plane its width only
  bool hasBuffer = false;            // false: it is sent as a plane of width 0
  bool isRaw = false;                // samples as they are, neither reduced nor inverted
  Delivery delivery = Delivery::kNothing;

  [[nodiscard]] const InkKeys& keys() const { return kInks[ink]; }
  /// "K", "Pgy".
  [[nodiscard]] std::string name() const { return std::string(keys().depthKey).substr(10); }
  [[nodiscard]] unsigned fileBits() const;
  /// Reading its first row ends the job.
  [[nodiscard]] bool isRefused() const;
  /// Bytes of a row as it is sent.
  [[nodiscard]] uint64_t rowBytes() const;
};

/// An image file of a page and the key that names it.
struct PageFile {
  const char* key;
  std::string path;
  bool isOpened;  // false: the page does without it
};

struct PagePlanes {
  bool hasRgb = false;
  bool hasCmyk = false;
  std::vector<PageFile> files;        // in the order in which the library opens them
  std::vector<Plane> planes;          // inks that have a depth or a file, in the order of a row
  const PageFile* missing = nullptr;  // the first opened file that is not opened after all

  /// The planes of a row.
  [[nodiscard]] std::vector<const Plane*> sent(int32_t numOfPlanes) const;
};

/// Works a page out. The result refers to facts of `files`.
PagePlanes planesOf(const imageParameter& page, TiffFiles& files);

/// The key of an image file.
const char* fileKeyOf(ImagePath file);

/// The order in which the planes of a page are read.
const std::vector<Ink>& readOrder();

}  // namespace jobcheck
