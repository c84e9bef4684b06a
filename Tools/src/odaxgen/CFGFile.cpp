#include "CFGFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "CFGState.h"

// Module state; CFGState.h gives the meaning of each.
char sDefaultOutFileName[kPathBytes];
int sSection;
bool sIsCStyleComment;
bool sIsNewImageSection;

namespace {

constexpr const char* kSourceName = "CFGFile.cpp";
constexpr int kItemMemoryLine = 250;      // the lines that these failures
constexpr int kOverrideMemoryLine = 275;  // have always been reported under

constexpr int kErrorOpen = -3;
constexpr int kErrorLine = -4;
constexpr int kErrorImageBeforeRaster = -5;
constexpr int kErrorItemMemory = -6;
constexpr int kErrorOverrideMemory = -7;
constexpr int kErrorOpenComment = -8;
constexpr int kErrorNoRasterSection = -9;
constexpr int kErrorNoImageSection = -10;
constexpr int kErrorNestedComment = -11;

enum class LineKind { kItem, kHeader, kNothing, kInvalid };

constexpr const char* kGlobalHeader = "[Global]";
constexpr const char* kODAXHeader = "[ODAX]";
constexpr const char* kHXRasterHeader = "[HXRaster]";
constexpr const char* kImageHeaderText = "[Image]";

struct HeaderName {
  const char* text;
  Section section;
};
constexpr HeaderName kHeaders[] = {{kGlobalHeader, kGlobalSection},
                                   {kODAXHeader, kODAXSection},
                                   {kHXRasterHeader, kHXRasterSection},
                                   {kImageHeaderText, kImageHeader}};

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}
bool isBlankOrLineEnd(char c) {
  return isBlank(c) || c == '\r' || c == '\n';
}
bool startsWith(const char* text, const char* prefix) {
  return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// Copies at most 1023 characters.
void copyText(char* dst, const char* src) {
  const size_t length = std::min(std::strlen(src), kLineBytes - 1);
  std::memmove(dst, src, length);
  dst[length] = '\0';
}

// The line is a header by itself: nothing before, nothing behind, not even blanks.
bool readHeader(const char* text, int lineNo, char* key, char* value) {
  for (const HeaderName& header : kHeaders) {
    if (std::strcmp(text, header.text) != 0) continue;
    sSection = header.section;
    if (header.section == kImageHeader) sIsNewImageSection = true;
    copyText(key, text);
    zk_sprintf(value, kLineBytes, "%d", lineNo);
    return true;
  }
  return false;
}

// Splits at the first "="; without one the key is the line and the value is empty.
LineKind splitItem(char* text, char* key, char* value) {
  char* equals = std::strchr(text, '=');
  value[0] = '\0';
  if (equals != nullptr) {
    *equals = '\0';
    copyText(value, equals + 1);
    trimSpaces(value);
  }
  copyText(key, text);
  trimSpaces(key);
  return value[0] == '\0' ? LineKind::kInvalid : LineKind::kItem;
}

// Inside a comment block only its end matters; a second beginning is an error.
LineKind readCommentLine(const char* text, const char* line, int lineNo) {
  if (startsWith(text, "*/")) sIsCStyleComment = false;
  if (startsWith(text, "/*")) failInvalidValue(lineNo, line, kErrorNestedComment);
  return LineKind::kNothing;
}

LineKind readLineParts(const char* line, int lineNo, char* key, char* value) {
  if (line[0] == '\0') return LineKind::kNothing;
  char text[kLineBytes];
  copyText(text, line);
  trimSpaces(text);
  if (sIsCStyleComment) return readCommentLine(text, line, lineNo);
  if (startsWith(text, "/*")) {
    sIsCStyleComment = true;  // also when the same line ends the comment: the whole line is one
    return LineKind::kNothing;
  }
  if (text[0] == '#') return LineKind::kNothing;
  // Cut without a second trim, and inside quotes too.
  if (char* comment = std::strchr(text, '#'); comment != nullptr) *comment = '\0';
  if (readHeader(text, lineNo, key, value)) return LineKind::kHeader;
  return splitItem(text, key, value);
}

[[noreturn]] void failSectionNotFound(const char* section, int code) {
  printError("SECTION NOT FOUND!: The section \"%s\" cannot be omitted.\n", section);
  throw code;
}

void echoHeader(const char* header) {
  my_printf("%s\n", header);
}

// Owns the items of one parse and knows the list's end.
class ItemList {
 public:
  ItemList() = default;
  ~ItemList() { deleteCFGFile(head_); }
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;

  CFGFileItem* append() {
    CFGFileItem* item = addCFGFile(last_);
    if (item == nullptr) return nullptr;
    if (head_ == nullptr) head_ = item;
    last_ = item;
    return item;
  }

 private:
  CFGFileItem* head_ = nullptr;
  CFGFileItem* last_ = nullptr;
};

// The parse of one file.
class Parse {
 public:
  Parse(parameter* record, char** overrideKeys, char** overrideValues, int32_t* hasVendorCmd)
      : record_(record),
        overrideKeys_(overrideKeys),
        overrideValues_(overrideValues),
        hasVendorCmd_(hasVendorCmd) {}

  void readFile(std::FILE* file, const char* path);
  void finish();

 private:
  void readLine();
  void enterSection(int before);
  void enterHXRaster(int before);
  void enterImage(int before);
  CFGFileItem* appendItem(bool isHeader);
  void dispatch(CFGFileItem* item);
  void parseODAXItem(CFGFileItem* item);
  void addOverride(const CFGFileItem* item);
  void echoMissingHeaders(Section upTo);
  [[nodiscard]] bool hasSendDataFile() const { return record_->SendDataFile[0] != '\0'; }
  [[nodiscard]] bool hasRead(Section section) const { return hasRead_[section]; }

  parameter* record_;
  char** overrideKeys_;
  char** overrideValues_;
  int32_t* hasVendorCmd_;
  size_t overrides_ = 0;

  ItemList items_;
  int lineNo_ = 0;
  char line_[kLineBytes] = {};
  char key_[kLineBytes] = {};
  char value_[kLineBytes] = {};

  // The current section: its header's line, and its items, so that a check need not walk the file.
  int sectionLine_ = 0;
  const CFGFileItem* sectionItems_ = nullptr;
  bool hasRead_[kODAXSection + 1] = {};  // headers read, by section
};

void Parse::readFile(std::FILE* file, const char* path) {
  int length = 0;
  while (readLineOf(path, line_, static_cast<int>(kLineBytes), file, &length) != nullptr) {
    if (++lineNo_ == 1) {
      auto count = static_cast<uint32_t>(length);
      deleteBOM(line_, &count);
    }
    readLine();
  }
}

void Parse::readLine() {
  const int before = sSection;
  const bool isImageWithoutItems = sIsNewImageSection;
  const LineKind kind = readLineParts(line_, lineNo_, key_, value_);
  if (kind == LineKind::kInvalid) failInvalidValue(lineNo_, line_, kErrorLine);
  if (kind == LineKind::kNothing) return;

  const bool isHeader = kind == LineKind::kHeader;
  if (isHeader && isImageWithoutItems) failRequiredItem("ColorSpace");
  if (sSection != before) enterSection(before);
  CFGFileItem* item = appendItem(isHeader);
  if (isHeader) {
    sectionLine_ = lineNo_;
    sectionItems_ = item;
    hasRead_[sSection] = true;
  }
  dispatch(item);
}

// Echoes the new section and the ones that were skipped, so that the echo shows them in order, and
// checks what the section before must hold.
void Parse::enterSection(int before) {
  switch (sSection) {
    case kGlobalSection:
      echoHeader(kGlobalHeader);
      break;
    case kODAXSection:
      echoHeader(kODAXHeader);
      break;
    case kHXRasterSection:
      enterHXRaster(before);
      break;
    case kImageHeader:
      enterImage(before);
      break;
    default:
      break;
  }
}

void Parse::enterHXRaster(int before) {
  // Coming from [ODAX] the default file name is not applied, on purpose.
  if (before == kNoSection) echoHeader(kGlobalHeader);
  if (before == kNoSection || before == kGlobalSection) {
    checkGlobalSectionParameter(record_);
    echoHeader(kODAXHeader);
  }
  echoHeader(kHXRasterHeader);
}

void Parse::enterImage(int before) {
  if (before == kNoSection) echoHeader(kGlobalHeader);
  if (before == kNoSection || before == kGlobalSection) echoHeader(kODAXHeader);
  if (before == kNoSection || before == kGlobalSection || before == kODAXSection) {
    failSectionNotFound(kHXRasterHeader, kErrorImageBeforeRaster);
  }
  if (before == kHXRasterSection) checkHXRasterSectionParameter(sectionItems_, sectionLine_);
  if (before == kImageSection) checkImageSectionParameter(record_, sectionItems_, sectionLine_);
  sSection = kImageSection;
  echoHeader(kImageHeaderText);
}

CFGFileItem* Parse::appendItem(bool isHeader) {
  CFGFileItem* item = items_.append();
  if (item != nullptr) {
    item->lineNumber = lineNo_;
    item->isHeader = isHeader;
    item->line = newTextCopy(line_);
    item->key = newTextCopy(key_);
    item->value = newTextCopy(value_);
  }
  if (item == nullptr || item->line == nullptr || item->key == nullptr || item->value == nullptr) {
    reportError("theWorkingCFGFileP: memory error", errno, kSourceName, kItemMemoryLine);
    throw kErrorItemMemory;
  }
  return item;
}

void Parse::dispatch(CFGFileItem* item) {
  switch (sSection) {
    case kGlobalSection:
      parseGlobalParameter(item, record_);
      break;
    case kHXRasterSection:
      parseHXRasterParameter(item, record_);
      break;
    case kImageSection:
      parseImageParameter(item, record_);
      break;
    case kODAXSection:
      parseODAXItem(item);
      break;
    default:
      break;  // before the first header items are kept and ignored
  }
}

void Parse::parseODAXItem(CFGFileItem* item) {
  if (parseODAXParameterBuild(item, record_) != 0) addOverride(item);
  if (std::strcmp(item->key.get(), "VendorCmdXmlFile") == 0) *hasVendorCmd_ = 1;
}

void Parse::addOverride(const CFGFileItem* item) {
  if (overrides_ == kMaxOverrides) failInvalidValue(lineNo_, line_, kErrorLine);
  CText key = newZeroedText(kLineBytes);
  CText value = newZeroedText(kLineBytes);
  if (key == nullptr || value == nullptr) {
    reportError("parseParameter(): memory error", errno, kSourceName, kOverrideMemoryLine);
    throw kErrorOverrideMemory;
  }
  copyText(key.get(), item->key.get());
  copyText(value.get(), item->value.get());
  const bool isQuoted = item->value[0] == '"';
  if (isQuoted && processQuotaions(item->value.get(), value.get()) != 0) {
    failInvalidValue(lineNo_, line_, kErrorLine);
  }
  overrideKeys_[overrides_] = key.release();
  overrideValues_[overrides_] = value.release();
  ++overrides_;
  my_printf("%s=%s\n", item->key.get(), item->value.get());
}

// The headers in front of `upTo` that the file does not have.
void Parse::echoMissingHeaders(Section upTo) {
  for (const HeaderName& header : kHeaders) {
    if (header.section == upTo) return;
    if (!hasRead(header.section)) echoHeader(header.text);
  }
}

void Parse::finish() {
  if (sIsCStyleComment) failInvalidValue(lineNo_, line_, kErrorOpenComment);
  if (!hasSendDataFile() && !hasRead(kHXRasterSection)) {
    echoMissingHeaders(kHXRasterSection);
    failSectionNotFound(kHXRasterHeader, kErrorNoRasterSection);
  }
  if (!hasSendDataFile() && !hasRead(kImageSection)) {
    echoMissingHeaders(kImageHeader);
    failSectionNotFound(kImageHeaderText, kErrorNoImageSection);
  }
  if (sIsNewImageSection) failRequiredItem("ColorSpace");
  if (!hasSendDataFile()) checkImageSectionParameter(record_, sectionItems_, sectionLine_);
  convertDirSeparator(record_);
  convertToFullPath(record_);
  checkIfFileExist(record_);
}

}  // namespace

