#include "ChunkSequence.h"

#include "ReadError.h"

namespace jobreader {

namespace {

std::string bytes(uint64_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string said(std::optional<bool> continues) {
  if (!continues) return "nothing";
  return *continues ? "ON" : "OFF";
}

}  // namespace

std::optional<std::string> ChunkSequence::add(const Packet& packet) {
  const uint64_t size = packet.dataSize.value_or(0);
  const bool isSecond = count_ == 1;
  if (count_ == 0) {
    fullSize_ = size;
    continues_ = packet.continues;
  } else {
    checkSize(packet);
    checkContinue(packet);
  }
  ++count_;
  lastSize_ = size;
  if (!isSecond || continues_.value_or(true)) return std::nullopt;
  return "all send-data packets say OFF, as with a negative split size";
}

void ChunkSequence::checkSize(const Packet& packet) const {
  const uint64_t size = packet.dataSize.value_or(0);
  if (lastSize_ < fullSize_) {
    throw ReadError(packet.offset, "a send-data packet behind the last one, which has " +
                                       bytes(lastSize_) + " where a full one has " +
                                       std::to_string(fullSize_));
  }
  if (size > fullSize_) {
    throw ReadError(packet.offset, "a send-data packet of " + bytes(size) +
                                       ", the ones before have " + std::to_string(fullSize_));
  }
}

void ChunkSequence::checkContinue(const Packet& packet) const {
  const bool full = packet.dataSize.value_or(0) == fullSize_;
  if (continues_ == false && fullSize_ != kNegativeSplitBytes)
    throw ReadError(packet.offset, "a send-data packet behind one that says OFF");
  std::optional<bool> expected;
  if (continues_) expected = *continues_ && full;
  if (packet.continues != expected) {
    throw ReadError(packet.offset, "a send-data packet of " + bytes(packet.dataSize.value_or(0)) +
                                       " says " + said(packet.continues) +
                                       " about continuing, expected " + said(expected));
  }
}

}  // namespace jobreader
