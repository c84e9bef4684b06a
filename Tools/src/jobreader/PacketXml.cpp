#include "PacketXml.h"

#include <algorithm>
#include <limits>

#include "PacketExcerpt.h"
#include "ReadError.h"

namespace jobreader {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kDeclarationHead = "<?xml";
constexpr std::string_view kCommentHead = "--";
constexpr std::string_view kCharacterDataHead = "[CDATA[";

bool isBlank(uint8_t byte) {
  return kBlanks.find(static_cast<char>(byte)) != std::string_view::npos;
}

// Bytes that XML forbids show at once that binary data are read as a packet. NUL is not among them:
// the writer itself leaves some in packets, behind lines that it counted longer than they are.
bool isForbidden(uint8_t byte) {
  return byte < 0x20 && byte != 0 && !isBlank(byte);
}

bool beginsName(uint8_t byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' ||
         byte == ':' || byte >= 0x80;
}

std::string_view nameOf(std::string_view tag) {
  return tag.substr(0, tag.find_first_of(" \t\r\n/=\"'"));
}

std::string localName(std::string_view name) {
  return std::string(name.substr(name.rfind(':') + 1));
}

// The attribute at the beginning of `rest`, which moves behind it; an attribute without a value in
// quotes has none.
std::pair<std::string_view, std::string_view> takeAttribute(std::string_view& rest) {
  const std::string_view name = rest.substr(0, rest.find_first_of(" \t\r\n/=\"'"));
  rest.remove_prefix(std::max<size_t>(name.size(), 1));
  const size_t open = rest.find_first_not_of(" \t\r\n=");
  if (open == std::string_view::npos || (rest[open] != '"' && rest[open] != '\''))
    return {name, {}};
  const size_t close = std::min(rest.find(rest[open], open + 1), rest.size());
  const std::string_view value = rest.substr(open + 1, close - open - 1);
  rest.remove_prefix(std::min(close + 1, rest.size()));
  return {name, value};
}

// What a leaf is called: its name attribute, else its tag.
std::string valueName(std::string_view tag) {
  const std::string_view name = nameOf(tag);
  std::string_view rest = tag.substr(name.size());
  while (true) {
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    if (rest.empty()) return localName(name);
    const auto [attribute, value] = takeAttribute(rest);
    if (localName(attribute) == "name" && !value.empty()) return std::string(value);
  }
}

// A number too great for the type is as wrong as the type's greatest, and is reported like it.
std::optional<uint64_t> number(std::string_view text) {
  constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
  if (text.empty()) return std::nullopt;
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    const auto digit = static_cast<uint64_t>(c - '0');
    value = value > (kMost - digit) / 10 ? kMost : value * 10 + digit;
  }
  return value;
}

void push(std::string& text, uint8_t byte) {
  if (text.size() < kMaxXmlText) text.push_back(static_cast<char>(byte));
}

}  // namespace

// What a caller gets --------------------------------------------------------------------------

bool PacketXml::take(std::span<const uint8_t> bytes) {
  rest_ = bytes;
  while (!done_ && !rest_.empty()) {
    step(rest_.front());
    rest_ = rest_.subspan(1);
    ++at_;
  }
  return done_;
}

XmlPacket PacketXml::result() {
  packet_.size = end_ - packet_.offset;
  return {std::move(packet_), std::move(textOffsets_), std::move(notes_)};
}

void PacketXml::refuseEnd() const {
  throw ReadError(at_, "the file ends " + where());
}

std::string PacketXml::where() const {
  if (depth_ > 0) {
    return "inside the packet " + excerpt(root_) + " at offset " + std::to_string(packet_.offset) +
           ": its end tag is missing";
  }
  if (state_ == State::kText) return "where a packet is expected";
  return "in what begins at offset " + std::to_string(lessAt_) + ", before the root of a packet";
}

void PacketXml::refuse() const {
  const std::string found = "found " + excerpt(rest_);
  if (depth_ > 0 || state_ != State::kText) throw ReadError(at_, found + " " + where());
  throw ReadError(at_, found + ", expected a packet, which begins with \"<\"");
}

void PacketXml::note(uint64_t offset, const std::string& text) {
  if (depth_ == 0) damagedBeforeRoot_ = true;
  if (notes_.size() < kMaxXmlNotes) notes_.emplace_back(offset, text);
}

// Text and markup -----------------------------------------------------------------------------

void PacketXml::step(uint8_t byte) {
  if (isForbidden(byte)) refuse();
  switch (state_) {
    case State::kText:
      return text(byte);
    case State::kLess:
      return less(byte);
    case State::kBang:
      return bang(byte);
    case State::kComment:
      return comment(byte);
    case State::kCharacterData:
      return characterData(byte);
    case State::kInstruction:
      return instruction(byte);
    case State::kDeclaration:
      return declaration(byte);
    case State::kSubset:
      return subset(byte);
    case State::kStartTag:
    case State::kEndTag:
      return tag(byte);
  }
}

