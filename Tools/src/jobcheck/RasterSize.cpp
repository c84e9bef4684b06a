#include "RasterSize.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "AnnouncedInks.h"
#include "FileText.h"
#include "PagePlanes.h"

namespace jobcheck {

namespace {

constexpr uint64_t kJobStart = 15;  // ESC%-12345X ESC%0A ESCE
constexpr uint64_t kJobEnd = 12;    // ESC$E ESC%-12345X
constexpr size_t kTableSlots = 6;

uint64_t digits(int64_t number) {
  return std::to_string(number).size();
}

// ESC, two characters, a number, a letter.
uint64_t commandBytes(int64_t number) {
  return 4 + digits(number);
}

// Tables are sent up to the first one that cannot be.
uint64_t tableBytes(const Configuration& configuration) {
  uint64_t bytes = 0;
  size_t slot = 0;
  for (const TableLine& table : configuration.tables) {
    if (slot++ == kTableSlots) break;
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(table.record->path, error);
    if (error || kindOf(table.record->path) != FileKind::kRegular) break;
    bytes += commandBytes(static_cast<int64_t>(size)) + size;
  }
  return bytes;
}

uint64_t offsetBytes(int32_t rows, int32_t sign) {
  if (rows < 0 || (sign != 0 && sign != 1)) return 0;
  return commandBytes(rows) + (sign == 1 && rows > 0 ? 1 : 0);
}

uint64_t moveBytes(int32_t to, int32_t sign) {
  if (sign == 0) return to == kNotSet ? 0 : commandBytes(to);
  return to == 0 ? 0 : commandBytes(to) + (to > 0 ? 1 : 0);
}

uint64_t pageStartBytes(const parameter& record, const imageParameter& page) {
  constexpr uint64_t kRasterStart = 5;
  constexpr int32_t kBoth = 256;
  constexpr int32_t kPackBits = 2;
  uint64_t bytes = commandBytes(record.GraphicsResolutionH);
  if (page.SameAsFirstImage != 1) bytes += configureBlockBytes(page);
  if (record.GraphicsResolutionH != record.GraphicsResolutionV)
    bytes += commandBytes(record.GraphicsResolutionV);
  const int32_t method = page.CompressionMode == kBoth ? kPackBits : page.CompressionMode & 0xFF;
  return bytes + offsetBytes(page.YOffsetCBeforePosition, page.YOffsetCBeforePositionSign) +
         moveBytes(page.StartingPositionX, page.StartingPositionXSign) +
         moveBytes(page.StartingPositionY, page.StartingPositionYSign) +
         offsetBytes(page.YOffsetCAfterPosition, page.YOffsetCAfterPositionSign) + kRasterStart +
         commandBytes(method) + offsetBytes(page.YOffset, page.YOffsetSign);
}

}  // namespace

uint64_t leastRasterBytes(JobContext& job, size_t pages) {
  constexpr uint64_t kRasterEnd = 4;  // ESC*rC
  const Configuration& configuration = job.configuration;
  uint64_t bytes = kJobStart + tableBytes(configuration);
  for (size_t i = 0; i < configuration.pages.size() && i <= pages; ++i) {
    const imageParameter& page = *configuration.pages[i].record;
    if (planesOf(page, job.files).missing != nullptr) continue;
    bytes += pageStartBytes(*configuration.record, page);
    if (i < pages) bytes += kRasterEnd;
  }
  return pages < configuration.pages.size() ? bytes : bytes + kJobEnd;
}

}  // namespace jobcheck
