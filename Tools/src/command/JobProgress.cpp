#include "JobProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <set>
#include <system_error>

#include "CFGRecords.h"
#include "Report.h"

namespace command {

namespace {

constexpr int kBarCells = 10;
constexpr double kMega = 1e6;

std::string bar(double share) {
  const int filled = static_cast<int>(share * kBarCells);
  std::string cells = "[";
  for (int i = 0; i < kBarCells; ++i) cells += i < filled ? '#' : '.';
  char text[16];
  std::snprintf(text, sizeof text, "] %3.0f %%", 100.0 * share);
  return cells + text;
}

// Seconds as 0:07, 12:34 or 1:02:03.
std::string clockText(double seconds) {
  const auto whole = std::lround(seconds);
  char text[32];
  if (whole < 3600) {
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
  } else {
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
  }
  return text;
}

}  // namespace

JobProgress::JobProgress(bool isWanted)
    : isShown_(isWanted && line_.isVisible()), begin_(Clock::now()) {}

uint64_t JobProgress::sizeOf(const std::string& path) {
  const auto [known, isNew] = sizes_.try_emplace(path, 0);
  if (isNew) {
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(path, error);
    if (!error) known->second = size;
  }
  return known->second;
}

void JobProgress::jobBegins(const parameter& record, const std::string& dataFile) {
  if (!isShown_) return;
  if (!dataFile.empty()) {
    totalBytes_ = sizeOf(dataFile);
    return;
  }
  for (const imageParameter* page = record.imageParameterList; page != nullptr; page = page->next) {
    std::set<std::string> files;
    for (const ImagePath file : kImageFiles) {
      if ((page->*file)[0] != '\0') files.insert(page->*file);
    }
    uint64_t bytes = 0;
    for (const std::string& file : files) bytes += sizeOf(file);
    pageBytes_.push_back(bytes);
    totalBytes_ += bytes;
    numbers_[page] = pageBytes_.size();
  }
}

void JobProgress::pageBegins(const imageParameter& page, uint32_t rows) {
  if (!isShown_) return;
  page_ = numbers_[&page];
  rows_ = rows;
  rowsDone_ = 0;
}

void JobProgress::bandSent(int rows) {
  if (!isShown_ || page_ == 0) return;
  rowsDone_ += static_cast<uint64_t>(rows);
  if (!line_.isDue()) return;
  const double share =
      rows_ == 0 ? 0.0 : std::min(1.0, static_cast<double>(rowsDone_) / static_cast<double>(rows_));
  show(share * static_cast<double>(pageBytes_[page_ - 1]));
}

void JobProgress::pageEnds() {
  if (!isShown_ || page_ == 0) return;
  doneBytes_ += pageBytes_[page_ - 1];
}

void JobProgress::pageSkipped(const imageParameter& page) {
  if (isShown_) doneBytes_ += pageBytes_[numbers_[&page] - 1];
}

void JobProgress::dataCopied(uint64_t bytes) {
  if (!isShown_) return;
  if (page_ == 0) {
    doneBytes_ += bytes;
    if (line_.isDue()) show(0);
  } else if (line_.isDue()) {
    line_.show("writing the job file");
  }
}

void JobProgress::show(double bytesOfPage) {
  const double done = static_cast<double>(doneBytes_) + bytesOfPage;
  const double total = static_cast<double>(totalBytes_);
  const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
  // A pipe has no size: then neither share nor end are known.
  const bool hasEnd = total > 0 && done > 0 && done <= total;
  std::string text = hasEnd ? bar(done / total) + "  " : "";
  if (page_ > 0) {
    text += "page " + grouped(page_) + "/" + grouped(pageBytes_.size()) + "  row " +
            grouped(rowsDone_) + "/" + grouped(rows_) + "  ";
  }
  char speed[32];
  std::snprintf(speed, sizeof speed, "%.1f MB/s", done / kMega / seconds);
  text += speed;
  if (hasEnd) text += "  " + clockText(seconds / done * (total - done)) + " left";
  line_.show(text);
}

}  // namespace command
