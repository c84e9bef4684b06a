// Whole jobs: how the positions and offsets of an [Image] section, as a user writes them, appear in
// the stream.
#include <gtest/gtest.h>

#include <string>

#include "PageJob.h"

namespace {

struct Position {
  const char* name;
  const char* lines;   // of the section
  const char* before;  // commands between resolution and raster mode
  const char* after;   // commands behind the start of raster mode
};

const Position kPositions[] = {
    {"none", "", "", ""},
    {"absolute", "StartingPositionX=100\nStartingPositionY=200\n", "~*p100X~*p200Y", ""},
    {"absolute, y first", "StartingPositionY=200\nStartingPositionX=100\n", "~*p100X~*p200Y", ""},
    {"absolute 0", "StartingPositionX=0\nStartingPositionY=0\n", "~*p0X~*p0Y", ""},
    {"relative", "StartingPositionX=+20\nStartingPositionY=+30\n", "~*p+20X~*p+30Y", ""},
    {"relative +0 is no move", "StartingPositionX=+0\nStartingPositionY=+0\n", "", ""},
    {"relative -0 is no move", "StartingPositionX=-0\nStartingPositionY=-0\n", "", ""},
    {"to the left and up", "StartingPositionX=-20\nStartingPositionY=-30\n", "~*p-20X~*p-30Y", ""},
    {"one to the left", "StartingPositionX=-1\n", "~*p-1X", ""},
    {"a sign alone is no move", "StartingPositionX=+\nStartingPositionY=-\n", "", ""},
    {"-1 counts as not given, so the next one stands",
     "StartingPositionX=-1\nStartingPositionX=7\n", "~*p7X", ""},
    {"only x", "StartingPositionX=5\n", "~*p5X", ""},
    {"only y", "StartingPositionY=+5\n", "~*p+5Y", ""},
    {"offset", "YOffset=12\n", "", "~*b12Y"},
    {"offset of 0", "YOffset=0\n", "", "~*b0Y"},
    {"relative offset", "YOffset=+12\n", "", "~*b+12Y"},
    {"relative offset of 0", "YOffset=+0\n", "", "~*b0Y"},
    {"early offset", "YOffsetC=3\nStartingPositionX=5\nStartingPositionY=6\n", "~*b3Y~*p5X~*p6Y",
     ""},
    {"late offset", "StartingPositionX=5\nStartingPositionY=6\nYOffsetC=3\n", "~*p5X~*p6Y~*b3Y",
     ""},
    {"offset between the positions is a late one",
     "StartingPositionX=5\nYOffsetC=+3\nStartingPositionY=6\n", "~*p5X~*p6Y~*b+3Y", ""},
    {"both offsets", "YOffsetC=3\nStartingPositionY=6\nYOffsetC=4\n", "~*b3Y~*p6Y~*b4Y", ""},
    {"offset without a position is an early one", "YOffsetC=+0\n", "~*b0Y", ""},
    {"an offset behind a position of -1 is an early one", "StartingPositionX=-1\nYOffsetC=3\n",
     "~*b3Y~*p-1X", ""},
    {"everything",
     "YOffset=9\nYOffsetC=+1\nStartingPositionX=-2\nStartingPositionY=3\nYOffsetC=4\n",
     "~*b+1Y~*p-2X~*p3Y~*b4Y", "~*b9Y"},
};

class PositionsTest : public PageJob {};

TEST_F(PositionsTest, AppearInTheOrderOfThePage) {
  // A blank row, then one with ink.
  const Samples dots = drawn(1, 2, 8, [](uint32_t, uint32_t y) { return 9 * y; });
  for (const Position& position : kPositions) {
    SCOPED_TRACE(position.name);
    const std::string section =
        separations("5", 1, 0, {{"K", 8, dots, {'I', 0, 0, false}}}, position.lines);
    const JobRun job = run({"0"}, section);
    EXPECT_EQ(job.code, 0) << job.err;
    EXPECT_EQ(visible(job.raster),
              sent({"~%-12345X~%0A~E", "~$v10W", Bytes{5, 1, 0, 0, 0, 0, 8, 0, 0, 0}, "~*t600R",
                    position.before, "~*r1A", "~*b0M", position.after, "~*b1Y", "~*b1W", Bytes{9},
                    "~*rC", "~$E", "~%-12345X"}));
  }
}

TEST_F(PositionsTest, AreNotInheritedByTheNextPage) {
  const Samples dot = plain(1, 1, 8, 9);
  const FileForm form = {'I', 0, 0, false};
  const std::string first =
      separations("5", 1, 0, {{"K", 8, dot, form}}, "StartingPositionX=5\nYOffset=1\nYOffsetC=2\n");
  const JobRun job = run({"0"}, first + "[Image]\nImageFileK=\"image1.tif\"\n");
  EXPECT_EQ(visible(job.raster),
            sent({"~%-12345X~%0A~E",  //
                  "~$v10W",
                  Bytes{5, 1, 0, 0, 0, 0, 8, 0, 0, 0},
                  "~*t600R",
                  "~*p5X",  //
                  "~*b2Y",
                  "~*r1A",
                  "~*b0M",
                  "~*b1Y",
                  "~*b1W",
                  Bytes{9},
                  "~*rC",  //
                  "~*t600R",
                  "~*r1A",
                  "~*b0M",
                  "~*b1W",
                  Bytes{9},
                  "~*rC",  //
                  "~$E",
                  "~%-12345X"}));
}

TEST_F(PositionsTest, ResolutionsThatDifferAreSentAsTwo) {
  JobSettings settings{"0"};
  settings.resolutionH = 300;
  settings.resolutionV = 1200;
  const std::string section = separations("5", 1, 0, {{"K", 8, plain(1, 0, 8, 0)}});
  const DecodedStream decoded = pages(settings, section, {{{1}, 0, 0, false}});
  EXPECT_EQ(decoded.pages[0].resolutionH, 300);
  EXPECT_EQ(decoded.pages[0].resolutionV, 1200);
}

}  // namespace
