// Inputs - the files that the jobs read: what is in them, how large they are, where they stand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "TiffOutput.h"

namespace bench {

/// A sheet of paper and what is printed on it.
struct Page {
  double widthMm, heightMm;
  Content content;
};

struct ImageInput {
  const char* name;  ///< of the file
  const Page* page;
  ImageFormat format;
};

inline constexpr const char* kDataInput = "data.bin";  ///< the one file that is no image
inline constexpr uint64_t kDataBytes = 500'000'000;    ///< at scale 1

/// All images. Those of one page stand together.
std::span<const ImageInput> imageInputs();
/// The one with this name. @throws std::runtime_error when there is none
const ImageInput& imageInput(const std::string& name);

struct Size {
  size_t width, height;
};
/// Dots at 600 dpi. @param scale  part of the page's area
Size sizeOf(const Page& page, double scale);

/// Makes them all in `folder`, unless those of this scale are there already.
/// @throws std::runtime_error when one cannot be written
void makeInputs(const std::string& folder, double scale);

/// Whether makeInputs() has finished in `folder` for this scale.
bool hasInputs(const std::string& folder, double scale);

/// Draws a page into one file.
void makeImage(const std::string& path, const ImageFormat& format, const Size& size,
               Content content = Content::kMixed);
/// Bytes of which some repeat and some do not, as in a raster stream.
void makeData(const std::string& path, uint64_t bytes);

}  // namespace bench
