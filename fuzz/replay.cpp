// Runs a fuzz target without a fuzzer: over the empty input and over every file of the files and
// folders given, in the order of their names. Ends like the target does at the first input for
// which something does not hold; the name of that input is the last line that was printed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& place) {
  std::vector<fs::path> files;
  if (!fs::is_directory(place)) {
    if (fs::exists(place)) files.push_back(place);
    return files;
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

void runOver(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
  // A block of exactly that size, so that a sanitizer sees a read behind it.
  const std::vector<uint8_t> input(content.begin(), content.end());
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int count, char** arguments) {
  const uint8_t nothing = 0;
  LLVMFuzzerTestOneInput(&nothing, 0);
  size_t done = 1;
  for (int i = 1; i < count; ++i) {
    for (const fs::path& file : filesOf(arguments[i])) {
      runOver(file);
      ++done;
    }
  }
  std::printf("%zu inputs\n", done);
  return 0;
}
