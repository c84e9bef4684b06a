#include "ZKTiff.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <set>

#include "ImageClaim.h"

namespace {

constexpr const char* kSourceName = "ZKTiff.cpp";
constexpr int kOpenErrorLine = 535;  // the line that this failure has always been reported under
constexpr size_t kMessageBytes = 256;
constexpr uint64_t kMaxRowBytes = INT_MAX;
// Directories may overlap, and then a small file holds more of them than anyone has time for.
constexpr uint64_t kMaxDirectoryBytes = uint64_t{64} << 20U;  // beside the size of the file

// Field types that carry integers.
constexpr uint16_t kByte = 1, kShort = 3, kLong = 4, kSByte = 6, kSShort = 8, kSLong = 9;

constexpr uint16_t kTagImageWidth = 256, kTagImageLength = 257, kTagBitsPerSample = 258,
                   kTagCompression = 259, kTagPhotometric = 262, kTagStripOffsets = 273,
                   kTagRowsPerStrip = 278, kTagPlanarConfiguration = 284;

// Bytes of one value; 0 for the types that are not read.
uint32_t valueBytes(uint16_t type) {
  switch (type) {
    case kByte:
    case kSByte:
      return 1;
    case kShort:
    case kSShort:
      return 2;
    case kLong:
    case kSLong:
      return 4;
    default:
      return 0;
  }
}

bool fitsIntoValueField(const TiffEntry& entry) {
  return uint64_t{entry.count} * valueBytes(entry.type) <= entry.raw.size();
}

uint32_t combine(const ImageReader* reader, const uint8_t* bytes, size_t count) {
  uint32_t value = 0;
  for (size_t i = 0; i < count; ++i) {
    value = value << 8U | bytes[reader->byteOrder == 'I' ? count - 1 - i : i];
  }
  return value;
}

uint32_t readNumber(ImageReader* reader, size_t count) {
  std::array<uint8_t, 4> bytes{};
  const bool complete = reader->file.read(bytes.data(), count) == count;
  reader->ioStatus = complete ? 0 : -1;
  return complete ? combine(reader, bytes.data(), count) : 0;
}

uint32_t readValue(ImageReader* reader, uint16_t type) {
  switch (valueBytes(type)) {
    case 1:
      return readByte(reader);
    case 2:
      return readWord(reader);
    default:
      return readLong(reader);
  }
}

int32_t signExtend(uint32_t value, uint16_t type) {
  if (type == kSByte) return static_cast<int8_t>(value);
  if (type == kSShort) return static_cast<int16_t>(value);
  return static_cast<int32_t>(value);
}

// Stores one value in the host's byte order, as wide as its type.
void storeValue(uint8_t* dst, uint32_t value, uint32_t bytes) {
  const auto byte = static_cast<uint8_t>(value);
  const auto word = static_cast<uint16_t>(value);
  if (bytes == 1) std::memcpy(dst, &byte, 1);
  if (bytes == 2) std::memcpy(dst, &word, 2);
  if (bytes == 4) std::memcpy(dst, &value, 4);
}

void storeOffsetsFromField(ImageReader* reader, const TiffEntry& entry) {
  const uint32_t bytes = valueBytes(entry.type);
  for (uint32_t i = 0; i < entry.count; ++i) {
    const uint32_t value = combine(reader, entry.raw.data() + size_t{i} * bytes, bytes);
    storeValue(reader->stripOffsets.get() + size_t{i} * bytes, value, bytes);
  }
}

// Makes the array of an entry. No more of it is kept than `available` bytes of the file can fill:
// what lies behind reads as 0 either way, and a file that claims billions of strips costs no
// memory.
bool makeStripOffsets(ImageReader* reader, const TiffEntry& entry, uint64_t available) {
  const uint64_t claimed = uint64_t{entry.count} * valueBytes(entry.type);
  const uint64_t kept = std::min(claimed, available + entry.raw.size());
  reader->stripOffsets = newZeroedBytes(static_cast<size_t>(kept));
  reader->stripOffsetBytes = reader->stripOffsets == nullptr ? 0 : kept;
  return reader->stripOffsets != nullptr;
}

// Goes where reading the whole array would end, and tells what became of it, without reading it:
// only the last array of a file counts, and a file may name a great many.
void passOverOffsets(ImageReader* reader, const TiffEntry& entry) {
  const uint64_t begin = correctPointerEndian(reader, entry.raw);
  const uint64_t end = begin + uint64_t{entry.count} * valueBytes(entry.type);
  const uint64_t size = reader->fileBytes;
  reader->ioStatus = end <= size ? 0 : -1;
  reader->file.seek(end <= size ? end : std::max(begin, size));
}

void readStripOffsets(ImageReader* reader, const TiffEntry& entry) {
  reader->stripCount = entry.count;
  reader->stripOffsets.reset();
  reader->stripOffsetBytes = 0;
  reader->pendingOffsets.reset();
  if (valueBytes(entry.type) == 0) return;
  if (!fitsIntoValueField(entry)) {
    reader->pendingOffsets = entry;
    passOverOffsets(reader, entry);
  } else if (makeStripOffsets(reader, entry, 0)) {
    storeOffsetsFromField(reader, entry);
  }
}

// Reads the array that the directories left pending, as far as the file goes.
void loadPendingOffsets(ImageReader* reader) {
  if (!reader->pendingOffsets) return;
  const TiffEntry& entry = *reader->pendingOffsets;
  if (!makeStripOffsets(reader, entry, reader->fileBytes)) return;
  const uint64_t position = reader->file.position();
  const int32_t status = reader->ioStatus;
  const uint32_t bytes = valueBytes(entry.type);
  reader->file.seek(correctPointerEndian(reader, entry.raw));
  for (uint64_t at = 0; at + bytes <= reader->stripOffsetBytes; at += bytes) {
    const uint32_t value = readValue(reader, entry.type);
    if (reader->ioStatus != 0) break;
    storeValue(reader->stripOffsets.get() + at, value, bytes);
  }
  reader->file.seek(position);
  reader->ioStatus = status;
}

bool tellsSampleBits(const TiffEntry& entry) {
  return entry.type == kShort && entry.count >= 3;
}

void readBitsPerSample(ImageReader* reader, const TiffEntry& entry) {
  const auto first = static_cast<uint32_t>(readOneInteger(reader, entry));
  reader->bitsPerPixel = static_cast<uint8_t>(first * entry.count);
  if (tellsSampleBits(entry)) reader->sampleBits.fill(static_cast<uint8_t>(first));
}

void interpretEntry(ImageReader* reader, const TiffEntry& entry) {
  switch (entry.tag) {
    case kTagImageWidth:
      reader->width = static_cast<uint32_t>(readOneInteger(reader, entry));
      break;
    case kTagImageLength:
      reader->height = static_cast<uint32_t>(readOneInteger(reader, entry));
      break;
    case kTagBitsPerSample:
      readBitsPerSample(reader, entry);
      break;
    case kTagCompression:
      reader->compression = static_cast<uint32_t>(readOneInteger(reader, entry));
      break;
    case kTagPhotometric:
      reader->photometric = static_cast<uint16_t>(readOneInteger(reader, entry));
      break;
    case kTagStripOffsets:
      readStripOffsets(reader, entry);
      break;
    case kTagRowsPerStrip:
      reader->rowsPerStrip = static_cast<uint32_t>(readOneInteger(reader, entry));
      break;
    case kTagPlanarConfiguration:
      reader->planarConfiguration = static_cast<uint32_t>(readOneInteger(reader, entry));
      break;
    default:
      break;
  }
}

// The fields of an entry in the file, by offset and bytes.
constexpr size_t kEntryBytes = 12;
constexpr size_t kTypeAt = 2, kCountAt = 4, kValueAt = 8;

TiffEntry entryFrom(const ImageReader* reader, const uint8_t* bytes) {
  TiffEntry entry{};
  entry.tag = static_cast<uint16_t>(combine(reader, bytes, 2));
  entry.type = static_cast<uint16_t>(combine(reader, bytes + kTypeAt, 2));
  entry.count = combine(reader, bytes + kCountAt, 4);
  std::memcpy(entry.raw.data(), bytes + kValueAt, entry.raw.size());
  return entry;
}

// A directory cut by the end of the file still counts: what is missing is 0, and so is a number of
// which only a part is there.
void clearCutNumber(uint8_t* directory, size_t got) {
  const size_t within = got % kEntryBytes;
  uint8_t* entry = directory + (got - within);
  for (const size_t field : {size_t{0}, kTypeAt, kCountAt}) {
    const size_t end = field == kCountAt ? kValueAt : field + 2;
    if (within > field && within < end) std::memset(entry + field, 0, within - field);
  }
}

// The tags that are interpreted.
constexpr std::array<uint16_t, 8> kTags = {
    kTagImageWidth,  kTagImageLength,  kTagBitsPerSample, kTagCompression,
    kTagPhotometric, kTagStripOffsets, kTagRowsPerStrip,  kTagPlanarConfiguration};

// Finds the entries of a directory that leave a trace. Of those with one tag only the last one
// counts, so a directory of 65,535 entries costs no more reads than one of ten.
class LastingEntries {
 public:
  void see(const TiffEntry& entry, size_t at) {
    const auto* tag = std::find(kTags.begin(), kTags.end(), entry.tag);
    if (tag == kTags.end()) return;
    last_[static_cast<size_t>(tag - kTags.begin())] = at;
    // The bits of the four samples stay when a later entry tells those of the pixel only.
    if (entry.tag == kTagBitsPerSample && tellsSampleBits(entry)) last_[kSampleBits] = at;
    // The last value that stands elsewhere decides where reading goes on and whether it can.
    if (valueBytes(entry.type) != 0 && !fitsIntoValueField(entry)) last_[kElsewhere] = at;
  }

