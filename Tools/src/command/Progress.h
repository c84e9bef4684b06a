// Progress - how far the reading of a file is: "reading poster.odx  45 %".
#pragma once

#include <cstdint>
#include <string>

#include "StatusLine.h"

namespace command {

class Progress {
 public:
  /// @param verb   what is being done: "reading"
  /// @param path   of the file; its name is shown
  /// @param total  amount of work, in the unit that is reported
  Progress(const std::string& verb, const std::string& path, uint64_t total);

  void report(uint64_t done);
  /// Takes the line away. Nothing else may be written to the terminal before.
  void erase() { line_.erase(); }

 private:
  std::string label_;
  uint64_t total_;
  StatusLine line_;
};

}  // namespace command
