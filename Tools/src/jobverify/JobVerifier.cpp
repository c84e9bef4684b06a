#include "JobVerifier.h"

#include "FileComparison.h"
#include "Findings.h"
#include "JobComparison.h"
#include "JobReader.h"
#include "PacketReader.h"
#include "ReadError.h"

namespace jobverify {

namespace {

void reportDamage(const jobreader::ReadError& error, Findings& findings) {
  const std::string place = "offset " + std::to_string(error.offset());
  findings.addDifference(place + ": " + error.what());
  findings.addNotCompared("what follows " + place);
}

// The data in the packets are those of a file, whatever they mean.
void verifyData(const JobRequest& request, jobreader::JobFile& file, JobComparison& job,
                Findings& findings) {
  FileComparison data(request.sendDataFile);
  if (!data.isOpen()) findings.addNotCompared(request.sendDataFile + " cannot be opened");
  jobreader::PacketReader packets(file, job, &request.templates);
  packets.readOpening();
  for (auto window = packets.window(); !window.empty(); window = packets.window()) {
    job.progress(packets.offset());
    if (data.isOpen() && !data.take(window)) break;
    packets.advance(window.size());
  }
  packets.skipData();
  findings.verdict().dataBytes = data.equalBytes();
  if (data.isOpen() && !data.isWhole())
    findings.addDifference(request.sendDataFile + ": " + data.difference());
  packets.readEnd();
}

void verifyPages(const JobRequest& request, jobreader::JobFile& file, JobComparison& job) {
  const jobreader::KnownJob known = knownJob(request);
  jobreader::readJob(file, job, &known);
  job.finish();
}

}  // namespace

Verdict verifyJob(const JobRequest& request, const std::string& jobFile,
                  const std::function<void(uint64_t offset)>& progress) {
  Verdict verdict;
  Findings findings(verdict);
  jobreader::JobFile file(jobFile);
  JobComparison job(request, findings, progress);
  try {
    if (request.sendDataFile.empty()) {
      verifyPages(request, file, job);
    } else {
      verifyData(request, file, job, findings);
    }
  } catch (const jobreader::ReadError& error) {
    reportDamage(error, findings);
  }
  return verdict;
}

}  // namespace jobverify
