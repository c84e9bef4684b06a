// FileText - a text file, line by line as the library reads it, with the line numbers that an
// editor shows: CR LF is one line end there and two here.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace jobcheck {

/// A line as sReadLine() gives it.
struct TextLine {
  std::string text;     // up to the first NUL byte, at most 1023 characters
  int count = 0;        // characters of the line, NUL bytes included; 1024 when it was cut
  int number = 0;       // as an editor counts, from 1
  int readNumber = 0;   // as the library counts, from 1
  size_t fullSize = 0;  // characters in the file
};

enum class FileKind { kRegular, kFolder, kSpecial, kMissing };

/// What stands behind a path; kMissing also when it cannot be reached.
FileKind kindOf(const std::string& path);

/// Says that a file could not be opened, for which errno has the reason.
/// @return false
/// @throws std::bad_alloc when memory was all that lacked: that says nothing of the file
bool cannotOpen();

class FileText {
 public:
  /// Reads a whole file, at most kMostBytes of it: a device may never end. A folder is an empty
  /// one, as it is for the library.
  /// @return false when it cannot be opened
  bool read(const std::string& path);

  [[nodiscard]] const std::string& content() const { return content_; }
  /// Hands each line of the content on.
  void forEachLine(const std::function<void(const TextLine&)>& visit) const;

  static constexpr size_t kMostBytes = size_t{256} << 20U;

 private:
  std::string content_;
};

}  // namespace jobcheck
