#include "CheckJson.h"

#include "ErrorAdvice.h"

namespace command {

using jobcheck::CheckedJob;
using jobcheck::Problem;
using jobcheck::Severity;
using nlohmann::ordered_json;

namespace {

// Counts up when a key changes its meaning or goes away; new keys do not count.
constexpr int kCheckFormat = 1;

template <class Value>
ordered_json orNull(bool isKnown, const Value& value) {
  return isKnown ? ordered_json(value) : ordered_json(nullptr);
}

ordered_json problemJson(const Problem& problem) {
  const bool isError = problem.severity == Severity::kError;
  const std::string hint = hintOf(problem);
  return {{"severity", isError ? "error" : "warning"},
          {"file", problem.file},
          {"line", orNull(problem.line > 0, problem.line)},
          {"code", orNull(problem.code != 0, problem.code)},
          {"thrown", orNull(isError && !problem.id.empty(), problem.id)},
          {"id", orNull(!isError, problem.id)},
          {"text", problem.text},
          {"hint", orNull(!hint.empty(), hint)}};
}

ordered_json jobJson(const CheckedJob& job) {
  ordered_json problems = ordered_json::array();
  for (const Problem& problem : job.problems) problems.push_back(problemJson(problem));
  return {{"config", job.config},
          {"errors", job.count(Severity::kError)},
          {"warnings", job.count(Severity::kWarning)},
          {"problems", problems}};
}

}  // namespace

ordered_json checkJson(const std::vector<CheckedJob>& jobs) {
  ordered_json list = ordered_json::array();
  size_t errors = 0;
  size_t warnings = 0;
  for (const CheckedJob& job : jobs) {
    list.push_back(jobJson(job));
    errors += job.count(Severity::kError);
    warnings += job.count(Severity::kWarning);
  }
  return {{"format", kCheckFormat}, {"errors", errors}, {"warnings", warnings}, {"jobs", list}};
}

std::string hintOf(const Problem& problem) {
  if (!problem.hint.empty() || problem.code == 0) return problem.hint;
  const ErrorAdvice* advice = adviceFor(problem.code);
  return advice == nullptr ? "" : advice->whatToDo;
}

}  // namespace command
