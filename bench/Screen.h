// Screen - turns inks into dots of black on paper, as a renderer for one bit does: grey becomes
// dots of growing size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "PageImages.h"

namespace bench {

/// @param y    row of the page; the dots stand in the same places on every row
/// @param out  ceil(width / 8) bytes, bit 7 leftmost, 1 is black
void screenRow(const InkRows& rows, size_t y, std::vector<uint8_t>& out);

}  // namespace bench
