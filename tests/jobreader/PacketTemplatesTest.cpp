// Tests of the packets that templates and override pairs make: which bytes of a line are written
// and counted, what overrides match and change, sizes and continuation, and templates that make no
// packet.
#include "PacketTemplates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TempFolder.h"

namespace {

using namespace std::string_literals;
using jobreader::FileError;
using jobreader::JobTemplates;
using jobreader::PacketKind;
using jobreader::PacketTemplates;
using jobreader::PacketText;
using jobreader::TemplateError;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Overrides = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kSuppress = "ODAXGEN_SUPPRESSION";
const std::string kMark = "\xEF\xBB\xBF";

class PacketTemplatesTest : public testing::Test {
 protected:
  // The packets that a template of this text makes, in every role.
  PacketTemplates templates(std::string_view text, const Overrides& overrides = {}) const {
    JobTemplates job;
    job.startJob = job.sendData = job.endJob = folder.write("template.xml", text);
    job.overrides = overrides;
    return PacketTemplates(job);
  }
  PacketText opening(std::string_view text, const Overrides& overrides = {}) const {
    return templates(text, overrides).opening(PacketKind::kStartJob);
  }
  PacketText sendData(std::string_view text, uint32_t size = 5, bool continues = false,
                      const Overrides& overrides = {}) const {
    return templates(text, overrides).sendData(size, continues);
  }
  PacketText endJob(std::string_view text, uint32_t size) const {
    return templates(text).endJob(size);
  }
  // Why a template makes no packet, without the folder.
  std::string refusal(std::string_view text, const Overrides& overrides = {}) const {
    try {
      sendData(text, 12345, false, overrides);
      return "none";
    } catch (const TemplateError& error) {
      return std::string(error.what()).substr(folder.path().size() + 1);
    }
  }

  TempFolder folder;
};

// Lines -------------------------------------------------------------------------------------------

TEST_F(PacketTemplatesTest, APacketIsItsLinesWithoutTheirEnds) {
  const char* const kTexts[] = {"<a>\n b\n</a>\n", "<a>\n b\n</a>", "<a>\r\n b\r\n</a>\r\n",
                                "<a>\r b\r</a>\r", "\n\n<a>\n\r\n b\n\n</a>\r\r"};
  for (const char* text : kTexts) {
    SCOPED_TRACE(visible(bytesOf(text)));
    EXPECT_EQ(opening(text).bytes, "<a> b</a>");
    EXPECT_EQ(sendData(text).bytes, "<a> b</a>");
    EXPECT_EQ(endJob(text, 0).bytes, "<a> b</a>");
    EXPECT_EQ(opening(text).counted, 9U);
  }
}

TEST_F(PacketTemplatesTest, AnEmptyTemplateMakesAnEmptyPacket) {
  for (const char* text : {"", "\n", "\r\n\r\n"}) {
    EXPECT_EQ(opening(text).bytes, "");
    EXPECT_EQ(sendData(text).bytes, "");
    EXPECT_EQ(endJob(text, 7).counted, 0U);
  }
}

TEST_F(PacketTemplatesTest, LongLinesAreCountedWholeAndWrittenModulo256ExceptInSendData) {
  struct Case {
    size_t length;
    size_t written;
    size_t counted;
  };
  const Case kCases[] = {{255, 255, 255},   {256, 0, 256},   {257, 1, 257},   {300, 44, 300},
                         {1023, 255, 1023}, {1024, 0, 1024}, {1025, 0, 1024}, {5000, 0, 1024}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.length);
    const std::string line(c.length, 'x');
    const PacketText job = opening("a\n" + line + "\nb");
    EXPECT_EQ(job.bytes, "a" + line.substr(0, c.written) + "b");
    EXPECT_EQ(job.counted, c.counted + 2);
    EXPECT_EQ(endJob("a\n" + line + "\nb", 0).bytes, job.bytes);
    // The character that the end of the buffer took is written as a zero byte.
    const std::string whole = line.size() < 1024 ? line : line.substr(0, 1023) + "\0"s;
    const PacketText data = sendData("a\n" + line + "\nb");
    EXPECT_EQ(data.bytes, "a" + whole + "b");
    EXPECT_EQ(data.counted, data.bytes.size());
  }
}

TEST_F(PacketTemplatesTest, ALineOf1024CharactersTakesItsEndAlong) {
  const std::string line(1024, 'x');
  EXPECT_EQ(opening(line + "\r\nb").bytes, "b");
  EXPECT_EQ(opening(line + "y").bytes, "");
}

