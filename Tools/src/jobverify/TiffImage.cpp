#include "TiffImage.h"

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <new>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "ImageClaim.h"
#include "ReadError.h"

namespace jobverify {

namespace {

constexpr uint32_t kNoCompression = 1;
constexpr uint32_t kPackBits = 32773;
constexpr uint32_t kSeparatePlanes = 2;
constexpr uint32_t kLowBitsFirst = 2;

// A file with more of them was made to keep its reader busy: directories may overlap.
constexpr size_t kMostEntries = 200000;

constexpr uint64_t kMostRowBytes = 0x7FFFFFFF;

enum Type : uint16_t { kByte = 1, kShort = 3, kLong = 4 };

enum Tag : uint16_t {
  kWidth = 256,
  kHeight = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kFillOrder = 266,
  kStripOffsets = 273,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kPlanar = 284,
  kTileWidth = 322,
  kTileOffsets = 324
};

// Tags that the system takes from an earlier directory when the last one does not have them.
// libtiff does not, so that the two would read different images.
constexpr std::array<uint16_t, 8> kInherited = {kWidth,        kHeight,      kBitsPerSample,
                                                kCompression,  kPhotometric, kStripOffsets,
                                                kRowsPerStrip, kPlanar};

struct Entry {
  uint16_t tag = 0;
  uint16_t type = 0;
  uint32_t count = 0;
  uint32_t value = 0;  // the first one
};

// The directories of a file, in the file's byte order. A number that the file does not have any
// more is 0 and leaves isCut() true.
class Directories {
 public:
  explicit Directories(const std::string& path) : path_(path), file_(path, std::ios::binary) {}

  [[nodiscard]] bool isOpen() const { return file_.is_open(); }
  [[nodiscard]] bool isCut() const { return isCut_; }

  bool readHeader() {
    std::array<char, 4> head{};
    read(head.data(), head.size());
    const std::string_view text(head.data(), static_cast<size_t>(file_.gcount()));
    isBigEndian_ = text == std::string_view("MM\0*", 4);
    return isBigEndian_ || text == std::string_view("II*\0", 4);
  }

  uint32_t number(size_t bytes) {
    std::array<char, 4> raw{};
    if (!read(raw.data(), bytes)) return 0;
    return combined(raw, bytes);
  }

  /// The entries of a directory; the offset of the next one stands behind them.
  std::vector<Entry> read(uint32_t offset) {
    file_.seekg(offset);
    std::vector<Entry> entries(number(2));
    for (Entry& entry : entries) {
      if (isCut_) break;
      readEntry(entry);
    }
    return entries;
  }

 private:
  [[nodiscard]] uint32_t combined(const std::array<char, 4>& raw, size_t bytes) const {
    uint32_t value = 0;
    for (size_t i = 0; i < bytes; ++i) {
      const size_t at = isBigEndian_ ? i : bytes - 1 - i;
      value = value << 8 | static_cast<uint8_t>(raw[at]);
    }
    return value;
  }

  // Tags whose first value matters, also when it does not stand in the entry itself.
  static bool isNumber(uint16_t tag) {
    return tag == kWidth || tag == kHeight || tag == kBitsPerSample || tag == kCompression ||
           tag == kPhotometric || tag == kFillOrder || tag == kSamplesPerPixel || tag == kPlanar;
  }

  static size_t sizeOf(uint16_t type) {
    if (type == kByte) return 1;
    if (type == kShort) return 2;
    return type == kLong ? 4 : 0;
  }

  void readEntry(Entry& entry) {
    entry.tag = static_cast<uint16_t>(number(2));
    entry.type = static_cast<uint16_t>(number(2));
    entry.count = number(4);
    std::array<char, 4> raw{};
    if (!read(raw.data(), raw.size())) return;
    const size_t size = sizeOf(entry.type);
    if (size == 0 || !isNumber(entry.tag)) return;
    entry.value = combined(raw, size);
    if (uint64_t{entry.count} * size <= raw.size()) return;
    const std::istream::pos_type next = file_.tellg();
    file_.seekg(combined(raw, raw.size()));
    entry.value = number(size);
    file_.seekg(next);
  }

  // A file that cannot be read has not ended: what it holds is not known. A folder has ended.
  bool read(char* to, size_t bytes) {
    file_.read(to, static_cast<std::streamsize>(bytes));
    std::error_code error;
    if (file_.bad() && !std::filesystem::is_directory(path_, error)) {
      throw jobreader::FileError(path_ + ": cannot be read");
    }
    if (file_) return true;
    isCut_ = true;
    file_.clear();
    return false;
  }

