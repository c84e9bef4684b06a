#include "StagedOutput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace command {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the kernel has it
constexpr int kSuffixLength = 5;
constexpr const char* kSuffix = ".part";
constexpr size_t kMostNameBytes = 200;  // of 255, with room for what is appended

// Where a path leads, the last part of it included: a link to a file that is not there yet leads to
// that file.
fs::path followLinks(fs::path path) {
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(path, error); ++i) {
    const fs::path next = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / next;  // an absolute one stands for itself
  }
  return path;
}

mode_t newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

// The new file looks like the one that it replaces. Giving it away may be refused: then it is ours.
void takeOver(int file, const struct stat* earlier) {
  if (earlier != nullptr) static_cast<void>(!fchown(file, earlier->st_uid, earlier->st_gid));
  const mode_t mode = earlier == nullptr ? newFileMode() : earlier->st_mode & mode_t{07777};
  static_cast<void>(fchmod(file, mode));
}

}  // namespace

const char* StagedOutput::stage(const char* path) {
  const fs::path target = followLinks(fs::absolute(path));
  struct stat earlier = {};
  const bool isThere = ::stat(target.c_str(), &earlier) == 0;
  if (isThere && (!S_ISREG(earlier.st_mode) || access(target.c_str(), W_OK) != 0)) return nullptr;

  target_ = target.string();
  kept_ = std::string(path) + ".partial";
  const std::string name = target.filename().string().substr(0, kMostNameBytes);
  written_ = (target.parent_path() / (name + ".XXXXXX" + kSuffix)).string();
  const leftovers::SignalPause pause;
  const int file = mkstemps(written_.data(), kSuffixLength);
  // Opening the file will fail for the same reason, and say it.
  if (file < 0) return written_.c_str();
  takeOver(file, isThere ? &earlier : nullptr);
  close(file);
  file_.emplace(written_, leftovers::Leftover::Kind::kFile,
                keepsPartial_ ? fs::absolute(kept_).string() : std::string());
  return written_.c_str();
}

void StagedOutput::commit() {
  if (!file_) return;
  if (std::rename(written_.c_str(), target_.c_str()) != 0) {
    throw std::system_error(errno, std::generic_category(), target_);
  }
  file_->keep();
  file_.reset();
}

std::string StagedOutput::giveUp() {
  if (!file_) return "";
  const bool isKept = keepsPartial_ && std::rename(written_.c_str(), kept_.c_str()) == 0;
  if (isKept) file_->keep();
  file_.reset();
  return isKept ? kept_ : "";
}

}  // namespace command
