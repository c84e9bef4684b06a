#include "AnnouncedInks.h"

#include <algorithm>
#include <initializer_list>

namespace jobcheck {

namespace {

constexpr int32_t kRowRgb = 2, kRowInkIndex = 4, kRowBiLevel = 5, kPixelRgb = 18;

// Depths are bytes with a sign in the block: above 0 is there, below 0 is not, 0 is neither.
class Depths {
 public:
  explicit Depths(const imageParameter& page) : page_(page) {}

  [[nodiscard]] bool arePresent(std::initializer_list<Ink> inks) const {
    return std::all_of(inks.begin(), inks.end(), [this](Ink ink) { return of(ink) > 0; });
  }
  [[nodiscard]] bool areAbsent(std::initializer_list<Ink> inks) const {
    return std::all_of(inks.begin(), inks.end(), [this](Ink ink) { return of(ink) < 0; });
  }

 private:
  [[nodiscard]] int8_t of(Ink ink) const { return static_cast<int8_t>(page_.*kInks[ink].depth); }

  const imageParameter& page_;
};

const std::vector<Ink> kFourInks = {kInkK, kInkC, kInkM, kInkY};

std::vector<Ink> inkSet(const Depths& depths) {
  std::vector<Ink> inks = {kInkPBK, kInkMBK, kInkC, kInkM, kInkY};
  if (!depths.arePresent({kInkPBK, kInkMBK, kInkC, kInkM, kInkY})) return kFourInks;
  if (depths.areAbsent({kInkc, kInkm, kInkGy, kInkPgy, kInkR, kInkB, kInkCO, kInkCO2})) return inks;
  if (!depths.arePresent({kInkc, kInkm, kInkGy})) return kFourInks;
  inks.insert(inks.end(), {kInkc, kInkm, kInkGy});
  if (depths.areAbsent({kInkPgy, kInkR, kInkB, kInkCO, kInkCO2})) return inks;
  if (!depths.arePresent({kInkPgy, kInkR, kInkB, kInkCO})) return kFourInks;
  inks.insert(inks.end(), {kInkPgy, kInkR, kInkB, kInkCO});
  if (depths.areAbsent({kInkCO2})) return inks;
  if (!depths.arePresent({kInkCO2})) return kFourInks;
  inks.push_back(kInkCO2);
  return inks;
}

}  // namespace

std::vector<Ink> announcedInks(const imageParameter& page) {
  const Depths depths(page);
  const int32_t space = page.ColorSpace;
  if (space == kRowRgb && depths.arePresent({kInkK}) && depths.areAbsent({kInkR, kInkG, kInkB})) {
    return {kInkK};
  }
  if (space == kRowRgb || space == kPixelRgb) return {kInkR, kInkG, kInkB};
  return space == kRowInkIndex || space == kRowBiLevel ? inkSet(depths) : kFourInks;
}

size_t configureBlockBytes(const imageParameter& page) {
  // Colour space, number of planes, and two bytes for each ink, behind ESC$v, their number and W.
  const size_t parameters = 2 + 2 * announcedInks(page).size();
  constexpr size_t kTwoDigits = 10;
  return parameters + (parameters < kTwoDigits ? 5 : 6);
}

}  // namespace jobcheck
