// Whole jobs over the image files that users really have, and over those that are broken: byte
// orders, strips, PackBits, interpretations of samples, names, sizes that differ and compressions
// that are not read.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "PageJob.h"
#include "TiffWriter.h"

namespace {

const FileForm kInkGrows = {'I', 0, 0, false};
constexpr const char* kStart = "~%-12345X~%0A~E";
constexpr const char* kEnd = "~$E~%-12345X";

class InputFilesTest : public PageJob {
 protected:
  /// A page whose black comes from a file in the job's folder.
  static std::string blackSection(const std::string& file, int depth) {
    return imageSection("5", 1, 0, {{"K", file, depth}});
  }
  /// The page of a job over such a file: what stands between the start and the end of raster mode,
  /// in the form of sent().
  std::string rowsOf(const std::string& file, int depth) {
    const JobRun job = run({"0"}, blackSection(file, depth));
    EXPECT_EQ(job.code, 0);
    EXPECT_EQ(job.problem, "");
    errors = job.err;
    const std::string stream = visible(job.raster);
    const std::string before = sent({"~*r1A", "~*b0M"});
    const std::string after = sent({"~*rC", kEnd});
    const size_t from = stream.find(before);
    const size_t to = stream.rfind(after);
    if (from == std::string::npos || to == std::string::npos) return "no page: " + stream;
    return stream.substr(from + before.size(), to - from - before.size());
  }
  std::string rowsOf(const Bytes& content, int depth) {
    folder.write("page.tif", content);
    return rowsOf("page.tif", depth);
  }

