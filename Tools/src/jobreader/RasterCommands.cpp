#include "RasterCommands.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "ReadError.h"

namespace jobreader {

namespace {

constexpr uint8_t kEsc = 0x1B;

enum class Number : uint8_t {
  kFixed,   // always the same text
  kCount,   // 0 and more
  kSigned,  // "-" allowed
  kOffset,  // "+" allowed
  kMove     // "-" and "+" allowed
};

struct Form {
  std::string_view family;
  char letter;
  Number number;
  std::string_view fixed;  // the number's text, with kFixed
  bool hasData;            // the number counts bytes that follow
};

// Every command of the language. A negative number of data bytes stands for none.
constexpr std::array<Form, 17> kForms = {{
    {"%", 'X', Number::kFixed, "-12345", false},
    {"%", 'A', Number::kFixed, "0", false},
    {"", 'E', Number::kFixed, "", false},
    {"$b", 'W', Number::kCount, "", true},
    {"$v", 'W', Number::kCount, "", true},
    {"*t", 'R', Number::kSigned, "", false},
    {"$r", 'X', Number::kSigned, "", false},
    {"$r", 'Y', Number::kSigned, "", false},
    {"*p", 'X', Number::kMove, "", false},
    {"*p", 'Y', Number::kMove, "", false},
    {"*b", 'Y', Number::kOffset, "", false},
    {"*b", 'M', Number::kCount, "", false},
    {"*b", 'V', Number::kSigned, "", true},
    {"*b", 'W', Number::kSigned, "", true},
    {"*r", 'A', Number::kFixed, "1", false},
    {"*r", 'C', Number::kFixed, "", false},
    {"$", 'E', Number::kFixed, "", false},
}};

constexpr size_t kLongestNumber = 11;  // "-2147483648"

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool isNumberPart(char c) {
  return isDigit(c) || c == '-' || c == '+';
}

const Form* findForm(std::string_view family, char letter) {
  const auto* found = std::find_if(kForms.begin(), kForms.end(), [&](const Form& form) {
    return form.family == family && form.letter == letter;
  });
  return found == kForms.end() ? nullptr : found;
}

bool isFamilyStart(std::string_view text) {
  return std::any_of(kForms.begin(), kForms.end(),
                     [&](const Form& form) { return form.family.starts_with(text); });
}

// Numbers have one spelling: no leading zeros, no "-0", "+" only in front of 1 and more.
bool isWellSpelt(std::string_view number) {
  if (number == "0") return true;
  if (number.empty()) return false;
  const bool hasSign = number.front() == '-' || number.front() == '+';
  const std::string_view digits = number.substr(hasSign ? 1 : 0);
  return !digits.empty() && digits.front() != '0' &&
         std::all_of(digits.begin(), digits.end(), isDigit);
}

int64_t valueOf(std::string_view number) {
  int64_t value = 0;
  for (const char c : number)
    if (isDigit(c)) value = value * 10 + (c - '0');
  return number.starts_with('-') ? -value : value;
}

bool isAllowed(const Form& form, std::string_view number) {
  if (form.number == Number::kFixed) return number == form.fixed;
  if (!isWellSpelt(number)) return false;
  const bool canBePlus = form.number == Number::kMove || form.number == Number::kOffset;
  const bool canBeMinus = form.number == Number::kMove || form.number == Number::kSigned;
  if (number.front() == '+' && !canBePlus) return false;
  if (number.front() == '-' && !canBeMinus) return false;
  const int64_t value = valueOf(number);
  return value >= std::numeric_limits<int32_t>::min() &&
         value <= std::numeric_limits<int32_t>::max();
}

std::string shown(uint8_t byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = {'0', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
  if (byte > 0x20 && byte < 0x7F) text += std::string(" '") + static_cast<char>(byte) + "'";
  return text;
}

}  // namespace

uint64_t CommandData::offsetOf(size_t position) const {
  const auto behind =
      std::find_if(segments_.begin(), segments_.end(),
                   [position](const Segment& segment) { return segment.position > position; });
  if (behind == segments_.begin()) return 0;
  const Segment& segment = *(behind - 1);
  return segment.offset + (position - segment.position);
}

bool CommandReader::refill() {
  if (used_ < window_.size()) return true;
  data_.advance(used_);
  used_ = 0;
  window_ = data_.window();
  return !window_.empty();
}

bool CommandReader::atEnd() {
  return !refill();
}

void CommandReader::finish() {
  data_.advance(used_);
  used_ = 0;
  window_ = {};
}

uint8_t CommandReader::take(std::string_view expected) {
  if (!refill())
    throw ReadError(offset(), "the raster stream ends; expected " + std::string(expected));
  return window_[used_++];
}

std::span<const uint8_t> CommandReader::pieceOf(uint64_t most) {
  if (!refill()) {
    throw ReadError(offset(), "the raster stream ends; expected " + std::to_string(most) +
                                  " more bytes of data");
  }
  const std::span<const uint8_t> rest = window_.subspan(used_);
  return rest.first(static_cast<size_t>(std::min<uint64_t>(rest.size(), most)));
}

bool CommandReader::skipText(std::string_view text) {
  for (const char wanted : text) {
    if (!refill() || window_[used_] != static_cast<uint8_t>(wanted)) return false;
    drop(1);
  }
  return true;
}

Command CommandReader::next() {
  // Behind a packet's border offset() is right only when the next window is there.
  if (!refill()) throw ReadError(offset(), "the raster stream ends; expected a command");
  Command command;
  command.offset = offset();
  if (window_[used_] != kEsc)
    throw ReadError(offset(), "expected a command (ESC), found " + shown(window_[used_]));
  drop(1);
  std::string family;
  std::string number;
  for (;;) {
    refill();
    const uint64_t at = offset();
    const uint8_t byte = take("the rest of a command");
    const char c = static_cast<char>(byte);
    command.text += c;
    if (isNumberPart(c) && number.size() < kLongestNumber) {
      number += c;
      continue;
    }
    const Form* form = findForm(family, c);
    if (form != nullptr) {
      if (!isAllowed(*form, number))
        throw ReadError(command.offset, "no command: ESC" + command.text);
      command.family = form->family;
      command.letter = c;
      command.number = valueOf(number);
      command.sign = !number.empty() && !isDigit(number.front()) ? number.front() : '\0';
      if (form->hasData && command.number > 0)
        command.dataBytes = static_cast<uint64_t>(command.number);
      return command;
    }
    family += c;
    if (!number.empty() || !isFamilyStart(family)) {
      throw ReadError(at, "no command begins with ESC" +
                              command.text.substr(0, command.text.size() - 1) + " and " +
                              shown(byte));
    }
  }
}

const CommandData& CommandReader::takeData(uint64_t count) {
  taken_.segments_.clear();
  taken_.copy_.clear();
  if (count == 0) {
    taken_.bytes_ = {};
    taken_.segments_.push_back({0, offset()});
    return taken_;
  }
  std::span<const uint8_t> piece = pieceOf(count);
  taken_.segments_.push_back({0, offset()});
  if (piece.size() == count) {
    taken_.bytes_ = piece;
    drop(piece.size());
    return taken_;
  }
  for (;;) {
    taken_.copy_.insert(taken_.copy_.end(), piece.begin(), piece.end());
    drop(piece.size());
    if (taken_.copy_.size() == count) break;
    piece = pieceOf(count - taken_.copy_.size());
    taken_.segments_.push_back({taken_.copy_.size(), offset()});
  }
  taken_.bytes_ = taken_.copy_;
  return taken_;
}

}  // namespace jobreader
