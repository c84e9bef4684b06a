#include "JobReader.h"

#include "DataStream.h"
#include "PacketReader.h"
#include "RasterReader.h"

namespace jobreader {

namespace {

constexpr uint64_t kProgressBytes = uint64_t{1} << 20;

// The data, with word of how far they have been read.
class WatchedStream : public DataStream {
 public:
  WatchedStream(DataStream& data, JobSink& sink) : data_(data), sink_(sink) {}

  std::span<const uint8_t> window() override { return data_.window(); }
  void advance(size_t count) override {
    data_.advance(count);
    unsaid_ += count;
    if (unsaid_ < kProgressBytes) return;
    unsaid_ = 0;
    sink_.progress(data_.offset());
  }
  [[nodiscard]] uint64_t offset() const override { return data_.offset(); }

 private:
  DataStream& data_;
  JobSink& sink_;
  uint64_t unsaid_ = 0;
};

}  // namespace

void readJob(JobFile& file, JobSink& sink, const KnownJob* known) {
  PacketReader packets(file, sink, known == nullptr ? nullptr : &known->templates);
  packets.readOpening();
  if (!packets.window().empty()) {
    const uint64_t start = packets.offset();
    WatchedStream data(packets, sink);
    if (!readRaster(data, sink, known == nullptr ? nullptr : &known->pages)) {
      sink.foreignData(start);
      packets.skipData();
    }
  }
  packets.readEnd();
  sink.progress(file.size());
}

}  // namespace jobreader
