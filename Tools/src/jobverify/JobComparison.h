// JobComparison - follows a job file as it is read, and holds everything in it against what the
// configuration asks for: packets, table files, the commands of each page. The rows are
// PageComparison's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "FileComparison.h"
#include "Findings.h"
#include "JobReader.h"
#include "JobRequest.h"
#include "PageComparison.h"

namespace jobverify {

class JobComparison : public jobreader::JobSink {
 public:
  using Progress = std::function<void(uint64_t offset)>;

  /// @param request  borrowed, as is `findings`
  JobComparison(const JobRequest& request, Findings& findings, Progress progress = {});

  void packet(const jobreader::Packet& packet) override;
  void packetNote(uint64_t offset, const std::string& text) override;
  void packetDifference(uint64_t offset, const std::string& text) override;
  void command(const jobreader::Command& command) override;
  void note(uint64_t offset, const std::string& text) override;
  void beginTable(size_t number, const jobreader::Command& command) override;
  void tableData(std::span<const uint8_t> bytes) override;
  void beginPage(const jobreader::PageStart& start) override;
  void pageOffset(const jobreader::Command& command) override;
  void blankRows(uint64_t first, uint64_t count, const jobreader::Command& command) override;
  void row(uint64_t index, std::span<const jobreader::PlaneRow> planes) override;
  void endPage(const jobreader::PageEnd& end) override;
  void foreignData(uint64_t offset) override;
  void progress(uint64_t offset) override;

  /// The whole file was read: what did not come is missing.
  void finish();

 private:
  void chooseTables();
  void endTables();
  void endTable();
  void checkStart(const jobreader::PageStart& start);
  void checkBlock(const jobreader::PageStart& start);
  void checkCommands(const std::string& what, const std::vector<std::string>& found,
                     const std::vector<std::string>& expected);
  void checkOffset();
  void skipMissing();
  [[nodiscard]] std::string pageName() const;
  void differ(uint64_t offset, const std::string& text);

  const JobRequest& request_;
  Findings& findings_;
  Progress progress_;
  std::vector<std::string> tables_;      // files that are sent
  size_t tableNumber_ = 0;               // tables that came
  std::optional<FileComparison> table_;  // the one that is coming
  size_t nextPage_ = 0;                  // in request_.pages
  const PageRequest* page_ = nullptr;    // the one that is coming; null between pages
  std::optional<PageComparison> rows_;   // its rows
  std::vector<std::string> resolution_;  // commands since the last page
  bool hasPageOffset_ = false;
  bool isForeign_ = false;
};

}  // namespace jobverify
