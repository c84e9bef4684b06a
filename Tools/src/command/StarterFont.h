// StarterFont - the letters of the starter job's page: capitals, digits and a few signs, five
// columns by seven rows.
#pragma once

namespace command {

constexpr int kGlyphColumns = 5;
constexpr int kGlyphRows = 7;

/// Whether a letter has ink at this place; column and row count from the upper left corner.
/// Characters without a shape are blank.
bool isInked(char letter, int column, int row);

}  // namespace command
