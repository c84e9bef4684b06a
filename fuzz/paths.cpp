// Fuzzed: the path helpers and the string operations that know their room. The first bytes of the
// input choose which, and the sizes; the texts follow.
// Asserted: a path that was converted fits and means what it did; the string operations do what a
// std::string does, or say that the result does not fit; every buffer has exactly the bytes that
// its operation may use, so that AddressSanitizer sees the one behind them.
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "CFGFile.h"
#include "CFGPaths.h"
#include "Choices.h"
#include "Mac_Depend.h"
#include "Require.h"
#include "Silence.h"
#include "TextLine.h"
#include "zksafe.h"

namespace {

constexpr size_t kMostRoom = 600;

// A text in a block of exactly `room` bytes, cut to fit; the rest is no zero byte.
class Buffer {
 public:
  Buffer(size_t room, const std::string& text) : room_(room), bytes_(new char[room]) {
    if (room == 0) return;
    std::memset(bytes_.get(), 'z', room);
    const size_t length = std::min(text.size(), room - 1);
    if (length > 0) std::memcpy(bytes_.get(), text.data(), length);
    bytes_[length] = '\0';
  }
  [[nodiscard]] char* get() const { return bytes_.get(); }
  [[nodiscard]] size_t room() const { return room_; }
  [[nodiscard]] std::string text() const {
    require(std::memchr(bytes_.get(), '\0', room_) != nullptr, "a text ends inside its buffer");
    return bytes_.get();
  }

