// Packets - what the packet reader tells of a job file's packets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace jobreader {

enum class PacketRole { kOpening, kSendData, kEnd };

/// The text of one leaf element.
struct PacketValue {
  std::string name;  // its name attribute, else its tag without the prefix
  std::string text;
  bool overridden = false;  // the job's configuration replaces it; known with a configuration only
};

/// One packet: XML, and the data that it announces.
struct Packet {
  PacketRole role = PacketRole::kOpening;
  std::string name;                  // root element without the prefix
  uint64_t offset = 0;               // of its first byte
  uint64_t size = 0;                 // bytes of the XML
  std::vector<PacketValue> values;   // leaf elements in order; at most kMaxPacketValues
  std::optional<uint64_t> dataSize;  // what "datasize" says
  std::optional<bool> continues;     // what "continue" says: ON or OFF
  uint64_t dataBytes = 0;            // data that follow the packet
};

constexpr size_t kMaxPacketValues = 256;

/// Receives the packets in order. A packet is told before its data.
class PacketSink {
 public:
  PacketSink() = default;
  PacketSink(const PacketSink&) = delete;
  PacketSink& operator=(const PacketSink&) = delete;
  virtual ~PacketSink() = default;

  virtual void packet(const Packet& /*packet*/) {}
  /// Data that stand in no packet begin here.
  virtual void bareData(uint64_t /*offset*/) {}
  /// Something that can be read but is worth saying.
  virtual void packetNote(uint64_t /*offset*/, const std::string& /*text*/) {}
  /// A packet differs from what the job's configuration makes of its templates.
  virtual void packetDifference(uint64_t /*offset*/, const std::string& /*text*/) {}
};

}  // namespace jobreader
