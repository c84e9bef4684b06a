#include "PageImages.h"

#include <algorithm>

namespace jobverify {

PageImages::Image::Image(const std::string& name)
    : path(name), facts(readImageFacts(name)), file(name, facts) {}

size_t PageImages::open(const std::string& path) {
  const auto found = std::find_if(images_.begin(), images_.end(),
                                  [&path](const auto& image) { return image->path == path; });
  if (found == images_.end()) {
    images_.push_back(std::make_unique<Image>(path));
    return images_.size() - 1;
  }
  return static_cast<size_t>(found - images_.begin());
}

}  // namespace jobverify
