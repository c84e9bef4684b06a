// ShortRuns - copies and fills of a few bytes. Most runs in coded rows have no more than 16, and
// two moves that may overlap cover every such length without a call. Nothing outside a run is
// touched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Words.h"

namespace runs {

constexpr size_t kShort = 16;

inline void copy(uint8_t* dst, const uint8_t* src, size_t count) {
  if (count > kShort) {
    std::memcpy(dst, src, count);
  } else if (count >= 8) {
    const uint64_t last = words::load(src + count - 8);
    words::store(dst, words::load(src));
    words::store(dst + count - 8, last);
  } else if (count >= 4) {
    const auto last = words::loadAs<uint32_t>(src + count - 4);
    words::store(dst, words::loadAs<uint32_t>(src));
    words::store(dst + count - 4, last);
  } else {
    for (size_t i = 0; i < count; ++i) dst[i] = src[i];
  }
}

inline void fill(uint8_t* dst, uint8_t byte, size_t count) {
  if (count > kShort) {
    std::memset(dst, byte, count);
  } else if (count >= 8) {
    words::store(dst, words::repeated(byte));
    words::store(dst + count - 8, words::repeated(byte));
  } else if (count >= 4) {
    const auto four = static_cast<uint32_t>(words::repeated(byte));
    words::store(dst, four);
    words::store(dst + count - 4, four);
  } else {
    for (size_t i = 0; i < count; ++i) dst[i] = byte;
  }
}

}  // namespace runs
