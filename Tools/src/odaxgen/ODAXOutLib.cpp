#include "ODAXOutLib.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Mac_Depend.h"
#include "ODAXState.h"
#include "ZKFile.h"

// Module state; ODAXState.h gives the meaning of each.
int32_t mSplitDataSize;
uint32_t mWriteBufferBytes;
CBytes mWriteBufferP;
uint32_t mWriteIndex;
std::array<CText, kMaxOverrides> mOverRideKeyList, mOverRideValueList;
char mSJ_XMLFilePath[kPathBytes], mSJC_XMLFilePath[kPathBytes], mSC_XMLFilePath[kPathBytes];
char mVC_XMLFilePath[kPathBytes], mSD_XMLFilePath[kPathBytes], mEJ_XMLFilePath[kPathBytes];
uint32_t mJobDataSize, mTempJobDataSize, mIsExistVC;
static const char* mTempFolder;  // null: the platform's

namespace {

constexpr uint32_t kDefaultBufferBytes = 65536;
constexpr const char* kTempName = "TEMP_ODAXGEN.dat";
constexpr size_t kTempNameLength = 16;
constexpr int kErrorTempPath = -68;
constexpr int kErrorExternalFile = -74;

void clearOverrides() {
  ODAX_ForgetDataLines();
  for (CText& key : mOverRideKeyList) key.reset();
  for (CText& value : mOverRideValueList) value.reset();
}

void clearJob() {
  clearOverrides();
  for (char* path : {mSJ_XMLFilePath, mSJC_XMLFilePath, mSC_XMLFilePath, mVC_XMLFilePath,
                     mSD_XMLFilePath, mEJ_XMLFilePath}) {
    path[0] = '\0';
  }
  mJobDataSize = 0;
  mTempJobDataSize = 0;
  mIsExistVC = 0;
}

void setTemplatePath(char* templatePath, const char* path) {
  char full[kPathBytes] = {};
  GetFullPathMac(path, static_cast<int32_t>(sizeof full), full);
  zk_strcpy(templatePath, kPathBytes, full);
}

// A job without a buffer would lose its data silently, so it does not open.
bool hasBuffer() {
  if (mWriteBufferP != nullptr) return true;
  reportError("ODAX_NewWithName: memory error", ENOMEM, "ODAXOutLib.cpp", __LINE__);
  return false;
}

}  // namespace

void ODAX_SetSplitDataSize(uint32_t bytes) {
  mSplitDataSize = static_cast<int32_t>(bytes);
  ODAX_ForgetDataLines();
}

void ODAX_NewWithName(const char* outputPath) {
  mWriteBufferBytes =
      mSplitDataSize > 0 ? static_cast<uint32_t>(mSplitDataSize) : kDefaultBufferBytes;
  mWriteBufferP = newZeroedBytes(mWriteBufferBytes);
  mWriteIndex = 0;
  ZKFile_NewWithName(outputPath);
  clearJob();
}

void ODAX_New() {
  ODAX_NewWithName(nullptr);
}

void ODAX_Init() {
  clearJob();
}

void ODAX_Delete() {
  ZKFile_Delete();
  mWriteBufferP.reset();
  clearOverrides();
}

int32_t ODAX_Open() {
  mWriteIndex = 0;
  return hasBuffer() && ZKFile_Open() == 0 ? 0 : -1;
}

int32_t ODAX_OpenTemp() {
  mWriteIndex = 0;
  char path[kPathBytes];
  getTempPath(static_cast<int>(sizeof path), path);
  return hasBuffer() && ZKFile_OpenTemp(path) == 0 ? 0 : -1;
}

void ODAX_Close() {
  ZKFile_Close();
}

void ODAX_SJ_XMLFilePath(const char* path) {
  setTemplatePath(mSJ_XMLFilePath, path);
}
void ODAX_SJC_XMLFilePath(const char* path) {
  setTemplatePath(mSJC_XMLFilePath, path);
}
void ODAX_SC_XMLFilePath(const char* path) {
  setTemplatePath(mSC_XMLFilePath, path);
}
void ODAX_VC_XMLFilePath(const char* path) {
  setTemplatePath(mVC_XMLFilePath, path);
}
void ODAX_SD_XMLFilePath(const char* path) {
  setTemplatePath(mSD_XMLFilePath, path);
}
void ODAX_EJ_XMLFilePath(const char* path) {
  setTemplatePath(mEJ_XMLFilePath, path);
}

void ODAX_SetIsExistVC(uint32_t flag) {
  mIsExistVC = flag;
}

void ODAX_SendData(const void* data, int32_t count) {
  if (mWriteBufferP == nullptr) return;
  const auto* bytes = static_cast<const uint8_t*>(data);
  while (count >= 1) {
    const uint32_t room = mWriteBufferBytes - mWriteIndex;
    const auto wanted = static_cast<uint32_t>(count);
    if (wanted < room) {
      std::memcpy(mWriteBufferP.get() + mWriteIndex, bytes, wanted);
      mWriteIndex += wanted;
      return;
    }
    std::memcpy(mWriteBufferP.get() + mWriteIndex, bytes, room);
    mWriteIndex += room;
    bytes += room;
    ODAX_Flush();
    count = static_cast<int32_t>(wanted - room);
  }
}

void ODAX_SendCString(const char* text) {
  ODAX_SendData(text, static_cast<int32_t>(std::strlen(text)));
}

void ODAX_Flush() {
  if (mWriteIndex == 0) return;
  if (mSplitDataSize == 0) {
    sendTempDataRaster(mWriteBufferP.get(), mWriteIndex);
  } else {
    sendDataRaster(mWriteBufferP.get(), mWriteIndex);
  }
  mWriteIndex = 0;
}

void readExternalFile(const char* path) {
  JobHooks none;
  readExternalFileWith(none, path);
}

void readExternalFileWith(JobHooks& hooks, const char* path) {
  const CFile file(my_fopen(path, "rb"));
  if (file == nullptr) {
    reportCannotOpen(path);
    throw kErrorExternalFile;
  }
  static uint8_t sPiece[65536];
  forEachPiece(file.get(), sPiece, sizeof sPiece, [&hooks](const uint8_t* bytes, size_t count) {
    ODAX_SendData(bytes, static_cast<int32_t>(count));
    hooks.dataCopied(count);
  });
  if (std::ferror(file.get()) != 0) hooks.readFailed(path, errno);
  ODAX_Flush();
}

void sendTempDataRaster(const void* data, uint32_t count) {
  ZKFile_Write(data, count);
  mTempJobDataSize += count;
}

void ODAX_SetTempFolder(const char* folder) {
  mTempFolder = folder;
}

void getTempPath(int /*ignored*/, char* out) {
  size_t folderLength = 0;
  if (mTempFolder == nullptr) {
    GetTempFolderMac(out, static_cast<int32_t>(kPathBytes));
    folderLength = std::strlen(out);
  } else {
    zk_strcpy(out, kPathBytes, mTempFolder);
    folderLength = std::strlen(mTempFolder);  // also of one that does not fit
  }
  if (folderLength + kTempNameLength > kPathBytes - 1) {
    // The wording is odd and stays.
    printError("ERROR!: Configuration file has too int32_t filename.\n");
    throw kErrorTempPath;
  }
  zk_strcat(out, kPathBytes, kTempName);
}
