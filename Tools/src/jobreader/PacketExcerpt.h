// PacketExcerpt - shows bytes of a job file in messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace jobreader {

/// What a message shows of bytes at most.
constexpr size_t kExcerptBytes = 24;

/// The first bytes in double quotes, the unprintable ones in hexadecimal; for no bytes "the end of
/// the file", as that is where none come next.
std::string excerpt(std::span<const uint8_t> bytes);
std::string excerpt(std::string_view bytes);

}  // namespace jobreader
