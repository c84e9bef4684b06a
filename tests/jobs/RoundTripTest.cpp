// Properties of whole jobs over random pages: what a receiver rebuilds of the stream is what the
// reduction of the images' samples gives, whatever the mode, the depths and the images' form; and
// `verify`, which works that out from the configuration and the files, finds the same.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "PageJob.h"

namespace {

/// A random page. Its samples come from a seed, so that a failing page shrinks by its size.
struct RandomPage {
  std::string colorSpace;
  int planes = 1;
  int compression = 0;
  uint8_t blank = 0x00;
  std::string split;
  std::vector<Separation> inks;
};

std::ostream& operator<<(std::ostream& out, const RandomPage& page) {
  out << "colour space " << page.colorSpace << ", " << page.planes << " planes, compression "
      << page.compression << ", split " << page.split;
  for (const Separation& ink : page.inks) {
    out << "\n  " << ink.ink << ": " << ink.samples.width << " x " << ink.samples.height << ", "
        << ink.samples.bits << " bits into " << ink.depth << ", level '" << ink.indexLevel
        << "', order " << ink.form.order << ", photometric " << ink.form.photometric
        << ", rows per strip " << ink.form.rowsPerStrip << (ink.form.packed ? ", packed" : "");
  }
  return out;
}

struct Layout {
  const char* colorSpace;
  int planes;
  std::vector<const char*> inks;
  uint8_t blank;
  bool hxrc;
};
const std::vector<Layout> kLayouts = {
    {"5", 1, {"K"}, 0x00, true},
    {"4", 1, {"K"}, 0x00, true},
    {"2", 1, {"K"}, 0xFF, false},
    {"2", 1, {"Y"}, 0xFF, false},
    {"3", 4, {"K", "C", "M", "Y"}, 0x00, true},
    {"4", 4, {"K", "C", "M", "Y"}, 0x00, true},
    {"3", 6, {"K", "C", "M", "Y", "c", "m"}, 0x00, false},
    {"5", 5, {"PBK", "MBK", "C", "M", "Y"}, 0x00, true},
    {"4", 8, {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy"}, 0x00, true},
};

template <class T>
T oneOf(const std::vector<T>& values) {
  return *rc::gen::elementOf(values);
}

FileForm randomForm() {
  return {oneOf<char>({'I', 'M'}), oneOf<uint32_t>({0, 1, 2, 5}),
          *rc::gen::inRange<uint32_t>(0, 40), *rc::gen::arbitrary<bool>()};
}

uint32_t randomHeight() {
  // Most pages end within a band; some reach the borders of bands.
  return *rc::gen::inRange(0, 8) > 0 ? *rc::gen::inRange<uint32_t>(0, 60)
                                     : *rc::gen::inRange<uint32_t>(290, 651);
}

uint32_t randomWidth() {
  return *rc::gen::inRange<uint32_t>(1, 121);
}

Samples randomSamples(uint32_t width, uint32_t height, unsigned bits) {
  const auto most = static_cast<uint16_t>((1U << bits) - 1);
  const uint16_t white = *rc::gen::arbitrary<bool>() ? most : 0;
  return mixed(width, height, bits, white, *rc::gen::arbitrary<uint32_t>());
}

int randomCompression(bool hxrc) {
  return hxrc ? oneOf<int>({0, 2, 3, 4, 256}) : oneOf<int>({0, 2, 3, 256});
}

std::string randomSplit() {
  return oneOf<std::string>(
      {"0", "0x80000000", std::to_string(*rc::gen::inRange<int>(1, 3000)), "65536"});
}

Separation randomInk(const std::string& ink, const Layout& layout, uint32_t width,
                     uint32_t height) {
  const int depth = oneOf<int>({1, 1, 2, 4, 8, 10, 12});
  unsigned bits = depth > 8 ? 16 : 8;
  if (depth == 1 && *rc::gen::arbitrary<bool>()) bits = 1;
  Separation separation{ink, depth, randomSamples(width, height, bits), randomForm()};
  separation.indexLevel = oneOf<std::string>({"", "", "0", "2", "3", "4", "5", "6", "16"});
  if (separation.indexLevel.empty()) {
    separation.levels = layout.colorSpace == std::string("4") ? kLevelsAll : kLevelsByDepth;
  } else if (separation.indexLevel != "0") {
    separation.levels = std::stoi(separation.indexLevel);
  }
  const bool untouched = layout.colorSpace == std::string("2") && ink == "K" &&
                         (depth == 8 || depth == 10 || depth == 12);
  if (untouched) separation.levels = kLevelsRaw;
  return separation;
}

RandomPage randomPage() {
  const Layout layout = oneOf(kLayouts);
  RandomPage page{layout.colorSpace, layout.planes, randomCompression(layout.hxrc),
                  layout.blank,      randomSplit(), {}};
  const uint32_t height = randomHeight();
  const uint32_t width = randomWidth();
  // Planes may differ in size.
  const bool same = *rc::gen::arbitrary<bool>();
  for (const char* ink : layout.inks) {
    page.inks.push_back(randomInk(ink, layout, same ? width : randomWidth(),
                                  same ? height : *rc::gen::inRange<uint32_t>(0, height + 1)));
  }
  return page;
}

class RoundTripTest : public PageJob {
 protected:
  /// Why a job's file is not the wanted page; empty when it is.
  std::string difference(const JobSettings& settings, const std::string& section,
                         const std::vector<std::vector<Bytes>>& want, const PageShape& shape) {
    const JobRun job = run(settings, section);
    if (job.code != 0) return "code " + std::to_string(job.code) + ": " + job.err;
    if (!job.problem.empty()) return job.problem;
    if (std::string found = verified(); !found.empty()) return found;
    try {
      return firstDifference(decodeStream(job.raster, {shape}).pages[0].rows, want);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }
};

RC_GTEST_FIXTURE_PROP(RoundTripTest, SeparationsComeBackAsTheirLevels, ()) {
  const RandomPage page = randomPage();
  RC_LOG() << page << std::endl;
  const std::string section =
      separations(page.colorSpace, page.planes, page.compression, page.inks);
  const auto want = sentRows(page.inks, static_cast<size_t>(page.planes));
  JobSettings settings{page.split};
  if (*rc::gen::arbitrary<bool>()) settings.printableWidth = *rc::gen::inRange<int>(0, 200);
  RC_ASSERT(difference(settings, section, want, shapeOf(want, page.blank)) == "");
}

RC_GTEST_FIXTURE_PROP(RoundTripTest, RgbImagesComeBackAsTheirSamples, ()) {
  const int compression = randomCompression(true);
  const int depth = oneOf<int>({8, 10, 12, 16});
  const unsigned bits = depth == 8 ? 8 : 16;
  const uint32_t width = randomWidth();
  const uint32_t height = randomHeight();
  const FileForm form = randomForm();
  const std::string split = randomSplit();
  RC_LOG() << "compression " << compression << ", depth " << depth << ", " << width << " x "
           << height << ", order " << form.order << ", split " << split << std::endl;
  const bool halves = compression == 4 && bits == 16;

  std::vector<Samples> channels;
  std::vector<std::vector<Bytes>> want;
  for (int channel = 0; channel < 3; ++channel) {
    channels.push_back(randomSamples(width, height, bits));
    want.push_back(halves ? deepRgbRows(channels.back(), depth) : rgbRows(channels.back(), depth));
  }
  image("rgb.tif", channels, form);
  const std::string section =
      imageSection("2", 3, compression, {{"R", "", depth}, {"G", "", depth}, {"B", "", depth}},
                   "ImageFileRGB=\"rgb.tif\"\n");
  RC_ASSERT(difference({split}, section, want, shapeOf(want, 0xFF, halves)) == "");
}

RC_GTEST_FIXTURE_PROP(RoundTripTest, CmykImagesComeBackAsTheirLevels, ()) {
  const int compression = randomCompression(true);
  const bool words = *rc::gen::arbitrary<bool>();
  const uint32_t width = randomWidth();
  const uint32_t height = randomHeight();
  const FileForm form = randomForm();
  const std::string split = randomSplit();
  RC_LOG() << "compression " << compression << ", " << width << " x " << height << ", order "
           << form.order << ", photometric " << form.photometric << ", split " << split
           << std::endl;

  std::vector<Separation> inks;
  std::vector<Samples> channels;
  std::vector<InkSetting> settings;
  for (const char* ink : {"C", "M", "Y", "K"}) {
    const int depth = words ? 10 : oneOf<int>({1, 2, 4, 8});
    inks.push_back({ink, depth, randomSamples(width, height, words ? 16 : 8), form});
    channels.push_back(inks.back().samples);
    settings.push_back({ink, "", depth});
  }
  image("cmyk.tif", channels, form);
  const std::string section =
      imageSection("3", 4, compression, settings, "ImageFileCMYK=\"cmyk.tif\"\n");
  const auto want = sentRows(inks, 4);
  RC_ASSERT(difference({split}, section, want, shapeOf(want, 0x00)) == "");
}

// The receiver of these tests is only worth its agreement when it refuses what is wrong.
TEST(StreamDecoderTest, RefusesWhatAPrinterCouldNotFollow) {
  const PageShape shape = {{2, 2}, 3, 0x00, false};
  const auto page = [](const Bytes& rows) {
    return joined({"~%-12345X~%0A~E", "~*t600R", "~*r1A", "~*b0M", rows, "~*rC", "~$E~%-12345X"});
  };
  const Bytes row = joined({"~*b2V", Bytes{1, 2}, "~*b2W", Bytes{3, 4}});
  const DecodedStream good = decodeStream(page(joined({row, "~*b1Y", row})), {shape});
  EXPECT_EQ(good.pages[0].rows,
            (std::vector<std::vector<Bytes>>{{{1, 2}, {0, 0}, {1, 2}}, {{3, 4}, {0, 0}, {3, 4}}}));

  struct Case {
    const char* name;
    Bytes stream;
  };
  const Case kCases[] = {
      {"nothing", {}},
      {"no end", joined({"~%-12345X~%0A~E"})},
      {"bytes behind the end", joined({page(row), "x"})},
      {"a missing page", joined({"~%-12345X~%0A~E", "~$E~%-12345X"})},
      {"an additional page",
       joined({"~%-12345X~%0A~E", "~*t6R~*r1A~*b0M~*rC", "~*t6R~*r1A~*b0M~*rC", "~$E~%-12345X"})},
      {"one plane too few", page(joined({"~*b2W", Bytes{1, 2}}))},
      {"one plane too many", page(joined({"~*b1V", Bytes{1}, "~*b1V", Bytes{1}}))},
      {"half a row at the end", page(joined({"~*b1V", Bytes{1}}))},
      {"a row that is too long", page(joined({"~*b3V", Bytes{1, 2, 3}, "~*b0W"}))},
      {"an offset inside a row", page(joined({"~*b1V", Bytes{1}, "~*b1Y", "~*b0W"}))},
      {"rows behind the end", page(joined({row, row, row, row}))},
      {"an offset behind the end", page(joined({row, "~*b3Y", row}))},
      {"an offset upwards", page(joined({"~*b-1Y"}))},
      {"an unknown compression", page(joined({"~*b1M", row}))},
      {"a difference in the first row", page(joined({"~*b3M", "~*b0V", "~*b0W"}))},
      {"a difference behind an offset", page(joined({row, "~*b1Y", "~*b3M", "~*b0V", "~*b0W"}))},
      {"a difference behind the row's end",
       page(joined({row, "~*b3M", "~*b2V", Bytes{0x02, 9}, "~*b0W"}))},
      {"PackBits cut off", page(joined({"~*b2M", "~*b2V", Bytes{1, 9}, "~*b0W"}))},
      {"HXRC of another length", page(joined({"~*b4M", "~*b2V", Bytes{0xD8, 0}, "~*b0W"}))},
      {"an unknown command", page(joined({"~*b1Q"}))},
      {"an end of page inside raster mode", page(joined({"~$E"}))},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_THROW(decodeStream(c.stream, {shape}), std::runtime_error);
  }
}

}  // namespace
