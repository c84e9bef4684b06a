// Surroundings - where measurements happen: a folder in memory, and words about machine, compiler
// and program.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

/// A folder of our own, removed with everything in it, also behind a signal that asks us to end.
/// TMPDIR is the folder.
class Workplace {
 public:
  /// @param parent  where it is made
  /// @throws std::runtime_error when it cannot be, or has fewer than `bytes` left
  Workplace(const std::string& parent, uint64_t bytes);
  ~Workplace();
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  [[nodiscard]] const std::string& folder() const { return folder_; }
  /// A path in it.
  [[nodiscard]] std::string path(const std::string& name) const { return folder_ + '/' + name; }

 private:
  std::string folder_;
};

/// Lines about the machine, the compiler, the measured program and the day.
/// @param version  what the program says of itself
std::string aboutText(const std::string& version);

/// Prints the text and, when `folder` is not empty, keeps it there under the day and a name.
void keepResults(const std::string& text, const std::string& folder, const std::string& name);

}  // namespace bench
