// The band encoder of HXRaster: turns the rows of a band into row commands.

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>

#include "BlankRows.h"
#include "CLibrary.h"
#include "ChannelRows.h"
#include "DeltaRow.h"
#include "HXRasterLib.h"
#include "HXRasterState.h"
#include "ODAXOutLib.h"
#include "RowPacker.h"
#include "hxrc.h"

// State of the encoder beside HXRasterState.h: who owns the memory that the pointers there show.
static CBytes sCodeData, sCodeDataHigher, sCodeDataLower;
static int64_t sCodeDataWritable;   // the part of the memory that rows can reach
static CBytes sRowCopy, sSeedCopy;  // rows that begin in a pixel block and end behind it

// The high and the low bytes of a row of 16-bit samples.
struct HalfRows {
  CBytes high, low;
  size_t room = 0;  // bytes of each
};
// Of each plane, of the row that is sent and of the one above.
struct PlaneHalves {
  HalfRows row, previous;
};
static std::array<PlaneHalves, kMaxPlanes> sHalves;

namespace {

constexpr const char* kSourceName = "HXRasterBand.cpp";

// Row compressions: the last digits of a mode number.
constexpr int kNone = 0, kPackBits = 2, kSeedRow = 3, kHxrc = 4, kPackBitsSeedRow = 256;

enum class BlankTest {
  kLazy,     // found out plane by plane
  kTrimmed,  // no plane has a byte that is not blank
  kWhite,    // the first three planes are white over the printable width
};

// What a mode number stands for.
struct RowMode {
  int group;
  int compression;
  BlankTest blankTest;
  uint8_t blank;  // the byte of paper: all ones is white, zero is no ink

  [[nodiscard]] bool isTrimmingRows() const {
    return compression == kNone || compression == kPackBits;
  }
  [[nodiscard]] bool isSeedRow() const {
    return compression == kSeedRow || compression == kPackBitsSeedRow;
  }
};

// False for a mode that does not exist.
bool makeRowMode(int mode, RowMode* out) {
  const int group = mode / 1000;
  const int compression = mode % 1000;
  if (group < 1 || group > 5 || compression < 0) return false;
  if (compression != kNone && compression != kPackBits && compression != kSeedRow &&
      compression != kHxrc && compression != kPackBitsSeedRow) {
    return false;
  }
  if (compression == kHxrc && (group == 2 || group == 5)) return false;
  out->group = group;
  out->compression = compression;
  out->blank = group == 2 || group == 3 ? 0xFF : 0x00;
  out->blankTest = group == 3              ? BlankTest::kWhite
                   : out->isTrimmingRows() ? BlankTest::kLazy
                                           : BlankTest::kTrimmed;
  return true;
}

bool hasCompression(int mode) {
  RowMode rowMode{};
  return makeRowMode(mode, &rowMode) && rowMode.compression != kNone;
}

int32_t widthOf(const HXRasterPlane& plane) {
  if (plane.pixels == nullptr) return 0;
  const ZKRect& bounds = plane.pixels->bounds;
  return static_cast<int32_t>(bounds.right - bounds.left);
}

// Bytes of a row as it is sent. A depth read as negative gives a negative length.
int rowLength(const HXRasterPlane& plane) {
  return static_cast<int>((int64_t{widthOf(plane)} * plane.bitsPerPixel + 7) / 8);
}

int64_t blockBytes(const ZKGWorld& pixels) {
  return int64_t{pixels.rowBytes} * (pixels.bounds.bottom - pixels.bounds.top);
}

[[noreturn]] void failMemory(int code, int line) {
  reportError("memory error", errno, kSourceName, line);
  throw code;
}

CBytes newRowBytes(size_t count, int code, int line) {
  CBytes bytes = newZeroedBytes(count);
  if (bytes == nullptr) failMemory(code, line);
  return bytes;
}

// The bytes of a row. A row longer than the buffer's row bytes sees the rows that follow; what
// lies behind the pixel block counts as 0x00, in a copy that `copy` owns.
const uint8_t* rowBytesOf(const HXRasterPlane& plane, int row, int length, CBytes* copy) {
  if (plane.pixels == nullptr || length <= 0) return nullptr;
  const int64_t start = int64_t{row} * plane.pixels->rowBytes;
  const int64_t inside = blockBytes(*plane.pixels) - start;
  if (length <= inside) return plane.pixels->pixels + start;
  *copy = newRowBytes(static_cast<size_t>(length), -75, __LINE__);
  if (inside > 0) {
    std::memcpy(copy->get(), plane.pixels->pixels + start, static_cast<size_t>(inside));
  }
  return copy->get();
}

constexpr char kTransfer[] = "\x1B*b";  // what row data and blank rows are announced with

// Every row has such a command for each plane, so it is put together by hand.
void sendTransfer(int number, char letter) {
  char command[sizeof kTransfer + 16];
  char* end = std::copy_n(kTransfer, sizeof kTransfer - 1, command);
  end = std::to_chars(end, std::end(command) - 1, number).ptr;
  *end++ = letter;
  ODAX_SendData(command, static_cast<int32_t>(end - command));
}

// Wraps behind 2^31-1 rows instead of overflowing; no page has so many.
void countBlankLine() {
  mBlankLines = static_cast<int32_t>(static_cast<uint32_t>(mBlankLines) + 1);
}

void sendBlankLines() {
  if (mBlankLines <= 0) return;
  sendTransfer(mBlankLines, 'Y');
  mBlankLines = 0;
}

// The same, for the modes in which the printer then no longer knows the row above.
void sendBlankLinesAndForgetSeed() {
  if (mBlankLines <= 0) return;
  sendBlankLines();
  sSeedRowUnkown = true;
}

// One plane of one row on its way out.
struct PlaneRow {
  const HXRasterPlane& plane;
  int number;  // from 1
  int row;     // in the band
  bool isLast;

