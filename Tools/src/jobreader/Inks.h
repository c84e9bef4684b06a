// Inks - the components that a plane can be, in the order in which planes are sent. Constant data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace jobreader {

/// Numbered in the order of the planes of a row.
enum class Ink : uint8_t { PBK, MBK, K, C, M, Y, c, m, Gy, Pgy, R, G, B, CO, CO2, kUnknown };

constexpr size_t kInkCount = 15;

struct InkInfo {
  std::string_view name;  // as in the configuration's keys: PixelDepth + name
  uint8_t identifier;     // in the configure block
  std::string_view title;
};

inline constexpr std::array<InkInfo, kInkCount> kInkInfos = {{
    {"PBK", 9, "photo black"},
    {"MBK", 10, "matte black"},
    {"K", 5, "black"},
    {"C", 6, "cyan"},
    {"M", 7, "magenta"},
    {"Y", 8, "yellow"},
    {"c", 11, "light cyan"},
    {"m", 12, "light magenta"},
    {"Gy", 13, "gray"},
    {"Pgy", 14, "photo gray"},
    {"R", 2, "red"},
    {"G", 3, "green"},
    {"B", 4, "blue"},
    {"CO", 16, "coating"},
    {"CO2", 128, "second coating"},
}};

/// Null for Ink::kUnknown.
constexpr const InkInfo* inkInfo(Ink ink) {
  const auto index = static_cast<size_t>(ink);
  return index < kInkCount ? &kInkInfos[index] : nullptr;
}

}  // namespace jobreader
