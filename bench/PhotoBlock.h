// PhotoBlock - what looks like a photo in four inks: slow changes, and the noise of a camera, a few
// levels of 256, on every dot.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Box.h"

namespace bench {

class PhotoBlock {
 public:
  explicit PhotoBlock(const Box& box) : box_(box) {}

  /// Sets the dots of row `y` of the page that the photo covers.
  /// @param rows  black, cyan, magenta, yellow
  void drawRow(size_t y, std::array<std::vector<uint16_t>, 4>& rows) const;

 private:
  void drawInk(size_t y, size_t ink, std::vector<uint16_t>& row) const;

  Box box_;
};

}  // namespace bench
