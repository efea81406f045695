#include "files/paths.h"

#include <cstring>

#include "files/file_request.h"
#include "platform/windows_api.h"
#include "text/code_page_strings.h"

namespace {

constexpr char kSeparator[] = "\\";
constexpr size_t kDriveLength = 2;      // "X:"
constexpr size_t kShortestTrimmed = 5;  // a drive root, and one odd form of it, keep their "\"

// ASCII text holds no double-byte characters in any code page.
bool IsAscii(const char* text) {
  for (; *text != 0; ++text) {
    if (static_cast<unsigned char>(*text) >= 0x80) return false;
  }
  return true;
}

// True when the last character is a separator; a trail byte of the same value is none.
bool EndsInSeparator(const char* path, size_t length) {
  if (length == 0 || path[length - 1] != *kSeparator) return false;
  return ZRLastSeparator(path, *kSeparator) == path + length - 1;
}

// Copies at most size - 1 bytes, in whole characters.
void CopyCut(char* out, size_t size, const char* text) {
  if (const size_t whole = std::strlen(text); whole < size) {
    std::memcpy(out, text, whole + 1);
    return;
  }
  const CodePage cp = GetSystemCodePage();
  size_t length = 0;
  while (text[length] != 0) {
    const size_t next = length + CPCharSizeOrOne(text + length, cp);
    if (next >= size) break;
    length = next;
  }
  std::memcpy(out, text, length);
  out[length] = 0;
}

const char* SeparatorOf(const char* path) {
  const char* colon = std::strchr(path, ':');  // a byte that is no trail byte anywhere
  return ZRLastSeparator(colon == nullptr ? path : colon, *kSeparator);
}

const char* NameOf(const char* path) {
  const char* separator = SeparatorOf(path);
  return separator == nullptr ? path : separator + 1;
}

struct ShortForm {
  const char* path;
  char text[kFolderSize + 1];
  DWORD length;
};

void AskShortForm(void* argument) {
  auto& form = *static_cast<ShortForm*>(argument);
  form.length = GetShortPathNameA(form.path, form.text, sizeof form.text);
}

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

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

const char* ZRLastSeparator(const char* path, char c) {
  if (path == nullptr || c == 0) return nullptr;
  if (IsAscii(path)) return std::strrchr(path, c);
  const char wanted[] = {c, 0};
  return CPStrRChr(path, wanted, GetSystemCodePage());
}

ZRError ZRPathSplit(const char* path, char* folder, char* name, bool use_worker) {
  folder[0] = name[0] = 0;
  if (path == nullptr) return ZRErrParam;
  ShortForm form;
  if (std::strlen(NameOf(path)) >= kNameSize) {
    form.path = path;
    qv::RunFileJob(use_worker, AskShortForm, &form);
    if (form.length > 0 && form.length < sizeof form.text) path = form.text;
  }
  const char* separator = SeparatorOf(path);
  if (separator != nullptr) {
    const auto length = static_cast<size_t>(separator - path);
    if (length >= kFolderSize) return ZRErrTooLong;
    std::memcpy(folder, path, length);
    folder[length] = 0;
    ZRPathNormalize(folder);
  }
  CopyCut(name, kNameSize, NameOf(path));
  return ZRErrNone;
}

namespace qv {

ZRError CopyWhole(const char* text, char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return ZRErrTooLong;
  buffer[0] = 0;
  const size_t bytes = std::strlen(text) + 1;
  if (bytes > size) return ZRErrTooLong;
  std::memcpy(buffer, text, bytes);
  return ZRErrNone;
}

bool PathIsBelow(const char* path, const char* folder) {
  size_t at = 0;
  for (; folder[at] != 0; ++at) {
    if (UpperAscii(path[at]) != UpperAscii(folder[at])) return false;
  }
  if (at == 0) return false;
  return path[at] == 0 || path[at] == *kSeparator || EndsInSeparator(folder, at);
}

}  // namespace qv
