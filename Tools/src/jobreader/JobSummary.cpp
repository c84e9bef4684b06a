#include "JobSummary.h"

#include <algorithm>
#include <bit>

#include "JobReader.h"
#include "ReadError.h"
#include "RowBlankness.h"

namespace jobreader {

namespace {

constexpr int kDeltaRow = 3;
constexpr int kHxrc = 4;

// Pixels that the row surely has. Where whole rows are sent its last byte holds one at least.
uint64_t pixelsIn(const PlaneSummary& plane, bool hasWholeRows) {
  if (plane.format.width > 0) return plane.format.width;
  if (plane.format.halves) return plane.rowBytes / 2;
  if (!hasWholeRows || plane.rowBytes == 0 || plane.format.depth <= 0) return plane.pixels;
  const uint64_t inBytes = (plane.rowBytes - 1) * 8 / static_cast<uint64_t>(plane.format.depth) + 1;
  return std::max(plane.pixels, inBytes);
}

// Pixels up to the last one that is not blank, if they are more than `least`.
uint64_t pixelsUsed(std::span<const uint8_t> row, int depth, uint8_t blank, uint64_t least) {
  const auto bitsPerPixel = static_cast<uint64_t>(depth);
  uint64_t bytes = row.size();
  while (bytes * 8 > least * bitsPerPixel && row[static_cast<size_t>(bytes) - 1] == blank) --bytes;
  if (bytes * 8 <= least * bitsPerPixel) return least;
  const auto used = static_cast<uint8_t>(row[static_cast<size_t>(bytes) - 1] ^ blank);
  const uint64_t lastBit = bytes * 8 - 1 - static_cast<uint64_t>(std::countr_zero(used));
  return std::max(least, lastBit / bitsPerPixel + 1);
}

bool hasWholeRows(const PageSummary& page) {
  return std::any_of(page.methods.begin(), page.methods.end(),
                     [](int method) { return method == kDeltaRow || method == kHxrc; });
}

class Collector : public JobSink {
 public:
  Collector(JobSummary& summary, const SummaryHooks& hooks) : summary_(summary), hooks_(hooks) {}

  void packet(const Packet& packet) override {
    summary_.dataBytes += packet.dataBytes;
    if (packet.role == PacketRole::kSendData) {
      ++summary_.sendDataPackets;
      summary_.largestChunk = std::max(summary_.largestChunk, packet.dataBytes);
      summary_.lastChunk = packet.dataBytes;
      if (summary_.sendDataPackets > 1) return;
    }
    if (summary_.packets.size() < kMaxNotes) summary_.packets.push_back(packet);
  }
  void bareData(uint64_t offset) override { summary_.bareDataOffset = offset; }
  void packetNote(uint64_t offset, const std::string& text) override { note(offset, text); }
  void packetDifference(uint64_t offset, const std::string& text) override {
    ++summary_.differenceCount;
    if (summary_.differences.size() < kMaxNotes) summary_.differences.push_back({offset, text});
  }
  void note(uint64_t offset, const std::string& text) override {
    ++summary_.noteCount;
    if (summary_.notes.size() < kMaxNotes) summary_.notes.push_back({offset, text});
  }
  void progress(uint64_t offset) override {
    if (hooks_.progress) hooks_.progress(offset);
  }

