#include "Measured.h"

#include <cstdlib>
#include <string>

Measured measureOdaxgen(const std::vector<std::string>& arguments, const std::string& folder,
                        const Surroundings& surroundings, int seconds) {
  const TempFolder reports;
  std::vector<std::string> all = {ODAXGEN_METER, reports.path("peak"), std::to_string(seconds)};
  for (const std::string& argument : odaxgenWith(arguments)) all.push_back(argument);
  Measured measured;
  measured.result = runProgram(all, folder, surroundings);
  const std::string report = reports.text("peak");
  char* next = nullptr;
  const uint64_t kib = std::strtoull(report.c_str(), &next, 10);
  measured.peakBytes = kIsSanitized ? 0 : kib * 1024;
  measured.microseconds = std::strtoull(next, nullptr, 10);
  return measured;
}
