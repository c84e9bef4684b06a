// odaxgen inspect, through the binary: what it says of job files, whole and damaged.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ExampleJob.h"
#include "JsonSchema.h"
#include "PageJob.h"
#include "Program.h"

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class InspectTest : public PageJob {
 protected:
  ProgramResult inspect(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "inspect");
    return runOdaxgen(arguments, folder.path());
  }

  /// A page of four inks whose third row is blank in all of them.
  void makeFourInks(const std::string& split) {
    std::vector<Separation> inks;
    for (const char* ink : {"K", "C", "M", "Y"}) {
      inks.push_back(
          {ink, 2, drawn(10, 5, 8, [](uint32_t x, uint32_t y) { return y == 2 ? 255U : x * 25; })});
    }
    JobSettings settings;
    settings.split = split;
    const JobRun job = run(settings, separations("3", 4, 2, inks, "StartingPositionX=7\n"));
    ASSERT_EQ(job.code, 0) << job.err;
  }

  /// A deep RGB page in HXRC, positions on both sides of the offset, two table files.
  void makeDeepRgb() {
    image("rgb.tif", std::vector<Samples>(3, mixed(6, 4, 16, 0xFFFF, 3)));
    folder.write("one.tbl", "first table");
    folder.write("two.tbl", "second");
    JobSettings settings;
    settings.split = "0";
    settings.resolutionV = 1200;
    settings.tables = {"one.tbl", "two.tbl"};
    const JobRun job =
        run(settings, imageSection("2", 3, 4, {{"R", "", 10}, {"G", "", 10}, {"B", "", 10}},
                                   "ImageFileRGB=\"rgb.tif\"\nStartingPositionX=+4\n"
                                   "StartingPositionY=0\nYOffsetC=3\nYOffset=+2\n"));
    ASSERT_EQ(job.code, 0) << job.err;
  }

  /// Data that are no raster stream, in packets of four bytes.
  void makeForeignData() {
    folder.write("data.bin", "0123456789");
    const JobRun job = run({"4"}, "[Global]\nSendDataFile=\"" + folder.path("data.bin") + "\"\n");
    ASSERT_EQ(job.code, 0) << job.err;
  }

  /// Compares what inspect prints with a file of tests/command/golden.
  void expectGolden(const std::string& name, const std::vector<std::string>& arguments) const {
    const ProgramResult result = inspect(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(schemaProblems("inspect", json::parse(result.out)), "");
    const std::filesystem::path golden =
        std::filesystem::path(ODAXGEN_SOURCE_FOLDER) / "tests/command/golden" / name;
    if (std::getenv("ODAXGEN_WRITE_GOLDEN") != nullptr) {
      std::ofstream(golden, std::ios::binary) << result.out;
      return;
    }
    std::ifstream file(golden, std::ios::binary);
    const std::string want{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(result.out, want)
        << "first difference at byte "
        << std::mismatch(want.begin(), want.end(), result.out.begin(), result.out.end()).first -
               want.begin();
  }
};

TEST_F(InspectTest, TheJsonOfFourInksIsStable) {
  makeFourInks("100");
  expectGolden("four-inks.json", {"out.dat", "--json"});
}

TEST_F(InspectTest, TheJsonWithTheConfigurationKnowsWhatTheFileDoesNotSay) {
  makeDeepRgb();
  expectGolden("deep-rgb.json", {"out.dat", "--json", "--config", "job.cfg", "--commands"});
}

TEST_F(InspectTest, TheJsonOfForeignDataHasThePacketsAlone) {
  makeForeignData();
  expectGolden("foreign-data.json", {"out.dat", "--json"});
}

TEST_F(InspectTest, TheSummaryFitsOnAScreen) {
  makeFourInks("100");
  const ProgramResult result = inspect({"out.dat"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, R"(out.dat: 442 bytes, 1 page

        offset  packet                    bytes  values (* set by the configuration)
             0  SJ                           14  SJ=start
            14  SJC                          14  SJC=job
            28  SC                           12  SC=set
            40  SD                           56  datasize=100  continue=ON
                3 packets of data, 202 bytes in all: 100 each, the last 2
           409  EJ                           33  datasize=413

page 1    at least 8 x 5 pixels, 0.3 x 0.2 mm
          600 dpi, row KCMY multi-level, packbits
          position x 7
          ink         depth          rows      blank          bytes        ratio
          K           2 bit             4          1             12      0.8 : 1
          C           2 bit             4          1             12      0.8 : 1
          M           2 bit             4          1             12      0.8 : 1
          Y           2 bit             4          1             12      0.8 : 1
          all                           4          1             48      0.8 : 1

no damage found
)");
}

TEST_F(InspectTest, CommandsAreListedWithTheirOffsets) {
  makeFourInks("0");
  const ProgramResult result = inspect({"out.dat", "--commands"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith("            97  ESC%-12345X\n"
                                     "           106  ESC%0A\n"
                                     "           110  ESCE\n"
                                     "           112  ESC$v10W  + 10 bytes\n"));
  EXPECT_THAT(result.out, HasSubstr("  ESC*b1Y\n"));
  EXPECT_THAT(result.out, HasSubstr("\n\nout.dat: "));
}

TEST_F(InspectTest, ADamagedFileExits1WithTheFirstOffsetThatIsWrong) {
  makeFourInks("0");
  std::string file = folder.text("out.dat");
  const size_t at = file.find("\x1B*b2M");
  file[at + 3] = '9';
  folder.write("damaged.dat", file);
  const ProgramResult result = inspect({"damaged.dat"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, HasSubstr("\nDAMAGED at offset " + std::to_string(at) + ": "));
  const ProgramResult asJson = inspect({"damaged.dat", "--json"});
  EXPECT_EQ(asJson.exitCode, 1);
  EXPECT_EQ(json::parse(asJson.out)["damage"]["offset"], at);
  EXPECT_EQ(schemaProblems("inspect", json::parse(asJson.out)), "");
}

TEST_F(InspectTest, EveryTruncationIsACleanError) {
  makeFourInks("100");
  const std::string file = folder.text("out.dat");
  for (size_t size = 0; size < file.size(); ++size) {
    folder.write("cut.dat", file.substr(0, size));
    const ProgramResult result = inspect({"cut.dat"});
    EXPECT_EQ(result.exitCode, 1) << size;
    EXPECT_THAT(result.out, HasSubstr("DAMAGED at offset ")) << size;
    EXPECT_EQ(result.err, "") << size;
  }
}

TEST_F(InspectTest, PacketsThatTheTemplatesDoNotGiveAreDifferences) {
  makeFourInks("100");
  std::string file = folder.text("out.dat");
  file.replace(file.find("start"), 5, "stars");
  folder.write("changed.dat", file);
  EXPECT_EQ(inspect({"changed.dat"}).exitCode, 0);
  const ProgramResult result = inspect({"changed.dat", "--config", "job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, HasSubstr("differences from the templates\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("no damage found")));
}

TEST_F(InspectTest, FilesThatCannotBeReadAreNamed) {
  const ProgramResult missing = inspect({"none.dat"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err, "odaxgen: none.dat: No such file or directory\n");
  EXPECT_EQ(inspect({"."}).err, "odaxgen: .: not a regular file\n");
}

TEST_F(InspectTest, ARefusedConfigurationIsAFailure) {
  makeFourInks("0");
  folder.write("bad.cfg", "[Global]\nNoSuchKey=1\n");
  const ProgramResult result = inspect({"out.dat", "--config", "bad.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "UNKNOWN ITEM!: line 2.\nNoSuchKey=1\n"
            "odaxgen: bad.cfg: refused as a configuration with code -12\n");
}

TEST_F(InspectTest, ControlCharactersOfAFileDoNotReachTheTerminal) {
  folder.write("odd.dat", "<a><b>\x1B[31mred\x07</b></a>");
  const ProgramResult result = inspect({"odd.dat"});
  EXPECT_THAT(result.out, Not(HasSubstr("\x1B")));
  EXPECT_THAT(result.out, HasSubstr("\\x1B[31mred\\x07"));
}

TEST_F(InspectTest, AFullDiskBehindStandardOutputIsAFailure) {
  makeFourInks("0");
  for (const char* option : {"--json", "--commands"}) {
    const std::string shell =
        std::string(ODAXGEN_PROGRAM) + " inspect out.dat " + option + " >/dev/full";
    const ProgramResult result = runProgram({"/bin/sh", "-c", shell}, folder.path());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "odaxgen: standard output cannot be written\n");
  }
}

TEST(InspectExample, TheExampleJobIsWholeInBothModes) {
  const ExampleJob folder;
  for (const char* name : {"newsletter", "newsletter-one-packet"}) {
    const std::string stem = "newsletter/" + std::string(name);
    const ProgramResult result =
        runOdaxgen({"inspect", stem + ".odx", "--config", stem + ".cfg"}, folder.path());
    EXPECT_EQ(result.exitCode, 0) << result.out;
    EXPECT_THAT(result.out, HasSubstr("1,748 x 2,480 pixels, 148.0 x 210.0 mm"));
    EXPECT_THAT(result.out, HasSubstr("*Copies=40"));
    EXPECT_THAT(result.out, EndsWith("\nno damage found\n"));
  }
}

}  // namespace
