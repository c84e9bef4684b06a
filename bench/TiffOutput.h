// TiffOutput - writes drawn pages as TIFF files, as the renderer of a print shop writes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "PageImages.h"

struct tiff;  // of libtiff

namespace bench {

enum class Samples {
  kInk,      ///< one ink, 8 bits, 0 is full ink
  kBilevel,  ///< all inks as dots of black, 1 bit, 0 is paper
  kCmyk,     ///< four inks, 8 bits each
  kRgb24,    ///< 8 bits each
  kRgb48,    ///< 16 bits each
};

struct ImageFormat {
  Samples samples;
  Ink ink;        ///< which one, for Samples::kInk
  bool isPacked;  ///< PackBits
};

/// Bytes of one row without compression.
size_t rowBytes(Samples samples, size_t width);

/// A file under construction. Strips are as high as libtiff makes them when nobody asks.
class TiffOutput {
 public:
  /// @throws std::runtime_error when it cannot be made
  TiffOutput(const std::string& path, const ImageFormat& format, size_t width, size_t height);

  /// The next row. @throws std::runtime_error when it cannot be written
  void write(const InkRows& rows);
  /// Writes what is left. @throws std::runtime_error
  void finish();

 private:
  struct Closer {
    void operator()(tiff* file) const;
  };

  void fail() const;
  void convert(const InkRows& rows);

  std::string path_;
  ImageFormat format_;
  std::unique_ptr<tiff, Closer> file_;
  std::vector<uint8_t> row_;
  uint32_t next_ = 0;
};

}  // namespace bench
