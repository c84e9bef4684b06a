// Tests of zksafe: every operation with room to spare, exactly enough, one byte too little, and
// misused. Buffers have exactly the capacity that is stated, so a sanitizer sees one byte too many.
#include "zksafe.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

namespace {

// A destination of exactly `cap` bytes, filled so that untouched bytes show.
class Room {
 public:
  explicit Room(size_t cap, const std::string& text = "") : cap_(cap), bytes_(new char[cap]) {
    std::memset(bytes_.get(), '#', cap);
    if (cap > text.size()) std::memcpy(bytes_.get(), text.c_str(), text.size() + 1);
  }
  char* get() { return bytes_.get(); }
  [[nodiscard]] size_t cap() const { return cap_; }
  [[nodiscard]] std::string text() const { return bytes_.get(); }
  [[nodiscard]] std::string all() const { return {bytes_.get(), cap_}; }

 private:
  size_t cap_;
  std::unique_ptr<char[]> bytes_;
};

// Hide the nulls from the compiler, which would otherwise warn of exactly what is tested.
char* nullText() {
  static char* volatile none = nullptr;
  return none;
}
const char* nullFormat() {
  static const char* volatile none = nullptr;
  return none;
}

int formatByList(char* dst, size_t cap, const char* format, ...) ZK_PRINTF_LIKE(3, 4);
int formatByList(char* dst, size_t cap, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = zk_vsprintf(dst, cap, format, arguments);
  va_end(arguments);
  return result;
}

std::tm timeOf(int year, int month, int day, int hour, int minute, int second) {
  std::tm time{};
  time.tm_year = year;
  time.tm_mon = month;
  time.tm_mday = day;
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  time.tm_wday = 4;
  return time;
}

// zk_strcpy

TEST(ZKSafeCopy, ATextThatFitsIsCopied) {
  Room dst(16);
  EXPECT_EQ(zk_strcpy(dst.get(), 16, "abc"), 0);
  EXPECT_EQ(dst.text(), "abc");
}

TEST(ZKSafeCopy, TheEmptyTextNeedsOneByte) {
  Room dst(1);
  EXPECT_EQ(zk_strcpy(dst.get(), 1, ""), 0);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeCopy, SevenCharactersFillEightBytes) {
  Room dst(8);
  EXPECT_EQ(zk_strcpy(dst.get(), 8, "1234567"), 0);
  EXPECT_EQ(dst.text(), "1234567");
}

TEST(ZKSafeCopy, EightCharactersDoNotFitIntoEightBytes) {
  Room dst(8, "old");
  EXPECT_EQ(zk_strcpy(dst.get(), 8, "12345678"), 34);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeCopy, ANullSourceEmptiesTheDestination) {
  Room dst(8, "old");
  EXPECT_EQ(zk_strcpy(dst.get(), 8, nullText()), 22);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeCopy, ANullDestinationIsInvalid) {
  EXPECT_EQ(zk_strcpy(nullText(), 8, "abc"), 22);
  EXPECT_EQ(zk_strcpy(nullText(), 8, nullText()), 22);
}

// zk_strcat

TEST(ZKSafeAppend, ATextThatFitsIsAppended) {
  Room dst(16, "ab");
  EXPECT_EQ(zk_strcat(dst.get(), 16, "cd"), 0);
  EXPECT_EQ(dst.text(), "abcd");
}

TEST(ZKSafeAppend, FiveAndFourCharactersFillTenBytes) {
  Room dst(10, "12345");
  EXPECT_EQ(zk_strcat(dst.get(), 10, "6789"), 0);
  EXPECT_EQ(dst.text(), "123456789");
}

TEST(ZKSafeAppend, WhatDoesNotFitLosesTheOldTextToo) {
  Room dst(10, "12345");
  EXPECT_EQ(zk_strcat(dst.get(), 10, "67890"), 34);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeAppend, NothingCanBeAppendedToAFullDestination) {
  Room full(6, "12345");
  EXPECT_EQ(zk_strcat(full.get(), 6, ""), 0);
  EXPECT_EQ(full.text(), "12345");
  EXPECT_EQ(zk_strcat(full.get(), 6, "x"), 34);
  EXPECT_EQ(full.text(), "");
}

TEST(ZKSafeAppend, ADestinationAsLongAsItsCapacityIsOutOfRange) {
  Room dst(6, "12345");
  EXPECT_EQ(zk_strcat(dst.get(), 5, ""), 34);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeAppend, ADestinationLongerThanItsCapacityIsLeftAlone) {
  Room dst(6, "12345");
  EXPECT_EQ(zk_strcat(dst.get(), 4, "x"), 22);
  EXPECT_EQ(dst.text(), "12345");
}

TEST(ZKSafeAppend, ANullSourceEmptiesTheDestination) {
  Room dst(8, "old");
  EXPECT_EQ(zk_strcat(dst.get(), 8, nullText()), 22);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeAppend, ANullDestinationIsInvalid) {
  EXPECT_EQ(zk_strcat(nullText(), 8, "abc"), 22);
}

// zk_strncpy

TEST(ZKSafeCopyPart, TheFirstCharactersAreCopiedAndTerminated) {
  Room dst(8);
  EXPECT_EQ(zk_strncpy(dst.get(), 8, "abcdef", 3), 0);
  EXPECT_EQ(dst.text(), "abc");
}

TEST(ZKSafeCopyPart, AShorterSourceIsCopiedWholeAndTheLastPlaceIsStillTerminated) {
  Room dst(8);
  EXPECT_EQ(zk_strncpy(dst.get(), 8, "ab", 5), 0);
  EXPECT_EQ(dst.text(), "ab");
  EXPECT_EQ(dst.all()[5], '\0');
}

TEST(ZKSafeCopyPart, NoCharactersMakeAnEmptyText) {
  Room dst(4, "old");
  EXPECT_EQ(zk_strncpy(dst.get(), 4, "abc", 0), 0);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeCopyPart, OneLessThanTheCapacityFits) {
  Room dst(4);
  EXPECT_EQ(zk_strncpy(dst.get(), 4, "abcdef", 3), 0);
  EXPECT_EQ(dst.text(), "abc");
}

TEST(ZKSafeCopyPart, ACountOfTheCapacityIsOutOfRangeHoweverShortTheSource) {
  Room dst(4, "old");
  EXPECT_EQ(zk_strncpy(dst.get(), 4, "a", 4), 34);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeCopyPart, TheSourceIsReadOnlyAsFarAsTheCountGoes) {
  const std::unique_ptr<char[]> src(new char[3]{'a', 'b', 'c'});  // no NUL behind it
  Room dst(8);
  EXPECT_EQ(zk_strncpy(dst.get(), 8, src.get(), 3), 0);
  EXPECT_EQ(dst.text(), "abc");
}

TEST(ZKSafeCopyPart, ACapacityOfNothingIsInvalid) {
  Room dst(4, "old");
  EXPECT_EQ(zk_strncpy(dst.get(), 0, "a", 0), 22);
  EXPECT_EQ(dst.text(), "old");
}

TEST(ZKSafeCopyPart, ANullSourceEmptiesTheDestination) {
  Room dst(4, "old");
  EXPECT_EQ(zk_strncpy(dst.get(), 4, nullText(), 1), 22);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeCopyPart, ANullDestinationIsInvalid) {
  EXPECT_EQ(zk_strncpy(nullText(), 4, "a", 1), 22);
}

// zk_memcpy

TEST(ZKSafeMemory, BytesThatFitAreCopiedAndTheRestIsLeft) {
  Room dst(5);
  EXPECT_EQ(zk_memcpy(dst.get(), 5, "a\0b", 3), 0);
  EXPECT_EQ(dst.all(), std::string("a\0b##", 5));
}

TEST(ZKSafeMemory, TheWholeCapacityCanBeCopied) {
  Room dst(3);
  EXPECT_EQ(zk_memcpy(dst.get(), 3, "abc", 3), 0);
  EXPECT_EQ(dst.all(), "abc");
}

TEST(ZKSafeMemory, NoBytesChangeNothing) {
  Room dst(4, "old");
  EXPECT_EQ(zk_memcpy(dst.get(), 4, "abc", 0), 0);
  EXPECT_EQ(dst.text(), "old");
}

TEST(ZKSafeMemory, OneByteTooManyZeroesTheWholeDestination) {
  Room dst(3);
  EXPECT_EQ(zk_memcpy(dst.get(), 3, "abcd", 4), 34);
  EXPECT_EQ(dst.all(), std::string(3, '\0'));
}

TEST(ZKSafeMemory, ANullSourceZeroesTheWholeDestination) {
  Room dst(3);
  EXPECT_EQ(zk_memcpy(dst.get(), 3, nullText(), 1), 22);
  EXPECT_EQ(dst.all(), std::string(3, '\0'));
}

TEST(ZKSafeMemory, ANullDestinationIsInvalid) {
  EXPECT_EQ(zk_memcpy(nullText(), 3, "abc", 3), 22);
}

// zk_strnlen

TEST(ZKSafeLength, IsTheSmallerOfTheLengthAndTheLimit) {
  EXPECT_EQ(zk_strnlen("", 5), 0U);
  EXPECT_EQ(zk_strnlen("abc", 5), 3U);
  EXPECT_EQ(zk_strnlen("abc", 3), 3U);
  EXPECT_EQ(zk_strnlen("abc", 2), 2U);
  EXPECT_EQ(zk_strnlen("abc", 0), 0U);
}

// zk_sprintf and zk_vsprintf

TEST(ZKSafeFormat, ThreeCharactersFillFourBytes) {
  Room dst(4);
  EXPECT_EQ(zk_sprintf(dst.get(), 4, "%d", 123), 0);
  EXPECT_EQ(dst.text(), "123");
  Room byList(4);
  EXPECT_EQ(formatByList(byList.get(), 4, "%s", "abc"), 0);
  EXPECT_EQ(byList.text(), "abc");
}

TEST(ZKSafeFormat, FourCharactersDoNotFitAndNothingPartialIsWritten) {
  Room dst(4, "old");
  errno = 0;
  EXPECT_EQ(zk_sprintf(dst.get(), 4, "%d", 1234), -1);
  EXPECT_EQ(errno, 34);
  EXPECT_EQ(dst.text(), "");
  Room byList(4, "old");
  errno = 0;
  EXPECT_EQ(formatByList(byList.get(), 4, "%s", "abcd"), -1);
  EXPECT_EQ(errno, 34);
  EXPECT_EQ(byList.text(), "");
}

TEST(ZKSafeFormat, SeveralArgumentsAreFormatted) {
  Room dst(32);
  EXPECT_EQ(zk_sprintf(dst.get(), 32, "%s-%d-%c", "ab", -7, 'x'), 0);
  EXPECT_EQ(dst.text(), "ab--7-x");
}

TEST(ZKSafeFormat, ANullDestinationIsInvalid) {
  errno = 0;
  EXPECT_EQ(zk_sprintf(nullText(), 4, "%d", 1), -1);
  EXPECT_EQ(errno, 22);
  errno = 0;
  EXPECT_EQ(formatByList(nullText(), 4, "%d", 1), -1);
  EXPECT_EQ(errno, 22);
}

TEST(ZKSafeFormat, ANullFormatEmptiesTheDestination) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  Room dst(4, "old");
  errno = 0;
  EXPECT_EQ(zk_sprintf(dst.get(), 4, nullFormat()), -1);
  EXPECT_EQ(errno, 22);
  EXPECT_EQ(dst.text(), "");
  Room byList(4, "old");
  errno = 0;
  EXPECT_EQ(formatByList(byList.get(), 4, nullFormat()), -1);
  EXPECT_EQ(errno, 22);
  EXPECT_EQ(byList.text(), "");
#pragma GCC diagnostic pop
}

