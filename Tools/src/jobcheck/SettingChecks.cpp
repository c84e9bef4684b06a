#include "SettingChecks.h"

#include <filesystem>
#include <system_error>

#include "FileText.h"
#include "PathChecks.h"

namespace jobcheck {

namespace {

constexpr size_t kTableSlots = 6;

class SettingCheck {
 public:
  explicit SettingCheck(JobContext& job)
      : configuration_(job.configuration),
        record_(*configuration_.record),
        problems_(job.problems) {}

  void run() {
    checkDefaultOutput();
    checkOutputIsNoInput(configuration_, problems_);
    checkSplitSize();
    if (configuration_.sendsPages()) {
      checkResolution();
      checkTables();
    } else {
      checkSendData();
    }
  }

 private:
  void warn(const Place& place, const char* id, const std::string& text,
            const std::string& hint = "") {
    problems_.warn(place, id, text, hint);
  }
  [[nodiscard]] bool isRefused(const SectionLines& section, const char* key) const {
    const ConfigItem* item = section.find(key);
    return item != nullptr && !item->isStored;
  }

  void checkDefaultOutput() {
    if (isRefused(configuration_.global, "OutFilePath")) return;
    const ConfigItem* item = configuration_.global.find("OutFilePath");
    const bool isGiven = item != nullptr && item->value != "\"\"";
    if (isGiven) return;
    if (record_.OutFilePath[0] == '\0') {
      warn(configuration_.placeOf(configuration_.global, "OutFilePath"), "default-output",
           "without OutFilePath the job writes ODAX.dat in the current folder: the name of the "
           "configuration is taken only where [HXRaster] follows [Global] or begins the file",
           "give OutFilePath");
      return;
    }
    const std::string folder = std::string(record_.CFGFileDirectory) + "/";
    const std::string output = record_.OutFilePath;
    if (output.compare(0, folder.size(), folder) == 0) return;
    warn(configuration_.placeOf(configuration_.global, "OutFilePath"), "default-output-folder",
         "without OutFilePath the job writes " + output +
             ": the name is cut at its last dot, which stands in a folder's",
         "give OutFilePath");
  }

  void checkSplitSize() {
    const SectionLines& global = configuration_.global;
    if (isRefused(global, "SplitDataSize")) return;
    const Place place = configuration_.placeOf(global, "SplitDataSize");
    if (record_.SplitDataSize == kNotSet) {
      warn(place, "no-split-size",
           "without SplitDataSize the data stand bare in the job file, in no send-data packet",
           "give SplitDataSize, for example 65536; 0 sends all data in one packet");
    } else if (record_.SplitDataSize < 0) {
      warn(place, "negative-split-size",
           "SplitDataSize is read as " + std::to_string(record_.SplitDataSize) +
               "; packets have 65536 bytes, and each says that none follows",
           "the largest size is 2147483647");
    }
  }

  void checkResolution() {
    const SectionLines& hxraster = configuration_.hxraster;
    if (record_.GraphicsResolutionH == 0) warnResolution(hxraster, "GraphicsResolutionH");
    if (record_.GraphicsResolutionV == 0) warnResolution(hxraster, "GraphicsResolutionV");
  }

  void warnResolution(const SectionLines& section, const char* key) {
    warn(configuration_.placeOf(section, key), "resolution-zero",
         std::string(key) + " is 0 and is sent as 0 dots per inch");
  }

  void checkTables() {
    size_t slot = 0;
    for (const TableLine& table : configuration_.tables) {
      const Place place = configuration_.at(table.line);
      if (slot++ == kTableSlots) {
        warn(place, "too-many-tables",
             "only six ImageProcessingFile items are sent; this one and those below are left out");
        return;
      }
      if (table.isSound && !checkTable(table.record->path, place)) return;
    }
  }

  // False when no table is sent from here on.
  bool checkTable(const std::string& path, const Place& place) {
    const FileKind kind = kindOf(path);
    if (kind == FileKind::kMissing || kind == FileKind::kSpecial) return true;
    const char* const kNoneSent = ", so that neither it nor a table below is sent";
    if (kind == FileKind::kFolder) {
      warn(place, "table-not-read", fileName(path) + " is a folder" + kNoneSent);
      return false;
    }
    FileText file;
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(path, error);
    if (my_access(path.c_str(), 4) != 0) {
      warn(place, "table-not-read", fileName(path) + " cannot be opened" + kNoneSent);
      return false;
    }
    if (!error && size == 0) {
      warn(place, "empty-table", fileName(path) + " is empty; a table of 0 bytes is sent");
    }
    return true;
  }

  void checkSendData() {
    std::vector<std::string> ignored;
    if (configuration_.hxraster.headerLine > 0) ignored.emplace_back("[HXRaster]");
    if (!configuration_.pages.empty()) ignored.emplace_back("[Image]");
    if (!configuration_.tables.empty()) ignored.emplace_back("ImageProcessingFile");
    const Place place = configuration_.placeOf(configuration_.global, "SendDataFile");
    if (!ignored.empty()) {
      warn(place, "send-data-alone",
           "beside SendDataFile nothing of " + joined(ignored) + " is sent",
           "take these away, or SendDataFile");
    }
    const std::string path = configuration_.complete(record_.SendDataFile);
    std::error_code error;
    const bool isEmpty = kindOf(path) == FileKind::kRegular &&
                         std::filesystem::file_size(path, error) == 0 && !error;
    if (isEmpty) warn(place, "empty-send-data", fileName(path) + " is empty; the job has no data");
  }

  const Configuration& configuration_;
  const parameter& record_;
  ProblemList& problems_;
};

}  // namespace

void checkSettings(JobContext& job) {
  SettingCheck(job).run();
}

}  // namespace jobcheck
