// DecodedRows - the job reader's row decoders as functions of bytes, for comparing in one line.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <utility>

#include "RowDecoders.h"
#include "TempFolder.h"

/// The bytes that a PackBits code stands for.
inline Bytes decodePackBits(const Bytes& code) {
  Bytes row;
  jobreader::decodePackBits(code, row);
  return row;
}

/// The row that a delta-row code makes of the seed row.
inline Bytes decodeDeltaRow(const Bytes& code, Bytes seed) {
  jobreader::decodeDeltaRow(code, seed);
  return seed;
}

/// The row of `rowBytes` bytes that an HXRC code stands for.
/// @param above  the previous row, or null when the receiver has none
inline Bytes decodeHxrc(const Bytes& code, const Bytes* above, size_t rowBytes) {
  Bytes row;
  jobreader::decodeHxrc(
      code, above != nullptr ? std::optional<std::span<const uint8_t>>(*above) : std::nullopt, row);
  if (row.size() != rowBytes) throw std::runtime_error("a row of the wrong length");
  return row;
}
