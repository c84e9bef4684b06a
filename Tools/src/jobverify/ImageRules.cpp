#include "ImageRules.h"

#include <algorithm>
#include <string>

namespace jobverify {

namespace {

constexpr uint64_t kBandRows = 300;
constexpr uint64_t kMostBandBytes = 0x7FFFFFFF;

enum class Delivery { kNothing, kClearedRows, kSamples };

// Bytes of a row in the system's memory. Depths that no row is made for have four per pixel.
uint64_t memoryRowBytes(const PlaneRequest& plane, uint64_t width) {
  uint64_t bytes = 4 * width;
  const bool isPacked = !plane.isDeep && (plane.depth == 10 || plane.depth == 12);
  const bool isWhole = plane.depth == 1 || plane.depth == 2 || plane.depth == 4 ||
                       plane.depth == 8 || plane.depth == 16;
  if (isWhole || isPacked) bytes = (width * static_cast<uint64_t>(plane.depth) + 7) / 8;
  if (plane.isDeep && (plane.depth == 10 || plane.depth == 12)) bytes = 2 * width;
  return (bytes + 3) / 4 * 4;
}

// Reads of equal depths always give rows, but only some of them are understood.
Delivery deliveryOfEqual(unsigned bits) {
  return bits == 1 || bits == 8 ? Delivery::kSamples : Delivery::kClearedRows;
}

Delivery deliveryOfPlate(unsigned bits, int depth) {
  if (depth == static_cast<int>(bits)) return deliveryOfEqual(bits);
  const bool isReduced = bits == 8 && (depth == 1 || depth == 2 || depth == 4);
  const bool isCut = bits == 16 && (depth == 10 || depth == 12);
  return isReduced || isCut ? Delivery::kSamples : Delivery::kNothing;
}

Delivery deliveryOfChannel(unsigned bits, int depth) {
  if (bits == 16) return depth == 10 ? Delivery::kSamples : Delivery::kNothing;
  return deliveryOfPlate(bits, depth);
}

Delivery deliveryOfRgb(unsigned bitsPerPixel, const std::array<int, 3>& depths) {
  const int depth = depths[0];
  if (depths[1] != depth || depths[2] != depth) return Delivery::kNothing;
  const bool isBytes = bitsPerPixel == 24 && depth == 8;
  const bool isWords = bitsPerPixel == 48 && (depth == 10 || depth == 12 || depth == 16);
  return isBytes || isWords ? Delivery::kSamples : Delivery::kNothing;
}

// The bits of a channel are only seen when there are three of them at least.
unsigned channelBits(const ImageFacts& facts) {
  return facts.hasShortBits && facts.samples >= 3 ? facts.bits : 1;
}

Delivery deliveryOf(const PlaneRequest& plane, const std::array<int, 3>& rgbDepths,
                    const ImageFacts& facts) {
  if (!plane.source.isRead || !facts.isTiff || facts.height == 0) return Delivery::kNothing;
  if (plane.source.isRgb) return deliveryOfRgb(facts.bitsPerPixel(), rgbDepths);
  if (plane.source.channel >= 0) return deliveryOfChannel(channelBits(facts), plane.depth);
  return deliveryOfPlate(facts.bitsPerPixel(), plane.depth);
}

std::string whyNotCompared(const PlaneRequest& plane, const ImageFacts& facts) {
  unsigned expected = plane.source.channel >= 0 ? 4 : 1;
  if (plane.source.isRgb) expected = 3;
  if (facts.samples != expected) {
    return "its pixels have " + std::to_string(facts.samples) + " samples, not " +
           std::to_string(expected);
  }
  if (plane.source.channel >= 0 && facts.bits == 1) return "composites of 1 bit are not read";
  return facts.unreadable;
}

// The job goes on without such a file; whoever verifies it wants to know.
std::string whyLost(const PlaneRequest& plane, const ImageFacts& facts) {
  if (!plane.source.isRead) return "the job does not read it";
  if (!facts.isTiff) return "it is no TIFF file";
  if (facts.width == 0 || facts.height == 0) return "";
  return "its pixels of " + std::to_string(facts.bitsPerPixel()) +
         " bits do not go into a depth of " + std::to_string(plane.depth);
}

}  // namespace

void applyImage(PlaneRequest& plane, const std::array<int, 3>& rgbDepths, const ImageFacts& facts) {
  // Such a plane gets no memory, and is then one without an image.
  if (memoryRowBytes(plane, facts.width) * kBandRows > kMostBandBytes) {
    plane.lost = "it is too large";
    return;
  }
  plane.width = facts.width;
  const Delivery delivery = deliveryOf(plane, rgbDepths, facts);
  if (delivery != Delivery::kSamples) plane.lost = whyLost(plane, facts);
  if (delivery == Delivery::kNothing) return;
  if (facts.isBeyondFile) {
    plane.lost = "the file is too small for its rows";
    return;
  }
  plane.rows = facts.height;
  plane.hasSamples = delivery == Delivery::kSamples && facts.width > 0;
  if (plane.hasSamples) plane.notCompared = whyNotCompared(plane, facts);
}

}  // namespace jobverify
