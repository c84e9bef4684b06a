#include "PagePlanes.h"

#include <algorithm>
#include <array>
#include <climits>

#include "ReductionTables.h"

namespace jobcheck {

namespace {

constexpr uint32_t kNoCompression = 1;
constexpr uint32_t kPackBits = 32773;
constexpr int32_t kHxrc = 4;
constexpr int kLargestDepth = 127;

constexpr std::array<Ink, kInkCount> kPlaneOrder = {kInkPBK, kInkMBK, kInkK, kInkC,  kInkM,
                                                    kInkY,   kInkc,   kInkm, kInkGy, kInkPgy,
                                                    kInkR,   kInkG,   kInkB, kInkCO, kInkCO2};

constexpr std::array<ImagePath, 17> kOpenOrder = {
    &imageParameter::ImageFileRGB, &imageParameter::ImageFileCMYK, &imageParameter::ImageFileK,
    &imageParameter::ImageFileC,   &imageParameter::ImageFileM,    &imageParameter::ImageFileY,
    &imageParameter::ImageFilec,   &imageParameter::ImageFilem,    &imageParameter::ImageFileGy,
    &imageParameter::ImageFilePgy, &imageParameter::ImageFileR,    &imageParameter::ImageFileG,
    &imageParameter::ImageFileB,   &imageParameter::ImageFilePBK,  &imageParameter::ImageFileMBK,
    &imageParameter::ImageFileCO,  &imageParameter::ImageFileCO2};

int cmykChannel(Ink ink) {
  switch (ink) {
    case kInkC:
      return 0;
    case kInkM:
      return 1;
    case kInkY:
      return 2;
    case kInkK:
      return 3;
    default:
      return -1;
  }
}

int rgbChannel(Ink ink) {
  return ink == kInkR || ink == kInkG || ink == kInkB ? static_cast<int>(ink - kInkR) : -1;
}

bool isWholeDepth(int depth) {
  return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
}

// Whether the memory of 300 rows can be described.
bool hasRoom(uint64_t width, int16_t depth, bool isDeep) {
  constexpr uint64_t kMost = INT_MAX;
  const auto bits = static_cast<uint64_t>(depth < 0 ? 0 : depth);
  uint64_t bytes = 4 * width;
  if (isWholeDepth(depth)) bytes = (width * bits + 7) / 8;
  if (depth == 10 || depth == 12) bytes = isDeep ? 2 * width : (width * bits + 7) / 8;
  bytes = (bytes + 3) / 4 * 4;
  // Widths are signed numbers of 32 bits.
  return width <= kMost && bytes <= kMost && bytes * kBandRows <= kMost;
}

Delivery deliveryOf(unsigned bits, int depth) {
  if (depth == static_cast<int>(bits)) {
    return bits == 1 || bits == 8 ? Delivery::kSamples : Delivery::kClearedRows;
  }
  const bool isReduced = bits == 8 && (depth == 1 || depth == 2 || depth == 4);
  const bool isCut = bits == 16 && (depth == 10 || depth == 12);
  return isReduced || isCut ? Delivery::kSamples : Delivery::kNothing;
}

class Planner {
 public:
  Planner(const imageParameter& page, TiffFiles& files) : page_(page), files_(files) {
    plan_.hasRgb = page.ImageFileRGB[0] != '\0';
    plan_.hasCmyk = page.ImageFileCMYK[0] != '\0';
    isDeep_ = page.CompressionMode == kHxrc && (page.PixelDepthR == 10 || page.PixelDepthR == 12);
  }

  PagePlanes plan() {
    listFiles();
    for (const Ink ink : kPlaneOrder) addPlane(ink);
    return std::move(plan_);
  }

 private:
  void listFiles() {
    for (const ImagePath file : kOpenOrder) {
      if ((page_.*file)[0] == '\0') continue;
      plan_.files.push_back({fileKeyOf(file), page_.*file, isOpened(file)});
    }
    for (const PageFile& file : plan_.files) {
      if (plan_.missing == nullptr && file.isOpened && !files_.of(file.path).canOpen())
        plan_.missing = &file;
    }
  }

  // Beside a composite of inks the plates of its channels are not opened.
  [[nodiscard]] bool isOpened(ImagePath file) const {
    if (!plan_.hasCmyk) return true;
    return std::none_of(kInks.begin(), kInks.begin() + kInkc,
                        [file](const InkKeys& ink) { return ink.file == file; });
  }

  void chooseSource(Plane& plane) const {
    plane.path = page_.*plane.keys().file;
    plane.fileKey = plane.keys().fileKey;
    plane.source = plane.path.empty() ? Source::kNone : Source::kPlate;
    if (plan_.hasCmyk && cmykChannel(plane.ink) >= 0) {
      plane.path = page_.ImageFileCMYK;
      plane.fileKey = "ImageFileCMYK";
      plane.source = Source::kCmyk;
      plane.channel = cmykChannel(plane.ink);
    }
    if (plan_.hasRgb && rgbChannel(plane.ink) >= 0) {
      plane.path = page_.ImageFileRGB;
      plane.fileKey = "ImageFileRGB";
      plane.source = Source::kRgb;
      plane.channel = rgbChannel(plane.ink);
    }
  }

