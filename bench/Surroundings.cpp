#include "Surroundings.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "Runner.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

std::string processorModel(const utsname& machine) {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  }
  return machine.machine;  // not every processor says more
}

long memoryMegabytes() {
  return sysconf(_SC_PHYS_PAGES) / 1024 * sysconf(_SC_PAGESIZE) / 1024;
}

std::string timeText(const char* format) {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  std::ostringstream text;
  text << std::put_time(&parts, format);
  return text.str();
}

}  // namespace

Workplace::Workplace(const std::string& parent, uint64_t bytes) {
  std::string path = parent + "/odaxgen-bench.XXXXXX";
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error(parent + ": no folder can be made");
  folder_ = path;
  if (fs::space(folder_).available < bytes) {
    fs::remove(folder_);
    throw std::runtime_error(parent + ": needs " + std::to_string(bytes / 1000000) + " MB");
  }
  stopAtSignals();
  setenv("TMPDIR", folder_.c_str(), 1);
}

Workplace::~Workplace() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::string aboutText(const std::string& version) {
  utsname machine{};
  uname(&machine);
  std::ostringstream text;
  text << "machine   " << processorModel(machine) << ", " << sysconf(_SC_NPROCESSORS_ONLN)
       << " cores, " << memoryMegabytes() << " MB\n";
  text << "kernel    " << machine.sysname << ' ' << machine.release << ", " << machine.machine
       << '\n';
  text << "compiler  " << ODAXGEN_COMPILER << '\n';
  text << "program   " << version;
  text << "date      " << timeText("%Y-%m-%d %H:%M UTC") << '\n';
  return text.str();
}

void keepResults(const std::string& text, const std::string& folder, const std::string& name) {
  std::fputs(text.c_str(), stdout);
  if (folder.empty()) return;
  const std::string place = folder + '/' + timeText("%Y-%m-%d");
  fs::create_directories(place);
  std::ofstream file(place + '/' + name);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(place + ": cannot be written");
  std::printf("\nkept in %s/%s\n", place.c_str(), name.c_str());
}

}  // namespace bench
