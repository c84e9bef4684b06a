#include "PrivateFolder.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

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
  path_ = temporaryFolder() + "odaxgen-XXXXXX";
  const leftovers::SignalPause pause;
  if (mkdtemp(path_.data()) != nullptr) {
    folder_.emplace(path_, leftovers::Leftover::Kind::kFolder);
    file_.emplace(path_ + "/" + kTempName, leftovers::Leftover::Kind::kFile);
  }
  path_ += "/";
  return path_.c_str();
}

}  // namespace command
