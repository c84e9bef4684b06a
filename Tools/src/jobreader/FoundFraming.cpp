#include "FoundFraming.h"

#include <algorithm>
#include <span>
#include <utility>

#include "EndPacketSearch.h"
#include "PacketExcerpt.h"
#include "ReadError.h"

namespace jobreader {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr uint8_t kEsc = 0x1B;
// Blanks that a packet may begin with: more than templates have, less than a block of the file.
constexpr size_t kMaxBlanks = size_t{64} * 1024;
// StartJob, SetJobConfiguration, SetConfiguration, EndJob.
constexpr uint64_t kLeastPackets = 4;
// Sizes in opening packets that are followed up to see whether data are meant. A file made of
// nothing else would otherwise be read once for each of them.
constexpr int kMaxWrongLooks = 64;

bool isBlank(uint8_t byte) {
  return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

// Blanks that come next, at most kMaxBlanks. Asks for many bytes only when there are many blanks.
size_t blanksAt(JobFile& file) {
  for (const size_t most : {size_t{1}, kMaxBlanks}) {
    const std::span<const uint8_t> bytes = file.peek(most);
    const auto end = std::find_if_not(bytes.begin(), bytes.end(), isBlank);
    if (end != bytes.end() || most == kMaxBlanks)
      return std::min(static_cast<size_t>(end - bytes.begin()), kMaxBlanks);
  }
  return 0;
}

bool followsLess(uint8_t byte) {
  return byte >= 0x80 || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
         std::string_view("_:/?!<").find(static_cast<char>(byte)) != std::string_view::npos;
}

// A packet begins at this offset, or a stray tag in front of one. The position stays.
bool isPacketAt(JobFile& file, uint64_t offset) {
  const uint64_t back = file.offset();
  file.seek(offset);
  if (file.nextIs(kByteOrderMark)) file.advance(kByteOrderMark.size());
  file.advance(blanksAt(file));
  const std::span<const uint8_t> bytes = file.peek(2);
  const bool is = bytes.size() >= 2 && bytes[0] == '<' && followsLess(bytes[1]);
  file.seek(back);
  return is;
}

std::string bytesText(uint64_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string announcement(const Packet& packet) {
  return "the packet " + excerpt(packet.name) + " announces " +
         bytesText(packet.dataSize.value_or(0));
}

}  // namespace

// Opening -------------------------------------------------------------------------------------

void PacketReader::FoundFraming::readOpeningPackets() {
  if (file_.size() == 0) throw ReadError(0, "the file is empty, expected a packet");
  while (true) {
    if (packets_ > 0 && !isPacketAt(file_, file_.offset())) return beginBareData();
    const uint64_t begin = file_.offset();
    readPacket();
    if (pending_->next != Next::kPacket) return file_.seek(begin);
    tell(PacketRole::kOpening);
  }
}

void PacketReader::FoundFraming::beginBareData() {
  // A raster stream begins with ESC; blanks in front of it are the end of the last template.
  const uint64_t begin = file_.offset();
  const size_t blanks = blanksAt(file_);
  file_.advance(blanks);
  const std::span<const uint8_t> bytes = file_.peek();
  if (bytes.empty() || bytes.front() != kEsc) file_.seek(begin);
  openEnd_ = true;
  dataEnd_ = file_.size();
  sink_.bareData(file_.offset());
}

// Packets -------------------------------------------------------------------------------------

// Reads the packet at the file's position and moves behind it.
void PacketReader::FoundFraming::readPacket() {
  pending_.emplace();
  pending_->found = readPacketXml(file_);
  pending_->end = file_.offset();
  lookBehind(*pending_);
}

// By name only when the packet also says a size: any packet may be called like another.
bool PacketReader::FoundFraming::isSendData(const Packet& packet) const {
  if (!packet.dataSize) return false;
  return packet.continues || (!sendDataName_.empty() && packet.name == sendDataName_);
}

// Finds out what stands behind a packet; the file stands there.
void PacketReader::FoundFraming::lookBehind(PendingPacket& pending) {
  const Packet& packet = pending.found.packet;
  const uint64_t size = packet.dataSize.value_or(0);
  // The end packet says the size of the job, which is no data of its own. It differs in its name
  // from the send-data packets, if there are any.
  const bool isOther = !sendDataName_.empty() && packet.name != sendDataName_;
  if (isSendData(packet) && size == 0) return setData(pending, pending.end, 0);
  if (size > 0 && !isOther && !openEnd_ && (!file_.atEnd() || isSendData(packet)))
    return lookForData(pending);
  pending.next = onlyRemnantsFollow(file_) ? Next::kEnd : Next::kPacket;
}

void PacketReader::FoundFraming::lookForData(PendingPacket& pending) {
  const uint64_t begin = pending.end;
  const uint64_t count = pending.found.packet.dataSize.value_or(0);
  const size_t blanks = blanksAt(file_);
  const bool isPacket = isPacketAt(file_, begin);
  // As a rule one look says that data begin here; whether a packet follows them shows at their end.
  if (blanks == 0 && !isPacket)
    return count > file_.size() - begin ? setShortData(pending) : setData(pending, begin, count);
  const bool look = !isPacket || wrongLooks_++ < kMaxWrongLooks;
  if (look && dataFit(begin, count)) return setData(pending, begin, count);
  if (look && blanks > 0 && dataFit(begin + blanks, count)) {
    sink_.packetNote(begin, bytesText(blanks) + " between the packet and its data");
    return setData(pending, begin + blanks, count);
  }
  if (onlyRemnantsFollow(file_)) {
    pending.next = Next::kEnd;
  } else if (isPacket) {
    pending.next = Next::kPacket;
  } else if (count > file_.size() - begin) {
    setShortData(pending);
  } else {
    throw ReadError(begin + count,
                    announcement(pending.found.packet) + ", but no packet stands behind them");
  }
}

// A packet or the end of the file follows such data.
bool PacketReader::FoundFraming::dataFit(uint64_t begin, uint64_t count) {
  if (begin > file_.size() || count > file_.size() - begin) return false;
  return begin + count == file_.size() || isPacketAt(file_, begin + count);
}

void PacketReader::FoundFraming::setData(PendingPacket& pending, uint64_t begin, uint64_t count) {
  wrongLooks_ = 0;
  pending.next = Next::kData;
  pending.dataBegin = begin;
  pending.dataBytes = count;
}

// The packet announces more than the file has left: either the file was cut, and all that is left
// are data, or the number is wrong. Then the file still has its end packet.
void PacketReader::FoundFraming::setShortData(PendingPacket& pending) {
  const uint64_t begin = pending.end;
  const uint64_t left = file_.size() - begin;
  const Packet& packet = pending.found.packet;
  const std::string text =
      announcement(packet) + ", the file has " + std::to_string(left) + " left";
  const bool isWhole = findEndPacket(file_, begin).has_value();
  file_.seek(begin);
  if (isWhole) throw ReadError(packet.offset, text);
  shortage_ = text;
  setData(pending, begin, left);
}

void PacketReader::FoundFraming::tell(PacketRole role) {
  XmlPacket& found = pending_->found;
  found.packet.role = role;
  for (const auto& [offset, text] : found.notes) sink_.packetNote(offset, text);
  sink_.packet(found.packet);
  ++packets_;
  pending_.reset();
}

// Data ----------------------------------------------------------------------------------------

bool PacketReader::FoundFraming::readDataPacket() {
  const uint64_t begin = file_.offset();
  if (!pending_) {
    if (file_.atEnd())
      throw ReadError(begin, shortage_.empty() ? "the end packet is missing" : shortage_);
    if (!isPacketAt(file_, begin)) {
      throw ReadError(begin, "found " + excerpt(file_.peek(kExcerptBytes)) +
                                 " behind the data, expected a packet");
    }
    readPacket();
  }
  if (pending_->next == Next::kData) {
    beginData();
    return true;
  }
  file_.seek(begin);
  return false;
}

void PacketReader::FoundFraming::beginData() {
  Packet& packet = pending_->found.packet;
  const uint64_t begin = pending_->dataBegin;
  packet.dataBytes = pending_->dataBytes;
  dataEnd_ = begin + packet.dataBytes;
  const std::optional<std::string> note = chunks_.add(packet);
  if (note) sink_.packetNote(packet.offset, *note);
  if (sendDataName_.empty()) sendDataName_ = packet.name;
  tell(PacketRole::kSendData);
  file_.seek(begin);
}

void PacketReader::FoundFraming::findDataEnd() {
  const uint64_t begin = file_.offset();
  dataEnd_ = findEndPacket(file_, begin).value_or(file_.size());
  file_.seek(begin);
}

// End -----------------------------------------------------------------------------------------

void PacketReader::FoundFraming::readEndPacket() {
  for (bool first = true;; first = false) {
    if (!pending_) {
      if (file_.atEnd()) throw ReadError(file_.offset(), "the end packet is missing");
      if (!isPacketAt(file_, file_.offset())) {
        throw ReadError(file_.offset(), "found " + excerpt(file_.peek(kExcerptBytes)) +
                                            (first ? ", expected the end packet"
                                                   : " behind the end packet, expected the end of "
                                                     "the file"));
      }
      readPacket();
    }
    file_.seek(pending_->end);
    const Packet packet = pending_->found.packet;
    if (pending_->next == Next::kData)
      throw ReadError(packet.offset, "a send-data packet behind the end of the data");
    if (!first) sink_.packetNote(packet.offset, "one more packet behind the data");
    const bool last = pending_->next == Next::kEnd;
    tell(PacketRole::kEnd);
    if (last) return noteEnd(packet);
  }
}

// The size is that of everything in front of the line that says it, data in no packet left out.
// Template lines that were cut count in full, so that it is no proof of damage.
void PacketReader::FoundFraming::noteJobSize(const Packet& last) {
  if (!last.dataSize || openEnd_) return;
  const uint64_t least = last.offset & UINT32_MAX;
  if (*last.dataSize >= least && *last.dataSize - least <= last.size) return;
  sink_.packetNote(last.offset, "the end packet says " + bytesText(*last.dataSize) + ", " +
                                    std::to_string(last.offset) + " stand in front of it");
}

void PacketReader::FoundFraming::noteEnd(const Packet& last) {
  if (!file_.atEnd()) {
    sink_.packetNote(file_.offset(), bytesText(file_.size() - file_.offset()) +
                                         " of blanks, comments and tags behind the end packet");
  }
  file_.seek(file_.size());
  if (!last.dataSize) {
    // Behind data it must be the end packet. Without data it is more likely that the file was cut
    // between two of its opening packets.
    const bool hasData = openEnd_ || !sendDataName_.empty();
    if (!hasData) {
      throw ReadError(file_.size(), "the file ends behind " + std::to_string(packets_) +
                                        (packets_ == 1 ? " packet" : " packets") +
                                        ", expected data or the end packet, which says the job's "
                                        "size");
    }
    sink_.packetNote(last.offset, "the last packet does not say the size of the job");
  }
  noteJobSize(last);
  if (last.values.size() == 1 && last.values.front().name == last.name)
    sink_.packetNote(last.offset, "the last packet is a value without a packet around it");
  if (packets_ < kLeastPackets) {
    sink_.packetNote(last.offset, "the file has " + std::to_string(packets_) +
                                      " packets, a job has at least " +
                                      std::to_string(kLeastPackets));
  }
}

}  // namespace jobreader
