// JobReader - reads a whole job file: packets, commands, rows.
#pragma once

#include "JobFile.h"
#include "KnownJob.h"
#include "Packets.h"
#include "RasterSink.h"

namespace jobreader {

/// Receives everything that a job file holds, in the order of the file.
class JobSink : public PacketSink, public RasterSink {
 public:
  /// The data are not a raster stream; they are passed over.
  virtual void foreignData(uint64_t /*offset*/) {}
  /// Called now and then with the offset reached.
  virtual void progress(uint64_t /*offset*/) {}
};

/// @param known  null: no configuration at hand
/// @throws ReadError at the first byte that is wrong, after everything before it has been told;
///         FileError; whatever the sink throws
void readJob(JobFile& file, JobSink& sink, const KnownJob* known);

}  // namespace jobreader
