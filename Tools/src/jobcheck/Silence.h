// Silence - takes the library's messages and its echo away while it lives.
#pragma once

#include "CLibrary.h"

namespace jobcheck {

class Silence : public ErrorSink {
 public:
  void take(const char* /*text*/) override {}

 private:
  QuietEcho echo_;
};

/// What a call of the library throws; 0: nothing.
template <class Call>
int codeOf(Call&& call) {
  try {
    call();
    return 0;
  } catch (int code) {
    return code;
  }
}

}  // namespace jobcheck
