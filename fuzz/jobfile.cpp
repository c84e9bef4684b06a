// Fuzzed: the bytes of a job file, through everything that reads one: the reader, what `odaxgen
// inspect` prints as text and as JSON, and what `odaxgen render` draws. The first byte of the input
// chooses what is known of the job: nothing, its templates, or also the formats of its pages.
// Asserted: nothing but the errors that are documented is thrown, and what is added up is no more
// than the file can hold.
//
// Left out: drawing of files that claim more than kMostBytes of rows; their pictures take all the
// time.
#include <array>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "Choices.h"
#include "FuzzFolder.h"
#include "JobFile.h"
#include "JobRenderer.h"
#include "JobSummary.h"
#include "ReadError.h"
#include "Require.h"
#include "SummaryJson.h"
#include "SummaryText.h"

namespace {

using jobreader::JobFile;
using jobreader::JobSummary;
using jobreader::KnownJob;

constexpr uint64_t kMostBytes = 200000;
constexpr uint64_t kMostRows = 5000;

constexpr std::array<std::array<const char*, 2>, 6> kTemplates = {{
    {"StartJob.xml", "<S>\n<p:a>1</p:a>\n<p:Copies>2</p:Copies>\n</S>\n"},
    {"SetJobConfiguration.xml", "<J><v name=\"Name\">x</v></J>\n"},
    {"SetConfiguration.xml", "<C>\r\n</C>\r\n"},
    {"VendorCmd.xml", "<V/>"},
    {"SendData.xml", "<D>\n<p:datasize>0</p:datasize>\n<p:continue>ON</p:continue>\n</D>\n"},
    {"EndJob.xml", "<E>\n<p:datasize>0</p:datasize>\n</E>\n"},
}};

class Files {
 public:
  Files() {
    for (const auto& [name, text] : kTemplates) folder_.write(name, std::string_view(text));
  }
  [[nodiscard]] const FuzzFolder& folder() const { return folder_; }

  [[nodiscard]] KnownJob knownJob(Choices& choices) const {
    KnownJob known;
    jobreader::JobTemplates& templates = known.templates;
    templates.startJob = folder_.path("StartJob.xml");
    templates.setJobConfiguration = folder_.path("SetJobConfiguration.xml");
    templates.setConfiguration = folder_.path("SetConfiguration.xml");
    templates.vendorCmd = folder_.path("VendorCmd.xml");
    templates.sendData = folder_.path("SendData.xml");
    templates.endJob = folder_.path("EndJob.xml");
    const unsigned ways = choices.byte();
    templates.hasVendorCmd = (ways & 1U) != 0;
    templates.announcesMore = (ways & 2U) == 0;
    if ((ways & 4U) != 0) templates.overrides.emplace_back("Copies", "12");
    constexpr std::array<jobreader::Packing, 3> kPackings = {
        jobreader::Packing::kSplit, jobreader::Packing::kOnePacket, jobreader::Packing::kBare};
    templates.packing = choices.any(kPackings);
    constexpr std::array<uint32_t, 4> kChunks = {40, 1, 200, 65536};
    templates.chunkBytes = choices.any(kChunks);
    return known;
  }

 private:
  FuzzFolder folder_;
};

jobreader::PageFormat chooseFormat(Choices& choices) {
  jobreader::PageFormat format;
  constexpr std::array<int, 5> kColorSpaces = {2, 3, 4, 5, 18};
  constexpr std::array<int, 7> kDepths = {1, 2, 4, 8, 10, 12, 16};
  format.colorSpace = choices.any(kColorSpaces);
  format.blank = format.colorSpace == 2 ? 0xFF : 0x00;
  const uint32_t planes = 1 + choices.below(4);
  for (uint32_t i = 0; i < planes; ++i) {
    jobreader::PlaneFormat plane;
    plane.ink = static_cast<jobreader::Ink>(choices.below(16));
    plane.depth = choices.any(kDepths);
    plane.width = choices.below(100);
    plane.halves = choices.oneIn(4);
    plane.name = "P" + std::to_string(i);
    format.planes.push_back(plane);
  }
  format.height = choices.below(50);
  format.beginsWithYOffset = choices.flag();
  return format;
}

// What the command prints, and what it is printed from.
JobSummary inspect(const std::string& path, const KnownJob* known) {
  JobFile file(path);
  uint64_t commandBytes = 0;
  uint64_t commands = 0;
  const jobreader::SummaryHooks hooks = {[&](const jobreader::Command& command) {
                                           ++commands;
                                           commandBytes += command.dataBytes;
                                           command::commandLine(command);
                                           command::commandJson(command);
                                         },
                                         {}};
  JobSummary summary = jobreader::summarise(file, known, hooks);
  require(summary.commands == commands, "every command is counted");
  require(commandBytes <= summary.fileBytes, "the data of the commands are in the file");
  require(summary.dataBytes <= summary.fileBytes, "the data are in the file");
  require(!command::summaryText(path, summary).empty(), "the text says something");
  require(!command::dumped(command::summaryJson(path, summary), 2).empty(),
          "the document says something");
  return summary;
}

bool isSmall(const JobSummary& summary) {
  uint64_t bytes = 0;
  uint64_t rows = 0;
  for (const jobreader::PageSummary& page : summary.pages) {
    if (page.height() > kMostRows || page.width() > kMostBytes) return false;
    bytes += page.width() * page.height() * (1 + page.planes.size());
    rows += page.height();
  }
  return bytes <= kMostBytes && rows <= kMostRows;
}

void render(const FuzzFolder& folder, const std::string& path, const KnownJob* known,
            const JobSummary& summary, unsigned ways) {
  jobrender::RenderOptions options;
  options.folder = folder.path("pictures");
  options.overwrite = true;
  options.coatings = (ways & 1U) != 0;
  if ((ways & 2U) != 0) options.scale = 0.37;
  if ((ways & 4U) != 0) options.maxPixels = 17;
  try {
    JobFile file(path);
    const auto pictures = jobrender::renderJob(file, known, summary, options);
    require(pictures.empty() || std::filesystem::exists(pictures.front().path),
            "a picture that is told is there");
  } catch (const std::invalid_argument&) {
    // Such a job has nothing to draw.
  }
  std::error_code ignored;
  std::filesystem::remove_all(options.folder, ignored);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Files files;
  Choices choices(data, size);
  const unsigned ways = choices.byte();
  KnownJob known;
  const bool isKnown = (ways & 0x40U) != 0;
  if (isKnown) known = files.knownJob(choices);
  for (unsigned pages = (ways >> 4U) & 3U; isKnown && pages > 0; --pages) {
    known.pages.push_back(chooseFormat(choices));
  }
  const KnownJob* what = isKnown ? &known : nullptr;
  const std::string path = files.folder().write("job.odx", choices.rest());
  const JobSummary summary = inspect(path, what);
  if (!summary.damage && (ways & 8U) == 0 && isSmall(summary)) {
    render(files.folder(), path, what, summary, ways);
  }
  return 0;
}