void setDefaultFileName(const char* name) {
  const size_t length = std::min(std::strlen(name), kPathBytes - 1);
  zk_strncpy(sDefaultOutFileName, kPathBytes, name, length);
}

void parseParameter(const char* cfgPath, parameter* record, char** overrideKeys,
                    char** overrideValues, int32_t* hasVendorCmdXmlFile) {
  sSection = kNoSection;
  sIsCStyleComment = false;
  sIsNewImageSection = false;
  initCommonParameter(record);
  ParameterOwner owner(record);  // frees the record when the parse fails

  const CFile file(my_fopen(cfgPath, "r"));
  if (file == nullptr) {
    reportCannotOpen(cfgPath);
    throw kErrorOpen;
  }
  my_printf("----------------------------------------------------------------------\n");
  my_printf("The Parameters you set are...\n");
  Parse parse(record, overrideKeys, overrideValues, hasVendorCmdXmlFile);
  parse.readFile(file.get(), cfgPath);
  parse.finish();
  static_cast<void>(owner.release());
}

int parseKeyValue(const char* line, int lineNo, char* key, char* value) {
  switch (readLineParts(line, lineNo, key, value)) {
    case LineKind::kItem:
    case LineKind::kHeader:
      return 0;
    case LineKind::kNothing:
      return -1;
    default:
      return -2;
  }
}

