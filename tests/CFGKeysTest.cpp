// Tests of the keys: how each kind of value is read, echoed and refused, the keys of every section
// one by one, and the lists of the record.
#include "CFGKeys.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CFGFile.h"
#include "CFGState.h"
#include "CLibrary.h"
#include "Capture.h"
#include "JobFolder.h"
#include "ReductionTables.h"
#include "Thrown.h"

namespace {

using namespace std::string_literals;

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

CText copyOf(const std::string& text) {
  CText copy = newZeroedText(kLineBytes);
  std::strcpy(copy.get(), text.c_str());
  return copy;
}

// One accepted line, on its own. The line is number 7 and is shown with a blank in front.
class Item {
 public:
  Item(const std::string& key, const std::string& value, bool isHeader = false) {
    item_.lineNumber = 7;
    item_.line = copyOf(isHeader ? key : " " + key + "=" + value);
    item_.key = copyOf(key);
    item_.value = copyOf(value);
    item_.isHeader = isHeader;
  }
  CFGFileItem* get() { return &item_; }
  CFGFileItem* operator->() { return &item_; }

 private:
  CFGFileItem item_;
};

std::string invalid(const std::string& key, const std::string& value) {
  return "INVALID VALUE OF ITEM!: line 7.\n " + key + "=" + value + "\n";
}

// What one value parser did with one value.
struct Parsed {
  int result = 0;  // 1: stored, -1: another key
  int code = 0;
  std::string out, err;
};

template <class Call>
Parsed parsed(Call&& call) {
  Parsed p;
  Capture capture;
  p.code = thrownBy([&] { p.result = call(); });
  p.out = capture.out();
  p.err = capture.err();
  return p;
}

// Strings -----------------------------------------------------------------------------------------

Parsed readString(char* path, const std::string& value, const char* wanted = "Key") {
  Item item("Key", value);
  return parsed(
      [&] { return parseParameterString("Key", wanted, value.c_str(), path, item.get()); });
}

TEST(StringValue, AQuotedTextIsStoredAndEchoedUnquoted) {
  struct Case {
    const char* name;
    const char* value;
    const char* text;
    const char* echo;
  };
  const Case kCases[] = {
      {"plain", "\"out.dat\"", "out.dat", "Key=\"out.dat\"\n"},
      {"empty", "\"\"", "", "Key=\"\"\n"},
      {"doubled quotes", "\"a\"\"b\"", "a\"b", "Key=\"a\"b\"\n"},
      {"escaped quotes", "\"a\\\"b\"", "a\"b", "Key=\"a\"b\"\n"},
      {"percent signs", "\"%s%n\"", "%s%n", "Key=\"%s%n\"\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto path = std::make_unique<char[]>(260);
    const Parsed p = readString(path.get(), c.value);
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, c.echo);
    EXPECT_EQ(p.err, "");
    EXPECT_STREQ(path.get(), c.text);
  }
}

TEST(StringValue, IsRefusedWhenBadEmptyOrRepeated) {
  struct Case {
    const char* name;
    const char* value;
    const char* before;
    int code;
  };
  const Case kCases[] = {
      {"not quoted", "out.dat", "", -28},   {"not closed", "\"out.dat", "", -28},
      {"text behind", "\"a\"b\"", "", -28}, {"no value", "", "", -27},
      {"set before", "\"a\"", "b", -27},    {"set before, not quoted", "a", "b", -27},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto path = std::make_unique<char[]>(260);
    std::strcpy(path.get(), c.before);
    const Parsed p = readString(path.get(), c.value);
    EXPECT_EQ(p.code, c.code);
    EXPECT_EQ(p.err, invalid("Key", c.value));
    EXPECT_EQ(p.out, "");
    EXPECT_STREQ(path.get(), c.before);
  }
}

TEST(StringValue, HoldsAtMost259Characters) {
  const auto path = std::make_unique<char[]>(260);
  const std::string longest(259, 'x');
  EXPECT_EQ(readString(path.get(), "\"" + longest + "\"").code, 0);
  EXPECT_EQ(path.get(), longest);

  path[0] = '\0';
  const std::string over = "\"" + std::string(260, 'x') + "\"";
  const Parsed p = readString(path.get(), over);
  EXPECT_EQ(p.code, -28);
  EXPECT_EQ(p.err, invalid("Key", over));
  EXPECT_EQ(p.out, "");
  EXPECT_STREQ(path.get(), "");
}

TEST(StringValue, TheLengthIsThatOfTheUnquotedText) {
  const auto path = std::make_unique<char[]>(260);
  std::string value = "\"";
  for (int i = 0; i < 259; ++i) value += "\"\"";
  EXPECT_EQ(readString(path.get(), value + "\"").code, 0);
  EXPECT_EQ(path.get(), std::string(259, '"'));
}

TEST(StringValue, AnotherKeyIsLeftAlone) {
  const auto path = std::make_unique<char[]>(260);
  for (const char* wanted : {"key", "Key2", "Ke", ""}) {
    SCOPED_TRACE(wanted);
    const Parsed p = readString(path.get(), "nonsense", wanted);
    EXPECT_EQ(p.result, -1);
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.out + p.err, "");
  }
}

// Integers ----------------------------------------------------------------------------------------

