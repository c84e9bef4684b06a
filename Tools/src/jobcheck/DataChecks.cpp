#include "DataChecks.h"

#include <filesystem>
#include <set>
#include <system_error>

#include "FileText.h"
#include "PagePlanes.h"
#include "RasterSize.h"

namespace jobcheck {

namespace {

constexpr int kErrorPlateCompression = -41;
constexpr int kErrorRgbCompression = -42;
constexpr int kErrorSendData = -74;

struct CompressionName {
  uint32_t number;
  const char* name;
};
constexpr CompressionName kCompressionNames[] = {
    {2, "CCITT"}, {3, "CCITT group 3"}, {4, "CCITT group 4"}, {5, "LZW"},      {6, "JPEG"},
    {7, "JPEG"},  {8, "Deflate"},       {32946, "Deflate"},   {34925, "LZMA"}, {50000, "Zstandard"},
};

std::string compressionText(uint32_t compression) {
  if (compression == 0) return "does not say how it is compressed";
  for (const CompressionName& name : kCompressionNames) {
    if (name.number == compression) return std::string("is compressed with ") + name.name;
  }
  return "has compression " + std::to_string(compression);
}

class ImageErrors {
 public:
  explicit ImageErrors(JobContext& job) : job_(job) {}

  /// @return whether reading the page ends the job
  bool check(const PageLines& page) {
    const PagePlanes plan = planesOf(*page.record, job_.files);
    if (plan.missing != nullptr) return false;
    bool isFailing = false;
    for (const Ink ink : readOrder()) {
      for (const Plane& plane : plan.planes) {
        if (plane.ink != ink || !plane.isRefused()) continue;
        isFailing = true;
        list(page, plane);
      }
    }
    return isFailing;
  }

 private:
  void list(const PageLines& page, const Plane& plane) {
    if (!said_.emplace(plane.path, plane.source).second) return;
    const Place place = job_.configuration.placeOf(page.lines, plane.fileKey);
    const std::string text = fileName(plane.path) + " " +
                             compressionText(plane.facts->compression) + ", which is not read";
    const char* const kHint = "save it uncompressed or with PackBits";
    if (plane.source == Source::kCmyk) {
      job_.problems.errorText(place, "Internal Exception", text, kHint);
    } else {
      job_.problems.error(
          place, plane.source == Source::kRgb ? kErrorRgbCompression : kErrorPlateCompression, text,
          kHint);
    }
  }

  JobContext& job_;
  std::set<std::pair<std::string, Source>> said_;
};

void checkSendData(JobContext& job, DataOutcome& outcome) {
  const Configuration& configuration = job.configuration;
  const std::string path = configuration.complete(configuration.record->SendDataFile);
  const FileKind kind = kindOf(path);
  if (kind == FileKind::kMissing || my_access(path.c_str(), 4) != 0) {
    const bool hasBackslash = path.find('\\') != std::string::npos;
    job.problems.error(configuration.placeOf(configuration.global, "SendDataFile"), kErrorSendData,
                       "SendDataFile cannot be opened: " + configuration.shown(path),
                       hasBackslash ? "write the path with slashes"
                                    : "relative paths start at the folder of the configuration");
    outcome.isMissing = true;
    return;
  }
  const Place place = configuration.placeOf(configuration.global, "SendDataFile");
  if (kind == FileKind::kFolder) {
    job.problems.errorText(place, "Is a directory",
                           "SendDataFile is a folder: " + configuration.shown(path),
                           "name the file that holds the data");
    outcome.isMissing = true;
    return;
  }
  std::error_code error;
  const uint64_t size = std::filesystem::file_size(path, error);
  if (kind == FileKind::kRegular && !error) outcome.leastBytes = size;
  outcome.isExact = kind != FileKind::kSpecial;
}

}  // namespace

DataOutcome checkData(JobContext& job) {
  DataOutcome outcome;
  if (!job.configuration.sendsPages()) {
    checkSendData(job, outcome);
    return outcome;
  }
  ImageErrors errors(job);
  const std::vector<PageLines>& pages = job.configuration.pages;
  for (size_t i = 0; i < pages.size(); ++i) {
    if (errors.check(pages[i]) && !outcome.failingPage) outcome.failingPage = i;
  }
  outcome.leastBytes = leastRasterBytes(job, pages.size());
  return outcome;
}

}  // namespace jobcheck
