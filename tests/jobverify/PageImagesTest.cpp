// Tests of the image files as verify sees them: what their tags come to, which samples can be read,
// and why others cannot.
#include "PageImages.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Capture.h"
#include "Images.h"
#include "TempFolder.h"
#include "TiffWriter.h"

namespace {

using jobverify::ImageFacts;
using jobverify::PageImages;
using jobverify::readImageFacts;

Bytes rowOf(PageImages& images, size_t image, uint64_t y) {
  const std::span<const uint8_t> row = images.row(image, y);
  return {row.begin(), row.end()};
}

// A file of 4 by 3 pixels whose fields can be spoiled.
TiffPage small() {
  TiffPage page;
  page.width = 4;
  page.height = 3;
  page.photometric = 1;
  page.rowsPerStrip = 2;
  page.strips = {{0, 1, 2, 3, 4, 5, 6, 7}, {8, 9, 10, 11}};
  return page;
}

// What is wrong with a file, and nothing on the error stream.
std::string problemOf(const std::string& path) {
  std::string problem;
  const std::string errors = errorsOf([&] {
    PageImages images;
    const size_t image = images.open(path);
    for (uint64_t y = 0; y < 3 && !images.row(image, y).empty();) ++y;
    problem = images.problem(image);
  });
  EXPECT_EQ(errors, "");
  return problem;
}

TEST(PageImages, FactsAreThoseOfTheTags) {
  const TempFolder folder;
  for (const char order : {'I', 'M'}) {
    TiffPage page = small();
    page.order = order;
    page.bits = {8, 8, 8, 8};
    page.photometric = 5;
    const ImageFacts facts = readImageFacts(folder.write("page.tif", tiffFile(page)));
    EXPECT_TRUE(facts.isTiff);
    EXPECT_EQ(facts.width, 4U);
    EXPECT_EQ(facts.height, 3U);
    EXPECT_EQ(facts.bits, 8U);
    EXPECT_EQ(facts.samples, 4U);
    EXPECT_TRUE(facts.hasShortBits);
    EXPECT_EQ(facts.photometric, 5);
    EXPECT_EQ(facts.directories, 1U);
    EXPECT_EQ(facts.bitsPerPixel(), 32U);
    EXPECT_EQ(facts.rowBytes(), 16U);
    EXPECT_EQ(facts.unknown, "");
  }
}

TEST(PageImages, OnlyTiffNamesAreOpened) {
  const TempFolder folder;
  const struct {
    const char* name;
    const char* cannotOpen;
  } kCases[] = {{"a.tif", ""},
                {"a.TIF", ""},
                {"a.Tiff", ""},
                {"a.tiffany", ""},
                {"a.b.tif", ""},
                {"a.tifx", "does not end in .tif or .tiff"},
                {"a.ti", "does not end in .tif or .tiff"},
                {"a.", "does not end in .tif or .tiff"},
                {"a.bmp", "does not end in .tif or .tiff"},
                {"tif", "does not end in .tif or .tiff"}};
  for (const auto& c : kCases) {
    const std::string path = folder.write(c.name, tiffFile(small()));
    EXPECT_EQ(readImageFacts(path).cannotOpen, c.cannotOpen) << c.name;
  }
  EXPECT_EQ(readImageFacts(folder.path("none.tif")).cannotOpen, "cannot be opened");
}

TEST(PageImages, WhatIsNoTiffHasNoPixels) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.path("folder.tif"));
  folder.write("empty.tif", "");
  folder.write("short.tif", "II*");
  folder.write("picture.tif", "BM, and so on");
  folder.write("big.tif", std::string("II+\0\10\0\0\0", 8));
  for (const char* name : {"folder.tif", "empty.tif", "short.tif", "picture.tif", "big.tif"}) {
    const ImageFacts facts = readImageFacts(folder.path(name));
    EXPECT_EQ(facts.cannotOpen, "") << name;
    EXPECT_FALSE(facts.isTiff) << name;
    EXPECT_EQ(facts.width, 0U) << name;
  }
}

TEST(PageImages, RowsComeInTheOrderOfTheStrips) {
  const TempFolder folder;
  PageImages images;
  const size_t image = images.open(folder.write("page.tif", tiffFile(small())));
  EXPECT_EQ(rowOf(images, image, 0), (Bytes{0, 1, 2, 3}));
  EXPECT_EQ(rowOf(images, image, 0), (Bytes{0, 1, 2, 3})) << "again";
  EXPECT_EQ(rowOf(images, image, 2), (Bytes{8, 9, 10, 11})) << "the next but one";
}

