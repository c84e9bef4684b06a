// JobLayout - computes from the size of a job file how its data are cut into packets.
//
// Once the templates and the split size are known, only the number of data bytes is open, and the
// size of the file says it. Packets that are computed instead of searched stay where they are
// when bytes are damaged. The equation has digits in it (a packet is longer when it says a longer
// number), so it is solved by trying each number of digits.
#pragma once

#include <cstdint>
#include <vector>

#include "KnownJob.h"
#include "PacketTemplates.h"

namespace jobreader {

/// One way to cut the data that fits the file's size.
struct JobLayout {
  uint64_t fullChunks = 0;  // packets of the split size
  bool hasLastPacket = false;
  uint64_t lastBytes = 0;  // data of the last, shorter packet; all data in the other packings
  PacketText last;         // that packet; empty without
  PacketText end;
};

/// What stands in front of the data.
struct JobOpening {
  uint64_t bytes = 0;
  uint32_t counted = 0;
};

/// @param job   packing and split size of the templates, which is not 0 with kSplit
/// @param full  the send-data packet of the split size; null when there is none: in the other
///              packings, or when the template cannot say so great a number
/// @return      every layout that adds up to `fileBytes`: none, one, or two that differ in whether
///              the last packet is a full one
/// @throws FileError when a template cannot be read, TemplateError when none of the sizes tried
///         makes a packet
std::vector<JobLayout> possibleLayouts(PacketTemplates& templates, const JobTemplates& job,
                                       const PacketText* full, const JobOpening& opening,
                                       uint64_t fileBytes);

}  // namespace jobreader
