// Whole jobs in every raster mode, colour space and number of planes, with every way of splitting
// the job file: a receiver rebuilds exactly the ink levels that the images hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "ODAXOutLib.h"
#include "PageJob.h"

namespace {

enum Source { kSeparations, kCompositeCmyk, kCompositeRgb };

struct InkDepth {
  const char* ink;
  int depth;
  const char* indexLevel = "";
  int levels = kLevelsByDepth;
};

/// A kind of page.
struct Kind {
  const char* name;
  const char* colorSpace;
  int planes;
  std::vector<InkDepth> inks;
  int group;  // of its mode numbers
  std::vector<int> compressions;
  unsigned bits = 8;  // of the images
  uint32_t photometric = 1;
  Source source = kSeparations;
};

void PrintTo(const Kind& kind, std::ostream* out) {
  *out << kind.name;
}

const std::vector<int> kAll = {0, 2, 3, 4, 256};
const std::vector<int> kWithoutHxrc = {0, 2, 3, 256};

const Kind kKinds[] = {
    {"BilevelBlack", "5", 1, {{"K", 1}}, 1, kAll, 1},
    {"BilevelBlackOfEightBitImages", "5", 1, {{"K", 1}}, 1, kAll, 8, 0},
    {"BlackOfFourLevels", "5", 1, {{"K", 2}}, 1, kAll},
    {"BlackOfThreeLevels", "5", 1, {{"K", 2, "3", 3}}, 1, kAll},
    {"BlackIndex", "4", 1, {{"K", 4, "", kLevelsAll}}, 1, kAll, 8, 0},
    {"BlackIndexWithATable", "4", 1, {{"K", 4, "16", 16}}, 1, kAll, 8, 0},
    {"BlackIndexBySymbol",
     "hxraster_id_val_image_format_row_inkcolor_index",
     1,
     {{"K", 4}},
     1,
     kAll,
     8,
     0},
    {"BlackOf12Bits", "5", 1, {{"K", 12}}, 1, kAll, 16},
    {"KcmyPixelsOfBlack", "19", 1, {{"K", 8}}, 1, kAll},
    {"KcmyPixelsIndex", "20", 1, {{"K", 8}}, 1, kAll, 8, 2},
    {"KcmyPixelsBilevel", "0x15", 1, {{"K", 1}}, 1, kAll, 1, 0},
    {"BilevelBlackInRgbSpace", "2", 1, {{"K", 1}}, 2, kWithoutHxrc, 1},
    {"UntouchedBlackInRgbSpace", "2", 1, {{"K", 8, "", kLevelsRaw}}, 2, kWithoutHxrc},
    {"UntouchedBlackOf10Bits", "2", 1, {{"K", 10, "", kLevelsRaw}}, 2, kWithoutHxrc, 16},
    {"UntouchedBlackOf12Bits", "2", 1, {{"K", 12, "", kLevelsRaw}}, 2, kWithoutHxrc, 16, 0},
    {"CyanInRgbSpace", "2", 1, {{"C", 4, "5", 5}}, 2, kWithoutHxrc},
    {"RgbOf8Bits", "2", 3, {{"R", 8}, {"G", 8}, {"B", 8}}, 3, kAll, 8, 2, kCompositeRgb},
    {"RgbOf10Bits", "2", 3, {{"R", 10}, {"G", 10}, {"B", 10}}, 3, kAll, 16, 2, kCompositeRgb},
    {"RgbOf12Bits", "2", 3, {{"R", 12}, {"G", 12}, {"B", 12}}, 3, kAll, 16, 2, kCompositeRgb},
    {"RgbOf16Bits", "2", 3, {{"R", 16}, {"G", 16}, {"B", 16}}, 3, kAll, 16, 2, kCompositeRgb},
    {"RgbOfSingleFiles", "2", 3, {{"R", 8}, {"G", 8}, {"B", 8}}, 3, kAll, 8, 0},
    {"Kcmy", "3", 4, {{"K", 1}, {"C", 2}, {"M", 4}, {"Y", 8}}, 4, kAll},
    {"KcmyBySymbol",
     "hxraster_id_val_image_format_row_kcmy_multi_level",
     4,
     {{"K", 2}, {"C", 2}, {"M", 2}, {"Y", 2}},
     4,
     kAll,
     8,
     5},
    {"KcmyBilevel", "5", 4, {{"K", 1}, {"C", 1}, {"M", 1}, {"Y", 1}}, 4, kAll, 1, 0},
    {"KcmyOf10Bits", "3", 4, {{"K", 10}, {"C", 10}, {"M", 12}, {"Y", 12}}, 4, kAll, 16},
    {"CompositeCmyk",
     "3",
     4,
     {{"K", 8}, {"C", 1}, {"M", 2, "3", 3}, {"Y", 4, "6", 6}},
     4,
     kAll,
     8,
     5,
     kCompositeCmyk},
    {"CompositeCmykThatIsInverted",
     "3",
     4,
     {{"K", 8}, {"C", 1}, {"M", 2}, {"Y", 4}},
     4,
     kAll,
     8,
     2,
     kCompositeCmyk},
    {"CompositeCmykOf10Bits",
     "3",
     4,
     {{"K", 10}, {"C", 10}, {"M", 10}, {"Y", 10}},
     4,
     kAll,
     16,
     5,
     kCompositeCmyk},
    {"FiveInks", "5", 5, {{"C", 1}, {"M", 1}, {"Y", 1}, {"PBK", 1}, {"MBK", 1}}, 4, kAll, 1},
    {"FiveInksIndex",
     "4",
     5,
     {{"C", 2, "2", 2}, {"M", 2, "3", 3}, {"Y", 2, "4", 4}, {"PBK", 4, "5", 5}, {"MBK", 4, "6", 6}},
     4,
     kAll},
    {"EightInks",
     "4",
     8,
     {{"C", 2, "4", 4},
      {"M", 2, "4", 4},
      {"Y", 2, "4", 4},
      {"c", 2, "0"},
      {"m", 4, "0"},
      {"Gy", 1},
      {"PBK", 8},
      {"MBK", 2, "2", 2}},
     4,
     kAll},
    {"TwelveInks",
     "5",
     12,
     {{"C", 1},
      {"M", 1},
      {"Y", 1},
      {"c", 1},
      {"m", 1},
      {"R", 2},
      {"B", 2},
      {"Gy", 2},
      {"Pgy", 4},
      {"PBK", 4},
      {"MBK", 8},
      {"CO", 8}},
     4,
     kAll},
    {"ThirteenInks",
     "5",
     13,
     {{"C", 1},
      {"M", 1},
      {"Y", 1},
      {"c", 1},
      {"m", 1},
      {"R", 1},
      {"B", 1},
      {"Gy", 1},
      {"Pgy", 1},
      {"PBK", 1},
      {"MBK", 1},
      {"CO", 1},
      {"CO2", 1}},
     4,
     kAll,
     1,
     0},
    {"KcmyPixelsSendTheFirstOfFourPlanes",
     "19",
     1,
     {{"K", 2}, {"C", 2}, {"M", 2}, {"Y", 2}},
     4,
     kAll},
    {"LightInks",
     "3",
     6,
     {{"K", 1}, {"C", 2}, {"M", 2}, {"Y", 2}, {"c", 4}, {"m", 8}},
     5,
     kWithoutHxrc},
    {"PixelsOfLightInksSendTheFirstPlane",
     "19",
     1,
     {{"K", 1}, {"C", 1}, {"M", 1}, {"Y", 1}, {"c", 1}, {"m", 1}},
     5,
     kWithoutHxrc},
};

class ModesTest : public PageJob, public testing::WithParamInterface<Kind> {
 protected:
  /// Makes a page of a kind: its section, and what a printer must get.
  struct Page {
    std::string section;
    std::vector<std::vector<Bytes>> rows;
    PageShape shape;
  };

