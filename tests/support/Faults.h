// Faults - makes calls of the C library that the library under test uses fail on demand. The
// linker routes them through here; the list of them stands in tests/CMakeLists.txt.
#pragma once

enum class Fault {
  kAllocation,   // every way in which the library asks for memory
  kOpen,         // refused to us
  kTooManyOpen,  // refused to everybody
  kRead,         // an error
  kShortRead,    // less than was asked for, and no error: the file has become shorter
  kWrite,        // half of it gets there
  kSeek,
  kFlush,
  kClose,
  kRemove,
  kLookUp,  // what tells whether a file exists and where the program is
};
inline constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kOpen,      Fault::kTooManyOpen,
                                    Fault::kRead,       Fault::kShortRead, Fault::kWrite,
                                    Fault::kSeek,       Fault::kFlush,     Fault::kClose,
                                    Fault::kRemove,     Fault::kLookUp};
const char* nameOf(Fault fault);

/// While it lives, the n-th call (from 1) of one kind fails; only that one, or that one and all
/// later ones. 0: none, the calls are only counted.
class FaultInjection {
 public:
  FaultInjection(Fault fault, int n, bool goesOn = false);
  ~FaultInjection();
  FaultInjection(const FaultInjection&) = delete;
  FaultInjection& operator=(const FaultInjection&) = delete;

  /// Whether the call came.
  [[nodiscard]] bool hasStruck() const;
  /// How many calls of the kind there were so far, in the injection that lives.
  static int calls();
};
