#include "Suggestion.h"

#include <algorithm>
#include <numeric>

namespace command {

namespace {

constexpr size_t kMostLetters = 2;

// Letters to insert, leave out or replace to get from one word to the other, row by row of the
// table of all their beginnings.
size_t distance(const std::string& from, const std::string& to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= from.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= to.size(); ++j) {
      const size_t replaced = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
  std::string nearest;
  size_t least = kMostLetters + 1;
  for (const std::string& each : known) {
    const size_t letters = distance(word, each);
    if (letters >= least || 2 * letters >= each.size()) continue;
    least = letters;
    nearest = each;
  }
  return nearest;
}

}  // namespace command
