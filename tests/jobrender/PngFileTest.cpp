// Tests of the PNG writer: what a reader gets back, when the file appears, and what is left when
// it does not.
#include "PngFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "PngReader.h"
#include "ReadError.h"
#include "TempFolder.h"

namespace {

using jobreader::FileError;
using jobrender::PngFile;
using jobrender::PngFormat;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> namesIn(const TempFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    names.push_back(entry.path().filename().string());
  return names;
}

void write(const std::string& path, const PngFormat& format, const std::vector<Bytes>& rows,
           bool overwrite = false) {
  PngFile file(path, format, overwrite);
  for (const Bytes& row : rows) file.writeRow(row);
  file.finish();
}

template <typename Error = FileError, typename Action>
std::string messageOf(const Action& action) {
  try {
    action();
  } catch (const Error& error) {
    return error.what();
  }
  return "nothing was thrown";
}

// Files cannot grow beyond a size while this lives.
class SmallDisk {
 public:
  explicit SmallDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~SmallDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_ = {};
};

TEST(PngFile, WritesGrayOfEachDepthWithTheLeftmostPixelInTheHighestBits) {
  struct Case {
    const char* name;
    uint32_t width;
    int depth;
    Bytes row, pixels;
  };
  const Case cases[] = {
      {"1 bit", 10, 1, {0xA0, 0x40}, {255, 0, 255, 0, 0, 0, 0, 0, 0, 255}},
      {"2 bits", 5, 2, {0x1B, 0x80}, {0, 85, 170, 255, 170}},
      {"4 bits", 3, 4, {0x0F, 0x80}, {0, 255, 136}},
      {"8 bits", 2, 8, {0x07, 0xFE}, {7, 254}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const TempFolder folder;
    write(folder.path("a.png"), {c.width, 1, c.depth}, {c.row});
    const PngPicture picture = readPng(folder.path("a.png"));
    EXPECT_EQ(picture.width, c.width);
    EXPECT_EQ(picture.height, 1U);
    EXPECT_EQ(picture.bitDepth, c.depth);
    EXPECT_FALSE(picture.isColour);
    EXPECT_EQ(picture.pixels, c.pixels);
  }
}

TEST(PngFile, WritesColourRowByRow) {
  const TempFolder folder;
  const std::vector<Bytes> rows = {{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}};
  write(folder.path("a.png"), {2, 2, 8, true}, rows);
  const PngPicture picture = readPng(folder.path("a.png"));
  EXPECT_TRUE(picture.isColour);
  EXPECT_EQ(picture.pixels, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST(PngFile, SaysItsSizeOnPaperWhenItIsKnown) {
  const TempFolder folder;
  write(folder.path("a.png"), {1, 1, 8, false, 23622, 11811}, {{0}});
  write(folder.path("b.png"), {1, 1, 8, false, 23622, 0}, {{0}});
  EXPECT_EQ(readPng(folder.path("a.png")).xPixelsPerMetre, 23622U);
  EXPECT_EQ(readPng(folder.path("a.png")).yPixelsPerMetre, 11811U);
  EXPECT_EQ(readPng(folder.path("b.png")).xPixelsPerMetre, 0U);
}

TEST(PngFile, GivesTheSameBytesForTheSameRows) {
  const TempFolder folder;
  write(folder.path("a.png"), {2, 1}, {{1, 2}});
  write(folder.path("b.png"), {2, 1}, {{1, 2}});
  EXPECT_EQ(folder.bytes("a.png"), folder.bytes("b.png"));
}

TEST(PngFile, AppearsWhenItIsFinished) {
  const TempFolder folder;
  PngFile file(folder.path("a.png"), {1, 1}, false);
  file.writeRow(Bytes{0});
  EXPECT_FALSE(folder.exists("a.png"));
  file.finish();
  EXPECT_THAT(namesIn(folder), ElementsAre("a.png"));
}

TEST(PngFile, LeavesNothingWhenItIsNotFinished) {
  const TempFolder folder;
  {
    PngFile file(folder.path("a.png"), {1, 2}, false);
    file.writeRow(Bytes{0});
    EXPECT_THAT(namesIn(folder), testing::SizeIs(1));
  }
  EXPECT_THAT(namesIn(folder), IsEmpty());
}

TEST(PngFile, RefusesAFileThatIsThere) {
  const TempFolder folder;
  folder.write("a.png", "mine");
  const std::string path = folder.path("a.png");
  EXPECT_EQ(messageOf([&] { const PngFile file(path, {1, 1}, false); }), path + ": exists already");
  EXPECT_EQ(folder.text("a.png"), "mine");
  EXPECT_THAT(namesIn(folder), ElementsAre("a.png"));
}

TEST(PngFile, RefusesALinkThatLeadsNowhere) {
  const TempFolder folder;
  std::filesystem::create_symlink("nowhere", folder.path("a.png"));
  EXPECT_THROW(PngFile(folder.path("a.png"), {1, 1}, false), FileError);
}

TEST(PngFile, ReplacesAFileWhenToldTo) {
  const TempFolder folder;
  folder.write("a.png", "old");
  PngFile file(folder.path("a.png"), {1, 1}, true);
  file.writeRow(Bytes{9});
  EXPECT_EQ(folder.text("a.png"), "old");
  file.finish();
  EXPECT_EQ(readPng(folder.path("a.png")).pixels, Bytes{9});
}

TEST(PngFile, DoesNotReplaceAFolder) {
  const TempFolder folder;
  folder.write("a.png/inside", "");
  EXPECT_THROW(write(folder.path("a.png"), {1, 1}, {{0}}, true), FileError);
  EXPECT_THAT(namesIn(folder), ElementsAre("a.png"));
}

TEST(PngFile, NamesTheFileAndTheCauseWhenItCannotBeMade) {
  const TempFolder folder;
  const std::string path = folder.path("missing/a.png");
  EXPECT_EQ(messageOf([&] {
              const PngFile file(path, {1, 1}, false);
            }),
            path + ": No such file or directory");
}

TEST(PngFile, LeavesNothingOnAFullDisk) {
  const TempFolder folder;
  const std::string path = folder.path("a.png");
  Bytes noise(40000);
  uint32_t state = 1;
  for (uint8_t& byte : noise) byte = static_cast<uint8_t>((state = state * 1664525 + 1) >> 24);
  std::string message;
  {
    const SmallDisk disk(1000);
    message = messageOf([&] { write(path, {40000, 9}, std::vector<Bytes>(9, noise)); });
  }
  EXPECT_EQ(message, path + ": File too large");
  EXPECT_THAT(namesIn(folder), IsEmpty());
}

TEST(PngFile, NoticesAFullDiskInTheLastBytes) {
  const TempFolder folder;
  std::string message;
  {
    const SmallDisk disk(20);
    message = messageOf([&] { write(folder.path("a.png"), {1, 1}, {{0}}); });
  }
  EXPECT_THAT(message, HasSubstr("File too large"));
  EXPECT_THAT(namesIn(folder), IsEmpty());
}

TEST(PngFile, RefusesASideThatThereIsNot) {
  const TempFolder folder;
  for (const uint32_t width : {0U, PngFile::kMaxSide + 1}) {
    const std::string message = messageOf([&] {
      const PngFile file(folder.path("a.png"), {width, 1}, false);
    });
    EXPECT_THAT(message, AllOf(HasSubstr("a.png"), HasSubstr("IHDR")));
  }
  EXPECT_NO_THROW(PngFile(folder.path("a.png"), {PngFile::kMaxSide, 1}, false));
  EXPECT_THAT(namesIn(folder), IsEmpty());
}

TEST(PngFile, TakesAsManyRowsAsItsHeight) {
  const TempFolder folder;
  PngFile file(folder.path("a.png"), {8, 1, 1}, false);
  EXPECT_THROW(file.finish(), std::logic_error);
  EXPECT_THROW(file.writeRow(Bytes{0, 0}), std::logic_error);
  file.writeRow(Bytes{0});
  EXPECT_THROW(file.writeRow(Bytes{0}), std::logic_error);
  EXPECT_NO_THROW(file.finish());
}

}  // namespace