  std::string errors;  // of the last job
};

// Interpretation of samples ----------------------------------------------------------------------

TEST_F(InputFilesTest, SamplesCountAsInkByTheirPhotometricInterpretation) {
  struct Case {
    const char* name;
    unsigned bits;
    std::vector<uint16_t> samples;
    uint32_t photometric;
    int depth;
    Bytes want;  // without the bytes at the end that are no ink
  };
  const std::vector<uint16_t> kBytes = {0, 1, 127, 128, 139, 140, 254, 255};
  const std::vector<uint16_t> kWords = {0x0000, 0x123F, 0x8000, 0xFFFF};
  const std::vector<uint16_t> kBits = {1, 0, 1, 1, 0, 0, 0, 1, 1};
  const Case kCases[] = {
      {"8 bits, white is zero", 8, kBytes, 0, 8, {0, 1, 127, 128, 139, 140, 254, 255}},
      {"8 bits, black is zero", 8, kBytes, 1, 8, {255, 254, 128, 127, 116, 115, 1}},
      {"8 bits, RGB", 8, kBytes, 2, 8, {255, 254, 128, 127, 116, 115, 1}},
      {"8 bits, palette", 8, kBytes, 3, 8, {255, 254, 128, 127, 116, 115, 1}},
      {"8 bits, separated", 8, kBytes, 5, 8, {0, 1, 127, 128, 139, 140, 254, 255}},
      {"8 into 4, white is zero", 8, kBytes, 0, 4, {0x00, 0x78, 0x88, 0xFF}},
      {"8 into 4, black is zero", 8, kBytes, 1, 4, {0xFF, 0x87, 0x77}},
      {"8 into 2, white is zero", 8, kBytes, 0, 2, {0x06, 0xAF}},
      {"8 into 2, black is zero", 8, kBytes, 1, 2, {0xF9, 0x50}},
      {"8 into 1, white is zero", 8, kBytes, 0, 1, {0x60}},
      {"8 into 1, separated", 8, kBytes, 5, 1, {0x60}},
      {"8 into 1, black is zero", 8, kBytes, 1, 1, {0xE0}},
      {"1 bit, white is zero", 1, kBits, 0, 1, {0xB1, 0x80}},
      {"1 bit, black is zero", 1, kBits, 1, 1, {0x4E}},
      {"1 bit, RGB", 1, kBits, 2, 1, {0x4E}},
      {"1 bit, separated", 1, kBits, 5, 1, {0x4E}},
      {"16 into 12, white is zero", 16, kWords, 0, 12, {0x00, 0x01, 0x23, 0x80, 0x0F, 0xFF}},
      {"16 into 12, black is zero", 16, kWords, 1, 12, {0xFF, 0xFE, 0xDC, 0x7F, 0xF0}},
      {"16 into 10, separated", 16, kWords, 5, 10, {0x00, 0x04, 0x88, 0x03, 0xFF}},
      {"16 into 10, RGB", 16, kWords, 2, 10, {0xFF, 0xFB, 0x77, 0xFC}},
  };
  for (const Case& c : kCases) {
    const Samples samples = {static_cast<uint32_t>(c.samples.size()), 1, c.bits, c.samples};
    for (const char order : {'I', 'M'}) {
      for (const bool packed : {false, true}) {
        SCOPED_TRACE(std::string(c.name) + ", " + order + (packed ? ", packed" : ""));
        EXPECT_EQ(rowsOf(tiffOf({samples}, {order, c.photometric, 0, packed}), c.depth),
                  sent({"~*b" + std::to_string(c.want.size()) + "W", c.want}));
      }
    }
  }
}

TEST_F(InputFilesTest, StripsAndByteOrdersMakeNoDifference) {
  const Samples samples = mixed(33, 320, 8, 255, 11);
  const std::string want = rowsOf(tiffOf({samples}, {}), 4);
  for (const char order : {'I', 'M'}) {
    for (const bool packed : {false, true}) {
      for (const uint32_t rowsPerStrip : {1U, 7U, 64U, 299U, 300U, 301U, 320U, 1000U}) {
        SCOPED_TRACE(std::string(1, order) + (packed ? ", packed, " : ", ") +
                     std::to_string(rowsPerStrip) + " rows per strip");
        EXPECT_EQ(rowsOf(tiffOf({samples}, {order, 1, rowsPerStrip, packed}), 4), want);
      }
    }
  }
}

TEST_F(InputFilesTest, TheLastPageOfAFileIsTaken) {
  TiffWriter file('M');
  TiffPage page;
  page.order = 'M';
  page.width = page.height = 1;
  page.strips = {{5}};
  addPage(file, page);
  page.width = 2;
  page.strips = {{7, 8}};
  addPage(file, page);
  EXPECT_EQ(rowsOf(file.bytes(), 8), sent({"~*b2W", Bytes{7, 8}}));
}

// A file of another maker's writer.
struct TiffClose {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

TEST_F(InputFilesTest, FilesOfAnIndependentWriterAreRead) {
  const Samples samples = mixed(45, 97, 8, 255, 4);
  const std::string want = rowsOf(tiffOf({samples}, {}), 8);
  for (const char* mode : {"wl", "wb"}) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS}) {
      SCOPED_TRACE(std::string(mode) + ", compression " + std::to_string(compression));
      {
        const std::unique_ptr<TIFF, TiffClose> tiff(
            TIFFOpen(folder.path("other.tif").c_str(), mode));
        ASSERT_NE(tiff, nullptr);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, samples.width);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, samples.height);
        TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
        TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 10);
        std::vector<Bytes> rows = fileRows({samples}, 'I');
        for (uint32_t row = 0; row < samples.height; ++row)
          ASSERT_EQ(TIFFWriteScanline(tiff.get(), rows[row].data(), row, 0), 1);
      }
      EXPECT_EQ(rowsOf("other.tif", 8), want);
    }
  }
}

// PackBits ---------------------------------------------------------------------------------------

