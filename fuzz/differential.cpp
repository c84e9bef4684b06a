// Fuzzed: a TIFF file that is made from the decisions of the input, read by ZKTiff and by libtiff.
// Asserted: for every file that both read and that means the same to both, all rows are equal, byte
// by byte; and so are the pixels that come of them where a buffer takes them as they are.
//
// Not compared, since there the two differ on purpose or no rule says what is right:
//  - files of which libtiff says anything, were it a warning: broken data, tags that stand twice,
//    sizes that contradict each other, missing byte counts, a PackBits run beyond its row
//  - files without a compression tag, which ZKTiff refuses, and all that it does not open
//  - files of several directories: to ZKTiff the last one counts, and what it leaves out is taken
//    from those in front of it
//  - tiles, planes one behind another, fill order 2, YCbCr with fewer colours than pixels: ZKTiff
//    does not look at them
//  - files whose bits, samples, strips or rows of a strip ZKTiff reads otherwise: it takes the bits
//    of a pixel from the first sample and the number of samples with bits, and right offsets behind
//    the first strip from fields of type LONG only
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BuiltTiff.h"
#include "FuzzFolder.h"
#include "ReductionTables.h"
#include "Require.h"
#include "Silence.h"
#include "ZKGWorldLib.h"
#include "ZKTiff.h"

namespace {

constexpr uint32_t kMostRows = 200;
constexpr uint32_t kMostRowBytes = 4096;

bool sHasComplained = false;  // libtiff said something

void complain(const char* /*module*/, const char* /*format*/, va_list /*arguments*/) {
  sHasComplained = true;
}

struct CloseTiff {
  void operator()(TIFF* file) const { TIFFClose(file); }
};
struct CloseReader {
  void operator()(ImageReader* reader) const { ZKTiff_Delete(reader); }
};
struct FreeWorld {
  void operator()(ZKGWorld* world) const { std::free(world); }
};
using Reader = std::unique_ptr<ImageReader, CloseReader>;
using World = std::unique_ptr<ZKGWorld, FreeWorld>;

// An image as libtiff sees it.
struct Image {
  uint32_t width = 0, height = 0, rowsPerStrip = 0, strips = 0;
  uint16_t bits = 0, samples = 0, compression = 0, photometric = 0;
  std::vector<Bytes> rows;  // in the file's byte order
};

bool isPlain(TIFF* file) {
  uint16_t planar = 0;
  uint16_t fillOrder = 0;
  TIFFGetFieldDefaulted(file, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetFieldDefaulted(file, TIFFTAG_FILLORDER, &fillOrder);
  return TIFFIsTiled(file) == 0 && planar == PLANARCONFIG_CONTIG &&
         fillOrder == FILLORDER_MSB2LSB && TIFFLastDirectory(file) != 0;
}

std::optional<Image> readByLibtiff(const std::string& path) {
  sHasComplained = false;
  const std::unique_ptr<TIFF, CloseTiff> file(TIFFOpen(path.c_str(), "rc"));
  if (file == nullptr || !isPlain(file.get())) return std::nullopt;
  Image image;
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_IMAGEWIDTH, &image.width);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_IMAGELENGTH, &image.height);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_ROWSPERSTRIP, &image.rowsPerStrip);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &image.bits);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLESPERPIXEL, &image.samples);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_COMPRESSION, &image.compression);
  TIFFGetFieldDefaulted(file.get(), TIFFTAG_PHOTOMETRIC, &image.photometric);
  image.strips = TIFFNumberOfStrips(file.get());
  const tmsize_t rowBytes = TIFFScanlineSize(file.get());
  if (image.height > kMostRows || rowBytes <= 0 || rowBytes > tmsize_t{kMostRowBytes})
    return std::nullopt;
  image.rows.assign(image.height, Bytes(static_cast<size_t>(rowBytes)));
  for (uint32_t y = 0; y < image.height; ++y) {
    Bytes& row = image.rows[y];
    if (TIFFReadScanline(file.get(), row.data(), y, 0) != 1) return std::nullopt;
    // libtiff gives numbers; the file's bytes are wanted.
    if (image.bits == 16 && TIFFIsByteSwapped(file.get()) != 0) {
      for (size_t i = 0; i + 1 < row.size(); i += 2) std::swap(row[i], row[i + 1]);
    }
  }
  if (sHasComplained || image.photometric == PHOTOMETRIC_YCBCR) return std::nullopt;
  return image;
}

