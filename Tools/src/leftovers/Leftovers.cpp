#include "Leftovers.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

namespace leftovers {

namespace {

constexpr size_t kSlots = 64;
constexpr std::array<int, 6> kWatched = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXCPU};

// What the handler sees. It may run between any two instructions, so a slot is marked as used last
// and as free first, and holds plain bytes only.
struct Slot {
  volatile std::sig_atomic_t isUsed = 0;
  Leftover::Kind kind = Leftover::Kind::kFile;
  char path[PATH_MAX] = {};
  char keepAs[PATH_MAX] = {};
};

// Module state.
std::array<Slot, kSlots> sSlots;
Tell sTell = nullptr;  // null: failures are nobody's business

void removeNow(const Slot& slot) {
  if (slot.kind == Leftover::Kind::kFolder) {
    static_cast<void>(rmdir(slot.path));
  } else if (slot.keepAs[0] != '\0') {
    static_cast<void>(std::rename(slot.path, slot.keepAs));
  } else {
    static_cast<void>(unlink(slot.path));
  }
}

void removeAllAndEnd(int number) {
  removeAll();
  // The handler is gone by now (SA_RESETHAND): the signal ends the process as it always does.
  static_cast<void>(raise(number));
}

sigset_t watchedSet() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kWatched) sigaddset(&set, number);
  return set;
}

bool fits(const std::string& path) {
  return path.size() < PATH_MAX;
}

size_t takeSlot(const std::string& path, Leftover::Kind kind, const std::string& keepAs) {
  if (!fits(path) || !fits(keepAs)) return kSlots;
  for (size_t i = 0; i < kSlots; ++i) {
    Slot& slot = sSlots.at(i);
    if (slot.isUsed != 0) continue;
    slot.kind = kind;
    std::memcpy(slot.path, path.c_str(), path.size() + 1);
    std::memcpy(slot.keepAs, keepAs.c_str(), keepAs.size() + 1);
    slot.isUsed = 1;
    return i;
  }
  return kSlots;
}

}  // namespace

// The youngest first: a file before its folder. Only calls that are allowed in a handler.
void removeAll() noexcept {
  for (size_t i = kSlots; i-- > 0;) {
    const Slot& slot = sSlots[i];
    if (slot.isUsed != 0) removeNow(slot);
  }
}

void onFailure(Tell tell) {
  sTell = tell;
}

void watchSignals() {
  std::signal(SIGXFSZ, SIG_IGN);
  struct sigaction action = {};
  action.sa_handler = removeAllAndEnd;
  action.sa_mask = watchedSet();
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int number : kWatched) {
    struct sigaction before = {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler == SIG_DFL) sigaction(number, &action, nullptr);
  }
}

Leftover::Leftover(std::string path, Kind kind, const std::string& keepAs) noexcept
    : path_(std::move(path)), kind_(kind), slot_(takeSlot(path_, kind, keepAs)) {}

Leftover::~Leftover() {
  if (!isKept_) remove();
  if (slot_ < kSlots) sSlots.at(slot_).isUsed = 0;
}

void Leftover::remove() const noexcept {
  const int result = kind_ == Kind::kFolder ? rmdir(path_.c_str()) : unlink(path_.c_str());
  // Whoever used the file may have removed it.
  if (result != 0 && errno != ENOENT && sTell != nullptr) sTell(path_.c_str(), errno);
}

void Leftover::keep() {
  isKept_ = true;
  if (slot_ < kSlots) sSlots.at(slot_).isUsed = 0;
  slot_ = kSlots;
}

SignalPause::SignalPause() {
  const sigset_t set = watchedSet();
  sigprocmask(SIG_BLOCK, &set, &before_);
}

SignalPause::~SignalPause() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace leftovers
