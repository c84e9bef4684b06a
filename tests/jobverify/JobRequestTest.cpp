// Tests of what a configuration asks for, as verify understands it: templates and packing, pages
// and their planes, which file gives which of them, and which pages are missing.
#include "JobRequest.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Capture.h"
#include "JobFolder.h"
#include "TiffWriter.h"

namespace {

using jobreader::Ink;
using jobreader::Packing;
using jobverify::JobRequest;
using jobverify::PageRequest;
using jobverify::PlaneRequest;

constexpr const char* kResolution =
    "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=300\n";

class JobRequestTest : public testing::Test {
 protected:
  JobRequest read(const std::string& text) const {
    return jobverify::readRequest(folder.write("job.cfg", folder.expand(text)));
  }
  /// A job of one page.
  PageRequest page(const std::string& lines) const {
    return read(kResolution + ("[Image]\n" + lines)).pages.at(0);
  }
  /// An image of blank samples.
  void image(const std::string& name, uint32_t width, uint32_t height,
             const std::vector<uint32_t>& bits = {8}) const {
    TiffPage page;
    page.width = width;
    page.height = height;
    page.bits = bits;
    page.strips = {Bytes(size_t{8} * width * height * bits.size() * bits[0] / 8)};
    folder.write(name, tiffFile(page));
  }

