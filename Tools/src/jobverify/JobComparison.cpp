#include "JobComparison.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "ExpectedStream.h"

namespace jobverify {

namespace {

std::string at(uint64_t offset) {
  return "offset " + std::to_string(offset) + ": ";
}

// "ESC*p300X ESC*p20Y", or "nothing".
std::string spelled(const std::vector<std::string>& commands) {
  std::string text;
  for (const std::string& command : commands) {
    if (!text.empty()) text += ' ';
    text += "ESC" + command;
  }
  return text.empty() ? "nothing" : text;
}

// A folder can be opened, but has no size that memory could be found for.
bool canSend(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) return false;
  return file.peek() != std::ifstream::traits_type::eof() || file.eof();
}

}  // namespace

JobComparison::JobComparison(const JobRequest& request, Findings& findings, Progress progress)
    : request_(request), findings_(findings), progress_(std::move(progress)) {
  chooseTables();
}

// A table file that cannot be read ends the sending of tables.
void JobComparison::chooseTables() {
  if (!request_.sendDataFile.empty()) return;
  for (const std::string& table : request_.tables) {
    if (table.empty()) continue;
    if (!canSend(table)) {
      findings_.addNote(table + " cannot be read: it and the table files behind it are not sent");
      return;
    }
    tables_.push_back(table);
  }
}

void JobComparison::packet(const jobreader::Packet& /*packet*/) {
  ++findings_.verdict().packets;
}

void JobComparison::packetNote(uint64_t offset, const std::string& text) {
  findings_.addNote(at(offset) + text);
}

void JobComparison::packetDifference(uint64_t offset, const std::string& text) {
  differ(offset, text);
}

void JobComparison::note(uint64_t offset, const std::string& text) {
  findings_.addNote(at(offset) + text);
}

void JobComparison::command(const jobreader::Command& command) {
  if (command.is("*tR") || command.is("$rX") || command.is("$rY"))
    resolution_.push_back(command.text);
}

void JobComparison::beginTable(size_t /*number*/, const jobreader::Command& command) {
  endTable();
  ++tableNumber_;
  if (tableNumber_ > tables_.size()) {
    differ(command.offset, "table " + std::to_string(tableNumber_) + ": the job has only " +
                               std::to_string(tables_.size()));
    return;
  }
  table_.emplace(tables_[tableNumber_ - 1]);
}

void JobComparison::tableData(std::span<const uint8_t> bytes) {
  if (table_) table_->take(bytes);
}

void JobComparison::endTable() {
  if (table_ && !table_->isWhole()) {
    findings_.addDifference("table " + std::to_string(tableNumber_) + ": " + table_->difference() +
                            " (" + tables_[tableNumber_ - 1] + ")");
  }
  table_.reset();
}

void JobComparison::endTables() {
  endTable();
  for (size_t i = tableNumber_; i < tables_.size(); ++i)
    findings_.addDifference("table " + std::to_string(i + 1) + " is missing (" + tables_[i] + ")");
  tableNumber_ = tables_.size();
}

std::string JobComparison::pageName() const {
  return "page " + std::to_string(page_->section);
}

void JobComparison::differ(uint64_t offset, const std::string& text) {
  findings_.addDifference(at(offset) + text);
}

void JobComparison::skipMissing() {
  const std::vector<PageRequest>& pages = request_.pages;
  for (; nextPage_ < pages.size() && !pages[nextPage_].missing.empty(); ++nextPage_) {
    findings_.addNotCompared("page " + std::to_string(pages[nextPage_].section) +
                             " is not in the file: " + pages[nextPage_].missing);
  }
}

void JobComparison::beginPage(const jobreader::PageStart& start) {
  endTables();
  skipMissing();
  rows_.reset();
  const std::vector<std::string> resolution = std::exchange(resolution_, {});
  if (nextPage_ == request_.pages.size()) {
    differ(start.offset, "a page more than the configuration has");
    return;
  }
  page_ = &request_.pages[nextPage_++];
  hasPageOffset_ = false;
  checkCommands("resolution", resolution, resolutionCommands(request_));
  checkStart(start);
  rows_.emplace(*page_, request_.printableWidth, findings_);
}

void JobComparison::checkStart(const jobreader::PageStart& start) {
  checkBlock(start);
  std::vector<std::string> moves;
  for (const jobreader::Command& move : start.moves) moves.push_back(move.text);
  checkCommands("moves", moves, moveCommands(*page_));
  if (start.method == startMethod(*page_)) return;
  findings_.addDifference(pageName() + ": its rows begin with method " +
                          std::to_string(start.method) + ", expected " +
                          std::to_string(startMethod(*page_)));
}

void JobComparison::checkBlock(const jobreader::PageStart& start) {
  const std::vector<uint8_t> expected = configureBlock(*page_);
  const std::vector<uint8_t>& found = start.configuration;
  if (found == expected) return;
  std::string text = pageName() + ": ";
  if (expected.empty() || found.empty()) {
    text += found.empty() ? "the configure block is missing"
                          : "a configure block, expected is the one of the first page";
  } else if (found.size() != expected.size()) {
    text += "a configure block of " + std::to_string(found.size()) + " bytes, expected " +
            std::to_string(expected.size());
  } else {
    const auto differs = std::mismatch(found.begin(), found.end(), expected.begin());
    text += "byte " + std::to_string(differs.first - found.begin()) +
            " of the configure block is " + hexByte(*differs.first) + ", expected " +
            hexByte(*differs.second);
  }
  differ(found.empty() ? start.offset : start.configurationOffset, text);
}

void JobComparison::checkCommands(const std::string& what, const std::vector<std::string>& found,
                                  const std::vector<std::string>& expected) {
  if (found == expected) return;
  findings_.addDifference(pageName() + ", " + what + ": " + spelled(found) + ", expected " +
                          spelled(expected));
}

void JobComparison::pageOffset(const jobreader::Command& command) {
  if (page_ == nullptr) return;
  hasPageOffset_ = true;
  const std::string expected = yOffsetCommand(page_->yOffset);
  std::vector<std::string> wanted;
  if (!expected.empty()) wanted.push_back(expected);
  checkCommands("offset", {command.text}, wanted);
}

void JobComparison::checkOffset() {
  const std::string expected = yOffsetCommand(page_->yOffset);
  if (!hasPageOffset_ && !expected.empty()) checkCommands("offset", {}, {expected});
}

void JobComparison::blankRows(uint64_t first, uint64_t count,
                              const jobreader::Command& /*command*/) {
  if (rows_) rows_->takeBlankRows(first, count);
}

void JobComparison::row(uint64_t index, std::span<const jobreader::PlaneRow> planes) {
  if (rows_) rows_->takeRow(index, planes);
}

void JobComparison::endPage(const jobreader::PageEnd& end) {
  if (page_ == nullptr) return;
  if (!end.ended) differ(end.offset, pageName() + ": its raster mode is not ended");
  checkOffset();
  if (rows_) rows_->finish();
  rows_.reset();
  page_ = nullptr;
}

void JobComparison::foreignData(uint64_t offset) {
  differ(offset, "the data are no raster stream");
  isForeign_ = true;
}

void JobComparison::progress(uint64_t offset) {
  if (progress_) progress_(offset);
}

void JobComparison::finish() {
  if (isForeign_) {
    findings_.addNotCompared("the pages");
    return;
  }
  endTables();
  for (skipMissing(); nextPage_ < request_.pages.size(); skipMissing()) {
    findings_.addDifference("page " + std::to_string(request_.pages[nextPage_].section) +
                            " is missing");
    ++nextPage_;
  }
}

}  // namespace jobverify
