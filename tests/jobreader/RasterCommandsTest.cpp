// Tests of the command reader: every command of the language, every spelling that is none, and
// the data behind commands, in one piece or cut by packets.
#include "RasterCommands.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Damage.h"
#include "MemoryStream.h"
#include "PageJob.h"
#include "TempFolder.h"

namespace {

using jobreader::Command;
using jobreader::CommandData;
using jobreader::CommandReader;

// A command with what the reader makes of it.
struct Spelling {
  const char* bytes;  // '~' stands for ESC
  const char* family;
  char letter;
  int64_t number = 0;
  char sign = 0;
  uint64_t dataBytes = 0;
};

constexpr Spelling kCommands[] = {
    {"~%-12345X", "%", 'X', -12345, '-'},
    {"~%0A", "%", 'A'},
    {"~E", "", 'E'},
    {"~$b0W", "$b", 'W'},
    {"~$b65536W", "$b", 'W', 65536, 0, 65536},
    {"~$v4W", "$v", 'W', 4, 0, 4},
    {"~$v28W", "$v", 'W', 28, 0, 28},
    {"~*t600R", "*t", 'R', 600},
    {"~*t-1R", "*t", 'R', -1, '-'},  // 4294967295 dots per inch
    {"~$r600X", "$r", 'X', 600},
    {"~$r1200Y", "$r", 'Y', 1200},
    {"~$r-2Y", "$r", 'Y', -2, '-'},
    {"~*p0X", "*p", 'X'},
    {"~*p20X", "*p", 'X', 20},
    {"~*p+5X", "*p", 'X', 5, '+'},
    {"~*p-5X", "*p", 'X', -5, '-'},
    {"~*p0Y", "*p", 'Y'},
    {"~*p2147483647Y", "*p", 'Y', 2147483647},
    {"~*p+2147483647Y", "*p", 'Y', 2147483647, '+'},
    {"~*p-2147483648Y", "*p", 'Y', -2147483648LL, '-'},
    {"~*b0Y", "*b", 'Y'},
    {"~*b12Y", "*b", 'Y', 12},
    {"~*b+12Y", "*b", 'Y', 12, '+'},
    {"~*r1A", "*r", 'A', 1},
    {"~*b0M", "*b", 'M'},
    {"~*b4M", "*b", 'M', 4},
    {"~*b0V", "*b", 'V'},
    {"~*b12V", "*b", 'V', 12, 0, 12},
    {"~*b-5V", "*b", 'V', -5, '-'},
    {"~*b0W", "*b", 'W'},
    {"~*b2147483647W", "*b", 'W', 2147483647, 0, 2147483647},
    {"~*b-6W", "*b", 'W', -6, '-'},
    {"~*b-2147483648W", "*b", 'W', -2147483648LL, '-'},
    {"~*rC", "*r", 'C'},
    {"~$E", "$", 'E'},
};

void expectCommand(const Command& command, const Spelling& want) {
  EXPECT_EQ(command.text, want.bytes + 1);
  EXPECT_EQ(command.family, want.family);
  EXPECT_EQ(command.letter, want.letter);
  EXPECT_EQ(command.number, want.number);
  EXPECT_EQ(command.sign, want.sign);
  EXPECT_EQ(command.dataBytes, want.dataBytes);
  EXPECT_TRUE(command.is(std::string(want.family) + want.letter));
  EXPECT_FALSE(command.is(want.family));
  EXPECT_FALSE(command.is(std::string(want.family) + "?"));
  EXPECT_FALSE(command.is(std::string("?") + want.letter));
}

TEST(RasterCommands, EveryCommandOfTheLanguage) {
  for (const Spelling& c : kCommands) {
    SCOPED_TRACE(c.bytes);
    MemoryStream data(joined({c.bytes}));
    CommandReader reader(data);
    const Command command = reader.next();
    expectCommand(command, c);
    EXPECT_EQ(command.offset, 0);
    EXPECT_EQ(reader.offset(), command.text.size() + 1);
    EXPECT_TRUE(reader.atEnd());
  }
}

TEST(RasterCommands, TheyFollowEachOtherWithoutAnythingBetween) {
  Bytes stream;
  for (const Spelling& c : kCommands) {
    const Bytes command = joined({c.bytes});
    stream.insert(stream.end(), command.begin(), command.end());
  }
  for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{2}, size_t{3}, size_t{7}, size_t{64}}) {
    SCOPED_TRACE(piece);
    MemoryStream data(stream, piece);
    CommandReader reader(data);
    uint64_t offset = 0;
    for (const Spelling& c : kCommands) {
      SCOPED_TRACE(c.bytes);
      EXPECT_FALSE(reader.atEnd());
      const Command command = reader.next();  // its data, if any, are what comes next here
      expectCommand(command, c);
      EXPECT_EQ(command.offset, offset);
      offset += std::string_view(c.bytes).size();
      EXPECT_EQ(reader.offset(), offset);
    }
    EXPECT_TRUE(reader.atEnd());
  }
}