  JobFolder folder;
};

std::string formatLines(int colorSpace, int planes, int compression = 0) {
  return "ColorSpace=" + std::to_string(colorSpace) + "\nNumOfPlanes=" + std::to_string(planes) +
         "\nCompressionMode=" + std::to_string(compression) + "\n";
}

std::string depthLines(const std::vector<std::string>& inks, int depth) {
  std::string lines;
  for (const std::string& ink : inks)
    lines += "PixelDepth" + ink + "=" + std::to_string(depth) + "\n";
  return lines;
}

const PlaneRequest& planeOf(const PageRequest& page, Ink ink) {
  for (const PlaneRequest& plane : page.allPlanes)
    if (plane.ink == ink) return plane;
  throw std::runtime_error("no such plane");
}

std::string fileOf(const PlaneRequest& plane) {
  return std::filesystem::path(plane.source.path).filename().string();
}

TEST_F(JobRequestTest, NothingIsEchoed) {
  Capture capture;
  const PageRequest request = page(formatLines(5, 1) + depthLines({"K"}, 8));
  const std::string out = capture.out();
  EXPECT_EQ(out, "");
  EXPECT_EQ(request.section, 1U);
}

TEST_F(JobRequestTest, ARefusedConfigurationGivesItsCode) {
  int code = 0;
  const std::string errors = errorsOf([&] {
    try {
      read("[Global]\nUnknown=1\n");
    } catch (const jobverify::RefusedConfiguration& refused) {
      code = refused.code;
    }
  });
  EXPECT_EQ(code, -12);
  EXPECT_NE(errors.find("UNKNOWN ITEM!: line 2."), std::string::npos);
}

TEST_F(JobRequestTest, ARelativeConfigurationStartsAtTheCurrentFolder) {
  folder.write("cwd/job.cfg",
               std::string(kResolution) + "[Image]\n" + formatLines(5, 1) + depthLines({"K"}, 8));
  EXPECT_EQ(jobverify::readRequest("job.cfg").outputPath, folder.path("cwd/job.dat"));
}

TEST_F(JobRequestTest, AJobWithoutAnOutputOfItsOwnWritesTheDefaultOne) {
  EXPECT_EQ(read("[Global]\nSendDataFile=\"data\"\n[ODAX]\n").outputPath, "ODAX.dat");
}

TEST_F(JobRequestTest, TemplatesAreThoseOfTheConfiguration) {
  const JobRequest request = read(sendDataJob(""));
  EXPECT_EQ(request.templates.startJob, folder.path("SJ.xml"));
  EXPECT_EQ(request.templates.setJobConfiguration, folder.path("SJC.xml"));
  EXPECT_EQ(request.templates.setConfiguration, folder.path("SC.xml"));
  EXPECT_EQ(request.templates.vendorCmd, folder.path("VC.xml"));
  EXPECT_EQ(request.templates.sendData, folder.path("SD.xml"));
  EXPECT_EQ(request.templates.endJob, folder.path("EJ.xml"));
  EXPECT_TRUE(request.templates.hasVendorCmd);
  EXPECT_EQ(request.outputPath, folder.path("out.dat"));
  EXPECT_EQ(request.sendDataFile, folder.path("data.bin"));
  EXPECT_TRUE(request.pages.empty());
}

TEST_F(JobRequestTest, RelativeTemplatesAndDataLieBesideTheConfiguration) {
  const JobRequest request =
      read("[Global]\nSendDataFile=\"data\"\n[ODAX]\nStartJobXmlFile=\"s\"\n");
  EXPECT_EQ(request.templates.startJob, folder.path("s"));
  EXPECT_EQ(request.templates.endJob, "");
  EXPECT_FALSE(request.templates.hasVendorCmd);
  EXPECT_EQ(request.sendDataFile, folder.path("data"));
}

TEST_F(JobRequestTest, OverridesKeepTheirOrder) {
  const JobRequest request = read(sendDataJob("", "Copies=3\nName=\"a b\"\nCopies=4\n"));
  const std::vector<std::pair<std::string, std::string>> want = {
      {"Copies", "3"}, {"Name", "a b"}, {"Copies", "4"}};
  EXPECT_EQ(request.templates.overrides, want);
}

TEST_F(JobRequestTest, TheSplitSizeChoosesThePacking) {
  const struct {
    const char* line;
    Packing packing;
    uint32_t chunk;
    bool announcesMore;
  } kCases[] = {
      {"", Packing::kBare, 0, true},
      {"SplitDataSize=4294967295\n", Packing::kBare, 0, true},
      {"SplitDataSize=0\n", Packing::kOnePacket, 0, true},
      {"SplitDataSize=1\n", Packing::kSplit, 1, true},
      {"SplitDataSize=2147483647\n", Packing::kSplit, 2147483647, true},
      {"SplitDataSize=2147483648\n", Packing::kSplit, 65536, false},
      {"SplitDataSize=0xFFFFFFFE\n", Packing::kSplit, 65536, false},
  };
  for (const auto& c : kCases) {
    const jobreader::JobTemplates templates = read(sendDataJob(c.line)).templates;
    EXPECT_EQ(templates.packing, c.packing) << c.line;
    EXPECT_EQ(templates.chunkBytes, c.chunk) << c.line;
    EXPECT_EQ(templates.announcesMore, c.announcesMore) << c.line;
  }
}

TEST_F(JobRequestTest, PositionsKeepTheirSigns) {
  const PageRequest moved =
      page("YOffset=+9\nYOffsetC=1\nStartingPositionX=-1\nStartingPositionY=+0\nYOffsetC=+4\n" +
           formatLines(5, 1) + depthLines({"K"}, 8));
  EXPECT_TRUE(moved.yOffset.given && moved.yOffset.relative);
  EXPECT_EQ(moved.yOffset.value, 9);
  EXPECT_TRUE(moved.yOffsetBefore.given && !moved.yOffsetBefore.relative);
  EXPECT_EQ(moved.yOffsetBefore.value, 1);
  EXPECT_TRUE(moved.x.given && moved.x.relative);
  EXPECT_EQ(moved.x.value, -1);
  EXPECT_TRUE(moved.y.given && moved.y.relative);
  EXPECT_TRUE(moved.yOffsetAfter.given && moved.yOffsetAfter.relative);
  EXPECT_EQ(moved.yOffsetAfter.value, 4);
}

TEST_F(JobRequestTest, PositionsThatAreNotGiven) {
  const PageRequest still = page("YOffset=4294967295\n" + formatLines(5, 1) + depthLines({"K"}, 8));
  EXPECT_FALSE(still.x.given || still.y.given || still.yOffset.given || still.yOffsetBefore.given ||
               still.yOffsetAfter.given);
}

TEST_F(JobRequestTest, PlanesAreInTheOrderOfARow) {
  const std::vector<std::string> inks = {"CO2", "CO", "B", "R", "Pgy", "Gy", "m",
                                         "c",   "Y",  "M", "C", "MBK", "PBK"};
  std::vector<Ink> order;
  for (const PlaneRequest& plane : page(formatLines(4, 13) + depthLines(inks, 2)).planes)
    order.push_back(plane.ink);
  EXPECT_EQ(order, (std::vector<Ink>{Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m,
                                     Ink::Gy, Ink::Pgy, Ink::R, Ink::B, Ink::CO, Ink::CO2}));
}

TEST_F(JobRequestTest, PixelFormatsSendTheirFirstPlaneOnly) {
  const PageRequest pixels = page(formatLines(20, 1) + depthLines({"K", "C", "M", "Y"}, 2));
  ASSERT_EQ(pixels.planes.size(), 1U);
  EXPECT_EQ(pixels.planes[0].ink, Ink::K);
  EXPECT_EQ(pixels.allPlanes.size(), 4U);
  EXPECT_EQ(pixels.mode, 4000);
}

TEST_F(JobRequestTest, ADepthOfZeroIsNamedButHasNoPlane) {
  const PageRequest gray = page(formatLines(2, 1) + "PixelDepthK=8\nPixelDepthR=0\n");
  EXPECT_EQ(gray.planes.size(), 1U);
  EXPECT_EQ(gray.allPlanes.size(), 2U);
  EXPECT_EQ(gray.notCompared, "");
}

TEST_F(JobRequestTest, EachInkHasItsOwnFile) {
  image("k.tif", 5, 3);
  image("c.tif", 9, 2);
  const PageRequest inks = page(formatLines(3, 4) + depthLines({"K", "C", "M", "Y"}, 2) +
                                "ImageFileK=\"k.tif\"\nImageFileC=\"c.tif\"\n");
  const PlaneRequest& black = planeOf(inks, Ink::K);
  EXPECT_EQ(fileOf(black), "k.tif");
  EXPECT_EQ(black.source.channel, -1);
  EXPECT_EQ(black.width, 5U);
  EXPECT_EQ(black.rows, 3U);
  EXPECT_TRUE(black.hasSamples);
  EXPECT_EQ(planeOf(inks, Ink::C).width, 9U);
  EXPECT_EQ(planeOf(inks, Ink::M).width, 0U);
  EXPECT_EQ(planeOf(inks, Ink::M).rows, 0U);
  EXPECT_EQ(inks.rows, 3U) << "as many as the tallest has";
}

TEST_F(JobRequestTest, ACompositeGivesFourInksAndStopsTheOthers) {
  image("cmyk.tif", 5, 3, {8, 8, 8, 8});
  image("light.tif", 7, 9);
  const PageRequest inks = page(formatLines(3, 6) + depthLines({"K", "C", "M", "Y", "c", "m"}, 2) +
                                "ImageFileCMYK=\"cmyk.tif\"\nImageFilec=\"light.tif\"\n");
  const Ink kOrder[] = {Ink::C, Ink::M, Ink::Y, Ink::K};
  for (int channel = 0; channel < 4; ++channel) {
    const PlaneRequest& plane = planeOf(inks, kOrder[channel]);
    EXPECT_EQ(plane.source.channel, channel);
    EXPECT_FALSE(plane.source.isRgb);
    EXPECT_EQ(fileOf(plane), "cmyk.tif");
    EXPECT_EQ(plane.rows, 3U);
  }
  const PlaneRequest& light = planeOf(inks, Ink::c);
  EXPECT_FALSE(light.source.isRead);
  EXPECT_EQ(light.width, 7U) << "its rows are as long as its file is wide";
  EXPECT_EQ(light.rows, 0U);
  EXPECT_FALSE(light.hasSamples);
  EXPECT_EQ(inks.rows, 3U);
}

TEST_F(JobRequestTest, RgbWinsOverAllOthers) {
  image("rgb.tif", 5, 3, {8, 8, 8});
  image("cmyk.tif", 7, 9, {8, 8, 8, 8});
  const PageRequest inks =
      page(formatLines(5, 8) + depthLines({"R", "G", "B", "K", "C", "M", "Y", "c"}, 8) +
           "ImageFileRGB=\"rgb.tif\"\nImageFileCMYK=\"cmyk.tif\"\n");
  const PlaneRequest& green = planeOf(inks, Ink::G);
  EXPECT_TRUE(green.source.isRgb && green.source.isRead);
  EXPECT_EQ(green.source.channel, 1);
  EXPECT_EQ(green.clearedByte(), 0xFF);
  EXPECT_EQ(fileOf(green), "rgb.tif");
  EXPECT_FALSE(planeOf(inks, Ink::K).source.isRead);
  EXPECT_EQ(planeOf(inks, Ink::K).width, 7U);
  EXPECT_EQ(inks.rows, 3U);
}

TEST_F(JobRequestTest, GreenIsNotReadFromAFileOfItsOwn) {
  image("g.tif", 5, 3);
  const PageRequest rgb =
      page(formatLines(2, 3) + depthLines({"R", "G", "B"}, 8) + "ImageFileG=\"g.tif\"\n");
  EXPECT_FALSE(planeOf(rgb, Ink::G).source.isRead);
  EXPECT_EQ(planeOf(rgb, Ink::G).width, 5U);
  EXPECT_EQ(planeOf(rgb, Ink::G).clearedByte(), 0x00);
  EXPECT_EQ(rgb.rows, 0U);
}

struct Pair {
  std::vector<uint32_t> bits;
  int depth;
  uint64_t rows;
  bool hasSamples;
};

TEST_F(JobRequestTest, DepthsThatDoNotGoWithAPlateGiveNothing) {
  const Pair kCases[] = {
      {{1}, 1, 3, true},   {{1}, 8, 0, false},  {{8}, 1, 3, true},        {{8}, 2, 3, true},
      {{8}, 4, 3, true},   {{8}, 8, 3, true},   {{8}, 3, 0, false},       {{8}, 10, 0, false},
      {{16}, 10, 3, true}, {{16}, 12, 3, true}, {{16}, 8, 0, false},      {{16}, 16, 3, false},
      {{2}, 2, 3, false},  {{4}, 8, 0, false},  {{8, 8, 8}, 8, 0, false}, {{8, 8, 8}, 24, 3, false},
  };
  for (const Pair& c : kCases) {
    SCOPED_TRACE(std::to_string(c.bits[0]) + " bits into " + std::to_string(c.depth));
    image("k.tif", 5, 3, c.bits);
    const PageRequest request =
        page(formatLines(5, 1) + depthLines({"K"}, c.depth) + "ImageFileK=\"k.tif\"\n");
    EXPECT_EQ(request.rows, c.rows);
    EXPECT_EQ(request.planes.at(0).hasSamples, c.hasSamples);
    EXPECT_EQ(request.planes.at(0).width, 5U);
    EXPECT_EQ(request.planes.at(0).notCompared, "");
  }
}

TEST_F(JobRequestTest, DepthsThatDoNotGoWithACompositeGiveNothing) {
  const Pair kCases[] = {
      {{8, 8, 8, 8}, 1, 3, true},       {{8, 8, 8, 8}, 8, 3, true},
      {{8, 8, 8, 8}, 10, 0, false},     {{16, 16, 16, 16}, 10, 3, true},
      {{16, 16, 16, 16}, 12, 0, false}, {{16, 16, 16, 16}, 16, 0, false},
  };
  for (const Pair& c : kCases) {
    SCOPED_TRACE(std::to_string(c.bits[0]) + " bits into " + std::to_string(c.depth));
    image("cmyk.tif", 5, 3, c.bits);
    const PageRequest request = page(formatLines(3, 4) + depthLines({"K", "C", "M", "Y"}, c.depth) +
                                     "ImageFileCMYK=\"cmyk.tif\"\n");
    EXPECT_EQ(request.rows, c.rows);
    EXPECT_EQ(request.planes.at(0).hasSamples, c.hasSamples);
    EXPECT_EQ(request.planes.at(0).notCompared, "");
  }
}

TEST_F(JobRequestTest, DepthsThatDoNotGoWithRgbGiveNothing) {
  const Pair kCases[] = {
      {{8, 8, 8}, 8, 3, true},     {{8, 8, 8}, 10, 0, false},   {{16, 16, 16}, 8, 0, false},
      {{16, 16, 16}, 10, 3, true}, {{16, 16, 16}, 12, 3, true}, {{16, 16, 16}, 16, 3, true},
      {{8, 8, 8, 8}, 8, 0, false},
  };
  for (const Pair& c : kCases) {
    SCOPED_TRACE(std::to_string(c.bits[0]) + " bits into " + std::to_string(c.depth));
    image("rgb.tif", 5, 3, c.bits);
    const std::string lines = formatLines(2, 3) + "ImageFileRGB=\"rgb.tif\"\n";
    EXPECT_EQ(page(lines + depthLines({"R", "G", "B"}, c.depth)).rows, c.rows);
  }
  image("rgb.tif", 5, 3, {16, 16, 16});
  EXPECT_EQ(page(formatLines(2, 3) + depthLines({"R", "G"}, 10) + depthLines({"B"}, 12) +
                 "ImageFileRGB=\"rgb.tif\"\n")
                .rows,
            0U)
      << "three depths that are not equal";
}

TEST_F(JobRequestTest, SamplesOfAnUnexpectedNumberAreNotCompared) {
  image("cmyk.tif", 5, 3, {8, 8, 8});
  const PageRequest request = page(formatLines(3, 4) + depthLines({"K", "C", "M", "Y"}, 8) +
                                   "ImageFileCMYK=\"cmyk.tif\"\n");
  EXPECT_EQ(request.planes.at(0).notCompared, "cmyk.tif: its pixels have 3 samples, not 4");
}

TEST_F(JobRequestTest, AFileThatIsNoTiffHasNoPixels) {
  folder.write("k.tif", "no TIFF");
  const PageRequest request =
      page(formatLines(5, 1) + depthLines({"K"}, 8) + "ImageFileK=\"k.tif\"\n");
  EXPECT_EQ(request.missing, "");
  EXPECT_EQ(request.rows, 0U);
  EXPECT_EQ(request.planes.at(0).width, 0U);
}

TEST_F(JobRequestTest, IndexLevelsBecomeNumbers) {
  const std::string format = formatLines(5, 1) + depthLines({"K"}, 4);
  for (const int levels : {0, 2, 3, 4, 5, 6, 16}) {
    const PageRequest request = page(format + "IndexLevelK=" + std::to_string(levels) + "\n");
    EXPECT_EQ(request.planes.at(0).levels, levels);
    EXPECT_FALSE(request.planes.at(0).samplesAreLevels || request.planes.at(0).raw);
  }
}

TEST_F(JobRequestTest, TheDigitFourSaysThatSamplesAreLevels) {
  const std::string rest = "NumOfPlanes=1\nCompressionMode=0\nPixelDepthK=4\n";
  EXPECT_TRUE(page("ColorSpace=4\n" + rest).planes.at(0).samplesAreLevels);
  EXPECT_FALSE(page("ColorSpace=0x4\n" + rest).planes.at(0).samplesAreLevels);
  const PageRequest replaced = page("ColorSpace=4\nIndexLevelK=3\n" + rest);
  EXPECT_FALSE(replaced.planes.at(0).samplesAreLevels);
  EXPECT_EQ(replaced.planes.at(0).levels, 3);
}

TEST_F(JobRequestTest, GrayOfEightTenAndTwelveBitsIsRaw) {
  for (const int depth : {1, 2, 4, 8, 10, 12, 16}) {
    const PageRequest gray = page(formatLines(2, 1) + depthLines({"K"}, depth));
    EXPECT_EQ(gray.planes.at(0).raw, depth == 8 || depth == 10 || depth == 12) << depth;
    EXPECT_EQ(gray.blank(), 0xFF);
  }
  image("cmyk.tif", 5, 3, {8, 8, 8, 8});
  const PageRequest channel = page(formatLines(2, 1) + depthLines({"K"}, 8) +
                                   depthLines({"C", "M", "Y"}, 0) + "ImageFileCMYK=\"cmyk.tif\"\n");
  EXPECT_FALSE(channel.planes.at(0).raw) << "a channel never is";
}

TEST_F(JobRequestTest, DeepRowsAreSentAsHalves) {
  for (const int depth : {8, 10, 12, 16}) {
    const PageRequest rgb = page(formatLines(2, 3, 4) + depthLines({"R", "G", "B"}, depth));
    EXPECT_EQ(rgb.planes.at(0).isHalved, depth > 8) << depth;
    EXPECT_EQ(rgb.planes.at(0).isDeep, depth == 10 || depth == 12) << depth;
  }
  EXPECT_FALSE(page(formatLines(2, 3, 2) + depthLines({"R", "G", "B"}, 10)).planes.at(0).isDeep);
}

TEST_F(JobRequestTest, HalvesOfRowsThatAreNotDeepAreNotCompared) {
  image("b.tif", 5, 3, {16});
  const PageRequest rgb = page(formatLines(2, 3, 4) + depthLines({"R", "G"}, 8) +
                               depthLines({"B"}, 10) + "ImageFileB=\"b.tif\"\n");
  EXPECT_EQ(planeOf(rgb, Ink::B).notCompared, "halves of rows that are not laid out for it");
}

TEST_F(JobRequestTest, PagesWithoutModeOrWithOddDepthsAreNotCompared) {
  EXPECT_EQ(page(formatLines(18, 1) + depthLines({"R", "G", "B"}, 8)).notCompared,
            "its colour space, planes and compression together give no rows");
  EXPECT_EQ(page(formatLines(5, 1) + depthLines({"K"}, 200)).notCompared,
            "rows have no depth of 200");
  EXPECT_EQ(page(formatLines(5, 1) + depthLines({"K"}, 127)).notCompared, "");
}

TEST_F(JobRequestTest, APageWithAnImageThatCannotBeOpenedIsMissing) {
  folder.write("k.bmp", "BM");
  image("g.tif", 5, 3);
  const std::string format = formatLines(5, 1) + depthLines({"K"}, 8);
  EXPECT_EQ(page(format + "ImageFileK=\"k.bmp\"\n").missing, "k.bmp does not end in .tif or .tiff");
  EXPECT_EQ(page(formatLines(5, 4) + depthLines({"K", "C", "M", "G"}, 8) +
                 "ImageFileK=\"g.tif\"\nImageFileG=\"k.bmp\"\n")
                .missing,
            "k.bmp does not end in .tif or .tiff")
      << "also one that nothing is read of";
  if (geteuid() == 0) return;  // to whom every file opens
  std::filesystem::permissions(folder.path("g.tif"), std::filesystem::perms::none);
  EXPECT_EQ(page(format + "ImageFileK=\"g.tif\"\n").missing, "g.tif cannot be opened");
}

TEST_F(JobRequestTest, PlatesBesideACompositeAreNotOpened) {
  folder.write("k.bmp", "BM");
  image("cmyk.tif", 5, 3, {8, 8, 8, 8});
  const std::string lines = formatLines(3, 4) + depthLines({"K", "C", "M", "Y"}, 8) +
                            "ImageFileCMYK=\"cmyk.tif\"\nImageFileK=\"k.bmp\"\n";
  EXPECT_EQ(page(lines).missing, "");
  EXPECT_EQ(read(kResolution + ("[Image]\n" + lines)).printableWidth, -1)
      << "only the search for the widest image stumbles over them";
}

TEST_F(JobRequestTest, ThePrintableWidthIsThatOfTheWidestImage) {
  image("a.tif", 5, 3);
  image("b.tif", 12, 3);
  const std::string first = "[Image]\n" + formatLines(5, 1) + depthLines({"K"}, 8);
  const std::string pages = first + "ImageFileK=\"a.tif\"\n[Image]\nImageFileK=\"b.tif\"\n";
  EXPECT_EQ(read(kResolution + pages).printableWidth, 12);
  EXPECT_EQ(read(std::string(kResolution) + "PrintableWidthInPixel=7\n" + pages).printableWidth, 7);
  EXPECT_EQ(read(kResolution + first).printableWidth, 0) << "no image at all";
}

TEST_F(JobRequestTest, FurtherPagesInheritTheFormat) {
  const std::string first = "[Image]\n" + formatLines(5, 1, 2) + depthLines({"K"}, 2);
  const JobRequest request = read(
      kResolution + first + "IndexLevelK=3\n[Image]\nYOffset=1\n[Image]\n" + formatLines(5, 1, 0) +
      depthLines({"K"}, 2) + "[Image]\n" + formatLines(5, 1, 0) + depthLines({"K"}, 4));
  ASSERT_EQ(request.pages.size(), 4U);
  EXPECT_FALSE(request.pages[0].sameAsFirst);
  EXPECT_TRUE(request.pages[1].sameAsFirst);
  EXPECT_EQ(request.pages[1].mode, 1002);
  EXPECT_EQ(request.pages[1].planes.at(0).levels, 3);
  EXPECT_TRUE(request.pages[2].sameAsFirst);
  EXPECT_EQ(request.pages[2].mode, 1000);
  EXPECT_FALSE(request.pages[3].sameAsFirst);
  EXPECT_EQ(request.pages[3].section, 4U);
}

TEST_F(JobRequestTest, SixTableFilesAreSentAtMost) {
  std::string lines = "[Global]\n";
  std::vector<std::string> want;
  for (int i = 0; i < 8; ++i) {
    const std::string name = "table" + std::to_string(i);
    if (i < 6) want.push_back(folder.write(name, "x"));
    folder.write(name, "x");
    lines += "ImageProcessingFile=\"" + name + "\"\n";
  }
  const JobRequest request =
      read(lines + kResolution + "[Image]\n" + formatLines(5, 1) + depthLines({"K"}, 8));
  EXPECT_EQ(request.tables, want);
  EXPECT_EQ(request.resolutionH, 600U);
  EXPECT_EQ(request.resolutionV, 300U);
}

TEST_F(JobRequestTest, AReaderIsToldThePagesThatAreInTheFile) {
  folder.write("k.bmp", "BM");
  image("rgb.tif", 5, 3, {16, 16, 16});
  image("k.tif", 9, 4);
  const jobreader::KnownJob known = jobverify::knownJob(
      read(kResolution + ("[Image]\nYOffset=0\nImageFileRGB=\"rgb.tif\"\n" + formatLines(2, 3, 4) +
                          depthLines({"R", "G", "B"}, 10) + "[Image]\nImageFileK=\"k.bmp\"\n" +
                          formatLines(5, 1) + depthLines({"K"}, 8) +
                          "[Image]\nYOffset=4294967290\nImageFileK=\"k.tif\"\nIndexLevelK=3\n" +
                          formatLines(5, 1) + depthLines({"K"}, 2))));
  ASSERT_EQ(known.pages.size(), 2U);
  const jobreader::PageFormat& deep = known.pages[0];
  EXPECT_EQ(deep.colorSpace, 2);
  EXPECT_EQ(deep.blank, 0xFF);
  EXPECT_EQ(deep.height, 3U);
  EXPECT_TRUE(deep.beginsWithYOffset);
  ASSERT_EQ(deep.planes.size(), 3U);
  EXPECT_EQ(deep.planes[2].name, "B");
  EXPECT_EQ(deep.planes[2].depth, 10);
  EXPECT_EQ(deep.planes[2].width, 5U);
  EXPECT_TRUE(deep.planes[2].halves);
  const jobreader::PageFormat& black = known.pages[1];
  EXPECT_EQ(black.blank, 0x00);
  EXPECT_EQ(black.planes.at(0).levels, 3);
  EXPECT_EQ(black.planes.at(0).width, 9U);
  EXPECT_FALSE(black.beginsWithYOffset) << "a negative offset is not sent";
}

TEST_F(JobRequestTest, AReaderIsToldNothingOfSizesThatAreNotSure) {
  TiffWriter file('I');
  TiffPage cut;
  cut.width = 5;
  cut.height = 3;
  cut.strips = {Bytes(15)};
  addPage(file, cut);
  folder.write("k.tif", file.cut(5));
  const JobRequest request = read(
      kResolution + ("[Image]\nImageFileK=\"k.tif\"\n" + formatLines(5, 1) + depthLines({"K"}, 8)));
  EXPECT_EQ(request.pages.at(0).notCompared, "k.tif: its directory is cut off");
  const jobreader::KnownJob known = jobverify::knownJob(request);
  EXPECT_EQ(known.pages.at(0).height, 0U);
  EXPECT_EQ(known.pages.at(0).planes.at(0).width, 0U);
}

}  // namespace
