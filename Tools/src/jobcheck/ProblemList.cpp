#include "ProblemList.h"

#include <algorithm>
#include <iterator>

namespace jobcheck {

size_t CheckedJob::count(Severity severity) const {
  return static_cast<size_t>(
      std::count_if(problems.begin(), problems.end(),
                    [severity](const Problem& problem) { return problem.severity == severity; }));
}

void ProblemList::error(const Place& place, int code, const std::string& text,
                        const std::string& hint) {
  problems_.push_back({Severity::kError, place.file, place.line, code, "", text, hint});
}

void ProblemList::errorText(const Place& place, const std::string& thrown, const std::string& text,
                            const std::string& hint) {
  problems_.push_back({Severity::kError, place.file, place.line, 0, thrown, text, hint});
}

void ProblemList::warn(const Place& place, const char* id, const std::string& text,
                       const std::string& hint) {
  problems_.push_back({Severity::kWarning, place.file, place.line, 0, id, text, hint});
}

void ProblemList::append(ProblemList& other) {
  std::move(other.problems_.begin(), other.problems_.end(), std::back_inserter(problems_));
  other.problems_.clear();
}

bool ProblemList::hasErrors() const {
  return std::any_of(problems_.begin(), problems_.end(),
                     [](const Problem& problem) { return problem.severity == Severity::kError; });
}

std::string quoted(const std::string& text) {
  constexpr size_t kMost = 70;
  constexpr size_t kTail = 15;
  if (text.size() <= kMost) return "\"" + text + "\"";
  return "\"" + text.substr(0, kMost - kTail - 3) + "..." + text.substr(text.size() - kTail) + "\"";
}

std::string counted(uint64_t number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? " and " : ", ";
    text += words[i];
  }
  return text;
}

std::string fileName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace jobcheck
