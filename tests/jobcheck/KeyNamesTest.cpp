// KeyNames: what a misspelt key or header may mean.
#include "KeyNames.h"

#include <gtest/gtest.h>

using namespace jobcheck;

namespace {

TEST(KeyNamesTest, ASlipOfTheHandIsSeen) {
  EXPECT_EQ(similarKey("PixelDeptK", kImageSection), "PixelDepthK");
  EXPECT_EQ(similarKey("pixeldepthpgy", kImageSection), "PixelDepthPgy");
  EXPECT_EQ(similarKey("GraphicsResolutionHV", kHXRasterSection), "GraphicsResolutionH");
  EXPECT_EQ(similarKey("StartJobXMLFile", kODAXSection), "StartJobXmlFile");
  EXPECT_EQ(similarKey("SpiltDataSize", kGlobalSection), "SplitDataSize");
  EXPECT_EQ(similarKey("OutFilePaht", kGlobalSection), "OutFilePath");
}

TEST(KeyNamesTest, AnotherWordIsNoSlip) {
  for (const char* key : {"", "K", "Copies", "JobName", "Quality", "EndOfJob", "SendData"}) {
    EXPECT_EQ(similarKey(key, kODAXSection), "") << key;
  }
  EXPECT_EQ(similarKey(std::string(1000, 'P'), kImageSection), "");
}

TEST(KeyNamesTest, UpperCaseAndLowerCaseInksAreKeysOfTheirOwn) {
  EXPECT_EQ(sectionOf("PixelDepthC"), kImageSection);
  EXPECT_EQ(sectionOf("PixelDepthc"), kImageSection);
  EXPECT_EQ(sectionOf("PixelDepthk"), kNoSection);
  EXPECT_EQ(sectionOf("IndexLevelG"), kNoSection);
}

TEST(KeyNamesTest, EveryKeyBelongsToItsSection) {
  EXPECT_EQ(keysOf(kGlobalSection).size(), 4U);
  EXPECT_EQ(keysOf(kODAXSection).size(), 6U);
  EXPECT_EQ(keysOf(kHXRasterSection).size(), 3U);
  // Positions and offsets, format, two composites, and file, depth and level of 15 inks but for the
  // level of green.
  EXPECT_EQ(keysOf(kImageSection).size(), 4U + 3 + 2 + 3 * 15 - 1);
  for (const Section section : {kGlobalSection, kODAXSection, kHXRasterSection, kImageSection})
    for (const std::string& key : keysOf(section)) EXPECT_EQ(sectionOf(key), section) << key;
}

TEST(KeyNamesTest, AHeaderIsKnownByItsLetters) {
  EXPECT_EQ(meantHeader("[Image] # page 2"), kImageSection);
  EXPECT_EQ(meantHeader(" [ hxraster ]"), kHXRasterSection);
  EXPECT_EQ(meantHeader("[odax]"), kODAXSection);
  EXPECT_EQ(meantHeader("[GLOBAL] "), kGlobalSection);
  EXPECT_EQ(meantHeader("[Images]"), kNoSection);
  EXPECT_EQ(meantHeader("Image"), kNoSection);
  EXPECT_EQ(meantHeader(""), kNoSection);
}

}  // namespace