TEST(IntegerValue, IsDecimalOrHexadecimalModulo2To32) {
  struct Case {
    const char* value;
    int32_t number;
    const char* echo;
  };
  const Case kCases[] = {
      {"0", 0, "Key=0\n"},
      {"123", 123, "Key=123\n"},
      {"007", 7, "Key=7\n"},
      {"2147483647", 2147483647, "Key=2147483647\n"},
      {"2147483648", kMin, "Key=-2147483648\n"},
      {"4294967295", -1, "Key=-1\n"},
      {"4294967296", 0, "Key=0\n"},
      {"4294967301", 5, "Key=5\n"},
      {"340282366920938463463374607431768211459", 3, "Key=3\n"},
      {"0x1F", 31, "Key=0x0000001F\n"},
      {"0X1f", 31, "Key=0x0000001F\n"},
      {"0xabcdef", 0xABCDEF, "Key=0x00ABCDEF\n"},
      {"0x", 0, "Key=0x00000000\n"},
      {"0X", 0, "Key=0x00000000\n"},
      {"0x80000000", kMin, "Key=0x80000000\n"},
      {"0xFFFFFFFF", -1, "Key=0xFFFFFFFF\n"},
      {"0x100000001", 1, "Key=0x00000001\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.value);
    int32_t field = -1;
    Item item("Key", c.value);
    const Parsed p =
        parsed([&] { return parseParameterInteger("Key", "Key", c.value, &field, item.get()); });
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, c.echo);
    EXPECT_EQ(p.err, "");
    EXPECT_EQ(field, c.number);
    EXPECT_EQ(item->integer, c.number);
  }
}

TEST(IntegerValue, IsRefusedWhenBadEmptyOrRepeated) {
  struct Case {
    const char* name;
    const char* value;
    int32_t before;
    int code;
  };
  const Case kCases[] = {
      {"a minus sign", "-1", -1, -31},
      {"a plus sign", "+1", -1, -31},
      {"a letter behind", "1a", -1, -31},
      {"a blank inside", "1 2", -1, -31},
      {"a fraction", "1.5", -1, -31},
      {"quoted", "\"1\"", -1, -31},
      {"a bad hexadecimal digit", "0xG", -1, -31},
      {"a blank in a hexadecimal number", "0x1 2", -1, -31},
      {"hexadecimal digits without prefix", "FF", -1, -31},
      {"a prefix without 0", "x1", -1, -31},
      {"a symbol", "hxraster_id_val_compression_none", -1, -31},
      {"no value", "", -1, -30},
      {"set before", "2", 1, -30},
      {"set to 0 before", "2", 0, -30},
      {"set before, bad value", "x", 1, -30},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    int32_t field = c.before;
    Item item("Key", c.value);
    const Parsed p =
        parsed([&] { return parseParameterInteger("Key", "Key", c.value, &field, item.get()); });
    EXPECT_EQ(p.code, c.code);
    EXPECT_EQ(p.err, invalid("Key", c.value));
    EXPECT_EQ(p.out, "");
    EXPECT_EQ(field, c.before);
  }
}

TEST(IntegerValue, AnotherKeyIsLeftAlone) {
  int32_t field = -1;
  Item item("Key", "x");
  EXPECT_EQ(parseParameterInteger("Key", "key", "x", &field, item.get()), -1);
  EXPECT_EQ(parseParameterIntegerSymbol("Key", "key", "x", &field, item.get()), -1);
  EXPECT_EQ(field, -1);
  EXPECT_EQ(item->integer, 0);
}

TEST(HexadecimalToDecimal, ReadsBase16Modulo2To32) {
  struct Case {
    const char* text;
    int32_t number;
  };
  const Case kCases[] = {{"", 0},          {"0", 0},         {"9", 9},
                         {"a", 10},        {"F", 15},        {"12C", 300},
                         {"ffffffff", -1}, {"100000000", 0}, {"1000000FF", 255}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(hexadecimalToDecimal(c.text), c.number);
  }
}

// Symbols -----------------------------------------------------------------------------------------

struct SymbolCase {
  int32_t value;
  const char* symbol;
  const char* echo;
};
const SymbolCase kSymbols[] = {
    {2, "hxraster_id_val_image_format_row_rgb_multi_level",
     "Key=hxraster_id_val_image_format_row_rgb_multi_level (=0x00000002)\n"},
    {3, "hxraster_id_val_image_format_row_kcmy_multi_level",
     "Key=hxraster_id_val_image_format_row_kcmy_multi_level (=0x00000003)\n"},
    {4, "hxraster_id_val_image_format_row_inkcolor_index",
     "Key=hxraster_id_val_image_format_row_inkcolor_index (=0x00000004)\n"},
    {5, "hxraster_id_val_image_format_row_inkcolor_bi_level",
     "Key=hxraster_id_val_image_format_row_inkcolor_bi_level (=0x00000005)\n"},
    {18, "hxraster_id_val_image_format_pixel_rgb_multi_level",
     "Key=hxraster_id_val_image_format_pixel_rgb_multi_level (=0x00000012)\n"},
    {19, "hxraster_id_val_image_format_pixel_kcmy_kccmmy_multi_level",
     "Key=hxraster_id_val_image_format_pixel_kcmy_kccmmy_multi_level (=0x00000013)\n"},
    {20, "hxraster_id_val_image_format_pixel_kcmy_kccmmy_index",
     "Key=hxraster_id_val_image_format_pixel_kcmy_kccmmy_index (=0x00000014)\n"},
    {21, "hxraster_id_val_image_format_pixel_kcmy_kccmmy_bi_level",
     "Key=hxraster_id_val_image_format_pixel_kcmy_kccmmy_bi_level (=0x00000015)\n"},
    {0, "hxraster_id_val_compression_none", "Key=hxraster_id_val_compression_none (=0x00000000)\n"},
    {2, "hxraster_id_val_compression_packbits",
     "Key=hxraster_id_val_compression_packbits (=0x00000002)\n"},
    {3, "hxraster_id_val_compression_seedrow",
     "Key=hxraster_id_val_compression_seedrow (=0x00000003)\n"},
    {256, "hxraster_id_val_compression_packbits_seedrow",
     "Key=hxraster_id_val_compression_packbits_seedrow (=0x00000100)\n"},
    {4, "hxraster_id_val_compression_hxrc", "Key=hxraster_id_val_compression_hxrc (=0x00000004)\n"},
};

TEST(Symbols, AreListedInOrderAndEndWithAnEmptyRow) {
  ASSERT_EQ(gIDSymbolTable.size(), std::size(kSymbols) + 1);
  for (size_t i = 0; i < std::size(kSymbols); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(gIDSymbolTable[i].value, kSymbols[i].value);
    EXPECT_STREQ(gIDSymbolTable[i].symbol, kSymbols[i].symbol);
  }
  EXPECT_EQ(gIDSymbolTable.back().value, 0);
  EXPECT_EQ(gIDSymbolTable.back().symbol, nullptr);
}

