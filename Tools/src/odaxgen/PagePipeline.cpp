#include "PagePipeline.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "HXRasterLib.h"

namespace {

constexpr int kErrorImage = 1;
constexpr int32_t kHxrc = 4;

// The fixed orders in which the inks of a page are handled.
constexpr Ink kOpenOrder[] = {kInkK, kInkC, kInkM, kInkY,   kInkc,   kInkm,  kInkGy, kInkPgy,
                              kInkR, kInkG, kInkB, kInkPBK, kInkMBK, kInkCO, kInkCO2};
constexpr Ink kBufferOrder[] = {kInkR, kInkG,  kInkB,   kInkK,   kInkC,   kInkM,  kInkY,  kInkc,
                                kInkm, kInkGy, kInkPgy, kInkPBK, kInkMBK, kInkCO, kInkCO2};
constexpr Ink kPlaneOrder[] = {kInkPBK, kInkMBK, kInkK, kInkC, kInkM, kInkY,  kInkc,  kInkm,
                               kInkGy,  kInkPgy, kInkR, kInkG, kInkB, kInkCO, kInkCO2};
// Green is not read, on purpose: its buffer stays as it was made.
constexpr Ink kReadOrder[] = {kInkK, kInkC,  kInkc,   kInkM,   kInkm,   kInkY,  kInkR,
                              kInkB, kInkGy, kInkPgy, kInkPBK, kInkMBK, kInkCO, kInkCO2};

// The channels of a composite CMYK file, in the order in which they are read.
struct Channel {
  Ink ink;
  int index;
};
constexpr Channel kChannels[] = {{kInkK, 3}, {kInkC, 0}, {kInkM, 1}, {kInkY, 2}};

bool isChannelOfComposite(Ink ink) {
  return ink <= kInkY;
}

// Everything that one page holds; released together.
struct Page {
  const imageParameter* image = nullptr;
  JobHooks* hooks = nullptr;
  ImageReader* rgb = nullptr;
  ImageReader* composite = nullptr;  // opened beside its four channels and only closed again
  std::array<ImageReader*, kInkCount> readers = {};
  std::array<ZKGWorld*, kInkCount> worlds = {};
  HXRasterPlane* planes = nullptr;
  int deep = 0;
  Page* next = nullptr;  // in sLeftOpen

  Page() = default;
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;
  ~Page() {
    ZKBMP_Delete(rgb);
    ZKBMP_Delete(composite);
    for (ImageReader* reader : readers) ZKBMP_Delete(reader);
    for (ZKGWorld* world : worlds) std::free(world);
    deletePlane(planes);
  }