// zk_strtok

TEST(ZKSafeTokens, AreTheCLibrarys) {
  std::string text = "datasize=\"12\"";
  char* context = nullptr;
  int error = 0;
  EXPECT_STREQ(zk_strtok(text.data(), "=\"", &context, &error), "datasize");
  EXPECT_STREQ(zk_strtok(nullptr, "=\"", &context, &error), "12");
  EXPECT_EQ(zk_strtok(nullptr, "=\"", &context, &error), nullptr);
  EXPECT_EQ(error, 0);
}

TEST(ZKSafeTokens, NullDelimitersAreInvalid) {
  std::string text = "a b";
  char* context = nullptr;
  int error = 0;
  EXPECT_EQ(zk_strtok(text.data(), nullptr, &context, &error), nullptr);
  EXPECT_EQ(error, 22);
}

TEST(ZKSafeTokens, TheContextIsNotUsed) {
  std::string text = "a b c";
  char* one = nullptr;
  char* other = nullptr;
  int error = 0;
  EXPECT_STREQ(zk_strtok(text.data(), " ", &one, &error), "a");
  EXPECT_STREQ(zk_strtok(nullptr, " ", &other, &error), "b");
  EXPECT_STREQ(zk_strtok(nullptr, " ", nullptr, &error), "c");
}