TEST_F(InputFilesTest, PackBitsRunsMeetTheEndsOfRowsAndStrips) {
  struct Case {
    const char* name;
    uint32_t rowsPerStrip;
    std::vector<Bytes> strips;
    std::vector<Bytes> rows;  // of three samples
  };
  const Case kCases[] = {
      {"a literal run goes on in the next row", 2, {{5, 1, 2, 3, 4, 5, 6}}, {{1, 2, 3}, {4, 5, 6}}},
      {"copies that do not fit are dropped", 2, {{0xFB, 7, 2, 8, 9, 10}}, {{7, 7, 7}, {8, 9, 10}}},
      {"a header of 128 is skipped",
       2,
       {{0x80, 2, 1, 2, 3, 0x80, 0x80, 0xFE, 4}},
       {{1, 2, 3}, {4, 4, 4}}},
      {"a strip starts afresh", 1, {{5, 1, 2, 3}, {2, 4, 5, 6}}, {{1, 2, 3}, {4, 5, 6}}},
      {"a run of 128 copies", 2, {{0x81, 9, 2, 1, 2, 3}}, {{9, 9, 9}, {1, 2, 3}}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    TiffPage page;
    page.width = 3;
    page.height = 2;
    page.compression = kPackBits;
    page.rowsPerStrip = c.rowsPerStrip;
    page.strips = c.strips;
    EXPECT_EQ(rowsOf(tiffFile(page), 8), sent({"~*b3W", c.rows[0], "~*b3W", c.rows[1]}));
  }
}

// Files cut off ----------------------------------------------------------------------------------

/// A file whose strip stands behind its directory, so that cutting the file cuts the samples.
Bytes directoryFirst(uint32_t width, uint32_t height, uint32_t compression, const Bytes& strip) {
  constexpr uint32_t kStripAt = 256;
  TiffWriter file('I');
  file.field(kTagWidth, kTiffLong, {width});
  file.field(kTagHeight, kTiffLong, {height});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagCompression, kTiffShort, {compression});
  file.field(kTagPhotometric, kTiffShort, {0});
  file.field(kTagStripOffsets, kTiffLong, {kStripAt});
  file.endDirectory();
  file.append(Bytes(kStripAt - file.size()));
  file.append(strip);
  return file.bytes();
}

TEST_F(InputFilesTest, RowsThatAreCutOffRepeatWhatWasReadBefore) {
  EXPECT_EQ(
      rowsOf(directoryFirst(4, 3, kUncompressed, {1, 2, 3, 4, 5, 6}), 8),
      sent({"~*b4W", Bytes{1, 2, 3, 4}, "~*b4W", Bytes{5, 6, 3, 4}, "~*b4W", Bytes{5, 6, 3, 4}}));
  EXPECT_EQ(
      rowsOf(directoryFirst(4, 3, kPackBits, {3, 1, 2, 3, 4, 1, 5, 6}), 8),
      sent({"~*b4W", Bytes{1, 2, 3, 4}, "~*b4W", Bytes{5, 6, 3, 4}, "~*b4W", Bytes{5, 6, 3, 4}}));
}

TEST_F(InputFilesTest, AFileWithoutSamplesGivesRowsOfZeroes) {
  // Zeroes are no ink here.
  EXPECT_EQ(rowsOf(directoryFirst(4, 3, kUncompressed, {}), 8), "");
  EXPECT_EQ(rowsOf(directoryFirst(4, 3, kPackBits, {}), 8), "");
}

TEST_F(InputFilesTest, AnyLengthOfAFileEndsInAWholeJob) {
  for (const bool packed : {false, true}) {
    const Bytes whole = tiffOf({mixed(5, 6, 8, 0, 2)}, {'I', 0, 2, packed});
    const Bytes first = directoryFirst(5, 6, packed ? kPackBits : kUncompressed,
                                       {4, 1, 2, 3, 4, 5, 4, 6, 7, 8, 9, 10});
    for (const Bytes& file : {whole, first}) {
      for (size_t size = 0; size < file.size(); size += 3) {
        folder.write("page.tif", Bytes(file.begin(), file.begin() + static_cast<long>(size)));
        const JobRun job = run({"0"}, blackSection("page.tif", 8));
        // A directory that is cut in front of its compression leaves none that could be read.
        EXPECT_TRUE(job.code == 0 || job.code == -41) << size;
        EXPECT_EQ(job.problem, "") << size;
      }
    }
  }
}

