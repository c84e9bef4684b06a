#include "HXRasterLib.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "CLibrary.h"
#include "HXRasterState.h"
#include "Limits.h"
#include "ODAXOutLib.h"

// Module state; HXRasterState.h gives the meaning of each.
std::array<CText, kTableSlots> mImageProcessingDataPath;
uint8_t mColorSpace, mNumOfPlanes;
uint8_t mBlackDepth, mCyanDepth, mMagentaDepth, mLightCyanDepth, mLightMagentaDepth, mYellowDepth;
uint8_t mRedDepth, mGreenDepth, mBlueDepth, mGrayDepth, mPhotoGrayDepth;
uint8_t mPBKDepth, mMBKDepth, mCODepth, mCO2Depth;
uint8_t mCompressionMode;
int32_t mNumOfPages, mBlankLines;
uint32_t mGraphicsResolutionH, mGraphicsResolutionV;
int32_t mDeviceWidthInPixel;
int64_t mCodeDataBytes;
uint8_t *mCodeDataP, *mCodeDataHigherP, *mCodeDataLowerP;
bool sThisIsBlankLine, sSeedRowUnkown;
std::array<int32_t, kMaxPlanes> sRowBytesPre;

namespace {

constexpr const char* kSourceName = "HXRasterLib.cpp";
constexpr uint8_t kNotUsed = 255;

constexpr const char* kUniversalExit = "\x1B%-12345X";
constexpr const char* kEndOfPage = "\x1B$E";

// Component identifiers of the configure-raster block.
enum Component : uint8_t {
  kRed = 2,
  kGreen = 3,
  kBlue = 4,
  kBlack = 5,
  kCyan = 6,
  kMagenta = 7,
  kYellow = 8,
  kPBK = 9,
  kMBK = 10,
  kLightCyan = 11,
  kLightMagenta = 12,
  kGray = 13,
  kPhotoGray = 14,
  kCO = 16,
  kCO2 = 128,
};

constexpr uint8_t kRowRgb = 2, kRowInkIndex = 4, kRowInkBiLevel = 5, kPixelRgb = 0x12;

// A depth of 1..127 is present, 128..255 absent; 0 is neither.
bool isPresent(uint8_t depth) {
  return depth >= 1 && depth <= 127;
}
bool isAbsent(uint8_t depth) {
  return depth >= 128;
}
uint8_t valueOf(uint8_t depth) {
  return isAbsent(depth) ? 0 : depth;
}

template <class... Depths>
bool arePresent(Depths... depths) {
  return (isPresent(depths) && ...);
}
template <class... Depths>
bool areAbsent(Depths... depths) {
  return (isAbsent(depths) && ...);
}

// Collects the parameter bytes of one configure-raster block and sends it.
class ConfigureBlock {
 public:
  void put(uint8_t byte) { bytes_[count_++] = byte; }
  void put(Component component, uint8_t depth) {
    put(component);
    put(valueOf(depth));
  }
  void send() const {
    char header[16];
    zk_sprintf(header, sizeof header, "\x1B$v%zuW", count_);
    std::array<uint8_t, sizeof header + kMaxParameters> block{};
    const size_t headerBytes = std::strlen(header);
    std::memcpy(block.data(), header, headerBytes);
    std::memcpy(block.data() + headerBytes, bytes_.data(), count_);
    ODAX_SendData(block.data(), static_cast<int32_t>(headerBytes + count_));
  }

