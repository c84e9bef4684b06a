#include "PageChecks.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "AnnouncedInks.h"
#include "ImageChecks.h"
#include "PlaneChecks.h"

namespace jobcheck {

namespace {

constexpr int32_t kRowRgb = 2, kRowInkIndex = 4, kPixelRgb = 18;
constexpr int32_t kHxrc = 4;
constexpr uint64_t kMostHxrcRow = 120000;  // bytes
constexpr uint64_t kSafeHxrcRow = 40000;   // whatever the picture
constexpr uint16_t kWhiteIsZero = 0, kSeparated = 5;

int groupOf(const imageParameter& page) {
  return page.Mode < 0 ? 0 : page.Mode / 1000;
}

bool isLazy(const imageParameter& page) {
  const int compression = page.Mode % 1000;
  return page.Mode > 0 && groupOf(page) != 3 && (compression == 0 || compression == 2);
}

class PageCheck {
 public:
  PageCheck(JobContext& job, const PageLines& page, size_t number)
      : job_(job), page_(page), record_(*page.record), number_(number) {
    plan_ = planesOf(record_, job.files);
  }

  /// @return false when the page is skipped
  bool run() {
    checkPositions();
    if (plan_.missing != nullptr) {
      warnSkipped();
      return false;
    }
    if (plan_.files.empty()) {
      warn(header(), "page-without-image", "the page names no image file; it has no rows");
    }
    checkPlanes(job_, page_, plan_);
    if (!page_.isSound) return true;
    checkMode();
    checkSizes();
    checkInks();
    checkColours();
    checkWidths();
    checkHxrc();
    return true;
  }

  [[nodiscard]] const PagePlanes& plan() const { return plan_; }

 private:
  [[nodiscard]] Place header() const { return job_.configuration.at(page_.lines.headerLine); }
  [[nodiscard]] Place placeOf(const char* key) const {
    return job_.configuration.placeOf(page_.lines, key);
  }
  void warn(const Place& place, const char* id, const std::string& text,
            const std::string& hint = "") {
    job_.problems.warn(place, id, text, hint);
  }
  [[nodiscard]] std::string name() const { return "page " + std::to_string(number_); }

  void warnSkipped() {
    const PageFile& file = *plan_.missing;
    const TiffFacts& facts = job_.files.of(file.path);
    warn(placeOf(file.key), "page-skipped",
         fileName(file.path) + " " + whyNotOpened(facts) + "; " + name() + " is skipped",
         facts.hasExtension ? "" : "save it as a TIFF file");
  }

  // Positions -------------------------------------------------------------------------------------

  // A position of -1 looks as if it were not given.
  void checkPositions() {
    bool isXSet = false;
    bool isYSet = false;
    const ConfigItem* minusOne = nullptr;
    for (const ConfigItem& item : page_.lines.items) {
      if (!item.isStored) continue;
      const bool isX = item.key == "StartingPositionX";
      if (isX || item.key == "StartingPositionY") {
        if (minusOne != nullptr && minusOne->key == item.key)
          warnMinusOne(*minusOne, "line " + std::to_string(item.line) + " replaces it");
        const bool isMinusOne = record_.*(isX ? &imageParameter::StartingPositionX
                                              : &imageParameter::StartingPositionY) ==
                                    kNotSet ||
                                std::atoll(item.value.c_str()) == -1;
        (isX ? isXSet : isYSet) = !isMinusOne;
        minusOne = isMinusOne ? &item : nullptr;
      } else if (item.key == "YOffsetC" && minusOne != nullptr && !isXSet && !isYSet) {
        warnMinusOne(*minusOne, "YOffsetC in line " + std::to_string(item.line) +
                                    " is sent in front of it and not behind it");
      }
    }
  }

  void warnMinusOne(const ConfigItem& item, const std::string& effect) {
    warn(job_.configuration.at(item.line), "position-minus-one",
         item.key + " = " + item.value + " counts as not given: " + effect);
  }

  // Settings together -----------------------------------------------------------------------------

