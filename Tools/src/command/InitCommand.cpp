// odaxgen init - writes a small job that runs at once and teaches how to write one.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <forward_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Leftovers.h"
#include "Report.h"
#include "StarterJob.h"
#include "Subcommands.h"

namespace command {

namespace {

namespace fs = std::filesystem;

// What a job accepts for a completed path.
constexpr size_t kLongestPath = 259;

[[noreturn]] void failOn(const fs::path& path, const std::error_code& error) {
  throw std::system_error(error, printable(path.string()));
}

[[noreturn]] void failWithErrno(const fs::path& path) {
  failOn(path, std::error_code(errno, std::generic_category()));
}

std::string notAFolder(const fs::path& path) {
  return printable(path.string()) + ": is not a folder";
}

// Folders and files that are removed again unless all of them could be made.
class NewFiles {
 public:
  /// Makes the folder and what is missing above it. One that is there stays whatever happens.
  void makeFolder(const fs::path& folder) {
    std::vector<fs::path> missing;
    std::error_code error;
    for (fs::path path = folder; !path.empty() && !fs::is_directory(path, error);
         path = path.parent_path()) {
      if (fs::exists(path, error)) throw std::runtime_error(notAFolder(path));
      missing.push_back(path);
    }
    std::reverse(missing.begin(), missing.end());
    for (const fs::path& path : missing) {
      const leftovers::SignalPause untilMade;
      made_.emplace_front(path.string(), leftovers::Leftover::Kind::kFolder);
      if (fs::create_directory(path, error)) continue;
      forgetLast();
      if (error) failOn(path, error);
    }
  }

  void write(const fs::path& path, const std::string& content) {
    std::FILE* file = nullptr;
    {
      const leftovers::SignalPause untilMade;
      made_.emplace_front(path.string(), leftovers::Leftover::Kind::kFile);
      // "x": what somebody else puts there in the meantime is not overwritten.
      file = std::fopen(path.c_str(), "wbx");
      if (file == nullptr) {
        const int cause = errno;
        forgetLast();
        failOn(path, std::error_code(cause, std::generic_category()));
      }
    }
    const bool isWritten = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const int writeError = errno;
    const bool isClosed = std::fclose(file) == 0;
    if (isWritten && isClosed) return;
    if (!isWritten) errno = writeError;
    failWithErrno(path);
  }

  void keep() {
    const leftovers::SignalPause untilAllAreKept;
    for (leftovers::Leftover& one : made_) one.keep();
  }

 private:
  // Something is registered before it is made: behind its making no memory may be asked for. What
  // could not be made is not ours.
  void forgetLast() {
    made_.front().keep();
    made_.pop_front();
  }

  // The youngest first: files are removed before their folders.
  std::forward_list<leftovers::Leftover> made_;
};

void refuseUnfit(const fs::path& folder, const std::vector<StarterFile>& files) {
  const std::string name = printable(folder.string());
  std::error_code error;
  // "new/.." is a folder that is there once "new" is made.
  const fs::path resolved = fs::weakly_canonical(folder, error);
  if (error) failOn(folder, error);
  if (fs::exists(resolved, error)) {
    if (!fs::is_directory(resolved, error)) throw std::runtime_error(notAFolder(folder));
    const bool isEmpty = fs::is_empty(resolved, error);
    if (error) failOn(folder, error);
    if (!isEmpty) throw std::runtime_error(name + ": the folder is not empty");
  }
  const fs::path whole = fs::absolute(folder);
  for (const StarterFile& file : files) {
    if ((whole / file.name).string().size() <= kLongestPath) continue;
    throw std::runtime_error(name + ": the path is too long for a job");
  }
}

void writeAll(const fs::path& folder, const std::vector<StarterFile>& files) {
  NewFiles made;
  for (const StarterFile& file : files) {
    const fs::path path = folder / file.name;
    made.makeFolder(path.parent_path());
    made.write(path, file.content);
  }
  made.keep();
}

// As it is typed in a shell.
std::string shellWord(const fs::path& path) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./+,:@%=";
  std::string text = (path.string().starts_with('-') ? "./" : "") + path.string();
  if (text.find_first_not_of(kPlain) == std::string::npos) return text;
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return printable(word + "'");
}

std::string nextSteps(const fs::path& folder) {
  const std::string config = shellWord(folder / kStarterConfiguration);
  const std::string output = shellWord(folder / kStarterOutput);
  const std::string pictures = shellWord(folder / "pictures");
  return "\nWhat to type next:\n"
         "  odaxgen check " +
         config + "\n  odaxgen run " + config + "\n  odaxgen verify " + config +
         "\n  odaxgen render " + output + " -o " + pictures + " --config " + config + "\n";
}

int init(const std::string& name) {
  const fs::path folder(name);
  const std::vector<StarterFile> files = starterJob();
  refuseUnfit(folder, files);
  // What is said asks for memory; when the files are there nothing may fail any more.
  std::string text;
  for (const StarterFile& file : files) text += printable((folder / file.name).string()) + "\n";
  text += nextSteps(folder);
  writeAll(folder, files);
  std::fputs(text.c_str(), stdout);
  return kExitDone;
}

std::string refuseEmptyFolder(const std::string& folder) {
  return folder.empty() ? "the name is empty" : "";
}

}  // namespace

void addInit(CLI::App& app, int& exitCode) {
  CLI::App* sub = app.add_subcommand("init", "Write a small job with notes, to start from");
  auto folder = std::make_shared<std::string>();
  sub->add_option("FOLDER", *folder, "where to: a new folder, or an empty one")
      ->required()
      ->check(CLI::Validator(refuseEmptyFolder, ""));
  sub->footer(
      "\nExit codes: 0 done; 1 the folder is not empty or cannot be written; 2 wrong usage.\n");
  sub->callback([folder, &exitCode] { exitCode = guarded([&] { return init(*folder); }); });
}

}  // namespace command
