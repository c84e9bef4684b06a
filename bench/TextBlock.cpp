#include "TextBlock.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

struct Point {
  double x, y;
};

// Places where strokes begin and end: corners and middles of a letter, as parts of its size.
constexpr size_t kColumns = 3, kRows = 4;
constexpr size_t kStrokes = 4;
constexpr size_t kLinesOfParagraph = 12;
constexpr size_t kShortestWord = 2, kWordLengths = 8;

double distance(const Point& point, const Point& from, const Point& to) {
  const double dx = to.x - from.x;
  const double dy = to.y - from.y;
  const double length = dx * dx + dy * dy;
  double along = 0;
  if (length > 0) along = ((point.x - from.x) * dx + (point.y - from.y) * dy) / length;
  along = std::clamp(along, 0.0, 1.0);
  return std::hypot(point.x - from.x - along * dx, point.y - from.y - along * dy);
}

// A renderer has 256 steps from paper to ink, also where samples have more bits.
uint16_t amount(double covered) {
  const double steps = std::round(std::clamp(covered, 0.0, 1.0) * 255);
  return static_cast<uint16_t>(static_cast<unsigned>(steps) * 257);
}

// The last line of a paragraph ends early.
size_t widthOfLine(size_t line, size_t width, Numbers& numbers) {
  if (line % kLinesOfParagraph != kLinesOfParagraph - 1) return width;
  return width * (2 + numbers.below(6)) / 8;
}

}  // namespace

TypeFace::TypeFace(size_t letterHeight)
    : width_(std::max<size_t>(letterHeight * 5 / 8, 1)),
      height_(letterHeight),
      dots_(kLetters * width_ * height_) {
  for (size_t letter = 0; letter < kLetters; ++letter) drawLetter(letter);
}

void TypeFace::drawLetter(size_t letter) {
  const auto width = static_cast<double>(width_);
  const auto height = static_cast<double>(height_);
  const double halfStroke = height / 14;
  const double margin = halfStroke + 1;
  Numbers numbers(letter);
  const auto place = [&] {
    const auto column = static_cast<double>(numbers.below(kColumns));
    const auto row = static_cast<double>(numbers.below(kRows));
    return Point{margin + column * (width - 3 * margin) / (kColumns - 1),
                 margin + row * (height - 2 * margin) / (kRows - 1)};
  };
  uint16_t* dots = dots_.data() + letter * width_ * height_;
  Point from = place();
  for (size_t stroke = 0; stroke < kStrokes; ++stroke) {
    const Point to = place();
    for (size_t i = 0; i < width_ * height_; ++i) {
      const size_t column = i % width_;
      const size_t row = i / width_;
      const Point dot{static_cast<double>(column) + 0.5, static_cast<double>(row) + 0.5};
      dots[i] = std::max(dots[i], amount(halfStroke + 0.5 - distance(dot, from, to)));
    }
    from = to;
  }
}

const uint16_t* TypeFace::row(size_t letter, size_t y) const {
  return dots_.data() + (letter * height_ + y) * width_;
}

TextBlock::TextBlock(const TypeFace& face, const Box& box, uint64_t seed)
    : face_(&face), box_(box), seed_(seed) {}

void TextBlock::drawRow(size_t y, std::vector<uint16_t>& row) const {
  if (!box_.hasRow(y)) return;
  const size_t line = (y - box_.top) / face_->linePitch();
  const size_t inLine = (y - box_.top) % face_->linePitch();
  if (inLine >= face_->letterHeight()) return;
  Numbers numbers(scatter(seed_) + line);
  const size_t width = face_->letterWidth();
  const size_t end = box_.left + widthOfLine(line, box_.width, numbers);
  size_t x = box_.left;
  while (x + width <= end) {
    for (size_t left = kShortestWord + numbers.below(kWordLengths); left > 0 && x + width <= end;
         --left) {
      const uint16_t* letter = face_->row(numbers.below(TypeFace::kLetters), inLine);
      std::copy_n(letter, width, row.begin() + static_cast<std::ptrdiff_t>(x));
      x += width;
    }
    x += width / 2;
  }
}

}  // namespace bench
