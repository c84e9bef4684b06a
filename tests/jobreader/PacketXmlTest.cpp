// Tests of the scanner for one packet: where a packet ends, what is read from it, what is tolerated
// because template lines were cut, and which bytes are no packet.
#include "PacketXml.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ReadError.h"
#include "TempFolder.h"

namespace jobreader {

bool operator==(const PacketValue& left, const PacketValue& right) {
  return left.name == right.name && left.text == right.text && left.overridden == right.overridden;
}
void PrintTo(const PacketValue& value, std::ostream* out) {
  *out << value.name << "=" << value.text;
}

}  // namespace jobreader

namespace {

using namespace std::string_literals;
using jobreader::JobFile;
using jobreader::PacketValue;
using jobreader::PacketXml;
using jobreader::parsePacketXml;
using jobreader::ReadError;
using jobreader::XmlPacket;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

std::span<const uint8_t> spanOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// The packet at the beginning of `text`, fed byte by byte from buffers of exactly one byte.
XmlPacket packetOf(std::string_view text, uint64_t offset = 0) {
  PacketXml xml(offset);
  for (const char c : text) {
    const std::string one(1, c);
    if (xml.take(spanOf(one))) return xml.result();
  }
  xml.refuseEnd();
}

// What reading says of bytes that hold no whole packet: "offset: text".
std::string refusal(std::string_view text, uint64_t offset = 0) {
  try {
    packetOf(text, offset);
    return "none";
  } catch (const ReadError& error) {
    return std::to_string(error.offset()) + ": " + error.what();
  }
}

std::string escaped(char byte) {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  const auto value = static_cast<uint8_t>(byte);
  return {'\\', 'x', kHex[value >> 4U], kHex[value & 0x0FU]};
}

// Where a packet ends -----------------------------------------------------------------------------

TEST(PacketXml, APacketEndsBehindTheEndTagOfItsRoot) {
  struct Case {
    const char* name;
    std::string packet;
    const char* root;
  };
  const Case kCases[] = {
      {"an empty root", "<SJ/>", "SJ"},
      {"an empty root with an attribute", "<SJ a=\"1\" />", "SJ"},
      {"a root with a text", "<SJ>text</SJ>", "SJ"},
      {"a prefix", "<job:StartJob></job:StartJob>", "StartJob"},
      {"blanks in tags", "<SJ\t>\r\n</SJ  >", "SJ"},
      {"elements", "<a><b><c>1</c></b><d/></a>", "a"},
      {"elements called like the root", "<a><a>1</a><a/><b/></a>", "a"},
      {"a name that begins like the root's", "<a><ab></ab></a>", "a"},
      {"the same name with another prefix", "<x:a><y:a></y:a></x:a>", "a"},
      {"blanks and a declaration", "  \t\r\n<?xml version=\"1.0\"?> <SJ/>", "SJ"},
      {"a byte-order mark", "\xEF\xBB\xBF<SJ/>", "SJ"},
      {"a byte-order mark and a declaration", "\xEF\xBB\xBF<?xml version=\"1.0\"?><SJ/>", "SJ"},
      {"an instruction", "<?xml-style sheet a?><?go?><SJ/>", "SJ"},
      {"an instruction inside", "<SJ><?xml-style sheet?></SJ>", "SJ"},
      {"a comment with tags", "<!-- <SJ> - -- </SJ> --><SJ/>", "SJ"},
      {"a comment inside", "<SJ><!-- </SJ> --></SJ>", "SJ"},
      {"a comment of two dashes", "<SJ><!----></SJ>", "SJ"},
      {"a document type", "<!DOCTYPE SJ><SJ/>", "SJ"},
      {"a document type with a subset", "<!DOCTYPE SJ [<!ENTITY a \"b\"> ] ><SJ/>", "SJ"},
      {"character data with tags", "<SJ><![CDATA[</SJ>]]]></SJ>", "SJ"},
      {"a > in a value", "<SJ a=\">\" b='>\"'></SJ>", "SJ"},
      {"a slash in a value", "<SJ a=\"/\"></SJ>", "SJ"},
      {"a lone < in a text", "<SJ>1 < 2</SJ>", "SJ"},
      {"letters beyond ASCII",
       "<J\xC3\xB6"
       "b>\xC3\xB6</J\xC3\xB6"
       "b>",
       "J\xC3\xB6"
       "b"},
      {"NUL in a text", "<SJ>a\0b</SJ>"s, "SJ"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    for (const char* behind : {"", "<EJ/>", "\x1B%-12345X", "  </SJ>"}) {
      const XmlPacket found = packetOf(c.packet + behind, 100);
      EXPECT_EQ(found.packet.name, c.root);
      EXPECT_EQ(found.packet.offset, 100U);
      EXPECT_EQ(found.packet.size, c.packet.size());
      EXPECT_THAT(found.notes, IsEmpty());
    }
  }
}

TEST(PacketXml, TheFileStandsBehindThePacketThatWasRead) {
  const TempFolder folder;
  const std::string text(JobFile::kBlockBytes + 1000, 't');
  JobFile file(folder.write("job.dat", "<a>" + text + "</a><?xml ?><b/>data"));
  EXPECT_EQ(readPacketXml(file).packet.size, text.size() + 7);
  EXPECT_EQ(file.offset(), text.size() + 7);
  const XmlPacket second = readPacketXml(file);
  EXPECT_EQ(second.packet.name, "b");
  EXPECT_EQ(second.packet.offset, text.size() + 7);
  EXPECT_TRUE(file.nextIs("data"));
}

TEST(PacketXml, BytesInMemoryAreAPacketOrNone) {
  EXPECT_EQ(parsePacketXml("<a>1</a> and more")->packet.size, 8U);
  for (const char* none : {"", "|", "<a>", "<a>\x1B</a>"})
    EXPECT_FALSE(parsePacketXml(none).has_value()) << none;
}

// What is read from it ----------------------------------------------------------------------------

TEST(PacketXml, LeavesAreValues) {
  struct Case {
    const char* name;
    const char* packet;
    std::vector<PacketValue> values;
  };
  const Case kCases[] = {
      {"a tag without its prefix", "<r><job:Copies>3</job:Copies></r>", {{"Copies", "3"}}},
      {"a name attribute", "<r><s name=\"Ink\">x</s></r>", {{"Ink", "x"}}},
      {"a name attribute in single quotes", "<r><s a='1' name = 'Ink'>x</s></r>", {{"Ink", "x"}}},
      {"a name attribute with a prefix", "<r><s job:name=\"Ink\">x</s></r>", {{"Ink", "x"}}},
      {"an attribute that only ends so", "<r><s rename=\"Ink\">x</s></r>", {{"s", "x"}}},
      {"an attribute without a value", "<r><s name>x</s></r>", {{"s", "x"}}},
      {"a name within another value", "<r><s a=\" name='y'\">x</s></r>", {{"s", "x"}}},
      {"an empty leaf", "<r><s></s></r>", {{"s", ""}}},
      {"an empty tag", "<r><job:s name=\"n\"/><t/></r>", {{"n", ""}, {"t", ""}}},
      {"a text as it stands", "<r><s> a &amp; b\t</s></r>", {{"s", " a &amp; b\t"}}},
      {"character data", "<r><s>1<![CDATA[<2]>]]>3</s></r>", {{"s", "1<2]>3"}}},
      {"a comment within", "<r><s>1<!-- 2 -->3</s></r>", {{"s", "13"}}},
      {"no branches", "<r><a><b>1</b>text</a><c>2</c></r>", {{"b", "1"}, {"c", "2"}}},
      {"no leaf that another tag closes", "<r><a>1</b><c>2</c></r>", {{"c", "2"}}},
      {"a root with a text", "<r>5</r>", {{"r", "5"}}},
      {"no root without a text", "<r></r>", {}},
      {"no empty root", "<r/>", {}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(packetOf(c.packet).packet.values, c.values);
  }
}

TEST(PacketXml, TextOffsetsSayWhereValuesStand) {
  EXPECT_THAT(packetOf("<r><a>1</a><b/> <c>2</c></r>", 100).textOffsets,
              ElementsAre(106, 115, 119));
}

TEST(PacketXml, DatasizeAndContinueAreFoundByTheTextOfTheTag) {
  struct Case {
    const char* name;
    const char* packet;
    std::optional<uint64_t> size;
    std::optional<bool> continues;
  };
  const Case kCases[] = {
      {"tags", "<r><d:datasize>12</d:datasize><continue>ON</continue></r>", 12, true},
      {"name attributes", "<r><s name=\"datasize\">0</s><s name=\"continue\">OFF</s></r>", 0,
       false},
      {"a part of a tag", "<r><maxdatasizes>7</maxdatasizes><discontinued>ON</discontinued></r>", 7,
       true},
      {"a longer tag first", "<r n=\"datasize\"><v>1</v></r>", {}, {}},
      {"the first of two", "<r><datasize>1</datasize><datasize>2</datasize></r>", 1, {}},
      {"the first number", "<r><datasize>?</datasize><datasize>2</datasize></r>", 2, {}},
      {"up to the next <", "<r><datasize>5<x/></datasize></r>", 5, {}},
      {"leading zeros", "<r><datasize>007</datasize></r>", 7, {}},
      {"the root", "<datasize>5</datasize>", 5, {}},
      {"no number", "<r><datasize>5 </datasize><datasize></datasize></r>", {}, {}},
      {"no sign", "<r><datasize>-5</datasize></r>", {}, {}},
      {"other words", "<r><continue>on</continue><continue>OFF </continue></r>", {}, {}},
      {"4 GiB and more", "<r><datasize>4294967296</datasize></r>", 4294967296U, {}},
      {"the greatest number", "<r><datasize>18446744073709551615</datasize></r>", UINT64_MAX, {}},
      {"a greater number", "<r><datasize>18446744073709551616</datasize></r>", UINT64_MAX, {}},
      {"a much greater number",
       "<r><datasize>99999999999999999999999</datasize></r>",
       UINT64_MAX,
       {}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const XmlPacket found = packetOf(c.packet);
    EXPECT_EQ(found.packet.dataSize, c.size);
    EXPECT_EQ(found.packet.continues, c.continues);
  }
}

TEST(PacketXml, WhatIsKeptHasABound) {
  const std::string longText(5000, 'x');
  std::string packet = "<r><" + longText + ">" + longText + "</" + longText + ">";
  for (int i = 0; i < 1000; ++i) packet += "<a>1</a>";
  for (int i = 0; i < 1000; ++i) packet += "<b<c>1</c>";
  packet += "</r>";
  const XmlPacket found = packetOf(packet);
  EXPECT_EQ(found.packet.size, packet.size());
  EXPECT_EQ(found.packet.values.size(), jobreader::kMaxPacketValues);
  EXPECT_EQ(found.textOffsets.size(), jobreader::kMaxPacketValues);
  EXPECT_EQ(found.packet.values[0].name, longText.substr(0, jobreader::kMaxXmlText));
  EXPECT_EQ(found.packet.values[0].text, longText.substr(0, jobreader::kMaxXmlText));
  EXPECT_EQ(found.notes.size(), jobreader::kMaxXmlNotes);
}

TEST(PacketXml, DeepNestingTakesNoMemory) {
  std::string packet;
  for (int i = 0; i < 100000; ++i) packet += "<a>";
  for (int i = 0; i < 100000; ++i) packet += "</a>";
  EXPECT_EQ(packetOf(packet).packet.size, packet.size());
}

// Cut lines ---------------------------------------------------------------------------------------

TEST(PacketXml, ALessInsideATagBeginsANewTag) {
  struct Case {
    const char* name;
    const char* packet;
    std::vector<PacketValue> values;
    std::pair<uint64_t, std::string> note;
  };
  const Case kCases[] = {
      {"a start tag",
       "<r><a x=\"y<b>1</b></r>",
       {{"b", "1"}},
       {3, "the tag \"a x=\"y\" is cut open"}},
      {"a name", "<r><job:Cop<b>1</b></r>", {{"b", "1"}}, {3, "the tag \"job:Cop\" is cut open"}},
      {"an end tag",
       "<r><a>1</a<b>2</b></r>",
       {{"a", "1"}, {"b", "2"}},
       {7, "the tag \"a\" is cut open"}},
      {"only a <", "<r><<b>1</b></r>", {{"b", "1"}}, {3, "a tag is cut open"}},
      {"the root's attributes",
       "<r x=\"y<b>1</b></r>",
       {{"b", "1"}},
       {0, "the tag \"r x=\"y\" is cut open"}},
      {"a declaration", "<?xml vers<r><b>1</b></r>", {{"b", "1"}}, {0, "a tag is cut open"}},
      {"a document type", "<!DOCTYP<r><b>1</b></r>", {{"b", "1"}}, {0, "a tag is cut open"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const XmlPacket found = packetOf(c.packet + "<next/>"s);
    EXPECT_EQ(found.packet.name, "r");
    EXPECT_EQ(found.packet.size, std::string(c.packet).size());
    EXPECT_EQ(found.packet.values, c.values);
    EXPECT_THAT(found.notes, ElementsAre(Pair(c.note.first, c.note.second)));
  }
}

TEST(PacketXml, LostTagsDoNotShiftTheEnd) {
  for (const char* packet : {"<r><a><b>1</b></r>", "<r><b>1</b></a></r>", "<r></a></c></r>"})
    EXPECT_EQ(packetOf(packet + "<r/>"s).packet.size, std::string(packet).size()) << packet;
}

TEST(PacketXml, ADeclarationInsideAPacketBeginsTheNext) {
  for (const char* cut : {"<?xml ?><r><a>1</a>", "<?xml ?><r x=\"", "<r><a>1", "<r><!-- ",
                          "<?xml ?><!-- licence <r>"}) {
    SCOPED_TRACE(cut);
    const XmlPacket found = packetOf(cut + "<?xml version=\"1.0\"?><next/>"s);
    EXPECT_EQ(found.packet.size, std::string(cut).size());
    ASSERT_FALSE(found.notes.empty());
    EXPECT_EQ(found.notes.back(),
              std::pair(uint64_t{std::string(cut).size()},
                        "a packet begins before the end of the one at offset 0"s));
  }
}

TEST(PacketXml, ARootWhoseNameIsCutIsAPacketOfItsOwn) {
  const XmlPacket found = packetOf("<?xml ?><job:StartJ<next/>");
  EXPECT_EQ(found.packet.name, "StartJ");
  EXPECT_EQ(found.packet.size, 19U);
  EXPECT_THAT(found.notes, ElementsAre(Pair(8, "the tag \"job:StartJ\" is cut open")));
}

TEST(PacketXml, ADeclarationThatIsLeftAloneIsPassed) {
  const XmlPacket found = packetOf("<?xml a?><?xml b?><r/>", 50);
  EXPECT_EQ(found.packet.offset, 59U);
  EXPECT_EQ(found.packet.size, 13U);
  EXPECT_THAT(found.notes, ElementsAre(Pair(50, "of a packet only its XML declaration is there")));
}

TEST(PacketXml, StrayEndTagsBelongToNoPacket) {
  const XmlPacket found = packetOf(" </b> </job:SJ><r/>", 50);
  EXPECT_EQ(found.packet.name, "r");
  EXPECT_EQ(found.packet.offset, 65U);
  EXPECT_EQ(found.packet.size, 4U);
  EXPECT_THAT(found.notes, ElementsAre(Pair(51, "the end tag \"</b>\" belongs to no packet"),
                                       Pair(56, "the end tag \"</job:SJ>\" belongs to no packet")));
}

TEST(PacketXml, RemnantsAreNoPacket) {
  struct Case {
    const char* text;
    bool only;
  };
  const Case kCases[] = {
      {"", true},        {" \n", true},    {"</EJ>", true},   {" <!-- a --> </a></b> ", true},
      {"<?go?>", true},  {"<a/>", false},  {"</a><a", false}, {"</a", false},
      {"<!-- a", false}, {"\x1B%", false}, {"x", false},      {"<", false},
  };
  const TempFolder folder;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    JobFile file(folder.write("job.dat", "<a/>"s + c.text));
    file.advance(4);
    EXPECT_EQ(onlyRemnantsFollow(file), c.only);
    EXPECT_EQ(file.offset(), 4U);
  }
}

// No packet ---------------------------------------------------------------------------------------

TEST(PacketXml, BytesThatAreNoPacketAreRefusedWithTheirPlace) {
  struct Case {
    const char* name;
    std::string bytes;
    const char* error;
  };
  const Case kCases[] = {
      {"nothing", "", "100: the file ends where a packet is expected"},
      {"blanks", "  ", "102: the file ends where a packet is expected"},
      {"text", "abc", "100: found \"a\", expected a packet, which begins with \"<\""},
      {"text behind a declaration", "<?xml ?>abc",
       "108: found \"a\", expected a packet, which begins with \"<\""},
      {"binary data", "\x1B%-12345X",
       "100: found \"\\x1B\", expected a packet, which begins with \"<\""},
      {"no name", "<1/>",
       "101: found \"1\" in what begins at offset 100, before the root of a packet"},
      {"no end tag", "<job:SJ><a>1</a>",
       "116: the file ends inside the packet \"job:SJ\" at offset 100: its end tag is missing"},
      {"no end of a tag", "<job:SJ x",
       "109: the file ends in what begins at offset 100, before the root of a packet"},
      {"no end of a comment", " <!-- <SJ/>",
       "111: the file ends in what begins at offset 101, before the root of a packet"},
      {"data in the packet", "<SJ>\x1B%-12345X</SJ>",
       "104: found \"\\x1B\" inside the packet \"SJ\" at offset 100: its end tag is missing"},
      {"half a byte-order mark", "\xEF\xBB<SJ/>",
       "102: found \"<\", expected a packet, which begins with \"<\""},
      {"a late byte-order mark", " \xEF\xBB\xBF<SJ/>",
       "101: found \"\\xEF\", expected a packet, which begins with \"<\""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(refusal(c.bytes, 100), c.error);
  }
}

TEST(PacketXml, AMessageShowsWhatFollows) {
  PacketXml xml(0);
  try {
    xml.take(spanOf("raster\x1B data that are longer than a message"));
    FAIL();
  } catch (const ReadError& error) {
    EXPECT_THAT(error.what(), HasSubstr("found \"raster\\x1B data that are lo\","));
  }
}

TEST(PacketXml, BytesThatXmlForbidsEndAPacket) {
  for (int byte = 0; byte < 0x20; ++byte) {
    const auto c = static_cast<char>(byte);
    const bool allowed = byte == 0 || c == '\t' || c == '\r' || c == '\n';
    for (const std::string& place :
         {"<a>?</a>"s, "<a b=\"?\"/>"s, "<!--?--><a/>"s, "<a><?i ? ?></a>"s,
          "<a><![CDATA[?]]></a>"s, "<!D [?]><a/>"s}) {
      std::string text = place;
      text[text.find('?', text.starts_with("<a><?") ? 6 : 0)] = c;
      EXPECT_EQ(refusal(text) == "none", allowed) << escaped(c) << " in " << place;
    }
  }
}

TEST(PacketXml, NoBytesAreTooStrange) {
  // Every text of five bytes of these ends in a packet or an error, wherever it is split.
  constexpr std::string_view kBytes = "<>/?!-a[\"]";
  std::string text(5, ' ');
  for (int code = 0; code < 100000; ++code) {
    int rest = code;
    for (char& c : text) {
      c = kBytes[static_cast<size_t>(rest % 10)];
      rest /= 10;
    }
    const std::string packet = "<a>" + text + "</a>";
    const auto whole = parsePacketXml(packet);
    std::optional<uint64_t> pieces;
    if (refusal(packet) == "none") pieces = packetOf(packet).packet.size;
    EXPECT_EQ(whole.has_value(), pieces.has_value()) << text;
    if (whole && pieces) {
      EXPECT_EQ(whole->packet.size, *pieces) << text;
    }
  }
}

}  // namespace
