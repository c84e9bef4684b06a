#include "StarterPage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "StarterFont.h"

namespace command {

namespace {

// Amounts of ink, 0 to 255. Integers, so that formulas need no casts.
struct Colour {
  int k = 0;
  int c = 0;
  int m = 0;
  int y = 0;
};

struct Box {
  int left;
  int top;
  int width;
  int height;
};

constexpr int kFull = 255;
constexpr Colour kBlack{kFull};
constexpr Colour kAllInks{kFull, kFull, kFull, kFull};

constexpr int kMargin = 40;
constexpr int kColumn = kPageWidth - 2 * kMargin;

// Dots outside of the page are left out.
class Sheet {
 public:
  Sheet() {
    for (Plate& plate : plates_) plate.samples.assign(size_t{kPageWidth} * kPageHeight, 0);
  }

  void set(int x, int y, const Colour& colour) {
    if (x < 0 || x >= kPageWidth || y < 0 || y >= kPageHeight) return;
    const size_t place = static_cast<size_t>(y) * kPageWidth + static_cast<size_t>(x);
    const std::array<int, 4> amounts = {colour.k, colour.c, colour.m, colour.y};
    for (size_t i = 0; i < amounts.size(); ++i) {
      plates_.at(i).samples[place] = static_cast<uint8_t>(std::clamp(amounts.at(i), 0, kFull));
    }
  }

  /// @param colourAt  the colour of a dot by its place within the box
  template <class Rule>
  void draw(const Box& box, Rule&& colourAt) {
    for (int y = 0; y < box.height; ++y)
      for (int x = 0; x < box.width; ++x) set(box.left + x, box.top + y, colourAt(x, y));
  }

  void fill(const Box& box, const Colour& colour) {
    draw(box, [&colour](int, int) { return colour; });
  }

  void frame(const Box& box, const Colour& colour) {
    fill({box.left, box.top, box.width, 1}, colour);
    fill({box.left, box.top + box.height - 1, box.width, 1}, colour);
    fill({box.left, box.top, 1, box.height}, colour);
    fill({box.left + box.width - 1, box.top, 1, box.height}, colour);
  }

  /// @param scale  dots per dot of a letter
  void write(int left, int top, int scale, std::string_view text) {
    for (const char letter : text) {
      for (int row = 0; row < kGlyphRows; ++row) {
        for (int column = 0; column < kGlyphColumns; ++column) {
          if (!isInked(letter, column, row)) continue;
          fill({left + column * scale, top + row * scale, scale, scale}, kBlack);
        }
      }
      left += (kGlyphColumns + 1) * scale;
    }
  }

  std::array<Plate, 4> take() { return std::move(plates_); }