TEST(RasterCommands, ACommandThatAPacketCutsIsWhereItsEscIs) {
  const Bytes stream = joined({"~*rC~*p+120X~$E"});
  MemoryStream data(stream, 7, 1000);  // the second one has ESC, * and p in front of the border
  CommandReader reader(data);
  EXPECT_EQ(reader.next().offset, 0);
  const Command move = reader.next();
  EXPECT_EQ(move.offset, 4);
  EXPECT_EQ(move.text, "*p+120X");
  EXPECT_EQ(reader.offset(), 1012);
  EXPECT_EQ(reader.next().offset, 1012);
}

TEST(RasterCommands, ACommandThatBeginsAPacketIsBehindTheBorder) {
  MemoryStream data(joined({"~*rC~$E"}), 4, 1000);
  CommandReader reader(data);
  EXPECT_EQ(reader.next().offset, 0);
  EXPECT_EQ(reader.next().offset, 1004);
}

TEST(RasterCommands, ACopyOutlivesTheCommandAndTheStream) {
  Command copy;
  {
    MemoryStream data(joined({"~*b-123456789W~*rC"}), 5);
    CommandReader reader(data);
    const auto command = std::make_unique<Command>(reader.next());
    copy = *command;
    reader.next();
  }
  EXPECT_EQ(copy.family, "*b");
  EXPECT_EQ(copy.text, "*b-123456789W");
  EXPECT_TRUE(copy.is("*bW"));
}

// Spellings that are none ----------------------------------------------------------------------

TEST(RasterCommands, AByteThatContinuesNoCommandIsNamed) {
  struct Case {
    const char* name;
    const char* bytes;
    uint64_t offset;
  };
  const Case kCases[] = {
      {"no ESC", "*b1V", 0},
      {"a byte of data that is left over", "0~*b1V", 0},
      {"ESC twice", "~~*b1V", 1},
      {"an unknown group", "~&b1V", 1},
      {"a small letter for a reset", "~e", 1},
      {"a family of group * that there is not", "~*c1V", 2},
      {"a family of group $ that there is not", "~$c1W", 2},
      {"a configuration of group *", "~*v1W", 2},
      {"a row command of group $", "~$b1V", 4},
      {"a row command of group $ without a number", "~$bV", 3},
      {"a letter that resets do not have", "~%-12345Y", 8},
      {"a letter that the start of raster mode does not have", "~*r1B", 4},
      {"a letter that the end of raster mode does not have", "~*rB", 3},
      {"a small letter for the end of the page", "~$e", 2},
      {"a letter that rows do not have", "~*b5X", 4},
      {"a small letter for a row", "~*b5v", 4},
      {"a letter that moves do not have", "~*p5V", 4},
      {"a letter that resolutions do not have", "~*t600X", 6},
      {"a letter that the two resolutions do not have", "~$r600R", 6},
      {"a letter that configurations do not have", "~$v4V", 4},
      {"a blank in a number", "~*b1 0V", 4},
      {"a point in a number", "~*b1.5V", 4},
      {"the next command in the middle of one", "~*b12~*b12V", 5},
      {"the twelfth character of a number", "~$b18446744073709551617W", 14},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{4}}) {
      MemoryStream data(joined({c.bytes}), piece);
      CommandReader reader(data);
      EXPECT_EQ(damageOf([&] { reader.next(); }), c.offset);
    }
  }
}

