// Paths: from the form of the Windows calls to native ones and back.
//
// Drive C: is the folder drive_c of the state directory, Z: the root of the machine's file system;
// there are no other drives. Both "\" and "/" separate. Each part is found as it is written, else
// by the first entry of its folder that differs in letter case only, else by its short name. Dots
// and blanks at a path's end do not count.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/host/types.h"

namespace host {

// The path with drive and every folder, "." and ".." resolved, as GetFullPathName gives it. Empty
// when there is none, with *error set (which may be null).
std::u16string FullPath(std::u16string_view path, DWORD* error = nullptr);

struct FoundName {
  std::string path;
  // ERROR_PATH_NOT_FOUND when a folder on the way is missing, ERROR_INVALID_NAME for characters
  // that no name may have. A missing last part is no error.
  DWORD error = 0;
  // With a stream: the native path of its file; `path` is where the stream is kept (streams.h).
  std::string stream_of = {};
  // What lstat says of `path`, where the search has asked for it.
  std::optional<struct stat> status = {};
};
FoundName FindNative(std::u16string_view path);
FoundName FindNative(LPCSTR ansi_path);
// Takes names with a stream too: "letter:AFP_Resource".
FoundName FindWithStream(std::u16string_view path);

// Whether Windows takes these characters in a name.
bool MayBeName(std::u16string_view part);
// The entry of a native folder that differs from `name` in letter case only; "" when there is none.
std::string FindIgnoringCase(const std::string& folder, const std::string& name);
// A link counts, whatever it leads to.
bool NativeExists(const std::string& path);

// A native path in the form of the calls, in UTF-8; relative ones start at the current folder. ""
// when it has none (a name with a character that Windows refuses, or that is not UTF-8).
std::string PlatformFromNative(std::string_view native);

}  // namespace host
