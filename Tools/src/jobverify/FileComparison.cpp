#include "FileComparison.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "Findings.h"

namespace jobverify {

namespace {

constexpr size_t kPieceBytes = size_t{64} * 1024;

}  // namespace

FileComparison::FileComparison(const std::string& path)
    : file_(path, std::ios::binary), room_(kPieceBytes) {
  std::error_code error;
  const uint64_t size = std::filesystem::file_size(path, error);
  if (!error) size_ = size;
}

bool FileComparison::take(std::span<const uint8_t> bytes) {
  while (isSame_ && !bytes.empty()) {
    const size_t wanted = std::min(bytes.size(), room_.size());
    const auto most = static_cast<std::streamsize>(std::min<uint64_t>(wanted, size_ - at_));
    file_.read(reinterpret_cast<char*>(room_.data()), most);
    const auto got = static_cast<size_t>(file_.gcount());
    const auto end = bytes.begin() + static_cast<ptrdiff_t>(got);
    const auto [found, expected] = std::mismatch(bytes.begin(), end, room_.begin());
    at_ += static_cast<uint64_t>(found - bytes.begin());
    isSame_ = found == end && got == wanted;
    if (found != end) {
      difference_ = "byte " + std::to_string(at_) + " is " + hexByte(*found) + ", expected " +
                    hexByte(*expected);
    } else if (!isSame_) {
      difference_ = "longer than its " + std::to_string(size_) + " bytes";
    }
    bytes = bytes.subspan(wanted);
  }
  return isSame_;
}

std::string FileComparison::difference() const {
  if (!isSame_ || at_ == size_) return difference_;
  return "ends after " + std::to_string(at_) + " of " + std::to_string(size_) + " bytes";
}

}  // namespace jobverify
