// odaxgen verify - proves that a job file holds exactly what its configuration asks for.

#include <cstdio>
#include <filesystem>
#include <string>

#include "JobRequest.h"
#include "JobVerifier.h"
#include "Progress.h"
#include "Report.h"
#include "Subcommands.h"

namespace command {

namespace {

struct VerifyOptions {
  std::string config;
  std::string file;
};

void printLine(const std::string& text) {
  std::printf("%s\n", printable(text).c_str());
}

void printList(const char* title, const std::vector<std::string>& texts) {
  for (const std::string& text : texts) printLine(title + text);
}

std::string comparedText(const jobverify::Verdict& verdict) {
  std::string text = counted(verdict.pages, "page") + ", " + counted(verdict.planes, "plane") +
                     ", " + counted(verdict.pixels, "pixel");
  if (verdict.dataBytes > 0) text += ", " + counted(verdict.dataBytes, "data byte");
  return text;
}

int report(const jobverify::Verdict& verdict) {
  printList("", verdict.differences);
  if (verdict.differenceCount > verdict.differences.size()) {
    printLine("and " + grouped(verdict.differenceCount - verdict.differences.size()) +
              " more differences");
  }
  printList("not compared: ", verdict.notCompared);
  printList("note: ", verdict.notes);
  if (verdict.differenceCount > 0) {
    printLine(comparedText(verdict) + ": " + counted(verdict.differenceCount, "difference"));
  } else {
    printLine(comparedText(verdict) +
              (verdict.notCompared.empty() ? ": identical" : ": identical as far as compared"));
  }
  return verdict.isProven() ? kExitDone : kExitFailed;
}

uint64_t bytesToVerify(const std::string& path) {
  std::error_code error;
  const uint64_t size = std::filesystem::file_size(path, error);
  return error ? 0 : size;
}

int verify(const VerifyOptions& options) {
  const jobverify::JobRequest request = jobverify::readRequest(options.config);
  const std::string file = options.file.empty() ? request.outputPath : options.file;
  Progress progress("verifying", file, bytesToVerify(file));
  const jobverify::Verdict verdict = jobverify::verifyJob(
      request, file, [&progress](uint64_t offset) { progress.report(offset); });
  progress.erase();
  return report(verdict);
}

}  // namespace

void addVerify(CLI::App& app, int& exitCode) {
  CLI::App* sub = app.add_subcommand(
      "verify", "Prove that a job file holds exactly what a configuration asks for");
  auto options = std::make_shared<VerifyOptions>();
  sub->add_option("CONFIG", options->config, "the job")->required();
  sub->add_option("FILE", options->file, "the job file; the configuration's output if not given");
  sub->footer(
      "\nExit codes: 0 identical; 1 not, or something could not be compared; 2 wrong usage.\n");
  sub->callback([options, &exitCode] { exitCode = guarded([&] { return verify(*options); }); });
}

}  // namespace command
