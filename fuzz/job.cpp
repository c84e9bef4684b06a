// Fuzzed: whole jobs. The decisions of the input make a configuration, its images, templates and
// data file; the job runs from beginning to end with hooks as the command has them.
// Asserted: it ends with a code or a text that is documented, or it succeeds; `odaxgen check` lists
// what ended it as the first error, and none for a job that succeeded; and a job file that was
// finished is found whole and right by the job reader and by `odaxgen verify`.
//
// Exempt from the second are jobs in which an image and a template are at fault: which of them ends
// the job hangs on the size of data that only the job makes.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BuiltTiff.h"
#include "Choices.h"
#include "FuzzFolder.h"
#include "HXRasterLib.h"
#include "JobFile.h"
#include "JobSummary.h"
#include "JobVerifier.h"
#include "ODAXGen.h"
#include "ODAXOutLib.h"
#include "Problem.h"
#include "Require.h"
#include "Silence.h"
#include "TiffFacts.h"

namespace {

using Texts = std::vector<std::string>;

constexpr size_t kImages = 4;
constexpr size_t kMostTemplateBytes = 600;
constexpr uint32_t kMostRows = 700;  // larger images are left out: they take all the time
constexpr uint32_t kMostPixels = 1000;
constexpr int kLastCode = -80;

// Hooks -------------------------------------------------------------------------------------------

class FolderHooks : public JobHooks {
 public:
  explicit FolderHooks(const FuzzFolder& folder)
      : folder_(folder), temporary_(folder.path() + "/") {}

  const char* completePath(const char* path) override {
    path_ = path[0] == '/' ? path : folder_.path(path);
    return path_.c_str();
  }
  const char* temporaryFolder() override { return temporary_.c_str(); }
  // A job without an output of its own writes to the current folder; here to the job's.
  const char* stageOutput(const char* path) override {
    if (path[0] == '/') return nullptr;
    output_ = folder_.path(path);
    return output_.c_str();
  }

 private:
  const FuzzFolder& folder_;
  std::string path_;
  std::string temporary_;
  std::string output_;
};

// Jobs --------------------------------------------------------------------------------------------

struct Format {
  int colorSpace;
  int planes;
  std::vector<const char*> inks;
};

class JobMaker {
 public:
  JobMaker(Choices& choices, const FuzzFolder& folder) : choices_(choices), folder_(folder) {}

  void write() {
    isOdd_ = choices_.oneIn(3);
    for (size_t i = 0; i < kImages; ++i) writeImage("i" + std::to_string(i) + ".tif");
    for (const char* name : {"StartJob", "SetJobConfiguration", "SetConfiguration", "VendorCmd"})
      writeTemplate(name, "");
    writeTemplate("SendData", "<datasize>0</datasize>\n<continue>OFF</continue>\n");
    writeTemplate("EndJob", "<datasize>0</datasize>\n");
    folder_.write("table.bin", std::string_view("0123456789"));
    folder_.write("data.bin", choices_.bytes(choices_.byte()));
    addGlobal();
    addOdax();
    addHXRaster();
    for (uint32_t pages = 1 + choices_.below(3); pages > 0; --pages) addPage();
    changeText();
    folder_.write("job.cfg", text_);
  }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  // One oddity here and there.
  bool odd() { return isOdd_ && choices_.oneIn(16); }
  const std::string& any(const Texts& texts) {
    return texts[choices_.below(static_cast<uint32_t>(texts.size()))];
  }
  void add(const std::string& line) { text_ += line + "\n"; }

  void writeImage(const std::string& name) {
    if (odd()) {
      folder_.write(name, choices_.counted());
    } else {
      folder_.write(name, buildTiff(choices_));
    }
    const jobcheck::TiffFacts facts = jobcheck::readTiffFacts(folder_.path(name));
    if (facts.height > kMostRows || facts.width > kMostPixels || facts.rowBytes() > kMostPixels)
      folder_.write(name, std::string_view());
  }

  void writeTemplate(const std::string& name, const std::string& lines) {
    std::string text = "<j:" + name + ">\n";
    if (choices_.flag()) text += "<j:Copies>1</j:Copies>\n<v name=\"Quality\">draft</v>\r\n";
    text += lines;
    if (odd()) text += choices_.text(kMostTemplateBytes);
    text += "</j:" + name + ">\n";
    if (odd()) text = choices_.text(kMostTemplateBytes);
    folder_.write(name + ".xml", text);
  }