TEST(Symbols, StandForTheirValuesAndAreEchoedWithThem) {
  for (const SymbolCase& c : kSymbols) {
    SCOPED_TRACE(c.symbol);
    int32_t value = -1;
    EXPECT_EQ(convertSymbolToInt(c.symbol, &value), 1);
    EXPECT_EQ(value, c.value);

    int32_t field = -1;
    Item item("Key", c.symbol);
    const Parsed p = parsed(
        [&] { return parseParameterIntegerSymbol("Key", "Key", c.symbol, &field, item.get()); });
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, c.echo);
    EXPECT_EQ(field, c.value);
    EXPECT_EQ(item->integer, c.value);
  }
}

TEST(Symbols, AreComparedExactly) {
  for (const char* symbol :
       {"", "hxraster_id_val_compression", "hxraster_id_val_compression_none2",
        "HXRASTER_ID_VAL_COMPRESSION_NONE", "hxraster_id_val_compression_None"}) {
    SCOPED_TRACE(symbol);
    int32_t value = -1;
    EXPECT_EQ(convertSymbolToInt(symbol, &value), -1);
    EXPECT_EQ(value, -1);
  }
}

TEST(IntegerOrSymbolValue, IsAlsoANumber) {
  struct Case {
    const char* value;
    int32_t number;
    const char* echo;
  };
  const Case kCases[] = {
      {"5", 5, "Key=5\n"},
      {"0x100", 256, "Key=0x00000100\n"},
      {"0x", 0, "Key=0x00000000\n"},
      {"4294967298", 2, "Key=2\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.value);
    int32_t field = -1;
    Item item("Key", c.value);
    const Parsed p = parsed(
        [&] { return parseParameterIntegerSymbol("Key", "Key", c.value, &field, item.get()); });
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, c.echo);
    EXPECT_EQ(field, c.number);
    EXPECT_EQ(item->integer, c.number);
  }
}

TEST(IntegerOrSymbolValue, IsRefusedWhenBadEmptyOrRepeated) {
  struct Case {
    const char* name;
    const char* value;
    int32_t before;
    int code;
  };
  const Case kCases[] = {
      {"an unknown symbol", "packbits", -1, -33},
      {"another letter case", "HXRASTER_ID_VAL_COMPRESSION_NONE", -1, -33},
      {"quoted", "\"5\"", -1, -33},
      {"a sign", "-1", -1, -33},
      {"a bad digit", "5a", -1, -33},
      {"a bad hexadecimal digit", "0x5g", -1, -33},
      {"no value", "", -1, -32},
      {"set before", "5", 5, -32},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    int32_t field = c.before;
    Item item("Key", c.value);
    const Parsed p = parsed(
        [&] { return parseParameterIntegerSymbol("Key", "Key", c.value, &field, item.get()); });
    EXPECT_EQ(p.code, c.code);
    EXPECT_EQ(p.err, invalid("Key", c.value));
    EXPECT_EQ(p.out, "");
    EXPECT_EQ(field, c.before);
  }
}

// Positions and offsets ---------------------------------------------------------------------------

TEST(PositionValue, HasAnOptionalSign) {
  struct Case {
    const char* value;
    int32_t number;
    int32_t sign;
    const char* echo;
  };
  const Case kCases[] = {
      {"0", 0, 0, "Key=0\n"},
      {"12", 12, 0, "Key=12\n"},
      {"+5", 5, 1, "Key=+5\n"},
      {"-5", -5, -1, "Key=-5\n"},
      {"-1", -1, -1, "Key=-1\n"},
      {"+0", 0, 1, "Key=+0\n"},
      {"-0", 0, -1, "Key=0\n"},
      {"+", 0, 1, "Key=+0\n"},
      {"-", 0, -1, "Key=0\n"},
      {"4294967297", 1, 0, "Key=1\n"},
      {"4294967295", -1, 0, "Key=-1\n"},
      {"-4294967295", 1, -1, "Key=1\n"},
      {"-2147483648", kMin, -1, "Key=-2147483648\n"},
      {"+2147483648", kMin, 1, "Key=+-2147483648\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.value);
    int32_t field = -1;
    int32_t sign = 9;
    Item item("Key", c.value);
    const Parsed p = parsed(
        [&] { return parseStartingPosition("Key", "Key", c.value, &field, &sign, item.get()); });
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, c.echo);
    EXPECT_EQ(p.err, "");
    EXPECT_EQ(field, c.number);
    EXPECT_EQ(sign, c.sign);
  }
}

TEST(OffsetValue, HasAnOptionalPlus) {
  struct Case {
    const char* value;
    int32_t number;
    int32_t sign;
    const char* echo;
  };
  const Case kCases[] = {
      {"0", 0, 0, "Key=0\n"},   {"12", 12, 0, "Key=12\n"}, {"+5", 5, 1, "Key=+5\n"},
      {"+0", 0, 1, "Key=+0\n"}, {"+", 0, 1, "Key=+0\n"},   {"4294967297", 1, 0, "Key=1\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.value);
    int32_t field = -1;
    int32_t sign = 9;
    Item item("Key", c.value);
    const Parsed p =
        parsed([&] { return parseYOffset("Key", "Key", c.value, &field, &sign, item.get()); });
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, c.echo);
    EXPECT_EQ(p.err, "");
    EXPECT_EQ(field, c.number);
    EXPECT_EQ(sign, c.sign);
  }
}

