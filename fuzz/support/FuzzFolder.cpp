#include "FuzzFolder.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

std::string placeForFiles() {
  const char* set = std::getenv("TMPDIR");
  if (set != nullptr && *set != '\0') return set;
  return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
}

[[noreturn]] void fail(const std::string& path) {
  std::perror(path.c_str());
  std::abort();
}

}  // namespace

FuzzFolder::FuzzFolder() : path_(placeForFiles() + "/odaxgen-fuzz-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) fail(path_);
}

FuzzFolder::~FuzzFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void FuzzFolder::clear() const {
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    std::filesystem::remove_all(entry.path());
  }
}

std::string FuzzFolder::path(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

std::string FuzzFolder::write(std::string_view name, std::span<const uint8_t> content) const {
  std::string full = path(name);
  const File file(std::fopen(full.c_str(), "wb"));
  if (file == nullptr) fail(full);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  if (!content.empty() && std::fwrite(content.data(), content.size(), 1, file.get()) != 1)
    fail(full);
  return full;
}

std::string FuzzFolder::write(std::string_view name, std::string_view content) const {
  return write(name, {reinterpret_cast<const uint8_t*>(content.data()), content.size()});
}

std::vector<uint8_t> FuzzFolder::read(std::string_view name) const {
  std::vector<uint8_t> content;
  const std::string full = path(name);
  const File file(std::fopen(full.c_str(), "rb"));
  if (file == nullptr) return content;
  std::error_code failed;
  const uintmax_t size = std::filesystem::file_size(full, failed);
  if (failed) return content;
  content.resize(size);
  content.resize(std::fread(content.data(), 1, content.size(), file.get()));
  return content;
}