 private:
  static constexpr size_t kMaxParameters = 28;
  std::array<uint8_t, kMaxParameters> bytes_{};
  size_t count_ = 0;
};

bool isInkFormat() {
  return mColorSpace == kRowInkIndex || mColorSpace == kRowInkBiLevel;
}

bool isGrayRgb() {
  return mColorSpace == kRowRgb && isPresent(mBlackDepth) &&
         areAbsent(mRedDepth, mGreenDepth, mBlueDepth);
}

bool isBlackBiLevel() {
  return mColorSpace == kRowInkBiLevel && isPresent(mBlackDepth) &&
         areAbsent(mRedDepth, mGreenDepth, mBlueDepth, mCyanDepth, mMagentaDepth, mYellowDepth) &&
         areAbsent(mLightCyanDepth, mLightMagentaDepth, mGrayDepth, mPhotoGrayDepth);
}

// The ink formats look at neither the green nor the black depth, on purpose.
bool isFiveInks() {
  return isInkFormat() &&
         arePresent(mPBKDepth, mMBKDepth, mCyanDepth, mMagentaDepth, mYellowDepth) &&
         areAbsent(mLightCyanDepth, mLightMagentaDepth, mGrayDepth, mPhotoGrayDepth) &&
         areAbsent(mRedDepth, mBlueDepth, mCODepth, mCO2Depth);
}

bool areEightInksPresent() {
  return isInkFormat() &&
         arePresent(mPBKDepth, mMBKDepth, mCyanDepth, mMagentaDepth, mYellowDepth) &&
         arePresent(mLightCyanDepth, mLightMagentaDepth, mGrayDepth);
}

bool isEightInks() {
  return areEightInksPresent() &&
         areAbsent(mPhotoGrayDepth, mRedDepth, mBlueDepth, mCODepth, mCO2Depth);
}

bool areTwelveInksPresent() {
  return areEightInksPresent() && arePresent(mPhotoGrayDepth, mRedDepth, mBlueDepth, mCODepth);
}

void putRgb(ConfigureBlock& block) {
  block.put(kRed, mRedDepth);
  block.put(kGreen, mGreenDepth);
  block.put(kBlue, mBlueDepth);
}

void putKcmy(ConfigureBlock& block) {
  block.put(kBlack, mBlackDepth);
  block.put(kCyan, mCyanDepth);
  block.put(kMagenta, mMagentaDepth);
  block.put(kYellow, mYellowDepth);
}

// Depths without identifiers. It writes the components that the format requires to be absent, as
// 0, on purpose.
void putBlackBiLevel(ConfigureBlock& block) {
  block.put(0);
  for (const uint8_t depth :
       {mRedDepth, mGreenDepth, mBlueDepth, mBlackDepth, mCyanDepth, mMagentaDepth, mYellowDepth}) {
    block.put(valueOf(depth));
  }
}

void putFiveInks(ConfigureBlock& block) {
  block.put(kPBK, mPBKDepth);
  block.put(kMBK, mMBKDepth);
  block.put(kCyan, mCyanDepth);
  block.put(kMagenta, mMagentaDepth);
  block.put(kYellow, mYellowDepth);
}

void putEightInks(ConfigureBlock& block) {
  putFiveInks(block);
  block.put(kLightCyan, mLightCyanDepth);
  block.put(kLightMagenta, mLightMagentaDepth);
  block.put(kGray, mGrayDepth);
}

void putTwelveInks(ConfigureBlock& block) {
  putEightInks(block);
  block.put(kPhotoGray, mPhotoGrayDepth);
  block.put(kRed, mRedDepth);
  block.put(kBlue, mBlueDepth);
  block.put(kCO, mCODepth);
}

// The first layout whose condition holds.
void sendConfigureRaster() {
  ConfigureBlock block;
  block.put(mColorSpace);
  block.put(mNumOfPlanes);
  if (isGrayRgb()) {
    block.put(kBlack, mBlackDepth);
  } else if (mColorSpace == kRowRgb || mColorSpace == kPixelRgb) {
    putRgb(block);
  } else if (isBlackBiLevel()) {
    putBlackBiLevel(block);
  } else if (isFiveInks()) {
    putFiveInks(block);
  } else if (isEightInks()) {
    putEightInks(block);
  } else if (areTwelveInksPresent() && isAbsent(mCO2Depth)) {
    putTwelveInks(block);
  } else if (areTwelveInksPresent() && isPresent(mCO2Depth)) {
    putTwelveInks(block);
    block.put(kCO2, mCO2Depth);
  } else {
    putKcmy(block);
  }
  block.send();
}

// Sends a command with one decimal number.
void sendNumber(const char* before, int32_t number, char after) {
  char command[32];
  zk_sprintf(command, sizeof command, "%s%d%c", before, number, after);
  ODAX_SendCString(command);
}

int reportTableFile(const char* message, int number, int line) {
  reportError(message, number, kSourceName, line);
  return -1;
}

int reportTableFileNotOpened(const char* path) {
  const int number = errno;
  const bool isNotGiven =
      number == ENOENT || number == EACCES;  // as an image: the job does without
  if (!isNotGiven) tellReadFailure(path, number);
  // The message names the image reader; kept as hosts know it.
  constexpr const char* kFormat = "ZKBMP_New can't open '%s'. (errno=%d)\n";
  const int length = std::snprintf(nullptr, 0, kFormat, path, number);
  const CText message = newZeroedText(static_cast<size_t>(length) + 1);
  if (message == nullptr) return reportTableFile("", number, __LINE__);
  zk_sprintf(message.get(), static_cast<size_t>(length) + 1, kFormat, path, number);
  return reportTableFile(message.get(), number, __LINE__);
}

// The size of an open file, rewound; 0 when it has no end to go to, negative when it has none at
// all.
long sizeOf(std::FILE* file) {
  if (std::fseek(file, 0, SEEK_END) != 0 && errno != ESPIPE) return -1;
  const long size = std::ftell(file);
  std::rewind(file);
  return size;
}

// A file that cannot be read sends nothing and is no failure, on purpose.
int sendNoTable(const char* path, int error) {
  tellReadFailure(path, error);
  return 0;
}

}  // namespace

