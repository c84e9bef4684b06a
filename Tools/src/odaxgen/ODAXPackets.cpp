// The packets of ODAXOutLib: template lines with overridden values, and the data behind them.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ODAXOutLib.h"
#include "ODAXState.h"
#include "ZKFile.h"

// The lines of the last send-data packet. Nearly all packets of a job have the same size and so the
// same lines: these are put together once, and for the others the template is opened but not read.
struct DataLines {
  bool isWhole = false;   // nothing below counts otherwise
  FileState source = {};  // of the template
  uint32_t size = 0;      // of the packet's data
  int32_t chunkSize = 0;
  bool fit = false;
  uint32_t count = 0;
  std::array<char, 16384> bytes = {};

  [[nodiscard]] bool areFor(const FileState& state, uint32_t dataSize, int32_t chunk) const {
    return isWhole && source == state && size == dataSize && chunkSize == chunk;
  }

  void begin(const FileState& state, uint32_t dataSize, int32_t chunk) {
    isWhole = false;
    source = state;
    size = dataSize;
    chunkSize = chunk;
    fit = true;
    count = 0;
  }

  void add(const char* line, uint32_t lineBytes) {
    fit = fit && lineBytes <= bytes.size() - count;
    if (!fit) return;
    std::memcpy(bytes.data() + count, line, lineBytes);
    count += lineBytes;
  }
};
static DataLines sDataLines;

namespace {

constexpr const char* kSourceName = "ODAXOutLib.cpp";
constexpr const char* kSuppression = "ODAXGEN_SUPPRESSION";  // drops the lines that carry a key
constexpr size_t kPatternBytes = 256;
constexpr size_t kCopyBytes = 65536;
constexpr int32_t kNoChunk = -1;

constexpr int kErrorOverrideMemory = -50;
constexpr int kErrorTempCopyMemory = -61;
constexpr int kErrorTempOpen = -64;
constexpr int kErrorTooLong = -67;
constexpr int kErrorSizeElement = -71;
constexpr int kErrorSizeMemory = -72;
constexpr int kErrorContinueElement = -73;

// A failure for want of memory, under the line number that it has always been reported with.
struct MemoryFailure {
  int code;
  const char* message;
  int line;
};

[[noreturn]] void fail(const MemoryFailure& failure) {
  reportError(failure.message, errno, kSourceName, failure.line);
  throw failure.code;
}

// A template, what its failures are called, and the size that its "datasize" lines get.
struct Template {
  const char* path;
  int openCode;
  MemoryFailure memory;
};

bool isSuppressed(const char* line) {
  return std::strcmp(line, kSuppression) == 0;
}

// Adjusts a byte count; it never leaves the line buffer.
void adjustCount(uint32_t* count, size_t added, size_t removed) {
  const int64_t adjusted =
      int64_t{*count} + static_cast<int64_t>(added) - static_cast<int64_t>(removed);
  *count = static_cast<uint32_t>(std::clamp<int64_t>(adjusted, 0, kLineBytes));
}

void applyOverrides(char* line, uint32_t* count) {
  for (size_t i = 0; i < kMaxOverrides; ++i) {
    if (mOverRideKeyList[i] == nullptr || mOverRideValueList[i] == nullptr) return;
    overrideValues(line, count, static_cast<int>(i));
  }
}

CFile openTemplate(const Template& source) {
  CFile file(my_fopen(source.path, "rb"));
  if (file != nullptr) return file;
  reportCannotOpen(source.path);
  throw source.openCode;
}

// Walks the lines of a template. `edit` changes a line before the overrides do, `write` gets what
// is not suppressed; both may throw.
template <class Edit, class Write>
void forEachLine(const Template& source, std::FILE* file, bool dropsMark, Edit edit, Write write) {
  // One buffer for all lines: a count that exceeds the text writes what earlier lines left there.
  const CText line = newZeroedText(kLineBytes);
  if (line == nullptr) fail(source.memory);

  int length = 0;
  for (bool isFirst = true;
       readLineOf(source.path, line.get(), static_cast<int>(kLineBytes), file, &length) != nullptr;
       isFirst = false) {
    auto count = static_cast<uint32_t>(length);
    if (isFirst && dropsMark) deleteBOM(line.get(), &count);
    edit(line.get(), &count);
    applyOverrides(line.get(), &count);
    if (!isSuppressed(line.get())) write(line.get(), count);
  }
}

// The five job packets count a line in full but write it with an 8-bit length, on purpose.
void writeJobLine(const char* line, uint32_t count) {
  sendSetODAX(line, static_cast<uint8_t>(count));
  mJobDataSize += count;
}

void writeData(const void* data, uint32_t count) {
  ZKFile_Write(data, count);
  mJobDataSize += count;
}

void editNothing(char* /*line*/, uint32_t* /*count*/) {}

void sendTemplatePacket(const Template& source) {
  const CFile file = openTemplate(source);
  forEachLine(source, file.get(), true, editNothing, writeJobLine);
}

// The first line keeps its byte-order mark here, on purpose.
void sendDataTemplate(const Template& source, uint32_t size, int32_t chunkSize) {
  const CFile file = openTemplate(source);
  FileState state = {};
  const bool canStay = fileStateOf(file.get(), &state);
  if (canStay && sDataLines.areFor(state, size, chunkSize)) {
    writeData(sDataLines.bytes.data(), sDataLines.count);
    return;
  }
  sDataLines.begin(state, size, chunkSize);
  const auto edit = [size, chunkSize](char* line, uint32_t* count) {
    if (std::strstr(line, "datasize") != nullptr) replaceCorrectSize(line, size, count);
    if (std::strstr(line, "continue") != nullptr) {
      replaceCorrectContinueFlug(line, chunkSize, count);
    }
  };
  const auto write = [](const char* line, uint32_t count) {
    writeData(line, count);
    sDataLines.add(line, count);
  };
  forEachLine(source, file.get(), false, edit, write);
  sDataLines.isWhole = canStay && sDataLines.fit && std::ferror(file.get()) == 0;
}

// The wording is odd and stays.
[[noreturn]] void failTooLong(const char* newValue) {
  printError("ERROR!: A value of too int32_t overriding \"%s\".\n", newValue);
  throw kErrorTooLong;
}

// The text of the line's first element, as the tokeniser finds it in `copy`; throws without one.
const char* firstElementValue(const char* line, char* copy, const MemoryFailure& missing) {
  zk_strcpy(copy, kLineBytes, line);
  int error = 0;
  char* context = nullptr;
  if (zk_strtok(copy, ">", &context, &error) == nullptr) fail(missing);
  const char* value = zk_strtok(nullptr, "<", &context, &error);
  if (value == nullptr) fail(missing);
  return value;
}

// Whether the line carries the key: as the end of a prefixed tag, or at the beginning of a name
// attribute. A key too long for a pattern empties or shortens it, and then matches more, on
// purpose.
bool carriesKey(const char* line, const char* key) {
  if (std::strstr(line, key) == nullptr) return false;
  char pattern[kPatternBytes];
  zk_strcpy(pattern, sizeof pattern, ":");
  zk_strcat(pattern, sizeof pattern, key);
  zk_strcat(pattern, sizeof pattern, ">");
  if (std::strstr(line, pattern) != nullptr) return true;
  zk_strcpy(pattern, sizeof pattern, "name=\"");
  zk_strcat(pattern, sizeof pattern, key);
  return std::strstr(line, pattern) != nullptr;
}

// Cuts the old value out of a copy of the line: what stands behind the first ">", up to the last
// "<" when one follows. Null for a line without ">".
const char* oldValueOf(const char* line, char* copy) {
  zk_strcpy(copy, kLineBytes, line);
  char* value = std::strchr(copy, '>');
  if (value == nullptr) return nullptr;
  ++value;
  char* end = std::strrchr(value, '<');
  if (end != nullptr) *end = '\0';
  return value;
}

}  // namespace

