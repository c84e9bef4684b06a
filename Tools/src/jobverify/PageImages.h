// PageImages - the image files of one page. Planes that are channels of one file share its open
// file and its row. Never holds more than one row of each file.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "TiffImage.h"

namespace jobverify {

class PageImages {
 public:
  /// Opens a file, or finds it open. @return its number in the other calls
  size_t open(const std::string& path);

  [[nodiscard]] const ImageFacts& facts(size_t image) const { return images_[image]->facts; }
  /// As TiffImage::row(): rows in ascending order.
  std::span<const uint8_t> row(size_t image, uint64_t y) { return images_[image]->file.row(y); }
  [[nodiscard]] const std::string& problem(size_t image) const {
    return images_[image]->file.problem();
  }

 private:
  struct Image {
    explicit Image(const std::string& name);
    std::string path;
    ImageFacts facts;
    TiffImage file;
  };
  std::vector<std::unique_ptr<Image>> images_;
};

}  // namespace jobverify
