// JobSummary: what a job file adds up to, and how much of a page's size the file itself tells.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JobSummary.h"
#include "PageJob.h"

namespace {

using jobreader::JobFile;
using jobreader::JobSummary;
using jobreader::PageSummary;

class JobSummaryTest : public PageJob {
 protected:
  /// The summary of a file of three packets around a stream that has one page.
  JobSummary summaryOf(const Bytes& configuration, const Bytes& page) const {
    const Bytes stream =
        joined({"~%-12345X~%0A~E", configuration, "~*t600R~*r1A", page, "~*rC~$E~%-12345X"});
    const std::string path =
        folder.write("job.odx", joined({"<SJ/><SD><datasize>" + std::to_string(stream.size()) +
                                            "</datasize><continue>OFF</continue></SD>",
                                        stream, "<EJ><datasize>0</datasize></EJ>"}));
    JobFile file(path);
    JobSummary summary = summarise(file, nullptr);
    EXPECT_FALSE(summary.damage) << summary.damage->text;
    return summary;
  }

  static Bytes blackOf(uint8_t depth) {
    return joined({"~$v10W", Bytes{5, 1, 0, 0, 0, 0, depth, 0, 0, 0}});
  }
};

TEST_F(JobSummaryTest, TrimmedRowsShowTheirLastPixelThatIsNotBlank) {
  struct Case {
    const char* name;
    uint8_t depth;
    Bytes row;
    uint64_t width;
  };
  const Case kCases[] = {
      {"one bit, the first pixel of the last byte", 1, {0xFF, 0x80}, 9},
      {"one bit, the last one", 1, {0x01}, 8},
      {"two bits", 2, {0x00, 0x40}, 5},
      {"two bits, the low one of a pixel", 2, {0x10}, 2},
      {"four bits", 4, {0x00, 0x00, 0x0F}, 6},
      {"eight bits", 8, {0, 0, 7}, 3},
      {"sixteen bits", 16, {0, 0, 7, 0}, 2},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string command = "~*b" + std::to_string(c.row.size()) + "W";
    const JobSummary summary = summaryOf(blackOf(c.depth), joined({"~*b0M", command, c.row}));
    EXPECT_EQ(summary.pages.at(0).width(), c.width);
    EXPECT_FALSE(summary.pages.at(0).isWidthExact());
  }
}

TEST_F(JobSummaryTest, WholeRowsShowTheirWidthToTheByte) {
  const Bytes rows = joined({"~*b3M~*b0M~*b2W", Bytes{0, 0}, "~*b3M~*b0W"});
  const PageSummary bytes = summaryOf(blackOf(8), rows).pages.at(0);
  EXPECT_EQ(bytes.width(), 2U);
  EXPECT_TRUE(bytes.isWidthExact());
  const PageSummary bits = summaryOf(blackOf(1), rows).pages.at(0);
  EXPECT_EQ(bits.width(), 9U);
  EXPECT_FALSE(bits.isWidthExact());
}

TEST_F(JobSummaryTest, AnAssumedDepthDoesNotMakeThePageWider) {
  // Light cyan and light magenta are not named: their depth is taken to be that of cyan and
  // magenta.
  const Bytes six = joined({"~$v10W", Bytes{3, 6, 5, 1, 6, 1, 7, 1, 8, 1}});
  const Bytes row = joined(
      {"~*b0M~*b1V", Bytes{0x80}, "~*b0V~*b0V~*b0V~*b8V", Bytes{1, 1, 1, 1, 1, 1, 1, 1}, "~*b0W"});
  const PageSummary page = summaryOf(six, row).pages.at(0);
  EXPECT_EQ(page.width(), 1U);
  EXPECT_TRUE(page.planes.at(4).format.assumed);
}

TEST_F(JobSummaryTest, RowsAndTheirBytesAreCountedByPlane) {
  const Bytes two = joined({"~$v10W", Bytes{3, 4, 5, 8, 6, 8, 7, 8, 8, 8}});
  const Bytes rows = joined({"~*b2M~*b2Y", "~*b2V", Bytes{0, 9}, "~*b0V~*b0V~*b0W", "~*b0V~*b2V",
                             Bytes{0, 9}, "~*b0V~*b0W"});
  const PageSummary page = summaryOf(two, rows).pages.at(0);
  EXPECT_EQ(page.rows, 4U);
  EXPECT_EQ(page.blankRows, 2U);
  EXPECT_EQ(page.planes.at(0).rows, 1U);
  EXPECT_EQ(page.planes.at(2).rows, 0U);
  EXPECT_EQ(page.codedBytes(), 4U);
  EXPECT_EQ(page.plainBytes(), 4U * 4U);
  EXPECT_EQ(page.methods, (std::vector<int>{2}));
}

TEST_F(JobSummaryTest, AnEndPacketThatSaysAnotherSizeIsNoted) {
  const JobSummary summary = summaryOf(blackOf(1), joined({"~*b0M"}));
  ASSERT_FALSE(summary.notes.empty());
  EXPECT_EQ(summary.notes.at(0).text.substr(0, 27), "the end packet says 0 bytes");
}

}  // namespace
