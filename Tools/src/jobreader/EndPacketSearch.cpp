#include "EndPacketSearch.h"

#include <algorithm>
#include <string>

#include "PacketXml.h"
#include "ReadError.h"

namespace jobreader {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kCommentBegin = "<!--";
constexpr std::string_view kCommentEnd = "-->";
constexpr size_t kMaxTries = 4096;
// Bytes that all tries together look at: sixteen times the part of the file that is searched.
constexpr size_t kMaxWork = 16 * static_cast<size_t>(kEndSearchBytes);

// The last bytes of the file from `begin` on, at most kEndSearchBytes.
std::string tailOf(JobFile& file, uint64_t begin) {
  const uint64_t size = file.size();
  std::string tail;
  file.seek(std::max(begin, size - std::min(size, kEndSearchBytes)));
  tail.reserve(static_cast<size_t>(size - file.offset()));
  while (!file.atEnd()) {
    const std::span<const uint8_t> bytes = file.peek();
    tail.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    file.advance(bytes.size());
  }
  return tail;
}

std::string_view withoutTrailing(std::string_view text) {
  while (true) {
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    if (!text.ends_with(kCommentEnd)) return text;
    const size_t comment = text.rfind(kCommentBegin);
    if (comment == std::string_view::npos) return text;
    text = text.substr(0, comment);
  }
}

// The root that the text's last tag closes, with its prefix; empty when the text ends otherwise.
std::string_view closedRoot(std::string_view text) {
  text = withoutTrailing(text);
  const size_t less = text.rfind('<');
  if (less == std::string_view::npos || text.back() != '>') return {};
  const std::string_view tag = text.substr(less + 1, text.size() - less - 2);
  if (tag.starts_with('/')) return tag.substr(1, tag.find_first_of(kBlanks) - 1);
  if (!tag.ends_with('/')) return {};
  return tag.substr(0, tag.find_first_of(" \t\r\n/"));
}

// Goes through the places where an end packet may begin.
class Search {
 public:
  Search(std::string_view tail, std::string_view root) : tail_(tail), root_(root) {}

  // The first place of `mark` behind which an accepted byte and, in the end, the packet follows.
  std::optional<size_t> from(const std::string& mark, std::string_view accepted) {
    for (size_t at = tail_.find(mark); at != std::string_view::npos;
         at = tail_.find(mark, at + 1)) {
      const size_t behind = at + mark.size();
      if (behind >= tail_.size() || accepted.find(tail_[behind]) == std::string_view::npos)
        continue;
      if (++tries_ > kMaxTries || work_ > kMaxWork) return std::nullopt;
      if (reachesEnd(at)) return at;
    }
    return std::nullopt;
  }

 private:
  bool reachesEnd(size_t begin) {
    PacketXml xml(begin);
    try {
      return scan(xml, begin) && onlyRemnants(static_cast<size_t>(xml.end()));
    } catch (const ReadError&) {
      return false;
    }
  }

  // In small pieces, as most wrong places show early that they are.
  bool scan(PacketXml& xml, size_t at) {
    constexpr size_t kPieceBytes = 256;
    while (at < tail_.size() && work_ <= kMaxWork) {
      const std::string_view piece = tail_.substr(at, kPieceBytes);
      const bool done = take(xml, piece);
      // What is cut or stray in front of the root are bytes of data, not of a packet.
      if (xml.isDamagedBeforeRoot()) return false;
      if (xml.hasRoot() && xml.rootName() != root_) return false;
      if (done) return true;
      at += piece.size();
    }
    return false;
  }

  bool onlyRemnants(size_t at) {
    if (at == tail_.size()) return true;
    PacketXml xml(at);
    return !take(xml, tail_.substr(at)) && xml.isBetweenPackets() && !xml.isDamagedBeforeRoot();
  }

  bool take(PacketXml& xml, std::string_view piece) {
    work_ += piece.size();
    return xml.take({reinterpret_cast<const uint8_t*>(piece.data()), piece.size()});
  }

  std::string_view tail_;
  std::string_view root_;
  size_t tries_ = 0;
  size_t work_ = 0;
};

}  // namespace

std::optional<uint64_t> findEndPacket(JobFile& file, uint64_t begin) {
  const std::string tail = tailOf(file, begin);
  const uint64_t tailOffset = file.size() - tail.size();
  const std::string_view root = closedRoot(tail);
  if (root.empty()) return std::nullopt;
  // A packet that has something before its root begins there.
  Search search(tail, root);
  std::optional<size_t> at = search.from("<?", "x");
  if (!at) at = search.from("<!", "-D");
  if (!at) at = search.from("<" + std::string(root), " \t\r\n/>");
  if (!at) return std::nullopt;
  return tailOffset + *at;
}

std::optional<uint64_t> findLastText(JobFile& file, uint64_t begin, std::string_view bytes) {
  const std::string tail = tailOf(file, begin);
  const size_t at = tail.rfind(bytes);
  if (at == std::string::npos) return std::nullopt;
  return file.size() - tail.size() + at;
}

}  // namespace jobreader
