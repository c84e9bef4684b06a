// odaxgen render, through the binary.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ExampleJob.h"
#include "PngReader.h"
#include "Program.h"

using testing::HasSubstr;

namespace {

ProgramResult render(const TempFolder& folder, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"render", "newsletter/newsletter.odx"});
  return runOdaxgen(arguments, folder.path());
}

/// The greatest difference of two pictures of the same size, over all pixels and colours.
int greatestDifference(const PngPicture& a, const PngPicture& b) {
  int greatest = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i)
    greatest = std::max(greatest, std::abs(int{a.pixels[i]} - int{b.pixels.at(i)}));
  return greatest;
}

TEST(RenderExample, ThePictureOfTheReadmeIsMadeOfTheExampleJob) {
  const ExampleJob folder;
  const ProgramResult result = render(folder, {"--config", "newsletter/newsletter.cfg", "-o", "out",
                                               "--ink", "composite", "--max-size", "720"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, "out/page-1.png\n");
  const PngPicture drawn = readPng(folder.path("out/page-1.png"));
  const PngPicture shown = readPng(std::string(ODAXGEN_SOURCE_FOLDER) + "/docs/newsletter.png");
  ASSERT_EQ(drawn.width, shown.width);
  ASSERT_EQ(drawn.height, shown.height);
  // The last digit of an average may depend on the processor.
  EXPECT_LE(greatestDifference(drawn, shown), 1);
}

TEST(RenderExample, EachInkHasAPictureInTheSizeOfThePage) {
  const ExampleJob folder;
  const ProgramResult result =
      render(folder, {"--config", "newsletter/newsletter.cfg", "-o", "out"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out,
            "out/page-1-K.png\nout/page-1-C.png\nout/page-1-M.png\nout/page-1-Y.png\n"
            "out/page-1.png\n");
  const PngPicture black = readPng(folder.path("out/page-1-K.png"));
  EXPECT_EQ(black.width, 1748U);
  EXPECT_EQ(black.height, 2480U);
  EXPECT_EQ(black.bitDepth, 2);
  EXPECT_EQ(black.xPixelsPerMetre, 11811U);  // 300 dots per inch
}

TEST(RenderExample, PicturesAreNotOverwrittenWithoutForce) {
  const ExampleJob folder;
  folder.write("out/page-1.png", "mine");
  const std::vector<std::string> arguments = {"-o", "out", "--max-size", "50"};
  const ProgramResult refused = render(folder, arguments);
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("odaxgen: out/page-1.png"));
  EXPECT_EQ(folder.text("out/page-1.png"), "mine");
  std::vector<std::string> forced = arguments;
  forced.emplace_back("--force");
  EXPECT_EQ(render(folder, forced).exitCode, 0);
  EXPECT_EQ(readPng(folder.path("out/page-1.png")).height, 50U);
}

TEST(RenderExample, WhatIsNotInTheJobIsNamed) {
  const ExampleJob folder;
  const ProgramResult page = render(folder, {"-o", "out", "--page", "2"});
  EXPECT_EQ(page.exitCode, 1);
  EXPECT_THAT(page.err, HasSubstr("page 2"));
  const ProgramResult ink = render(folder, {"-o", "out", "--ink", "PBK"});
  EXPECT_EQ(ink.exitCode, 1);
  EXPECT_THAT(ink.err, HasSubstr("PBK"));
  EXPECT_FALSE(folder.exists("out/page-1.png"));
}

TEST(RenderExample, AnInterruptLeavesNoUnfinishedPicture) {
  const ExampleJob folder;
  RunningProgram render(odaxgenWith({"render", "newsletter/newsletter.odx", "-o", "out"}),
                        folder.path());
  const auto hasBegun = [&] {
    return folder.exists("out") && !std::filesystem::is_empty(folder.path("out"));
  };
  while (!hasBegun()) std::this_thread::yield();
  render.signal(SIGINT);
  render.wait();
  for (const auto& entry : std::filesystem::directory_iterator(folder.path("out"))) {
    EXPECT_EQ(entry.path().extension(), ".png") << entry.path();
  }
}

TEST(RenderExample, ADamagedFileIsNotDrawn) {
  const ExampleJob folder;
  std::string job = folder.text("newsletter/newsletter.odx");
  job.resize(job.size() / 2);
  folder.write("newsletter/newsletter.odx", job);
  const ProgramResult result = render(folder, {"-o", "out"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("odaxgen: newsletter/newsletter.odx: damaged at offset "));
}

}  // namespace
