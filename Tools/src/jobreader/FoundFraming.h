// FoundFraming - takes a job file apart by the structure of its XML, without a configuration.
// Internal to PacketReader.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ChunkSequence.h"
#include "PacketFraming.h"
#include "PacketXml.h"

namespace jobreader {

/// A packet that was read and not yet told.
struct PendingPacket {
  enum class Next { kData, kPacket, kEnd };

  XmlPacket found;
  uint64_t end = 0;  // behind it
  Next next = Next::kPacket;
  uint64_t dataBegin = 0;  // with kData
  uint64_t dataBytes = 0;  // that are there
};

class PacketReader::FoundFraming : public PacketReader::Framing {
 public:
  using Framing::Framing;

 protected:
  void readOpeningPackets() override;
  bool readDataPacket() override;
  void findDataEnd() override;
  void readEndPacket() override;

 private:
  using Next = PendingPacket::Next;

  void readPacket();
  void lookBehind(PendingPacket& pending);
  void lookForData(PendingPacket& pending);
  [[nodiscard]] bool dataFit(uint64_t begin, uint64_t count);
  void setData(PendingPacket& pending, uint64_t begin, uint64_t count);
  void setShortData(PendingPacket& pending);
  [[nodiscard]] bool isSendData(const Packet& packet) const;
  void beginBareData();
  void beginData();
  void tell(PacketRole role);
  void noteEnd(const Packet& last);
  void noteJobSize(const Packet& last);

  std::optional<PendingPacket> pending_;
  ChunkSequence chunks_;
  std::string sendDataName_;  // empty: no send-data packet yet
  uint64_t packets_ = 0;      // that were told
  int wrongLooks_ = 0;        // sizes that turned out to announce no data
  std::string shortage_;      // why the file ends inside the data; empty: it does not
};

}  // namespace jobreader