void PacketXml::text(uint8_t byte) {
  // A byte-order mark, whole, and only as the first thing in the packet.
  const bool inMark = depth_ == 0 && mark_ == at_ - packet_.offset && mark_ < kByteOrderMark.size();
  if (inMark && byte == static_cast<uint8_t>(kByteOrderMark[mark_])) {
    ++mark_;
    return;
  }
  if (inMark && mark_ > 0) refuse();
  if (byte == '<') {
    lessAt_ = at_;
    state_ = State::kLess;
    return announce();
  }
  if (depth_ > 0) return addLeafText(byte);
  if (!isBlank(byte)) refuse();
}

void PacketXml::less(uint8_t byte) {
  head_.clear();
  last_ = run_ = 0;
  if (byte == '?') {
    state_ = State::kInstruction;
  } else if (byte == '!') {
    state_ = State::kBang;
  } else if (byte == '/') {
    beginTag(State::kEndTag);
  } else if (beginsName(byte)) {
    beginTag(State::kStartTag);
    push(tag_, byte);
  } else if (byte == '<') {
    cutByLess();
  } else if (depth_ > 0) {
    // A lone "<" in a text.
    state_ = State::kText;
    addLeafText('<');
    addLeafText(byte);
  } else {
    refuse();
  }
}

void PacketXml::bang(uint8_t byte) {
  push(head_, byte);
  if (head_ == kCommentHead) {
    state_ = State::kComment;
    declaring_ = 0;
  } else if (head_ == kCharacterDataHead) {
    state_ = State::kCharacterData;
  } else if (!kCommentHead.starts_with(head_) && !kCharacterDataHead.starts_with(head_)) {
    state_ = State::kDeclaration;
    declaration(byte);
  }
}

void PacketXml::comment(uint8_t byte) {
  if (byte == '>' && run_ == 2) {
    state_ = State::kText;
    return;
  }
  run_ = byte == '-' ? static_cast<uint8_t>(std::min(run_ + 1, 2)) : uint8_t{0};
  // Comments may hold elements that are commented out, but no declaration.
  if (declaring_ == kDeclarationHead.size() && isBlank(byte))
    return xmlDeclaration(at_ - kDeclarationHead.size());
  if (declaring_ == kDeclarationHead.size() ||
      byte != static_cast<uint8_t>(kDeclarationHead[declaring_]))
    declaring_ = 0;
  if (byte == static_cast<uint8_t>(kDeclarationHead[declaring_])) ++declaring_;
}

void PacketXml::characterData(uint8_t byte) {
  if (byte == '>' && run_ == 2) {
    state_ = State::kText;
    // The two brackets are no text.
    if (leaf_ && leafText_.size() < kMaxXmlText) leafText_.resize(leafText_.size() - 2);
    return;
  }
  run_ = byte == ']' ? static_cast<uint8_t>(std::min(run_ + 1, 2)) : uint8_t{0};
  addLeafText(byte);
}

void PacketXml::instruction(uint8_t byte) {
  if (byte == '<') return cutByLess();
  if (head_.size() < 4) {
    push(head_, byte);
    if (head_.size() == 4 && head_.starts_with("xml") && isBlank(byte)) xmlDeclaration(lessAt_);
  }
  if (byte == '>' && last_ == '?') state_ = State::kText;
  last_ = byte;
}

void PacketXml::declaration(uint8_t byte) {
  if (byte == '<') return cutByLess();
  if (byte == '>') state_ = State::kText;
  if (byte == '[') state_ = State::kSubset;
}

void PacketXml::subset(uint8_t byte) {
  // Ends with "]>", blanks between allowed.
  if (byte == '>' && last_ == ']') state_ = State::kText;
  if (!isBlank(byte)) last_ = byte;
}

void PacketXml::xmlDeclaration(uint64_t offset) {
  if (depth_ > 0 || state_ == State::kComment) {
    note(offset,
         "a packet begins before the end of the one at offset " + std::to_string(packet_.offset));
    return complete(offset);
  }
  if (declared_) {
    note(packet_.offset, "of a packet only its XML declaration is there");
    restartAt(offset);
  }
  declared_ = true;
}

// Tags ----------------------------------------------------------------------------------------

void PacketXml::beginTag(State state) {
  state_ = state;
  tag_.clear();
  quote_ = 0;
}

