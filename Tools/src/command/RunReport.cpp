#include "RunReport.h"

#include <nlohmann/json.hpp>

#include "ErrorAdvice.h"
#include "Report.h"

namespace command {

namespace {

using Json = nlohmann::ordered_json;

// Counts up when a key changes its meaning or goes away; new keys do not count.
constexpr int kReportFormat = 1;

constexpr const char* kOtherCompression =
    "ImageFileCMYK has a compression that is not read. Save it uncompressed or with PackBits: "
    "\"tiffcp -c packbits page.tif new.tif\" does it.";

constexpr const char* kDiskFull =
    "Make room there, or name another place: OutFilePath for the job file, TMPDIR for the "
    "temporary file. An earlier job file is as it was.";

// What to do about a failure; empty: nothing is known.
std::string adviceOn(const JobResult& result) {
  if (result.isDone) return "";
  if (result.hasWriteFailed) return kDiskFull;
  if (!result.code) return result.cause == "Internal Exception" ? kOtherCompression : "";
  const ErrorAdvice* advice = adviceFor(*result.code);
  return advice == nullptr ? "" : advice->whatToDo;
}

std::string whySkipped(const SkippedPage& page) {
  return "page " + std::to_string(page.number) + " is left out: " + printable(page.image) +
         " cannot be opened as a TIFF file";
}

Json resultAsJson(const JobResult& result) {
  Json json;
  json["config"] = result.config;
  json["result"] = result.isDone ? "done" : "failed";
  json["code"] = result.code ? Json(*result.code) : Json(nullptr);
  json["cause"] = result.cause;
  json["message"] = result.message;
  json["advice"] = adviceOn(result);
  json["output"] = result.output;
  json["partial"] = result.partial;
  json["bytes"] = result.bytes;
  json["pages"] = result.pages;
  json["skippedPages"] = Json::array();
  for (const SkippedPage& page : result.skipped) {
    json["skippedPages"].push_back({{"page", page.number}, {"image", page.image}});
  }
  json["seconds"] = result.seconds;
  return json;
}

}  // namespace

void reportResult(const JobResult& result, bool isOneOfMany) {
  const std::string name = isOneOfMany ? printable(result.config) + ": " : "";
  for (const SkippedPage& page : result.skipped) complain(name + "warning: " + whySkipped(page));
  if (result.isDone) return;
  complain(name + "job failed" +
           (result.code ? " with code " + std::to_string(*result.code)
                        : ": " + printable(result.cause)));
  complainWrapped(adviceOn(result));
  if (!result.partial.empty()) complain("what was written is in " + printable(result.partial));
}

std::string resultsAsJson(const std::vector<JobResult>& results) {
  Json json;
  json["format"] = kReportFormat;
  json["jobs"] = Json::array();
  for (const JobResult& result : results) json["jobs"].push_back(resultAsJson(result));
  // Names of files need not be UTF-8.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace command
