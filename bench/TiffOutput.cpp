#include "TiffOutput.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "Screen.h"

namespace bench {

namespace {

struct Fields {
  Samples samples;
  int bits, perPixel, photometric;
};
constexpr Fields kFields[] = {
    {Samples::kInk, 8, 1, PHOTOMETRIC_MINISBLACK},
    {Samples::kBilevel, 1, 1, PHOTOMETRIC_MINISWHITE},
    {Samples::kCmyk, 8, 4, PHOTOMETRIC_SEPARATED},
    {Samples::kRgb24, 8, 3, PHOTOMETRIC_RGB},
    {Samples::kRgb48, 16, 3, PHOTOMETRIC_RGB},
};

const Fields& fieldsOf(Samples samples) {
  return *std::find_if(std::begin(kFields), std::end(kFields),
                       [samples](const Fields& fields) { return fields.samples == samples; });
}

uint8_t high(uint16_t sample) {
  return static_cast<uint8_t>(sample >> 8U);
}

uint16_t light(uint16_t ink, uint16_t black) {
  return static_cast<uint16_t>(kFullInk - std::min<uint32_t>(kFullInk, uint32_t{ink} + black));
}

void convertInk(const InkRow& ink, std::vector<uint8_t>& out) {
  for (size_t x = 0; x < out.size(); ++x) out[x] = static_cast<uint8_t>(255 - high(ink[x]));
}

void convertCmyk(const InkRows& rows, std::vector<uint8_t>& out) {
  for (size_t x = 0; x < out.size() / 4; ++x) {
    out[4 * x] = high(rows[kCyan][x]);
    out[4 * x + 1] = high(rows[kMagenta][x]);
    out[4 * x + 2] = high(rows[kYellow][x]);
    out[4 * x + 3] = high(rows[kBlack][x]);
  }
}

constexpr Ink kRgbInks[] = {kCyan, kMagenta, kYellow};  // what takes red, green and blue away

void convertRgb24(const InkRows& rows, std::vector<uint8_t>& out) {
  for (size_t colour = 0; colour < 3; ++colour) {
    const InkRow& ink = rows.at(kRgbInks[colour]);
    for (size_t x = 0; x < out.size() / 3; ++x) {
      out[3 * x + colour] = high(light(ink[x], rows[kBlack][x]));
    }
  }
}

// In the byte order of the machine, as libtiff takes samples.
void convertRgb48(const InkRows& rows, std::vector<uint8_t>& out) {
  for (size_t colour = 0; colour < 3; ++colour) {
    const InkRow& ink = rows.at(kRgbInks[colour]);
    for (size_t x = 0; x < out.size() / 6; ++x) {
      const uint16_t sample = light(ink[x], rows[kBlack][x]);
      std::memcpy(&out[6 * x + 2 * colour], &sample, sizeof sample);
    }
  }
}

}  // namespace

size_t rowBytes(Samples samples, size_t width) {
  const Fields& fields = fieldsOf(samples);
  return (width * static_cast<size_t>(fields.bits * fields.perPixel) + 7) / 8;
}

void TiffOutput::Closer::operator()(tiff* file) const {
  TIFFClose(file);
}

TiffOutput::TiffOutput(const std::string& path, const ImageFormat& format, size_t width,
                       size_t height)
    : path_(path),
      format_(format),
      file_(TIFFOpen(path.c_str(), "w")),
      row_(rowBytes(format.samples, width)) {
  constexpr double kDpi = 600;
  if (file_ == nullptr) fail();
  TIFF* file = file_.get();
  const Fields& fields = fieldsOf(format.samples);
  TIFFSetField(file, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(width));
  TIFFSetField(file, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(height));
  TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, fields.bits);
  TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, fields.perPixel);
  TIFFSetField(file, TIFFTAG_PHOTOMETRIC, fields.photometric);
  TIFFSetField(file, TIFFTAG_COMPRESSION,
               format.isPacked ? COMPRESSION_PACKBITS : COMPRESSION_NONE);
  TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(file, 0));
  TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  TIFFSetField(file, TIFFTAG_XRESOLUTION, kDpi);
  TIFFSetField(file, TIFFTAG_YRESOLUTION, kDpi);
}

void TiffOutput::fail() const {
  throw std::runtime_error(path_ + ": cannot be written");
}

void TiffOutput::convert(const InkRows& rows) {
  switch (format_.samples) {
    case Samples::kInk:
      return convertInk(rows.at(format_.ink), row_);
    case Samples::kBilevel:
      return screenRow(rows, next_, row_);
    case Samples::kCmyk:
      return convertCmyk(rows, row_);
    case Samples::kRgb24:
      return convertRgb24(rows, row_);
    case Samples::kRgb48:
      return convertRgb48(rows, row_);
  }
}

void TiffOutput::write(const InkRows& rows) {
  convert(rows);
  if (TIFFWriteScanline(file_.get(), row_.data(), next_, 0) != 1) fail();
  ++next_;
}

void TiffOutput::finish() {
  if (TIFFFlush(file_.get()) != 1) fail();
  file_.reset();
}

}  // namespace bench
