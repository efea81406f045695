#include "platform/host/short_names.h"

#include <dirent.h>

#include <cctype>
#include <cstdint>

#include "platform/host/calls.h"
#include "platform/host/files.h"
#include "platform/host/paths.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr size_t kBaseLength = 8, kExtensionLength = 3;
constexpr size_t kMark = 6;  // where the "~" stands
constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool MayBeInShortName(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x80 && (std::isalnum(byte) ||
                         std::string_view("!#$%&'()-@^_`{}~").find(c) != std::string_view::npos);
}

bool AllShort(std::string_view text) {
  for (char c : text) {
    if (!MayBeInShortName(c)) return false;
  }
  return true;
}

std::string_view Extension(std::string_view name) {
  const size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

bool HasShortForm(std::string_view name) {
  if (name == "." || name == "..") return true;
  const size_t dot = name.find('.');
  const std::string_view base = name.substr(0, dot), extension = Extension(name);
  if (dot != std::string_view::npos && (extension.empty() || name.rfind('.') != dot)) return false;
  return !base.empty() && base.size() <= kBaseLength && extension.size() <= kExtensionLength &&
         AllShort(base) && AllShort(extension);
}

// FNV-1a.
uint64_t Hash(std::string_view text) {
  uint64_t hash = 14695981039346656037u;
  for (unsigned char c : text) hash = (hash ^ c) * 1099511628211u;
  return hash;
}

}  // namespace

std::string ShortName(std::string_view name) {
  if (HasShortForm(name)) return "";
  std::string text;
  uint64_t hash = Hash(name);
  for (size_t i = 0; i < kBaseLength; ++i) {
    if (i == kMark) {
      text += '~';
      continue;
    }
    text += kDigits[hash % kDigits.size()];
    hash /= kDigits.size();
  }
  std::string extension;
  for (char c : Extension(name)) {
    if (extension.size() < kExtensionLength && MayBeInShortName(c)) {
      extension += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
  }
  return extension.empty() ? text : text + '.' + extension;
}

bool HasLongForm(std::string_view name) {
  bool malformed = false;
  const std::u16string wide = WideFromUtf8(name, &malformed);
  return !malformed && MayBeName(wide) && name.find('\\') == std::string_view::npos;
}

std::string FindByShortName(const std::string& folder, std::string_view short_name) {
  if (short_name.size() <= kMark || short_name[kMark] != '~') return "";
  DIR* list = opendir(folder.empty() ? "/" : folder.c_str());
  if (!list) return "";
  const std::string wanted = UpperCaseUtf8(short_name);
  std::string found;
  while (const dirent* entry = readdir(list)) {
    if (ShortName(entry->d_name) != wanted) continue;
    found = entry->d_name;
    break;
  }
  closedir(list);
  return found;
}

}  // namespace host

using host::Fail;

DWORD GetShortPathNameA(LPCSTR path, LPSTR buffer, DWORD size) {
  if (DWORD fault = host::Enter(__func__)) return Fail(fault, DWORD{0});
  const host::FoundName name = host::FindNative(path);
  if (name.error != 0) return Fail(name.error, DWORD{0});
  if (!host::NativeExists(name.path)) return Fail(DWORD{ERROR_FILE_NOT_FOUND}, DWORD{0});
  const std::u16string full = host::FullPath(host::WideFromAnsi(path));
  const std::string text = host::Utf8FromWide(full);
  // The native path has the same parts behind the drive, under their real names.
  std::string result;
  size_t end = name.path.size();
  for (size_t at = text.size(); at > 2;) {
    const size_t start = text.rfind('\\', at - 1), native = name.path.rfind('/', end - 1);
    const std::string part = name.path.substr(native + 1, end - native - 1);
    const std::string other = host::ShortName(part);
    result = '\\' + (other.empty() ? part : other) + result;
    at = start;
    end = native;
  }
  result = text.substr(0, 2) + result;
  return host::CopyOut(std::string_view(host::AnsiFromUtf8(result)), buffer, size);
}
