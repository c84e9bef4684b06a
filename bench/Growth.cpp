// odaxgen-bench-growth - how time and memory of a job grow with its rows, pages, planes and
// packets.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Inputs.h"
#include "JobFiles.h"
#include "Options.h"
#include "Report.h"
#include "Runner.h"
#include "Surroundings.h"

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string program, place = "/dev/shm", results;
  double scale = 1;
  int rounds = 5;
  bool countsInstructions = false;
};

constexpr int kSplit = 65536;
constexpr int kShortSplit = 1000;
constexpr size_t kNarrow = 1024;
constexpr bench::Size kSmallPage{300, 300}, kPlane{6000, 6000};
constexpr bench::ImageFormat kPlate{bench::Samples::kInk, bench::kBlack, false};

// Makes the input of `size` units in a file, where there is room for it, and returns the text of
// its configuration.
using Maker = std::string (*)(size_t size, const bench::Workplace& place, const std::string& input);

bench::JobHead headOf(const bench::Workplace& place) {
  return {place.path("job.odx"), place.folder(), kSplit, ""};
}

std::string onePlane(const std::string& image) {
  return "[Image]\nColorSpace = 5\nNumOfPlanes = 1\nCompressionMode = 2\nPixelDepthK = 2\n"
         "ImageFileK = \"" +
         image + "\"\n";
}

std::string rowsJob(size_t rows, const bench::Workplace& place, const std::string& image) {
  // All of it alike, so that twice the rows are twice the work.
  bench::makeImage(image, kPlate, {kNarrow, rows}, bench::Content::kPhoto);
  return bench::headText(headOf(place)) + onePlane(image);
}

std::string pagesJob(size_t pages, const bench::Workplace& place, const std::string& image) {
  bench::makeImage(image, kPlate, kSmallPage);
  std::string text = bench::headText(headOf(place));
  for (size_t page = 0; page < pages; ++page) text += onePlane(image);
  return text;
}

