// odaxgen-bench-growth - how time and memory of a job grow with its rows, pages, planes and
// packets.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>
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
};

constexpr int kSplit = 65536;
constexpr int kShortSplit = 1000;
constexpr size_t kNarrow = 1024;
constexpr bench::Size kSmallPage{300, 300}, kPlane{6000, 6000};
constexpr bench::ImageFormat kPlate{bench::Samples::kInk, bench::kBlack, false};

// Makes the input of `size` units and returns the text of its configuration.
using Maker = std::string (*)(size_t size, const bench::Workplace& place);

bench::JobHead headOf(const bench::Workplace& place) {
  return {place.path("job.odx"), place.folder(), kSplit, ""};
}

std::string onePlane(const std::string& image) {
  return "[Image]\nColorSpace = 5\nNumOfPlanes = 1\nCompressionMode = 2\nPixelDepthK = 2\n"
         "ImageFileK = \"" +
         image + "\"\n";
}

std::string rowsJob(size_t rows, const bench::Workplace& place) {
  const std::string image = place.path("rows.tif");
  bench::makeImage(image, kPlate, {kNarrow, rows});
  return bench::headText(headOf(place)) + onePlane(image);
}

std::string pagesJob(size_t pages, const bench::Workplace& place) {
  const std::string image = place.path("page.tif");
  bench::makeImage(image, kPlate, kSmallPage);
  std::string text = bench::headText(headOf(place));
  for (size_t page = 0; page < pages; ++page) text += onePlane(image);
  return text;
}

std::string planesJob(size_t planes, const bench::Workplace& place) {
  constexpr const char* kFour[] = {"K", "C", "M", "Y"};
  constexpr const char* kEight[] = {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy"};
  const std::string image = place.path("plane.tif");
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

std::string packetsJob(size_t packets, const bench::Workplace& place) {
  const std::string data = place.path("packets.bin");
  bench::makeData(data, packets * kShortSplit);
  return bench::headText({place.path("job.odx"), place.folder(), kShortSplit, data});
}

struct Series {
  const char* unit;
  Maker make;
  std::vector<size_t> sizes;
  bool isScaled;
};

std::vector<Series> allSeries() {
  return {{"rows", rowsJob, {62'500, 125'000, 250'000, 500'000}, true},
          {"pages", pagesJob, {1'250, 2'500, 5'000, 10'000}, true},
          {"planes", planesJob, {1, 4, 8}, false},
          {"packets", packetsJob, {12'500, 25'000, 50'000, 100'000}, true}};
}

struct Point {
  size_t size;
  double cpuSeconds;  // the least of all rounds
  uint64_t peakBytes;
};

Point measure(const Series& series, size_t size, const Options& options,
              const bench::Workplace& place) {
  const std::string configuration = place.path("job.cfg");
  bench::writeText(configuration, series.make(size, place));
  Point point{size, HUGE_VAL, 0};
  for (int round = 0; round < options.rounds; ++round) {
    fs::remove(place.path("job.odx"));
    const bench::Measured one = bench::run({options.program, "run", "--quiet", configuration});
    point.cpuSeconds = std::min(point.cpuSeconds, one.cpuSeconds);
    point.peakBytes = std::max(point.peakBytes, one.peakBytes);
  }
  return point;
}

// What the program takes to start is a part of every measurement, and does not grow.
double startSeconds(const Options& options) {
  double seconds = HUGE_VAL;
  for (int round = 0; round < options.rounds; ++round) {
    seconds = std::min(seconds, bench::run({options.program, "--version"}).cpuSeconds);
  }
  return seconds;
}

// Doubling a size takes 1.9 to 2.1 times; quadrupling it the square of that.
const char* verdict(double times, double sizes) {
  const double doublings = std::log2(sizes);
  const bool isLinear = times >= std::pow(1.9, doublings) && times <= std::pow(2.1, doublings);
  return isLinear ? "yes" : "NO";
}

using Line = std::vector<std::string>;

std::vector<Line> linesOf(const Series& series, const std::vector<Point>& points, double start) {
  std::vector<Line> lines;
  const Point* before = nullptr;
  for (const Point& point : points) {
    Line line = {std::to_string(point.size) + ' ' + series.unit,
                 bench::number(point.cpuSeconds, 3)};
    if (before != nullptr) {
      const double times = (point.cpuSeconds - start) / (before->cpuSeconds - start);
      const double sizes = static_cast<double>(point.size) / static_cast<double>(before->size);
      line.insert(line.end(),
                  {bench::number(sizes, 2), bench::number(times, 2), verdict(times, sizes)});
    } else {
      line.insert(line.end(), {"", "", ""});
    }
    line.push_back(bench::megabytes(point.peakBytes, 1));
    lines.push_back(line);
    before = &point;
  }
  return lines;
}

std::vector<Line> measureSeries(const Series& series, const Options& options,
                                const bench::Workplace& place, double start) {
  std::vector<Point> points;
  for (const size_t size : series.sizes) {
    const double scaled = static_cast<double>(size) * (series.isScaled ? options.scale : 1);
    points.push_back(
        measure(series, std::max<size_t>(static_cast<size_t>(scaled), 1), options, place));
  }
  return linesOf(series, points, start);
}

int measureAll(const Options& options) {
  constexpr double kRoomBytes = 1.2e9;
  const bench::Workplace place(options.place, static_cast<uint64_t>(kRoomBytes));
  bench::writeTemplates(place.folder());
  const std::string version = bench::outputOf({options.program, "--version"}, place.folder());
  const double start = startSeconds(options);
  std::vector<Line> lines = {{"job", "processor s", "x size", "x time", "linear", "peak MB"}};
  for (const Series& series : allSeries()) {
    std::fprintf(stderr, "%s\n", series.unit);
    const std::vector<Line> more = measureSeries(series, options, place, start);
    lines.insert(lines.end(), more.begin(), more.end());
  }
  std::ostringstream text;
  text << bench::aboutText(version) << "scale     " << options.scale << ", least of "
       << options.rounds << " rounds\n\n"
       << "Starting takes " << bench::number(start, 3) << " s, which \"x time\" leaves out.\n\n"
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
       {"results", &options.results, "folder to keep the table in, by date"}}};
  return bench::runProgram(program, count, arguments, [&options] {
    options.program = fs::absolute(options.program).string();
    return measureAll(options);
  });
}
