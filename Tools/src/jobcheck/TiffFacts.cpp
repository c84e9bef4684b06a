#include "TiffFacts.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <set>

#include "FileBytes.h"
#include "FileText.h"
#include "ImageClaim.h"

namespace jobcheck {

namespace {

// A file with more entries was made to keep its reader busy: directories may overlap.
constexpr size_t kMostEntries = 200000;
constexpr uint64_t kMostRowBytes = INT_MAX;
constexpr size_t kEntryBytes = 12;

enum Type : uint16_t { kByte = 1, kShort = 3, kLong = 4, kSByte = 6, kSShort = 8, kSLong = 9 };

enum Tag : uint16_t {
  kWidth = 256,
  kHeight = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kFillOrder = 266,
  kStripOffsets = 273,
  kOrientation = 274,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kPlanar = 284,
  kTileWidth = 322,
  kTileOffsets = 324
};

struct Entry {
  uint16_t tag = 0;
  uint16_t type = 0;
  uint32_t count = 0;
  std::array<uint8_t, 4> raw = {};
};

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

bool fitsIntoEntry(const Entry& entry) {
  return uint64_t{entry.count} * valueBytes(entry.type) <= entry.raw.size();
}

class Directories {
 public:
  explicit Directories(TiffFacts& facts) : facts_(facts) {}

  bool open(const std::string& path) {
    if (!file_.open(path.c_str())) return cannotOpen();  // the path outlives this
    facts_.fileBytes = file_.size();
    return true;
  }
  void read();

 private:
  bool readHeader();
  void walk();
  void readDirectory(std::vector<Entry>& entries);
  void take(const Entry& entry);
  void takeBits(const Entry& entry);
  void takeOffsets(const Entry& entry);
  void loadOffsets();
  uint32_t number(size_t bytes);
  uint32_t valueOf(const Entry& entry);
  uint32_t ownValueOf(const Entry& entry);
  [[nodiscard]] uint32_t combined(const uint8_t* bytes, size_t count) const;

