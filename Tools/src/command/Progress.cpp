#include "Progress.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include "Report.h"

namespace command {

namespace {

constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::chrono::milliseconds kInterval{200};

bool canRewriteLines() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

// A line that is wider than the terminal cannot be rewritten.
std::string shortName(const std::string& path) {
  constexpr size_t kMostColumns = 40;
  const std::string name = printable(path.substr(path.rfind('/') + 1));
  return name.size() <= kMostColumns ? name : name.substr(0, kMostColumns) + "...";
}

}  // namespace

Progress::Progress(const std::string& verb, const std::string& path, uint64_t total)
    : label_(verb + " " + shortName(path)),
      total_(total),
      isTerminal_(canRewriteLines()),
      next_(Clock::now() + kPatience) {}

Progress::~Progress() {
  erase();
}

void Progress::erase() {
  if (!isShown_) return;
  std::fputs("\r\033[K", stderr);
  isShown_ = false;
}

void Progress::report(uint64_t done) {
  if (!isTerminal_ || total_ == 0) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + kInterval;
  isShown_ = true;
  const double share = 100.0 * static_cast<double>(done) / static_cast<double>(total_);
  std::fprintf(stderr, "\r%s %3.0f %%\033[K", label_.c_str(), share);
  std::fflush(stderr);
}

}  // namespace command
