#include "StagedOutput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace command {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the kernel has it
constexpr int kSuffixLength = 5;
constexpr const char* kSuffix = ".part";
constexpr size_t kMostNameBytes = 200;  // of 255, with room for what is appended

// A link such as the one behind /dev/stdout leads to an open file; its text is no path to go by.
bool isOfKernel(const fs::path& link) {
  std::error_code error;
  const fs::path folder = fs::canonical(link.parent_path(), error);
  return error || folder.string().starts_with("/proc/");
}

// A link in a folder where everybody puts files, of somebody who is neither us nor its owner: the
// system does not follow such a one either when a file is opened.
bool isPlanted(const fs::path& link) {
  struct stat own = {};
  struct stat folder = {};
  if (::lstat(link.c_str(), &own) != 0) return false;
  if (::stat(link.parent_path().c_str(), &folder) != 0) return false;
  const bool isShared = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
  return isShared && own.st_uid != geteuid() && own.st_uid != folder.st_uid;
}

// Where a path leads, the last part of it included: a link to a file that is not there yet leads to
// that file. Empty: to something that is no place for a file. With a "/" at its end, so that nobody
// can open it: to where somebody else wants the file to be.
fs::path followLinks(fs::path path) {
  std::error_code error;
  for (int i = 0; fs::is_symlink(path, error); ++i) {
    if (i == kMostLinks || isOfKernel(path)) return {};
    if (isPlanted(path)) return path / "";
    const fs::path next = fs::read_symlink(path, error);
    if (error) return {};
    path = path.parent_path() / next;  // an absolute one stands for itself
  }
  return path;
}

// Opening it for writing will do, or will fail for a reason that should be said.
bool isWrittenDirectly(const char* path) {
  struct stat earlier = {};
  if (::stat(path, &earlier) != 0) return errno != ENOENT;
  return !S_ISREG(earlier.st_mode) || access(path, W_OK) != 0;
}

mode_t newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

// Makes a file look like the one that it replaces, or like any new one. Giving it away may be
// refused: then it is ours.
void dress(const std::string& file, const std::string& target) {
  struct stat earlier = {};
  const bool isThere = ::stat(target.c_str(), &earlier) == 0;
  if (isThere) static_cast<void>(!chown(file.c_str(), earlier.st_uid, earlier.st_gid));
  const mode_t mode = isThere ? earlier.st_mode & mode_t{07777} : newFileMode();
  static_cast<void>(chmod(file.c_str(), mode));
}

}  // namespace

const char* StagedOutput::stage(const char* path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  if (error || isWrittenDirectly(path)) return nullptr;
  const fs::path target = followLinks(absolute);
  if (target.empty()) return nullptr;
  if (!target.has_filename()) {
    written_ = target.string();
    return written_.c_str();
  }

  target_ = target.string();
  kept_ = absolute.string() + ".partial";
  const std::string name = target.filename().string().substr(0, kMostNameBytes);
  written_ = (target.parent_path() / (name + ".XXXXXX" + kSuffix)).string();
  // All memory is asked for before the file is made: behind that nothing may fail.
  std::string made = written_;
  const std::string keepAs = keepsPartial_ ? kept_ : "";
  const leftovers::SignalPause pause;
  const int file = mkstemps(made.data(), kSuffixLength);
  if (file < 0) {
    written_ = target_ + "/";  // no file has this name
    return written_.c_str();
  }
  close(file);
  std::copy(made.begin(), made.end(), written_.begin());
  file_.emplace(std::move(made), leftovers::Leftover::Kind::kFile, keepAs);
  return written_.c_str();
}

void StagedOutput::commit() {
  if (!file_) return;
  dress(written_, target_);
  if (std::rename(written_.c_str(), target_.c_str()) != 0) {
    throw std::system_error(errno, std::generic_category(), target_);
  }
  file_->keep();
  file_.reset();
}

std::string StagedOutput::giveUp() {
  if (!file_) return "";
  std::string where;
  if (keepsPartial_) {
    dress(written_, target_);
    // On another file system, or over a folder, it keeps the name that it has.
    where = std::rename(written_.c_str(), kept_.c_str()) == 0 ? kept_ : written_;
    file_->keep();
  }
  file_.reset();
  return where;
}

}  // namespace command
