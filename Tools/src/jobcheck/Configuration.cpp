#include "Configuration.h"

#include <algorithm>

namespace jobcheck {

const ConfigItem* SectionLines::find(const std::string& key) const {
  const ConfigItem* found = nullptr;
  for (const ConfigItem& item : items) {
    if (item.key != key) continue;
    if (found == nullptr || item.isStored || !found->isStored) found = &item;
  }
  return found;
}

bool SectionLines::isSound() const {
  return std::all_of(items.begin(), items.end(),
                     [](const ConfigItem& item) { return item.isStored; });
}

Place Configuration::placeOf(const SectionLines& section, const std::string& key) const {
  const ConfigItem* item = section.find(key);
  return at(item != nullptr ? item->line : section.headerLine);
}

std::string Configuration::complete(const std::string& file) const {
  if (file.empty() || file.front() == '/') return file;
  return std::string(record->CFGFileDirectory) + "/" + file;
}

std::string Configuration::shown(const std::string& file) const {
  if (path.empty() || path.front() == '/') return file;
  const std::string folder = std::string(record->CFGFileDirectory) + "/";
  if (file.compare(0, folder.size(), folder) != 0) return file;
  const size_t slash = path.rfind('/');
  const std::string given = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  return given + file.substr(folder.size());
}

}  // namespace jobcheck
