// The block decoders of ZKTiff: they deliver the next rows of an image into pixel buffers.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "ChannelRows.h"
#include "ReductionTables.h"
#include "RowUnpacker.h"
#include "SampleRows.h"
#include "ZKTiff.h"

namespace {

constexpr const char* kSourceName = "ZKTiffRows.cpp";

constexpr int kErrorCompression = -41;
constexpr int kErrorRgbCompression = -42;  // a code of its own, on purpose

bool isSupported(uint32_t compression) {
  return compression == kCompressionNone || compression == kCompressionPackBits;
}

bool isOpen(const ImageReader* reader) {
  return reader != nullptr && reader->file.isOpen();
}

// Whether an image gives its buffers nothing: it has no rows, or claims more than its file can
// hold, which is said once. Such buffers are left alone, since touching them is what makes them
// cost memory. A compression that is not read is refused by its first row.
bool deliversNothing(ImageReader* reader) {
  if (reader->height == 0) return true;
  if (!reader->isBeyondFile || !isSupported(reader->compression)) return false;
  if (reader->currentRow < reader->height) {
    printError("ERROR!: \"%s\": the file is too small for %u rows of %u bytes.\n",
               reader->fileName.get(), reader->height, reader->bytesPerRow);
    reader->currentRow = reader->height;  // said once
  }
  return true;
}

void reportCompression(const ImageReader* reader) {
  printError("UNSUPPORTED COMPRESSION!: \"%s\".\n", reader->fileName.get());
}

// Brings the row just read to where it survives the next look into the file, when that may find too
// little for a row.
void keepRow(ImageReader* reader) {
  const uint8_t* row = std::exchange(reader->rowInBlock, nullptr);
  if (row == nullptr) return;
  if (reader->file.position() + reader->bytesPerRow <= reader->fileBytes) return;
  std::memcpy(reader->row.get(), row, reader->bytesPerRow);
}

// Rows take turns in two places, since decoding leaves no byte behind the cut as it was.
const uint8_t* readPackedRow(ImageReader* reader) {
  std::swap(reader->row, reader->rowBefore);
  uint8_t* row = reader->row.get();
  const uint32_t filled = unpackbits(reader, row, reader->bytesPerRow);
  std::memcpy(row + filled, reader->rowBefore.get() + filled, reader->bytesPerRow - filled);
  return row;
}

// The next row. Most rows are read where they lie in the file's block. A row cut by the end of the
// file keeps what the row before left behind the cut.
const uint8_t* readRow(ImageReader* reader) {
  const uint32_t bytes = reader->bytesPerRow;
  if (reader->compression == kCompressionPackBits) return readPackedRow(reader);
  const FileBytes::View view = reader->file.inMemory();
  if (view.count >= bytes) {
    reader->file.skip(bytes);
    reader->rowInBlock = view.bytes;
    return view.bytes;
  }
  keepRow(reader);
  reader->file.read(reader->row.get(), bytes);
  return reader->row.get();
}

void moveToNextStrip(ImageReader* reader) {
  ++reader->currentStrip;
  reader->rowsLeftInStrip = reader->rowsPerStrip;
  reader->decoderState = 0;
  // Behind the last strip, reading goes on where it stands.
  if (reader->stripOffsets == nullptr || reader->currentStrip >= reader->stripCount) return;
  reader->file.seek(stripOffset(reader, reader->currentStrip));
}

// Counts one row off the strip; a count of 0 at the start wraps and never ends the strip.
void countRow(ImageReader* reader) {
  if (--reader->rowsLeftInStrip == 0) moveToNextStrip(reader);
}

// The RGB reader stays in the last strip, unlike the others; kept on purpose.
void countRgbRow(ImageReader* reader) {
  if (--reader->rowsLeftInStrip != 0) return;
  if (uint64_t{reader->currentStrip} + 1 < reader->stripCount) moveToNextStrip(reader);
}

uint32_t rowsToRead(const ImageReader* reader, const ZKGWorld* world) {
  const long height = world->bounds.bottom - world->bounds.top;
  const uint32_t left = reader->height - reader->currentRow;
  return height < 0 ? 0 : std::min(static_cast<uint32_t>(height), left);
}

uint8_t* rowOf(const ZKGWorld* world, uint32_t row) {
  return world->pixels + size_t{row} * static_cast<size_t>(world->rowBytes);
}

// What stands for "choose a table by the buffer's depth".
const uint8_t* tableForDepth(int depth) {
  if (depth == 2) return Reduce256To4Tbl.data();
  if (depth == 4) return Reduce256To16Tbl.data();
  return nullptr;
}

SampleRule makeRule(const ImageReader* reader, const uint8_t* table, bool raw) {
  SampleRule rule{};
  rule.width = reader->width;
  rule.raw = raw;
  rule.inkIsPositive = reader->photometric == kWhiteIsZero || reader->photometric == kSeparated;
  rule.invert = !rule.inkIsPositive && !raw;
  rule.keepsBilevel = reader->photometric == kWhiteIsZero;
  rule.littleEndian = reader->byteOrder == 'I';
  rule.table = raw ? nullptr : table;
  return rule;
}

// The source bytes or samples of one row that the buffer can take; false for depths that do not go
// together.
bool countPerRow(uint32_t fileBits, uint32_t fileRowBytes, const ZKGWorld* world, uint32_t* count) {
  const auto rowBytes = static_cast<uint32_t>(world->rowBytes);
  const int depth = world->depth;
  if (depth >= 0 && fileBits == static_cast<uint32_t>(depth)) {
    *count = std::min(rowBytes, fileRowBytes);
    return true;
  }
  if (fileBits == 8 && (depth == 1 || depth == 2 || depth == 4)) {
    const uint64_t samples = uint64_t{rowBytes} * 8 / static_cast<unsigned>(depth);
    *count = static_cast<uint32_t>(std::min<uint64_t>(fileRowBytes, samples));
    return true;
  }
  if (fileBits == 16 && (depth == 10 || depth == 12)) {
    *count = std::min(fileRowBytes / 2, rowBytes);
    return true;
  }
  return false;
}

bool channelFits(const ImageReader* reader, size_t channel, const ZKGWorld* world,
                 uint32_t* count) {
  const uint32_t bits = reader->sampleBits[channel];
  if (bits == 16 && world->depth != 10) return false;
  return countPerRow(bits, reader->sampleRowBytes[channel], world, count);
}

// Fills a row of a buffer from `first` on with what stands for nothing.
void clearRow(uint8_t* dst, uint32_t dstBytes, uint32_t first, const SampleRule& rule) {
  if (first < dstBytes) std::memset(dst + first, rule.raw ? 0xFF : 0x00, dstBytes - first);
}

// Converts one row and leaves no byte of the buffer's row as it was. A depth without a conversion
// leaves nothing in the row, with a message for every row.
void convertRow(const uint8_t* src, uint32_t count, uint32_t fileBits, const ZKGWorld* world,
                uint32_t row, const SampleRule& rule) {
  uint8_t* dst = rowOf(world, row);
  const auto dstBytes = static_cast<uint32_t>(world->rowBytes);
  const int depth = world->depth;
  if (fileBits == 1) {
    SampleRows_Copy1(src, count, dst, dstBytes, rule);
  } else if (fileBits == 8 && depth == 8) {
    SampleRows_Copy8(src, count, dst, dstBytes, rule);
  } else if (fileBits == 8 && depth == 1) {
    clearRow(dst, dstBytes, count / 8, rule);
    SampleRows_8to1(src, count, dst, dstBytes, rule);
  } else if (fileBits == 8) {
    SampleRows_8toLevels(src, count, dst, dstBytes, rule, static_cast<unsigned>(depth));
  } else if (fileBits == 16 && (depth == 10 || depth == 12)) {
    clearRow(dst, dstBytes, 0, rule);
    SampleRows_16toPacked(src, count, dst, dstBytes, rule, static_cast<unsigned>(depth));
  } else {
    clearRow(dst, dstBytes, 0, rule);
    printError("ZKTiff_ReadNextRasterBlock: unsupported bit depth.\n");
  }
}

// Takes one channel out of an interleaved four-channel row. A row whose samples have neither 8 nor
// 16 bits stays 0.
void extractChannel(const ImageReader* reader, const uint8_t* src, size_t channel, uint8_t* dst) {
  const size_t bits = reader->sampleBits[channel];
  if (bits != 8 && bits != 16) return;
  ChannelRows_Extract(src, reader->bytesPerRow, channel, bits / 8,
                      reader->sampleRowBytes[channel] / (bits / 8), dst);
}

// A row for the samples of one channel.
CBytes newChannelRow(const ImageReader* reader, size_t channel) {
  CBytes samples = newZeroedBytes(reader->sampleRowBytes[channel]);
  if (samples != nullptr) return samples;
  reportError("ZKTiff_ReadNextRasterBlockCMYK: memory error", errno, kSourceName, __LINE__);
  throw kErrorCompression;
}

SampleRule makeChannelRule(const ImageReader* reader, const ZKGWorld* world, const uint8_t* table) {
  const bool isByDepth = table == nullptr || table == rawSamplesMarker();
  return makeRule(reader, isByDepth ? tableForDepth(world->depth) : table, false);
}

// Where the samples of one channel go, `count` of each row.
struct ChannelBlock {
  size_t channel;
  uint32_t count;
  const ZKGWorld* world;
  SampleRule rule;
};

void convertChannel(const ImageReader* reader, const uint8_t* src, const ChannelBlock& block,
                    uint8_t* samples, uint32_t row) {
  extractChannel(reader, src, block.channel, samples);
  convertRow(samples, block.count, reader->sampleBits[block.channel], block.world, row, block.rule);
}

// What decides which rows a reader delivers. A pipe is another one each time it is opened.
bool readsLike(const ImageReader& a, const ImageReader& b) {
  return a.fileBytes > 0 && a.fileBytes == b.fileBytes && a.width == b.width &&
         a.height == b.height && a.bitsPerPixel == b.bitsPerPixel && a.sampleBits == b.sampleBits &&
         a.compression == b.compression && a.rowsPerStrip == b.rowsPerStrip &&
         a.stripCount == b.stripCount && a.firstStripOffset == b.firstStripOffset &&
         a.photometric == b.photometric && a.byteOrder == b.byteOrder &&
         a.currentRow == b.currentRow;
}

// Whether four readers deliver the same rows and none of them has anything to say about it.
bool canReadTogether(const CmykChannels& channels) {
  const ImageReader* first = channels[0].reader;
  if (!isOpen(first) || channels[0].world == nullptr) return false;
  if (first->isBeyondFile || !isSupported(first->compression)) return false;
  return std::all_of(channels.begin(), channels.end(), [first, &channels](const CmykChannel& one) {
    uint32_t count = 0;
    return isOpen(one.reader) && one.world != nullptr && readsLike(*first, *one.reader) &&
           channelFits(one.reader, static_cast<size_t>(one.channel), one.world, &count) &&
           rowsToRead(one.reader, one.world) == rowsToRead(first, channels[0].world);
  });
}

using Buffers = std::array<ZKGWorld*, 3>;  // red, green, blue

bool isRgbCombination(const ImageReader* reader, const Buffers& buffers) {
  const int depth = buffers[0]->depth;
  if (buffers[1]->depth != depth || buffers[2]->depth != depth) return false;
  if (depth == 8) return reader->bitsPerPixel == 24;
  return reader->bitsPerPixel == 48 && (depth == 10 || depth == 12 || depth == 16);
}

// How the rows of an RGB image are taken apart.
struct RgbSplit {
  uint32_t pixels;  // that are read; as many as the red buffer takes
  unsigned depth;
  bool wide;          // two bytes for every sample
  bool littleEndian;  // of 16-bit samples
};

RgbSplit makeRgbSplit(const ImageReader* reader, const Buffers& buffers, bool deep) {
  const uint32_t pixelBytes = reader->bitsPerPixel == 48 ? 6 : 3;
  const uint64_t room = uint64_t{static_cast<uint32_t>(buffers[0]->rowBytes)} * pixelBytes;
  const auto bytes = static_cast<uint32_t>(std::min<uint64_t>(reader->bytesPerRow, room));
  const auto depth = static_cast<unsigned>(buffers[0]->depth);
  return {bytes / pixelBytes, depth, deep || depth == 16, reader->byteOrder == 'I'};
}

// Splits one row and leaves no byte of the buffers' rows as it was: what no pixel reaches is white.
void splitRow(const uint8_t* src, const RgbSplit& split, const Buffers& buffers, uint32_t row) {
  const uint32_t sampleBytes = split.depth == 8 ? 1 : split.wide ? 2 : 0;
  const uint64_t used = uint64_t{split.pixels} * sampleBytes;
  ChannelRowsRgb rows{};
  for (size_t channel = 0; channel < rows.size(); ++channel) {
    const auto count = static_cast<uint32_t>(buffers[channel]->rowBytes);
    rows[channel] = {rowOf(buffers[channel], row), count};
    const auto first = static_cast<size_t>(std::min<uint64_t>(used, count - count % 2));
    std::memset(rows[channel].bytes + first, 0xFF, count - first);
  }
  if (split.depth == 8) {
    ChannelRows_Split8(src, split.pixels, rows);
  } else if (split.wide) {
    ChannelRows_Split16Wide(src, split.pixels, split.littleEndian, split.depth, rows);
  } else {
    ChannelRows_Split16Packed(src, split.pixels, split.littleEndian, split.depth, rows);
  }
}

}  // namespace

