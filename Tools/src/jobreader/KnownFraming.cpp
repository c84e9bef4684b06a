#include "KnownFraming.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "EndPacketSearch.h"
#include "PacketExcerpt.h"
#include "PacketXml.h"
#include "ReadError.h"

namespace jobreader {

namespace {

// How many bytes from the file's position on are compared with a text.
struct Comparison {
  size_t matching = 0;   // up to the first that differs, or the end of the file
  size_t different = 0;  // of those that both have
};

Comparison compareWith(JobFile& file, std::string_view text) {
  const uint64_t begin = file.offset();
  Comparison result;
  bool same = true;
  while (!text.empty() && !file.atEnd()) {
    const std::span<const uint8_t> bytes = file.peek();
    const size_t count = std::min(bytes.size(), text.size());
    if (!same || std::memcmp(bytes.data(), text.data(), count) != 0) {
      for (size_t i = 0; i < count; ++i) {
        if (bytes[i] != static_cast<uint8_t>(text[i])) ++result.different;
        if (result.different == 0) ++result.matching;
      }
      same = result.different == 0;
    } else {
      result.matching += count;
    }
    file.advance(count);
    text.remove_prefix(count);
  }
  file.seek(begin);
  return result;
}

// How a packet differs from byte `at` on; the file stands at its beginning. A few bytes before show
// which line it is.
std::string differenceText(JobFile& file, std::string_view expected, size_t at) {
  constexpr size_t kBefore = 8;
  const uint64_t begin = file.offset();
  const size_t from = at - std::min(at, kBefore);
  file.seek(begin + at);
  const bool ends = file.atEnd();
  file.seek(begin + from);
  std::span<const uint8_t> bytes = file.peek(kExcerptBytes);
  bytes = bytes.first(std::min(bytes.size(), expected.size() - from));
  const std::string found = ends ? "the file ends" : "found " + excerpt(bytes);
  file.seek(begin);
  return found + " where the templates give " + excerpt(expected.substr(from));
}

uint64_t differentBytes(JobFile& file, uint64_t offset, const PacketText& text) {
  file.seek(offset);
  return compareWith(file, text.bytes).different;
}

}  // namespace

PacketReader::KnownFraming::KnownFraming(JobFile& file, PacketSink& sink, const JobTemplates& job)
    : Framing(file, sink), job_(job), templates_(job) {}

PacketReader::KnownFraming::Expected PacketReader::KnownFraming::expectedOf(PacketKind kind,
                                                                            PacketText text) {
  Expected expected{kind, std::move(text), {}};
  std::optional<XmlPacket> xml = parsePacketXml(expected.text.bytes);
  if (xml) {
    expected.packet = std::move(xml->packet);
    for (size_t i = 0; i < expected.packet.values.size(); ++i) {
      expected.packet.values[i].overridden =
          std::binary_search(expected.text.replacedAt.begin(), expected.text.replacedAt.end(),
                             static_cast<size_t>(xml->textOffsets[i]));
    }
  }
  // Templates need not be XML; the packet is known all the same.
  if (expected.packet.name.empty()) expected.packet.name = packetKindName(kind);
  expected.packet.size = expected.text.bytes.size();
  return expected;
}

// Opening -------------------------------------------------------------------------------------

void PacketReader::KnownFraming::readOpeningPackets() {
  std::vector<Expected> opening;
  for (const PacketKind kind : templates_.openingKinds()) {
    opening.push_back(expectedOf(kind, templates_.opening(kind)));
    openingSize_.bytes += opening.back().text.bytes.size();
    openingSize_.counted += opening.back().text.counted;
  }
  counted_ = openingSize_.counted;
  computeLayout();
  file_.seek(0);
  for (Expected& expected : opening) pass(expected, PacketRole::kOpening, 0);
  openEnd_ = !layout_ && job_.packing == Packing::kBare;
  if (!openEnd_) return;
  dataEnd_ = file_.size();
  if (!file_.atEnd()) sink_.bareData(file_.offset());
}

void PacketReader::KnownFraming::computeLayout() {
  const bool isSplit = job_.packing == Packing::kSplit;
  if (isSplit && job_.chunkBytes == 0) throw FileError("a split size of 0 bytes");
  // Without data there is no send-data packet, and its template may be missing.
  JobLayout empty;
  empty.end = templates_.endJob(counted_);
  if (isSplit && openingSize_.bytes + empty.end.bytes.size() == file_.size() &&
      isRecognisable(empty)) {
    layout_ = std::move(empty);
    return;
  }
  std::vector<JobLayout> layouts =
      possibleLayouts(templates_, job_, fullText(), openingSize_, file_.size());
  const auto best = std::min_element(layouts.begin(), layouts.end(),
                                     [this](const JobLayout& left, const JobLayout& right) {
                                       return strangeness(left) < strangeness(right);
                                     });
  if (best != layouts.end() && isRecognisable(*best)) layout_ = std::move(*best);
}

// Where the last send-data packet and the end packet of a layout stand, and which they are. No
// text: no send-data packet.
PacketReader::KnownFraming::Marks PacketReader::KnownFraming::marksOf(const JobLayout& layout) {
  Marks marks;
  marks.end = &layout.end;
  marks.endOffset = file_.size() - layout.end.bytes.size();
  const bool isFull = !layout.hasLastPacket && layout.fullChunks > 0;
  if (layout.hasLastPacket) marks.last = &layout.last;
  if (isFull) marks.last = fullText();
  if (marks.last == nullptr) return marks;
  const uint64_t data = isFull ? job_.chunkBytes : layout.lastBytes;
  marks.lastOffset = marks.endOffset - data - marks.last->bytes.size();
  return marks;
}

uint64_t PacketReader::KnownFraming::strangeness(const JobLayout& layout) {
  const Marks marks = marksOf(layout);
  const uint64_t end = differentBytes(file_, marks.endOffset, *marks.end);
  return marks.last == nullptr ? end : end + differentBytes(file_, marks.lastOffset, *marks.last);
}

bool PacketReader::KnownFraming::isRecognisable(const JobLayout& layout) {
  // Damaged bytes leave most of a packet as it was; a shift leaves hardly any byte.
  const auto isThere = [this](uint64_t offset, const PacketText& text) {
    return differentBytes(file_, offset, text) <= text.bytes.size() / 2;
  };
  const Marks marks = marksOf(layout);
  return isThere(marks.endOffset, *marks.end) &&
         (marks.last == nullptr || isThere(marks.lastOffset, *marks.last));
}

// Null when the job has no full packets: in the other packings, or because the template has no room
// for so great a number.
PacketReader::KnownFraming::Expected* PacketReader::KnownFraming::full() {
  if (job_.packing != Packing::kSplit || noFull_) return nullptr;
  if (full_) return &*full_;
  try {
    full_ =
        expectedOf(PacketKind::kSendData, templates_.sendData(job_.chunkBytes, job_.announcesMore));
    return &*full_;
  } catch (const TemplateError&) {
    noFull_ = true;
    return nullptr;
  }
}

const PacketText* PacketReader::KnownFraming::fullText() {
  const Expected* expected = full();
  return expected == nullptr ? nullptr : &expected->text;
}

// One packet ----------------------------------------------------------------------------------

// Tells the packet that stands at the file's position and moves behind it.
void PacketReader::KnownFraming::pass(Expected& expected, PacketRole role, uint64_t dataBytes) {
  const std::string& bytes = expected.text.bytes;
  const uint64_t begin = file_.offset();
  const size_t matching = compareWith(file_, bytes).matching;
  if (matching < bytes.size() && !layout_) refuseHere(expected);
  expected.packet.offset = begin;
  expected.packet.role = role;
  expected.packet.dataBytes = dataBytes;
  sink_.packet(expected.packet);
  if (matching < bytes.size()) report(expected, matching);
  file_.seek(begin + bytes.size());
}

void PacketReader::KnownFraming::report(const Expected& expected, size_t at) {
  const uint64_t begin = file_.offset();
  sink_.packetDifference(begin + at, std::string(packetKindName(expected.kind)) + ": " +
                                         differenceText(file_, expected.text.bytes, at));
}

void PacketReader::KnownFraming::refuseHere(const Expected& expected) {
  const uint64_t begin = file_.offset();
  const size_t at = compareWith(file_, expected.text.bytes).matching;
  report(expected, at);
  throw ReadError(begin + at, std::string(packetKindName(expected.kind)) + " expected at offset " +
                                  std::to_string(begin) + ": " +
                                  differenceText(file_, expected.text.bytes, at) +
                                  "; the size of the file fits no job of these templates");
}

bool PacketReader::KnownFraming::nextIs(const PacketText& text) {
  return compareWith(file_, text.bytes).matching == text.bytes.size();
}

// Data ----------------------------------------------------------------------------------------

bool PacketReader::KnownFraming::readDataPacket() {
  return layout_ ? passComputed(*layout_) : passSequentially();
}

bool PacketReader::KnownFraming::passComputed(const JobLayout& layout) {
  if (chunks_ < layout.fullChunks) {
    ++chunks_;
    beginData(*full(), job_.chunkBytes);
    return true;
  }
  if (lastPassed_) return false;
  lastPassed_ = true;
  if (layout.hasLastPacket) {
    Expected last = expectedOf(PacketKind::kSendData, layout.last);
    beginData(last, layout.lastBytes);
    return true;
  }
  if (layout.lastBytes == 0) return false;
  sink_.bareData(file_.offset());
  dataEnd_ = file_.offset() + layout.lastBytes;
  return true;
}

bool PacketReader::KnownFraming::passSequentially() {
  if (!shortage_.empty()) throw ReadError(file_.offset(), shortage_);
  if (lastPassed_) return false;
  const bool isSplit = job_.packing == Packing::kSplit;
  Expected* expectedFull = full();
  if (expectedFull != nullptr && nextIs(expectedFull->text)) {
    beginData(*expectedFull, job_.chunkBytes);
    return true;
  }
  Expected end = expectedOf(PacketKind::kEndJob, templates_.endJob(counted_));
  if (isSplit && nextIs(end.text)) return false;
  if (passShort()) return true;
  if (!isSplit) refuseHere(expectedOf(PacketKind::kSendData, templates_.sendData(0, false)));
  if (expectedFull == nullptr) refuseHere(end);
  const size_t likeFull = compareWith(file_, expectedFull->text.bytes).matching;
  const size_t likeEnd = compareWith(file_, end.text.bytes).matching;
  refuseHere(likeFull < likeEnd || file_.atEnd() ? end : *expectedFull);
}

// The last packet, or the only one: of how many bytes it has to say itself.
bool PacketReader::KnownFraming::passShort() {
  const uint64_t begin = file_.offset();
  std::optional<uint64_t> size;
  try {
    size = readPacketXml(file_).packet.dataSize;
  } catch (const ReadError&) {
    size.reset();
  }
  file_.seek(begin);
  if (!size || *size > std::numeric_limits<uint32_t>::max()) return false;
  if (job_.packing == Packing::kSplit && (*size == 0 || *size >= job_.chunkBytes)) return false;
  Expected last =
      expectedOf(PacketKind::kSendData, templates_.sendData(static_cast<uint32_t>(*size), false));
  if (!nextIs(last.text)) return false;
  lastPassed_ = true;
  beginData(last, *size);
  return true;
}

void PacketReader::KnownFraming::beginData(Expected& expected, uint64_t dataBytes) {
  const uint64_t begin = file_.offset();
  const uint64_t behind = file_.size() - std::min(file_.size(), begin + expected.text.bytes.size());
  const uint64_t there = std::min(dataBytes, behind);
  pass(expected, PacketRole::kSendData, there);
  if (there < dataBytes) {
    shortage_ = "the file ends inside the data of the packet at offset " + std::to_string(begin) +
                ": it has " + std::to_string(there) + " of " + std::to_string(dataBytes) + " bytes";
  }
  dataEnd_ = file_.offset() + there;
  counted_ += expected.text.counted + static_cast<uint32_t>(dataBytes);
}

void PacketReader::KnownFraming::findDataEnd() {
  const uint64_t begin = file_.offset();
  const PacketText end = templates_.endJob(counted_);
  dataEnd_ = findLastText(file_, begin, end.bytes).value_or(file_.size());
  file_.seek(begin);
}

// End -----------------------------------------------------------------------------------------

void PacketReader::KnownFraming::readEndPacket() {
  Expected end =
      expectedOf(PacketKind::kEndJob, layout_ ? layout_->end : templates_.endJob(counted_));
  pass(end, PacketRole::kEnd, 0);
  if (file_.atEnd()) return;
  throw ReadError(file_.offset(), "found " + excerpt(file_.peek(kExcerptBytes)) +
                                      " behind the end packet, expected the end of the file");
}

}  // namespace jobreader
