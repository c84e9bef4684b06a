#include "RasterReader.h"

#include <optional>
#include <string>
#include <utility>

#include "ConfigureBlock.h"
#include "RasterCommands.h"
#include "ReadError.h"
#include "RowLanes.h"

namespace jobreader {

namespace {

constexpr size_t kMostConfigureBytes = 64;  // no block is nearly as long

class Reader {
 public:
  Reader(DataStream& data, RasterSink& sink, const std::vector<PageFormat>* formats)
      : in_(data), sink_(sink), formats_(formats) {}

  bool readJob() {
    const uint64_t start = in_.offset();
    if (!in_.skipText(kRasterStart)) return false;
    Command reset;
    reset.offset = start;
    reset.text = "%-12345X";
    reset.family = "%";
    reset.number = -12345;
    reset.sign = '-';
    reset.letter = 'X';
    tell(reset);
    expect("%A", "%0A");
    expect("E", "E");
    next();
    readTables();
    while (isPageStart()) readPage();
    if (!command_.is("$E")) refuse("the beginning of a page, or ESC$E");
    expect("%X", "%-12345X");
    in_.finish();
    return true;
  }

 private:
  [[noreturn]] void refuse(const std::string& expected) const {
    throw ReadError(command_.offset, "found ESC" + command_.text + ", expected " + expected);
  }
  void tell(const Command& command) { sink_.command(command); }
  void next() {
    command_ = in_.next();
    tell(command_);
  }
  void expect(std::string_view familyAndLetter, const std::string& text) {
    next();
    if (!command_.is(familyAndLetter)) refuse("ESC" + text);
  }

  void readTables() {
    for (size_t number = 1; command_.is("$bW"); ++number) {
      sink_.beginTable(number, command_);
      in_.passData(command_.dataBytes,
                   [this](std::span<const uint8_t> piece) { sink_.tableData(piece); });
      next();
    }
  }

  [[nodiscard]] bool isPageStart() const {
    return command_.is("$vW") || command_.is("*tR") || command_.is("$rX");
  }

  void readPage() {
    PageStart page;
    page.number = ++pages_;
    page.offset = command_.offset;
    const bool hasBlock = command_.is("$vW");
    if (hasBlock) readConfiguration(page);
    readResolution(page);
    for (; command_.is("*pX") || command_.is("*pY") || command_.is("*bY"); next())
      page.moves.push_back(command_);
    chooseFormat(page, hasBlock);
    if (!command_.is("*rA")) refuse("ESC*r1A");
    expect("*bM", "*b#M");
    page.method = static_cast<int>(command_.number);
    if (!isFormatGiven()) {
      for (PlaneFormat& plane : page.format.planes)
        plane.halves = hasHalves(page.format, plane, page.method);
    }
    RowLanes lanes(page.format, page.method);
    sink_.beginPage(page);
    readRows(page, lanes);
    endPage(page, lanes);
  }

  void readConfiguration(PageStart& page) {
    if (command_.dataBytes == 0 || command_.dataBytes > kMostConfigureBytes)
      refuse("a configure block of 4 to 28 bytes");
    const CommandData& data = in_.takeData(command_.dataBytes);
    page.configuration.assign(data.bytes().begin(), data.bytes().end());
    page.configurationOffset = data.offsetOf(0);
    page.format = readConfigureBlock(data.bytes(),
                                     [&data](size_t position) { return data.offsetOf(position); });
    if (!firstFormat_) firstFormat_ = page.format;
    next();
  }

  void readResolution(PageStart& page) {
    if (command_.is("*tR")) {
      page.resolutionH = page.resolutionV = command_.number;
    } else if (command_.is("$rX")) {
      page.resolutionH = command_.number;
      expect("$rY", "$r#Y");
      page.resolutionV = command_.number;
    } else {
      refuse("the page's resolution");
    }
    next();
  }

  [[nodiscard]] bool isFormatGiven() const {
    return formats_ != nullptr && pages_ <= formats_->size();
  }

  // A page without a configure block has the format of the job's first page.
  void chooseFormat(PageStart& page, bool hasBlock) {
    if (isFormatGiven()) {
      page.format = (*formats_)[pages_ - 1];
      return;
    }
    if (hasBlock) return;
    if (firstFormat_) {
      page.format = *firstFormat_;
      return;
    }
    sink_.note(page.offset, "page " + std::to_string(page.number) +
                                " has no configure block: its inks and depths are not known");
  }

  void readRows(const PageStart& page, RowLanes& lanes) {
    lanes.setMethod(page.method, command_.offset);
    rows_ = 0;
    next();
    if (command_.is("*bY")) readFirstOffset(page);
    for (;; next()) {
      if (command_.is("*bV") || command_.is("*bW")) {
        takeRow(lanes);
      } else if (command_.is("*bM")) {
        lanes.setMethod(static_cast<int>(command_.number), command_.offset);
      } else if (command_.is("*bY") && !lanes.isInsideRow()) {
        skipRows(command_);
        lanes.forgetRowAbove();
      } else {
        return;
      }
    }
  }

  // Blank rows and the page's own offset look the same. Blank rows are followed by a row, are
  // counted without a sign, and come one run at a time.
  void readFirstOffset(const PageStart& page) {
    const Command offset = command_;
    std::optional<ReadError> damage;
    try {
      command_ = in_.next();
    } catch (const ReadError& error) {
      damage = error;
    }
    const bool isRowNext = command_.is("*bV") || command_.is("*bW") || command_.is("*bM");
    const bool cannotBeRows = offset.sign == '+' || offset.number == 0 || !isRowNext;
    if (isFormatGiven() ? page.format.beginsWithYOffset : cannotBeRows) {
      sink_.pageOffset(offset);
    } else {
      skipRows(offset);
    }
    if (damage) throw ReadError(*damage);
    tell(command_);
  }

  void skipRows(const Command& command) {
    if (command.sign != 0 || command.number == 0)
      throw ReadError(command.offset, "ESC" + command.text + " skips no rows; expected 1 or more");
    const auto count = static_cast<uint64_t>(command.number);
    sink_.blankRows(rows_, count, command);
    rows_ += count;
  }

  void takeRow(RowLanes& lanes) {
    const CommandData& data = in_.takeData(command_.dataBytes);
    if (lanes.take(command_, data)) sink_.row(rows_++, lanes.row());
  }

  // A page that ran out of memory has no end of its own.
  void endPage(const PageStart& page, const RowLanes& lanes) {
    if (lanes.isInsideRow()) refuse("the other planes of the row");
    PageEnd end;
    end.ended = command_.is("*rC");
    end.offset = command_.offset;
    end.rows = rows_;
    if (end.ended) {
      sink_.endPage(end);
      next();
      return;
    }
    if (!isPageStart() && !command_.is("$E")) refuse("a row, or ESC*rC");
    sink_.note(command_.offset, "page " + std::to_string(page.number) + " has no ESC*rC");
    sink_.endPage(end);
  }

  CommandReader in_;
  RasterSink& sink_;
  const std::vector<PageFormat>* formats_;
  Command command_;
  size_t pages_ = 0;
  uint64_t rows_ = 0;  // of the page
  std::optional<PageFormat> firstFormat_;
};

}  // namespace

bool readRaster(DataStream& data, RasterSink& sink, const std::vector<PageFormat>* formats) {
  return Reader(data, sink, formats).readJob();
}

}  // namespace jobreader
