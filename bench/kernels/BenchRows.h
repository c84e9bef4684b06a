// BenchRows - rows as print shops have them, for measuring kernels: the same bytes everywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace bench {

using Bytes = std::vector<uint8_t>;

/// What a row goes through. Mixed is most of a page: paper, then a line of text, then a photo.
enum class RowKind { kWhite, kText, kGradient, kPhoto, kMixed };
constexpr std::array<std::string_view, 5> kRowKindNames = {"white", "text", "gradient", "photo",
                                                           "mixed"};

constexpr size_t kRowSamples = 9920;  // the width of an A2 sheet at 600 dpi

/// Row `y` of samples, 0 for paper. Rows that follow each other look alike.
Bytes makeSamples(RowKind kind, size_t y);
/// The same as 1 bit per sample, as a screen of one dot.
Bytes makeBits(RowKind kind, size_t y);
/// The same as `channels` samples in each dot, of one byte or of two, high byte first. The channels
/// differ a little.
Bytes makePixels(RowKind kind, size_t y, size_t channels, size_t sampleBytes);

}  // namespace bench