TEST(PositionAndOffsetValues, AreRefusedWhenBadEmptyOrRepeated) {
  struct Case {
    const char* name;
    const char* value;
    int32_t before;
    int position;
    int offset;
  };
  const Case kCases[] = {
      {"a letter behind", "5a", -1, -16, -18},
      {"a sign behind", "5-", -1, -16, -18},
      {"two signs", "--5", -1, -16, -18},
      {"both signs", "+-5", -1, -16, -18},
      {"a blank behind the sign", "+ 5", -1, -16, -18},
      {"hexadecimal", "0x5", -1, -16, -18},
      {"a fraction", "1.5", -1, -16, -18},
      {"quoted", "\"5\"", -1, -16, -18},
      {"no value", "", -1, -15, -17},
      {"set before", "5", 3, -15, -17},
      {"set before, bad value", "x", 3, -15, -17},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    Item item("Key", c.value);
    int32_t field = c.before;
    int32_t sign = 0;
    const Parsed position = parsed(
        [&] { return parseStartingPosition("Key", "Key", c.value, &field, &sign, item.get()); });
    EXPECT_EQ(position.code, c.position);
    EXPECT_EQ(position.err, invalid("Key", c.value));
    EXPECT_EQ(position.out, "");

    field = c.before;
    const Parsed offset =
        parsed([&] { return parseYOffset("Key", "Key", c.value, &field, &sign, item.get()); });
    EXPECT_EQ(offset.code, c.offset);
    EXPECT_EQ(offset.err, invalid("Key", c.value));
    EXPECT_EQ(offset.out, "");
  }
}

TEST(OffsetValue, ALeadingMinusIsABadCharacter) {
  for (const char* value : {"-5", "-0", "-"}) {
    SCOPED_TRACE(value);
    Item item("Key", value);
    int32_t field = -1;
    int32_t sign = -1;
    const Parsed p =
        parsed([&] { return parseYOffset("Key", "Key", value, &field, &sign, item.get()); });
    EXPECT_EQ(p.code, -18);
    EXPECT_EQ(p.err, invalid("Key", value));
    EXPECT_EQ(p.out, "");
  }
}

TEST(PositionAndOffsetValues, OfAnotherKeyAreLeftAlone) {
  Item item("Key", "x");
  int32_t field = -1;
  int32_t sign = -1;
  EXPECT_EQ(parseStartingPosition("Key", "key", "x", &field, &sign, item.get()), -1);
  EXPECT_EQ(parseYOffset("Key", "key", "x", &field, &sign, item.get()), -1);
}

// Index levels ------------------------------------------------------------------------------------

TEST(IndexLevelValue, ChoosesATable) {
  struct Case {
    const char* value;
    const ReductionTable* table;
  };
  const Case kCases[] = {
      {"0", nullptr},
      {"2", &Reduce256To2Tbl},
      {"3", &Reduce256To3Tbl},
      {"4", &Reduce256To4Tbl},
      {"5", &Reduce256To5Tbl},
      {"6", &Reduce256To6Tbl},
      {"16", &Reduce256To16Tbl},
      {"2x", &Reduce256To2Tbl},
      {"16 levels", &Reduce256To16Tbl},
      {"+3", &Reduce256To3Tbl},
      {" \t4", &Reduce256To4Tbl},
      {"005", &Reduce256To5Tbl},
      {"-0", nullptr},
      {"0x10", nullptr},
      {"none", nullptr},
      {"4294967298", &Reduce256To2Tbl},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.value);
    const uint8_t* field = ReduceNoConvertTbl.data();  // set before: the value replaces it
    Item item("Key", c.value);
    const Parsed p =
        parsed([&] { return parseIndexLevel("Key", "Key", c.value, &field, item.get()); });
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 1);
    EXPECT_EQ(p.out, "Key="s + c.value + "\n");
    EXPECT_EQ(p.err, "");
    EXPECT_EQ(field, c.table == nullptr ? nullptr : c.table->data());
  }
}

TEST(IndexLevelValue, AnyOtherNumberIsEchoedAndRefused) {
  for (const char* value : {"1", "7", "8", "15", "17", "256", "-2", "-1", "22"}) {
    SCOPED_TRACE(value);
    const uint8_t* field = nullptr;
    Item item("Key", value);
    const Parsed p =
        parsed([&] { return parseIndexLevel("Key", "Key", value, &field, item.get()); });
    EXPECT_EQ(p.code, -34);
    EXPECT_EQ(p.err, invalid("Key", value));
    EXPECT_EQ(p.out, "Key="s + value + "\n");
  }
}

TEST(IndexLevelValue, AnotherKeyIsLeftAlone) {
  const uint8_t* field = ReduceNoConvertTbl.data();
  Item item("Key", "0");
  const Parsed p = parsed([&] { return parseIndexLevel("Key", "key", "0", &field, item.get()); });
  EXPECT_EQ(p.result, -1);
  EXPECT_EQ(p.out + p.err, "");
  EXPECT_EQ(field, ReduceNoConvertTbl.data());
}

// Sections ----------------------------------------------------------------------------------------

class SectionTest : public testing::Test {
 protected:
  void SetUp() override {
    record.reset(static_cast<parameter*>(std::calloc(1, sizeof(parameter))));
    initCommonParameter(record.get());
    sIsNewImageSection = true;  // as the header of a page leaves it
  }
  void TearDown() override { sIsNewImageSection = false; }

  Parsed global(const std::string& key, const std::string& value, bool isHeader = false) {
    Item item(key, value, isHeader);
    return parsed([&] { return parseGlobalParameter(item.get(), record.get()), 1; });
  }
  Parsed odax(const std::string& key, const std::string& value, bool isHeader = false) {
    Item item(key, value, isHeader);
    return parsed([&] { return parseODAXParameterBuild(item.get(), record.get()); });
  }
  Parsed raster(const std::string& key, const std::string& value, bool isHeader = false) {
    Item item(key, value, isHeader);
    return parsed([&] { return parseHXRasterParameter(item.get(), record.get()), 1; });
  }
  Parsed image(const std::string& key, const std::string& value, bool isHeader = false) {
    Item item(key, value, isHeader);
    return parsed([&] { return parseImageParameter(item.get(), record.get()), 1; });
  }
  imageParameter& page() { return *getLastImageParameter(record->imageParameterList); }

  ParameterOwner record;
};