  void command(const Command& command) override {
    summary_.isRaster = true;
    ++summary_.commands;
    if (hooks_.command) hooks_.command(command);
  }
  void beginTable(size_t /*number*/, const Command& command) override {
    summary_.tableBytes.push_back(command.dataBytes);
  }
  void beginPage(const PageStart& page) override {
    PageSummary& added = summary_.pages.emplace_back();
    added.start = page;
    added.ended = false;
    added.methods = {page.method};
    for (const PlaneFormat& format : page.format.planes) addPlane(added, format);
  }
  void pageOffset(const Command& command) override {
    summary_.pages.back().yOffset = command.number;
  }
  void blankRows(uint64_t first, uint64_t count, const Command& /*command*/) override {
    PageSummary& page = summary_.pages.back();
    page.blankRows += count;
    page.rows = first + count;
  }
  void row(uint64_t index, std::span<const PlaneRow> planes) override {
    PageSummary& page = summary_.pages.back();
    page.rows = index + 1;
    bool isBlank = true;
    for (size_t i = 0; i < planes.size(); ++i) {
      if (i == page.planes.size()) addPlane(page, PlaneFormat{});
      isBlank = !addRow(page, page.planes[i], planes[i]) && isBlank;
    }
    if (isBlank) ++page.blankRows;
  }
  void endPage(const PageEnd& end) override {
    PageSummary& page = summary_.pages.back();
    page.ended = end.ended;
    page.rows = end.rows;
  }

 private:
  static void addPlane(PageSummary& page, const PlaneFormat& format) {
    PlaneSummary& plane = page.planes.emplace_back();
    plane.format = format;
    if (plane.format.name.empty())
      plane.format.name = "plane " + std::to_string(page.planes.size());
  }

  static bool addRow(PageSummary& page, PlaneSummary& plane, const PlaneRow& row) {
    plane.rowBytes = std::max<uint64_t>(plane.rowBytes, row.bytes.size());
    if (plane.format.depth > 0) {
      plane.pixels =
          pixelsUsed(row.bytes, plane.format.depth, page.start.format.blank, plane.pixels);
    }
    plane.codedBytes += row.codedBytes;
    if (std::find(page.methods.begin(), page.methods.end(), row.method) == page.methods.end()) {
      page.methods.push_back(row.method);
      std::sort(page.methods.begin(), page.methods.end());
    }
    if (isAll(row.bytes, page.start.format.blank)) return false;
    ++plane.rows;
    return true;
  }

  JobSummary& summary_;
  const SummaryHooks& hooks_;
};

}  // namespace

// An assumed depth may be wrong: what it makes of a row counts only when there is nothing else.
uint64_t PageSummary::width() const {
  uint64_t known = 0;
  uint64_t assumed = 0;
  for (const PlaneSummary& plane : planes) {
    uint64_t& widest = plane.format.assumed ? assumed : known;
    widest = std::max(widest, pixelsIn(plane, hasWholeRows(*this)));
  }
  return known > 0 ? known : assumed;
}

bool PageSummary::isWidthExact() const {
  const bool isWhole = hasWholeRows(*this);
  return std::all_of(planes.begin(), planes.end(), [isWhole](const PlaneSummary& plane) {
    const bool endsOnByte = plane.format.halves || plane.format.depth % 8 == 0;
    const bool showsWidth = isWhole && plane.format.depth > 0 && !plane.format.assumed;
    return plane.format.width > 0 || (showsWidth && endsOnByte);
  });
}

uint64_t PageSummary::height() const {
  return std::max(start.format.height, rows);
}

uint64_t PageSummary::plainBytes() const {
  uint64_t bytes = 0;
  for (const PlaneSummary& plane : planes) bytes += plainBytesOf(plane);
  return bytes;
}

uint64_t PageSummary::plainBytesOf(const PlaneSummary& plane) const {
  if (plane.format.depth <= 0) return plane.rowBytes * height();
  const uint64_t bits = plane.format.halves ? 16 : static_cast<uint64_t>(plane.format.depth);
  return (width() * bits + 7) / 8 * height();
}

uint64_t PageSummary::codedBytes() const {
  uint64_t bytes = 0;
  for (const PlaneSummary& plane : planes) bytes += plane.codedBytes;
  return bytes;
}

JobSummary summarise(JobFile& file, const KnownJob* known, const SummaryHooks& hooks) {
  JobSummary summary;
  summary.fileBytes = file.size();
  Collector collector(summary, hooks);
  try {
    readJob(file, collector, known);
  } catch (const ReadError& error) {
    summary.damage = Note{error.offset(), error.what()};
  }
  return summary;
}

}  // namespace jobreader
