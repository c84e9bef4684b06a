#include "StreamDecoder.h"

#include <cctype>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "RowDecoders.h"

namespace {

constexpr uint8_t kEsc = 0x1B;

enum Method { kNone = 0, kPacked = 2, kDelta = 3, kHxrc = 4 };

// One parameterised command: ESC, two characters of its family, a number with or without a sign,
// and a final letter.
struct Command {
  std::string text;  // without ESC
  char family[2] = {0, 0};
  char sign = 0;
  int number = 0;
  char letter = 0;

  [[nodiscard]] bool is(std::string_view familyAndLetter) const {
    return familyAndLetter.size() == 3 && family[0] == familyAndLetter[0] &&
           family[1] == familyAndLetter[1] && letter == familyAndLetter[2];
  }
};

class Input {
 public:
  explicit Input(const Bytes& bytes) : bytes_(bytes) {}

  [[noreturn]] void refuse(const std::string& what) const {
    throw std::runtime_error("offset " + std::to_string(start_) + ": " + what);
  }
  [[nodiscard]] bool atEnd() const { return next_ == bytes_.size(); }

  /// Takes ESC and a fixed text if they come next.
  bool take(std::string_view text) {
    start_ = next_;
    if (bytes_.size() - next_ < text.size() + 1 || bytes_[next_] != kEsc) return false;
    for (size_t i = 0; i < text.size(); ++i)
      if (bytes_[next_ + 1 + i] != static_cast<uint8_t>(text[i])) return false;
    next_ += text.size() + 1;
    return true;
  }
  void expect(std::string_view text) {
    if (!take(text)) refuse("ESC" + std::string(text) + " expected");
  }

  /// The next parameterised command, without moving.
  Command peek() {
    const size_t before = next_;
    Command command = takeCommand();
    next_ = before;
    return command;
  }

  Command takeCommand() {
    start_ = next_;
    if (takeByte() != kEsc) refuse("not a command");
    Command command;
    for (char& character : command.family) {
      character = static_cast<char>(takeByte());
      command.text += character;
    }
    std::string digits;
    for (;;) {
      const char character = static_cast<char>(takeByte());
      command.text += character;
      if ((character == '+' || character == '-') && digits.empty() && command.sign == 0) {
        command.sign = character;
      } else if (std::isdigit(static_cast<unsigned char>(character)) != 0) {
        digits += character;
        if (digits.size() > 9) refuse("a number that is too long");
      } else {
        command.letter = character;
        break;
      }
    }
    if (!digits.empty()) command.number = std::stoi(digits);
    if (command.sign == '-') command.number = -command.number;
    return command;
  }

  Bytes takeData(int count) {
    if (count < 0) refuse("a negative length");
    if (bytes_.size() - next_ < static_cast<size_t>(count)) refuse("data cut off");
    const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(next_);
    next_ += static_cast<size_t>(count);
    return {from, from + count};
  }

 private:
  uint8_t takeByte() {
    if (atEnd()) refuse("the stream is cut off");
    return bytes_[next_++];
  }

  const Bytes& bytes_;
  size_t next_ = 0;
  size_t start_ = 0;  // of the last command
};

// The rows of one page as they arrive.
class Paper {
 public:
  Paper(Input& in, const PageShape& shape, int method)
      : in_(in), shape_(shape), method_(method), seeds_(commandsPerRow()) {
    rows_.resize(shape.rowBytes.size());
    checkMethod();
  }

  void changeMethod(int method) {
    method_ = method;
    checkMethod();
  }

  void moveDown(int count) {
    if (command_ != 0) in_.refuse("an offset inside a row");
    if (count < 0) in_.refuse("an offset upwards");
    for (; count > 0; --count) blankRow();
    for (auto& seed : seeds_) seed.reset();  // the printer forgets the row above
  }

  void takeRow(const Bytes& code, bool last) {
    if (command_ == commandsPerRow()) in_.refuse("more planes than the page has");
    if (command_ == 0 && height() == shape_.rows) in_.refuse("a row behind the page's end");
    if (last != (command_ + 1 == commandsPerRow()))
      in_.refuse(last ? "the row ends too early" : "the last plane does not end the row");
    Bytes row;
    try {
      row = decode(code);
    } catch (const std::runtime_error& error) {
      in_.refuse(error.what());
    }
    seeds_[command_] = row;
    place(row);
    command_ = last ? 0 : command_ + 1;
  }

  std::vector<std::vector<Bytes>> finish() {
    if (command_ != 0) in_.refuse("raster mode ends inside a row");
    while (height() < shape_.rows) blankRow();
    return std::move(rows_);
  }

