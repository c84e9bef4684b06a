// Tests of the page pipeline: the order in which a page is positioned, sent and released, the bands
// that its images give, and which plane takes its rows from which file.
#include "PagePipeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CFGKeys.h"
#include "HXRasterLib.h"
#include "HXRasterState.h"
#include "Images.h"
#include "ODAXOutLib.h"
#include "PageJob.h"
#include "PageSetup.h"
#include "ReductionTables.h"
#include "Thrown.h"
#include "TiffWriter.h"

namespace {

class PagePipelineTest : public testing::Test {
 protected:
  PagePipelineTest() : page(addImageParameter(nullptr)) {
    initImageParameter(page);
    HXRaster_New();
    HXRaster_SetGraphicsResolution(600, 600);
    HXRaster_SetPrintableWidthInPixel(8);
    sThisIsBlankLine = false;
    page->SameAsFirstImage = 1;  // without the configuration block
  }
  ~PagePipelineTest() override {
    HXRaster_New();
    std::free(page);
  }

  void setImage(ImagePath file, const std::vector<Samples>& channels, const FileForm& form = {}) {
    const std::string name = "image" + std::to_string(++images) + ".tif";
    std::strcpy(page->*file, folder.write(name, tiffOf(channels, form)).c_str());
  }
  /// A page of one black plane of 8 bits, whose samples are its ink.
  void setBlackPage(const Samples& samples) {
    page->ColorSpace = 5;
    page->NumOfPlanes = 1;
    page->PixelDepthK = 8;
    page->CompressionMode = 0;
    page->Mode = 1000;
    setImage(&imageParameter::ImageFileK, {samples}, {'I', 0, 0, false});
  }
  std::string run() {
    processHXRasterImageConfiguration(page);
    EXPECT_EQ(processHXRasterImageData(page), 0);
    return stream.take();
  }
  /// The same for a page whose images cannot be opened.
  std::string skipped() {
    processHXRasterImageConfiguration(page);
    int result = 0;
    errorsOf([&] { result = processHXRasterImageData(page); });
    EXPECT_EQ(result, 1);
    return stream.take();
  }