// Names and kinds of files -----------------------------------------------------------------------

TEST_F(InputFilesTest, ABitmapNamedTifIsAPageWithoutRows) {
  EXPECT_EQ(rowsOf(bytesOf("BM\x46\0\0\0 and so on, as bitmaps do"), 8), "");
  EXPECT_EQ(errors, "");
  EXPECT_EQ(rowsOf(Bytes{}, 8), "");
  EXPECT_EQ(rowsOf(bytesOf("II*"), 8), "");
  EXPECT_EQ(rowsOf(bytesOf("MM*\0\0\0\0\x08"), 8), "");
  EXPECT_EQ(rowsOf(bytesOf("IM"), 8), "");
  EXPECT_EQ(errors, "");
}

TEST_F(InputFilesTest, AFolderNamedTifIsAPageWithoutRows) {
  folder.write("folder.tif/inside", "");
  EXPECT_EQ(rowsOf("folder.tif", 8), "");
}

TEST_F(InputFilesTest, TheNamesExtensionDecides) {
  const Bytes content = tiffOf({plain(1, 1, 8, 9)}, kInkGrows);
  for (const char* name : {"a.TIF", "a.tif", "a.Tiff", "a.TIFFX", "a.tiffany", "a.bmp.tif"}) {
    SCOPED_TRACE(name);
    folder.write(name, content);
    EXPECT_EQ(rowsOf(name, 8), sent({"~*b1W", Bytes{9}}));
  }
  for (const char* name : {"a.bmp", "a.tf", "a.ti", "a.", "a.tifx", "a.tif.bmp"}) {
    SCOPED_TRACE(name);
    folder.write(name, content);
    const JobRun job = run({"0"}, blackSection(name, 8));
    EXPECT_EQ(job.code, 0);
    EXPECT_EQ(visible(job.raster), sent({kStart, kEnd}));
    EXPECT_EQ(job.err, "");
  }
}

// Compressions that are not read -----------------------------------------------------------------

Bytes compressedFile(size_t channels, uint32_t compression, uint32_t height = 2) {
  TiffPage page;
  page.width = 1;
  page.height = height;
  page.bits.assign(channels, 8);
  page.compression = compression;
  page.strips = {Bytes(channels * height)};
  return tiffFile(page);
}

TEST_F(InputFilesTest, OtherCompressionsEndTheJob) {
  struct Case {
    const char* name;
    size_t channels;
    std::string section;
    int code;
    const char* text;
  };
  const Case kCases[] = {
      {"single plane", 1, blackSection("page.tif", 8), -41, ""},
      {"RGB", 3,
       imageSection("2", 3, 0, {{"R", "", 8}, {"G", "", 8}, {"B", "", 8}},
                    "ImageFileRGB=\"page.tif\"\n"),
       -42, ""},
      {"CMYK", 4,
       imageSection("3", 4, 0, {{"K", "", 8}, {"C", "", 8}, {"M", "", 8}, {"Y", "", 8}},
                    "ImageFileCMYK=\"page.tif\"\n"),
       0, "Internal Exception"},
  };
  for (const Case& c : kCases) {
    for (const uint32_t compression : {0U, 2U, 5U, 7U, 8U, 32772U}) {
      for (const char* split : {"0", "16"}) {
        SCOPED_TRACE(std::string(c.name) + ", compression " + std::to_string(compression) +
                     ", split " + split);
        folder.write("page.tif", compressedFile(c.channels, compression));
        const JobRun job = run({split}, c.section);
        EXPECT_EQ(job.code, c.code);
        EXPECT_EQ(job.text, c.text);
        EXPECT_EQ(job.err, "UNSUPPORTED COMPRESSION!: \"" + folder.path("page.tif") + "\".\n");
        EXPECT_EQ(job.out.find("done."), std::string::npos);
      }
    }
    // The next job is as good as ever.
    folder.write("good.tif", tiffOf({plain(1, 1, 8, 9)}, kInkGrows));
    EXPECT_EQ(rowsOf("good.tif", 8), sent({"~*b1W", Bytes{9}}));
  }
}

