#include "PacketTemplates.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "PacketExcerpt.h"

namespace jobreader {

namespace {

// The writer's line buffer; a line holds one character less, its byte count does not exceed it.
constexpr size_t kLineBytes = 1024;
// The writer's buffers for a search pattern; a text that does not fit leaves them empty.
constexpr size_t kPatternBytes = 256;
constexpr size_t kNeedleBytes = kLineBytes;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kSuppression = "ODAXGEN_SUPPRESSION";
constexpr std::string_view kSizeWord = "datasize";
constexpr std::string_view kContinueWord = "continue";

constexpr std::array<std::string_view, kPacketKinds> kNames = {
    "StartJob", "SetJobConfiguration", "SetConfiguration", "VendorCmd", "SendData", "EndJob"};

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// Appends as into a buffer of `capacity` bytes with a NUL at its end: what does not fit empties it.
void appendBounded(std::string& text, std::string_view more, size_t capacity) {
  if (text.size() + more.size() >= capacity) {
    text.clear();
  } else {
    text += more;
  }
}

// Joins as into a buffer of `capacity` bytes, part by part: a part that empties the buffer does not
// keep later ones out of it.
std::string joinBounded(std::initializer_list<std::string_view> parts, size_t capacity) {
  std::string text;
  for (const std::string_view part : parts) appendBounded(text, part, capacity);
  return text;
}

// One template line on its way into a packet. The buffer outlives the line: a count that overrides
// made greater than the text reaches what earlier lines of the packet left behind.
class Line {
 public:
  // Takes the next line off `rest`; false at its end. CR and LF each end a line.
  bool read(std::string_view& rest);

  [[nodiscard]] std::string_view text() const {
    return {buffer_.data(), ::strnlen(buffer_.data(), buffer_.size())};
  }
  // The first `size` bytes of the buffer, at most all.
  [[nodiscard]] std::string_view bytes(size_t size) const { return {buffer_.data(), size}; }
  [[nodiscard]] size_t count() const { return count_; }
  // Where an override put a value in, from the line's beginning.
  [[nodiscard]] std::optional<size_t> replacedAt() const { return replacedAt_; }

  void removeByteOrderMark();
  // Gives the first element the text `value`. False when the line holds no element, or the value
  // does not fit.
  bool setFirstValue(std::string_view value);
  // Applies one override pair. False when the value does not fit.
  bool override(std::string_view key, std::string_view value);

 private:
  void put(std::string_view text);
  void adjustCount(size_t added, size_t removed);
  bool replace(std::string_view from, std::string_view to);

