// JobFolder - a fresh folder with what a job needs: six short templates, page images, a folder for
// temporary files and a current folder. Runs configurations in this process and collects what they
// return, throw, print and write.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CFGFile.h"
#include "TempFolder.h"

/// What a job did. Where the folder's path was printed, the texts have "@".
struct JobResult {
  int code = 0;           // the integer that was thrown; 0 when the job ended
  std::string exception;  // the text that was thrown
  std::string out;        // standard output
  std::string err;        // standard error
};

/// What reading a configuration gave. Where the folder's path was printed, the texts have "@".
struct ReadResult {
  int code = 0;
  std::string out;
  std::string err;
  ParameterOwner record;  // null after a failure
  std::vector<std::pair<std::string, std::string>> overrides;
  int32_t hasVendorCmdXmlFile = 0;

  /// Page `index` of the record, or null.
  [[nodiscard]] const imageParameter* page(int index = 0) const;
};

/// How every echo begins.
inline constexpr std::string_view kEchoStart =
    "----------------------------------------------------------------------\n"
    "The Parameters you set are...\n";

/// The [ODAX] section that names the six templates of the folder. It is echoed as it stands.
inline constexpr std::string_view kTemplates =
    "[ODAX]\n"
    "StartJobXmlFile=\"@/SJ.xml\"\n"
    "SetJobConfigurationXmlFile=\"@/SJC.xml\"\n"
    "SetConfigurationXmlFile=\"@/SC.xml\"\n"
    "VendorCmdXmlFile=\"@/VC.xml\"\n"
    "SendDataXmlFile=\"@/SD.xml\"\n"
    "EndJobXmlFile=\"@/EJ.xml\"\n";

/// The four opening packets that the folder's templates give: 21 bytes.
inline constexpr std::string_view kOpening = "<SJ/><SJC/><SC/><VC/>";

/// Its templates are SJ.xml, SJC.xml, SC.xml and VC.xml of one line each, SD.xml with a "datasize"
/// and a "continue" line and EJ.xml with a "datasize" line. Temporary files go to temp/, the
/// current folder is cwd/. The split size is that of a fresh process, 0.
class JobFolder : public TempFolder {
 public:
  JobFolder();
  ~JobFolder();
  JobFolder(const JobFolder&) = delete;
  JobFolder& operator=(const JobFolder&) = delete;

  /// Writes a configuration to job.cfg and runs it. "@" stands for the folder's path.
  [[nodiscard]] JobResult run(std::string_view configuration) const;
  /// Runs a configuration file; the path is given as it stands.
  [[nodiscard]] JobResult runFile(const std::string& path) const;

  /// Writes a configuration to job.cfg and only reads it. The default output file is @/job.dat.
  [[nodiscard]] ReadResult read(std::string_view configuration) const;
  [[nodiscard]] ReadResult readFile(const std::string& path) const;

  /// Writes an image of 8-bit samples, 0 being blank; all rows are equally long.
  void writeImage(std::string_view name, const std::vector<Bytes>& rows) const;

  /// `text` with "@" replaced by the folder's path, and the other way round.
  [[nodiscard]] std::string expand(std::string_view text) const;
  [[nodiscard]] std::string shorten(std::string_view text) const;

  /// The names of what lies in a sub-folder, in order.
  [[nodiscard]] std::vector<std::string> names(std::string_view folder) const;

 private:
  std::string previousFolder_;
  std::string previousTemp_;
  bool hadTemp_;
};

/// A job that sends @/data.bin and writes @/out.dat; it is echoed as it stands. `global` is put
/// into [Global], `odax` behind the templates: whole lines.
std::string sendDataJob(std::string_view global, std::string_view odax = "");

/// `count` bytes of every value, NUL, CR and LF among them.
std::string dataBytes(size_t count);

/// The folder of the running executable, without a "/" at its end.
std::string executableFolder();
