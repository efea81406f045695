#include "platform/host/find_files.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/calls.h"
#include "platform/host/file_times.h"
#include "platform/host/native_errors.h"
#include "platform/host/open_files.h"
#include "platform/host/paths.h"
#include "platform/host/short_names.h"
#include "platform/host/streams.h"
#include "platform/host/text.h"

namespace host {
namespace {

struct Entry {
  std::u16string key;  // the shown name in upper case
  std::string native;
};

struct Listing : Object {
  std::string folder;  // native
  std::vector<Entry> entries;
  size_t next = 0;
};

std::string ShownName(const std::string& native) {
  return HasLongForm(native) ? native : ShortName(native);
}

// "*" and "?" in the usual meaning; both texts are in upper case. Time is at most the product of
// the lengths: only the last "*" is tried again.
bool Matches(std::u16string_view pattern, std::u16string_view name) {
  size_t p = 0, n = 0, star = std::u16string_view::npos, retry = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      retry = n;
    } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
      ++p, ++n;
    } else if (star != std::u16string_view::npos) {
      p = star + 1;
      n = ++retry;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == u'*') ++p;
  return p == pattern.size();
}

// Both forms of the name count. "*.*" means every name.
bool IsWanted(const std::u16string& pattern, const Entry& entry) {
  if (pattern == u"*.*" || Matches(pattern, entry.key)) return true;
  return Matches(pattern, WideFromUtf8(ShortName(entry.native)));
}

DWORD ReadEntries(const std::u16string& pattern, bool is_root, Listing* listing) {
  DIR* list = opendir(listing->folder.c_str());
  if (!list) return errno == ENOENT ? DWORD{ERROR_PATH_NOT_FOUND} : ErrorFromNative(errno);
  while (const dirent* item = readdir(list)) {
    const std::string name = item->d_name;
    if (is_root && (name == "." || name == "..")) continue;
    if (IsStreamFolder(name)) continue;
    Entry entry{UpperCase(WideFromUtf8(ShownName(name))), name};
    if (IsWanted(pattern, entry)) listing->entries.push_back(std::move(entry));
  }
  closedir(list);
  std::sort(listing->entries.begin(), listing->entries.end(),
            [](const Entry& a, const Entry& b) { return a.key < b.key; });
  return 0;
}

void CopyName(const std::string& text, char* out, size_t size) {
  const std::string ansi = AnsiFromUtf8(text);
  out[ansi.copy(out, size - 1)] = 0;
}

// False when the entry is gone.
bool Describe(const Listing& listing, const Entry& entry, WIN32_FIND_DATAA* data) {
  struct stat status;
  if (lstat((listing.folder + "/" + entry.native).c_str(), &status) != 0) return false;
  *data = {};
  data->dwFileAttributes = AttributesOf(status);
  data->ftCreationTime = data->ftLastWriteTime = FileTimeFromNative(status.st_mtim);
  data->ftLastAccessTime = FileTimeFromNative(status.st_atim);
  if (!S_ISDIR(status.st_mode)) {
    data->nFileSizeLow = static_cast<DWORD>(status.st_size);
    data->nFileSizeHigh = static_cast<DWORD>(static_cast<uint64_t>(status.st_size) >> 32);
  }
  const std::string shown = ShownName(entry.native), other = ShortName(entry.native);
  CopyName(shown, data->cFileName, sizeof data->cFileName);
  CopyName(shown == other ? "" : other, data->cAlternateFileName, sizeof data->cAlternateFileName);
  return true;
}

bool TakeNext(Listing& listing, WIN32_FIND_DATAA* data) {
  while (listing.next < listing.entries.size()) {
    if (Describe(listing, listing.entries[listing.next++], data)) return true;
  }
  return false;
}

HANDLE Start(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  // A pattern's end must keep its dot; a name's would go.
  DWORD error = 0;
  const std::u16string full = FullPath(WideFromAnsi(pattern ? pattern : ""), &error);
  if (full.empty()) return Fail(error, INVALID_HANDLE_VALUE);
  const size_t cut = full.rfind(u'\\');
  const std::u16string last = UpperCase(full.substr(cut + 1));
  if (last.empty()) return Fail(DWORD{ERROR_FILE_NOT_FOUND}, INVALID_HANDLE_VALUE);
  const bool is_root = cut == 2;
  const FoundName folder = FindNative(full.substr(0, is_root ? cut + 1 : cut));
  if (folder.error != 0) return Fail(folder.error, INVALID_HANDLE_VALUE);
  auto listing = std::make_shared<Listing>();
  listing->folder = folder.path;
  error = ReadEntries(last, is_root, listing.get());
  if (error != 0) return Fail(error, INVALID_HANDLE_VALUE);
  if (!TakeNext(*listing, data)) return Fail(DWORD{ERROR_FILE_NOT_FOUND}, INVALID_HANDLE_VALUE);
  return AddHandle<HANDLE>(std::move(listing));
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_HANDLE_VALUE);
  return host::Start(pattern, data);
}

HANDLE FindFirstFileExA(LPCSTR pattern, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS,
                        LPVOID filter, DWORD flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_HANDLE_VALUE);
  if (level != FindExInfoStandard || filter || flags != 0) {
    return Fail(DWORD{ERROR_INVALID_PARAMETER}, INVALID_HANDLE_VALUE);
  }
  return host::Start(pattern, static_cast<WIN32_FIND_DATAA*>(data));
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto listing = host::FindHandle<host::Listing>(handle);
  if (!listing) return Fail(ERROR_INVALID_HANDLE, FALSE);
  return host::TakeNext(*listing, data) ? TRUE : Fail(ERROR_NO_MORE_FILES, FALSE);
}

BOOL FindClose(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::CloseHandleOf<host::Listing>(handle) ? TRUE : Fail(ERROR_INVALID_HANDLE, FALSE);
}
