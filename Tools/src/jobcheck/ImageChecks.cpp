#include "ImageChecks.h"

#include <algorithm>
#include <climits>

#include "Limits.h"

namespace jobcheck {

namespace {

constexpr uint32_t kNoCompression = 1;
constexpr uint32_t kPackBits = 32773;
constexpr uint16_t kLongOffsets = 4;
constexpr uint16_t kSignedLongOffsets = 9;
constexpr uint32_t kSeparatePlanes = 2;
constexpr uint32_t kLowBitsFirst = 2;
constexpr uint16_t kWhiteIsZero = 0, kRgbColours = 2, kPalette = 3, kSeparated = 5;

class ImageCheck {
 public:
  ImageCheck(const TiffFacts& facts, ImageUse use, const Place& place, const std::string& name,
             ProblemList& problems)
      : facts_(facts), use_(use), place_(place), name_(name), problems_(problems) {}

  void run() {
    if (facts_.isEndless) {
      warn("too-many-directories", "has more directories than are looked at here",
           "write the image into a file of its own");
      return;
    }
    if (facts_.isUnknown) return;
    if (!facts_.isTiff) return checkOther();
    checkDirectories();
    if (facts_.width == 0 || facts_.height == 0) {
      warn("empty-image", "has no pixels; it gives the page nothing");
      return;
    }
    if (facts_.isBeyondFile) {
      checkClaim();
      return;
    }
    checkStrips();
    checkSamples();
    checkColours();
    checkIgnored();
  }

 private:
  void warn(const char* id, const std::string& what, const std::string& hint = "") {
    problems_.warn(place_, id, name_ + " " + what, hint);
  }

  void checkOther() {
    if (facts_.isTooLarge) {
      warn("image-too-large", "has rows of more than 2147483647 bytes; it gives the page nothing");
    } else if (facts_.isBigTiff) {
      warn("big-tiff", "is a BigTIFF file, which is not read; it gives the page nothing",
           "save it as a plain TIFF file");
    } else if (facts_.fileBytes == 0) {
      warn("not-tiff", "is empty; it gives the page nothing");
    } else {
      warn("not-tiff", "is no TIFF file despite its name; it gives the page nothing",
           "save it as a TIFF file, uncompressed or with PackBits");
    }
  }

  // Of an image so wide that no plane can hold it, its plane says so.
  [[nodiscard]] bool fitsNoPlane() const { return facts_.rowBytes() / 8 * kBandRows > INT_MAX; }

  void checkClaim() {
    if (fitsNoPlane()) return;
    warn("image-too-large",
         "says that it has " + counted(facts_.height, "row") + ", which a file of " +
             counted(facts_.fileBytes, "byte") + " cannot hold; it gives the page nothing",
         "it is damaged; write it anew");
  }

  void checkDirectories() {
    if (facts_.isDirectoryCut)
      warn("directory-cut", "ends inside of its directory; what is missing counts as 0");
    if (facts_.images > 1) {
      warn("several-images",
           "holds " + counted(facts_.images, "image") +
               "; the last one is sent, and what it does "
               "not say is taken from those in front of it",
           "save each page as a file of its own");
    }
  }

  void checkStrips() {
    if (facts_.isTiled) {
      warn("tiled", "is stored in tiles, which are not read; what is sent is noise",
           "save it in strips");
    } else if (facts_.offsetType == 0) {
      warn("no-strips", "does not say where its rows are; what is sent is noise");
    } else if (hasNarrowOffsets()) {
      warn("short-offsets",
           "has strip offsets of less than 32 bits, which are found for a single strip only; what "
           "is sent is noise",
           "save it with offsets of type LONG, or in one strip");
    } else {
      checkEnd();
    }
  }

  [[nodiscard]] bool hasNarrowOffsets() const {
    return facts_.offsetType != kLongOffsets && facts_.offsetType != kSignedLongOffsets &&
           facts_.strips > 1;
  }

  // The fewest bytes that a row takes in the file. Packed, 128 equal bytes take two.
  [[nodiscard]] uint64_t leastRowBytes() const {
    constexpr uint64_t kLongestRun = 128;
    const uint64_t bytes = facts_.rowBytes();
    if (facts_.compression == kNoCompression) return bytes;
    return std::min(bytes, 2 * ((bytes + kLongestRun - 1) / kLongestRun));
  }

