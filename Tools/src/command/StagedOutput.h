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

  /// Makes an empty file beside `path`. Symbolic links are followed.
  /// @return the file to write to; null: write to `path` itself, which is no regular file (a
  /// device,
  ///         a pipe), or will be refused. When no file can be made, a name that nobody can open
  const char* stage(const char* path);

  /// The file takes its place, with mode and owner of the one that it replaces.
  /// @throws std::system_error
  void commit();
  /// Gives it up. @return where it was kept; empty: it is gone
  std::string giveUp();

 private:
  bool keepsPartial_;
  std::string target_;   // the file to be, links followed
  std::string kept_;     // PATH.partial
  std::string written_;  // the file until then
  std::optional<leftovers::Leftover> file_;
};

}  // namespace command
