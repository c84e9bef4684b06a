// The job itself is the judge of the check: what ends a job is the first error that the check
// lists, and a job that gets through has none.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "HXRasterLib.h"
#include "JobRequest.h"
#include "JobVerifier.h"
#include "ODAXGen.h"
#include "ODAXOutLib.h"
#include "Problem.h"
#include "RandomJob.h"
#include "Silence.h"

using jobcheck::CheckedJob;
using jobcheck::Problem;
using jobcheck::Severity;

namespace {

// What the command decides for a job.
class CommandHooks : public JobHooks {
 public:
  explicit CommandHooks(const TempFolder& folder) : folder_(folder) {}

  const char* completePath(const char* path) override {
    path_ = path[0] == '/' ? path : folder_.path() + "/" + path;
    return path_.c_str();
  }
  const char* temporaryFolder() override {
    temporary_ = folder_.path("temporary") + "/";
    return temporary_.c_str();
  }
  void pageSkipped(const imageParameter& /*page*/, const char* /*path*/) override { ++skipped; }

  void readFailed(const char* /*path*/, int error) override { throw kFileFailed + error; }

  int skipped = 0;
  static constexpr int kFileFailed = 1;  // behind it, why

 private:
  const TempFolder& folder_;
  std::string path_;
  std::string temporary_;
};

struct Outcome {
  int code = 0;
  std::string text;
  int skipped = 0;
};

class Agreement {
 public:
  Agreement() : job_(folder_) {
    std::filesystem::create_directory(folder_.path("temporary"));
    // Jobs that have no OutFilePath write to the current folder.
    previous_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path("temporary"));
    const char* temporary = std::getenv("TMPDIR");
    if (temporary != nullptr) previousTemporary_ = temporary;
    setenv("TMPDIR", folder_.path("temporary").c_str(), 1);
  }
  ~Agreement() {
    std::error_code error;
    std::filesystem::current_path(previous_, error);
    if (previousTemporary_) {
      setenv("TMPDIR", previousTemporary_->c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }
  Agreement(const Agreement&) = delete;
  Agreement& operator=(const Agreement&) = delete;

  /// @return what disagrees; empty: nothing
  std::string judge(uint32_t seed) {
    const std::string text = job_.write(seed);
    const CheckedJob checked = jobcheck::checkJob(folder_.path("job.cfg"));
    const Outcome outcome = run();
    const std::string wrong = compare(checked, outcome);
    if (wrong.empty()) return "";
    return "seed " + std::to_string(seed) + ": " + wrong + "\n" + list(checked) + text;
  }

  size_t done = 0;
  size_t clean = 0;
  size_t failed = 0;
  std::set<int> codes;
  std::set<std::string> warnings;

 private:
  Outcome run() {
    const jobcheck::Silence silence;
    ODAX_SetSplitDataSize(0);
    HXRaster_Forget();
    CommandHooks hooks(folder_);
    Outcome outcome;
    try {
      runJob(hooks, folder_.path("job.cfg").c_str());
    } catch (int code) {
      const bool isOwn = code >= CommandHooks::kFileFailed;
      if (isOwn) outcome.text = std::strerror(code - CommandHooks::kFileFailed);
      if (!isOwn) outcome.code = code;
    } catch (const char* thrown) {
      outcome.text = thrown;
      ODAX_Delete();
    }
    outcome.skipped = hooks.skipped;
    return outcome;
  }

  // The order of two errors may hang on the size of rows that only the job makes.
  static bool isEitherOrder(const CheckedJob& checked, const Outcome& outcome) {
    const bool isImage = outcome.code == -41 || outcome.code == -42 || !outcome.text.empty();
    const bool isPacket =
        outcome.code == -59 || outcome.code == -67 || outcome.code == -71 || outcome.code == -73;
    bool hasImage = false;
    bool hasPacket = false;
    for (const Problem& problem : checked.problems) {
      if (problem.severity != Severity::kError) continue;
      if (problem.code <= -41 && problem.code >= -42) hasImage = true;
      if (problem.code == 0) hasImage = true;
      if (problem.code == -59 || (problem.code <= -67 && problem.code >= -73)) hasPacket = true;
    }
    return hasImage && hasPacket && (isImage || isPacket);
  }

  std::string compare(const CheckedJob& checked, const Outcome& outcome) {
    ++done;
    const Problem* first = nullptr;
    size_t skipped = 0;
    for (const Problem& problem : checked.problems) {
      if (problem.severity == Severity::kError && first == nullptr) first = &problem;
      if (problem.severity == Severity::kWarning) warnings.insert(problem.id);
      if (problem.id == "page-skipped") ++skipped;
    }
    const bool isDone = outcome.code == 0 && outcome.text.empty();
    codes.insert(outcome.code);
    if (isDone) {
      if (first != nullptr) return "the job gets through";
      if (skipped != static_cast<size_t>(outcome.skipped))
        return std::to_string(outcome.skipped) + " pages are skipped";
      return checked.problems.empty() ? verify() : "";
    }
    ++failed;
    std::string ending =
        "the job ends with " + (outcome.code != 0 ? std::to_string(outcome.code) : outcome.text);
    if (first == nullptr) return ending;
    const bool isFirst = first->code == outcome.code && first->id == outcome.text;
    return isFirst || isEitherOrder(checked, outcome) ? "" : ending;
  }

  // A job without problems is proven right.
  std::string verify() {
    ++clean;
    const jobcheck::Silence silence;
    const jobverify::JobRequest request = jobverify::readRequest(folder_.path("job.cfg"));
    const jobverify::Verdict verdict = jobverify::verifyJob(request, request.outputPath);
    if (verdict.isProven() && verdict.notes.empty()) return "";
    std::string text = "not proven:";
    for (const auto* list : {&verdict.differences, &verdict.notCompared, &verdict.notes})
      for (const std::string& line : *list) text += " " + line + ";";
    return text;
  }

  static std::string list(const CheckedJob& checked) {
    std::string text;
    for (const Problem& problem : checked.problems) {
      text += "  " + std::to_string(problem.line) + ": " +
              (problem.severity == Severity::kError ? "error " + std::to_string(problem.code)
                                                    : "warning " + problem.id) +
              " " + problem.text + "\n";
    }
    return text;
  }

  TempFolder folder_;
  RandomJob job_;
  std::filesystem::path previous_;
  std::optional<std::string> previousTemporary_;
};

// ODAXGEN_AGREEMENT_RUNS runs that many jobs instead of a few hundred.
TEST(AgreementTest, TheFirstErrorListedIsWhatEndsTheJob) {
  const char* wanted = std::getenv("ODAXGEN_AGREEMENT_RUNS");
  const char* begin = std::getenv("ODAXGEN_AGREEMENT_SEED");
  const uint32_t first = begin == nullptr ? 1 : static_cast<uint32_t>(std::atoll(begin));
  const uint32_t runs = wanted == nullptr ? 300 : static_cast<uint32_t>(std::atoll(wanted));
  Agreement agreement;
  int disagreements = 0;
  for (uint32_t seed = first; seed < first + runs && disagreements < 5; ++seed) {
    const std::string wrong = agreement.judge(seed);
    if (wrong.empty()) continue;
    ++disagreements;
    ADD_FAILURE() << wrong;
  }
  // Jobs of all kinds were among them.
  EXPECT_GT(agreement.failed, agreement.done / 10);
  EXPECT_GT(agreement.clean, agreement.done / 50);
  EXPECT_GT(agreement.codes.size(), 15U);
  if (wanted == nullptr) return;
  std::printf("%zu jobs, %zu failed with %zu codes, %zu without problems, %zu kinds of warnings\n",
              agreement.done, agreement.failed, agreement.codes.size(), agreement.clean,
              agreement.warnings.size());
  for (const std::string& id : agreement.warnings) std::printf("%s ", id.c_str());
  std::printf("\n");
}

TEST(AgreementTest, AnySeedAgrees) {
  Agreement agreement;
  EXPECT_TRUE(rc::check("the check agrees with the job", [&agreement] {
    const std::string wrong = agreement.judge(*rc::gen::arbitrary<uint32_t>());
    if (!wrong.empty()) RC_FAIL(wrong);
  }));
}

}  // namespace
