// Tests of the page setup: what the raster writer is told of a job and of a page, and the printable
// width that the images themselves give.
#include "PageSetup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "CFGKeys.h"
#include "HXRasterLib.h"
#include "HXRasterState.h"
#include "Images.h"
#include "PageJob.h"
#include "ReductionTables.h"

namespace {

constexpr const char* kResets = "~%-12345X~%0A~E";

class PageSetupTest : public testing::Test {
 protected:
  PageSetupTest() : record(static_cast<parameter*>(std::calloc(1, sizeof(parameter)))) {
    initCommonParameter(record);
    record->GraphicsResolutionH = 600;
    record->GraphicsResolutionV = 300;
    HXRaster_New();
  }
  ~PageSetupTest() override {
    HXRaster_Delete();
    HXRaster_New();
    disposeParameter(record);
  }

  imageParameter* addPage() {
    imageParameter* page = addImageParameter(record->lastImageParameter);
    initImageParameter(page);
    if (record->imageParameterList == nullptr) record->imageParameterList = page;
    record->lastImageParameter = page;
    return page;
  }
  void addTable(const std::string& path) {
    imageProcessingFile* table = addImageProcessingFile(record->lastImageProcessingFile);
    std::strcpy(table->path, path.c_str());
    if (record->imageProcessingFileList == nullptr) record->imageProcessingFileList = table;
    record->lastImageProcessingFile = table;
  }
  /// Names an image of a width for one of a page's files.
  void setImage(imageParameter* page, ImagePath file, uint32_t width) {
    const std::string name = "w" + std::to_string(width) + ".tif";
    std::strcpy(page->*file, folder.write(name, tiffOf({plain(width, 1, 1, 0)}, {})).c_str());
  }

