#include "ExpectedRows.h"

#include <algorithm>
#include <cstring>

namespace jobverify {

namespace {

constexpr uint16_t kWhiteIsZero = 0;
constexpr uint16_t kSeparated = 5;

constexpr int kDotDepth = 1;

// Two levels do not begin at the middle: light tints drop out instead of filling in.
constexpr unsigned kSecondOfTwo = 140;

unsigned lowBits(unsigned count) {
  return (1U << count) - 1;
}

}  // namespace

size_t sentRowBytes(const PlaneRequest& plane) {
  const uint64_t width = plane.width;
  if (plane.isHalved) return static_cast<size_t>(2 * width);
  const auto depth = static_cast<uint64_t>(std::max(plane.depth, 0));
  return static_cast<size_t>((width * depth + 7) / 8);
}

unsigned levelOf(unsigned ink, int levels, int depth) {
  if (levels == 2) return ink < kSecondOfTwo ? 0 : 1;
  if (levels == 0) levels = 1 << depth;
  return ink * static_cast<unsigned>(levels) / 256;
}

ExpectedRows::ExpectedRows(const PlaneRequest& plane, const ImageFacts& facts)
    : plane_(plane), size_(sentRowBytes(plane)) {
  if (!plane.hasSamples) return;
  layout_ = layoutOf(facts.bits);
  samplesPerPixel_ = facts.samples;
  channel_ = static_cast<size_t>(std::max(plane.source.channel, 0));
  chooseInversion(facts);
  if (layout_ == Layout::kReduced) fillTable();
}

ExpectedRows::Layout ExpectedRows::layoutOf(unsigned bits) const {
  if (bits == 1) return Layout::kBits;
  if (bits == 8) return Layout::kReduced;
  return plane_.isDeep && plane_.source.isRgb ? Layout::kDeep : Layout::kWords;
}

void ExpectedRows::chooseInversion(const ImageFacts& facts) {
  const bool inkGrows = facts.photometric == kWhiteIsZero || facts.photometric == kSeparated;
  const bool asStored = plane_.raw || plane_.source.isRgb;
  // Files of one bit that call themselves separated are inverted all the same.
  const bool fits = facts.bits == 1 ? facts.photometric == kWhiteIsZero : inkGrows;
  inverts_ = !asStored && !fits;
  zeroIsNoDot_ = plane_.raw || inkGrows;
  // The last group of samples is filled up with white, which is then inverted with the others.
  padsWithOnes_ = plane_.source.isRgb || (plane_.raw && !inkGrows);
}

void ExpectedRows::fillTable() {
  for (unsigned sample = 0; sample < table_.size(); ++sample)
    table_[sample] = static_cast<uint8_t>(reduced(sample));
}

unsigned ExpectedRows::reduced(unsigned sample) const {
  // The sign of the byte decides about a dot: from 128 on there is none.
  if (plane_.depth == kDotDepth) return sample < 128 && (sample > 0 || !zeroIsNoDot_) ? 1 : 0;
  const unsigned ink = inverts_ ? 255 - sample : sample;
  if (plane_.depth == 8) return ink;
  const unsigned level = plane_.samplesAreLevels ? ink : levelOf(ink, plane_.levels, plane_.depth);
  return level & lowBits(static_cast<unsigned>(plane_.depth));
}

void ExpectedRows::clear(std::span<uint8_t> row) const {
  std::fill(row.begin(), row.end(), plane_.clearedByte());
}

void ExpectedRows::pack(std::span<const uint8_t> samples, std::span<uint8_t> row) const {
  switch (layout_) {
    case Layout::kBits:
      packBits(samples, row);
      break;
    case Layout::kReduced:
      packReduced(samples, row);
      break;
    case Layout::kWords:
      packWords(samples, row);
      break;
    case Layout::kDeep:
      packDeep(samples, row);
      break;
  }
}

void ExpectedRows::packBits(std::span<const uint8_t> samples, std::span<uint8_t> row) const {
  const uint8_t flip = inverts_ ? 0xFF : 0x00;
  for (size_t i = 0; i < row.size(); ++i) row[i] = static_cast<uint8_t>(samples[i] ^ flip);
  const unsigned used = plane_.width % 8;
  if (used != 0) row.back() &= static_cast<uint8_t>(0xFF00U >> used);
}

void ExpectedRows::packReduced(std::span<const uint8_t> samples, std::span<uint8_t> row) const {
  const auto depth = static_cast<unsigned>(plane_.depth);
  const size_t perByte = 8 / depth;
  const uint8_t* sample = samples.data() + channel_;
  size_t left = plane_.width;
  for (uint8_t& byte : row) {
    const size_t count = std::min(perByte, left);
    unsigned bits = 0;
    for (size_t i = 0; i < count; ++i, sample += samplesPerPixel_)
      bits = bits << depth | table_[*sample];
    byte = static_cast<uint8_t>(bits << (8 - count * depth));
    left -= count;
  }
}

unsigned ExpectedRows::wordAt(std::span<const uint8_t> samples, size_t x) const {
  uint16_t word = 0;
  std::memcpy(&word, samples.data() + (x * samplesPerPixel_ + channel_) * sizeof word, sizeof word);
  const unsigned sample = inverts_ ? 0xFFFFU - word : word;
  return sample >> (16 - static_cast<unsigned>(plane_.depth));
}

// The packed pixels may take less than the row: the bytes behind them stay cleared.
void ExpectedRows::packWords(std::span<const uint8_t> samples, std::span<uint8_t> row) const {
  const auto depth = static_cast<unsigned>(plane_.depth);
  clear(row);
  uint64_t bits = 0;
  unsigned waiting = 0;
  size_t at = 0;
  for (size_t x = 0; x < plane_.width; ++x) {
    bits = bits << depth | wordAt(samples, x);
    for (waiting += depth; waiting >= 8; waiting -= 8)
      row[at++] = static_cast<uint8_t>(bits >> (waiting - 8));
  }
  if (waiting == 0) return;
  const unsigned missing = 8 - waiting;
  const unsigned pad = padsWithOnes_ ? lowBits(missing) : 0;
  row[at] = static_cast<uint8_t>(bits << missing | pad);
}

// Two bytes per sample, the bits above it set. Where the row is sent as if it were packed, it ends
// in the middle of them.
void ExpectedRows::packDeep(std::span<const uint8_t> samples, std::span<uint8_t> row) const {
  const unsigned above = 0xFFFFU & ~lowBits(static_cast<unsigned>(plane_.depth));
  for (size_t at = 0; at < row.size(); ++at) {
    const unsigned word = above | wordAt(samples, at / 2);
    row[at] = static_cast<uint8_t>(at % 2 == 0 ? word >> 8 : word);
  }
}

}  // namespace jobverify
