// MemoryStream - bytes as the data of a job file, handed out in pieces.
#pragma once

#include <algorithm>
#include <span>
#include <utility>

#include "DataStream.h"
#include "TempFolder.h"

class MemoryStream : public jobreader::DataStream {
 public:
  /// @param pieceBytes   size of each window
  /// @param gapBytes     between two pieces in the file that these data seem to stand in
  explicit MemoryStream(Bytes bytes, size_t pieceBytes = SIZE_MAX, size_t gapBytes = 0)
      : bytes_(std::move(bytes)), pieceBytes_(pieceBytes), gapBytes_(gapBytes) {}

  std::span<const uint8_t> window() override {
    const size_t left = std::min(bytes_.size() - next_, pieceBytes_ - next_ % pieceBytes_);
    return std::span(bytes_).subspan(next_, left);
  }
  void advance(size_t count) override { next_ += count; }
  [[nodiscard]] uint64_t offset() const override { return next_ + next_ / pieceBytes_ * gapBytes_; }

  [[nodiscard]] bool atEnd() const { return next_ == bytes_.size(); }

 private:
  Bytes bytes_;
  size_t pieceBytes_;
  size_t gapBytes_;
  size_t next_ = 0;
};
