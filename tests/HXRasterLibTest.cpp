// Tests of the raster writer's commands and settings: the bytes that each call sends, the state
// that it leaves, and the layout of the raster configuration by colour space and inks.
#include "HXRasterLib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "HXRasterState.h"
#include "ODAXOutLib.h"
#include "PageJob.h"
#include "TempFolder.h"

namespace {

using testing::MatchesRegex;

class HXRasterLibTest : public testing::Test {
 protected:
  HXRasterLibTest() { HXRaster_New(); }
  ~HXRasterLibTest() override {
    HXRaster_Delete();
    HXRaster_New();
  }

  BareStream stream;
  TempFolder folder;
};

// What one call sends.
struct Call {
  const char* name;
  void (*call)();
  const char* want;
};

// Settings ---------------------------------------------------------------------------------------

struct DepthSetter {
  const char* name;
  void (*set)(int);
  uint8_t* value;
};
const DepthSetter kDepthSetters[] = {
    {"K", HXRaster_SetPixelDepthK, &mBlackDepth},
    {"C", HXRaster_SetPixelDepthC, &mCyanDepth},
    {"M", HXRaster_SetPixelDepthM, &mMagentaDepth},
    {"c", HXRaster_SetPixelDepthc, &mLightCyanDepth},
    {"m", HXRaster_SetPixelDepthm, &mLightMagentaDepth},
    {"Y", HXRaster_SetPixelDepthY, &mYellowDepth},
    {"R", HXRaster_SetPixelDepthR, &mRedDepth},
    {"G", HXRaster_SetPixelDepthG, &mGreenDepth},
    {"B", HXRaster_SetPixelDepthB, &mBlueDepth},
    {"Gy", HXRaster_SetPixelDepthGy, &mGrayDepth},
    {"Pgy", HXRaster_SetPixelDepthPgy, &mPhotoGrayDepth},
    {"PBK", HXRaster_SetPixelDepthPBK, &mPBKDepth},
    {"MBK", HXRaster_SetPixelDepthMBK, &mMBKDepth},
    {"CO", HXRaster_SetPixelDepthCO, &mCODepth},
    {"CO2", HXRaster_SetPixelDepthCO2, &mCO2Depth},
};

TEST_F(HXRasterLibTest, ANewWriterHasNoColourSpaceNoPlanesAndNoInks) {
  HXRaster_SetColorSpace(5);
  HXRaster_SetNumOfPlanes(4);
  HXRaster_SetCompressionMode(3);
  for (const DepthSetter& depth : kDepthSetters) depth.set(8);
  mNumOfPages = 7;
  mBlankLines = 7;
  sSeedRowUnkown = true;
  HXRaster_New();
  EXPECT_EQ(mColorSpace, 0);
  EXPECT_EQ(mNumOfPlanes, 0);
  EXPECT_EQ(mCompressionMode, 0);
  EXPECT_EQ(mNumOfPages, 0);
  EXPECT_EQ(mBlankLines, 0);
  EXPECT_FALSE(sSeedRowUnkown);
  for (const DepthSetter& depth : kDepthSetters) EXPECT_EQ(*depth.value, 255) << depth.name;
  for (const CText& path : mImageProcessingDataPath) EXPECT_EQ(path, nullptr);
}

TEST_F(HXRasterLibTest, ANewWriterKeepsResolutionWidthAndTheStateOfTheRow) {
  HXRaster_SetGraphicsResolution(300, 150);
  HXRaster_SetPrintableWidthInPixel(99);
  sRowBytesPre[0] = 17;
  for (const bool blank : {true, false}) {
    sThisIsBlankLine = blank;
    HXRaster_New();
    EXPECT_EQ(sThisIsBlankLine, blank);
  }
  EXPECT_EQ(mGraphicsResolutionH, 300U);
  EXPECT_EQ(mGraphicsResolutionV, 150U);
  EXPECT_EQ(mDeviceWidthInPixel, 99);
  EXPECT_EQ(sRowBytesPre[0], 17);
}

TEST_F(HXRasterLibTest, EveryDepthSetterStoresTheLowEightBitsOfItsOwnInk) {
  for (const DepthSetter& depth : kDepthSetters) {
    SCOPED_TRACE(depth.name);
    for (const int bits : {0, 1, 8, 127, 128, 255, 256, 0x1234, -1, -128}) {
      HXRaster_New();
      depth.set(bits);
      EXPECT_EQ(*depth.value, static_cast<uint8_t>(bits)) << bits;
      for (const DepthSetter& other : kDepthSetters) {
        if (other.value != depth.value) {
          EXPECT_EQ(*other.value, 255) << other.name;
        }
      }
    }
  }
}

TEST_F(HXRasterLibTest, ColourSpaceCompressionAndPlanesAreBytes) {
  HXRaster_SetColorSpace(0x112);
  HXRaster_SetCompressionMode(0x103);
  HXRaster_SetNumOfPlanes(0x10D);
  EXPECT_EQ(mColorSpace, 0x12);
  EXPECT_EQ(mCompressionMode, 3);
  EXPECT_EQ(mNumOfPlanes, 13);
}

TEST_F(HXRasterLibTest, ACompressionOf256IsStoredAs0) {
  HXRaster_SetCompressionMode(2);
  HXRaster_SetCompressionMode(256);
  HXRaster_SendStartRasterMode();
  EXPECT_EQ(stream.take(), sent({"~*r1A", "~*b0M"}));
}

TEST_F(HXRasterLibTest, ThePrintableWidthIsASignedNumber) {
  HXRaster_SetPrintableWidthInPixel(0xFFFFFFFF);
  EXPECT_EQ(mDeviceWidthInPixel, -1);
  HXRaster_SetPrintableWidthInPixel(5100);
  EXPECT_EQ(mDeviceWidthInPixel, 5100);
}

TEST_F(HXRasterLibTest, SettersSendNothing) {
  for (const DepthSetter& depth : kDepthSetters) depth.set(8);
  HXRaster_SetColorSpace(3);
  HXRaster_SetCompressionMode(2);
  HXRaster_SetNumOfPlanes(4);
  HXRaster_SetGraphicsResolution(600, 600);
  HXRaster_SetPrintableWidthInPixel(100);
  EXPECT_EQ(HXRaster_SetImageProcessingFile(0, folder.path("table").c_str()), 0);
  EXPECT_EQ(stream.take(), "");
}

// Plane list -------------------------------------------------------------------------------------

TEST_F(HXRasterLibTest, PlanesAreAppendedAtTheEndOfTheList) {
  EXPECT_EQ(getLastPlane(nullptr), nullptr);
  HXRasterPlane* head = addPlane(nullptr);
  ASSERT_NE(head, nullptr);
  EXPECT_EQ(head->pixels, nullptr);
  EXPECT_EQ(head->bitsPerPixel, -1);
  EXPECT_EQ(head->next, nullptr);
  EXPECT_EQ(getLastPlane(head), head);
  HXRasterPlane* second = addPlane(head);
  HXRasterPlane* third = addPlane(head);
  EXPECT_EQ(head->next, second);
  EXPECT_EQ(second->next, third);
  EXPECT_EQ(third->next, nullptr);
  EXPECT_EQ(third->bitsPerPixel, -1);
  EXPECT_EQ(getLastPlane(head), third);
  EXPECT_EQ(getLastPlane(second), third);
  deletePlane(head);
}

TEST_F(HXRasterLibTest, DeletingAListLeavesThePixelBuffersAlone) {
  ZKGWorld* world = nullptr;
  const ZKRect box = {0, 0, 2, 8};
  ASSERT_EQ(ZKNewGWorld(&world, 8, &box, 0), 0);
  HXRasterPlane* head = addPlane(nullptr);
  head->pixels = world;
  deletePlane(head);
  world->pixels[0] = 0x55;  // the sanitizer sees a buffer that is gone
  std::free(world);
}

TEST_F(HXRasterLibTest, DeletingAnEmptyListIsHarmless) {
  deletePlane(nullptr);
}

// Start of a job and table files -----------------------------------------------------------------

constexpr const char* kResets = "~%-12345X~%0A~E";

TEST_F(HXRasterLibTest, AJobWithoutTableFilesStartsWithThreeResets) {
  EXPECT_EQ(HXRaster_SendJobStart(), 0);
  EXPECT_EQ(stream.takeBytes(),
            (Bytes{0x1B, '%', '-', '1', '2', '3', '4', '5', 'X', 0x1B, '%', '0', 'A', 0x1B, 'E'}));
}

TEST_F(HXRasterLibTest, TableFilesAreSentBySlotWithTheirSizes) {
  const Bytes first = {0x00, 0x1B, 0x0A, 0xFF};
  EXPECT_EQ(HXRaster_SetImageProcessingFile(4, folder.write("four", "four").c_str()), 0);
  EXPECT_EQ(HXRaster_SetImageProcessingFile(1, folder.write("one", first).c_str()), 0);
  EXPECT_EQ(HXRaster_SendJobStart(), 0);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b4W", first, "~$b4W", "four"}));
}

TEST_F(HXRasterLibTest, AllSixSlotsCanBeUsed) {
  for (int slot = 5; slot >= 0; --slot) {
    const std::string name(1, static_cast<char>('a' + slot));
    EXPECT_EQ(HXRaster_SetImageProcessingFile(slot, folder.write(name, name).c_str()), 0);
  }
  EXPECT_EQ(HXRaster_SendJobStart(), 0);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b1W", "a", "~$b1W", "b", "~$b1W", "c", "~$b1W", "d",
                                 "~$b1W", "e", "~$b1W", "f"}));
}

