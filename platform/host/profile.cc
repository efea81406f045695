#include "platform/host/profile.h"

#include <cerrno>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/native_errors.h"
#include "platform/host/native_files.h"
#include "platform/host/paths.h"
#include "platform/host/process.h"
#include "platform/host/profile_text.h"
#include "platform/host/state_directory.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr size_t kLargestFile = size_t{16} << 20;

// A bare name lies in the Windows folder.
FoundName FindProfile(LPCSTR file) {
  std::string name = file ? file : "";
  if (name.empty()) return {"", ERROR_FILE_NOT_FOUND};
  bool bare = name.find_first_of("\\/:") == std::string::npos;
  return FindNative((bare ? "C:\\windows\\" + name : name).c_str());
}

// The text of a profile; empty when there is no such file.
DWORD ReadProfile(const FoundName& name, std::string* text) {
  text->clear();
  return name.error != 0 ? name.error : ReadNativeFile(name.path, kLargestFile, text);
}

// Copies a text, cut to fit with its terminator. The characters stored.
DWORD CopyText(std::string_view text, LPSTR buffer, DWORD size) {
  // A zero byte in the file ends the text for a caller.
  text = text.substr(0, text.find('\0'));
  size_t copied = text.copy(buffer, size - 1);
  buffer[copied] = 0;
  return static_cast<DWORD>(copied);
}

// Copies names, each with a terminator and one more behind the last. The characters stored, without
// that one; a cut list ends in two terminators.
DWORD CopyNames(const std::vector<std::string>& names, LPSTR buffer, DWORD size) {
  std::string list;
  for (const std::string& name : names) list += name + '\0';
  if (list.empty()) list += '\0';
  bool whole = list.size() < size;
  size_t copied = list.copy(buffer, size - 1);
  buffer[copied] = 0;
  if (whole) return names.empty() ? 0 : static_cast<DWORD>(copied);
  if (size < 2) return 0;
  buffer[size - 2] = 0;
  return size - 2;
}

// "12", "-1", "0x10", "0o17", "0b11"; ends at the first character that does not belong, and wraps.
UINT ParseInt(std::string_view text) {
  while (!text.empty() && static_cast<unsigned char>(text[0]) <= ' ') text.remove_prefix(1);
  bool negative = !text.empty() && text[0] == '-';
  if (negative || (!text.empty() && text[0] == '+')) text.remove_prefix(1);
  UINT base = 10;
  if (text.size() >= 2 && text[0] == '0') {
    base = text[1] == 'x' ? 16 : text[1] == 'o' ? 8 : text[1] == 'b' ? 2 : 10;
    if (base != 10) text.remove_prefix(2);
  }
  UINT value = 0;
  for (char c : text) {
    UINT digit = c >= '0' && c <= '9'   ? static_cast<UINT>(c - '0')
                 : c >= 'a' && c <= 'f' ? static_cast<UINT>(c - 'a' + 10)
                 : c >= 'A' && c <= 'F' ? static_cast<UINT>(c - 'A' + 10)
                                        : base;
    if (digit >= base) break;
    value = value * base + digit;
  }
  return negative ? 0 - value : value;
}

// Without a value the key goes, without a key the section.
DWORD ChangeProfile(const FoundName& name, LPCSTR section, LPCSTR key, LPCSTR value) {
  if (name.error != 0) return name.error;
  Descriptor lock = LockFile(StatePath("profile.lock"));
  if (!lock.is_open()) return ErrorFromNative(errno);
  std::string text;
  DWORD error = ReadProfile(name, &text);
  if (error != 0 && error != ERROR_FILE_NOT_FOUND) return error;
  ProfileText profile(text);
  if (!key) {
    profile.RemoveSection(section);
  } else if (!value) {
    profile.RemoveKey(section, key);
  } else {
    profile.SetValue(section, key, value);
  }
  return ReplaceNativeFile(name.path, profile.Format());
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR default_text, LPSTR buffer,
                               DWORD size, LPCSTR file) {
  if (!buffer || size == 0) return 0;
  std::string_view fallback = default_text ? default_text : "";
  while (!fallback.empty() && fallback.back() == ' ') fallback.remove_suffix(1);
  if (DWORD fault = Enter(__func__)) return Fail(fault, host::CopyText(fallback, buffer, size));
  std::string text;
  SetLastError(host::ReadProfile(host::FindProfile(file), &text));
  host::ProfileText profile(text);
  if (!section) return host::CopyNames(profile.Sections(), buffer, size);
  if (!key) return host::CopyNames(profile.Keys(section), buffer, size);
  return host::CopyText(profile.Value(section, key).value_or(std::string(fallback)), buffer, size);
}

UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, INT default_value, LPCSTR file) {
  auto fallback = static_cast<UINT>(default_value);
  if (DWORD fault = Enter(__func__)) return Fail(fault, fallback);
  std::string text;
  SetLastError(host::ReadProfile(host::FindProfile(file), &text));
  std::string value =
      host::ProfileText(text).Value(section ? section : "", key ? key : "").value_or("");
  return value.empty() ? fallback : host::ParseInt(value);
}

BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR file) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!section) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  DWORD error = host::ChangeProfile(host::FindProfile(file), section, key, value);
  return error == 0 ? TRUE : Fail(error, FALSE);
}
