#include "JobFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ReadError.h"

namespace jobreader {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& cause) {
  throw FileError(path + ": " + cause);
}

}  // namespace

JobFile::JobFile(const std::string& path) : path_(path), block_(kBlockBytes) {
  // Without O_NONBLOCK a named pipe would wait for a writer before it can be refused.
  file_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file_ < 0) fail(path, std::strerror(errno));
  struct stat status = {};
  const bool known = ::fstat(file_, &status) == 0;
  if (known && S_ISREG(status.st_mode)) {
    size_ = static_cast<uint64_t>(status.st_size);
    return;
  }
  ::close(file_);
  fail(path, "not a regular file");
}

JobFile::~JobFile() {
  ::close(file_);
}

std::span<const uint8_t> JobFile::peek(size_t atLeast) {
  if (filled_ - next_ < atLeast) fill(std::min(atLeast, kBlockBytes));
  return {block_.data() + next_, filled_ - next_};
}

bool JobFile::nextIs(std::string_view text) {
  const std::span<const uint8_t> next = peek(text.size());
  return next.size() >= text.size() && std::memcmp(next.data(), text.data(), text.size()) == 0;
}

void JobFile::seek(uint64_t offset) {
  if (offset > size_) fail(path_, "the file ends before offset " + std::to_string(offset));
  if (offset >= blockOffset_ && offset <= blockOffset_ + filled_) {
    next_ = static_cast<size_t>(offset - blockOffset_);
    return;
  }
  blockOffset_ = offset;
  filled_ = next_ = 0;
}

void JobFile::fill(size_t atLeast) {
  std::memmove(block_.data(), block_.data() + next_, filled_ - next_);
  blockOffset_ += next_;
  filled_ -= next_;
  next_ = 0;
  while (filled_ < atLeast && blockOffset_ + filled_ < size_) {
    const uint64_t at = blockOffset_ + filled_;
    const size_t wanted =
        static_cast<size_t>(std::min<uint64_t>(block_.size() - filled_, size_ - at));
    const ssize_t got = ::pread(file_, block_.data() + filled_, wanted, static_cast<off_t>(at));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(path_, std::strerror(errno));
    if (got == 0) fail(path_, "the file became shorter while it was read");
    filled_ += static_cast<size_t>(got);
  }
}

}  // namespace jobreader
