// Tests of the configure block: what each of its eight layouts says of the planes of a row, and at
// which byte something that is no block goes wrong.
#include "ConfigureBlock.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Damage.h"
#include "Inks.h"
#include "RasterSink.h"
#include "TempFolder.h"

namespace {

using jobreader::hasHalves;
using jobreader::Ink;
using jobreader::PageFormat;
using jobreader::PlaneFormat;

// Byte i of a block seems to stand at 1000 + 3 i.
uint64_t placeOf(size_t position) {
  return 1000 + 3 * position;
}

PageFormat formatOf(const Bytes& block) {
  return jobreader::readConfigureBlock(block, placeOf);
}

// "C/2 c/2?": names with their depths, and a question mark where the block does not say them.
std::string planesOf(const PageFormat& format) {
  std::string text;
  for (const PlaneFormat& plane : format.planes) {
    if (!text.empty()) text += " ";
    text += plane.name + "/" + std::to_string(plane.depth) + (plane.assumed ? "?" : "");
  }
  return text;
}

struct Layout {
  const char* name;
  Bytes block;
  int colorSpace;
  uint8_t blank;
  const char* planes;
};

void expectFormats(const std::vector<Layout>& layouts) {
  for (const Layout& c : layouts) {
    SCOPED_TRACE(c.name);
    const PageFormat format = formatOf(c.block);
    EXPECT_EQ(format.colorSpace, c.colorSpace);
    EXPECT_EQ(format.blank, c.blank);
    EXPECT_EQ(format.isLight(), c.blank == 0xFF);
    EXPECT_EQ(planesOf(format), c.planes);
  }
}

TEST(ConfigureBlock, EachLayoutNamesItsPlanes) {
  expectFormats({
      {"4 bytes: gray", {0x02, 1, 0x05, 8}, 2, 0xFF, "K/8"},
      {"8 bytes: red, green, blue", {0x02, 3, 0x02, 8, 0x03, 8, 0x04, 8}, 2, 0xFF, "R/8 G/8 B/8"},
      {"10 bytes, the third 0: black alone", {0x05, 1, 0x00, 0, 0, 0, 2, 0, 0, 0}, 5, 0x00, "K/2"},
      {"10 bytes, the third 5: black, cyan, magenta, yellow",
       {0x05, 4, 0x05, 1, 0x06, 2, 0x07, 3, 0x08, 4},
       5,
       0x00,
       "K/1 C/2 M/3 Y/4"},
      {"12 bytes: two blacks",
       {0x05, 5, 0x09, 1, 0x0A, 2, 0x06, 3, 0x07, 4, 0x08, 5},
       5,
       0x00,
       "PBK/1 MBK/2 C/3 M/4 Y/5"},
      {"18 bytes: light inks and gray",
       {0x04, 8, 0x09, 1, 0x0A, 2, 0x06, 3, 0x07, 4, 0x08, 5, 0x0B, 6, 0x0C, 7, 0x0D, 8},
       4,
       0x00,
       "PBK/1 MBK/2 C/3 M/4 Y/5 c/6 m/7 Gy/8"},
      {"26 bytes: photo gray, red, blue and coating",
       {0x05, 12,   0x09, 1,    0x0A, 2,    0x06, 3,    0x07, 4,    0x08, 5,    0x0B,
        6,    0x0C, 7,    0x0D, 8,    0x0E, 9,    0x02, 10,   0x04, 11,   0x10, 12},
       5,
       0x00,
       "PBK/1 MBK/2 C/3 M/4 Y/5 c/6 m/7 Gy/8 Pgy/9 R/10 B/11 CO/12"},
      {"28 bytes: a second coating",
       {0x05, 13, 0x09, 1, 0x0A, 2, 0x06, 3,  0x07, 4,  0x08, 5,  0x0B, 6,
        0x0C, 7,  0x0D, 8, 0x0E, 9, 0x02, 10, 0x04, 11, 0x10, 12, 0x80, 13},
       5,
       0x00,
       "PBK/1 MBK/2 C/3 M/4 Y/5 c/6 m/7 Gy/8 Pgy/9 R/10 B/11 CO/12 CO2/13"},
  });
}

TEST(ConfigureBlock, ANamedPlaneIsItsInk) {
  const PageFormat all = formatOf({0x05, 13, 0x09, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1, 0x0B, 1,
                                   0x0C, 1,  0x0D, 1, 0x0E, 1, 0x02, 1, 0x04, 1, 0x10, 1, 0x80, 1});
  const std::vector<Ink> kAll = {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y,  Ink::c,  Ink::m,
                                 Ink::Gy,  Ink::Pgy, Ink::R, Ink::B, Ink::CO, Ink::CO2};
  ASSERT_EQ(all.planes.size(), kAll.size());
  for (size_t i = 0; i < kAll.size(); ++i) EXPECT_EQ(all.planes[i].ink, kAll[i]) << i;

  const PageFormat gray = formatOf({0x02, 1, 0x05, 1});
  EXPECT_EQ(gray.planes.at(0).ink, Ink::K);
  const PageFormat colours = formatOf({0x02, 3, 0x02, 8, 0x03, 8, 0x04, 8});
  EXPECT_EQ(colours.planes.at(1).ink, Ink::G);
}

TEST(ConfigureBlock, WhatABlockDoesNotSayStaysUnknown) {
  const PageFormat format = formatOf({0x05, 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 1});
  EXPECT_EQ(format.height, 0U);
  EXPECT_FALSE(format.beginsWithYOffset);
  for (const PlaneFormat& plane : format.planes) {
    EXPECT_EQ(plane.width, 0U);
    EXPECT_EQ(plane.levels, 0);
  }
}

TEST(ConfigureBlock, AComponentOfDepth0HasNoPlane) {
  expectFormats({
      {"no green", {0x02, 2, 0x02, 8, 0x03, 0, 0x04, 8}, 2, 0xFF, "R/8 B/8"},
      {"blue alone", {0x02, 1, 0x02, 0, 0x03, 0, 0x04, 1}, 2, 0xFF, "B/1"},
      {"no black", {0x05, 3, 0x05, 0, 0x06, 1, 0x07, 1, 0x08, 1}, 5, 0x00, "C/1 M/1 Y/1"},
      {"black alone, with identifiers",
       {0x03, 1, 0x05, 8, 0x06, 0, 0x07, 0, 0x08, 0},
       3,
       0x00,
       "K/8"},
  });
}

TEST(ConfigureBlock, OnlyColourSpace2IsLight) {
  for (const int space : {0x03, 0x04, 0x05, 0x13, 0x14, 0x15}) {
    SCOPED_TRACE(space);
    const PageFormat format =
        formatOf({static_cast<uint8_t>(space), 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 1});
    EXPECT_EQ(format.colorSpace, space);
    EXPECT_EQ(format.blank, 0x00);
  }
  EXPECT_EQ(formatOf({0x12, 1, 0x02, 8, 0x03, 8, 0x04, 8}).blank, 0x00);
  EXPECT_EQ(formatOf({0x02, 3, 0x02, 8, 0x03, 8, 0x04, 8}).blank, 0xFF);
}

TEST(ConfigureBlock, FewerPlanesThanNamedAreTakenForTheFirstOnes) {
  expectFormats({
      {"pixels in red, green, blue", {0x12, 1, 0x02, 8, 0x03, 8, 0x04, 8}, 18, 0x00, "R/8?"},
      {"pixels in inks", {0x13, 1, 0x05, 8, 0x06, 8, 0x07, 8, 0x08, 8}, 19, 0x00, "K/8?"},
      {"three planes of four",
       {0x05, 3, 0x05, 1, 0x06, 2, 0x07, 1, 0x08, 1},
       5,
       0x00,
       "K/1? C/2? M/1?"},
  });
}

TEST(ConfigureBlock, SixPlanesNamedByTheBlockOfFourAreTheLightInksToo) {
  expectFormats({
      {"all of one depth",
       {0x05, 6, 0x05, 2, 0x06, 2, 0x07, 2, 0x08, 2},
       5,
       0x00,
       "K/2 C/2 M/2 Y/2 c/2? m/2?"},
      {"a light ink is as deep as its dark one",
       {0x05, 6, 0x05, 1, 0x06, 2, 0x07, 4, 0x08, 8},
       5,
       0x00,
       "K/1 C/2 M/4 Y/8 c/2? m/4?"},
  });
  const PageFormat format = formatOf({0x04, 6, 0x05, 2, 0x06, 2, 0x07, 2, 0x08, 2});
  EXPECT_EQ(format.planes.at(4).ink, Ink::c);
  EXPECT_EQ(format.planes.at(5).ink, Ink::m);
}

TEST(ConfigureBlock, PlanesThatItCannotNameAreNumbered) {
  struct Case {
    const char* name;
    Bytes block;
    size_t planes;
    size_t numbered;  // the first of the planes without a name
  };
  const Case kCases[] = {
      {"two planes of gray", {0x02, 2, 0x05, 8}, 2, 0},
      {"black and others beside it", {0x05, 3, 0x00, 0, 0, 0, 1, 0, 0, 0}, 3, 0},
      {"five planes of four", {0x05, 5, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 1}, 5, 0},
      {"seven planes of four", {0x05, 7, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 1}, 7, 0},
      {"four planes of three colours", {0x02, 4, 0x02, 8, 0x03, 8, 0x04, 8}, 4, 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const PageFormat format = formatOf(c.block);
    ASSERT_EQ(format.planes.size(), c.planes);
    for (size_t i = c.numbered; i < c.planes; ++i) {
      EXPECT_EQ(format.planes[i].ink, Ink::kUnknown);
      EXPECT_EQ(format.planes[i].name, "plane " + std::to_string(i + 1));
    }
  }
}

// Damage ---------------------------------------------------------------------------------------

struct Damaged {
  const char* name;
  Bytes block;
  size_t position;
};

const Damaged kDamaged[] = {
    {"no byte at all", {}, 0},
    {"one byte", {0x02}, 0},
    {"five bytes", {0x02, 1, 0x05, 8, 0}, 0},
    {"nine bytes", {0x05, 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x08}, 0},
    {"29 bytes", Bytes(29, 5), 0},

    {"4 bytes in colour space 5", {0x05, 1, 0x05, 8}, 0},
    {"8 bytes in colour space 5", {0x05, 3, 0x02, 8, 0x03, 8, 0x04, 8}, 0},
    {"10 bytes, the third 0, in colour space 4", {0x04, 1, 0x00, 0, 0, 0, 1, 0, 0, 0}, 2},
    {"12 bytes in colour space 3", {0x03, 5, 0x09, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1}, 0},

    {"4 bytes of another component", {0x02, 1, 0x06, 8}, 2},
    {"8 bytes, red is missing", {0x02, 3, 0x03, 8, 0x03, 8, 0x04, 8}, 2},
    {"8 bytes, another component for green", {0x02, 3, 0x02, 8, 0x04, 8, 0x04, 8}, 4},
    {"8 bytes, another component for blue", {0x02, 3, 0x02, 8, 0x03, 8, 0x05, 8}, 6},
    {"10 bytes, the third neither 0 nor 5", {0x05, 4, 0x01, 1, 0x06, 1, 0x07, 1, 0x08, 1}, 2},
    {"10 bytes, another component for cyan", {0x05, 4, 0x05, 1, 0x05, 1, 0x07, 1, 0x08, 1}, 4},
    {"10 bytes, another component for yellow", {0x05, 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x09, 1}, 8},
    {"12 bytes, black for photo black", {0x05, 5, 0x05, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1}, 2},
    {"18 bytes, another component for gray",
     {0x05, 8, 0x09, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1, 0x0B, 1, 0x0C, 1, 0x0E, 1},
     16},
    {"26 bytes, another component for coating",
     {0x05, 12,   0x09, 1,    0x0A, 1,    0x06, 1,    0x07, 1,    0x08, 1,    0x0B,
      1,    0x0C, 1,    0x0D, 1,    0x0E, 1,    0x02, 1,    0x04, 1,    0x80, 1},
     24},
    {"28 bytes, another component for the second coating",
     {0x05, 13, 0x09, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1, 0x0B, 1,
      0x0C, 1,  0x0D, 1, 0x0E, 1, 0x02, 1, 0x04, 1, 0x10, 1, 0x10, 1},
     26},

    {"black alone with red", {0x05, 1, 0x00, 1, 0, 0, 1, 0, 0, 0}, 3},
    {"black alone with yellow", {0x05, 1, 0x00, 0, 0, 0, 1, 0, 0, 1}, 9},
    {"4 bytes in colour space 18", {0x12, 1, 0x05, 8}, 0},
    {"10 bytes, the third 5, in colour space 2", {0x02, 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 1}, 0},

    {"a depth of 128", {0x02, 1, 0x05, 128}, 3},
    {"a depth of 255", {0x02, 3, 0x02, 8, 0x03, 255, 0x04, 8}, 5},
    {"a depth of 128 without identifier", {0x05, 1, 0x00, 0, 0, 0, 128, 0, 0, 0}, 6},
    {"a depth of 200 for yellow", {0x05, 4, 0x05, 1, 0x06, 1, 0x07, 1, 0x08, 200}, 9},
};

TEST(ConfigureBlock, DamageIsNamedByItsByte) {
  for (const Damaged& c : kDamaged) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(damageOf([&] { formatOf(c.block); }), placeOf(c.position));
  }
}

TEST(ConfigureBlock, AComponentThatItsLayoutIsChosenForHasADepth) {
  const Damaged kCases[] = {
      {"gray without black", {0x02, 1, 0x05, 0}, 3},
      {"black alone without black", {0x05, 1, 0x00, 0, 0, 0, 0, 0, 0, 0}, 6},
      {"12 bytes without matte black", {0x05, 5, 0x09, 1, 0x0A, 0, 0x06, 1, 0x07, 1, 0x08, 1}, 5},
      {"18 bytes without gray",
       {0x05, 8, 0x09, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1, 0x0B, 1, 0x0C, 1, 0x0D, 0},
       17},
  };
  for (const Damaged& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(damageOf([&] { formatOf(c.block); }), placeOf(c.position));
  }
}

TEST(ConfigureBlock, EveryOtherSizeIsRefused) {
  for (size_t size = 0; size <= 300; ++size) {
    if (size == 4 || size == 8 || size == 10 || size == 12 || size == 18 || size == 26 ||
        size == 28) {
      continue;
    }
    SCOPED_TRACE(size);
    EXPECT_TRUE(damageOf([&] { formatOf(Bytes(size, 5)); }).has_value());
  }
}

RC_GTEST_PROP(ConfigureBlockProperty, AnyBytesAreABlockOrDamageInThem, ()) {
  const auto size = *rc::gen::element<size_t>(4, 8, 10, 12, 18, 26, 28);
  const auto block = *rc::gen::container<Bytes>(
      size, rc::gen::oneOf(rc::gen::arbitrary<uint8_t>(), rc::gen::inRange<uint8_t>(0, 17)));
  PageFormat format;
  const auto damage = damageOf([&] { format = formatOf(block); });
  if (damage) {
    RC_ASSERT(*damage <= placeOf(size));
  } else {
    RC_ASSERT(format.planes.size() == block[1]);
  }
}

RC_GTEST_PROP(ConfigureBlockProperty, OneWrongByteOfAnIdentifierIsFound, ()) {
  Bytes block = {0x05, 13, 0x09, 1, 0x0A, 1, 0x06, 1, 0x07, 1, 0x08, 1, 0x0B, 1,
                 0x0C, 1,  0x0D, 1, 0x0E, 1, 0x02, 1, 0x04, 1, 0x10, 1, 0x80, 1};
  const size_t at = 2 * *rc::gen::inRange<size_t>(1, 14);
  const auto change = *rc::gen::inRange<int>(1, 256);
  block[at] = static_cast<uint8_t>(block[at] ^ static_cast<unsigned>(change));
  RC_ASSERT(damageOf([&] { formatOf(block); }) == placeOf(at));
}

// Halves ---------------------------------------------------------------------------------------

TEST(ConfigureBlockHalves, AreOfDeepPlanesInColourSpace2WithThreePlanesAndMethod4) {
  struct Case {
    const char* name;
    int colorSpace;
    size_t planes;
    int depth;
    int method;
    bool want;
  };
  const Case kCases[] = {
      {"10 bits", 2, 3, 10, 4, true},
      {"12 bits", 2, 3, 12, 4, true},
      {"16 bits", 2, 3, 16, 4, true},
      {"8 bits", 2, 3, 8, 4, false},
      {"1 bit", 2, 3, 1, 4, false},
      {"an unknown depth", 2, 3, 0, 4, false},
      {"another method", 2, 3, 16, 3, false},
      {"method 0", 2, 3, 16, 0, false},
      {"one plane", 2, 1, 16, 4, false},
      {"four planes", 2, 4, 16, 4, false},
      {"colour space 3", 3, 3, 16, 4, false},
      {"colour space 18", 18, 3, 16, 4, false},
      {"an unknown colour space", -1, 3, 16, 4, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    PageFormat format;
    format.colorSpace = c.colorSpace;
    PlaneFormat plane;
    plane.depth = c.depth;
    format.planes.assign(c.planes, plane);
    EXPECT_EQ(hasHalves(format, plane, c.method), c.want);
  }
}

}  // namespace
