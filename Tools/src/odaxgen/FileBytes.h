// FileBytes - a file read through one block of memory, so that single bytes and short rows cost
// no call of the C library and rows can be read where they lie. Reading is the same as by fread and
// fseek on the bare stream.
#pragma once

#include <cstddef>
#include <cstdint>

#include "CLibrary.h"

class FileBytes {
 public:
  /// Opens for binary reading; false leaves errno as fopen set it. A read or a move that fails
  /// later ends the file, and onReadFailure() is told.
  /// @param path  kept, not copied
  bool open(const char* path);
  void close() { file_.reset(); }
  [[nodiscard]] bool isOpen() const { return file_ != nullptr; }

  /// Reads up to `count` bytes; fewer only at the end of the file.
  size_t read(void* dst, size_t count);
  /// The bytes that can be had without copying, at least one unless the file is at its end.
  struct View {
    const uint8_t* bytes;
    size_t count;
  };
  View peek();
  /// The same without asking the file: what lies in memory, maybe nothing.
  [[nodiscard]] View inMemory() const { return {block_ + next_, buffered()}; }
  /// Moves on by `count` bytes of the last peek() or inMemory().
  void skip(size_t count) { next_ += count; }

  /// Goes to an absolute position; one behind the end reads nothing.
  void seek(uint64_t offset);
  /// The position of the next byte.
  [[nodiscard]] uint64_t position() const { return position_ - buffered(); }
  /// The size of the file in bytes, 0 when it has none (a folder, a pipe).
  uint64_t size();

 private:
  // Large enough that the system call vanishes, small enough to stay in the second-level cache.
  static constexpr size_t kBlockBytes = size_t{256} * 1024;

  [[nodiscard]] size_t buffered() const { return end_ - next_; }
  size_t readStream(void* dst, size_t count);
  void moveStream(uint64_t offset);

  CFile file_;
  const char* path_ = nullptr;
  uint64_t position_ = 0;  // of the stream: the offset of block_[end_]
  bool isAtEnd_ = false;   // a read fell short: no use in asking again
  size_t next_ = 0;        // the next byte of block_
  size_t end_ = 0;         // behind the last byte of block_
  uint8_t block_[kBlockBytes];
};