  /// Calls `visit` with the place of each, in the order of the directory.
  template <class Visit>
  void forEach(Visit visit) {
    std::sort(last_.begin(), last_.end());
    const auto* end = std::unique(last_.begin(), last_.end());
    for (const auto* at = last_.begin(); at != end && *at != kNone; ++at) visit(*at);
  }

 private:
  static constexpr size_t kNone = SIZE_MAX;
  static constexpr size_t kSampleBits = kTags.size();
  static constexpr size_t kElsewhere = kTags.size() + 1;

  std::array<size_t, kTags.size() + 2> last_ = filled();

  static constexpr std::array<size_t, kTags.size() + 2> filled() {
    std::array<size_t, kTags.size() + 2> none{};
    for (size_t& at : none) at = kNone;
    return none;
  }
};

void interpretDirectory(ImageReader* reader, const uint8_t* directory, size_t bytes) {
  LastingEntries lasting;
  for (size_t at = 0; at < bytes; at += kEntryBytes) {
    lasting.see(entryFrom(reader, directory + at), at);
  }
  lasting.forEach([reader, directory](size_t at) {
    interpretEntry(reader, entryFrom(reader, directory + at));
  });
}

// Every directory is interpreted, so in a file of several pages the last one wins, on purpose.
// An offset that comes again ends the walk: such a chain would go round for ever.
void readDirectories(ImageReader* reader) {
  std::set<uint32_t> seen;
  uint64_t bytesLeft = reader->fileBytes + kMaxDirectoryBytes;
  uint32_t offset = readLong(reader);
  while (reader->ioStatus == 0 && offset != 0 && seen.insert(offset).second) {
    reader->file.seek(offset);
    const size_t bytes = readWord(reader) * kEntryBytes;
    if (bytes > bytesLeft) return;
    bytesLeft -= bytes;
    const CBytes directory = newZeroedBytes(bytes);
    if (directory == nullptr) return;
    const size_t got = reader->file.read(directory.get(), bytes);
    if (got < bytes) clearCutNumber(directory.get(), got);
    offset = readLong(reader);
    interpretDirectory(reader, directory.get(), bytes);
  }
}

bool readHeader(ImageReader* reader) {
  std::array<uint8_t, 4> header{};
  if (reader->file.read(header.data(), header.size()) != header.size()) return false;
  constexpr std::array<uint8_t, 4> kLittle = {'I', 'I', 0x2A, 0x00};
  constexpr std::array<uint8_t, 4> kBig = {'M', 'M', 0x00, 0x2A};
  reader->byteOrder = static_cast<char>(header[0]);
  return header == kLittle || header == kBig;
}

uint64_t rowBytesOf(uint32_t width, uint8_t bits) {
  return (uint64_t{width} * bits + 7) / 8;
}

// Computes the row sizes and makes the row buffer; false when a row cannot be held.
bool makeRow(ImageReader* reader) {
  const uint64_t bytes = rowBytesOf(reader->width, reader->bitsPerPixel);
  if (bytes > kMaxRowBytes) return false;
  reader->bytesPerRow = static_cast<uint32_t>(bytes);
  for (size_t i = 0; i < reader->sampleBits.size(); ++i) {
    const uint64_t sampleBytes = rowBytesOf(reader->width, reader->sampleBits[i]);
    if (sampleBytes > kMaxRowBytes) return false;
    reader->sampleRowBytes[i] = static_cast<uint32_t>(sampleBytes);
  }
  reader->row = newZeroedBytes(reader->bytesPerRow);
  if (reader->row == nullptr) return false;
  if (reader->compression != kCompressionPackBits) return true;
  reader->rowBefore = newZeroedBytes(reader->bytesPerRow);
  return reader->rowBefore != nullptr;
}

// Leaves the record as that of a file that is no TIFF file.
void refuseSize(ImageReader* reader) {
  printError("ERROR!: \"%s\": a row of %u pixels of %u bits cannot be held in memory.\n",
             reader->fileName.get(), reader->width, unsigned{reader->bitsPerPixel});
  reader->file.close();
  reader->width = reader->height = 0;
  reader->bytesPerRow = 0;
  reader->sampleRowBytes.fill(0);
}

void seekToFirstStrip(ImageReader* reader) {
  // Signed on purpose, unlike later strips: a negative offset is no position to go to.
  if (reader->stripOffsets == nullptr || reader->firstStripOffset < 0) return;
  reader->file.seek(static_cast<uint64_t>(reader->firstStripOffset));
}

using ReaderOwner = std::unique_ptr<ImageReader>;

ReaderOwner newRecord(const char* path) {
  ReaderOwner reader(newOrNull<ImageReader>());
  if (reader == nullptr) return reader;
  reader->fileName = newTextCopy(path);
  if (reader->fileName == nullptr) reader.reset();
  return reader;
}

void readStructure(ImageReader* reader) {
  reader->fileBytes = reader->file.size();
  try {
    readDirectories(reader);
  } catch (const std::bad_alloc&) {
    // No memory to remember one more directory ends the walk like one that cannot be held.
    noteMemoryRefused();
  }
  loadPendingOffsets(reader);
  if (reader->stripOffsets == nullptr) return;
  reader->firstStripOffset = static_cast<int32_t>(stripOffset(reader, 0));
}

}  // namespace