int ZKTiff_ReadNextRasterBlock(ImageReader* reader, ZKGWorld* world, const uint8_t* table) {
  if (world == nullptr) return 0;
  uint32_t count = 0;
  const bool fits =
      isOpen(reader) && countPerRow(reader->bitsPerPixel, reader->bytesPerRow, world, &count);
  if (fits && deliversNothing(reader)) return 0;
  const bool raw = table == rawSamplesMarker();
  const auto clearFrom = raw ? ZKClearGWorldRGBFrom : ZKClearGWorldFrom;
  const uint32_t rows = fits ? rowsToRead(reader, world) : 0;
  if (rows > 0 && !isSupported(reader->compression)) {
    clearFrom(world, 0);
    reportCompression(reader);
    throw kErrorCompression;
  }
  clearFrom(world, rows);
  if (rows == 0) return 0;
  const SampleRule rule =
      makeRule(reader, table == nullptr ? tableForDepth(world->depth) : table, raw);
  for (uint32_t row = 0; row < rows; ++row) {
    convertRow(readRow(reader), count, reader->bitsPerPixel, world, row, rule);
    countRow(reader);
  }
  reader->currentRow += rows;
  return static_cast<int>(rows);
}

int ZKTiff_ReadNextRasterBlockCMYK(ImageReader* reader, ZKGWorld* world, const uint8_t* table,
                                   int channel) {
  if (world == nullptr) return 0;
  const auto c = static_cast<size_t>(channel);
  uint32_t count = 0;
  const bool fits = isOpen(reader) && channelFits(reader, c, world, &count);
  if (fits && deliversNothing(reader)) return 0;
  const uint32_t rows = fits ? rowsToRead(reader, world) : 0;
  ZKClearGWorldFrom(world, rows);
  if (rows == 0) return 0;
  if (!isSupported(reader->compression)) {
    ZKClearGWorld(world);
    reportCompression(reader);
    // Kept on purpose: a text and not a code, so nobody on the way to the host catches it.
    throw "Internal Exception";
  }
  const CBytes samples = newChannelRow(reader, c);
  const ChannelBlock block = {c, count, world, makeChannelRule(reader, world, table)};
  for (uint32_t row = 0; row < rows; ++row) {
    convertChannel(reader, readRow(reader), block, samples.get(), row);
    countRow(reader);
  }
  reader->currentRow += rows;
  return static_cast<int>(rows);
}

