#include "PageRenderer.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "InkColours.h"
#include "PictureStream.h"
#include "PixelRows.h"

namespace jobrender {

using jobreader::PlaneFormat;
using jobreader::PlaneRow;

namespace {

// Pixels that go through all steps together: they stay in the processor's cache on the way, and
// memory does not grow with the width of a page.
constexpr size_t kPiecePixels = 4096;
static_assert(kPiecePixels % PixelRows::kPieceStep == 0);

// A plane that is drawn, alone or as part of the composite.
struct Plane {
  size_t index = 0;  // in the rows
  PixelRows rows;
  std::optional<PictureStream> picture;
  bool isPacked = false;        // the picture takes whole rows
  std::optional<size_t> mixed;  // number in the mixer
};

std::span<const uint8_t> bytesOf(std::span<const PlaneRow> planes, size_t index) {
  return index < planes.size() ? planes[index].bytes : std::span<const uint8_t>();
}

}  // namespace

class PageRenderer::Page {
 public:
  Page(const PagePlan& plan, bool overwrite) : plan_(plan), tones_(kPiecePixels) {
    for (const PicturePlan& picture : plan.pictures) {
      if (!picture.plane) composite_.emplace(picture, plan.size, overwrite);
    }
    hasPieces_ = composite_.has_value();
    for (size_t i = 0; i < plan.planes.size(); ++i) addPlane(i, overwrite);
    mixer_.emplace(colours_, kPiecePixels);
  }

  void row(uint64_t index, std::span<const PlaneRow> planes) {
    if (index < next_ || index >= plan_.size.height) return;
    blankRowsTo(index);
    ++next_;
    for (Plane& plane : planes_) {
      if (!plane.isPacked) continue;
      plane.rows.gray(bytesOf(planes, plane.index), plane.picture->beginPackedRow());
      plane.picture->endPackedRow();
    }
    if (!hasPieces_) return;
    for (size_t first = 0; first < plan_.size.width; first += kPiecePixels) {
      drawPiece(planes, first, std::min<size_t>(kPiecePixels, plan_.size.width - first));
    }
  }

  /// Makes the rows in front of a row blank that have not been drawn.
  void blankRowsTo(uint64_t row) {
    const uint64_t end = std::min(row, plan_.size.height);
    if (end <= next_) return;
    const uint64_t count = end - next_;
    next_ = end;
    for (Plane& plane : planes_) {
      if (plane.picture) plane.picture->addBlankRows(count);
    }
    if (composite_) composite_->addBlankRows(count);
  }

  /// @param done  gets each picture as soon as it has its name
  void finish(std::vector<Picture>& done) {
    blankRowsTo(plan_.size.height);
    for (const PicturePlan& picture : plan_.pictures) {
      streamOf(picture).finish();
      done.push_back(
          {picture.path, plan_.number, picture.ink, picture.format.width, picture.format.height});
    }
  }

 private:
  void addPlane(size_t index, bool overwrite) {
    const PlaneFormat& format = plan_.planes[index];
    const auto picture =
        std::find_if(plan_.pictures.begin(), plan_.pictures.end(),
                     [index](const PicturePlan& wanted) { return wanted.plane == index; });
    const bool isAlone = picture != plan_.pictures.end();
    const bool isMixed = composite_ && plan_.isShown(format);
    if (!isAlone && !isMixed) return;
    Plane& plane = planes_.emplace_back(Plane{index, PixelRows(format, plan_.isLight), {}, {}, {}});
    if (isAlone) {
      plane.picture.emplace(*picture, plan_.size, overwrite);
      plane.isPacked = picture->isPacked;
    }
    if (isMixed) {
      plane.mixed = colours_.size();
      colours_.push_back(fullColour(format.ink, plan_.isLight));
    }
    hasPieces_ = hasPieces_ || !plane.isPacked;
  }

  void drawPiece(std::span<const PlaneRow> planes, size_t first, size_t pixels) {
    const std::span<uint8_t> tones = std::span(tones_).first(pixels);
    mixer_->begin(pixels);
    for (Plane& plane : planes_) {
      if (plane.isPacked && !plane.mixed) continue;
      plane.rows.tones(bytesOf(planes, plane.index), first, tones);
      if (plane.picture && !plane.isPacked) plane.picture->addPixels(tones);
      if (plane.mixed) mixer_->add(*plane.mixed, tones);
    }
    if (composite_) composite_->addPixels(mixer_->end());
  }

  PictureStream& streamOf(const PicturePlan& picture) {
    if (!picture.plane) return *composite_;
    const auto plane = std::find_if(planes_.begin(), planes_.end(), [&picture](const Plane& drawn) {
      return drawn.index == picture.plane;
    });
    return *plane->picture;
  }

  const PagePlan& plan_;
  std::vector<Plane> planes_;
  std::vector<Rgb> colours_;  // of the mixed planes
  std::optional<InkMixer> mixer_;
  std::optional<PictureStream> composite_;
  bool hasPieces_ = false;  // something is drawn that does not take whole rows
  std::vector<uint8_t> tones_;
  uint64_t next_ = 0;  // row
};

PageRenderer::PageRenderer(std::vector<PagePlan> plans, const RenderOptions& options)
    : plans_(std::move(plans)), overwrite_(options.overwrite), progress_(options.progress) {}

PageRenderer::~PageRenderer() = default;

void PageRenderer::beginPage(const jobreader::PageStart& page) {
  page_.reset();
  const auto plan = std::find_if(plans_.begin(), plans_.end(), [&page](const PagePlan& planned) {
    return planned.number == page.number;
  });
  if (plan != plans_.end()) page_ = std::make_unique<Page>(*plan, overwrite_);
}

void PageRenderer::row(uint64_t index, std::span<const PlaneRow> planes) {
  if (page_) page_->row(index, planes);
}

void PageRenderer::blankRows(uint64_t first, uint64_t count,
                             const jobreader::Command& /*command*/) {
  if (page_) page_->blankRowsTo(first + count);
}

void PageRenderer::endPage(const jobreader::PageEnd& /*end*/) {
  if (!page_) return;
  page_->finish(pictures_);
  page_.reset();
}

void PageRenderer::progress(uint64_t offset) {
  if (progress_) progress_(offset);
}

}  // namespace jobrender
