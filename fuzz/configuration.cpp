// Fuzzed: the text of a configuration, through the reader that a job uses and through the reader of
// `odaxgen check`.
// Asserted: a code that is documented, or a record whose texts end inside their fields and whose
// lists are whole; and both readers agree on whether the file is a configuration, and on the first
// error.
//
// The folder holds a few files for the keys that want one.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "CFGFile.h"
#include "CFGRecords.h"
#include "FuzzFolder.h"
#include "ODAXGen.h"
#include "Problem.h"
#include "Require.h"
#include "Silence.h"

namespace {

const FuzzFolder& folder() {
  static const FuzzFolder made;
  static const bool isFilled = [] {
    for (const char* name : {"a.tif", "b.tif", "t.bin"}) made.write(name, "content");
    return true;
  }();
  static_cast<void>(isFilled);
  return made;
}

// Codes -3 to -40 are the configuration reader's.
bool isOfTheReader(int code) {
  return code <= -3 && code >= -40;
}

bool ends(const char (&text)[kPathBytes]) {
  return std::memchr(text, '\0', sizeof text) != nullptr;
}

void requireWhole(const parameter& record) {
  for (const PathText* text : {&record.CFGFileDirectory, &record.OutFilePath, &record.SendDataFile,
                               &record.StartJobXmlFile, &record.SetJobConfigurationXmlFile,
                               &record.SetConfigurationXmlFile, &record.VendorCmdXmlFile,
                               &record.SendDataXmlFile, &record.EndJobXmlFile}) {
    require(ends(*text), "the texts of a record end");
  }
  const imageParameter* last = nullptr;
  for (const imageParameter* image = record.imageParameterList; image != nullptr;
       image = image->next) {
    for (const ImagePath path : kImageFiles) require(ends(image->*path), "the paths of a page end");
    require(image->Mode >= 1000 && image->Mode < 6000, "a page has a mode");
    last = image;
  }
  require(record.lastImageParameter == last || last == nullptr, "the list of pages is whole");
  for (const imageProcessingFile* table = record.imageProcessingFileList; table != nullptr;
       table = table->next) {
    require(ends(table->path), "the path of a table ends");
  }
}

int readAsAJob(const std::string& path) {
  OverrideLists overrides;
  int32_t hasVendorCmd = 0;
  try {
    const ParameterOwner record(readConfiguration(path.c_str(), &overrides, &hasVendorCmd));
    requireWhole(*record);
    return 0;
  } catch (int code) {
    require(isOfTheReader(code), "a code that is documented");
    return code;
  }
}

// What ends reading is the first error that the check lists.
void requireAgreement(const std::string& path, int code) {
  const jobcheck::CheckedJob checked = jobcheck::checkJob(path);
  int first = 0;
  for (const jobcheck::Problem& problem : checked.problems) {
    if (problem.severity != jobcheck::Severity::kError) continue;
    first = problem.code;
    break;
  }
  if (code != 0 && first != code) std::fprintf(stderr, "ends with %d, check %d\n", code, first);
  require(code == 0 ? !isOfTheReader(first) : first == code, "the check lists that error first");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const jobcheck::Silence silence;
  const std::string path = folder().write("job.cfg", {data, size});
  requireAgreement(path, readAsAJob(path));
  return 0;
}