ImageReader* ZKTiff_New(const char* path) {
  ReaderOwner reader = newRecord(path);
  if (reader == nullptr) return nullptr;
  if (!reader->file.open(reader->fileName.get())) {
    const int number = errno;
    char message[kMessageBytes];
    zk_sprintf(message, sizeof message, "ZKTiff_New can't open '%s'. (errno=%d)\n", path, number);
    reportError(message, number, kSourceName, kOpenErrorLine);
    return nullptr;
  }
  if (!readHeader(reader.get())) {
    reader->file.close();
    return reader.release();
  }
  readStructure(reader.get());
  if (!makeRow(reader.get())) {
    refuseSize(reader.get());
    return reader.release();
  }
  reader->isBeyondFile = isClaimBeyondFile(reader->height, reader->bytesPerRow,
                                           reader->bitsPerPixel, reader->fileBytes);
  reader->rowsLeftInStrip = reader->rowsPerStrip;
  seekToFirstStrip(reader.get());
  return reader.release();
}

void ZKTiff_Delete(ImageReader* reader) {
  delete reader;
}

void ZKTiff_GetImageBox(const ImageReader* reader, ZKRect* box) {
  if (reader == nullptr) return;
  *box = {0, 0, static_cast<long>(reader->height), static_cast<long>(reader->width)};
}

