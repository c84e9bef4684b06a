// odaxgen CONFIG - runs one job through the library.

#include <odaxgen/ODAXGen.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>

#include "Subcommands.h"

namespace command {

namespace {

// The library completes relative paths with its application's folder; a command is expected to
// start from the current one.
std::string absolutePath(const std::string& path) {
  if (path.empty() || path.front() == '/') return path;
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::current_path(error);
  return error ? path : (folder / path).string();
}

}  // namespace

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

}  // namespace command
