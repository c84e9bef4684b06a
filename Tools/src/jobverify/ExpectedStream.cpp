#include "ExpectedStream.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace jobverify {

namespace {

using jobreader::Ink;

constexpr int kPackBitsWithSeedRow = 256;
constexpr size_t kMostNamed = 13;

using InkSet = uint32_t;

constexpr InkSet bitOf(Ink ink) {
  return InkSet{1} << static_cast<unsigned>(ink);
}

constexpr InkSet setOf(std::initializer_list<Ink> inks) {
  InkSet set = 0;
  for (const Ink ink : inks) set |= bitOf(ink);
  return set;
}

// A layout of the configure block and when it is taken.
struct Layout {
  std::array<int, 2> colorSpaces;     // 0: any
  InkSet present;                     // inks that must have a depth of at least 1
  InkSet absent;                      // inks that must have none
  bool hasIdentifiers;                // else a zero byte and bare depths
  std::array<Ink, kMostNamed> named;  // filled up with kUnknown
};

constexpr Ink kEnd = Ink::kUnknown;
constexpr InkSet kFiveInks = setOf({Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y});
constexpr InkSet kEightInks = kFiveInks | setOf({Ink::c, Ink::m, Ink::Gy});
constexpr InkSet kTwelveInks = kEightInks | setOf({Ink::Pgy, Ink::R, Ink::B, Ink::CO});

// The first one that fits is taken.
constexpr std::array<Layout, 8> kLayouts = {{
    {{2, 2}, setOf({Ink::K}), setOf({Ink::R, Ink::G, Ink::B}), true, {Ink::K, kEnd}},
    {{2, 18}, 0, 0, true, {Ink::R, Ink::G, Ink::B, kEnd}},
    {{5, 5},
     setOf({Ink::K}),
     setOf({Ink::R, Ink::G, Ink::B, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, Ink::Pgy}),
     false,
     {Ink::R, Ink::G, Ink::B, Ink::K, Ink::C, Ink::M, Ink::Y, kEnd}},
    {{4, 5},
     kFiveInks,
     setOf({Ink::c, Ink::m, Ink::Gy, Ink::Pgy, Ink::R, Ink::B, Ink::CO, Ink::CO2}),
     true,
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, kEnd}},
    {{4, 5},
     kEightInks,
     setOf({Ink::Pgy, Ink::R, Ink::B, Ink::CO, Ink::CO2}),
     true,
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, kEnd}},
    {{4, 5},
     kTwelveInks,
     setOf({Ink::CO2}),
     true,
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, Ink::Pgy, Ink::R, Ink::B,
      Ink::CO, kEnd}},
    {{4, 5},
     kTwelveInks | setOf({Ink::CO2}),
     0,
     true,
     {Ink::PBK, Ink::MBK, Ink::C, Ink::M, Ink::Y, Ink::c, Ink::m, Ink::Gy, Ink::Pgy, Ink::R, Ink::B,
      Ink::CO, Ink::CO2}},
    {{0, 0}, 0, 0, true, {Ink::K, Ink::C, Ink::M, Ink::Y, kEnd}},
}};

// The depths of a page as the block has them: signed bytes, -1 where none was given.
class Depths {
 public:
  explicit Depths(const PageRequest& page) {
    depths_.fill(-1);
    for (const PlaneRequest& plane : page.allPlanes)
      depths_[static_cast<size_t>(plane.ink)] = static_cast<int8_t>(plane.depth & 0xFF);
  }

  [[nodiscard]] uint8_t byteOf(Ink ink) const {
    const int8_t depth = depths_[static_cast<size_t>(ink)];
    return depth > 0 ? static_cast<uint8_t>(depth) : uint8_t{0};
  }
  // A depth of 0 is neither present nor absent.
  [[nodiscard]] bool fits(const Layout& layout) const {
    for (size_t i = 0; i < depths_.size(); ++i) {
      const InkSet bit = bitOf(static_cast<Ink>(i));
      if ((layout.present & bit) != 0 && depths_[i] <= 0) return false;
      if ((layout.absent & bit) != 0 && depths_[i] >= 0) return false;
    }
    return true;
  }

 private:
  std::array<int8_t, jobreader::kInkCount> depths_{};
};

const Layout& layoutOf(const PageRequest& page, const Depths& depths) {
  const int space = page.colorSpace & 0xFF;
  const auto* found = std::find_if(kLayouts.begin(), kLayouts.end(), [&](const Layout& layout) {
    const auto& [first, second] = layout.colorSpaces;
    return (first == 0 || space == first || space == second) && depths.fits(layout);
  });
  return *found;  // the last one always fits
}

std::string sentNumber(uint32_t value) {
  return std::to_string(static_cast<int32_t>(value));
}

// Only positive numbers have a sign of their own; 0 is not a move.
std::string moveCommand(const Position& position, char axis) {
  if (!position.given || (position.relative && position.value == 0)) return "";
  const char* const sign = position.relative && position.value > 0 ? "+" : "";
  return "*p" + std::string(sign) + std::to_string(position.value) + axis;
}

void append(std::vector<std::string>& commands, const std::string& command) {
  if (!command.empty()) commands.push_back(command);
}

}  // namespace

std::vector<uint8_t> configureBlock(const PageRequest& page) {
  if (page.sameAsFirst) return {};
  const Depths depths(page);
  const Layout& layout = layoutOf(page, depths);
  std::vector<uint8_t> block = {static_cast<uint8_t>(page.colorSpace & 0xFF),
                                static_cast<uint8_t>(page.numOfPlanes & 0xFF)};
  if (!layout.hasIdentifiers) block.push_back(0);
  for (const Ink ink : layout.named) {
    if (ink == kEnd) break;
    if (layout.hasIdentifiers) block.push_back(jobreader::inkInfo(ink)->identifier);
    block.push_back(depths.byteOf(ink));
  }
  return block;
}

std::vector<std::string> resolutionCommands(const JobRequest& request) {
  if (request.resolutionH == request.resolutionV)
    return {"*t" + sentNumber(request.resolutionH) + "R"};
  return {"$r" + sentNumber(request.resolutionH) + "X",
          "$r" + sentNumber(request.resolutionV) + "Y"};
}

std::vector<std::string> moveCommands(const PageRequest& page) {
  std::vector<std::string> commands;
  append(commands, yOffsetCommand(page.yOffsetBefore));
  append(commands, moveCommand(page.x, 'X'));
  append(commands, moveCommand(page.y, 'Y'));
  append(commands, yOffsetCommand(page.yOffsetAfter));
  return commands;
}

std::string yOffsetCommand(const Position& offset) {
  if (!offset.given || offset.value < 0) return "";
  const char* const sign = offset.relative && offset.value > 0 ? "+" : "";
  return "*b" + std::string(sign) + std::to_string(offset.value) + "Y";
}

int startMethod(const PageRequest& page) {
  return page.compression == kPackBitsWithSeedRow ? 2 : page.compression & 0xFF;
}

bool isMethodOf(const PageRequest& page, int method) {
  constexpr int kPlain = 0;
  constexpr int kPackBits = 2;
  constexpr int kDeltaRow = 3;
  // A row that a difference does not do for is sent whole.
  if (page.compression == kDeltaRow) return method == kDeltaRow || method == kPlain;
  if (page.compression == kPackBitsWithSeedRow) return method == kDeltaRow || method == kPackBits;
  return method == page.compression;
}

}  // namespace jobverify
