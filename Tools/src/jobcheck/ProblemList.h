// ProblemList - collects the problems of a job, and the words that their texts share.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Problem.h"

namespace jobcheck {

/// A file, and a line of it from 1; 0: the file as a whole.
struct Place {
  std::string file;
  int line = 0;
};

class ProblemList {
 public:
  void error(const Place& place, int code, const std::string& text, const std::string& hint = "");
  /// An error that ends the job with a text instead of a code.
  void errorText(const Place& place, const std::string& thrown, const std::string& text,
                 const std::string& hint = "");
  void warn(const Place& place, const char* id, const std::string& text,
            const std::string& hint = "");

  /// Moves what another list has to the end of this one; the other is empty then.
  void append(ProblemList& other);

  [[nodiscard]] size_t size() const { return problems_.size(); }
  [[nodiscard]] bool hasErrors() const;
  [[nodiscard]] std::vector<Problem> take() { return std::move(problems_); }

 private:
  std::vector<Problem> problems_;
};

/// "text" in quotes, with the middle of a long one left out.
std::string quoted(const std::string& text);

/// "1 row", "2 rows".
std::string counted(uint64_t number, const std::string& noun);

/// "a", "a and b", "a, b and c".
std::string joined(const std::vector<std::string>& words);

/// The name of a file without its folders.
std::string fileName(const std::string& path);

}  // namespace jobcheck
