// PacketTemplates - makes the exact bytes of a job's packets from its template files and its
// override pairs, as the writer of the job makes them. Shares nothing with the writer: the two are
// independent readings of the same rules (docs/job-file.md, "From template to packet"), so that
// each can be held against the other.
// Owns the content of the template files, each read once, when its packet is first asked for.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KnownJob.h"
#include "ReadError.h"

namespace jobreader {

/// A template from which no packet can be made: the job that used it has no file. The text names
/// the template and the line.
class TemplateError : public FileError {
 public:
  using FileError::FileError;
};

enum class PacketKind {
  kStartJob,
  kSetJobConfiguration,
  kSetConfiguration,
  kVendorCmd,
  kSendData,
  kEndJob
};
constexpr size_t kPacketKinds = 6;

/// "StartJob", for messages.
std::string_view packetKindName(PacketKind kind);

/// One packet as the writer makes it.
struct PacketText {
  std::string bytes;
  uint32_t counted = 0;            // what it adds to the job's size; more than its bytes when
                                   // lines were cut
  std::vector<size_t> replacedAt;  // where values begin that override pairs put in, ascending
};

class PacketTemplates {
 public:
  /// A template that is larger is refused; real ones have some hundred bytes.
  static constexpr size_t kMaxTemplateBytes = size_t{16} * 1024 * 1024;

  explicit PacketTemplates(const JobTemplates& job);

  /// The packets that open the job, in order: VendorCmd only when the job has one.
  [[nodiscard]] std::vector<PacketKind> openingKinds() const;

  // All: @throws FileError when the template cannot be read, TemplateError when it makes no packet.
  /// @param kind  one of openingKinds()
  PacketText opening(PacketKind kind);
  /// @param size       bytes of data behind the packet
  /// @param continues  true: "ON"
  PacketText sendData(uint32_t size, bool continues);
  /// @param jobDataSize  what all packets and data in front of it were counted as
  PacketText endJob(uint32_t jobDataSize);

 private:
  using Overrides = std::vector<std::pair<std::string, std::string>>;
  struct Template {
    std::string path;
    std::optional<std::string> content;  // none: not read yet
  };
  Template& loaded(PacketKind kind);

  std::array<Template, kPacketKinds> templates_;
  Overrides overrides_;
  bool hasVendorCmd_;
};

}  // namespace jobreader