int ZKTiff_ReadNextRasterBlocksCMYK(const CmykChannels& channels) {
  if (!canReadTogether(channels)) {
    int most = 0;
    for (const CmykChannel& one : channels) {
      most = std::max(
          most, ZKTiff_ReadNextRasterBlockCMYK(one.reader, one.world, one.table, one.channel));
    }
    return most;
  }
  ImageReader* reader = channels[0].reader;
  const uint32_t rows = rowsToRead(reader, channels[0].world);
  if (rows == 0) {
    for (const CmykChannel& one : channels) ZKClearGWorld(one.world);
    return 0;
  }
  std::array<ChannelBlock, 4> blocks{};
  for (size_t i = 0; i < blocks.size(); ++i) {
    const CmykChannel& one = channels[i];
    ZKClearGWorldFrom(one.world, rows);
    blocks[i] = {static_cast<size_t>(one.channel), 0, one.world,
                 makeChannelRule(reader, one.world, one.table)};
    channelFits(reader, blocks[i].channel, one.world, &blocks[i].count);
  }
  const CBytes samples = newChannelRow(reader, 0);
  for (uint32_t row = 0; row < rows; ++row) {
    const uint8_t* src = readRow(reader);
    for (const ChannelBlock& block : blocks) {
      convertChannel(reader, src, block, samples.get(), row);
    }
    countRow(reader);
  }
  for (const CmykChannel& one : channels) one.reader->currentRow += rows;
  return static_cast<int>(rows);
}