  void checkMode() {
    if (record_.Mode != kNotSet || !page_.isChecked) return;
    const std::string noRows = "; " + name() + " has no rows";
    if (record_.ColorSpace == kPixelRgb) {
      warn(placeOf("ColorSpace"), "no-rows", "ColorSpace 18 is announced only" + noRows,
           "use ColorSpace 2 with three planes");
    } else if (record_.CompressionMode == kNotSet) {
      warn(header(), "no-rows", "the page has format settings but no CompressionMode" + noRows,
           "a further page gives all format settings or none of them");
    } else {
      warn(placeOf("CompressionMode"), "no-rows",
           "CompressionMode " + std::to_string(record_.CompressionMode) +
               " does not go with these colours and planes" + noRows,
           "use 0, 2, 3 or 256; 4 goes with 1, 3, 4, 5, 8, 12 and 13 planes, but not with gray and "
           "light inks");
    }
  }

  // Planes that their files give pixels, and whose files are known.
  [[nodiscard]] std::vector<const Plane*> planesWithPixels() const {
    std::vector<const Plane*> found;
    for (const Plane& plane : plan_.planes) {
      const bool hasPixels = plane.depth > 0 && plane.hasBuffer && plane.facts != nullptr &&
                             plane.facts->hasPixels() && !plane.facts->isUnknown;
      if (hasPixels) found.push_back(&plane);
    }
    return found;
  }

  void checkSizes() {
    const Plane* first = nullptr;
    for (const Plane* plane : planesWithPixels()) {
      if (!plane->isRead) continue;
      if (first == nullptr) first = plane;
      const bool isSame = plane->facts->width == first->facts->width &&
                          plane->facts->height == first->facts->height;
      if (isSame) continue;
      warn(placeOf(plane->fileKey), "plane-sizes",
           sizeText(*plane) + ", but " + sizeText(*first) +
               "; the page is as high as the highest, and each plane keeps its own width");
      return;
    }
  }

  static std::string sizeText(const Plane& plane) {
    return fileName(plane.path) + " has " + std::to_string(plane.facts->width) + " x " +
           std::to_string(plane.facts->height) + " pixels";
  }

  void checkInks() {
    std::vector<std::string> unsent;
    std::vector<std::string> unnamed;
    const std::vector<Ink> announced = announcedInks(record_);
    const std::vector<const Plane*> sent = plan_.sent(record_.NumOfPlanes);
    size_t place = 0;
    for (const Plane& plane : plan_.planes) {
      if (plane.depth <= 0) continue;
      if (++place > sent.size()) {
        unsent.push_back(plane.name());
      } else if (!isAnnounced(announced, plane.ink)) {
        unnamed.push_back(plane.name());
      }
    }
    if (!unsent.empty()) {
      warn(placeOf("NumOfPlanes"), "planes-not-sent",
           "NumOfPlanes is " + std::to_string(record_.NumOfPlanes) + "; " + joined(unsent) +
               (unsent.size() == 1 ? " is" : " are") + " not sent");
    }
    if (!unnamed.empty() && record_.SameAsFirstImage != 1) {
      warn(placeOf("NumOfPlanes"), "inks-not-announced",
           joined(unnamed) + (unnamed.size() == 1 ? " is" : " are") +
               " sent, but no format that the job file can announce has these inks",
           "the sets of inks are in the documentation of ColorSpace and NumOfPlanes");
    }
  }

  // The light inks of six planes are announced by that number.
  [[nodiscard]] bool isAnnounced(const std::vector<Ink>& announced, Ink ink) const {
    if ((ink == kInkc || ink == kInkm) && groupOf(record_) == 5) return true;
    return std::find(announced.begin(), announced.end(), ink) != announced.end();
  }

  void checkColours() {
    if (record_.ColorSpace == kRowRgb && record_.NumOfPlanes == 1) checkGray();
    if (record_.ColorSpace == kRowRgb && record_.NumOfPlanes == 3 && !plan_.hasRgb &&
        !plan_.files.empty()) {
      warn(header(), "rgb-without-composite",
           "without ImageFileRGB red and blue are read as inks, with 0 as no colour, and green is "
           "not read",
           "use one ImageFileRGB");
    }
    if (record_.ColorSpace == kRowInkIndex) checkIndex();
  }

  void checkGray() {
    for (const Plane& plane : plan_.planes) {
      const bool isGray =
          plane.ink == kInkK && (plane.depth == 8 || plane.depth == 10 || plane.depth == 12);
      if (plane.depth < 1 || isGray) continue;
      warn(placeOf(plane.keys().depthKey), "gray-as-ink",
           "ColorSpace 2 says that 0 is black, but at " + std::string(plane.keys().depthKey) +
               " = " + std::to_string(plane.depth) + " the plane is sent as ink, with 0 as white",
           "use PixelDepthK = 8, 10 or 12, or another ColorSpace");
    }
  }

