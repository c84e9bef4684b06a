// PagePlan - decides which pictures of a job are drawn, how large they become and what their files
// are called; refuses what cannot be drawn before anything is written. No state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "AreaScaler.h"
#include "InkColours.h"
#include "JobRenderer.h"
#include "JobSummary.h"
#include "PngFile.h"

namespace jobrender {

/// The name of the picture of all inks together.
inline constexpr const char* kComposite = "composite";

struct PicturePlan {
  std::string path;
  std::string ink;              // name of the plane, or kComposite
  std::optional<size_t> plane;  // none: all together
  PngFormat format;
  bool isPacked = false;  // rows become those of the picture without being unpacked
};

struct PagePlan {
  size_t number = 0;
  PictureSize size;  // of the page, unscaled
  bool isLight = false;
  bool showsCoatings = false;
  std::vector<jobreader::PlaneFormat> planes;
  std::vector<PicturePlan> pictures;  // in order of the planes, the composite last

  /// True for a plane that the composite shows.
  [[nodiscard]] bool isShown(const jobreader::PlaneFormat& plane) const {
    return showsCoatings || !isCoating(plane.ink);
  }
};

/// The pages that give pictures, in order.
/// @throws std::invalid_argument with a text for the user
std::vector<PagePlan> planPages(const jobreader::JobSummary& summary, const RenderOptions& options);

}  // namespace jobrender