int ZKTiff_ReadNextRasterBlockRGB(ImageReader* reader, ZKGWorld* red, ZKGWorld* green,
                                  ZKGWorld* blue, int deep) {
  const Buffers buffers = {red, green, blue};
  if (red == nullptr || green == nullptr || blue == nullptr) return 0;
  const bool fits = isOpen(reader) && isRgbCombination(reader, buffers);
  if (fits && deliversNothing(reader)) return 0;
  const uint32_t rows =
      fits
          ? std::min({rowsToRead(reader, red), rowsToRead(reader, green), rowsToRead(reader, blue)})
          : 0;
  for (ZKGWorld* world : buffers) ZKClearGWorldRGBFrom(world, rows);
  if (rows == 0) return 0;
  if (!isSupported(reader->compression)) {
    for (ZKGWorld* world : buffers) ZKClearGWorldRGB(world);
    reportCompression(reader);
    throw kErrorRgbCompression;
  }
  const RgbSplit split = makeRgbSplit(reader, buffers, deep != 0);
  for (uint32_t row = 0; row < rows; ++row) {
    splitRow(readRow(reader), split, buffers, row);
    countRgbRow(reader);
  }
  reader->currentRow += rows;
  return static_cast<int>(rows);
}

uint32_t unpackbits(ImageReader* reader, uint8_t* dst, uint32_t count) {
  uint32_t done = 0;
  while (done < count) {
    const FileBytes::View in = reader->file.peek();
    if (in.count == 0) break;
    const RowUnpackerStep step =
        RowUnpacker_Unpack(in.bytes, in.count, dst + done, count - done, &reader->decoderState);
    reader->file.skip(step.used);
    done += static_cast<uint32_t>(step.written);
  }
  return done;
}
