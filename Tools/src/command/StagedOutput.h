// StagedOutput - the output of a job under a name of its own until it is whole, so that neither a
// failed job nor a killed one touches an earlier file or leaves half of one.
#pragma once

#include <optional>
#include <string>

#include "Leftovers.h"

namespace command {

class StagedOutput {
 public:
  /// @param keepsPartial  what is not committed is kept as PATH.partial
  explicit StagedOutput(bool keepsPartial) : keepsPartial_(keepsPartial) {}

  /// Makes an empty file beside `path`. Symbolic links are followed, and the file gets mode and
  /// owner of the one that it will replace.
  /// @return the file to write to; null: write to `path` itself, which is no regular file (a
  /// device,
  ///         a pipe), or may not be written and will be refused
  const char* stage(const char* path);

  /// The file takes its place. @throws std::system_error
  void commit();
  /// Gives it up. @return where it was kept; empty: it is gone
  std::string giveUp();

 private:
  bool keepsPartial_;
  std::string target_;
  std::string kept_;  // PATH.partial
  std::string written_;
  std::optional<leftovers::Leftover> file_;
};

}  // namespace command
