#include "PhotoBlock.h"

#include <algorithm>

namespace bench {

namespace {

constexpr size_t kStep = 32;         // dots between the places whose brightness is drawn
constexpr size_t kCoarse = 12;       // such places between those of the slow changes
constexpr unsigned kNoiseBits = 11;  // of 16: four levels of 256 up and down
constexpr int32_t kFull = kFullInk;

// 0 to kFull, for a place of a grid.
int32_t random(size_t x, size_t y, size_t seed) {
  return static_cast<int32_t>(scatter((seed << 48U) ^ (y << 24U) ^ x) >> 48U);
}

// Slow changes: between the four places of the coarse grid around.
int32_t slow(size_t x, size_t y, size_t seed) {
  const auto part = [](int32_t from, int32_t to, size_t place) {
    return from + (to - from) / static_cast<int32_t>(kCoarse) * static_cast<int32_t>(place);
  };
  const size_t left = x / kCoarse;
  const size_t top = y / kCoarse;
  const int32_t above = part(random(left, top, seed), random(left + 1, top, seed), x % kCoarse);
  const int32_t below =
      part(random(left, top + 1, seed), random(left + 1, top + 1, seed), x % kCoarse);
  return part(above, below, y % kCoarse);
}

// The inks share most of the picture; black stands in the shadows only, as separations have it.
int32_t inkAt(size_t x, size_t y, size_t ink) {
  const int32_t shared = slow(x, y, 0) * 3 / 4 + random(x, y, 1) / 4;
  if (ink == 0) return std::max(shared * 2 - kFull, 0);
  return shared / 4 * 3 + slow(x, y, 1 + ink) / 4;
}

int32_t between(int32_t from, int32_t to, size_t place) {
  return from + (to - from) * static_cast<int32_t>(place) / static_cast<int32_t>(kStep);
}

// One step of a row: from one brightness to the next, with noise.
void drawStep(int32_t from, int32_t to, uint16_t* dots, size_t count, Numbers& numbers) {
  constexpr size_t kNumbersEach = 4;
  constexpr uint64_t kNoise = (1U << kNoiseBits) - 1;
  uint64_t noise = 0;
  for (size_t i = 0; i < count; ++i) {
    noise = i % kNumbersEach == 0 ? numbers.next() : noise >> 16U;
    const int32_t deviation = static_cast<int32_t>(noise & kNoise) - (1 << (kNoiseBits - 1));
    dots[i] = static_cast<uint16_t>(std::clamp(between(from, to, i) + deviation, 0, kFull));
  }
}

}  // namespace

void PhotoBlock::drawRow(size_t y, std::array<std::vector<uint16_t>, 4>& rows) const {
  if (!box_.hasRow(y)) return;
  for (size_t ink = 0; ink < rows.size(); ++ink) drawInk(y, ink, rows.at(ink));
}

void PhotoBlock::drawInk(size_t y, size_t ink, std::vector<uint16_t>& row) const {
  const size_t gridY = (y - box_.top) / kStep;
  const size_t inStep = (y - box_.top) % kStep;
  const auto brightness = [=](size_t gridX) {
    return between(inkAt(gridX, gridY, ink), inkAt(gridX, gridY + 1, ink), inStep);
  };
  Numbers numbers(y * 4 + ink);
  int32_t from = brightness(0);
  for (size_t x = 0; x < box_.width; x += kStep) {
    const int32_t to = brightness(x / kStep + 1);
    drawStep(from, to, row.data() + box_.left + x, std::min(kStep, box_.width - x), numbers);
    from = to;
  }
}

}  // namespace bench
