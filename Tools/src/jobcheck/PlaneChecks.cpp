#include "PlaneChecks.h"

#include <algorithm>
#include <cstdlib>

#include "ImageChecks.h"

namespace jobcheck {

namespace {

constexpr int kLargestDepth = 127;
constexpr uint16_t kWhiteIsZero = 0, kSeparated = 5;

std::string quotedKey(const std::string& key, int32_t value) {
  return key + " = " + std::to_string(value);
}

class PlaneCheck {
 public:
  PlaneCheck(JobContext& job, const PageLines& page, const PagePlanes& plan, const Plane& plane)
      : job_(job), page_(page), plan_(plan), plane_(plane) {}

  void run() {
    if (plane_.depth > kLargestDepth) {
      warnDepth("depth-too-large",
                quotedKey(plane_.keys().depthKey, plane_.depth) +
                    " is more than 127, the largest depth" +
                    (plane_.delivery == Delivery::kSamples
                         ? "; it is taken as " + std::to_string(static_cast<int8_t>(plane_.depth))
                         : "; the plane is sent without its samples"));
    } else if (plane_.depth > 0 && plane_.source == Source::kNone) {
      warnDepth("depth-without-file", std::string(plane_.keys().depthKey) +
                                          " is set, but no file gives the plane; it is "
                                          "sent without pixels");
    } else if (!checkUnread()) {
      checkDepth();
      checkThreshold();
    }
    checkLevel();
  }

 private:
  [[nodiscard]] Place placeOf(const std::string& key) const {
    return job_.configuration.placeOf(page_.lines, key);
  }
  void warnFile(const char* id, const std::string& text, const std::string& hint = "") {
    job_.problems.warn(placeOf(plane_.keys().fileKey), id, text, hint);
  }
  void warnDepth(const char* id, const std::string& text, const std::string& hint = "") {
    job_.problems.warn(placeOf(plane_.keys().depthKey), id, text, hint);
  }

  // A plate of its own that is named but has no part in the page.
  bool checkUnread() {
    const std::string file = plane_.keys().fileKey;
    if ((page_.record->*plane_.keys().file)[0] == '\0') return false;
    const bool isChannel = plan_.hasCmyk && plane_.ink <= kInkY;
    if (plan_.hasRgb) {
      warnFile("beside-rgb", file + " is not read: beside ImageFileRGB no other file is");
    } else if (isChannel) {
      warnFile("beside-cmyk", file + " is not opened: ImageFileCMYK gives this plane");
    } else if (plan_.hasCmyk) {
      warnFile("beside-cmyk",
               file + " is not read: beside ImageFileCMYK no other file is; its plane stays blank");
    } else if (plane_.ink == kInkG) {
      warnFile("green-not-read", "ImageFileG is never read; its plane is all 0",
               "use one ImageFileRGB instead of three files");
    } else if (plane_.depth == 0) {
      warnFile("file-without-depth", file + " is left out: PixelDepth" + plane_.name() + " is 0");
    } else {
      return false;
    }
    return true;
  }

  void checkDepth() {
    if (plane_.facts == nullptr || !plane_.facts->hasPixels() || !plane_.isRead) return;
    if (plane_.depth < 1 && plane_.source == Source::kPlate) return;
    if (plane_.depth < 1 && plane_.source == Source::kCmyk) {
      warnDepth("file-without-depth",
                "the channel of ImageFileCMYK is left out: PixelDepth" + plane_.name() + " is 0");
      return;
    }
    if (!plane_.hasBuffer && plane_.depth > 0) {
      warnDepth("image-too-large", fileName(plane_.path) + " is too large for a plane of depth " +
                                       std::to_string(plane_.depth) +
                                       "; it is sent without pixels");
      return;
    }
    if (plane_.delivery == Delivery::kSamples) return;
    const std::string pixels =
        fileName(plane_.path) + " has " + std::to_string(plane_.fileBits()) + " bits per " +
        (plane_.source == Source::kCmyk ? "sample" : "pixel") + ", which do not go into ";
    if (plane_.source == Source::kRgb) {
      if (plane_.ink != kInkR) return;  // it is the same for all three
      warnDepth("depth-pair",
                pixels + "PixelDepthR, G and B = " + std::to_string(page_.record->PixelDepthR) +
                    ", " + std::to_string(page_.record->PixelDepthG) + ", " +
                    std::to_string(page_.record->PixelDepthB) + "; the page has no rows",
                plane_.facts->bitsCount == 4
                    ? "save it without alpha, or name it as ImageFileCMYK"
                    : "24 bits go into three times 8, 48 bits into three times 10, 12 or 16");
      return;
    }
    warnDepth("depth-pair",
              pixels + quotedKey(plane_.keys().depthKey, plane_.depth) + "; the plane is blank",
              plane_.source == Source::kCmyk
                  ? "8 bits go into 1, 2, 4 and 8, 16 bits into 10"
                  : "1 bit goes into 1, 8 bits into 1, 2, 4 and 8, 16 bits into 10 and 12");
  }

