// OverrideRules - what a template line is to an override, by the rules of the packet writer. Rules
// only; nothing is changed here.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace jobcheck {

/// Keys from this length on match more than they say.
constexpr size_t kLongKey = 250;

enum class Match {
  kNone,
  kTag,         // as the end of a prefixed tag
  kName,        // as a whole name attribute
  kNamePrefix,  // as the beginning of one
};

Match matchOf(const std::string& line, const std::string& key);

/// The keys that a line carries: of its prefixed tags and its name attributes.
std::vector<std::string> keysOfLine(const std::string& line);

/// The text that an override replaces: behind the line's first ">", up to its last "<" when one
/// follows. Nothing for a line without ">".
std::optional<std::string> overriddenText(const std::string& line);

/// The text that the program fills in: that of the line's first element. Nothing for a line without
/// one.
std::optional<std::string> filledText(const std::string& line);

/// Whether the line has this text between ">" and "<", where alone it is replaced.
bool hasElementText(const std::string& line, const std::string& text);

/// Whether a line opens an element that it does not close.
bool opensElement(const std::string& line);

/// Whether a text would be no text in XML.
bool hasMarkup(const std::string& text);

}  // namespace jobcheck
