// Fuzzed: the bytes of a TIFF file, through the three block readers. The first bytes of the input
// choose what the pixel buffers are like (depth, deep samples, rows, width) and the table.
// Asserted: rows come until there are none, never more than the file claims; what is thrown is
// documented; what `odaxgen check` sees in the file is what the reader sees.
//
// Left out, since they take all the time and bring nothing new: files that claim more than
// kMostRowBytes bytes a row or more than kMostEntries entries in their directories, and blocks
// behind the first kMostRows rows.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

#include "Choices.h"
#include "FuzzFolder.h"
#include "ReductionTables.h"
#include "Require.h"
#include "Silence.h"
#include "TiffFacts.h"
#include "ZKGWorldLib.h"
#include "ZKTiff.h"

namespace {

constexpr uint32_t kMostRowBytes = 3000;
constexpr uint32_t kMostRows = 1000;
constexpr uint32_t kMostEntries = 5000;
constexpr std::array<int16_t, 10> kDepths = {1, 2, 4, 8, 10, 12, 16, 3, 24, 32};
constexpr std::array<long, 4> kBandRows = {300, 1, 7, 32};

struct CloseReader {
  void operator()(ImageReader* reader) const { ZKTiff_Delete(reader); }
};
using Reader = std::unique_ptr<ImageReader, CloseReader>;

struct FreeWorld {
  void operator()(ZKGWorld* world) const { std::free(world); }
};
using World = std::unique_ptr<ZKGWorld, FreeWorld>;

// How a file is read.
struct Use {
  int16_t depth;
  int deep;
  long rows;
  long widthDelta;  // to the image's width
  const uint8_t* table;
  int channel;
  bool rewinds;
};

Use chooseUse(Choices& choices) {
  constexpr std::array<long, 6> kWidthDeltas = {0, 0, 1, -1, -9, 40};
  const std::array<const uint8_t*, 4> tables = {nullptr, rawSamplesMarker(), Reduce256To4Tbl.data(),
                                                ReduceNoConvertTbl.data()};
  Use use{};
  use.depth = choices.any(kDepths);
  use.deep = choices.flag() ? 1 : 0;
  use.rows = choices.any(kBandRows);
  use.widthDelta = choices.any(kWidthDeltas);
  use.table = choices.any(tables);
  use.channel = static_cast<int>(choices.below(4));
  use.rewinds = choices.oneIn(4);
  return use;
}

World makeWorld(const ImageReader& reader, const Use& use) {
  const long width = static_cast<long>(reader.width) + use.widthDelta;
  const ZKRect box = {0, 0, use.rows, width < 0 ? 0 : width};
  ZKGWorld* world = nullptr;
  ZKNewGWorld(&world, use.depth, &box, use.deep);
  return World(world);
}

bool isSmall(const ImageReader& reader) {
  return reader.bytesPerRow <= kMostRowBytes && reader.width <= kMostRowBytes &&
         reader.sampleRowBytes[0] <= kMostRowBytes;
}

// Reads blocks by one of the readers until there are no more rows.
template <size_t Buffers, class Read>
void readAll(const std::string& path, const Use& use, Read read) {
  const Reader reader(ZKTiff_New(path.c_str()));
  if (reader == nullptr || !isSmall(*reader)) return;
  std::array<World, Buffers> worlds;
  for (World& world : worlds) world = makeWorld(*reader, use);
  uint32_t rows = 0;
  bool isRewound = !use.rewinds;
  while (rows < kMostRows) {
    const int got = read(reader.get(), worlds);
    require(got >= 0 && got <= use.rows, "a block has the rows of its buffer");
    rows += static_cast<uint32_t>(got);
    require(rows <= reader->height, "no more rows than the file claims");
    if (got > 0) continue;
    if (isRewound) return;
    isRewound = true;
    rows = 0;
    ZKTiff_Rewind(reader.get());
  }
}

// Walks the directories as far as they can be followed. A chain that goes round has no end.
bool hasFewEntries(std::span<const uint8_t> file) {
  const bool isLittle = !file.empty() && file[0] == 'I';
  const auto byte = [file](size_t at) { return at < file.size() ? file[at] : uint8_t{0}; };
  const auto number = [&](size_t at, size_t count) {
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
      value = value << 8U | byte(at + (isLittle ? count - 1 - i : i));
    return value;
  };
  size_t entries = 0;
  for (size_t at = number(4, 4); at != 0 && at + 1 < file.size();) {
    const size_t count = number(at, 2);
    entries += count + 1;
    if (entries > kMostEntries) return false;
    at = number(at + 2 + count * 12, 4);
  }
  return true;
}

template <class Call>
void expectKnownRefusals(Call call) {
  try {
    call();
  } catch (int code) {
    require(code == -41 || code == -42, "a code that is documented");
  } catch (const char* text) {
    require(std::string(text) == "Internal Exception", "the text that is documented");
  }
}

void compareFacts(const std::string& path) {
  const jobcheck::TiffFacts facts = jobcheck::readTiffFacts(path);
  const Reader reader(ZKTiff_New(path.c_str()));
  if (reader == nullptr || facts.isUnknown) return;
  require(facts.width == reader->width && facts.height == reader->height, "the same size");
  if (!facts.isTiff || facts.isTooLarge) return;
  require(facts.bitsPerPixel == reader->bitsPerPixel, "the same bits");
  require(facts.compression == reader->compression, "the same compression");
  require(facts.photometric == reader->photometric, "the same photometric interpretation");
  require(facts.rowsPerStrip == reader->rowsPerStrip, "the same rows of a strip");
  for (size_t strip = 0; strip < facts.offsets.size(); ++strip) {
    require(facts.offsets[strip] == stripOffset(reader.get(), static_cast<uint32_t>(strip)),
            "the same strip offsets");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const FuzzFolder folder;
  const jobcheck::Silence silence;
  Choices choices(data, size);
  const Use use = chooseUse(choices);
  const std::span<const uint8_t> file = choices.rest();
  if (!hasFewEntries(file)) return 0;
  const std::string path = folder.write("image.tif", file);
  compareFacts(path);
  expectKnownRefusals([&] {
    readAll<1>(path, use, [&use](ImageReader* reader, const std::array<World, 1>& worlds) {
      return ZKTiff_ReadNextRasterBlock(reader, worlds[0].get(), use.table);
    });
  });
  expectKnownRefusals([&] {
    readAll<1>(path, use, [&use](ImageReader* reader, const std::array<World, 1>& worlds) {
      return ZKTiff_ReadNextRasterBlockCMYK(reader, worlds[0].get(), use.table, use.channel);
    });
  });
  expectKnownRefusals([&] {
    readAll<3>(path, use, [&use](ImageReader* reader, const std::array<World, 3>& worlds) {
      return ZKTiff_ReadNextRasterBlockRGB(reader, worlds[0].get(), worlds[1].get(),
                                           worlds[2].get(), use.deep);
    });
  });
  return 0;
}
