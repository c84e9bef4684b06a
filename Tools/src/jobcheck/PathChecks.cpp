#include "PathChecks.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "CFGPaths.h"
#include "FileText.h"
#include "JobRequest.h"
#include "PagePlanes.h"
#include "Silence.h"

namespace jobcheck {

namespace {

namespace fs = std::filesystem;

constexpr int kErrorTableFile = -39;
constexpr int kErrorImageFile = -40;
constexpr int kErrorOpenTemp = -46;
constexpr int kErrorTempPath = -68;
constexpr size_t kMostNameBytes = 255;
constexpr size_t kMostFolderBytes = 243;  // of the temporary folder, with its slash
constexpr const char* kPrivateFolder = "odaxgen-XXXXXX/";

// A path of the record and what is said about it.
struct NamedPath {
  char* path;
  const char* key;
  Place place;
  int missingCode;  // 0: it need not exist
  bool isSound;
};

class PathCheck {
 public:
  PathCheck(Configuration& configuration, ProblemList& problems)
      : configuration_(configuration), problems_(problems) {
    output_ = {configuration.record->OutFilePath, "OutFilePath",
               configuration.placeOf(configuration.global, "OutFilePath"), 0, true};
    for (const TableLine& table : configuration.tables) {
      tables_.push_back({table.record->path, "ImageProcessingFile", configuration.at(table.line),
                         kErrorTableFile, table.isSound});
    }
    for (const PageLines& page : configuration.pages) listImages(page);
  }

  void run() {
    convert(output_);
    forEachInput([this](NamedPath& path) { convert(path); });
    // The library completes the tables first.
    for (NamedPath& table : tables_) complete(table);
    complete(output_);
    for (NamedPath& image : images_) complete(image);
    forEachInput([this](NamedPath& path) { requireFile(path); });
  }

 private:
  void listImages(const PageLines& page) {
    for (const ImagePath file : kImageFiles) {
      char* path = page.record->*file;
      if (path[0] == '\0') continue;
      const char* key = fileKeyOf(file);
      images_.push_back(
          {path, key, configuration_.placeOf(page.lines, key), kErrorImageFile, true});
    }
  }

  template <class Visit>
  void forEachInput(Visit visit) {
    for (NamedPath& table : tables_) visit(table);
    for (NamedPath& image : images_) visit(image);
  }

  void convert(NamedPath& path) {
    if (!path.isSound) return;
    const std::string written = path.path;
    const int code = codeOf([&] { toSlash(path.path); });
    if (code == 0) return;
    path.isSound = false;
    const bool hasDrive = written.size() > 2 && written[1] == ':' && written[2] == '\\';
    problems_.error(path.place, code,
                    hasDrive ? std::string(path.key) + " has a drive: " + quoted(written)
                             : std::string(path.key) +
                                   " has more than 259 characters with its colons converted: " +
                                   quoted(written),
                    hasDrive ? "use slashes and a path without a drive" : "");
  }

  void complete(NamedPath& path) {
    if (!path.isSound) return;
    if (codeOf([&] { toFullPath(path.path, configuration_.record.get()); }) == 0) return;
    path.isSound = false;
    problems_.error(path.place, path.missingCode == 0 ? kErrorImageFile : path.missingCode,
                    std::string(path.key) +
                        " has more than 259 characters behind the folder of the configuration: " +
                        quoted(path.path),
                    "use shorter names or a folder higher up");
  }

  void requireFile(const NamedPath& path) {
    if (!path.isSound || my_access(path.path, F_OK) == 0) return;
    const std::string file = path.path;
    problems_.error(path.place, path.missingCode,
                    file.empty()
                        ? std::string(path.key) + " is empty"
                        : std::string(path.key) + " does not exist: " + configuration_.shown(file),
                    "relative paths start at the folder of the configuration");
  }