 private:
  [[nodiscard]] size_t commandsPerRow() const {
    return shape_.rowBytes.size() * (shape_.halves ? 2 : 1);
  }
  [[nodiscard]] size_t height() const { return rows_.empty() ? 0 : rows_.front().size(); }
  [[nodiscard]] size_t bytesNow() const {
    return shape_.halves ? shape_.rowBytes[command_ / 2] / 2 : shape_.rowBytes[command_];
  }

  void checkMethod() const {
    if (method_ != kNone && method_ != kPacked && method_ != kDelta && method_ != kHxrc)
      in_.refuse("an unknown compression");
  }

  void blankRow() {
    if (height() == shape_.rows) in_.refuse("blank rows behind the page's end");
    for (size_t plane = 0; plane < rows_.size(); ++plane)
      rows_[plane].emplace_back(shape_.rowBytes[plane], shape_.blank);
  }

  [[nodiscard]] Bytes decode(const Bytes& code) const {
    const auto& seed = seeds_[command_];
    if (method_ == kDelta) {
      if (!seed) in_.refuse("a difference from an unknown row");
      return decodeDeltaRow(code, *seed);
    }
    if (method_ == kHxrc) return decodeHxrc(code, seed ? &*seed : nullptr, bytesNow());
    Bytes row = method_ == kPacked ? decodePackBits(code) : code;
    if (row.size() > bytesNow()) in_.refuse("a row that is too long");
    row.resize(bytesNow(), shape_.blank);
    return row;
  }

  void place(const Bytes& row) {
    if (!shape_.halves) {
      rows_[command_].push_back(row);
      return;
    }
    std::vector<Bytes>& plane = rows_[command_ / 2];
    const size_t half = command_ % 2;
    if (half == 0) plane.emplace_back(shape_.rowBytes[command_ / 2]);
    for (size_t i = 0; i < row.size(); ++i) plane.back()[2 * i + half] = row[i];
  }

  Input& in_;
  const PageShape& shape_;
  int method_;
  size_t command_ = 0;                       // row commands of this row so far
  std::vector<std::optional<Bytes>> seeds_;  // by row command of a row: what the last one stood for
  std::vector<std::vector<Bytes>> rows_;
};

DecodedPage decodePage(Input& in, const PageShape& shape) {
  DecodedPage page;
  Command command = in.takeCommand();
  if (command.is("$vW")) {
    page.configuration = in.takeData(command.number);
    if (page.configuration.empty()) in.refuse("an empty configuration");
    command = in.takeCommand();
  }
  if (command.is("*tR")) {
    page.resolutionH = page.resolutionV = command.number;
  } else if (command.is("$rX")) {
    page.resolutionH = command.number;
    command = in.takeCommand();
    if (!command.is("$rY")) in.refuse("the vertical resolution is missing");
    page.resolutionV = command.number;
  } else {
    in.refuse("the resolution is missing");
  }

  for (command = in.takeCommand(); !command.is("*rA"); command = in.takeCommand()) {
    if (!command.is("*pX") && !command.is("*pY") && !command.is("*bY"))
      in.refuse("not a position: " + command.text);
    page.positions.push_back(command.text);
  }
  if (command.text != "*r1A") in.refuse("not the start of raster mode");
  command = in.takeCommand();
  if (!command.is("*bM")) in.refuse("the compression is missing");
  page.method = command.number;

  Paper paper(in, shape, page.method);
  for (command = in.takeCommand(); command.text != "*rC"; command = in.takeCommand()) {
    if (command.is("*bM")) {
      paper.changeMethod(command.number);
      ++page.methodChanges;
    } else if (command.is("*bY")) {
      paper.moveDown(command.number);
      page.offsets.push_back(command.text);
    } else if (command.is("*bV") || command.is("*bW")) {
      paper.takeRow(in.takeData(command.number), command.letter == 'W');
    } else {
      in.refuse("not a raster command: " + command.text);
    }
  }
  page.rows = paper.finish();
  return page;
}

}  // namespace

DecodedStream decodeStream(const Bytes& stream, const std::vector<PageShape>& shapes) {
  Input in(stream);
  DecodedStream decoded;
  in.expect("%-12345X");
  in.expect("%0A");
  in.expect("E");
  while (!in.take("%-12345X")) {
    if (in.take("$E")) {
      ++decoded.endsOfPage;
      continue;
    }
    if (in.peek().is("$bW")) {
      decoded.tables.push_back(in.takeData(in.takeCommand().number));
      continue;
    }
    if (decoded.pages.size() == shapes.size()) in.refuse("more pages than expected");
    decoded.pages.push_back(decodePage(in, shapes[decoded.pages.size()]));
  }
  if (!in.atEnd()) in.refuse("bytes behind the job's end");
  if (decoded.pages.size() != shapes.size()) {
    throw std::runtime_error(std::to_string(decoded.pages.size()) + " pages instead of " +
                             std::to_string(shapes.size()));
  }
  return decoded;
}
