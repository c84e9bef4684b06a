// RasterSink - what the raster reader tells of a stream, in the order of the stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Inks.h"

namespace jobreader {

/// One command of the stream.
struct Command {
  uint64_t offset = 0;      // of its ESC in the job file
  std::string text;         // without ESC and without data: "*b12V"
  int64_t number = 0;       // 0 for a command without one
  char sign = 0;            // '+' or '-' when one stood before the number
  uint64_t dataBytes = 0;   // that follow it
  std::string_view family;  // the text before the number: "*b"
  char letter = 0;          // the one behind the number; for a command without one its last

  /// is("*bV"): family and letter.
  [[nodiscard]] bool is(std::string_view familyAndLetter) const {
    return familyAndLetter.size() == family.size() + 1 && familyAndLetter.starts_with(family) &&
           familyAndLetter.back() == letter;
  }
};

/// One plane of the rows of a page.
struct PlaneFormat {
  Ink ink = Ink::kUnknown;
  int depth = 0;         // bits per pixel; 0: not known
  int levels = 0;        // ink levels in use, 0..levels-1; 0: all that the depth has
  uint32_t width = 0;    // pixels; 0: not known
  bool halves = false;   // sent as a row of high bytes and a row of low bytes
  bool assumed = false;  // the stream does not say ink or depth; they follow from the other planes
  std::string name;      // "K"; "plane 3" when the ink is not known
};

/// How the rows of a page are to be read.
struct PageFormat {
  int colorSpace = -1;              // -1: not known
  std::vector<PlaneFormat> planes;  // empty: not known; the first row then shows how many
  uint8_t blank = 0x00;             // the byte of white paper: 0xFF in colour space 2
  uint64_t height = 0;              // rows; 0: not known
  bool beginsWithYOffset = false;   // the first "*b#Y" in raster mode is the page's own offset
  [[nodiscard]] bool isLight() const { return blank == 0xFF; }  // values are light, not ink
};

/// What stands between the beginning of a page and its rows.
struct PageStart {
  size_t number = 0;                   // from 1
  uint64_t offset = 0;                 // of its first command
  std::vector<uint8_t> configuration;  // parameter bytes of its configure block; empty: it has none
  uint64_t configurationOffset = 0;    // of these bytes
  int64_t resolutionH = 0;             // dots per inch
  int64_t resolutionV = 0;
  std::vector<Command> moves;  // "*p#X", "*p#Y", "*b#Y", in order
  int method = -1;             // compression method that its rows begin with
  PageFormat format;
};

/// One plane of a row.
struct PlaneRow {
  std::span<const uint8_t> bytes;  // decoded; behind its end the row is blank. Halves are joined:
                                   // two bytes per pixel, the high one first
  uint64_t offset = 0;             // of the (first) command
  uint64_t codedBytes = 0;         // data of the command, or of both
  int method = 0;
  int64_t failure = 0;  // the negative number of a plane that could not be encoded
};

/// What the end of a page adds up to.
struct PageEnd {
  bool ended = true;  // by "*rC"
  uint64_t offset = 0;
  uint64_t rows = 0;  // rows that were sent or skipped, the page's own offset not counted; rows
                      // behind the last one sent are blank and do not count
};

/// Receives a stream. Spans and references hold during the call only. Every call may throw; the
/// reader then stops and passes the exception on.
class RasterSink {
 public:
  RasterSink() = default;
  RasterSink(const RasterSink&) = delete;
  RasterSink& operator=(const RasterSink&) = delete;
  virtual ~RasterSink() = default;

  /// Every command, before what it means.
  virtual void command(const Command& /*command*/) {}
  /// Something that can be read but is worth saying.
  virtual void note(uint64_t /*offset*/, const std::string& /*text*/) {}
  /// A table file of the job's start, number from 1, then its bytes in pieces.
  virtual void beginTable(size_t /*number*/, const Command& /*command*/) {}
  virtual void tableData(std::span<const uint8_t> /*bytes*/) {}
  virtual void beginPage(const PageStart& /*page*/) {}
  /// The page's own Y offset, behind the start of raster mode; shifts the page, is no row.
  virtual void pageOffset(const Command& /*command*/) {}
  /// Rows that are blank in all planes; `first` counts from 0.
  virtual void blankRows(uint64_t /*first*/, uint64_t /*count*/, const Command& /*command*/) {}
  /// One row, all its planes, in the order of the page's format.
  virtual void row(uint64_t /*index*/, std::span<const PlaneRow> /*planes*/) {}
  virtual void endPage(const PageEnd& /*end*/) {}
};

}  // namespace jobreader
