// The block decoders of ZKTiff: they deliver the next rows of an image into pixel buffers.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ReductionTables.h"
#include "SampleRows.h"
#include "ZKTiff.h"

namespace {

constexpr const char* kSourceName = "ZKTiffRows.cpp";

constexpr uint32_t kCompressionNone = 1;
constexpr uint32_t kCompressionPackBits = 32773;
constexpr int kErrorCompression = -41;
constexpr int kErrorRgbCompression = -42;  // a code of its own, on purpose
constexpr size_t kCmykChannels = 4;

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

// A row cut by the end of the file keeps what the row before left behind the cut.
void readRow(ImageReader* reader) {
  if (reader->compression == kCompressionPackBits) {
    unpackbits(reader, reader->row.get(), reader->bytesPerRow);
  } else {
    reader->file.read(reader->row.get(), reader->bytesPerRow);
  }
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

// Converts one row; a depth without a conversion leaves the row as it was cleared, with a message
// for every row.
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
    SampleRows_8to1(src, count, dst, dstBytes, rule);
  } else if (fileBits == 8) {
    SampleRows_8toLevels(src, count, dst, dstBytes, rule, static_cast<unsigned>(depth));
  } else if (fileBits == 16 && (depth == 10 || depth == 12)) {
    SampleRows_16toPacked(src, count, dst, dstBytes, rule, static_cast<unsigned>(depth));
  } else {
    printError("ZKTiff_ReadNextRasterBlock: unsupported bit depth.\n");
  }
}

// Copies one channel out of an interleaved four-channel row. Samples past the row's end are 0, and
// so is a row whose samples have neither 8 nor 16 bits.
void extractChannel(const ImageReader* reader, size_t channel, uint8_t* dst) {
  const size_t sampleBytes = reader->sampleBits[channel] / 8U;
  if (reader->sampleBits[channel] != 8 && reader->sampleBits[channel] != 16) return;
  const size_t samples = reader->sampleRowBytes[channel] / sampleBytes;
  const size_t pixelBytes = kCmykChannels * sampleBytes;
  for (size_t i = 0; i < samples; ++i) {
    for (size_t b = 0; b < sampleBytes; ++b) {
      const size_t at = i * pixelBytes + channel * sampleBytes + b;
      dst[i * sampleBytes + b] = at < reader->bytesPerRow ? reader->row[at] : uint8_t{0};
    }
  }
}

using Buffers = std::array<ZKGWorld*, 3>;  // red, green, blue

bool isRgbCombination(const ImageReader* reader, const Buffers& buffers) {
  const int depth = buffers[0]->depth;
  if (buffers[1]->depth != depth || buffers[2]->depth != depth) return false;
  if (depth == 8) return reader->bitsPerPixel == 24;
  return reader->bitsPerPixel == 48 && (depth == 10 || depth == 12 || depth == 16);
}

void splitRow8(const uint8_t* src, uint32_t pixels, const Buffers& buffers, uint32_t row) {
  for (size_t channel = 0; channel < buffers.size(); ++channel) {
    const auto room = static_cast<uint32_t>(buffers[channel]->rowBytes);
    const uint32_t count = std::min(pixels, room);
    uint8_t* dst = rowOf(buffers[channel], row);
    for (uint32_t i = 0; i < count; ++i) dst[i] = src[size_t{i} * 3 + channel];
  }
}

// The two bytes of a sample in a deep buffer: its top bits in the low bits, the free bits set.
uint16_t deepSample(uint16_t sample, unsigned depth) {
  const unsigned free = ~((1U << depth) - 1) & 0xFFFFU;
  return static_cast<uint16_t>(free | unsigned{sample} >> (16 - depth));
}

// One channel of a row of 16-bit pixels.
class ChannelSamples {
 public:
  ChannelSamples(const ImageReader* reader, size_t channel)
      : bytes_(reader->row.get() + channel * 2), little_(reader->byteOrder == 'I') {}

  uint16_t operator[](uint32_t pixel) const {
    const uint8_t* sample = bytes_ + size_t{pixel} * 6;
    const int high = little_ ? sample[1] : sample[0];
    const int low = little_ ? sample[0] : sample[1];
    return static_cast<uint16_t>(high << 8 | low);
  }

 private:
  const uint8_t* bytes_;
  bool little_;
};

// Two bytes for every sample.
void storeWide(const ChannelSamples& samples, uint32_t pixels, uint8_t* dst, uint32_t room,
               unsigned depth) {
  const uint32_t count = std::min(pixels, room / 2);
  for (uint32_t i = 0; i < count; ++i) {
    const uint16_t sample = deepSample(samples[i], depth);
    dst[2 * size_t{i}] = static_cast<uint8_t>(sample >> 8);
    dst[2 * size_t{i} + 1] = static_cast<uint8_t>(sample);
  }
}

// Whole groups of packed samples, the last one filled up with 0xFF bytes.
void storePacked(const ChannelSamples& samples, uint32_t pixels, uint8_t* dst, uint32_t room,
                 unsigned depth) {
  const uint32_t perGroup = depth == 10 ? 4 : 2;
  const uint32_t groupBytes = depth == 10 ? 5 : 3;
  for (uint32_t first = 0; first < pixels && room > 0; first += perGroup) {
    std::array<uint16_t, 4> group = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    for (uint32_t i = 0; i < perGroup && first + i < pixels; ++i) group[i] = samples[first + i];
    std::array<uint8_t, 5> packed{};
    SampleRows_PackGroup(group.data(), depth, packed.data());
    const uint32_t part = std::min(groupBytes, room);
    std::memcpy(dst, packed.data(), part);
    dst += part;
    room -= part;
  }
}

