#include "CFGPaths.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kErrorToSlash = -37;
constexpr int kErrorToColon = -38;
constexpr int kErrorTableFile = -39;
constexpr int kErrorImageFile = -40;

// No conversion needs more: every character becomes at most three.
constexpr size_t kWorkBytes = 3 * kPathBytes;

bool hasDriveForm(const char* path) {
  return path[0] != '\0' && path[1] == ':' && path[2] == '\\';
}

[[noreturn]] void failConversion(const char* path, int code) {
  printError("ERROR!: Can't convert dir separator.\n\"%s\"\n", path);
  throw code;
}

[[noreturn]] void failOpen(const char* path, int code) {
  reportCannotOpen(path);
  throw code;
}

// Shows and stores a converted path.
int storeConverted(char* path, const char* converted, int tooLongCode) {
  if (std::strlen(converted) >= kPathBytes) failConversion(path, tooLongCode);
  printError("\nConverting directory separator...\n%s\n->\n%s\n", path, converted);
  zk_strcpy(path, kPathBytes, converted);
  return 1;
}

// Replaces the leading colons of a classic relative path: the first is dropped, each further one
// goes up one directory. Writes to `out`, returns what follows them.
const char* convertLeadingColons(const char* path, const char* up, char* out) {
  out[0] = '\0';
  if (*path != ':') return path;
  for (++path; *path == ':'; ++path) zk_strcat(out, kWorkBytes, up);
  return path;
}

void replaceAll(char* text, char from, char to) {
  std::replace(text, text + std::strlen(text), from, to);
}

// Makes `separator` of all three separators; a leading colon begins a classic relative path.
int convertSeparators(char* path, char separator, const char* up) {
  char converted[kWorkBytes];
  const char* rest = convertLeadingColons(path, up, converted);
  zk_strcat(converted, sizeof converted, rest);
  for (const char other : {':', '/', '\\'}) replaceAll(converted, other, separator);
  return storeConverted(path, converted, kErrorToSlash);
}

bool isSeparator(char c) {
  return c == '/' || c == '\\';
}

// A path split into what it says about its directory: how many times up, and the rest.
struct RelativePath {
  int up;
  const char* rest;
};

RelativePath splitRelative(const char* path) {
  RelativePath split{0, path};
  for (;;) {
    if (std::strncmp(split.rest, "./", 2) == 0) {
      split.rest += 2;
    } else if (std::strncmp(split.rest, "../", 3) == 0) {
      split.rest += 3;
      ++split.up;
    } else {
      return split;
    }
  }
}

// More "../" groups than the directory has components leave it empty.
void cutComponents(char* directory, int count) {
  for (; count > 0; --count) {
    char* slash = std::strrchr(directory, '/');
    if (slash == nullptr) slash = directory;
    *slash = '\0';
  }
}

int completePath(char* path, const parameter* record, int tooLongCode) {
  if (path[0] == '\0' || path[0] == '/') return 0;
  const RelativePath split = splitRelative(path);
  char directory[kPathBytes];
  zk_strcpy(directory, sizeof directory, record->CFGFileDirectory);
  cutComponents(directory, split.up);
  char complete[2 * kPathBytes];
  zk_sprintf(complete, sizeof complete, "%s%c%s", directory, '/', split.rest);
  if (std::strlen(complete) >= kPathBytes) failOpen(complete, tooLongCode);
  zk_strcpy(path, kPathBytes, complete);
  return 1;
}

bool exists(const char* path) {
  return my_access(path, F_OK) == 0;
}

template <class Visit>
void forEachTableFile(parameter* record, Visit visit) {
  for (imageProcessingFile* file = record->imageProcessingFileList; file != nullptr;
       file = file->next) {
    visit(file->path);
  }
}

template <class Visit>
void forEachImageFile(parameter* record, Visit visit) {
  for (imageParameter* image = record->imageParameterList; image != nullptr; image = image->next) {
    for (const ImagePath file : kImageFiles) visit(image->*file);
  }
}

}  // namespace

void convertDirSeparator(parameter* record) {
  toSlash(record->OutFilePath);
  forEachTableFile(record, toSlash);
  forEachImageFile(record, toSlash);
}

void convertToFullPath(parameter* record) {
  forEachTableFile(record, [record](char* path) { completePath(path, record, kErrorTableFile); });
  toFullPath(record->OutFilePath, record);
  forEachImageFile(record, [record](char* path) { toFullPath(path, record); });
}

void checkIfFileExist(parameter* record) {
  forEachTableFile(record, [](const char* path) {
    if (!exists(path)) failOpen(path, kErrorTableFile);
  });
  forEachImageFile(record, [](const char* path) {
    if (path[0] != '\0' && !exists(path)) failOpen(path, kErrorImageFile);
  });
}

int toSlash(char* path) {
  if (std::strpbrk(path, "\\:") == nullptr) return 0;
  if (hasDriveForm(path)) failConversion(path, kErrorToSlash);
  return convertSeparators(path, '/', "../");
}

int toBackSlash(char* path) {
  if (std::strpbrk(path, "/:") == nullptr) return 0;
  if (hasDriveForm(path)) return 1;
  return convertSeparators(path, '\\', "..\\");
}

int toColon(char* path) {
  if (std::strpbrk(path, "\\/") == nullptr) return 0;
  if (hasDriveForm(path)) failConversion(path, kErrorToColon);
  char converted[kWorkBytes] = {};
  const char* rest = path;
  if (isSeparator(rest[0])) {
    ++rest;
  } else {
    zk_strcpy(converted, sizeof converted, ":");
    for (; rest[0] == '.' && rest[1] == '.' && isSeparator(rest[2]); rest += 3) {
      zk_strcat(converted, sizeof converted, ":");
    }
  }
  zk_strcat(converted, sizeof converted, rest);
  replaceAll(converted, '/', ':');
  replaceAll(converted, '\\', ':');
  return storeConverted(path, converted, kErrorToColon);
}

int toFullPath(char* path, parameter* record) {
  return completePath(path, record, kErrorImageFile);
}
