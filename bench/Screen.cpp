#include "Screen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>

namespace bench {

namespace {

constexpr size_t kCell = 16;  // two dots at 45 degrees: 53 lines an inch at 600 dpi
using Thresholds = std::array<std::array<uint16_t, kCell>, kCell>;

// The places of a cell grow black from the middles of the dots outwards.
double order(size_t place) {
  constexpr double kTurn = 2 * std::numbers::pi / kCell;
  const size_t column = place % kCell;
  const size_t row = place / kCell;
  const auto x = static_cast<double>(column);
  const auto y = static_cast<double>(row);
  return std::cos(kTurn * (x + y)) + std::cos(kTurn * (x - y));
}

Thresholds makeThresholds() {
  std::array<size_t, kCell * kCell> places{};
  std::iota(places.begin(), places.end(), size_t{0});
  // Rounded, because the last digits of a cosine differ between machines.
  const auto rank = [](size_t place) { return std::lround(order(place) * -1e6); };
  std::stable_sort(places.begin(), places.end(),
                   [&rank](size_t a, size_t b) { return rank(a) < rank(b); });
  Thresholds thresholds{};
  for (size_t i = 0; i < places.size(); ++i) {
    const size_t place = places.at(i);
    thresholds.at(place / kCell).at(place % kCell) = static_cast<uint16_t>(i * 255 + 128);
  }
  return thresholds;
}

// How dark the inks are together.
uint32_t darkness(const InkRows& rows, size_t x) {
  return rows[kBlack][x] + (rows[kCyan][x] * 4U + rows[kMagenta][x] * 6U + rows[kYellow][x]) / 11U;
}

}  // namespace

void screenRow(const InkRows& rows, size_t y, std::vector<uint8_t>& out) {
  static const Thresholds thresholds = makeThresholds();
  const std::array<uint16_t, kCell>& threshold = thresholds.at(y % kCell);
  std::fill(out.begin(), out.end(), uint8_t{0});
  for (size_t x = 0; x < rows[kBlack].size(); ++x) {
    const unsigned dot = darkness(rows, x) > threshold[x % kCell] ? 1 : 0;
    out[x / 8] = static_cast<uint8_t>(out[x / 8] | dot << (7 - x % 8));
  }
}

}  // namespace bench
