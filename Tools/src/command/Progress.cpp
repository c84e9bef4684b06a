#include "Progress.h"

#include <cstdio>

#include "Report.h"

namespace command {

namespace {

std::string shortName(const std::string& path) {
  constexpr size_t kMostColumns = 40;
  const std::string name = printable(path.substr(path.rfind('/') + 1));
  return name.size() <= kMostColumns ? name : name.substr(0, kMostColumns) + "...";
}

}  // namespace

Progress::Progress(const std::string& verb, const std::string& path, uint64_t total)
    : label_(verb + " " + shortName(path)), total_(total) {}

void Progress::report(uint64_t done) {
  if (total_ == 0 || !line_.isDue()) return;
  char share[16];
  std::snprintf(share, sizeof share, " %3.0f %%",
                100.0 * static_cast<double>(done) / static_cast<double>(total_));
  line_.show(label_ + share);
}

}  // namespace command
