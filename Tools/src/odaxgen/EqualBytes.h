// EqualBytes - finds where the bytes of two rows are equal, from one such place to the next instead
// of byte by byte: one bit says it of a byte, and 64 of them are looked at at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "ByteMasks.h"
#include "Words.h"

class EqualBytes {
 public:
  /// @param count  bytes of each
  EqualBytes(const uint8_t* a, const uint8_t* b, int count) : a_(a), b_(b), count_(count) {}

  /// The first place in [from, end) at which the bytes differ; `end` without.
  int firstDifferent(int from, int end) {
    return first(from, end, [this] { return ~equal_; });
  }
  /// The first place in [from, end) at which they are equal, and at the one behind it too.
  int firstTwoEqual(int from, int end) {
    return first(from, end, [this] { return twoEqual_; });
  }

  /// Calls `visit` with beginning and end of every run of bytes that differ, until it returns
  /// false.
  template <class Visit>
  void forEachDifference(Visit visit) {
    int begin = 0;        // of the run that is open
    uint64_t before = 0;  // 1 when the byte before a block differs: a run is open
    for (int block = 0; block < count_; block += kPlaces) {
      show(block);
      uint64_t different = ~equal_;
      const int left = count_ - block;
      if (left < kPlaces) different &= ~(~uint64_t{0} << left);
      if ((different | before) == 0) continue;
      // Beginnings and ends are found apart, so that no run waits for the one before.
      const uint64_t following = different << 1 | before;
      uint64_t begins = different & ~following;
      uint64_t ends = following & ~different;
      if (before != 0 && ends != 0) {
        if (!visit(begin, block + words::lowestBit(ends))) return;
        ends = words::withoutLowestBit(ends);
      }
      while (ends != 0) {
        if (!visit(block + words::lowestBit(begins), block + words::lowestBit(ends))) return;
        begins = words::withoutLowestBit(begins);
        ends = words::withoutLowestBit(ends);
      }
      if (begins != 0) begin = block + words::lowestBit(begins);
      before = different >> (kPlaces - 1);
    }
    if (before != 0) visit(begin, count_);
  }

 private:
  static constexpr int kPlaces = masks::kBytes;
  static constexpr int kNone = -1;

  template <class Select>
  int first(int from, int end, Select select) {
    while (from < end) {
      const int block = from - from % kPlaces;
      if (block != shown_) show(block);
      const uint64_t found = select() >> (from - block);
      if (found != 0) return std::min(from + std::countr_zero(found), end);
      from = block + kPlaces;
    }
    return end;
  }

  void show(int block) {
    shown_ = block;
    const int left = count_ - block;
    if (left >= kPlaces) {
      equal_ = masks::equal(a_ + block, b_ + block);
    } else {
      equal_ = 0;
      for (int i = 0; i < left; ++i) equal_ |= uint64_t{a_[block + i] == b_[block + i]} << i;
    }
    const bool isNextEqual = left > kPlaces && a_[block + kPlaces] == b_[block + kPlaces];
    twoEqual_ = equal_ & (equal_ >> 1 | uint64_t{isNextEqual} << (kPlaces - 1));
  }

  const uint8_t* a_;
  const uint8_t* b_;
  int count_;
  int shown_ = kNone;      // the place that the lowest bit stands for
  uint64_t equal_ = 0;     // a bit for each place from there on
  uint64_t twoEqual_ = 0;  // where they are equal, and at the next place too
};
