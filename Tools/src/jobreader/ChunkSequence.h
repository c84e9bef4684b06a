// ChunkSequence - checks what send-data packets say against the ones before them. Keeps nothing of
// a packet but two numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Packets.h"

namespace jobreader {

class ChunkSequence {
 public:
  /// The size of the chunks that all say OFF when the split size is negative.
  static constexpr uint64_t kNegativeSplitBytes = 65536;

  /// @param packet  the next send-data packet, with dataSize
  /// @return        something worth saying of it
  /// @throws ReadError when it cannot follow the ones before
  std::optional<std::string> add(const Packet& packet);

 private:
  void checkSize(const Packet& packet) const;
  void checkContinue(const Packet& packet) const;

  uint64_t count_ = 0;
  uint64_t fullSize_ = 0;          // of the first packet
  uint64_t lastSize_ = 0;          // of the packet before
  std::optional<bool> continues_;  // what the first packet says
};

}  // namespace jobreader
