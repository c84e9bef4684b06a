#include "TemplateChecks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <set>
#include <utility>
#include <vector>

#include "FileText.h"
#include "KeyNames.h"
#include "ODAXOutLib.h"
#include "ODAXState.h"
#include "OverrideRules.h"
#include "Silence.h"

namespace jobcheck {

namespace {

constexpr int kErrorTooLong = -67;
constexpr int kErrorOnePacketOpen = -62;
constexpr uint32_t kMostJobLine = 255;  // characters that a job packet writes of a line
constexpr const char* kSuppression = "ODAXGEN_SUPPRESSION";
constexpr const char* kMark = "\xEF\xBB\xBF";
constexpr int32_t kNoChunk = -1;
constexpr size_t kMostTemplateKeys = 1000;

struct PacketInfo {
  const char* key;
  PathText parameter::*path;
  int openCode;
  bool fillsSize;
};

const PacketInfo& infoOf(PacketKind kind) {
  static const std::array<PacketInfo, 6> kPackets = {{
      {"StartJobXmlFile", &parameter::StartJobXmlFile, -51, false},
      {"SetJobConfigurationXmlFile", &parameter::SetJobConfigurationXmlFile, -53, false},
      {"SetConfigurationXmlFile", &parameter::SetConfigurationXmlFile, -55, false},
      {"VendorCmdXmlFile", &parameter::VendorCmdXmlFile, -57, false},
      {"SendDataXmlFile", &parameter::SendDataXmlFile, -59, true},
      {"EndJobXmlFile", &parameter::EndJobXmlFile, -65, true},
  }};
  return kPackets.at(static_cast<size_t>(kind));
}

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// A template on its way through the packet writer.
struct Packet {
  PacketKind kind;
  int openCode;
  std::string shown;
  uint32_t size = 0;         // that "datasize" is set to
  int32_t chunk = kNoChunk;  // that decides about "continue"
  bool hasSize = false;      // it has a "datasize" line
  bool hasContinue = false;
  bool isNulSaid = false;

  [[nodiscard]] bool isSendData() const { return kind == PacketKind::kSendData; }
};

// One line, as the packet writer changes it.
struct Line {
  std::array<char, kLineBytes> text = {};
  uint32_t count = 0;
  Place place;
  bool isFilled = false;  // by the program
  int lastPair = -1;      // the override that changed it last

  [[nodiscard]] std::string str() const { return text.data(); }
};

// What became of an override in all packets.
struct PairState {
  bool hasMatched = false;
  std::vector<int> replacedBy;
  bool isPrefixSaid = false;
  bool isSizeSaid = false;
};

}  // namespace

class TemplateChecks::Work {
 public:
  explicit Work(JobContext& job)
      : configuration_(job.configuration),
        problems_(job.problems),
        splitBefore_(mSplitDataSize),
        pairs_(job.configuration.overrideLines.size()) {
    ODAX_Init();
    try {
      ODAX_SetOverRideKeyValue(configuration_.overrides.keys, configuration_.overrides.values);
    } catch (int) {  // it knows one reason only
      throw std::bad_alloc();
    }
    const int32_t split = configuration_.record->SplitDataSize;
    ODAX_SetSplitDataSize(split == kNotSet ? 0 : static_cast<uint32_t>(split));
  }
  ~Work() {
    ODAX_Init();
    ODAX_SetSplitDataSize(static_cast<uint32_t>(splitBefore_));
  }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;

  void check(PacketKind kind, uint32_t size, int32_t chunk, bool isInOnePacket) {
    if (kind == PacketKind::kVendorCmd && configuration_.hasVendorCmd == 0) return;
    const int openCode = isInOnePacket ? kErrorOnePacketOpen : infoOf(kind).openCode;
    Packet packet{kind, openCode, "", size, chunk};
    FileText file;
    if (!open(packet, file)) return;
    checkContent(packet, file.content());
    std::array<char, kLineBytes> buffer{};
    file.forEachLine([&](const TextLine& read) {
      Line line;
      line.text = buffer;
      takeRead(packet, read, line);
      const bool isWhole = checkLine(packet, line);
      buffer = line.text;
      if (isWhole && line.str() != kSuppression) countLine(packet, read, line);
    });
    checkElements(packet);
  }