TEST(ZKSafeTokens, ASecondTextTakesTheStateFromTheFirst) {
  std::string first = "a b";
  std::string second = "x y";
  char* context = nullptr;
  int error = 0;
  EXPECT_STREQ(zk_strtok(first.data(), " ", &context, &error), "a");
  EXPECT_STREQ(zk_strtok(second.data(), " ", &context, &error), "x");
  EXPECT_STREQ(zk_strtok(nullptr, " ", &context, &error), "y");
  EXPECT_EQ(zk_strtok(nullptr, " ", &context, &error), nullptr);
}

// zk_gmtime

bool allFieldsAre(const std::tm& time, int value) {
  return time.tm_sec == value && time.tm_min == value && time.tm_hour == value &&
         time.tm_mday == value && time.tm_mon == value && time.tm_year == value &&
         time.tm_wday == value && time.tm_yday == value && time.tm_isdst == value;
}

TEST(ZKSafeTime, ANullOutputIsInvalid) {
  const std::time_t now = 0;
  EXPECT_EQ(zk_gmtime(nullptr, &now), 22);
  EXPECT_EQ(zk_gmtime(nullptr, nullptr), 22);
}

TEST(ZKSafeTime, ANullTimeSetsNineFieldsToMinusOne) {
  std::tm out{};
  EXPECT_EQ(zk_gmtime(&out, nullptr), 22);
  EXPECT_TRUE(allFieldsAre(out, -1));
}

