#include "TiffWriter.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr size_t kEntryBytes = 12;
constexpr size_t kMaxLiteral = 128;
constexpr size_t kMaxRepeat = 128;

size_t bytesOfType(uint16_t type) {
  switch (type) {
    case kTiffByte:
    case kTiffAscii:
    case kTiffSByte:
    case kTiffUndefined:
      return 1;
    case kTiffShort:
    case kTiffSShort:
      return 2;
    case kTiffLong:
    case kTiffSLong:
    case kTiffFloat:
      return 4;
    default:
      throw std::invalid_argument("the writer does not know this field type");
  }
}

void appendTo(Bytes& all, const Bytes& more) {
  all.insert(all.end(), more.begin(), more.end());
}

size_t repeatAt(const Bytes& row, size_t at) {
  size_t count = 1;
  while (at + count < row.size() && count < kMaxRepeat && row[at + count] == row[at]) ++count;
  return count;
}

}  // namespace

TiffWriter::TiffWriter(char order) : order_(order) {
  const auto mark = static_cast<uint8_t>(order);
  file_ = {mark, mark};
  appendTo(file_, number(42, 2));
  appendTo(file_, number(0, 4));
}

Bytes TiffWriter::number(uint32_t value, size_t bytes) const {
  Bytes text(bytes);
  for (size_t i = 0; i < bytes; ++i) text[i] = static_cast<uint8_t>(value >> (8 * i));
  if (order_ == 'M') std::reverse(text.begin(), text.end());
  return text;
}

uint32_t TiffWriter::append(const Bytes& bytes) {
  const uint32_t at = size();
  appendTo(file_, bytes);
  return at;
}

void TiffWriter::field(uint16_t tag, uint16_t type, const std::vector<uint32_t>& values) {
  Bytes value;
  for (const uint32_t one : values) appendTo(value, number(one, bytesOfType(type)));
  entries_.push_back({tag, type, static_cast<uint32_t>(values.size()), value});
}

void TiffWriter::rawField(uint16_t tag, uint16_t type, uint32_t count,
                          const std::array<uint8_t, 4>& raw) {
  entries_.push_back({tag, type, count, Bytes(raw.begin(), raw.end())});
}

void TiffWriter::offsetField(uint16_t tag, uint16_t type, uint32_t count, uint32_t offset) {
  entries_.push_back({tag, type, count, number(offset, 4)});
}

uint32_t TiffWriter::endDirectory() {
  for (Entry& entry : entries_) {
    if (entry.value.size() > 4) entry.value = number(append(entry.value), 4);
    entry.value.resize(4);  // values stand at the front of their field
  }
  if (size() % 2 != 0) append({0});
  const uint32_t directory = size();
  append(number(static_cast<uint32_t>(entries_.size()), 2));
  for (const Entry& entry : entries_) {
    append(number(entry.tag, 2));
    append(number(entry.type, 2));
    append(number(entry.count, 4));
    append(entry.value);
  }
  entries_.clear();
  patch(lastLink_, directory);
  lastLink_ = append(number(0, 4));
  return directory;
}

void TiffWriter::link(uint32_t directory, uint32_t next) {
  const Bytes countBytes(file_.begin() + directory, file_.begin() + directory + 2);
  const size_t low = order_ == 'M' ? 1 : 0;
  const size_t count = countBytes[low] + size_t{256} * countBytes[1 - low];
  patch(static_cast<uint32_t>(directory + 2 + count * kEntryBytes), next);
}

Bytes TiffWriter::cut(size_t count) const {
  return {file_.begin(), file_.end() - static_cast<std::ptrdiff_t>(count)};
}

void TiffWriter::patch(uint32_t at, uint32_t value) {
  const Bytes text = number(value, 4);
  std::copy(text.begin(), text.end(), file_.begin() + at);
}

uint32_t addPage(TiffWriter& file, const TiffPage& page) {
  std::vector<uint32_t> offsets(page.strips.size());
  std::vector<uint32_t> sizes(page.strips.size());
  for (size_t i = page.strips.size(); i-- > 0;) {
    offsets[i] = file.append(page.strips[i]);
    sizes[i] = static_cast<uint32_t>(page.strips[i].size());
  }
  file.field(kTagWidth, kTiffLong, {page.width});
  file.field(kTagHeight, kTiffLong, {page.height});
  file.field(kTagBitsPerSample, kTiffShort, page.bits);
  file.field(kTagCompression, kTiffShort, {page.compression});
  file.field(kTagPhotometric, kTiffShort, {page.photometric});
  file.field(kTagStripOffsets, page.offsetType, offsets);
  file.field(kTagSamplesPerPixel, kTiffShort, {static_cast<uint32_t>(page.bits.size())});
  if (page.rowsPerStrip) file.field(kTagRowsPerStrip, kTiffLong, {*page.rowsPerStrip});
  file.field(kTagStripByteCounts, kTiffLong, sizes);
  file.field(kTagPlanarConfiguration, kTiffShort, {1});
  return file.endDirectory();
}

Bytes tiffFile(const TiffPage& page) {
  TiffWriter file(page.order);
  addPage(file, page);
  return file.bytes();
}

Bytes samples16(char order, const std::vector<uint16_t>& samples) {
  const TiffWriter file(order);
  Bytes bytes;
  for (const uint16_t sample : samples) appendTo(bytes, file.number(sample, 2));
  return bytes;
}

Bytes packBits(const Bytes& row) {
  Bytes code;
  for (size_t at = 0; at < row.size();) {
    const size_t repeat = repeatAt(row, at);
    if (repeat > 1) {
      code.push_back(static_cast<uint8_t>(257 - repeat));
      code.push_back(row[at]);
      at += repeat;
      continue;
    }
    size_t end = at + 1;
    while (end < row.size() && end - at < kMaxLiteral && repeatAt(row, end) == 1) ++end;
    code.push_back(static_cast<uint8_t>(end - at - 1));
    code.insert(code.end(), row.begin() + static_cast<std::ptrdiff_t>(at),
                row.begin() + static_cast<std::ptrdiff_t>(end));
    at = end;
  }
  return code;
}

std::vector<Bytes> stripsOf(const std::vector<Bytes>& rows, uint32_t rowsPerStrip,
                            uint32_t compression) {
  std::vector<Bytes> strips;
  for (size_t row = 0; row < rows.size(); ++row) {
    if (row % rowsPerStrip == 0) strips.emplace_back();
    appendTo(strips.back(), compression == kPackBits ? packBits(rows[row]) : rows[row]);
  }
  return strips;
}
