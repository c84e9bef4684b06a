#include "PlateTiff.h"

#include <tiffio.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace command {

namespace {

// A file in memory: so that all files of the job reach the disk the same way, and a full disk is
// noticed in one place.
struct MemoryFile {
  std::string bytes;
  size_t position = 0;
};

MemoryFile& fileOf(thandle_t handle) {
  return *static_cast<MemoryFile*>(handle);
}

tmsize_t readFile(thandle_t handle, void* to, tmsize_t wanted) {
  MemoryFile& file = fileOf(handle);
  const size_t left = file.bytes.size() - std::min(file.position, file.bytes.size());
  const size_t count = std::min(static_cast<size_t>(wanted), left);
  if (count > 0) std::memcpy(to, file.bytes.data() + file.position, count);
  file.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t writeFile(thandle_t handle, void* from, tmsize_t wanted) {
  MemoryFile& file = fileOf(handle);
  const auto count = static_cast<size_t>(wanted);
  const size_t end = file.position + count;
  if (file.bytes.size() < end) file.bytes.resize(end);
  std::memcpy(file.bytes.data() + file.position, from, count);
  file.position = end;
  return wanted;
}

toff_t seekFile(thandle_t handle, toff_t offset, int from) {
  MemoryFile& file = fileOf(handle);
  size_t start = 0;
  if (from == SEEK_CUR) start = file.position;
  if (from == SEEK_END) start = file.bytes.size();
  file.position = start + offset;
  return file.position;
}

int closeFile(thandle_t /*handle*/) {
  return 0;
}

toff_t sizeOfFile(thandle_t handle) {
  return fileOf(handle).bytes.size();
}

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

void setFields(TIFF* tiff) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kPageWidth);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kPageHeight);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  // One strip: of several the job finds only those whose offsets are stored as LONG, and libtiff
  // stores small ones as SHORT.
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kPageHeight);
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, static_cast<double>(kPageDpi));
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, static_cast<double>(kPageDpi));
}

bool writeRows(TIFF* tiff, const Plate& plate) {
  std::string row(kPageWidth, '\0');  // libtiff takes no const samples
  for (uint32_t y = 0; y < kPageHeight; ++y) {
    std::memcpy(row.data(), plate.samples.data() + size_t{y} * kPageWidth, row.size());
    if (TIFFWriteScanline(tiff, row.data(), y, 0) != 1) return false;
  }
  return TIFFFlush(tiff) == 1;
}

}  // namespace

std::string plateTiff(const Plate& plate) {
  MemoryFile file;
  {
    // Little-endian on every machine, so that the bytes are the same everywhere.
    const std::unique_ptr<TIFF, TiffCloser> tiff(TIFFClientOpen("plate", "wl", &file, readFile,
                                                                writeFile, seekFile, closeFile,
                                                                sizeOfFile, nullptr, nullptr));
    if (tiff != nullptr) setFields(tiff.get());
    if (tiff == nullptr || !writeRows(tiff.get(), plate)) {
      throw std::runtime_error(std::string("the picture of ") + plate.ink + " cannot be made");
    }
  }
  return std::move(file.bytes);
}

}  // namespace command
