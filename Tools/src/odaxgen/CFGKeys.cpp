#include "CFGKeys.h"

#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "CFGFile.h"
#include "CFGState.h"
#include "ReductionTables.h"

namespace {

constexpr int kNotMine = -1;
constexpr int kStored = 1;

constexpr int kErrorGlobalKey = -12;
constexpr int kErrorHXRasterKey = -13;
constexpr int kErrorImageKey = -14;
constexpr int kErrorStringTwice = -27;
constexpr int kErrorString = -28;
constexpr int kErrorIndexLevel = -34;
constexpr int kErrorMemory = -6;
constexpr int kMemoryLine = 250;

// The two codes of a numeric parser.
struct NumberErrors {
  int twice;
  int syntax;
};
constexpr NumberErrors kPositionErrors = {-15, -16};
constexpr NumberErrors kOffsetErrors = {-17, -18};
constexpr NumberErrors kIntegerErrors = {-30, -31};
constexpr NumberErrors kSymbolErrors = {-32, -33};

bool isMine(const char* key, const char* wanted) {
  return std::strcmp(key, wanted) == 0;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool areDecimal(const char* text) {
  while (isDigit(*text)) ++text;
  return *text == '\0';
}

bool isHexadecimal(const char* text) {
  if (text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return false;
  text += 2;
  while (std::isxdigit(static_cast<unsigned char>(*text)) != 0) ++text;
  return *text == '\0';
}

// Digits up to the first other character, modulo 2^32.
uint32_t readDigits(const char* text) {
  uint32_t number = 0;
  for (; isDigit(*text); ++text) number = number * 10 + static_cast<uint32_t>(*text - '0');
  return number;
}

// Leading blanks, an optional sign, digits.
int32_t readDecimal(const char* text) {
  while (std::isspace(static_cast<unsigned char>(*text)) != 0) ++text;
  const bool isNegative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  const uint32_t number = readDigits(text);
  return static_cast<int32_t>(isNegative ? 0 - number : number);
}

[[noreturn]] void failValue(const CFGFileItem* item, int code) {
  failInvalidValue(item->lineNumber, item->line.get(), code);
}

[[noreturn]] void failUnknownItem(const CFGFileItem* item, int code) {
  printError("UNKNOWN ITEM!: line %d.\n%s\n", item->lineNumber, item->line.get());
  throw code;
}

void requireUnset(const char* value, int32_t field, const CFGFileItem* item, int code) {
  if (value[0] == '\0' || field != kNotSet) failValue(item, code);
}

// Stores and echoes a value in one of the two number forms; false when it has neither.
bool storeNumber(const char* key, const char* value, int32_t* field, CFGFileItem* item) {
  if (isHexadecimal(value)) {
    *field = hexadecimalToDecimal(value + 2);
    my_printf("%s=0x%08X\n", key, static_cast<unsigned>(*field));
  } else if (areDecimal(value)) {
    *field = static_cast<int32_t>(readDigits(value));
    my_printf("%s=%d\n", key, *field);
  } else {
    return false;
  }
  item->integer = *field;
  return true;
}

// Stores and echoes a signed number and its sign: -1, +1, or 0 without one.
void storeSigned(const char* key, const char* value, int32_t* field, int32_t* sign,
                 const CFGFileItem* item, int syntaxCode) {
  const int32_t leading = value[0] == '-' ? -1 : (value[0] == '+' ? 1 : 0);
  if (!areDecimal(leading == 0 ? value : value + 1)) failValue(item, syntaxCode);
  *sign = leading;
  *field = readDecimal(value);
  my_printf(leading > 0 ? "%s=+%d\n" : "%s=%d\n", key, *field);
}

struct LevelTable {
  int32_t levels;
  const ReductionTable* table;  // null: none
};
constexpr LevelTable kLevelTables[] = {
    {0, nullptr},          {2, &Reduce256To2Tbl}, {3, &Reduce256To3Tbl},   {4, &Reduce256To4Tbl},
    {5, &Reduce256To5Tbl}, {6, &Reduce256To6Tbl}, {16, &Reduce256To16Tbl},
};

// The table of an index level; false for a number that has none.
bool findLevelTable(int32_t levels, const uint8_t** table) {
  for (const LevelTable& row : kLevelTables) {
    if (row.levels != levels) continue;
    *table = row.table == nullptr ? nullptr : row.table->data();
    return true;
  }
  return false;
}

struct PathKey {
  const char* key;
  PathText parameter::*field;
};
constexpr PathKey kODAXKeys[] = {
    {"StartJobXmlFile", &parameter::StartJobXmlFile},
    {"SetJobConfigurationXmlFile", &parameter::SetJobConfigurationXmlFile},
    {"SetConfigurationXmlFile", &parameter::SetConfigurationXmlFile},
    {"VendorCmdXmlFile", &parameter::VendorCmdXmlFile},
    {"SendDataXmlFile", &parameter::SendDataXmlFile},
    {"EndJobXmlFile", &parameter::EndJobXmlFile},
};

struct IntegerKey {
  const char* key;
  int32_t parameter::*field;
};
constexpr IntegerKey kHXRasterKeys[] = {
    {"GraphicsResolutionH", &parameter::GraphicsResolutionH},
    {"GraphicsResolutionV", &parameter::GraphicsResolutionV},
    {"PrintableWidthInPixel", &parameter::PrintableWidthInPixel},
};

[[noreturn]] void failMemory() {
  reportError("theWorkingCFGFileP: memory error", errno, "CFGKeys.cpp", kMemoryLine);
  throw kErrorMemory;
}

imageProcessingFile* appendImageProcessingFile(parameter* record) {
  imageProcessingFile* file = addImageProcessingFile(record->lastImageProcessingFile);
  if (file == nullptr) failMemory();
  if (record->imageProcessingFileList == nullptr) record->imageProcessingFileList = file;
  record->lastImageProcessingFile = file;
  return file;
}

imageParameter* appendImageParameter(parameter* record) {
  imageParameter* image = addImageParameter(record->lastImageParameter);
  if (image == nullptr) failMemory();
  if (record->imageParameterList == nullptr) record->imageParameterList = image;
  record->lastImageParameter = image;
  initImageParameter(image);
  return image;
}

bool parsePosition(const char* key, const char* value, imageParameter* image, CFGFileItem* item) {
  return parseStartingPosition(key, "StartingPositionX", value, &image->StartingPositionX,
                               &image->StartingPositionXSign, item) == kStored ||
         parseStartingPosition(key, "StartingPositionY", value, &image->StartingPositionY,
                               &image->StartingPositionYSign, item) == kStored;
}

// YOffsetC acts where it stands: before or behind the moves to the starting position.
bool parseOffset(const char* key, const char* value, imageParameter* image, CFGFileItem* item) {
  const bool isAfter = image->StartingPositionX != kNotSet || image->StartingPositionY != kNotSet;
  int32_t* offset = isAfter ? &image->YOffsetCAfterPosition : &image->YOffsetCBeforePosition;
  int32_t* sign = isAfter ? &image->YOffsetCAfterPositionSign : &image->YOffsetCBeforePositionSign;
  return parseYOffset(key, "YOffsetC", value, offset, sign, item) == kStored ||
         parseYOffset(key, "YOffset", value, &image->YOffset, &image->YOffsetSign, item) == kStored;
}

bool parseFormat(const char* key, const char* value, imageParameter* image, CFGFileItem* item) {
  return parseParameterIntegerSymbol(key, "ColorSpace", value, &image->ColorSpace, item) ==
             kStored ||
         parseParameterIntegerSymbol(key, "CompressionMode", value, &image->CompressionMode,
                                     item) == kStored ||
         parseParameterInteger(key, "NumOfPlanes", value, &image->NumOfPlanes, item) == kStored;
}

bool parseInk(const char* key, const char* value, imageParameter* image, CFGFileItem* item) {
  for (const InkKeys& ink : kInks) {
    if (parseParameterString(key, ink.fileKey, value, image->*ink.file, item) == kStored ||
        parseParameterInteger(key, ink.depthKey, value, &(image->*ink.depth), item) == kStored) {
      return true;
    }
    if (ink.levelKey != nullptr &&
        parseIndexLevel(key, ink.levelKey, value, &(image->*ink.level), item) == kStored) {
      return true;
    }
  }
  return parseParameterString(key, "ImageFileCMYK", value, image->ImageFileCMYK, item) == kStored ||
         parseParameterString(key, "ImageFileRGB", value, image->ImageFileRGB, item) == kStored;
}

}  // namespace

int parseParameterString(const char* key, const char* wanted, const char* value, char* path,
                         CFGFileItem* item) {
  if (!isMine(key, wanted)) return kNotMine;
  if (value[0] == '\0' || path[0] != '\0') failValue(item, kErrorStringTwice);
  char text[kLineBytes];
  if (processQuotaions(value, text) != 0) failValue(item, kErrorString);
  if (std::strlen(text) >= kPathBytes) failValue(item, kErrorString);
  zk_strcpy(path, kPathBytes, text);
  my_printf("%s=\"%s\"\n", key, path);
  return kStored;
}

int parseParameterInteger(const char* key, const char* wanted, const char* value, int32_t* field,
                          CFGFileItem* item) {
  if (!isMine(key, wanted)) return kNotMine;
  requireUnset(value, *field, item, kIntegerErrors.twice);
  if (!storeNumber(key, value, field, item)) failValue(item, kIntegerErrors.syntax);
  return kStored;
}

int parseParameterIntegerSymbol(const char* key, const char* wanted, const char* value,
                                int32_t* field, CFGFileItem* item) {
  if (!isMine(key, wanted)) return kNotMine;
  requireUnset(value, *field, item, kSymbolErrors.twice);
  if (storeNumber(key, value, field, item)) return kStored;
  if (convertSymbolToInt(value, field) < 0) failValue(item, kSymbolErrors.syntax);
  item->integer = *field;
  my_printf("%s=%s (=0x%08X)\n", key, value, static_cast<unsigned>(*field));
  return kStored;
}

int parseStartingPosition(const char* key, const char* wanted, const char* value, int32_t* field,
                          int32_t* sign, CFGFileItem* item) {
  if (!isMine(key, wanted)) return kNotMine;
  requireUnset(value, *field, item, kPositionErrors.twice);
  storeSigned(key, value, field, sign, item, kPositionErrors.syntax);
  return kStored;
}

int parseYOffset(const char* key, const char* wanted, const char* value, int32_t* field,
                 int32_t* sign, CFGFileItem* item) {
  if (!isMine(key, wanted)) return kNotMine;
  requireUnset(value, *field, item, kOffsetErrors.twice);
  if (value[0] == '-') failValue(item, kOffsetErrors.syntax);
  storeSigned(key, value, field, sign, item, kOffsetErrors.syntax);
  return kStored;
}

int parseIndexLevel(const char* key, const char* wanted, const char* value, const uint8_t** field,
                    CFGFileItem* item) {
  if (!isMine(key, wanted)) return kNotMine;
  my_printf("%s=%s\n", key, value);
  if (!findLevelTable(readDecimal(value), field)) failValue(item, kErrorIndexLevel);
  return kStored;
}

int convertSymbolToInt(const char* symbol, int32_t* value) {
  for (const IDSymbol& row : gIDSymbolTable) {
    if (row.symbol == nullptr) break;
    if (std::strcmp(row.symbol, symbol) != 0) continue;
    *value = row.value;
    return 1;
  }
  return -1;
}

int32_t hexadecimalToDecimal(const char* text) {
  uint32_t number = 0;
  for (; std::isxdigit(static_cast<unsigned char>(*text)) != 0; ++text) {
    const int digit = isDigit(*text) ? *text - '0' : (*text | 0x20) - 'a' + 10;
    number = number * 16 + static_cast<uint32_t>(digit);
  }
  return static_cast<int32_t>(number);
}

void parseGlobalParameter(CFGFileItem* item, parameter* record) {
  if (item->isHeader) return;
  const char* key = item->key.get();
  const char* value = item->value.get();
  if (parseParameterString(key, "OutFilePath", value, record->OutFilePath, item) == kStored) return;
  if (isMine(key, "ImageProcessingFile")) {
    imageProcessingFile* file = appendImageProcessingFile(record);
    parseParameterString(key, "ImageProcessingFile", value, file->path, item);
    return;
  }
  if (parseParameterInteger(key, "SplitDataSize", value, &record->SplitDataSize, item) == kStored) {
    return;
  }
  if (parseParameterString(key, "SendDataFile", value, record->SendDataFile, item) == kStored) {
    return;
  }
  failUnknownItem(item, kErrorGlobalKey);
}

int parseODAXParameterBuild(CFGFileItem* item, parameter* record) {
  if (item->isHeader) return 0;
  for (const PathKey& known : kODAXKeys) {
    if (parseParameterString(item->key.get(), known.key, item->value.get(), record->*known.field,
                             item) == kStored) {
      return 0;
    }
  }
  return kNotMine;
}

int parseODAXParameter(CFGFileItem* item, parameter* record) {
  return parseODAXParameterBuild(item, record);
}

void parseHXRasterParameter(CFGFileItem* item, parameter* record) {
  if (item->isHeader) return;
  for (const IntegerKey& known : kHXRasterKeys) {
    if (parseParameterInteger(item->key.get(), known.key, item->value.get(),
                              &(record->*known.field), item) == kStored) {
      return;
    }
  }
  failUnknownItem(item, kErrorHXRasterKey);
}

void parseImageParameter(CFGFileItem* item, parameter* record) {
  if (item->isHeader) return;
  const char* key = item->key.get();
  const char* value = item->value.get();
  imageParameter* image = record->lastImageParameter;
  if (sIsNewImageSection || image == nullptr) {
    sIsNewImageSection = false;
    image = appendImageParameter(record);
  }
  // By its text, on purpose: the symbol of the same value leaves the tables alone.
  if (isMine(key, "ColorSpace") && std::strcmp(value, "4") == 0) {
    for (const InkKeys& ink : kInks) {
      if (ink.level != nullptr) image->*ink.level = ReduceNoConvertTbl.data();
    }
  }
  if (parsePosition(key, value, image, item) || parseOffset(key, value, image, item) ||
      parseFormat(key, value, image, item) || parseInk(key, value, image, item)) {
    return;
  }
  failUnknownItem(item, kErrorImageKey);
}

void initCommonParameter(parameter* record) {
  record->imageParameterList = record->lastImageParameter = nullptr;
  record->imageProcessingFileList = record->lastImageProcessingFile = nullptr;
  record->OutFilePath[0] = '\0';
  record->SendDataFile[0] = '\0';
  for (const PathKey& path : kODAXKeys) (record->*path.field)[0] = '\0';
  for (const IntegerKey& integer : kHXRasterKeys) record->*integer.field = kNotSet;
  record->SplitDataSize = kNotSet;
}

void initImageParameter(imageParameter* image) {
  imageParameter* next = image->next;
  *image = {};
  image->next = next;
  image->Mode = kNotSet;
  image->StartingPositionX = image->StartingPositionY = kNotSet;
  image->YOffset = image->YOffsetSign = kNotSet;
  image->YOffsetCBeforePosition = image->YOffsetCAfterPosition = kNotSet;
  image->YOffsetCBeforePositionSign = image->YOffsetCAfterPositionSign = kNotSet;
  image->ColorSpace = image->CompressionMode = image->NumOfPlanes = kNotSet;
  for (const InkKeys& ink : kInks) image->*ink.depth = kNotSet;
  image->reserved[0] = image->reserved[1] = kNotSet;
  image->SameAsFirstImage = kNotSet;
}

imageParameter* addImageParameter(imageParameter* last) {
  auto* image = static_cast<imageParameter*>(std::calloc(1, sizeof(imageParameter)));
  if (image != nullptr && last != nullptr) last->next = image;
  return image;
}

imageParameter* getLastImageParameter(imageParameter* list) {
  if (list == nullptr) return nullptr;
  while (list->next != nullptr) list = list->next;
  return list;
}

imageProcessingFile* addImageProcessingFile(imageProcessingFile* last) {
  auto* file = static_cast<imageProcessingFile*>(std::calloc(1, sizeof(imageProcessingFile)));
  if (file != nullptr && last != nullptr) last->next = file;
  return file;
}

imageProcessingFile* getLastImageProcessingFile(imageProcessingFile* list) {
  if (list == nullptr) return nullptr;
  while (list->next != nullptr) list = list->next;
  return list;
}

void disposeParameter(parameter* record) {
  if (record == nullptr) return;
  for (imageParameter* image = record->imageParameterList; image != nullptr;) {
    imageParameter* next = image->next;
    std::free(image);
    image = next;
  }
  for (imageProcessingFile* file = record->imageProcessingFileList; file != nullptr;) {
    imageProcessingFile* next = file->next;
    std::free(file);
    file = next;
  }
  std::free(record);
}

void failInvalidValue(int lineNumber, const char* line, int code) {
  printError("INVALID VALUE OF ITEM!: line %d.\n%s\n", lineNumber, line);
  throw code;
}