  [[nodiscard]] bool isReduced(const Plane& plane) const {
    return plane.delivery == Delivery::kSamples && plane.fileBits() == 8 &&
           (plane.depth == 2 || plane.depth == 4) && plane.source != Source::kRgb &&
           !plane.facts->isUnknown;
  }

  // ColorSpace 4 written as a digit says that samples are levels.
  void checkIndex() {
    const ConfigItem* space = page_.lines.find("ColorSpace");
    if (space == nullptr) return;
    const bool isDigit = space->value == "4";
    for (const Plane& plane : plan_.planes) {
      if (!isReduced(plane)) continue;
      const bool hasLevel = page_.lines.find(plane.keys().levelKey) != nullptr;
      const uint16_t photometric = plane.facts->photometric;
      const bool inverts = photometric != kWhiteIsZero && photometric != kSeparated;
      if (!isDigit && !hasLevel) {
        warn(job_.configuration.at(space->line), "color-space-4",
             "ColorSpace written as " + quoted(space->value) +
                 " reduces 8-bit samples to levels; written as 4 it takes them as levels",
             "write ColorSpace = 4 when the samples are levels, else give each ink its IndexLevel");
        return;
      }
      if (isDigit && !hasLevel && inverts) {
        warn(placeOf(plane.fileKey), "levels-inverted",
             "with ColorSpace = 4 samples are levels, but those of " + fileName(plane.path) +
                 " are inverted (photometric " + std::to_string(photometric) + ")",
             "save it with photometric 0 (white is zero) or 5");
        return;
      }
    }
  }

  // Widths ----------------------------------------------------------------------------------------

  void checkWidths() {
    const int32_t printable = job_.configuration.record->PrintableWidthInPixel;
    if (printable <= 0) return;
    for (const Plane* plane : planesWithPixels()) {
      if (plane->facts->width <= static_cast<uint32_t>(printable)) continue;
      const bool isRgb = groupOf(record_) == 3;
      warn(placeOf(plane->fileKey), "wider-than-printable",
           fileName(plane->path) + " is " + std::to_string(plane->facts->width) +
               " pixels wide, PrintableWidthInPixel is " + std::to_string(printable) +
               (isRgb ? "; rows that are white up to there are left out, whatever stands behind"
                      : "; its rows are sent in their whole width"));
      return;
    }
    if (groupOf(record_) == 3) checkNarrower(printable);
  }

  // The test for white rows then looks into the rows below.
  void checkNarrower(int32_t printable) {
    for (const Plane* plane : planesWithPixels()) {
      if (!plane->isRead || plane->delivery != Delivery::kSamples) continue;
      const uint64_t width = (plane->rowBytes() + 3) / 4 * 4;
      const uint64_t tested =
          (static_cast<uint64_t>(printable) * static_cast<uint64_t>(plane->depth) + 7) / 8;
      if (tested <= width) continue;
      warn(placeOf(plane->fileKey), "narrower-than-printable",
           fileName(plane->path) + " is " + std::to_string(plane->facts->width) +
               " pixels wide, PrintableWidthInPixel is " + std::to_string(printable) +
               "; white rows right above others are sent instead of skipped",
           "set PrintableWidthInPixel to the width of the image");
      return;
    }
  }

  void checkHxrc() {
    if (record_.Mode == kNotSet || record_.CompressionMode != kHxrc) return;
    for (const Plane* plane : plan_.sent(record_.NumOfPlanes)) {
      if (plane->facts == nullptr || !plane->hasBuffer) continue;
      const bool isHalved =
          groupOf(record_) == 3 && (plane->depth == 10 || plane->depth == 12 || plane->depth == 16);
      const uint64_t bytes = isHalved ? plane->facts->width : plane->rowBytes();
      if (bytes > kMostHxrcRow) {
        warn(placeOf("CompressionMode"), "hxrc-row-too-long",
             "HXRC rows have at most 120000 bytes; those of " + plane->name() + " have " +
                 std::to_string(bytes) + " and are sent without data",
             "use another CompressionMode");
        return;
      }
      if (bytes <= kSafeHxrcRow) continue;
      warn(placeOf("CompressionMode"), "hxrc-row-long",
           "rows of " + plane->name() + " have " + std::to_string(bytes) +
               " bytes; one whose code reaches 65536 bytes is cut",
           "rows of up to 40000 bytes are safe; or use another CompressionMode");
      return;
    }
  }

