// RowLanes - rebuilds the rows of one page, row command by row command. Holds the last row of each
// plane, which is what the next one may refer to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "RasterCommands.h"
#include "RasterSink.h"
#include "RowDecoders.h"

namespace jobreader {

class RowLanes {
 public:
  /// @param format  of the page; without planes the first row shows how many there are
  /// @param method  compression method that the page begins with
  RowLanes(const PageFormat& format, int method);

  /// A page that names a method that there is not may have no rows: they are refused at `offset`.
  void setMethod(int method, uint64_t offset);
  /// The rows above are no longer those of the image: nothing refers to them.
  void forgetRowAbove() { isAboveKnown_ = false; }
  /// Takes one row command. @return true when it ended the row
  /// @throws ReadError
  bool take(const Command& command, const CommandData& data);
  /// The planes of the row that has just ended; valid until the next command.
  std::span<const PlaneRow> row();

  [[nodiscard]] bool isInsideRow() const { return next_ != 0; }

 private:
  // What one row command of a row carries: a plane, or half of one.
  struct Lane {
    size_t plane = 0;
    RowBytes row;
    RowBytes above;  // the row before, where the code refers to it
    size_t mostBytes = kMaxRowBytes;
    size_t exactBytes = 0;  // length that every row has; 0: not known, or trimmed rows
    PlaneRow info;
  };

  struct Unknown {
    int method;
    uint64_t offset;  // of the command that set it
  };

  void addLanes(const PlaneFormat& format);
  Lane& laneFor(const Command& command);
  void checkMethod() const;
  void decode(Lane& lane, std::span<const uint8_t> code) const;
  void checkLength(Lane& lane, const Command& command) const;

  bool isLaneCountKnown_;
  bool hasWholeRows_;  // the page's method sends rows in full length
  int method_;
  std::optional<Unknown> unknown_;  // the first method of the page that there is not
  bool isAboveKnown_ = false;
  std::vector<Lane> lanes_;
  size_t planes_ = 0;
  size_t next_ = 0;  // lane of the next command
  std::vector<PlaneRow> rows_;
  std::vector<RowBytes> joined_;  // by plane: halves put together
};

}  // namespace jobreader
