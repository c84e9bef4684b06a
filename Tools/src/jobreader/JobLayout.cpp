#include "JobLayout.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <limits>
#include <optional>
#include <utility>

namespace jobreader {

namespace {

// One number of each count of digits; both ends, as a packet may say a second, greater number.
std::vector<uint32_t> numbersOfEachLength() {
  constexpr uint64_t kMost = std::numeric_limits<uint32_t>::max();
  std::vector<uint32_t> numbers;
  for (uint64_t power = 1; power <= kMost; power *= 10) {
    numbers.push_back(static_cast<uint32_t>(power));
    numbers.push_back(static_cast<uint32_t>(std::min(power * 10 - 1, kMost)));
  }
  return numbers;
}

// The lengths that a packet can have, whatever number it says. Numbers of which it cannot say are
// left out.
std::vector<uint64_t> lengthsOf(const std::function<PacketText(uint32_t)>& packet) {
  std::vector<uint64_t> lengths;
  std::exception_ptr failure;
  for (const uint32_t number : numbersOfEachLength()) {
    try {
      lengths.push_back(packet(number).bytes.size());
    } catch (const TemplateError&) {
      failure = std::current_exception();
    }
  }
  if (lengths.empty()) std::rethrow_exception(failure);
  std::sort(lengths.begin(), lengths.end());
  lengths.erase(std::unique(lengths.begin(), lengths.end()), lengths.end());
  return lengths;
}

class Solver {
 public:
  Solver(PacketTemplates& templates, const JobTemplates& job, const PacketText* full,
         const JobOpening& opening, uint64_t fileBytes)
      : templates_(templates), job_(job), full_(full), opening_(opening), fileBytes_(fileBytes) {}

  std::vector<JobLayout> solve();

 private:
  void findLastLengths();
  void trySplit(uint64_t body);
  void tryLast(uint64_t chunks, uint64_t body);
  void tryCandidate(uint64_t chunks, bool hasLast, uint64_t bytes);
  void learnEnd(uint64_t length);
  [[nodiscard]] bool isPossible(uint64_t chunks, bool hasLast, uint64_t bytes) const;
  [[nodiscard]] std::optional<JobLayout> complete(uint64_t chunks, bool hasLast, uint64_t bytes);
  [[nodiscard]] uint64_t sizeOf(const JobLayout& layout) const;

  PacketTemplates& templates_;
  const JobTemplates& job_;
  const PacketText* full_;
  JobOpening opening_;
  uint64_t fileBytes_;
  std::vector<uint64_t> lastLengths_;
  std::vector<uint64_t> ends_;  // lengths of the end packet
  std::vector<JobLayout> found_;
};

std::vector<JobLayout> Solver::solve() {
  if (job_.packing != Packing::kBare) findLastLengths();
  ends_ = lengthsOf([&](uint32_t size) { return templates_.endJob(size); });
  // The list grows on the way.
  for (size_t i = 0; i < ends_.size(); ++i) {  // NOLINT(modernize-loop-convert)
    const uint64_t end = ends_[i];
    if (opening_.bytes + end > fileBytes_) continue;
    const uint64_t body = fileBytes_ - opening_.bytes - end;
    switch (job_.packing) {
      case Packing::kSplit:
        trySplit(body);
        break;
      case Packing::kOnePacket:
        tryLast(0, body);
        break;
      case Packing::kBare:
        tryCandidate(0, false, body);
        break;
    }
  }
  return std::move(found_);
}

void Solver::findLastLengths() {
  try {
    lastLengths_ = lengthsOf([&](uint32_t size) { return templates_.sendData(size, false); });
  } catch (const TemplateError&) {
    // A line may have room for "ON" and none for "OFF": such a job has full packets only.
    if (full_ == nullptr) throw;
  }
}

void Solver::trySplit(uint64_t body) {
  if (full_ == nullptr) return tryLast(0, body);
  const uint64_t chunk = full_->bytes.size() + job_.chunkBytes;
  const uint64_t most = body / chunk;
  // A last packet says "OFF", which may make it as long as a full packet with "ON" although it has
  // fewer data. It comes first, as it is the longer of two texts that the file then fits.
  for (const uint64_t fewer : {uint64_t{0}, uint64_t{1}})
    if (most >= fewer) tryLast(most - fewer, body - (most - fewer) * chunk);
  tryCandidate(most, false, 0);
}

void Solver::tryLast(uint64_t chunks, uint64_t body) {
  for (const uint64_t length : lastLengths_)
    if (body >= length) tryCandidate(chunks, true, body - length);
}

void Solver::tryCandidate(uint64_t chunks, bool hasLast, uint64_t bytes) {
  // Lengths that numbers of other digits gave are off by some bytes, which data can take.
  constexpr int kCorrections = 4;
  for (int i = 0; i <= kCorrections && isPossible(chunks, hasLast, bytes); ++i) {
    const std::optional<JobLayout> layout = complete(chunks, hasLast, bytes);
    if (!layout) return;
    learnEnd(layout->end.bytes.size());
    const uint64_t size = sizeOf(*layout);
    if (size == fileBytes_) {
      found_.push_back(*layout);
      return;
    }
    // Wraps when that would be less than no data; the next round then refuses it.
    bytes += fileBytes_ - size;
  }
}

// The end packet can say the job's size more than once, each time with what it counted until then.
// One number may have a digit more than before and another one not yet: such lengths show only when
// a layout that is nearly right is tried.
void Solver::learnEnd(uint64_t length) {
  constexpr size_t kMost = 256;
  if (ends_.size() >= kMost || std::find(ends_.begin(), ends_.end(), length) != ends_.end()) return;
  ends_.push_back(length);
}

bool Solver::isPossible(uint64_t chunks, bool hasLast, uint64_t bytes) const {
  const bool isKnown = std::any_of(found_.begin(), found_.end(), [&](const JobLayout& known) {
    return known.fullChunks == chunks && known.hasLastPacket == hasLast && known.lastBytes == bytes;
  });
  if (isKnown || bytes > fileBytes_) return false;
  if (job_.packing != Packing::kSplit) return true;
  return hasLast ? bytes > 0 && bytes < job_.chunkBytes : bytes == 0;
}

std::optional<JobLayout> Solver::complete(uint64_t chunks, bool hasLast, uint64_t bytes) {
  JobLayout layout{chunks, hasLast, bytes, {}, {}};
  // The counters of the writer have 32 bits.
  uint32_t counted = opening_.counted;
  if (chunks > 0)
    counted += static_cast<uint32_t>(chunks * (uint64_t{full_->counted} + job_.chunkBytes));
  try {
    if (hasLast) {
      layout.last = templates_.sendData(static_cast<uint32_t>(bytes), false);
      counted += layout.last.counted + static_cast<uint32_t>(bytes);
    }
    layout.end = templates_.endJob(counted);
  } catch (const TemplateError&) {
    return std::nullopt;
  }
  return layout;
}

uint64_t Solver::sizeOf(const JobLayout& layout) const {
  const uint64_t chunk = full_ == nullptr ? 0 : full_->bytes.size() + job_.chunkBytes;
  return opening_.bytes + layout.fullChunks * chunk + layout.last.bytes.size() + layout.lastBytes +
         layout.end.bytes.size();
}

}  // namespace

std::vector<JobLayout> possibleLayouts(PacketTemplates& templates, const JobTemplates& job,
                                       const PacketText* full, const JobOpening& opening,
                                       uint64_t fileBytes) {
  return Solver(templates, job, full, opening, fileBytes).solve();
}

}  // namespace jobreader
