// Triples - takes apart 48 bytes of samples in threes: 16 samples of a byte or 8 of two bytes for
// each of the three.
#pragma once

#include "Vectors.h"

#ifdef ODAXGEN_HAS_VECTORS

namespace triples {

using vectors::merged;
using vectors::secondHalf;

/// The samples of one of the three each.
template <class Vector>
struct Three {
  Vector first, second, third;
};

/// Takes 48 bytes apart.
///
/// All samples are riffled like a pack of cards: those of the first half and those of the second in
/// turn. Each time the distance of two neighbours doubles, modulo the size of the pack without its
/// last card; after as many times as it takes to the number of triples, they lie in three heaps.
template <class Vector>
Three<Vector> split(const uint8_t* src) {
  constexpr size_t kTriples = 16 / sizeof(decltype(Vector{}[0]));
  Three<Vector> pack = {vectors::load<Vector>(src), vectors::load<Vector>(src + 16),
                        vectors::load<Vector>(src + 32)};
  for (size_t distance = 1; distance < kTriples; distance *= 2) {
    const auto [a, b, c] = pack;
    pack = {merged(a, secondHalf(b)), merged(secondHalf(a), c), merged(b, secondHalf(c))};
  }
  return pack;
}

}  // namespace triples

#endif