 private:
  size_t room_;
  std::unique_ptr<char[]> bytes_;
};

bool isRefused(const jobcheck::Silence& /*silence*/, int code, int known) {
  require(code == 0 || code == known, "a code that is documented");
  return code != 0;
}

void convertSeparators(Choices& choices, const jobcheck::Silence& silence) {
  struct Conversion {
    int (*convert)(char*);
    int code;
    const char* foreign;  // what does not stand in the result
  };
  constexpr std::array<Conversion, 3> kConversions = {
      {{toSlash, -37, "\\:"}, {toBackSlash, 0, "/:"}, {toColon, -38, "\\/"}}};
  const Conversion& conversion = choices.any(kConversions);
  const Buffer path(kPathBytes, choices.text(kPathBytes));
  const std::string before = path.text();
  int result = 0;
  const int code = jobcheck::codeOf([&] { result = conversion.convert(path.get()); });
  const std::string after = path.text();
  // A result that does not fit is refused by the code of its conversion.
  if (conversion.code != 0 && isRefused(silence, code, conversion.code)) return;
  if (code != 0) return;
  require(result == 0 || result == 1, "0 or 1");
  if (result == 0) require(after == before, "nothing to do leaves the path");
  const bool isLeftAlone = result == 1 && after == before;  // a drive form
  if (!isLeftAlone) {
    require(after.find_first_of(conversion.foreign) == std::string::npos,
            "no foreign separator is left");
  }
}

void completePaths(Choices& choices, const jobcheck::Silence& silence) {
  const auto record = std::make_unique<parameter>();
  const std::string directory = "/" + choices.text(kPathBytes - 2);
  zk_strcpy(record->CFGFileDirectory, kPathBytes, directory.c_str());
  const Buffer path(kPathBytes, choices.text(kPathBytes));
  const std::string before = path.text();
  int result = 0;
  const int code = jobcheck::codeOf([&] { result = toFullPath(path.get(), record.get()); });
  if (isRefused(silence, code, -40)) return;
  const std::string after = path.text();
  require(result == (before.empty() || before[0] == '/' ? 0 : 1), "relative paths are completed");
  if (result == 0) require(after == before, "others stay");
}

void resolvePaths(Choices& choices) {
  const auto room = static_cast<int32_t>(choices.below(kMostRoom));
  const Buffer out(static_cast<size_t>(room), "");
  const std::string path = choices.text(kMostRoom);
  const int32_t result = GetFullPathMac(path.c_str(), room, out.get());
  require(result == 0 || result == -1, "0 or -1");
  if (result != 0) return;
  const std::string full = out.text();
  require(full.ends_with(path), "the path stands at the end");
  if (path.starts_with('/')) require(full == path, "an absolute path stays");
}

void copyAndAppend(Choices& choices) {
  const size_t room = choices.below(kMostRoom);
  const size_t count = choices.below(kMostRoom);
  const std::string first = choices.text(kMostRoom);
  const std::string second = choices.text(kMostRoom);
  const Buffer source(second.size() + 1, second);

  const Buffer copied(room, first);
  const int copy = zk_strcpy(copied.get(), room, source.get());
  require((copy == 0) == (second.size() < room), "a copy is made when it fits");
  if (room > 0) require(copied.text() == (copy == 0 ? second : ""), "all of it or nothing");

  const Buffer joined(std::max(room, size_t{1}), first);
  const std::string before = joined.text();
  const int join = zk_strcat(joined.get(), room, source.get());
  require((join == 0) == (before.size() + second.size() < room), "a sum that fits is made");
  if (room > 0) require(joined.text() == (join == 0 ? before + second : ""), "all or nothing");

  const Buffer cut(room, first);
  const int part = zk_strncpy(cut.get(), room, source.get(), count);
  require((part == 0) == (room > 0 && count < room), "a part is copied when it fits");
  if (part == 0) {
    require(cut.text() == second.substr(0, count) && cut.get()[count] == '\0', "the part");
  }
  require(zk_strnlen(source.get(), count) == std::min(second.size(), count), "the length");
}

void copyBytesAndFormat(Choices& choices) {
  const size_t room = choices.below(kMostRoom);
  const size_t count = choices.below(kMostRoom);
  const std::string text = choices.text(kMostRoom);
  const Buffer bytes(std::max(count, size_t{1}), text);
  const Buffer out(room, "");
  const int result = zk_memcpy(out.get(), room, bytes.get(), count);
  require((result == 0) == (count <= room), "bytes are copied when they fit");
  if (result == 0 && count > 0) {
    require(std::memcmp(out.get(), bytes.get(), count) == 0, "the bytes");
  }

  const auto number = static_cast<int>(choices.number());
  const std::string want = text + "(" + std::to_string(number) + ")";
  const Buffer formatted(room, "before");
  errno = 0;
  const int format = zk_sprintf(formatted.get(), room, "%s(%d)", text.c_str(), number);
  require((format == 0) == (want.size() < room), "a text is formatted when it fits");
  if (room > 0) require(formatted.text() == (format == 0 ? want : ""), "all or nothing");
}

void trimAndUnquote(Choices& choices) {
  const std::string text = choices.text(kLineBytes - 1);
  const Buffer line(text.size() + 1, text);
  require(trimSpaces(line.get()) == line.get(), "the line itself");
  require(line.text().size() <= text.size(), "trimming does not add");

  const Buffer value(kLineBytes, "");
  const Buffer source(text.size() + 1, text);
  const int result = processQuotaions(source.get(), value.get());
  require(result == 0 || result == -1, "0 or -1");
  if (result == 0) require(value.text().size() < text.size(), "the quotes are gone");

  auto count = static_cast<uint32_t>(text.size());
  const Buffer marked(text.size() + 1, text);
  deleteBOM(marked.get(), &count);
  const bool hasMark = text.starts_with("\xEF\xBB\xBF");
  require(count == text.size() - (hasMark ? 3 : 0), "the mark is counted off");
  require(marked.text() == text.substr(hasMark ? 3 : 0), "the mark is gone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const jobcheck::Silence silence;
  Choices choices(data, size);
  switch (choices.byte() % 6) {
    case 0:
      convertSeparators(choices, silence);
      break;
    case 1:
      completePaths(choices, silence);
      break;
    case 2:
      resolvePaths(choices);
      break;
    case 3:
      copyAndAppend(choices);
      break;
    case 4:
      copyBytesAndFormat(choices);
      break;
    default:
      trimAndUnquote(choices);
      break;
  }
  return 0;
}
