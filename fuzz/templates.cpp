// Fuzzed: the six templates of a job with override pairs, through the packet writer, with data of
// any size in front of, between and behind them: in packets of a split size and in one packet.
// Asserted: what is thrown is documented; a file that was finished is the one that the job reader
// expects of these templates, which it reads by code of its own.
//
// The input: two bytes for the way the data go, two for the split size, two for the size of the
// data, then texts divided by the byte 0x1E: the override pairs, one "key=value" to a line, and the
// templates in the order of a job.
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "Choices.h"
#include "FuzzFolder.h"
#include "JobFile.h"
#include "JobSummary.h"
#include "ODAXGen.h"
#include "ODAXOutLib.h"
#include "Require.h"
#include "Silence.h"

namespace {

constexpr uint8_t kDivider = 0x1E;
constexpr int kFirstCode = -47;  // of the packet writer: -47 to -80
constexpr int kLastCode = -80;
constexpr size_t kMostPackets = 24;

constexpr std::array<const char*, 6> kNames = {
    "StartJob", "SetJobConfiguration", "SetConfiguration", "VendorCmd", "SendData", "EndJob"};

std::string nextPart(Choices& choices) {
  std::string part;
  while (!choices.atEnd()) {
    const uint8_t byte = choices.byte();
    if (byte == kDivider) break;
    part.push_back(static_cast<char>(byte));
  }
  return part;
}

char* newBlock(const std::string& text) {
  auto* block = static_cast<char*>(std::calloc(kLineBytes, 1));
  if (block != nullptr) text.copy(block, kLineBytes - 1);
  return block;
}

struct Job {
  uint32_t split = 0;  // 0: one packet
  bool hasVendorCmd = false;
  unsigned piece = 0;  // bytes that are sent at a time
  size_t dataBytes = 0;
  std::vector<std::pair<std::string, std::string>> overrides;
  std::array<std::string, kNames.size()> templates;  // paths
};

// The pairs that a configuration could hold: no empty keys, and texts that fit a line.
void addOverrides(const std::string& text, Job& job) {
  for (size_t at = 0; at < text.size() && job.overrides.size() < kMaxOverrides;) {
    const size_t end = std::min(text.find('\n', at), text.size());
    const std::string line = text.substr(at, end - at);
    at = end + 1;
    if (line.find('\0') != std::string::npos) continue;
    const size_t equals = line.find('=');
    if (equals == 0 || equals == std::string::npos) continue;
    if (line.size() >= kLineBytes) continue;
    job.overrides.emplace_back(line.substr(0, equals), line.substr(equals + 1));
  }
}

Job makeJob(const FuzzFolder& folder, const uint8_t* data, size_t size) {
  Choices choices(data, size);
  Job job;
  const unsigned ways = choices.byte();
  constexpr std::array<unsigned, 4> kPieces = {65536, 1, 100, 1000};
  job.piece = kPieces[choices.byte() % kPieces.size()];
  const uint32_t split = choices.word();
  job.split = (ways & 1U) == 0 ? 0 : (split == 0 ? 65536 : split);
  job.hasVendorCmd = (ways & 2U) != 0;
  job.dataBytes = choices.word();
  // So many packets bring nothing new.
  if (job.split != 0) job.dataBytes = std::min<size_t>(job.dataBytes, kMostPackets * job.split);
  if (job.piece == 1) job.dataBytes = std::min<size_t>(job.dataBytes, 1000);
  addOverrides(nextPart(choices), job);
  for (size_t i = 0; i < kNames.size(); ++i) {
    job.templates[i] = folder.write(std::string(kNames[i]) + ".xml", nextPart(choices));
  }
  return job;
}

void setOverrides(const Job& job) {
  OverrideLists lists;
  for (size_t i = 0; i < job.overrides.size(); ++i) {
    lists.keys[i] = newBlock(job.overrides[i].first);
    lists.values[i] = newBlock(job.overrides[i].second);
  }
  if (!job.overrides.empty()) ODAX_SetOverRideKeyValue(lists.keys, lists.values);
}

void sendData(const Job& job) {
  const std::vector<uint8_t> data(job.dataBytes, 'd');
  for (size_t at = 0; at < data.size(); at += job.piece) {
    ODAX_SendData(data.data() + at,
                  static_cast<int32_t>(std::min<size_t>(job.piece, data.size() - at)));
  }
  ODAX_Flush();
}

void sendOpening() {
  ODAX_SendJobSJ();
  ODAX_SendJobSJC();
  ODAX_SendJobSC();
  ODAX_SendJobVC();
}

void run(const Job& job, const FuzzFolder& folder) {
  ODAX_SetSplitDataSize(job.split);
  ODAX_NewWithName(folder.path("job.odx").c_str());
  constexpr std::array<void (*)(const char*), kNames.size()> kSetters = {
      ODAX_SJ_XMLFilePath, ODAX_SJC_XMLFilePath, ODAX_SC_XMLFilePath,
      ODAX_VC_XMLFilePath, ODAX_SD_XMLFilePath,  ODAX_EJ_XMLFilePath};
  for (size_t i = 0; i < kSetters.size(); ++i) kSetters[i](job.templates[i].c_str());
  ODAX_SetIsExistVC(job.hasVendorCmd ? 1 : 0);
  setOverrides(job);
  if (job.split != 0) {
    require(ODAX_Open() == 0, "the output opens");
    sendOpening();
    sendData(job);
  } else {
    const std::string temporary = folder.path() + "/";
    ODAX_SetTempFolder(temporary.c_str());
    require(ODAX_OpenTemp() == 0, "the temporary file opens");
    sendData(job);
    ODAX_Close();
    require(ODAX_Open() == 0, "the output opens");
    sendOpening();
    sendDataRasterNotDivide();
  }
  ODAX_SendJobEJ();
  ODAX_Close();
}

bool succeeds(const Job& job, const FuzzFolder& folder) {
  bool isDone = false;
  try {
    run(job, folder);
    isDone = true;
  } catch (int code) {
    require(code <= kFirstCode && code >= kLastCode, "a code that is documented");
  }
  ODAX_Delete();
  ODAX_SetTempFolder(nullptr);
  return isDone;
}

jobreader::KnownJob knownJob(const Job& job) {
  jobreader::KnownJob known;
  jobreader::JobTemplates& templates = known.templates;
  templates.startJob = job.templates[0];
  templates.setJobConfiguration = job.templates[1];
  templates.setConfiguration = job.templates[2];
  templates.vendorCmd = job.templates[3];
  templates.sendData = job.templates[4];
  templates.endJob = job.templates[5];
  templates.hasVendorCmd = job.hasVendorCmd;
  templates.overrides = job.overrides;
  templates.packing = job.split != 0 ? jobreader::Packing::kSplit : jobreader::Packing::kOnePacket;
  templates.chunkBytes = job.split;
  return known;
}

void print(const std::vector<jobreader::Note>& notes) {
  for (const jobreader::Note& note : notes) {
    std::fprintf(stderr, "%llu: %s\n", static_cast<unsigned long long>(note.offset),
                 note.text.c_str());
  }
}

void requireReadable(const Job& job, const FuzzFolder& folder) {
  const jobreader::KnownJob known = knownJob(job);
  jobreader::JobFile file(folder.path("job.odx"));
  const jobreader::JobSummary summary = jobreader::summarise(file, &known);
  if (summary.damage) print({*summary.damage});
  print(summary.differences);
  require(!summary.damage, "the job reader finds the packets of the templates");
  require(summary.differenceCount == 0, "the packets are those that the job reader makes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const FuzzFolder folder;
  const jobcheck::Silence silence;
  const Job job = makeJob(folder, data, size);
  if (succeeds(job, folder)) requireReadable(job, folder);
  return 0;
}