  std::string number(const Texts& usual) {
    return odd() ? any({"0", "-1", "0x", "0xFFFFFFFF", "4294967297", "x", "007", "2147483648",
                        "hxraster_id_val_compression_none", "127", "128", "", "9"})
                 : any(usual);
  }

  void addGlobal() {
    add("[Global]");
    if (!odd()) add("OutFilePath = \"job.odx\"");
    if (!odd()) add("SplitDataSize = " + number({"0", "1", "10", "40", "200", "4000", "65536"}));
    if (choices_.oneIn(3)) add("ImageProcessingFile = \"table.bin\"");
    if (choices_.oneIn(12)) add("SendDataFile = \"data.bin\"");
  }

  void addOdax() {
    add("[ODAX]");
    for (const char* name : {"StartJob", "SetJobConfiguration", "SetConfiguration", "VendorCmd",
                             "SendData", "EndJob"}) {
      if (odd()) continue;
      if (std::string(name) == "VendorCmd" && choices_.flag()) continue;
      add(std::string(name) + "XmlFile = \"" + name + ".xml\"");
    }
    for (uint32_t pairs = choices_.below(4); pairs > 0; --pairs) {
      std::string value = any({"3", "\"x y\"", "ODAXGEN_SUPPRESSION", "\"\""});
      if (odd()) value = choices_.text(100);
      add(any({"Copies", "Quality", "datasize", "continue", "j"}) + " = " + value);
    }
  }

  void addHXRaster() {
    add("[HXRaster]");
    add("GraphicsResolutionH = " + number({"600"}));
    add("GraphicsResolutionV = " + number({"600", "1200"}));
    if (choices_.flag()) {
      add("PrintableWidthInPixel = " + number({"8", "13", "71", "40", "200", "1"}));
    }
  }