std::string unknown(const std::string& key, const std::string& value) {
  return "UNKNOWN ITEM!: line 7.\n " + key + "=" + value + "\n";
}

TEST_F(SectionTest, ARecordBeginsWithNothingSet) {
  EXPECT_EQ(record->imageParameterList, nullptr);
  EXPECT_EQ(record->imageProcessingFileList, nullptr);
  for (const char* path :
       {record->OutFilePath, record->SendDataFile, record->StartJobXmlFile,
        record->SetJobConfigurationXmlFile, record->SetConfigurationXmlFile,
        record->VendorCmdXmlFile, record->SendDataXmlFile, record->EndJobXmlFile})
    EXPECT_STREQ(path, "");
  for (const int32_t number : {record->SplitDataSize, record->GraphicsResolutionH,
                               record->GraphicsResolutionV, record->PrintableWidthInPixel})
    EXPECT_EQ(number, -1);
}

TEST_F(SectionTest, GlobalHasFourKeys) {
  EXPECT_EQ(global("OutFilePath", "\"o\"").out, "OutFilePath=\"o\"\n");
  EXPECT_STREQ(record->OutFilePath, "o");
  EXPECT_EQ(global("SplitDataSize", "5").out, "SplitDataSize=5\n");
  EXPECT_EQ(record->SplitDataSize, 5);
  EXPECT_EQ(global("SendDataFile", "\"s\"").out, "SendDataFile=\"s\"\n");
  EXPECT_STREQ(record->SendDataFile, "s");
  EXPECT_EQ(global("ImageProcessingFile", "\"i\"").out, "ImageProcessingFile=\"i\"\n");
  ASSERT_NE(record->imageProcessingFileList, nullptr);
  EXPECT_STREQ(record->imageProcessingFileList->path, "i");

  EXPECT_EQ(global("OutFilePath", "\"o\"").code, -27);
  EXPECT_EQ(global("SplitDataSize", "5").code, -30);
  EXPECT_EQ(global("SendDataFile", "\"s\"").code, -27);
}

TEST_F(SectionTest, ImageProcessingFilesAreListedInOrderEmptyOnesIncluded) {
  for (const char* value : {"\"a\"", "\"\"", "\"b\"", "\"a\""})
    EXPECT_EQ(global("ImageProcessingFile", value).code, 0);
  std::vector<std::string> paths;
  for (const imageProcessingFile* f = record->imageProcessingFileList; f != nullptr; f = f->next)
    paths.emplace_back(f->path);
  EXPECT_EQ(paths, (std::vector<std::string>{"a", "", "b", "a"}));
}

TEST_F(SectionTest, AnUnquotedImageProcessingFileIsRefused) {
  const Parsed p = global("ImageProcessingFile", "a");
  EXPECT_EQ(p.code, -28);
  EXPECT_EQ(p.err, invalid("ImageProcessingFile", "a"));
}

TEST_F(SectionTest, ODAXHasSixKeys) {
  struct Case {
    const char* key;
    PathText parameter::*field;
  };
  const Case kCases[] = {
      {"StartJobXmlFile", &parameter::StartJobXmlFile},
      {"SetJobConfigurationXmlFile", &parameter::SetJobConfigurationXmlFile},
      {"SetConfigurationXmlFile", &parameter::SetConfigurationXmlFile},
      {"VendorCmdXmlFile", &parameter::VendorCmdXmlFile},
      {"SendDataXmlFile", &parameter::SendDataXmlFile},
      {"EndJobXmlFile", &parameter::EndJobXmlFile},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.key);
    const Parsed p = odax(c.key, "\"/"s + c.key + "\"");
    EXPECT_EQ(p.code, 0);
    EXPECT_EQ(p.result, 0);
    EXPECT_EQ(p.out, c.key + "=\"/"s + c.key + "\"\n");
    EXPECT_EQ(odax(c.key, "\"x\"").code, -27);
    EXPECT_EQ(odax(c.key, "x").code, -27);
  }
  for (const Case& c : kCases) EXPECT_EQ(std::string(record.get()->*c.field), "/"s + c.key);
}

TEST_F(SectionTest, ODAXKnowsItsHeaderAndNoOtherKey) {
  EXPECT_EQ(odax("[ODAX]", "1", true).result, 0);
  for (const char* key : {"Copies", "OutFilePath", "startJobXmlFile", ""}) {
    SCOPED_TRACE(key);
    const Parsed p = odax(key, "x");
    EXPECT_EQ(p.code, 0);
    EXPECT_NE(p.result, 0);
    EXPECT_EQ(p.out + p.err, "");
  }
}

TEST_F(SectionTest, TheODAXParserHasASecondName) {
  Item known("EndJobXmlFile", "\"e\"");
  Item other("Copies", "3");
  const Capture quiet;
  EXPECT_EQ(parseODAXParameter(known.get(), record.get()), 0);
  EXPECT_STREQ(record->EndJobXmlFile, "e");
  EXPECT_NE(parseODAXParameter(other.get(), record.get()), 0);
}

TEST_F(SectionTest, HXRasterHasThreeKeys) {
  struct Case {
    const char* key;
    int32_t parameter::*field;
  };
  const Case kCases[] = {
      {"GraphicsResolutionH", &parameter::GraphicsResolutionH},
      {"GraphicsResolutionV", &parameter::GraphicsResolutionV},
      {"PrintableWidthInPixel", &parameter::PrintableWidthInPixel},
  };
  int32_t number = 600;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.key);
    ++number;
    EXPECT_EQ(raster(c.key, std::to_string(number)).out,
              c.key + "="s + std::to_string(number) + "\n");
    EXPECT_EQ(record.get()->*c.field, number);
    EXPECT_EQ(raster(c.key, "1").code, -30);
  }
}

