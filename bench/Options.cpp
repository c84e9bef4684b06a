#include "Options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace bench {

namespace {

constexpr int kGoOn = -1;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// What an option does with its value; false when it cannot be one.
struct Setter {
  const char* text;

  bool operator()(bool* value) const {
    *value = true;
    return true;
  }
  bool operator()(int* value) const {
    *value = std::atoi(text);
    return *value > 0;
  }
  bool operator()(double* value) const {
    *value = std::strtod(text, nullptr);
    return *value > 0;
  }
  bool operator()(std::string* value) const {
    *value = text;
    return true;
  }
  bool operator()(std::vector<std::string>* value) const {
    value->emplace_back(text);
    return true;
  }
};

bool isFlag(const Option& option) {
  return std::holds_alternative<bool*>(option.value);
}

int printHelp(const Program& program) {
  std::printf("%s\nusage: %s [OPTIONS] %s\n", program.purpose, program.name, program.wordsHelp);
  for (const Option& option : program.options) {
    const std::string text = std::string("--") + option.name + (isFlag(option) ? "" : " VALUE");
    std::printf("  %-20s  %s\n", text.c_str(), option.help);
  }
  return 0;
}

int complain(const Program& program, const char* what) {
  std::fprintf(stderr, "%s: %s; see --help\n", program.name, what);
  return kWrongUsage;
}

int parse(const Program& program, int count, char** arguments) {
  std::vector<option> known;
  for (const Option& one : program.options) {
    known.push_back({one.name, isFlag(one) ? no_argument : required_argument, nullptr, 0});
  }
  known.push_back({"help", no_argument, nullptr, 0});
  known.push_back({});
  for (int place = 0; getopt_long(count, arguments, "", known.data(), &place) != -1;) {
    if (optopt != 0) return kWrongUsage;  // getopt has said what is wrong
    const auto index = static_cast<size_t>(place);
    if (index == program.options.size()) return printHelp(program);
    const Option& one = program.options[index];
    if (!std::visit(Setter{optarg}, one.value))
      return complain(program, "a number has to be above 0");
  }
  if (static_cast<size_t>(count - optind) != program.words.size()) {
    return complain(program, "the wrong number of words");
  }
  for (std::string* word : program.words) *word = arguments[optind++];
  return kGoOn;
}

}  // namespace

int runProgram(const Program& program, int count, char** arguments,
               const std::function<int()>& work) {
  try {
    const int code = parse(program, count, arguments);
    return code == kGoOn ? work() : code;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", program.name, error.what());
    return kFailed;
  }
}

}  // namespace bench
