#include "KernelTable.h"

#include <algorithm>

#include "PlainBlankRows.h"
#include "PlainChannelRows.h"
#include "PlainDeltaRow.h"
#include "PlainHxrc.h"
#include "PlainRowPacker.h"
#include "PlainRowUnpacker.h"
#include "PlainSampleRows.h"
#include "ReductionTables.h"

namespace bench {

namespace {

constexpr size_t kSamples = kRowSamples;
constexpr size_t kRow = 4, kRowAbove = 3;  // two in which the edges of letters differ
constexpr auto kWidth = static_cast<uint32_t>(kRowSamples);

// What rows are made of -------------------------------------------------------------------------

KernelInput samples(RowKind kind) {
  return {makeSamples(kind, kRow), makeSamples(kind, kRowAbove)};
}
KernelInput bits(RowKind kind) {
  return {makeBits(kind, kRow), makeBits(kind, kRowAbove)};
}
KernelInput deepSamples(RowKind kind) {
  return {makePixels(kind, kRow, 1, 2), {}};
}
KernelInput pixels(RowKind kind) {
  return {makePixels(kind, kRow, 3, 1), {}};
}
KernelInput deepPixels(RowKind kind) {
  return {makePixels(kind, kRow, 3, 2), {}};
}
KernelInput inkPixels(RowKind kind) {
  return {makePixels(kind, kRow, 4, 1), {}};
}

SampleRule makeRule(bool invert, const uint8_t* table) {
  return {kWidth, invert, false, !invert, false, true, table};
}

// Two bits per sample, as they are packed most often.
KernelInput levels(RowKind kind) {
  const Bytes row = makeSamples(kind, kRow);
  KernelInput in{Bytes(kSamples / 4), {}};
  twin::SampleRows_8toLevels(row.data(), kWidth, in.row.data(), kWidth / 4,
                             makeRule(false, Reduce256To4Tbl.data()), 2);
  return in;
}

KernelInput packedSamples(RowKind kind) {
  const Bytes row = makeSamples(kind, kRow);
  KernelInput in{Bytes(2 * kSamples), {}};
  const int size = twin::RowPacker_Pack(row.data(), static_cast<int>(row.size()), in.row.data(), 0);
  in.row.resize(static_cast<size_t>(size));
  return in;
}

// Kernels with what they are told ---------------------------------------------------------------

using SampleCall = void (*)(const uint8_t*, uint32_t, uint8_t*, uint32_t, const SampleRule&);
using DepthCall = void (*)(const uint8_t*, uint32_t, uint8_t*, uint32_t, const SampleRule&,
                           unsigned);

template <SampleCall kCall, size_t kOutBytes, bool kInvert>
void convert(const KernelInput& in, KernelOutput* out) {
  const auto count = static_cast<uint32_t>(in.row.size());
  kCall(in.row.data(), count, out->rows[0].data(), kOutBytes, makeRule(kInvert, nullptr));
  out->used = kOutBytes;
}

template <DepthCall kCall, unsigned kDepth, bool kInvert>
void convertTo(const KernelInput& in, KernelOutput* out) {
  const uint8_t* table = kDepth == 2 ? Reduce256To4Tbl.data() : Reduce256To16Tbl.data();
  constexpr uint32_t kOutBytes = kWidth * kDepth / 8;
  kCall(in.row.data(), kWidth, out->rows[0].data(), kOutBytes, makeRule(kInvert, table), kDepth);
  out->used = kOutBytes;
}

template <auto kCall>
void pack(const KernelInput& in, KernelOutput* out) {
  Bytes& code = out->rows[0];
  const auto capacity = static_cast<int64_t>(code.size());
  const int size = kCall(in.row.data(), static_cast<int>(in.row.size()), code.data(), capacity);
  out->used = static_cast<size_t>(size);
}

template <auto kCall>
void unpack(const KernelInput& in, KernelOutput* out) {
  int16_t state = 0;
  out->used = kCall(in.row.data(), in.row.size(), out->rows[0].data(), kSamples, &state).written;
}

// Limits as the library has them: no longer than the row. A row that is given up counts as 0.
template <auto kCall>
void encodeDelta(const KernelInput& in, KernelOutput* out) {
  const auto length = static_cast<int>(in.row.size());
  const int size = kCall(in.row.data(), in.above.data(), length, out->rows[0].data(), length);
  out->used = size < 0 ? 0 : static_cast<size_t>(size);
}

template <auto kCall, bool kKnowsAbove>
void compress(const KernelInput& in, KernelOutput* out) {
  out->used = kCall(out->rows[0].data(), kKnowsAbove ? in.above.data() : nullptr, in.row.data(),
                    static_cast<int>(in.row.size()));
}

ChannelRowsRgb channelsOf(KernelOutput* out, uint32_t room) {
  out->used = room;
  return {{{out->rows[0].data(), room}, {out->rows[1].data(), room}, {out->rows[2].data(), room}}};
}

template <auto kCall>
void split8(const KernelInput& in, KernelOutput* out) {
  kCall(in.row.data(), kWidth, channelsOf(out, kWidth));
}

template <auto kCall, unsigned kDepth, uint32_t kRoom>
void split16(const KernelInput& in, KernelOutput* out) {
  kCall(in.row.data(), kWidth, true, kDepth, channelsOf(out, kRoom));
}

template <auto kCall>
void extract(const KernelInput& in, KernelOutput* out) {
  kCall(in.row.data(), in.row.size(), 2, 1, kSamples, out->rows[0].data());
  out->used = kSamples;
}

template <auto kCall>
void splitHalves(const KernelInput& in, KernelOutput* out) {
  kCall(in.row.data(), kSamples, out->rows[0].data(), out->rows[1].data());
  out->used = kSamples;
}

template <auto kCall>
void findEnd(const KernelInput& in, KernelOutput* out) {
  out->used = static_cast<size_t>(kCall(in.row.data(), static_cast<int>(in.row.size()), 0x00));
}

template <auto kCall>
void compareAll(const KernelInput& in, KernelOutput* out) {
  out->used = kCall(in.row.data(), in.row.size(), 0x00) ? 1 : 0;
}

constexpr uint32_t kBitBytes = kWidth / 8;

constexpr Kernel kKernels[] = {
    {"unpack", packedSamples, unpack<RowUnpacker_Unpack>, unpack<twin::RowUnpacker_Unpack>,
     kSamples, true},
    {"8to2", samples, convertTo<SampleRows_8toLevels, 2, false>,
     convertTo<twin::SampleRows_8toLevels, 2, false>, kSamples, true},
    {"8to2-inverted", samples, convertTo<SampleRows_8toLevels, 2, true>,
     convertTo<twin::SampleRows_8toLevels, 2, true>, kSamples, true},
    {"8to4", samples, convertTo<SampleRows_8toLevels, 4, false>,
     convertTo<twin::SampleRows_8toLevels, 4, false>, kSamples, true},
    {"8to1", samples, convert<SampleRows_8to1, kBitBytes, false>,
     convert<twin::SampleRows_8to1, kBitBytes, false>, kSamples, true},
    {"copy8-inverted", samples, convert<SampleRows_Copy8, kWidth, true>,
     convert<twin::SampleRows_Copy8, kWidth, true>, kSamples, false},
    {"copy1-inverted", bits, convert<SampleRows_Copy1, kBitBytes, true>,
     convert<twin::SampleRows_Copy1, kBitBytes, true>, kBitBytes, false},
    {"16to10", deepSamples, convertTo<SampleRows_16toPacked, 10, false>,
     convertTo<twin::SampleRows_16toPacked, 10, false>, 2 * kSamples, false},
    {"16to12", deepSamples, convertTo<SampleRows_16toPacked, 12, true>,
     convertTo<twin::SampleRows_16toPacked, 12, true>, 2 * kSamples, false},
    {"split-rgb", pixels, split8<ChannelRows_Split8>, split8<twin::ChannelRows_Split8>,
     3 * kSamples, false},
    {"split-rgb-deep", deepPixels, split16<ChannelRows_Split16Wide, 10, 2 * kWidth>,
     split16<twin::ChannelRows_Split16Wide, 10, 2 * kWidth>, 6 * kSamples, false},
    {"split-rgb-packed", deepPixels, split16<ChannelRows_Split16Packed, 10, kWidth * 10 / 8>,
     split16<twin::ChannelRows_Split16Packed, 10, kWidth * 10 / 8>, 6 * kSamples, false},
    {"extract-ink", inkPixels, extract<ChannelRows_Extract>, extract<twin::ChannelRows_Extract>,
     4 * kSamples, false},
    {"split-halves", deepSamples, splitHalves<ChannelRows_SplitHalves>,
     splitHalves<twin::ChannelRows_SplitHalves>, 2 * kSamples, false},
    {"find-end", samples, findEnd<BlankRows_SignificantLength>,
     findEnd<twin::BlankRows_SignificantLength>, kSamples, true},
    {"is-all", samples, compareAll<BlankRows_IsAll>, compareAll<twin::BlankRows_IsAll>, kSamples,
     true},
    {"pack-2-bits", levels, pack<RowPacker_Pack>, pack<twin::RowPacker_Pack>, kSamples / 4, true},
    {"pack-8-bits", samples, pack<RowPacker_Pack>, pack<twin::RowPacker_Pack>, kSamples, true},
    {"pack-1-bit", bits, pack<RowPacker_Pack>, pack<twin::RowPacker_Pack>, kBitBytes, true},
    {"delta-1-bit", bits, encodeDelta<DeltaRow_Encode>, encodeDelta<twin::DeltaRow_Encode>,
     kBitBytes, true},
    {"delta-8-bits", samples, encodeDelta<DeltaRow_Encode>, encodeDelta<twin::DeltaRow_Encode>,
     kSamples, true},
    {"hxrc", samples, compress<HXRC_Compress, true>, compress<twin::HXRC_Compress, true>, kSamples,
     true},
    {"hxrc-alone", samples, compress<HXRC_Compress, false>, compress<twin::HXRC_Compress, false>,
     kSamples, true},
};

}  // namespace

std::span<const Kernel> kernels() {
  return kKernels;
}

std::span<const RowKind> kindsFor(const Kernel& kernel) {
  static constexpr RowKind kAll[] = {RowKind::kWhite, RowKind::kText, RowKind::kGradient,
                                     RowKind::kPhoto, RowKind::kMixed};
  return std::span(kAll).last(kernel.looksAtBytes ? std::size(kAll) : 1);
}

std::string nameOf(const Kernel& kernel, RowKind kind) {
  return std::string(kernel.name) + "/" + std::string(kRowKindNames[static_cast<size_t>(kind)]);
}

KernelOutput makeOutput(const Kernel& kernel) {
  KernelOutput out;
  for (Bytes& row : out.rows) row.resize(2 * kernel.rowBytes);
  return out;
}

bool isSameAsPlain(const Kernel& kernel, const KernelInput& in) {
  KernelOutput fast = makeOutput(kernel);
  KernelOutput plain = makeOutput(kernel);
  kernel.fast(in, &fast);
  kernel.plain(in, &plain);
  // Behind a code, a coder may have used the room as it liked.
  const auto isSameRow = [&](size_t i) {
    const size_t count = std::min(plain.used, plain.rows[i].size());
    return std::equal(plain.rows[i].begin(), plain.rows[i].begin() + static_cast<ptrdiff_t>(count),
                      fast.rows[i].begin());
  };
  return fast.used == plain.used && isSameRow(0) && isSameRow(1) && isSameRow(2);
}

}  // namespace bench
