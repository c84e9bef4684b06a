// ReadError - what is thrown when a job file cannot be read on.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace jobreader {

/// The file is damaged: a receiver could not make sense of it.
class ReadError : public std::runtime_error {
 public:
  /// @param offset  of the first byte that is wrong, from the beginning of the file
  /// @param what    what was found there and what was expected
  ReadError(uint64_t offset, const std::string& what) : std::runtime_error(what), offset_(offset) {}
  [[nodiscard]] uint64_t offset() const { return offset_; }

 private:
  uint64_t offset_;
};

/// The operating system would not give or take a file: no such file, not a regular file, a failing
/// disk. The text names the file and the cause.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace jobreader
