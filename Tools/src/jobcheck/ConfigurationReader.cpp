#include "ConfigurationReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <set>
#include <utility>

#include "CFGFile.h"
#include "CFGState.h"
#include "FileText.h"
#include "JobRequest.h"
#include "KeyNames.h"
#include "LineChecks.h"
#include "LineErrors.h"
#include "Silence.h"

namespace jobcheck {

namespace {

constexpr int kErrorFullPath = -43;
constexpr int kErrorOpen = -3;
constexpr int kErrorLine = -4;
constexpr int kErrorImageBeforeRaster = -5;
constexpr int kErrorOpenComment = -8;
constexpr int kErrorNoRasterSection = -9;
constexpr int kErrorNoImageSection = -10;
constexpr int kErrorPlaneCount = -19;
constexpr int kErrorPixelRgbCount = -20;
constexpr int kErrorColorSpace = -26;
constexpr int kErrorRequiredItem = -36;

// Values of sSection that the library does not know: no header was read in the line, and a section
// whose header is not understood, so that nothing can be said about its lines.
constexpr int kNoHeaderRead = -1;
constexpr int kForeignSection = 99;

// What an image file asks for when the depths of its inks are not all at least 1.
struct FileRequirement {
  const char* fileKey;
  ImagePath file;
  std::vector<Ink> inks;
};

// In the order in which the library asks.
std::vector<FileRequirement> fileRequirements() {
  std::vector<FileRequirement> all = {
      {"ImageFileRGB", &imageParameter::ImageFileRGB, {kInkR, kInkG, kInkB}},
      {"ImageFileCMYK", &imageParameter::ImageFileCMYK, {kInkK, kInkC, kInkM, kInkY}}};
  for (const Ink ink : {kInkK, kInkC, kInkM, kInkY, kInkc, kInkm, kInkGy, kInkPgy, kInkR, kInkG,
                        kInkB, kInkPBK, kInkMBK, kInkCO, kInkCO2}) {
    all.push_back({kInks[ink].fileKey, kInks[ink].file, {ink}});
  }
  return all;
}

// The key that the library asks for. Two of them have a comma that no line can match.
std::string askedKey(Ink ink) {
  const std::string key = kInks[ink].depthKey;
  return ink == kInkm || ink == kInkCO2 ? key + "," : key;
}

// The planes that a colour space takes, by the code of the refusal.
const char* planesOf(int code) {
  switch (code) {
    case -22:
      return "use 1 or 3";
    case -23:
      return "use 4 or 6";
    case -24:
      return "use 1, 4, 5, 8, 12 or 13";
    default:
      return "use 1";
  }
}

struct ItemsDelete {
  void operator()(CFGFileItem* head) const noexcept { deleteCFGFile(head); }
};

void cutAtLast(std::string& text, char separator, const std::string& otherwise) {
  const size_t at = text.rfind(separator);
  text = at == std::string::npos ? otherwise : text.substr(0, at);
}

ParameterOwner newRecord(const std::string& fullPath) {
  ParameterOwner record(static_cast<parameter*>(std::calloc(1, sizeof(parameter))));
  if (record == nullptr) throw std::bad_alloc();
  initCommonParameter(record.get());
  std::string folder = fullPath;
  cutAtLast(folder, '/', ".");
  zk_strcpy(record->CFGFileDirectory, kPathBytes, folder.c_str());
  return record;
}

void rememberDefaultOutput(const std::string& fullPath) {
  std::string name = fullPath;
  cutAtLast(name, '.', name);
  name += ".dat";
  setDefaultFileName(name.size() < kPathBytes ? name.c_str() : "");
}

class Reader {
 public:
  Reader(Configuration& configuration, ProblemList& problems)
      : configuration_(configuration), record_(configuration.record.get()), problems_(problems) {}

  void read(const TextLine& line);
  void finish();

 private:
  void readLine(const TextLine& line);
  void readComment(const TextLine& line, bool wasInside);
  void readHeader(int before, bool wasNew);
  void readItem();
  void refuseLine(int before, bool wasNew);
  void refuse(int code, const ConfigItem& item);
  void enterHXRaster(int before);
  void enterImage(int before);
  void leavePage();
  void appendItem(bool isHeader);
  int dispatch(CFGFileItem* item);
  int parseGlobal(CFGFileItem* item);
  int parseImage(CFGFileItem* item);
  int parseOdax(CFGFileItem* item);
  int addOverride(const CFGFileItem* item);