TEST_F(HXRasterLibTest, ASlotThatIsSetAgainHoldsTheNewFile) {
  EXPECT_EQ(HXRaster_SetImageProcessingFile(2, folder.write("old", "old").c_str()), 0);
  EXPECT_EQ(HXRaster_SetImageProcessingFile(2, folder.write("newer", "newer").c_str()), 0);
  EXPECT_EQ(HXRaster_SendJobStart(), 0);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b5W", "newer"}));
}

TEST_F(HXRasterLibTest, TheNameOfATableFileIsCopied) {
  std::string path = folder.write("table", "abc");
  EXPECT_EQ(HXRaster_SetImageProcessingFile(0, path.c_str()), 0);
  path.assign(path.size(), '#');
  EXPECT_EQ(HXRaster_SendJobStart(), 0);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b3W", "abc"}));
}

TEST_F(HXRasterLibTest, AnEmptyTableFileSendsItsHeaderWith0) {
  EXPECT_EQ(HXRaster_SendTableFile(folder.write("empty", "").c_str()), 0);
  EXPECT_EQ(stream.take(), sent({"~$b0W"}));
}

TEST_F(HXRasterLibTest, ATableFileLongerThanThePacketWritersBufferIsSentWhole) {
  Bytes table(70001);
  for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i * 7 + i / 256);
  EXPECT_EQ(HXRaster_SendTableFile(folder.write("large", table).c_str()), 0);
  EXPECT_EQ(stream.takeBytes(), joined({"~$b70001W", table}));
}

