#include "JobRenderer.h"

#include <filesystem>
#include <system_error>

#include "JobReader.h"
#include "PagePlan.h"
#include "PageRenderer.h"
#include "ReadError.h"

namespace jobrender {

namespace fs = std::filesystem;

namespace {

void makeFolder(const std::string& folder) {
  if (folder.empty()) return;
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw jobreader::FileError(folder + ": " + error.message());
}

// Before the first picture is drawn: otherwise a file in the way of the last one would be found
// after minutes.
void checkTargets(const std::vector<PagePlan>& plans) {
  for (const PagePlan& plan : plans) {
    for (const PicturePlan& picture : plan.pictures) {
      std::error_code none;
      const fs::file_status status = fs::symlink_status(picture.path, none);
      if (fs::exists(status)) throw jobreader::FileError(picture.path + ": exists already");
    }
  }
}

}  // namespace

std::vector<Picture> renderJob(jobreader::JobFile& file, const jobreader::KnownJob* known,
                               const jobreader::JobSummary& summary, const RenderOptions& options) {
  std::vector<PagePlan> plans = planPages(summary, options);
  if (!options.overwrite) checkTargets(plans);
  makeFolder(options.folder);
  PageRenderer renderer(std::move(plans), options);
  file.seek(0);
  jobreader::readJob(file, renderer, known);
  return renderer.pictures();
}

}  // namespace jobrender
