// InkColours - how inks look on white paper, alone and over each other. The colours are those of a
// plausible ink set, for looking at a page and not for measuring it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Inks.h"

namespace jobrender {

/// The tone of paper: tones are 255 where there is no ink and 0 where there is all of it.
constexpr uint8_t kPaper = 255;

struct Rgb {
  uint8_t red = kPaper;
  uint8_t green = kPaper;
  uint8_t blue = kPaper;
  bool operator==(const Rgb&) const = default;
};

struct InkColour {
  jobreader::Ink ink;
  Rgb full;  // all of the ink on white
};

/// In the order of the inks. A coating is clear; its tint only shows where it is.
inline constexpr std::array<InkColour, jobreader::kInkCount> kInkColours = {{
    {jobreader::Ink::PBK, {22, 22, 24}},
    {jobreader::Ink::MBK, {36, 36, 36}},
    {jobreader::Ink::K, {28, 27, 28}},
    {jobreader::Ink::C, {0, 160, 225}},
    {jobreader::Ink::M, {225, 0, 125}},
    {jobreader::Ink::Y, {255, 235, 0}},
    {jobreader::Ink::c, {140, 208, 240}},
    {jobreader::Ink::m, {242, 150, 196}},
    {jobreader::Ink::Gy, {122, 122, 124}},
    {jobreader::Ink::Pgy, {180, 180, 182}},
    {jobreader::Ink::R, {222, 45, 38}},
    {jobreader::Ink::G, {0, 150, 75}},
    {jobreader::Ink::B, {45, 60, 150}},
    {jobreader::Ink::CO, {244, 236, 255}},
    {jobreader::Ink::CO2, {232, 250, 240}},
}};

constexpr bool isCoating(jobreader::Ink ink) {
  return ink == jobreader::Ink::CO || ink == jobreader::Ink::CO2;
}

/// The colour of a plane that is 0 everywhere in tone; paper for an ink that is not known.
/// @param isLight  the plane holds light: none of red leaves green and blue, none of K is black
Rgb fullColour(jobreader::Ink ink, bool isLight);

/// Puts inks over each other: each lets through its share of the light that comes from those below,
///   channel = product over the inks of (1 - a * (1 - full colour)), a = 1 - tone / 255.
/// For red, green and blue planes of light that is their tones.
class InkMixer {
 public:
  /// @param colours    of each plane that takes part
  /// @param mostPixels longest piece of a row
  InkMixer(std::span<const Rgb> colours, size_t mostPixels);

  /// Begins a piece of `pixels` pixels of bare paper.
  void begin(size_t pixels);
  /// Adds a plane, each at most once a piece.
  /// @param tones  one for each pixel of the piece
  void add(size_t plane, std::span<const uint8_t> tones);
  /// The piece: R, G, B for each pixel. Valid until the next begin().
  std::span<const uint8_t> end();

 private:
  // Light that a plane lets through at a tone, 0..kOne.
  struct Share {
    uint16_t red, green, blue;
  };
  using Shares = std::array<Share, 256>;

  static Shares sharesOf(Rgb full);

  std::vector<Shares> shares_;  // by plane
  std::vector<Share> light_;    // of the piece, by pixel
  std::vector<uint8_t> rgb_;
  size_t pixels_ = 0;    // of the piece
  bool isPaper_ = true;  // the piece has no ink; light_ is not set
};

}  // namespace jobrender