  std::string path_;
  std::ifstream file_;
  bool isBigEndian_ = false;
  bool isCut_ = false;
};

// What the directories say, as far as it matters.
struct Tags {
  std::set<uint16_t> seen;  // in any directory
  std::set<uint16_t> last;  // in the last one
  std::string refused;      // why a tag cannot be understood
  uint32_t compression = 0;
  uint32_t planar = 1;
  uint32_t fillOrder = 1;
  uint32_t samplesPerPixel = 1;
  uint16_t offsetType = 0;
  uint32_t strips = 0;
};

std::string named(uint16_t tag) {
  return "tag " + std::to_string(tag);
}

void takeBits(const Entry& entry, ImageFacts& facts, Tags& tags) {
  constexpr uint32_t kMost = 255;  // beyond, the system's counters of one byte run over
  if (entry.value > kMost || entry.count > kMost) {
    tags.refused = "its bits per sample are out of range";
    return;
  }
  facts.bits = entry.value;
  facts.samples = entry.count;
  facts.hasShortBits = entry.type == kShort;
}

void takeEntry(const Entry& entry, ImageFacts& facts, Tags& tags) {
  tags.seen.insert(entry.tag);
  tags.last.insert(entry.tag);
  switch (entry.tag) {
    case kWidth:
      facts.width = entry.value;
      break;
    case kHeight:
      facts.height = entry.value;
      break;
    case kBitsPerSample:
      takeBits(entry, facts, tags);
      break;
    case kCompression:
      tags.compression = entry.value;
      break;
    case kPhotometric:
      facts.photometric = static_cast<uint16_t>(entry.value);
      break;
    case kFillOrder:
      tags.fillOrder = entry.value;
      break;
    case kSamplesPerPixel:
      tags.samplesPerPixel = entry.value;
      break;
    case kPlanar:
      tags.planar = entry.value;
      break;
    case kStripOffsets:
      tags.offsetType = entry.type;
      tags.strips = entry.count;
      break;
    case kRowsPerStrip:
      break;  // only libtiff needs it
    default:
      return;
  }
  if (entry.type != kByte && entry.type != kShort && entry.type != kLong)
    tags.refused = named(entry.tag) + " is of type " + std::to_string(entry.type);
}

void takeDirectory(const std::vector<Entry>& entries, ImageFacts& facts, Tags& tags) {
  tags.last.clear();
  tags.fillOrder = tags.samplesPerPixel = 1;
  for (const Entry& entry : entries) takeEntry(entry, facts, tags);
}

void readDirectories(Directories& file, ImageFacts& facts, Tags& tags) {
  std::set<uint32_t> offsets;
  size_t entries = 0;
  uint32_t offset = file.number(4);
  // A chain that comes back to a directory ends there.
  while (offset != 0 && !file.isCut() && offsets.insert(offset).second) {
    facts.lastDirectory = offset;
    const std::vector<Entry> directory = file.read(offset);
    offset = file.number(4);
    takeDirectory(directory, facts, tags);
    entries += directory.size();
    if (entries > kMostEntries) {
      tags.refused = "it has too many directories";
      return;
    }
  }
  facts.directories = offsets.size();
  if (file.isCut()) tags.refused = "its directory is cut off";
}

bool isBeyondFile(const ImageFacts& facts, const std::string& path) {
  std::error_code error;
  const uint64_t fileBytes = std::filesystem::file_size(path, error);
  const auto rowBytes = static_cast<uint32_t>(facts.rowBytes());
  return !error && isClaimBeyondFile(facts.height, rowBytes, facts.bitsPerPixel(), fileBytes);
}

std::string whyUnreadable(const ImageFacts& facts, const Tags& tags) {
  if (tags.last.contains(kTileWidth) || tags.last.contains(kTileOffsets)) return "it is tiled";
  if (!tags.seen.contains(kStripOffsets)) return "it has no strips";
  for (const uint16_t tag : kInherited) {
    if (tags.seen.contains(tag) && !tags.last.contains(tag))
      return "its last directory does without " + named(tag);
  }
  if (tags.compression != kNoCompression && tags.compression != kPackBits)
    return "compression " + std::to_string(tags.compression) + " is not read";
  if (tags.planar == kSeparatePlanes && facts.samples > 1)
    return "its samples stand in separate planes";
  if (tags.fillOrder == kLowBitsFirst) return "its bits are stored lowest first";
  if (tags.samplesPerPixel != facts.samples)
    return "its tags disagree about the samples of a pixel";
  if (tags.offsetType != kLong && tags.strips > 1) return "its strip offsets are no 32-bit numbers";
  return "";
}

// Two spellings, in any case. Of what follows the last dot four characters count.
bool hasTiffExtension(const std::string& path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos) return false;
  std::string extension = path.substr(dot + 1, 4);
  for (char& c : extension) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return extension == "TIF" || extension == "TIFF";
}

// What libtiff says while this lives, instead of printing it. libtiff has one handler for all
// files, which is why it is put back.
class LibtiffMessages {
 public:
  LibtiffMessages() : error_(TIFFSetErrorHandler(take)), warning_(TIFFSetWarningHandler(take)) {
    sFirst.clear();
  }
  ~LibtiffMessages() {
    TIFFSetErrorHandler(error_);
    TIFFSetWarningHandler(warning_);
  }
  LibtiffMessages(const LibtiffMessages&) = delete;
  LibtiffMessages& operator=(const LibtiffMessages&) = delete;

