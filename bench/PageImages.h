// PageImages - draws pages as a print shop has them, row by row: paper for the most part, columns
// of text, line art, gradients, a noisy photo. The same page has the same dots on every machine.
// Knows nothing of files.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "PhotoBlock.h"
#include "TextBlock.h"

namespace bench {

enum class Content {
  kMixed,  ///< about 15 % photo, the rest text, line art, gradients and paper
  kPhoto,  ///< one photo over the whole page
};

/// Places in InkRows.
enum Ink : size_t { kBlack, kCyan, kMagenta, kYellow, kInkCount };

/// Dots of each ink: 0 is paper, 65535 full ink.
using InkRow = std::vector<uint16_t>;
using InkRows = std::array<InkRow, kInkCount>;

class PageImage {
 public:
  /// @param width, height  in dots; text has the size of 10 points at 600 dpi whatever they are
  PageImage(size_t width, size_t height, Content content);
  PageImage(const PageImage&) = delete;
  PageImage& operator=(const PageImage&) = delete;

  [[nodiscard]] size_t width() const { return width_; }
  [[nodiscard]] size_t height() const { return height_; }

  /// Draws row `y` over what is in `rows`, which get the page's width.
  void drawRow(size_t y, InkRows& rows) const;

 private:
  [[nodiscard]] Box part(double left, double top, double width, double height) const;
  void drawMixed(size_t y, InkRows& rows) const;

  size_t width_, height_;
  Content content_;
  PhotoBlock photo_;
  Box lineArt_, tint_, footer_;
  TypeFace bodyFace_, headlineFace_;
  TextBlock headline_, leftColumn_, rightColumn_;
};

}  // namespace bench
