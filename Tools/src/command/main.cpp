// odaxgen - the command: runs one job through the library.

#include <odaxgen/ODAXGen.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

constexpr const char* kHelp =
    "Usage: odaxgen CONFIG\n"
    "Turns the job description CONFIG into a printer job file.\n"
    "\n"
    "  -h, --help     show this help\n"
    "      --version  show the version\n"
    "      --         what follows is a file name, also when it begins with '-'\n"
    "\n"
    "Examples:\n"
    "  odaxgen poster.cfg          writes the file that OutFilePath names\n"
    "  odaxgen -- -draft.cfg\n"
    "\n"
    "Exit codes: 0 done, 1 the job failed, 2 wrong usage.\n";

int failUsage(const char* what, std::string_view argument) {
  std::fprintf(stderr, "odaxgen: %s%.*s\ntry 'odaxgen --help'\n", what,
               static_cast<int>(argument.size()), argument.data());
  return kExitUsage;
}

// The library completes relative paths with its application's folder; a command is expected to
// start from the current one.
std::string absolutePath(const std::string& path) {
  if (path.empty() || path.front() == '/') return path;
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::current_path(error);
  return error ? path : (folder / path).string();
}

int runJob(const std::string& config) {
  try {
    makeODAXData(absolutePath(config).c_str());
    return kExitDone;
  } catch (int code) {
    std::fprintf(stderr, "odaxgen: job failed with code %d\n", code);
  } catch (const char* text) {
    std::fprintf(stderr, "odaxgen: job failed: %s\n", text);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "odaxgen: job failed: %s\n", error.what());
  }
  return kExitFailed;
}

}  // namespace

int main(int argc, char** argv) {
  int first = 1;
  if (first < argc) {
    const std::string_view argument = argv[first];
    if (argument == "-h" || argument == "--help") {
      std::fputs(kHelp, stdout);
      return kExitDone;
    }
    if (argument == "--version") {
      std::puts("odaxgen " ODAXGEN_VERSION);
      return kExitDone;
    }
    if (argument == "--") {
      ++first;
    } else if (argument.size() > 1 && argument.front() == '-') {
      return failUsage("unknown option ", argument);
    }
  }
  if (first >= argc) return failUsage("missing CONFIG", "");
  if (first + 1 < argc) return failUsage("unexpected argument ", argv[first + 1]);
  return runJob(argv[first]);
}