  [[nodiscard]] bool hasRgb() const { return image->ImageFileRGB[0] != '\0'; }
  [[nodiscard]] bool hasComposite() const { return image->ImageFileCMYK[0] != '\0'; }
};
using PageOwner = std::unique_ptr<Page>;

// Pages whose set-up failed stay open until the process ends, on purpose; closePagesLeftOpen().
Page* sLeftOpen = nullptr;

int leaveOpen(PageOwner page, int result) {
  page->next = sLeftOpen;
  sLeftOpen = page.release();
  return result;
}

int refuseMemory(PageOwner page, int result) {
  printError("Memory Full.\n");
  page->hooks->pageSkipped(*page->image, nullptr);
  return leaveOpen(std::move(page), result);
}

bool openImage(const Page& page, const char* path, ImageReader** reader) {
  if (path[0] == '\0') return true;
  // A hook may ask errno why: of a file that was not even tried it must not tell older trouble.
  const int before = errno;
  errno = 0;
  *reader = ZKBMP_New(path);
  if (*reader == nullptr) page.hooks->pageSkipped(*page.image, path);
  if (errno == 0) errno = before;
  return *reader != nullptr;
}

bool openComposite(Page* page) {
  const char* path = page->image->ImageFileCMYK;
  if (!openImage(*page, path, &page->composite)) return false;
  return std::all_of(std::begin(kOpenOrder), std::begin(kOpenOrder) + 4,
                     [page, path](Ink ink) { return openImage(*page, path, &page->readers[ink]); });
}

bool openImages(Page* page) {
  const imageParameter* image = page->image;
  if (!openImage(*page, image->ImageFileRGB, &page->rgb)) return false;
  if (page->hasComposite() && !openComposite(page)) return false;
  for (const Ink ink : kOpenOrder) {
    if (page->hasComposite() && isChannelOfComposite(ink)) continue;
    if (!openImage(*page, image->*kInks[ink].file, &page->readers[ink])) return false;
  }
  return true;
}

uint32_t tallestImage(const Page& page) {
  uint32_t rows = page.rgb == nullptr ? 0 : page.rgb->height;
  for (const ImageReader* reader : page.readers) {
    if (reader != nullptr) rows = std::max(rows, reader->height);
  }
  return rows;
}

void makeBuffers(Page* page) {
  ZKRect box{};
  for (const Ink ink : kBufferOrder) {
    const bool isRgb = page->hasRgb() && (ink == kInkR || ink == kInkG || ink == kInkB);
    prepareBand(&page->worlds[ink], isRgb ? page->rgb : page->readers[ink], &box,
                page->image->*kInks[ink].depth, page->deep);
  }
}

void sendOffset(int32_t rows, int32_t sign) {
  if (rows == kNotSet) return;
  if (sign == 1) HXRaster_SendYOffsetRelative(rows);
  if (sign == 0) HXRaster_SendYOffset(rows);
}

void sendMoves(const imageParameter* image) {
  const int32_t x = image->StartingPositionX;
  const int32_t y = image->StartingPositionY;
  if (image->StartingPositionXSign != 0) {
    if (x != 0) HXRaster_SendMoveCAPXRelative(x);
  } else if (x != kNotSet) {
    HXRaster_SendMoveCAPX(static_cast<uint32_t>(x));
  }
  if (image->StartingPositionYSign != 0) {
    if (y != 0) HXRaster_SendMoveCAPYRelative(y);
  } else if (y != kNotSet) {
    HXRaster_SendMoveCAPY(static_cast<uint32_t>(y));
  }
}

void positionAndStart(const imageParameter* image) {
  HXRaster_SendTopOfPage(image->SameAsFirstImage);
  sendOffset(image->YOffsetCBeforePosition, image->YOffsetCBeforePositionSign);
  sendMoves(image);
  sendOffset(image->YOffsetCAfterPosition, image->YOffsetCAfterPositionSign);
  HXRaster_SendStartRasterMode();
  sendOffset(image->YOffset, image->YOffsetSign);
}

// False without memory.
bool listPlanes(Page* page) {
  HXRasterPlane* last = nullptr;
  for (const Ink ink : kPlaneOrder) {
    const int32_t depth = page->image->*kInks[ink].depth;
    if (depth <= 0) continue;
    HXRasterPlane* plane = addPlane(last);
    if (plane == nullptr) return false;
    if (page->planes == nullptr) page->planes = plane;
    plane->pixels = page->worlds[ink];
    plane->bitsPerPixel = static_cast<int8_t>(depth);
    last = plane;
  }
  return true;
}

const uint8_t* levelOf(const Page& page, Ink ink) {
  return page.image->*kInks[ink].level;
}

// Reads the next band of every plane. Returns its rows: those of the tallest plane that is left.
int readBand(const Page& page) {
  if (page.hasRgb()) {
    return ZKBMP_ReadNextRasterBlockRGB(page.rgb, page.worlds[kInkR], page.worlds[kInkG],
                                        page.worlds[kInkB], page.deep);
  }
  if (page.hasComposite()) {
    CmykChannels channels{};
    for (size_t i = 0; i < channels.size(); ++i) {
      const auto [ink, index] = kChannels[i];
      channels[i] = {page.readers[ink], page.worlds[ink], levelOf(page, ink), index};
    }
    return ZKBMP_ReadNextRasterBlocksCMYK(channels);
  }
  int rows = 0;
  for (const Ink ink : kReadOrder) {
    rows = std::max(
        rows, ZKBMP_ReadNextRasterBlock(page.readers[ink], page.worlds[ink], levelOf(page, ink)));
  }
  return rows;
}

// Sends what the set-up has prepared.
int sendPage(PageOwner page) {
  const imageParameter* image = page->image;
  positionAndStart(image);
  if (!listPlanes(page.get())) return refuseMemory(std::move(page), -1);
  const auto refused = static_cast<int16_t>(HXRaster_KeepWorkingMemory(page->planes, image->Mode));
  if (refused != 0) return refuseMemory(std::move(page), refused);
  for (;;) {
    const int rows = readBand(*page);
    if (rows < 1) break;
    HXRaster_SendBand(page->planes, rows, image->Mode);
    page->hooks->bandSent(rows);
  }
  HXRaster_SendEndRasterMode();
  page->hooks->pageEnds();
  page.reset();
  HXRaster_FreeWorkingMemory(image->Mode);
  HXRaster_Delete();
  return 0;
}

}  // namespace

int processHXRasterImageData(const imageParameter* image) {
  JobHooks none;
  return processHXRasterImageDataWith(none, image);
}

int processHXRasterImageDataWith(JobHooks& hooks, const imageParameter* image) {
  PageOwner page(newOrNull<Page>());
  if (page == nullptr) {
    printError("Memory Full.\n");
    hooks.pageSkipped(*image, nullptr);
    return -1;
  }
  page->image = image;
  page->hooks = &hooks;
  try {
    if (!openImages(page.get())) return leaveOpen(std::move(page), kErrorImage);
    hooks.pageBegins(*image, tallestImage(*page));
    const bool isDeep = image->PixelDepthR == 10 || image->PixelDepthR == 12;
    page->deep = image->CompressionMode == kHxrc && isDeep ? 1 : 0;
    makeBuffers(page.get());
    return sendPage(std::move(page));
  } catch (int) {
    page.reset();
    HXRaster_FreeWorkingMemory(image->Mode);
    HXRaster_Delete();
    throw;
  }
}

void closePagesLeftOpen() {
  while (sLeftOpen != nullptr) {
    const PageOwner page(sLeftOpen);
    sLeftOpen = page->next;
  }
}

void prepareBand(ZKGWorld** slot, const ImageReader* reader, ZKRect* box, int32_t depth, int deep) {
  if (reader == nullptr) return;
  *box = {0, 0, kBandRows, static_cast<long>(ZKBMP_GetWidth(reader))};
  const auto bits = static_cast<int16_t>(depth);
  // A buffer that cannot be made leaves the plane without pixels: it is sent as a plane of width 0.
  if (bits != 0 && bits != kNotSet) ZKNewGWorld(slot, bits, box, deep);
}
