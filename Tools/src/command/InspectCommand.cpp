// odaxgen inspect - says what a job file holds.

#include <cstdio>
#include <string>

#include "JobFile.h"
#include "JobSummary.h"
#include "Progress.h"
#include "Report.h"
#include "Subcommands.h"
#include "SummaryJson.h"
#include "SummaryText.h"

namespace command {

namespace {

struct InspectOptions {
  std::string file;
  std::string config;
  bool commands = false;
  bool json = false;
};

void print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// With both options the list of commands comes first, so that it need not be kept.
void printJson(const std::string& path, const jobreader::JobSummary& summary, bool hasList) {
  std::string text = dumped(summaryJson(path, summary), 2);
  if (hasList) text = "\n  ]," + text.substr(1);
  print(text + "\n");
}

int inspect(const InspectOptions& options) {
  const auto known = knownJobOf(options.config);
  jobreader::JobFile file(options.file);
  Progress progress("reading", options.file, file.size());
  jobreader::SummaryHooks hooks;
  // The list of commands shows how far it is.
  if (!options.commands) hooks.progress = [&progress](uint64_t at) { progress.report(at); };
  bool isFirst = true;
  if (options.commands && options.json) {
    print("{\n  \"commands\": [");
    hooks.command = [&isFirst](const jobreader::Command& command) {
      print((isFirst ? "\n    " : ",\n    ") + commandJson(command));
      isFirst = false;
    };
  } else if (options.commands) {
    hooks.command = [](const jobreader::Command& command) { print(commandLine(command)); };
  }
  const jobreader::JobSummary summary = summarise(file, known ? &*known : nullptr, hooks);
  progress.erase();
  if (options.json) {
    printJson(options.file, summary, options.commands);
  } else {
    print((options.commands ? "\n" : "") + summaryText(options.file, summary));
  }
  return summary.damage || summary.differenceCount > 0 ? kExitFailed : kExitDone;
}

}  // namespace

void addInspect(CLI::App& app, int& exitCode) {
  CLI::App* sub =
      app.add_subcommand("inspect", "Say what a job file holds and whether it is whole");
  auto options = std::make_shared<InspectOptions>();
  sub->add_option("FILE", options->file, "the job file")->required();
  sub->add_option("--config", options->config,
                  "the job's configuration: packets are compared with its templates, and it knows "
                  "sizes and inks that the file does not say")
      ->type_name("CONFIG");
  sub->add_flag("--commands", options->commands, "list every raster command with its offset");
  sub->add_flag("--json", options->json, "print JSON");
  sub->footer(
      "\nExit codes: 0 the file is whole; 1 it is damaged, or its packets are not those of CONFIG; "
      "2 wrong "
      "usage.\n");
  sub->callback([options, &exitCode] { exitCode = guarded([&] { return inspect(*options); }); });
}

}  // namespace command
