#include "JobRequest.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <system_error>

#include "CFGFile.h"
#include "CLibrary.h"
#include "ExpectedStream.h"
#include "ImageRules.h"
#include "ODAXGen.h"
#include "ReductionTables.h"

namespace jobverify {

namespace {

using jobreader::Ink;

constexpr size_t kTableSlots = 6;
constexpr uint32_t kDefaultChunk = 65536;
constexpr int kLargestDepth = 127;  // a depth is a signed byte in the rows

// An ink as the job file has it and as the configuration has it; channel of ImageFileCMYK or
// ImageFileRGB, or -1.
struct InkPlace {
  Ink ink;
  size_t key;  // in kInks
  int cmykChannel;
  int rgbChannel;
};

constexpr std::array<InkPlace, jobreader::kInkCount> kPlaces = {{
    {Ink::PBK, kInkPBK, -1, -1},
    {Ink::MBK, kInkMBK, -1, -1},
    {Ink::K, kInkK, 3, -1},
    {Ink::C, kInkC, 0, -1},
    {Ink::M, kInkM, 1, -1},
    {Ink::Y, kInkY, 2, -1},
    {Ink::c, kInkc, -1, -1},
    {Ink::m, kInkm, -1, -1},
    {Ink::Gy, kInkGy, -1, -1},
    {Ink::Pgy, kInkPgy, -1, -1},
    {Ink::R, kInkR, -1, 0},
    {Ink::G, kInkG, -1, 1},
    {Ink::B, kInkB, -1, 2},
    {Ink::CO, kInkCO, -1, -1},
    {Ink::CO2, kInkCO2, -1, -1},
}};

struct LevelTable {
  const ReductionTable* table;
  int levels;
};

constexpr std::array<LevelTable, 6> kLevelTables = {{
    {&Reduce256To2Tbl, 2},
    {&Reduce256To3Tbl, 3},
    {&Reduce256To4Tbl, 4},
    {&Reduce256To5Tbl, 5},
    {&Reduce256To6Tbl, 6},
    {&Reduce256To16Tbl, 16},
}};

// The facts of every image file of a job. Many pages often share a few files.
class Images {
 public:
  const ImageFacts& of(const std::string& path) {
    const auto found = facts_.find(path);
    if (found != facts_.end()) return found->second;
    return facts_.emplace(path, readImageFacts(path)).first->second;
  }

 private:
  std::map<std::string, ImageFacts> facts_;
};

std::string fileName(const std::string& path) {
  return std::filesystem::path(path).filename().string();
}

// Templates and the data file start at the configuration's folder, as the command runs jobs.
std::string besideConfiguration(const parameter& record, const char* path) {
  if (path[0] == '\0' || path[0] == '/') return path;
  return std::string(record.CFGFileDirectory) + "/" + path;
}

// A path that does not fit is as good as none.
std::string templatePath(const parameter& record, const char* path) {
  const std::string full = besideConfiguration(record, path);
  return full.size() < kPathBytes ? full : "";
}

void readPacking(int32_t splitSize, jobreader::JobTemplates& templates) {
  templates.packing = jobreader::Packing::kSplit;
  if (splitSize == kNotSet) {
    templates.packing = jobreader::Packing::kBare;
  } else if (splitSize == 0) {
    templates.packing = jobreader::Packing::kOnePacket;
  } else if (splitSize > 0) {
    templates.chunkBytes = static_cast<uint32_t>(splitSize);
  } else {
    // The size does not fit its number: the default is used, and no packet is as large as asked.
    templates.chunkBytes = kDefaultChunk;
    templates.announcesMore = false;
  }
}

void readOverrides(const OverrideLists& lists, jobreader::JobTemplates& templates) {
  for (size_t i = 0; i < kMaxOverrides; ++i) {
    if (lists.keys[i] == nullptr || lists.values[i] == nullptr) return;
    templates.overrides.emplace_back(lists.keys[i], lists.values[i]);
  }
}

jobreader::JobTemplates readTemplates(const parameter& record, const OverrideLists& overrides,
                                      int32_t hasVendorCmd) {
  jobreader::JobTemplates templates;
  templates.startJob = templatePath(record, record.StartJobXmlFile);
  templates.setJobConfiguration = templatePath(record, record.SetJobConfigurationXmlFile);
  templates.setConfiguration = templatePath(record, record.SetConfigurationXmlFile);
  templates.vendorCmd = templatePath(record, record.VendorCmdXmlFile);
  templates.sendData = templatePath(record, record.SendDataXmlFile);
  templates.endJob = templatePath(record, record.EndJobXmlFile);
  templates.hasVendorCmd = hasVendorCmd != 0;
  readPacking(record.SplitDataSize, templates);
  readOverrides(overrides, templates);
  return templates;
}

// Slots are counted with empty entries. What does not fit into the six slots is left out.
std::vector<std::string> readTables(const parameter& record) {
  std::vector<std::string> tables;
  const imageProcessingFile* entry = record.imageProcessingFileList;
  for (; entry != nullptr && tables.size() < kTableSlots; entry = entry->next)
    tables.emplace_back(entry->path);
  return tables;
}

// The widest image of the job. An image that cannot be opened leaves the width unknown.
int32_t widestImage(const parameter& record, Images& images) {
  int32_t widest = 0;
  const imageParameter* section = record.imageParameterList;
  for (; section != nullptr; section = section->next) {
    for (const ImagePath file : kImageFiles) {
      if ((section->*file)[0] == '\0') continue;
      const ImageFacts& facts = images.of(section->*file);
      if (!facts.cannotOpen.empty()) return kNotSet;
      widest = std::max(widest, static_cast<int32_t>(facts.width));
    }
  }
  return widest;
}

// Works out one page of the configuration.
class PageReader {
 public:
  PageReader(const imageParameter& section, Images& images) : section_(section), images_(images) {}