TEST_F(InputFilesTest, ACompressionOfAnImageWithoutRowsDoesNotMatter) {
  EXPECT_EQ(rowsOf(compressedFile(1, 5, 0), 8), "");
  EXPECT_EQ(errors, "");
}

TEST_F(InputFilesTest, AFileWithoutACompressionIsRefused) {
  TiffWriter file('I');
  const uint32_t strip = file.append({9});
  file.field(kTagWidth, kTiffLong, {1});
  file.field(kTagHeight, kTiffLong, {1});
  file.field(kTagBitsPerSample, kTiffShort, {8});
  file.field(kTagStripOffsets, kTiffLong, {strip});
  file.endDirectory();
  folder.write("page.tif", file.bytes());
  EXPECT_EQ(run({"0"}, blackSection("page.tif", 8)).code, -41);
}

TEST_F(InputFilesTest, AJobThatEndsInATextLeavesItsFileAsItStands) {
  folder.write("page.tif", compressedFile(4, 5));
  const JobRun job =
      run({"16"}, imageSection("3", 4, 0, {{"K", "", 8}, {"C", "", 8}, {"M", "", 8}, {"Y", "", 8}},
                               "ImageFileCMYK=\"page.tif\"\n"));
  EXPECT_EQ(job.text, "Internal Exception");
  // The next job closes what this one left open.
  std::filesystem::rename(folder.path("out.dat"), folder.path("left.dat"));
  run({"0"}, separations("5", 1, 0, {{"K", 8, plain(1, 1, 8, 9), kInkGrows}}));
  const auto packet = [](const std::string& data) {
    return sent({"<SD><datasize>16</datasize><continue>ON</continue></SD>",
                 Bytes(data.begin(), data.end())});
  };
  const Bytes stream =
      joined({kStart, "~$v10W", Bytes{3, 4, 5, 8, 6, 8, 7, 8, 8, 8}, "~*t600R", "~*r1A", "~*b0M"});
  std::string want = sent({"<SJ>start</SJ><SJC>job</SJC><SC>set</SC>"});
  for (size_t at = 0; at + 16 <= stream.size(); at += 16) {
    want += packet(std::string(stream.begin() + static_cast<long>(at),
                               stream.begin() + static_cast<long>(at + 16)));
  }
  EXPECT_EQ(visible(folder.bytes("left.dat")), want);
}

// Depths that do not go together -----------------------------------------------------------------

TEST_F(InputFilesTest, DepthsThatDoNotGoTogetherGiveNoRows) {
  struct Case {
    const char* name;
    unsigned bits;
    int depth;
    int messages;  // one for each of the three rows, or none
  };
  const Case kCases[] = {
      {"8 into 3", 8, 3, 0},     {"8 into 6", 8, 6, 0}, {"8 into 12", 8, 12, 0},
      {"1 into 2", 1, 2, 0},     {"1 into 8", 1, 8, 0}, {"16 into 8", 16, 8, 0},
      {"16 into 16", 16, 16, 3},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(rowsOf(tiffOf({plain(4, 3, c.bits, 1)}, kInkGrows), c.depth), "");
    std::string want;
    for (int i = 0; i < c.messages; ++i)
      want += "ZKTiff_ReadNextRasterBlock: unsupported bit depth.\n";
    EXPECT_EQ(errors, want);
  }
}