  Page makePage(const Kind& kind, int compression, uint32_t width, uint32_t height) {
    Page page;
    const bool inkGrows = kind.photometric == 0 || kind.photometric == 5;
    const uint16_t most = kind.bits == 16 ? 0xFFFF : kind.bits == 8 ? 0xFF : 1;
    const bool whiteIsMost = kind.source == kCompositeRgb || kind.group == 3 || !inkGrows;
    const uint16_t white = whiteIsMost ? most : 0;
    const FileForm form = {'M', kind.photometric, 7, true};

    std::vector<Separation> inks;
    std::vector<InkSetting> settings;
    for (const InkDepth& ink : kind.inks) {
      const auto seed = static_cast<uint32_t>(inks.size());
      inks.push_back({ink.ink, ink.depth, mixed(width, height, kind.bits, white, seed), form,
                      ink.indexLevel, ink.levels});
      settings.push_back({ink.ink, "", ink.depth, ink.indexLevel});
    }
    const auto planes = static_cast<size_t>(kind.planes);
    bool halves = false;
    if (kind.source == kSeparations) {
      page.section = separations(kind.colorSpace, kind.planes, compression, inks);
      page.rows = sentRows(inks, planes);
    } else if (kind.source == kCompositeCmyk) {
      // K stands behind C, M and Y in the file.
      image("cmyk.tif", {inks[1].samples, inks[2].samples, inks[3].samples, inks[0].samples}, form);
      page.section = imageSection(kind.colorSpace, kind.planes, compression, settings,
                                  "ImageFileCMYK=\"cmyk.tif\"\n");
      page.rows = sentRows(inks, planes);
    } else {
      image("rgb.tif", {inks[0].samples, inks[1].samples, inks[2].samples}, form);
      page.section = imageSection(kind.colorSpace, kind.planes, compression, settings,
                                  "ImageFileRGB=\"rgb.tif\"\n");
      halves = compression == 4 && kind.bits == 16;
      for (const Separation& ink : inks) {
        page.rows.push_back(halves ? deepRgbRows(ink.samples, ink.depth)
                                   : rgbRows(ink.samples, ink.depth));
      }
    }
    const uint8_t blank = kind.group == 2 || kind.group == 3 ? 0xFF : 0x00;
    page.shape = shapeOf(page.rows, blank, halves);
    return page;
  }

