// StarterPage - the page of the starter job, drawn by formulas: a title, a landscape, a few lines
// of text, patches and ramps of the inks. The same every time.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace command {

constexpr int kPageWidth = 600;   // dots
constexpr int kPageHeight = 800;  // dots
constexpr int kPageDpi = 150;

/// How much of one ink each dot gets: kPageHeight rows of kPageWidth samples, 0 none, 255 full.
struct Plate {
  char ink;  // 'K', 'C', 'M' or 'Y'
  std::vector<uint8_t> samples;
};

/// Black, cyan, magenta, yellow.
std::array<Plate, 4> drawStarterPage();

}  // namespace command
