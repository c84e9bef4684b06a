#include "ConfigureBlock.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "ReadError.h"

namespace jobreader {

namespace {

constexpr int kRowRgb = 2;
constexpr int kRowKcmy = 3;
constexpr int kRowIndex = 4;
constexpr int kRowBiLevel = 5;
constexpr int kPixelRgb = 0x12;
constexpr int kPixelBiLevel = 0x15;

constexpr uint8_t kBlankLight = 0xFF;

using Components = std::array<Ink, 13>;  // filled up with kUnknown
constexpr Ink kNone = Ink::kUnknown;

// A block is the colour space, the number of planes, and the components: each its identifier and
// its depth. One layout has no identifiers.
struct Layout {
  size_t bytes;
  std::array<int, 6> colorSpaces;  // filled up with 0
  Components components;
  bool needsAll;  // it is chosen only when all of them are in use
};

constexpr std::array<Layout, 7> kLayouts = {{
    {4, {kRowRgb}, {Ink::K, kNone}, true},
    {8, {kRowRgb, kPixelRgb}, {Ink::R, Ink::G, Ink::B, kNone}, false},
    {10,
     {kRowKcmy, kRowIndex, kRowBiLevel, 0x13, 0x14, kPixelBiLevel},
     {Ink::K, Ink::C, Ink::M, Ink::Y, kNone},
     false},
    {12, {kRowIndex, kRowBiLevel}, {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, kNone}, true},
    {18,
     {kRowIndex, kRowBiLevel},
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, kNone},
     true},
    {26,
     {kRowIndex, kRowBiLevel},
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, Ink::Pgy, Ink::R, Ink::B,
      Ink::CO, kNone},
     true},
    {28,
     {kRowIndex, kRowBiLevel},
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, Ink::Pgy, Ink::R, Ink::B,
      Ink::CO, Ink::CO2},
     true},
}};

constexpr size_t kFirstComponent = 2;
constexpr size_t kBareBytes = 10;  // the layout without identifiers: 5 np 0 R G B K C M Y
constexpr size_t kBareBlack = 6;   // where it has K
constexpr int kLightInkPlanes = 6;

class Block {
 public:
  Block(std::span<const uint8_t> bytes, const std::function<uint64_t(size_t)>& offsetOf)
      : bytes_(bytes), offsetOf_(offsetOf) {}

  [[nodiscard]] size_t size() const { return bytes_.size(); }
  [[nodiscard]] int at(size_t index) const { return bytes_[index]; }
  [[noreturn]] void refuse(size_t index, const std::string& expected) const {
    throw ReadError(offsetOf_(index), "configure block: byte " + std::to_string(index) + " is " +
                                          std::to_string(at(index)) + ", expected " + expected);
  }
  void expect(size_t index, int value, std::string_view meaning) const {
    if (at(index) != value)
      refuse(index, std::to_string(value) + " (" + std::string(meaning) + ")");
  }
  int depthAt(size_t index, bool mustBeThere) const {
    if (at(index) > 127 || (mustBeThere && at(index) == 0))
      refuse(index, mustBeThere ? "a depth of 1 to 127" : "a depth of 0 to 127");
    return at(index);
  }

 private:
  std::span<const uint8_t> bytes_;
  const std::function<uint64_t(size_t)>& offsetOf_;
};

struct Component {
  Ink ink;
  int depth;  // 0: not in use
};
using Depths = std::vector<Component>;

bool isBare(const Block& block) {
  return block.size() == kBareBytes && block.at(0) == kRowBiLevel && block.at(2) == 0;
}

Depths readBare(const Block& block) {
  for (size_t i = kFirstComponent; i < kBareBytes; ++i)
    if (i != kBareBlack) block.expect(i, 0, "not in use");
  return {{Ink::K, block.depthAt(kBareBlack, true)}};
}

Depths readComponents(const Block& block, const Layout& layout) {
  Depths depths;
  size_t at = kFirstComponent;
  for (const Ink ink : layout.components) {
    if (ink == kNone) break;
    const InkInfo& info = *inkInfo(ink);
    block.expect(at, info.identifier, info.title);
    depths.push_back({ink, block.depthAt(at + 1, layout.needsAll)});
    at += 2;
  }
  return depths;
}

