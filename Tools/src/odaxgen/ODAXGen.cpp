#include "ODAXGen.h"

#include <cstdio>
#include <cstring>

#include "CFGFile.h"
#include "HXRasterLib.h"
#include "Mac_Depend.h"
#include "ODAXOutLib.h"
#include "ZKFile.h"

namespace {

constexpr int kErrorFullPath = -43;
constexpr int kErrorRecordMemory = -45;
constexpr int kErrorOpenTemp = -46;
constexpr int kErrorReopenOutput = -47;
constexpr int kErrorRemoveTemp = -48;
constexpr int kErrorOpenOutput = -49;

void cutAtLast(char* text, char separator, const char* otherwise) {
  char* at = std::strrchr(text, separator);
  if (at != nullptr) {
    *at = '\0';
  } else if (otherwise != nullptr) {
    zk_strcpy(text, kPathBytes, otherwise);
  }
}

void resolveConfigurationPath(const char* path, char* fullPath) {
  if (GetFullPathMac(path, static_cast<int32_t>(kPathBytes), fullPath) == 0) return;
  printError("cannot get full path of %s\n", path == nullptr ? "(null)" : path);
  throw kErrorFullPath;
}

// The configuration path with ".dat" for its extension. The last '.' of the whole path counts, so
// one in a folder's name cuts there when the file name has none, on purpose.
void rememberDefaultOutput(const char* fullPath) {
  char stem[kPathBytes];
  zk_strcpy(stem, sizeof stem, fullPath);
  cutAtLast(stem, '.', nullptr);
  char name[kPathBytes];
  zk_sprintf(name, sizeof name, "%s.dat", stem);
  setDefaultFileName(name);
}

parameter* newRecord(const char* fullPath) {
  auto* record = static_cast<parameter*>(std::calloc(1, sizeof(parameter)));
  if (record == nullptr) {
    printError("memory alloc error\n");
    throw kErrorRecordMemory;
  }
  zk_strcpy(record->CFGFileDirectory, kPathBytes, fullPath);
  cutAtLast(record->CFGFileDirectory, '/', ".");
  return record;
}

void handOverOverrides(OverrideLists* overrides) {
  if (overrides->keys[0] == nullptr || overrides->values[0] == nullptr) return;
  ODAX_SetOverRideKeyValue(overrides->keys, overrides->values);
  overrides->release();
}

void sendOpeningPackets() {
  ODAX_SendJobSJ();
  ODAX_SendJobSJC();
  ODAX_SendJobSC();
  ODAX_SendJobVC();
}

// Results are ignored, on purpose: a page that cannot be opened or held sends no raster data and
// the job goes on. Only thrown codes stop it.
void sendPages(parameter* record, JobHooks& hooks) {
  HXRaster_New();
  processHXRasterConfiguration(record);
  for (const imageParameter* image = record->imageParameterList; image != nullptr;
       image = image->next) {
    if (image != record->imageParameterList) HXRaster_New();
    processHXRasterImageConfiguration(image);
    processHXRasterImageDataWith(hooks, image);
  }
  HXRaster_SendEndOfPage();
  HXRaster_SendJobEnd();
}

void sendRasterData(parameter* record, JobHooks& hooks) {
  if (record->SendDataFile[0] == '\0') {
    sendPages(record, hooks);
  } else {
    readExternalFileWith(hooks, hooks.completePath(record->SendDataFile));
  }
}

int32_t openOutput(JobHooks& hooks) {
  ZKFile_WriteTo(hooks.stageOutput(ZKFile_Path()));
  return ODAX_Open();
}

void removeTempFile() {
  char path[kPathBytes];
  getTempPath(static_cast<int>(kPathBytes), path);
  if (std::remove(path) == 0) return;
  printError("ERROR!: Can't delete file \"%s\"\n", path);
  throw kErrorRemoveTemp;
}

// Split mode: the packets are written while the raster data are produced.
void runSplit(parameter* record, JobHooks& hooks) {
  sendOpeningPackets();
  sendRasterData(record, hooks);
}

// One-packet mode: the raster data are collected first and announced with their size.
void runInOnePacket(parameter* record, JobHooks& hooks) {
  ODAX_SetTempFolder(hooks.temporaryFolder());
  if (ODAX_OpenTemp() < 0) throw kErrorOpenTemp;
  sendRasterData(record, hooks);
  ODAX_Close();
  if (openOutput(hooks) < 0) throw kErrorReopenOutput;
  sendOpeningPackets();
  sendDataRasterNotDivideWith(hooks);
  removeTempFile();
}

void runPrepared(parameter* record, OverrideLists* overrides, int32_t hasVendorCmd,
                 JobHooks& hooks) {
  handOverOverrides(overrides);
  ODAX_SetIsExistVC(static_cast<uint32_t>(hasVendorCmd));
  if (record->SplitDataSize != 0) {
    runSplit(record, hooks);
  } else {
    runInOnePacket(record, hooks);
  }
  ODAX_SendJobEJ();
  ODAX_Close();
  ODAX_Delete();
}

// The modules below know no hooks; while one of these lives they reach this job's.
class HooksBelow {
 public:
  explicit HooksBelow(JobHooks& hooks) {
    ZKFile_OnWriteFailure(tellWriteFailed, &hooks);
    onReadFailure(tellReadFailed, &hooks);
  }
  ~HooksBelow() {
    ZKFile_OnWriteFailure(nullptr, nullptr);
    onReadFailure(nullptr, nullptr);
    ODAX_SetTempFolder(nullptr);
  }
  HooksBelow(const HooksBelow&) = delete;
  HooksBelow& operator=(const HooksBelow&) = delete;

