#include "JobFolder.h"

#include <odaxgen/ODAXGen.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Capture.h"
#include "ODAXOutLib.h"
#include "Thrown.h"
#include "TiffWriter.h"

namespace fs = std::filesystem;

namespace {

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  for (size_t at = 0;;) {
    const size_t found = text.find(from, at);
    if (found == std::string_view::npos) return result.append(text.substr(at));
    result.append(text.substr(at, found - at)).append(to);
    at = found + from.size();
  }
}

}  // namespace

const imageParameter* ReadResult::page(int index) const {
  const imageParameter* page = record == nullptr ? nullptr : record->imageParameterList;
  while (page != nullptr && index-- > 0) page = page->next;
  return page;
}

JobFolder::JobFolder() : previousFolder_(fs::current_path().string()) {
  const char* const temp = std::getenv("TMPDIR");
  hadTemp_ = temp != nullptr;
  if (hadTemp_) previousTemp_ = temp;
  fs::create_directory(path("temp"));
  fs::create_directory(path("cwd"));
  setenv("TMPDIR", path("temp").c_str(), 1);
  fs::current_path(path("cwd"));

  write("SJ.xml", "<SJ/>\n");
  write("SJC.xml", "<SJC/>\n");
  write("SC.xml", "<SC/>\n");
  write("VC.xml", "<VC/>\n");
  write("SD.xml", "<SD>\n<d:datasize>0</d:datasize>\n<d:continue>-</d:continue>\n</SD>\n");
  write("EJ.xml", "<EJ>\n<d:datasize>0</d:datasize>\n</EJ>\n");
  ODAX_SetSplitDataSize(0);  // a job without SplitDataSize would keep that of an earlier test
}

JobFolder::~JobFolder() {
  if (hadTemp_) {
    setenv("TMPDIR", previousTemp_.c_str(), 1);
  } else {
    unsetenv("TMPDIR");
  }
  std::error_code ignored;
  fs::current_path(previousFolder_, ignored);
}

std::string JobFolder::expand(std::string_view text) const {
  return replaceAll(text, "@", path());
}

std::string JobFolder::shorten(std::string_view text) const {
  return replaceAll(text, path(), "@");
}

JobResult JobFolder::run(std::string_view configuration) const {
  return runFile(write("job.cfg", expand(configuration)));
}

JobResult JobFolder::runFile(const std::string& path) const {
  JobResult result;
  Capture capture;
  try {
    result.code = makeODAXData(path.c_str());
  } catch (int code) {
    result.code = code;
  } catch (const char* text) {
    result.exception = text;
  }
  result.out = shorten(capture.out());
  result.err = shorten(capture.err());
  return result;
}

ReadResult JobFolder::read(std::string_view configuration) const {
  return readFile(write("job.cfg", expand(configuration)));
}

ReadResult JobFolder::readFile(const std::string& path) const {
  ReadResult result;
  std::array<char*, kMaxOverrides> keys{};
  std::array<char*, kMaxOverrides> values{};
  // The reader releases the record itself when it fails.
  auto* const record = static_cast<parameter*>(std::calloc(1, sizeof(parameter)));
  std::strncpy(record->CFGFileDirectory, this->path().c_str(), kPathBytes - 1);
  setDefaultFileName(this->path("job.dat").c_str());
  {
    Capture capture;
    result.code = thrownBy([&] {
      parseParameter(path.c_str(), record, keys.data(), values.data(), &result.hasVendorCmdXmlFile);
    });
    result.out = shorten(capture.out());
    result.err = shorten(capture.err());
  }
  if (result.code == 0) result.record.reset(record);
  for (size_t i = 0; i < keys.size() && keys[i] != nullptr; ++i) {
    result.overrides.emplace_back(keys[i], values[i]);
    std::free(keys[i]);
    std::free(values[i]);
  }
  return result;
}

void JobFolder::writeImage(std::string_view name, const std::vector<Bytes>& rows) const {
  TiffPage page;
  page.width = static_cast<uint32_t>(rows.empty() ? 0 : rows[0].size());
  page.height = static_cast<uint32_t>(rows.size());
  page.strips.emplace_back();
  for (const Bytes& row : rows) page.strips[0].insert(page.strips[0].end(), row.begin(), row.end());
  write(name, tiffFile(page));
}

std::vector<std::string> JobFolder::names(std::string_view folder) const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(path(folder)))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string sendDataJob(std::string_view global, std::string_view odax) {
  std::string text = "[Global]\nOutFilePath=\"@/out.dat\"\n";
  text.append(global).append("SendDataFile=\"@/data.bin\"\n");
  return text.append(kTemplates).append(odax);
}

std::string dataBytes(size_t count) {
  std::string data(count, '\0');
  for (size_t i = 0; i < count; ++i) data[i] = static_cast<char>(i * 7 + i / 256);
  return data;
}

std::string executableFolder() {
  return fs::read_symlink("/proc/self/exe").parent_path().string();
}
