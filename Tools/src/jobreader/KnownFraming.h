// KnownFraming - takes a job file apart whose packets are known from the job's templates. Internal
// to PacketReader.
//
// As a rule the places of all packets are computed from the size of the file, and a packet that
// differs is reported and passed. When the size fits no job of these templates, or no packet is to
// be recognised where the computed ones should be, bytes were lost or added: then each packet must
// stand where the one before ends, and the first that does not is the end of reading.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "JobLayout.h"
#include "PacketFraming.h"
#include "PacketTemplates.h"

namespace jobreader {

class PacketReader::KnownFraming : public PacketReader::Framing {
 public:
  KnownFraming(JobFile& file, PacketSink& sink, const JobTemplates& job);

 protected:
  void readOpeningPackets() override;
  bool readDataPacket() override;
  void findDataEnd() override;
  void readEndPacket() override;

 private:
  // A packet as the templates make it, and what its XML says.
  struct Expected {
    PacketKind kind = PacketKind::kStartJob;
    PacketText text;
    Packet packet;
  };
  static Expected expectedOf(PacketKind kind, PacketText text);

  // The packets of a layout that show whether it is the right one; borrowed from it.
  struct Marks {
    const PacketText* last = nullptr;  // send-data packet; null: none
    uint64_t lastOffset = 0;
    const PacketText* end = nullptr;
    uint64_t endOffset = 0;
  };

  void computeLayout();
  Marks marksOf(const JobLayout& layout);
  bool isRecognisable(const JobLayout& layout);
  uint64_t strangeness(const JobLayout& layout);
  Expected* full();
  const PacketText* fullText();

  void pass(Expected& expected, PacketRole role, uint64_t dataBytes);
  bool nextIs(const PacketText& text);
  void report(const Expected& expected, size_t at);
  [[noreturn]] void refuseHere(const Expected& expected);

  bool passComputed(const JobLayout& layout);
  bool passSequentially();
  bool passShort();
  void beginData(Expected& expected, uint64_t dataBytes);

  const JobTemplates& job_;
  PacketTemplates templates_;
  JobOpening openingSize_;
  std::optional<JobLayout> layout_;  // none: packets one after the other
  std::optional<Expected> full_;     // send-data packet of the split size
  bool noFull_ = false;              // the templates make none
  uint64_t chunks_ = 0;              // full ones so far
  bool lastPassed_ = false;          // no further send-data packet may come
  uint32_t counted_ = 0;             // as the job's size: everything so far
  std::string shortage_;             // why the file ends inside the data; empty: it does not
};

}  // namespace jobreader
