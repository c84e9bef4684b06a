// TempFolder - a fresh folder for one test, removed with everything in it when the test ends.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  /// The absolute path of the folder, or of something in it; never ends with "/".
  [[nodiscard]] std::string path() const { return path_.string(); }
  [[nodiscard]] std::string path(std::string_view name) const { return (path_ / name).string(); }

  /// Writes a file, making the folders on the way; returns its absolute path.
  std::string write(std::string_view name, std::string_view content) const;
  std::string write(std::string_view name, const Bytes& content) const;

  [[nodiscard]] bool exists(std::string_view name) const;
  /// The whole content of a file; empty when there is none.
  [[nodiscard]] std::string text(std::string_view name) const;
  [[nodiscard]] Bytes bytes(std::string_view name) const;

 private:
  std::filesystem::path path_;
};

/// The bytes of a text, for comparing and writing.
Bytes bytesOf(std::string_view text);
/// A text that shows every byte: printable ASCII as it is, the rest as \xNN.
std::string visible(const Bytes& bytes);