TEST(RasterCommands, ANumberThatACommandDoesNotHaveIsNamedByItsEsc) {
  struct Case {
    const char* name;
    const char* bytes;
  };
  const Case kCases[] = {
      {"the reset with another number", "~%-12346X"},
      {"the reset with a longer number", "~%-123456X"},
      {"the reset with a shorter number", "~%-1234X"},
      {"the reset without its sign", "~%12345X"},
      {"the reset with the other one's number", "~%0X"},
      {"the reset without a number", "~%X"},
      {"the other reset with 1", "~%1A"},
      {"the other reset with two zeros", "~%00A"},
      {"the other reset with minus 0", "~%-0A"},
      {"the other reset with the first one's number", "~%-12345A"},
      {"the other reset without a number", "~%A"},
      {"the short reset with a number", "~1E"},
      {"the start of raster mode with 0", "~*r0A"},
      {"the start of raster mode with 2", "~*r2A"},
      {"the start of raster mode with 10", "~*r10A"},
      {"the start of raster mode with a zero in front", "~*r01A"},
      {"the start of raster mode with a sign", "~*r+1A"},
      {"the start of raster mode without a number", "~*rA"},
      {"the end of raster mode with a number", "~*r1C"},
      {"the end of the page with a number", "~$1E"},

      {"no number for a row", "~*bV"},
      {"no number for the last plane of a row", "~*bW"},
      {"no number for a table", "~$bW"},
      {"no number for a configuration", "~$vW"},
      {"no number for a resolution", "~*tR"},
      {"no number for one of two resolutions", "~$rX"},
      {"no number for a move", "~*pX"},
      {"no number for a move by", "~*p+X"},
      {"no number for a move back", "~*p-Y"},
      {"no number for an offset", "~*bY"},
      {"no number for a method", "~*bM"},
      {"no number behind minus", "~*b-V"},

      {"a zero in front of a count", "~*b05V"},
      {"two zeros", "~*b00V"},
      {"a zero in front of a table's size", "~$b010W"},
      {"a zero in front of a configuration's size", "~$v04W"},
      {"a zero in front of a resolution", "~*t0600R"},
      {"a zero in front of a position", "~*p01X"},
      {"a zero in front of a move", "~*p+01X"},
      {"a zero in front of a negative number", "~*b-05V"},
      {"minus 0 for a row", "~*b-0V"},
      {"minus 0 for a move", "~*p-0X"},
      {"plus 0 for a move", "~*p+0X"},
      {"plus 0 for an offset", "~*b+0Y"},

      {"two signs", "~*p+-5X"},
      {"a sign behind the number", "~*p5-X"},
      {"plus for a table", "~$b+5W"},
      {"plus for a configuration", "~$v+4W"},
      {"plus for a resolution", "~*t+600R"},
      {"plus for one of two resolutions", "~$r+600X"},
      {"plus for a row", "~*b+5V"},
      {"plus for the last plane of a row", "~*b+5W"},
      {"plus for a method", "~*b+2M"},
      {"minus for a table", "~$b-5W"},
      {"minus for a configuration", "~$v-4W"},
      {"minus for a method", "~*b-2M"},

      {"one more than 31 bits", "~*b2147483648V"},
      {"one more than 32 bits", "~*b4294967296V"},
      {"one digit more than 32 bits have", "~*b10000000000V"},
      {"a negative number of more than 32 bits", "~*b-2147483649V"},
      {"a move of more than 32 bits", "~*p+2147483648X"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{4}}) {
      MemoryStream data(joined({"~*rC", c.bytes}), piece);
      CommandReader reader(data);
      reader.next();
      EXPECT_EQ(damageOf([&] { reader.next(); }), 4);
    }
  }
}

TEST(RasterCommands, AnOffsetIsNeverNegative) {
  MemoryStream data(joined({"~*b-5Y"}));
  CommandReader reader(data);
  EXPECT_EQ(damageOf([&] { reader.next(); }), 0);
}

TEST(RasterCommands, DamageBehindAPacketBorderIsNamedByItsPlaceInTheFile) {
  MemoryStream letter(joined({"~*b5v"}), 4, 100);
  EXPECT_EQ(damageOf([&] { CommandReader(letter).next(); }), 104);
  MemoryStream number(joined({"~*rC~*b05V"}), 4, 100);
  CommandReader reader(number);
  reader.next();
  EXPECT_EQ(damageOf([&] { reader.next(); }), 104);
}

TEST(RasterCommands, OneThatIsCutOffIsNamedByTheEnd) {
  for (const Spelling& c : kCommands) {
    const Bytes whole = joined({c.bytes});
    for (size_t size = 0; size < whole.size(); ++size) {
      SCOPED_TRACE(std::string(c.bytes, size));
      MemoryStream data(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
      CommandReader reader(data);
      EXPECT_EQ(damageOf([&] { reader.next(); }), size);
    }
  }
}

RC_GTEST_PROP(RasterCommandsProperty, AnyBytesAreACommandOrDamageInThem, ()) {
  const auto start = *rc::gen::element<std::string>("~", "~*", "~*b", "~$", "~*p+", "~%", "~*b-1");
  const auto rest = *rc::gen::container<Bytes>(rc::gen::oneOf(
      rc::gen::element<uint8_t>('0', '1', '9', '+', '-', 'X', 'Y', 'V', 'W', 'M', 'E', '*', 'b'),
      rc::gen::arbitrary<uint8_t>()));
  const Bytes stream = joined({start, rest});
  MemoryStream data(stream);
  CommandReader reader(data);
  Command command;
  const auto damage = damageOf([&] { command = reader.next(); });
  if (damage) {
    RC_ASSERT(*damage <= stream.size());
  } else {
    const Bytes text = bytesOf(command.text);
    RC_ASSERT(Bytes(stream.begin() + 1,
                    stream.begin() + 1 + static_cast<std::ptrdiff_t>(text.size())) == text);
  }
}

// Data -----------------------------------------------------------------------------------------

Bytes counting(size_t count) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(i * 7);
  return bytes;
}