  void count(uint64_t bytes) { jobBytes_ += bytes; }
  [[nodiscard]] uint32_t jobBytes() const { return static_cast<uint32_t>(jobBytes_); }

  void checkOverrides() {
    for (size_t i = 0; i < pairs_.size(); ++i) checkOverride(i);
  }

 private:
  [[nodiscard]] const ConfigItem& itemOf(size_t pair) const {
    return configuration_.overrideLines[pair];
  }
  [[nodiscard]] Place placeOf(size_t pair) const { return configuration_.at(itemOf(pair).line); }

  bool open(Packet& packet, FileText& file) {
    const PacketInfo& info = infoOf(packet.kind);
    const std::string written = configuration_.record.get()->*info.path;
    const std::string path = configuration_.complete(written);
    packet.shown = configuration_.shown(path);
    const bool fits = path.size() < kPathBytes;
    if (!path.empty() && fits && kindOf(path) != FileKind::kSpecial && file.read(path)) return true;
    isComplete_ = false;
    if (written.empty()) {
      listMissing(info, packet.openCode);
      return false;
    }
    if (fits && kindOf(path) == FileKind::kSpecial) return false;  // a pipe is read by the job only
    std::string hint = "relative paths start at the folder of the configuration";
    if (contains(written, "\\")) hint = "the paths of templates are written with slashes";
    if (!fits) hint = "the completed path has more than 259 characters";
    problems_.error(configuration_.placeOf(configuration_.odax, info.key), packet.openCode,
                    std::string(info.key) + " cannot be opened: " + packet.shown, hint);
    return false;
  }

  void listMissing(const PacketInfo& info, int code) {
    const ConfigItem* item = configuration_.odax.find(info.key);
    if (item != nullptr && !item->isStored) return;  // its line was refused
    if (item != nullptr) {
      problems_.error(
          configuration_.at(item->line), code, std::string(info.key) + " is empty",
          "name the template" + std::string(code == -57 ? ", or take the line away" : ""));
      return;
    }
    for (size_t i = 0; i < pairs_.size(); ++i) {
      if (similarKey(itemOf(i).key, kODAXSection) != info.key) continue;
      problems_.error(
          placeOf(i), code,
          std::string(info.key) + " is missing; " + itemOf(i).key + " is taken as an override",
          "did you mean " + std::string(info.key) + "?");
      pairs_[i].hasMatched = true;  // it is said
      return;
    }
    problems_.error(configuration_.at(configuration_.odax.headerLine), code,
                    std::string(info.key) + " is missing in [ODAX]", "every job needs it");
  }

  // The file as a whole ---------------------------------------------------------------------------

  void checkContent(const Packet& packet, const std::string& content) {
    const Place whole{packet.shown, 0};
    if (content.empty()) {
      problems_.warn(whole, "empty-template", "the template is empty; its packet is too");
      return;
    }
    if (packet.isSendData() && content.compare(0, 3, kMark) == 0) {
      problems_.warn({packet.shown, 1}, "mark-in-send-data",
                     "the byte-order mark stays in every send-data packet",
                     "save the template without one");
    }
    checkLineBreaks(packet, content);
  }

  // Lines are joined without a blank, which matters inside of a tag.
  void checkLineBreaks(const Packet& packet, const std::string& content) {
    enum class In { kText, kTag, kComment } in = In::kText;
    int line = 1;
    for (size_t at = 0; at < content.size(); ++at) {
      const char c = content[at];
      if (c == '\n' || c == '\r') {
        if (in == In::kTag && joinsWords(content, at)) {
          problems_.warn({packet.shown, line}, "line-break-lost",
                         "the line ends inside of a tag; it is joined with the next one without a "
                         "blank",
                         "begin the next line with a blank");
        }
        if (c == '\n' || at + 1 == content.size() || content[at + 1] != '\n') ++line;
      } else if (in == In::kComment) {
        if (c == '>' && at >= 2 && content.compare(at - 2, 2, "--") == 0) in = In::kText;
      } else if (c == '<') {
        in = content.compare(at, 4, "<!--") == 0 ? In::kComment : In::kTag;
      } else if (c == '>') {
        in = In::kText;
      }
    }
  }