  static void expectPage(const JobRun& job, const Page& page) {
    EXPECT_EQ(job.code, 0) << job.err;
    EXPECT_EQ(job.problem, "");
    EXPECT_EQ(job.err, "");
    try {
      const DecodedStream decoded = decodeStream(job.raster, {page.shape});
      EXPECT_EQ(firstDifference(decoded.pages[0].rows, page.rows), "");
      EXPECT_EQ(decoded.endsOfPage, 1);
    } catch (const std::runtime_error& error) {
      ADD_FAILURE() << error.what();
    }
  }
};

/// The end-job packet counts everything in front of its own size, but no stream that stands bare.
void expectEndOfJob(const JobRun& job) {
  ASSERT_TRUE(job.endOfJob);
  const std::string number = std::to_string(*job.endOfJob);
  const size_t tail = ("<datasize>" + number + "</datasize></EJ>").size();
  const size_t bare = job.packets.empty() ? job.raster.size() : 0;
  EXPECT_EQ(*job.endOfJob, job.file.size() - tail - bare);
}

TEST_P(ModesTest, EveryCompressionAndEverySplitGivesTheSamePage) {
  const Kind& kind = GetParam();
  for (const int compression : kind.compressions) {
    SCOPED_TRACE("mode " + std::to_string(1000 * kind.group + compression));
    const Page page = makePage(kind, compression, 37, 45);

    const JobRun single = run({"0"}, page.section);
    expectPage(single, page);
    expectEndOfJob(single);
    ASSERT_EQ(single.packets.size(), 1U);
    EXPECT_FALSE(single.packets[0].more);

    const JobRun split = run({"100"}, page.section);
    expectPage(split, page);
    expectEndOfJob(split);
    EXPECT_EQ(split.raster, single.raster);
    ASSERT_EQ(split.packets.size(), (single.raster.size() + 99) / 100);
    for (const DataPacket& packet : split.packets) {
      EXPECT_EQ(packet.more, packet.size == 100);
      EXPECT_TRUE(packet.size == 100 || &packet == &split.packets.back());
    }

    ODAX_SetSplitDataSize(0);  // as in a process that has run no job yet
    const JobRun unset = run({""}, page.section);
    expectPage(unset, page);
    expectEndOfJob(unset);
    EXPECT_TRUE(unset.packets.empty());
    EXPECT_EQ(unset.raster, single.raster);

    const JobRun negative = run({"0x80000000"}, page.section);
    expectPage(negative, page);
    expectEndOfJob(negative);
    EXPECT_EQ(negative.raster, single.raster);
    for (const DataPacket& packet : negative.packets) EXPECT_FALSE(packet.more);
  }
}

TEST_P(ModesTest, RowsGoOnOverTheBordersOfBands) {
  const Kind& kind = GetParam();
  for (const int compression : kind.compressions) {
    SCOPED_TRACE("mode " + std::to_string(1000 * kind.group + compression));
    const Page page = makePage(kind, compression, 5, 305);
    expectPage(run({"1000"}, page.section), page);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, ModesTest, testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ModeNumbers, AllTwentyThreeAreCovered) {
  std::set<int> modes;
  for (const Kind& kind : kKinds)
    for (const int compression : kind.compressions) modes.insert(1000 * kind.group + compression);
  EXPECT_EQ(modes,
            (std::set<int>{1000, 1002, 1003, 1004, 1256, 2000, 2002, 2003, 2256, 3000, 3002, 3003,
                           3004, 3256, 4000, 4002, 4003, 4004, 4256, 5000, 5002, 5003, 5256}));
}

class ModelessTest : public PageJob {};

TEST_F(ModelessTest, AColourSpaceWithoutModeSendsPagesWithoutRows) {
  image("rgb.tif", {plain(4, 5, 8, 1), plain(4, 5, 8, 2), plain(4, 5, 8, 3)}, {'I', 2, 0, false});
  const std::string section = imageSection("18", 1, 0, {{"R", "", 8}, {"G", "", 8}, {"B", "", 8}},
                                           "ImageFileRGB=\"rgb.tif\"\n");
  const JobRun job = run({"0"}, section);
  EXPECT_EQ(visible(job.raster), sent({"~%-12345X~%0A~E", "~$v8W", Bytes{18, 1, 2, 8, 3, 8, 4, 8},
                                       "~*t600R", "~*r1A", "~*b0M", "~*rC", "~$E", "~%-12345X"}));
}

TEST_F(ModelessTest, ACompressionThatTheModeDoesNotKnowSendsNoRows) {
  for (const int compression : {1, 4, 5}) {
    const std::string section = separations("2", 1, compression, {{"K", 1, plain(4, 5, 1, 0)}});
    const JobRun job = run({"0"}, section);
    EXPECT_EQ(visible(job.raster),
              sent({"~%-12345X~%0A~E", "~$v4W", Bytes{2, 1, 5, 1}, "~*t600R", "~*r1A",
                    "~*b" + std::to_string(compression) + "M", "~*rC", "~$E", "~%-12345X"}));
  }
}

TEST_F(ModelessTest, ASplitSizeStaysForTheNextJobThatSetsNone) {
  const std::string section = separations("5", 1, 0, {{"K", 8, plain(60, 4, 8, 7)}});
  const JobRun split = run({"50"}, section);
  const JobRun next = run({""}, section);
  EXPECT_EQ(next.file, split.file);
  EXPECT_GT(next.packets.size(), 1U);
}

TEST_F(ModelessTest, TheSameJobGivesTheSameBytes) {
  const std::string section = separations("5", 1, 256, {{"K", 2, mixed(50, 40, 8, 255, 5)}});
  const JobRun first = run({"64"}, section);
  EXPECT_EQ(run({"64"}, section).file, first.file);
}

}  // namespace
