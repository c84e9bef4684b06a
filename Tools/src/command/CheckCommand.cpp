// odaxgen check - says what is wrong or surprising in jobs, without running them.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "CLibrary.h"
#include "CheckJson.h"
#include "CheckText.h"
#include "Problem.h"
#include "Report.h"
#include "Subcommands.h"
#include "SummaryJson.h"

namespace command {

namespace {

struct CheckOptions {
  std::vector<std::string> configs;
  bool isStrict = false;
  bool isJson = false;
  bool isQuiet = false;
};

// Of a variable that is not set: empty.
std::string_view variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

bool hasColours() {
  const std::string_view terminal = variable("TERM");
  const bool isAble = !terminal.empty() && terminal != "dumb";
  return isatty(STDOUT_FILENO) == 1 && isAble && variable("NO_COLOR").empty();
}

bool isRefused(const std::vector<jobcheck::CheckedJob>& jobs, bool isStrict) {
  size_t found = 0;
  for (const jobcheck::CheckedJob& job : jobs) {
    found += job.count(jobcheck::Severity::kError);
    if (isStrict) found += job.count(jobcheck::Severity::kWarning);
  }
  return found > 0;
}

// What could not be read is no finding.
[[noreturn]] void endOnReadFailure(void* /*context*/, const char* path, int error) {
  throw std::system_error(error, std::generic_category(), printable(path));
}

int check(const CheckOptions& options) {
  onReadFailure(endOnReadFailure, nullptr);
  forgetMemoryRefusals();
  const std::vector<jobcheck::CheckedJob> jobs = jobcheck::checkJobs(options.configs);
  if (wasMemoryRefused()) throw std::bad_alloc();  // and not what the want of it looks like
  const std::string text = options.isJson ? dumped(checkJson(jobs), 2) + "\n"
                                          : checkText(jobs, {hasColours(), options.isQuiet});
  std::fwrite(text.data(), 1, text.size(), stdout);
  return isRefused(jobs, options.isStrict) ? kExitFailed : kExitDone;
}

}  // namespace

void addCheck(CLI::App& app, int& exitCode) {
  CLI::App* sub =
      app.add_subcommand("check", "Say what is wrong or surprising in jobs, without running them");
  auto options = std::make_shared<CheckOptions>();
  sub->add_option("CONFIG", options->configs, "the jobs, as they would be run")->required();
  sub->add_flag("--strict", options->isStrict, "warnings count as errors for the exit code");
  sub->add_flag("--json", options->isJson, "one JSON document instead of text");
  sub->add_flag("-q,--quiet", options->isQuiet, "problems only: no hints, no summary");
  sub->footer("\nExit codes: 0 no errors; 1 errors, with --strict warnings too; 2 wrong usage.\n");
  sub->callback([options, &exitCode] { exitCode = guarded([&] { return check(*options); }); });
}

}  // namespace command
