// KnownJob - what the configuration of a job tells its reader beforehand. Everything in it can be
// left out: a job file can be read without, as far as it explains itself.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "RasterSink.h"

namespace jobreader {

/// How the raster stream is packed.
enum class Packing {
  kSplit,      // send-data packets of the split size, the last one shorter
  kOnePacket,  // one send-data packet
  kBare        // no send-data packet: the stream stands between the opening packets and the end
};

/// The templates of a job's packets.
struct JobTemplates {
  /// Full paths; a path that is empty or cannot be opened is an error when its packet is due.
  std::string startJob, setJobConfiguration, setConfiguration, vendorCmd, sendData, endJob;
  bool hasVendorCmd = false;
  std::vector<std::pair<std::string, std::string>> overrides;  // key, value; in order
  Packing packing = Packing::kBare;
  uint32_t chunkBytes = 0;    // data of a full packet, with kSplit
  bool announcesMore = true;  // false: even full packets say "OFF" (negative split size)
};

struct KnownJob {
  JobTemplates templates;
  std::vector<PageFormat> pages;  // those that are in the stream, in order
};

}  // namespace jobreader
