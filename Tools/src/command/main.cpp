// odaxgen - the command: makes job files, and reads them back.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Leftovers.h"
#include "Report.h"
#include "Subcommands.h"
#include "Suggestion.h"
#include "Version.h"

namespace {

constexpr const char* kFooter =
    "\n"
    "Examples:\n"
    "  odaxgen init first                  writes a job to start from into the folder 'first'\n"
    "  odaxgen check poster.cfg            says what is wrong or surprising in a job\n"
    "  odaxgen poster.cfg                  writes the file that OutFilePath names\n"
    "  odaxgen verify poster.cfg           proves that this file is right\n"
    "  odaxgen inspect poster.odx          says what is in it\n"
    "  odaxgen render poster.odx -o out    draws its pages\n"
    "  odaxgen -- -draft.cfg               a name that begins with '-'\n"
    "\n"
    "Exit codes: 0 done; 1 the job failed, the file is damaged or differs; 2 wrong usage.\n";

constexpr int kNoSubcommand = -1;  // none of them has set an exit code

class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    label("REQUIRED", "");
    label("TEXT", "");
  }
  std::string make_usage(const CLI::App* app, std::string name) const override {
    if (app->get_parent() != nullptr) return CLI::Formatter::make_usage(app, std::move(name));
    return "Usage: odaxgen CONFIG\n       odaxgen SUBCOMMAND [OPTIONS] ...\n";
  }
};

void declare(CLI::App& app, std::string& config, int& exitCode) {
  app.name("odaxgen");
  app.description(
      "Turns a plain-text job description into a printer job file, and reads job files "
      "back.");
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(kFooter);
  app.set_version_flag("--version", command::versionText());
  app.add_option("CONFIG", config, "the job to run, as 'odaxgen run CONFIG' does");
  app.require_subcommand(0, 1);
  command::addRun(app, exitCode);
  command::addCheck(app, exitCode);
  command::addVerify(app, exitCode);
  command::addInspect(app, exitCode);
  command::addRender(app, exitCode);
  command::addExplain(app, exitCode);
  command::addInit(app, exitCode);
}

// Whoever mistypes a subcommand gives a configuration that is not there.
std::string mistypedSubcommand(const CLI::App& app, const std::string& config) {
  std::error_code error;
  if (config.empty() || std::filesystem::exists(config, error)) return "";
  std::vector<std::string> names;
  for (const CLI::App* each : app.get_subcommands({})) names.push_back(each->get_name());
  return command::suggestion(config, names);
}

int failUsage(const CLI::App& app, const std::string& what, const std::string& meant = "") {
  command::complain(what);
  if (!meant.empty()) command::complain("did you mean 'odaxgen " + meant + "'?");
  std::string help = "odaxgen";
  for (const CLI::App* chosen : app.get_subcommands()) help += " " + chosen->get_name();
  std::fprintf(stderr, "try '%s --help'\n", help.c_str());
  return command::kExitUsage;
}

std::string notFound(const std::string& config) {
  return command::printable(config) + " is neither a file nor a subcommand";
}

// Whoever mistypes a subcommand gives a configuration that is not there, and one file too many.
std::string usageError(const std::string& config, const CLI::ParseError& error) {
  const bool isExtra = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
  std::error_code ignored;
  if (!isExtra || config.empty()) return error.what();
  if (std::filesystem::exists(config, ignored)) {
    return std::string(error.what()) + "; several jobs: odaxgen run CONFIG...";
  }
  return notFound(config);
}

// A closed stream's number would go to the next file that is opened, and messages into that file.
// Opened the wrong way round, the streams fail as closed ones do.
void fillClosedStreams() {
  for (int stream = 0; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
}

void sayWhatIsLeft(const char* path, int error) noexcept {
  try {
    command::complain(command::printable(path) + " cannot be removed: " + std::strerror(error));
  } catch (const std::bad_alloc&) {
    command::complainOfMemory();
  }
}

std::terminate_handler sUsualEnd;

// Memory may run out where nobody can catch what is thrown: in a destructor, or before main(),
// where the option parser makes its objects. That is a failure like others, and no crash.
[[noreturn]] void endInNeed() noexcept {
  leftovers::removeAll();
  try {
    if (std::current_exception() != nullptr) throw;
  } catch (const std::bad_alloc&) {
    command::complainOfMemory();
    _exit(command::kExitFailed);
  } catch (...) {  // NOLINT(bugprone-empty-catch): goes the usual way
  }
  sUsualEnd();
  std::abort();
}

// Runs before the objects that are made before main().
__attribute__((constructor(101))) void watchTheEnd() {
  sUsualEnd = std::set_terminate(endInNeed);
}

int run(int argc, char** argv) {
  CLI::App app;
  std::string config;
  int exitCode = kNoSubcommand;
  try {
    declare(app, config, exitCode);
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {  // help or version
    return app.exit(asked);
  } catch (const CLI::ParseError& error) {
    return failUsage(app, usageError(config, error), mistypedSubcommand(app, config));
  }
  if (exitCode != kNoSubcommand) return exitCode;
  if (app.count("CONFIG") == 0) return failUsage(app, "missing CONFIG");
  if (config.empty()) return failUsage(app, "CONFIG: the name is empty");
  const std::string meant = mistypedSubcommand(app, config);
  if (!meant.empty()) return failUsage(app, notFound(config), meant);
  return command::runJobOf(config);
}

}  // namespace

int main(int argc, char** argv) {
  fillClosedStreams();
  leftovers::watchSignals();
  leftovers::onFailure(sayWhatIsLeft);
  return command::guarded([&] { return run(argc, argv); });
}
