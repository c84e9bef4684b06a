#include "StreamDecoder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "MemoryStream.h"
#include "RasterReader.h"
#include "ReadError.h"

namespace {

using namespace jobreader;

PageFormat formatOf(const PageShape& shape) {
  PageFormat format;
  format.blank = shape.blank;
  format.height = shape.rows;
  for (const size_t bytes : shape.rowBytes) {
    PlaneFormat plane;
    plane.halves = shape.halves;
    plane.depth = shape.halves ? 16 : 8;
    plane.width = static_cast<uint32_t>(shape.halves ? bytes / 2 : bytes);
    format.planes.push_back(plane);
  }
  return format;
}

class Collector : public RasterSink {
 public:
  Collector(DecodedStream& stream, const std::vector<PageShape>& shapes)
      : stream_(stream), shapes_(shapes) {}

  void command(const Command& command) override {
    if (command.is("$E")) ++stream_.endsOfPage;
    if (isInRaster_ && command.is("*bM")) ++page().methodChanges;
    if (isInRaster_ && command.is("*bY")) page().offsets.push_back(command.text);
  }
  void beginTable(size_t /*number*/, const Command& /*command*/) override {
    stream_.tables.emplace_back();
  }
  void tableData(std::span<const uint8_t> bytes) override {
    stream_.tables.back().insert(stream_.tables.back().end(), bytes.begin(), bytes.end());
  }
  void beginPage(const PageStart& start) override {
    DecodedPage& page = stream_.pages.emplace_back();
    page.configuration = start.configuration;
    page.resolutionH = static_cast<int>(start.resolutionH);
    page.resolutionV = static_cast<int>(start.resolutionV);
    for (const Command& move : start.moves) page.positions.push_back(move.text);
    page.method = start.method;
    page.rows.resize(shape().rowBytes.size());
    isInRaster_ = true;
  }
  void blankRows(uint64_t /*first*/, uint64_t count, const Command& /*command*/) override {
    for (; count > 0; --count) addRow({});
  }
  void row(uint64_t /*index*/, std::span<const PlaneRow> planes) override { addRow(planes); }
  void endPage(const PageEnd& /*end*/) override {
    while (page().rows.front().size() < shape().rows) addRow({});
    isInRaster_ = false;
  }

 private:
  DecodedPage& page() { return stream_.pages.back(); }
  [[nodiscard]] const PageShape& shape() const {
    if (stream_.pages.size() > shapes_.size()) throw std::runtime_error("too many pages");
    return shapes_[stream_.pages.size() - 1];
  }
  void addRow(std::span<const PlaneRow> planes) {
    if (page().rows.front().size() == shape().rows)
      throw std::runtime_error("a row behind the page's end");
    for (size_t i = 0; i < page().rows.size(); ++i) {
      Bytes& row = page().rows[i].emplace_back(shape().rowBytes[i], shape().blank);
      if (!planes.empty()) std::copy(planes[i].bytes.begin(), planes[i].bytes.end(), row.begin());
    }
  }

  DecodedStream& stream_;
  const std::vector<PageShape>& shapes_;
  bool isInRaster_ = false;
};

}  // namespace

DecodedStream decodeStream(const Bytes& stream, const std::vector<PageShape>& shapes) {
  std::vector<PageFormat> formats;
  for (const PageShape& shape : shapes) formats.push_back(formatOf(shape));
  DecodedStream decoded;
  Collector collector(decoded, shapes);
  MemoryStream data(stream);
  try {
    if (!readRaster(data, collector, &formats)) throw std::runtime_error("no raster stream");
  } catch (const ReadError& error) {
    throw std::runtime_error("offset " + std::to_string(error.offset()) + ": " + error.what());
  }
  if (!data.atEnd()) throw std::runtime_error("bytes behind the job's end");
  if (decoded.pages.size() != shapes.size()) {
    throw std::runtime_error(std::to_string(decoded.pages.size()) + " pages instead of " +
                             std::to_string(shapes.size()));
  }
  return decoded;
}
