// Numbers of a configuration at their limits: the command ends, and in little memory. Sizes that a
// configuration may name are no sizes that have to be there.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Measured.h"
#include "PageJob.h"

namespace {

constexpr uint64_t kLittleMemory = 32 * kMiB;
// Fewer under a sanitizer, which starts slowly and keeps books of all memory that is asked for.
std::vector<std::string> numbers() {
  if (kIsSanitized) return {"0", "65536"};
  return {"0",          "1",          "255",        "256",        "65535",     "65536",
          "2147483647", "2147483648", "4294967294", "4294967295", "4294967296"};
}

class SettingLimitsTest : public PageJob {
 protected:
  /// Runs a job with a line in place of one of the usual, and one more in its page.
  Measured runWith(const std::string& key, const std::string& value, int compression = 2) {
    const Samples picture = drawn(9, 7, 8, [](uint32_t x, uint32_t y) { return x * 9 + y; });
    image("page.tif", {picture}, {'I', 0, 0, false});
    const auto line = [&](const std::string& name, const std::string& usual) {
      const std::string& text = name == key ? value : usual;
      return text.empty() ? "" : name + "=" + text + "\n";
    };
    folder.write("job.cfg",
                 "[Global]\nOutFilePath=\"out.dat\"\n" + line("SplitDataSize", "65536") +
                     "[ODAX]\nStartJobXmlFile=\"sj.xml\"\nSetJobConfigurationXmlFile=\"sjc.xml\"\n"
                     "SetConfigurationXmlFile=\"sc.xml\"\nSendDataXmlFile=\"sd.xml\"\n"
                     "EndJobXmlFile=\"ej.xml\"\n[HXRaster]\n" +
                     line("GraphicsResolutionH", "600") + line("GraphicsResolutionV", "600") +
                     line("PrintableWidthInPixel", "") + "[Image]\nColorSpace=5\nNumOfPlanes=1\n" +
                     "CompressionMode=" + std::to_string(compression) +
                     "\nImageFileK=\"page.tif\"\nPixelDepthK=8\n" + line("StartingPositionX", "") +
                     line("StartingPositionY", "") + line("YOffset", "") + line("YOffsetC", ""));
    return measureOdaxgen({"run", "--quiet", "job.cfg"}, folder.path());
  }
};

TEST_F(SettingLimitsTest, SplitSizesOfAnyNumberGiveAWholeJob) {
  for (const std::string& number : numbers()) {
    SCOPED_TRACE(number);
    const Measured run = runWith("SplitDataSize", number);
    EXPECT_EQ(run.result.exitCode, 0) << run.result.err;
    EXPECT_LE(run.peakBytes, kLittleMemory);
    EXPECT_EQ(runOdaxgen({"verify", "job.cfg"}, folder.path()).exitCode, 0);
  }
}

TEST_F(SettingLimitsTest, PrintableWidthsOfAnyNumberGiveAWholeJobInEveryCompression) {
  for (const int compression : {0, 2, 3, 4, 256}) {
    for (const std::string& number : numbers()) {
      SCOPED_TRACE(number + ", compression " + std::to_string(compression));
      const Measured run = runWith("PrintableWidthInPixel", number, compression);
      EXPECT_EQ(run.result.exitCode, 0) << run.result.err;
      EXPECT_LE(run.peakBytes, kLittleMemory);
    }
  }
}

TEST_F(SettingLimitsTest, ResolutionsAndPositionsOfAnyNumberAreSentAsTheyAre) {
  for (const char* key : {"GraphicsResolutionH", "GraphicsResolutionV", "StartingPositionX",
                          "StartingPositionY", "YOffset", "YOffsetC"}) {
    for (const std::string& number : numbers()) {
      SCOPED_TRACE(std::string(key) + "=" + number);
      const Measured run = runWith(key, number);
      // A number of all ones is one that is not set, and the resolution has to be.
      const bool isMissing = number == "4294967295" && std::string(key).starts_with("Graphics");
      EXPECT_EQ(run.result.exitCode, isMissing ? 1 : 0) << run.result.err;
      EXPECT_LE(run.peakBytes, kLittleMemory);
    }
  }
}

}  // namespace
