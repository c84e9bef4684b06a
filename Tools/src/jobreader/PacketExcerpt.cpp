#include "PacketExcerpt.h"

#include <algorithm>

namespace jobreader {

namespace {

void appendVisible(std::string& out, uint8_t byte) {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  if (byte >= 0x20 && byte < 0x7F) {
    out.push_back(static_cast<char>(byte));
    return;
  }
  out += "\\x";
  out.push_back(kHex[byte >> 4U]);
  out.push_back(kHex[byte & 0x0FU]);
}

}  // namespace

std::string excerpt(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return "the end of the file";
  std::string out = "\"";
  for (const uint8_t byte : bytes.first(std::min(bytes.size(), kExcerptBytes)))
    appendVisible(out, byte);
  return out + '"';
}

std::string excerpt(std::string_view bytes) {
  return excerpt(std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
}

}  // namespace jobreader