  [[nodiscard]] static const std::string& first() { return sFirst; }

 private:
  [[gnu::format(printf, 2, 0)]] static void take(const char* /*module*/, const char* format,
                                                 va_list arguments) {
    std::array<char, 256> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    if (sFirst.empty()) sFirst = text.data();
  }

  static std::string sFirst;  // the first message
  TIFFErrorHandler error_;
  TIFFErrorHandler warning_;
};

std::string LibtiffMessages::sFirst;

struct CloseTiff {
  void operator()(TIFF* file) const noexcept { TIFFClose(file); }
};

bool agrees(TIFF* file, const ImageFacts& facts) {
  uint32_t width = 0;
  uint32_t height = 0;
  uint16_t bits = 0;
  uint16_t samples = 0;
  TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(file, TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(file, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(file, TIFFTAG_SAMPLESPERPIXEL, &samples);
  // Rows of another size are those of subsampled colours.
  return width == facts.width && height == facts.height && bits == facts.bits &&
         samples == facts.samples && TIFFScanlineSize64(file) == facts.rowBytes();
}

}  // namespace

ImageFacts readImageFacts(const std::string& path) {
  ImageFacts facts;
  if (!hasTiffExtension(path)) {
    facts.cannotOpen = "does not end in .tif or .tiff";
    return facts;
  }
  errno = 0;
  Directories file(path);
  if (!file.isOpen()) {
    if (errno == ENOMEM) throw std::bad_alloc();
    facts.cannotOpen = "cannot be opened";
    return facts;
  }
  facts.isTiff = file.readHeader();
  if (!facts.isTiff) return facts;
  Tags tags;
  readDirectories(file, facts, tags);
  facts.unknown = tags.refused;
  facts.unreadable = whyUnreadable(facts, tags);
  if (facts.rowBytes() <= kMostRowBytes) {
    facts.isBeyondFile = isBeyondFile(facts, path);
    return facts;
  }
  // The system refuses it like a file that is none.
  ImageFacts refused;
  refused.directories = facts.directories;
  return refused;
}

struct TiffImage::Library {
  std::unique_ptr<TIFF, CloseTiff> file;
};

TiffImage::TiffImage(const std::string& path, const ImageFacts& facts)
    : library_(std::make_unique<Library>()), problem_(facts.unreadable) {
  if (!facts.isTiff || !problem_.empty()) return;
  const LibtiffMessages messages;
  // Not mapped into memory: a file that becomes shorter meanwhile would end the process.
  library_->file.reset(TIFFOpen(path.c_str(), "rm"));
  TIFF* const file = library_->file.get();
  if (file == nullptr || TIFFSetSubDirectory(file, facts.lastDirectory) == 0) {
    problem_ = "libtiff cannot open it: " + LibtiffMessages::first();
    library_->file.reset();
    return;
  }
  if (!agrees(file, facts)) {
    problem_ = "libtiff sees an image of another size in it";
    library_->file.reset();
    return;
  }
  row_.resize(static_cast<size_t>(facts.rowBytes()));
}

TiffImage::~TiffImage() {
  const LibtiffMessages messages;  // closing may have something to say too
  library_.reset();
}

std::span<const uint8_t> TiffImage::row(uint64_t y) {
  if (!library_->file || row_.empty()) return {};
  const LibtiffMessages messages;
  while (rowsRead_ <= y) {
    const auto next = static_cast<uint32_t>(rowsRead_);
    const bool isRead = TIFFReadScanline(library_->file.get(), row_.data(), next, 0) >= 0;
    // A row with a warning was mended by libtiff in a way of its own.
    if (!isRead || !LibtiffMessages::first().empty()) {
      problem_ = "row " + std::to_string(rowsRead_) + ": " + LibtiffMessages::first();
      library_->file.reset();
      return {};
    }
    ++rowsRead_;
  }
  return row_;
}

}  // namespace jobverify