void PacketXml::tag(uint8_t byte) {
  if (byte == '<') {
    finishTag(true);
    if (done_) return;
    lessAt_ = at_;
    state_ = State::kLess;
    return;
  }
  if (byte == '>' && quote_ == 0) return finishTag(false);
  if (byte == quote_) {
    quote_ = 0;
  } else if (quote_ == 0 && (byte == '"' || byte == '\'')) {
    quote_ = byte;
  }
  last_ = byte;
  push(tag_, byte);
}

void PacketXml::cutByLess() {
  note(lessAt_, "a tag is cut open");
  leaf_ = false;
  lessAt_ = at_;
  state_ = State::kLess;
}

void PacketXml::finishTag(bool cut) {
  if (cut) note(lessAt_, "the tag " + excerpt(tag_) + " is cut open");
  const std::string name(nameOf(tag_));
  const bool start = state_ == State::kStartTag;
  state_ = State::kText;
  if (start) {
    finishStart(name, cut);
  } else {
    finishEnd(name, cut);
  }
}

void PacketXml::finishStart(const std::string& name, bool cut) {
  const bool empty = !cut && last_ == '/';
  leaf_ = !cut && !empty;
  announces_ = leaf_;
  leafTag_ = tag_;
  leafText_.clear();
  leafTextOffset_ = at_ + 1;
  if (depth_ == 0) return openRoot(name, cut, empty);
  if (empty)
    return addValue(valueName(tag_.substr(0, tag_.find_last_not_of('/') + 1)), "", at_ + 1);
  if (name == root_) ++depth_;
}

void PacketXml::openRoot(const std::string& name, bool cut, bool empty) {
  root_ = name;
  packet_.name = localName(name);
  // A name that is cut itself has no end tag; what follows is not known to belong to it.
  if (cut && name.size() == tag_.size()) return complete(at_);
  if (empty) return complete(at_ + 1);
  depth_ = 1;
}

void PacketXml::finishEnd(const std::string& name, bool cut) {
  if (depth_ == 0) {
    note(lessAt_, "the end tag " + excerpt("</" + name + ">") + " belongs to no packet");
    return restartAt(cut ? at_ : at_ + 1);
  }
  const bool closesLeaf = leaf_ && name == nameOf(leafTag_);
  const bool closesRoot = name == root_ && --depth_ == 0;
  if (closesLeaf && !(closesRoot && leafText_.empty()))
    addValue(valueName(leafTag_), leafText_, leafTextOffset_);
  leaf_ = false;
  if (closesRoot) complete(cut ? at_ : at_ + 1);
}

void PacketXml::restartAt(uint64_t offset) {
  packet_.offset = offset;
  declared_ = false;
  mark_ = 0;
}

void PacketXml::complete(uint64_t end) {
  done_ = true;
  end_ = end;
}

// Values --------------------------------------------------------------------------------------

void PacketXml::announce() {
  if (!announces_) return;
  announces_ = false;
  if (!packet_.dataSize && leafTag_.find("datasize") != std::string::npos)
    packet_.dataSize = number(leafText_);
  if (packet_.continues || leafTag_.find("continue") == std::string::npos) return;
  if (leafText_ == "ON") packet_.continues = true;
  if (leafText_ == "OFF") packet_.continues = false;
}

void PacketXml::addLeafText(uint8_t byte) {
  if (leaf_) push(leafText_, byte);
}

void PacketXml::addValue(std::string name, std::string text, uint64_t textOffset) {
  if (packet_.values.size() == kMaxPacketValues) return;
  packet_.values.push_back({std::move(name), std::move(text), false});
  textOffsets_.push_back(textOffset);
}

// Whole packets -------------------------------------------------------------------------------

XmlPacket readPacketXml(JobFile& file) {
  PacketXml xml(file.offset());
  while (true) {
    const std::span<const uint8_t> bytes = file.peek();
    if (bytes.empty()) xml.refuseEnd();
    if (xml.take(bytes)) break;
    file.advance(bytes.size());
  }
  file.seek(xml.end());
  return xml.result();
}

std::optional<XmlPacket> parsePacketXml(std::string_view bytes) {
  try {
    PacketXml xml(0);
    if (xml.take({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}))
      return xml.result();
  } catch (const ReadError&) {
    return std::nullopt;
  }
  return std::nullopt;
}

bool onlyRemnantsFollow(JobFile& file) {
  constexpr size_t kPieceBytes = 512;
  const uint64_t begin = file.offset();
  PacketXml xml(begin);
  bool only = true;
  try {
    while (only && !file.atEnd()) {
      const std::span<const uint8_t> bytes = file.peek();
      const size_t count = std::min(bytes.size(), kPieceBytes);
      only = !xml.take(bytes.first(count)) && !xml.hasRoot();
      file.advance(count);
    }
    only = only && xml.isBetweenPackets();
  } catch (const ReadError&) {
    only = false;
  }
  file.seek(begin);
  return only;
}

}  // namespace jobreader
