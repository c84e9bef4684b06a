// Limits - sizes that several modules share.
#pragma once

#include <cstddef>

constexpr size_t kPathBytes = 260;     // a path buffer: 259 characters and the NUL
constexpr size_t kLineBytes = 1024;    // a line, key or value buffer: 1023 characters and the NUL
constexpr size_t kMaxOverrides = 128;  // override pairs of one job
constexpr int kBandRows = 300;         // rows of one band; every pixel buffer is this high
