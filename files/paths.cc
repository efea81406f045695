#include "files/paths.h"

#include <cstring>

#include "text/code_page_strings.h"

namespace {

constexpr char kSeparator[] = "\\";
constexpr size_t kDriveLength = 2;      // "X:"
constexpr size_t kShortestTrimmed = 5;  // a drive root, and one odd form of it, keep their "\"

// True when the last character is a separator; a trail byte of the same value is none.
bool EndsInSeparator(const char* path, size_t length) {
  if (length == 0 || path[length - 1] != *kSeparator) return false;
  return CPStrRChr(path, kSeparator, GetSystemCodePage()) == path + length - 1;
}

}  // namespace

void ZRPathDriveRoot(char* path) {
  if (path == nullptr || std::strlen(path) != kDriveLength || path[1] != ':') return;
  std::memcpy(path + kDriveLength, kSeparator, sizeof kSeparator);
}

void ZRPathNormalize(char* path) {
  if (path == nullptr) return;
  const size_t length = std::strlen(path);
  if (length >= kShortestTrimmed && EndsInSeparator(path, length)) path[length - 1] = 0;
  ZRPathDriveRoot(path);
}

char* ZRPathJoin(char* path, const char* name) {
  if (path == nullptr || name == nullptr) return nullptr;
  const size_t length = std::strlen(path);
  const bool is_drive = length > 0 && path[length - 1] == ':';
  const bool adds_separator = length > 0 && !is_drive && !EndsInSeparator(path, length);
  if (length > 0 && *name == *kSeparator) ++name;
  const size_t start = length + adds_separator;
  const size_t name_length = std::strlen(name);
  if (start > kLongestPath || name_length > kLongestPath - start) return nullptr;
  std::memmove(path + start, name, name_length + 1);
  if (adds_separator) path[length] = *kSeparator;
  if (length > 0) ZRPathNormalize(path);
  return path;
}