  std::array<char, kLineBytes> buffer_ = {};
  size_t count_ = 0;
  std::optional<size_t> replacedAt_;
};

bool Line::read(std::string_view& rest) {
  replacedAt_.reset();
  if (rest.empty()) return false;
  const size_t length = std::min(rest.find_first_of("\r\n"), rest.size());
  // A line that fills the buffer loses its last character to the NUL, which still counts.
  count_ = std::min(length, kLineBytes);
  const size_t kept = std::min(length, kLineBytes - 1);
  rest.copy(buffer_.data(), kept);
  buffer_.at(kept) = '\0';
  rest.remove_prefix(std::min(length + 1, rest.size()));
  return true;
}

void Line::put(std::string_view text) {
  text.copy(buffer_.data(), kLineBytes - 1);
  buffer_.at(std::min(text.size(), kLineBytes - 1)) = '\0';
}

void Line::adjustCount(size_t added, size_t removed) {
  const size_t sum = count_ + added;
  count_ = sum <= removed ? 0 : std::min(sum - removed, kLineBytes);
}

void Line::removeByteOrderMark() {
  if (!text().starts_with(kByteOrderMark)) return;
  put(std::string(text().substr(kByteOrderMark.size())));
  adjustCount(0, kByteOrderMark.size());
}

bool Line::replace(std::string_view from, std::string_view to) {
  const std::string line(text());
  if (line.size() - from.size() + to.size() >= kLineBytes) return false;
  if (from == to) return true;
  // An emptied needle is found at the beginning of the line, as any empty text is.
  const size_t at = line.find(joinBounded({">", from, "<"}, kNeedleBytes));
  if (at == std::string::npos) return true;
  put(line.substr(0, at + 1).append(to) + line.substr(at + 1 + from.size()));
  return true;
}

bool Line::setFirstValue(std::string_view value) {
  const std::string line(text());
  // The tag, then the value, each found by skipping what separates it from what comes before.
  const size_t tag = line.find_first_not_of('>');
  if (tag == std::string::npos) return false;
  const size_t tagEnd = line.find('>', tag);
  if (tagEnd == std::string::npos) return false;
  const size_t begin = line.find_first_not_of('<', tagEnd + 1);
  if (begin == std::string::npos) return false;
  const std::string_view old =
      std::string_view(line).substr(begin, std::min(line.find('<', begin), line.size()) - begin);
  if (!replace(old, value)) return false;
  adjustCount(value.size(), old.size());
  return true;
}

bool Line::override(std::string_view key, std::string_view value) {
  const std::string line(text());
  if (!contains(line, key)) return true;
  if (!contains(line, joinBounded({":", key, ">"}, kPatternBytes)) &&
      !contains(line, joinBounded({"name=\"", key}, kPatternBytes)))
    return true;
  const size_t tagEnd = line.find('>');
  if (tagEnd == std::string::npos) return true;
  if (value == kSuppression) {
    put(kSuppression);
    return true;
  }
  const size_t begin = tagEnd + 1;
  const size_t last = line.rfind('<');
  const bool closed = last != std::string::npos && last >= begin;
  const std::string_view old =
      std::string_view(line).substr(begin, (closed ? last : line.size()) - begin);
  if (!replace(old, value)) return false;
  if (closed) replacedAt_ = begin;
  // Also when there was nothing to replace: the writer counts what it wanted to do.
  adjustCount(value.size(), old.size());
  return true;
}

std::string read(const std::string& path) {
  if (path.empty()) throw FileError("a packet is due whose template is not given");
  std::error_code ignored;
  const std::filesystem::file_type type = std::filesystem::status(path, ignored).type();
  // A pipe would be waited for, and what it held went into the job.
  if (type == std::filesystem::file_type::fifo) throw FileError(path + ": not a regular file");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw FileError(path + ": " + std::strerror(errno));
  // A folder opens and has nothing to read, for the writer as well: its packet is empty.
  if (type == std::filesystem::file_type::directory) return {};
  std::string content;
  std::array<char, 65536> piece = {};
  while (file.read(piece.data(), piece.size()), file.gcount() > 0) {
    content.append(piece.data(), static_cast<size_t>(file.gcount()));
    if (content.size() > PacketTemplates::kMaxTemplateBytes)
      throw FileError(path + ": a template of more than 16 MiB");
  }
  if (file.bad()) throw FileError(path + ": cannot be read");
  return content;
}

[[noreturn]] void refuse(const std::string& path, const Line& line, const std::string& what) {
  throw TemplateError(path + ": line " + excerpt(line.text()) + ": " + what);
}

// What differs between the three ways from a template to a packet.
struct Rules {
  bool dropsMark = true;              // a byte-order mark on the first line
  bool writesWholeLines = false;      // else the length has 8 bits
  std::optional<uint32_t> startSize;  // sizes are what was counted, from here on
  std::optional<uint32_t> fixedSize;  // sizes are this one
  std::optional<bool> continues;
};

void setSizes(Line& line, const Rules& rules, uint32_t counted, const std::string& path) {
  std::optional<uint32_t> size = rules.fixedSize;
  if (rules.startSize) size = *rules.startSize + counted;
  if (size && contains(line.text(), kSizeWord) && !line.setFirstValue(std::to_string(*size)))
    refuse(path, line, "has no place for the size");
  if (rules.continues && contains(line.text(), kContinueWord) &&
      !line.setFirstValue(*rules.continues ? "ON" : "OFF"))
    refuse(path, line, "has no place for ON or OFF");
}

void append(PacketText& packet, const Line& line, bool whole) {
  const std::string_view bytes = line.bytes(whole ? line.count() : line.count() % 256);
  if (line.replacedAt() && *line.replacedAt() < bytes.size())
    packet.replacedAt.push_back(packet.bytes.size() + *line.replacedAt());
  packet.bytes += bytes;
  packet.counted += static_cast<uint32_t>(line.count());
}

PacketText build(const std::string& path, std::string_view content, const Rules& rules,
                 const std::vector<std::pair<std::string, std::string>>& overrides) {
  PacketText packet;
  Line line;
  bool first = true;
  while (line.read(content)) {
    if (first && rules.dropsMark) line.removeByteOrderMark();
    first = false;
    setSizes(line, rules, packet.counted, path);
    for (const auto& [key, value] : overrides)
      if (!line.override(key, value)) refuse(path, line, "has no room for the value of " + key);
    if (line.text() != kSuppression) append(packet, line, rules.writesWholeLines);
  }
  return packet;
}

// As a string of the writer: up to a NUL, in 1024 bytes.
std::string asStored(const std::string& text) {
  return text.substr(0, std::min(text.find('\0'), kLineBytes - 1));
}

}  // namespace

std::string_view packetKindName(PacketKind kind) {
  return kNames.at(static_cast<size_t>(kind));
}

PacketTemplates::PacketTemplates(const JobTemplates& job)
    : templates_{{{job.startJob, {}},
                  {job.setJobConfiguration, {}},
                  {job.setConfiguration, {}},
                  {job.vendorCmd, {}},
                  {job.sendData, {}},
                  {job.endJob, {}}}},
      hasVendorCmd_(job.hasVendorCmd) {
  for (const auto& [key, value] : job.overrides)
    overrides_.emplace_back(asStored(key), asStored(value));
}

std::vector<PacketKind> PacketTemplates::openingKinds() const {
  std::vector<PacketKind> kinds = {PacketKind::kStartJob, PacketKind::kSetJobConfiguration,
                                   PacketKind::kSetConfiguration};
  if (hasVendorCmd_) kinds.push_back(PacketKind::kVendorCmd);
  return kinds;
}

PacketTemplates::Template& PacketTemplates::loaded(PacketKind kind) {
  Template& source = templates_.at(static_cast<size_t>(kind));
  if (!source.content) source.content = read(source.path);
  return source;
}

PacketText PacketTemplates::opening(PacketKind kind) {
  const Template& source = loaded(kind);
  return build(source.path, *source.content, {}, overrides_);
}

PacketText PacketTemplates::sendData(uint32_t size, bool continues) {
  const Template& source = loaded(PacketKind::kSendData);
  // The mark is kept on purpose: it goes into every send-data packet.
  const Rules rules = {.dropsMark = false,
                       .writesWholeLines = true,
                       .startSize = {},
                       .fixedSize = size,
                       .continues = continues};
  return build(source.path, *source.content, rules, overrides_);
}

PacketText PacketTemplates::endJob(uint32_t jobDataSize) {
  const Template& source = loaded(PacketKind::kEndJob);
  Rules rules;
  rules.startSize = jobDataSize;
  return build(source.path, *source.content, rules, overrides_);
}

}  // namespace jobreader
