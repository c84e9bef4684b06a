#include "SummaryText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "FormatNames.h"
#include "Report.h"

namespace command {

using jobreader::JobSummary;
using jobreader::Note;
using jobreader::Packet;
using jobreader::PacketRole;
using jobreader::PacketValue;
using jobreader::PageSummary;
using jobreader::PlaneSummary;

namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr size_t kValueColumns = 60;

// Columns are filled up with blanks; longer texts push the rest to the right.
std::string left(const std::string& text, size_t columns) {
  return text + std::string(columns - std::min(columns, text.size()), ' ');
}
std::string right(const std::string& text, size_t columns) {
  return std::string(columns - std::min(columns, text.size()), ' ') + text;
}

constexpr size_t kOffsetColumns = 14;
constexpr size_t kIndentColumns = 10;

std::string offsetColumn(uint64_t offset) {
  return right(grouped(offset), kOffsetColumns) + "  ";
}
std::string indent() {
  return std::string(kIndentColumns, ' ');
}

std::string oneDecimal(double number) {
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 1);
  return {text.data(), end.ptr};
}

std::string millimetres(uint64_t pixels, int64_t dotsPerInch) {
  if (dotsPerInch <= 0) return "?";
  return oneDecimal(static_cast<double>(pixels) * kMillimetresPerInch /
                    static_cast<double>(dotsPerInch));
}

// Overridden values first, marked: they are what makes this job different from its templates.
std::string valuesOf(const Packet& packet) {
  std::vector<const PacketValue*> values;
  for (const PacketValue& value : packet.values) values.push_back(&value);
  std::stable_partition(values.begin(), values.end(),
                        [](const PacketValue* value) { return value->overridden; });
  std::string text;
  for (const PacketValue* value : values) {
    const std::string item =
        (value->overridden ? "*" : "") + printable(value->name) + "=" + printable(value->text);
    if (!text.empty() && text.size() + item.size() > kValueColumns) return text + " ...";
    text += (text.empty() ? "" : "  ") + item;
  }
  return text;
}

std::string packetLine(const std::string& offset, const std::string& name, const std::string& bytes,
                       const std::string& values) {
  return right(offset, kOffsetColumns) + "  " + left(name, 20) + right(bytes, 11) + "  " + values +
         "\n";
}

std::string packetLine(const Packet& packet) {
  return packetLine(grouped(packet.offset), printable(packet.name), grouped(packet.size),
                    valuesOf(packet));
}

std::string dataLine(const JobSummary& summary) {
  const std::string margin(kOffsetColumns + 2, ' ');
  if (summary.bareDataOffset) return offsetColumn(*summary.bareDataOffset) + "data in no packet\n";
  if (summary.sendDataPackets == 0) return margin + "no data\n";
  std::string text = margin + counted(summary.sendDataPackets, "packet") + " of data, " +
                     counted(summary.dataBytes, "byte") + " in all";
  if (summary.sendDataPackets > 1) {
    text += ": " + grouped(summary.largestChunk) + " each, the last " + grouped(summary.lastChunk);
  }
  return text + "\n";
}

std::string packetsText(const JobSummary& summary) {
  std::string text =
      "\n" + packetLine("offset", "packet", "bytes", "values (* set by the configuration)");
  bool hasDataLine = false;
  for (const Packet& packet : summary.packets) {
    if (packet.role == PacketRole::kEnd && !hasDataLine) {
      text += dataLine(summary);
      hasDataLine = true;
    }
    text += packetLine(packet);
    if (packet.role == PacketRole::kSendData) {
      text += dataLine(summary);
      hasDataLine = true;
    }
  }
  if (!hasDataLine && summary.bareDataOffset) text += dataLine(summary);
  return text;
}

std::string sizeText(const PageSummary& page) {
  const char* atLeast = page.isWidthExact() && page.isHeightExact() ? "" : "at least ";
  const uint64_t width = page.width();
  const uint64_t height = page.height();
  return atLeast + grouped(width) + " x " + grouped(height) + " pixels, " +
         millimetres(width, page.start.resolutionH) + " x " +
         millimetres(height, page.start.resolutionV) + " mm";
}

std::string resolutionText(const PageSummary& page) {
  std::string text = std::to_string(page.start.resolutionH);
  if (page.start.resolutionV != page.start.resolutionH)
    text += " x " + std::to_string(page.start.resolutionV);
  return text + " dpi";
}

std::string positionText(const PageSummary& page) {
  std::string text;
  for (const jobreader::Command& move : page.start.moves) {
    const char axis = move.is("*pX") ? 'x' : 'y';
    text += (text.empty() ? "position " : ", ") + std::string(1, axis) + " ";
    if (move.is("*bY")) text += "offset ";
    if (move.sign == '+') text += "+";
    text += std::to_string(move.number);
  }
  if (page.yOffset != 0)
    text += (text.empty() ? "" : ", ") + ("y offset " + std::to_string(page.yOffset));
  return text;
}

