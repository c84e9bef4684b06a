#include "FormatNames.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace command {

namespace {

struct Name {
  int value;
  std::string_view text;
};

constexpr std::array<Name, 8> kColorSpaces = {{
    {2, "row RGB multi-level"},
    {3, "row KCMY multi-level"},
    {4, "row ink-colour index"},
    {5, "row ink-colour bi-level"},
    {0x12, "pixel RGB multi-level"},
    {0x13, "pixel KCMY multi-level"},
    {0x14, "pixel KCMY index"},
    {0x15, "pixel KCMY bi-level"},
}};

constexpr std::array<Name, 4> kMethods = {{
    {0, "uncompressed"},
    {2, "packbits"},
    {3, "delta row"},
    {4, "HXRC"},
}};

template <size_t size>
std::string nameIn(const std::array<Name, size>& names, int value) {
  const auto* found = std::find_if(names.begin(), names.end(),
                                   [value](const Name& name) { return name.value == value; });
  return found == names.end() ? std::to_string(value) : std::string(found->text);
}

}  // namespace

std::string colorSpaceName(int colorSpace) {
  return colorSpace < 0 ? "unknown format" : nameIn(kColorSpaces, colorSpace);
}

std::string methodNames(const std::vector<int>& methods) {
  std::string text;
  for (const int method : methods) text += (text.empty() ? "" : " + ") + nameIn(kMethods, method);
  return text;
}

}  // namespace command