TEST_F(SectionTest, UnknownKeysAreRefused) {
  for (const char* key :
       {"Nonsense", "outFilePath", "GraphicsResolution", "ColourSpace", "", "StartJobXmlFile"}) {
    SCOPED_TRACE(key);
    const Parsed inGlobal = global(key, "1");
    EXPECT_EQ(inGlobal.code, -12);
    EXPECT_EQ(inGlobal.err, unknown(key, "1"));
    EXPECT_EQ(inGlobal.out, "");
    const Parsed inRaster = raster(key, "1");
    EXPECT_EQ(inRaster.code, -13);
    EXPECT_EQ(inRaster.err, unknown(key, "1"));
    const Parsed inImage = image(key, "1");
    EXPECT_EQ(inImage.code, -14);
    EXPECT_EQ(inImage.err, unknown(key, "1"));
  }
  EXPECT_EQ(raster("OutFilePath", "\"o\"").code, -13);
  EXPECT_EQ(image("GraphicsResolutionH", "1").code, -14);
  EXPECT_EQ(global("ColorSpace", "1").code, -12);
}

TEST_F(SectionTest, HeadersAreIgnored) {
  EXPECT_EQ(global("[Global]", "7", true).code, 0);
  EXPECT_EQ(raster("[HXRaster]", "7", true).code, 0);
  EXPECT_EQ(image("[Image]", "7", true).code, 0);
  EXPECT_EQ(record->imageParameterList, nullptr);
}

// Pages -------------------------------------------------------------------------------------------

TEST_F(SectionTest, APageBeginsWithNothingSet) {
  EXPECT_EQ(image("NumOfPlanes", "1").code, 0);
  const imageParameter& p = page();
  EXPECT_EQ(p.NumOfPlanes, 1);
  for (const int32_t number :
       {p.Mode, p.StartingPositionX, p.StartingPositionY, p.YOffset, p.YOffsetSign,
        p.YOffsetCBeforePosition, p.YOffsetCAfterPosition, p.YOffsetCBeforePositionSign,
        p.YOffsetCAfterPositionSign, p.ColorSpace, p.CompressionMode, p.SameAsFirstImage,
        p.reserved[0], p.reserved[1]})
    EXPECT_EQ(number, -1);
  EXPECT_EQ(p.StartingPositionXSign, 0);
  EXPECT_EQ(p.StartingPositionYSign, 0);
  for (const ImagePath file : kImageFiles) EXPECT_STREQ(p.*file, "");
  for (const InkKeys& ink : kInks) {
    EXPECT_EQ(p.*ink.depth, -1);
    if (ink.levelKey != nullptr) {
      EXPECT_EQ(p.*ink.level, nullptr);
    }
  }
  EXPECT_EQ(p.next, nullptr);
}

TEST_F(SectionTest, APageHas17ImageFiles) {
  struct Case {
    const char* key;
    ImagePath field;
  };
  const Case kCases[] = {
      {"ImageFileCMYK", &imageParameter::ImageFileCMYK},
      {"ImageFileK", &imageParameter::ImageFileK},
      {"ImageFileC", &imageParameter::ImageFileC},
      {"ImageFileM", &imageParameter::ImageFileM},
      {"ImageFileY", &imageParameter::ImageFileY},
      {"ImageFilec", &imageParameter::ImageFilec},
      {"ImageFilem", &imageParameter::ImageFilem},
      {"ImageFileRGB", &imageParameter::ImageFileRGB},
      {"ImageFileGy", &imageParameter::ImageFileGy},
      {"ImageFilePgy", &imageParameter::ImageFilePgy},
      {"ImageFileR", &imageParameter::ImageFileR},
      {"ImageFileG", &imageParameter::ImageFileG},
      {"ImageFileB", &imageParameter::ImageFileB},
      {"ImageFilePBK", &imageParameter::ImageFilePBK},
      {"ImageFileMBK", &imageParameter::ImageFileMBK},
      {"ImageFileCO", &imageParameter::ImageFileCO},
      {"ImageFileCO2", &imageParameter::ImageFileCO2},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(image(c.key, "\""s + c.key + ".tif\"").out, c.key + "=\""s + c.key + ".tif\"\n");
    EXPECT_EQ(image(c.key, "\"x\"").code, -27);
  }
  for (const Case& c : kCases) EXPECT_EQ(std::string(page().*c.field), c.key + ".tif"s);
}

TEST_F(SectionTest, APageHas15PixelDepthsAndNumOfPlanes) {
  struct Case {
    const char* key;
    ImageInteger field;
  };
  const Case kCases[] = {
      {"NumOfPlanes", &imageParameter::NumOfPlanes},
      {"PixelDepthK", &imageParameter::PixelDepthK},
      {"PixelDepthC", &imageParameter::PixelDepthC},
      {"PixelDepthM", &imageParameter::PixelDepthM},
      {"PixelDepthY", &imageParameter::PixelDepthY},
      {"PixelDepthc", &imageParameter::PixelDepthc},
      {"PixelDepthm", &imageParameter::PixelDepthm},
      {"PixelDepthR", &imageParameter::PixelDepthR},
      {"PixelDepthG", &imageParameter::PixelDepthG},
      {"PixelDepthB", &imageParameter::PixelDepthB},
      {"PixelDepthGy", &imageParameter::PixelDepthGy},
      {"PixelDepthPgy", &imageParameter::PixelDepthPgy},
      {"PixelDepthPBK", &imageParameter::PixelDepthPBK},
      {"PixelDepthMBK", &imageParameter::PixelDepthMBK},
      {"PixelDepthCO", &imageParameter::PixelDepthCO},
      {"PixelDepthCO2", &imageParameter::PixelDepthCO2},
  };
  int32_t number = 0;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.key);
    ++number;
    EXPECT_EQ(image(c.key, std::to_string(number)).out,
              c.key + "="s + std::to_string(number) + "\n");
    EXPECT_EQ(image(c.key, "1").code, -30);
  }
  number = 0;
  for (const Case& c : kCases) EXPECT_EQ(page().*c.field, ++number) << c.key;
  EXPECT_EQ(image("NumOfPlanes", "x").code, -30);
}

