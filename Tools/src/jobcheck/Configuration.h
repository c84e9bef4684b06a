// Configuration - a configuration as it was read, as far as it could be, and where everything in it
// stands.
#pragma once

#include <string>
#include <vector>

#include "CFGKeys.h"
#include "CFGRecords.h"
#include "ODAXGen.h"
#include "ProblemList.h"

namespace jobcheck {

/// One key = value line.
struct ConfigItem {
  int line = 0;
  std::string key;
  std::string value;
  bool isStored = true;  // false: it was refused, its setting is unknown
};

/// The lines of a section. All sections of a name count as one; each [Image] is its own.
struct SectionLines {
  int headerLine = 0;  // 0: there is none
  std::vector<ConfigItem> items;

  /// The last accepted line of a key, else the last line of it; null: none.
  [[nodiscard]] const ConfigItem* find(const std::string& key) const;
  [[nodiscard]] bool isSound() const;  // no line was refused
};

/// One [Image] section with items; the library's record of it stands in the job's list.
struct PageLines {
  SectionLines lines;
  imageParameter* record = nullptr;
  bool isChecked = false;  // its settings were checked together, and it has a mode
  bool isSound = true;     // nothing was found wrong with its settings
};

/// One ImageProcessingFile item.
struct TableLine {
  imageProcessingFile* record = nullptr;
  int line = 0;
  bool isSound = true;
};

struct Configuration {
  std::string path;      // as it was given
  std::string fullPath;  // absolute
  bool isOpen = false;   // false: nothing of it is known
  bool isSound = false;  // no error was found in reading it

  ParameterOwner record;
  OverrideLists overrides;
  std::vector<ConfigItem> overrideLines;  // of the pairs, in their order
  int32_t hasVendorCmd = 0;

  SectionLines global, odax, hxraster;
  std::vector<PageLines> pages;
  std::vector<TableLine> tables;

  [[nodiscard]] Place whole() const { return {path, 0}; }
  [[nodiscard]] Place at(int line) const { return {path, line}; }
  /// The line of a key, or of the section's header when it has none.
  [[nodiscard]] Place placeOf(const SectionLines& section, const std::string& key) const;

  [[nodiscard]] bool sendsPages() const { return record->SendDataFile[0] == '\0'; }
  /// Completes a path as the command does: a relative one starts at the configuration's folder.
  [[nodiscard]] std::string complete(const std::string& file) const;
  /// A completed path as one would type it: relative, when the configuration was given so.
  [[nodiscard]] std::string shown(const std::string& file) const;
};

}  // namespace jobcheck
