#include "CheckText.h"

#include "CheckJson.h"
#include "Report.h"

namespace command {

using jobcheck::CheckedJob;
using jobcheck::Problem;
using jobcheck::Severity;

namespace {

constexpr const char* kBold = "\x1B[1m";
constexpr const char* kRed = "\x1B[1;31m";
constexpr const char* kMagenta = "\x1B[1;35m";
constexpr const char* kPlain = "\x1B[0m";

std::string coloured(const std::string& text, const char* colour, bool hasColours) {
  return hasColours ? colour + text + kPlain : text;
}

std::string placeOf(const Problem& problem) {
  std::string place = printable(problem.file) + ":";
  if (problem.line > 0) place += std::to_string(problem.line) + ":";
  return place;
}

std::string markOf(const Problem& problem) {
  return problem.code != 0 ? std::to_string(problem.code) : problem.id;
}

std::string problemText(const Problem& problem, const CheckTextOptions& options) {
  const bool isError = problem.severity == Severity::kError;
  std::string text =
      coloured(placeOf(problem), kBold, options.hasColours) + " " +
      coloured(isError ? "error:" : "warning:", isError ? kRed : kMagenta, options.hasColours) +
      " " + printable(problem.text) + " [" + markOf(problem) + "]\n";
  const std::string hint = hintOf(problem);
  if (!options.isQuiet && !hint.empty()) text += "  hint: " + printable(hint) + "\n";
  return text;
}

}  // namespace

std::string checkText(const std::vector<CheckedJob>& jobs, const CheckTextOptions& options) {
  std::string text;
  size_t errors = 0;
  size_t warnings = 0;
  for (const CheckedJob& job : jobs) {
    for (const Problem& problem : job.problems) text += problemText(problem, options);
    errors += job.count(Severity::kError);
    warnings += job.count(Severity::kWarning);
  }
  if (options.isQuiet) return text;
  if (errors + warnings == 0) return text + "no problems\n";
  std::string summary;
  if (errors > 0) summary = counted(errors, "error");
  if (warnings > 0) summary += (summary.empty() ? "" : ", ") + counted(warnings, "warning");
  return text + summary + "\n";
}

}  // namespace command
