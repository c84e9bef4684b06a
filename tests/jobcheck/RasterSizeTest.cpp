// RasterSize and AnnouncedInks: the bytes of commands, held against streams that jobs send.
#include "RasterSize.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AnnouncedInks.h"
#include "ConfigurationReader.h"
#include "PageJob.h"
#include "PathChecks.h"
#include "Silence.h"

using namespace jobcheck;

namespace {

class RasterSizeTest : public PageJob {
 protected:
  // The bytes that are counted for the job that was run last.
  [[nodiscard]] uint64_t counted(size_t pages) const {
    const Silence silence;
    Configuration configuration;
    configuration.path = folder.path("job.cfg");
    ProblemList problems;
    readConfiguration(configuration, problems);
    checkPaths(configuration, problems);
    TiffFiles files;
    JobContext job{configuration, problems, files, {}};
    return leastRasterBytes(job, pages);
  }
  // Files without rows leave nothing but commands.
  std::string emptyPage(const std::string& colorSpace, int planes, int compression,
                        const std::vector<std::string>& inks, const std::string& more = "") {
    std::vector<InkSetting> settings;
    for (const std::string& ink : inks) settings.push_back({ink, "empty.tif", 2});
    return imageSection(colorSpace, planes, compression, settings, more);
  }
};

TEST_F(RasterSizeTest, StreamsWithoutRowsAreCountedToTheByte) {
  image("empty.tif", {plain(8, 0, 8, 0)});
  folder.write("table", std::string(1234, 't'));
  const std::vector<std::string> five = {"PBK", "MBK", "C", "M", "Y"};
  std::vector<std::string> eight = five;
  eight.insert(eight.end(), {"c", "m", "Gy"});
  std::vector<std::string> thirteen = eight;
  thirteen.insert(thirteen.end(), {"Pgy", "R", "B", "CO", "CO2"});
  const std::vector<std::string> twelve(thirteen.begin(), thirteen.end() - 1);
  const std::string position =
      "YOffsetC=3\nStartingPositionX=+12\nStartingPositionY=-5\n"
      "YOffset=+100\n";
  const std::string pages[] = {
      emptyPage("5", 1, 0, {"K"}),
      emptyPage("2", 1, 2, {"K"}),
      emptyPage("2", 3, 256, {"R", "G", "B"}),
      emptyPage("3", 4, 3, {"K", "C", "M", "Y"}, position),
      emptyPage("4", 5, 2, five),
      emptyPage("5", 8, 2, eight),
      emptyPage("4", 12, 2, twelve),
      emptyPage("5", 13, 2, thirteen, position),
  };
  for (const std::string& page : pages) {
    for (const std::string& sections : {page, page + page + "[Image]\nYOffset=0\n"}) {
      for (const int vertical : {600, 1200}) {
        JobSettings settings;
        settings.resolutionV = vertical;
        settings.tables = {"table", "table"};
        const JobRun job = run(settings, sections);
        ASSERT_EQ(job.code, 0) << job.err;
        EXPECT_EQ(counted(100), job.raster.size()) << sections;
      }
    }
  }
}

TEST_F(RasterSizeTest, WhatStandsInFrontOfARow) {
  const JobRun job = run({"0"}, separations("5", 1, 0, {{"K", 8, plain(4, 1, 8, 0), {}}}));
  ASSERT_EQ(job.code, 0);
  const std::string stream(job.raster.begin(), job.raster.end());
  EXPECT_EQ(counted(0), stream.find("\x1B*b4W"));
}

}  // namespace
