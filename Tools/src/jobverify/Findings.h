// Findings - fills in a verdict: counts what is found, and keeps as much of it as can be read.
#pragma once

#include <cstdint>
#include <string>

#include "JobVerifier.h"

namespace jobverify {

constexpr size_t kMaxNotes = 100;

/// A byte as two digits.
inline std::string hexByte(uint8_t byte) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  return {kDigits[byte >> 4], kDigits[byte & 15]};
}

class Findings {
 public:
  /// @param verdict  borrowed
  explicit Findings(Verdict& verdict) : verdict_(verdict) {}

  [[nodiscard]] Verdict& verdict() { return verdict_; }

  /// True while the text of a further difference would be kept: saves making it.
  [[nodiscard]] bool keepsDifferences() const {
    return verdict_.differences.size() < kMaxDifferences;
  }
  void addDifference(const std::string& text) {
    ++verdict_.differenceCount;
    if (keepsDifferences()) verdict_.differences.push_back(text);
  }
  /// Differences without a text of their own.
  void countDifferences(uint64_t count) { verdict_.differenceCount += count; }

  void addNotCompared(const std::string& text) { verdict_.notCompared.push_back(text); }
  void addNote(const std::string& text) {
    if (verdict_.notes.size() < kMaxNotes) verdict_.notes.push_back(text);
  }

 private:
  Verdict& verdict_;
};

}  // namespace jobverify