bool meansTheSame(const Image& image, const ImageReader& reader) {
  const bool isOneStrip =
      image.strips == 1 && image.rowsPerStrip >= image.height &&
      (reader.rowsPerStrip >= reader.height || reader.rowsPerStrip == image.rowsPerStrip);
  const bool isManyStrips = reader.rowsPerStrip == image.rowsPerStrip &&
                            reader.stripOffsetBytes == uint64_t{reader.stripCount} * 4;
  return reader.width == image.width && reader.height == image.height &&
         reader.bitsPerPixel == image.bits * image.samples &&
         reader.bytesPerRow == image.rows.front().size() && reader.stripCount == image.strips &&
         reader.compression == image.compression && (isOneStrip || isManyStrips);
}

World makeWorld(const ImageReader& reader, int16_t depth) {
  const ZKRect box = {0, 0, 1, static_cast<long>(reader.width)};
  ZKGWorld* world = nullptr;
  ZKNewGWorld(&world, depth, &box, 0);
  return World(world);
}

void requireSamePixels(const World& world, const Bytes& row, size_t channel, size_t channels) {
  for (size_t i = 0; i * channels + channel < row.size(); ++i) {
    require(world->pixels[i] == row[i * channels + channel], "the pixels are those of the file");
  }
}

// Reads the next row by the reader for one channel.
void requireGrayRow(ImageReader* reader, const World& world, const Bytes& row) {
  const int got = ZKTiff_ReadNextRasterBlock(reader, world.get(), rawSamplesMarker());
  require(got == 1, "a row comes");
  if (reader->bitsPerPixel == 8) requireSamePixels(world, row, 0, 1);
}

// The same for four channels; the samples come as they are when they grow with the ink.
void requireChannelRow(ImageReader* reader, const World& world, const Bytes& row) {
  const int got = ZKTiff_ReadNextRasterBlockCMYK(reader, world.get(), nullptr, 2);
  require(got == 1, "a row comes");
  const bool isInk = reader->photometric == kWhiteIsZero || reader->photometric == kSeparated;
  if (isInk && reader->bitsPerPixel == 32) requireSamePixels(world, row, 2, 4);
}

void requireColourRow(ImageReader* reader, const std::array<World, 3>& worlds, const Bytes& row) {
  const int got =
      ZKTiff_ReadNextRasterBlockRGB(reader, worlds[0].get(), worlds[1].get(), worlds[2].get(), 0);
  require(got == 1, "a row comes");
  for (size_t channel = 0; channel < worlds.size(); ++channel) {
    if (reader->bitsPerPixel == 24) {
      requireSamePixels(worlds[channel], row, channel, 3);
      continue;
    }
    const size_t high = reader->byteOrder == 'I' ? 1 : 0;
    for (size_t i = 0; (i * 3 + channel) * 2 + 1 < row.size(); ++i) {
      const uint8_t* sample = row.data() + (i * 3 + channel) * 2;
      require(worlds[channel]->pixels[2 * i] == sample[high] &&
                  worlds[channel]->pixels[2 * i + 1] == sample[1 - high],
              "the samples are those of the file");
    }
  }
}

void compare(const Image& image, ImageReader* reader) {
  const unsigned bits = image.bits;
  const bool isGray = image.samples == 1 && (bits == 1 || bits == 8);
  const bool isDeepGray = image.samples == 1 && bits == 16;
  const bool isColour = image.samples == 3 && (bits == 8 || bits == 16);
  const bool isInks = image.samples == 4 && (bits == 8 || bits == 16);
  if (!isGray && !isDeepGray && !isColour && !isInks) return;
  const auto depth = static_cast<int16_t>(bits == 16 && !isColour ? 10 : bits);
  const std::array<World, 3> worlds = {makeWorld(*reader, depth), makeWorld(*reader, depth),
                                       makeWorld(*reader, depth)};
  for (const Bytes& row : image.rows) {
    if (isColour) {
      requireColourRow(reader, worlds, row);
    } else if (isInks) {
      requireChannelRow(reader, worlds[0], row);
    } else {
      requireGrayRow(reader, worlds[0], row);
    }
    const uint8_t* last = reader->rowInBlock != nullptr ? reader->rowInBlock : reader->row.get();
    require(std::memcmp(last, row.data(), row.size()) == 0, "the rows are equal");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const FuzzFolder folder;
  TIFFSetErrorHandler(complain);
  TIFFSetWarningHandler(complain);
  const jobcheck::Silence silence;
  Choices choices(data, size);
  const std::string path = folder.write("image.tif", buildTiff(choices));
  const std::optional<Image> image = readByLibtiff(path);
  const Reader reader(ZKTiff_New(path.c_str()));
  if (!image || image->rows.empty() || reader == nullptr || !reader->file.isOpen()) return 0;
  if (meansTheSame(*image, *reader)) compare(*image, reader.get());
  return 0;
}
