#include "TempFolder.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "odaxgen-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make " + pattern);
  path_ = fs::canonical(pattern);
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TempFolder::write(std::string_view name, std::string_view content) const {
  const fs::path file = path_ / name;
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary)
      .write(content.data(), static_cast<std::streamsize>(content.size()));
  return file.string();
}

std::string TempFolder::write(std::string_view name, const Bytes& content) const {
  return write(name,
               std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

bool TempFolder::exists(std::string_view name) const {
  return fs::exists(path_ / name);
}

std::string TempFolder::text(std::string_view name) const {
  std::ifstream in(path_ / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Bytes TempFolder::bytes(std::string_view name) const {
  return bytesOf(text(name));
}

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

std::string visible(const Bytes& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    char code[8];
    if (byte >= 0x20 && byte < 0x7F) {
      text += static_cast<char>(byte);
    } else {
      std::snprintf(code, sizeof code, "\\x%02X", byte);
      text += code;
    }
  }
  return text;
}
