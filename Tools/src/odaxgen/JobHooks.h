// JobHooks - what a program that runs jobs may see of them and decide about them. The exported
// operation runs with the defaults, which see nothing and decide as hosts have always known it.
//
// An observation, writeFailed() and readFailed() may throw an int to end the job: everything is
// released as after a failure of the job's own, and runJob() throws it on. Texts are borrowed for
// the call; what a decision returns must last until it is asked again or the job ends.
#pragma once

#include <cstdint>

struct parameter;
struct imageParameter;

class JobHooks {
 public:
  JobHooks() = default;
  virtual ~JobHooks() = default;
  JobHooks(const JobHooks&) = delete;
  JobHooks& operator=(const JobHooks&) = delete;

  // Decisions.

  /// Completes the path of a template or of the send-data file, which the configuration reader
  /// leaves as written. Default: as it is.
  virtual const char* completePath(const char* path) { return path; }
  /// The folder for the temporary file, ending with "/"; null: the platform's. Asked in one-packet
  /// mode only.
  virtual const char* temporaryFolder() { return nullptr; }
  /// Where the bytes of the output go; null: to `path` itself. Messages name `path` either way.
  /// Asked just before the output is opened.
  virtual const char* stageOutput(const char* path) {
    static_cast<void>(path);
    return nullptr;
  }
  /// Bytes of the output or of the temporary file could not be written. Default: the job goes on.
  virtual void writeFailed(const char* path, int error) {
    static_cast<void>(path);
    static_cast<void>(error);
  }
  /// Bytes of an input or of the temporary file could not be read. Default: the file ends there.
  virtual void readFailed(const char* path, int error) {
    static_cast<void>(path);
    static_cast<void>(error);
  }

  // Observations, in the order of a job.

  virtual void jobBegins(const parameter& record) { static_cast<void>(record); }
  /// The images of a page are open. @param rows  of its tallest image
  virtual void pageBegins(const imageParameter& page, uint32_t rows) {
    static_cast<void>(page);
    static_cast<void>(rows);
  }
  /// A band of the page went out. @param rows  of the band
  virtual void bandSent(int rows) { static_cast<void>(rows); }
  virtual void pageEnds() {}
  /// The page is left out. @param path  the image that cannot be opened; null: no memory
  virtual void pageSkipped(const imageParameter& page, const char* path) {
    static_cast<void>(page);
    static_cast<void>(path);
  }
  /// Bytes of the send-data file, or of the temporary file into the output.
  virtual void dataCopied(uint64_t bytes) { static_cast<void>(bytes); }
  /// The output is whole and closed; "done." follows.
  virtual void outputComplete() {}
};
