// PageJob - how tests get hold of a raster stream: bare, from calls of the raster writer, or from a
// whole job that runs in this process in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Capture.h"
#include "Images.h"
#include "StreamDecoder.h"
#include "TempFolder.h"

/// Part of a stream: bytes, or a command in which '~' stands for ESC.
struct Piece {
  Piece(const char* command);                    // NOLINT(google-explicit-constructor)
  Piece(const std::string& command);             // NOLINT(google-explicit-constructor)
  Piece(Bytes data) : bytes(std::move(data)) {}  // NOLINT(google-explicit-constructor)
  Bytes bytes;
};
Bytes joined(std::initializer_list<Piece> pieces);
/// The same in a form that is good to compare and to print.
std::string sent(std::initializer_list<Piece> pieces);

/// Opens the packet writer so that what it is given stands bare in a file.
class BareStream {
 public:
  BareStream();
  ~BareStream();
  BareStream(const BareStream&) = delete;
  BareStream& operator=(const BareStream&) = delete;

  /// What was sent since the last call, in the form of sent().
  std::string take() { return visible(takeBytes()); }
  Bytes takeBytes();

 private:
  TempFolder folder_;
  size_t taken_ = 0;
};

/// The settings of a job that are not a page's.
struct JobSettings {
  std::string split = "0";                           // SplitDataSize; empty: not set
  std::optional<int> printableWidth = std::nullopt;  // nothing: not set
  int resolutionH = 600;
  int resolutionV = 600;
  std::vector<std::string> tables = {};  // ImageProcessingFile, as written in the configuration
};

/// The settings of an ink in an [Image] section.
struct InkSetting {
  std::string ink;   // as in the keys: "K", "PBK", "CO2"
  std::string file;  // as written in the configuration; empty: none
  int depth;
  std::string indexLevel = "";  // empty: not set
};

/// The lines of an [Image] section with its header.
std::string imageSection(const std::string& colorSpace, int planes, int compression,
                         const std::vector<InkSetting>& inks, const std::string& moreLines = "");

/// One ink of a page that has a file for each: its picture, how it is stored, what is asked of it.
struct Separation {
  std::string ink;
  int depth;
  Samples samples;
  FileForm form = {};
  std::string indexLevel = "";  // as written in the configuration
  int levels = kLevelsByDepth;  // what that comes to
};

/// The rows of a page of separations, by plane in the order in which planes are sent, at most
/// `planes` of them. Planes that are lower than the others end in rows without ink. Green has no
/// rows of its own.
std::vector<std::vector<Bytes>> sentRows(const std::vector<Separation>& inks, size_t planes);

/// One send-data packet of a job file.
struct DataPacket {
  uint32_t size = 0;  // as announced
  bool more = false;  // "ON"
  Bytes data;
};

/// What a job left behind.
struct JobRun {
  int code = 0;                      // what it threw, or 0
  std::string text;                  // a text that it threw
  std::string out;                   // standard output
  std::string err;                   // standard error
  Bytes file;                        // the job file
  std::vector<DataPacket> packets;   // its send-data packets
  std::optional<uint32_t> endOfJob;  // the size that the end-job packet announces
  std::string problem;               // why the file is no job file; empty when it is one
  Bytes raster;                      // the raster stream: the packets' data, or what stands bare
};

class PageJob : public testing::Test {
 protected:
  PageJob();

  /// Runs one job over "[Image]" sections.
  JobRun run(const JobSettings& settings, const std::string& sections);
  /// What `verify` finds wrong with the last job's file; empty when it calls it identical.
  [[nodiscard]] std::string verified() const;
  /// Runs it, verifies its file and decodes its stream; a failure of either fails the test.
  DecodedStream pages(const JobSettings& settings, const std::string& sections,
                      const std::vector<PageShape>& shapes);
  /// Writes the files of a page of separations and gives its [Image] section.
  std::string separations(const std::string& colorSpace, int planes, int compression,
                          const std::vector<Separation>& inks, const std::string& moreLines = "");
  /// Writes an image of one or more channels into the job's folder.
  void image(const std::string& name, const std::vector<Samples>& channels,
             const FileForm& form = {}) const;

  TempFolder folder;

 private:
  int files_ = 0;
};

/// Names the first row in which a plane differs from what is wanted; empty when none does.
std::string firstDifference(const std::vector<std::vector<Bytes>>& got,
                            const std::vector<std::vector<Bytes>>& want);
/// The shape of a page that has these planes.
PageShape shapeOf(const std::vector<std::vector<Bytes>>& planes, uint8_t blank,
                  bool halves = false);