  TempFolder folder;
  BareStream stream;
  imageParameter* page;
  int images = 0;
};

// Pixel buffers ----------------------------------------------------------------------------------

TEST_F(PagePipelineTest, ABandIs300RowsHighAndAsWideAsItsImage) {
  const std::string path = folder.write("a.tif", tiffOf({plain(33, 5, 8, 0)}, {}));
  ImageReader* reader = ZKBMP_New(path.c_str());
  ASSERT_NE(reader, nullptr);
  ZKGWorld* world = nullptr;
  ZKRect box = {9, 9, 9, 9};
  prepareBand(&world, reader, &box, 1, 0);
  EXPECT_EQ(box.top, 0);
  EXPECT_EQ(box.left, 0);
  EXPECT_EQ(box.bottom, 300);
  EXPECT_EQ(box.right, 33);
  ASSERT_NE(world, nullptr);
  EXPECT_EQ(world->depth, 1);
  EXPECT_EQ(world->rowBytes, 8);
  EXPECT_EQ(world->bounds.bottom, 300);
  EXPECT_EQ(world->bounds.right, 33);
  std::free(world);
  ZKBMP_Delete(reader);
}

TEST_F(PagePipelineTest, TheDeepFlagGoesToTheBuffer) {
  const std::string path = folder.write("a.tif", tiffOf({plain(3, 5, 8, 0)}, {}));
  ImageReader* reader = ZKBMP_New(path.c_str());
  for (const int deep : {0, 1}) {
    ZKGWorld* world = nullptr;
    ZKRect box{};
    prepareBand(&world, reader, &box, 10, deep);
    ASSERT_NE(world, nullptr);
    EXPECT_EQ(world->rowBytes, deep == 1 ? 8 : 4);
    std::free(world);
  }
  ZKBMP_Delete(reader);
}

TEST_F(PagePipelineTest, WithoutAReaderNothingHappens) {
  ZKGWorld* world = nullptr;
  ZKRect box = {1, 2, 3, 4};
  prepareBand(&world, nullptr, &box, 8, 0);
  EXPECT_EQ(world, nullptr);
  EXPECT_EQ(box.top, 1);
  EXPECT_EQ(box.left, 2);
  EXPECT_EQ(box.bottom, 3);
  EXPECT_EQ(box.right, 4);
}

TEST_F(PagePipelineTest, ADepthWhoseLow16BitsAre0OrAllOnesMakesNoBuffer) {
  const std::string path = folder.write("a.tif", tiffOf({plain(3, 5, 8, 0)}, {}));
  ImageReader* reader = ZKBMP_New(path.c_str());
  for (const int depth : {0, -1, 0x10000, 0x1FFFF, 0xFFFF}) {
    ZKGWorld* world = nullptr;
    ZKRect box{};
    prepareBand(&world, reader, &box, depth, 0);
    EXPECT_EQ(world, nullptr) << depth;
    EXPECT_EQ(box.right, 3) << depth;
  }
  ZKBMP_Delete(reader);
}

// Position and raster mode -----------------------------------------------------------------------

TEST_F(PagePipelineTest, APageWithoutPositionStartsRasterModeAtOnce) {
  setBlackPage(plain(2, 1, 8, 7));
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b2W", Bytes{7, 7}, "~*rC"}));
}

struct Position {
  const char* name;
  std::function<void(imageParameter&)> set;
  std::string before;  // between resolution and raster mode
  std::string after;   // behind the start of raster mode
};

const Position kPositions[] = {
    {"absolute x",
     [](auto& p) {
       p.StartingPositionX = 30;
       p.StartingPositionXSign = 0;
     },
     "~*p30X", ""},
    {"absolute x of 0",
     [](auto& p) {
       p.StartingPositionX = 0;
       p.StartingPositionXSign = 0;
     },
     "~*p0X", ""},
    {"x that is not set",
     [](auto& p) {
       p.StartingPositionX = -1;
       p.StartingPositionXSign = 0;
     },
     "", ""},
    {"x of +20",
     [](auto& p) {
       p.StartingPositionX = 20;
       p.StartingPositionXSign = 1;
     },
     "~*p+20X", ""},
    {"x of +0",
     [](auto& p) {
       p.StartingPositionX = 0;
       p.StartingPositionXSign = 1;
     },
     "", ""},
    {"x of -0",
     [](auto& p) {
       p.StartingPositionX = 0;
       p.StartingPositionXSign = -1;
     },
     "", ""},
    {"x of -20",
     [](auto& p) {
       p.StartingPositionX = -20;
       p.StartingPositionXSign = -1;
     },
     "~*p-20X", ""},
    {"x of -1",
     [](auto& p) {
       p.StartingPositionX = -1;
       p.StartingPositionXSign = -1;
     },
     "~*p-1X", ""},
    {"absolute y",
     [](auto& p) {
       p.StartingPositionY = 30;
       p.StartingPositionYSign = 0;
     },
     "~*p30Y", ""},
    {"absolute y of 0",
     [](auto& p) {
       p.StartingPositionY = 0;
       p.StartingPositionYSign = 0;
     },
     "~*p0Y", ""},
    {"y that is not set",
     [](auto& p) {
       p.StartingPositionY = -1;
       p.StartingPositionYSign = 0;
     },
     "", ""},
    {"y of +20",
     [](auto& p) {
       p.StartingPositionY = 20;
       p.StartingPositionYSign = 1;
     },
     "~*p+20Y", ""},
    {"y of +0",
     [](auto& p) {
       p.StartingPositionY = 0;
       p.StartingPositionYSign = 1;
     },
     "", ""},
    {"y of -20",
     [](auto& p) {
       p.StartingPositionY = -20;
       p.StartingPositionYSign = -1;
     },
     "~*p-20Y", ""},
    {"y offset",
     [](auto& p) {
       p.YOffset = 5;
       p.YOffsetSign = 0;
     },
     "", "~*b5Y"},
    {"y offset of 0",
     [](auto& p) {
       p.YOffset = 0;
       p.YOffsetSign = 0;
     },
     "", "~*b0Y"},
    {"y offset of +5",
     [](auto& p) {
       p.YOffset = 5;
       p.YOffsetSign = 1;
     },
     "", "~*b+5Y"},
    {"y offset of +0",
     [](auto& p) {
       p.YOffset = 0;
       p.YOffsetSign = 1;
     },
     "", "~*b0Y"},
    {"y offset that is not set",
     [](auto& p) {
       p.YOffset = -1;
       p.YOffsetSign = 0;
     },
     "", ""},
    {"early offset",
     [](auto& p) {
       p.YOffsetCBeforePosition = 6;
       p.YOffsetCBeforePositionSign = 0;
     },
     "~*b6Y", ""},
    {"early offset of +6",
     [](auto& p) {
       p.YOffsetCBeforePosition = 6;
       p.YOffsetCBeforePositionSign = 1;
     },
     "~*b+6Y", ""},
    {"late offset",
     [](auto& p) {
       p.YOffsetCAfterPosition = 6;
       p.YOffsetCAfterPositionSign = 0;
     },
     "~*b6Y", ""},
    {"late offset of +6",
     [](auto& p) {
       p.YOffsetCAfterPosition = 6;
       p.YOffsetCAfterPositionSign = 1;
     },
     "~*b+6Y", ""},
    {"everything at once",
     [](auto& p) {
       p.YOffsetCBeforePosition = 1;
       p.YOffsetCBeforePositionSign = 0;
       p.StartingPositionX = 2;
       p.StartingPositionXSign = 0;
       p.StartingPositionY = 3;
       p.StartingPositionYSign = 1;
       p.YOffsetCAfterPosition = 4;
       p.YOffsetCAfterPositionSign = 1;
       p.YOffset = 5;
       p.YOffsetSign = 0;
     },
     "~*b1Y~*p2X~*p+3Y~*b+4Y", "~*b5Y"},
};

TEST_F(PagePipelineTest, ThePositionIsSentInItsOrder) {
  setBlackPage(plain(1, 0, 8, 0));
  const imageParameter start = *page;
  for (const Position& position : kPositions) {
    SCOPED_TRACE(position.name);
    *page = start;
    position.set(*page);
    EXPECT_EQ(run(), sent({"~*t600R", position.before, "~*r1A", "~*b0M", position.after, "~*rC"}));
  }
}

TEST_F(PagePipelineTest, TheFlagOfTheSectionDecidesAboutTheConfigurationBlock) {
  setBlackPage(plain(1, 0, 8, 0));
  page->SameAsFirstImage = kNotSet;
  EXPECT_EQ(run(), sent({"~$v10W", Bytes{5, 1, 0, 0, 0, 0, 8, 0, 0, 0}, "~*t600R", "~*r1A", "~*b0M",
                         "~*rC"}));
  EXPECT_EQ(mNumOfPages, 1);
}

// Bands ------------------------------------------------------------------------------------------

TEST_F(PagePipelineTest, SevenHundredRowsMakeThreeBands) {
  setBlackPage(drawn(2, 700, 8, [](uint32_t, uint32_t y) { return 1 + y % 200; }));
  page->CompressionMode = 3;
  page->Mode = 1003;
  std::string want = sent({"~*t600R", "~*r1A", "~*b3M"});
  for (uint32_t y = 0; y < 700; ++y) {
    // Every row differs from the one above, and its difference is longer than itself.
    const auto level = static_cast<uint8_t>(1 + y % 200);
    if (y % 300 == 0) {
      want += y == 0 ? sent({"~*b0M"}) : "";
    } else {
      want += sent({"~*b3M", "~*b0M"});
    }
    want += sent({"~*b2W", Bytes{level, level}});
  }
  EXPECT_EQ(run(), want + sent({"~*rC"}));
}

TEST_F(PagePipelineTest, RowsAreCountedOverTheBordersOfBands) {
  setBlackPage(drawn(1, 601, 8, [](uint32_t, uint32_t y) { return y == 600 ? 9 : 0; }));
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b600Y", "~*b1W", Bytes{9}, "~*rC"}));
}

TEST_F(PagePipelineTest, AnImageWithoutRowsStillStartsAndEndsRasterMode) {
  setBlackPage(plain(4, 0, 8, 0));
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*rC"}));
}

TEST_F(PagePipelineTest, TheTallestPlaneGivesTheRows) {
  page->ColorSpace = 3;
  page->NumOfPlanes = 4;
  page->CompressionMode = 0;
  page->Mode = 4000;
  page->PixelDepthK = page->PixelDepthC = page->PixelDepthM = page->PixelDepthY = 8;
  const FileForm form = {'I', 0, 0, false};
  setImage(&imageParameter::ImageFileK, {plain(1, 1, 8, 10)}, form);
  setImage(&imageParameter::ImageFileC, {plain(2, 301, 8, 20)}, form);
  setImage(&imageParameter::ImageFileM, {plain(3, 2, 8, 30)}, form);
  setImage(&imageParameter::ImageFileY, {plain(1, 0, 8, 40)}, form);
  std::string want = sent({"~*t600R", "~*r1A", "~*b0M"});
  const std::string cyan = sent({"~*b2V", Bytes{20, 20}});
  want += sent({"~*b1V", Bytes{10}}) + cyan + sent({"~*b3V", Bytes{30, 30, 30}, "~*b0W"});
  want += sent({"~*b0V"}) + cyan + sent({"~*b3V", Bytes{30, 30, 30}, "~*b0W"});
  for (int row = 2; row < 301; ++row) want += sent({"~*b0V"}) + cyan + sent({"~*b0V", "~*b0W"});
  EXPECT_EQ(run(), want + sent({"~*rC"}));
}

// Planes -----------------------------------------------------------------------------------------

struct PlaneOrder {
  const char* ink;
  Ink key;
  uint8_t level;
};
// The order in which planes are sent. G is not read from a file of its own.
const PlaneOrder kPlaneOrder[] = {
    {"PBK", kInkPBK, 1}, {"MBK", kInkMBK, 2},  {"K", kInkK, 3},      {"C", kInkC, 4},
    {"M", kInkM, 5},     {"Y", kInkY, 6},      {"c", kInkc, 7},      {"m", kInkm, 8},
    {"Gy", kInkGy, 9},   {"Pgy", kInkPgy, 10}, {"R", kInkR, 11},     {"G", kInkG, 12},
    {"B", kInkB, 13},    {"CO", kInkCO, 14},   {"CO2", kInkCO2, 15},
};

TEST_F(PagePipelineTest, FifteenPlanesAreSentInTheirFixedOrderAndGreenStaysEmpty) {
  page->ColorSpace = 4;
  page->NumOfPlanes = 15;
  page->CompressionMode = 0;
  page->Mode = 4000;
  std::string want = sent({"~*t600R", "~*r1A", "~*b0M"});
  for (const PlaneOrder& plane : kPlaneOrder) {
    setImage(kInks[plane.key].file, {plain(1, 1, 8, plane.level)}, {'I', 0, 0, false});
    page->*kInks[plane.key].depth = 8;
    const bool last = plane.key == kInkCO2;
    if (plane.key == kInkG) {
      want += sent({"~*b0V"});
    } else {
      want += sent({last ? "~*b1W" : "~*b1V", Bytes{plane.level}});
    }
  }
  EXPECT_EQ(run(), want + sent({"~*rC"}));
}

TEST_F(PagePipelineTest, EveryInkHasATableOfItsOwn) {
  for (const PlaneOrder& plane : kPlaneOrder) {
    if (plane.key == kInkG) continue;
    SCOPED_TRACE(plane.ink);
    initImageParameter(page);
    page->SameAsFirstImage = 1;
    page->ColorSpace = 4;
    page->NumOfPlanes = 1;
    page->CompressionMode = 0;
    page->Mode = 4000;
    for (const InkKeys& ink : kInks)
      if (ink.levelKey != nullptr) page->*ink.level = Reduce256To3Tbl.data();
    page->*kInks[plane.key].level = Reduce256To2Tbl.data();
    page->*kInks[plane.key].depth = 4;
    setImage(kInks[plane.key].file, {drawn(2, 1, 8, [](uint32_t x, uint32_t) { return 139 + x; })},
             {'I', 0, 0, false});
    EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b1W", Bytes{0x01}, "~*rC"}));
    (page->*kInks[plane.key].file)[0] = '\0';
  }
}

TEST_F(PagePipelineTest, APlaneOfDepth0IsOpenedButNotSent) {
  setBlackPage(plain(1, 1, 8, 7));
  page->PixelDepthC = 0;
  setImage(&imageParameter::ImageFileC, {plain(1, 5, 8, 9)}, {'I', 0, 0, false});
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b1W", Bytes{7}, "~*rC"}));
}

TEST_F(PagePipelineTest, APlaneWithADepthAndNoFileIsEmpty) {
  setBlackPage(plain(1, 1, 8, 7));
  page->NumOfPlanes = 2;
  page->PixelDepthC = 8;
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b1V", Bytes{7}, "~*b0W", "~*rC"}));
}

TEST_F(PagePipelineTest, AModeThatIsNotSetSendsNoRows) {
  setBlackPage(plain(2, 3, 8, 7));
  page->Mode = kNotSet;
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*rC"}));
}

// Composite images -------------------------------------------------------------------------------

TEST_F(PagePipelineTest, ACompositeCmykImageGivesFourPlanes) {
  page->ColorSpace = 3;
  page->NumOfPlanes = 4;
  page->CompressionMode = 0;
  page->Mode = 4000;
  page->PixelDepthK = page->PixelDepthC = page->PixelDepthM = page->PixelDepthY = 8;
  setImage(&imageParameter::ImageFileCMYK,
           {plain(2, 1, 8, 0xC0), plain(2, 1, 8, 0x3A), plain(2, 1, 8, 0x1E), plain(2, 1, 8, 0xBB)},
           {'I', 5, 0, false});
  // Files of single inks are not even opened then.
  std::strcpy(page->ImageFileK, folder.path("missing.tif").c_str());
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b2V", Bytes{0xBB, 0xBB}, "~*b2V",
                         Bytes{0xC0, 0xC0}, "~*b2V", Bytes{0x3A, 0x3A}, "~*b2W", Bytes{0x1E, 0x1E},
                         "~*rC"}));
}