int processQuotaions(const char* src, char* dst) {
  if (src[0] != '"') return -1;
  size_t length = 0;
  for (const char* at = src + 1; *at != '\0'; ++at) {
    const bool isPair = (at[0] == '"' || at[0] == '\\') && at[1] == '"';
    if (at[0] == '"' && !isPair) {
      dst[length] = '\0';
      return at[1] == '\0' ? 0 : -1;
    }
    if (length == kLineBytes - 1) return -1;
    if (isPair) ++at;
    dst[length++] = *at;
  }
  return -1;
}

char* trimSpaces(char* s) {
  const char* begin = s;
  while (isBlank(*begin)) ++begin;
  size_t length = std::min(std::strlen(begin), kLineBytes - 1);
  // Kept on purpose: a last single character stays, whatever it is.
  while (length > 1 && isBlankOrLineEnd(begin[length - 1])) --length;
  std::memmove(s, begin, length);
  s[length] = '\0';
  return s;
}

CFGFileItem* addCFGFile(CFGFileItem* last) {
  auto* item = newOrNull<CFGFileItem>();
  if (item != nullptr && last != nullptr) last->next = item;
  return item;
}

CFGFileItem* getLastCFGFile(CFGFileItem* head) {
  if (head == nullptr) return nullptr;
  while (head->next != nullptr) head = head->next;
  return head;
}

void deleteCFGFile(CFGFileItem* head) {
  while (head != nullptr) {
    CFGFileItem* next = head->next;
    delete head;
    head = next;
  }
}