  static bool joinsWords(const std::string& content, size_t lineEnd) {
    if (lineEnd == 0 || contains(" \t<\n\r", std::string(1, content[lineEnd - 1]).c_str()))
      return false;
    const size_t next = content.find_first_not_of("\r\n", lineEnd);
    return next != std::string::npos && !contains(" \t>/", std::string(1, content[next]).c_str());
  }

  void checkElements(const Packet& packet) {
    const bool fillsSize = infoOf(packet.kind).fillsSize;
    const Place whole{packet.shown, 0};
    if (fillsSize && !packet.hasSize) {
      problems_.warn(whole, "no-datasize",
                     "the template has no \"datasize\" element; the packet does not say how many "
                     "bytes there are",
                     "add <job:datasize>0</job:datasize> on a line of its own");
    }
    if (packet.isSendData() && !packet.hasContinue) {
      problems_.warn(whole, "no-continue",
                     "the template has no \"continue\" element; the packet does not say whether "
                     "data follow",
                     "add <job:continue>OFF</job:continue> on a line of its own");
    }
  }

  // Single lines ----------------------------------------------------------------------------------

  void takeRead(Packet& packet, const TextLine& read, Line& line) {
    zk_strcpy(line.text.data(), kLineBytes, read.text.c_str());
    line.count = static_cast<uint32_t>(read.count);
    line.place = {packet.shown, read.number};
    const size_t expected = std::min<size_t>(read.fullSize, kLineBytes - 1);
    if (read.text.size() < expected && !packet.isNulSaid) {
      packet.isNulSaid = true;
      problems_.warn(line.place, "template-nul",
                     "the line holds NUL bytes; overrides do not reach behind the first one",
                     "save the template as UTF-8");
    }
    if (templateKeys_.size() < kMostTemplateKeys) {
      for (std::string& key : keysOfLine(read.text)) templateKeys_.insert(std::move(key));
    }
    if (read.readNumber == 1 && !packet.isSendData()) deleteBOM(line.text.data(), &line.count);
  }

  // False when the job ends here.
  bool checkLine(Packet& packet, Line& line) {
    const bool fillsSize = infoOf(packet.kind).fillsSize;
    if (fillsSize && contains(line.str(), "datasize")) {
      packet.hasSize = true;
      if (!fill(line, "datasize", [&](char* text, uint32_t* count) {
            replaceCorrectSize(text, packet.size, count);
          })) {
        return false;
      }
    }
    if (packet.isSendData() && contains(line.str(), "continue")) {
      packet.hasContinue = true;
      if (!fill(line, "continue", [&](char* text, uint32_t* count) {
            replaceCorrectContinueFlug(text, packet.chunk, count);
          })) {
        return false;
      }
    }
    for (size_t i = 0; i < pairs_.size() && line.str() != kSuppression; ++i) {
      if (!overrideLine(packet, line, i)) return false;
    }
    return true;
  }

  template <class Fill>
  bool fill(Line& line, const std::string& word, Fill fillIn) {
    const std::string before = line.str();
    const uint32_t countBefore = line.count;
    const int code = codeOf([&] { fillIn(line.text.data(), &line.count); });
    line.isFilled = true;
    if (code == kErrorTooLong) {
      problems_.error(line.place, code, "the line is too long for its value", "shorten the line");
      return false;
    }
    const std::string example = word == "datasize" ? "0" : "OFF";
    const std::string hint = "write <job:" + word + ">" + example + "</job:" + word +
                             "> on one line, and do not use the word elsewhere";
    if (code != 0) {
      problems_.error(line.place, code,
                      "the line has the word \"" + word + "\" but no element with a value", hint);
      return false;
    }
    const std::optional<std::string> old = filledText(before);
    if (line.str() == before && countBefore != line.count) {
      problems_.warn(line.place, "value-not-filled-in",
                     "\"" + word + "\" has no value that could be replaced; the line is written " +
                         (line.count < countBefore ? "without its end" : "with stray bytes"),
                     hint);
    } else if (old && !contains(before.substr(0, before.find('>')), word.c_str())) {
      problems_.warn(
          line.place, "value-in-other-element",
          "the line has the word \"" + word + "\", so that " + quoted(*old) + " is replaced in it",
          hint);
    }
    return true;
  }