  PageRequest read(size_t number) {
    page_.section = number;
    page_.colorSpace = section_.ColorSpace;
    page_.numOfPlanes = section_.NumOfPlanes;
    page_.compression = section_.CompressionMode;
    page_.mode = section_.Mode;
    page_.sameAsFirst = section_.SameAsFirstImage == 1;
    readPositions();
    page_.missing = whyMissing();
    if (page_.mode == kNotSet)
      page_.notCompared = "its colour space, planes and compression together give no rows";
    for (const InkPlace& place : kPlaces) addPlane(place);
    choosePlanes();
    return page_;
  }

 private:
  [[nodiscard]] bool hasRgb() const { return section_.ImageFileRGB[0] != '\0'; }
  [[nodiscard]] bool hasCmyk() const { return section_.ImageFileCMYK[0] != '\0'; }

  static Position signedPosition(int32_t value, int32_t sign) {
    return {sign != 0 || value != kNotSet, sign != 0, value};
  }
  // Unlike a position an offset of -1 is not given, whatever its sign.
  static Position offset(int32_t value, int32_t sign) {
    return {value != kNotSet, sign == 1, value};
  }

  void readPositions() {
    page_.x = signedPosition(section_.StartingPositionX, section_.StartingPositionXSign);
    page_.y = signedPosition(section_.StartingPositionY, section_.StartingPositionYSign);
    page_.yOffset = offset(section_.YOffset, section_.YOffsetSign);
    page_.yOffsetBefore =
        offset(section_.YOffsetCBeforePosition, section_.YOffsetCBeforePositionSign);
    page_.yOffsetAfter = offset(section_.YOffsetCAfterPosition, section_.YOffsetCAfterPositionSign);
  }

  // Beside a composite of inks the plates of its channels are not opened.
  [[nodiscard]] bool isOpened(ImagePath file) const {
    if ((section_.*file)[0] == '\0') return false;
    const bool isChannel = std::any_of(kPlaces.begin(), kPlaces.end(), [&](const InkPlace& place) {
      return place.cmykChannel >= 0 && kInks[place.key].file == file;
    });
    return !(hasCmyk() && isChannel);
  }

  // One image that cannot be opened, even one that no plane needs, and the page is skipped.
  std::string whyMissing() {
    for (const ImagePath file : kImageFiles) {
      if (!isOpened(file)) continue;
      const ImageFacts& facts = images_.of(section_.*file);
      if (!facts.cannotOpen.empty()) return fileName(section_.*file) + " " + facts.cannotOpen;
      if (!facts.unknown.empty() && page_.notCompared.empty())
        page_.notCompared = fileName(section_.*file) + ": " + facts.unknown;
    }
    return "";
  }

  [[nodiscard]] PlaneSource sourceOf(const InkPlace& place) const {
    PlaneSource source;
    source.path = section_.*kInks[place.key].file;
    if (hasCmyk() && place.cmykChannel >= 0) {
      source.path = section_.ImageFileCMYK;
      source.channel = place.cmykChannel;
    }
    if (hasRgb() && place.rgbChannel >= 0) {
      source.path = section_.ImageFileRGB;
      source.channel = place.rgbChannel;
      source.isRgb = true;
    }
    // A composite is read alone, and green comes out of composites only.
    if (hasRgb()) {
      source.isRead = source.isRgb;
    } else {
      source.isRead = hasCmyk() ? source.channel >= 0 : place.ink != Ink::G;
    }
    return source;
  }

  void readLevels(const InkPlace& place, PlaneRequest& plane) const {
    if (kInks[place.key].level == nullptr) return;
    const uint8_t* const table = section_.*kInks[place.key].level;
    // A channel of a composite is never raw.
    plane.raw = table == rawSamplesMarker() && plane.source.channel < 0;
    plane.samplesAreLevels = table == ReduceNoConvertTbl.data();
    for (const LevelTable& each : kLevelTables)
      if (table == each.table->data()) plane.levels = each.levels;
  }

