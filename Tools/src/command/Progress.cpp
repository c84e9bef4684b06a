#include "Progress.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace command {

namespace {

constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::chrono::milliseconds kInterval{200};

bool canRewriteLines() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

}  // namespace

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)),
      total_(total),
      isTerminal_(canRewriteLines()),
      next_(Clock::now() + kPatience) {}

Progress::~Progress() {
  if (isShown_) std::fputs("\r\033[K", stderr);
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