TEST(ZKSafeTime, ANegativeTimeSetsNineFieldsToMinusOne) {
  std::tm out{};
  const std::time_t before = -1;
  EXPECT_EQ(zk_gmtime(&out, &before), 22);
  EXPECT_TRUE(allFieldsAre(out, -1));
}

TEST(ZKSafeTime, AGoodTimeIsAcceptedButNotStored) {
  for (const std::time_t time : {std::time_t{0}, std::time_t{86400}}) {
    std::tm out{};
    out.tm_sec = out.tm_min = out.tm_hour = out.tm_mday = out.tm_mon = 7;
    out.tm_year = out.tm_wday = out.tm_yday = out.tm_isdst = 7;
    EXPECT_EQ(zk_gmtime(&out, &time), 0);
    EXPECT_TRUE(allFieldsAre(out, 7));
  }
}

// zk_asctime

TEST(ZKSafeTimeText, TwentySixBytesAreEnough) {
  Room dst(26);
  const std::tm time = timeOf(70, 0, 1, 0, 0, 0);
  EXPECT_EQ(zk_asctime(dst.get(), 26, &time), 0);
  EXPECT_EQ(dst.all(), std::string("Thu Jan  1 00:00:00 1970\n\0", 26));
}

TEST(ZKSafeTimeText, TwentyFiveBytesAreNot) {
  Room dst(25, "old");
  const std::tm time = timeOf(70, 0, 1, 0, 0, 0);
  EXPECT_EQ(zk_asctime(dst.get(), 25, &time), 22);
  EXPECT_EQ(dst.text(), "");
}