TEST_F(PagePipelineTest, ACompositeRgbImageGivesThreePlanes) {
  page->ColorSpace = 2;
  page->NumOfPlanes = 3;
  page->CompressionMode = 0;
  page->Mode = 3000;
  page->PixelDepthR = page->PixelDepthG = page->PixelDepthB = 8;
  HXRaster_SetPrintableWidthInPixel(2);
  setImage(&imageParameter::ImageFileRGB,
           {plain(2, 2, 8, 0x12), plain(2, 2, 8, 0x6E), plain(2, 2, 8, 0xB1)}, {'I', 2, 0, false});
  const std::string row =
      sent({"~*b2V", Bytes{0x12, 0x12}, "~*b2V", Bytes{0x6E, 0x6E}, "~*b2W", Bytes{0xB1, 0xB1}});
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M"}) + row + row + sent({"~*rC"}));
}

TEST_F(PagePipelineTest, WithBothCompositesTheRgbImageGivesTheRows) {
  page->ColorSpace = 2;
  page->NumOfPlanes = 3;
  page->CompressionMode = 0;
  page->Mode = 3000;
  page->PixelDepthR = page->PixelDepthG = page->PixelDepthB = 8;
  HXRaster_SetPrintableWidthInPixel(1);
  setImage(&imageParameter::ImageFileRGB, {plain(1, 1, 8, 1), plain(1, 1, 8, 2), plain(1, 1, 8, 3)},
           {'I', 2, 0, false});
  setImage(&imageParameter::ImageFileCMYK,
           {plain(1, 9, 8, 9), plain(1, 9, 8, 9), plain(1, 9, 8, 9), plain(1, 9, 8, 9)},
           {'I', 5, 0, false});
  EXPECT_EQ(run(), sent({"~*t600R", "~*r1A", "~*b0M", "~*b1V", Bytes{1}, "~*b1V", Bytes{2}, "~*b1W",
                         Bytes{3}, "~*rC"}));
}

