// Tests of the commands that a page must begin with: every layout of the configure block, the
// resolution, moves and offsets with their signs, the compression method.
#include "ExpectedStream.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "TempFolder.h"

namespace {

using jobreader::Ink;
using jobverify::PageRequest;
using jobverify::Position;
using Texts = std::vector<std::string>;

PageRequest page(int colorSpace, int planes, const std::vector<std::pair<Ink, int>>& depths) {
  PageRequest page;
  page.colorSpace = colorSpace;
  page.numOfPlanes = planes;
  for (const auto& [ink, depth] : depths) {
    jobverify::PlaneRequest plane;
    plane.ink = ink;
    plane.depth = depth;
    page.allPlanes.push_back(plane);
  }
  return page;
}

const std::vector<std::pair<Ink, int>> kFive = {
    {Ink::PBK, 1}, {Ink::MBK, 2}, {Ink::C, 3}, {Ink::M, 4}, {Ink::Y, 5}};

std::vector<std::pair<Ink, int>> inks(std::vector<std::pair<Ink, int>> first,
                                      const std::vector<std::pair<Ink, int>>& more) {
  first.insert(first.end(), more.begin(), more.end());
  return first;
}

TEST(ExpectedStream, EachFormatHasItsConfigureBlock) {
  const auto eight = inks(kFive, {{Ink::c, 6}, {Ink::m, 7}, {Ink::Gy, 8}});
  const auto twelve = inks(eight, {{Ink::Pgy, 9}, {Ink::R, 10}, {Ink::B, 11}, {Ink::CO, 12}});
  const auto thirteen = inks(twelve, {{Ink::CO2, 13}});
  const struct {
    const char* name;
    PageRequest page;
    Bytes want;
  } kCases[] = {
      {"gray", page(2, 1, {{Ink::K, 8}}), {2, 1, 5, 8}},
      {"red, green, blue",
       page(2, 3, {{Ink::R, 8}, {Ink::G, 9}, {Ink::B, 10}}),
       {2, 3, 2, 8, 3, 9, 4, 10}},
      {"gray beside a red of 0 is no gray",
       page(2, 1, {{Ink::K, 8}, {Ink::R, 0}}),
       {2, 1, 2, 0, 3, 0, 4, 0}},
      {"pixels of red, green, blue",
       page(18, 1, {{Ink::R, 8}, {Ink::G, 8}, {Ink::B, 8}}),
       {18, 1, 2, 8, 3, 8, 4, 8}},
      {"black alone", page(5, 1, {{Ink::K, 2}}), {5, 1, 0, 0, 0, 0, 2, 0, 0, 0}},
      {"black alone as index", page(4, 1, {{Ink::K, 2}}), {4, 1, 5, 2, 6, 0, 7, 0, 8, 0}},
      {"black beside coating is still alone",
       page(5, 1, {{Ink::K, 2}, {Ink::CO, 1}}),
       {5, 1, 0, 0, 0, 0, 2, 0, 0, 0}},
      {"four inks",
       page(3, 4, {{Ink::K, 1}, {Ink::C, 2}, {Ink::M, 4}, {Ink::Y, 8}}),
       {3, 4, 5, 1, 6, 2, 7, 4, 8, 8}},
      {"five inks", page(5, 5, kFive), {5, 5, 9, 1, 10, 2, 6, 3, 7, 4, 8, 5}},
      {"eight inks", page(4, 8, eight), {4, 8, 9, 1, 10, 2, 6, 3, 7, 4, 8, 5, 11, 6, 12, 7, 13, 8}},
      {"twelve inks", page(4, 12, twelve), {4, 12, 9, 1,  10, 2,  6, 3, 7,  4, 8,  5,  11,
                                            6, 12, 7, 13, 8,  14, 9, 2, 10, 4, 11, 16, 12}},
      {"thirteen inks", page(4, 13, thirteen), {4, 13, 9,  1,  10, 2,  6,   3, 7,  4,
                                                8, 5,  11, 6,  12, 7,  13,  8, 14, 9,
                                                2, 10, 4,  11, 16, 12, 128, 13}},
      {"five inks and a light one",
       page(4, 5, inks(kFive, {{Ink::c, 1}})),
       {4, 5, 5, 0, 6, 3, 7, 4, 8, 5}},
      {"a depth that is no signed byte counts as none",
       page(2, 1, {{Ink::K, 8}, {Ink::R, 200}}),
       {2, 1, 5, 8}},
  };
  for (const auto& c : kCases) EXPECT_EQ(jobverify::configureBlock(c.page), c.want) << c.name;
}

TEST(ExpectedStream, AFormatThatIsTheFirstOnesIsNotRepeated) {
  PageRequest same = page(2, 1, {{Ink::K, 8}});
  same.sameAsFirst = true;
  EXPECT_EQ(jobverify::configureBlock(same), Bytes{});
}

TEST(ExpectedStream, ResolutionsAreOneCommandWhenTheyAreEqual) {
  jobverify::JobRequest job;
  job.resolutionH = job.resolutionV = 600;
  EXPECT_EQ(jobverify::resolutionCommands(job), (Texts{"*t600R"}));
  job.resolutionV = 1200;
  EXPECT_EQ(jobverify::resolutionCommands(job), (Texts{"$r600X", "$r1200Y"}));
}

TEST(ExpectedStream, MovesComeInTheirOrder) {
  PageRequest moved;
  moved.yOffsetAfter = {true, true, 4};
  moved.y = {true, false, 3};
  moved.x = {true, true, -2};
  moved.yOffsetBefore = {true, false, 1};
  EXPECT_EQ(jobverify::moveCommands(moved), (Texts{"*b1Y", "*p-2X", "*p3Y", "*b+4Y"}));
  EXPECT_EQ(jobverify::moveCommands({}), Texts{});
}

TEST(ExpectedStream, SignsOfMoves) {
  const struct {
    const char* name;
    Position position;
    Texts want;
  } kCases[] = {
      {"not given", {}, {}},
      {"absolute", {true, false, 300}, {"*p300X"}},
      {"absolute 0", {true, false, 0}, {"*p0X"}},
      {"absolute beyond 31 bits", {true, false, -6}, {"*p-6X"}},
      {"relative", {true, true, 300}, {"*p+300X"}},
      {"relative 0 is no move", {true, true, 0}, {}},
      {"to the left", {true, true, -5}, {"*p-5X"}},
  };
  for (const auto& c : kCases) {
    PageRequest page;
    page.x = c.position;
    EXPECT_EQ(jobverify::moveCommands(page), c.want) << c.name;
  }
}

TEST(ExpectedStream, SignsOfOffsets) {
  EXPECT_EQ(jobverify::yOffsetCommand({}), "");
  EXPECT_EQ(jobverify::yOffsetCommand({true, false, 5}), "*b5Y");
  EXPECT_EQ(jobverify::yOffsetCommand({true, false, 0}), "*b0Y");
  EXPECT_EQ(jobverify::yOffsetCommand({true, false, -6}), "");
  EXPECT_EQ(jobverify::yOffsetCommand({true, true, 5}), "*b+5Y");
  EXPECT_EQ(jobverify::yOffsetCommand({true, true, 0}), "*b0Y") << "no sign for 0";
  EXPECT_EQ(jobverify::yOffsetCommand({true, true, -6}), "");
}

TEST(ExpectedStream, EachCompressionHasItsMethods) {
  const struct {
    int compression;
    int start;
    std::vector<int> methods;
  } kCases[] = {{0, 0, {0}},      {2, 2, {2}}, {3, 3, {0, 3}},
                {256, 2, {2, 3}}, {4, 4, {4}}, {-1, 255, {}}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.compression);
    PageRequest page;
    page.compression = c.compression;
    EXPECT_EQ(jobverify::startMethod(page), c.start);
    std::vector<int> methods;
    for (int method = 0; method < 6; ++method)
      if (jobverify::isMethodOf(page, method)) methods.push_back(method);
    EXPECT_EQ(methods, c.methods);
  }
}

}  // namespace