TEST_F(PacketTemplatesTest, AByteOrderMarkIsDroppedFromTheFirstLineExceptInSendData) {
  EXPECT_EQ(opening(kMark + "<a/>\n" + kMark + "<b/>").bytes, "<a/>" + kMark + "<b/>");
  EXPECT_EQ(opening(kMark + "<a/>").counted, 4U);
  EXPECT_EQ(endJob(kMark + "<a/>", 0).bytes, "<a/>");
  EXPECT_EQ(sendData(kMark + "<a/>").bytes, kMark + "<a/>");
  EXPECT_EQ(opening("\n" + kMark + "<a/>").bytes, kMark + "<a/>");
  EXPECT_EQ(opening("\xEF\xBB<a/>").bytes, "\xEF\xBB<a/>");
  // The mark counts when it is decided where a line is cut.
  EXPECT_EQ(opening(kMark + std::string(253, 'x')).bytes, std::string(253, 'x'));
  EXPECT_EQ(opening(kMark + std::string(1021, 'x')).counted, 1021U);
}

TEST_F(PacketTemplatesTest, NulBytesArePartOfALine) {
  EXPECT_EQ(opening("a\0b\n\0\nc"s).bytes, "a\0b\0c"s);
  EXPECT_EQ(opening("a\0"s).bytes, "a\0"s);
  // Nothing is looked for behind one.
  EXPECT_EQ(sendData("\0<datasize>0</datasize>"s).bytes, "\0<datasize>0</datasize>"s);
}

// Sizes -------------------------------------------------------------------------------------------

TEST_F(PacketTemplatesTest, SendDataSaysItsSizeAndWhetherMoreFollow) {
  const std::string text = "<r>\n<d:datasize>0</d:datasize>\n <s name=\"continue\">?</s>\n</r>";
  EXPECT_EQ(sendData(text, 1000, true).bytes,
            "<r><d:datasize>1000</d:datasize> <s name=\"continue\">ON</s></r>");
  EXPECT_EQ(sendData(text, 0, false).bytes,
            "<r><d:datasize>0</d:datasize> <s name=\"continue\">OFF</s></r>");
  EXPECT_EQ(sendData(text, 4294967295U, false).bytes,
            "<r><d:datasize>4294967295</d:datasize> <s name=\"continue\">OFF</s></r>");
  EXPECT_EQ(sendData(text, 1000, true).counted, 62U);
}