TEST(CommandDataOf, OneWindowIsNotMoved) {
  MemoryStream data(joined({"~*b3V", Bytes{1, 2, 3}, "~*rC"}));
  CommandReader reader(data);
  EXPECT_EQ(reader.next().dataBytes, 3);
  const CommandData& row = reader.takeData(3);
  EXPECT_EQ(Bytes(row.bytes().begin(), row.bytes().end()), (Bytes{1, 2, 3}));
  for (size_t i = 0; i <= 3; ++i) EXPECT_EQ(row.offsetOf(i), 5 + i);
  EXPECT_EQ(reader.offset(), 8);
  EXPECT_TRUE(reader.next().is("*rC"));
}

TEST(CommandDataOf, DataCutByPacketsAreOneBlock) {
  // Packets of 4 bytes of data, 100 bytes of XML between two: "~*b1" | "2V" 0 7 | 4 bytes | ...
  const Bytes row = counting(12);
  MemoryStream data(joined({"~*b12V", row, "~*rC"}), 4, 100);
  CommandReader reader(data);
  EXPECT_EQ(reader.next().dataBytes, 12);
  const CommandData& taken = reader.takeData(12);
  EXPECT_EQ(Bytes(taken.bytes().begin(), taken.bytes().end()), row);
  const uint64_t kOffsets[] = {106, 107, 208, 209, 210, 211, 312, 313, 314, 315, 416, 417};
  for (size_t i = 0; i < 12; ++i) EXPECT_EQ(taken.offsetOf(i), kOffsets[i]) << i;
  EXPECT_EQ(taken.offsetOf(12), 418);  // behind the last one
  EXPECT_EQ(reader.next().offset, 418);
}

TEST(CommandDataOf, BehindTheLastByteIsStillItsPacket) {
  MemoryStream data(joined({"~*b3V", Bytes{1, 2, 3}, "~*rC"}), 8, 100);
  CommandReader reader(data);
  reader.next();
  const CommandData& row = reader.takeData(3);
  EXPECT_EQ(row.offsetOf(2), 7);
  EXPECT_EQ(row.offsetOf(3), 8);
  EXPECT_EQ(reader.next().offset, 108);
}

TEST(CommandDataOf, APacketBorderInFrontOfTheData) {
  MemoryStream data(joined({"~*b3V", Bytes{1, 2, 3}, "~*rC"}), 5, 100);
  CommandReader reader(data);
  reader.next();
  const CommandData& row = reader.takeData(3);
  EXPECT_EQ(Bytes(row.bytes().begin(), row.bytes().end()), (Bytes{1, 2, 3}));
  EXPECT_EQ(row.offsetOf(0), 105);
  EXPECT_EQ(row.offsetOf(3), 108);
}

TEST(CommandDataOf, NoData) {
  MemoryStream data(joined({"~*b0V~*b0W"}));
  CommandReader reader(data);
  reader.next();
  const CommandData& row = reader.takeData(0);
  EXPECT_TRUE(row.bytes().empty());
  EXPECT_EQ(row.offsetOf(0), 5);
  EXPECT_EQ(reader.next().text, "*b0W");
}

TEST(CommandDataOf, NoDataAtTheEndOfTheStream) {
  MemoryStream data(joined({"~*b0V"}));
  CommandReader reader(data);
  reader.next();
  EXPECT_EQ(reader.takeData(0).offsetOf(0), 5);
  EXPECT_TRUE(reader.atEnd());
}

TEST(CommandDataOf, DataThatAreCutOffAreNamedByTheEnd) {
  for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{4}}) {
    SCOPED_TRACE(piece);
    MemoryStream data(joined({"~*b5V", Bytes{1, 2, 3, 4}}), piece);
    CommandReader reader(data);
    const uint64_t count = reader.next().dataBytes;
    EXPECT_EQ(damageOf([&] { reader.takeData(count); }), 9);
  }
}