  [[nodiscard]] char letter() const { return isLast ? 'W' : 'V'; }
};

void sendRowData(const uint8_t* data, int length, char letter) {
  sendTransfer(length, letter);
  ODAX_SendData(data, length);
  sThisIsBlankLine = false;
}

void rememberLength(const PlaneRow& at, int length) {
  sRowBytesPre[static_cast<size_t>(at.number) - 1] = length;
}

int packRowData(const uint8_t* src, int len, uint8_t* dst) {
  return RowPacker_Pack(src, len, dst, mCodeDataBytes);
}

// Uncompressed and packed rows lose their trailing blanks; a plane without data is only announced,
// once the row is known to have some.
void sendTrimmedRow(const PlaneRow& at, const RowMode& mode) {
  const int length = rowLength(at.plane);
  const uint8_t* row = rowBytesOf(at.plane, at.row, length, &sRowCopy);
  const int trimmed = BlankRows_SignificantLength(row, length, mode.blank);
  if (trimmed == 0) {
    if (!sThisIsBlankLine) sendTransfer(0, at.letter());
    return;
  }
  if (sThisIsBlankLine) {
    sendBlankLines();
    for (int before = 1; before < at.number; ++before) sendTransfer(0, 'V');
  }
  if (mode.compression == kPackBits) {
    sendRowData(mCodeDataP, packRowData(row, trimmed, mCodeDataP), at.letter());
  } else {
    mCodeDataP = const_cast<uint8_t*>(row);  // sent straight from the pixel buffer
    sendRowData(mCodeDataP, trimmed, at.letter());
  }
  rememberLength(at, length);
}

void sendWholeRow(const PlaneRow& at, const RowMode& mode, const uint8_t* row, int length) {
  if (mode.compression == kSeedRow) {
    hxraster_ChangeCompressionMode(kNone);
    sendRowData(row, length, at.letter());
  } else {
    hxraster_ChangeCompressionMode(kPackBits);
    sendRowData(mCodeDataP, packRowData(row, length, mCodeDataP), at.letter());
  }
}

void sendSeedRow(const PlaneRow& at, const RowMode& mode) {
  const int length = rowLength(at.plane);
  const uint8_t* row = rowBytesOf(at.plane, at.row, length, &sRowCopy);
  rememberLength(at, length);
  if (at.row == 0 || sSeedRowUnkown) {
    sendWholeRow(at, mode, row, length);
    return;
  }
  // The method is announced before the difference is tried, so giving up announces a second one.
  hxraster_ChangeCompressionMode(kSeedRow);
  const uint8_t* seed = rowBytesOf(at.plane, at.row - 1, length, &sSeedCopy);
  const int coded = DeltaRow_Encode(row, seed, length, mCodeDataP, length);
  if (coded < 0) {
    sendWholeRow(at, mode, row, length);
    return;
  }
  sendRowData(mCodeDataP, coded, at.letter());
}

// What a failed row throws, by whether the row above was used.
struct HxrcErrors {
  int alone;
  int withPrevious;
};
constexpr HxrcErrors kWholeRowErrors = {-77, -80};
constexpr HxrcErrors kHalfRowErrors = {-76, -79};

// Compresses one row of `length` bytes. A negative result is no length but passes, on purpose.
int compressRow(uint8_t* out, const uint8_t* previous, const uint8_t* row, int length,
                const HxrcErrors& errors) {
  // A row without bytes still needs an address, since its length is the error to be reported.
  const uint8_t nothing = 0;
  if (row == nullptr) row = &nothing;
  const auto coded = static_cast<int32_t>(HXRC_Compress(out, previous, row, length));
  const int64_t bound = std::max<int64_t>(2 * int64_t{length}, 32);
  if (coded > bound) throw previous == nullptr ? errors.alone : errors.withPrevious;
  return coded;
}

void sendHxrcRow(const PlaneRow& at) {
  const int length = rowLength(at.plane);
  const uint8_t* row = rowBytesOf(at.plane, at.row, length, &sRowCopy);
  const bool knowsSeed = at.row > 0 && !sSeedRowUnkown;
  const uint8_t* seed = knowsSeed ? rowBytesOf(at.plane, at.row - 1, length, &sSeedCopy) : nullptr;
  const int coded = compressRow(mCodeDataP, seed, row, length, kWholeRowErrors);
  sendRowData(mCodeDataP, coded, at.letter());
  rememberLength(at, length);
}

// Takes the halves of a row into memory that stays for later rows.
void splitRow(HalfRows* halves, const uint8_t* row, size_t count, int code) {
  if (halves->high == nullptr || halves->room < count) {
    halves->high = newRowBytes(count, code, __LINE__);
    halves->low = newRowBytes(count, code, __LINE__);
    halves->room = count;
  }
  ChannelRows_SplitHalves(row, count, halves->high.get(), halves->low.get());
}

void sendHxrcHalves(const PlaneRow& at) {
  const int width = widthOf(at.plane);
  const uint8_t* bytes = rowBytesOf(at.plane, at.row, 2 * width, &sRowCopy);
  PlaneHalves& halves = sHalves.at(static_cast<size_t>(at.number) - 1);
  // A row that the printer knows has gone through here, so its halves are the last ones.
  std::swap(halves.row, halves.previous);
  const bool knowsSeed = at.row > 0 && !sSeedRowUnkown;
  // The second row is the one that needs memory for two.
  splitRow(&halves.row, bytes, static_cast<size_t>(std::max(width, 0)), knowsSeed ? -78 : -75);
  const uint8_t* high = knowsSeed ? halves.previous.high.get() : nullptr;
  const uint8_t* low = knowsSeed ? halves.previous.low.get() : nullptr;
  const int highBytes =
      compressRow(mCodeDataHigherP, high, halves.row.high.get(), width, kHalfRowErrors);
  const int lowBytes =
      compressRow(mCodeDataLowerP, low, halves.row.low.get(), width, kHalfRowErrors);
  sendRowData(mCodeDataHigherP, highBytes, 'V');
  sendRowData(mCodeDataLowerP, lowBytes, at.letter());
  rememberLength(at, rowLength(at.plane));
}

bool isSentInHalves(const RowMode& mode, const HXRasterPlane& plane) {
  const int8_t bits = plane.bitsPerPixel;
  return mode.group == 3 && (bits == 10 || bits == 12 || bits == 16);
}

void sendPlane(const PlaneRow& at, const RowMode& mode) {
  if (mode.isTrimmingRows()) {
    sendTrimmedRow(at, mode);
  } else if (mode.isSeedRow()) {
    sendSeedRow(at, mode);
  } else if (isSentInHalves(mode, at.plane)) {
    sendHxrcHalves(at);
  } else {
    sendHxrcRow(at);
  }
}

bool isRowTrimmedBlank(const HXRasterPlane* list, int row, uint8_t blank) {
  for (; list != nullptr; list = list->next) {
    const int length = rowLength(*list);
    const uint8_t* bytes = rowBytesOf(*list, row, length, &sRowCopy);
    if (BlankRows_SignificantLength(bytes, length, blank) > 0) return false;
  }
  return true;
}

bool isRowWhite(const HXRasterPlane* list, int row, const RowMode& mode) {
  for (int plane = 0; plane < 3 && list != nullptr; ++plane, list = list->next) {
    const bool isDeep = mode.compression == kHxrc && list->bitsPerPixel >= 9;
    const auto bits = isDeep ? int8_t{16} : list->bitsPerPixel;
    if (!sIsThisAll255(list->pixels, bits, row)) return false;
  }
  return true;
}

// True for a row that is blank as a whole; it is counted and ends here. In the lazy modes that
// shows only when its planes have been sent.
bool skipsBlankRow(const HXRasterPlane* list, int row, const RowMode& mode) {
  if (mode.blankTest == BlankTest::kLazy) {
    sThisIsBlankLine = true;
    return false;
  }
  const bool isBlank = mode.blankTest == BlankTest::kTrimmed
                           ? isRowTrimmedBlank(list, row, mode.blank)
                           : isRowWhite(list, row, mode);
  if (isBlank) {
    countBlankLine();
    return true;
  }
  sendBlankLinesAndForgetSeed();
  return false;
}

void sendRow(const HXRasterPlane* list, int row, const RowMode& mode) {
  if (skipsBlankRow(list, row, mode)) return;
  const auto planes = static_cast<int8_t>(mNumOfPlanes);
  const HXRasterPlane* plane = list;
  for (int number = 1; number <= planes && plane != nullptr; ++number, plane = plane->next) {
    sendPlane({*plane, number, row, number == planes}, mode);
  }
  if (mode.blankTest == BlankTest::kLazy && sThisIsBlankLine) countBlankLine();
  if (!mode.isTrimmingRows()) sSeedRowUnkown = false;  // the printer has this row now
}

// The memory that one coded row of the list's planes can take: HXRC needs up to 13 bits a byte and
// 5 at the end, PackBits one byte more in 128, differences no more than the row; halves of deep
// rows are as long as the width.
int64_t worstCaseBytes(const HXRasterPlane* list) {
  int64_t longest = 0;
  for (; list != nullptr; list = list->next) {
    longest = std::max<int64_t>({longest, rowLength(*list), widthOf(*list)});
  }
  return 2 * longest + 32;
}

int64_t nominalBytes(const HXRasterPlane* list) {
  int64_t depth = 0;
  for (; list != nullptr; list = list->next) depth = std::max<int64_t>(depth, list->bitsPerPixel);
  const int64_t width = mDeviceWidthInPixel;
  const int64_t hxrc = width < 16 ? 32 : 2 * width;
  const int64_t row = (depth * width + 7) / 8;
  const int64_t packed = row + (row + 126) / 127;
  return static_cast<int8_t>(mNumOfPlanes) * std::max(hxrc, packed);
}

bool isUncompressedWithoutMemory(int mode) {
  return mode == 2000 || mode == 3000 || mode == 4000 || mode == 5000;
}

bool makeMemory(CBytes* owner, uint8_t** place, int64_t bytes) {
  *owner = newZeroedBytes(static_cast<size_t>(bytes));
  *place = owner->get();
  return *owner != nullptr;
}

}  // namespace