Depths readDepths(const Block& block, const std::function<uint64_t(size_t)>& offsetOf) {
  const auto* layout = std::find_if(kLayouts.begin(), kLayouts.end(),
                                    [&](const Layout& each) { return each.bytes == block.size(); });
  if (layout == kLayouts.end()) {
    throw ReadError(offsetOf(0), "a configure block of " + std::to_string(block.size()) +
                                     " bytes; expected 4, 8, 10, 12, 18, 26 or 28");
  }
  if (isBare(block)) return readBare(block);
  const auto& spaces = layout->colorSpaces;
  if (block.at(0) == 0 || std::find(spaces.begin(), spaces.end(), block.at(0)) == spaces.end())
    block.refuse(0, "a colour space that has this layout");
  return readComponents(block, *layout);
}

PlaneFormat planeOf(Ink ink, int depth, bool assumed) {
  PlaneFormat plane;
  plane.ink = ink;
  plane.depth = depth;
  plane.assumed = assumed;
  plane.name = inkInfo(ink)->name;
  return plane;
}

std::vector<PlaneFormat> planesInOrder(Depths inks, bool assumed) {
  std::sort(inks.begin(), inks.end(),
            [](const Component& a, const Component& b) { return a.ink < b.ink; });
  std::vector<PlaneFormat> planes;
  planes.reserve(inks.size());
  for (const auto& [ink, depth] : inks) planes.push_back(planeOf(ink, depth, assumed));
  return planes;
}

// The depth that all named components share, or 0.
int commonDepth(const Depths& used) {
  if (used.empty()) return 0;
  const int depth = used.front().depth;
  const bool common = std::all_of(used.begin(), used.end(),
                                  [depth](const Component& each) { return each.depth == depth; });
  return common ? depth : 0;
}

std::vector<PlaneFormat> numberedPlanes(size_t count, int depth) {
  std::vector<PlaneFormat> planes(count);
  for (size_t i = 0; i < count; ++i) {
    planes[i].depth = depth;
    planes[i].assumed = true;
    planes[i].name = "plane " + std::to_string(i + 1);
  }
  return planes;
}

// The block of four inks also stands for six, of which it does not name the light ones, and for
// combinations that no block can name.
std::vector<PlaneFormat> planesOf(const Depths& depths, int count) {
  Depths used;
  std::copy_if(depths.begin(), depths.end(), std::back_inserter(used),
               [](const Component& each) { return each.depth > 0; });
  const auto wanted = static_cast<size_t>(count);
  if (used.size() == wanted) return planesInOrder(used, false);
  const bool isKcmy = depths.size() == 4;
  if (isKcmy && used.size() == 4 && count == kLightInkPlanes) {
    std::vector<PlaneFormat> planes = planesInOrder(used, false);
    planes.push_back(planeOf(Ink::c, planes[1].depth, true));
    planes.push_back(planeOf(Ink::m, planes[2].depth, true));
    return planes;
  }
  if (used.size() > wanted) {  // pixel formats send the first plane only
    std::vector<PlaneFormat> planes = planesInOrder(used, true);
    planes.resize(wanted);
    return planes;
  }
  return numberedPlanes(wanted, commonDepth(used));
}

}  // namespace

PageFormat readConfigureBlock(std::span<const uint8_t> bytes,
                              const std::function<uint64_t(size_t)>& offsetOf) {
  const Block block(bytes, offsetOf);
  const Depths depths = readDepths(block, offsetOf);
  PageFormat format;
  format.colorSpace = block.at(0);
  format.blank = format.colorSpace == kRowRgb ? kBlankLight : uint8_t{0};
  // The number of planes is a signed byte: from 128 on no plane is sent.
  const int count = block.at(1) > 127 ? 0 : block.at(1);
  format.planes = planesOf(depths, count);
  return format;
}

bool hasHalves(const PageFormat& format, const PlaneFormat& plane, int method) {
  const bool isDeep = plane.depth == 10 || plane.depth == 12 || plane.depth == 16;
  return method == 4 && format.colorSpace == kRowRgb && format.planes.size() == 3 && isDeep;
}

}  // namespace jobreader
