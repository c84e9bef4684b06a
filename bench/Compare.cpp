// odaxgen-bench-compare - runs whole jobs beside plain copies of their images, in turns, and tells
// how many times as long they take.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Inputs.h"
#include "JobFiles.h"
#include "Jobs.h"
#include "Options.h"
#include "Report.h"
#include "Runner.h"
#include "Surroundings.h"

namespace {

namespace fs = std::filesystem;
using bench::InputKeys;
using bench::Job;
using bench::Measured;
using bench::Words;

struct Options {
  std::string inputs, program, place = "/dev/shm", results, checksums;
  std::vector<std::string> only;
  double scale = 1;
  int rounds = 5;
  bool isVerified = false;
};

// One job and what it is held against, as programs to run.
struct Contest {
  std::vector<Words> cp, tiffcp, cat, odaxgen;
  std::vector<std::string> outputs;  // of all of them
  std::string configuration, jobFile;
};

std::vector<std::string> pathsOf(const InputKeys& inputs, const std::string& folder) {
  std::vector<std::string> paths;
  for (const bench::InputKey& input : inputs) {
    if (input.key != nullptr) paths.push_back(folder + '/' + input.file);
  }
  return paths;
}

uint64_t bytesOf(const std::vector<std::string>& paths) {
  uint64_t bytes = 0;
  for (const std::string& path : paths) bytes += fs::file_size(path);
  return bytes;
}

Contest makeContest(const Job& job, const Options& options, const bench::Workplace& place) {
  Contest contest;
  contest.configuration = place.path(std::string(job.name) + ".cfg");
  contest.jobFile = place.path("job.odx");
  contest.outputs = {contest.jobFile};
  bench::writeConfiguration(contest.configuration, job, options.inputs, place.folder(),
                            contest.jobFile);
  const auto copyOf = [&](const std::string& path) {
    contest.outputs.push_back(place.path(fs::path(path).filename().string()));
    return contest.outputs.back();
  };
  for (const std::string& path : pathsOf(job.copied, options.inputs)) {
    contest.cp.push_back({"cp", path, copyOf(path)});
  }
  Words cat = {"cat"};
  for (const std::string& path : pathsOf(job.inputs, options.inputs)) {
    cat.push_back(path);
    if (job.compression == nullptr) continue;
    contest.tiffcp.push_back({"tiffcp", "-c", job.compression, path, copyOf(path)});
  }
  contest.cat = {cat};
  contest.odaxgen = {{options.program, "run", "--quiet", contest.configuration}};
  return contest;
}

// Each begins without the files of the others: they would take memory from it.
Measured measure(const Contest& contest, const std::vector<Words>& programs) {
  for (const std::string& output : contest.outputs) fs::remove(output);
  return bench::runAll(programs);
}

// That a job is what the table says it is, and right.
void verify(const Job& job, const Contest& contest, const Options& options,
            const bench::Workplace& place) {
  if (job.format == nullptr) return;  // ready-made data, which need not be a raster stream
  const std::string said =
      bench::outputOf({options.program, "inspect", contest.jobFile}, place.folder());
  if (said.find(job.format) == std::string::npos) {
    throw std::runtime_error(std::string(job.name) + ": is not " + job.format);
  }
  std::fputs(
      bench::outputOf({options.program, "verify", contest.configuration}, place.folder()).c_str(),
      stdout);
}

std::string checksumOf(const Contest& contest, const bench::Workplace& place) {
  const std::string line = bench::outputOf({"sha256sum", contest.jobFile}, place.folder());
  return line.substr(0, line.find(' '));
}

uint64_t bandBytesOf(const Job& job, double scale) {
  if (job.format == nullptr) return 0;
  const bench::Page& page = *bench::imageInput(job.inputs[0].file).page;
  return bench::bandBytes(job, bench::sizeOf(page, scale).width);
}

// What of a job is known behind its first run, which warms everything up and is not measured.
struct Checked {
  bench::JobResult result;
  std::string checksum;
};

Checked warmUp(const Job& job, const Contest& contest, const Options& options,
               const bench::Workplace& place) {
  for (const std::vector<Words>* programs : {&contest.cp, &contest.tiffcp, &contest.cat}) {
    measure(contest, *programs);
  }
  measure(contest, contest.odaxgen);
  Checked checked{};
  checked.result.job = &job;
  checked.result.inputBytes = bytesOf(pathsOf(job.inputs, options.inputs));
  checked.result.outputBytes = fs::file_size(contest.jobFile);
  checked.result.bandBytes = bandBytesOf(job, options.scale);
  checked.checksum = checksumOf(contest, place);
  if (options.isVerified) verify(job, contest, options, place);
  return checked;
}

Checked compare(const Job& job, const Options& options, const bench::Workplace& place) {
  const Contest contest = makeContest(job, options, place);
  Checked checked = warmUp(job, contest, options, place);
  std::vector<double> cp;
  std::vector<double> tiffcp;
  std::vector<double> cat;
  std::vector<double> seconds;
  for (int round = 0; round < options.rounds; ++round) {
    const double cpTime = measure(contest, contest.cp).seconds;
    const double tiffcpTime = measure(contest, contest.tiffcp).seconds;
    const double catTime = measure(contest, contest.cat).seconds;
    const Measured own = measure(contest, contest.odaxgen);
    cp.push_back(own.seconds / cpTime);
    if (tiffcpTime > 0) tiffcp.push_back(own.seconds / tiffcpTime);
    cat.push_back(own.seconds / catTime);
    seconds.push_back(own.seconds);
    checked.result.peakBytes = std::max(checked.result.peakBytes, own.peakBytes);
  }
  for (const std::string& output : contest.outputs) fs::remove(output);
  checked.result.cp = bench::spreadOf(cp);
  checked.result.tiffcp = bench::spreadOf(tiffcp);
  checked.result.cat = bench::spreadOf(cat);
  checked.result.seconds = bench::spreadOf(seconds).least;
  return checked;
}

using Checksums = std::map<std::string, std::string>;  // by job and scale

Checksums readChecksums(const std::string& path) {
  Checksums checksums;
  std::ifstream file(path);
  for (std::string sum, name; file >> sum && std::getline(file >> std::ws, name);) {
    checksums[name] = sum;
  }
  return checksums;
}

std::string checksumText(const Checksums& checksums) {
  std::string text;
  for (const auto& [name, sum] : checksums) text.append(sum).append("  ").append(name).append("\n");
  return text;
}

// Holds the outputs against those of an earlier run, and keeps those that are new.
bool areAsBefore(const std::string& path, const Checksums& now) {
  Checksums known = readChecksums(path);
  bool areSame = true;
  for (const auto& [name, sum] : now) {
    if (known.emplace(name, sum).first->second == sum) continue;
    std::printf("%s: the output differs from that of %s\n", name.c_str(), path.c_str());
    areSame = false;
  }
  bench::writeText(path, checksumText(known));
  if (areSame) std::printf("outputs: as in %s\n", path.c_str());
  return areSame;
}

const Job& jobNamed(const std::string& name) {
  for (const Job& job : bench::jobs()) {
    if (name == job.name) return job;
  }
  throw std::runtime_error("no job " + name);
}

std::vector<const Job*> chosenJobs(const Options& options) {
  std::vector<const Job*> chosen;
  for (const std::string& name : options.only) chosen.push_back(&jobNamed(name));
  if (!chosen.empty()) return chosen;
  for (const Job& job : bench::jobs()) chosen.push_back(&job);
  return chosen;
}

std::string nameOf(const Job& job, const Options& options) {
  std::ostringstream text;
  text << job.name << ", scale " << options.scale;
  return text.str();
}

int compareAll(const Options& options) {
  constexpr double kRoomBytes = 1.6e9;
  const std::vector<const Job*> chosen = chosenJobs(options);
  bench::makeInputs(options.inputs, options.scale);
  const bench::Workplace place(options.place, static_cast<uint64_t>(kRoomBytes * options.scale));
  bench::writeTemplates(place.folder());
  const std::string version = bench::outputOf({options.program, "--version"}, place.folder());
  std::vector<bench::JobResult> results;
  Checksums checksums;
  for (const Job* job : chosen) {
    std::fprintf(stderr, "%s: %s\n", job->name, job->title);
    const Checked checked = compare(*job, options, place);
    results.push_back(checked.result);
    checksums[nameOf(*job, options)] = checked.checksum;
  }
  std::ostringstream text;
  text << bench::aboutText(version) << "scale     " << options.scale << ", " << options.rounds
       << " rounds\n\n"
       << bench::tableText(results) << "\nSHA-256 of the outputs\n"
       << checksumText(checksums);
  bench::keepResults(text.str(), options.results, "compare.txt");
  if (options.checksums.empty()) return 0;
  return areAsBefore(options.checksums, checksums) ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  Options options;
  const bench::Program program = {
      "odaxgen-bench-compare",
      "Runs whole jobs beside plain copies of their images.",
      "INPUTS PROGRAM\n  INPUTS   folder of the images; they are made when missing\n"
      "  PROGRAM  the odaxgen to measure",
      {&options.inputs, &options.program},
      {{"scale", &options.scale, "part of the full size, 1 being 3 GB of images"},
       {"rounds", &options.rounds, "how often each is measured; 5"},
       {"only", &options.only, "this job; may repeat"},
       {"place", &options.place, "folder in memory for outputs; /dev/shm"},
       {"results", &options.results, "folder to keep the table in, by date"},
       {"checksums", &options.checksums, "checksums to compare with; new ones are added"},
       {"verify", &options.isVerified, "also inspect and verify each job"}}};
  return bench::runProgram(program, count, arguments, [&options] {
    // Jobs name their images by whole paths.
    options.inputs = fs::absolute(options.inputs).lexically_normal().string();
    options.program = fs::absolute(options.program).string();
    return compareAll(options);
  });
}