  // Whether the rows lie inside of the file.
  void checkEnd() {
    if (facts_.compression != kNoCompression && facts_.compression != kPackBits) return;
    const uint64_t rowBytes = leastRowBytes();
    const uint64_t perStrip = facts_.rowsPerStrip == 0 ? facts_.height : facts_.rowsPerStrip;
    uint64_t row = 0;
    uint64_t position = 0;
    for (size_t strip = 0; row < facts_.height; ++strip) {
      const bool isThere = strip < facts_.strips;
      if (isThere && strip >= facts_.offsets.size()) return;  // more of them are not looked at
      if (isThere) position = facts_.offsets[strip];
      // Behind the last strip, reading goes on where it stands.
      const uint64_t rows = isThere ? std::min(perStrip, facts_.height - row) : facts_.height - row;
      const uint64_t left = position < facts_.fileBytes ? facts_.fileBytes - position : 0;
      if (left < rows * rowBytes) {
        reportCut(row + left / rowBytes);
        return;
      }
      row += rows;
      position += rows * rowBytes;
    }
  }

  void reportCut(uint64_t row) {
    warn("image-cut", std::string("is cut off: the file ends at row ") + std::to_string(row) +
                          " of " + std::to_string(facts_.height) +
                          (facts_.compression == kPackBits ? " at the latest" : "") +
                          "; the missing rows repeat what was read last");
  }

  void checkSamples() {
    if (facts_.planar == kSeparatePlanes && facts_.bitsCount > 1) {
      warn("separate-planes",
           "stores its samples in separate planes, but they are read as interleaved; what is sent "
           "is noise",
           "save it with interleaved samples");
    }
    if (facts_.bitsCount != facts_.samplesPerPixel && facts_.images == 1) {
      warn("samples-disagree", "tells the bits of " + counted(facts_.bitsCount, "sample") +
                                   ", but has " + std::to_string(facts_.samplesPerPixel) +
                                   " per pixel; the first number counts");
      return;
    }
    if (use_ != ImageUse::kCmyk) return;
    if (facts_.sampleBits == 1) {
      warn("composite-of-one-bit",
           "has samples that composites are not read in; its planes are all ink or all blank",
           "save it with 8 bits per sample");
    } else if (facts_.bitsCount != 4) {
      warn("composite-samples",
           "has " + std::to_string(facts_.bitsCount) +
               " samples per pixel instead of 4; what is sent is noise",
           facts_.bitsCount > 4 ? "save it without alpha and spot channels" : "save it as CMYK");
    }
  }

  void checkColours() {
    const uint16_t photometric = facts_.photometric;
    if (!facts_.hasPhotometric) {
      warn("no-photometric", "does not say whether 0 is white or black; 0 is taken as no ink");
    } else if (photometric == kPalette) {
      warn("palette", "has a colour map, which is not applied; its numbers are taken as samples",
           "save it without a palette");
    } else if (use_ == ImageUse::kCmyk && photometric != kSeparated &&
               photometric != kWhiteIsZero) {
      warn("composite-inverted",
           "has photometric " + std::to_string(photometric) +
               ", not 5 (separated); its samples are inverted",
           "save it as CMYK");
    } else if (use_ == ImageUse::kRgb && photometric != kRgbColours) {
      warn("not-rgb",
           "has photometric " + std::to_string(photometric) +
               ", not 2 (RGB); its samples are sent as they are",
           "save it as RGB");
    }
  }

  void checkIgnored() {
    if (facts_.fillOrder == kLowBitsFirst && facts_.bits < 8) {
      warn("fill-order",
           "stores the bits of a byte lowest first, which is ignored; every 8 dots are mirrored",
           "save it with the highest bit first");
    }
    if (facts_.orientation > 1) {
      warn("orientation",
           "is to be turned or mirrored (orientation " + std::to_string(facts_.orientation) +
               "), which is ignored; its rows are sent as they are stored",
           "save it with its first row on top");
    }
  }

  const TiffFacts& facts_;
  ImageUse use_;
  const Place& place_;
  const std::string& name_;
  ProblemList& problems_;
};

}  // namespace

void checkImage(const TiffFacts& facts, ImageUse use, const Place& place, const std::string& name,
                ProblemList& problems) {
  ImageCheck(facts, use, place, name, problems).run();
}

std::string whyNotOpened(const TiffFacts& facts) {
  return facts.hasExtension ? "cannot be opened" : "does not end in .tif or .tiff";
}

}  // namespace jobcheck
