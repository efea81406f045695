#include "files/file_names.h"

#include <cstring>
#include <string_view>

#include "files/paths.h"
#include "text/characters.h"
#include "text/code_pages.h"
#include "text/process_code_pages.h"

namespace {

constexpr std::string_view kInvalid = ":/\\<>|\"*?";
constexpr std::string_view kStripped = "<>:\"\\/|?*";
constexpr unsigned char kLastControl = 31;

bool IsStripped(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 1 && byte <= kLastControl) || kStripped.find(c) != std::string_view::npos;
}

// Bytes of the character at `p`, of which `available` are there: 1 or 2 and never past the end.
size_t CharacterSize(const char* p, size_t available, CodePage cp) {
  const bool pair = available >= 2 && qv::IsDoubleByteCodePage(cp) &&
                    CPIsLeadByte(static_cast<uint8_t>(*p), cp) && p[1] != 0;
  return pair ? 2 : 1;
}

// Strips `length` bytes in place and returns how many are left.
size_t Strip(char* text, size_t length) {
  const CodePage cp = GetSystemCodePage();
  for (size_t at = 0; at < length;) {
    const size_t size = CharacterSize(text + at, length - at, cp);
    if (size > 1 || !IsStripped(text[at])) {
      at += size;
      continue;
    }
    std::memmove(text + at, text + at + 1, length - at - 1);
    --length;
    if (at < length) at += CharacterSize(text + at, length - at, cp);
  }
  return length;
}

}  // namespace

bool ZRIsValidNameChar(char c) { return kInvalid.find(c) == std::string_view::npos; }

void ZRSanitizeName(char* name, bool whole_path) {
  if (name == nullptr) return;
  const size_t limit = (whole_path ? kFolderSize : kNameSize) - 1;
  const size_t length = std::strlen(name);
  const CodePage cp = GetSystemCodePage();
  size_t kept = 0, size = 0;
  for (size_t at = 0; at < length; at += size) {
    size = CharacterSize(name + at, length - at, cp);
    const char c = name[at];
    const bool of_path = whole_path && (c == ':' || c == '/' || c == '\\');
    if (size == 1 && !of_path && !ZRIsValidNameChar(c)) continue;
    if (kept + size > limit) break;
    std::memmove(name + kept, name + at, size);
    kept += size;
  }
  name[kept] = 0;
}

void ZRStripName(char* name) {
  if (name != nullptr) name[Strip(name, std::strlen(name))] = 0;
}

void ZRStripName(uint8_t* name) {
  if (name == nullptr) return;
  name[0] = static_cast<uint8_t>(Strip(reinterpret_cast<char*>(name + 1), name[0]));
}
