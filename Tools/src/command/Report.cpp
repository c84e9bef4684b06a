#include "Report.h"

#include <cstdio>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>

#include "JobRequest.h"
#include "Subcommands.h"

namespace command {

namespace {

std::string shownCharacter(char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  if (byte >= 0x20 && byte != 0x7F) return {c};
  return {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

}  // namespace

void complain(const std::string& text) {
  std::fprintf(stderr, "odaxgen: %s\n", text.c_str());
}

void complainOfMemory() noexcept {
  std::fputs("odaxgen: out of memory\n", stderr);
}

int guarded(const std::function<int()>& work) {
  try {
    const int exitCode = work();
    // A full disk behind standard output shows at the latest here.
    const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (isWritten || exitCode != kExitDone) return exitCode;
    complain("standard output cannot be written");
  } catch (const jobverify::RefusedConfiguration& refused) {
    complain(printable(refused.path) + ": refused as a configuration with code " +
             std::to_string(refused.code));
  } catch (const std::bad_alloc&) {
    complainOfMemory();
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return kExitFailed;
}

std::optional<jobreader::KnownJob> knownJobOf(const std::string& config) {
  if (config.empty()) return std::nullopt;
  return jobverify::knownJob(jobverify::readRequest(config));
}

std::string printable(const std::string& text) {
  std::string shown;
  for (const char c : text) shown += shownCharacter(c);
  return shown;
}

std::string printableLines(const std::string& text) {
  std::string shown;
  for (const char c : text) shown += c == '\n' ? "\n" : shownCharacter(c);
  return shown;
}

std::vector<std::string> wrapped(const std::string& text, size_t columns) {
  std::vector<std::string> lines;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool fits = !lines.empty() && lines.back().size() + 1 + word.size() <= columns;
    if (fits) {
      lines.back() += " " + word;
    } else {
      lines.push_back(word);
    }
  }
  return lines;
}

void complainWrapped(const std::string& text) {
  constexpr size_t kColumns = 80 - std::string_view("odaxgen: ").size();
  for (const std::string& line : wrapped(text, kColumns)) complain(line);
}

std::string grouped(uint64_t number) {
  std::string digits = std::to_string(number);
  for (size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, ",");
  return digits;
}

std::string counted(uint64_t number, const std::string& noun) {
  return grouped(number) + " " + noun + (number == 1 ? "" : "s");
}

}  // namespace command
