// Faults - makes calls of the C library that the library under test uses fail on demand. The
// linker routes malloc's zeroing form, the allocating operators, fopen and remove through here.
#pragma once

#include <string>

enum class Fault { kAllocation, kOpen, kRemove };

/// While it lives, the n-th call (from 1) of one kind fails; only that one.
class FaultInjection {
 public:
  FaultInjection(Fault fault, int n);
  ~FaultInjection();
  FaultInjection(const FaultInjection&) = delete;
  FaultInjection& operator=(const FaultInjection&) = delete;

  /// Whether the call came.
  [[nodiscard]] bool hasStruck() const;
};
