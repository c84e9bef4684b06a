// odaxgen explain - says what an error code means, why it happens and what to do.

#include <charconv>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "ErrorAdvice.h"
#include "Report.h"
#include "Subcommands.h"

namespace command {

namespace {

constexpr size_t kColumns = 80;
constexpr std::string_view kIndent = "  ";

struct ExplainOptions {
  std::string code;
  bool list = false;
};

void printIndented(const std::string& text) {
  for (const std::string& line : wrapped(text, kColumns - kIndent.size())) {
    std::printf("%s%s\n", kIndent.data(), line.c_str());
  }
}

void printAdvice(const ErrorAdvice& advice) {
  std::printf("%d: %s\n", advice.code, advice.title);
  std::printf("\nWhy it happens\n");
  printIndented(advice.why);
  std::printf("\nWhat to do\n");
  printIndented(advice.whatToDo);
}

int list() {
  for (const ErrorAdvice& advice : allAdvice()) {
    if (advice.isUsed) std::printf("%3d  %s\n", advice.code, advice.title);
  }
  return kExitDone;
}

/// "-36" and "36" are the same code. A number that no integer holds is no code either.
int codeOf(const std::string& text) {
  const bool isNegative = text.front() == '-';
  const char* begin = text.data() + (isNegative ? 1 : 0);
  const char* end = text.data() + text.size();
  int number = 0;
  if (std::from_chars(begin, end, number).ec == std::errc::result_out_of_range) {
    return std::numeric_limits<int>::min();
  }
  return -number;
}

/// A validator of the parser: what is wrong with the text, or nothing.
std::string checkCode(const std::string& text) {
  const std::string_view digits = std::string_view(text).substr(text.starts_with('-') ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) {
    return "'" + printable(text) + "' is no error code";
  }
  if (adviceFor(codeOf(text)) != nullptr) return "";
  return "there is no error code " + text + "; they go from " + std::to_string(kFirstErrorCode) +
         " to " + std::to_string(kLastErrorCode);
}

int explain(const ExplainOptions& options) {
  if (options.list) return list();
  printAdvice(*adviceFor(codeOf(options.code)));
  return kExitDone;
}

}  // namespace

void addExplain(CLI::App& app, int& exitCode) {
  CLI::App* sub =
      app.add_subcommand("explain", "Say what an error code means, why it happens and what to do");
  auto options = std::make_shared<ExplainOptions>();
  CLI::Option* code =
      sub->add_option("CODE", options->code, "the number that a failed job ended with: -36 or 36");
  CLI::Option* all = sub->add_flag("--list", options->list, "all codes, one per line");
  code->excludes(all);
  sub->footer("\nExit codes: 0 done; 2 there is no such code, or wrong usage.\n");
  sub->callback([options, code, &exitCode] {
    if (!options->list && code->count() == 0) throw CLI::RequiredError("CODE or --list");
    if (!options->list) {
      const std::string wrong = checkCode(options->code);
      if (!wrong.empty()) throw CLI::ValidationError(wrong);
    }
    exitCode = guarded([&] { return explain(*options); });
  });
}

}  // namespace command
