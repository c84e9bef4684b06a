#include "ZKGWorldLib.h"

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
  if (world != nullptr) std::memset(world->pixels, 0x00, pixelBytes(*world));
}

void ZKClearGWorldRGB(ZKGWorld* world) {
  if (world != nullptr) std::memset(world->pixels, 0xFF, pixelBytes(*world));
}