std::string planesJob(size_t planes, const bench::Workplace& place, const std::string& image) {
  constexpr const char* kFour[] = {"K", "C", "M", "Y"};
  constexpr const char* kEight[] = {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy"};
  bench::makeImage(image, kPlate, kPlane);
  std::ostringstream text;
  text << bench::headText(headOf(place)) << "[Image]\nColorSpace = 5\nCompressionMode = 2\n"
       << "NumOfPlanes = " << planes << '\n';
  for (size_t i = 0; i < planes; ++i) {
    const char* ink = planes > std::size(kFour) ? kEight[i] : kFour[i];
    text << "PixelDepth" << ink << " = 2\nImageFile" << ink << " = \"" << image << "\"\n";
  }
  return text.str();
}

std::string packetsJob(size_t packets, const bench::Workplace& place, const std::string& data) {
  bench::makeData(data, packets * kShortSplit);
  return bench::headText({place.path("job.odx"), place.folder(), kShortSplit, data});
}

struct Series {
  const char* unit;
  Maker make;
  const char* ending;  // of the input's name; images are known by it
  std::vector<size_t> sizes;
  bool isScaled;
};

std::vector<Series> allSeries() {
  return {{"rows", rowsJob, ".tif", {62'500, 125'000, 250'000, 500'000}, true},
          {"pages", pagesJob, ".tif", {1'250, 2'500, 5'000, 10'000}, true},
          {"planes", planesJob, ".tif", {1, 4, 8}, false},
          {"packets", packetsJob, ".bin", {12'500, 25'000, 50'000, 100'000}, true}};
}

// What a program takes.
struct Cost {
  double cpuSeconds = HUGE_VAL;  // the least of all rounds
  double instructions = 0;       // 0: not counted
  uint64_t peakBytes = 0;
};

struct Point {
  size_t size;
  std::string configuration;
  Cost cost;
};

std::vector<Point> pointsOf(const Series& series, const Options& options,
                            const bench::Workplace& place) {
  std::vector<Point> points;
  for (const size_t size : series.sizes) {
    const double scaled = static_cast<double>(size) * (series.isScaled ? options.scale : 1);
    Point point{std::max<size_t>(static_cast<size_t>(scaled), 1), "", {}};
    const std::string name = std::to_string(size);
    point.configuration = place.path(name + ".cfg");
    bench::writeText(point.configuration,
                     series.make(point.size, place, place.path(name + series.ending)));
    points.push_back(point);
  }
  return points;
}

void measure(Cost& cost, const bench::Words& program, const bench::Workplace& place) {
  fs::remove(place.path("job.odx"));
  const bench::Measured one = bench::run(program);
  cost.cpuSeconds = std::min(cost.cpuSeconds, one.cpuSeconds);
  cost.peakBytes = std::max(cost.peakBytes, one.peakBytes);
}

// Counts are the same whatever else a machine does.
double instructionsOf(const bench::Words& program, const bench::Workplace& place) {
  const std::string log = place.path("valgrind.log");
  bench::Words counting = {"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                           "--log-file=" + log};
  counting.insert(counting.end(), program.begin(), program.end());
  bench::run(counting);
  std::ifstream lines(log);
  constexpr const char* kCollected = "Collected : ";
  for (std::string line; std::getline(lines, line);) {
    const size_t at = line.find(kCollected);
    if (at != std::string::npos) return std::stod(line.substr(at + std::strlen(kCollected)));
  }
  throw std::runtime_error(log + ": no count");
}

bench::Words jobOf(const Point& point, const Options& options) {
  return {options.program, "run", "--quiet", point.configuration};
}

// What the program takes to start is a part of every measurement, and does not grow.
Cost startCost(const Options& options, const bench::Workplace& place) {
  const bench::Words program = {options.program, "--version"};
  Cost cost;
  for (int round = 0; round < options.rounds; ++round) measure(cost, program, place);
  if (options.countsInstructions) cost.instructions = instructionsOf(program, place);
  return cost;
}

// Doubling a size takes 1.9 to 2.1 times; quadrupling it the square of that.
const char* verdict(double times, double sizes) {
  const double doublings = std::log2(sizes);
  const bool isLinear = times >= std::pow(1.9, doublings) && times <= std::pow(2.1, doublings);
  return isLinear ? "yes" : "NO";
}

using Line = std::vector<std::string>;

Line lineOf(const Series& series, const Point& point) {
  const double millions = point.cost.instructions / 1e6;
  return {std::to_string(point.size) + ' ' + series.unit, bench::number(point.cost.cpuSeconds, 3),
          millions > 0 ? bench::number(millions, 0) : "-"};
}

std::vector<Line> linesOf(const Series& series, const std::vector<Point>& points,
                          const Cost& start) {
  std::vector<Line> lines;
  const Point* before = nullptr;
  for (const Point& point : points) {
    Line line = lineOf(series, point);
    if (before == nullptr) {
      line.insert(line.end(), {"", "", "", ""});
    } else {
      const double sizes = static_cast<double>(point.size) / static_cast<double>(before->size);
      const double times =
          (point.cost.cpuSeconds - start.cpuSeconds) / (before->cost.cpuSeconds - start.cpuSeconds);
      const bool isCounted = point.cost.instructions > 0;
      const double counts = (point.cost.instructions - start.instructions) /
                            (before->cost.instructions - start.instructions);
      line.insert(line.end(), {bench::number(sizes, 2), bench::number(times, 2),
                               isCounted ? bench::number(counts, 2) : "-",
                               verdict(isCounted ? counts : times, sizes)});
    }
    line.push_back(bench::megabytes(point.cost.peakBytes, 1));
    lines.push_back(line);
    before = &point;
  }
  return lines;
}

std::vector<Line> measureSeries(const Series& series, const Options& options,
                                const bench::Workplace& place, const Cost& start) {
  std::vector<Point> points = pointsOf(series, options, place);
  // All sizes in turn: a machine that others use too is slow for seconds.
  for (int round = 0; round < options.rounds; ++round) {
    for (Point& point : points) measure(point.cost, jobOf(point, options), place);
  }
  for (Point& point : points) {
    if (!options.countsInstructions) break;
    point.cost.instructions = instructionsOf(jobOf(point, options), place);
  }
  for (const size_t size : series.sizes) {
    fs::remove(place.path(std::to_string(size) + series.ending));
  }
  return linesOf(series, points, start);
}

int measureAll(const Options& options) {
  constexpr double kRoomBytes = 1.4e9;
  const bench::Workplace place(options.place, static_cast<uint64_t>(kRoomBytes));
  bench::writeTemplates(place.folder());
  const std::string version = bench::outputOf({options.program, "--version"}, place.folder());
  const Cost start = startCost(options, place);
  std::vector<Line> lines = {{"job", "processor s", "M instructions", "x size", "x time",
                              "x instructions", "linear", "peak MB"}};
  for (const Series& series : allSeries()) {
    std::fprintf(stderr, "%s\n", series.unit);
    const std::vector<Line> more = measureSeries(series, options, place, start);
    lines.insert(lines.end(), more.begin(), more.end());
  }
  std::ostringstream text;
  text << bench::aboutText(version) << "scale     " << options.scale << ", least of "
       << options.rounds << " rounds\n\n"
       << "Starting takes " << bench::number(start.cpuSeconds, 3)
       << " s, which \"x time\" leaves out. \"linear\" goes by instructions when they are "
          "counted.\n\n"
       << bench::alignedText(lines);
  bench::keepResults(text.str(), options.results, "growth.txt");
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  Options options;
  const bench::Program program = {
      "odaxgen-bench-growth",
      "How time and memory of a job grow with what it is made of.",
      "PROGRAM\n  PROGRAM  the odaxgen to measure",
      {&options.program},
      {{"scale", &options.scale, "part of the rows, pages and packets"},
       {"rounds", &options.rounds, "how often each is measured; 5"},
       {"place", &options.place, "folder in memory for all files; /dev/shm"},
       {"instructions", &options.countsInstructions, "also count instructions, with valgrind"},
       {"results", &options.results, "folder to keep the table in, by date"}}};
  return bench::runProgram(program, count, arguments, [&options] {
    options.program = fs::absolute(options.program).string();
    return measureAll(options);
  });
}
