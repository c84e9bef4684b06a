#include "AreaScaler.h"

#include <algorithm>
#include <array>
#include <utility>

#include "InkColours.h"

namespace jobrender {

namespace {

constexpr double kHalf = 0.5;  // values are positive: adding it rounds

}  // namespace

AreaScaler::AreaScaler(PictureSize from, PictureSize to, size_t channels, RowSink sink)
    : from_(from),
      to_(to),
      channels_(channels),
      sink_(std::move(sink)),
      rowLeft_(from.height),
      across_(to.width * channels),
      down_(to.width * channels),
      row_(to.width * channels) {
  beginColumn(0);
}

void AreaScaler::addPixels(std::span<const uint8_t> pixels) {
  if (channels_ == 1) {
    addAcross<1>(pixels.data(), pixels.size());
  } else {
    addAcross<3>(pixels.data(), pixels.size() / 3);
  }
  if (column_ < to_.width) return;
  addDown(to_.height);
  std::fill(across_.begin(), across_.end(), 0.0);
  column_ = 0;
  beginColumn(0);
}

// `covered` is what the pixel before has put into the column already.
void AreaScaler::beginColumn(uint32_t covered) {
  const uint32_t left = from_.width - covered;
  wholeLeft_ = left / to_.width;
  partLeft_ = left % to_.width;
}

template <size_t kChannels>
void AreaScaler::addAcross(const uint8_t* pixels, size_t count) {
  const uint8_t* const end = pixels + count * kChannels;
  while (pixels != end) {
    double* const sums = &across_[column_ * kChannels];
    const auto left = static_cast<size_t>(end - pixels) / kChannels;
    const size_t whole = std::min<size_t>(left, wholeLeft_);
    std::array<uint64_t, kChannels> sum = {};
    for (size_t i = 0; i < whole; ++i) {
      for (size_t c = 0; c < kChannels; ++c) sum[c] += *pixels++;
    }
    for (size_t c = 0; c < kChannels; ++c) sums[c] += static_cast<double>(sum[c] * to_.width);
    wholeLeft_ -= static_cast<uint32_t>(whole);
    if (wholeLeft_ > 0) return;
    if (partLeft_ > 0 && pixels == end) return;

    ++column_;
    const uint32_t part = partLeft_;
    const uint32_t covered = part > 0 ? to_.width - part : 0;
    beginColumn(covered);
    if (part == 0) continue;
    for (size_t c = 0; c < kChannels; ++c) {
      const uint32_t value = *pixels++;
      sums[c] += static_cast<double>(uint64_t{value} * part);
      sums[c + kChannels] += static_cast<double>(uint64_t{value} * covered);
    }
  }
}

void AreaScaler::addDown(uint64_t weight) {
  while (weight > 0) {
    const uint64_t taken = std::min(weight, rowLeft_);
    const auto factor = static_cast<double>(taken);
    for (size_t i = 0; i < down_.size(); ++i) down_[i] += across_[i] * factor;
    weight -= taken;
    rowLeft_ -= taken;
    if (rowLeft_ == 0) endRow();
  }
}

void AreaScaler::addBlankRows(uint64_t count) {
  addPaperDown(count * to_.height);
}

void AreaScaler::addPaperDown(uint64_t weight) {
  const double paper = kPaper * static_cast<double>(from_.width);
  while (weight > 0) {
    const uint64_t taken = std::min(weight, rowLeft_);
    const double added = paper * static_cast<double>(taken);
    for (double& sum : down_) sum += added;
    weight -= taken;
    rowLeft_ -= taken;
    if (rowLeft_ == 0) endRow();
  }
}

void AreaScaler::endRow() {
  const double whole = static_cast<double>(from_.width) * static_cast<double>(from_.height);
  for (size_t i = 0; i < row_.size(); ++i) row_[i] = static_cast<uint8_t>(down_[i] / whole + kHalf);
  std::fill(down_.begin(), down_.end(), 0.0);
  rowLeft_ = from_.height;
  sink_(row_);
}

}  // namespace jobrender
