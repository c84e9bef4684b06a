// RowDecoders - what a printer does with the bytes of one row: PackBits, delta row and HXRC.
// Written from the receiving side, without state; shares nothing with the encoders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace jobreader {

using RowBytes = std::vector<uint8_t>;

/// Rows longer than this are refused: no printer is as wide, and a few bytes of a damaged file
/// could otherwise ask for all of the memory.
constexpr size_t kMaxRowBytes = size_t{64} * 1024 * 1024;

/// A code that stands for no row.
class RowError : public std::runtime_error {
 public:
  /// @param position  of the byte in the code where it goes wrong; its length for one that ends
  /// early
  RowError(size_t position, const std::string& what)
      : std::runtime_error(what), position_(position) {}
  [[nodiscard]] size_t position() const { return position_; }

 private:
  size_t position_;
};

/// Unpacks a PackBits code into `row`, whose former content is dropped. The header 0x80 is refused:
/// the format has no use for it.
void decodePackBits(std::span<const uint8_t> code, RowBytes& row);

/// Applies a delta-row code to `row`, which holds the seed row.
void decodeDeltaRow(std::span<const uint8_t> code, RowBytes& row);

/// Unpacks an HXRC code into `row`, whose former content is dropped. The end code must be followed
/// by zero bits up to a whole byte and by nothing else.
/// @param above  the previous row; nothing when the receiver has none. Not `row` itself
void decodeHxrc(std::span<const uint8_t> code, const std::optional<std::span<const uint8_t>>& above,
                RowBytes& row);

}  // namespace jobreader
