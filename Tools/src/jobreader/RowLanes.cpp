#include "RowLanes.h"

#include <algorithm>
#include <array>

#include "ReadError.h"

namespace jobreader {

namespace {

enum Method : int { kPlain = 0, kPackBits = 2, kDeltaRow = 3, kHxrc = 4 };

constexpr std::array<int, 4> kMethods = {kPlain, kPackBits, kDeltaRow, kHxrc};

size_t rowBytesOf(const PlaneFormat& plane) {
  const uint64_t bits = uint64_t{plane.width} * static_cast<uint64_t>(std::max(plane.depth, 0));
  return static_cast<size_t>(std::min<uint64_t>((bits + 7) / 8, kMaxRowBytes));
}

void join(const RowBytes& high, const RowBytes& low, RowBytes& words) {
  words.resize(2 * std::max(high.size(), low.size()));
  for (size_t i = 0; i < words.size() / 2; ++i) {
    words[2 * i] = i < high.size() ? high[i] : uint8_t{0xFF};
    words[2 * i + 1] = i < low.size() ? low[i] : uint8_t{0xFF};
  }
}

}  // namespace

RowLanes::RowLanes(const PageFormat& format, int method)
    : isLaneCountKnown_(!format.planes.empty()),
      hasWholeRows_(method == kDeltaRow || method == kHxrc),
      method_(method) {
  for (const PlaneFormat& plane : format.planes) addLanes(plane);
}

void RowLanes::addLanes(const PlaneFormat& format) {
  Lane lane;
  lane.plane = planes_++;
  if (format.width > 0) {
    lane.mostBytes = format.halves ? format.width : rowBytesOf(format);
    if (hasWholeRows_) lane.exactBytes = lane.mostBytes;
  }
  lanes_.push_back(lane);
  if (format.halves) lanes_.push_back(lane);
  joined_.emplace_back();
}

void RowLanes::setMethod(int method, uint64_t offset) {
  method_ = method;
  const bool isKnown = std::find(kMethods.begin(), kMethods.end(), method) != kMethods.end();
  if (!isKnown && !unknown_) unknown_ = Unknown{method, offset};
}

// Pages without rows may name any method.
void RowLanes::checkMethod() const {
  if (!unknown_) return;
  throw ReadError(unknown_->offset, "compression method " + std::to_string(unknown_->method) +
                                        "; expected 0, 2, 3 or 4");
}

RowLanes::Lane& RowLanes::laneFor(const Command& command) {
  if (!isLaneCountKnown_ && next_ == lanes_.size()) {
    constexpr size_t kMostLanes = 256;  // planes are counted in a byte
    if (next_ == kMostLanes) throw ReadError(command.offset, "a row of more planes than there are");
    addLanes(PlaneFormat{});
  }
  const bool isLast = command.letter == 'W';
  if (isLaneCountKnown_ && isLast != (next_ + 1 == lanes_.size())) {
    throw ReadError(command.offset, std::string(isLast ? "the row ends early" : "the row goes on") +
                                        "; expected " + std::to_string(lanes_.size()) +
                                        " row commands in each row");
  }
  return lanes_[next_];
}

void RowLanes::decode(Lane& lane, std::span<const uint8_t> code) const {
  if (method_ == kDeltaRow) {
    if (!isAboveKnown_) throw RowError(0, "a difference from a row that is not known here");
    decodeDeltaRow(code, lane.row);
    return;
  }
  if (method_ == kHxrc) {
    std::swap(lane.row, lane.above);
    decodeHxrc(code,
               isAboveKnown_ ? std::optional<std::span<const uint8_t>>(lane.above) : std::nullopt,
               lane.row);
    return;
  }
  if (method_ == kPackBits) {
    decodePackBits(code, lane.row);
    return;
  }
  if (code.size() > kMaxRowBytes) throw RowError(0, "the row is too long");
  lane.row.assign(code.begin(), code.end());
}

void RowLanes::checkLength(Lane& lane, const Command& command) const {
  const size_t length = lane.row.size();
  const auto refuse = [&](const std::string& but) {
    throw ReadError(command.offset, "a row of " + std::to_string(length) + " bytes; " + but);
  };
  // The first whole row shows how long all rows of the plane are.
  const bool isWhole = hasWholeRows_ || method_ == kDeltaRow || method_ == kHxrc;
  if (isWhole && lane.exactBytes == 0) lane.exactBytes = length;
  if (lane.exactBytes != 0 && length != lane.exactBytes)
    refuse("the others have " + std::to_string(lane.exactBytes));
  if (length > lane.mostBytes)
    refuse("the page is " + std::to_string(lane.mostBytes) + " bytes wide");
  if (next_ == 0 || lanes_[next_ - 1].plane != lane.plane) return;
  const Lane& high = lanes_[next_ - 1];
  if (high.info.failure == 0 && length != high.row.size())
    refuse("its high bytes are " + std::to_string(high.row.size()));
}

bool RowLanes::take(const Command& command, const CommandData& data) {
  checkMethod();
  Lane& lane = laneFor(command);
  lane.info.offset = command.offset;
  lane.info.codedBytes = command.dataBytes;
  lane.info.method = method_;
  lane.info.failure = std::min<int64_t>(command.number, 0);
  if (command.number < 0) {
    lane.row.clear();
  } else {
    try {
      decode(lane, data.bytes());
    } catch (const RowError& error) {
      const bool hasPlace = !data.bytes().empty();
      throw ReadError(hasPlace ? data.offsetOf(error.position()) : command.offset, error.what());
    }
    checkLength(lane, command);
  }
  ++next_;
  if (command.letter != 'W') return false;
  next_ = 0;
  isLaneCountKnown_ = true;
  isAboveKnown_ = true;
  return true;
}

std::span<const PlaneRow> RowLanes::row() {
  rows_.resize(planes_);
  for (size_t i = 0; i < lanes_.size(); ++i) {
    Lane& lane = lanes_[i];
    PlaneRow& row = rows_[lane.plane];
    row = lane.info;
    row.bytes = lane.row;
    if (i + 1 == lanes_.size() || lanes_[i + 1].plane != lane.plane) continue;
    const Lane& low = lanes_[++i];
    join(lane.row, low.row, joined_[lane.plane]);
    row.bytes = joined_[lane.plane];
    row.codedBytes += low.info.codedBytes;
    row.failure = std::min(row.failure, low.info.failure);
  }
  return rows_;
}

}  // namespace jobreader