TEST_F(PagePipelineTest, TenAndTwelveBitsAreDeepOnlyWithHxrc) {
  for (const int depth : {10, 12, 16}) {
    for (const int compression : {0, 4}) {
      SCOPED_TRACE(std::to_string(depth) + " bits, compression " + std::to_string(compression));
      initImageParameter(page);
      page->SameAsFirstImage = 1;
      page->ColorSpace = 2;
      page->NumOfPlanes = 3;
      page->CompressionMode = compression;
      page->Mode = 3000 + compression;
      page->PixelDepthR = page->PixelDepthG = page->PixelDepthB = depth;
      HXRaster_SetPrintableWidthInPixel(5);
      const std::vector<Samples> image = {mixed(5, 4, 16, 0xFFFF, 1), mixed(5, 4, 16, 0xFFFF, 2),
                                          mixed(5, 4, 16, 0xFFFF, 3)};
      setImage(&imageParameter::ImageFileRGB, image, {'M', 2, 0, false});
      processHXRasterImageConfiguration(page);
      EXPECT_EQ(processHXRasterImageData(page), 0);
      std::vector<std::vector<Bytes>> want;
      for (const Samples& channel : image)
        want.push_back(compression == 4 ? deepRgbRows(channel, depth) : rgbRows(channel, depth));
      const Bytes whole = joined({"~%-12345X~%0A~E", stream.takeBytes(), "~$E~%-12345X"});
      const DecodedStream decoded = decodeStream(whole, {shapeOf(want, 0xFF, compression == 4)});
      EXPECT_EQ(firstDifference(decoded.pages[0].rows, want), "");
    }
  }
}

