// JobFile - a job file as a window of bytes that moves through it: never more than one block of it
// is in memory. Knows nothing of what the bytes mean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace jobreader {

class JobFile {
 public:
  static constexpr size_t kBlockBytes = size_t{256} * 1024;

  /// Opens a regular file. @throws FileError
  explicit JobFile(const std::string& path);
  ~JobFile();
  JobFile(const JobFile&) = delete;
  JobFile& operator=(const JobFile&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  /// Size when the file was opened.
  [[nodiscard]] uint64_t size() const { return size_; }
  /// Of the next byte, from the beginning of the file.
  [[nodiscard]] uint64_t offset() const { return blockOffset_ + next_; }
  [[nodiscard]] bool atEnd() const { return offset() == size_; }

  /// The bytes that come next, without moving: at least `atLeast` (at most kBlockBytes) unless the
  /// file ends before; more when they are in memory anyway. Empty at the end of the file. Valid
  /// until the next call. @throws FileError when the file cannot be read or has become shorter
  std::span<const uint8_t> peek(size_t atLeast = 1);
  /// True when exactly this text comes next.
  bool nextIs(std::string_view text);
  /// Moves on by `count` bytes, which must not pass the end of the file.
  void advance(uint64_t count) { seek(offset() + count); }
  /// Moves to an offset of 0 to size().
  void seek(uint64_t offset);

 private:
  void fill(size_t atLeast);

  std::string path_;
  int file_ = -1;
  uint64_t size_ = 0;
  std::vector<uint8_t> block_;  // kBlockBytes of room
  uint64_t blockOffset_ = 0;    // where the block stands in the file
  size_t filled_ = 0;           // bytes of the block that hold something
  size_t next_ = 0;             // at most filled_
};

}  // namespace jobreader
