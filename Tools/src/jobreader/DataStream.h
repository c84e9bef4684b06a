// DataStream - the data of a job file without the packets around them: what the raster reader
// reads.
#pragma once

#include <cstdint>
#include <span>

namespace jobreader {

class DataStream {
 public:
  DataStream() = default;
  DataStream(const DataStream&) = delete;
  DataStream& operator=(const DataStream&) = delete;
  virtual ~DataStream() = default;

  /// The bytes that come next and lie side by side: at least one, none only at the end of the data.
  /// Valid until the next call of any operation. @throws ReadError, FileError
  virtual std::span<const uint8_t> window() = 0;
  /// Moves on by at most the size of the last window.
  virtual void advance(size_t count) = 0;
  /// Where the next byte stands in the job file; behind the last one: where that ended.
  [[nodiscard]] virtual uint64_t offset() const = 0;
};

}  // namespace jobreader
