#include "PngFile.h"

#include <fcntl.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "Leftovers.h"
#include "ReadError.h"

namespace jobrender {

namespace {

// The pages of a job are large, and their pictures are looked at and thrown away: time counts more
// than the last tenth of the size. Filters cost time and help photographs only, not halftones.
constexpr int kCompressionLevel = 1;
constexpr int kFilters = PNG_FILTER_NONE;
constexpr size_t kBlockBytes = size_t{64} * 1024;

[[noreturn]] void fail(const std::string& path, const std::string& cause) {
  throw jobreader::FileError(path + ": " + cause);
}

bool exists(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0;
}

// A new file beside the one it is to become; removed unless it has become that.
class PartialFile {
 public:
  explicit PartialFile(const std::string& target) : target_(target) {
    const leftovers::SignalPause pause;
    const int file = makeBeside(target);
    if (file < 0) fail(target, std::strerror(errno));
    stream_ = ::fdopen(file, "wb");
    if (stream_ != nullptr) return;
    const int cause = errno;
    ::close(file);
    fail(target, std::strerror(cause));
  }
  ~PartialFile() {
    if (stream_ != nullptr) std::fclose(stream_);
  }
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  [[nodiscard]] std::FILE* stream() const { return stream_; }

  void becomeTarget() {
    std::FILE* const stream = stream_;
    stream_ = nullptr;
    // What is still in the stream's buffer may be what the disk has no room for.
    if (std::fclose(stream) != 0) fail(target_, std::strerror(errno));
    if (std::rename(file_->path().c_str(), target_.c_str()) != 0) {
      fail(target_, std::strerror(errno));
    }
    file_->keep();
  }

 private:
  static constexpr int kAttempts = 100;

  // A descriptor, or -1 and errno.
  int makeBeside(const std::string& target) {
    const std::string stem = target + "." + std::to_string(::getpid()) + ".";
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      std::string path = stem + std::to_string(attempt) + ".part";
      const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (file >= 0) file_.emplace(std::move(path), leftovers::Leftover::Kind::kFile);
      if (file >= 0 || errno != EEXIST) return file;
    }
    return -1;
  }

  std::string target_;
  std::optional<leftovers::Leftover> file_;
  std::FILE* stream_ = nullptr;
};

// What the PNG library's callbacks leave behind. No std::string: an error jumps over its owner.
struct Trouble {
  std::array<char, 256> text = {};
};

void onError(png_structp png, png_const_charp text) {
  auto* const trouble = static_cast<Trouble*>(png_get_error_ptr(png));
  std::snprintf(trouble->text.data(), trouble->text.size(), "%s", text);
  png_longjmp(png, 1);
}

void onWarning(png_structp /*png*/, png_const_charp /*text*/) {}

void onWrite(png_structp png, png_bytep bytes, size_t count) {
  auto* const stream = static_cast<std::FILE*>(png_get_io_ptr(png));
  if (std::fwrite(bytes, 1, count, stream) != count) png_error(png, std::strerror(errno));
}

void onFlush(png_structp /*png*/) {}

// Makes calls to the PNG library. They leave by a jump when they fail, over everything between:
// so neither the calls nor this function may own anything.
template <typename Calls>
bool succeed(png_structp png, const Calls& calls) {
  static_assert(std::is_trivially_destructible_v<Calls>);
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  calls();
  return true;
}

void writeHeader(png_structp png, png_infop info, const PngFormat& format) {
  png_set_compression_level(png, kCompressionLevel);
  png_set_compression_buffer_size(png, kBlockBytes);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, kFilters);
  png_set_IHDR(png, info, format.width, format.height, format.bitDepth,
               format.isColour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (format.xPixelsPerMetre > 0 && format.yPixelsPerMetre > 0) {
    png_set_pHYs(png, info, format.xPixelsPerMetre, format.yPixelsPerMetre, PNG_RESOLUTION_METER);
  }
  png_write_info(png, info);
}

}  // namespace

class PngFile::Writer {
 public:
  Writer(const std::string& path, const PngFormat& format)
      : path_(path), format_(format), file_(path) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &trouble_, onError, onWarning);
    if (png_ == nullptr) fail(path, "out of memory");
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) giveUp("out of memory");
    png_set_write_fn(png_, file_.stream(), onWrite, onFlush);
    if (!succeed(png_, [this] { writeHeader(png_, info_, format_); })) giveUp(trouble_.text.data());
  }
  ~Writer() { png_destroy_write_struct(&png_, &info_); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  [[nodiscard]] const PngFormat& format() const { return format_; }

  void writeRow(const uint8_t* row) {
    if (rows_ == format_.height) throw std::logic_error(path_ + ": a row too many");
    if (!succeed(png_, [this, row] { png_write_row(png_, row); }))
      fail(path_, trouble_.text.data());
    ++rows_;
  }

  void finish() {
    if (rows_ != format_.height) throw std::logic_error(path_ + ": rows are missing");
    if (!succeed(png_, [this] { png_write_end(png_, nullptr); })) fail(path_, trouble_.text.data());
    file_.becomeTarget();
  }

 private:
  // For the constructor, whose object has no destructor yet.
  [[noreturn]] void giveUp(const char* cause) {
    png_destroy_write_struct(&png_, &info_);
    fail(path_, cause);
  }

  std::string path_;
  PngFormat format_;
  PartialFile file_;
  Trouble trouble_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  uint32_t rows_ = 0;
};

PngFile::PngFile(const std::string& path, const PngFormat& format, bool overwrite) {
  if (!overwrite && exists(path)) fail(path, "exists already");
  writer_ = std::make_unique<Writer>(path, format);
}

PngFile::~PngFile() = default;

const PngFormat& PngFile::format() const {
  return writer_->format();
}

void PngFile::writeRow(std::span<const uint8_t> row) {
  if (row.size() != format().rowBytes()) throw std::logic_error("a row of the wrong length");
  writer_->writeRow(row.data());
}

void PngFile::finish() {
  writer_->finish();
}

}  // namespace jobrender