TEST(PageImages, PackedRowsAreUnpackedAlsoWhenSomeArePassedOver) {
  const TempFolder folder;
  const Samples samples = mixed(100, 40, 8, 0, 7);
  const std::vector<Bytes> rows = fileRows({samples}, 'I');
  PageImages images;
  const size_t image = images.open(folder.write("page.tif", tiffOf({samples}, {'M', 0, 7, true})));
  for (const size_t y : {size_t{0}, size_t{1}, size_t{6}, size_t{7}, size_t{30}, size_t{39}})
    EXPECT_EQ(rowOf(images, image, y), rows[y]) << y;
}

TEST(PageImages, WordsAreInTheOrderOfThisMachine) {
  const TempFolder folder;
  const Samples samples = drawn(2, 1, 16, [](uint32_t x, uint32_t) { return 0x1234 + x; });
  for (const char order : {'I', 'M'}) {
    PageImages images;
    const std::string name = std::string(1, order) + ".tif";
    const size_t image = images.open(folder.write(name, tiffOf({samples}, {order, 0, 0, false})));
    const Bytes row = rowOf(images, image, 0);
    const std::vector<uint16_t> want = {0x1234, 0x1235};
    ASSERT_EQ(row.size(), 4U);
    EXPECT_EQ(std::memcmp(row.data(), want.data(), 4), 0) << order;
  }
}

TEST(PageImages, AFileIsOpenedOnceForAllItsChannels) {
  const TempFolder folder;
  const std::string path = folder.write("page.tif", tiffFile(small()));
  const std::string other = folder.write("other.tif", tiffFile(small()));
  PageImages images;
  EXPECT_EQ(images.open(path), 0U);
  EXPECT_EQ(images.open(other), 1U);
  EXPECT_EQ(images.open(path), 0U);
}

TEST(PageImages, TheLastOfSeveralImagesCounts) {
  const TempFolder folder;
  TiffWriter file('I');
  addPage(file, small());
  TiffPage last = small();
  last.width = 2;
  last.height = 1;
  last.strips = {{70, 71}};
  addPage(file, last);
  PageImages images;
  const size_t image = images.open(folder.write("page.tif", file.bytes()));
  EXPECT_EQ(images.facts(image).directories, 2U);
  EXPECT_EQ(images.facts(image).width, 2U);
  EXPECT_EQ(rowOf(images, image, 0), (Bytes{70, 71}));
}

TEST(PageImages, AChainThatComesBackEnds) {
  const TempFolder folder;
  TiffWriter file('I');
  const uint32_t first = addPage(file, small());
  const uint32_t second = addPage(file, small());
  file.link(second, first);
  const ImageFacts facts = readImageFacts(folder.write("page.tif", file.bytes()));
  EXPECT_EQ(facts.directories, 2U);
  EXPECT_EQ(facts.width, 4U);
}

TEST(PageImages, RowsThatDoNotFitIntoMemoryMakeAFileWithoutPixels) {
  const TempFolder folder;
  TiffPage page = small();
  page.bits = {16, 16, 16, 16};
  page.width = 0x10000000;
  const ImageFacts facts = readImageFacts(folder.write("page.tif", tiffFile(page)));
  EXPECT_FALSE(facts.isTiff);
  EXPECT_EQ(facts.width, 0U);
}

TEST(PageImages, ACutDirectorySaysNothingForSure) {
  const TempFolder folder;
  TiffWriter file('I');
  addPage(file, small());
  const ImageFacts facts = readImageFacts(folder.write("page.tif", file.cut(10)));
  EXPECT_EQ(facts.unknown, "its directory is cut off");
}

struct Spoiled {
  const char* name;
  void (*spoil)(TiffPage& page);
  const char* problem;
};

TEST(PageImages, SamplesThatTheSystemReadsInAWayOfItsOwnAreNotRead) {
  const Spoiled kCases[] = {
      {"nothing spoiled", [](TiffPage&) {}, ""},
      {"compression", [](TiffPage& page) { page.compression = 5; }, "compression 5 is not read"},
      {"strip offsets", [](TiffPage& page) { page.offsetType = kTiffShort; },
       "its strip offsets are no 32-bit numbers"},
      {"one strip with a short offset",
       [](TiffPage& page) {
         page.offsetType = kTiffShort;
         page.rowsPerStrip = 3;
         page.strips = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
       },
       ""},
  };
  const TempFolder folder;
  for (const Spoiled& c : kCases) {
    TiffPage page = small();
    c.spoil(page);
    EXPECT_EQ(problemOf(folder.write("page.tif", tiffFile(page))), c.problem) << c.name;
  }
}