  void addPage() {
    static const std::vector<Format> kFormats = {
        {2, 1, {"K"}},
        {2, 3, {"R", "G", "B"}},
        {3, 4, {"K", "C", "M", "Y"}},
        {3, 6, {"K", "C", "M", "Y", "c", "m"}},
        {4, 1, {"K"}},
        {5, 4, {"K", "C", "M", "Y"}},
        {5, 5, {"PBK", "MBK", "C", "M", "Y"}},
        {4, 8, {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy"}},
        {5, 13, {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy", "Pgy", "R", "B", "CO", "CO2"}},
        {18, 1, {"R", "G", "B"}},
        {19, 1, {"K"}}};
    const Format& format = kFormats[choices_.below(static_cast<uint32_t>(kFormats.size()))];
    add("[Image]");
    add("ColorSpace = " + number({std::to_string(format.colorSpace)}));
    add("NumOfPlanes = " + number({std::to_string(format.planes)}));
    add("CompressionMode = " + number({"0", "2", "3", "4", "256"}));
    addInks(format);
    for (const char* key : {"YOffsetC", "StartingPositionX", "StartingPositionY", "YOffset"}) {
      if (choices_.oneIn(4)) add(std::string(key) + " = " + any({"0", "12", "+7", "-1", "-0"}));
    }
  }

  std::string image() { return "i" + std::to_string(choices_.below(kImages)) + ".tif\""; }

  void addInks(const Format& format) {
    const bool isRgb = std::string(format.inks.front()) == "R" && choices_.flag();
    const bool isCmyk = format.inks.size() == 4 && choices_.flag();
    const std::string depth = any({"8", "1", "2", "4", "10", "12", "16"});
    if (isRgb) add("ImageFileRGB = \"" + image());
    if (isCmyk) add("ImageFileCMYK = \"" + image());
    for (const char* ink : format.inks) {
      const std::string name = ink;
      if ((!isRgb && !isCmyk) || odd()) add("ImageFile" + name + " = \"" + image());
      if (!odd()) add("PixelDepth" + name + " = " + (odd() ? number({"3"}) : depth));
      if (choices_.oneIn(6)) add("IndexLevel" + name + " = " + number({"0", "2", "4", "16"}));
    }
  }

  // The text as it stands, or with a few characters changed. No slash: the files stay here.
  void changeText() {
    for (uint32_t changes = isOdd_ ? choices_.below(4) : 0; changes > 0; --changes) {
      const size_t at = choices_.word() % text_.size();
      const char byte = static_cast<char>(choices_.byte());
      text_[at] = byte == '/' || byte == '\\' || byte == ':' ? '#' : byte;
    }
  }

  Choices& choices_;
  const FuzzFolder& folder_;
  bool isOdd_ = false;
  std::string text_;
};

// Runs --------------------------------------------------------------------------------------------

struct Outcome {
  int code = 0;
  std::string text;
  [[nodiscard]] bool isDone() const { return code == 0 && text.empty(); }
};

// What one job leaves behind in the modules must not reach the next.
void forgetJobs() {
  ODAX_SetSplitDataSize(0);
  HXRaster_Forget();
  closePagesLeftOpen();
}

Outcome run(const FuzzFolder& folder) {
  forgetJobs();
  FolderHooks hooks(folder);
  Outcome outcome;
  try {
    runJob(hooks, folder.path("job.cfg").c_str());
  } catch (int code) {
    require(code <= -3 && code >= kLastCode, "a code that is documented");
    outcome.code = code;
  } catch (const char* text) {
    require(std::string(text) == "Internal Exception", "the text that is documented");
    outcome.text = text;
    ODAX_Delete();
  }
  forgetJobs();
  return outcome;
}

bool isImageError(int code, bool isText) {
  return isText || code == -41 || code == -42;
}
bool isPacketError(int code) {
  return code == -59 || code == -67 || code == -71 || code == -73;
}

// The order of the two may hang on the size of rows that only the job makes.
bool isEitherOrder(const jobcheck::CheckedJob& checked, const Outcome& outcome) {
  if (!isImageError(outcome.code, !outcome.text.empty()) && !isPacketError(outcome.code))
    return false;
  bool hasImage = false;
  bool hasPacket = false;
  for (const jobcheck::Problem& problem : checked.problems) {
    if (problem.severity != jobcheck::Severity::kError) continue;
    hasImage = hasImage || isImageError(problem.code, problem.code == 0);
    hasPacket = hasPacket || isPacketError(problem.code);
  }
  return hasImage && hasPacket;
}

void requireAgreement(const jobcheck::CheckedJob& checked, const Outcome& outcome,
                      const std::string& config) {
  const jobcheck::Problem* first = nullptr;
  for (const jobcheck::Problem& problem : checked.problems) {
    if (problem.severity != jobcheck::Severity::kError) continue;
    first = &problem;
    break;
  }
  if (isEitherOrder(checked, outcome)) return;
  const bool agrees = first == nullptr ? outcome.isDone()
                                       : first->code == outcome.code && first->id == outcome.text;
  if (agrees) return;
  std::fprintf(stderr, "%s\nends with %d %s, check lists %d %s\n", config.c_str(), outcome.code,
               outcome.text.c_str(), first == nullptr ? 0 : first->code,
               first == nullptr ? "nothing" : first->text.c_str());
  require(false, "check lists what ends the job");
}

void requireWhole(const FuzzFolder& folder, const std::string& config) {
  const jobverify::JobRequest request = jobverify::readRequest(folder.path("job.cfg"));
  const jobreader::KnownJob known = jobverify::knownJob(request);
  const bool isElsewhere = request.outputPath[0] != '/';
  const std::string path = isElsewhere ? folder.path(request.outputPath) : request.outputPath;
  jobreader::JobFile file(path);
  const jobreader::JobSummary summary = jobreader::summarise(file, &known);
  const jobverify::Verdict verdict = jobverify::verifyJob(request, path);
  if (!summary.damage && verdict.differenceCount == 0) return;
  std::fprintf(stderr, "%s\n", config.c_str());
  if (summary.damage) std::fprintf(stderr, "%s\n", summary.damage->text.c_str());
  for (const std::string& line : verdict.differences) std::fprintf(stderr, "%s\n", line.c_str());
  require(!summary.damage, "the job file is whole");
  require(false, "the job file is what its configuration asks for");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const FuzzFolder folder;
  const jobcheck::Silence silence;
  folder.clear();
  Choices choices(data, size);
  JobMaker maker(choices, folder);
  maker.write();
  const jobcheck::CheckedJob checked = jobcheck::checkJob(folder.path("job.cfg"));
  const Outcome outcome = run(folder);
  requireAgreement(checked, outcome, maker.text());
  if (outcome.isDone()) requireWhole(folder, maker.text());
  return 0;
}