  // False when the job ends here.
  bool overrideLine(const Packet& packet, Line& line, size_t pair) {
    const std::string before = line.str();
    const ConfigItem& item = itemOf(pair);
    const Match match = matchOf(before, item.key);
    if (match == Match::kNone) return true;
    const uint32_t countBefore = line.count;
    const int code =
        codeOf([&] { overrideValues(line.text.data(), &line.count, static_cast<int>(pair)); });
    const std::optional<std::string> old = overriddenText(before);
    pairs_[pair].hasMatched = true;
    if (code != 0) {
      problems_.error(placeOf(pair), code,
                      "the override " + item.key + " makes line " +
                          std::to_string(line.place.line) + " of " + fileName(packet.shown) +
                          " longer than 1023 characters",
                      "shorten the value or the line");
      return false;
    }
    if (!old) {
      warnLine(line, pair, "override-without-effect",
               "the line carries the key " + item.key + " but no value; nothing is replaced");
      return true;
    }
    if (line.str() == kSuppression) {
      checkSuppression(packet, line, before, pair);
    } else if (line.str() == before && *old != item.value) {
      warnNothingReplaced(line, pair, countBefore);
    } else {
      checkReplaced(line, *old, pair, match);
    }
    return true;
  }

  void warnLine(const Line& line, size_t pair, const char* id, const std::string& text) {
    problems_.warn(line.place, id, text,
                   "the override stands in line " + std::to_string(itemOf(pair).line) + " of " +
                       configuration_.path);
  }

  void warnNothingReplaced(const Line& line, size_t pair, uint32_t countBefore) {
    const std::string text = "the line carries the key " + itemOf(pair).key +
                             " but has no value on it that could be replaced";
    if (line.count == countBefore) {
      warnLine(line, pair, "override-without-effect", text);
      return;
    }
    warnLine(line, pair, "override-damages-line",
             text + "; it is written " +
                 (line.count < countBefore ? "without its end" : "with stray bytes"));
  }

  void checkSuppression(const Packet& packet, const Line& line, const std::string& before,
                        size_t pair) {
    const char* word = nullptr;
    if (infoOf(packet.kind).fillsSize && contains(before, "datasize")) word = "datasize";
    if (packet.isSendData() && contains(before, "continue")) word = "continue";
    if (word != nullptr) {
      warnLine(line, pair, "suppression-of-size",
               "the override " + itemOf(pair).key + " drops the line with \"" + word + "\"");
    }
    if (opensElement(before)) {
      warnLine(
          line, pair, "suppression-of-opening",
          "the override " + itemOf(pair).key +
              " drops this line only; what stands between it and the end of its element stays");
    }
  }

  void checkReplaced(Line& line, const std::string& old, size_t pair, Match match) {
    const ConfigItem& item = itemOf(pair);
    PairState& state = pairs_[pair];
    if (contains(old, "<")) {
      warnLine(line, pair, "override-removes-elements",
               "the override " + item.key + " replaces all that stands on the line, " +
                   quoted(old) + ", and not a value only");
    }
    if (match == Match::kNamePrefix && !state.isPrefixSaid) {
      state.isPrefixSaid = true;
      warnLine(line, pair, "override-matches-prefix",
               "the override " + item.key +
                   " replaces this value: a name is compared from its "
                   "beginning only");
    }
    if (line.isFilled && !state.isSizeSaid) {
      state.isSizeSaid = true;
      problems_.warn(placeOf(pair), "override-of-size",
                     "the override " + item.key + " replaces what the program fills in in line " +
                         std::to_string(line.place.line) + " of " + fileName(line.place.file));
    }
    if (line.lastPair >= 0) rememberReplaced(static_cast<size_t>(line.lastPair), pair);
    line.lastPair = static_cast<int>(pair);
  }

  void rememberReplaced(size_t earlier, size_t later) {
    std::vector<int>& by = pairs_[earlier].replacedBy;
    if (std::find(by.begin(), by.end(), static_cast<int>(later)) == by.end())
      by.push_back(static_cast<int>(later));
  }

