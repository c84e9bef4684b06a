#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "ConfigurationReader.h"
#include "DataChecks.h"
#include "PageChecks.h"
#include "PathChecks.h"
#include "Problem.h"
#include "RasterSize.h"
#include "SettingChecks.h"
#include "Silence.h"
#include "TemplateChecks.h"

namespace jobcheck {

namespace {

constexpr int kErrorReopenOutput = -47;
constexpr int kErrorOpenOutput = -49;
constexpr uint32_t kOtherChunk = 65536;  // of packets whose size is not one

// The steps of a job in their order, so that errors are listed as the job would meet them.
class Steps {
 public:
  Steps(Configuration& configuration, ProblemList& problems)
      : configuration_(configuration),
        problems_(problems),
        job_{configuration, problems, files_, {}} {}

  void run() {
    readConfiguration(configuration_, problems_);
    if (!configuration_.isOpen) return;
    checkPaths(configuration_, problems_);
    if (isSplitRefused()) configuration_.record->SplitDataSize = kOtherChunk;
    TemplateChecks templates(job_);
    if (configuration_.record->SplitDataSize == 0) {
      runInOnePacket(templates);
    } else {
      runSplit(templates);
    }
    templates.checkEnd();
    templates.checkOverrides();
    checkSettings(job_);
    if (configuration_.sendsPages()) checkPages(job_);
  }

 private:
  // Its line was refused, and nobody knows the size.
  [[nodiscard]] bool isSplitRefused() const {
    const ConfigItem* item = configuration_.global.find("SplitDataSize");
    return item != nullptr && !item->isStored;
  }

  void runInOnePacket(TemplateChecks& templates) {
    checkTemporaryFolder(configuration_, problems_);
    const DataOutcome data = checkData(job_);
    checkOutput(configuration_, kErrorReopenOutput, problems_);
    templates.checkOpening();
    templates.checkSendData(static_cast<uint32_t>(data.leastBytes), true);
    templates.countData(data.leastBytes);
  }

  void runSplit(TemplateChecks& templates) {
    checkOutput(configuration_, kErrorOpenOutput, problems_);
    templates.checkOpening();
    // Packets of data go out while the data are made: whichever fails first is listed first.
    ProblemList found;
    JobContext later{configuration_, found, files_, {}};
    const DataOutcome data = checkData(later);
    const bool isPacketFirst =
        data.failingPage && !isBare() && leastRasterBytes(job_, *data.failingPage) >= chunkBytes();
    if (!isPacketFirst) problems_.append(found);
    if (!isBare() && (data.leastBytes > 0 || !data.isExact)) checkPackets(templates, data);
    problems_.append(found);
    templates.countData(data.leastBytes);
  }

  void checkPackets(TemplateChecks& templates, const DataOutcome& data) {
    const uint64_t bytes = std::clamp<uint64_t>(data.leastBytes, 1, chunkBytes());
    templates.checkSendData(static_cast<uint32_t>(bytes), false);
  }

  [[nodiscard]] bool isBare() const { return configuration_.record->SplitDataSize == kNotSet; }
  [[nodiscard]] uint32_t chunkBytes() const {
    const int32_t size = configuration_.record->SplitDataSize;
    return size > 0 ? static_cast<uint32_t>(size) : kOtherChunk;
  }

  Configuration& configuration_;
  ProblemList& problems_;
  TiffFiles files_;
  JobContext job_;
};

std::string canonical(const std::string& path) {
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::weakly_canonical(path, error);
  return error ? path : whole.string();
}

CheckedJob checkOne(const std::string& config, std::string* output) {
  const Silence silence;
  Configuration configuration;
  configuration.path = config;
  ProblemList problems;
  Steps(configuration, problems).run();
  if (configuration.isOpen) *output = canonical(outputOf(configuration));
  return {config, problems.take()};
}

}  // namespace

CheckedJob checkJob(const std::string& config) {
  std::string output;
  return checkOne(config, &output);
}

std::vector<CheckedJob> checkJobs(const std::vector<std::string>& configs) {
  std::vector<CheckedJob> jobs;
  std::map<std::string, std::string> writers;  // the configuration by its output
  for (const std::string& config : configs) {
    std::string output;
    jobs.push_back(checkOne(config, &output));
    const auto [earlier, isNew] = writers.emplace(output, config);
    if (output.empty() || isNew) continue;
    ProblemList problems;
    problems.warn({config, 0}, "same-output",
                  "this job and that of " + earlier->second + " write the same file, " + output +
                      "; the later one replaces the earlier",
                  "give each its own OutFilePath");
    std::vector<Problem> found = problems.take();
    jobs.back().problems.push_back(std::move(found.front()));
  }
  return jobs;
}

}  // namespace jobcheck