  Configuration& configuration_;
  ProblemList& problems_;
  NamedPath output_ = {};
  std::vector<NamedPath> tables_;
  std::vector<NamedPath> images_;
};

std::string folderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

// Why an output cannot be made; empty: it can.
std::string whyNoOutput(const std::string& path) {
  const std::string folder = folderOf(path);
  const FileKind kind = kindOf(path);
  if (kind == FileKind::kFolder) return "is a folder";
  if (kind == FileKind::kSpecial) return access(path.c_str(), W_OK) == 0 ? "" : "cannot be written";
  if (fileName(path).size() > kMostNameBytes) return "has a name of more than 255 characters";
  if (kindOf(folder) != FileKind::kFolder) return "lies in a folder that is not there";
  if (access(folder.c_str(), W_OK | X_OK) != 0) return "lies in a folder that cannot be written to";
  const bool isThere = kind == FileKind::kRegular;
  return isThere && access(path.c_str(), W_OK) != 0 ? "cannot be overwritten" : "";
}

Place placeOfOutput(const Configuration& configuration) {
  return configuration.placeOf(configuration.global, "OutFilePath");
}

std::string temporaryFolder() {
  const char* folder = std::getenv("TMPDIR");
  const std::string path =
      jobverify::absolutePath(folder == nullptr || folder[0] == '\0' ? "/tmp" : folder);
  return path.back() == '/' ? path : path + "/";
}

// The files that a job reads beside its configuration, by the key that names them.
std::vector<std::pair<std::string, std::string>> inputsOf(const Configuration& configuration) {
  std::vector<std::pair<std::string, std::string>> inputs;
  const parameter& record = *configuration.record;
  inputs.emplace_back("the configuration", configuration.fullPath);
  for (const char* path :
       {record.StartJobXmlFile, record.SetJobConfigurationXmlFile, record.SetConfigurationXmlFile,
        record.VendorCmdXmlFile, record.SendDataXmlFile, record.EndJobXmlFile}) {
    inputs.emplace_back("a template", configuration.complete(path));
  }
  inputs.emplace_back("SendDataFile", configuration.complete(record.SendDataFile));
  for (const TableLine& table : configuration.tables)
    inputs.emplace_back("ImageProcessingFile", table.record->path);
  for (const PageLines& page : configuration.pages) {
    for (const ImagePath file : kImageFiles)
      inputs.emplace_back(fileKeyOf(file), page.record->*file);
  }
  return inputs;
}

}  // namespace

void checkPaths(Configuration& configuration, ProblemList& problems) {
  PathCheck(configuration, problems).run();
}

std::string outputOf(const Configuration& configuration) {
  const std::string path = configuration.record->OutFilePath;
  return jobverify::absolutePath(path.empty() ? "ODAX.dat" : path);
}

void checkOutput(const Configuration& configuration, int code, ProblemList& problems) {
  const std::string path = outputOf(configuration);
  const std::string why = whyNoOutput(path);
  if (why.empty()) return;
  problems.error(placeOfOutput(configuration), code,
                 "the output " + configuration.shown(path) + " " + why, "check OutFilePath");
}

void checkTemporaryFolder(const Configuration& configuration, ProblemList& problems) {
  const std::string folder = temporaryFolder();
  const Place place = configuration.placeOf(configuration.global, "SplitDataSize");
  const size_t length = folder.size() + std::string(kPrivateFolder).size();
  if (length > kMostFolderBytes) {
    problems.error(place, kErrorTempPath,
                   "the path of the temporary folder is too long: " + quoted(folder),
                   "set TMPDIR to a shorter one");
  } else if (kindOf(folder) != FileKind::kFolder || access(folder.c_str(), W_OK | X_OK) != 0) {
    problems.error(
        place, kErrorOpenTemp,
        "the temporary folder " + folder + " is not there or cannot be written to",
        "set TMPDIR to one that is; the data of a job in one packet are collected there");
  }
}

void checkOutputIsNoInput(const Configuration& configuration, ProblemList& problems) {
  const std::string output = outputOf(configuration);
  std::error_code error;
  if (!fs::exists(output, error)) return;
  for (const auto& [key, path] : inputsOf(configuration)) {
    if (path.empty() || !fs::equivalent(output, path, error)) continue;
    problems.warn(placeOfOutput(configuration), "output-is-input",
                  "the job file takes the place of " + key + ", " + configuration.shown(path),
                  "choose another OutFilePath");
    return;
  }
}

}  // namespace jobcheck
