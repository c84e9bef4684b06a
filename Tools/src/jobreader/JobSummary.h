// JobSummary - what a job file holds, added up.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "JobFile.h"
#include "KnownJob.h"
#include "Packets.h"
#include "RasterSink.h"

namespace jobreader {

struct PlaneSummary {
  PlaneFormat format;
  uint64_t rowBytes = 0;    // of the longest row
  uint64_t pixels = 0;      // of the longest row, up to the last one that is not blank
  uint64_t rows = 0;        // that hold something
  uint64_t codedBytes = 0;  // data of its row commands
};

struct PageSummary {
  PageStart start;
  std::vector<PlaneSummary> planes;
  std::vector<int> methods;  // compression methods in use, ascending
  uint64_t rows = 0;         // to the last row that was sent
  uint64_t blankRows = 0;    // of these, blank in all planes
  int64_t yOffset = 0;       // the page's own offset in raster mode
  bool ended = true;         // by the command for it

  /// Pixels across: of the format, else of the longest row. 0 when neither says it.
  [[nodiscard]] uint64_t width() const;
  /// False when rows only show a width of at least width(): their blank ends are not sent.
  [[nodiscard]] bool isWidthExact() const;
  /// Rows of the format, else those to the last row that was sent; never less than those.
  [[nodiscard]] uint64_t height() const;
  [[nodiscard]] bool isHeightExact() const { return start.format.height != 0; }
  /// Rows that are blank in all planes, those behind the last one sent included.
  [[nodiscard]] uint64_t blankInAllRows() const { return blankRows + height() - rows; }
  /// Bytes of all rows without compression, blank ones included: of all planes, or of one.
  [[nodiscard]] uint64_t plainBytes() const;
  [[nodiscard]] uint64_t plainBytesOf(const PlaneSummary& plane) const;
  [[nodiscard]] uint64_t codedBytes() const;
};

struct Note {
  uint64_t offset = 0;
  std::string text;
};

struct JobSummary {
  uint64_t fileBytes = 0;
  std::vector<Packet> packets;  // all but the send-data packets behind the first
  uint64_t sendDataPackets = 0;
  uint64_t largestChunk = 0;  // bytes of data
  uint64_t lastChunk = 0;
  std::optional<uint64_t> bareDataOffset;  // data that stand in no packet
  uint64_t dataBytes = 0;                  // in packets or bare
  bool isRaster = false;
  std::vector<uint64_t> tableBytes;
  std::vector<PageSummary> pages;
  uint64_t commands = 0;
  std::vector<Note> notes;  // the first kMaxNotes
  uint64_t noteCount = 0;
  std::vector<Note> differences;  // of packets from the templates; the first kMaxNotes
  uint64_t differenceCount = 0;
  std::optional<Note> damage;  // where reading ended, when it ended too early
};

constexpr size_t kMaxNotes = 100;

/// Told every command and, now and then, the offset reached; both may be empty.
struct SummaryHooks {
  std::function<void(const Command&)> command;
  std::function<void(uint64_t offset)> progress;
};

/// Reads a whole job file. Damage is part of the result. @throws FileError
JobSummary summarise(JobFile& file, const KnownJob* known, const SummaryHooks& hooks = {});

}  // namespace jobreader
