// Damage - runs a call of the job reader and tells where it found its input damaged.
#pragma once

#include <cstdint>
#include <optional>

#include "ReadError.h"
#include "RowDecoders.h"

/// The offset in the job file; nothing when the call went well.
template <class Call>
std::optional<uint64_t> damageOf(Call&& call) {
  try {
    call();
    return std::nullopt;
  } catch (const jobreader::ReadError& error) {
    return error.offset();
  }
}

/// The position in the code of a row; nothing when the call went well.
template <class Call>
std::optional<size_t> rowDamageOf(Call&& call) {
  try {
    call();
    return std::nullopt;
  } catch (const jobreader::RowError& error) {
    return error.position();
  }
}
