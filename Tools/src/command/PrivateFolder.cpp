#include "PrivateFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace command {

namespace {

constexpr const char* kTempName = "TEMP_ODAXGEN.dat";  // as the library calls it

std::string temporaryFolder() {
  const char* folder = std::getenv("TMPDIR");
  std::string path = folder == nullptr || folder[0] == '\0' ? "/tmp" : folder;
  std::error_code error;
  if (path.front() != '/') path = std::filesystem::absolute(path, error).string();
  return path.back() == '/' ? path : path + "/";
}

}  // namespace

const char* PrivateFolder::make() {
  // All memory is asked for before the folder is made: behind that nothing may fail.
  std::string folder = temporaryFolder() + "odaxgen-XXXXXX";
  std::string file = folder + "/" + kTempName;
  path_ = folder + "/";
  const leftovers::SignalPause pause;
  if (mkdtemp(folder.data()) != nullptr) {
    std::copy(folder.begin(), folder.end(), file.begin());
    std::copy(folder.begin(), folder.end(), path_.begin());
    folder_.emplace(std::move(folder), leftovers::Leftover::Kind::kFolder);
    file_.emplace(std::move(file), leftovers::Leftover::Kind::kFile);
  }
  return path_.c_str();
}

}  // namespace command
