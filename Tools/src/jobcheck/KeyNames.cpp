#include "KeyNames.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "CFGRecords.h"

namespace jobcheck {

namespace {

constexpr std::array<Section, 4> kSections = {kGlobalSection, kODAXSection, kHXRasterSection,
                                              kImageSection};

std::vector<std::string> imageKeys() {
  std::vector<std::string> keys = {
      "StartingPositionX", "StartingPositionY", "YOffsetC",        "YOffset",     "ImageFileCMYK",
      "ImageFileRGB",      "ColorSpace",        "CompressionMode", "NumOfPlanes",
  };
  for (const InkKeys& ink : kInks) {
    keys.emplace_back(ink.fileKey);
    keys.emplace_back(ink.depthKey);
    if (ink.levelKey != nullptr) keys.emplace_back(ink.levelKey);
  }
  return keys;
}

std::string lowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The number of letters to insert, to take away, to change or to swap with a neighbour.
size_t distance(const std::string& one, const std::string& other) {
  std::vector<size_t> beforeLast;
  std::vector<size_t> last(other.size() + 1);
  for (size_t j = 0; j <= other.size(); ++j) last[j] = j;
  for (size_t i = 1; i <= one.size(); ++i) {
    std::vector<size_t> row(other.size() + 1);
    row[0] = i;
    for (size_t j = 1; j <= other.size(); ++j) {
      const size_t change = one[i - 1] == other[j - 1] ? 0 : 1;
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + change});
      const bool isSwapped =
          i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (isSwapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    beforeLast = std::move(last);
    last = std::move(row);
  }
  return last[other.size()];
}

constexpr size_t kFar = 1000;

// How unlike two keys are; kFar: too unlike to be a slip.
size_t unlikeness(const std::string& one, const std::string& other) {
  constexpr size_t kLongest = 64;  // no key is longer; comparing costs the product of the lengths
  if (one.empty() || one.size() > kLongest) return kFar;
  if (lowerCase(one) == lowerCase(other)) return 0;
  const size_t most = std::min<size_t>(2, other.size() / 5);
  const size_t found = distance(lowerCase(one), lowerCase(other));
  return found <= most ? found : kFar;
}

}  // namespace

const std::vector<std::string>& keysOf(Section section) {
  static const std::vector<std::string> kGlobal = {"OutFilePath", "ImageProcessingFile",
                                                   "SplitDataSize", "SendDataFile"};
  static const std::vector<std::string> kOdax = {
      "StartJobXmlFile",         "SetJobConfigurationXmlFile",
      "SetConfigurationXmlFile", "VendorCmdXmlFile",
      "SendDataXmlFile",         "EndJobXmlFile"};
  static const std::vector<std::string> kHXRaster = {"GraphicsResolutionH", "GraphicsResolutionV",
                                                     "PrintableWidthInPixel"};
  static const std::vector<std::string> kImage = imageKeys();
  static const std::vector<std::string> kNone;
  switch (section) {
    case kGlobalSection:
      return kGlobal;
    case kODAXSection:
      return kOdax;
    case kHXRasterSection:
      return kHXRaster;
    case kImageSection:
      return kImage;
    default:
      return kNone;
  }
}

const char* headerOf(Section section) {
  switch (section) {
    case kGlobalSection:
      return "[Global]";
    case kODAXSection:
      return "[ODAX]";
    case kHXRasterSection:
      return "[HXRaster]";
    case kImageSection:
    case kImageHeader:
      return "[Image]";
    default:
      return "";
  }
}

Section meantHeader(const std::string& line) {
  std::string text = line.substr(0, line.find('#'));
  std::erase_if(text, [](char c) { return c == ' ' || c == '\t'; });
  for (const Section section : kSections)
    if (lowerCase(text) == lowerCase(headerOf(section))) return section;
  return kNoSection;
}

bool isSimilar(const std::string& one, const std::string& other) {
  return unlikeness(one, other) != kFar;
}

std::string similarKey(const std::string& key, Section section) {
  std::string best;
  size_t least = kFar;
  for (const std::string& known : keysOf(section)) {
    const size_t found = unlikeness(key, known);
    if (found >= least) continue;
    least = found;
    best = known;
  }
  return best;
}

Section sectionOf(const std::string& key) {
  for (const Section section : kSections) {
    const std::vector<std::string>& keys = keysOf(section);
    if (std::find(keys.begin(), keys.end(), key) != keys.end()) return section;
  }
  return kNoSection;
}

}  // namespace jobcheck
