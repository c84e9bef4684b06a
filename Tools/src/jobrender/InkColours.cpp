#include "InkColours.h"

#include <algorithm>

namespace jobrender {

using jobreader::Ink;

namespace {

// Shares are fixed-point numbers: the same on every machine, and a product fits 32 bits. Thirteen
// inks, each rounded once, are off by less than a tenth of the last bit of the picture.
constexpr int kShareBits = 15;
constexpr uint32_t kOne = uint32_t{1} << kShareBits;
constexpr uint32_t kHalf = kOne / 2;

constexpr bool isInOrder() {
  for (size_t i = 0; i < kInkColours.size(); ++i) {
    if (static_cast<size_t>(kInkColours[i].ink) != i) return false;
  }
  return true;
}
static_assert(isInOrder(), "found by number");

constexpr uint16_t shareOf(uint8_t full, uint32_t tone) {
  const uint32_t most = uint32_t{kPaper} * kPaper;
  const uint32_t taken = (kPaper - tone) * (uint32_t{kPaper} - full);
  return static_cast<uint16_t>(((most - taken) * kOne + most / 2) / most);
}

constexpr uint16_t through(uint16_t light, uint16_t share) {
  return static_cast<uint16_t>((uint32_t{light} * share + kHalf) >> kShareBits);
}

constexpr uint8_t toByte(uint16_t light) {
  return static_cast<uint8_t>((light * uint32_t{kPaper} + kHalf) >> kShareBits);
}

bool isPaper(std::span<const uint8_t> tones) {
  return std::all_of(tones.begin(), tones.end(), [](uint8_t tone) { return tone == kPaper; });
}

}  // namespace

Rgb fullColour(Ink ink, bool isLight) {
  if (isLight && ink == Ink::R) return {0, kPaper, kPaper};
  if (isLight && ink == Ink::G) return {kPaper, 0, kPaper};
  if (isLight && ink == Ink::B) return {kPaper, kPaper, 0};
  if (isLight && ink == Ink::K) return {0, 0, 0};
  const auto index = static_cast<size_t>(ink);
  return index < kInkColours.size() ? kInkColours[index].full : Rgb{};
}

InkMixer::InkMixer(std::span<const Rgb> colours, size_t mostPixels)
    : light_(mostPixels), rgb_(mostPixels * 3) {
  shares_.reserve(colours.size());
  for (const Rgb& colour : colours) shares_.push_back(sharesOf(colour));
}

InkMixer::Shares InkMixer::sharesOf(Rgb full) {
  Shares shares = {};
  for (uint32_t tone = 0; tone < shares.size(); ++tone) {
    shares[tone] = {shareOf(full.red, tone), shareOf(full.green, tone), shareOf(full.blue, tone)};
  }
  return shares;
}

void InkMixer::begin(size_t pixels) {
  pixels_ = pixels;
  isPaper_ = true;
}

void InkMixer::add(size_t plane, std::span<const uint8_t> tones) {
  if (isPaper(tones)) return;
  const Shares& shares = shares_[plane];
  if (isPaper_) {
    isPaper_ = false;
    std::transform(tones.begin(), tones.end(), light_.begin(),
                   [&shares](uint8_t tone) { return shares[tone]; });
    return;
  }
  for (size_t i = 0; i < tones.size(); ++i) {
    const Share& share = shares[tones[i]];
    Share& light = light_[i];
    light.red = through(light.red, share.red);
    light.green = through(light.green, share.green);
    light.blue = through(light.blue, share.blue);
  }
}

std::span<const uint8_t> InkMixer::end() {
  const std::span<uint8_t> rgb = std::span(rgb_).first(pixels_ * 3);
  if (isPaper_) {
    std::fill(rgb.begin(), rgb.end(), kPaper);
    return rgb;
  }
  for (size_t i = 0; i < pixels_; ++i) {
    rgb[3 * i] = toByte(light_[i].red);
    rgb[3 * i + 1] = toByte(light_[i].green);
    rgb[3 * i + 2] = toByte(light_[i].blue);
  }
  return rgb;
}

}  // namespace jobrender
