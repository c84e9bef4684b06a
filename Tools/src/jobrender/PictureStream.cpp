#include "PictureStream.h"

#include <algorithm>

#include "InkColours.h"

namespace jobrender {

PictureStream::PictureStream(const PicturePlan& plan, PictureSize size, bool overwrite)
    : file_(std::make_unique<PngFile>(plan.path, plan.format, overwrite)) {
  const PictureSize scaled = {plan.format.width, plan.format.height};
  if (scaled == size) {
    row_.resize(plan.format.rowBytes());
    return;
  }
  PngFile* const file = file_.get();
  scaler_.emplace(size, scaled, plan.format.isColour ? 3 : 1,
                  [file](std::span<const uint8_t> row) { file->writeRow(row); });
}

void PictureStream::addPixels(std::span<const uint8_t> pixels) {
  if (scaler_) {
    scaler_->addPixels(pixels);
    return;
  }
  std::copy(pixels.begin(), pixels.end(), row_.begin() + static_cast<std::ptrdiff_t>(filled_));
  filled_ += pixels.size();
  if (filled_ < row_.size()) return;
  filled_ = 0;
  file_->writeRow(row_);
}

void PictureStream::addBlankRows(uint64_t count) {
  if (scaler_) {
    scaler_->addBlankRows(count);
    return;
  }
  std::fill(row_.begin(), row_.end(), kPaper);
  for (uint64_t i = 0; i < count; ++i) file_->writeRow(row_);
}

}  // namespace jobrender
