// Capture - collects what is written to standard output and standard error while it lives.
#pragma once

#include <string>

class Capture {
 public:
  Capture();
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  /// What has been written so far, since the capture began.
  std::string out();
  std::string err();

 private:
  class Stream {
   public:
    explicit Stream(int descriptor);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    [[nodiscard]] std::string text() const;

   private:
    int descriptor_;
    int saved_;
    int file_;
  };
  Stream out_;
  Stream err_;
};

/// What a call writes to standard error. Asserting is for afterwards: what an assertion says while
/// the streams are captured goes into the capture.
template <class Call>
std::string errorsOf(Call&& call) {
  Capture capture;
  call();
  return capture.err();
}
