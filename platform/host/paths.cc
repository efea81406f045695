#include "platform/host/paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "platform/host/control.h"
#include "platform/host/native_names.h"
#include "platform/host/short_names.h"
#include "platform/host/state_directory.h"
#include "platform/host/streams.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr DWORD kBadNetPath = 53;

bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

bool IsLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }

bool HasDrive(std::u16string_view path) {
  return path.size() >= 2 && IsLetter(path[0]) && path[1] == u':';
}

std::string DriveFolder() { return StateDirectory() + "/drive_c"; }

std::u16string CurrentFolder() {
  std::error_code error;
  std::string folder = std::filesystem::current_path(error).string();
  std::string platform = error ? "" : PlatformFromNative(folder);
  return platform.empty() ? u"Z:\\" : WideFromUtf8(platform);
}

// Drive and folder that a path starts from, and what of the path is left.
std::u16string StartOf(std::u16string_view* path) {
  std::u16string drive;
  if (HasDrive(*path)) {
    drive = path->substr(0, 2);
    path->remove_prefix(2);
  }
  bool absolute = !path->empty() && IsSeparator((*path)[0]);
  if (absolute && !drive.empty()) return drive;
  std::u16string current = CurrentFolder();
  if (absolute) return current.substr(0, 2);
  bool here = drive.empty() || UpperCase(drive) == UpperCase(current.substr(0, 2));
  return here ? current : drive;
}

std::vector<std::u16string_view> Parts(std::u16string_view path) {
  std::vector<std::u16string_view> parts;
  for (size_t at = 0; at < path.size();) {
    size_t end = at;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    if (end > at) parts.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  return parts;
}

bool IsFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string FindIgnoringCase(const std::string& folder, const std::string& name) {
  DIR* list = opendir(folder.empty() ? "/" : folder.c_str());
  if (!list) return "";
  std::string wanted = UpperCaseUtf8(name), found;
  while (const dirent* entry = readdir(list)) {
    if (UpperCaseUtf8(entry->d_name) == wanted) {
      found = entry->d_name;
      break;
    }
  }
  closedir(list);
  return found;
}

bool MayBeName(std::u16string_view part) {
  for (char16_t c : part) {
    if (c < 0x20 || std::u16string_view(u"<>:\"|?*").find(c) != std::u16string_view::npos) {
      return false;
    }
  }
  return true;
}

bool NativeExists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

std::u16string FullPath(std::u16string_view path, DWORD* error) {
  auto fail = [error](DWORD number) {
    if (error) *error = number;
    return std::u16string();
  };
  if (path.substr(0, 4) == u"\\\\?\\") path.remove_prefix(4);
  if (path.empty()) return fail(ERROR_PATH_NOT_FOUND);
  if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) return fail(kBadNetPath);
  bool folder_form = IsSeparator(path.back());
  std::u16string start = StartOf(&path);
  std::vector<std::u16string_view> parts = Parts(std::u16string_view(start).substr(2));
  for (std::u16string_view part : Parts(path)) {
    if (part == u"..") {
      if (!parts.empty()) parts.pop_back();
    } else if (part != u".") {
      parts.push_back(part);
    }
  }
  std::u16string full(start, 0, 2);
  for (std::u16string_view part : parts) (full += u'\\') += part;
  while (!folder_form && parts.size() > 0 && (full.back() == u'.' || full.back() == u' ')) {
    full.pop_back();
  }
  if (parts.empty() || (folder_form && full.back() != u'\\')) full += u'\\';
  return full;
}

namespace {

// The names of a full path below its drive. False when one could not be a name.
bool NativeParts(std::u16string_view full, std::vector<std::string>* names) {
  for (std::u16string_view part : Parts(full.substr(2))) {
    bool malformed = false;
    names->push_back(Utf8FromWide(part, &malformed));
    if (malformed || !MayBeName(part)) return false;
  }
  return true;
}

std::string Joined(const std::string& drive, std::span<const std::string> names) {
  std::string path = drive;
  for (const std::string& name : names) (path += '/') += name;
  return path;
}

// The path name by name, each as the folder has it.
FoundName FindByParts(const std::string& drive, std::span<const std::string> names) {
  FoundName name{drive};
  for (size_t i = 0; i < names.size(); ++i) {
    std::string part = names[i];
    if (!NativeExists(name.path + "/" + part)) {
      std::string other = FindIgnoringCase(name.path, part);
      if (other.empty()) other = FindByShortName(name.path, part);
      if (!other.empty()) part = other;
    }
    name.path += "/" + part;
    if (i + 1 < names.size() && !IsFolder(name.path)) return {"", ERROR_PATH_NOT_FOUND};
  }
  return name;
}

}  // namespace

FoundName FindNative(std::u16string_view path) {
  FoundName name;
  std::u16string full = FullPath(path, &name.error);
  if (full.empty()) return name;
  char16_t drive = UpperCase(full)[0];
  if (drive != u'C' && drive != u'Z') return {"", ERROR_PATH_NOT_FOUND};
  const std::string root = drive == u'C' ? DriveFolder() : "";
  std::vector<std::string> names;
  if (!NativeParts(full, &names)) return {"", ERROR_INVALID_NAME};
  if (names.empty()) return {root.empty() ? "/" : root};
  // Most paths are spelled as the folders have them: one look instead of two at each folder.
  const std::string as_spelled = Joined(root, names);
  struct stat status;
  if (lstat(as_spelled.c_str(), &status) == 0) return {as_spelled, 0, {}, status};
  return FindByParts(root, names);
}

FoundName FindWithStream(std::u16string_view path) {
  const size_t name = path.find_last_of(u"\\/:") + 1;
  const size_t colon = name == 0 ? 0 : name - 1;
  const bool has_stream = name > 0 && path[colon] == u':' && !(colon == 1 && IsLetter(path[0]));
  if (!has_stream) return FindNative(path);
  FoundName found = FindNative(path.substr(0, colon));
  if (found.error != 0) return found;
  bool malformed = false;
  const std::string stream = Utf8FromWide(path.substr(name), &malformed);
  if (malformed || stream.empty() || stream == "." || stream == ".." ||
      !MayBeName(path.substr(name)) || found.path.ends_with('/')) {
    return {"", ERROR_INVALID_NAME};
  }
  found.status.reset();
  found.stream_of = found.path;
  found.path = StreamPath(found.stream_of, stream);
  return found;
}

FoundName FindNative(LPCSTR ansi_path) {
  return FindNative(WideFromAnsi(ansi_path ? ansi_path : ""));
}

std::string PlatformFromNative(std::string_view native) {
  std::error_code error;
  std::filesystem::path absolute = std::filesystem::absolute(native, error);
  if (native.empty() || error) return "";
  std::string path = absolute.lexically_normal().string();
  std::string drive_folder = DriveFolder();
  std::string drive = "Z:";
  if (path == drive_folder || path.starts_with(drive_folder + "/")) {
    drive = "C:";
    path.erase(0, drive_folder.size());
  }
  bool malformed = false;
  std::u16string wide = WideFromUtf8(path, &malformed);
  if (malformed || !MayBeName(wide) || path.find('\\') != std::string::npos) return "";
  if (path.empty()) path = "/";
  for (char& c : path) c = c == '/' ? '\\' : c;
  return drive + path;
}

std::string PlatformName(const std::string& native) { return PlatformFromNative(native); }

std::string NativeName(const std::string& platform_path) {
  return FindNative(WideFromUtf8(platform_path)).path;
}

}  // namespace host
