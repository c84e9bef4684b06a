// Vectors - 16 bytes at a time, in vectors of the compiler, not of one processor. A compiler that
// does not have them goes sample by sample, and so does a machine that has the high byte first.
#pragma once

#include <cstdint>
#include <cstring>

#if defined(__has_builtin) && defined(__BYTE_ORDER__)
#if __has_builtin(__builtin_shufflevector) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define ODAXGEN_HAS_VECTORS 1
#endif
#endif

#ifdef ODAXGEN_HAS_VECTORS

namespace vectors {

using Bytes = uint8_t __attribute__((vector_size(16)));
using Words = uint16_t __attribute__((vector_size(16)));  // the first byte is the low one
using Halves = uint64_t __attribute__((vector_size(16)));

template <class Vector>
Vector load(const uint8_t* bytes) {
  Vector vector;
  std::memcpy(&vector, bytes, sizeof vector);
  return vector;
}
template <class Vector>
void store(uint8_t* bytes, Vector vector) {
  std::memcpy(bytes, &vector, sizeof vector);
}

/// One by one in turn, from the first half of each.
inline Bytes merged(Bytes a, Bytes b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
inline Words merged(Words a, Words b) {
  return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
}

/// The same from the second half of each.
inline Bytes mergedEnds(Bytes a, Bytes b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15,
                                 31);
}

template <class Vector>
Vector secondHalf(Vector v) {
  const auto halves = reinterpret_cast<Halves>(v);
  return reinterpret_cast<Vector>(__builtin_shufflevector(halves, halves, 1, 1));
}

/// Every second byte of both, from the first one on.
inline Bytes evenBytes(Words first, Words second) {
  return __builtin_shufflevector(reinterpret_cast<Bytes>(first), reinterpret_cast<Bytes>(second), 0,
                                 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}

}  // namespace vectors

#endif
