// odaxgen - the command: makes job files, and reads them back.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <string>

#include "Report.h"
#include "Subcommands.h"

namespace {

constexpr const char* kFooter =
    "\n"
    "Examples:\n"
    "  odaxgen poster.cfg                  writes the file that OutFilePath names\n"
    "  odaxgen verify poster.cfg           proves that this file is right\n"
    "  odaxgen inspect poster.odx          says what is in it\n"
    "  odaxgen render poster.odx -o out    draws its pages\n"
    "  odaxgen -- -draft.cfg               a name that begins with '-'\n"
    "\n"
    "Exit codes: 0 done; 1 the job failed, the file is damaged or differs; 2 wrong usage.\n";

void declare(CLI::App& app, std::string& config, int& exitCode) {
  app.name("odaxgen");
  app.description(
      "Turns a plain-text job description into a printer job file, and reads job files "
      "back.");
  app.footer(kFooter);
  app.set_version_flag("--version", "odaxgen " ODAXGEN_VERSION);
  app.add_option("CONFIG", config, "the job to run");
  app.get_formatter()->label("REQUIRED", "");
  app.get_formatter()->label("TEXT", "");
  app.require_subcommand(0, 1);
  command::addInspect(app, exitCode);
  command::addVerify(app, exitCode);
  command::addRender(app, exitCode);
}

int failUsage(const CLI::App& app, const std::string& what) {
  command::complain(what);
  std::string help = "odaxgen";
  for (const CLI::App* chosen : app.get_subcommands()) help += " " + chosen->get_name();
  std::fprintf(stderr, "try '%s --help'\n", help.c_str());
  return command::kExitUsage;
}

int run(int argc, char** argv) {
  CLI::App app;
  std::string config;
  int exitCode = command::kExitDone;
  try {
    declare(app, config, exitCode);
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {  // help or version
    return app.exit(asked);
  } catch (const CLI::ParseError& error) {
    return failUsage(app, error.what());
  }
  if (!app.get_subcommands().empty()) return exitCode;
  if (app.count("CONFIG") == 0) return failUsage(app, "missing CONFIG");
  return command::runJob(config);
}

}  // namespace

int main(int argc, char** argv) {
  return command::guarded([&] { return run(argc, argv); });
}