 private:
  std::array<Plate, 4> plates_ = {{{'K', {}}, {'C', {}}, {'M', {}}, {'Y', {}}}};
};

// The landscape, in dots from its upper left corner ---------------------------------------------

constexpr Box kPicture = {kMargin, 150, kColumn, 270};
constexpr int kSunX = 365;
constexpr int kSunY = 92;
constexpr int kSunRadius = 44;
constexpr int kShore = 215;

// A fir is a triangle.
struct Fir {
  int x;
  int top;
  int foot;
};
constexpr std::array<Fir, 4> kFirs = {
    {{70, 128, 205}, {104, 150, 205}, {36, 158, 205}, {470, 155, 208}}};

int wave(double middle, double height, double length, double shift, int x) {
  return static_cast<int>(std::lround(middle - height * std::sin(x / length + shift)));
}

int farRidge(int x) {
  return wave(158, 26, 64, 0.4, x) - wave(0, 8, 21, 1.0, x);
}

int nearRidge(int x) {
  return wave(196, 16, 88, 1.2, x);
}

bool isFir(int x, int y) {
  return std::any_of(kFirs.begin(), kFirs.end(), [x, y](const Fir& fir) {
    return y >= fir.top && y < fir.foot && 3 * std::abs(x - fir.x) <= y - fir.top;
  });
}

bool isSun(int x, int y) {
  const int dx = x - kSunX;
  const int dy = y - kSunY;
  return dx * dx + dy * dy < kSunRadius * kSunRadius;
}

Colour skyAt(int x, int y) {
  if (isSun(x, y)) return {0, 0, 40 + y / 2, kFull};
  return {0, 190 - y, 60 - y / 8, y / 2};
}

// The sun's light lies on the water in strips that get shorter towards the viewer.
Colour waterAt(int x, int y) {
  const int depth = y - kShore;
  const bool isLight = depth % 8 < 3 && std::abs(x - kSunX) < kSunRadius - depth / 2;
  if (isLight) return {0, 20, 50, 190};
  return {depth, 170 + depth, 60 + depth, 30};
}

Colour landscapeAt(int x, int y) {
  if (isFir(x, y)) return {110, 200, 90, 230};
  if (y >= kShore) return waterAt(x, y);
  if (y >= nearRidge(x)) return {10 + (y - nearRidge(x)), 150, 40, 220};
  if (y >= farRidge(x)) return {20, 130 - (y - farRidge(x)), 80, 40};
  return skyAt(x, y);
}

// The parts of the page ---------------------------------------------------------------------------

void drawCorners(Sheet& sheet) {
  constexpr int kAway = 12;
  constexpr int kLength = 18;
  for (const int x : {kAway, kPageWidth - kAway - kLength}) {
    for (const int y : {kAway, kPageHeight - kAway - 1}) sheet.fill({x, y, kLength, 1}, kAllInks);
  }
  for (const int x : {kAway, kPageWidth - kAway - 1}) {
    for (const int y : {kAway, kPageHeight - kAway - kLength}) {
      sheet.fill({x, y, 1, kLength}, kAllInks);
    }
  }
}

void drawTitle(Sheet& sheet) {
  sheet.write(kMargin, 44, 7, "STARTER JOB");
  sheet.fill({kMargin, 105, kColumn, 4}, {0, kFull, 0, 0});
  sheet.write(kMargin, 122, 2, "600 BY 800 DOTS, 150 PER INCH, FOUR INKS");
}

void drawText(Sheet& sheet) {
  constexpr std::array<std::string_view, 4> kLines = {
      "THIS PAGE IS FOUR FILES, ONE FOR EACH INK.",
      "A SAMPLE SAYS HOW MUCH INK ITS DOT GETS:", "0 IS NONE, 255 IS FULL. PUT YOUR OWN FILES",
      "IN THEIR PLACE AND RUN THE JOB AGAIN."};
  int top = 440;
  for (const std::string_view line : kLines) {
    sheet.write(kMargin, top, 2, line);
    top += 22;
  }
}

void drawPatches(Sheet& sheet) {
  struct Patch {
    std::string_view name;
    Colour colour;
  };
  constexpr std::array<Patch, 8> kPatches = {{{"K", kBlack},
                                              {"C", {0, kFull, 0, 0}},
                                              {"M", {0, 0, kFull, 0}},
                                              {"Y", {0, 0, 0, kFull}},
                                              {"C+M", {0, kFull, kFull, 0}},
                                              {"M+Y", {0, 0, kFull, kFull}},
                                              {"C+Y", {0, kFull, 0, kFull}},
                                              {"CMY", {0, kFull, kFull, kFull}}}};
  constexpr int kTop = 544;
  constexpr int kSide = 58;
  constexpr int kStep = (kColumn - kSide) / 7;
  int left = kMargin;
  for (const Patch& patch : kPatches) {
    sheet.fill({left, kTop, kSide, kSide}, patch.colour);
    sheet.write(left, kTop + kSide + 6, 2, patch.name);
    left += kStep;
  }
}

void drawRamps(Sheet& sheet) {
  constexpr int kTop = 644;
  constexpr int kHeight = 22;
  constexpr int kLabel = 24;
  constexpr int kLength = kColumn - kLabel;
  const auto amount = [](int x) { return x * kFull / (kLength - 1); };
  int top = kTop;
  for (const char ink : {'K', 'C', 'M', 'Y'}) {
    sheet.write(kMargin, top + 4, 2, std::string_view(&ink, 1));
    const Box box = {kMargin + kLabel, top, kLength, kHeight};
    sheet.draw(box, [ink, &amount](int x, int) {
      return Colour{ink == 'K' ? amount(x) : 0, ink == 'C' ? amount(x) : 0,
                    ink == 'M' ? amount(x) : 0, ink == 'Y' ? amount(x) : 0};
    });
    sheet.frame(box, kBlack);
    top += kHeight + 6;
  }
}

}  // namespace

std::array<Plate, 4> drawStarterPage() {
  Sheet sheet;
  drawCorners(sheet);
  drawTitle(sheet);
  sheet.draw(kPicture, landscapeAt);
  sheet.frame(kPicture, kBlack);
  drawText(sheet);
  drawPatches(sheet);
  drawRamps(sheet);
  return sheet.take();
}

}  // namespace command