TEST(CommandDataOf, AHugeCountTakesNoMoreMemoryThanThereAreData) {
  MemoryStream data(joined({"~*b2147483647V", Bytes(1000)}), 100);
  CommandReader reader(data);
  const uint64_t count = reader.next().dataBytes;
  EXPECT_EQ(damageOf([&] { reader.takeData(count); }), 1014);
}

TEST(CommandDataOf, EveryPieceSizeGivesTheSame) {
  const Bytes first = counting(40);
  const Bytes second = counting(3);
  const Bytes stream = joined({"~*b40V", first, "~*b3W", second, "~*rC"});
  for (size_t piece = 1; piece <= stream.size(); ++piece) {
    SCOPED_TRACE(piece);
    const auto offsetOf = [&](size_t at) { return at + at / piece * 50; };
    MemoryStream data(stream, piece, 50);
    CommandReader reader(data);
    for (const auto& [row, at] : {std::pair(first, size_t{6}), std::pair(second, size_t{51})}) {
      const CommandData& taken = reader.takeData(reader.next().dataBytes);
      ASSERT_EQ(Bytes(taken.bytes().begin(), taken.bytes().end()), row);
      for (size_t i = 0; i < row.size(); ++i) ASSERT_EQ(taken.offsetOf(i), offsetOf(at + i)) << i;
    }
    EXPECT_EQ(reader.next().offset, offsetOf(54));
  }
}

TEST(CommandDataOf, TablesArePassedOnPieceByPiece) {
  const Bytes table = counting(30);
  for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{10}, size_t{36}}) {
    SCOPED_TRACE(piece);
    MemoryStream data(joined({"~$b30W", table, "~$E"}), piece);
    CommandReader reader(data);
    Bytes passed;
    size_t pieces = 0;
    reader.passData(reader.next().dataBytes, [&](std::span<const uint8_t> bytes) {
      EXPECT_FALSE(bytes.empty());
      passed.insert(passed.end(), bytes.begin(), bytes.end());
      ++pieces;
    });
    EXPECT_EQ(passed, table);
    EXPECT_LE(pieces, 30U);
    EXPECT_TRUE(reader.next().is("$E"));
  }
}

TEST(CommandDataOf, ATableThatIsCutOffIsPassedOnUpToTheEnd) {
  MemoryStream data(joined({"~$b30W", counting(20)}), 10);
  CommandReader reader(data);
  const uint64_t count = reader.next().dataBytes;
  Bytes passed;
  EXPECT_EQ(damageOf([&] {
              reader.passData(count, [&](std::span<const uint8_t> bytes) {
                passed.insert(passed.end(), bytes.begin(), bytes.end());
              });
            }),
            26);
  EXPECT_EQ(passed, counting(20));
}

// The ends of the stream -----------------------------------------------------------------------

TEST(RasterCommands, AKnownBeginningIsPassedOver) {
  for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{4}}) {
    SCOPED_TRACE(piece);
    MemoryStream data(joined({"~%-12345X~%0A"}), piece);
    CommandReader reader(data);
    EXPECT_TRUE(reader.skipText("\x1B%-12345X"));
    EXPECT_EQ(reader.offset(), 9);
    EXPECT_EQ(reader.next().text, "%0A");
  }
}

TEST(RasterCommands, AnotherBeginningIsNot) {
  for (const char* const other : {"", "~", "~%-12345", "~%-12345Y", "x~%-12345X"}) {
    SCOPED_TRACE(other);
    MemoryStream data(joined({other}));
    CommandReader reader(data);
    EXPECT_FALSE(reader.skipText("\x1B%-12345X"));
  }
}

TEST(RasterCommands, ThePositionIsHandedBackToTheStream) {
  for (const size_t piece : {SIZE_MAX, size_t{1}, size_t{3}, size_t{4}}) {
    SCOPED_TRACE(piece);
    MemoryStream data(joined({"~*rC<EndJob>"}), piece);
    CommandReader reader(data);
    reader.next();
    reader.finish();
    EXPECT_EQ(data.offset(), 4);
    EXPECT_EQ(data.window().front(), '<');
  }
}

TEST(RasterCommands, NothingIsLeftAtTheEnd) {
  MemoryStream empty(Bytes{});
  EXPECT_TRUE(CommandReader(empty).atEnd());
  MemoryStream data(joined({"~*rC"}), 2);
  CommandReader reader(data);
  EXPECT_FALSE(reader.atEnd());
  reader.next();
  EXPECT_TRUE(reader.atEnd());
  reader.finish();
  EXPECT_TRUE(data.atEnd());
}

}  // namespace
