#include "ZKGWorldLib.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "CLibrary.h"

namespace {

constexpr int kErrorLine = 85;  // the line that this failure has always been reported under

int64_t unpaddedRowBytes(int64_t width, int depth, bool deep) {
  switch (depth) {
    case 1:
      return (width + 7) / 8;
    case 2:
      return (width + 3) / 4;
    case 4:
      return (width + 1) / 2;
    case 8:
      return width;
    case 10:
      return deep ? 2 * width : (10 * width + 7) / 8;
    case 12:
      return deep ? 2 * width : (12 * width + 7) / 8;
    case 16:
      return 2 * width;
    default:
      return 4 * width;
  }
}

int32_t widthOf(const ZKRect& box) {
  return static_cast<int32_t>(box.right - box.left);
}
int32_t heightOf(const ZKRect& box) {
  return static_cast<int32_t>(box.bottom - box.top);
}

size_t pixelBytes(const ZKGWorld& world) {
  return static_cast<size_t>(heightOf(world.bounds)) * static_cast<size_t>(world.rowBytes);
}

size_t bytesAbove(const ZKGWorld& world, uint32_t row) {
  return std::min(size_t{row} * static_cast<size_t>(world.rowBytes), pixelBytes(world));
}

bool isClear(const uint8_t* bytes, size_t count) {
  return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0;
}

// Memory that nobody has written to since it was made is not there yet: writing zeros would bring
// it. Of an image with few rows that says it is very wide, nearly all stays away.
void clearWhatIsNotClear(uint8_t* bytes, size_t count) {
  constexpr size_t kPageBytes = 4096;
  while (count > 0) {
    const size_t part = std::min(count, kPageBytes);
    if (!isClear(bytes, part)) std::memset(bytes, 0, part);
    bytes += part;
    count -= part;
  }
}

int32_t reportFailure(int number) {
  reportError("ZKewGWorld failed.", number, "ZKGWorldLib.cpp", kErrorLine);  // spelt so on purpose
  return number;
}

}  // namespace

int32_t ZKNewGWorld(ZKGWorld** out, int16_t depth, const ZKRect* bounds, int32_t deep) {
  const int64_t height = heightOf(*bounds);
  const int64_t rowBytes = (unpaddedRowBytes(widthOf(*bounds), depth, deep != 0) + 3) / 4 * 4;
  if (height < 0 || rowBytes < 0 || rowBytes > INT_MAX || height * rowBytes > INT_MAX) {
    errno = ENOMEM;
    return reportFailure(errno);
  }
  const size_t blockBytes = sizeof(ZKGWorld) + static_cast<size_t>(height * rowBytes);
  CBytes block = newZeroedBytes(blockBytes);
  if (block == nullptr) return reportFailure(errno);

  auto* world = reinterpret_cast<ZKGWorld*>(block.release());
  world->self = world;
  world->pixels = reinterpret_cast<uint8_t*>(world) + sizeof(ZKGWorld);
  world->rowBytes = static_cast<int32_t>(rowBytes);
  world->bounds = *bounds;
  world->depth = depth == 0 ? int16_t{32} : depth;
  *out = world;
  return 0;
}

void ZKClearGWorld(ZKGWorld* world) {
  ZKClearGWorldFrom(world, 0);
}

void ZKClearGWorldRGB(ZKGWorld* world) {
  ZKClearGWorldRGBFrom(world, 0);
}

void ZKClearGWorldFrom(ZKGWorld* world, uint32_t first) {
  if (world == nullptr) return;
  const size_t kept = bytesAbove(*world, first);
  clearWhatIsNotClear(world->pixels + kept, pixelBytes(*world) - kept);
}

void ZKClearGWorldRGBFrom(ZKGWorld* world, uint32_t first) {
  if (world == nullptr) return;
  const size_t kept = bytesAbove(*world, first);
  std::memset(world->pixels + kept, 0xFF, pixelBytes(*world) - kept);
}