TEST_F(SectionTest, ColourSpaceAndCompressionTakeAnySymbol) {
  struct Case {
    const char* key;
    ImageInteger field;
  };
  for (const Case& c : {Case{"ColorSpace", &imageParameter::ColorSpace},
                        Case{"CompressionMode", &imageParameter::CompressionMode}}) {
    for (const SymbolCase& s : kSymbols) {
      SCOPED_TRACE(c.key + " "s + s.symbol);
      sIsNewImageSection = true;
      EXPECT_EQ(image(c.key, s.symbol).code, 0);
      EXPECT_EQ(page().*c.field, s.value);
      EXPECT_EQ(image(c.key, "1").code, -32);
    }
    sIsNewImageSection = true;
    EXPECT_EQ(image(c.key, "nonsense").code, -33);
  }
}

struct LevelCase {
  const char* key;
  ImageTable field;
};
const LevelCase kLevels[] = {
    {"IndexLevelK", &imageParameter::IndexLevelK},
    {"IndexLevelC", &imageParameter::IndexLevelC},
    {"IndexLevelM", &imageParameter::IndexLevelM},
    {"IndexLevelY", &imageParameter::IndexLevelY},
    {"IndexLevelc", &imageParameter::IndexLevelc},
    {"IndexLevelm", &imageParameter::IndexLevelm},
    {"IndexLevelR", &imageParameter::IndexLevelR},
    {"IndexLevelB", &imageParameter::IndexLevelB},
    {"IndexLevelGy", &imageParameter::IndexLevelGy},
    {"IndexLevelPgy", &imageParameter::IndexLevelPgy},
    {"IndexLevelPBK", &imageParameter::IndexLevelPBK},
    {"IndexLevelMBK", &imageParameter::IndexLevelMBK},
    {"IndexLevelCO", &imageParameter::IndexLevelCO},
    {"IndexLevelCO2", &imageParameter::IndexLevelCO2},
};

TEST_F(SectionTest, APageHas14IndexLevelsAndNoneForG) {
  for (const LevelCase& c : kLevels) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(image(c.key, "16").out, c.key + "=16\n"s);
    int set = 0;
    for (const LevelCase& other : kLevels)
      if (page().*other.field == Reduce256To16Tbl.data()) ++set;
    EXPECT_EQ(set, 1);
    EXPECT_EQ(page().*c.field, Reduce256To16Tbl.data());
    EXPECT_EQ(image(c.key, "2").code, 0);  // repeating the key replaces the table
    EXPECT_EQ(page().*c.field, Reduce256To2Tbl.data());
  }
  const Parsed p = image("IndexLevelG", "2");
  EXPECT_EQ(p.code, -14);
  EXPECT_EQ(p.err, unknown("IndexLevelG", "2"));
}

TEST_F(SectionTest, TheText4AsColourSpaceGivesEveryPlaneTheTableThatConvertsNothing) {
  EXPECT_EQ(image("IndexLevelK", "2").code, 0);
  EXPECT_EQ(image("ColorSpace", "4").code, 0);
  for (const LevelCase& c : kLevels) EXPECT_EQ(page().*c.field, ReduceNoConvertTbl.data()) << c.key;
  EXPECT_EQ(image("IndexLevelC", "3").code, 0);
  EXPECT_EQ(image("IndexLevelM", "0").code, 0);
  EXPECT_EQ(page().IndexLevelK, ReduceNoConvertTbl.data());
  EXPECT_EQ(page().IndexLevelC, Reduce256To3Tbl.data());
  EXPECT_EQ(page().IndexLevelM, nullptr);
}

TEST_F(SectionTest, OnlyTheText4DoesThat) {
  for (const char* value :
       {"0x4", "04", "hxraster_id_val_image_format_row_inkcolor_index", "4294967300"}) {
    SCOPED_TRACE(value);
    sIsNewImageSection = true;
    EXPECT_EQ(image("ColorSpace", value).code, 0);
    EXPECT_EQ(page().ColorSpace, 4);
    for (const LevelCase& c : kLevels) EXPECT_EQ(page().*c.field, nullptr) << c.key;
  }
  sIsNewImageSection = true;
  EXPECT_EQ(image("CompressionMode", "4").code, 0);
  EXPECT_EQ(page().IndexLevelK, nullptr);
}

TEST_F(SectionTest, PositionsAndOffsetsHaveSigns) {
  EXPECT_EQ(image("StartingPositionX", "+5").out, "StartingPositionX=+5\n");
  EXPECT_EQ(image("StartingPositionY", "-6").out, "StartingPositionY=-6\n");
  EXPECT_EQ(image("YOffset", "7").out, "YOffset=7\n");
  EXPECT_EQ(page().StartingPositionX, 5);
  EXPECT_EQ(page().StartingPositionXSign, 1);
  EXPECT_EQ(page().StartingPositionY, -6);
  EXPECT_EQ(page().StartingPositionYSign, -1);
  EXPECT_EQ(page().YOffset, 7);
  EXPECT_EQ(page().YOffsetSign, 0);
  EXPECT_EQ(image("StartingPositionX", "1").code, -15);
  EXPECT_EQ(image("StartingPositionY", "1").code, -15);
  EXPECT_EQ(image("YOffset", "1").code, -17);
}

TEST_F(SectionTest, APositionOfMinus1CountsAsNotSet) {
  EXPECT_EQ(image("StartingPositionX", "-1").code, 0);
  EXPECT_EQ(page().StartingPositionX, -1);
  EXPECT_EQ(page().StartingPositionXSign, -1);
  EXPECT_EQ(image("StartingPositionX", "9").code, 0);
  EXPECT_EQ(page().StartingPositionX, 9);
  EXPECT_EQ(page().StartingPositionXSign, 0);
}

