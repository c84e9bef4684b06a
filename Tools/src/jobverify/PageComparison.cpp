#include "PageComparison.h"

#include <algorithm>
#include <cstring>

#include "ExpectedStream.h"
#include "RowBlankness.h"

namespace jobverify {

namespace {

using jobreader::isAll;

constexpr int kHxrc = 4;
constexpr int64_t kNoBytes = -5;
constexpr int64_t kTooManyBytes = -6;
constexpr uint64_t kMostHxrcBytes = 120000;

constexpr int kRgbGroup = 3;
constexpr size_t kRgbPlanes = 3;
constexpr uint8_t kWhite = 0xFF;

// The pixel at `x` of a row without gaps.
uint64_t levelAt(std::span<const uint8_t> row, uint64_t x, unsigned depth) {
  uint64_t level = 0;
  uint64_t bit = x * depth;
  for (unsigned left = depth; left > 0;) {
    const unsigned offset = bit % 8;
    const unsigned taken = std::min(8 - offset, left);
    const unsigned byte = row[static_cast<size_t>(bit / 8)];
    level = level << taken | (byte >> (8 - offset - taken) & ((1U << taken) - 1));
    bit += taken;
    left -= taken;
  }
  return level;
}

}  // namespace

PageComparison::PageComparison(const PageRequest& page, int32_t printableWidth, Findings& findings)
    : page_(page),
      findings_(findings),
      name_("page " + std::to_string(page.section)),
      printableWidth_(printableWidth) {
  if (!page.notCompared.empty()) {
    findings_.addNotCompared(name_ + ": " + page.notCompared);
    return;
  }
  for (const PlaneRequest& request : page.planes) addPlane(request);
}

void PageComparison::addPlane(const PlaneRequest& request) {
  const std::string name = name_ + ", " + std::string(jobreader::inkInfo(request.ink)->name);
  const bool needsImage = request.hasSamples && request.notCompared.empty();
  const size_t image = needsImage ? images_.open(request.source.path) : 0;
  const ImageFacts facts = needsImage ? images_.facts(image) : ImageFacts{};
  PlaneRequest readable = request;
  readable.hasSamples = needsImage;
  planes_.push_back(
      {&request, name, ExpectedRows(readable, facts), image, true, failureOf(request), {}});
  Plane& plane = planes_.back();
  plane.expected.resize(plane.rows.size());
  if (!request.lost.empty()) {
    findings_.addNotCompared(name + ": no pixel of " + request.source.path +
                             " is on the page: " + request.lost);
  }
  if (!request.notCompared.empty()) stopComparing(plane, request.notCompared);
  if (plane.failure == kTooManyBytes)
    stopComparing(plane, "its rows are too long for their compression and not in the file");
  if (facts.directories > 1) {
    findings_.addNote(name + ": of the " + std::to_string(facts.directories) + " images in " +
                      request.source.path + " the last one counts");
  }
}

int64_t PageComparison::failureOf(const PlaneRequest& request) const {
  if (page_.compression != kHxrc) return 0;
  const uint64_t bytes = request.isHalved ? request.width : sentRowBytes(request);
  if (bytes == 0) return kNoBytes;
  return bytes > kMostHxrcBytes ? kTooManyBytes : 0;
}

void PageComparison::stopComparing(Plane& plane, const std::string& reason) {
  if (plane.isCompared) findings_.addNotCompared(plane.name + ": " + reason);
  plane.isCompared = false;
}

void PageComparison::loadRow(uint64_t y) {
  for (Plane& plane : planes_)
    if (plane.isCompared) loadPlane(plane, y);
}

void PageComparison::loadPlane(Plane& plane, uint64_t y) {
  if (!plane.request->hasSamples || y >= plane.request->rows) {
    plane.rows.clear(plane.expected);
    return;
  }
  const std::span<const uint8_t> samples = images_.row(plane.image, y);
  if (!samples.empty()) {
    plane.rows.pack(samples, plane.expected);
  } else if (!plane.expected.empty()) {
    stopComparing(plane, plane.request->source.path + ": " + images_.problem(plane.image));
  }
}

// Behind this row all rows are alike.
uint64_t PageComparison::changingRows() const {
  uint64_t rows = 0;
  for (const Plane& plane : planes_)
    if (plane.isCompared && plane.request->hasSamples) rows = std::max(rows, plane.request->rows);
  return rows;
}

uint64_t PageComparison::whiteTestBytes(const PlaneRequest& plane) const {
  if (printableWidth_ <= 0) return 0;
  const bool isWide = page_.compression == kHxrc && plane.depth >= 9;
  const auto bits = static_cast<uint64_t>(isWide ? 16 : plane.depth);
  return (bits * static_cast<uint64_t>(printableWidth_) + 7) / 8;
}

bool PageComparison::isWhiteWherePrintable(const Plane& plane) const {
  const uint64_t bytes = std::min<uint64_t>(whiteTestBytes(*plane.request), plane.expected.size());
  return isAll(std::span(plane.expected).first(static_cast<size_t>(bytes)), kWhite);
}

bool PageComparison::hasAllBlank() const {
  return std::all_of(planes_.begin(), planes_.end(), [this](const Plane& plane) {
    return !plane.isCompared || isAll(plane.expected, page_.blank());
  });
}

// Of three colours only the printable width is looked at to find out that a row is white. Where it
// ends behind a narrower plane the rows below count too, so that the row may be sent.
PageComparison::Loss PageComparison::lossOfRow() const {
  if (page_.group() != kRgbGroup || hasAllBlank()) return Loss::kNone;
  Loss loss = Loss::kCertain;
  for (size_t i = 0; i < std::min(kRgbPlanes, planes_.size()); ++i) {
    const Plane& plane = planes_[i];
    if (plane.isCompared && !isWhiteWherePrintable(plane)) return Loss::kNone;
    const bool reachesOn =
        !plane.expected.empty() && whiteTestBytes(*plane.request) > plane.expected.size();
    if (!plane.isCompared || reachesOn) loss = Loss::kPossible;
  }
  return loss;
}

void PageComparison::takeRow(uint64_t index, std::span<const jobreader::PlaneRow> planes) {
  if (page_.mode == -1 && !hasOddRows_) {
    findings_.addDifference(name_ + ", row " + std::to_string(index) + ": the page has rows");
    hasOddRows_ = true;
  }
  if (!page_.notCompared.empty()) return;
  if (index >= page_.rows) {
    findings_.addDifference(name_ + ", row " + std::to_string(index) + ": the page has only " +
                            std::to_string(page_.rows) + " rows");
    return;
  }
  compareBlankRows(next_, index);
  next_ = index + 1;
  loadRow(index);
  compareRow(index, planes);
}

void PageComparison::takeBlankRows(uint64_t first, uint64_t count) {
  if (!page_.notCompared.empty()) return;
  if (first > page_.rows || count > page_.rows - first) {
    findings_.addDifference(name_ + ", row " + std::to_string(first) + ": " +
                            std::to_string(count) + " blank rows go past the page's " +
                            std::to_string(page_.rows) + " rows");
  }
  const uint64_t left = page_.rows - std::min(first, page_.rows);
  compareBlankRows(next_, page_.rows - left + std::min(count, left));
}

void PageComparison::finish() {
  if (!page_.notCompared.empty()) return;
  compareBlankRows(next_, page_.rows);
  noteLosses();
  Verdict& verdict = findings_.verdict();
  ++verdict.pages;
  for (const Plane& plane : planes_) {
    if (!plane.isCompared) continue;
    ++verdict.planes;
    verdict.pixels += plane.request->width * page_.rows;
  }
}

void PageComparison::noteLosses() {
  if (lostRows_ == 0) return;
  findings_.addNote(name_ + ": " + std::to_string(lostRows_) +
                    " rows are white over the printable width, which is " +
                    std::to_string(printableWidth_) +
                    ", and count as blank; what stands to the right of it is not in the file");
}

void PageComparison::compareRow(uint64_t y, std::span<const jobreader::PlaneRow> planes) {
  if (planes.size() != planes_.size()) {
    findings_.addDifference(name_ + ", row " + std::to_string(y) + ": " +
                            std::to_string(planes.size()) + " planes, expected " +
                            std::to_string(planes_.size()));
    return;
  }
  if (lossOfRow() == Loss::kCertain) {
    ++lostRows_;
    for (Plane& plane : planes_) std::fill(plane.expected.begin(), plane.expected.end(), kWhite);
  }
  for (size_t i = 0; i < planes.size(); ++i) {
    checkMethod(planes_[i], y, planes[i].method);
    comparePlane(planes_[i], y, planes[i]);
  }
}

void PageComparison::checkMethod(const Plane& plane, uint64_t y, int method) {
  if (hasOddMethod_ || isMethodOf(page_, method)) return;
  hasOddMethod_ = true;
  report(plane, y,
         "compression method " + std::to_string(method) + ", configured is " +
             std::to_string(page_.compression));
}

void PageComparison::comparePlane(const Plane& plane, uint64_t y,
                                  const jobreader::PlaneRow& found) {
  if (found.failure != plane.failure) {
    report(plane, y,
           "coded as " + std::to_string(found.failure) + ", expected " +
               std::to_string(plane.failure));
    return;
  }
  if (found.failure == 0 && plane.isCompared) compareBytes(plane, y, found.bytes);
}

void PageComparison::compareBlankRows(uint64_t from, uint64_t to) {
  for (uint64_t y = from; y < to; ++y) {
    // Loading may end the comparison of a plane, and with it the rows that change.
    loadRow(y);
    const bool isLast = y >= changingRows();
    compareBlankRow(y, isLast ? to - y : 1);
    if (isLast) break;
  }
  next_ = std::max(next_, to);
}

// The row at hand, which stands for `times` of them.
void PageComparison::compareBlankRow(uint64_t y, uint64_t times) {
  if (lossOfRow() != Loss::kNone) {
    lostRows_ += times;
    return;
  }
  uint64_t different = 0;
  for (const Plane& plane : planes_)
    if (plane.isCompared && plane.failure == 0) different += compareBytes(plane, y, {});
  findings_.countDifferences(different * (times - 1));
}

// Gives the number of differences.
uint64_t PageComparison::compareBytes(const Plane& plane, uint64_t y,
                                      std::span<const uint8_t> found) {
  const std::span<const uint8_t> expected = plane.expected;
  const size_t common = std::min(found.size(), expected.size());
  uint64_t different = 0;
  if (found.size() > expected.size()) {
    report(plane, y,
           std::to_string(found.size()) + " bytes, expected at most " +
               std::to_string(expected.size()));
    ++different;
  }
  const bool isSame = common == 0 || std::memcmp(found.data(), expected.data(), common) == 0;
  if (isSame && isAll(expected.subspan(common), page_.blank())) return different;
  std::vector<uint8_t> whole(expected.size(), page_.blank());
  std::copy_n(found.begin(), common, whole.begin());
  return different + comparePixels(plane, y, whole);
}

uint64_t PageComparison::comparePixels(const Plane& plane, uint64_t y,
                                       std::span<const uint8_t> found) {
  const unsigned depth = plane.request->isHalved ? 16 : static_cast<unsigned>(plane.request->depth);
  const std::span<const uint8_t> expected = plane.expected;
  uint64_t different = 0;
  for (uint64_t x = 0;; ++x) {
    const auto from = static_cast<ptrdiff_t>(std::min<uint64_t>(x * depth / 8, found.size()));
    const auto at = std::mismatch(found.begin() + from, found.end(), expected.begin() + from).first;
    const auto byte = static_cast<uint64_t>(at - found.begin());
    x = std::max(x, byte * 8 / depth);
    if (at == found.end() || x >= plane.request->width) break;
    const uint64_t level = levelAt(found, x, depth);
    const uint64_t wanted = levelAt(expected, x, depth);
    if (level == wanted) continue;
    ++different;
    reportPixel(plane, y, x, level, wanted);
  }
  if (different > 0) return different;
  report(plane, y, "the bits behind the last pixel differ");
  return 1;
}

void PageComparison::reportPixel(const Plane& plane, uint64_t y, uint64_t x, uint64_t level,
                                 uint64_t wanted) {
  if (!findings_.keepsDifferences()) {
    findings_.countDifferences(1);
    return;
  }
  findings_.addDifference(plane.name + ", row " + std::to_string(y) + ", column " +
                          std::to_string(x) + ": level " + std::to_string(level) + ", expected " +
                          std::to_string(wanted));
}

void PageComparison::report(const Plane& plane, uint64_t y, const std::string& text) {
  findings_.addDifference(plane.name + ", row " + std::to_string(y) + ": " + text);
}

}  // namespace jobverify
