// ErrorAdvice - what each error code of a job means, why it happens and what to do.
// A table and nothing else: knows neither the library nor the terminal.
#pragma once

#include <span>

namespace command {

/// One code. The texts are ASCII without line ends and live as long as the program.
struct ErrorAdvice {
  int code;
  const char* title;     ///< what happened: a clause of at most 72 characters, no full stop
  const char* why;       ///< the causes, the frequent ones first; whole sentences
  const char* whatToDo;  ///< one to three short sentences, fit to stand under the code
  bool isUsed = true;    ///< false for a number that no job ends with
};

constexpr int kFirstErrorCode = -3;
constexpr int kLastErrorCode = -80;

/// @return the advice for `code`, also for a number of the range that no job ends with; null for
///         every number outside of kFirstErrorCode to kLastErrorCode
const ErrorAdvice* adviceFor(int code);

/// All of them, from kFirstErrorCode down to kLastErrorCode without a gap.
std::span<const ErrorAdvice> allAdvice();

}  // namespace command
