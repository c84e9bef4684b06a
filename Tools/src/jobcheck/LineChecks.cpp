#include "LineChecks.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>

#include "CFGKeys.h"
#include "KeyNames.h"
#include "Limits.h"

namespace jobcheck {

namespace {

bool startsWith(const std::string& text, const char* prefix) {
  return text.rfind(prefix, 0) == 0;
}

bool areDigits(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
  });
}

// Where the line is cut: at its first "#" unless that begins it. npos: nowhere.
size_t cutAt(const std::string& text) {
  const size_t begin = text.find_first_not_of(" \t");
  const size_t hash = text.find('#');
  return hash == begin ? std::string::npos : hash;
}

bool isInsideQuotes(const std::string& text, size_t at) {
  return std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '"') % 2 == 1 &&
         text.find('"', at) != std::string::npos;
}

void checkHash(const std::string& text, Section section, const Place& place,
               ProblemList& problems) {
  const size_t hash = cutAt(text);
  if (hash == std::string::npos || text.find('=') > hash) return;
  if (isInsideQuotes(text, hash)) {
    problems.warn(place, "hash-in-quotes",
                  "the # inside quotes begins a comment; the rest of the line is dropped",
                  "no value can hold a #");
    return;
  }
  const bool isInWord = hash > 0 && std::string(" \t\"").find(text[hash - 1]) == std::string::npos;
  const size_t value = text.find_first_not_of(" \t", text.find('=') + 1);
  if (section != kODAXSection || !isInWord || value == hash) return;
  problems.warn(place, "hash-in-value",
                "the # begins a comment; the value ends in front of it as " +
                    quoted(text.substr(value, hash - value)),
                "no value can hold a #; put a blank in front of a comment");
}

// Numbers ---------------------------------------------------------------------------------------

constexpr std::array<const char*, 5> kHXRasterAndGlobalNumbers = {
    "SplitDataSize", "GraphicsResolutionH", "GraphicsResolutionV", "PrintableWidthInPixel",
    "NumOfPlanes"};

bool isNumberKey(const std::string& key) {
  return key == "ColorSpace" || key == "CompressionMode" || startsWith(key, "PixelDepth") ||
         std::find(kHXRasterAndGlobalNumbers.begin(), kHXRasterAndGlobalNumbers.end(), key) !=
             kHXRasterAndGlobalNumbers.end();
}

bool isPositionKey(const std::string& key) {
  return key == "StartingPositionX" || key == "StartingPositionY";
}
bool isOffsetKey(const std::string& key) {
  return key == "YOffset" || key == "YOffsetC";
}

// Whether a number as written is not what is read: it does not fit into 32 bits with a sign.
bool isWrapped(std::string digits, int base) {
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  if (digits.size() > 18) return true;
  return !digits.empty() && std::stoull(digits, nullptr, base) > 0x7FFFFFFFU;
}

// The number that the library reads, as it would print it.
int32_t numberRead(const std::string& digits, int base) {
  uint32_t number = 0;
  for (const char c : digits) {
    const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
    number = number * static_cast<uint32_t>(base) + static_cast<uint32_t>(digit);
  }
  return static_cast<int32_t>(number);
}

void checkSize(const std::string& key, const std::string& digits, int base, int sign,
               const Place& place, ProblemList& problems) {
  if (!isWrapped(digits, base)) return;
  const int32_t read = sign < 0 ? -numberRead(digits, base) : numberRead(digits, base);
  // "Not set" and negative split sizes have warnings of their own.
  if (key == "SplitDataSize" && read < 0) return;
  std::string text = key + " does not fit into its number; it is read as " + std::to_string(read);
  if (read == -1 && sign == 0) text += ", which means \"not set\"";
  problems.warn(place, "number-wrapped", text, "the largest number is 2147483647");
}

void checkNumber(const std::string& key, const std::string& value, const Place& place,
                 ProblemList& problems) {
  const bool isHexadecimal = startsWith(value, "0x") || startsWith(value, "0X");
  if (isHexadecimal && value.size() == 2) {
    problems.warn(place, "hex-without-digits", key + " is read as 0: no digits follow 0x");
    return;
  }
  const std::string digits = isHexadecimal ? value.substr(2) : value;
  if (isHexadecimal || areDigits(digits)) {
    checkSize(key, digits, isHexadecimal ? 16 : 10, 0, place, problems);
    return;
  }
  const bool isCompression = startsWith(value, "hxraster_id_val_compression_");
  if (isCompression == (key == "CompressionMode")) return;
  int32_t number = 0;
  convertSymbolToInt(value.c_str(), &number);
  problems.warn(place, "symbol-of-other-key",
                "the symbol belongs to " +
                    std::string(isCompression ? "CompressionMode" : "ColorSpace") +
                    "; it is taken as the number " + std::to_string(number));
}