void ODAX_ForgetDataLines() {
  sDataLines.isWhole = false;
}

void ODAX_SetOverRideKeyValue(char* const* keys, char* const* values) {
  const MemoryFailure noMemory = {kErrorOverrideMemory, "ODAX_SetOverRideKeyValue: memory error",
                                  277};
  ODAX_ForgetDataLines();
  for (size_t i = 0; i < kMaxOverrides && keys[i] != nullptr && values[i] != nullptr; ++i) {
    mOverRideKeyList[i] = newZeroedText(kLineBytes);
    mOverRideValueList[i] = newZeroedText(kLineBytes);
    if (mOverRideKeyList[i] == nullptr || mOverRideValueList[i] == nullptr) fail(noMemory);
    zk_memcpy(mOverRideKeyList[i].get(), kLineBytes, keys[i], kLineBytes);
    zk_memcpy(mOverRideValueList[i].get(), kLineBytes, values[i], kLineBytes);
  }
}

void ODAX_SendJobSJ() {
  sendTemplatePacket({mSJ_XMLFilePath, -51, {-52, "ODAX_SendJobSJ(): memory error", 412}});
}

void ODAX_SendJobSJC() {
  sendTemplatePacket({mSJC_XMLFilePath, -53, {-54, "ODAX_SendJobSJC(): memory error", 473}});
}

void ODAX_SendJobSC() {
  sendTemplatePacket({mSC_XMLFilePath, -55, {-56, "ODAX_SendJobSC(): memory error", 535}});
}

void ODAX_SendJobVC() {
  if (mIsExistVC == 0) return;
  sendTemplatePacket({mVC_XMLFilePath, -57, {-58, "ODAX_SendJobVC(): memory error", 600}});
}

void ODAX_SendJobEJ() {
  const auto edit = [](char* line, uint32_t* count) {
    if (std::strstr(line, "datasize") != nullptr) replaceCorrectSize(line, mJobDataSize, count);
  };
  const Template source = {mEJ_XMLFilePath, -65, {-66, "ODAX_SendJobEJ(): memory error", 853}};
  const CFile file = openTemplate(source);
  forEachLine(source, file.get(), true, edit, writeJobLine);
}