TEST_F(PacketTemplatesTest, TheFirstValueOfALineIsRewritten) {
  struct Case {
    const char* name;
    std::string line;
    std::string written;
  };
  const Case kCases[] = {
      {"wherever the word stands", "<a>0</a><!-- datasize -->", "<a>5</a><!-- datasize -->"},
      {"only the first", "<datasize>0</datasize><b>0</b>", "<datasize>5</datasize><b>0</b>"},
      {"the same value", "<datasize>5</datasize>", "<datasize>5</datasize>"},
      {"behind a text", "text<datasize>12</datasize>", "text<datasize>5</datasize>"},
      {"behind a >", "> datasize>12</a>", "> datasize>5</a>"},
      {"with both words the word comes last", "<datasize continue=\"\">0</datasize>",
       "<datasize continue=\"\">OFF</datasize>"},
      {"a value without an end stays, and is cut as if it did not", "<datasize>012", "<datasize>0"},
      {"an empty value is taken for the end tag", "<datasize></datasize>", "<datasize></"},
      {"so is a tag that comes next", "<a datasize=\"\"><b>1</b>", "<a datasize=\"\"><b>1</"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(sendData(c.line).bytes, c.written);
  }
}

TEST_F(PacketTemplatesTest, WhatWasNotReplacedIsCountedAndReachesEarlierLines) {
  // The count grows by four; behind the text and its NUL stands what the line before left.
  EXPECT_EQ(sendData("ABCDEFGHIJKLMNOPQRSTUVWXYZ\n<datasize>0", 12345).bytes,
            "ABCDEFGHIJKLMNOPQRSTUVWXYZ<datasize>0\0MNO"s);
  EXPECT_EQ(sendData("<datasize>0", 12345).bytes, "<datasize>0\0\0\0\0"s);
}

TEST_F(PacketTemplatesTest, OpeningPacketsKeepTheirSizes) {
  const std::string line = "<datasize>0</datasize><continue>0</continue>";
  EXPECT_EQ(opening(line).bytes, line);
  EXPECT_EQ(endJob("<continue>0</continue>", 5).bytes, "<continue>0</continue>");
}

TEST_F(PacketTemplatesTest, EndJobSaysWhatWasCountedBeforeTheLine) {
  EXPECT_EQ(endJob("<EJ>\n<datasize>0</datasize>\n<datasize>0</datasize>\n</EJ>", 100).bytes,
            "<EJ><datasize>104</datasize><datasize>128</datasize></EJ>");
  EXPECT_EQ(endJob(std::string(300, 'x') + "\n<datasize>0</datasize>", 1).bytes,
            std::string(44, 'x') + "<datasize>301</datasize>");
  // Four gigabytes are counted as none.
  EXPECT_EQ(endJob("<EJ>\n<datasize>0</datasize>", 4294967293U).bytes,
            "<EJ><datasize>1</datasize>");
}

// Overrides ---------------------------------------------------------------------------------------

TEST_F(PacketTemplatesTest, OverridesMatchATagWithPrefixOrANameAttribute) {
  struct Case {
    const char* name;
    std::string line;
    std::string written;
  };
  const Case kCases[] = {
      {"a tag with a prefix", "<job:Copies>1</job:Copies>", "<job:Copies>30</job:Copies>"},
      {"no tag without", "<Copies>1</Copies>", "<Copies>1</Copies>"},
      {"no longer tag", "<job:Copies2>1</job:Copies2>", "<job:Copies2>1</job:Copies2>"},
      {"no tag with an attribute", "<job:Copies a=\"\">1</x>", "<job:Copies a=\"\">1</x>"},
      {"a name attribute", "<s name=\"Copies\">1</s>", "<s name=\"Copies\">30</s>"},
      {"a longer name attribute", "<s name=\"Copies2\">1</s>", "<s name=\"Copies2\">30</s>"},
      {"the end of an attribute's name", "<s rename=\"Copies\">1</s>",
       "<s rename=\"Copies\">30</s>"},
      {"no name in single quotes", "<s name='Copies'>1</s>", "<s name='Copies'>1</s>"},
      {"an end tag on the line", "<Copies>1</job:Copies>", "<Copies>30</job:Copies>"},
      {"up to the last < of the line", "<job:Copies>1</job:Copies><b/>", "<job:Copies>30<b/>"},
      {"elements inside", "<job:Copies><b>1</b></job:Copies>", "<job:Copies>30</job:Copies>"},
      {"an empty value", "<job:Copies></job:Copies>", "<job:Copies>30</job:Copies>"},
      {"the first > of the line", " > <job:Copies>1</job:Copies>", " >30</job:Copies>"},
      {"no > on the line", "<s name=\"Copies\"", "<s name=\"Copies\""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(opening(c.line, {{"Copies", "30"}}).bytes, c.written);
    EXPECT_EQ(opening(c.line, {{"Copies", "30"}}).counted, c.written.size());
    EXPECT_EQ(sendData(c.line, 5, false, {{"Copies", "30"}}).bytes, c.written);
  }
}

TEST_F(PacketTemplatesTest, OverridesTakeTheirOrder) {
  const std::string line = "<x:K>1</x:K>";
  EXPECT_EQ(opening(line, {{"K", "2"}, {"K", "3"}}).bytes, "<x:K>3</x:K>");
  EXPECT_EQ(opening(line, {{"K", "<x:L>2</x:L>"}, {"L", "3"}}).bytes, "<x:K>3</x:K>");
  EXPECT_EQ(opening(line, {{"L", "3"}, {"K", "<x:L>2</x:L>"}}).bytes, "<x:K><x:L>2</x:L></x:K>");
}

TEST_F(PacketTemplatesTest, OverridesComeBehindSizes) {
  EXPECT_EQ(sendData("<x:datasize>0</x:datasize>", 1000, false, {{"datasize", "7"}}).bytes,
            "<x:datasize>7</x:datasize>");
}

TEST_F(PacketTemplatesTest, SuppressedLinesAreNeitherWrittenNorCounted) {
  const Overrides suppress = {{"K", kSuppress}};
  EXPECT_EQ(opening("a\n<x:K>1</x:K>\nb", suppress).bytes, "ab");
  EXPECT_EQ(opening("a\n<x:K>1</x:K>\nb", suppress).counted, 2U);
  EXPECT_EQ(sendData("a\n<s name=\"K\">\nb", 5, false, suppress).bytes, "ab");
  EXPECT_EQ(opening("a\nODAXGEN_SUPPRESSION\nb").bytes, "ab");
  EXPECT_EQ(sendData("a\nODAXGEN_SUPPRESSION\nb").bytes, "ab");
  EXPECT_EQ(opening(kMark + kSuppress).bytes, "");
  EXPECT_EQ(opening(" ODAXGEN_SUPPRESSION").bytes, " ODAXGEN_SUPPRESSION");
  // Without a > the line is not touched.
  EXPECT_EQ(opening("<s name=\"K\"", suppress).bytes, "<s name=\"K\"");
  EXPECT_EQ(opening("a\n<x:K>1</x:K>\nb", {{"K", kSuppress}, {"K", "5"}}).bytes, "ab");
}

TEST_F(PacketTemplatesTest, ValuesWithoutAnEndChangeTheCountOnly) {
  EXPECT_EQ(opening("<s name=\"K\">1234\n<x/>", {{"K", "1"}}).bytes, "<s name=\"K\">1<x/>");
  EXPECT_EQ(sendData("ABCDEFGHIJ\n1</x:K>\n", 5, false, {{"K", "333"}}).bytes,
            "ABCDEFGHIJ1</x:K>\0IJ"s);
}

TEST_F(PacketTemplatesTest, ACountStaysFrom0To1024) {
  const Overrides grow(4, {"K", std::string(300, 'v')});
  const PacketText grown = sendData("</x:K>\n!", 5, false, grow);
  EXPECT_EQ(grown.bytes, "</x:K>" + std::string(1018, '\0') + "!");
  EXPECT_EQ(grown.counted, 1025U);
  const Overrides shrink(5, {"K", ""});
  const PacketText shrunk = opening("<s name=\"K\">1234\n<x/>", shrink);
  EXPECT_EQ(shrunk.bytes, "<x/>");
  EXPECT_EQ(shrunk.counted, 4U);
}

TEST_F(PacketTemplatesTest, KeysTooLongForThePatternMatchWhereverTheyStand) {
  struct Case {
    size_t length;
    const char* before;
    bool matches;
  };
  const Case kCases[] = {
      {249, "", false},                         // fits both patterns
      {249, "name=\"", true}, {250, "", true},  // too long for name="
      {254, "", true},                          // too long for both
      {255, "", true},                          // only the > is left of the first
      {600, "", true},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.length);
    const std::string key(c.length, 'k');
    const std::string line = c.before + key + "<a>1</a>";
    const std::string changed = c.before + key + "<a>2</a>";
    EXPECT_EQ(sendData(line, 5, false, {{key, "2"}}).bytes, c.matches ? changed : line);
  }
}

TEST_F(PacketTemplatesTest, AnOldValueTooLongForTheNeedleIsFoundAtTheBeginning) {
  const std::string key(255, 'k');
  const std::string line = ">" + key + std::string(767, 'x');  // 1023 characters
  // The line becomes ">new"; its count shrinks by 1019, and only that much is written.
  EXPECT_EQ(sendData(line, 5, false, {{key, "new"}}).bytes, ">new");
}

TEST_F(PacketTemplatesTest, ReplacedValuesAreMarked) {
  const Overrides overrides = {{"K", "22"}};
  EXPECT_THAT(opening("<r>\n<x:K>1</x:K>\n<x:L>1</x:L>\n <x:K></x:K>", overrides).replacedAt,
              ElementsAre(8, 34));
  // The configuration's value is in the packet also when the template had the same.
  EXPECT_THAT(opening("<x:K>22</x:K>", overrides).replacedAt, ElementsAre(5));
  EXPECT_THAT(opening("<x:K>1\n</x:K>", overrides).replacedAt, IsEmpty());
  EXPECT_THAT(opening("<x:K>1</x:K>" + std::string(245, 'x'), overrides).replacedAt, IsEmpty());
  EXPECT_THAT(opening("<x:K>1</x:K>", {{"K", "2"}, {"K", "3"}}).replacedAt, ElementsAre(5));
}

// Templates that make no packet -------------------------------------------------------------------

TEST_F(PacketTemplatesTest, ALineWithoutAPlaceForItsSizeMakesNoPacket) {
  for (const char* line : {"datasize", "<datasize", "<datasize>", ">>datasize", "<datasize><<"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(refusal("<r>\n"s + line),
              "template.xml: line \""s + line + "\": has no place for the size");
  }
  EXPECT_EQ(refusal("continue>"), "template.xml: line \"continue>\": has no place for ON or OFF");
  EXPECT_THROW(endJob("datasize", 5), TemplateError);
  EXPECT_EQ(opening("datasize").bytes, "datasize");
}

TEST_F(PacketTemplatesTest, ALineThatWouldReach1024CharactersMakesNoPacket) {
  const std::string line = "<x:K>1</x:K>" + std::string(1000, 'x');  // 1012 characters
  EXPECT_EQ(sendData(line, 5, false, {{"K", std::string(12, 'v')}}).bytes.size(), 1023U);
  EXPECT_THAT(refusal(line, {{"K", std::string(13, 'v')}}),
              HasSubstr("no room for the value of K"));
  const std::string size = "<datasize>0</datasize>" + std::string(998, 'x');  // 1020 characters
  EXPECT_EQ(sendData(size, 1234).bytes.size(), 1023U);
  EXPECT_THAT(refusal(size), HasSubstr("has no place for the size"));
}

// Files -------------------------------------------------------------------------------------------

TEST_F(PacketTemplatesTest, VendorCmdIsOnlyThereWhenTheJobHasOne) {
  JobTemplates job;
  EXPECT_THAT(PacketTemplates(job).openingKinds(),
              ElementsAre(PacketKind::kStartJob, PacketKind::kSetJobConfiguration,
                          PacketKind::kSetConfiguration));
  job.hasVendorCmd = true;
  EXPECT_EQ(PacketTemplates(job).openingKinds().back(), PacketKind::kVendorCmd);
}

TEST_F(PacketTemplatesTest, EachKindHasItsOwnTemplateAndName) {
  JobTemplates job;
  job.startJob = folder.write("SJ.xml", "<SJ/>");
  job.setJobConfiguration = folder.write("SJC.xml", "<SJC/>");
  job.setConfiguration = folder.write("SC.xml", "<SC/>");
  job.vendorCmd = folder.write("VC.xml", "<VC/>");
  job.sendData = folder.write("SD.xml", "<SD/>");
  job.endJob = folder.write("EJ.xml", "<EJ/>");
  job.hasVendorCmd = true;
  PacketTemplates templates(job);
  std::string all;
  for (const PacketKind kind : templates.openingKinds())
    all.append(packetKindName(kind)).append(templates.opening(kind).bytes).append(" ");
  EXPECT_EQ(all, "StartJob<SJ/> SetJobConfiguration<SJC/> SetConfiguration<SC/> VendorCmd<VC/> ");
  EXPECT_EQ(templates.sendData(1, true).bytes, "<SD/>");
  EXPECT_EQ(templates.endJob(1).bytes, "<EJ/>");
}

TEST_F(PacketTemplatesTest, ATemplateIsReadOnceWhenItsPacketIsDue) {
  PacketTemplates kept = templates("<a/>");
  folder.write("template.xml", "<b/>");
  EXPECT_EQ(kept.sendData(1, true).bytes, "<b/>");
  std::filesystem::remove(folder.path("template.xml"));
  EXPECT_EQ(kept.sendData(1, true).bytes, "<b/>");
  EXPECT_THROW(kept.endJob(1), FileError);
}

TEST_F(PacketTemplatesTest, ATemplateThatCannotBeReadIsAnErrorWhenItsPacketIsDue) {
  JobTemplates job;
  job.endJob = folder.path("missing.xml");
  PacketTemplates templates(job);
  EXPECT_THROW(templates.opening(PacketKind::kStartJob), FileError);
  try {
    templates.endJob(1);
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.what(), folder.path("missing.xml") + ": No such file or directory");
  }
}

TEST_F(PacketTemplatesTest, AFolderIsAnEmptyTemplate) {
  std::filesystem::create_directory(folder.path("folder"));
  JobTemplates job;
  job.startJob = folder.path("folder");
  EXPECT_EQ(PacketTemplates(job).opening(PacketKind::kStartJob).bytes, "");
}

TEST_F(PacketTemplatesTest, AnEnormousTemplateIsRefused) {
  EXPECT_THROW(opening(std::string(PacketTemplates::kMaxTemplateBytes + 1, '\n')), FileError);
  EXPECT_EQ(opening(std::string(PacketTemplates::kMaxTemplateBytes, '\n')).bytes, "");
}

}  // namespace
