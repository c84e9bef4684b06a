#include "OverrideRules.h"

#include <algorithm>
#include <array>

namespace jobcheck {

namespace {

constexpr size_t kPatternBytes = 256;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Appends as the packet writer does: what does not fit empties the pattern.
void append(std::string& pattern, const std::string& text) {
  pattern = pattern.size() + text.size() >= kPatternBytes ? "" : pattern + text;
}

}  // namespace

Match matchOf(const std::string& line, const std::string& key) {
  if (!contains(line, key)) return Match::kNone;
  std::string pattern = ":";
  append(pattern, key);
  append(pattern, ">");
  if (contains(line, pattern)) return Match::kTag;
  pattern = "name=\"";
  append(pattern, key);
  if (!contains(line, pattern)) return Match::kNone;
  return contains(line, pattern + "\"") ? Match::kName : Match::kNamePrefix;
}

std::vector<std::string> keysOfLine(const std::string& line) {
  std::vector<std::string> keys;
  const auto takeBetween = [&](const std::string& begin, char end) {
    for (size_t at = 0; (at = line.find(begin, at)) != std::string::npos;) {
      at += begin.size();
      const size_t to = line.find_first_of(std::string("<> ") + end, at);
      if (to != std::string::npos && to > at && line[to] == end)
        keys.push_back(line.substr(at, to - at));
    }
  };
  takeBetween(":", '>');
  takeBetween("name=\"", '"');
  return keys;
}

std::optional<std::string> overriddenText(const std::string& line) {
  const size_t begin = line.find('>');
  if (begin == std::string::npos) return std::nullopt;
  const std::string behind = line.substr(begin + 1);
  return behind.substr(0, behind.rfind('<'));
}

std::optional<std::string> filledText(const std::string& line) {
  const size_t tag = line.find_first_not_of('>');
  if (tag == std::string::npos) return std::nullopt;
  const size_t end = line.find('>', tag);
  if (end == std::string::npos) return std::nullopt;
  const size_t begin = line.find_first_not_of('<', end + 1);
  if (begin == std::string::npos) return std::nullopt;
  return line.substr(begin, line.find('<', begin) - begin);
}

bool hasElementText(const std::string& line, const std::string& text) {
  return contains(line, ">" + text + "<");
}

bool opensElement(const std::string& line) {
  int open = 0;
  for (size_t at = 0; (at = line.find('<', at)) != std::string::npos; ++at) {
    const char next = at + 1 < line.size() ? line[at + 1] : '\0';
    if (next == '?' || next == '!') continue;
    const size_t end = line.find('>', at);
    const bool isEmpty = end != std::string::npos && line[end - 1] == '/';
    if (next == '/') {
      --open;
    } else if (!isEmpty) {
      ++open;
    }
  }
  return open > 0;
}

bool hasMarkup(const std::string& text) {
  if (contains(text, "<")) return true;
  for (size_t at = 0; (at = text.find('&', at)) != std::string::npos; ++at) {
    const size_t end = text.find(';', at);
    const size_t blank = text.find(' ', at);
    if (end == std::string::npos || end == at + 1 || blank < end) return true;
  }
  return false;
}

}  // namespace jobcheck
