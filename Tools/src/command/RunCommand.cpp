// odaxgen run - runs jobs; "odaxgen CONFIG" is the same for one.

#include <cstdio>
#include <string>
#include <vector>

#include "JobRunner.h"
#include "Report.h"
#include "RunReport.h"
#include "Subcommands.h"

namespace command {

namespace {

struct RunArguments {
  std::vector<std::string> configs;
  bool isJson = false;
  RunOptions run;
};

// A failed job does not keep the later ones from running.
int runAll(const RunArguments& options) {
  const bool areMany = options.configs.size() > 1;
  std::vector<JobResult> results;
  int exitCode = kExitDone;
  for (const std::string& config : options.configs) {
    JobResult result = runOneJob(config, options.run);
    std::fflush(stdout);  // the echo comes before what is said about the job
    if (!options.isJson) reportResult(result, areMany);
    if (!result.isDone) exitCode = kExitFailed;
    if (options.isJson) results.push_back(std::move(result));
  }
  if (options.isJson) std::fputs(resultsAsJson(results).c_str(), stdout);
  return exitCode;
}

std::string refuseEmptyName(const std::string& config) {
  return config.empty() ? "the name is empty" : "";
}

}  // namespace

int runJobOf(const std::string& config) {
  RunArguments options;
  options.configs.push_back(config);
  return guarded([&] { return runAll(options); });
}

void addRun(CLI::App& app, int& exitCode) {
  CLI::App* sub = app.add_subcommand("run", "Run jobs: write the job files that they ask for");
  auto options = std::make_shared<RunArguments>();
  sub->add_option("CONFIG", options->configs, "the jobs")
      ->required()
      ->check(CLI::Validator(refuseEmptyName, ""));
  sub->add_flag("-q,--quiet", options->run.isQuiet, "no echo of the settings, no progress");
  sub->add_flag("--json", options->isJson, "results as JSON on standard output, and no echo");
  sub->add_flag("--keep-partial", options->run.keepsPartialOutput,
                "keep what a failed job has written, as OUTPUT.partial");
  sub->footer(
      "\nRelative paths in a configuration start at its folder. A job file takes its place when "
      "it\n"
      "is whole: a job that fails or is interrupted leaves an earlier one as it was.\n"
      "\n"
      "Exit codes: 0 done; 1 a job failed; 2 wrong usage.\n");
  sub->callback([options, &exitCode] {
    options->run.isQuiet = options->run.isQuiet || options->isJson;
    options->run.keepsMessages = options->isJson;
    exitCode = guarded([&] { return runAll(*options); });
  });
}

}  // namespace command
