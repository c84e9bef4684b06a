// RasterCommands - cuts a raster stream into its commands and their data. Knows how a command is
// written; what it means, and where it may stand, is the raster reader's business.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "DataStream.h"
#include "RasterSink.h"

namespace jobreader {

/// The data of one command, in one piece wherever they stand in the file.
class CommandData {
 public:
  [[nodiscard]] std::span<const uint8_t> bytes() const { return bytes_; }
  /// Where a byte stands in the job file; for bytes().size(): behind the last one.
  [[nodiscard]] uint64_t offsetOf(size_t position) const;

 private:
  friend class CommandReader;
  struct Segment {
    size_t position;
    uint64_t offset;
  };
  std::span<const uint8_t> bytes_;
  std::vector<Segment> segments_;  // ascending, the first at position 0
  std::vector<uint8_t> copy_;      // of data that are cut by a packet
};

class CommandReader {
 public:
  /// @param data  borrowed; no one else reads it meanwhile
  explicit CommandReader(DataStream& data) : data_(data) {}

  /// True when the stream begins with `text`, which is then passed over; otherwise some of it is
  /// passed over.
  bool skipText(std::string_view text);

  /// The next command. @throws ReadError at the first byte that fits no command
  Command next();

  /// The next `count` bytes as one block, valid until the next call. @throws ReadError when the
  /// stream ends before
  const CommandData& takeData(uint64_t count);

  /// Passes the next `count` bytes on in pieces. @throws ReadError when the stream ends before
  template <class Take>
  void passData(uint64_t count, Take take) {
    while (count > 0) {
      const std::span<const uint8_t> piece = pieceOf(count);
      take(piece);
      drop(piece.size());
      count -= piece.size();
    }
  }

  [[nodiscard]] uint64_t offset() const { return data_.offset() + used_; }
  [[nodiscard]] bool atEnd();
  /// Hands the position back to the stream.
  void finish();

 private:
  uint8_t take(std::string_view expected);
  void drop(size_t count) { used_ += count; }
  bool refill();
  std::span<const uint8_t> pieceOf(uint64_t most);

  DataStream& data_;
  std::span<const uint8_t> window_;
  size_t used_ = 0;  // of the window
  CommandData taken_;
};

}  // namespace jobreader
