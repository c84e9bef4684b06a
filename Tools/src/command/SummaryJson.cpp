#include "SummaryJson.h"

#include "FormatNames.h"

namespace command {

using jobreader::JobSummary;
using jobreader::Note;
using jobreader::Packet;
using jobreader::PacketRole;
using jobreader::PageSummary;
using jobreader::PlaneSummary;
using nlohmann::ordered_json;

namespace {

// Counts up when a key changes its meaning or goes away; new keys do not count.
constexpr int kSummaryFormat = 1;

template <class Number>
ordered_json numberOrNull(bool isKnown, Number value) {
  return isKnown ? ordered_json(value) : ordered_json(nullptr);
}

ordered_json roleOf(const Packet& packet) {
  switch (packet.role) {
    case PacketRole::kOpening:
      return "opening";
    case PacketRole::kSendData:
      return "send-data";
    case PacketRole::kEnd:
      break;
  }
  return "end";
}

ordered_json packetJson(const Packet& packet) {
  ordered_json values = ordered_json::array();
  for (const jobreader::PacketValue& value : packet.values) {
    values.push_back(
        {{"name", value.name}, {"text", value.text}, {"overridden", value.overridden}});
  }
  return {{"role", roleOf(packet)},
          {"name", packet.name},
          {"offset", packet.offset},
          {"bytes", packet.size},
          {"dataSize", packet.dataSize ? ordered_json(*packet.dataSize) : ordered_json(nullptr)},
          {"continue", packet.continues ? ordered_json(*packet.continues) : ordered_json(nullptr)},
          {"dataBytes", packet.dataBytes},
          {"values", values}};
}

ordered_json planeJson(const PageSummary& page, const PlaneSummary& plane) {
  const bool hasDepth = plane.format.depth > 0;
  return {{"ink", plane.format.name},
          {"depth", numberOrNull(hasDepth, plane.format.depth)},
          {"assumed", plane.format.assumed},
          {"rows", plane.rows},
          {"rowBytes", plane.rowBytes},
          {"codedBytes", plane.codedBytes},
          {"plainBytes", numberOrNull(hasDepth, page.plainBytesOf(plane))}};
}

ordered_json moveJson(const jobreader::Command& move) {
  return {{"axis", move.is("*pX") ? "x" : "y"},
          {"kind", move.is("*bY") ? "offset" : "position"},
          {"relative", move.sign != 0},
          {"value", move.number}};
}

ordered_json pageJson(const PageSummary& page) {
  ordered_json planes = ordered_json::array();
  for (const PlaneSummary& plane : page.planes) planes.push_back(planeJson(page, plane));
  ordered_json moves = ordered_json::array();
  for (const jobreader::Command& move : page.start.moves) moves.push_back(moveJson(move));
  const int colorSpace = page.start.format.colorSpace;
  return {{"number", page.start.number},
          {"offset", page.start.offset},
          {"hasConfigureBlock", !page.start.configuration.empty()},
          {"width", page.width()},
          {"widthExact", page.isWidthExact()},
          {"height", page.height()},
          {"heightExact", page.isHeightExact()},
          {"resolutionH", page.start.resolutionH},
          {"resolutionV", page.start.resolutionV},
          {"colorSpace", numberOrNull(colorSpace >= 0, colorSpace)},
          {"colorSpaceName", colorSpaceName(colorSpace)},
          {"methods", page.methods},
          {"moves", moves},
          {"yOffset", page.yOffset},
          {"rows", page.rows},
          {"blankRows", page.blankRows},
          {"ended", page.ended},
          {"codedBytes", page.codedBytes()},
          {"plainBytes", page.plainBytes()},
          {"planes", planes}};
}

ordered_json noteJson(const Note& note) {
  return {{"offset", note.offset}, {"text", note.text}};
}

template <class List, class Convert>
ordered_json listOf(const List& list, Convert convert) {
  ordered_json items = ordered_json::array();
  for (const auto& item : list) items.push_back(convert(item));
  return items;
}

}  // namespace

ordered_json summaryJson(const std::string& path, const JobSummary& summary) {
  return {{"format", kSummaryFormat},
          {"file", path},
          {"bytes", summary.fileBytes},
          {"damage", summary.damage ? noteJson(*summary.damage) : ordered_json(nullptr)},
          {"isRaster", summary.isRaster},
          {"dataBytes", summary.dataBytes},
          {"bareDataOffset",
           summary.bareDataOffset ? ordered_json(*summary.bareDataOffset) : ordered_json(nullptr)},
          {"sendData",
           {{"packets", summary.sendDataPackets},
            {"largestChunk", summary.largestChunk},
            {"lastChunk", summary.lastChunk}}},
          {"packets", listOf(summary.packets, packetJson)},
          {"tables", summary.tableBytes},
          {"commandCount", summary.commands},
          {"pages", listOf(summary.pages, pageJson)},
          {"noteCount", summary.noteCount},
          {"notes", listOf(summary.notes, noteJson)},
          {"differenceCount", summary.differenceCount},
          {"differences", listOf(summary.differences, noteJson)}};
}

std::string commandJson(const jobreader::Command& command) {
  return dumped(
      {{"offset", command.offset}, {"text", command.text}, {"dataBytes", command.dataBytes}}, -1);
}

std::string dumped(const ordered_json& json, int indent) {
  return json.dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace command