  void countLine(const Packet& packet, const TextLine& read, const Line& line) {
    jobBytes_ += line.count;
    if (packet.isSendData()) {
      if (read.fullSize >= kLineBytes) {
        problems_.warn(line.place, "template-line-cut",
                       "the line has " + std::to_string(read.fullSize) +
                           " characters; what follows the first 1023 is replaced by a NUL byte",
                       "break the line");
      }
    } else if (line.count > kMostJobLine) {
      const uint32_t written = line.count & kMostJobLine;
      problems_.warn(
          line.place, "template-line-long",
          "the line has " + std::to_string(std::max<size_t>(read.fullSize, line.count)) +
              " characters; " +
              (written == 0 ? "nothing of it is written"
                            : "only the first " + std::to_string(written) + " are written"),
          "keep lines below 256 characters, overridden values included");
    }
  }

  // Overrides -------------------------------------------------------------------------------------

  void checkOverride(size_t pair) {
    const ConfigItem& item = itemOf(pair);
    const PairState& state = pairs_[pair];
    if (item.key.empty() || item.key.size() >= kLongKey) {
      problems_.warn(placeOf(pair), "override-key-length",
                     item.key.empty() ? "an override without a key takes every line with a name "
                                        "attribute"
                                      : "keys of 250 characters and more match more lines than "
                                        "they say");
    }
    for (const int later : state.replacedBy) {
      problems_.warn(placeOf(pair), "override-replaced-again",
                     "the value of " + item.key + " is replaced again by " +
                         itemOf(static_cast<size_t>(later)).key + " in line " +
                         std::to_string(itemOf(static_cast<size_t>(later)).line));
    }
    if (!state.hasMatched) {
      checkUnused(pair);
    } else if (item.value != kSuppression && hasMarkup(item.value)) {
      problems_.warn(placeOf(pair), "override-markup",
                     "the value of " + item.key + " holds < or &, which is inserted as it is",
                     "write &lt; and &amp;");
    }
  }

  void checkUnused(size_t pair) {
    const ConfigItem& item = itemOf(pair);
    const std::string similar = similarKey(item.key, kODAXSection);
    const Section other = sectionOf(item.key);
    if (!similar.empty()) {
      problems_.warn(placeOf(pair), "misspelt-template-key",
                     item.key + " is taken as an override; no line of a template has this key",
                     "did you mean " + similar + "?");
    } else if (other != kNoSection) {
      problems_.warn(placeOf(pair), "key-of-other-section",
                     item.key + " is taken as an override here",
                     "it belongs to " + std::string(headerOf(other)));
    } else if (isComplete_) {
      const auto meant =
          std::find_if(templateKeys_.begin(), templateKeys_.end(),
                       [&item](const std::string& key) { return isSimilar(item.key, key); });
      problems_.warn(
          placeOf(pair), "override-unused",
          "no line of the job's templates has the key " + item.key + "; the override has no effect",
          meant == templateKeys_.end() ? "a line carries a key as <x:KEY> or as name=\"KEY\""
                                       : "did you mean " + *meant + "?");
    }
  }

  const Configuration& configuration_;
  ProblemList& problems_;
  int32_t splitBefore_;
  std::vector<PairState> pairs_;
  std::set<std::string> templateKeys_;  // some of those that an override could have
  uint64_t jobBytes_ = 0;
  bool isComplete_ = true;  // every template could be read
};

TemplateChecks::TemplateChecks(JobContext& job) : work_(std::make_unique<Work>(job)) {}
TemplateChecks::~TemplateChecks() = default;

void TemplateChecks::checkOpening() {
  for (const PacketKind kind : {PacketKind::kStartJob, PacketKind::kSetJobConfiguration,
                                PacketKind::kSetConfiguration, PacketKind::kVendorCmd}) {
    work_->check(kind, 0, kNoChunk, false);
  }
}

void TemplateChecks::checkEnd() {
  work_->check(PacketKind::kEndJob, work_->jobBytes(), kNoChunk, false);
}

void TemplateChecks::checkSendData(uint32_t bytes, bool isInOnePacket) {
  work_->check(PacketKind::kSendData, bytes, isInOnePacket ? kNoChunk : static_cast<int32_t>(bytes),
               isInOnePacket);
}

void TemplateChecks::countData(uint64_t bytes) {
  work_->count(bytes);
}

void TemplateChecks::checkOverrides() {
  work_->checkOverrides();
}

}  // namespace jobcheck