HXRasterPlane* addPlane(HXRasterPlane* list) {
  auto* plane = newOrNull<HXRasterPlane>();
  if (plane != nullptr && list != nullptr) getLastPlane(list)->next = plane;
  return plane;
}

HXRasterPlane* getLastPlane(HXRasterPlane* list) {
  if (list == nullptr) return nullptr;
  while (list->next != nullptr) list = list->next;
  return list;
}

void deletePlane(HXRasterPlane* list) {
  while (list != nullptr) {
    HXRasterPlane* next = list->next;
    delete list;
    list = next;
  }
}

void HXRaster_New() {
  for (CText& path : mImageProcessingDataPath) path.reset();
  mColorSpace = 0;
  mNumOfPlanes = 0;
  for (uint8_t* depth :
       {&mBlackDepth, &mCyanDepth, &mMagentaDepth, &mLightCyanDepth, &mLightMagentaDepth,
        &mYellowDepth, &mRedDepth, &mGreenDepth, &mBlueDepth, &mGrayDepth, &mPhotoGrayDepth,
        &mPBKDepth, &mMBKDepth, &mCODepth, &mCO2Depth}) {
    *depth = kNotUsed;
  }
  mCompressionMode = 0;
  mNumOfPages = 0;
  mBlankLines = 0;
  sSeedRowUnkown = false;
}

void HXRaster_Forget() {
  mGraphicsResolutionH = 0;
  mGraphicsResolutionV = 0;
  mDeviceWidthInPixel = 0;
  sThisIsBlankLine = false;
  sRowBytesPre.fill(0);
}

void HXRaster_Delete() {
  for (CText& path : mImageProcessingDataPath) path.reset();
}

