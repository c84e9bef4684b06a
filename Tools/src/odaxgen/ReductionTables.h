// ReductionTables - maps from an 8-bit sample to an ink level. Constant data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

using ReductionTable = std::array<uint8_t, 256>;

namespace reduction {

constexpr ReductionTable levels(int count) {
  ReductionTable table{};
  for (int v = 0; v < 256; ++v)
    table[static_cast<size_t>(v)] = static_cast<uint8_t>(v * count / 256);
  return table;
}

constexpr ReductionTable threshold(int firstOne) {
  ReductionTable table{};
  for (int v = 0; v < 256; ++v) table[static_cast<size_t>(v)] = v >= firstOne ? 1 : 0;
  return table;
}

}  // namespace reduction

inline constexpr ReductionTable ReduceNoConvertTbl = reduction::levels(256);
// The threshold is 140 on purpose, not 128: light tints drop out instead of filling in.
inline constexpr ReductionTable Reduce256To2Tbl = reduction::threshold(140);
inline constexpr ReductionTable Reduce256To3Tbl = reduction::levels(3);
inline constexpr ReductionTable Reduce256To4Tbl = reduction::levels(4);
inline constexpr ReductionTable Reduce256To5Tbl = reduction::levels(5);
inline constexpr ReductionTable Reduce256To6Tbl = reduction::levels(6);
inline constexpr ReductionTable Reduce256To16Tbl = reduction::levels(16);

/// The all-ones pointer: "raw samples", no table and no polarity inversion. Never dereferenced.
inline const uint8_t* rawSamplesMarker() {
  return reinterpret_cast<const uint8_t*>(~uintptr_t{0});  // NOLINT(performance-no-int-to-ptr)
}
