// Many commands at a time, in one folder and with one folder for temporary files.
#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Load.h"
#include "Measured.h"
#include "PageJob.h"
#include "Program.h"

namespace {

constexpr size_t kAtATime = 8;

class ParallelLoadTest : public PageJob {
 protected:
  ParallelLoadTest() { std::filesystem::create_directory(folder.path("temporary")); }

  /// Writes a job of a few inks, and no two alike: NAME.cfg. @return its name
  std::string writeJob(uint32_t number, const std::string& output) {
    const int kCompressions[] = {0, 2, 3, 4, 256};
    const char* const kSplits[] = {"0", "100", "65536"};
    std::string name = "job" + std::to_string(number);
    std::vector<Separation> inks;
    for (const char* ink : {"K", "C", "M", "Y"}) {
      Separation plane;
      plane.ink = ink;
      plane.depth = 2;
      plane.samples =
          mixed(64 + number % 7, 310, 8, 255, number * 4 + static_cast<uint8_t>(ink[0]));
      inks.push_back(plane);
    }
    const std::string page = separations("5", 4, kCompressions[number % 5], inks);
    folder.write(name + ".cfg",
                 "[Global]\nOutFilePath=\"" + output + "\"\nSplitDataSize=" + kSplits[number % 3] +
                     "\n[ODAX]\nStartJobXmlFile=\"sj.xml\"\nSetJobConfigurationXmlFile=\"sjc.xml\""
                     "\nSetConfigurationXmlFile=\"sc.xml\"\nSendDataXmlFile=\"sd.xml\"\n"
                     "EndJobXmlFile=\"ej.xml\"\n[HXRaster]\nGraphicsResolutionH=600\n"
                     "GraphicsResolutionV=600\n" +
                     page);
    return name;
  }

  /// Runs these commands, eight at a time; each must end with 0 and without a word.
  void runAll(const std::vector<std::vector<std::string>>& commands) {
    const Surroundings surroundings = {{{"TMPDIR", folder.path("temporary")}}};
    std::deque<std::unique_ptr<RunningProgram>> running;
    for (size_t next = 0; next < commands.size() || !running.empty();) {
      if (next < commands.size() && running.size() < kAtATime) {
        running.push_back(std::make_unique<RunningProgram>(odaxgenWith(commands[next++]),
                                                           folder.path(), surroundings));
        continue;
      }
      const ProgramResult result = running.front()->wait();
      running.pop_front();
      EXPECT_EQ(result.exitCode, 0) << result.err;
      EXPECT_EQ(result.err, "");
    }
  }

  /// The names of a folder.
  [[nodiscard]] std::set<std::string> names(const std::string& path) const {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(path)))
      all.insert(entry.path().filename().string());
    return all;
  }
};

TEST_F(ParallelLoadTest, EachOfManyJobsIsAsIfItWereAlone) {
  const uint32_t jobs = isLongLoad() ? 200 : (kIsSanitized ? 10 : 40);
  std::vector<std::vector<std::string>> runs;
  std::vector<std::vector<std::string>> verifies;
  std::vector<Bytes> alone;
  for (uint32_t job = 0; job < jobs; ++job) {
    const std::string name = writeJob(job, "out" + std::to_string(job) + ".dat");
    const std::string output = "out" + std::to_string(job) + ".dat";
    ASSERT_EQ(runOdaxgen({"run", "--quiet", name + ".cfg"}, folder.path()).exitCode, 0);
    alone.push_back(folder.bytes(output));
    std::filesystem::remove(folder.path(output));
    runs.push_back({"run", "--quiet", name + ".cfg"});
    verifies.push_back({"verify", name + ".cfg"});
  }
  const std::set<std::string> before = names("");
  runAll(runs);
  runAll(verifies);
  for (uint32_t job = 0; job < jobs; ++job)
    EXPECT_TRUE(folder.bytes("out" + std::to_string(job) + ".dat") == alone[job]) << job;
  EXPECT_EQ(names("").size(), before.size() + jobs);
  EXPECT_EQ(names("temporary"), std::set<std::string>());
  std::cout << jobs << " jobs run, compared and verified" << std::endl;
}

TEST_F(ParallelLoadTest, OfManyJobsWithOneOutputOneIsWhole) {
  const uint32_t rounds = isLongLoad() ? 25 : (kIsSanitized ? 1 : 5);
  std::vector<std::vector<std::string>> runs;
  std::set<Bytes> whole;
  for (uint32_t job = 0; job < kAtATime; ++job) {
    const std::string name = writeJob(job, "out.dat");
    runs.push_back({"run", "--quiet", name + ".cfg"});
    ASSERT_EQ(runOdaxgen(runs.back(), folder.path()).exitCode, 0);
    whole.insert(folder.bytes("out.dat"));
  }
  ASSERT_EQ(whole.size(), kAtATime);
  const std::set<std::string> before = names("");
  for (uint32_t round = 0; round < rounds; ++round) {
    runAll(runs);
    EXPECT_EQ(whole.count(folder.bytes("out.dat")), 1U) << round;
    EXPECT_EQ(names(""), before);
    EXPECT_EQ(names("temporary"), std::set<std::string>());
  }
}

}  // namespace
