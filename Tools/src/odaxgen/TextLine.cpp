#include "TextLine.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "CLibrary.h"

namespace {

constexpr uint32_t kMarkBytes = 3;  // EF BB BF

bool isLineEnd(int c) {
  return c == '\r' || c == '\n';
}

void dropRestOfLine(std::FILE* fp) {
  int c = 0;
  do {
    c = getc_unlocked(fp);
  } while (c != EOF && !isLineEnd(c));
}

}  // namespace

char* sReadLine(char* buf, int size, std::FILE* fp, int* length) {
  *length = 0;
  for (;;) {
    const int c = getc_unlocked(fp);
    if (c == EOF || isLineEnd(c)) {
      if (c == EOF && *length == 0) return nullptr;
      buf[*length] = '\0';
      return buf;
    }
    buf[(*length)++] = static_cast<char>(c);
    if (*length == size) {
      buf[size - 1] = '\0';
      dropRestOfLine(fp);
      return buf;
    }
  }
}

char* readLineOf(const char* path, char* buf, int size, std::FILE* fp, int* length) {
  char* line = sReadLine(buf, size, fp, length);
  if (std::ferror(fp) != 0) tellReadFailure(path, errno);
  return line;
}

void deleteBOM(char* line, uint32_t* count) {
  if (withBOM(line) == 0) return;
  std::memmove(line, line + kMarkBytes, std::strlen(line + kMarkBytes) + 1);
  *count -= std::min(*count, kMarkBytes);
}

int32_t withBOM(const char* text) {
  return std::strncmp(text, "\xEF\xBB\xBF", kMarkBytes) == 0;
}