TEST_F(HXRasterLibTest, SlotsOutside0To5AreRefused) {
  const std::string path = folder.write("table", "abc");
  for (const int slot : {-1, 6, 7, 0x7FFFFFFF}) {
    int result = 0;
    EXPECT_THAT(errorsOf([&] { result = HXRaster_SetImageProcessingFile(slot, path.c_str()); }),
                MatchesRegex("ERROR! HXRaster_SetImageProcessingFile: too many files\\(" +
                             std::to_string(slot) + "\\) HXRasterLib\\.cpp\\([0-9]+\\)\n"));
    EXPECT_EQ(result, -1);
  }
  EXPECT_EQ(HXRaster_SendJobStart(), 0);
  EXPECT_EQ(stream.take(), sent({kResets}));
}

TEST_F(HXRasterLibTest, ATableFileThatCannotBeOpenedIsReportedInTheImageReadersWords) {
  const std::string path = folder.path("missing");
  int result = 0;
  EXPECT_THAT(errorsOf([&] { result = HXRaster_SendTableFile(path.c_str()); }),
              MatchesRegex("ERROR! ZKBMP_New can't open '" + path +
                           "'\\. \\(errno=2\\)\n\\(2\\) HXRasterLib\\.cpp"
                           "\\([0-9]+\\)\n"));
  EXPECT_EQ(result, -1);
  EXPECT_EQ(stream.take(), "");
}