  // A composite is read alone, and green comes out of composites only.
  [[nodiscard]] bool isRead(const Plane& plane) const {
    if (plan_.hasRgb) return plane.source == Source::kRgb;
    if (plan_.hasCmyk) return plane.source == Source::kCmyk;
    return plane.source == Source::kPlate && plane.ink != kInkG;
  }

  [[nodiscard]] bool hasBuffer(const Plane& plane) const {
    const auto depth = static_cast<int16_t>(plane.depth);
    if (plane.facts == nullptr || depth == 0 || depth == kNotSet) return false;
    return hasRoom(plane.facts->width, depth, isDeep_);
  }

  void addPlane(Ink ink) {
    Plane plane;
    plane.ink = ink;
    plane.depth = page_.*kInks[ink].depth;
    chooseSource(plane);
    const bool isOwn = (page_.*kInks[ink].file)[0] != '\0';
    if (plane.depth == kNotSet && !isOwn) return;
    if (!plane.path.empty()) plane.facts = &files_.of(plane.path);
    plane.isRead = isRead(plane);
    plane.hasBuffer = hasBuffer(plane);
    const ImageTable level = kInks[ink].level;
    plane.isRaw =
        level != nullptr && page_.*level == rawSamplesMarker() && plane.source == Source::kPlate;
    if (plane.isRead && plane.hasBuffer) plane.delivery = deliveryOf(plane);
    plan_.planes.push_back(plane);
  }

  [[nodiscard]] Delivery deliveryOf(const Plane& plane) const {
    const TiffFacts& facts = *plane.facts;
    if (facts.isUnknown) return Delivery::kSamples;  // nobody knows
    if (!facts.isTiff || facts.height == 0) return Delivery::kNothing;
    const auto depth = static_cast<int16_t>(plane.depth);
    if (plane.source == Source::kRgb) return rgbDelivery(facts);
    if (plane.source == Source::kPlate) return jobcheck::deliveryOf(facts.bitsPerPixel, depth);
    if (facts.sampleBits == 16) return depth == 10 ? Delivery::kSamples : Delivery::kNothing;
    return jobcheck::deliveryOf(facts.sampleBits, depth);
  }

  // All three planes need a buffer of the same depth.
  [[nodiscard]] Delivery rgbDelivery(const TiffFacts& facts) const {
    const auto depth = static_cast<int16_t>(page_.PixelDepthR);
    const bool isBytes = facts.bitsPerPixel == 24 && depth == 8;
    const bool isWords = facts.bitsPerPixel == 48 && (depth == 10 || depth == 12 || depth == 16);
    const bool areEqual = static_cast<int16_t>(page_.PixelDepthG) == depth &&
                          static_cast<int16_t>(page_.PixelDepthB) == depth;
    return areEqual && (isBytes || isWords) ? Delivery::kSamples : Delivery::kNothing;
  }

  const imageParameter& page_;
  TiffFiles& files_;
  PagePlanes plan_;
  bool isDeep_ = false;
};

}  // namespace

unsigned Plane::fileBits() const {
  if (facts == nullptr) return 0;
  return source == Source::kCmyk ? facts->sampleBits : facts->bitsPerPixel;
}

bool Plane::isRefused() const {
  return delivery != Delivery::kNothing && !facts->isUnknown &&
         facts->compression != kNoCompression && facts->compression != kPackBits;
}

uint64_t Plane::rowBytes() const {
  if (!hasBuffer || depth < 1 || depth > kLargestDepth) return 0;
  return (uint64_t{facts->width} * static_cast<uint64_t>(depth) + 7) / 8;
}

std::vector<const Plane*> PagePlanes::sent(int32_t numOfPlanes) const {
  std::vector<const Plane*> row;
  for (const Plane& plane : planes) {
    if (plane.depth > 0 && static_cast<int64_t>(row.size()) < numOfPlanes) row.push_back(&plane);
  }
  return row;
}

PagePlanes planesOf(const imageParameter& page, TiffFiles& files) {
  return Planner(page, files).plan();
}

const char* fileKeyOf(ImagePath file) {
  if (file == &imageParameter::ImageFileRGB) return "ImageFileRGB";
  if (file == &imageParameter::ImageFileCMYK) return "ImageFileCMYK";
  for (const InkKeys& ink : kInks)
    if (ink.file == file) return ink.fileKey;
  return "";
}

const std::vector<Ink>& readOrder() {
  static const std::vector<Ink> kOrder = {kInkK,   kInkC,   kInkc,   kInkM,  kInkm,
                                          kInkY,   kInkR,   kInkG,   kInkB,  kInkGy,
                                          kInkPgy, kInkPBK, kInkMBK, kInkCO, kInkCO2};
  return kOrder;
}

}  // namespace jobcheck