// A file of 4 by 1 pixels as libtiff writes it.
template <class Settings>
std::string written(const TempFolder& folder, Settings settings) {
  std::string path = folder.path("written.tif");
  TIFF* const file = TIFFOpen(path.c_str(), "w");
  TIFFSetField(file, TIFFTAG_IMAGEWIDTH, 4U);
  TIFFSetField(file, TIFFTAG_IMAGELENGTH, 1U);
  TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  settings(file);
  TIFFClose(file);
  return path;
}

void writeRow(TIFF* file, uint16_t plane = 0) {
  Bytes row = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  TIFFWriteScanline(file, row.data(), 0, plane);
}

TEST(PageImages, FilesOfLibtiffAreRead) {
  const TempFolder folder;
  PageImages images;
  const size_t image = images.open(written(folder, [](TIFF* file) {
    TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    writeRow(file);
  }));
  EXPECT_EQ(rowOf(images, image, 0), (Bytes{1, 2, 3, 4}));
}

TEST(PageImages, FilesOfLibtiffThatTheSystemDoesNotReadAreNamed) {
  const TempFolder folder;
  EXPECT_EQ(problemOf(written(folder,
                              [](TIFF* file) {
                                TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
                                writeRow(file);
                              })),
            "compression 5 is not read");
  EXPECT_EQ(problemOf(written(folder,
                              [](TIFF* file) {
                                TIFFSetField(file, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
                                writeRow(file);
                              })),
            "its bits are stored lowest first");
  EXPECT_EQ(problemOf(written(folder,
                              [](TIFF* file) {
                                TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 3);
                                TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
                                TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
                                for (uint16_t plane = 0; plane < 3; ++plane) writeRow(file, plane);
                              })),
            "its samples stand in separate planes");
  EXPECT_EQ(problemOf(written(folder,
                              [](TIFF* file) {
                                TIFFSetField(file, TIFFTAG_TILEWIDTH, 16U);
                                TIFFSetField(file, TIFFTAG_TILELENGTH, 16U);
                                Bytes tile(256);
                                TIFFWriteTile(file, tile.data(), 0, 0, 0, 0);
                              })),
            "it is tiled");
}

TEST(PageImages, AFileWithoutStripsIsNamed) {
  const TempFolder folder;
  TiffWriter file('I');
  file.field(kTagWidth, kTiffLong, {2});
  file.field(kTagHeight, kTiffLong, {1});
  file.endDirectory();
  EXPECT_EQ(problemOf(folder.write("page.tif", file.bytes())), "it has no strips");
}

TEST(PageImages, TagsThatDisagreeAboutTheSamplesAreNamed) {
  const TempFolder folder;
  TiffWriter file('I');
  const uint32_t strip = file.append({1, 2, 3, 4, 5, 6});
  file.field(kTagWidth, kTiffLong, {2});
  file.field(kTagHeight, kTiffLong, {1});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {1});
  file.field(kTagStripOffsets, kTiffLong, {strip});
  file.field(kTagSamplesPerPixel, kTiffShort, {3});
  file.endDirectory();
  EXPECT_EQ(problemOf(folder.write("page.tif", file.bytes())),
            "its tags disagree about the samples of a pixel");
}

TEST(PageImages, TagsOfAnEarlierDirectoryAreNotMixedWithThoseOfTheLast) {
  const TempFolder folder;
  TiffWriter file('I');
  addPage(file, small());
  file.field(kTagWidth, kTiffLong, {2});
  file.endDirectory();
  const std::string path = folder.write("page.tif", file.bytes());
  EXPECT_EQ(readImageFacts(path).width, 2U);
  EXPECT_EQ(readImageFacts(path).height, 3U) << "of the first directory";
  EXPECT_EQ(problemOf(path), "its last directory does without tag 257");
}

TEST(PageImages, ARowThatTheFileDoesNotHaveIsNamed) {
  const TempFolder folder;
  TiffPage page = small();
  page.height = 5;
  page.strips.pop_back();
  const std::string problem = problemOf(folder.write("page.tif", tiffFile(page)));
  EXPECT_EQ(problem.substr(0, 7), "row 2: ") << problem;
}

TEST(PageImages, APackedRunThatGoesPastItsRowIsNamed) {
  const TempFolder folder;
  TiffPage page = small();
  page.compression = kPackBits;
  page.strips = {{0xF9, 7, 0xFD, 1}, {0xFD, 2}};  // eight bytes into a row of four
  const std::string problem = problemOf(folder.write("page.tif", tiffFile(page)));
  EXPECT_EQ(problem.substr(0, 7), "row 0: ") << problem;
}

}  // namespace
