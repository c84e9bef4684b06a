// KernelTable - every kernel with its plain twin, ready to be run over a row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "BenchRows.h"

namespace bench {

/// What a kernel is run with.
struct KernelInput {
  Bytes row;
  Bytes above;  // the row in front of it, for those that look at it
};

/// What comes of it: up to three rows, filled by the kernel.
struct KernelOutput {
  std::array<Bytes, 3> rows;
  size_t used = 0;  // bytes of the first row, or the answer of a kernel that writes nothing
};

using KernelCall = void (*)(const KernelInput& in, KernelOutput* out);

struct Kernel {
  std::string_view name;
  KernelInput (*prepare)(RowKind kind);
  KernelCall fast, plain;
  /// The bytes of a row that the kernel takes or, for the decoder, gives.
  size_t rowBytes;
  bool looksAtBytes;  // what it does depends on them
};

/// All of them, in the order of a page: from the file to the packet.
std::span<const Kernel> kernels();

/// The rows that a kernel is run over: of every kind, or one where all are the same to it.
std::span<const RowKind> kindsFor(const Kernel& kernel);

/// How a kernel over a row of a kind is called: "hxrc/photo".
std::string nameOf(const Kernel& kernel, RowKind kind);

/// Room for whatever a kernel writes.
KernelOutput makeOutput(const Kernel& kernel);

/// Whether fast and plain make the same of a row.
bool isSameAsPlain(const Kernel& kernel, const KernelInput& in);

}  // namespace bench