void HXRaster_SetColorSpace(int colorSpace) {
  mColorSpace = static_cast<uint8_t>(colorSpace);
}
void HXRaster_SetCompressionMode(int mode) {
  mCompressionMode = static_cast<uint8_t>(mode);
}
void HXRaster_SetNumOfPlanes(int planes) {
  mNumOfPlanes = static_cast<uint8_t>(planes);
}
void HXRaster_SetPixelDepthK(int bits) {
  mBlackDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthC(int bits) {
  mCyanDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthM(int bits) {
  mMagentaDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthc(int bits) {
  mLightCyanDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthm(int bits) {
  mLightMagentaDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthY(int bits) {
  mYellowDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthR(int bits) {
  mRedDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthG(int bits) {
  mGreenDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthB(int bits) {
  mBlueDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthGy(int bits) {
  mGrayDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthPgy(int bits) {
  mPhotoGrayDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthPBK(int bits) {
  mPBKDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthMBK(int bits) {
  mMBKDepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthCO(int bits) {
  mCODepth = static_cast<uint8_t>(bits);
}
void HXRaster_SetPixelDepthCO2(int bits) {
  mCO2Depth = static_cast<uint8_t>(bits);
}

void HXRaster_SetGraphicsResolution(uint32_t h, uint32_t v) {
  mGraphicsResolutionH = h;
  mGraphicsResolutionV = v;
}

void HXRaster_SetPrintableWidthInPixel(uint32_t pixels) {
  mDeviceWidthInPixel = static_cast<int32_t>(pixels);
}

int HXRaster_SetImageProcessingFile(int slot, const char* path) {
  if (slot < 0 || slot >= static_cast<int>(kTableSlots)) {
    return reportTableFile("HXRaster_SetImageProcessingFile: too many files", slot, __LINE__);
  }
  CText& kept = mImageProcessingDataPath[static_cast<size_t>(slot)];
  kept.reset();
  kept = newTextCopy(path);
  if (kept == nullptr) {
    return reportTableFile("HXRaster_SetImageProcessingFile: memory error", errno, __LINE__);
  }
  return 0;
}

int HXRaster_SendJobStart() {
  ODAX_SendCString(kUniversalExit);
  ODAX_SendCString("\x1B%0A");
  ODAX_SendCString(
      "\x1B"
      "E");
  for (const CText& path : mImageProcessingDataPath) {
    if (path != nullptr && HXRaster_SendTableFile(path.get()) != 0) return -1;
  }
  return 0;
}

int HXRaster_SendTableFile(const char* path) {
  CFile file(my_fopen(path, "rb"));
  if (file == nullptr) return reportTableFileNotOpened(path);

  const long size = sizeOf(file.get());
  if (size < 0) return sendNoTable(path, errno);
  CBytes table;
  if (size <= INT_MAX) {
    table = newZeroedBytes(static_cast<size_t>(size));
  } else {
    errno = ENOMEM;
  }
  if (table == nullptr) {
    static_cast<void>(file.release());  // left open, on purpose
    return reportTableFile("HXRaster_SendTableFile memory error", errno, __LINE__);
  }
  // An empty one sends its size.
  const auto bytes = static_cast<size_t>(size);
  if (bytes > 0 && std::fread(table.get(), bytes, 1, file.get()) != 1) {
    return sendNoTable(path, std::ferror(file.get()) != 0 ? errno : EIO);  // or it has shrunk
  }
  char header[kPathBytes];
  zk_sprintf(header, sizeof header, "\x1B$b%dW", static_cast<int>(size));
  ODAX_SendData(header, static_cast<int32_t>(std::strlen(header)));
  ODAX_SendData(table.get(), static_cast<int32_t>(size));
  return 0;
}

void HXRaster_SendTopOfPage(int sameAsFirst) {
  mBlankLines = 0;
  ++mNumOfPages;
  if (sameAsFirst != 1) sendConfigureRaster();
  const auto h = static_cast<int>(mGraphicsResolutionH);
  const auto v = static_cast<int>(mGraphicsResolutionV);
  if (h == v) {
    sendNumber("\x1B*t", h, 'R');
    return;
  }
  char command[32];
  zk_sprintf(command, sizeof command, "\x1B$r%dX\x1B$r%dY", h, v);
  ODAX_SendCString(command);
}

void HXRaster_SendStartRasterMode() {
  ODAX_SendCString("\x1B*r1A");
  sendNumber("\x1B*b", mCompressionMode, 'M');
}

void HXRaster_SendEndRasterMode() {
  ODAX_SendCString("\x1B*rC");
}

void HXRaster_SendEndOfPage() {
  ODAX_SendCString(kEndOfPage);
}

void HXRaster_SendFormFeed() {
  ODAX_SendCString(kEndOfPage);
}

void HXRaster_SendMoveCAPX(uint32_t x) {
  sendNumber("\x1B*p", static_cast<int32_t>(x), 'X');
}

void HXRaster_SendMoveCAPY(uint32_t y) {
  sendNumber("\x1B*p", static_cast<int32_t>(y), 'Y');
}

void HXRaster_SendMoveCAPXRelative(int32_t dx) {
  sendNumber(dx > 0 ? "\x1B*p+" : "\x1B*p", dx, 'X');
}

void HXRaster_SendMoveCAPYRelative(int32_t dy) {
  sendNumber(dy > 0 ? "\x1B*p+" : "\x1B*p", dy, 'Y');
}

void HXRaster_SendYOffset(int32_t rows) {
  if (rows >= 0) sendNumber("\x1B*b", rows, 'Y');
}

void HXRaster_SendYOffsetRelative(int32_t rows) {
  if (rows >= 0) sendNumber(rows == 0 ? "\x1B*b" : "\x1B*b+", rows, 'Y');
}

void HXRaster_SendJobEnd() {
  ODAX_SendCString(kUniversalExit);
  ODAX_Flush();
}

void hxraster_ChangeCompressionMode(unsigned char mode) {
  if (mode == mCompressionMode) return;
  mCompressionMode = mode;
  sendNumber("\x1B*b", mode, 'M');
}