TEST_F(HXRasterLibTest, TheMessageHoldsALongPathWhole) {
  const std::string path = folder.path(std::string(250 - folder.path().size() - 1, 'x'));
  int result = 0;
  EXPECT_THAT(errorsOf([&] { result = HXRaster_SendTableFile(path.c_str()); }),
              testing::HasSubstr("'" + path + "'. (errno=2)\n"));
  EXPECT_EQ(result, -1);
}

TEST_F(HXRasterLibTest, AJobStartEndsAtTheFirstTableFileThatFails) {
  EXPECT_EQ(HXRaster_SetImageProcessingFile(0, folder.write("zero", "0").c_str()), 0);
  EXPECT_EQ(HXRaster_SetImageProcessingFile(1, folder.path("missing").c_str()), 0);
  EXPECT_EQ(HXRaster_SetImageProcessingFile(2, folder.write("two", "2").c_str()), 0);
  int result = 0;
  errorsOf([&] { result = HXRaster_SendJobStart(); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(stream.take(), sent({kResets, "~$b1W", "0"}));
}

TEST_F(HXRasterLibTest, AFolderAsTableFileSendsNoData) {
  errorsOf([this] { HXRaster_SendTableFile(folder.path().c_str()); });
  const std::string got = stream.take();
  EXPECT_TRUE(got.empty() || got == sent({"~$b0W"})) << got;
}

// Commands ---------------------------------------------------------------------------------------

TEST_F(HXRasterLibTest, EveryCommandSendsItsBytes) {
  const Call kCalls[] = {
      {"end of raster mode", [] { HXRaster_SendEndRasterMode(); }, "~*rC"},
      {"end of page", [] { HXRaster_SendEndOfPage(); }, "~$E"},
      {"form feed is end of page", [] { HXRaster_SendFormFeed(); }, "~$E"},
      {"end of job", [] { HXRaster_SendJobEnd(); }, "~%-12345X"},
      {"move to x", [] { HXRaster_SendMoveCAPX(120); }, "~*p120X"},
      {"move to x 0", [] { HXRaster_SendMoveCAPX(0); }, "~*p0X"},
      {"move to an x over 2^31", [] { HXRaster_SendMoveCAPX(0xFFFFFFFE); }, "~*p-2X"},
      {"move to y", [] { HXRaster_SendMoveCAPY(34567); }, "~*p34567Y"},
      {"move to y 0", [] { HXRaster_SendMoveCAPY(0); }, "~*p0Y"},
      {"move right", [] { HXRaster_SendMoveCAPXRelative(5); }, "~*p+5X"},
      {"move by 0 is absolute", [] { HXRaster_SendMoveCAPXRelative(0); }, "~*p0X"},
      {"move left is absolute", [] { HXRaster_SendMoveCAPXRelative(-5); }, "~*p-5X"},
      {"move as far left as can be", [] { HXRaster_SendMoveCAPXRelative(-2147483647 - 1); },
       "~*p-2147483648X"},
      {"move down", [] { HXRaster_SendMoveCAPYRelative(7); }, "~*p+7Y"},
      {"move down by 0 is absolute", [] { HXRaster_SendMoveCAPYRelative(0); }, "~*p0Y"},
      {"move up is absolute", [] { HXRaster_SendMoveCAPYRelative(-7); }, "~*p-7Y"},
      {"y offset", [] { HXRaster_SendYOffset(12); }, "~*b12Y"},
      {"y offset of 0", [] { HXRaster_SendYOffset(0); }, "~*b0Y"},
      {"a negative y offset is not sent", [] { HXRaster_SendYOffset(-1); }, ""},
      {"relative y offset", [] { HXRaster_SendYOffsetRelative(12); }, "~*b+12Y"},
      {"relative y offset of 0 is absolute", [] { HXRaster_SendYOffsetRelative(0); }, "~*b0Y"},
      {"a negative relative y offset is not sent", [] { HXRaster_SendYOffsetRelative(-1); }, ""},
  };
  for (const Call& call : kCalls) {
    SCOPED_TRACE(call.name);
    call.call();
    EXPECT_EQ(stream.take(), sent({call.want}));
  }
}

TEST_F(HXRasterLibTest, RasterModeStartsWithTheCompressionInForce) {
  for (const int mode : {0, 2, 3, 4, 255}) {
    HXRaster_SetCompressionMode(mode);
    HXRaster_SendStartRasterMode();
    EXPECT_EQ(stream.take(), sent({"~*r1A", "~*b" + std::to_string(mode) + "M"}));
  }
}

TEST_F(HXRasterLibTest, TheEndOfTheJobFlushesThePacketWriter) {
  HXRaster_SendEndOfPage();
  HXRaster_SendJobEnd();
  ODAX_Close();
  ASSERT_EQ(ODAX_Open(), 0);
  EXPECT_EQ(stream.take(), "");  // nothing was waiting in the buffer
}

TEST_F(HXRasterLibTest, TheCompressionIsSentOnlyWhenItChanges) {
  hxraster_ChangeCompressionMode(2);
  EXPECT_EQ(stream.take(), sent({"~*b2M"}));
  hxraster_ChangeCompressionMode(2);
  EXPECT_EQ(stream.take(), "");
  hxraster_ChangeCompressionMode(0);
  hxraster_ChangeCompressionMode(3);
  EXPECT_EQ(stream.take(), sent({"~*b0M", "~*b3M"}));
  EXPECT_EQ(mCompressionMode, 3);
}

// Top of a page ----------------------------------------------------------------------------------

TEST_F(HXRasterLibTest, EqualResolutionsAreSentAsOne) {
  HXRaster_SetGraphicsResolution(600, 600);
  HXRaster_SendTopOfPage(1);
  EXPECT_EQ(stream.takeBytes(), (Bytes{0x1B, 0x2A, 0x74, 0x36, 0x30, 0x30, 0x52}));
}

TEST_F(HXRasterLibTest, DifferentResolutionsAreSentAsTwo) {
  HXRaster_SetGraphicsResolution(600, 1200);
  HXRaster_SendTopOfPage(1);
  EXPECT_EQ(stream.take(), sent({"~$r600X", "~$r1200Y"}));
}

TEST_F(HXRasterLibTest, ResolutionsOver2To31AreNegativeNumbers) {
  HXRaster_SetGraphicsResolution(0xFFFFFFFF, 0xFFFFFFFF);
  HXRaster_SendTopOfPage(1);
  EXPECT_EQ(stream.take(), sent({"~*t-1R"}));
  HXRaster_SetGraphicsResolution(0xFFFFFFFF, 0x80000000);
  HXRaster_SendTopOfPage(1);
  EXPECT_EQ(stream.take(), sent({"~$r-1X", "~$r-2147483648Y"}));
}

TEST_F(HXRasterLibTest, APageLikeTheFirstIsCountedAndForgetsItsBlankRows) {
  HXRaster_SetGraphicsResolution(600, 600);
  mBlankLines = 12;
  HXRaster_SendTopOfPage(1);
  EXPECT_EQ(stream.take(), sent({"~*t600R"}));
  EXPECT_EQ(mBlankLines, 0);
  EXPECT_EQ(mNumOfPages, 1);
  HXRaster_SendTopOfPage(-1);
  EXPECT_EQ(mNumOfPages, 2);
}

TEST_F(HXRasterLibTest, EveryFlagBut1SendsTheConfigurationBlock) {
  HXRaster_SetGraphicsResolution(600, 600);
  HXRaster_SetColorSpace(18);
  for (const int flag : {-1, 0, 2, 257}) {
    HXRaster_SendTopOfPage(flag);
    EXPECT_EQ(stream.take(), sent({"~$v8W", Bytes{18, 0, 2, 0, 3, 0, 4, 0}, "~*t600R"})) << flag;
  }
}

// The layout of the configuration block ----------------------------------------------------------

using Depths = std::map<std::string, int>;

struct Layout {
  const char* name;
  int colorSpace;
  int planes;
  Depths depths;  // by ink; the others stay unused
  const char* size;
  Bytes want;
};

const Depths kFiveInks = {{"PBK", 2}, {"MBK", 3}, {"C", 4}, {"M", 5}, {"Y", 6}};

Depths with(Depths depths, const Depths& more) {
  for (const auto& [ink, depth] : more) depths[ink] = depth;
  return depths;
}

const Depths kEightInks = with(kFiveInks, {{"c", 7}, {"m", 8}, {"Gy", 9}});
const Depths kTwelveInks = with(kEightInks, {{"Pgy", 10}, {"R", 11}, {"B", 12}, {"CO", 13}});
const Depths kThirteenInks = with(kTwelveInks, {{"CO2", 14}});

Bytes operator+(Bytes bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  return bytes;
}

// Behind colour space and planes.
const Bytes kFive = {9, 2, 10, 3, 6, 4, 7, 5, 8, 6};
const Bytes kEight = kFive + Bytes{11, 7, 12, 8, 13, 9};
const Bytes kTwelve = kEight + Bytes{14, 10, 2, 11, 4, 12, 16, 13};
const Bytes kThirteen = kTwelve + Bytes{128, 14};

const Layout kLayouts[] = {
    // Rule 1: black in RGB space.
    {"RGB space with only black", 2, 1, {{"K", 1}}, "4", {2, 1, 5, 1}},
    {"RGB space with black of 127 bits", 2, 1, {{"K", 127}}, "4", {2, 1, 5, 127}},
    {"RGB space with black and other inks", 2, 4, {{"K", 8}, {"C", 8}}, "4", {2, 4, 5, 8}},
    {"RGB space, R of 128 bits is absent", 2, 1, {{"K", 8}, {"R", 128}}, "4", {2, 1, 5, 8}},
    {"RGB space, R of 0 bits is not absent",
     2,
     1,
     {{"K", 8}, {"R", 0}},
     "8",
     {2, 1, 2, 0, 3, 0, 4, 0}},
    {"RGB space, G of 0 bits is not absent",
     2,
     1,
     {{"K", 8}, {"G", 0}},
     "8",
     {2, 1, 2, 0, 3, 0, 4, 0}},
    {"RGB space, B is there", 2, 2, {{"K", 8}, {"B", 4}}, "8", {2, 2, 2, 0, 3, 0, 4, 4}},
    {"RGB space, black of 0 bits is not present", 2, 1, {{"K", 0}}, "8", {2, 1, 2, 0, 3, 0, 4, 0}},
    {"RGB space, black of 128 bits is not present",
     2,
     1,
     {{"K", 128}},
     "8",
     {2, 1, 2, 0, 3, 0, 4, 0}},
    // Rule 2: RGB.
    {"RGB rows", 2, 3, {{"R", 8}, {"G", 8}, {"B", 8}}, "8", {2, 3, 2, 8, 3, 8, 4, 8}},
    {"RGB pixels", 0x12, 1, {{"R", 8}, {"G", 10}, {"B", 12}}, "8", {18, 1, 2, 8, 3, 10, 4, 12}},
    {"RGB pixels with only black", 0x12, 1, {{"K", 1}}, "8", {18, 1, 2, 0, 3, 0, 4, 0}},
    {"RGB rows, depths over 127 count as 0",
     2,
     3,
     {{"R", 127}, {"G", 128}, {"B", 200}},
     "8",
     {2, 3, 2, 127, 3, 0, 4, 0}},
    // Rule 3: only black, bi-level.
    {"bi-level with only black", 5, 1, {{"K", 1}}, "10", {5, 1, 0, 0, 0, 0, 1, 0, 0, 0}},
    {"bi-level with black, coatings and the other blacks",
     5,
     5,
     {{"K", 2}, {"PBK", 1}, {"MBK", 1}, {"CO", 1}, {"CO2", 1}},
     "10",
     {5, 5, 0, 0, 0, 0, 2, 0, 0, 0}},
    {"index with only black", 4, 1, {{"K", 1}}, "10", {4, 1, 5, 1, 6, 0, 7, 0, 8, 0}},
    // Rules 4 to 7: many inks.
    {"five inks, index", 4, 5, kFiveInks, "12", Bytes{4, 5} + kFive},
    {"five inks, bi-level", 5, 5, kFiveInks, "12", Bytes{5, 5} + kFive},
    {"five inks, K and G do not matter", 4, 7, with(kFiveInks, {{"K", 1}, {"G", 1}}), "12",
     Bytes{4, 7} + kFive},
    {"five inks, K and G of 0 bits do not matter", 5, 5, with(kFiveInks, {{"K", 0}, {"G", 0}}),
     "12", Bytes{5, 5} + kFive},
    {"eight inks, index", 4, 8, kEightInks, "18", Bytes{4, 8} + kEight},
    {"eight inks, bi-level", 5, 8, kEightInks, "18", Bytes{5, 8} + kEight},
    {"eight inks, K and G do not matter", 5, 8, with(kEightInks, {{"K", 0}, {"G", 1}}), "18",
     Bytes{5, 8} + kEight},
    {"twelve inks, index", 4, 12, kTwelveInks, "26", Bytes{4, 12} + kTwelve},
    {"twelve inks, bi-level", 5, 12, kTwelveInks, "26", Bytes{5, 12} + kTwelve},
    {"twelve inks, K and G do not matter", 4, 12, with(kTwelveInks, {{"K", 1}, {"G", 0}}), "26",
     Bytes{4, 12} + kTwelve},
    {"thirteen inks, index", 4, 13, kThirteenInks, "28", Bytes{4, 13} + kThirteen},
    {"thirteen inks, bi-level", 5, 13, kThirteenInks, "28", Bytes{5, 13} + kThirteen},
    // Rule 8: everything else.
    {"KCMY rows",
     3,
     4,
     {{"K", 1}, {"C", 2}, {"M", 4}, {"Y", 8}},
     "10",
     {3, 4, 5, 1, 6, 2, 7, 4, 8, 8}},
    {"KCMY rows with light inks",
     3,
     6,
     {{"K", 1}, {"C", 1}, {"M", 1}, {"Y", 1}, {"c", 1}, {"m", 1}},
     "10",
     {3, 6, 5, 1, 6, 1, 7, 1, 8, 1}},
    {"bi-level KCMY",
     5,
     4,
     {{"K", 1}, {"C", 1}, {"M", 1}, {"Y", 1}},
     "10",
     {5, 4, 5, 1, 6, 1, 7, 1, 8, 1}},
    {"KCMY pixels", 0x13, 1, {{"K", 8}}, "10", {0x13, 1, 5, 8, 6, 0, 7, 0, 8, 0}},
    {"KCMY pixels, index", 0x14, 1, {{"K", 8}}, "10", {0x14, 1, 5, 8, 6, 0, 7, 0, 8, 0}},
    {"KCMY pixels, bi-level", 0x15, 1, {{"K", 8}}, "10", {0x15, 1, 5, 8, 6, 0, 7, 0, 8, 0}},
    {"no colour space", 0, 0, {}, "10", {0, 0, 5, 0, 6, 0, 7, 0, 8, 0}},
    {"five inks in KCMY space", 3, 5, kFiveInks, "10", {3, 5, 5, 0, 6, 4, 7, 5, 8, 6}},
    {"values over 127 are written as 0",
     3,
     4,
     {{"K", 128}, {"C", 255}, {"M", 127}, {"Y", 0}},
     "10",
     {3, 4, 5, 0, 6, 0, 7, 127, 8, 0}},
};

void apply(const Depths& depths) {
  for (const DepthSetter& setter : kDepthSetters) {
    const auto depth = depths.find(setter.name);
    if (depth != depths.end()) setter.set(depth->second);
  }
}

TEST_F(HXRasterLibTest, TheConfigurationBlockFollowsColourSpaceAndInks) {
  HXRaster_SetGraphicsResolution(600, 600);
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.name);
    HXRaster_New();
    HXRaster_SetColorSpace(layout.colorSpace);
    HXRaster_SetNumOfPlanes(layout.planes);
    apply(layout.depths);
    HXRaster_SendTopOfPage(0);
    EXPECT_EQ(stream.take(),
              sent({"~$v" + std::string(layout.size) + "W", layout.want, "~*t600R"}));
  }
}

