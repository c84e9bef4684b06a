// TextBlock - lines of what looks like text: strokes of even thickness in letters, letters in
// words, words in paragraphs. The edges are smooth.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Box.h"

namespace bench {

/// Letters of one size, drawn once.
class TypeFace {
 public:
  /// @param letterHeight  of the tallest letters, in dots
  explicit TypeFace(size_t letterHeight);

  [[nodiscard]] size_t letterWidth() const { return width_; }
  [[nodiscard]] size_t letterHeight() const { return height_; }
  [[nodiscard]] size_t linePitch() const { return height_ * 3 / 2; }
  /// One row of a letter: letterWidth() dots, 0 to kFullInk.
  [[nodiscard]] const uint16_t* row(size_t letter, size_t y) const;

  static constexpr size_t kLetters = 48;

 private:
  void drawLetter(size_t letter);

  size_t width_, height_;
  std::vector<uint16_t> dots_;  // of all letters, one behind the other
};

class TextBlock {
 public:
  /// @param face  has to outlive the block
  TextBlock(const TypeFace& face, const Box& box, uint64_t seed);

  /// Sets the dots of row `y` of the page that letters cover, and leaves the others.
  void drawRow(size_t y, std::vector<uint16_t>& row) const;

 private:
  const TypeFace* face_;
  Box box_;
  uint64_t seed_;
};

}  // namespace bench
