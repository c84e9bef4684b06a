// TemplateChecks - the packets of a job: reads each template as the packet writer does, fills it in
// and applies the overrides with the writer's own operations, and looks at what comes out.
#pragma once

#include <cstdint>
#include <memory>

#include "JobContext.h"

namespace jobcheck {

enum class PacketKind {
  kStartJob,
  kSetJobConfiguration,
  kSetConfiguration,
  kVendorCmd,
  kSendData,
  kEndJob
};

/// Owns the packet writer's overrides while it lives.
class TemplateChecks {
 public:
  explicit TemplateChecks(JobContext& job);
  ~TemplateChecks();
  TemplateChecks(const TemplateChecks&) = delete;
  TemplateChecks& operator=(const TemplateChecks&) = delete;

  /// The packets in front of the data, or behind them.
  void checkOpening();
  void checkEnd();
  /// A packet of data.
  /// @param bytes  that it announces
  void checkSendData(uint32_t bytes, bool isInOnePacket);

  /// Bytes that the packets count beside their data.
  void countData(uint64_t bytes);

  /// What the overrides came to, once all packets are checked.
  void checkOverrides();

 private:
  class Work;
  std::unique_ptr<Work> work_;
};

}  // namespace jobcheck
