#include "Jobs.h"

namespace bench {

namespace {

constexpr InputKeys kPlates = {{{"ImageFileK", "plate-K.tif"},
                                {"ImageFileC", "plate-C.tif"},
                                {"ImageFileM", "plate-M.tif"},
                                {"ImageFileY", "plate-Y.tif"}}};
constexpr InputKeys kPackedPlates = {{{"ImageFileK", "packed-K.tif"},
                                      {"ImageFileC", "packed-C.tif"},
                                      {"ImageFileM", "packed-M.tif"},
                                      {"ImageFileY", "packed-Y.tif"}}};
constexpr InputKeys kPhotos = {{{"ImageFileK", "photo-K.tif"},
                                {"ImageFileC", "photo-C.tif"},
                                {"ImageFileM", "photo-M.tif"},
                                {"ImageFileY", "photo-Y.tif"}}};
constexpr InputKeys kBilevel = {{{"ImageFileK", "bilevel.tif"}}};
constexpr InputKeys kRgb24 = {{{"ImageFileRGB", "rgb24.tif"}}};
constexpr InputKeys kRgb48 = {{{"ImageFileRGB", "rgb48.tif"}}};
constexpr InputKeys kComposite = {{{"ImageFileCMYK", "cmyk.tif"}}};
constexpr InputKeys kData = {{{"SendDataFile", "data.bin"}}};

constexpr const char* kTwoBits =
    "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 2\n"
    "PixelDepthK = 2\nPixelDepthC = 2\nPixelDepthM = 2\nPixelDepthY = 2\n";
constexpr const char* kEightBits =
    "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 0\n"
    "PixelDepthK = 8\nPixelDepthC = 8\nPixelDepthM = 8\nPixelDepthY = 8\n";
constexpr const char* kSixteenLevels =
    "ColorSpace = 3\nNumOfPlanes = 4\nCompressionMode = 2\n"
    "PixelDepthK = 4\nPixelDepthC = 4\nPixelDepthM = 4\nPixelDepthY = 4\n"
    "IndexLevelK = 16\nIndexLevelC = 16\nIndexLevelM = 16\nIndexLevelY = 16\n";
constexpr const char* kOneBit =
    "ColorSpace = 5\nNumOfPlanes = 1\nCompressionMode = 256\nPixelDepthK = 1\n";
constexpr const char* kEightBitsRgb =
    "ColorSpace = 2\nNumOfPlanes = 3\nCompressionMode = 4\n"
    "PixelDepthR = 8\nPixelDepthG = 8\nPixelDepthB = 8\n";
constexpr const char* kTenBitsRgb =
    "ColorSpace = 2\nNumOfPlanes = 3\nCompressionMode = 4\n"
    "PixelDepthR = 10\nPixelDepthG = 10\nPixelDepthB = 10\n";

constexpr const char* kPackedKcmy = "row KCMY multi-level, packbits";

constexpr int kSplit = 65536;
constexpr int kOnePacket = 0;

// HXRC with ten bits keeps two bytes a sample.
constexpr Job kJobs[] = {
    {"plates",
     "4 plates A2, 8 -> 2 bits, PackBits",
     kPlates,
     kPlates,
     "packbits",
     kSplit,
     kTwoBits,
     kPackedKcmy,
     {4, 2},
     {0.45, 0.35},
     {0.30, 0.23}},
    {"photo",
     "the same, photo all over",
     kPhotos,
     kPhotos,
     "packbits",
     kSplit,
     kTwoBits,
     kPackedKcmy,
     {4, 2},
     {0.75, 0.16},
     {0.50, 0.11}},
    {"packed",
     "the first from PackBits files",
     kPackedPlates,
     kPlates,
     "packbits",
     kSplit,
     kTwoBits,
     kPackedKcmy,
     {4, 2},
     {0.45, 0.32},
     {0.29, 0.21}},
    {"bilevel",
     "A0, 1 bit, PackBits with seed row",
     kBilevel,
     kBilevel,
     "packbits",
     kSplit,
     kOneBit,
     "row ink-colour bi-level, packbits + delta row",
     {1, 1},
     {1.1, 0.65},
     {0.75, 0.45}},
    {"rgb24",
     "RGB A2, 24 bits, HXRC",
     kRgb24,
     kRgb24,
     "packbits",
     kSplit,
     kEightBitsRgb,
     "row RGB multi-level, HXRC",
     {3, 8},
     {1.6, 0.80},
     {1.2, 0.58}},
    {"rgb48",
     "RGB A3, 48 -> 3 x 10 bits, HXRC",
     kRgb48,
     kRgb48,
     "packbits",
     kSplit,
     kTenBitsRgb,
     "row RGB multi-level, HXRC",
     {3, 16},
     {1.0, 0.50},
     {0.75, 0.38}},
    {"composite",
     "CMYK A2, 32 -> 4 x 4 bits, PackBits",
     kComposite,
     kComposite,
     "packbits",
     kSplit,
     kSixteenLevels,
     kPackedKcmy,
     {4, 4},
     {1.15, 0.50},
     {0.85, 0.37}},
    {"plain",
     "4 plates A2, 8 bits, not compressed",
     kPlates,
     kPlates,
     "none",
     kSplit,
     kEightBits,
     "row KCMY multi-level, uncompressed",
     {4, 8},
     {1.15, 1.0},
     {1.05, 0.95}},
    {"data",
     "ready-made data, 500 MB",
     kData,
     kData,
     nullptr,
     kSplit,
     nullptr,
     nullptr,
     {0, 0},
     {1.3, 0},
     {1.1, 0}},
    {"one-packet",
     "the first job in one packet",
     kPlates,
     kPlates,
     "packbits",
     kOnePacket,
     kTwoBits,
     kPackedKcmy,
     {4, 2},
     {0, 0},
     {0, 0}},
};

}  // namespace

std::span<const Job> jobs() {
  return kJobs;
}

uint64_t bandBytes(const Job& job, size_t width) {
  constexpr uint64_t kBandRows = 300;
  const uint64_t rowBytes = (uint64_t{width} * static_cast<unsigned>(job.bands.bits) + 7) / 8;
  return static_cast<unsigned>(job.bands.planes) * kBandRows * ((rowBytes + 3) / 4 * 4);
}

}  // namespace bench
