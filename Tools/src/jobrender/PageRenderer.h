// PageRenderer - receives the rows of a job and draws the planned pictures of its pages. Holds the
// pictures of the page that is being read, and those that are finished.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "JobReader.h"
#include "JobRenderer.h"
#include "PagePlan.h"

namespace jobrender {

/// Its calls throw FileError when a picture cannot be written; pictures that are not finished are
/// removed when it goes.
class PageRenderer : public jobreader::JobSink {
 public:
  /// @param plans    of the same job, in order
  /// @param options  overwrite and progress
  PageRenderer(std::vector<PagePlan> plans, const RenderOptions& options);
  ~PageRenderer() override;

  void beginPage(const jobreader::PageStart& page) override;
  void row(uint64_t index, std::span<const jobreader::PlaneRow> planes) override;
  void blankRows(uint64_t first, uint64_t count, const jobreader::Command& command) override;
  void endPage(const jobreader::PageEnd& end) override;
  void progress(uint64_t offset) override;

  /// Those that are finished, in order of page and plane.
  [[nodiscard]] const std::vector<Picture>& pictures() const { return pictures_; }

 private:
  class Page;  // the pictures of one

  std::vector<PagePlan> plans_;
  bool overwrite_;
  std::function<void(uint64_t offset)> progress_;
  std::unique_ptr<Page> page_;  // none: nothing of the current page is drawn
  std::vector<Picture> pictures_;
};

}  // namespace jobrender
