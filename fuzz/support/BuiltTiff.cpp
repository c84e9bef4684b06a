#include "BuiltTiff.h"

#include <array>

#include "TiffWriter.h"

namespace {

constexpr uint32_t kWidths = 72;
constexpr uint32_t kHeights = 48;
constexpr uint32_t kLzw = 5;
constexpr std::array<uint32_t, 8> kBits = {8, 1, 16, 8, 1, 16, 4, 2};
constexpr std::array<size_t, 8> kSamples = {1, 3, 4, 1, 3, 4, 5, 2};
constexpr std::array<uint32_t, 8> kPhotometric = {0, 1, 2, 5, 0, 1, 3, 6};
constexpr std::array<uint32_t, 8> kCompressions = {
    kUncompressed, kPackBits, kUncompressed, kPackBits, kPackBits, kUncompressed, kLzw, 0};
constexpr std::array<uint16_t, 4> kOffsetTypes = {kTiffLong, kTiffLong, kTiffShort, kTiffByte};

std::vector<Bytes> makeRows(Choices& choices, const TiffPage& page) {
  const uint32_t perPixel = page.bits.front() * static_cast<uint32_t>(page.bits.size());
  const size_t rowBytes = (size_t{page.width} * perPixel + 7) / 8;
  const std::span<const uint8_t> pattern = choices.bytes(choices.byte());
  std::vector<Bytes> rows(page.height, Bytes(rowBytes));
  if (pattern.empty()) return rows;
  size_t at = 0;
  for (Bytes& row : rows) {
    for (uint8_t& byte : row) byte = pattern[at++ % pattern.size()];
  }
  return rows;
}

void change(Choices& choices, Bytes& file) {
  const bool isAtTheEnd = choices.flag();  // where the directory stands
  const size_t at = choices.word() % file.size();
  file[isAtTheEnd ? file.size() - 1 - at % 160 % file.size() : at] = choices.byte();
}

}  // namespace

Bytes buildTiff(Choices& choices) {
  TiffPage page;
  page.order = choices.flag() ? 'M' : 'I';
  page.bits.assign(choices.any(kSamples), choices.any(kBits));
  page.width = choices.below(kWidths);
  page.height = choices.below(kHeights);
  page.photometric = choices.any(kPhotometric);
  page.compression = choices.any(kCompressions);
  const uint32_t rowsPerStrip = choices.below(kHeights);
  if (rowsPerStrip > 0) page.rowsPerStrip = rowsPerStrip;
  page.offsetType = choices.any(kOffsetTypes);
  const uint32_t changes = choices.oneIn(2) ? 1 + choices.below(4) : 0;
  const std::vector<Bytes> rows = makeRows(choices, page);
  page.strips = stripsOf(rows, rowsPerStrip > 0 ? rowsPerStrip : kHeights,
                         page.compression == kPackBits ? kPackBits : kUncompressed);
  if (page.strips.empty()) page.strips.emplace_back();
  Bytes file = tiffFile(page);
  for (uint32_t i = 0; i < changes; ++i) change(choices, file);
  if (changes > 2) file.resize(file.size() - choices.below(64) % file.size());
  return file;
}