  void addPlane(const InkPlace& place) {
    PlaneRequest plane;
    plane.ink = place.ink;
    plane.depth = section_.*kInks[place.key].depth;
    if (plane.depth == kNotSet) return;
    plane.source = sourceOf(place);
    readLevels(place, plane);
    plane.isDeep =
        page_.compression == 4 && (section_.PixelDepthR == 10 || section_.PixelDepthR == 12);
    plane.isHalved =
        page_.mode == 3004 && (plane.depth == 10 || plane.depth == 12 || plane.depth == 16);
    if (!plane.source.path.empty() && plane.depth > 0) readImage(plane);
    page_.allPlanes.push_back(plane);
  }

  void readImage(PlaneRequest& plane) {
    const std::array<int, 3> rgbDepths = {section_.PixelDepthR, section_.PixelDepthG,
                                          section_.PixelDepthB};
    applyImage(plane, rgbDepths, images_.of(plane.source.path));
    if (!plane.notCompared.empty())
      plane.notCompared = fileName(plane.source.path) + ": " + plane.notCompared;
    const bool isDeepEnough = plane.isDeep || plane.depth == 16;
    if (plane.isHalved && !isDeepEnough && plane.width > 0)
      plane.notCompared = "halves of rows that are not laid out for it";
  }

  // Planes without depth have no place in a row; those behind the number of planes are read, and
  // make the page as high as they are, but not sent.
  void choosePlanes() {
    const auto most = static_cast<size_t>(std::max(page_.numOfPlanes, 0));
    for (const PlaneRequest& plane : page_.allPlanes) {
      if (plane.depth <= 0) continue;
      if (plane.depth > kLargestDepth && page_.notCompared.empty())
        page_.notCompared = "rows have no depth of " + std::to_string(plane.depth);
      page_.rows = std::max(page_.rows, plane.rows);
      if (page_.planes.size() < most) page_.planes.push_back(plane);
    }
  }

  const imageParameter& section_;
  Images& images_;
  PageRequest page_;
};

JobRequest requestOf(const parameter& record, Images& images) {
  JobRequest request;
  request.outputPath = record.OutFilePath[0] == '\0' ? "ODAX.dat" : record.OutFilePath;
  request.sendDataFile = besideConfiguration(record, record.SendDataFile);
  request.resolutionH = static_cast<uint32_t>(record.GraphicsResolutionH);
  request.resolutionV = static_cast<uint32_t>(record.GraphicsResolutionV);
  request.tables = readTables(record);
  request.printableWidth = record.PrintableWidthInPixel;
  if (!request.sendDataFile.empty()) return request;
  if (request.printableWidth == kNotSet) request.printableWidth = widestImage(record, images);
  const imageParameter* section = record.imageParameterList;
  for (; section != nullptr; section = section->next)
    request.pages.push_back(PageReader(*section, images).read(request.pages.size() + 1));
  return request;
}

jobreader::PlaneFormat formatOf(const PlaneRequest& plane) {
  jobreader::PlaneFormat format;
  format.ink = plane.ink;
  format.depth = plane.depth;
  const bool isReduced = plane.depth == 2 || plane.depth == 4;
  if (isReduced && !plane.source.isRgb) format.levels = plane.levels;
  format.width = plane.width;
  format.halves = plane.isHalved;
  format.name = jobreader::inkInfo(plane.ink)->name;
  return format;
}

jobreader::PageFormat formatOf(const PageRequest& page) {
  jobreader::PageFormat format;
  format.colorSpace = page.colorSpace;
  for (const PlaneRequest& plane : page.planes) format.planes.push_back(formatOf(plane));
  format.blank = page.blank();
  format.height = page.rows;
  if (!page.notCompared.empty()) {  // what is known of its files may not be all
    for (jobreader::PlaneFormat& plane : format.planes) plane.width = 0;
    format.height = 0;
  }
  format.beginsWithYOffset = !yOffsetCommand(page.yOffset).empty();
  return format;
}

}  // namespace

std::string absolutePath(const std::string& path) {
  if (path.empty() || path.front() == '/') return path;
  return (std::filesystem::current_path() / path).string();
}

JobRequest readRequest(const std::string& path) {
  const QuietEcho quiet;
  OverrideLists overrides;
  int32_t hasVendorCmd = 0;
  ParameterOwner record;
  try {
    record.reset(readConfiguration(absolutePath(path).c_str(), &overrides, &hasVendorCmd));
  } catch (int code) {
    throw RefusedConfiguration{path, code};
  }
  Images images;
  JobRequest request = requestOf(*record, images);
  request.templates = readTemplates(*record, overrides, hasVendorCmd);
  return request;
}

jobreader::KnownJob knownJob(const JobRequest& request) {
  jobreader::KnownJob known;
  known.templates = request.templates;
  for (const PageRequest& page : request.pages)
    if (page.missing.empty()) known.pages.push_back(formatOf(page));
  return known;
}

}  // namespace jobverify
