#include "PagePlan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "PixelRows.h"

namespace jobrender {

using jobreader::Ink;
using jobreader::JobSummary;
using jobreader::PageSummary;
using jobreader::PlaneFormat;
using jobreader::PlaneSummary;

namespace {

constexpr double kMetresPerInch = 0.0254;

// A scale is seldom a number that a computer has: 100 pixels at 0.07 are 7, not a little more and
// therefore 8.
constexpr double kScaleSlack = 1e-6;

[[noreturn]] void refuse(const std::string& text) {
  throw std::invalid_argument(text);
}

std::string onPage(const PageSummary& page) {
  return "page " + std::to_string(page.start.number) + ": ";
}

void checkOptions(const JobSummary& summary, const RenderOptions& options) {
  if (!(options.scale > 0.0 && options.scale <= 1.0)) {
    refuse("the scale has to be above 0 and at most 1");
  }
  if (options.maxPixels == 0U) refuse("a picture of no pixels cannot be drawn");
  const size_t pages = summary.pages.size();
  for (const size_t page : options.pages) {
    if (page >= 1 && page <= pages) continue;
    refuse("there is no page " + std::to_string(page) + "; the job has " + std::to_string(pages));
  }
}

bool isSelected(const PageSummary& page, const RenderOptions& options) {
  const bool wasAskedFor = options.pages.contains(page.start.number);
  if (!options.pages.empty() && !wasAskedFor) return false;
  const bool isEmpty = page.width() == 0 || page.height() == 0;
  if (isEmpty && wasAskedFor) refuse(onPage(page) + "has nothing to draw");
  return !isEmpty;
}

bool isWanted(const std::string& ink, const RenderOptions& options) {
  return options.inks.empty() || options.inks.contains(ink);
}

void checkInks(const std::vector<const PageSummary*>& pages, const RenderOptions& options) {
  std::vector<std::string> names = {};
  for (const PageSummary* page : pages) {
    for (const PlaneSummary& plane : page->planes) {
      const auto found = std::find(names.begin(), names.end(), plane.format.name);
      if (found == names.end()) names.push_back(plane.format.name);
    }
  }
  names.emplace_back(kComposite);
  for (const std::string& ink : options.inks) {
    if (std::find(names.begin(), names.end(), ink) != names.end()) continue;
    std::string text = "there is no ink " + ink + "; there are";
    for (const std::string& name : names) text.append(" ").append(name);
    refuse(text);
  }
}

void checkLayout(const PageSummary& page, const PlaneFormat& plane) {
  if (PixelRows::hasLayout(plane)) return;
  if (plane.depth == 0) {
    refuse(onPage(page) + "the job file does not say how many bits the pixels of " + plane.name +
           " have; --config names the configuration that does");
  }
  refuse(onPage(page) + plane.name + " has " + std::to_string(plane.depth) +
         " bits per pixel, for which no layout is defined; --ink selects the others");
}

void checkComposite(const PageSummary& page, const PagePlan& plan) {
  for (const PlaneFormat& plane : plan.planes) {
    if (!plan.isShown(plane)) continue;
    if (plane.ink == Ink::kUnknown) {
      refuse(onPage(page) + "the job file does not say which ink " + plane.name +
             " is; --config names the configuration that does");
    }
    checkLayout(page, plane);
  }
}

uint32_t scaled(uint64_t side, double scale) {
  const double exact = static_cast<double>(side) * scale;
  return static_cast<uint32_t>(std::max(1.0, std::ceil(exact - kScaleSlack)));
}

// A large-format page at 1200 dpi has half as many. A few bytes of a file can ask for any number of
// blank rows, and nobody waits for a picture of them.
constexpr double kMaxPixels = 4294967296.0;

bool isTooLarge(double width, double height) {
  return std::max(width, height) > PngFile::kMaxSide + kScaleSlack || width * height > kMaxPixels;
}

// The size of a page's pictures; the PNG format's other fields are those of the composite.
PngFormat formatOf(const PageSummary& page, const RenderOptions& options) {
  const auto width = static_cast<double>(page.width());
  const auto height = static_cast<double>(page.height());
  const std::string size = onPage(page) + std::to_string(page.width()) + " x " +
                           std::to_string(page.height()) + " pixels are too many for a picture";
  if (page.height() > AreaScaler::kMaxHeight) refuse(size);
  double scale = options.scale;
  if (options.maxPixels) scale = std::min(scale, *options.maxPixels / std::max(width, height));
  if (isTooLarge(width * scale, height * scale)) refuse(size + "; --max-size makes it smaller");
  PngFormat format;
  format.width = scaled(page.width(), scale);
  format.height = scaled(page.height(), scale);
  format.isColour = true;
  return format;
}

// Dots per inch of the page as pixels per metre of the picture.
uint32_t pixelsPerMetre(int64_t dotsPerInch, uint64_t dots, uint32_t pixels) {
  const double exact = static_cast<double>(dotsPerInch) / kMetresPerInch *
                       static_cast<double>(pixels) / static_cast<double>(dots);
  const bool isSayable = exact >= 0.5 && exact < static_cast<double>(INT32_MAX);
  return isSayable ? static_cast<uint32_t>(std::lround(exact)) : 0;
}

// The part of a file name that stands for a plane. Where upper and lower case are one, "c" and "C"
// are the same file.
std::string fileInk(const PlaneFormat& plane) {
  if (plane.ink == Ink::c) return "lc";
  if (plane.ink == Ink::m) return "lm";
  std::string name = plane.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == '/'; }, '-');
  return name;
}