TEST(ZKSafeTimeText, ANullDestinationOrNoCapacityIsInvalid) {
  Room dst(26, "old");
  const std::tm time = timeOf(70, 0, 1, 0, 0, 0);
  EXPECT_EQ(zk_asctime(nullText(), 26, &time), 22);
  EXPECT_EQ(zk_asctime(dst.get(), 0, &time), 22);
  EXPECT_EQ(dst.text(), "old");
}

TEST(ZKSafeTimeText, EveryFieldIsCheckedAgainstItsLimit) {
  struct Case {
    const char* name;
    int std::tm::*field;
    int value;
    int want;
  };
  const Case kCases[] = {
      {"hour 23", &std::tm::tm_hour, 23, 0},
      {"hour 24", &std::tm::tm_hour, 24, 22},
      {"hour -1", &std::tm::tm_hour, -1, 22},
      {"day of month 31", &std::tm::tm_mday, 31, 0},
      {"day of month 32", &std::tm::tm_mday, 32, 22},
      {"day of month 0", &std::tm::tm_mday, 0, 0},
      {"day of month -1", &std::tm::tm_mday, -1, 22},
      {"minute 59", &std::tm::tm_min, 59, 0},
      {"minute 60", &std::tm::tm_min, 60, 22},
      {"minute -1", &std::tm::tm_min, -1, 22},
      {"month 11", &std::tm::tm_mon, 11, 0},
      {"month 12", &std::tm::tm_mon, 12, 22},
      {"month -1", &std::tm::tm_mon, -1, 22},
      {"second 59", &std::tm::tm_sec, 59, 0},
      {"second 60", &std::tm::tm_sec, 60, 22},
      {"second -1", &std::tm::tm_sec, -1, 22},
      {"weekday 6", &std::tm::tm_wday, 6, 0},
      {"weekday 7", &std::tm::tm_wday, 7, 22},
      {"weekday -1", &std::tm::tm_wday, -1, 22},
      {"day of year 365", &std::tm::tm_yday, 365, 0},
      {"day of year 366", &std::tm::tm_yday, 366, 22},
      {"day of year -1", &std::tm::tm_yday, -1, 22},
      {"year 1900", &std::tm::tm_year, 0, 0},
      {"year 1899", &std::tm::tm_year, -1, 22},
      {"the earliest year", &std::tm::tm_year, INT_MIN, 22},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    std::tm time = timeOf(99, 11, 24, 18, 30, 15);
    time.*c.field = c.value;
    Room dst(26, "old");
    EXPECT_EQ(zk_asctime(dst.get(), 26, &time), c.want);
    if (c.want == 0) {
      EXPECT_EQ(dst.all()[24], '\n');
      EXPECT_EQ(dst.all()[25], '\0');
    } else {
      EXPECT_EQ(dst.text(), "");
    }
  }
}

TEST(ZKSafeTimeText, AYearOfFiveDigitsStaysInsideTheBuffer) {
  Room dst(26);
  const std::tm time = timeOf(10000 - 1900, 0, 1, 0, 0, 0);
  zk_asctime(dst.get(), 26, &time);
  EXPECT_NE(std::memchr(dst.get(), '\0', 26), nullptr);
}

}  // namespace
