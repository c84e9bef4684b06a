// Single-byte damage in job files, byte by byte: verify notices every change of a pixel, a setting
// or a packet.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "JobReader.h"
#include "JobVerifier.h"
#include "PageJob.h"
#include "ReadError.h"

namespace {

using namespace jobreader;

// What a printer gets of a job file: everything that it would print or obey, as text.
class Print : public JobSink {
 public:
  void beginTable(size_t number, const Command& /*command*/) override {
    text += "\ntable " + std::to_string(number) + ": ";
  }
  void tableData(std::span<const uint8_t> bytes) override { add(bytes); }
  void beginPage(const PageStart& page) override {
    text += "\npage " + std::to_string(page.resolutionH) + " " + std::to_string(page.resolutionV);
    add(page.configuration);
    for (const Command& move : page.moves) text += " " + move.text;
    format_ = page.format;
  }
  void pageOffset(const Command& command) override { text += " " + command.text; }
  void row(uint64_t index, std::span<const PlaneRow> planes) override {
    for (size_t i = 0; i < planes.size(); ++i) {
      Bytes row(planes[i].bytes.begin(), planes[i].bytes.end());
      while (!row.empty() && row.back() == format_.blank) row.pop_back();
      if (row.empty()) continue;
      text += "\n" + std::to_string(index) + "/" + std::to_string(i) + ": ";
      add(row);
    }
  }
  void endPage(const PageEnd& end) override { text += end.ended ? " ended" : " open"; }
  void packetDifference(uint64_t offset, const std::string& what) override {
    text += "\n" + std::to_string(offset) + what;
  }

  std::string text;

 private:
  void add(std::span<const uint8_t> bytes) { text += visible(Bytes(bytes.begin(), bytes.end())); }

  PageFormat format_;
};

std::string printOf(const std::string& path, const KnownJob& known) {
  JobFile file(path);
  Print print;
  try {
    readJob(file, print, &known);
  } catch (const ReadError& error) {
    return "damaged at " + std::to_string(error.offset()) + ": " + error.what();
  }
  return print.text;
}

struct Job {
  const char* name;
  int compression;
  const char* split;
  const char* colorSpace;
  std::vector<std::string> inks;
};

const Job kJobs[] = {
    {"plain rows in small packets", 0, "200", "3", {"K", "C", "M", "Y"}},
    {"PackBits in one packet", 2, "0", "3", {"K", "C", "M", "Y"}},
    {"delta rows between the packets", 3, "", "5", {"K"}},
    {"delta rows over PackBits", 256, "300", "5", {"K"}},
    {"HXRC in packets that all say OFF", 4, "0x80000000", "3", {"K", "C", "M", "Y"}},
};

class DamageTest : public PageJob {
 protected:
  std::string makeJob(const Job& job) {
    std::vector<Separation> inks;
    for (const std::string& ink : job.inks)
      inks.push_back({ink, 8, mixed(12, 9, 8, 0xFF, 5 + static_cast<uint32_t>(inks.size())), {}});
    JobSettings settings;
    settings.split = job.split;
    folder.write("table.bin", "table");
    settings.tables = {"table.bin"};
    const JobRun made =
        run(settings, separations(job.colorSpace, static_cast<int>(inks.size()), job.compression,
                                  inks, "StartingPositionX=10\nYOffset=+3\n"));
    EXPECT_EQ(made.code, 0) << made.err;
    return folder.text("out.dat");
  }
};

TEST_F(DamageTest, EveryByteThatChangesAPixelASettingOrAPacketIsNoticed) {
  std::mt19937 random(20);
  for (const Job& job : kJobs) {
    SCOPED_TRACE(job.name);
    const std::string whole = makeJob(job);
    const jobverify::JobRequest request = jobverify::readRequest(folder.path("job.cfg"));
    const KnownJob known = jobverify::knownJob(request);
    ASSERT_TRUE(verifyJob(request, folder.path("out.dat")).isProven());
    const std::string print = printOf(folder.path("out.dat"), known);
    size_t noticed = 0;
    for (size_t at = 0; at < whole.size(); ++at) {
      std::string damaged = whole;
      damaged[at] = static_cast<char>(damaged[at] ^ static_cast<char>(1 + random() % 255));
      const std::string path = folder.write("damaged.dat", damaged);
      if (!verifyJob(request, path).isProven()) {
        ++noticed;
      } else {
        EXPECT_EQ(printOf(path, known), print) << "offset " << at;
      }
    }
    // What is left is another spelling of the same rows.
    EXPECT_GE(noticed * 100, whole.size() * 99) << noticed << " of " << whole.size();
    RecordProperty(job.name, std::to_string(noticed) + " of " + std::to_string(whole.size()));
  }
}

TEST_F(DamageTest, AFileThatIsCutAnywhereIsNotProven) {
  for (const Job& job : kJobs) {
    SCOPED_TRACE(job.name);
    const std::string whole = makeJob(job);
    const jobverify::JobRequest request = jobverify::readRequest(folder.path("job.cfg"));
    for (size_t size = 0; size < whole.size(); ++size) {
      const std::string path = folder.write("cut.dat", whole.substr(0, size));
      EXPECT_FALSE(verifyJob(request, path).isProven()) << size << " bytes";
    }
  }
}

TEST_F(DamageTest, AFileWithBytesBehindItsEndIsNotProven) {
  for (const Job& job : kJobs) {
    SCOPED_TRACE(job.name);
    const std::string whole = makeJob(job);
    const jobverify::JobRequest request = jobverify::readRequest(folder.path("job.cfg"));
    for (const std::string& more : {std::string("x"), std::string("<end/>"), whole}) {
      const std::string path = folder.write("long.dat", whole + more);
      EXPECT_FALSE(verifyJob(request, path).isProven()) << more.size() << " bytes more";
    }
  }
}

}  // namespace
