// PacketXml - finds where one packet of a job file ends and what its XML says.
//
// Why no XML library: a packet has no length and is followed by another document or by binary data
// without a mark between them, which parsers report as an error inside a buffer of theirs, not as
// the offset of the first byte behind the root. And packets need not be well-formed: a template
// line of 256 or more bytes stands in the file with its length modulo 256, so tags are cut open or
// missing.
//
// So this scanner knows tags only. A "<" inside a tag begins a new tag, and a packet ends at the
// end tag of its root's name, whatever is left open in between. An XML declaration inside an
// element can only be the next packet's: the one before it was cut.
// Memory is bounded and nothing is recursive, whatever the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "JobFile.h"
#include "Packets.h"

namespace jobreader {

/// What is kept of a name, of a value and of a tag, in bytes. It is also the longest template line.
constexpr size_t kMaxXmlText = 1023;
/// Notes that are kept for one packet.
constexpr size_t kMaxXmlNotes = 8;

/// A packet as it was found. Its role and data are for the caller to say.
struct XmlPacket {
  Packet packet;
  std::vector<uint64_t> textOffsets;                    // where the text of each value begins
  std::vector<std::pair<uint64_t, std::string>> notes;  // offset and text: cut and stray tags
};

class PacketXml {
 public:
  /// @param offset  of the first byte that will be taken
  explicit PacketXml(uint64_t offset) : at_(offset) { packet_.offset = offset; }

  /// Looks at the bytes that come next.
  /// @return true when the packet is complete: end() may then lie before the end of the bytes
  /// @throws ReadError at a byte that no packet has
  bool take(std::span<const uint8_t> bytes);
  /// Behind the last byte of the packet.
  [[nodiscard]] uint64_t end() const { return end_; }

  /// The root's start tag was read. Before: prolog, comments, stray end tags.
  [[nodiscard]] bool hasRoot() const { return depth_ > 0 || done_; }
  /// With its prefix; empty before hasRoot().
  [[nodiscard]] const std::string& rootName() const { return root_; }
  /// Nothing is begun: the bytes so far are blanks, and comments and tags that were closed.
  [[nodiscard]] bool isBetweenPackets() const { return state_ == State::kText && !hasRoot(); }
  /// Something in front of the root, or its start tag, was cut or stray.
  [[nodiscard]] bool isDamagedBeforeRoot() const { return damagedBeforeRoot_; }

  /// What was found; the scanner is used up.
  XmlPacket result();
  /// For when no bytes are left and the packet is not complete. @throws ReadError
  [[noreturn]] void refuseEnd() const;

 private:
  enum class State {
    kText,
    kLess,  // behind "<"
    kBang,  // behind "<!"
    kComment,
    kCharacterData,
    kInstruction,  // "<?"
    kDeclaration,  // "<!" and a word
    kSubset,       // the brackets in it
    kStartTag,
    kEndTag
  };

  void step(uint8_t byte);
  void text(uint8_t byte);
  void less(uint8_t byte);
  void bang(uint8_t byte);
  void comment(uint8_t byte);
  void characterData(uint8_t byte);
  void instruction(uint8_t byte);
  void declaration(uint8_t byte);
  void subset(uint8_t byte);
  void tag(uint8_t byte);

  void beginTag(State state);
  void cutByLess();
  void finishTag(bool cut);
  void finishStart(const std::string& name, bool cut);
  void finishEnd(const std::string& name, bool cut);
  void openRoot(const std::string& name, bool cut, bool empty);
  void xmlDeclaration(uint64_t offset);
  void complete(uint64_t end);
  void announce();
  void addLeafText(uint8_t byte);
  void addValue(std::string name, std::string text, uint64_t textOffset);
  void note(uint64_t offset, const std::string& text);
  void restartAt(uint64_t offset);
  [[nodiscard]] std::string where() const;
  [[noreturn]] void refuse() const;

  Packet packet_;
  std::vector<uint64_t> textOffsets_;
  std::vector<std::pair<uint64_t, std::string>> notes_;

  State state_ = State::kText;
  std::span<const uint8_t> rest_;  // from the byte that is looked at; during take() only
  uint64_t at_;                    // of that byte
  uint64_t lessAt_ = 0;            // of the "<" that began the tag
  uint64_t end_ = 0;
  bool done_ = false;

  std::string root_;       // its name, with the prefix
  uint64_t depth_ = 0;     // open elements of the root's name; 0: no root yet
  bool declared_ = false;  // the packet has its XML declaration
  bool damagedBeforeRoot_ = false;

  size_t mark_ = 0;        // bytes of a byte-order mark
  std::string head_;       // first bytes behind "<?" or "<!"
  std::string tag_;        // between "<" or "</" and ">", at most kMaxXmlText
  uint8_t quote_ = 0;      // the one that closes the attribute value; 0: outside
  uint8_t last_ = 0;       // byte before; for ends of two and three bytes
  uint8_t run_ = 0;        // equal bytes before, at most 2
  uint8_t declaring_ = 0;  // bytes of "<?xml" seen in a comment

  // The element whose start tag came last, as long as it can be a leaf.
  bool leaf_ = false;
  bool announces_ = false;  // its text up to the next "<" is not yet evaluated
  std::string leafTag_;     // tag_ of its start tag
  std::string leafText_;
  uint64_t leafTextOffset_ = 0;
};

/// Reads one packet from the file's position and moves behind it.
/// @throws ReadError, FileError
XmlPacket readPacketXml(JobFile& file);

/// What a packet's bytes say; none when they are no packet.
std::optional<XmlPacket> parsePacketXml(std::string_view bytes);

/// True when from the file's position to its end stands nothing but blanks, comments and stray end
/// tags. The position stays. No more is read than the next packet would take.
bool onlyRemnantsFollow(JobFile& file);

}  // namespace jobreader
