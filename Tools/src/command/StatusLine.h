// StatusLine - one line on standard error that is rewritten while work goes on. Only on a terminal
// that can do it; shown when the work has taken a second, and erased at the end.
#pragma once

#include <chrono>
#include <string>

namespace command {

class StatusLine {
 public:
  StatusLine();
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  /// False: nobody would see the line, so nothing need be found out for it.
  [[nodiscard]] bool isVisible() const { return isTerminal_; }
  /// Time to show() anew. Cheap enough to be asked for each row.
  bool isDue();
  /// @param text  printable; what is wider than the terminal is cut
  void show(const std::string& text);
  /// Takes the line away. Nothing else may be written to the terminal before.
  void erase();

 private:
  using Clock = std::chrono::steady_clock;

  bool isTerminal_;
  bool isShown_ = false;
  Clock::time_point next_;  // when the line is written next
};

}  // namespace command
