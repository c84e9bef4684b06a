// ZKTiff - opens TIFF files and delivers their rows. Baseline strips, uncompressed or PackBits,
// strictly sequential. ZKTiff.cpp reads the structure, ZKTiffRows.cpp decodes blocks of rows.
// No module state: everything stands in the image reader record.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "CLibrary.h"
#include "FileBytes.h"
#include "ZKGWorldLib.h"

/// One entry of a directory.
struct TiffEntry {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  std::array<uint8_t, 4> raw;  // the value field as it stands in the file
};

/// The state of one open image file.
struct ImageReader {
  uint32_t kind = 0;  // set by the front-end
  FileBytes file;     // closed for a file that was refused
  CText fileName;
  uint64_t fileBytes = 0;  // 0 for a pipe
  uint32_t width = 0;      // pixels
  uint32_t height = 0;     // rows
  uint8_t bitsPerPixel = 1;
  std::array<uint8_t, 4> sampleBits = {1, 1, 1, 1};
  uint32_t currentRow = 0;
  uint32_t bytesPerRow = 0;
  std::array<uint32_t, 4> sampleRowBytes = {};  // of each of the four samples alone
  uint32_t compression = 0;
  uint32_t rowsPerStrip = 0xFFFFFFFF;
  uint32_t stripCount = 0;
  CBytes stripOffsets;            // as stored in the file's type; read through stripOffset()
  uint64_t stripOffsetBytes = 0;  // bytes of the array that the file really holds
  std::optional<TiffEntry> pendingOffsets;  // an array that is still to be read, while opening
  uint32_t currentStrip = 0;
  uint32_t rowsLeftInStrip = 0xFFFFFFFF;
  CBytes row;        // bytesPerRow bytes: the row just read, unless it lies in the file's block
  CBytes rowBefore;  // as many bytes, for PackBits only: the row before it
  const uint8_t* rowInBlock = nullptr;  // the row just read, in the block; null: in `row`
  bool isBeyondFile = false;  // it claims rows that such a file cannot hold: none are delivered
  char byteOrder = 'I';
  int32_t ioStatus = 0;  // 0 after a successful read, -1 after a failed one
  int32_t firstStripOffset = 0;
  int16_t decoderState = 0;  // PackBits: below 0 literals to come, above 0 copies to come
  uint16_t photometric = 0;
  uint32_t planarConfiguration = 0;
};

/// Values of the compression tag that are read.
constexpr uint32_t kCompressionNone = 1;
constexpr uint32_t kCompressionPackBits = 32773;

/// Photometric interpretations whose samples grow with the ink.
constexpr uint16_t kWhiteIsZero = 0;
constexpr uint16_t kSeparated = 5;

/// Opens a TIFF file.
/// @return the record, owned by the caller until ZKTiff_Delete(). Null, after a line on the error
///         stream, when the file cannot be opened. A file that is no TIFF file, or whose rows
///         exceed 2^31-1 bytes, gives a record with the file closed, width and height 0.
ImageReader* ZKTiff_New(const char* path);
/// Closes the file and frees the record; null is ignored.
void ZKTiff_Delete(ImageReader* reader);
/// Sets the box to 0, 0, height, width; a null reader is ignored.
void ZKTiff_GetImageBox(const ImageReader* reader, ZKRect* box);
/// Goes back to the first row. Kept on purpose: the rows left in the strip are not reset.
void ZKTiff_Rewind(ImageReader* reader);

/// Read 4, 2 or 1 bytes in the file's byte order. A short read gives 0 and sets ioStatus to -1.
uint32_t readLong(ImageReader* reader);
uint16_t readWord(ImageReader* reader);
uint8_t readByte(ImageReader* reader);

/// The value field as a number in the file's byte order.
uint32_t correctPointerEndian(const ImageReader* reader, const std::array<uint8_t, 4>& raw);
/// The first value of an entry: from the value field when all values fit into it, else from the
/// offset that it holds. Types other than the 8, 16 and 32 bit integers give 0.
int32_t readOneInteger(ImageReader* reader, const TiffEntry& entry);
/// The offset of a strip: 32 bits in the host's byte order at 4 * strip of the array as stored,
/// so only offsets of type LONG are right beyond the first strip (kept on purpose). Bytes past the
/// array's end are 0.
uint32_t stripOffset(const ImageReader* reader, uint32_t strip);

/// Deliver the next rows into a pixel buffer, converted to its depth, from the buffer's top.
///
/// @param table  256 levels by sample; null: chosen by the buffer's depth; rawSamplesMarker(): no
///               table, no inversion, and the buffer is cleared to 0xFF instead of 0x00
/// @return rows delivered; 0 at the end of the image, for a null or closed reader, a null buffer
///         or depths that do not go together, and, after a line on the error stream, for an image
///         that is larger than its file can be meant to hold: isClaimBeyondFile()
/// @throws -41 for a compression other than 1 and 32773
int ZKTiff_ReadNextRasterBlock(ImageReader* reader, ZKGWorld* world, const uint8_t* table);
/// The same for one channel (0 C, 1 M, 2 Y, 3 K) of an interleaved four-channel file.
/// @throws const char* "Internal Exception" for a compression other than 1 and 32773
int ZKTiff_ReadNextRasterBlockCMYK(ImageReader* reader, ZKGWorld* world, const uint8_t* table,
                                   int channel);
/// One of the readers that a four-channel file was opened with, and what it delivers.
struct CmykChannel {
  ImageReader* reader;
  ZKGWorld* world;
  const uint8_t* table;
  int channel;
};
using CmykChannels = std::array<CmykChannel, 4>;

/// ZKTiff_ReadNextRasterBlockCMYK() for four readers of one file, one after the other. Rows that
/// all of them would read alike are read once, by the first; so a file is read together or one by
/// one, but not both in turn.
/// @return the most rows that one of them delivered
int ZKTiff_ReadNextRasterBlocksCMYK(const CmykChannels& channels);
/// The same for the three channels of an interleaved RGB file, without table and inversion.
/// @param deep  not 0: samples of 10 and 12 bits take two bytes each, the free bits set
/// @throws -42 for a compression other than 1 and 32773
int ZKTiff_ReadNextRasterBlockRGB(ImageReader* reader, ZKGWorld* red, ZKGWorld* green,
                                  ZKGWorld* blue, int deep);

/// Decodes PackBits data from the file until `count` bytes are filled or the file ends. A literal
/// run that does not fit goes on in the next call; copies that do not fit are dropped.
/// @return the bytes filled; those behind them may change too
uint32_t unpackbits(ImageReader* reader, uint8_t* dst, uint32_t count);