TEST_F(InputFilesTest, CompositesOfOtherDepthsGiveNoRows) {
  const auto rows = [this](const std::string& section) {
    const JobRun job = run({"0"}, section);
    EXPECT_EQ(job.code, 0);
    return visible(job.raster).find(sent({"~*b0M", "~*rC"})) != std::string::npos;
  };
  const std::vector<Samples> words(4, plain(2, 2, 16, 0x1234));
  image("cmyk.tif", words, kInkGrows);
  const auto cmyk = [](int depth) {
    return imageSection("3", 4, 0,
                        {{"K", "", depth}, {"C", "", depth}, {"M", "", depth}, {"Y", "", depth}},
                        "ImageFileCMYK=\"cmyk.tif\"\n");
  };
  EXPECT_TRUE(rows(cmyk(12)));
  EXPECT_TRUE(rows(cmyk(8)));
  EXPECT_FALSE(rows(cmyk(10)));

  const auto rgb = [](const char* file, int r, int g, int b) {
    return imageSection("2", 3, 0, {{"R", "", r}, {"G", "", g}, {"B", "", b}},
                        "ImageFileRGB=\"" + std::string(file) + "\"\n");
  };
  image("rgb24.tif", std::vector<Samples>(3, plain(2, 2, 8, 0x12)), kInkGrows);
  image("rgb48.tif", std::vector<Samples>(3, plain(2, 2, 16, 0x1234)), kInkGrows);
  EXPECT_FALSE(rows(rgb("rgb24.tif", 8, 8, 8)));
  EXPECT_TRUE(rows(rgb("rgb24.tif", 8, 8, 10)));
  EXPECT_TRUE(rows(rgb("rgb24.tif", 16, 16, 16)));
  EXPECT_FALSE(rows(rgb("rgb48.tif", 12, 12, 12)));
  EXPECT_TRUE(rows(rgb("rgb48.tif", 12, 12, 10)));
  EXPECT_TRUE(rows(rgb("rgb48.tif", 8, 8, 8)));
}

// Sizes that differ ------------------------------------------------------------------------------

TEST_F(InputFilesTest, PlanesOfDifferentSizesKeepTheirOwn) {
  const std::string section = separations("3", 4, 0,
                                          {{"K", 8, plain(1, 2, 8, 1), kInkGrows},
                                           {"C", 1, plain(17, 1, 1, 1), kInkGrows},
                                           {"M", 2, plain(5, 3, 8, 255), kInkGrows},
                                           {"Y", 4, plain(0, 3, 8, 0), kInkGrows}});
  const JobRun job = run({"0"}, section);
  EXPECT_EQ(visible(job.raster), sent({kStart,
                                       "~$v10W",
                                       Bytes{3, 4, 5, 8, 6, 1, 7, 2, 8, 4},
                                       "~*t600R",
                                       "~*r1A",
                                       "~*b0M",  //
                                       "~*b1V",
                                       Bytes{1},
                                       "~*b3V",
                                       Bytes{0xFF, 0xFF, 0x80},
                                       "~*b2V",  //
                                       Bytes{0xFF, 0xC0},
                                       "~*b0W",  //
                                       "~*b1V",
                                       Bytes{1},
                                       "~*b0V",
                                       "~*b2V",
                                       Bytes{0xFF, 0xC0},
                                       "~*b0W",  //
                                       "~*b0V",
                                       "~*b0V",
                                       "~*b2V",
                                       Bytes{0xFF, 0xC0},
                                       "~*b0W",  //
                                       "~*rC",
                                       kEnd}));
}

TEST_F(InputFilesTest, AHeightThatTheFileDoesNotHoldIsStillSent) {
  // The directory promises two rows, the strip has one: the last one read stands for the missing.
  EXPECT_EQ(rowsOf(directoryFirst(2, 2, kUncompressed, {3, 4}), 8),
            sent({"~*b2W", Bytes{3, 4}, "~*b2W", Bytes{3, 4}}));
}

}  // namespace