  void checkThreshold() {
    if (plane_.delivery != Delivery::kSamples || plane_.isRaw || plane_.facts->isUnknown) return;
    if (plane_.depth != 1 || plane_.source == Source::kRgb) return;
    const uint16_t photometric = plane_.facts->photometric;
    const bool inkGrows = photometric == kWhiteIsZero || photometric == kSeparated;
    if (plane_.fileBits() == 8 && inkGrows) {
      warnDepth("dark-half-lost",
                "samples of 128 to 255 of " + fileName(plane_.path) +
                    ", the darkest half, give no dot at depth 1",
                "give 1 bit per sample, or 8 bits in which black is 0 (photometric 1)");
    } else if (plane_.source == Source::kPlate && plane_.fileBits() == 1 &&
               photometric == kSeparated) {
      warnDepth("bilevel-inverted",
                fileName(plane_.path) + " has 1 bit and photometric 5; its dots are inverted",
                "save it with photometric 0 (white is zero)");
    }
  }

  // Index levels ----------------------------------------------------------------------------------

  void checkLevel() {
    if (plane_.keys().levelKey == nullptr) return;
    const std::string key = plane_.keys().levelKey;
    const ConfigItem* last = nullptr;
    for (const ConfigItem& item : page_.lines.items) {
      if (item.key != key || !item.isStored) continue;
      if (last != nullptr) {
        job_.problems.warn(
            job_.configuration.at(last->line), "index-level-repeated",
            key + " is given again in line " + std::to_string(item.line) + "; the last one counts");
      }
      last = &item;
    }
    if (last != nullptr) checkLevel(*last);
  }

  void checkLevel(const ConfigItem& item) {
    const Place place = job_.configuration.at(item.line);
    const int levels = std::atoi(item.value.c_str());
    const ConfigItem* space = page_.lines.find("ColorSpace");
    if (space != nullptr && space->value == "4" && space->line > item.line) {
      job_.problems.warn(place, "index-level-replaced",
                         item.key + " has no effect: ColorSpace = 4 below it replaces it",
                         "put it behind ColorSpace");
      return;
    }
    if (levels == 0) return;
    const bool isReduced = plane_.isRead && plane_.source != Source::kRgb &&
                           plane_.facts != nullptr && plane_.fileBits() == 8 &&
                           (plane_.depth == 2 || plane_.depth == 4) && !plane_.isRaw;
    if (!isReduced) {
      job_.problems.warn(place, "index-level-unused",
                         item.key +
                             " has no effect: only 8-bit samples that go into depth 2 or 4 "
                             "are reduced to levels");
    } else if (levels > 1 << plane_.depth) {
      job_.problems.warn(place, "levels-exceed-depth",
                         quotedKey(item.key, levels) + " gives levels up to " +
                             std::to_string(levels - 1) + ", but depth " +
                             std::to_string(plane_.depth) + " holds " +
                             std::to_string((1 << plane_.depth) - 1) +
                             " at most; higher levels lose their high bits");
    }
  }

  JobContext& job_;
  const PageLines& page_;
  const PagePlanes& plan_;
  const Plane& plane_;
};

void checkFiles(JobContext& job, const PageLines& page, const PagePlanes& plan) {
  for (const PageFile& file : plan.files) {
    const TiffFacts& facts = job.files.of(file.path);
    if (!file.isOpened || !facts.canOpen()) continue;
    const std::string key = file.key;
    const ImageUse use = key == "ImageFileCMYK"
                             ? ImageUse::kCmyk
                             : (key == "ImageFileRGB" ? ImageUse::kRgb : ImageUse::kPlate);
    const bool isRead = plan.hasRgb
                            ? use == ImageUse::kRgb
                            : (!plan.hasCmyk || use == ImageUse::kCmyk) && key != "ImageFileG";
    if (!isRead) continue;
    if (!job.checkedImages.emplace(file.path, static_cast<int>(use)).second) continue;
    checkImage(facts, use, job.configuration.placeOf(page.lines, key), fileName(file.path),
               job.problems);
  }
}

// Levels of inks that the page does not have.
void checkAbsentInks(JobContext& job, const PageLines& page, const PagePlanes& plan) {
  for (const ConfigItem& item : page.lines.items) {
    if (!item.isStored || item.key.rfind("IndexLevel", 0) != 0) continue;
    const std::string name = item.key.substr(std::string("IndexLevel").size());
    const bool isThere = std::any_of(plan.planes.begin(), plan.planes.end(),
                                     [&name](const Plane& plane) { return plane.name() == name; });
    if (isThere || std::atoi(item.value.c_str()) == 0) continue;
    job.problems.warn(job.configuration.at(item.line), "index-level-unused",
                      item.key + " has no effect: the page has no such ink");
  }
}

}  // namespace

void checkPlanes(JobContext& job, const PageLines& page, const PagePlanes& plan) {
  checkFiles(job, page, plan);
  for (const Plane& plane : plan.planes) PlaneCheck(job, page, plan, plane).run();
  checkAbsentInks(job, page, plan);
}

}  // namespace jobcheck
