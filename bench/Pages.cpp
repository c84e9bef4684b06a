// odaxgen-bench-pages - makes the files that the comparison of whole jobs reads: 3 GB.

#include <cstdio>

#include "Inputs.h"
#include "Options.h"

int main(int count, char** arguments) {
  std::string folder;
  double scale = 1;
  const bench::Program program = {"odaxgen-bench-pages",
                                  "Makes the files that the comparison of whole jobs reads.",
                                  "FOLDER",
                                  {&folder},
                                  {{"scale", &scale, "part of the full size, 1 being 3 GB"}}};
  return bench::runProgram(program, count, arguments, [&] {
    const bool areThere = bench::hasInputs(folder, scale);
    if (!areThere) bench::makeInputs(folder, scale);
    std::printf("%s: %s\n", folder.c_str(), areThere ? "there already" : "made");
    return 0;
  });
}
