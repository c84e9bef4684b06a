// Fuzzed: the row coders, each held against its decoder, which shares no code with it.
// Asserted: the decoder gives back the row exactly; a code is never longer than what its coder
// promises, in a block of exactly that size, so that AddressSanitizer sees every byte behind it;
// with less room DeltaRow_Encode() gives up exactly when the code does not fit.
//
// Rows come as they stand in the input, or from (count, byte) pairs, which give long runs for few
// bytes. Rows have at most 20000 bytes: beyond 40000 the length of an HXRC code is cut to 16 bits.
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "Choices.h"
#include "DeltaRow.h"
#include "Require.h"
#include "RowDecoders.h"
#include "RowPacker.h"
#include "hxrc.h"

namespace {

constexpr size_t kMostBytes = 20000;

using Row = std::vector<uint8_t>;

// A block of exactly so many bytes.
class Block {
 public:
  explicit Block(size_t size) : bytes_(new uint8_t[size]) {}
  explicit Block(const Row& row) : Block(row.size()) {
    if (!row.empty()) std::memcpy(bytes_.get(), row.data(), row.size());
  }
  [[nodiscard]] uint8_t* get() const { return bytes_.get(); }

 private:
  std::unique_ptr<uint8_t[]> bytes_;
};

Row fromPairs(std::span<const uint8_t> pairs) {
  Row row;
  for (size_t i = 0; i + 2 < pairs.size(); i += 3) {
    const size_t count = size_t{pairs[i]} << 8U | pairs[i + 1];
    row.insert(row.end(), std::min(count, kMostBytes - row.size()), pairs[i + 2]);
  }
  return row;
}

Row makeRow(std::span<const uint8_t> bytes, bool isPairs) {
  if (isPairs) return fromPairs(bytes);
  bytes = bytes.first(std::min(bytes.size(), kMostBytes));
  return {bytes.begin(), bytes.end()};
}

// The other row of a pair: of its own, or the first one with a few bytes changed, at its length.
Row makeOther(const Row& row, std::span<const uint8_t> bytes, unsigned kind) {
  Row other = kind < 2 ? makeRow(bytes, kind == 1) : row;
  other.resize(row.size());
  if (kind < 2 || row.empty()) return other;
  for (size_t i = 0; i + 2 < bytes.size(); i += 3) {
    const size_t at = (size_t{bytes[i]} << 8U | bytes[i + 1]) % row.size();
    other[at] = bytes[i + 2];
  }
  return other;
}

void packAndUnpack(const Row& row) {
  const size_t room = row.size() + (row.size() + 127) / 128;
  const Block source(row);
  const Block code(room);
  const int length = RowPacker_Pack(source.get(), static_cast<int>(row.size()), code.get(),
                                    static_cast<int64_t>(room));
  require(length >= 0 && static_cast<size_t>(length) <= room, "PackBits stays in its room");
  Row back;
  jobreader::decodePackBits({code.get(), static_cast<size_t>(length)}, back);
  require(back == row, "PackBits gives the row back");
}

int encodeDelta(const Row& row, const Row* seed, const Block& out, int limit) {
  const Block source(row);
  const Block above(seed == nullptr ? Row() : *seed);
  return DeltaRow_Encode(source.get(), seed == nullptr ? nullptr : above.get(),
                         static_cast<int>(row.size()), out.get(), limit);
}

void encodeAndApplyDelta(const Row& row, const Row* seed, size_t lessRoom) {
  const size_t room = 2 * row.size() + 8;  // a command for every other byte
  const Block code(room);
  const int length = encodeDelta(row, seed, code, static_cast<int>(room));
  require(length >= 0, "a delta row never takes two bytes for one");
  Row back = seed == nullptr ? Row(row.size()) : *seed;
  jobreader::decodeDeltaRow({code.get(), static_cast<size_t>(length)}, back);
  require(back == row, "a delta row gives the row back");

  const size_t limit = lessRoom % (room + 1);
  const Block exact(limit);
  const int again = encodeDelta(row, seed, exact, static_cast<int>(limit));
  require(again == (static_cast<size_t>(length) <= limit ? length : -1),
          "a delta row gives up exactly when it does not fit");
}

void compressAndExpand(const Row& row, const Row* above) {
  if (row.empty()) return;
  const size_t room = (13 * row.size() + 5 + 7) / 8;
  const Block source(row);
  const Block previous(above == nullptr ? Row() : *above);
  const Block code(room);
  const uint32_t length = HXRC_Compress(code.get(), above == nullptr ? nullptr : previous.get(),
                                        source.get(), static_cast<int>(row.size()));
  require(length <= room, "HXRC stays in its room");
  std::optional<std::span<const uint8_t>> known;
  if (above != nullptr) known = *above;
  Row back;
  jobreader::decodeHxrc({code.get(), length}, known, back);
  require(back == row, "HXRC gives the row back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Choices choices(data, size);
  const unsigned coder = choices.byte() % 6;
  const bool isPairs = choices.flag();
  const unsigned otherKind = choices.byte() % 3;
  const size_t lessRoom = choices.word();
  const std::span<const uint8_t> otherBytes =
      choices.bytes(coder == 2 || coder >= 4 ? choices.word() : 0);
  const Row row = makeRow(choices.rest(), isPairs);
  const Row other = makeOther(row, otherBytes, otherKind);
  switch (coder) {
    case 0:
      packAndUnpack(row);
      break;
    case 1:
      encodeAndApplyDelta(row, nullptr, lessRoom);
      break;
    case 2:
      encodeAndApplyDelta(row, &other, lessRoom);
      break;
    case 3:
      compressAndExpand(row, nullptr);
      break;
    case 4:
      compressAndExpand(row, &other);
      break;
    default:  // what a row is held against may be the row itself
      encodeAndApplyDelta(row, &row, lessRoom);
      compressAndExpand(row, &row);
      break;
  }
  return 0;
}
