#include "Report.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace bench {

namespace {

using Line = std::vector<std::string>;

constexpr uint64_t kMegabyte = 1'000'000;
constexpr uint64_t kMostBesideBands = 16 * kMegabyte;

std::string spreadText(const Spread& spread) {
  if (spread.most == 0) return "-";
  return number(spread.least, 2) + " / " + number(spread.median, 2) + " / " +
         number(spread.most, 2);
}

std::string targetText(const Target& target) {
  if (target.cp == 0) return "-";
  return number(target.cp, 2) + " / " + (target.tiffcp == 0 ? "-" : number(target.tiffcp, 2));
}

uint64_t besideBands(const JobResult& result) {
  return result.peakBytes - std::min(result.peakBytes, result.bandBytes);
}

bool keeps(const JobResult& result, const Target& target) {
  return result.cp.median <= target.cp &&
         (target.tiffcp == 0 || result.tiffcp.median <= target.tiffcp);
}

std::string verdict(const JobResult& result) {
  if (besideBands(result) > kMostBesideBands) return "too much memory";
  if (result.job->must.cp == 0) return "-";
  if (keeps(result, result.job->aim)) return "aim";
  return keeps(result, result.job->must) ? "must" : "MISSED";
}

Line lineOf(const JobResult& result) {
  return {result.job->name,
          megabytes(result.inputBytes),
          megabytes(result.outputBytes),
          number(result.seconds, 3),
          spreadText(result.cp),
          spreadText(result.tiffcp),
          spreadText(result.cat),
          targetText(result.job->must),
          targetText(result.job->aim),
          verdict(result),
          megabytes(besideBands(result), 1)};
}

}  // namespace

Spread spreadOf(std::vector<double> numbers) {
  if (numbers.empty()) return {};
  std::sort(numbers.begin(), numbers.end());
  const size_t middle = numbers.size() / 2;
  const double median =
      numbers.size() % 2 == 1 ? numbers[middle] : (numbers[middle - 1] + numbers[middle]) / 2;
  return {numbers.front(), median, numbers.back()};
}

std::string number(double value, int digits) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", digits, value);
  return text.data();
}

std::string megabytes(uint64_t bytes, int digits) {
  return number(static_cast<double>(bytes) / static_cast<double>(kMegabyte), digits);
}

std::string alignedText(const std::vector<Line>& lines) {
  std::vector<size_t> widths;
  for (const Line& line : lines) {
    widths.resize(std::max(widths.size(), line.size()));
    for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  }
  std::string text;
  for (const Line& line : lines) {
    for (size_t i = 0; i < line.size(); ++i) {
      const std::string blanks(widths[i] - line[i].size(), ' ');
      text += i == 0 ? line[i] + blanks : "  " + blanks + line[i];
    }
    text += '\n';
  }
  return text;
}

std::string tableText(const std::vector<JobResult>& results) {
  std::vector<Line> lines = {{"job", "MB in", "MB out", "s", "x cp: min / median / max",
                              "x tiffcp: the same", "x cat: the same", "must", "aim", "verdict",
                              "MB + bands"}};
  std::string text;
  for (const JobResult& result : results) lines.push_back(lineOf(result));
  text = alignedText(lines) + '\n';
  for (const JobResult& result : results) {
    text += std::string(result.job->name) + ": " + result.job->title + '\n';
  }
  return text;
}

}  // namespace bench
