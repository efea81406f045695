#include "programs/common/file_names.h"

#include <algorithm>

#include "platform/native_files.h"
#include "platform/windows_api.h"
#include "programs/common/text.h"

namespace program {
namespace {

constexpr size_t kLongestName = 255;  // UTF-16 units, the limit of the file systems
constexpr DWORD kLongestPath = 32768;

bool IsForbidden(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ||
         std::string_view("\\/:*?\"<>|").find(c) != std::string_view::npos;
}

// The system looks for devices in front of the first "." and leaves out spaces before it.
std::string DevicePart(std::string_view name) {
  std::string part = FoldCase(name.substr(0, name.find('.')));
  part.erase(part.find_last_not_of(' ') + 1);
  return part;
}

bool IsNumberedDevice(const std::string& part) {
  static constexpr std::string_view kDigits[] = {
      "0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "\xC2\xB9", "\xC2\xB2", "\xC2\xB3"};
  if (part.compare(0, 3, "com") != 0 && part.compare(0, 3, "lpt") != 0) return false;
  return std::find(std::begin(kDigits), std::end(kDigits), part.substr(3)) != std::end(kDigits);
}

bool IsDevice(std::string_view name) {
  std::string part = DevicePart(name);
  for (const char* device : {"con", "prn", "aux", "nul", "conin$", "conout$"}) {
    if (part == device) return true;
  }
  return IsNumberedDevice(part);
}

bool IsDots(std::string_view name) {
  return name.find_first_not_of(". ") == std::string_view::npos;
}

}  // namespace

bool IsPlainName(std::string_view name) {
  if (IsDots(name)) return false;  // also the empty one
  if (!IsUtf8(name) || ToWide(name).size() > kLongestName) return false;
  return std::none_of(name.begin(), name.end(), IsForbidden) && !IsDevice(name);
}

std::string PlainName(std::string_view name) {
  std::string plain = RepairUtf8(name);
  std::replace_if(plain.begin(), plain.end(), IsForbidden, '_');
  if (IsDots(plain) || IsDevice(plain)) plain.insert(0, "_");
  return plain;
}

std::string LastPart(std::string_view path) {
  return std::string(path.substr(path.find_last_of("\\/") + 1));
}

std::string Joined(const std::string& folder, const std::string& name) {
  if (folder.empty() || folder.back() == '\\' || folder.back() == '/') return folder + name;
  return folder + "\\" + name;
}

std::string ShownPath(const std::string& path) {
  std::string native = platform::NativePath(path);
  return native.empty() ? path : native;
}

std::string Numbered(const std::string& name, int number) {
  size_t dot = name.find_last_of('.');
  if (dot == std::string::npos || dot == 0) dot = name.size();
  return name.substr(0, dot) + " (" + std::to_string(number) + ")" + name.substr(dot);
}

std::string StagingFolder() {
  WideString folder(kLongestPath, 0);
  DWORD length = GetTempPathW(kLongestPath, folder.data());
  if (length == 0 || length >= kLongestPath) return "";
  folder.resize(length);
  return Joined(ToUtf8(folder), "Quorvantis");
}

std::string ProgramPath() {
  WideString path(kLongestPath, 0);
  DWORD length = GetModuleFileNameW(nullptr, path.data(), kLongestPath);
  path.resize(length < kLongestPath ? length : 0);
  return ToUtf8(path);
}

std::string ProgramFolder() {
  std::string path = ProgramPath();
  size_t separator = path.find_last_of("\\/");
  return separator == std::string::npos ? "" : path.substr(0, separator);
}

}  // namespace program