TEST_F(SectionTest, YOffsetCHasOneFieldBeforeAPositionAndOneAfterIt) {
  struct Case {
    const char* name;
    const char* position;
    const char* value;
  };
  for (const Case& c : {Case{"X", "StartingPositionX", "4"}, Case{"Y", "StartingPositionY", "4"},
                        Case{"X is 0", "StartingPositionX", "0"}}) {
    SCOPED_TRACE(c.name);
    sIsNewImageSection = true;
    EXPECT_EQ(image("YOffsetC", "+3").out, "YOffsetC=+3\n");
    EXPECT_EQ(image(c.position, c.value).code, 0);
    EXPECT_EQ(image("YOffsetC", "5").out, "YOffsetC=5\n");
    EXPECT_EQ(page().YOffsetCBeforePosition, 3);
    EXPECT_EQ(page().YOffsetCBeforePositionSign, 1);
    EXPECT_EQ(page().YOffsetCAfterPosition, 5);
    EXPECT_EQ(page().YOffsetCAfterPositionSign, 0);
    const Parsed again = image("YOffsetC", "6");
    EXPECT_EQ(again.code, -17);
    EXPECT_EQ(again.err, invalid("YOffsetC", "6"));
  }
  sIsNewImageSection = true;
  EXPECT_EQ(image("YOffsetC", "1").code, 0);
  EXPECT_EQ(image("YOffsetC", "1").code, -17);
  EXPECT_EQ(image("YOffsetC", "-1").code, -17);
  sIsNewImageSection = true;
  EXPECT_EQ(image("YOffsetC", "-1").code, -18);
  EXPECT_EQ(image("YOffset", "-1").code, -18);
}

TEST_F(SectionTest, APositionOfMinus1LeavesYOffsetCInFrontOfIt) {
  EXPECT_EQ(image("StartingPositionX", "-1").code, 0);
  EXPECT_EQ(image("YOffsetC", "5").code, 0);
  EXPECT_EQ(page().YOffsetCBeforePosition, 5);
  EXPECT_EQ(page().YOffsetCAfterPosition, -1);
}

TEST_F(SectionTest, OnlyTheFirstItemBehindAHeaderOpensAPage) {
  EXPECT_EQ(image("NumOfPlanes", "1").code, 0);
  EXPECT_FALSE(sIsNewImageSection);
  EXPECT_EQ(image("PixelDepthK", "1").code, 0);
  EXPECT_EQ(record->imageParameterList->next, nullptr);
  sIsNewImageSection = true;
  EXPECT_EQ(image("NumOfPlanes", "4").code, 0);
  ASSERT_NE(record->imageParameterList->next, nullptr);
  EXPECT_EQ(record->imageParameterList->next->NumOfPlanes, 4);
  EXPECT_EQ(record->imageParameterList->next->PixelDepthK, -1);
  EXPECT_EQ(record->imageParameterList->NumOfPlanes, 1);
}

// Lists -------------------------------------------------------------------------------------------

TEST(Lists, AreAppendedAtTheEndAndReleasedWithTheRecord) {
  auto* const record = static_cast<parameter*>(std::calloc(1, sizeof(parameter)));
  initCommonParameter(record);

  imageParameter* const first = addImageParameter(nullptr);
  imageParameter* const second = addImageParameter(first);
  record->imageParameterList = first;
  EXPECT_EQ(first->next, second);
  EXPECT_EQ(second->next, nullptr);
  EXPECT_EQ(getLastImageParameter(first), second);
  EXPECT_EQ(getLastImageParameter(nullptr), nullptr);

  imageProcessingFile* const table = addImageProcessingFile(nullptr);
  imageProcessingFile* const other = addImageProcessingFile(table);
  record->imageProcessingFileList = table;
  EXPECT_STREQ(table->path, "");
  EXPECT_EQ(table->next, other);
  EXPECT_EQ(other->next, nullptr);
  EXPECT_EQ(getLastImageProcessingFile(table), other);
  EXPECT_EQ(getLastImageProcessingFile(nullptr), nullptr);

  disposeParameter(record);
}

TEST(Lists, NoRecordIsNothingToRelease) {
  disposeParameter(nullptr);
}

// Through the reader ------------------------------------------------------------------------------

TEST(KeysInAFile, APathMayBeEmptyAndIsThenStillNotSet) {
  const JobFolder folder;
  const ReadResult r =
      folder.read("[Global]\nOutFilePath=\"\"\nOutFilePath=\"/o\"\nSendDataFile=\"d\"\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_STREQ(r.record->OutFilePath, "/o");
}

TEST(KeysInAFile, AnUnquotedPathIsRefused) {
  const JobFolder folder;
  const ReadResult r = folder.read("[Global]\nOutFilePath=out.dat\n");
  EXPECT_EQ(r.code, -28);
  EXPECT_EQ(r.err, "INVALID VALUE OF ITEM!: line 2.\nOutFilePath=out.dat\n");
  EXPECT_EQ(r.out, std::string(kEchoStart) + "[Global]\n");
}

TEST(KeysInAFile, NumOfPlanesTakesNoSignAndAllOnesIsRefusedByTheCheck) {
  const JobFolder folder;
  const std::string start = "[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=1\n[Image]\n";
  const ReadResult sign = folder.read(start + "NumOfPlanes=-1\n");
  EXPECT_EQ(sign.code, -31);
  EXPECT_EQ(sign.err, "INVALID VALUE OF ITEM!: line 5.\nNumOfPlanes=-1\n");
  const ReadResult ones = folder.read(start + "NumOfPlanes=0xFFFFFFFF\nColorSpace=5\n");
  EXPECT_EQ(ones.code, -35);
  EXPECT_EQ(ones.err, "INVALID VALUE OF ITEM!: line 5.\nNumOfPlanes=0xFFFFFFFF\n");
}

TEST(KeysInAFile, IndexLevelsReadUpToTheFirstNonDigit) {
  const JobFolder folder;
  const ReadResult r = folder.read(
      "[Global]\nSendDataFile=\"d\"\n[HXRaster]\nGraphicsResolutionH=1\nGraphicsResolutionV=1\n"
      "[Image]\nIndexLevelK=2x\n");
  EXPECT_EQ(r.code, 0);
  ASSERT_NE(r.page(), nullptr);
  EXPECT_EQ(r.page()->IndexLevelK, Reduce256To2Tbl.data());
}

}  // namespace
