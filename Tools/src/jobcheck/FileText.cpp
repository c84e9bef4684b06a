#include "FileText.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "CLibrary.h"
#include "Limits.h"
#include "TextLine.h"

namespace jobcheck {

namespace {

bool isLineEnd(char c) {
  return c == '\r' || c == '\n';
}

// Reads lines with the library's own reader, whose buffer keeps what earlier lines left in it.
class LineReader {
 public:
  explicit LineReader(const std::string& content)
      : content_(content),
        file_(content.empty() ? nullptr
                              : fmemopen(const_cast<char*>(content.data()), content.size(), "r")) {
    if (file_ == nullptr && !content.empty()) throw std::bad_alloc();
  }

  bool next(TextLine& line) {
    if (file_ == nullptr) return false;
    line.count = 0;
    if (sReadLine(buffer_.data(), static_cast<int>(buffer_.size()), file_.get(), &line.count) ==
        nullptr) {
      return false;
    }
    line.text = buffer_.data();
    line.readNumber = ++readNumber_;
    measure(line);
    return true;
  }

 private:
  // Follows the same lines in the content.
  void measure(TextLine& line) {
    const size_t begin = at_;
    while (at_ < content_.size() && !isLineEnd(content_[at_])) ++at_;
    line.fullSize = at_ - begin;
    const bool isSecondHalf = begin > 0 && begin < content_.size() && content_[begin] == '\n' &&
                              content_[begin - 1] == '\r';
    if (!isSecondHalf) ++number_;
    line.number = number_;
    if (at_ < content_.size()) ++at_;
  }

  const std::string& content_;
  CFile file_;
  std::array<char, kLineBytes> buffer_ = {};
  size_t at_ = 0;
  int number_ = 0;
  int readNumber_ = 0;
};

}  // namespace

FileKind kindOf(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return FileKind::kMissing;
  if (S_ISREG(status.st_mode)) return FileKind::kRegular;
  return S_ISDIR(status.st_mode) ? FileKind::kFolder : FileKind::kSpecial;
}

bool cannotOpen() {
  if (errno == ENOMEM) throw std::bad_alloc();
  return false;
}

bool FileText::read(const std::string& path) {
  content_.clear();
  const CFile file(my_fopen(path.c_str(), "rb"));
  if (file == nullptr) return cannotOpen();
  std::array<char, 65536> piece{};
  while (content_.size() < kMostBytes) {
    const size_t got = std::fread(piece.data(), 1, piece.size(), file.get());
    if (got == 0) break;
    content_.append(piece.data(), got);
  }
  if (std::ferror(file.get()) != 0) tellReadFailure(path.c_str(), errno);
  return true;
}

void FileText::forEachLine(const std::function<void(const TextLine&)>& visit) const {
  LineReader reader(content_);
  for (TextLine line; reader.next(line);) visit(line);
}

}  // namespace jobcheck