void ZKTiff_Rewind(ImageReader* reader) {
  reader->currentRow = 0;
  reader->currentStrip = 0;
  seekToFirstStrip(reader);
}

uint32_t readLong(ImageReader* reader) {
  return readNumber(reader, 4);
}
uint16_t readWord(ImageReader* reader) {
  return static_cast<uint16_t>(readNumber(reader, 2));
}
uint8_t readByte(ImageReader* reader) {
  return static_cast<uint8_t>(readNumber(reader, 1));
}

uint32_t correctPointerEndian(const ImageReader* reader, const std::array<uint8_t, 4>& raw) {
  return combine(reader, raw.data(), raw.size());
}

int32_t readOneInteger(ImageReader* reader, const TiffEntry& entry) {
  const uint32_t bytes = valueBytes(entry.type);
  if (bytes == 0) return 0;
  if (fitsIntoValueField(entry)) {
    return signExtend(combine(reader, entry.raw.data(), bytes), entry.type);
  }
  reader->file.seek(correctPointerEndian(reader, entry.raw));
  return signExtend(readValue(reader, entry.type), entry.type);
}

uint32_t stripOffset(const ImageReader* reader, uint32_t strip) {
  const uint64_t at = uint64_t{strip} * 4;
  if (reader->stripOffsets == nullptr || at >= reader->stripOffsetBytes) return 0;
  const uint64_t left = reader->stripOffsetBytes - at;
  uint32_t offset = 0;
  std::memcpy(&offset, reader->stripOffsets.get() + at, left < 4 ? static_cast<size_t>(left) : 4);
  return offset;
}
