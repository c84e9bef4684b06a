// odaxgen-bench-small-jobs FOLDER TEMPLATES - writes jobs of the kinds that matter into FOLDER,
// small enough for callgrind: JOB-1.cfg with one page, JOB-2.cfg with that page twice. What the
// second needs more is the work for a page; what both need is the work for a process. Prints a line
// for each: its name and the bytes of its images, without their headers.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "BenchRows.h"
#include "TiffWriter.h"

namespace {

using bench::RowKind;

constexpr size_t kRows = 48;
constexpr size_t kBilevelRows = 384;  // as many bytes as a plate of eight bits
constexpr uint32_t kRowsPerStrip = 8;
constexpr size_t kDataBytes = 1000000;
constexpr uint32_t kSeparated = 5, kWhiteIsZero = 0, kRgb = 2;

struct Image {
  uint32_t photometric, channels, bits, compression;
};

struct SmallJob {
  const char* name;
  Image image;
  std::string_view files;  // the last letters of the keys ImageFile..., blanks between
  const char* settings;
};

constexpr const char* kPlates = "K C M Y";
constexpr SmallJob kJobs[] = {
    {"plates-2-bits",
     {kSeparated, 1, 8, kUncompressed},
     kPlates,
     "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 2\n"
     "PixelDepthK = 2\nPixelDepthC = 2\nPixelDepthM = 2\nPixelDepthY = 2\n"},
    {"packed-plates-2-bits",
     {kSeparated, 1, 8, kPackBits},
     kPlates,
     "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 2\n"
     "PixelDepthK = 2\nPixelDepthC = 2\nPixelDepthM = 2\nPixelDepthY = 2\n"},
    {"plates-8-bits",
     {kSeparated, 1, 8, kUncompressed},
     kPlates,
     "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 0\n"
     "PixelDepthK = 8\nPixelDepthC = 8\nPixelDepthM = 8\nPixelDepthY = 8\n"},
    {"composite-4-bits",
     {kSeparated, 4, 8, kUncompressed},
     "CMYK",
     "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 2\n"
     "PixelDepthK = 4\nPixelDepthC = 4\nPixelDepthM = 4\nPixelDepthY = 4\n"},
    {"bilevel-seed-row",
     {kWhiteIsZero, 1, 1, kUncompressed},
     "K",
     "ColorSpace = 5\nNumOfPlanes = 1\nCompressionMode = 256\nPixelDepthK = 1\n"},
    {"rgb-hxrc",
     {kRgb, 3, 8, kUncompressed},
     "RGB",
     "ColorSpace = 2\nNumOfPlanes = 3\nCompressionMode = 4\n"
     "PixelDepthR = 8\nPixelDepthG = 8\nPixelDepthB = 8\n"},
    {"rgb-deep-hxrc",
     {kRgb, 3, 16, kUncompressed},
     "RGB",
     "ColorSpace = 2\nNumOfPlanes = 3\nCompressionMode = 4\n"
     "PixelDepthR = 10\nPixelDepthG = 10\nPixelDepthB = 10\n"},
};

// Paper, a line of text, and what has a bit of everything.
RowKind kindOf(size_t y, size_t rows) {
  if (y < rows / 4) return RowKind::kWhite;
  return y < rows / 2 ? RowKind::kText : RowKind::kMixed;
}

size_t rowsOf(const Image& image) {
  return image.bits == 1 ? kBilevelRows : kRows;
}

Bytes makeRow(const Image& image, size_t y, size_t plate) {
  const RowKind kind = kindOf(y, rowsOf(image));
  const size_t at = y + plate * 1000;  // no two plates alike
  if (image.bits == 1) return bench::makeBits(kind, at);
  Bytes row = bench::makePixels(kind, at, image.channels, image.bits / 8);
  // Paper is all light.
  if (image.photometric == kRgb) {
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(~byte);
  }
  return row;
}

void write(const std::string& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  if (!file) throw std::runtime_error(path + ": cannot be written");
}

// @return the bytes of its rows, unpacked
size_t writeImage(const Image& image, size_t plate, const std::string& path) {
  std::vector<Bytes> rows;
  for (size_t y = 0; y < rowsOf(image); ++y) rows.push_back(makeRow(image, y, plate));
  TiffPage page;
  page.width = static_cast<uint32_t>(bench::kRowSamples);
  page.height = static_cast<uint32_t>(rows.size());
  page.bits.assign(image.channels, image.bits);
  page.photometric = image.photometric;
  page.compression = image.compression;
  page.rowsPerStrip = kRowsPerStrip;
  page.strips = stripsOf(rows, kRowsPerStrip, image.compression);
  const Bytes file = tiffFile(page);
  write(path, {reinterpret_cast<const char*>(file.data()), file.size()});
  return rows.size() * rows.front().size();
}

// The sections in front of the pages. `more` goes into the first.
std::string headOf(const std::string& output, const std::string& templates,
                   const std::string& more) {
  std::string text = "[Global]\nOutFilePath = \"" + output + "\"\nSplitDataSize = 65536\n" + more;
  text += "[ODAX]\n";
  for (const char* name :
       {"StartJob", "SetJobConfiguration", "SetConfiguration", "SendData", "EndJob"}) {
    text += std::string(name) + "XmlFile = \"" + templates + "/" + name + ".xml\"\n";
  }
  return text;
}

void writeJob(const SmallJob& job, const std::string& folder, const std::string& templates) {
  const std::string stem = folder + "/" + job.name;
  std::string files;
  size_t bytes = 0, plate = 0;
  for (std::string_view rest = job.files; !rest.empty(); ++plate) {
    const std::string key(rest.substr(0, rest.find(' ')));
    rest.remove_prefix(std::min(rest.size(), key.size() + 1));
    std::string path = stem;
    path.append("-").append(key).append(".tif");
    files.append("ImageFile").append(key).append(" = \"").append(path).append("\"\n");
    bytes += writeImage(job.image, plate, path);
  }
  const std::string head = headOf(stem + ".odx", templates, "") +
                           "[HXRaster]\nGraphicsResolutionH = 600\nGraphicsResolutionV = 600\n";
  const std::string first = "[Image]\n" + files + job.settings;
  write(stem + "-1.cfg", head + first);
  write(stem + "-2.cfg", head + first + "[Image]\n" + files);
  std::printf("%s %zu\n", job.name, bytes);
}

// Ready-made data in place of pages: once, and twice as much of it.
void writeDataJob(const std::string& folder, const std::string& templates) {
  for (size_t times = 1; times <= 2; ++times) {
    const std::string path = folder + "/send-data-" + std::to_string(times);
    write(path + ".bin", std::string(times * kDataBytes, 'd'));
    write(path + ".cfg",
          headOf(folder + "/send-data.odx", templates, "SendDataFile = \"" + path + ".bin\"\n"));
  }
  std::printf("send-data %zu\n", kDataBytes);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: odaxgen-bench-small-jobs FOLDER TEMPLATES\n");
    return 2;
  }
  try {
    for (const SmallJob& job : kJobs) writeJob(job, argv[1], argv[2]);
    writeDataJob(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "odaxgen-bench-small-jobs: %s\n", error.what());
    return 1;
  }
  return 0;
}
