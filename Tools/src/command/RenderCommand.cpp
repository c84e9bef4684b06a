// odaxgen render - draws the pages of a job file.

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "JobFile.h"
#include "JobRenderer.h"
#include "JobSummary.h"
#include "Progress.h"
#include "ReadError.h"
#include "Report.h"
#include "Subcommands.h"

namespace command {

namespace {

constexpr int kMostPixels = 1000000000;

struct RenderOptions {
  std::string file;
  std::string config;
  std::vector<size_t> pages;
  std::vector<std::string> inks;
  uint32_t maxPixels = 0;
  jobrender::RenderOptions render;
};

// Depths that the file does not say are taken from other planes, and may be wrong.
void warnOfAssumptions(const jobreader::JobSummary& summary) {
  for (const jobreader::PageSummary& page : summary.pages) {
    for (const jobreader::PlaneSummary& plane : page.planes) {
      if (!plane.format.assumed) continue;
      complain("page " + std::to_string(page.start.number) + ", " + plane.format.name +
               ": its ink or depth is assumed; --config knows it");
    }
  }
}

// The pictures need sizes that only the whole file shows, so it is read twice.
int render(RenderOptions& options) {
  const auto known = knownJobOf(options.config);
  const jobreader::KnownJob* job = known ? &*known : nullptr;
  jobreader::JobFile file(options.file);
  Progress progress("drawing", options.file, 2 * file.size());
  jobreader::SummaryHooks hooks;
  hooks.progress = [&progress](uint64_t offset) { progress.report(offset); };
  const jobreader::JobSummary summary = summarise(file, job, hooks);
  if (summary.damage) {
    progress.erase();
    complain(options.file + ": damaged at offset " + std::to_string(summary.damage->offset) + ": " +
             printable(summary.damage->text));
    return kExitFailed;
  }
  if (!summary.isRaster) {
    complain(options.file + ": the data are not a raster stream");
    return kExitFailed;
  }
  options.render.progress = [&](uint64_t offset) { progress.report(file.size() + offset); };
  file.seek(0);
  const auto pictures = renderJob(file, job, summary, options.render);
  progress.erase();
  warnOfAssumptions(summary);
  if (pictures.empty()) {
    complain(options.file + ": its pages have no rows to draw");
    return kExitFailed;
  }
  for (const jobrender::Picture& picture : pictures) std::printf("%s\n", picture.path.c_str());
  return kExitDone;
}

}  // namespace

void addRender(CLI::App& app, int& exitCode) {
  CLI::App* sub = app.add_subcommand("render", "Draw the pages of a job file as PNG pictures");
  auto options = std::make_shared<RenderOptions>();
  sub->add_option("FILE", options->file, "the job file")->required();
  sub->add_option("-o,--output", options->render.folder, "folder for the pictures")
      ->type_name("FOLDER")
      ->required();
  sub->add_option(
         "--config", options->config,
         "the job's configuration: it knows sizes, inks and ink levels that the file does not say")
      ->type_name("CONFIG");
  sub->add_option("--page", options->pages, "only this page; may be repeated")
      ->check(CLI::Range(1, kMostPixels))
      ->type_name("N")
      ->take_all();
  sub->add_option("--ink", options->inks,
                  "only this ink (K, C, PBK, ...), or composite; may be repeated")
      ->type_name("INK")
      ->take_all();
  sub->add_option("--scale", options->render.scale, "size of the pictures, 1 being the page's own")
      ->type_name("SCALE")
      ->check(CLI::Range(1e-6, 1.0));
  sub->add_option("--max-size", options->maxPixels, "longest side of a picture, in pixels")
      ->type_name("PIXELS")
      ->check(CLI::Range(1, kMostPixels));
  sub->add_flag("--coatings", options->render.coatings, "show coatings in the composite");
  sub->add_flag("--force", options->render.overwrite, "overwrite pictures that are there");
  sub->footer(
      "\nExamples:\n"
      "  odaxgen render poster.odx -o out --max-size 1000   previews\n"
      "  odaxgen render poster.odx -o out --page 1 --ink K  black of the first page\n"
      "\n"
      "Exit codes: 0 done; 1 the file is damaged or a picture cannot be written; 2 wrong usage.\n");
  sub->callback([options, &exitCode] {
    options->render.pages.insert(options->pages.begin(), options->pages.end());
    options->render.inks.insert(options->inks.begin(), options->inks.end());
    if (options->maxPixels > 0) options->render.maxPixels = options->maxPixels;
    exitCode = guarded([&] { return render(*options); });
  });
}

}  // namespace command