// Failures ---------------------------------------------------------------------------------------

TEST_F(PagePipelineTest, AnImageThatCannotBeOpenedSkipsThePage) {
  for (const char* name : {"missing.tif", "page.bmp"}) {
    folder.write("page.bmp", tiffOf({plain(1, 1, 8, 0)}, {}));
    setBlackPage(plain(1, 1, 8, 7));
    page->PixelDepthCO2 = 8;
    std::strcpy(page->ImageFileCO2, folder.path(name).c_str());
    EXPECT_EQ(skipped(), "") << name;
  }
}

TEST_F(PagePipelineTest, AMissingCompositeSkipsThePage) {
  for (const ImagePath file : {&imageParameter::ImageFileCMYK, &imageParameter::ImageFileRGB}) {
    initImageParameter(page);
    std::strcpy(page->*file, folder.path("missing.tif").c_str());
    EXPECT_EQ(skipped(), "");
  }
}

TEST_F(PagePipelineTest, AnUnsupportedCompressionReleasesThePageAndPassesOn) {
  struct Case {
    const char* name;
    ImagePath file;
    size_t channels;
    int code;
  };
  const Case kCases[] = {
      {"single plane", &imageParameter::ImageFileK, 1, -41},
      {"RGB", &imageParameter::ImageFileRGB, 3, -42},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    initImageParameter(page);
    page->SameAsFirstImage = 1;
    page->Mode = 1002;
    page->CompressionMode = 2;
    page->NumOfPlanes = 1;
    page->PixelDepthK = 8;
    page->PixelDepthR = page->PixelDepthG = page->PixelDepthB = 8;
    Bytes file = tiffOf(std::vector<Samples>(c.channels, plain(1, 1, 8, 0)), {'I', 0, 0, false});
    // The entry of the compression: tag 259 of type SHORT, one value, 1.
    const Bytes entry = {0x03, 0x01, 3, 0, 1, 0, 0, 0, 1};
    const auto at = std::search(file.begin(), file.end(), entry.begin(), entry.end());
    ASSERT_NE(at, file.end());
    at[8] = 5;
    const std::string path = folder.write("lzw.tif", file);
    std::strcpy(page->*c.file, path.c_str());
    processHXRasterImageConfiguration(page);
    int code = 0;
    const auto call = [&] { code = thrownBy([this] { processHXRasterImageData(page); }); };
    EXPECT_EQ(errorsOf(call), "UNSUPPORTED COMPRESSION!: \"" + path + "\".\n");
    EXPECT_EQ(code, c.code);
    EXPECT_EQ(stream.take(), sent({"~*t600R", "~*r1A", "~*b2M"}));
  }
}