  TempFolder folder;
  BareStream stream;
  parameter* record;
};

// The job ----------------------------------------------------------------------------------------

TEST_F(PageSetupTest, TheJobsSettingsReachTheRasterWriter) {
  record->PrintableWidthInPixel = 5100;
  EXPECT_EQ(processHXRasterConfiguration(record), 0);
  EXPECT_EQ(mGraphicsResolutionH, 600U);
  EXPECT_EQ(mGraphicsResolutionV, 300U);
  EXPECT_EQ(mDeviceWidthInPixel, 5100);
  EXPECT_EQ(stream.take(), sent({kResets}));
}

TEST_F(PageSetupTest, AGivenWidthIsNotComparedWithTheImages) {
  record->PrintableWidthInPixel = 10;
  std::strcpy(addPage()->ImageFileK, folder.path("missing.tif").c_str());
  EXPECT_EQ(errorsOf([this] { processHXRasterConfiguration(record); }), "");
  EXPECT_EQ(mDeviceWidthInPixel, 10);
}

TEST_F(PageSetupTest, TheWidthOfTheWidestImageIsThePrintableWidth) {
  setImage(addPage(), &imageParameter::ImageFileK, 1000);
  setImage(addPage(), &imageParameter::ImageFileK, 1200);
  setImage(addPage(), &imageParameter::ImageFileK, 1100);
  EXPECT_EQ(processHXRasterConfiguration(record), 0);
  EXPECT_EQ(record->PrintableWidthInPixel, 1200);
  EXPECT_EQ(mDeviceWidthInPixel, 1200);
}

TEST_F(PageSetupTest, EveryImageFileCountsForTheWidth) {
  std::vector<ImagePath> files = {&imageParameter::ImageFileCMYK, &imageParameter::ImageFileRGB};
  for (const InkKeys& ink : kInks) files.push_back(ink.file);
  ASSERT_EQ(files.size(), 17U);
  imageParameter* page = addPage();
  uint32_t width = 10;
  for (const ImagePath file : files) {
    setImage(page, file, ++width);
    EXPECT_EQ(setPrintableWidthInPixel(record), 0);
    EXPECT_EQ(record->PrintableWidthInPixel, static_cast<int32_t>(width));
  }
}

TEST_F(PageSetupTest, PagesWithoutImagesHaveNoWidth) {
  addPage();
  EXPECT_EQ(setPrintableWidthInPixel(record), 0);
  EXPECT_EQ(record->PrintableWidthInPixel, 0);
}

TEST_F(PageSetupTest, AFileThatIsNoTiffFileHasNoWidth) {
  std::strcpy(addPage()->ImageFileK, folder.write("bitmap.tif", "BM and so on").c_str());
  EXPECT_EQ(setPrintableWidthInPixel(record), 0);
  EXPECT_EQ(record->PrintableWidthInPixel, 0);
}

TEST_F(PageSetupTest, AnImageThatCannotBeOpenedLeavesTheWidthUnset) {
  for (const char* name : {"missing.tif", "page.bmp", "page"}) {
    SCOPED_TRACE(name);
    imageParameter* page = addPage();
    setImage(page, &imageParameter::ImageFileCMYK, 500);
    std::strcpy(page->ImageFileCO2, folder.path(name).c_str());
    folder.write("page.bmp", "BM");
    folder.write("page", "II");
    int result = 0;
    errorsOf([&] { result = setPrintableWidthInPixel(record); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(record->PrintableWidthInPixel, kNotSet);
    errorsOf([&] { result = processHXRasterConfiguration(record); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(mDeviceWidthInPixel, -1);
  }
}

TEST_F(PageSetupTest, AWidthOver2To31NeverWins) {
  imageParameter* page = addPage();
  setImage(page, &imageParameter::ImageFileK, 20);
  // One bit per pixel keeps the rows of the wide image small enough to be read.
  Samples empty;
  empty.bits = 1;
  empty.width = 0xFFFFFFF0;
  const std::string path = folder.write("wide.tif", tiffOf({empty}, {}));
  std::strcpy(page->ImageFileC, path.c_str());
  EXPECT_EQ(setPrintableWidthInPixel(record), 0);
  EXPECT_EQ(record->PrintableWidthInPixel, 20);
}

TEST_F(PageSetupTest, TableFilesAreNumberedInTheirOrderEmptyOnesIncluded) {
  record->PrintableWidthInPixel = 10;
  addTable(folder.write("a", "aa"));
  addTable("");
  addTable(folder.write("c", "ccc"));
  EXPECT_EQ(processHXRasterConfiguration(record), 0);
  EXPECT_STREQ(mImageProcessingDataPath[0].get(), folder.path("a").c_str());
  EXPECT_EQ(mImageProcessingDataPath[1], nullptr);
  EXPECT_STREQ(mImageProcessingDataPath[2].get(), folder.path("c").c_str());
  EXPECT_EQ(mImageProcessingDataPath[3], nullptr);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b2W", "aa", "~$b3W", "ccc"}));
}

TEST_F(PageSetupTest, ASeventhTableFileIsRefusedAndTheJobStartsWithSix) {
  record->PrintableWidthInPixel = 10;
  for (int i = 0; i < 7; ++i) addTable(folder.write(std::to_string(i), std::to_string(i)));
  int result = -1;
  EXPECT_THAT(errorsOf([&] { result = processHXRasterConfiguration(record); }),
              testing::StartsWith("ERROR! HXRaster_SetImageProcessingFile: too many files(6) "));
  EXPECT_EQ(result, 0);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b1W", "0", "~$b1W", "1", "~$b1W", "2", "~$b1W", "3",
                                 "~$b1W", "4", "~$b1W", "5"}));
}

TEST_F(PageSetupTest, AJobStartThatFailsGives1) {
  record->PrintableWidthInPixel = 10;
  addTable(folder.path("missing"));
  int result = 0;
  errorsOf([&] { result = processHXRasterConfiguration(record); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(stream.take(), sent({kResets}));
}

// The page ---------------------------------------------------------------------------------------

TEST_F(PageSetupTest, ColourSpaceAndPlanesReachTheRasterWriter) {
  imageParameter* page = addPage();
  page->ColorSpace = 0x13;
  page->NumOfPlanes = 6;
  page->CompressionMode = 0;
  EXPECT_EQ(processHXRasterImageConfiguration(page), 0);
  EXPECT_EQ(mColorSpace, 0x13);
  EXPECT_EQ(mNumOfPlanes, 6);
  EXPECT_EQ(stream.take(), "");
}

TEST_F(PageSetupTest, ACompressionOf256ReachesTheRasterWriterAs2) {
  struct Case {
    int configured;
    int told;
  };
  for (const Case& c : {Case{0, 0}, {2, 2}, {3, 3}, {4, 4}, {256, 2}, {257, 1}, {-1, 255}}) {
    imageParameter* page = addPage();
    page->CompressionMode = c.configured;
    processHXRasterImageConfiguration(page);
    EXPECT_EQ(mCompressionMode, c.told) << c.configured;
  }
}

struct InkDepth {
  ImageInteger setting;
  const uint8_t* told;
};
const InkDepth kInkDepths[] = {
    {&imageParameter::PixelDepthK, &mBlackDepth},
    {&imageParameter::PixelDepthC, &mCyanDepth},
    {&imageParameter::PixelDepthM, &mMagentaDepth},
    {&imageParameter::PixelDepthY, &mYellowDepth},
    {&imageParameter::PixelDepthc, &mLightCyanDepth},
    {&imageParameter::PixelDepthm, &mLightMagentaDepth},
    {&imageParameter::PixelDepthR, &mRedDepth},
    {&imageParameter::PixelDepthG, &mGreenDepth},
    {&imageParameter::PixelDepthB, &mBlueDepth},
    {&imageParameter::PixelDepthGy, &mGrayDepth},
    {&imageParameter::PixelDepthPgy, &mPhotoGrayDepth},
    {&imageParameter::PixelDepthPBK, &mPBKDepth},
    {&imageParameter::PixelDepthMBK, &mMBKDepth},
    {&imageParameter::PixelDepthCO, &mCODepth},
    {&imageParameter::PixelDepthCO2, &mCO2Depth},
};

TEST_F(PageSetupTest, OnlyDepthsThatAreSetReachTheRasterWriter) {
  for (size_t set = 0; set < kInkCount; ++set) {
    SCOPED_TRACE(kInks[set].depthKey);
    HXRaster_New();
    imageParameter* page = addPage();
    page->*kInkDepths[set].setting = 12;
    processHXRasterImageConfiguration(page);
    for (size_t ink = 0; ink < kInkCount; ++ink)
      EXPECT_EQ(*kInkDepths[ink].told, ink == set ? 12 : 255) << kInks[ink].depthKey;
  }
}

TEST_F(PageSetupTest, ADepthOf0IsSet) {
  imageParameter* page = addPage();
  page->PixelDepthK = 0;
  page->PixelDepthC = 0x108;
  processHXRasterImageConfiguration(page);
  EXPECT_EQ(mBlackDepth, 0);
  EXPECT_EQ(mCyanDepth, 8);
}

}  // namespace