TEST_F(HXRasterLibTest, TheShortBlockIsTheseNineBytes) {
  HXRaster_SetColorSpace(2);
  HXRaster_SetNumOfPlanes(1);
  HXRaster_SetPixelDepthK(1);
  HXRaster_SetGraphicsResolution(1, 1);
  HXRaster_SendTopOfPage(0);
  Bytes got = stream.takeBytes();
  got.resize(9);
  EXPECT_EQ(got, (Bytes{0x1B, 0x24, 0x76, 0x34, 0x57, 0x02, 0x01, 0x05, 0x01}));
}

// A rule of many inks falls through to the general layout as soon as one ink that it wants is
// missing or 0, or one that must be absent is there or 0.
struct InkRule {
  const char* name;
  Depths inks;
  std::vector<std::string> absent;
};
const InkRule kInkRules[] = {
    {"five inks", kFiveInks, {"c", "m", "Gy", "Pgy", "R", "B", "CO", "CO2"}},
    {"eight inks", kEightInks, {"Pgy", "R", "B", "CO", "CO2"}},
    {"twelve inks", kTwelveInks, {"CO2"}},
    {"thirteen inks", kThirteenInks, {}},
};

Bytes generalLayout(const Depths& depths) {
  const auto value = [&depths](const char* ink) {
    const auto found = depths.find(ink);
    const int depth = found == depths.end() ? 255 : found->second;
    return static_cast<uint8_t>(depth <= 127 ? depth : 0);
  };
  return {5, 1, 5, value("K"), 6, value("C"), 7, value("M"), 8, value("Y")};
}

