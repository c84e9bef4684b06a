// PacketReader - takes a job file apart into its packets and the data between them.
//
// With the job's templates every packet is known beforehand: the framing is computed from the
// file's size, and each packet is compared byte for byte. Without them packets are found by the
// structure of their XML: any names, any prefix, no line breaks, lines that were cut included.
//
// Use: readOpening(), then the data as a DataStream, then readEnd().
#pragma once

#include <cstdint>
#include <memory>

#include "DataStream.h"
#include "JobFile.h"
#include "KnownJob.h"
#include "Packets.h"

namespace jobreader {

class PacketReader : public DataStream {
 public:
  /// @param templates  null: find packets by their structure. All arguments are borrowed
  PacketReader(JobFile& file, PacketSink& sink, const JobTemplates* templates);
  ~PacketReader() override;

  /// Reads the packets up to the first byte of data, or to the end packet when there are none.
  /// @throws ReadError, FileError
  void readOpening();

  // The data, across all send-data packets. Bare data without templates have no end of their own:
  // the windows then go on to the end of the file, and the reader of the data has to know where
  // they stop.
  std::span<const uint8_t> window() override;
  void advance(size_t count) override;
  [[nodiscard]] uint64_t offset() const override;

  /// Passes over the data that were not read. Bare data without templates end where the end packet
  /// begins, which is looked for at the end of the file.
  void skipData();

  /// Reads what stands behind the data: the end packet, up to the end of the file.
  /// @throws ReadError also when data are left
  void readEnd();

 private:
  class Framing;       // what packets there are
  class KnownFraming;  // from the templates
  class FoundFraming;  // from the XML
  std::unique_ptr<Framing> framing_;
};

}  // namespace jobreader