 private:
  static void tellWriteFailed(void* hooks, const char* path, int error) {
    static_cast<JobHooks*>(hooks)->writeFailed(path, error);
  }
  static void tellReadFailed(void* hooks, const char* path, int error) {
    static_cast<JobHooks*>(hooks)->readFailed(path, error);
  }
};

}  // namespace

void OverrideLists::release() {
  for (size_t i = 0; i < kMaxOverrides; ++i) {
    std::free(keys[i]);
    std::free(values[i]);
    keys[i] = values[i] = nullptr;
  }
}

parameter* readConfiguration(const char* path, OverrideLists* overrides, int32_t* hasVendorCmd) {
  char fullPath[kPathBytes] = {};
  resolveConfigurationPath(path, fullPath);
  rememberDefaultOutput(fullPath);
  *hasVendorCmd = 0;
  parameter* record = newRecord(fullPath);
  parseParameter(fullPath, record, overrides->keys, overrides->values, hasVendorCmd);
  return record;
}

int makeODAXData(const char* configurationPath) {
  JobHooks defaults;
  return runJob(defaults, configurationPath);
}

int runJob(JobHooks& hooks, const char* configurationPath) {
  const HooksBelow hooksBelow(hooks);
  OverrideLists overrides;
  int32_t hasVendorCmd = 0;
  parameter* parsed = readConfiguration(configurationPath, &overrides, &hasVendorCmd);
  if (parsed->SplitDataSize != kNotSet) {
    ODAX_SetSplitDataSize(static_cast<uint32_t>(parsed->SplitDataSize));
  }
  // Up to here a failure leaves the packet writer as it is; from here on it is deleted. Kept on
  // purpose: the next job makes it anew either way.
  processODAXWith(hooks, parsed);

  const ParameterOwner record(parsed);
  try {
    hooks.jobBegins(*record);
    runPrepared(record.get(), &overrides, hasVendorCmd, hooks);
  } catch (int) {
    ODAX_Delete();
    throw;
  } catch (const char*) {
    // Nothing is cleaned up for a text, on purpose; what was written so far is to be seen, though.
    ZKFile_Flush();
    throw;
  }
  hooks.outputComplete();
  my_printf("done.\n");
  return 0;
}

void processODAX(parameter* record) {
  JobHooks defaults;
  processODAXWith(defaults, record);
}

void processODAXWith(JobHooks& hooks, parameter* record) {
  ODAX_NewWithName(record->OutFilePath);
  struct Route {
    const char* path;
    void (*set)(const char*);
  };
  const Route routes[] = {
      {record->StartJobXmlFile, ODAX_SJ_XMLFilePath},
      {record->SetJobConfigurationXmlFile, ODAX_SJC_XMLFilePath},
      {record->SetConfigurationXmlFile, ODAX_SC_XMLFilePath},
      {record->VendorCmdXmlFile, ODAX_VC_XMLFilePath},
      {record->SendDataXmlFile, ODAX_SD_XMLFilePath},
      {record->EndJobXmlFile, ODAX_EJ_XMLFilePath},
  };
  for (const Route& route : routes) {
    if (route.path[0] != '\0') route.set(hooks.completePath(route.path));
  }
  if (record->SplitDataSize == 0 || openOutput(hooks) == 0) return;
  disposeParameter(record);  // with its lists: nobody else would free them
  throw kErrorOpenOutput;
}