std::string ratio(uint64_t plain, uint64_t coded) {
  if (coded == 0) return "-";
  return oneDecimal(static_cast<double>(plain) / static_cast<double>(coded)) + " : 1";
}

using PlaneColumns = std::array<std::string, 6>;  // ink, depth, rows, blank, bytes, ratio

std::string planeLine(const PlaneColumns& columns) {
  return indent() + left(columns[0], 12) + left(columns[1], 8) + right(columns[2], 11) +
         right(columns[3], 11) + right(columns[4], 15) + right(columns[5], 13) + "\n";
}

std::string planeLine(const PageSummary& page, const PlaneSummary& plane) {
  const bool hasDepth = plane.format.depth > 0;
  return planeLine(
      {plane.format.name + (plane.format.assumed ? " ?" : ""),
       hasDepth ? std::to_string(plane.format.depth) + " bit" : "?", grouped(plane.rows),
       grouped(page.height() - std::min(page.height(), plane.rows)), grouped(plane.codedBytes),
       hasDepth ? ratio(page.plainBytesOf(plane), plane.codedBytes) : "?"});
}

std::string allPlanesLine(const PageSummary& page) {
  return planeLine({"all", "", grouped(page.height() - page.blankInAllRows()),
                    grouped(page.blankInAllRows()), grouped(page.codedBytes()),
                    ratio(page.plainBytes(), page.codedBytes())});
}

std::string pageText(const PageSummary& page) {
  const std::string number = std::to_string(page.start.number);
  std::string text = "\n" + left("page " + number, kIndentColumns) + sizeText(page) + "\n";
  text += indent() + resolutionText(page) + ", " + colorSpaceName(page.start.format.colorSpace) +
          ", " + methodNames(page.methods) + "\n";
  const std::string position = positionText(page);
  if (!position.empty()) text += indent() + position + "\n";
  text += planeLine({"ink", "depth", "rows", "blank", "bytes", "ratio"});
  for (const PlaneSummary& plane : page.planes) text += planeLine(page, plane);
  if (page.planes.size() > 1) text += allPlanesLine(page);
  return text;
}

std::string notesText(const char* title, const std::vector<Note>& notes, uint64_t all) {
  if (all == 0) return "";
  constexpr size_t kMostLines = 10;
  std::string text = "\n" + std::string(title) + "\n";
  for (size_t i = 0; i < notes.size() && i < kMostLines; ++i)
    text += offsetColumn(notes[i].offset) + printable(notes[i].text) + "\n";
  if (all > kMostLines) text += "and " + grouped(all - kMostLines) + " more\n";
  return text;
}

std::string headText(const std::string& path, const JobSummary& summary) {
  std::string text = path + ": " + counted(summary.fileBytes, "byte");
  if (summary.isRaster) {
    text += ", " + counted(summary.pages.size(), "page");
  } else if (summary.dataBytes > 0 || summary.bareDataOffset) {
    text += ", the data are not a raster stream";
  }
  return text + "\n";
}

std::string tablesText(const JobSummary& summary) {
  std::string text;
  for (size_t i = 0; i < summary.tableBytes.size(); ++i) {
    text +=
        "table " + std::to_string(i + 1) + "   " + counted(summary.tableBytes[i], "byte") + "\n";
  }
  return text.empty() ? text : "\n" + text;
}

}  // namespace

std::string summaryText(const std::string& path, const JobSummary& summary) {
  constexpr size_t kMostPages = 50;
  std::string text = headText(path, summary) + packetsText(summary) + tablesText(summary);
  for (size_t i = 0; i < summary.pages.size() && i < kMostPages; ++i)
    text += pageText(summary.pages[i]);
  if (summary.pages.size() > kMostPages) {
    text +=
        "\nand " + grouped(summary.pages.size() - kMostPages) + " more pages (--json has all)\n";
  }
  text += notesText("notes", summary.notes, summary.noteCount);
  text += notesText("differences from the templates", summary.differences, summary.differenceCount);
  if (summary.damage) {
    text += "\nDAMAGED at offset " + std::to_string(summary.damage->offset) + ": " +
            printable(summary.damage->text) + "\n";
  } else if (summary.differenceCount == 0) {
    const bool hasData = summary.dataBytes > 0 || summary.bareDataOffset;
    const bool isAllRead = summary.isRaster || !hasData;
    text += isAllRead ? "\nno damage found\n" : "\nno damage found in the packets\n";
  }
  return text;
}

std::string commandLine(const jobreader::Command& command) {
  std::string text = offsetColumn(command.offset) + "ESC" + command.text;
  if (command.dataBytes > 0) text += "  + " + counted(command.dataBytes, "byte");
  return text + "\n";
}

}  // namespace command
