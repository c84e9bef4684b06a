// Tests of drawing a whole job file: from its bytes to the pictures in a folder.
#include "JobRenderer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "PngReader.h"
#include "ReadError.h"
#include "TempFolder.h"

namespace {

using namespace std::string_literals;

using jobreader::FileError;
using jobreader::JobFile;
using jobreader::JobSummary;
using jobrender::Picture;
using jobrender::RenderOptions;
using testing::SizeIs;

// Two pages of black at one bit, 16 pixels wide: a blank row, FF 00 and 80 01; then 00 01 alone.
const std::string kStream =
    "\x1B%-12345X\x1B%0A\x1B"
    "E"
    "\x1B$v10W\5\1\0\0\0\0\1\0\0\0"
    "\x1B*t600R\x1B*p0X\x1B*p0Y\x1B*r1A\x1B*b0M\x1B*b1Y\x1B*b1W\xFF\x1B*b2W\x80\x01\x1B*rC"
    "\x1B*t600R\x1B*p0X\x1B*p0Y\x1B*r1A\x1B*b0M\x1B*b2W\0\x01\x1B*rC"
    "\x1B$E\x1B%-12345X"s;

std::string packet(const std::string& name, const std::string& values) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><j:" + name + " xmlns:j=\"urn:example:j\">" +
         values + "</j:" + name + ">";
}

std::string jobBytes() {
  const std::string size = std::to_string(kStream.size());
  const std::string start = packet("StartJob", "<j:name>a</j:name>");
  const std::string data =
      packet("SendData", "<j:datasize>" + size + "</j:datasize><j:continue>OFF</j:continue>");
  return start + data + kStream + packet("EndJob", "<j:state>done</j:state>");
}

// A job in a folder, and a way to draw it into another.
class Job {
 public:
  Job() : file_(folder_.write("job.odx", jobBytes())) {
    summary_ = jobreader::summarise(file_, nullptr);
    EXPECT_FALSE(summary_.damage) << summary_.damage->text;
  }

  std::vector<Picture> render(RenderOptions options = {}) {
    options.folder = folder_.path(options.folder.empty() ? "out" : options.folder);
    return jobrender::renderJob(file_, nullptr, summary_, options);
  }
  [[nodiscard]] const TempFolder& folder() const { return folder_; }
  [[nodiscard]] Bytes pixels(const std::string& name) const {
    return readPng(folder_.path(name)).pixels;
  }

 private:
  TempFolder folder_;
  JobFile file_;
  JobSummary summary_;
};

TEST(JobRenderer, DrawsAllPagesIntoANewFolder) {
  Job job;
  RenderOptions options;
  options.folder = "a/b";
  const std::vector<Picture> pictures = job.render(options);
  ASSERT_THAT(pictures, SizeIs(4));
  EXPECT_EQ(pictures[0].path, job.folder().path("a/b/page-1-K.png"));
  EXPECT_EQ(pictures[0].width, 16U);
  EXPECT_EQ(pictures[0].height, 3U);
  const PngPicture first = readPng(pictures[0].path);
  Bytes want(48, 255);
  std::fill_n(want.begin() + 16, 8, uint8_t{0});
  want[32] = want[47] = 0;
  EXPECT_EQ(first.pixels, want);
  EXPECT_EQ(first.xPixelsPerMetre, 23622U);
  Bytes last(16, 255);
  last[15] = 0;
  EXPECT_EQ(job.pixels("a/b/page-2-K.png"), last);
}

TEST(JobRenderer, DrawsTheSameBytesAgain) {
  Job job;
  job.render();
  const Bytes before = job.folder().bytes("out/page-1.png");
  RenderOptions options;
  options.overwrite = true;
  job.render(options);
  EXPECT_EQ(job.folder().bytes("out/page-1.png"), before);
}

TEST(JobRenderer, DrawsNothingWhenAFileIsInTheWayOfTheLastPicture) {
  Job job;
  job.folder().write("out/page-2.png", "mine");
  EXPECT_THROW(job.render(), FileError);
  EXPECT_FALSE(job.folder().exists("out/page-1.png"));
  EXPECT_EQ(job.folder().text("out/page-2.png"), "mine");
}

TEST(JobRenderer, MakesNoFolderWhenThereIsNothingToDraw) {
  Job job;
  RenderOptions options;
  options.pages = {3};
  EXPECT_THROW(job.render(options), std::invalid_argument);
  EXPECT_FALSE(job.folder().exists("out"));
}

TEST(JobRenderer, NamesAFolderThatCannotBeMade) {
  Job job;
  job.folder().write("out", "a file");
  try {
    job.render();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const FileError& error) {
    EXPECT_THAT(error.what(), testing::StartsWith(job.folder().path("out") + ": "));
  }
}

TEST(JobRenderer, TellsItsProgress) {
  Job job;
  uint64_t reached = 0;
  RenderOptions options;
  options.progress = [&reached](uint64_t offset) { reached = offset; };
  job.render(options);
  EXPECT_EQ(reached, jobBytes().size());
}

}  // namespace