  void requireResolution();
  void checkLastPage();
  void checkFormat(PageLines& page);
  void requireFormat(PageLines& page);
  void requireDepths(PageLines& page);
  void requireDepths(PageLines& page, const FileRequirement& requirement);
  [[nodiscard]] std::string hintOnMissing(const PageLines& page, const std::string& key) const;
  void requirePageItem(PageLines& page, const std::string& key, const std::string& asked,
                       const std::string& why);
  void listCombination(int code, PageLines& page);
  void listEmptyPage();

  [[nodiscard]] bool hasSendDataFile() const { return record_->SendDataFile[0] != '\0'; }
  [[nodiscard]] SectionLines* currentLines();
  [[nodiscard]] Place here() const { return configuration_.at(line_.number); }

  Configuration& configuration_;
  parameter* record_;
  ProblemList& problems_;

  TextLine line_;
  std::array<char, kLineBytes> key_ = {};
  std::array<char, kLineBytes> value_ = {};

  std::unique_ptr<CFGFileItem, ItemsDelete> items_;
  CFGFileItem* lastItem_ = nullptr;
  const CFGFileItem* sectionItems_ = nullptr;
  int sectionReadLine_ = 0;  // of the last header, as the library counts
  int sectionLine_ = 0;
  int commentLine_ = 0;
  bool isRefused_ = false;      // this line
  bool isPageRefused_ = false;  // a line of the [Image] section that has no item yet was refused
  std::set<std::pair<const imageParameter*, std::string>> missed_;  // keys of pages, once each