TEST_F(PagePipelineTest, ABandThatIsTooLargeLeavesThePageWithoutRows) {
  setBlackPage(plain(1, 1, 8, 7));
  page->PixelDepthK = 1;
  TiffPage file;
  file.width = 100000000;  // 12.5 MB for a row, 3.75 GB for a band
  file.height = 2;
  file.bits = {1};
  file.strips = {{1, 2, 3}};
  std::strcpy(page->ImageFileK, folder.write("wide.tif", tiffFile(file)).c_str());
  int result = -1;
  processHXRasterImageConfiguration(page);
  EXPECT_THAT(errorsOf([&] { result = processHXRasterImageData(page); }),
              testing::StartsWith("ERROR! ZKewGWorld failed.(12) "));
  EXPECT_EQ(result, 0);
  EXPECT_EQ(stream.take(), sent({"~*t600R", "~*r1A", "~*b0M", "~*rC"}));
}

TEST_F(PagePipelineTest, OnePageAfterAnotherStartsAfresh) {
  setBlackPage(plain(1, 1, 8, 7));
  const std::string want = sent({"~*t600R", "~*r1A", "~*b0M", "~*b1W", Bytes{7}, "~*rC"});
  EXPECT_EQ(run(), want);
  HXRaster_New();
  EXPECT_EQ(run(), want);
}

}  // namespace
