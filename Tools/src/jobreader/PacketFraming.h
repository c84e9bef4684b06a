// PacketFraming - what the two ways to take a job file apart have in common: the data of one packet
// after the other. Internal to PacketReader.
#pragma once

#include <cstdint>
#include <exception>
#include <span>

#include "PacketReader.h"

namespace jobreader {

class PacketReader::Framing {
 public:
  Framing(JobFile& file, PacketSink& sink) : file_(file), sink_(sink) {}
  Framing(const Framing&) = delete;
  Framing& operator=(const Framing&) = delete;
  virtual ~Framing() = default;

  void readOpening();
  std::span<const uint8_t> window();
  void advance(size_t count);
  [[nodiscard]] uint64_t offset();
  void skipData();
  void readEnd();

 protected:
  /// Reads the opening packets and stops behind them.
  virtual void readOpeningPackets() = 0;
  /// Goes on from the end of the data so far. True: the file stands at data again, which end at
  /// dataEnd_. False: that was the end of the data.
  virtual bool readDataPacket() = 0;
  /// Finds where data end of which only their begin is known, moving dataEnd_.
  virtual void findDataEnd() = 0;
  /// Reads the end packet and makes sure that nothing follows.
  virtual void readEndPacket() = 0;

  JobFile& file_;
  PacketSink& sink_;
  uint64_t dataEnd_ = 0;  // where the data end that the file stands in
  bool openEnd_ = false;  // nobody knows but the one who reads them: dataEnd_ is the file's end

 private:
  void moveOn();

  bool ended_ = false;          // no data behind dataEnd_
  std::exception_ptr failure_;  // of moving on when only the offset was asked for
};

}  // namespace jobreader