  TiffFacts& facts_;
  FileBytes file_;
  bool isBigEndian_ = false;
  bool isShort_ = false;  // the last read found less than it wanted
  Entry offsets_;         // the strip offsets that count
  bool hasOffsets_ = false;
};

uint32_t Directories::combined(const uint8_t* bytes, size_t count) const {
  uint32_t value = 0;
  for (size_t i = 0; i < count; ++i) value = value << 8U | bytes[isBigEndian_ ? i : count - 1 - i];
  return value;
}

uint32_t Directories::number(size_t bytes) {
  std::array<uint8_t, 4> raw{};
  isShort_ = file_.read(raw.data(), bytes) != bytes;
  return isShort_ ? 0 : combined(raw.data(), bytes);
}

bool Directories::readHeader() {
  std::array<uint8_t, 4> header{};
  if (file_.read(header.data(), header.size()) != header.size()) return false;
  isBigEndian_ = header[0] == 'M';
  if (header[0] != header[1] || (header[0] != 'I' && header[0] != 'M')) return false;
  constexpr uint32_t kMagic = 42;
  constexpr uint32_t kBigMagic = 43;
  const uint32_t magic = combined(header.data() + 2, 2);
  facts_.isBigTiff = magic == kBigMagic;
  return magic == kMagic;
}

// The entries of the directory at the current position. One cut by the end of the file still
// counts: what is missing is 0, and so is a number of which only a part is there.
void Directories::readDirectory(std::vector<Entry>& entries) {
  entries.assign(number(2), Entry{});
  for (Entry& entry : entries) {
    std::array<uint8_t, kEntryBytes> raw{};
    const size_t got = file_.read(raw.data(), raw.size());
    if (got < raw.size()) facts_.isDirectoryCut = true;
    if (got >= 2) entry.tag = static_cast<uint16_t>(combined(raw.data(), 2));
    if (got >= 4) entry.type = static_cast<uint16_t>(combined(raw.data() + 2, 2));
    if (got >= 8) entry.count = combined(raw.data() + 4, 4);
    std::copy_n(raw.begin() + 8, 4, entry.raw.begin());
    if (got == 0) break;  // all further ones are 0, and a tag of 0 says nothing
  }
}

uint32_t Directories::valueOf(const Entry& entry) {
  const uint32_t bytes = valueBytes(entry.type);
  if (bytes == 0) return 0;
  uint32_t value = 0;
  if (fitsIntoEntry(entry)) {
    value = combined(entry.raw.data(), bytes);
  } else {
    file_.seek(combined(entry.raw.data(), 4));
    value = number(bytes);
  }
  if (entry.type == kSByte) return static_cast<uint32_t>(static_cast<int8_t>(value));
  if (entry.type == kSShort) return static_cast<uint32_t>(static_cast<int16_t>(value));
  return value;
}

// Of a tag that the system passes over: it leaves no trace in the walk.
uint32_t Directories::ownValueOf(const Entry& entry) {
  const bool wasShort = isShort_;
  const uint32_t value = valueOf(entry);
  isShort_ = wasShort;
  return value;
}

void Directories::takeBits(const Entry& entry) {
  const uint32_t first = valueOf(entry);
  facts_.bits = first;
  facts_.bitsCount = entry.count;
  facts_.bitsPerPixel = static_cast<uint8_t>(first * entry.count);
  if (entry.type == kShort && entry.count >= 3) facts_.sampleBits = static_cast<uint8_t>(first);
}

void Directories::takeOffsets(const Entry& entry) {
  facts_.strips = entry.count;
  offsets_ = entry;
  hasOffsets_ = valueBytes(entry.type) != 0;
  if (hasOffsets_ && !fitsIntoEntry(entry)) {
    const uint64_t begin = combined(entry.raw.data(), 4);
    isShort_ = begin + uint64_t{entry.count} * valueBytes(entry.type) > facts_.fileBytes;
  }
  facts_.offsetType = hasOffsets_ ? entry.type : uint16_t{0};
}

void Directories::take(const Entry& entry) {
  switch (entry.tag) {
    case kWidth:
      facts_.width = valueOf(entry);
      break;
    case kHeight:
      facts_.height = valueOf(entry);
      break;
    case kBitsPerSample:
      takeBits(entry);
      break;
    case kCompression:
      facts_.compression = valueOf(entry);
      break;
    case kPhotometric:
      facts_.photometric = static_cast<uint16_t>(valueOf(entry));
      facts_.hasPhotometric = true;
      break;
    case kFillOrder:
      facts_.fillOrder = ownValueOf(entry);
      break;
    case kOrientation:
      facts_.orientation = ownValueOf(entry);
      break;
    case kSamplesPerPixel:
      facts_.samplesPerPixel = ownValueOf(entry);
      break;
    case kRowsPerStrip:
      facts_.rowsPerStrip = valueOf(entry);
      break;
    case kPlanar:
      facts_.planar = valueOf(entry);
      break;
    case kStripOffsets:
      takeOffsets(entry);
      break;
    case kTileWidth:
    case kTileOffsets:
      facts_.isTiled = true;
      break;
    default:
      break;
  }
}

// Ends when a directory comes again. A read that falls short inside of a directory does not end the
// walk; one of the next directory's offset does.
void Directories::walk() {
  std::set<uint32_t> seen;
  std::vector<Entry> entries;
  size_t count = 0;
  uint32_t offset = number(4);
  while (!isShort_ && offset != 0 && seen.insert(offset).second) {
    file_.seek(offset);
    readDirectory(entries);
    offset = number(4);
    count += entries.size() + 1;
    if (count > kMostEntries) {
      facts_.isEndless = facts_.isUnknown = true;
      return;
    }
    facts_.isTiled = false;
    facts_.fillOrder = facts_.orientation = facts_.samplesPerPixel = 1;
    for (const Entry& entry : entries) take(entry);
    facts_.images = seen.size();
  }
}

// The system stores offsets as wide as they are and reads them as numbers of 32 bits.
void Directories::loadOffsets() {
  if (!hasOffsets_) return;
  const size_t bytes = valueBytes(offsets_.type);
  const size_t most = std::min<size_t>(offsets_.count, TiffFacts::kMostOffsets);
  std::vector<uint8_t> stored(most * bytes + 4);
  const bool isInside = fitsIntoEntry(offsets_);
  if (!isInside) file_.seek(combined(offsets_.raw.data(), 4));
  for (size_t i = 0; i < most; ++i) {
    const uint32_t value =
        isInside ? combined(offsets_.raw.data() + i * bytes, bytes) : number(bytes);
    if (!isInside && isShort_) break;
    const auto byte = static_cast<uint8_t>(value);
    const auto word = static_cast<uint16_t>(value);
    const void* from = &value;
    if (bytes == 1) from = &byte;
    if (bytes == 2) from = &word;
    std::memcpy(stored.data() + i * bytes, from, bytes);
  }
  for (size_t i = 0; i < std::max<size_t>(most, 1); ++i) {
    uint32_t value = 0;
    if (i * 4 < most * bytes) std::memcpy(&value, stored.data() + i * 4, 4);
    facts_.offsets.push_back(value);
  }
}

void Directories::read() {
  facts_.isTiff = readHeader();
  if (!facts_.isTiff) return;
  walk();
  if (facts_.isEndless) return;
  loadOffsets();
  const uint64_t sampleBytes = (uint64_t{facts_.width} * facts_.sampleBits + 7) / 8;
  facts_.isTooLarge = facts_.rowBytes() > kMostRowBytes || sampleBytes > kMostRowBytes;
  if (!facts_.isTooLarge) {
    const auto rowBytes = static_cast<uint32_t>(facts_.rowBytes());
    facts_.isBeyondFile =
        isClaimBeyondFile(facts_.height, rowBytes, facts_.bitsPerPixel, facts_.fileBytes);
    return;
  }
  facts_.isTiff = false;
  facts_.width = facts_.height = 0;
}

// Of what follows the last dot four characters count.
bool hasTiffExtension(const std::string& path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos) return false;
  std::string extension = path.substr(dot + 1, 4);
  for (char& c : extension)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return extension == "TIF" || extension == "TIFF";
}

}  // namespace

TiffFacts readTiffFacts(const std::string& path) {
  TiffFacts facts;
  const FileKind kind = kindOf(path);
  if (kind != FileKind::kMissing) facts.hasExtension = hasTiffExtension(path);
  if (!facts.hasExtension) return facts;
  if (kind == FileKind::kMissing || kind == FileKind::kSpecial) {  // a pipe is read by the job only
    facts.isOpen = facts.isUnknown = true;
    return facts;
  }
  Directories file(facts);
  facts.isOpen = file.open(path);
  if (facts.isOpen) file.read();
  return facts;
}

const TiffFacts& TiffFiles::of(const std::string& path) {
  const auto found = facts_.find(path);
  if (found != facts_.end()) return found->second;
  return facts_.emplace(path, readTiffFacts(path)).first->second;
}

}  // namespace jobcheck
