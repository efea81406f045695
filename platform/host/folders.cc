// Names rather than contents: folders, attributes, deleting, renaming.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/files.h"
#include "platform/host/native_errors.h"
#include "platform/host/open_files.h"
#include "platform/host/paths.h"
#include "platform/host/streams.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr DWORD kNotSameDevice = 17;

// The operations below work on a found name and give a Windows error, 0 for success.

DWORD MakeFolder(const FoundName& name) {
  if (name.error != 0) return name.error;
  if (mkdir(name.path.c_str(), 0777) == 0) return 0;
  return errno == EEXIST ? ERROR_ALREADY_EXISTS : ErrorFromNative(errno);
}

DWORD RemoveFolder(const FoundName& name) {
  if (name.error != 0) return name.error;
  if (rmdir(name.path.c_str()) == 0) return 0;
  if (errno == ENOTEMPTY || errno == EEXIST) {
    ForgetLeftStreams(name.path);
    if (rmdir(name.path.c_str()) == 0) return 0;
  }
  return errno == ENOTDIR ? ERROR_DIRECTORY : ErrorFromNative(errno);
}

// Whether the file may go away; a link goes by itself, whatever it leads to.
DWORD CheckRemovable(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return ERROR_ACCESS_DENIED;
  if ((AttributesOf(status) & FILE_ATTRIBUTE_READONLY) != 0) return ERROR_ACCESS_DENIED;
  return MayDelete(status) ? 0 : ERROR_SHARING_VIOLATION;
}

// Open streams keep their file where it is, as it does itself.
DWORD CheckStreams(const std::string& file) {
  return EachStream(file, [](const std::string& path) -> DWORD {
    struct stat status;
    return lstat(path.c_str(), &status) != 0 || MayDelete(status) ? 0 : ERROR_SHARING_VIOLATION;
  });
}

DWORD RemoveFile(const FoundName& name) {
  if (name.error != 0) return name.error;
  struct stat status;
  if (lstat(name.path.c_str(), &status) != 0) return ErrorFromNative(errno);
  if (DWORD error = CheckRemovable(status)) return error;
  if (DWORD error = CheckStreams(name.path)) return error;
  if (unlink(name.path.c_str()) != 0) return ErrorFromNative(errno);
  if (name.stream_of.empty()) {
    DeleteStreams(name.path);
  } else {
    ForgetEmptyStreams(name.stream_of);
  }
  return 0;
}

DWORD Rename(const FoundName& from, const FoundName& to, bool replace) {
  if (from.error != 0) return from.error;
  if (to.error != 0) return to.error;
  struct stat source, target;
  if (lstat(from.path.c_str(), &source) != 0) return ErrorFromNative(errno);
  if (!MayDelete(source)) return ERROR_SHARING_VIOLATION;
  if (DWORD error = CheckStreams(from.path)) return error;
  if (from.path != to.path && lstat(to.path.c_str(), &target) == 0) {
    if (!replace) return ERROR_ALREADY_EXISTS;
    if (DWORD error = CheckRemovable(target)) return error;
    if (DWORD error = CheckStreams(to.path)) return error;
  }
  if (rename(from.path.c_str(), to.path.c_str()) != 0) {
    return errno == EXDEV ? kNotSameDevice : ErrorFromNative(errno);
  }
  if (from.path == to.path || S_ISDIR(source.st_mode)) return 0;
  DeleteStreams(to.path);
  const DWORD error = MoveStreams(from.path, to.path);
  if (error != 0) rename(to.path.c_str(), from.path.c_str());
  return error;
}

DWORD Attributes(const FoundName& name) {
  if (name.error != 0) return Fail(name.error, INVALID_FILE_ATTRIBUTES);
  if (name.status) return AttributesOf(*name.status);
  struct stat status;
  if (lstat(name.path.c_str(), &status) != 0) {
    return Fail(ErrorFromNative(errno), INVALID_FILE_ATTRIBUTES);
  }
  return AttributesOf(status);
}

// Read-only is the one attribute that a native file has; a link has none.
DWORD GiveAttributes(const FoundName& name, DWORD attributes) {
  if (name.error != 0) return name.error;
  struct stat status;
  if (lstat(name.path.c_str(), &status) != 0) return ErrorFromNative(errno);
  if (S_ISLNK(status.st_mode)) return 0;
  bool read_only = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  mode_t mode = read_only ? status.st_mode & ~mode_t{0222} : status.st_mode | S_IWUSR;
  return chmod(name.path.c_str(), mode & 07777) == 0 ? 0 : ErrorFromNative(errno);
}

BOOL Result(DWORD error) { return error == 0 ? TRUE : Fail(error, FALSE); }

FoundName FindWide(LPCWSTR path) { return FindNative(std::u16string_view(path ? path : u"")); }

// Of what may be a stream too.
FoundName FindAny(LPCWSTR path) { return FindWithStream(path ? path : u""); }
FoundName FindAny(LPCSTR path) { return FindWithStream(WideFromAnsi(path ? path : "")); }

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::MakeFolder(host::FindNative(path)));
}

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::MakeFolder(host::FindWide(path)));
}

BOOL RemoveDirectoryA(LPCSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::RemoveFolder(host::FindNative(path)));
}

BOOL DeleteFileA(LPCSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::RemoveFile(host::FindAny(path)));
}

BOOL DeleteFileW(LPCWSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::RemoveFile(host::FindAny(path)));
}

BOOL MoveFileA(LPCSTR from, LPCSTR to) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::Rename(host::FindNative(from), host::FindNative(to), false));
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  bool replace = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
  return host::Result(host::Rename(host::FindWide(from), host::FindWide(to), replace));
}

DWORD GetFileAttributesA(LPCSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_FILE_ATTRIBUTES);
  return host::Attributes(host::FindNative(path));
}

DWORD GetFileAttributesW(LPCWSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_FILE_ATTRIBUTES);
  return host::Attributes(host::FindWide(path));
}

BOOL SetFileAttributesA(LPCSTR path, DWORD attributes) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::GiveAttributes(host::FindNative(path), attributes));
}

BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::Result(host::GiveAttributes(host::FindWide(path), attributes));
}

DWORD GetFullPathNameW(LPCWSTR path, DWORD size, LPWSTR buffer, LPWSTR* name_part) {
  if (name_part) *name_part = nullptr;
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  DWORD error = 0;
  std::u16string full = host::FullPath(path ? path : u"", &error);
  if (error != 0) return Fail(error, DWORD{0});
  DWORD length = host::CopyOut(std::u16string_view(full), buffer, size);
  bool copied = length == full.size();
  size_t name = full.rfind(u'\\') + 1;
  if (copied && name_part && name < full.size()) *name_part = buffer + name;
  return length;
}
