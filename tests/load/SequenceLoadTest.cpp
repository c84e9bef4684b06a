// Many jobs one after another in one process: memory and open files do not grow.
#include <gtest/gtest.h>
#include <unistd.h>
#if defined(__linux__)
#include <malloc.h>
#endif

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <system_error>

#include "../jobcheck/RandomJob.h"
#include "JobFolder.h"
#include "JobHooks.h"
#include "Load.h"
#include "Measured.h"
#include "ODAXGen.h"
#include "PagePipeline.h"
#include "Silence.h"

namespace {

// Descriptors in use. A table that cannot be held in memory stays open on purpose; of the random
// jobs this is a folder.
size_t openFiles() {
  size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    if (std::filesystem::read_symlink(entry.path(), error).filename() != "folder.tif") ++count;
  }
  return count;
}

// Bytes of blocks that are in use; 0 under a sanitizer, whose leak check counts instead.
uint64_t bytesInUse() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 33)
  const struct mallinfo2 now = mallinfo2();
  return now.uordblks + now.hblkhd;
#else
  return 0;
#endif
}

uint64_t residentBytes() {
  unsigned long all = 0;
  unsigned long resident = 0;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/proc/self/statm", "r"),
                                                             &std::fclose);
  if (file == nullptr || std::fscanf(file.get(), "%lu %lu", &all, &resident) != 2) return 0;
  return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

struct State {
  size_t files = openFiles();
  uint64_t inUse = bytesInUse();
  uint64_t resident = residentBytes();
};

// Relative paths of the random jobs start at their folder.
class FolderHooks : public JobHooks {
 public:
  explicit FolderHooks(const TempFolder& folder) : folder_(folder) {}
  const char* completePath(const char* path) override {
    path_ = path[0] == '/' ? path : folder_.path(path);
    return path_.c_str();
  }

 private:
  const TempFolder& folder_;
  std::string path_;
};

// How a job ends: "0", its code, or the text that it threw.
std::string endingOf(const TempFolder& folder) {
  const jobcheck::Silence silence;
  FolderHooks hooks(folder);
  try {
    return std::to_string(runJob(hooks, folder.path("job.cfg").c_str()));
  } catch (int code) {
    return std::to_string(code);
  } catch (const char* text) {
    return text;
  }
}

// A job that ends in a text leaves its output open for the next one to close.
void endPlainly(const JobFolder& folder) {
  folder.write("data.bin", "data");
  EXPECT_EQ(folder.run(sendDataJob("")).code, 0);
}

// Some file systems wait for the disk when a file is written over.
void removeWhatIsWrittenAnew(const TempFolder& folder) {
  for (const char* name : {"job.cfg", "out.dat", "damaged.tif", "temp/TEMP_ODAXGEN.dat",
                           "StartJob.xml", "SetJobConfiguration.xml", "SetConfiguration.xml",
                           "VendorCmd.xml", "SendData.xml", "EndJob.xml"}) {
    std::error_code error;
    std::filesystem::remove(folder.path(name), error);
  }
}

TEST(SequenceLoadTest, JobsOfAllKindsLeaveNoMemoryAndNoOpenFile) {
  const uint32_t jobs = isLongLoad() ? 10000 : 1000;
  const uint32_t warmUp = jobs / 4;
  // The test itself takes some 15 to 25 kilobytes; 100 bytes of each second job are 40 more.
  constexpr uint64_t kMostGrowth = 40000;
  constexpr uint64_t kMostResidentGrowth = 4 * kMiB;
  const JobFolder folder;
  RandomJob random(folder);
  std::set<std::string> endings;
  uint32_t failed = 0;
  State before;
  for (uint32_t job = 0; job < jobs; ++job) {
    if (job == warmUp) {
      endPlainly(folder);
      before = State();
    }
    removeWhatIsWrittenAnew(folder);
    random.write(job);
    const std::string ending = endingOf(folder);
    if (ending != "0") ++failed;
    endings.insert(ending);
    closePagesLeftOpen();  // their images stay open on purpose
  }
  endPlainly(folder);
  const State after;
  EXPECT_EQ(after.files, before.files);
  if (!kIsSanitized) {
    EXPECT_LE(after.inUse, before.inUse + kMostGrowth);
    EXPECT_LE(after.resident, before.resident + kMostResidentGrowth);
  }
  // The jobs are a mixture.
  EXPECT_GT(failed, jobs / 10);
  EXPECT_LT(failed, jobs - jobs / 10);
  EXPECT_GT(endings.size(), 15U);
  std::cout << jobs << " jobs, " << failed << " of them failed in " << endings.size()
            << " ways; in use " << before.inUse / 1024 << " -> " << after.inUse / 1024
            << " KiB, resident " << before.resident / 1024 << " -> " << after.resident / 1024
            << " KiB, files " << before.files << " -> " << after.files << std::endl;
}

}  // namespace
