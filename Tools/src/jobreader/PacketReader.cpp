#include "PacketReader.h"

#include <algorithm>
#include <string>

#include "FoundFraming.h"
#include "KnownFraming.h"
#include "PacketFraming.h"
#include "ReadError.h"

namespace jobreader {

// Data across packets -------------------------------------------------------------------------

void PacketReader::Framing::readOpening() {
  readOpeningPackets();
  if (!openEnd_) dataEnd_ = file_.offset();
  moveOn();
}

// Reads packets until the file stands at a byte of data, or none is left.
void PacketReader::Framing::moveOn() {
  while (!ended_ && file_.offset() == dataEnd_) ended_ = openEnd_ || !readDataPacket();
}

std::span<const uint8_t> PacketReader::Framing::window() {
  if (failure_) std::rethrow_exception(failure_);
  moveOn();
  if (ended_) return {};
  const std::span<const uint8_t> bytes = file_.peek();
  return bytes.first(
      static_cast<size_t>(std::min<uint64_t>(bytes.size(), dataEnd_ - file_.offset())));
}

void PacketReader::Framing::advance(size_t count) {
  file_.advance(count);
}

uint64_t PacketReader::Framing::offset() {
  // At the border of two packets the next byte stands behind the second one. What is wrong with
  // that packet is for the reader of the data to learn, not for the one who asks for a place.
  try {
    if (!failure_) moveOn();
  } catch (...) {
    failure_ = std::current_exception();
  }
  return ended_ || failure_ ? dataEnd_ : file_.offset();
}

void PacketReader::Framing::skipData() {
  if (openEnd_ && !ended_) findDataEnd();
  while (!window().empty()) file_.seek(dataEnd_);
}

void PacketReader::Framing::readEnd() {
  const bool left = !window().empty();
  if (left && !openEnd_) {
    throw ReadError(file_.offset(), "data are left: " + std::to_string(dataEnd_ - file_.offset()) +
                                        " bytes of this packet, where the stream has ended");
  }
  readEndPacket();
}

// The reader ----------------------------------------------------------------------------------

PacketReader::PacketReader(JobFile& file, PacketSink& sink, const JobTemplates* templates) {
  if (templates != nullptr) {
    framing_ = std::make_unique<KnownFraming>(file, sink, *templates);
  } else {
    framing_ = std::make_unique<FoundFraming>(file, sink);
  }
}

PacketReader::~PacketReader() = default;

void PacketReader::readOpening() {
  framing_->readOpening();
}

std::span<const uint8_t> PacketReader::window() {
  return framing_->window();
}

void PacketReader::advance(size_t count) {
  framing_->advance(count);
}

uint64_t PacketReader::offset() const {
  return framing_->offset();
}

void PacketReader::skipData() {
  framing_->skipData();
}

void PacketReader::readEnd() {
  framing_->readEnd();
}

}  // namespace jobreader
