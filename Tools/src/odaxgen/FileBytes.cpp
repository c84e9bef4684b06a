#include "FileBytes.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

bool FileBytes::open(const char* path) {
  file_.reset(my_fopen(path, "rb"));
  path_ = path;
  position_ = 0;
  next_ = end_ = 0;
  isAtEnd_ = false;
  if (file_ == nullptr) return false;
  // The block below is the buffer; a second one inside the stream would only be copied through.
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  return true;
}

size_t FileBytes::readStream(void* dst, size_t count) {
  if (file_ == nullptr || isAtEnd_) return 0;
  const size_t got = std::fread(dst, 1, count, file_.get());
  isAtEnd_ = got < count;
  position_ += got;
  if (isAtEnd_ && std::ferror(file_.get()) != 0) tellReadFailure(path_, errno);
  return got;
}

FileBytes::View FileBytes::peek() {
  if (next_ == end_) {
    next_ = 0;
    end_ = readStream(block_, sizeof block_);
  }
  return {block_ + next_, buffered()};
}

size_t FileBytes::read(void* dst, size_t count) {
  auto* out = static_cast<uint8_t*>(dst);
  size_t done = 0;
  while (done < count) {
    // A request larger than the block goes straight to its destination.
    if (next_ == end_ && count - done >= sizeof block_) {
      next_ = end_ = 0;
      return done + readStream(out + done, count - done);
    }
    const View view = peek();
    if (view.count == 0) return done;
    const size_t part = std::min(view.count, count - done);
    std::memcpy(out + done, view.bytes, part);
    skip(part);
    done += part;
  }
  return done;
}

// A position that the system refuses for being too far lies behind the end of any file.
void FileBytes::moveStream(uint64_t offset) {
  if (offset <= static_cast<uint64_t>(std::numeric_limits<off_t>::max())) {
    if (fseeko(file_.get(), static_cast<off_t>(offset), SEEK_SET) == 0) return;
    if (errno != EINVAL && errno != EOVERFLOW) tellReadFailure(path_, errno);
  }
  fseeko(file_.get(), 0, SEEK_END);
  position_ = static_cast<uint64_t>(std::max<off_t>(ftello(file_.get()), 0));
}

void FileBytes::seek(uint64_t offset) {
  const uint64_t blockStart = position_ - end_;
  if (offset >= blockStart && offset <= position_) {
    next_ = static_cast<size_t>(offset - blockStart);
    return;
  }
  next_ = end_ = 0;
  position_ = offset;
  isAtEnd_ = false;
  if (file_ != nullptr) moveStream(offset);
}

uint64_t FileBytes::size() {
  if (file_ == nullptr) return 0;
  const bool isAtItsEnd = fseeko(file_.get(), 0, SEEK_END) == 0;
  const off_t end = isAtItsEnd ? ftello(file_.get()) : -1;
  const bool isBack = fseeko(file_.get(), static_cast<off_t>(position_), SEEK_SET) == 0;
  if (end < 0 || !isBack) {
    if (errno != ESPIPE) tellReadFailure(path_, errno);  // a pipe has no size
    return 0;
  }
  return end == std::numeric_limits<off_t>::max() ? 0 : static_cast<uint64_t>(end);
}