void sendDataRaster(const void* data, uint32_t count) {
  sendDataTemplate({mSD_XMLFilePath, -59, {-60, "sendDataRaster(): memory error", 664}}, count,
                   static_cast<int32_t>(count));
  writeData(data, count);
}

void sendDataRasterNotDivide() {
  JobHooks none;
  sendDataRasterNotDivideWith(none);
}

void sendDataRasterNotDivideWith(JobHooks& hooks) {
  // Memory failures are reported under a borrowed name, on purpose.
  const CBytes copy = newZeroedBytes(kCopyBytes);
  if (copy == nullptr) fail({kErrorTempCopyMemory, "ODAX_SendJobSJ(): memory error", 742});
  sendDataTemplate({mSD_XMLFilePath, -62, {-63, "ODAX_SendJobSJ(): memory error", 754}},
                   mTempJobDataSize, kNoChunk);

  char path[kPathBytes];
  getTempPath(static_cast<int>(sizeof path), path);
  const CFile file(my_fopen(path, "rb"));
  if (file == nullptr) {
    reportCannotOpen(path);
    throw kErrorTempOpen;
  }
  forEachPiece(file.get(), copy.get(), kCopyBytes, [&hooks](const uint8_t* bytes, size_t count) {
    ZKFile_Write(bytes, static_cast<uint32_t>(count));
    hooks.dataCopied(count);
  });
  if (std::ferror(file.get()) != 0) hooks.readFailed(path, errno);
  mJobDataSize += mTempJobDataSize;
}

void overrideValues(char* line, uint32_t* count, int index) {
  const char* key = mOverRideKeyList[static_cast<size_t>(index)].get();
  const char* value = mOverRideValueList[static_cast<size_t>(index)].get();
  if (!carriesKey(line, key)) return;

  char copy[kLineBytes];
  const char* oldValue = oldValueOf(line, copy);
  if (oldValue == nullptr) return;
  if (isSuppressed(value)) {
    zk_strcpy(line, kLineBytes, kSuppression);  // its count stays; the line is dropped
    return;
  }
  strchgXmlValue(line, oldValue, value);
  // Counted even when the replacement found nothing to change, on purpose.
  adjustCount(count, std::strlen(value), std::strlen(oldValue));
}

void strchgXmlValue(char* line, const char* oldValue, const char* newValue) {
  const size_t oldLength = std::strlen(oldValue);
  const size_t newLength = std::strlen(newValue);
  if (std::strlen(line) + newLength >= kLineBytes + oldLength) failTooLong(newValue);
  // A value that fills the line empties the needle, which is then found at the line's beginning.
  char needle[kLineBytes];
  zk_strcpy(needle, sizeof needle, ">");
  zk_strcat(needle, sizeof needle, oldValue);
  zk_strcat(needle, sizeof needle, "<");
  if (std::strcmp(oldValue, newValue) == 0) return;
  char* found = std::strstr(line, needle);
  if (found == nullptr || found[0] == '\0') return;

  char* value = found + 1;
  const char* tail = value + std::min(oldLength, std::strlen(value));
  const size_t tailBytes = std::strlen(tail) + 1;
  if (static_cast<size_t>(value - line) + newLength + tailBytes > kLineBytes) failTooLong(newValue);
  std::memmove(value + newLength, tail, tailBytes);
  std::copy_n(newValue, newLength, value);
}

void replaceCorrectSize(char* line, uint32_t size, uint32_t* count) {
  char copy[kLineBytes];
  const char* oldValue = firstElementValue(
      line, copy, {kErrorSizeElement, "replaceCorrectSize(): strtok error", 1172});
  const CText number = newZeroedText(kLineBytes);
  if (number == nullptr) fail({kErrorSizeMemory, "replaceCorrectSize(): memory error", 1178});
  zk_sprintf(number.get(), kLineBytes, "%lu", static_cast<unsigned long>(size));
  strchgXmlValue(line, oldValue, number.get());
  adjustCount(count, std::strlen(number.get()), std::strlen(oldValue));
}

void replaceCorrectContinueFlug(char* line, int32_t chunkSize, uint32_t* count) {
  char copy[kLineBytes];
  const char* oldValue = firstElementValue(
      line, copy, {kErrorContinueElement, "replaceCorrectContinueFlug(): strtok error", 1219});
  // A full chunk says "ON" also when the stream ends with it and nothing follows, on purpose.
  const char* newValue = chunkSize != kNoChunk && chunkSize == mSplitDataSize ? "ON" : "OFF";
  adjustCount(count, std::strlen(newValue), std::strlen(oldValue));
  strchgXmlValue(line, oldValue, newValue);
}

void sendSetODAX(const char* line, uint8_t count) {
  if (count != 0) ZKFile_Write(line, count);
}

void sendPacketParameterBlock(const void* data, int32_t count) {
  if (count >= 1) ZKFile_Write(data, static_cast<uint32_t>(count));
}
