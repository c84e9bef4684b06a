// PictureStream - draws one picture from the pixels of a page, scaled or as they are.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "AreaScaler.h"
#include "PagePlan.h"
#include "PngFile.h"

namespace jobrender {

class PictureStream {
 public:
  /// Begins the file.
  /// @param size  of the page, unscaled
  /// @throws FileError
  PictureStream(const PicturePlan& plan, PictureSize size, bool overwrite);

  /// The next pixels of a row: tones, or R, G, B in turn. They do not go on into the next row.
  void addPixels(std::span<const uint8_t> pixels);
  /// Room for a whole row as the file has it, which endPackedRow() then adds. For a picture whose
  /// plan says that it is packed, instead of addPixels().
  std::span<uint8_t> beginPackedRow() { return row_; }
  void endPackedRow() { file_->writeRow(row_); }
  /// Rows without ink, at the beginning of a row.
  void addBlankRows(uint64_t count);
  /// Completes the file, once, after all rows.
  void finish() { file_->finish(); }

 private:
  std::unique_ptr<PngFile> file_;
  std::optional<AreaScaler> scaler_;  // none: one pixel of the page is one of the picture
  std::vector<uint8_t> row_;          // without a scaler: the row that is being put together
  size_t filled_ = 0;                 // bytes of row_ that addPixels() has brought
};

}  // namespace jobrender