std::string pathOf(const RenderOptions& options, size_t page, const std::string& ink) {
  const std::string name = options.stem + "-" + std::to_string(page) + ink + ".png";
  return (std::filesystem::path(options.folder) / name).string();
}

PicturePlan planInk(const PagePlan& page, size_t index, PngFormat format,
                    const RenderOptions& options) {
  const PlaneFormat& plane = page.planes[index];
  const bool isUnscaled = PictureSize{format.width, format.height} == page.size;
  PicturePlan picture;
  picture.path = pathOf(options, page.number, "-" + fileInk(plane));
  picture.ink = plane.name;
  picture.plane = index;
  picture.isPacked = isUnscaled && PixelRows::isPlain(plane);
  picture.format = format;
  picture.format.isColour = false;
  picture.format.bitDepth = picture.isPacked ? plane.depth : 8;
  return picture;
}

PagePlan planPage(const PageSummary& page, const RenderOptions& options) {
  PngFormat format = formatOf(page, options);
  format.xPixelsPerMetre = pixelsPerMetre(page.start.resolutionH, page.width(), format.width);
  format.yPixelsPerMetre = pixelsPerMetre(page.start.resolutionV, page.height(), format.height);

  PagePlan plan;
  plan.number = page.start.number;
  plan.size = {static_cast<uint32_t>(page.width()), page.height()};
  plan.isLight = page.start.format.isLight();
  plan.showsCoatings = options.coatings;
  for (const PlaneSummary& plane : page.planes) plan.planes.push_back(plane.format);
  for (size_t i = 0; i < plan.planes.size(); ++i) {
    if (!isWanted(plan.planes[i].name, options)) continue;
    checkLayout(page, plan.planes[i]);
    plan.pictures.push_back(planInk(plan, i, format, options));
  }
  if (!isWanted(kComposite, options)) return plan;
  checkComposite(page, plan);
  plan.pictures.push_back({pathOf(options, plan.number, ""), kComposite, {}, format});
  return plan;
}

}  // namespace

std::vector<PagePlan> planPages(const JobSummary& summary, const RenderOptions& options) {
  checkOptions(summary, options);
  std::vector<const PageSummary*> pages;
  for (const PageSummary& page : summary.pages) {
    if (isSelected(page, options)) pages.push_back(&page);
  }
  checkInks(pages, options);
  std::vector<PagePlan> plans;
  for (const PageSummary* page : pages) {
    PagePlan plan = planPage(*page, options);
    if (!plan.pictures.empty()) plans.push_back(std::move(plan));
  }
  return plans;
}

}  // namespace jobrender