int HXRaster_KeepWorkingMemory(HXRasterPlane* list, int mode) {
  if (isUncompressedWithoutMemory(mode)) {
    mCodeDataBytes = 0;
    mCodeDataP = nullptr;
    return 0;
  }
  sCodeDataWritable = worstCaseBytes(list);
  const int64_t bytes = std::max(nominalBytes(list), sCodeDataWritable);
  if (!makeMemory(&sCodeData, &mCodeDataP, bytes) ||
      !makeMemory(&sCodeDataHigher, &mCodeDataHigherP, bytes) ||
      !makeMemory(&sCodeDataLower, &mCodeDataLowerP, bytes)) {
    return -1;
  }
  mCodeDataBytes = bytes;
  return 0;
}

void HXRaster_FreeWorkingMemory(int mode) {
  // The uncompressed modes left mCodeDataP in a pixel buffer. That of mode 1000 did have memory of
  // its own, which stays, on purpose.
  if (!hasCompression(mode)) return;
  sCodeData.reset();
  sCodeDataHigher.reset();
  sCodeDataLower.reset();
  for (PlaneHalves& halves : sHalves) halves = {};
}

void HXRaster_SendBand(HXRasterPlane* list, int rows, int mode) {
  RowMode rowMode{};
  if (!makeRowMode(mode, &rowMode)) return;
  // Nothing behind the reachable part has ever been written, so all of the memory is zero now.
  if (rowMode.compression != kNone) {
    std::memset(mCodeDataP, 0, static_cast<size_t>(sCodeDataWritable));
  }
  for (int row = 0; row < rows; ++row) sendRow(list, row, rowMode);
}

bool sIsThisAll255(const ZKGWorld* pixels, int8_t bitsPerPixel, int row) {
  if (pixels == nullptr) return true;
  const int64_t printable = (int64_t{bitsPerPixel} * mDeviceWidthInPixel + 7) / 8;
  const int64_t start = int64_t{row} * pixels->rowBytes;
  const int64_t count = std::min(printable, blockBytes(*pixels) - start);
  if (count <= 0) return true;
  return BlankRows_IsAll(pixels->pixels + start, static_cast<size_t>(count), 0xFF);
}
