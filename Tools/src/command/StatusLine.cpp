#include "StatusLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace command {

namespace {

constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::chrono::milliseconds kInterval{200};
constexpr size_t kUsualColumns = 80;

bool canRewriteLines() {
  const char* terminal = std::getenv("TERM");
  if (terminal == nullptr || terminal[0] == '\0') return false;
  return isatty(STDERR_FILENO) == 1 && std::string_view(terminal) != "dumb";
}

size_t columns() {
  winsize size = {};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsualColumns;
}

}  // namespace

StatusLine::StatusLine() : isTerminal_(canRewriteLines()), next_(Clock::now() + kPatience) {}

StatusLine::~StatusLine() {
  erase();
}

bool StatusLine::isDue() {
  if (!isTerminal_) return false;
  const Clock::time_point now = Clock::now();
  if (now < next_) return false;
  next_ = now + kInterval;
  return true;
}

void StatusLine::show(const std::string& text) {
  if (!isTerminal_) return;
  isShown_ = true;
  // A line that is wider than the terminal cannot be rewritten.
  std::fprintf(stderr, "\r%s\033[K", text.substr(0, columns() - 1).c_str());
  std::fflush(stderr);
}

void StatusLine::erase() {
  if (!isShown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  isShown_ = false;
}

}  // namespace command
