#include "PageImages.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

constexpr size_t kBodyHeight = 64, kHeadlineHeight = 280;  // dots at 600 dpi
constexpr double kLine = 5;                                // thickness of line art

// Inks a span of a row whose ends need not fall on dots.
void drawSpan(InkRow& row, const Box& box, double from, double to) {
  const auto left = static_cast<double>(box.left);
  const double first = std::clamp(from, left, left + static_cast<double>(box.width));
  const double last = std::clamp(to, first, left + static_cast<double>(box.width));
  if (first == last) return;
  const auto begin = static_cast<size_t>(first);
  const auto end = static_cast<size_t>(last);
  const auto blend = [&row](size_t x, double covered) {
    if (x < row.size()) row[x] = std::max(row[x], static_cast<uint16_t>(covered * kFullInk));
  };
  if (begin == end) return blend(begin, last - first);
  blend(begin, static_cast<double>(begin + 1) - first);
  std::fill(row.begin() + static_cast<std::ptrdiff_t>(begin) + 1,
            row.begin() + static_cast<std::ptrdiff_t>(end), kFullInk);
  blend(end, last - static_cast<double>(end));
}

// Rules, slanted lines and circles round the middle, as a chart or a plan has them.
void drawLineArt(size_t y, const Box& box, InkRow& row) {
  constexpr size_t kRules = 150, kSlants = 6, kCircles = 9;
  if (!box.hasRow(y)) return;
  const auto left = static_cast<double>(box.left);
  const auto width = static_cast<double>(box.width);
  const auto inBox = static_cast<double>(y - box.top);
  if ((y - box.top) % kRules < static_cast<size_t>(kLine)) drawSpan(row, box, left, left + width);
  for (size_t i = 0; i < kSlants; ++i) {
    const auto number = static_cast<double>(i);
    const double x = left + std::fmod(width * number / kSlants + inBox * (0.2 + number / 9), width);
    drawSpan(row, box, x, x + kLine);
  }
  const double fromMiddle = std::abs(inBox - static_cast<double>(box.height) / 2);
  for (size_t i = 1; i <= kCircles; ++i) {
    const double outer = static_cast<double>(box.height * i) / (2 * kCircles);
    if (fromMiddle >= outer) continue;
    const double inner = std::max(outer - kLine, fromMiddle);
    const double to = std::sqrt(outer * outer - fromMiddle * fromMiddle);
    const double from = std::sqrt(inner * inner - fromMiddle * fromMiddle);
    drawSpan(row, box, left + width / 2 + from, left + width / 2 + to);
    drawSpan(row, box, left + width / 2 - to, left + width / 2 - from);
  }
}

// From paper to full ink, along the row and a little down the page.
void drawGradient(size_t y, const Box& box, bool isLeftward, InkRow& row) {
  if (!box.hasRow(y)) return;
  const uint64_t across = (uint64_t{kFullInk} << 15U) / std::max<size_t>(box.width, 1);
  const uint64_t down = (uint64_t{kFullInk} << 14U) / std::max<size_t>(box.height, 1);
  const uint64_t start = (y - box.top) * down;
  for (size_t x = 0; x < box.width; ++x) {
    const size_t place = isLeftward ? box.width - 1 - x : x;
    const uint64_t ink = (start + across * place) >> 15U;
    row[box.left + x] = static_cast<uint16_t>(std::min<uint64_t>(ink, kFullInk));
  }
}

}  // namespace

PageImage::PageImage(size_t width, size_t height, Content content)
    : width_(width),
      height_(height),
      content_(content),
      photo_(content == Content::kPhoto ? part(0, 0, 1, 1) : part(0.50, 0.12, 0.45, 0.34)),
      lineArt_(part(0.50, 0.72, 0.45, 0.12)),
      tint_(part(0.50, 0.86, 0.45, 0.07)),
      footer_(part(0, 0.97, 1, 0.03)),
      bodyFace_(kBodyHeight),
      headlineFace_(kHeadlineHeight),
      headline_(headlineFace_, part(0.05, 0.04, 0.90, 0.06), 1),
      leftColumn_(bodyFace_, part(0.05, 0.12, 0.42, 0.81), 2),
      rightColumn_(bodyFace_, part(0.50, 0.48, 0.45, 0.22), 3) {}

Box PageImage::part(double left, double top, double width, double height) const {
  const auto dots = [](double share, size_t whole) {
    return static_cast<size_t>(share * static_cast<double>(whole));
  };
  return {dots(left, width_), dots(top, height_), dots(width, width_), dots(height, height_)};
}

void PageImage::drawRow(size_t y, InkRows& rows) const {
  for (InkRow& row : rows) row.assign(width_, 0);
  if (content_ == Content::kMixed) drawMixed(y, rows);
  photo_.drawRow(y, rows);
}

void PageImage::drawMixed(size_t y, InkRows& rows) const {
  headline_.drawRow(y, rows[kCyan]);
  headline_.drawRow(y, rows[kMagenta]);
  leftColumn_.drawRow(y, rows[kBlack]);
  rightColumn_.drawRow(y, rows[kBlack]);
  drawLineArt(y, lineArt_, rows[kBlack]);
  drawGradient(y, tint_, false, rows[kYellow]);
  drawGradient(y, tint_, true, rows[kMagenta]);
  drawGradient(y, footer_, false, rows[kCyan]);
  drawGradient(y, footer_, true, rows[kMagenta]);
}

}  // namespace bench