  JobContext& job_;
  const PageLines& page_;
  const imageParameter& record_;
  size_t number_;
  PagePlanes plan_;
};

// What pages do to each other.
class PageSequence {
 public:
  explicit PageSequence(JobContext& job) : job_(job) {}

  void take(const PageLines& page, const PagePlanes& plan, bool isSkipped) {
    const imageParameter& record = *page.record;
    if (isSkipped) {
      if (isFirst_) isFirstSkipped_ = true;
    } else {
      checkFormat(page);
      checkWhiteRows(page, plan);
      if (isLazy(record)) hasLazyPage_ = true;
      if (groupOf(record) == 3) hasRgbPage_ = true;
    }
    isFirst_ = false;
  }

  void finish() {
    const int32_t printable = job_.configuration.record->PrintableWidthInPixel;
    if (!hasRgbPage_) return;
    if (printable != kNotSet && printable <= 0) {
      job_.problems.warn(
          job_.configuration.placeOf(job_.configuration.hxraster, "PrintableWidthInPixel"),
          "printable-width-zero",
          "PrintableWidthInPixel is " + std::to_string(printable) +
              "; every row of an RGB page counts as white and is left out");
    }
    if (printable == kNotSet) checkUnknownWidth();
  }

 private:
  void checkFormat(const PageLines& page) {
    if (!isFirstSkipped_ || page.record->SameAsFirstImage != 1 || isFormatSaid_) return;
    isFormatSaid_ = true;
    job_.problems.warn(job_.configuration.at(page.lines.headerLine), "format-lost",
                       "the format of this page is that of the first one, which is skipped; it is "
                       "not announced");
  }

  // The sender of an RGB page in method 0 or 2 takes over whether the row before was blank.
  void checkWhiteRows(const PageLines& page, const PagePlanes& plan) {
    const imageParameter& record = *page.record;
    const int32_t printable = job_.configuration.record->PrintableWidthInPixel;
    const bool isTrimmed = record.Mode == 3000 || record.Mode == 3002;
    if (!isTrimmed || !hasLazyPage_ || printable <= 0) return;
    for (const Plane& plane : plan.planes) {
      const bool isNarrow = plane.source == Source::kRgb && plane.facts != nullptr &&
                            plane.facts->width < static_cast<uint32_t>(printable);
      if (!isNarrow) continue;
      job_.problems.warn(job_.configuration.placeOf(page.lines, plane.fileKey), "white-rows-lost",
                         fileName(plane.path) +
                             " is narrower than PrintableWidthInPixel; behind a page that ends in "
                             "blank rows its own white rows on top may be lost",
                         "set PrintableWidthInPixel to the width of the image");
      return;
    }
  }

  // The width is worked out from every file that any page names.
  void checkUnknownWidth() {
    for (const PageLines& page : job_.configuration.pages) {
      for (const ImagePath file : kImageFiles) {
        const std::string path = page.record->*file;
        if (path.empty() || job_.files.of(path).canOpen()) continue;
        job_.problems.warn(job_.configuration.placeOf(page.lines, fileKeyOf(file)), "width-unknown",
                           fileName(path) + " " + whyNotOpened(job_.files.of(path)) +
                               ", so the printable width is not known; every row of an RGB page "
                               "counts as white and is left out",
                           "set PrintableWidthInPixel");
        return;
      }
    }
  }

  JobContext& job_;
  bool isFirst_ = true;
  bool isFirstSkipped_ = false;
  bool isFormatSaid_ = false;
  bool hasLazyPage_ = false;
  bool hasRgbPage_ = false;
};

}  // namespace

void checkPages(JobContext& job) {
  PageSequence sequence(job);
  size_t number = 0;
  for (const PageLines& page : job.configuration.pages) {
    PageCheck check(job, page, ++number);
    const bool isSent = check.run();
    sequence.take(page, check.plan(), !isSent);
  }
  sequence.finish();
}

}  // namespace jobcheck
