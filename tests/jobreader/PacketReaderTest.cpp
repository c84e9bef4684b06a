// Tests of taking a job file apart into packets and data: with the job's templates and by the
// structure of the packets, for whole files, for damaged ones and for files of the library.
#include "PacketReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "JobFolder.h"
#include "ReadError.h"
#include "TempFolder.h"

namespace {

using namespace std::string_literals;
using jobreader::FileError;
using jobreader::JobFile;
using jobreader::JobTemplates;
using jobreader::Packet;
using jobreader::PacketReader;
using jobreader::PacketRole;
using jobreader::PacketSink;
using jobreader::Packing;
using jobreader::ReadError;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// How a test reads the data.
struct Way {
  size_t most = SIZE_MAX;           // bytes to take of a window
  uint64_t stopAfter = UINT64_MAX;  // bytes to take in all
  bool skip = false;                // pass over the rest
};

// What reading a file gave. Places are written "offset: text".
struct Reading {
  std::vector<Packet> packets;
  std::vector<std::string> differences;
  std::vector<std::string> notes;
  std::optional<uint64_t> bare;
  std::string data;
  std::vector<uint64_t> starts;  // offsets of the windows
  std::string error = "none";

  // "SD@32+10": name, offset and data of each packet; the end packet has a full stop.
  [[nodiscard]] std::string outline() const {
    std::string text;
    for (const Packet& packet : packets) {
      if (!text.empty()) text += ' ';
      text += packet.name + "@" + std::to_string(packet.offset);
      if (packet.role == PacketRole::kSendData) text += "+" + std::to_string(packet.dataBytes);
      if (packet.role == PacketRole::kEnd) text += ".";
    }
    return text;
  }
  [[nodiscard]] bool isClean() const {
    return error == "none" && differences.empty() && notes.empty();
  }
};

class Recorder : public PacketSink {
 public:
  explicit Recorder(Reading& reading) : reading_(reading) {}
  void packet(const Packet& packet) override { reading_.packets.push_back(packet); }
  void bareData(uint64_t offset) override { reading_.bare = offset; }
  void packetNote(uint64_t offset, const std::string& text) override {
    reading_.notes.push_back(std::to_string(offset) + ": " + text);
  }
  void packetDifference(uint64_t offset, const std::string& text) override {
    reading_.differences.push_back(std::to_string(offset) + ": " + text);
  }

 private:
  Reading& reading_;
};

void readData(PacketReader& reader, const Way& way, Reading& reading) {
  while (reading.data.size() < way.stopAfter) {
    const uint64_t offset = reader.offset();
    const std::span<const uint8_t> bytes = reader.window();
    if (bytes.empty()) return;
    const auto left =
        static_cast<size_t>(std::min<uint64_t>(way.stopAfter - reading.data.size(), bytes.size()));
    const size_t count = std::min(way.most, left);
    if (reading.starts.size() < 100) reading.starts.push_back(offset);
    reading.data.append(reinterpret_cast<const char*>(bytes.data()), count);
    reader.advance(count);
  }
}

Reading readingOf(const std::string& path, const JobTemplates* templates, const Way& way) {
  Reading reading;
  Recorder recorder(reading);
  try {
    JobFile file(path);
    PacketReader reader(file, recorder, templates);
    reader.readOpening();
    readData(reader, way, reading);
    if (way.skip) reader.skipData();
    reader.readEnd();
  } catch (const ReadError& failure) {
    reading.error = std::to_string(failure.offset()) + ": " + failure.what();
  }
  return reading;
}

// A folder with the templates of a job.
class PacketReaderTest : public testing::Test {
 protected:
  PacketReaderTest() {
    job.startJob = folder.write("SJ.xml", "<SJ>\n<x:K>1</x:K>\n</SJ>\n");
    job.setJobConfiguration = folder.write("SJC.xml", "<SJC/>\n");
    job.setConfiguration = folder.write("SC.xml", "<SC/>\n");
    job.sendData = folder.write("SD.xml",
                                "<SD>\n<d:datasize>0</d:datasize>\n"
                                "<d:continue>?</d:continue></SD>\n");
    job.endJob = folder.write("EJ.xml", "<EJ>\n<d:datasize>0</d:datasize>\n</EJ>\n");
  }

  void packing(Packing packing, uint32_t chunkBytes = 0, bool announcesMore = true) {
    job.packing = packing;
    job.chunkBytes = chunkBytes;
    job.announcesMore = announcesMore;
  }
  // The same bytes, with and without the templates.
  Reading known(std::string_view bytes, const Way& way = {}) const {
    return readingOf(folder.write("job.dat", bytes), &job, way);
  }
  Reading found(std::string_view bytes, const Way& way = {}) const {
    return readingOf(folder.write("job.dat", bytes), nullptr, way);
  }

