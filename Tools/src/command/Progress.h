// Progress - one rewritten line on standard error for work that takes longer than a second. Only on
// a terminal; erased at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace command {

class Progress {
 public:
  /// @param verb   what is being done: "reading"
  /// @param path   of the file; its name is shown
  /// @param total  amount of work, in the unit that is reported
  Progress(const std::string& verb, const std::string& path, uint64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void report(uint64_t done);
  /// Takes the line away. Nothing else may be written to the terminal before.
  void erase();

 private:
  using Clock = std::chrono::steady_clock;

  std::string label_;
  uint64_t total_;
  bool isTerminal_;
  bool isShown_ = false;
  Clock::time_point next_;  // when the line is written next
};

}  // namespace command
