// JobProgress - how far a job is, as one line on a terminal: a bar, the page, its rows, the speed
// at which the inputs are read and the time that is left.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "StatusLine.h"

struct parameter;
struct imageParameter;

namespace command {

class JobProgress {
 public:
  /// @param isWanted  false: nothing is ever shown
  explicit JobProgress(bool isWanted);

  // Told in the order of a job; see JobHooks.
  void jobBegins(const parameter& record, const std::string& dataFile);
  void pageBegins(const imageParameter& page, uint32_t rows);
  void bandSent(int rows);
  void pageEnds();
  void pageSkipped(const imageParameter& page);
  void dataCopied(uint64_t bytes);

  /// Takes the line away. Nothing else may be written to the terminal before.
  void erase() { line_.erase(); }

 private:
  using Clock = std::chrono::steady_clock;

  void show(double bytesOfPage);
  [[nodiscard]] uint64_t sizeOf(const std::string& path);

  StatusLine line_;
  bool isShown_;  // somebody would see it
  Clock::time_point begin_;
  std::map<const imageParameter*, size_t> numbers_;  // of the pages, from 1
  std::vector<uint64_t> pageBytes_;                  // of the images of each page
  std::map<std::string, uint64_t> sizes_;            // pages often share their files
  uint64_t totalBytes_ = 0;
  uint64_t doneBytes_ = 0;  // of whole pages, or of the data file
  size_t page_ = 0;
  uint64_t rows_ = 0, rowsDone_ = 0;  // of the page
};

}  // namespace command
