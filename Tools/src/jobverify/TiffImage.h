// TiffImage - one image file: its facts, and its samples row by row. The facts are those that the
// system goes by: every directory of the file counts, later ones overwrite earlier ones. The
// samples are libtiff's, which knows nothing of the system and its reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace jobverify {

/// What an image file is.
struct ImageFacts {
  std::string cannotOpen;  // why the system refuses the file; empty: it opens it
  std::string unknown;     // why the facts below cannot be told; empty: they can
  std::string unreadable;  // why the samples cannot be read as the system reads them
  bool isTiff = false;     // false: a file without pixels, whatever its name
  uint32_t width = 0;
  uint32_t height = 0;
  unsigned bits = 1;           // per sample
  unsigned samples = 1;        // per pixel
  bool hasShortBits = false;   // what composites of inks need to be seen as such
  uint16_t photometric = 0;    // also when the file does not say it
  bool isBeyondFile = false;   // the system takes none of its rows: such a file cannot hold them
  size_t directories = 0;      // images in the file; the last one counts
  uint32_t lastDirectory = 0;  // offset

  /// As the system counts it, in one byte.
  [[nodiscard]] unsigned bitsPerPixel() const { return bits * samples & 0xFF; }
  /// Bytes of a row of samples.
  [[nodiscard]] uint64_t rowBytes() const { return (uint64_t{width} * bits * samples + 7) / 8; }
};

ImageFacts readImageFacts(const std::string& path);

/// The samples of a file whose facts have nothing against it.
class TiffImage {
 public:
  /// Opens it; what libtiff has against it is then its problem().
  TiffImage(const std::string& path, const ImageFacts& facts);
  ~TiffImage();
  TiffImage(const TiffImage&) = delete;
  TiffImage& operator=(const TiffImage&) = delete;

  /// Row `y` of the image as libtiff gives it: samples of 16 bits in the order of this machine,
  /// those of 1 bit from the highest bit on. Rows are asked for in ascending order, each as often
  /// as one likes. Valid until the next row. Empty when it cannot be read: problem() says why.
  std::span<const uint8_t> row(uint64_t y);
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  struct Library;
  std::unique_ptr<Library> library_;
  std::vector<uint8_t> row_;
  uint64_t rowsRead_ = 0;
  std::string problem_;
};

}  // namespace jobverify