void checkSigned(const std::string& key, const std::string& value, const Place& place,
                 ProblemList& problems) {
  const bool hasSign = value[0] == '+' || value[0] == '-';
  const std::string digits = hasSign ? value.substr(1) : value;
  if (digits.empty()) {
    problems.warn(place, "sign-without-number",
                  key + " is only a sign; it is read as " + value + "0");
    return;
  }
  checkSize(key, digits, 10, value[0] == '-' ? -1 : (hasSign ? 1 : 0), place, problems);
  if (!hasSign || numberRead(digits, 10) != 0) return;
  problems.warn(place, "relative-zero",
                isPositionKey(key) ? key + " = " + value + " sends no move"
                                   : key + " = " + value + " is sent as 0 without a sign",
                "leave it out, or write 0 for the absolute position");
}

void checkLevel(const std::string& key, const std::string& value, const Place& place,
                ProblemList& problems) {
  if (areDigits(value)) return;
  problems.warn(place, "index-level-text",
                key + " is read up to the first character that is no digit, as " +
                    std::to_string(std::atoi(value.c_str())),
                "write the number alone, without quotes");
}

void checkOverride(const std::string& key, const Place& place, ProblemList& problems) {
  if (meantHeader(key) != kNoSection) {
    problems.warn(place, "header-like",
                  quoted(key) + " with a value is no section header but an override");
  }
}

bool isEmptyPath(const std::string& key, const std::string& value) {
  return value == "\"\"" &&
         (key == "OutFilePath" || key == "SendDataFile" || startsWith(key, "ImageFile"));
}

}  // namespace

void checkLine(const TextLine& line, Section section, const Place& place, ProblemList& problems) {
  if (line.fullSize >= kLineBytes) {
    problems.warn(place, "line-cut",
                  "the line has " + std::to_string(line.fullSize) +
                      " characters; what follows the first 1023 is dropped");
  }
  if (line.text.size() < std::min<size_t>(line.fullSize, kLineBytes - 1)) {
    problems.warn(place, "nul-byte", "a NUL byte ends the line; the rest of it is dropped",
                  "save the file as plain text");
  }
  checkHash(line.text, section, place, problems);
}

void checkCommentBegin(const TextLine& line, const Place& place, ProblemList& problems) {
  if (line.text.find("*/", line.text.find("/*") + 2) == std::string::npos) return;
  problems.warn(place, "comment-opens-block",
                "the comment does not end on this line; it goes on until a line that begins with "
                "*/",
                "begin a comment of one line with #");
}

void checkCommentLine(const TextLine& line, const Place& place, ProblemList& problems) {
  const size_t begin = line.text.find_first_not_of(" \t");
  const size_t end = line.text.find("*/");
  if (begin == std::string::npos || end == std::string::npos) return;
  if (end != begin) {
    problems.warn(place, "comment-end-in-line",
                  "the comment does not end here: only */ at the beginning of a line ends it",
                  "put */ on a line of its own");
    return;
  }
  if (line.text.find_first_not_of(" \t", end + 2) == std::string::npos) return;
  problems.warn(place, "text-behind-comment", "what follows */ on its line is ignored too",
                "put */ on a line of its own");
}

void checkItem(const std::string& key, const std::string& value, Section section,
               const Place& place, ProblemList& problems) {
  if (section == kNoSection) {
    problems.warn(place, "before-first-section",
                  key + " stands in front of the first section and has no effect");
    return;
  }
  if (section == kODAXSection) {
    if (sectionOf(key) != kODAXSection) checkOverride(key, place, problems);
    return;
  }
  if (isEmptyPath(key, value)) {
    problems.warn(place, "empty-path", key + " = \"\" is as if the line were not there");
  } else if (isPositionKey(key) || isOffsetKey(key)) {
    checkSigned(key, value, place, problems);
  } else if (startsWith(key, "IndexLevel")) {
    checkLevel(key, value, place, problems);
  } else if (isNumberKey(key)) {
    checkNumber(key, value, place, problems);
  }
}

}  // namespace jobcheck
