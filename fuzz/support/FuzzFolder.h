// FuzzFolder - the folder in which a fuzz target keeps its files: in memory where the system has
// such a place, and gone when the process ends.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class FuzzFolder {
 public:
  /// Made inside TMPDIR, else inside /dev/shm, else inside /tmp.
  FuzzFolder();
  ~FuzzFolder();
  FuzzFolder(const FuzzFolder&) = delete;
  FuzzFolder& operator=(const FuzzFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string path(std::string_view name) const;

  /// Removes what is in it.
  void clear() const;

  /// Writes a file over one that is there. @return its path
  std::string write(std::string_view name, std::span<const uint8_t> content) const;
  std::string write(std::string_view name, std::string_view content) const;
  /// The content of a file; empty when there is none.
  [[nodiscard]] std::vector<uint8_t> read(std::string_view name) const;

 private:
  std::string path_;
};
