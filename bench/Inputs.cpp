#include "Inputs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr Page kA2{420, 594, Content::kMixed};
constexpr Page kA2Photo{420, 594, Content::kPhoto};
constexpr Page kA0{841, 1189, Content::kMixed};
constexpr Page kA3{297, 420, Content::kMixed};

constexpr ImageFormat plate(Ink ink) {
  return {Samples::kInk, ink, false};
}
constexpr ImageFormat packedPlate(Ink ink) {
  return {Samples::kInk, ink, true};
}
constexpr ImageFormat whole(Samples samples) {
  return {samples, kBlack, false};
}

constexpr ImageInput kImages[] = {
    {"plate-K.tif", &kA2, plate(kBlack)},
    {"plate-C.tif", &kA2, plate(kCyan)},
    {"plate-M.tif", &kA2, plate(kMagenta)},
    {"plate-Y.tif", &kA2, plate(kYellow)},
    {"packed-K.tif", &kA2, packedPlate(kBlack)},
    {"packed-C.tif", &kA2, packedPlate(kCyan)},
    {"packed-M.tif", &kA2, packedPlate(kMagenta)},
    {"packed-Y.tif", &kA2, packedPlate(kYellow)},
    {"cmyk.tif", &kA2, whole(Samples::kCmyk)},
    {"rgb24.tif", &kA2, whole(Samples::kRgb24)},
    {"photo-K.tif", &kA2Photo, plate(kBlack)},
    {"photo-C.tif", &kA2Photo, plate(kCyan)},
    {"photo-M.tif", &kA2Photo, plate(kMagenta)},
    {"photo-Y.tif", &kA2Photo, plate(kYellow)},
    {"bilevel.tif", &kA0, whole(Samples::kBilevel)},
    {"rgb48.tif", &kA3, whole(Samples::kRgb48)},
};

constexpr int kVersion = 1;  // of what is drawn: another one makes the files anew

std::string stampText(double scale) {
  std::ostringstream text;
  text << "inputs " << kVersion << ", scale " << scale << '\n';
  return text.str();
}

std::string stampPath(const std::string& folder) {
  return folder + "/inputs.txt";
}

void drawInto(const Page& page, const Size& size, std::vector<TiffOutput>& files) {
  const PageImage image(size.width, size.height, page.content);
  InkRows rows;
  for (size_t y = 0; y < size.height; ++y) {
    image.drawRow(y, rows);
    for (TiffOutput& file : files) file.write(rows);
  }
  for (TiffOutput& file : files) file.finish();
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The next block of data: paper, a few bytes over and over, or noise.
void fillBlock(std::vector<uint8_t>& block, Numbers& numbers) {
  constexpr size_t kKinds = 8, kPeriod = 24;
  const size_t kind = numbers.below(kKinds);
  if (kind < kKinds / 2) {
    std::fill(block.begin(), block.end(), uint8_t{0});
    return;
  }
  const size_t fresh = kind < kKinds - 2 ? kPeriod : block.size();
  for (size_t i = 0; i < block.size(); i += sizeof(uint64_t)) {
    const uint64_t number = numbers.next();
    if (i < fresh) std::memcpy(&block[i], &number, sizeof number);
    if (i >= fresh) std::memcpy(&block[i], &block[i - fresh], sizeof number);
  }
}

}  // namespace

std::span<const ImageInput> imageInputs() {
  return kImages;
}

const ImageInput& imageInput(const std::string& name) {
  for (const ImageInput& input : kImages) {
    if (name == input.name) return input;
  }
  throw std::runtime_error("no input " + name);
}

Size sizeOf(const Page& page, double scale) {
  constexpr double kDotsPerMm = 600 / 25.4;
  const auto dots = [scale](double mm) {
    return static_cast<size_t>(std::lround(std::max(mm * kDotsPerMm * std::sqrt(scale), 1.0)));
  };
  return {dots(page.widthMm), dots(page.heightMm)};
}

void makeInputs(const std::string& folder, double scale) {
  if (hasInputs(folder, scale)) return;
  fs::create_directories(folder);
  fs::remove(stampPath(folder));
  const std::span<const ImageInput> images = imageInputs();
  for (auto first = images.begin(); first != images.end();) {
    const Page& page = *first->page;
    const Size size = sizeOf(page, scale);
    std::vector<TiffOutput> files;
    for (; first != images.end() && first->page == &page; ++first) {
      files.emplace_back(folder + '/' + first->name, first->format, size.width, size.height);
    }
    drawInto(page, size, files);
  }
  makeData(folder + '/' + kDataInput,
           static_cast<uint64_t>(static_cast<double>(kDataBytes) * scale));
  std::ofstream(stampPath(folder)) << stampText(scale);
  if (!hasInputs(folder, scale)) throw std::runtime_error(folder + ": cannot be written");
}

bool hasInputs(const std::string& folder, double scale) {
  std::ifstream file(stampPath(folder));
  std::ostringstream text;
  text << file.rdbuf();
  return text.str() == stampText(scale);
}

void makeImage(const std::string& path, const ImageFormat& format, const Size& size,
               Content content) {
  std::vector<TiffOutput> files;
  files.emplace_back(path, format, size.width, size.height);
  drawInto({0, 0, content}, size, files);
}

void makeData(const std::string& path, uint64_t bytes) {
  constexpr size_t kBlockBytes = 4096;
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
  std::vector<uint8_t> block(kBlockBytes);
  Numbers numbers(bytes);
  bool isWritten = file != nullptr;
  for (uint64_t left = bytes; isWritten && left > 0;) {
    const size_t part = std::min<uint64_t>(left, block.size());
    fillBlock(block, numbers);
    isWritten = std::fwrite(block.data(), 1, part, file.get()) == part;
    left -= part;
  }
  if (!isWritten || std::fflush(file.get()) != 0) {
    throw std::runtime_error(path + ": cannot be written");
  }
}

}  // namespace bench
