#include "PngReader.h"

#include <png.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace {

// Offsets in a file: the signature is followed by the header chunk, and that by other chunks, each
// with its length, its name, its content and a check sum.
constexpr size_t kBitDepth = 24;
constexpr size_t kColourType = 25;
constexpr size_t kFirstChunk = 33;
constexpr size_t kChunkFrame = 12;
constexpr uint8_t kMetre = 1;

uint32_t number(const Bytes& file, size_t at) {
  return uint32_t{file.at(at)} << 24 | uint32_t{file.at(at + 1)} << 16 |
         uint32_t{file.at(at + 2)} << 8 | file.at(at + 3);
}

std::string_view chunkName(const Bytes& file, size_t chunk) {
  return {reinterpret_cast<const char*>(&file.at(chunk + 4)), 4};
}

void readSize(const Bytes& file, PngPicture& picture) {
  for (size_t chunk = kFirstChunk; chunkName(file, chunk) != "IDAT";) {
    if (chunkName(file, chunk) == "pHYs") {
      if (file.at(chunk + 16) != kMetre) throw std::runtime_error("pHYs without a unit");
      picture.xPixelsPerMetre = number(file, chunk + 8);
      picture.yPixelsPerMetre = number(file, chunk + 12);
    }
    chunk += kChunkFrame + number(file, chunk);
  }
}

}  // namespace

PngPicture readPng(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const Bytes file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0)
    throw std::runtime_error(path + ": " + image.message);
  PngPicture picture;
  picture.width = image.width;
  picture.height = image.height;
  picture.bitDepth = file.at(kBitDepth);
  picture.isColour = file.at(kColourType) == PNG_COLOR_TYPE_RGB;
  image.format = picture.isColour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  picture.pixels.resize(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr) == 0)
    throw std::runtime_error(path + ": " + image.message);
  readSize(file, picture);
  return picture;
}
