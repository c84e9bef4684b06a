// Tests of the section checks: required items, image files against depths, depths against planes,
// planes against colour space, the raster mode of every combination, and what a page inherits.
#include "CFGCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CFGFile.h"
#include "Capture.h"
#include "JobFolder.h"
#include "ReductionTables.h"
#include "Thrown.h"

namespace {

using namespace std::string_literals;

// A list of items on consecutive lines, the first on line 1. Each is "Key" with its integer.
class Items {
 public:
  struct Entry {
    const char* key;
    int32_t integer;
  };
  Items(std::initializer_list<Entry> entries) {
    CFGFileItem* last = nullptr;
    int number = 0;
    for (const Entry& entry : entries) {
      last = addCFGFile(last);
      if (head_ == nullptr) head_ = last;
      last->lineNumber = ++number;
      last->line = copyOf("line of "s + entry.key);
      last->key = copyOf(entry.key);
      last->value = copyOf("0");
      last->integer = entry.integer;
    }
  }
  ~Items() { deleteCFGFile(head_); }
  Items(const Items&) = delete;
  Items& operator=(const Items&) = delete;
  [[nodiscard]] const CFGFileItem* get() const { return head_; }

 private:
  static CText copyOf(const std::string& text) {
    CText copy = newZeroedText(kLineBytes);
    text.copy(copy.get(), kLineBytes - 1);
    return copy;
  }
  CFGFileItem* head_ = nullptr;
};

std::unique_ptr<imageParameter> newPage() {
  auto page = std::make_unique<imageParameter>();
  initImageParameter(page.get());
  return page;
}

struct Checked {
  int code = 0;
  std::string err;
};

template <class Call>
Checked checked(Call&& call) {
  Checked result;
  Capture capture;
  result.code = thrownBy(call);
  result.err = capture.err();
  EXPECT_EQ(capture.out(), "");
  return result;
}

std::string required(std::string_view name) {
  return "REQUIRED ITEM NOT FOUND!: The item \"" + std::string(name) + "\" must be set.\n";
}

// Required items ----------------------------------------------------------------------------------

TEST(RequiredItem, TheFirstOfItsNameInTheSectionDecides) {
  struct Case {
    const char* name;
    const char* key;
    int sectionLine;
    int code;
    std::string err;
  };
  const Items items = {{"A", 1}, {"B", -1}, {"A", -1}, {"B", 2}, {"A", 3}, {"C", 0}};
  const Case kCases[] = {
      {"set", "A", 1, 0, ""},
      {"refused value", "B", 1, -35, "INVALID VALUE OF ITEM!: line 2.\nline of B\n"},
      {"the item on the section's line counts", "A", 3, -35,
       "INVALID VALUE OF ITEM!: line 3.\nline of A\n"},
      {"items in front of the section do not count", "B", 3, 0, ""},
      {"a later item does not help", "A", 2, -35, "INVALID VALUE OF ITEM!: line 3.\nline of A\n"},
      {"0 is set", "C", 1, 0, ""},
      {"none", "D", 1, -36, required("D")},
      {"none in the section", "B", 5, -36, required("B")},
      {"another letter case", "a", 1, -36, required("a")},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Checked r =
        checked([&] { checkParameterInteger(c.key, -1, items.get(), c.sectionLine); });
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
  }
}

TEST(RequiredItem, IsMissingInAnEmptyList) {
  EXPECT_EQ(checked([] { checkParameterInteger("A", -1, nullptr, 1); }).code, -36);
}

TEST(SectionChecks, HXRasterNeedsBothResolutions) {
  const Items both = {{"GraphicsResolutionV", 1}, {"GraphicsResolutionH", 1}};
  EXPECT_EQ(checked([&] { checkHXRasterSectionParameter(both.get(), 1); }).code, 0);
  const Items noH = {{"GraphicsResolutionV", 1}};
  const Checked h = checked([&] { checkHXRasterSectionParameter(noH.get(), 1); });
  EXPECT_EQ(h.code, -36);
  EXPECT_EQ(h.err, required("GraphicsResolutionH"));
  const Items noV = {{"GraphicsResolutionH", 1}};
  const Checked v = checked([&] { checkHXRasterSectionParameter(noV.get(), 1); });
  EXPECT_EQ(v.code, -36);
  EXPECT_EQ(v.err, required("GraphicsResolutionV"));
}

TEST(SectionChecks, GlobalFillsAnEmptyOutputPathWithTheDefault) {
  const auto record = std::make_unique<parameter>();
  initCommonParameter(record.get());
  setDefaultFileName("/d/job.dat");
  checkGlobalSectionParameter(record.get());
  EXPECT_STREQ(record->OutFilePath, "/d/job.dat");
  setDefaultFileName("/d/other.dat");
  checkGlobalSectionParameter(record.get());
  EXPECT_STREQ(record->OutFilePath, "/d/job.dat");
  checkODAXSectionParameter();
}

// Image files against depths ----------------------------------------------------------------------

struct FileRow {
  const char* file;
  ImagePath field;
  ImageInteger depth;
  const char* depthKey;  // the item that sets it
  const char* required;  // the name in the message
};
const FileRow kFiles[] = {
    {"ImageFileK", &imageParameter::ImageFileK, &imageParameter::PixelDepthK, "PixelDepthK",
     "PixelDepthK"},
    {"ImageFileC", &imageParameter::ImageFileC, &imageParameter::PixelDepthC, "PixelDepthC",
     "PixelDepthC"},
    {"ImageFileM", &imageParameter::ImageFileM, &imageParameter::PixelDepthM, "PixelDepthM",
     "PixelDepthM"},
    {"ImageFileY", &imageParameter::ImageFileY, &imageParameter::PixelDepthY, "PixelDepthY",
     "PixelDepthY"},
    {"ImageFilec", &imageParameter::ImageFilec, &imageParameter::PixelDepthc, "PixelDepthc",
     "PixelDepthc"},
    {"ImageFilem", &imageParameter::ImageFilem, &imageParameter::PixelDepthm, "PixelDepthm",
     "PixelDepthm,"},
    {"ImageFileGy", &imageParameter::ImageFileGy, &imageParameter::PixelDepthGy, "PixelDepthGy",
     "PixelDepthGy"},
    {"ImageFilePgy", &imageParameter::ImageFilePgy, &imageParameter::PixelDepthPgy, "PixelDepthPgy",
     "PixelDepthPgy"},
    {"ImageFileR", &imageParameter::ImageFileR, &imageParameter::PixelDepthR, "PixelDepthR",
     "PixelDepthR"},
    {"ImageFileG", &imageParameter::ImageFileG, &imageParameter::PixelDepthG, "PixelDepthG",
     "PixelDepthG"},
    {"ImageFileB", &imageParameter::ImageFileB, &imageParameter::PixelDepthB, "PixelDepthB",
     "PixelDepthB"},
    {"ImageFilePBK", &imageParameter::ImageFilePBK, &imageParameter::PixelDepthPBK, "PixelDepthPBK",
     "PixelDepthPBK"},
    {"ImageFileMBK", &imageParameter::ImageFileMBK, &imageParameter::PixelDepthMBK, "PixelDepthMBK",
     "PixelDepthMBK"},
    {"ImageFileCO", &imageParameter::ImageFileCO, &imageParameter::PixelDepthCO, "PixelDepthCO",
     "PixelDepthCO"},
    {"ImageFileCO2", &imageParameter::ImageFileCO2, &imageParameter::PixelDepthCO2, "PixelDepthCO2",
     "PixelDepthCO2,"},
};

// The two names that end with a comma match no item: those files always need a depth of 1 or more.
bool neverFound(const FileRow& row) {
  return std::string_view(row.required).back() == ',';
}

TEST(ImageFileCheck, AFileNeedsItsDepth) {
  for (const FileRow& row : kFiles) {
    SCOPED_TRACE(row.file);
    const auto page = newPage();
    const Items none = {{"ColorSpace", 5}};
    EXPECT_EQ(checked([&] { checkImageFile(page.get(), none.get(), 1); }).code, 0);

    (page.get()->*row.field)[0] = 'x';
    const Checked missing = checked([&] { checkImageFile(page.get(), none.get(), 1); });
    EXPECT_EQ(missing.code, -36);
    EXPECT_EQ(missing.err, required(row.required));

    page.get()->*row.depth = 1;
    EXPECT_EQ(checked([&] { checkImageFile(page.get(), none.get(), 1); }).code, 0);
  }
}

TEST(ImageFileCheck, ADepthOf0PassesButForTheTwoNamesWithAComma) {
  for (const FileRow& row : kFiles) {
    SCOPED_TRACE(row.file);
    const auto page = newPage();
    (page.get()->*row.field)[0] = 'x';
    page.get()->*row.depth = 0;
    const Items zero = {{row.depthKey, 0}};
    const Checked r = checked([&] { checkImageFile(page.get(), zero.get(), 1); });
    EXPECT_EQ(r.code, neverFound(row) ? -36 : 0);
    EXPECT_EQ(r.err, neverFound(row) ? required(row.required) : "");
  }
}

TEST(ImageFileCheck, ADepthOfAllOnesIsRefused) {
  for (const FileRow& row : kFiles) {
    SCOPED_TRACE(row.file);
    const auto page = newPage();
    (page.get()->*row.field)[0] = 'x';
    const Items ones = {{row.depthKey, -1}};
    const Checked r = checked([&] { checkImageFile(page.get(), ones.get(), 1); });
    EXPECT_EQ(r.code, neverFound(row) ? -36 : -35);
    EXPECT_EQ(r.err, neverFound(row)
                         ? required(row.required)
                         : "INVALID VALUE OF ITEM!: line 1.\nline of "s + row.depthKey + "\n");
  }
}

TEST(ImageFileCheck, CompositeFilesNeedAllTheirDepths) {
  struct Case {
    const char* name;
    ImagePath file;
    std::vector<ImageInteger> depths;
    std::vector<const char*> keys;
  };
  const Case kCases[] = {
      {"ImageFileRGB",
       &imageParameter::ImageFileRGB,
       {&imageParameter::PixelDepthR, &imageParameter::PixelDepthG, &imageParameter::PixelDepthB},
       {"PixelDepthR", "PixelDepthG", "PixelDepthB"}},
      {"ImageFileCMYK",
       &imageParameter::ImageFileCMYK,
       {&imageParameter::PixelDepthK, &imageParameter::PixelDepthC, &imageParameter::PixelDepthM,
        &imageParameter::PixelDepthY},
       {"PixelDepthK", "PixelDepthC", "PixelDepthM", "PixelDepthY"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto page = newPage();
    (page.get()->*c.file)[0] = 'x';
    const Items all = {{"PixelDepthR", 0}, {"PixelDepthG", 0}, {"PixelDepthB", 0},
                       {"PixelDepthK", 0}, {"PixelDepthC", 0}, {"PixelDepthM", 0},
                       {"PixelDepthY", 0}};
    EXPECT_EQ(checked([&] { checkImageFile(page.get(), all.get(), 1); }).code, 0);
    const Items none = {{"ColorSpace", 5}};
    EXPECT_EQ(checked([&] { checkImageFile(page.get(), none.get(), 1); }).err, required(c.keys[0]));

    for (const ImageInteger depth : c.depths) page.get()->*depth = 8;
    EXPECT_EQ(checked([&] { checkImageFile(page.get(), none.get(), 1); }).code, 0);
    // One depth below 1 is enough to ask for all items, in their order.
    for (size_t i = 0; i < c.depths.size(); ++i) {
      SCOPED_TRACE(c.keys[i]);
      page.get()->*c.depths[i] = 0;
      EXPECT_EQ(checked([&] { checkImageFile(page.get(), none.get(), 1); }).err,
                required(c.keys[0]));
      page.get()->*c.depths[i] = 8;
    }
    page.get()->*c.depths[0] = 0;
    const Items first = {{c.keys[0], 0}};
    EXPECT_EQ(checked([&] { checkImageFile(page.get(), first.get(), 1); }).err,
              required(c.keys[1]));
  }
}

// Depths against planes ---------------------------------------------------------------------------

TEST(PlanesAgainstDepths, AMismatchIsReportedWithBothNumbers) {
  struct Case {
    const char* name;
    int32_t space, planes;
    std::vector<ImageInteger> depths;
    int code;
    const char* err;
  };
  const Case kCases[] = {
      {"2, one depth missing",
       2,
       3,
       {&imageParameter::PixelDepthR, &imageParameter::PixelDepthG},
       -19,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=3, the number of PixelDepthXXX=2\n"},
      {"3, none",
       3,
       4,
       {},
       -19,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=4, the number of PixelDepthXXX=0\n"},
      {"4, one too many",
       4,
       1,
       {&imageParameter::PixelDepthK, &imageParameter::PixelDepthCO2},
       -19,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=1, the number of PixelDepthXXX=2\n"},
      {"5, planes not set",
       5,
       -1,
       {&imageParameter::PixelDepthK},
       -19,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=-1, the number of PixelDepthXXX=1\n"},
      {"18, one depth",
       18,
       1,
       {&imageParameter::PixelDepthR},
       -20,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=1, the number of PixelDepthXXX=1\n"},
      {"18, planes 3 but four depths",
       18,
       3,
       {&imageParameter::PixelDepthR, &imageParameter::PixelDepthG, &imageParameter::PixelDepthB,
        &imageParameter::PixelDepthK},
       -20,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=3, the number of PixelDepthXXX=4\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto page = newPage();
    page->ColorSpace = c.space;
    page->NumOfPlanes = c.planes;
    for (const ImageInteger depth : c.depths) page.get()->*depth = 8;
    const Checked r = checked([&] { checkNumOfPlanesPixelDepthCombination(page.get()); });
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
  }
}

TEST(PlanesAgainstDepths, MustMatchInTheRowColourSpacesAndBeThreeInRgbPixels) {
  const Capture quiet;
  for (int32_t space = -1; space <= 22; ++space) {
    for (int32_t planes = -1; planes <= 15; ++planes) {
      for (int32_t count = 0; count <= 15; ++count) {
        const auto page = newPage();
        page->ColorSpace = space;
        page->NumOfPlanes = planes;
        for (int32_t i = 0; i < count; ++i)
          page.get()->*kInks[static_cast<size_t>(14 - i)].depth = 1 + i;
        int want = 0;
        if (space == 18 && count != 3) want = -20;
        if (space >= 2 && space <= 5 && count != planes) want = -19;
        ASSERT_EQ(thrownBy([&] { checkNumOfPlanesPixelDepthCombination(page.get()); }), want)
            << "space " << space << ", planes " << planes << ", depths " << count;
      }
    }
  }
}

TEST(PlanesAgainstDepths, DepthsBelow1AreNotCounted) {
  const auto page = newPage();
  page->ColorSpace = 5;
  page->NumOfPlanes = 1;
  page->PixelDepthK = 1;
  page->PixelDepthC = 0;
  page->PixelDepthM = -5;
  EXPECT_EQ(checked([&] { checkNumOfPlanesPixelDepthCombination(page.get()); }).code, 0);
}

// Planes against colour space ---------------------------------------------------------------------

TEST(ColourSpaceAgainstPlanes, OnlyListedPlanesAreAllowed) {
  struct Row {
    int32_t space;
    std::vector<int32_t> planes;
    int code;
  };
  const Row kRows[] = {
      {2, {1, 3}, -22},
      {3, {4, 6}, -23},
      {4, {1, 4, 5, 8, 12, 13}, -24},
      {5, {1, 4, 5, 8, 12, 13}, -24},
      {18, {1}, -25},
      {19, {1}, -25},
      {20, {1}, -25},
      {21, {1}, -25},
      {-1, {}, -26},
      {0, {}, -26},
      {1, {}, -26},
      {6, {}, -26},
      {17, {}, -26},
      {22, {}, -26},
      {256, {}, -26},
  };
  for (const Row& row : kRows) {
    for (int32_t planes = -1; planes <= 20; ++planes) {
      SCOPED_TRACE(std::to_string(row.space) + " with " + std::to_string(planes));
      const auto page = newPage();
      page->ColorSpace = row.space;
      page->NumOfPlanes = planes;
      const bool allowed =
          std::find(row.planes.begin(), row.planes.end(), planes) != row.planes.end();
      const Checked r = checked([&] { checkColorSpaceNumOfPlanesCombination(page.get()); });
      EXPECT_EQ(r.code, allowed ? 0 : row.code);
      EXPECT_EQ(r.err, allowed ? ""
                               : "INVALID VALUE OF ITEM!: The combination of following values are "
                                 "invalid.\nColorSpace=" +
                                     std::to_string(row.space) +
                                     ", NumOfPlanes=" + std::to_string(planes) + "\n");
    }
  }
}

// Raster mode -------------------------------------------------------------------------------------

enum Depths { kNone, kOnlyK, kKCMY, kKCMYcm, kCMYOnly, kKAndLight };

void setDepths(imageParameter* page, Depths depths) {
  if (depths == kOnlyK || depths == kKCMY || depths == kKCMYcm || depths == kKAndLight)
    page->PixelDepthK = 0;  // 0 counts as set
  if (depths == kKCMY || depths == kKCMYcm || depths == kCMYOnly)
    page->PixelDepthC = page->PixelDepthM = page->PixelDepthY = 1;
  if (depths == kKCMYcm || depths == kKAndLight) page->PixelDepthc = page->PixelDepthm = 2;
}

// The base that the first matching row gives, and whether it takes compression 4.
struct Base {
  int32_t base;  // 0: no row
  bool hxrc;
};
Base baseOf(int32_t space, int32_t planes, Depths depths) {
  if (space == 2 && planes == 1) return {2000, false};
  if (space == 2 && planes == 3) return {3000, true};
  if (space != 3 && space != 4 && space != 5 && space != 19 && space != 20 && space != 21)
    return {0, false};
  if (planes == 6 || depths == kKCMYcm) return {5000, false};
  if (planes == 4 || depths == kKCMY) return {4000, true};
  if (planes == 11) return {4000, false};
  if (planes == 1 || depths == kOnlyK || depths == kKAndLight) return {1000, true};
  if (planes == 5 || planes == 8 || planes == 12 || planes == 13) return {4000, true};
  return {0, false};
}

TEST(RasterMode, IsBasePlusCompressionForEveryCombination) {
  for (int32_t space = -1; space <= 22; ++space) {
    for (int32_t planes = -1; planes <= 16; ++planes) {
      for (const Depths depths : {kNone, kOnlyK, kKCMY, kKCMYcm, kCMYOnly, kKAndLight}) {
        for (const int32_t compression : {-1, 0, 1, 2, 3, 4, 5, 255, 256, 257, 1000}) {
          const Base base = baseOf(space, planes, depths);
          const bool allowed = compression == 0 || compression == 2 || compression == 3 ||
                               compression == 256 || (compression == 4 && base.hxrc);
          const int32_t want = base.base != 0 && allowed ? base.base + compression : -1;
          const auto page = newPage();
          page->ColorSpace = space;
          page->NumOfPlanes = planes;
          page->CompressionMode = compression;
          setDepths(page.get(), depths);
          setMode(page.get());
          ASSERT_EQ(page->Mode, want) << "space " << space << ", planes " << planes << ", depths "
                                      << depths << ", compression " << compression;
        }
      }
    }
  }
}

TEST(RasterMode, EveryNumberThatOccurs) {
  struct Case {
    int32_t space, planes, compression, mode;
  };
  const Case kCases[] = {
      {5, 1, 0, 1000},   {5, 1, 2, 1002},  {4, 1, 3, 1003},    {4, 1, 4, 1004}, {5, 1, 256, 1256},
      {2, 1, 0, 2000},   {2, 1, 2, 2002},  {2, 1, 3, 2003},    {2, 1, 4, -1},   {2, 1, 256, 2256},
      {2, 3, 0, 3000},   {2, 3, 2, 3002},  {2, 3, 3, 3003},    {2, 3, 4, 3004}, {2, 3, 256, 3256},
      {3, 4, 0, 4000},   {3, 4, 2, 4002},  {4, 5, 3, 4003},    {5, 8, 4, 4004}, {5, 12, 256, 4256},
      {5, 13, 0, 4000},  {3, 6, 0, 5000},  {3, 6, 2, 5002},    {3, 6, 3, 5003}, {3, 6, 4, -1},
      {3, 6, 256, 5256}, {5, 11, 4, -1},   {5, 11, 256, 4256}, {18, 1, 0, -1},  {19, 1, 0, 1000},
      {20, 1, 2, 1002},  {21, 1, 4, 1004},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.mode);
    const auto page = newPage();
    page->ColorSpace = c.space;
    page->NumOfPlanes = c.planes;
    page->CompressionMode = c.compression;
    setMode(page.get());
    EXPECT_EQ(page->Mode, c.mode);
  }
}

TEST(RasterMode, SixDepthsMustAllBeSetForTheSixInkGroup) {
  const ImageInteger kSix[] = {&imageParameter::PixelDepthK, &imageParameter::PixelDepthC,
                               &imageParameter::PixelDepthM, &imageParameter::PixelDepthY,
                               &imageParameter::PixelDepthc, &imageParameter::PixelDepthm};
  // Without K: 12 planes decide; without C, M or Y: K alone; without c or m: the four.
  const int32_t kModes[] = {4002, 1002, 1002, 1002, 4002, 4002};
  for (size_t left = 0; left < 6; ++left) {
    SCOPED_TRACE(left);
    const auto page = newPage();
    page->ColorSpace = 5;
    page->NumOfPlanes = 12;
    page->CompressionMode = 2;
    for (size_t i = 0; i < 6; ++i)
      if (i != left) page.get()->*kSix[i] = 1;
    setMode(page.get());
    EXPECT_EQ(page->Mode, kModes[left]);
  }
}

TEST(RasterMode, OneRgbPlaneOf8To12BitsTakesRawSamples) {
  for (const int32_t depth : {-1, 0, 1, 2, 4, 8, 9, 10, 11, 12, 16}) {
    SCOPED_TRACE(depth);
    const auto page = newPage();
    page->ColorSpace = 2;
    page->NumOfPlanes = 1;
    page->CompressionMode = 0;
    page->PixelDepthK = depth;
    page->IndexLevelK = Reduce256To4Tbl.data();
    setMode(page.get());
    const bool raw = depth == 8 || depth == 10 || depth == 12;
    EXPECT_EQ(page->IndexLevelK, raw ? rawSamplesMarker() : Reduce256To4Tbl.data());
  }
  const auto page = newPage();
  page->ColorSpace = 5;
  page->NumOfPlanes = 1;
  page->CompressionMode = 0;
  page->PixelDepthK = 8;
  setMode(page.get());
  EXPECT_EQ(page->IndexLevelK, nullptr);
}

// Inheritance -------------------------------------------------------------------------------------

TEST(FormatSettings, AnyOneOfThemCounts) {
  EXPECT_EQ(isImageHXRasterSetting(newPage().get()), -1);
  for (const ImageInteger field : {&imageParameter::ColorSpace, &imageParameter::CompressionMode,
                                   &imageParameter::NumOfPlanes}) {
    const auto page = newPage();
    page.get()->*field = 0;
    EXPECT_EQ(isImageHXRasterSetting(page.get()), 1);
  }
  for (const InkKeys& ink : kInks) {
    SCOPED_TRACE(ink.depthKey);
    const auto depth = newPage();
    depth.get()->*ink.depth = 0;
    EXPECT_EQ(isImageHXRasterSetting(depth.get()), 1);
    if (ink.levelKey == nullptr) continue;
    const auto level = newPage();
    level.get()->*ink.level = Reduce256To2Tbl.data();
    EXPECT_EQ(isImageHXRasterSetting(level.get()), 1);
  }
  const auto page = newPage();
  page->StartingPositionX = page->StartingPositionY = page->YOffset = 5;
  page->YOffsetCBeforePosition = page->YOffsetCAfterPosition = 5;
  page->SameAsFirstImage = page->Mode = 5;
  for (const ImagePath file : kImageFiles) (page.get()->*file)[0] = 'x';
  EXPECT_EQ(isImageHXRasterSetting(page.get()), -1);
}

TEST(FormatSettings, AreCopiedFromTheFirstPage) {
  const auto first = newPage();
  first->ColorSpace = 4;
  first->CompressionMode = 2;
  first->NumOfPlanes = 12;
  int32_t number = 1;
  for (const InkKeys& ink : kInks) first.get()->*ink.depth = number++;
  for (const InkKeys& ink : kInks)
    if (ink.levelKey != nullptr) first.get()->*ink.level = Reduce256To2Tbl.data();
  first->IndexLevelCO2 = Reduce256To16Tbl.data();
  first->StartingPositionX = 5;
  first->ImageFileK[0] = 'x';

  const auto page = newPage();
  setDefaultImageParameter(page.get(), first.get());
  EXPECT_EQ(page->ColorSpace, 4);
  EXPECT_EQ(page->CompressionMode, 2);
  EXPECT_EQ(page->NumOfPlanes, 12);
  number = 1;
  for (const InkKeys& ink : kInks) EXPECT_EQ(page.get()->*ink.depth, number++) << ink.depthKey;
  for (const InkKeys& ink : kInks) {
    if (ink.levelKey == nullptr) continue;
    EXPECT_EQ(page.get()->*ink.level, first.get()->*ink.level) << ink.levelKey;
  }
  EXPECT_EQ(page->StartingPositionX, -1);
  EXPECT_STREQ(page->ImageFileK, "");
}

TEST(FormatSettings, AreNotCopiedIntoAPageThatHasAny) {
  const auto first = newPage();
  first->ColorSpace = 4;
  first->NumOfPlanes = 1;
  const auto page = newPage();
  page->PixelDepthK = 0;
  setDefaultImageParameter(page.get(), first.get());
  EXPECT_EQ(page->ColorSpace, -1);
  EXPECT_EQ(page->NumOfPlanes, -1);
}

TEST(FormatSettings, ColourSpacePlanesAndDepthsDecideWhetherAPageIsLikeTheFirst) {
  const auto same = [](auto&& change) {
    const auto first = newPage();
    const auto page = newPage();
    for (imageParameter* p : {first.get(), page.get()}) {
      p->ColorSpace = 5;
      p->NumOfPlanes = 1;
      p->PixelDepthK = 1;
      p->CompressionMode = 2;
    }
    change(*page);
    checkConfigureImageDataGraphicResolution(page.get(), first.get());
    return page->SameAsFirstImage;
  };
  EXPECT_EQ(same([](imageParameter&) {}), 1);
  EXPECT_EQ(same([](imageParameter& p) { p.CompressionMode = 3; }), 1);
  EXPECT_EQ(same([](imageParameter& p) { p.IndexLevelK = Reduce256To2Tbl.data(); }), 1);
  EXPECT_EQ(same([](imageParameter& p) { p.StartingPositionX = 3; }), 1);
  EXPECT_EQ(same([](imageParameter& p) { p.ColorSpace = 4; }), -1);
  EXPECT_EQ(same([](imageParameter& p) { p.NumOfPlanes = 4; }), -1);
  for (const InkKeys& ink : kInks)
    EXPECT_EQ(same([&](imageParameter& p) { p.*ink.depth = 0; }), -1) << ink.depthKey;
}

// Whole sections ----------------------------------------------------------------------------------

class PageCheckTest : public testing::Test {
 protected:
  void SetUp() override { folder.write("k.tif", ""); }
  [[nodiscard]] ReadResult read(const std::string& pages) const {
    return folder.read("[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n" + pages);
  }
  JobFolder folder;
};

const std::string kFirst =
    "[Image]\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\nIndexLevelK=2\nCompressionMode=2\n"
    "ImageFileK=\"k.tif\"\n";

TEST_F(PageCheckTest, APageOfFilesAndPositionsInheritsTheFormatOfTheFirst) {
  const ReadResult r =
      read(kFirst + "[Image]\nImageFileK=\"k.tif\"\nStartingPositionX=4\nYOffset=1\n" +
           "[Image]\nImageFileK=\"k.tif\"\n");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.page(0)->SameAsFirstImage, -1);
  for (const int index : {1, 2}) {
    SCOPED_TRACE(index);
    const imageParameter& page = *r.page(index);
    EXPECT_EQ(page.ColorSpace, 5);
    EXPECT_EQ(page.NumOfPlanes, 1);
    EXPECT_EQ(page.PixelDepthK, 1);
    EXPECT_EQ(page.CompressionMode, 2);
    EXPECT_EQ(page.IndexLevelK, Reduce256To2Tbl.data());
    EXPECT_EQ(page.Mode, 1002);
    EXPECT_EQ(page.SameAsFirstImage, 1);
  }
}

TEST_F(PageCheckTest, APageWithItsOwnFormatIsCheckedByItself) {
  const ReadResult r = read(kFirst +
                            "[Image]\nColorSpace=4\nNumOfPlanes=1\nPixelDepthK=4\n"
                            "CompressionMode=0\nImageFileK=\"k.tif\"\n" +
                            "[Image]\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\n"
                            "CompressionMode=3\nImageFileK=\"k.tif\"\n");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.page(0)->Mode, 1002);
  EXPECT_EQ(r.page(1)->Mode, 1000);
  EXPECT_EQ(r.page(1)->SameAsFirstImage, -1);
  EXPECT_EQ(r.page(2)->Mode, 1003);
  EXPECT_EQ(r.page(2)->SameAsFirstImage, 1);
}

TEST_F(PageCheckTest, TheFirstPageNeedsItsThreeItems) {
  struct Case {
    const char* name;
    const char* page;
    int code;
    std::string err;
  };
  const Case kCases[] = {
      {"nothing of them", "[Image]\nStartingPositionX=1\n", -36, required("ColorSpace")},
      {"no planes", "[Image]\nColorSpace=5\n", -36, required("NumOfPlanes")},
      {"no compression", "[Image]\nColorSpace=5\nNumOfPlanes=1\n", -36,
       required("CompressionMode")},
      {"the colour space is asked for first", "[Image]\nCompressionMode=0\nNumOfPlanes=1\n", -36,
       required("ColorSpace")},
      {"a colour space of all ones", "[Image]\nNumOfPlanes=1\nColorSpace=0xFFFFFFFF\n", -35,
       "INVALID VALUE OF ITEM!: line 6.\nColorSpace=0xFFFFFFFF\n"},
      {"a second colour space does not help", "[Image]\nColorSpace=4294967295\nColorSpace=5\n", -35,
       "INVALID VALUE OF ITEM!: line 5.\nColorSpace=4294967295\n"},
      {"a compression of all ones",
       "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0xffffffff\n", -35,
       "INVALID VALUE OF ITEM!: line 7.\nCompressionMode=0xffffffff\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = read(c.page);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
  }
}

TEST_F(PageCheckTest, TheChecksComeInOrder) {
  struct Case {
    const char* name;
    const char* page;
    int code;
    const char* err;
  };
  const Case kCases[] = {
      {"the depth of a file before planes and depths",
       "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0\nImageFileK=\"k.tif\"\n", -36,
       "REQUIRED ITEM NOT FOUND!: The item \"PixelDepthK\" must be set.\n"},
      {"a light magenta of depth 0",
       "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthK=1\n"
       "ImageFilem=\"k.tif\"\nPixelDepthm=0\n",
       -36, "REQUIRED ITEM NOT FOUND!: The item \"PixelDepthm,\" must be set.\n"},
      {"planes and depths before the colour space",
       "[Image]\nColorSpace=5\nNumOfPlanes=2\nCompressionMode=0\nPixelDepthK=1\n", -19,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=2, the number of PixelDepthXXX=1\n"},
      {"RGB rows with two depths",
       "[Image]\nColorSpace=2\nNumOfPlanes=3\nCompressionMode=0\nPixelDepthR=8\nPixelDepthG=8\n",
       -19,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=3, the number of PixelDepthXXX=2\n"},
      {"RGB pixels with one depth",
       "[Image]\nColorSpace=18\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthR=8\n", -20,
       "INVALID VALUE OF ITEM!: The NumOfPlanes and the number of non zero PixelDepthXXX does not "
       "match.\nNumOfPlanes=1, the number of PixelDepthXXX=1\n"},
      {"the colour space last",
       "[Image]\nColorSpace=3\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthK=1\n", -23,
       "INVALID VALUE OF ITEM!: The combination of following values are invalid.\n"
       "ColorSpace=3, NumOfPlanes=1\n"},
      {"a colour space that does not exist",
       "[Image]\nColorSpace=256\nNumOfPlanes=1\nCompressionMode=0\n", -26,
       "INVALID VALUE OF ITEM!: The combination of following values are invalid.\n"
       "ColorSpace=256, NumOfPlanes=1\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ReadResult r = read(c.page);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.err, c.err);
  }
}

TEST_F(PageCheckTest, RgbPixelsAreOnePlaneOfThreeDepthsWithoutAMode) {
  const ReadResult r = read(
      "[Image]\nColorSpace=18\nNumOfPlanes=1\nCompressionMode=0\nPixelDepthR=8\nPixelDepthG=8\n"
      "PixelDepthB=8\n");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.page()->Mode, -1);
}

TEST_F(PageCheckTest, APageWithOneFormatSettingInheritsNone) {
  const ReadResult r = read(kFirst + "[Image]\nCompressionMode=2\n");
  EXPECT_EQ(r.code, -26);
  EXPECT_EQ(r.err,
            "INVALID VALUE OF ITEM!: The combination of following values are invalid.\n"
            "ColorSpace=-1, NumOfPlanes=-1\n");
}

TEST_F(PageCheckTest, AnInheritedDepthNeedsNoItem) {
  const ReadResult r = read(kFirst + "[Image]\nImageFileC=\"k.tif\"\n");
  EXPECT_EQ(r.code, -36);
  EXPECT_EQ(r.err, required("PixelDepthC"));
  EXPECT_EQ(read(kFirst + "[Image]\nImageFileK=\"k.tif\"\n").code, 0);
}

TEST(LastPage, IsFoundInARecordWhoseListsWereMadeByHand) {
  parameter* record = static_cast<parameter*>(std::calloc(1, sizeof(parameter)));
  ASSERT_NE(record, nullptr);
  initCommonParameter(record);
  imageParameter* first = addImageParameter(nullptr);
  imageParameter* second = addImageParameter(first);
  record->imageParameterList = first;
  for (imageParameter* page : {first, second}) initImageParameter(page);
  first->ColorSpace = 4;
  first->NumOfPlanes = 1;
  first->PixelDepthK = 1;
  first->CompressionMode = 2;
  checkImageSectionParameter(record, nullptr, 0);
  EXPECT_EQ(second->Mode, 1002);
  EXPECT_EQ(second->SameAsFirstImage, 1);
  disposeParameter(record);
}

}  // namespace
