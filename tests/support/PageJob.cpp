#include "PageJob.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "JobVerifier.h"
#include "ODAXOutLib.h"
#include "ZKFile.h"
#include "odaxgen/ODAXGen.h"

namespace {

constexpr std::string_view kOpening = "<SJ>start</SJ><SJC>job</SJC><SC>set</SC>";
constexpr std::string_view kDataHead = "<SD><datasize>";
constexpr std::string_view kDataMiddle = "</datasize><continue>";
constexpr std::string_view kDataTail = "</continue></SD>";
constexpr std::string_view kEndHead = "<EJ><datasize>";
constexpr std::string_view kEndTail = "</datasize></EJ>";

// An environment variable while this lives.
class Environment {
 public:
  Environment(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    setenv(name, value.c_str(), 1);
  }
  ~Environment() {
    if (before_) {
      setenv(name_, before_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

// Walks a job file. Data stand behind the announcement of their size, so they are never searched.
class JobFile {
 public:
  explicit JobFile(const Bytes& bytes)
      : text_(reinterpret_cast<const char*>(bytes.data()), bytes.size()) {}

  bool take(std::string_view part) {
    if (text_.substr(next_, part.size()) != part) return false;
    next_ += part.size();
    return true;
  }
  void expect(std::string_view part) {
    if (!take(part)) refuse(std::string(part) + " expected");
  }
  uint32_t number() {
    const size_t from = next_;
    while (next_ < text_.size() && text_[next_] >= '0' && text_[next_] <= '9') ++next_;
    if (next_ == from || next_ - from > 9) refuse("a number expected");
    return static_cast<uint32_t>(std::stoul(std::string(text_.substr(from, next_ - from))));
  }
  Bytes data(size_t count) {
    if (text_.size() - next_ < count) refuse("data cut off");
    const std::string_view part = text_.substr(next_, count);
    next_ += count;
    return {part.begin(), part.end()};
  }
  /// Everything up to the last place where `part` stands.
  Bytes upToLast(std::string_view part) {
    const size_t at = text_.rfind(part);
    if (at == std::string_view::npos || at < next_) refuse(std::string(part) + " is missing");
    return data(at - next_);
  }
  [[nodiscard]] bool atEnd() const { return next_ == text_.size(); }
  [[noreturn]] void refuse(const std::string& what) const {
    throw std::runtime_error("job file, offset " + std::to_string(next_) + ": " + what);
  }

 private:
  std::string_view text_;
  size_t next_ = 0;
};

void splitJobFile(JobRun& run) {
  JobFile file(run.file);
  file.expect(kOpening);
  while (file.take(kDataHead)) {
    DataPacket packet;
    packet.size = file.number();
    file.expect(kDataMiddle);
    packet.more = file.take("ON");
    if (!packet.more) file.expect("OFF");
    file.expect(kDataTail);
    packet.data = file.data(packet.size);
    run.raster.insert(run.raster.end(), packet.data.begin(), packet.data.end());
    run.packets.push_back(packet);
  }
  if (run.packets.empty()) run.raster = file.upToLast(kEndHead);
  file.expect(kEndHead);
  run.endOfJob = file.number();
  file.expect(kEndTail);
  if (!file.atEnd()) file.refuse("bytes behind the end-job packet");
}

std::string hexOfRow(const Bytes& row) {
  constexpr size_t kShown = 40;
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string text;
  for (size_t i = 0; i < std::min(row.size(), kShown); ++i) {
    text += kDigits[row[i] >> 4];
    text += kDigits[row[i] & 15];
  }
  return text + " (" + std::to_string(row.size()) + " bytes)";
}

}  // namespace

Piece::Piece(const char* command) : Piece(std::string(command)) {}
Piece::Piece(const std::string& command) : bytes(bytesOf(command)) {
  std::replace(bytes.begin(), bytes.end(), uint8_t{'~'}, uint8_t{0x1B});
}

Bytes joined(std::initializer_list<Piece> pieces) {
  Bytes all;
  for (const Piece& piece : pieces) all.insert(all.end(), piece.bytes.begin(), piece.bytes.end());
  return all;
}

std::string sent(std::initializer_list<Piece> pieces) {
  return visible(joined(pieces));
}

BareStream::BareStream() {
  ODAX_SetSplitDataSize(0);
  ODAX_NewWithName(folder_.path("stream").c_str());
  if (ODAX_Open() != 0) throw std::runtime_error("cannot open the packet writer");
}

BareStream::~BareStream() {
  ODAX_Close();
  ODAX_Delete();
}

Bytes BareStream::takeBytes() {
  ODAX_Flush();
  ZKFile_Flush();
  std::ifstream file(folder_.path("stream"), std::ios::binary | std::ios::ate);
  Bytes fresh(static_cast<size_t>(file.tellg()) - taken_);
  file.seekg(static_cast<std::streamoff>(taken_));
  file.read(reinterpret_cast<char*>(fresh.data()), static_cast<std::streamsize>(fresh.size()));
  taken_ += fresh.size();
  return fresh;
}

std::string imageSection(const std::string& colorSpace, int planes, int compression,
                         const std::vector<InkSetting>& inks, const std::string& moreLines) {
  std::string text = "[Image]\nColorSpace=" + colorSpace +
                     "\nCompressionMode=" + std::to_string(compression) +
                     "\nNumOfPlanes=" + std::to_string(planes) + "\n";
  for (const InkSetting& plane : inks) {
    if (!plane.file.empty()) text += "ImageFile" + plane.ink + "=\"" + plane.file + "\"\n";
    text += "PixelDepth" + plane.ink + "=" + std::to_string(plane.depth) + "\n";
    if (!plane.indexLevel.empty()) text += "IndexLevel" + plane.ink + "=" + plane.indexLevel + "\n";
  }
  return text + moreLines;
}

std::vector<std::vector<Bytes>> sentRows(const std::vector<Separation>& inks, size_t planes) {
  const char* const kOrder[] = {"PBK", "MBK", "K", "C", "M", "Y",  "c",  "m",
                                "Gy",  "Pgy", "R", "G", "B", "CO", "CO2"};
  size_t height = 0;
  for (const Separation& ink : inks)
    if (ink.ink != "G") height = std::max<size_t>(height, ink.samples.height);
  std::vector<std::vector<Bytes>> all;
  for (const char* name : kOrder) {
    for (const Separation& ink : inks) {
      if (ink.ink != name || all.size() == planes) continue;
      std::vector<Bytes> rows;
      if (ink.ink != "G") rows = inkRows(ink.samples, ink.form.photometric, ink.depth, ink.levels);
      const size_t rowBytes = (size_t{ink.samples.width} * static_cast<size_t>(ink.depth) + 7) / 8;
      rows.resize(height, Bytes(rowBytes, ink.levels == kLevelsRaw ? 0xFF : 0x00));
      all.push_back(rows);
    }
  }
  return all;
}

PageJob::PageJob() {
  folder.write("sj.xml", "<SJ>start</SJ>\n");
  folder.write("sjc.xml", "<SJC>job</SJC>\n");
  folder.write("sc.xml", "<SC>set</SC>\n");
  folder.write("sd.xml", "<SD>\n<datasize>0</datasize>\n<continue>OFF</continue>\n</SD>\n");
  folder.write("ej.xml", "<EJ>\n<datasize>0</datasize>\n</EJ>\n");
}

void PageJob::image(const std::string& name, const std::vector<Samples>& channels,
                    const FileForm& form) const {
  folder.write(name, tiffOf(channels, form));
}

std::string PageJob::separations(const std::string& colorSpace, int planes, int compression,
                                 const std::vector<Separation>& inks,
                                 const std::string& moreLines) {
  std::vector<InkSetting> settings;
  for (const Separation& ink : inks) {
    const std::string name = "image" + std::to_string(++files_) + ".tif";
    image(name, {ink.samples}, ink.form);
    settings.push_back({ink.ink, name, ink.depth, ink.indexLevel});
  }
  return imageSection(colorSpace, planes, compression, settings, moreLines);
}

JobRun PageJob::run(const JobSettings& settings, const std::string& sections) {
  std::string text = "[Global]\nOutFilePath=\"out.dat\"\n";
  for (const std::string& table : settings.tables)
    text += "ImageProcessingFile=\"" + table + "\"\n";
  if (!settings.split.empty()) text += "SplitDataSize=" + settings.split + "\n";
  text += "[ODAX]\n";
  const char* const kTemplates[][2] = {{"StartJob", "sj"},
                                       {"SetJobConfiguration", "sjc"},
                                       {"SetConfiguration", "sc"},
                                       {"SendData", "sd"},
                                       {"EndJob", "ej"}};
  for (const auto& names : kTemplates) {
    text +=
        std::string(names[0]) + "XmlFile=\"" + folder.path(std::string(names[1]) + ".xml") + "\"\n";
  }
  text += "[HXRaster]\nGraphicsResolutionH=" + std::to_string(settings.resolutionH) +
          "\nGraphicsResolutionV=" + std::to_string(settings.resolutionV) + "\n";
  if (settings.printableWidth)
    text += "PrintableWidthInPixel=" + std::to_string(*settings.printableWidth) + "\n";

  JobRun run;
  const std::string configuration = folder.write("job.cfg", text + sections);
  const Environment temporary("TMPDIR", folder.path());
  Capture capture;
  try {
    makeODAXData(configuration.c_str());
  } catch (int code) {
    run.code = code;
  } catch (const char* thrown) {
    run.text = thrown;
  }
  run.out = capture.out();
  run.err = capture.err();
  run.file = folder.bytes("out.dat");
  if (run.code == 0 && run.text.empty()) {
    try {
      splitJobFile(run);
    } catch (const std::runtime_error& error) {
      run.problem = error.what();
    }
  }
  return run;
}

std::string PageJob::verified() const {
  const jobverify::Verdict verdict =
      verifyJob(jobverify::readRequest(folder.path("job.cfg")), folder.path("out.dat"));
  std::string text;
  for (const std::string& difference : verdict.differences) text += difference + "\n";
  for (const std::string& reason : verdict.notCompared) text += "not compared: " + reason + "\n";
  return text;
}

DecodedStream PageJob::pages(const JobSettings& settings, const std::string& sections,
                             const std::vector<PageShape>& shapes) {
  const JobRun job = run(settings, sections);
  EXPECT_EQ(job.code, 0) << job.err;
  EXPECT_EQ(job.problem, "");
  EXPECT_EQ(job.err, "");
  EXPECT_EQ(verified(), "");
  try {
    return decodeStream(job.raster, shapes);
  } catch (const std::runtime_error& error) {
    ADD_FAILURE() << error.what();
    return {{}, std::vector<DecodedPage>(shapes.size()), 0};
  }
}

std::string firstDifference(const std::vector<std::vector<Bytes>>& got,
                            const std::vector<std::vector<Bytes>>& want) {
  if (got.size() != want.size())
    return std::to_string(got.size()) + " planes instead of " + std::to_string(want.size());
  for (size_t plane = 0; plane < want.size(); ++plane) {
    const std::string where = "plane " + std::to_string(plane + 1);
    if (got[plane].size() != want[plane].size()) {
      return where + ": " + std::to_string(got[plane].size()) + " rows instead of " +
             std::to_string(want[plane].size());
    }
    for (size_t row = 0; row < want[plane].size(); ++row) {
      if (got[plane][row] != want[plane][row]) {
        return where + ", row " + std::to_string(row) + ": " + hexOfRow(got[plane][row]) +
               " instead of " + hexOfRow(want[plane][row]);
      }
    }
  }
  return "";
}

PageShape shapeOf(const std::vector<std::vector<Bytes>>& planes, uint8_t blank, bool halves) {
  PageShape shape;
  shape.blank = blank;
  shape.halves = halves;
  for (const std::vector<Bytes>& rows : planes) {
    shape.rowBytes.push_back(rows.empty() ? 0 : rows.front().size());
    shape.rows = std::max(shape.rows, rows.size());
  }
  return shape;
}
