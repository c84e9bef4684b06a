// Leftovers - files and folders that must not outlive the process, whichever way it ends: their
// owners remove them, and a signal that ends the process does.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace leftovers {

/// Makes SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE and SIGXCPU remove what is left before they end
/// the process as they always do. A signal that the parent ignores stays ignored. A file that
/// grows over its limit is from now on a failed write instead of a signal.
void watchSignals();

/// Removes what is registered, at once and without touching memory of its own: for a process that
/// cannot go on. What was made to be kept under another name is renamed, as by a signal.
void removeAll() noexcept;

/// Who is told that something could not be removed by its owner; null: nobody.
using Tell = void (*)(const char* path, int error) noexcept;
void onFailure(Tell tell);

/// One file or empty folder that is removed with its owner. At most 64 live at a time; further ones
/// are removed by their owners only.
class Leftover {
 public:
  enum class Kind { kFile, kFolder };

  /// Asks for no memory when the path is moved in, so that it cannot fail behind the making of a
  /// file.
  /// @param path    where it is; a relative one starts at the folder that is current at the end
  /// @param keepAs  not empty: a signal renames the file to this instead of removing it
  Leftover(std::string path, Kind kind, const std::string& keepAs = "") noexcept;
  ~Leftover();
  Leftover(const Leftover&) = delete;
  Leftover& operator=(const Leftover&) = delete;

  /// It has become something to keep.
  void keep();
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  void remove() const noexcept;

  std::string path_;
  Kind kind_;
  bool isKept_ = false;
  size_t slot_;
};

/// While one of these lives no watched signal comes through: for the moment between making a file
/// and registering it.
class SignalPause {
 public:
  SignalPause();
  ~SignalPause();
  SignalPause(const SignalPause&) = delete;
  SignalPause& operator=(const SignalPause&) = delete;

 private:
  sigset_t before_;
};

}  // namespace leftovers