void splitRow16(const ImageReader* reader, uint32_t pixels, const Buffers& buffers, uint32_t row,
                bool deep) {
  const auto depth = static_cast<unsigned>(buffers[0]->depth);
  for (size_t channel = 0; channel < buffers.size(); ++channel) {
    const ChannelSamples samples(reader, channel);
    uint8_t* dst = rowOf(buffers[channel], row);
    const auto room = static_cast<uint32_t>(buffers[channel]->rowBytes);
    if (deep || depth == 16) {
      storeWide(samples, pixels, dst, room, depth);
    } else {
      storePacked(samples, pixels, dst, room, depth);
    }
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
  if (raw) {
    ZKClearGWorldRGB(world);
  } else {
    ZKClearGWorld(world);
  }
  if (!fits) return 0;
  const SampleRule rule =
      makeRule(reader, table == nullptr ? tableForDepth(world->depth) : table, raw);
  const uint32_t rows = rowsToRead(reader, world);
  for (uint32_t row = 0; row < rows; ++row) {
    if (!isSupported(reader->compression)) {
      reportCompression(reader);
      throw kErrorCompression;
    }
    readRow(reader);
    convertRow(reader->row.get(), count, reader->bitsPerPixel, world, row, rule);
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
  ZKClearGWorld(world);
  if (!fits) return 0;

  const uint32_t bits = reader->sampleBits[c];
  if (table == nullptr || table == rawSamplesMarker()) table = tableForDepth(world->depth);
  const SampleRule rule = makeRule(reader, table, false);
  const uint32_t rows = rowsToRead(reader, world);
  for (uint32_t row = 0; row < rows; ++row) {
    if (!isSupported(reader->compression)) {
      reportCompression(reader);
      // Kept on purpose: a text and not a code, so nobody on the way to the host catches it.
      throw "Internal Exception";
    }
    readRow(reader);
    const CBytes samples = newZeroedBytes(reader->sampleRowBytes[c]);
    if (samples == nullptr) {
      reportError("ZKTiff_ReadNextRasterBlockCMYK: memory error", errno, kSourceName, __LINE__);
      throw kErrorCompression;
    }
    extractChannel(reader, c, samples.get());
    convertRow(samples.get(), count, bits, world, row, rule);
    countRow(reader);
  }
  reader->currentRow += rows;
  return static_cast<int>(rows);
}

int ZKTiff_ReadNextRasterBlockRGB(ImageReader* reader, ZKGWorld* red, ZKGWorld* green,
                                  ZKGWorld* blue, int deep) {
  const Buffers buffers = {red, green, blue};
  if (red == nullptr || green == nullptr || blue == nullptr) return 0;
  const bool fits = isOpen(reader) && isRgbCombination(reader, buffers);
  if (fits && deliversNothing(reader)) return 0;
  for (ZKGWorld* world : buffers) ZKClearGWorldRGB(world);
  if (!fits) return 0;

  const bool isDeepFile = reader->bitsPerPixel == 48;
  const uint32_t pixelBytes = isDeepFile ? 6 : 3;
  const uint64_t room = uint64_t{static_cast<uint32_t>(red->rowBytes)} * pixelBytes;
  const auto bytes = static_cast<uint32_t>(std::min<uint64_t>(reader->bytesPerRow, room));
  const uint32_t pixels = bytes / pixelBytes;
  const uint32_t rows =
      std::min({rowsToRead(reader, red), rowsToRead(reader, green), rowsToRead(reader, blue)});
  for (uint32_t row = 0; row < rows; ++row) {
    if (!isSupported(reader->compression)) {
      reportCompression(reader);
      throw kErrorRgbCompression;
    }
    readRow(reader);
    if (isDeepFile) {
      splitRow16(reader, pixels, buffers, row, deep != 0);
    } else {
      splitRow8(reader->row.get(), pixels, buffers, row);
    }
    countRgbRow(reader);
  }
  reader->currentRow += rows;
  return static_cast<int>(rows);
}

void unpackbits(ImageReader* reader, uint8_t* dst, uint32_t count) {
  uint32_t done = 0;
  while (done < count) {
    const FileBytes::View in = reader->file.peek();
    if (in.count == 0) return;
    size_t used = 0;
    while (done < count && used < in.count) {
      const int state = reader->decoderState;
      if (state < 0) {  // inside a literal run
        const size_t run = std::min(
            {static_cast<size_t>(-state), in.count - used, static_cast<size_t>(count - done)});
        std::memcpy(dst + done, in.bytes + used, run);
        used += run;
        done += static_cast<uint32_t>(run);
        reader->decoderState = static_cast<int16_t>(state + static_cast<int>(run));
      } else if (state == 0) {  // a header byte; 128 means nothing
        const int header = in.bytes[used++];
        if (header < 128) reader->decoderState = static_cast<int16_t>(-(header + 1));
        if (header > 128) reader->decoderState = static_cast<int16_t>(257 - header);
      } else {  // the byte to repeat; copies that do not fit are dropped, on purpose
        const auto run = std::min(static_cast<uint32_t>(state), count - done);
        std::memset(dst + done, in.bytes[used++], run);
        done += run;
        reader->decoderState = 0;
      }
    }
    reader->file.skip(used);
  }
}
