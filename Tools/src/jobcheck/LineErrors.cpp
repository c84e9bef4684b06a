#include "LineErrors.h"

#include "CFGRecords.h"
#include "KeyNames.h"

namespace jobcheck {

namespace {

constexpr int kInvalidLine = -4;

struct Words {
  std::string text;
  std::string hint;
};

bool startsWith(const std::string& text, const char* prefix) {
  return text.rfind(prefix, 0) == 0;
}

std::string trimmed(const std::string& text) {
  const size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

Words wordsOfBrackets(const std::string& line) {
  const Section meant = meantHeader(line);
  if (meant == kNoSection) {
    return {"unknown section " + quoted(trimmed(line)),
            "the sections are [Global], [ODAX], [HXRaster] and [Image]"};
  }
  const std::string header = headerOf(meant);
  return {"no section header: " + quoted(trimmed(line)),
          "write " + header + " alone on its line, without blanks in it and without a comment"};
}

Words wordsOfInvalidLine(const RefusedLine& refused) {
  const std::string text = trimmed(refused.line);
  if (text.empty()) {
    return {"a line of blanks only is not an empty line", "take the blanks away"};
  }
  if (text.front() == '[') return wordsOfBrackets(refused.line);
  if (text.find('=') == std::string::npos) {
    return {"no \"key = value\": " + quoted(text), "a comment begins with #"};
  }
  if (!refused.value.empty()) {
    return {"the value " + quoted(refused.value) + " begins with a quote but is no quoted string",
            refused.line.find('#') == std::string::npos
                ? "close it at the end of the line and double the quotes inside"
                : "a # cuts the line, also inside quotes"};
  }
  const bool isCut = refused.line.find('#') != std::string::npos;
  return {"the key " + quoted(refused.key) + " has no value",
          isCut ? "a # cuts the line, also behind the \"=\"" : "give it a value or take it away"};
}

Words wordsOfUnknownKey(const RefusedLine& refused) {
  const std::string header = headerOf(refused.section);
  Words words{"unknown key " + quoted(refused.key) + " in " + header, ""};
  const Section other = sectionOf(refused.key);
  const std::string similar = similarKey(refused.key, refused.section);
  if (other != kNoSection) {
    words.hint = "it belongs to " + std::string(headerOf(other));
  } else if (!similar.empty()) {
    words.hint = "did you mean " + similar + "?";
  } else if (refused.key == "IndexLevelG") {
    words.hint = "green has no index level";
  }
  return words;
}

Words wordsOfTwice(const RefusedLine& refused) {
  std::string text = "the key " + refused.key + " is given twice";
  if (refused.earlierLine > 0) text += "; it stands in line " + std::to_string(refused.earlierLine);
  return {text, "remove one of the two lines"};
}

// 'text' and curly quotes are quotes elsewhere.
std::string withoutOtherQuotes(std::string value) {
  for (const std::string mark : {"'", "\xE2\x80\x9C", "\xE2\x80\x9D", "\xE2\x80\x9E"}) {
    if (value.starts_with(mark)) value.erase(0, mark.size());
    if (value.ends_with(mark)) value.erase(value.size() - mark.size());
  }
  return value;
}

Words wordsOfString(const RefusedLine& refused) {
  const std::string& value = refused.value;
  if (value.front() != '"') {
    return {refused.key + " needs a text in double quotes; " + value + " has none",
            "write " + refused.key + " = \"" + withoutOtherQuotes(value) + "\""};
  }
  const std::string what = refused.key + " needs a text in double quotes, not " + value;
  if (refused.line.find('#') != std::string::npos) {
    return {what, "a # cuts the line, also inside quotes: the path must do without it"};
  }
  if (value.size() > kPathBytes) return {what, "a path has at most 259 characters"};
  if (value.size() > 1 && value.compare(value.size() - 2, 2, "\\\"") == 0) {
    return {what, "a backslash in front of the last quote takes it into the text"};
  }
  return {what, "close it at the end of the line and double the quotes inside"};
}

Words wordsOfNumber(const RefusedLine& refused, const char* form, const char* hint) {
  return {refused.key + " needs " + form + ", not " + quoted(refused.value), hint};
}

Words wordsOf(const RefusedLine& refused) {
  switch (refused.code) {
    case kInvalidLine:
      return wordsOfInvalidLine(refused);
    case -11:
      return {"a comment begins inside a comment", "comments do not nest: close the first one"};
    case -12:
    case -13:
    case -14:
      return wordsOfUnknownKey(refused);
    case -15:
    case -17:
    case -27:
    case -30:
    case -32:
      return wordsOfTwice(refused);
    case -16:
      return wordsOfNumber(refused, "a number",
                           "decimal digits, with + or - in front when it is relative");
    case -18:
      return wordsOfNumber(refused, "a number of rows",
                           "decimal digits, with + in front when it is relative");
    case -28:
      return wordsOfString(refused);
    case -31:
      return wordsOfNumber(refused, "a number",
                           "decimal digits, or 0x and hexadecimal digits; no sign, no quotes");
    case -33:
      return wordsOfNumber(refused, "a number or one of its symbols",
                           "symbols are spelt as in the documentation, upper and lower case "
                           "included");
    case -34:
      return wordsOfNumber(refused, "one of 0, 2, 3, 4, 5, 6 and 16", "");
    default:
      return {"refused: " + quoted(trimmed(refused.line)), ""};
  }
}

}  // namespace

void listRefusedLine(const RefusedLine& refused, ProblemList& problems) {
  Words words = wordsOf(refused);
  if (refused.code == kInvalidLine && startsWith(trimmed(refused.line), "//")) {
    words.hint = "a comment begins with #, or stands between lines that begin with /* and */";
  }
  problems.error(refused.place, refused.code, words.text, words.hint);
}

}  // namespace jobcheck