  bool hasRead_[kODAXSection + 1] = {};
  bool hasForeignSection_ = false;  // a header was not understood
  bool isRasterMissed_ = false;     // that [HXRaster] is missing was said
  bool isSendDataRefused_ = false;  // the line of SendDataFile was refused
  SectionLines ignored_;            // items in front of the first section
};

void Reader::read(const TextLine& line) {
  line_ = line;
  if (line.readNumber == 1) {
    std::array<char, kLineBytes> text{};
    std::copy_n(line.text.c_str(), line.text.size(), text.begin());
    auto count = static_cast<uint32_t>(line.count);
    deleteBOM(text.data(), &count);
    line_.fullSize -= line_.text.size() - std::strlen(text.data());
    line_.text = text.data();
  }
  readLine(line_);
}

void Reader::readLine(const TextLine& line) {
  const int before = sSection;
  const bool wasNew = sIsNewImageSection;
  const bool wasInComment = sIsCStyleComment;
  // A header is told from an item by its effect: "[Global]=5" is an item of that key.
  sSection = kNoHeaderRead;
  int kind = 0;
  const int code = codeOf([&] {
    kind = parseKeyValue(line.text.c_str(), line.readNumber, key_.data(), value_.data());
  });
  const bool isHeader = code == 0 && kind == 0 && sSection != kNoHeaderRead;
  if (!isHeader) sSection = before;
  if (wasInComment || sIsCStyleComment) readComment(line, wasInComment);
  if (code != 0) refuse(code, {line.number, "", "", false});
  if (code != 0 || kind == -1) return;

  isRefused_ = false;
  if (kind == -2) {
    refuseLine(before, wasNew);
  } else if (isHeader) {
    readHeader(before, wasNew);
  } else {
    readItem();
  }
  const bool isKnown = before != kForeignSection || isHeader;
  if (isKnown && !isRefused_) checkLine(line, static_cast<Section>(before), here(), problems_);
}

void Reader::readComment(const TextLine& line, bool wasInside) {
  if (wasInside) {
    checkCommentLine(line, here(), problems_);
  } else {
    commentLine_ = line.number;
    checkCommentBegin(line, here(), problems_);
  }
}

// A line without "=" or value. One that was meant as a header is taken as it, so that the lines
// behind it are not held against the wrong section.
void Reader::refuseLine(int before, bool wasNew) {
  const size_t first = line_.text.find_first_not_of(" \t");
  const bool isBracket = first != std::string::npos && line_.text[first] == '[';
  if (before == kForeignSection && !isBracket) return;
  refuse(kErrorLine, {line_.number, key_.data(), value_.data(), false});
  const Section meant = meantHeader(line_.text);
  if (meant != kNoSection) {
    sSection = meant == kImageSection ? kImageHeader : meant;
    if (meant == kImageSection) sIsNewImageSection = true;
    readHeader(before, wasNew);
  } else if (isBracket) {
    sSection = kForeignSection;
    hasForeignSection_ = true;
    sIsNewImageSection = false;
  } else if (SectionLines* lines = currentLines()) {
    lines->items.push_back({line_.number, key_.data(), "", false});
  } else {
    isPageRefused_ = true;
  }
}

void Reader::refuse(int code, const ConfigItem& item) {
  isRefused_ = true;
  RefusedLine refused{here(),     code, static_cast<Section>(sSection), line_.text, item.key,
                      item.value, 0};
  if (const SectionLines* lines = currentLines()) {
    const ConfigItem* earlier = lines->find(item.key);
    if (earlier != nullptr && earlier->line != line_.number) refused.earlierLine = earlier->line;
  }
  listRefusedLine(refused, problems_);
}

SectionLines* Reader::currentLines() {
  switch (sSection) {
    case kNoSection:
      return &ignored_;
    case kGlobalSection:
      return &configuration_.global;
    case kODAXSection:
      return &configuration_.odax;
    case kHXRasterSection:
      return &configuration_.hxraster;
    case kImageSection:
      return configuration_.pages.empty() || sIsNewImageSection
                 ? nullptr
                 : &configuration_.pages.back().lines;
    default:
      return nullptr;
  }
}

// Headers ---------------------------------------------------------------------------------------

void Reader::readHeader(int before, bool wasNew) {
  const bool isImage = sSection == kImageHeader;
  if (wasNew) {
    listEmptyPage();
    if (!isImage) sIsNewImageSection = false;
  } else if (sSection != before) {
    if (sSection == kHXRasterSection) enterHXRaster(before);
    if (isImage) enterImage(before);
    if (before == kImageSection && !isImage) leavePage();
  }
  if (isImage) sSection = kImageSection;
  appendItem(true);
  sectionReadLine_ = line_.readNumber;
  sectionLine_ = line_.number;
  sectionItems_ = lastItem_;
  isPageRefused_ = false;
  hasRead_[sSection] = true;
  if (isImage) return;
  if (SectionLines* lines = currentLines(); lines != nullptr) lines->headerLine = line_.number;
}

void Reader::enterHXRaster(int before) {
  if (before == kNoSection || before == kGlobalSection) checkGlobalSectionParameter(record_);
}

void Reader::enterImage(int before) {
  if (before == kHXRasterSection) requireResolution();
  if (before == kImageSection) checkLastPage();
  if (before != kNoSection && before != kGlobalSection && before != kODAXSection) return;
  const bool isThere = hasRead_[kHXRasterSection];
  if (!isThere) isRasterMissed_ = true;
  if (hasForeignSection_ && !isThere) return;  // it may have been that one
  problems_.error(here(), kErrorImageBeforeRaster,
                  isThere
                      ? "[Image] follows " + std::string(headerOf(static_cast<Section>(before))) +
                            "; only [HXRaster] and [Image] may stand in front of it"
                      : "[Image] comes before [HXRaster]",
                  "keep the order [Global], [ODAX], [HXRaster], [Image]");
}

// A page is checked when the next one begins, or at the end of the file.
void Reader::leavePage() {
  if (hasSendDataFile()) return;
  problems_.warn(here(), "section-behind-page",
                 std::string(headerOf(static_cast<Section>(sSection))) +
                     " behind an [Image]: the page in front of it is not checked against its own "
                     "lines",
                 "keep the order [Global], [ODAX], [HXRaster], [Image]");
}

void Reader::requireResolution() {
  for (const char* key : {"GraphicsResolutionH", "GraphicsResolutionV"}) {
    const int code =
        codeOf([&] { checkParameterInteger(key, kNotSet, sectionItems_, sectionReadLine_); });
    if (code == 0) continue;
    const SectionLines& lines = configuration_.hxraster;
    if (code != kErrorRequiredItem) {
      problems_.error(configuration_.placeOf(lines, key), code,
                      std::string(key) + " is -1, which means \"not set\"", "give it a real value");
      continue;
    }
    const bool isMisspelt = std::any_of(
        lines.items.begin(), lines.items.end(),
        [key](const ConfigItem& item) { return !item.isStored && isSimilar(item.key, key); });
    if (isMisspelt) continue;
    problems_.error(configuration_.at(sectionLine_), code,
                    std::string(key) + " is missing in [HXRaster]", "give it in dots per inch");
  }
}

void Reader::listEmptyPage() {
  if (isPageRefused_) return;  // it has lines, but bad ones
  problems_.error(configuration_.at(sectionLine_), kErrorRequiredItem,
                  "the [Image] section is empty", "give it its lines or take the header away");
}

// Items -----------------------------------------------------------------------------------------

void Reader::appendItem(bool isHeader) {
  CFGFileItem* item = addCFGFile(lastItem_);
  if (item == nullptr) throw std::bad_alloc();
  if (items_ == nullptr) items_.reset(item);
  lastItem_ = item;
  item->lineNumber = line_.readNumber;
  item->isHeader = isHeader;
  item->line = newTextCopy(line_.text.c_str());
  item->key = newTextCopy(key_.data());
  item->value = newTextCopy(value_.data());
  if (item->line == nullptr || item->key == nullptr || item->value == nullptr) {
    throw std::bad_alloc();
  }
}

void Reader::readItem() {
  if (sSection == kForeignSection) return;
  appendItem(false);
  const std::string key = key_.data();
  const std::string value = value_.data();
  const int code = dispatch(lastItem_);
  if (code != 0) refuse(code, {line_.number, key, value, false});
  if (code == 0) checkItem(key, value, static_cast<Section>(sSection), here(), problems_);
  if (SectionLines* lines = currentLines()) {
    lines->items.push_back({line_.number, key, value, code == 0});
  }
}

int Reader::dispatch(CFGFileItem* item) {
  switch (sSection) {
    case kGlobalSection:
      return parseGlobal(item);
    case kHXRasterSection:
      return codeOf([&] { parseHXRasterParameter(item, record_); });
    case kImageSection:
      return parseImage(item);
    case kODAXSection:
      return parseOdax(item);
    default:
      return 0;
  }
}

int Reader::parseGlobal(CFGFileItem* item) {
  const imageProcessingFile* before = record_->lastImageProcessingFile;
  const int code = codeOf([&] { parseGlobalParameter(item, record_); });
  if (record_->lastImageProcessingFile != before) {
    configuration_.tables.push_back({record_->lastImageProcessingFile, line_.number, code == 0});
  }
  if (code != 0 && std::strcmp(item->key.get(), "SendDataFile") == 0) isSendDataRefused_ = true;
  return code;
}

int Reader::parseImage(CFGFileItem* item) {
  const imageParameter* before = record_->lastImageParameter;
  const int code = codeOf([&] { parseImageParameter(item, record_); });
  if (record_->lastImageParameter != before) {
    configuration_.pages.push_back({{sectionLine_, {}}, record_->lastImageParameter, false, true});
  }
  return code;
}

int Reader::parseOdax(CFGFileItem* item) {
  int result = 0;
  int code = codeOf([&] { result = parseODAXParameterBuild(item, record_); });
  if (code == 0 && result != 0) code = addOverride(item);
  if (std::strcmp(item->key.get(), "VendorCmdXmlFile") == 0) configuration_.hasVendorCmd = 1;
  return code;
}

int Reader::addOverride(const CFGFileItem* item) {
  std::vector<ConfigItem>& lines = configuration_.overrideLines;
  if (lines.size() == kMaxOverrides) {
    problems_.error(here(), kErrorLine, "more than 128 overrides", "take some away");
    return 0;  // it is said
  }
  CText key = newZeroedText(kLineBytes);
  CText value = newZeroedText(kLineBytes);
  if (key == nullptr || value == nullptr) throw std::bad_alloc();
  zk_strcpy(key.get(), kLineBytes, item->key.get());
  zk_strcpy(value.get(), kLineBytes, item->value.get());
  if (item->value[0] == '"' && processQuotaions(item->value.get(), value.get()) != 0) {
    return kErrorLine;
  }
  lines.push_back({line_.number, key.get(), value.get(), true});
  configuration_.overrides.keys[lines.size() - 1] = key.release();
  configuration_.overrides.values[lines.size() - 1] = value.release();
  return 0;
}

// Pages -----------------------------------------------------------------------------------------

// The steps of checkImageSectionParameter(), each for itself.
void Reader::checkLastPage() {
  if (configuration_.pages.empty()) return;
  PageLines& page = configuration_.pages.back();
  imageParameter* first = record_->imageParameterList;
  imageParameter* image = page.record;
  const size_t errorsBefore = problems_.size();
  const bool inherits = image != first && isImageHXRasterSetting(image) != 1;
  page.isChecked = true;
  if (inherits && !configuration_.pages.front().isSound) {
    page.isSound = false;
    return;  // nobody knows what it inherits
  }
  if (image != first) {
    setDefaultImageParameter(image, first);
    checkConfigureImageDataGraphicResolution(image, first);
  } else {
    requireFormat(page);
  }
  requireDepths(page);
  if (problems_.size() != errorsBefore) page.isSound = false;
  checkFormat(page);
}

void Reader::requireFormat(PageLines& page) {
  for (const char* key : {"ColorSpace", "NumOfPlanes", "CompressionMode"}) {
    requirePageItem(page, key, key, "the first [Image] section needs it");
  }
}

void Reader::requireDepths(PageLines& page) {
  static const std::vector<FileRequirement> kRequirements = fileRequirements();
  for (const FileRequirement& requirement : kRequirements) {
    if ((page.record->*requirement.file)[0] != '\0') requireDepths(page, requirement);
  }
}

void Reader::requireDepths(PageLines& page, const FileRequirement& requirement) {
  const bool hasAll = std::all_of(requirement.inks.begin(), requirement.inks.end(),
                                  [&page](Ink ink) { return page.record->*kInks[ink].depth >= 1; });
  if (hasAll) return;
  for (const Ink ink : requirement.inks) {
    const bool isPlate = requirement.inks.size() == 1;
    const std::string key = kInks[ink].depthKey;
    requirePageItem(page, key, isPlate ? askedKey(ink) : key,
                    std::string(requirement.fileKey) + " needs it");
  }
}

std::string Reader::hintOnMissing(const PageLines& page, const std::string& key) const {
  if (page.record != record_->imageParameterList && isImageHXRasterSetting(page.record) == 1) {
    return "this page sets part of the format and so takes nothing of it from the first page: give "
           "all of the format here or nothing";
  }
  return key.starts_with("PixelDepth") ? "add it, for example " + key + " = 8" : "add it";
}

void Reader::requirePageItem(PageLines& page, const std::string& key, const std::string& asked,
                             const std::string& why) {
  const int code = codeOf(
      [&] { checkParameterInteger(asked.c_str(), kNotSet, sectionItems_, sectionReadLine_); });
  if (code == 0) return;
  const std::vector<ConfigItem>& items = page.lines.items;
  const bool isExplained = std::any_of(items.begin(), items.end(), [&key](const ConfigItem& item) {
    return !item.isStored && isSimilar(item.key, key);
  });
  page.isSound = false;
  if (isExplained || !missed_.insert({page.record, key}).second) return;
  const ConfigItem* item = page.lines.find(key);
  const bool isBehind = sectionLine_ != page.lines.headerLine;
  if (item == nullptr) {
    problems_.error(configuration_.at(page.lines.headerLine), code, key + " is missing: " + why,
                    hintOnMissing(page, key));
  } else if (isBehind) {
    problems_.error(configuration_.at(sectionLine_), code,
                    key + " is looked for in this section, which stands behind the page",
                    "keep the order [Global], [ODAX], [HXRaster], [Image]");
  } else if (asked != key) {
    problems_.error(configuration_.at(item->line), code, key + " must be at least 1: " + why);
  } else {
    problems_.error(configuration_.at(item->line), code,
                    key + " is -1, which means \"not set\": " + why, "give it a real value");
  }
}

// What the settings come to together. Settings that were refused come to nothing.
void Reader::checkFormat(PageLines& page) {
  if (!page.lines.isSound()) page.isSound = false;
  if (!page.isSound) return;
  int code = codeOf([&] { checkNumOfPlanesPixelDepthCombination(page.record); });
  if (code != 0) listCombination(code, page);
  code = codeOf([&] { checkColorSpaceNumOfPlanesCombination(page.record); });
  if (code != 0) listCombination(code, page);
  if (page.isSound) setMode(page.record);
}

void Reader::listCombination(int code, PageLines& page) {
  page.isSound = false;
  const imageParameter& image = *page.record;
  const auto depths = std::count_if(kInks.begin(), kInks.end(),
                                    [&image](const InkKeys& ink) { return image.*ink.depth >= 1; });
  const std::string space = "ColorSpace " + std::to_string(image.ColorSpace);
  const std::string planes = counted(static_cast<uint32_t>(image.NumOfPlanes), "plane");
  const bool isFurther = &page != &configuration_.pages.front();
  const std::string inherits =
      isFurther ? "a further page gives all format settings or none of them" : "";
  const Place place = configuration_.placeOf(
      page.lines,
      code == kErrorPlaneCount || code == kErrorPixelRgbCount ? "NumOfPlanes" : "ColorSpace");
  if (image.ColorSpace == kNotSet) {
    problems_.error(place, code, "the page has format settings of its own but no ColorSpace",
                    inherits);
  } else if (code == kErrorPlaneCount) {
    problems_.error(
        place, code,
        "NumOfPlanes is " + std::to_string(image.NumOfPlanes) + ", but " +
            counted(static_cast<uint64_t>(depths), "ink") + (depths == 1 ? " has" : " have") +
            " a PixelDepth of at least 1",
        inherits.empty() ? "give each plane its PixelDepth, and no other ink" : inherits);
  } else if (code == kErrorPixelRgbCount) {
    problems_.error(
        place, code,
        space + " needs exactly three inks with a PixelDepth, not " + std::to_string(depths),
        "set PixelDepthR, PixelDepthG and PixelDepthB");
  } else if (code == kErrorColorSpace) {
    problems_.error(place, code, "there is no " + space, "use 2 to 5 or 18 to 21");
  } else {
    problems_.error(place, code, space + " does not go with " + planes, planesOf(code));
  }
}

void Reader::finish() {
  if (sIsCStyleComment) {
    problems_.error(configuration_.at(commentLine_), kErrorOpenComment,
                    "the comment that begins here is never closed",
                    "close it with a line that begins with */");
    return;  // what is missing may stand in it
  }
  const bool needsPages = !hasSendDataFile() && !isSendDataRefused_;
  if (needsPages && !hasRead_[kHXRasterSection] && !isRasterMissed_ && !hasForeignSection_) {
    problems_.error(configuration_.whole(), kErrorNoRasterSection,
                    "the section [HXRaster] is missing",
                    "add it with GraphicsResolutionH and GraphicsResolutionV");
  }
  if (needsPages && !hasRead_[kImageSection] && !hasForeignSection_) {
    problems_.error(configuration_.whole(), kErrorNoImageSection, "there is no [Image] section",
                    "add one for each page, or name a SendDataFile");
  }
  if (sIsNewImageSection) {
    listEmptyPage();
  } else if (!hasSendDataFile()) {
    checkLastPage();
  }
}

}  // namespace

void readConfiguration(Configuration& configuration, ProblemList& problems) {
  configuration.fullPath = jobverify::absolutePath(configuration.path);
  configuration.record = newRecord(configuration.fullPath);
  if (configuration.fullPath.size() >= kPathBytes) {
    problems.error(configuration.whole(), kErrorFullPath,
                   "the path of the configuration has more than 259 characters: " +
                       quoted(configuration.fullPath));
    return;
  }
  FileText file;
  if (!file.read(configuration.fullPath)) {
    problems.error(configuration.whole(), kErrorOpen, "the configuration cannot be opened",
                   "check the path and the permissions");
    return;
  }
  rememberDefaultOutput(configuration.fullPath);
  sSection = kNoSection;
  sIsCStyleComment = false;
  sIsNewImageSection = false;
  configuration.isOpen = true;
  Reader reader(configuration, problems);
  file.forEachLine([&reader](const TextLine& line) { reader.read(line); });
  reader.finish();
  configuration.isSound = !problems.hasErrors();
}

}  // namespace jobcheck
