#include "Capture.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

Capture::Stream::Stream(int descriptor) : descriptor_(descriptor) {
  std::fflush(nullptr);
  saved_ = dup(descriptor);
  char name[] = "/tmp/odaxgen-capture-XXXXXX";
  file_ = mkstemp(name);
  if (file_ < 0) throw std::runtime_error("cannot make a capture file");
  unlink(name);
  dup2(file_, descriptor);
}

Capture::Stream::~Stream() {
  std::fflush(nullptr);
  dup2(saved_, descriptor_);
  close(saved_);
  close(file_);
}

std::string Capture::Stream::text() const {
  std::fflush(nullptr);
  std::string text;
  std::array<char, 4096> block{};
  for (off_t at = 0;;) {
    const ssize_t got = pread(file_, block.data(), block.size(), at);
    if (got <= 0) return text;
    text.append(block.data(), static_cast<size_t>(got));
    at += got;
  }
}

Capture::Capture() : out_(STDOUT_FILENO), err_(STDERR_FILENO) {}
Capture::~Capture() = default;

std::string Capture::out() {
  return out_.text();
}
std::string Capture::err() {
  return err_.text();
}
