// TiffWriter - builds the bytes of TIFF files for tests, well formed or broken on purpose.
// Written from the file format's side; shares no code with the reader that it tests.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "TempFolder.h"

/// Field types of a directory entry.
enum TiffType : uint16_t {
  kTiffByte = 1,
  kTiffAscii,
  kTiffShort,
  kTiffLong,
  kTiffRational,
  kTiffSByte,
  kTiffUndefined,
  kTiffSShort,
  kTiffSLong,
  kTiffSRational,
  kTiffFloat,
  kTiffDouble
};

/// Tags that the tests write.
enum TiffTag : uint16_t {
  kTagWidth = 256,
  kTagHeight = 257,
  kTagBitsPerSample = 258,
  kTagCompression = 259,
  kTagPhotometric = 262,
  kTagDescription = 270,
  kTagStripOffsets = 273,
  kTagSamplesPerPixel = 277,
  kTagRowsPerStrip = 278,
  kTagStripByteCounts = 279,
  kTagPlanarConfiguration = 284
};

constexpr uint32_t kUncompressed = 1;
constexpr uint32_t kPackBits = 32773;

/// A file under construction: header first, then what is appended, in that order.
class TiffWriter {
 public:
  /// @param order  'I': least significant byte first, 'M': most significant byte first
  explicit TiffWriter(char order);

  /// Appends bytes as they stand and returns their offset.
  uint32_t append(const Bytes& bytes);
  /// The size so far, which is the offset of what is appended next.
  [[nodiscard]] uint32_t size() const { return static_cast<uint32_t>(file_.size()); }

  /// Adds a field to the next directory. Values of up to 4 bytes stand in the entry itself, longer
  /// ones are written in front of the directory. Types of other than 1, 2 and 4 bytes are refused.
  void field(uint16_t tag, uint16_t type, const std::vector<uint32_t>& values);
  /// Adds a field whose entry is given whole.
  void rawField(uint16_t tag, uint16_t type, uint32_t count, const std::array<uint8_t, 4>& raw);
  /// The same, the four bytes being a number (an offset) in the file's byte order.
  void offsetField(uint16_t tag, uint16_t type, uint32_t count, uint32_t offset);

  /// Writes the directory of the fields added since the last one, links it behind that one (the
  /// first: into the header) and returns its offset.
  uint32_t endDirectory();
  /// Overwrites the link of a written directory; 0 ends the chain.
  void link(uint32_t directory, uint32_t next);

  [[nodiscard]] const Bytes& bytes() const { return file_; }
  /// The file without its last `count` bytes.
  [[nodiscard]] Bytes cut(size_t count) const;

  /// Numbers of 1, 2 or 4 bytes in the file's byte order.
  [[nodiscard]] Bytes number(uint32_t value, size_t bytes) const;

 private:
  struct Entry {
    uint16_t tag;
    uint16_t type;
    uint32_t count;
    Bytes value;  // as in the file; more than 4 bytes stand in front of the directory
  };

  void patch(uint32_t at, uint32_t value);

  char order_;
  Bytes file_;
  std::vector<Entry> entries_;
  uint32_t lastLink_ = 4;  // where the offset of the next directory goes
};

/// One page with its usual fields. The strips are the file's bytes, encoded already.
struct TiffPage {
  char order = 'I';
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint32_t> bits = {8};  // one per sample
  uint32_t photometric = 0;
  uint32_t compression = kUncompressed;
  std::optional<uint32_t> rowsPerStrip = std::nullopt;  // nothing: the field is left out
  uint16_t offsetType = kTiffLong;
  std::vector<Bytes> strips;
};

/// Writes a page: its strips, last one first so that only the offsets can find them, then its
/// directory. Returns the directory's offset.
uint32_t addPage(TiffWriter& file, const TiffPage& page);
/// A file of one page.
Bytes tiffFile(const TiffPage& page);

/// Sixteen-bit samples in a byte order.
Bytes samples16(char order, const std::vector<uint16_t>& samples);
/// A plain PackBits coder: repeats of two and more, literals between them.
Bytes packBits(const Bytes& row);
/// Cuts rows into strips, each row encoded by itself when `compression` is kPackBits.
std::vector<Bytes> stripsOf(const std::vector<Bytes>& rows, uint32_t rowsPerStrip,
                            uint32_t compression);
