// PageComparison - holds the rows of one page against its image files. Never has more than one row
// of each plane in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "ExpectedRows.h"
#include "Findings.h"
#include "JobRequest.h"
#include "PageImages.h"
#include "RasterSink.h"

namespace jobverify {

class PageComparison {
 public:
  /// @param page      borrowed, as is `findings`
  /// @param printableWidth  of the job
  PageComparison(const PageRequest& page, int32_t printableWidth, Findings& findings);

  /// A row, and rows without anything, in ascending order.
  void takeRow(uint64_t index, std::span<const jobreader::PlaneRow> planes);
  void takeBlankRows(uint64_t first, uint64_t count);
  /// The end of the page: rows that were not sent are blank. Adds the page to the verdict.
  void finish();

 private:
  enum class Loss { kNone, kPossible, kCertain };

  struct Plane {
    const PlaneRequest* request;
    std::string name;  // "page 1, K"
    ExpectedRows rows;
    size_t image;  // in images_; not used without samples
    bool isCompared;
    int64_t failure;                // the number that stands for a plane that cannot be encoded
    std::vector<uint8_t> expected;  // the row at hand
  };

  void addPlane(const PlaneRequest& request);
  [[nodiscard]] int64_t failureOf(const PlaneRequest& request) const;
  void stopComparing(Plane& plane, const std::string& reason);
  void loadRow(uint64_t y);
  void loadPlane(Plane& plane, uint64_t y);
  [[nodiscard]] uint64_t changingRows() const;

  // Rows that count as white although they are not.
  [[nodiscard]] uint64_t whiteTestBytes(const PlaneRequest& plane) const;
  [[nodiscard]] bool isWhiteWherePrintable(const Plane& plane) const;
  [[nodiscard]] bool hasAllBlank() const;
  [[nodiscard]] Loss lossOfRow() const;
  void noteLosses();

  void compareRow(uint64_t y, std::span<const jobreader::PlaneRow> planes);
  void comparePlane(const Plane& plane, uint64_t y, const jobreader::PlaneRow& found);
  void compareBlankRows(uint64_t from, uint64_t to);
  void compareBlankRow(uint64_t y, uint64_t times);
  uint64_t compareBytes(const Plane& plane, uint64_t y, std::span<const uint8_t> found);
  uint64_t comparePixels(const Plane& plane, uint64_t y, std::span<const uint8_t> found);
  void report(const Plane& plane, uint64_t y, const std::string& text);
  void reportPixel(const Plane& plane, uint64_t y, uint64_t x, uint64_t level, uint64_t wanted);
  void checkMethod(const Plane& plane, uint64_t y, int method);

  const PageRequest& page_;
  Findings& findings_;
  std::string name_;  // "page 1"
  int64_t printableWidth_;
  PageImages images_;
  std::vector<Plane> planes_;
  uint64_t next_ = 0;  // row that is compared next
  uint64_t lostRows_ = 0;
  bool hasOddMethod_ = false;  // told already
  bool hasOddRows_ = false;    // likewise
};

}  // namespace jobverify