  TempFolder folder;
  JobTemplates job;
};

// The opening packets of these templates: 32 bytes.
const std::string kStart = "<SJ><x:K>1</x:K></SJ><SJC/><SC/>";

std::string sendData(uint64_t size, std::string_view more) {
  return "<SD><d:datasize>" + std::to_string(size) + "</d:datasize><d:continue>" +
         std::string(more) + "</d:continue></SD>";
}

// The end packet behind so many bytes, all of which counted.
std::string endBehind(std::string_view bytes) {
  return "<EJ><d:datasize>" + std::to_string(bytes.size() + 4) + "</d:datasize></EJ>";
}

std::string closed(const std::string& bytes) {
  return bytes + endBehind(bytes);
}

// A job file as the rules have it, written out packet by packet.
std::string splitJob(std::string_view data, size_t chunk) {
  std::string bytes = kStart;
  while (!data.empty()) {
    const std::string_view piece = data.substr(0, chunk);
    bytes += sendData(piece.size(), piece.size() == chunk ? "ON" : "OFF");
    bytes += piece;
    data.remove_prefix(piece.size());
  }
  return closed(bytes);
}

std::string onePacketJob(const std::string& data) {
  return closed(kStart + sendData(data.size(), "OFF") + data);
}

std::string bareJob(const std::string& data) {
  return kStart + data + endBehind(kStart);
}

// Data that look like a raster stream as far as packets go: no tag in them.
std::string streamOf(size_t size) {
  std::string data = "\x1B%-12345X";
  for (size_t i = data.size(); i < size; ++i) data.push_back(static_cast<char>('a' + i % 23));
  return data.substr(0, size);
}

// Whole files -------------------------------------------------------------------------------------

TEST_F(PacketReaderTest, ASplitJobIsReadInBothWays) {
  packing(Packing::kSplit, 10);
  struct Case {
    const char* name;
    size_t bytes;
    const char* outline;
  };
  const Case kCases[] = {
      {"no data, no packet", 0, "SJ@0 SJC@21 SC@27 EJ@32."},
      {"one byte", 1, "SJ@0 SJC@21 SC@27 SD@32+1 EJ@96."},
      {"one less than a chunk", 9, "SJ@0 SJC@21 SC@27 SD@32+9 EJ@104."},
      {"a chunk", 10, "SJ@0 SJC@21 SC@27 SD@32+10 EJ@105."},
      {"one more than a chunk", 11, "SJ@0 SJC@21 SC@27 SD@32+10 SD@105+1 EJ@169."},
      {"two chunks", 20, "SJ@0 SJC@21 SC@27 SD@32+10 SD@105+10 EJ@178."},
      {"more", 25, "SJ@0 SJC@21 SC@27 SD@32+10 SD@105+10 SD@178+5 EJ@246."},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string data = streamOf(c.bytes);
    const std::string bytes = splitJob(data, 10);
    for (const size_t most : {size_t{1}, size_t{7}, SIZE_MAX}) {
      for (const Reading& reading : {known(bytes, {.most = most}), found(bytes, {.most = most})}) {
        EXPECT_TRUE(reading.isClean()) << reading.error;
        EXPECT_EQ(reading.outline(), c.outline);
        EXPECT_EQ(reading.data, data);
        EXPECT_FALSE(reading.bare);
      }
    }
  }
}

TEST_F(PacketReaderTest, PacketsSayWhatTheirXmlSays) {
  packing(Packing::kSplit, 10);
  const std::string bytes = splitJob(streamOf(12), 10);
  for (const Reading& reading : {known(bytes), found(bytes)}) {
    ASSERT_THAT(reading.packets, SizeIs(6));
    const Packet& start = reading.packets[0];
    EXPECT_EQ(start.role, PacketRole::kOpening);
    EXPECT_EQ(start.size, 21U);
    ASSERT_THAT(start.values, SizeIs(1));
    EXPECT_EQ(start.values[0].name, "K");
    EXPECT_EQ(start.values[0].text, "1");
    EXPECT_FALSE(start.values[0].overridden);
    const Packet& full = reading.packets[3];
    EXPECT_EQ(full.role, PacketRole::kSendData);
    EXPECT_EQ(full.dataSize, 10U);
    EXPECT_EQ(full.continues, true);
    const Packet& last = reading.packets[4];
    EXPECT_EQ(last.dataSize, 2U);
    EXPECT_EQ(last.continues, false);
    const Packet& end = reading.packets[5];
    EXPECT_EQ(end.role, PacketRole::kEnd);
    EXPECT_EQ(end.dataSize, end.offset + 4);
    EXPECT_EQ(end.continues, std::nullopt);
  }
}

TEST_F(PacketReaderTest, TheOffsetIsThatOfTheNextByteOfData) {
  packing(Packing::kSplit, 10);
  const std::string bytes = splitJob(streamOf(25), 10);
  for (const Reading& reading : {known(bytes), found(bytes)})
    EXPECT_THAT(reading.starts, ElementsAre(95, 168, 241));
  JobFile file(folder.write("job.dat", bytes));
  const JobTemplates* const kTemplates[] = {&job, nullptr};
  for (const JobTemplates* templates : kTemplates) {
    file.seek(0);
    Reading reading;
    Recorder recorder(reading);
    PacketReader reader(file, recorder, templates);
    reader.readOpening();
    EXPECT_THAT(reading.packets, SizeIs(4));
    reader.skipData();
    EXPECT_EQ(reader.offset(), 246U);
    EXPECT_TRUE(reader.window().empty());
    reader.readEnd();
  }
}

TEST_F(PacketReaderTest, AOnePacketJobIsReadInBothWays) {
  packing(Packing::kOnePacket);
  for (const size_t size : {0U, 1U, 9U, 10U, 99U, 100U, 827U, 837U, 65536U, 300000U}) {
    SCOPED_TRACE(size);
    const std::string data = streamOf(size);
    for (const Reading& reading : {known(onePacketJob(data)), found(onePacketJob(data))}) {
      EXPECT_TRUE(reading.isClean()) << reading.error;
      ASSERT_THAT(reading.packets, SizeIs(5));
      EXPECT_EQ(reading.packets[3].role, PacketRole::kSendData);
      EXPECT_EQ(reading.packets[3].dataBytes, size);
      EXPECT_TRUE(reading.data == data);
    }
  }
}

TEST_F(PacketReaderTest, BareDataEndWhereTheFileOrTheirReaderSays) {
  packing(Packing::kBare);
  const std::string data = streamOf(1000);
  const Reading one = known(bareJob(data));
  EXPECT_TRUE(one.isClean()) << one.error;
  EXPECT_EQ(one.data, data);
  EXPECT_EQ(one.bare, 32U);
  EXPECT_EQ(one.outline(), "SJ@0 SJC@21 SC@27 EJ@1032.");

  // Without templates the windows go on, and whoever knows the stream stops.
  const Reading two = found(bareJob(data), {.stopAfter = 1000});
  EXPECT_TRUE(two.isClean()) << two.error;
  EXPECT_EQ(two.data, data);
  EXPECT_EQ(two.bare, 32U);
  EXPECT_EQ(two.outline(), one.outline());

  const Reading three = found(bareJob(data));
  EXPECT_EQ(three.data, data + endBehind(kStart));
  EXPECT_EQ(three.error, "1068: the end packet is missing");
}

TEST_F(PacketReaderTest, BareDataOfNoBytesAreNotThere) {
  packing(Packing::kBare);
  for (const Reading& reading : {known(bareJob("")), found(bareJob(""))}) {
    EXPECT_TRUE(reading.isClean());
    EXPECT_FALSE(reading.bare);
    EXPECT_EQ(reading.outline(), "SJ@0 SJC@21 SC@27 EJ@32.");
  }
}

TEST_F(PacketReaderTest, TheEndPacketBehindForeignDataIsFound) {
  packing(Packing::kBare);
  struct Case {
    const char* name;
    std::string data;
    std::string end;
  };
  const Case kCases[] = {
      {"text", "any text", "<EJ/>"},
      {"with a declaration", "any text", "<?xml version=\"1.0\"?><EJ><a>1</a></EJ>"},
      {"with a comment before its root", "any text", "<!-- x --><EJ><a>1</a></EJ>"},
      {"with a comment behind its root", "any text", "<EJ><a>1</a></EJ> <!-- x -->"},
      {"with an element called like the root", "any text", "<EJ><EJ>1</EJ></EJ>"},
      {"data with other tags", "a <b>c</b> <?xml ?>.", "<EJ></EJ>"},
      {"data with a document", "text<?xml ?><svg><a/></svg>", "<?xml ?><EJ></EJ>"},
      {"data with the root's name", "text </EJ> text", "<EJ></EJ>"},
      {"data with a tag that is cut", "text <?xml ver", "<EJ></EJ>"},
      {"many bytes", streamOf(3000000), "<EJ></EJ>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Reading reading = found(kStart + c.data + c.end, {.stopAfter = 1, .skip = true});
    EXPECT_EQ(reading.error, "none");
    ASSERT_FALSE(reading.packets.empty());
    EXPECT_EQ(reading.packets.back().offset, kStart.size() + c.data.size());
    EXPECT_EQ(reading.packets.back().role, PacketRole::kEnd);
  }
}

TEST_F(PacketReaderTest, ForeignDataWithoutAnEndPacketAreReported) {
  for (const std::string& data : {"any text"s, "any <b>text"s, "text</EJ>"s, "text <a/> more"s}) {
    const Reading reading = found(kStart + data, {.stopAfter = 0, .skip = true});
    EXPECT_EQ(reading.error,
              std::to_string(kStart.size() + data.size()) + ": the end packet is missing")
        << data;
  }
}

TEST_F(PacketReaderTest, BytesMadeToLookLikeEndPacketsTakeBoundedTime) {
  std::string data = "x";
  while (data.size() < 2000000) data += "<?xml ?><EJ x='1'>";
  const Reading reading = found(kStart + data + "</EJ>", {.stopAfter = 0, .skip = true});
  EXPECT_THAT(reading.error, HasSubstr("the end packet is missing"));
}

TEST_F(PacketReaderTest, ANegativeSplitSizeIsReadInBothWays) {
  packing(Packing::kSplit, 65536, false);
  const std::string data = streamOf(65546);
  const std::string bytes = closed(kStart + sendData(65536, "OFF") + data.substr(0, 65536) +
                                   sendData(10, "OFF") + data.substr(65536));
  const Reading one = known(bytes);
  EXPECT_TRUE(one.isClean()) << one.error;
  EXPECT_TRUE(one.data == data);
  const Reading two = found(bytes);
  EXPECT_EQ(two.error, "none");
  EXPECT_THAT(two.notes,
              ElementsAre("65635: all send-data packets say OFF, as with a negative split size"));
  EXPECT_TRUE(two.data == data);
}

TEST_F(PacketReaderTest, ManyPacketsAreRead) {
  packing(Packing::kSplit, 1);
  const std::string data = streamOf(100000);
  const std::string bytes = splitJob(data, 1);
  for (const Reading& reading : {known(bytes), found(bytes)}) {
    EXPECT_TRUE(reading.isClean());
    EXPECT_THAT(reading.packets, SizeIs(100004));
    EXPECT_TRUE(reading.data == data);
  }
}

// Odd templates -----------------------------------------------------------------------------------

TEST_F(PacketReaderTest, LinesThatWereCutAreReadInBothWays) {
  packing(Packing::kSplit, 10);
  struct Case {
    const char* name;
    std::string startJob;
    std::string written;
  };
  const Case kCases[] = {
      {"300 characters, 44 left",
       "<?xml ?><SJ>\n<a>" + std::string(293, 'x') + "</a>\n<b>1</b>\n</SJ>",
       "<?xml ?><SJ><a>" + std::string(41, 'x') + "<b>1</b></SJ>"},
      {"256 characters, none left",
       "<?xml ?><SJ>\n<a>" + std::string(249, 'x') + "</a>\n<b>1</b>\n</SJ>",
       "<?xml ?><SJ><b>1</b></SJ>"},
      {"the root's tag without its end",
       "<?xml ?><SJ " + std::string(253, 'x') + ">\n<b>1</b>\n</SJ>", "<?xml ?><S<b>1</b></SJ>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    folder.write("SJ.xml", c.startJob);
    std::string bytes = c.written + "<SJC/><SC/>" + sendData(3, "OFF") + "abc";
    size_t counted = bytes.size() - c.written.size();
    for (const char ch : c.startJob)
      if (ch != '\n') ++counted;
    bytes += "<EJ><d:datasize>" + std::to_string(counted + 4) + "</d:datasize></EJ>";
    EXPECT_TRUE(known(bytes).isClean()) << known(bytes).error;
    EXPECT_EQ(found(bytes).error, "none");
    EXPECT_EQ(found(bytes).data, "abc");
  }
}

TEST_F(PacketReaderTest, WithoutItsRootAPacketIsReadAsThePiecesThatAreLeft) {
  const Reading reading = found("<a>1</a><b>2</b></SJC><SC/>" + sendData(3, "OFF") + "abc<EJ/>");
  EXPECT_EQ(reading.outline(), "a@0 b@8 SC@22 SD@27+3 EJ@93.");
  EXPECT_THAT(reading.notes, ElementsAre("16: the end tag \"</SJC>\" belongs to no packet",
                                         HasSubstr("does not say the size of the job")));
  const Reading end = found(kStart + sendData(3, "OFF") + "abc<n>5</n><b>2</b></EJ> ");
  EXPECT_EQ(end.error, "none");
  EXPECT_EQ(end.outline(), "SJ@0 SJC@21 SC@27 SD@32+3 n@98. b@106.");
  EXPECT_THAT(end.notes,
              ElementsAre("106: one more packet behind the data",
                          "114: 6 bytes of blanks, comments and tags behind the end packet",
                          HasSubstr("does not say the size of the job"),
                          "106: the last packet is a value without a packet around it"));
}

TEST_F(PacketReaderTest, AMarkInSendDataIsReadInBothWays) {
  packing(Packing::kSplit, 10);
  const std::string mark = "\xEF\xBB\xBF";
  folder.write("SD.xml",
               mark + "<SD>\n<d:datasize>0</d:datasize>\n<d:continue>?</d:continue></SD>");
  const std::string bytes =
      closed(kStart + mark + sendData(10, "ON") + "0123456789" + mark + sendData(2, "OFF") + "ab");
  for (const Reading& reading : {known(bytes), found(bytes)}) {
    EXPECT_TRUE(reading.isClean()) << reading.error;
    EXPECT_EQ(reading.data, "0123456789ab");
  }
}

TEST_F(PacketReaderTest, BlanksBehindARootBelongToItsPacket) {
  packing(Packing::kSplit, 10);
  folder.write("SC.xml", "<SC/>  \n\t\n");
  folder.write("SD.xml",
               "<SD>\n<d:datasize>0</d:datasize>\n<d:continue>?</d:continue></SD> \n  \n");
  folder.write("EJ.xml", "<EJ>\n<d:datasize>0</d:datasize>\n</EJ>\n ");
  const std::string bytes = closed(kStart + "  \t" + sendData(10, "ON") + "   0123456789" +
                                   sendData(2, "OFF") + "   ab") +
                            " ";
  for (const Reading& reading : {known(bytes), found(bytes)}) {
    EXPECT_EQ(reading.error, "none");
    EXPECT_THAT(reading.differences, IsEmpty());
    EXPECT_EQ(reading.data, "0123456789ab");
  }
  // In front of a stream they are no part of it.
  const Reading bare = found(kStart + "  \x1B%-12345X" + endBehind(kStart), {.stopAfter = 9});
  EXPECT_TRUE(bare.isClean()) << bare.error;
  EXPECT_EQ(bare.data, "\x1B%-12345X");
  EXPECT_EQ(bare.bare, 34U);
}

TEST_F(PacketReaderTest, DataMayLookLikeAPacket) {
  packing(Packing::kSplit, 10);
  const std::string data = "<SD> <!-- <EJ/></SD><a>&</a>";
  const std::string bytes = splitJob(data, 10);
  for (const Reading& reading : {known(bytes), found(bytes)}) {
    EXPECT_TRUE(reading.isClean()) << reading.error;
    EXPECT_EQ(reading.data, data);
  }
}

TEST_F(PacketReaderTest, AnOpeningPacketMaySayASizeWithoutData) {
  packing(Packing::kSplit, 10);
  for (const char* line : {"<maxdatasize>50</maxdatasize>", "<maxdatasize>99999</maxdatasize>",
                           "<maxdatasize>0</maxdatasize>", "<continue>ON</continue>"}) {
    SCOPED_TRACE(line);
    folder.write("SC.xml", "<SC>"s + line + "</SC>");
    const std::string bytes =
        closed("<SJ><x:K>1</x:K></SJ><SJC/><SC>"s + line + "</SC>" + sendData(3, "OFF") + "abc");
    for (const Reading& reading : {known(bytes), found(bytes)}) {
      EXPECT_TRUE(reading.isClean()) << reading.error;
      EXPECT_EQ(reading.data, "abc");
    }
  }
}

TEST_F(PacketReaderTest, TemplatesNeedNotBeXmlWhenTheyAreKnown) {
  packing(Packing::kSplit, 10);
  folder.write("SJ.xml", "start|");
  folder.write("SJC.xml", "");
  folder.write("SD.xml", "|");
  folder.write("EJ.xml", "end");
  const Reading reading = known("start|<SC/>|0123456789|0123456789|abend");
  EXPECT_TRUE(reading.isClean()) << reading.error;
  EXPECT_EQ(reading.data, "01234567890123456789ab");
  EXPECT_EQ(reading.outline(),
            "StartJob@0 SetJobConfiguration@6 SC@6 SendData@11+10 SendData@22+10 SendData@33+2 "
            "EndJob@36.");
}

TEST_F(PacketReaderTest, AFileOfTwoPossibleLayoutsIsReadAsItsPacketsSay) {
  // Nine bytes with OFF are as long as ten with ON.
  packing(Packing::kSplit, 10);
  folder.write("SD.xml", "<d:continue>?</d:continue>");
  folder.write("EJ.xml", "<EJ/>");
  const std::string full = kStart + "<d:continue>ON</d:continue>0123456789<EJ/>";
  const std::string shorter = kStart + "<d:continue>OFF</d:continue>012345678<EJ/>";
  ASSERT_EQ(full.size(), shorter.size());
  EXPECT_TRUE(known(full).isClean());
  EXPECT_EQ(known(full).data, "0123456789");
  EXPECT_TRUE(known(shorter).isClean());
  EXPECT_EQ(known(shorter).data, "012345678");
}

TEST_F(PacketReaderTest, AnEndPacketThatSaysTwoSizesIsFoundWhereOnlyOneHasADigitMore) {
  packing(Packing::kSplit, 10);
  folder.write("SD.xml", "");
  folder.write("EJ.xml", "<datasize>0</datasize>\n<datasize>0</datasize>\n");
  const auto sizeLine = [](size_t size) {
    return "<datasize>" + std::to_string(size) + "</datasize>";
  };
  for (size_t size = 1; size < 120; ++size) {
    SCOPED_TRACE(size);
    const std::string data = streamOf(size);
    const std::string first = kStart + data + sizeLine(kStart.size() + size);
    const Reading reading = known(first + sizeLine(first.size()));
    EXPECT_TRUE(reading.isClean()) << reading.error;
    EXPECT_EQ(reading.data, data);
  }
}

TEST_F(PacketReaderTest, ValuesThatTheConfigurationReplacedAreMarked) {
  packing(Packing::kSplit, 10);
  job.overrides = {{"K", "22"}};
  const Reading reading = known(closed("<SJ><x:K>22</x:K></SJ><SJC/><SC/>"));
  EXPECT_TRUE(reading.isClean()) << reading.error;
  EXPECT_EQ(reading.packets[0].values[0].text, "22");
  EXPECT_TRUE(reading.packets[0].values[0].overridden);
  EXPECT_FALSE(reading.packets[3].values[0].overridden);
}

TEST_F(PacketReaderTest, WithoutDataTheSendDataTemplateIsNotNeeded) {
  std::filesystem::remove(folder.path("SD.xml"));
  packing(Packing::kSplit, 10);
  EXPECT_TRUE(known(splitJob("", 10)).isClean());
  EXPECT_THROW(known(splitJob("a", 10)), FileError);
  packing(Packing::kBare);
  EXPECT_TRUE(known(bareJob("abc")).isClean());
}

TEST_F(PacketReaderTest, ATemplateWithoutRoomForAFullSizeStillSendsASmallOne) {
  packing(Packing::kSplit, 65536);
  const std::string line = "<datasize>0</datasize>" + std::string(1000, 'x');  // 1022 characters
  folder.write("SD.xml", line);
  EXPECT_TRUE(known(closed(kStart + "<datasize>12</datasize>" + line.substr(22) + "0123456789ab"))
                  .isClean());
  EXPECT_TRUE(known(closed(kStart)).isClean());
}

TEST_F(PacketReaderTest, ATemplateWithRoomForOnButNotForOffSendsFullPacketsOnly) {
  packing(Packing::kSplit, 10);
  const std::string rest = "</continue>" + std::string(1000, 'x');
  folder.write("SD.xml", "<continue>?" + rest);
  const std::string full = "<continue>ON" + rest;
  ASSERT_EQ(full.size(), 1023);  // the longest line
  EXPECT_TRUE(known(closed(kStart + full + "0123456789")).isClean());
}

// Damage with templates ---------------------------------------------------------------------------

TEST_F(PacketReaderTest, ADamagedByteIsReportedAndShiftsNothing) {
  packing(Packing::kSplit, 10);
  const std::string data = streamOf(25);
  std::string bytes = splitJob(data, 10);
  bytes[1] = '?';    // <SJ>
  bytes[121] = 'x';  // the second send-data packet's "10"
  bytes[122] = 'y';
  bytes[258] = '\x01';  // the end packet
  const Reading reading = known(bytes);
  EXPECT_EQ(reading.error, "none");
  EXPECT_EQ(reading.data, data);
  EXPECT_EQ(reading.outline(), known(splitJob(data, 10)).outline());
  EXPECT_THAT(
      reading.differences,
      ElementsAre("1: StartJob: found \"<?J><x:K>1</x:K></SJ>\" where the templates give "
                  "\"<SJ><x:K>1</x:K></SJ>\"",
                  "121: SendData: found \"atasize>xy</d:datasize><\" where the templates give "
                  "\"atasize>10</d:datasize><\"",
                  "258: EndJob: found \"<d:datas\\x01ze>250</d:datas\" where the templates give "
                  "\"<d:datasize>250</d:datas\""));
}

TEST_F(PacketReaderTest, EveryDamagedByteOfAPacketIsReportedAtItsPlace) {
  packing(Packing::kSplit, 10);
  const std::string data = streamOf(25);
  const std::string bytes = splitJob(data, 10);
  for (size_t at = 0; at < bytes.size(); ++at) {
    SCOPED_TRACE(at);
    std::string damaged = bytes;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x41);
    const Reading reading = known(damaged);
    EXPECT_EQ(reading.error, "none");
    const bool inData =
        (at >= 95 && at < 105) || (at >= 168 && at < 178) || (at >= 241 && at < 246);
    EXPECT_THAT(reading.differences, SizeIs(inData ? 0 : 1));
    if (!inData && !reading.differences.empty()) {
      EXPECT_THAT(reading.differences[0], testing::StartsWith(std::to_string(at) + ": "));
    }
    EXPECT_EQ(reading.data.size(), data.size());
    EXPECT_EQ(reading.data == data, !inData);
  }
}

TEST_F(PacketReaderTest, AChangedTemplateOfTheSameLengthIsReportedInEachPacket) {
  packing(Packing::kSplit, 10);
  const std::string bytes = splitJob(streamOf(25), 10);
  folder.write("SD.xml", "<Sd>\n<d:datasize>0</d:datasize>\n<d:continue>?</d:continue></Sd>\n");
  const Reading reading = known(bytes);
  EXPECT_EQ(reading.error, "none");
  EXPECT_THAT(reading.differences, SizeIs(3));
}

TEST_F(PacketReaderTest, AddedOrLostBytesEndReadingAtThePacketThatIsNotThere) {
  packing(Packing::kSplit, 10);
  const std::string data = streamOf(25);
  const std::string bytes = splitJob(data, 10);
  struct Case {
    const char* name;
    std::string bytes;
    const char* error;
    size_t read;  // bytes of data before
  };
  const Case kCases[] = {
      {"bytes behind the end", bytes + "xyz",
       "283: found \"xyz\" behind the end packet, expected the end of the file", 25},
      {"a byte in the first chunk", bytes.substr(0, 100) + "?" + bytes.substr(100),
       "105: SendData expected at offset 105: found \"j<SD><d:datasize>10</d:d\" where the "
       "templates give \"<SD><d:datasize>10</d:da\"; the size of the file fits no job of these "
       "templates",
       10},
      {"a byte less in the first packet", bytes.substr(0, 40) + bytes.substr(41),
       "40: SendData expected at offset 32: found \"<SD><d:dtasize>10</d:dat\" where the "
       "templates give \"<SD><d:datasize>10</d:da\"; the size of the file fits no job of these "
       "templates",
       0},
      {"the end of the last chunk", bytes.substr(0, 243),
       "243: the file ends inside the data of the packet at offset 178: it has 2 of 5 bytes", 22},
      {"the end packet", bytes.substr(0, 246),
       "246: EndJob expected at offset 246: the file ends where the templates give "
       "\"<EJ><d:datasize>250</d:d\"; the size of the file fits no job of these templates",
       25},
      {"half the end packet", bytes.substr(0, 260),
       "260: EndJob expected at offset 246: the file ends where the templates give "
       "\":datasize>250</d:datasiz\"; the size of the file fits no job of these templates",
       25},
      {"nearly everything", bytes.substr(0, 10),
       "10: StartJob expected at offset 0: the file ends where the templates give "
       "\"J><x:K>1</x:K></SJ>\"; the size of the file fits no job of these templates",
       0},
      {"everything", "",
       "0: StartJob expected at offset 0: the file ends where the templates give "
       "\"<SJ><x:K>1</x:K></SJ>\"; the size of the file fits no job of these templates",
       0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Reading reading = known(c.bytes);
    EXPECT_EQ(reading.error, c.error);
    EXPECT_EQ(reading.data.size(), c.read);
  }
}

TEST_F(PacketReaderTest, AForeignFileIsRefusedAtItsFirstByte) {
  packing(Packing::kOnePacket);
  const Reading reading = known(
      "\x89PNG\r\n and so on, longer than the packets of this job are, so"
      " that their sizes alone would leave room for data");
  EXPECT_THAT(reading.error, testing::StartsWith("0: StartJob expected at offset 0: found "));
  EXPECT_THAT(reading.differences, SizeIs(1));
}

TEST_F(PacketReaderTest, ATruncatedFileIsNeverTakenForAWholeOne) {
  const std::string data = streamOf(25);
  struct Case {
    Packing packing;
    std::string bytes;
  };
  const Case kCases[] = {{Packing::kSplit, splitJob(data, 10)},
                         {Packing::kOnePacket, onePacketJob(data)},
                         {Packing::kBare, bareJob(data)}};
  for (const Case& c : kCases) {
    packing(c.packing, 10);
    for (size_t size = 0; size < c.bytes.size(); ++size) {
      SCOPED_TRACE(size);
      EXPECT_FALSE(known(c.bytes.substr(0, size)).isClean());
      EXPECT_FALSE(found(c.bytes.substr(0, size), {.stopAfter = 25}).isClean());
      EXPECT_FALSE(found(c.bytes.substr(0, size), {.stopAfter = 0, .skip = true}).isClean());
    }
  }
}

TEST_F(PacketReaderTest, DataThatAreLeftAreReported) {
  packing(Packing::kSplit, 10);
  const std::string bytes = splitJob(streamOf(25), 10);
  const std::string error =
      "100: data are left: 5 bytes of this packet, where the stream has ended";
  EXPECT_EQ(known(bytes, {.stopAfter = 5}).error, error);
  EXPECT_EQ(found(bytes, {.stopAfter = 5}).error, error);
  EXPECT_EQ(known(bytes, {.stopAfter = 5, .skip = true}).error, "none");
}

// Damage without templates ------------------------------------------------------------------------

TEST_F(PacketReaderTest, WhatSendDataPacketsSayMustFitTogether) {
  const std::string chunk = "0123456789";
  const std::string open = "<SJ/><SJC/><SC/>";
  const auto ten = [&](const char* more) { return sendData(10, more) + chunk; };
  struct Case {
    const char* name;
    std::string packets;
    const char* error;
  };
  const Case kCases[] = {
      {"ON, ON, OFF", ten("ON") + ten("ON") + sendData(1, "OFF") + "a", "none"},
      {"OFF alone", ten("OFF"), "none"},
      {"ON alone", ten("ON"), "none"},
      {"nothing about continuing",
       "<SD><datasize>2</datasize></SD>ab<SD><datasize>1</datasize></SD>c", "none"},
      {"a full one behind OFF", ten("OFF") + ten("OFF"),
       "90: a send-data packet behind one that says OFF"},
      {"a full one that says OFF", ten("ON") + ten("OFF"),
       "89: a send-data packet of 10 bytes says OFF about continuing, expected ON"},
      {"a shorter one that says ON", ten("ON") + sendData(1, "ON") + "a",
       "89: a send-data packet of 1 byte says ON about continuing, expected OFF"},
      {"one that says nothing", ten("ON") + "<SD><datasize>1</datasize></SD>a",
       "89: a send-data packet of 1 byte says nothing about continuing, expected OFF"},
      {"a longer one", ten("ON") + sendData(11, "ON") + chunk + "a",
       "89: a send-data packet of 11 bytes, the ones before have 10"},
      {"one behind a shorter one", ten("ON") + sendData(1, "OFF") + "a" + ten("ON"),
       "153: a send-data packet behind the last one, which has 1 byte where a full one has 10"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Reading reading = found(closed(open + c.packets));
    EXPECT_EQ(reading.error, c.error);
  }
}

TEST_F(PacketReaderTest, DamagedFramingIsReportedAtItsPlace) {
  const std::string open = "<SJ/><SJC/><SC/>";
  const std::string stream = streamOf(20);
  const std::string end = "<EJ><d:datasize>1</d:datasize></EJ>";
  struct Case {
    const char* name;
    std::string bytes;
    const char* error;
    size_t read;
  };
  const Case kCases[] = {
      {"an empty file", "", "0: the file is empty, expected a packet", 0},
      {"no packet at all", "\x89PNG",
       "0: found \"\\x89PNG\", expected a packet, which begins with \"<\"", 0},
      {"a size that is too great", open + sendData(9999, "OFF") + stream + end,
       "16: the packet \"SD\" announces 9999 bytes, the file has 55 left", 0},
      {"the same in a file that was cut", open + sendData(9999, "OFF") + stream,
       "102: the packet \"SD\" announces 9999 bytes, the file has 20 left", 20},
      {"a size that is too small", open + sendData(18, "OFF") + stream + end,
       "98: found \"st<EJ><d:datasize>1</d:d\" behind the data, expected a packet", 18},
      {"a size of a few bytes too many", open + sendData(22, "OFF") + stream + end,
       "102: found \"J><d:datasize>1</d:datas\" behind the data, expected a packet", 22},
      {"no end packet", open + sendData(20, "OFF") + stream, "100: the end packet is missing", 20},
      {"no data", open + sendData(20, "OFF"),
       "80: the packet \"SD\" announces 20 bytes, the file has 0 left", 0},
      {"half an end packet", open + sendData(20, "OFF") + stream + "<EJ><d:",
       "107: the file ends inside the packet \"EJ\" at offset 100: its end tag is missing", 20},
      {"bytes behind the end packet", open + sendData(20, "OFF") + stream + end + "xyz",
       "135: found \"xyz\" behind the end packet, expected the end of the file", 20},
      {"a second job",
       open + sendData(20, "OFF") + stream + end + open + sendData(2, "OFF") + "ab" + end,
       "151: a send-data packet behind the end of the data", 20},
      {"a send-data packet without its size",
       open + sendData(20, "ON") + stream + "<SD></SD>" + stream + end,
       "108: found \"\\x1B%-12345Xjklmnopqrst<EJ>\" behind the end packet, expected the end of the "
       "file",
       20},
      {"a packet that data follow at once", open + "<SD><datasize>5 0</datasize></SD>" + stream,
       "69: the end packet is missing", 20},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const Reading reading = found(c.bytes);
    EXPECT_EQ(reading.error, c.error);
    EXPECT_EQ(reading.data.size(), c.read);
  }
}

TEST_F(PacketReaderTest, AFileThatEndsBehindOpeningPacketsIsDamaged) {
  EXPECT_EQ(found("<SJ/><SJC/>").error,
            "11: the file ends behind 2 packets, expected data or the end packet, which says the "
            "job's size");
  // A job without data is whole when its last packet says a size.
  const Reading reading = found("<SJ/><SJC/><EJ><datasize>11</datasize></EJ>");
  EXPECT_EQ(reading.error, "none");
  EXPECT_THAT(reading.notes, ElementsAre("11: the file has 3 packets, a job has at least 4"));
}

TEST_F(PacketReaderTest, SizesThatLeadNowhereTakeBoundedTime) {
  std::string bytes;
  for (int i = 0; i < 60000; ++i)
    bytes += "<a><datasize>" + std::to_string(34 * (9000 + i % 7 * 3000) + 5) + "</datasize></a>";
  EXPECT_EQ(found(bytes).packets.size(), 60000U);  // of 34 bytes each
}

TEST_F(PacketReaderTest, DamageNeverDoesMoreThanEndReading) {
  packing(Packing::kSplit, 10);
  std::mt19937 random(1);
  const std::string jobs[] = {splitJob(streamOf(25), 10), onePacketJob(streamOf(25)),
                              bareJob(streamOf(25))};
  constexpr std::string_view kTagBytes = "<>/?!-\"[] 09";
  for (int i = 0; i < 3000; ++i) {
    std::string bytes = jobs[random() % 3];
    for (size_t count = random() % 4 + 1; count > 0; --count) {
      const size_t at = random() % bytes.size();
      const char c =
          random() % 2 == 0 ? static_cast<char>(random()) : kTagBytes[random() % kTagBytes.size()];
      const unsigned kind = random() % 4;
      if (kind == 0) {
        bytes.insert(at, 1, c);
      } else if (kind == 1) {
        bytes.erase(at, random() % 5);
      } else {
        bytes[at] = c;
      }
      if (bytes.empty()) bytes = "<";
    }
    const Reading one = found(bytes, {.most = random() % 30 + 1});
    const Reading two = found(bytes, {.stopAfter = 0, .skip = true});
    const Reading three = known(bytes);
    EXPECT_LE(one.data.size() + two.data.size() + three.data.size(), 3 * bytes.size());
  }
}

// Files of the library ----------------------------------------------------------------------------

std::string oneOf(const std::vector<std::string>& texts) {
  return *rc::gen::elementOf(texts);
}

// A template of lines that the rules treat in different ways, mostly harmless ones.
std::string randomTemplate(const std::string& root, const std::string& middle) {
  static const std::vector<std::string> kLines = {"<x:K>1</x:K>",
                                                  "<s name=\"K\">abc</s>",
                                                  "<s name=\"Klong\">abc</s>",
                                                  "<p:L>5</p:L><q/>",
                                                  "",
                                                  "  ",
                                                  "<K>1</K>",
                                                  "<s name=\"L\">",
                                                  "ODAXGEN_SUPPRESSION",
                                                  "<!-- datasize --><a>1</a>",
                                                  "<a>" + std::string(246, 'x') + "</a>",
                                                  "<a>" + std::string(249, 'x') + "</a>",
                                                  "<a>" + std::string(293, 'x') + "</a>",
                                                  "<a>" + std::string(1100, 'x') + "</a>",
                                                  "\xEF\xBB\xBF<a/>"};
  const std::string end = oneOf({"\n", "\n", "\r\n", "\r"});
  std::string text = "<j:" + root + ">" + end;
  const int before = *rc::gen::inRange(0, 4);
  for (int i = 0; i < before; ++i) text += oneOf(kLines) + end;
  text += middle + end;
  const int behind = *rc::gen::inRange(0, 3);
  for (int i = 0; i < behind; ++i) text += oneOf(kLines) + end;
  return text + "</j:" + root + ">" + oneOf({end, ""});
}

class LibraryJobTest : public testing::Test {
 protected:
  JobTemplates randomJob() {
    JobTemplates job;
    const std::string size = "<d:datasize>0</d:datasize>" + oneOf({"", "\n", "<!-- 1 -->"});
    job.startJob = folder.write("SJ.xml", randomTemplate("SJ", ""));
    job.setJobConfiguration = folder.write("SJC.xml", randomTemplate("SJC", ""));
    job.setConfiguration = folder.write("SC.xml", randomTemplate("SC", ""));
    job.vendorCmd = folder.write("VC.xml", randomTemplate("VC", ""));
    job.sendData =
        folder.write("SD.xml", randomTemplate("SD", size + "\n<d:continue>?</d:continue>"));
    job.endJob = folder.write("EJ.xml", randomTemplate("EJ", size));
    job.hasVendorCmd = true;
    const int pairs = *rc::gen::inRange(0, 5);
    for (int i = 0; i < pairs; ++i) {
      job.overrides.emplace_back(
          oneOf({"K", "L", "Klong", std::string(250, 'x')}),
          oneOf({"1", "", "22", "ODAXGEN_SUPPRESSION", "long value", std::string(260, 'v')}));
    }
    return job;
  }

  // The [Global] line that leads to a packing.
  static std::string setting(const JobTemplates& job) {
    switch (job.packing) {
      case Packing::kBare:
        return "";
      case Packing::kOnePacket:
        return "SplitDataSize=0\n";
      case Packing::kSplit:
        break;
    }
    return "SplitDataSize=" + (job.announcesMore ? std::to_string(job.chunkBytes) : "0x80000000") +
           "\n";
  }

  JobFolder folder;
};

RC_GTEST_FIXTURE_PROP(LibraryJobTest, ItsFilesAreWhatTheirTemplatesGive, ()) {
  JobTemplates job = randomJob();
  const auto size = *rc::gen::inRange<size_t>(0, 400);
  const std::string data = dataBytes(size);
  folder.write("data.bin", data);
  job.packing = *rc::gen::element(Packing::kSplit, Packing::kOnePacket, Packing::kBare);
  job.announcesMore = *rc::gen::inRange(0, 5) > 0;
  job.chunkBytes = job.announcesMore ? *rc::gen::inRange<uint32_t>(1, 401) : 65536;
  std::string pairs;
  for (const auto& [key, value] : job.overrides)
    pairs.append(key).append("=\"").append(value).append("\"\n");
  const JobResult result = folder.run(sendDataJob(setting(job), pairs));
  RC_ASSERT(result.code == 0);

  const Reading reading =
      readingOf(folder.path("out.dat"), &job, {.most = *rc::gen::inRange<size_t>(1, 500)});
  RC_ASSERT(reading.error == "none");
  RC_ASSERT(reading.differences.empty());
  RC_ASSERT(reading.data == data);
}

RC_GTEST_FIXTURE_PROP(LibraryJobTest, ItsFilesExplainThemselves, ()) {
  const auto size = *rc::gen::inRange<size_t>(0, 400);
  const std::string data = streamOf(size);
  folder.write("data.bin", data);
  const auto chunk = *rc::gen::inRange<uint32_t>(0, 401);
  const JobResult result = folder.run(sendDataJob("SplitDataSize=" + std::to_string(chunk) + "\n"));
  RC_ASSERT(result.code == 0);
  const Reading reading = readingOf(folder.path("out.dat"), nullptr, {});
  RC_ASSERT(reading.isClean());
  RC_ASSERT(reading.data == data);
}

}  // namespace
