// EndPacketSearch - finds the end packet behind data that do not say how long they are.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "JobFile.h"

namespace jobreader {

/// How far from the end of the file an end packet is looked for.
constexpr uint64_t kEndSearchBytes = uint64_t{1} << 20U;

/// The earliest offset from which one packet reaches to the end of the file; none when there is no
/// such packet, or when the bytes are made so that looking for it would take too long. Moves the
/// file's position.
/// @param begin  where the data begin
std::optional<uint64_t> findEndPacket(JobFile& file, uint64_t begin);

/// The last place from `begin` on where `bytes` stand; none when they do not.
std::optional<uint64_t> findLastText(JobFile& file, uint64_t begin, std::string_view bytes);

}  // namespace jobreader