TEST_F(HXRasterLibTest, ALayoutOfManyInksNeedsEachOfThemAndNoOther) {
  HXRaster_SetGraphicsResolution(600, 600);
  const auto block = [this](const Depths& depths) {
    HXRaster_New();
    HXRaster_SetColorSpace(5);
    HXRaster_SetNumOfPlanes(1);
    apply(depths);
    HXRaster_SendTopOfPage(0);
    return stream.take();
  };
  const auto general = [](const Depths& depths) {
    return sent({"~$v10W", generalLayout(depths), "~*t600R"});
  };
  for (const InkRule& rule : kInkRules) {
    for (const auto& [ink, depth] : rule.inks) {
      SCOPED_TRACE(std::string(rule.name) + ", " + ink + " of 0 bits");
      const Depths none = with(rule.inks, {{ink, 0}});
      EXPECT_EQ(block(none), general(none));
    }
    for (const std::string& ink : rule.absent) {
      SCOPED_TRACE(std::string(rule.name) + ", additional ink of 0 bits: " + ink);
      const Depths zero = with(rule.inks, {{ink, 0}});
      EXPECT_EQ(block(zero), general(zero));
    }
  }
  // Absent inks of one size make the next smaller layout, or the general one.
  for (const std::string ink : {"PBK", "MBK", "C", "M", "Y"}) {
    SCOPED_TRACE("five inks without " + ink);
    const Depths without = with(kFiveInks, {{ink, 255}});
    EXPECT_EQ(block(without), general(without));
  }
  for (const std::string ink : {"c", "m", "Gy"}) {
    SCOPED_TRACE("eight inks without " + ink);
    const Depths without = with(kEightInks, {{ink, 255}});
    EXPECT_EQ(block(without), general(without));
  }
  for (const std::string ink : {"Pgy", "R", "B", "CO"}) {
    SCOPED_TRACE("twelve inks without " + ink);
    const Depths without = with(kTwelveInks, {{ink, 255}});
    EXPECT_EQ(block(without), general(without));
  }
}

TEST_F(HXRasterLibTest, OnlyBlackBiLevelNeedsEveryColourToBeAbsent) {
  HXRaster_SetGraphicsResolution(600, 600);
  for (const char* ink : {"R", "G", "B", "C", "M", "Y", "c", "m", "Gy", "Pgy"}) {
    for (const int depth : {0, 1}) {
      SCOPED_TRACE(std::string(ink) + " of " + std::to_string(depth) + " bits");
      const Depths depths = {{"K", 1}, {ink, depth}};
      HXRaster_New();
      HXRaster_SetColorSpace(5);
      HXRaster_SetNumOfPlanes(1);
      apply(depths);
      HXRaster_SendTopOfPage(0);
      EXPECT_EQ(stream.take(), sent({"~$v10W", generalLayout(depths), "~*t600R"}));
    }
  }
}

}  // namespace
