// Tests of the ink colours: alone, over each other, and as light.
#include "InkColours.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <vector>

#include "TempFolder.h"

namespace jobrender {

void PrintTo(const Rgb& colour, std::ostream* out) {
  *out << int{colour.red} << ' ' << int{colour.green} << ' ' << int{colour.blue};
}

namespace {

using jobreader::Ink;

// One piece: the tones of each plane.
Bytes mix(const std::vector<Rgb>& colours, const std::vector<Bytes>& planes) {
  const size_t pixels = planes.front().size();
  InkMixer mixer(colours, pixels);
  mixer.begin(pixels);
  for (size_t i = 0; i < planes.size(); ++i) mixer.add(i, planes[i]);
  const auto rgb = mixer.end();
  return {rgb.begin(), rgb.end()};
}

TEST(InkColours, FullInkHasItsColourAndNoInkIsPaper) {
  for (const InkColour& entry : kInkColours) {
    SCOPED_TRACE(jobreader::inkInfo(entry.ink)->title);
    const Rgb full = fullColour(entry.ink, false);
    EXPECT_EQ(full, entry.full);
    EXPECT_EQ(mix({full}, {{0, 255}}), (Bytes{full.red, full.green, full.blue, 255, 255, 255}));
  }
}

TEST(InkColours, LightInksAreLighterAndGraysAreGray) {
  EXPECT_GT(fullColour(Ink::c, false).red, fullColour(Ink::C, false).red);
  EXPECT_GT(fullColour(Ink::m, false).green, fullColour(Ink::M, false).green);
  EXPECT_GT(fullColour(Ink::Pgy, false).red, fullColour(Ink::Gy, false).red);
  EXPECT_GT(fullColour(Ink::Gy, false).red, fullColour(Ink::MBK, false).red);
}

TEST(InkColours, UnknownInksDoNotShow) {
  EXPECT_EQ(fullColour(Ink::kUnknown, false), (Rgb{255, 255, 255}));
  EXPECT_EQ(fullColour(Ink::kUnknown, true), (Rgb{255, 255, 255}));
}

TEST(InkColours, OnlyCoatingsAreCoatings) {
  EXPECT_TRUE(isCoating(Ink::CO));
  EXPECT_TRUE(isCoating(Ink::CO2));
  EXPECT_FALSE(isCoating(Ink::C));
  EXPECT_FALSE(isCoating(Ink::kUnknown));
}

TEST(InkMixer, AnInkTakesItsShareOfTheLight) {
  // 1 - 51/255 * (1 - 55/255) = 0.84314, of 255: 215
  EXPECT_EQ(mix({{55, 255, 0}}, {{204}}), (Bytes{215, 255, 204}));
}

TEST(InkMixer, InksMultiply) {
  // A fifth of an ink of 0 lets 204 through, another of 128 over it 204 * 128 / 255 = 102.4.
  EXPECT_EQ(mix({{0, 255, 255}, {128, 255, 0}}, {{204, 204}, {0, 255}}),
            (Bytes{102, 255, 0, 204, 255, 255}));
}

TEST(InkMixer, ManyInksStayExact) {
  // Each of thirteen inks lets 9/10 through: 0.9 to the 13th is 0.2542, of 255: 64.8.
  const std::vector<Rgb> colours(13, Rgb{0, 0, 0});
  const std::vector<Bytes> planes(13, Bytes{230});
  const double share = 230.0 / 255.0;
  double left = 255;
  for (size_t i = 0; i < planes.size(); ++i) left *= share;
  EXPECT_NEAR(mix(colours, planes)[0], left, 0.6);
}

TEST(InkMixer, PlanesOfLightAreTheirTones) {
  const std::vector<Rgb> rgb = {fullColour(Ink::R, true), fullColour(Ink::G, true),
                                fullColour(Ink::B, true)};
  for (int tone = 0; tone < 256; ++tone) {
    const auto red = static_cast<uint8_t>(tone);
    const auto green = static_cast<uint8_t>(255 - tone);
    const auto blue = static_cast<uint8_t>(tone / 2);
    EXPECT_EQ(mix(rgb, {{red}, {green}, {blue}}), (Bytes{red, green, blue}));
    EXPECT_EQ(mix({fullColour(Ink::K, true)}, {{red}}), (Bytes{red, red, red}));
  }
}

TEST(InkMixer, EachPieceBeginsWithPaper) {
  const std::vector<Rgb> colours = {{0, 0, 0}};
  InkMixer mixer(colours, 3);
  mixer.begin(3);
  mixer.add(0, Bytes{0, 0, 0});
  EXPECT_THAT(mixer.end(), testing::SizeIs(9));
  mixer.begin(1);
  EXPECT_THAT(mixer.end(), testing::ElementsAre(255, 255, 255));
  mixer.begin(2);
  mixer.add(0, Bytes{255, 0});
  EXPECT_THAT(mixer.end(), testing::ElementsAre(255, 255, 255, 0, 0, 0));
}

}  // namespace
}  // namespace jobrender
