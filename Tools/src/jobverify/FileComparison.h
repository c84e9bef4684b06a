// FileComparison - holds bytes that come in pieces against those of a file.
#pragma once

#include <cstdint>
#include <fstream>
#include <span>
#include <string>
#include <vector>

namespace jobverify {

class FileComparison {
 public:
  /// A file that cannot be opened is isOpen() == false and as good as an empty one, like a folder.
  explicit FileComparison(const std::string& path);

  [[nodiscard]] bool isOpen() const { return file_.is_open(); }
  /// Size when it was opened; 0 for what is no regular file.
  [[nodiscard]] uint64_t size() const { return size_; }

  /// Compares the next bytes. @return false from the first difference on
  bool take(std::span<const uint8_t> bytes);
  /// True when all bytes of the file came, and no others.
  [[nodiscard]] bool isWhole() const { return isSame_ && at_ == size_; }
  /// What differs; empty when nothing does: "byte 12 is 04, expected 05".
  [[nodiscard]] std::string difference() const;
  /// Bytes that were equal.
  [[nodiscard]] uint64_t equalBytes() const { return at_; }

 private:
  std::ifstream file_;
  uint64_t size_ = 0;
  uint64_t at_ = 0;  // the next byte, or the first one that differs
  bool isSame_ = true;
  std::string difference_;
  std::vector<uint8_t> room_;
};

}  // namespace jobverify
