// AreaScaler - makes a picture smaller while it streams: each pixel of the result is the mean of
// the area that it covers, pixels that it covers in part counted by that part.
// Knows nothing of files. Holds rows of the result's width only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace jobrender {

struct PictureSize {
  uint32_t width = 0;
  uint64_t height = 0;
  bool operator==(const PictureSize&) const = default;
};

class AreaScaler {
 public:
  /// Receives the rows of the result, in order; a row is only borrowed.
  using RowSink = std::function<void(std::span<const uint8_t> row)>;

  /// Heights that the sums below have room for.
  static constexpr uint64_t kMaxHeight = uint64_t{1} << 40;

  /// @param from      at least 1 by 1, at most kMaxHeight high
  /// @param to        at least 1 by 1, in neither direction larger than `from`, at most 2^20 high
  /// @param channels  values per pixel: 1 or 3
  AreaScaler(PictureSize from, PictureSize to, size_t channels, RowSink sink);

  /// The next pixels of the row: `channels` values each. They do not go on into the next row, and
  /// not behind the last one.
  void addPixels(std::span<const uint8_t> pixels);
  /// Rows of paper, at the beginning of a row; as fast as the rows of the result that they fill.
  void addBlankRows(uint64_t count);

 private:
  template <size_t kChannels>
  void addAcross(const uint8_t* pixels, size_t count);
  void beginColumn(uint32_t covered);
  void addDown(uint64_t weight);
  void addPaperDown(uint64_t weight);
  void endRow();

  // Weights are whole numbers. Across, a pixel of `from` weighs to_.width and a column of `to`
  // takes from_.width; down in the same way. So nothing is lost in fractions, and the sums are
  // exact as long as width times height is below 2^45.
  PictureSize from_, to_;
  size_t channels_;
  RowSink sink_;

  uint32_t column_ = 0;     // of `to`, that the next pixel counts for
  uint32_t wholeLeft_ = 0;  // pixels to come that lie in this column as a whole
  uint32_t partLeft_ = 0;   // weight that the column takes from the pixel behind these
  uint64_t rowLeft_;        // weight that the row of `to` still takes
  std::vector<double> across_, down_;
  std::vector<uint8_t> row_;
};

}  // namespace jobrender
