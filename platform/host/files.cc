#include "platform/host/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/host/calls.h"
#include "platform/host/native_errors.h"
#include "platform/host/open_files.h"
#include "platform/host/paths.h"
#include "platform/host/streams.h"
#include "platform/host/text.h"

namespace host {
namespace {

// What a caller of CreateFile asks for.
struct OpenRequest {
  DWORD access, share, disposition, flags;
  bool Writes() const { return (access & (GENERIC_WRITE | FILE_APPEND_DATA)) != 0; }
  // Without the right to write anywhere, each write goes to the end.
  bool OnlyAppends() const { return Writes() && (access & GENERIC_WRITE) == 0; }
  bool MayCreate() const { return disposition != OPEN_EXISTING; }
};

int NativeFlags(const OpenRequest& request, bool exists) {
  // A pipe under this name must not make us wait for its other end.
  int flags = O_CLOEXEC | O_NONBLOCK | (request.Writes() ? O_RDWR : O_RDONLY);
  if (!exists) flags |= O_CREAT | O_EXCL;
  if (request.OnlyAppends()) flags |= O_APPEND;
  if ((request.flags & FILE_FLAG_WRITE_THROUGH) != 0) flags |= O_DSYNC;
  return flags;
}

// A file that is opened for oneself alone is so for other processes too. Where the file system
// knows no locks, it is not.
DWORD LockOut(int file, const OpenRequest& request) {
  if ((request.access & (GENERIC_READ | GENERIC_WRITE)) == 0) return 0;
  int lock = request.share == 0 ? LOCK_EX : LOCK_SH;
  bool refused = flock(file, lock | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  return refused ? ERROR_SHARING_VIOLATION : 0;
}

// What the file is that the path leads to, through links too. False when there is none.
bool ReadStatus(const FoundName& name, struct stat* status) {
  if (!name.status || S_ISLNK(name.status->st_mode)) return stat(name.path.c_str(), status) == 0;
  *status = *name.status;
  return true;
}

// Opens a native file; the descriptor is not open after an error. *exists says whether the file was
// there before.
DWORD OpenNative(const FoundName& name, const OpenRequest& request, bool* exists,
                 Descriptor* file) {
  struct stat status;
  *exists = ReadStatus(name, &status);
  if (!*exists && !request.MayCreate()) return ERROR_FILE_NOT_FOUND;
  if (*exists) {
    if (request.disposition == CREATE_NEW) return ERROR_FILE_EXISTS;
    if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
    bool read_only = (AttributesOf(status) & FILE_ATTRIBUTE_READONLY) != 0;
    if (read_only && (request.Writes() || request.disposition == CREATE_ALWAYS)) {
      return ERROR_ACCESS_DENIED;
    }
    if (!MayOpen(status, request.access, request.share)) return ERROR_SHARING_VIOLATION;
  }
  mode_t mode = (request.flags & FILE_ATTRIBUTE_READONLY) != 0 ? 0444 : 0666;
  *file = Descriptor(open(name.path.c_str(), NativeFlags(request, *exists), mode));
  if (!file->is_open()) return ErrorFromNative(errno);
  if (DWORD error = LockOut(file->number(), request)) return error;
  bool empty_it = *exists && request.disposition == CREATE_ALWAYS;
  if (empty_it && truncate(name.path.c_str(), 0) != 0) return ErrorFromNative(errno);
  return 0;
}

// Opens a stream. One that has to be made needs its file, which is made as well.
DWORD OpenStream(const FoundName& name, const OpenRequest& request, bool* exists,
                 Descriptor* stream) {
  OpenRequest of_file = request;
  of_file.disposition = request.MayCreate() ? OPEN_ALWAYS : OPEN_EXISTING;
  of_file.share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  of_file.access = 0;
  Descriptor file;
  bool has_file = false;
  DWORD error = OpenNative({name.stream_of}, of_file, &has_file, &file);
  if (error != 0) return error;
  struct stat status;
  const bool refuses = request.Writes() && fstat(file.number(), &status) == 0 &&
                       (AttributesOf(status) & FILE_ATTRIBUTE_READONLY) != 0;
  if (refuses) return ERROR_ACCESS_DENIED;
  if (request.MayCreate()) error = PrepareStream(name.stream_of);
  if (error == 0) error = OpenNative(name, request, exists, stream);
  if (error != 0) ForgetEmptyStreams(name.stream_of);
  return error;
}

DWORD OpenPlainFile(const FoundName& name, const OpenRequest& request, bool* exists,
                    Descriptor* file) {
  const DWORD error = OpenNative(name, request, exists, file);
  // A file that begins anew has no streams.
  const bool is_new = request.MayCreate() && (!*exists || request.disposition == CREATE_ALWAYS);
  if (error == 0 && is_new) DeleteStreams(name.path);
  return error;
}

HANDLE OpenFileHandle(const FoundName& name, const OpenRequest& request) {
  if (name.error != 0) return Fail(name.error, INVALID_HANDLE_VALUE);
  if (request.disposition < CREATE_NEW || request.disposition > OPEN_ALWAYS) {
    return Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
  }
  bool exists = false;
  Descriptor file;
  DWORD error = name.stream_of.empty() ? OpenPlainFile(name, request, &exists, &file)
                                       : OpenStream(name, request, &exists, &file);
  struct stat status;
  if (error == 0 && fstat(file.number(), &status) != 0) error = ErrorFromNative(errno);
  if (error != 0) return Fail(error, INVALID_HANDLE_VALUE);
  SetThreadError(exists && request.MayCreate() ? ERROR_ALREADY_EXISTS : 0);
  return AddHandle<HANDLE>(
      std::make_shared<OpenFile>(std::move(file), status, request.access, request.share));
}

off_t PlaceOf(const OVERLAPPED& at) {
  return static_cast<off_t>(uint64_t{at.OffsetHigh} << 32 | at.Offset);
}

DWORD MoveTo(const OpenFile& file, off_t place) {
  return lseek(file.number(), place, SEEK_SET) < 0 ? DWORD{ERROR_INVALID_PARAMETER} : 0;
}

// Bytes go where the transfer says, whatever other threads do with the same file meanwhile; without
// a place, where the last transfer ended. `transfer` and `transfer_at` are the system's calls.
template <typename Byte, typename Transfer, typename TransferAt>
DWORD TransferBytes(const OpenFile& file, Byte* bytes, DWORD size, OVERLAPPED* at, DWORD* total,
                    Transfer transfer, TransferAt transfer_at) {
  const off_t place = at ? PlaceOf(*at) : 0;
  *total = 0;
  while (*total < size) {
    Byte* rest = bytes + *total;
    const ssize_t count = at ? transfer_at(file.number(), rest, size - *total, place + *total)
                             : transfer(file.number(), rest, size - *total);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      const DWORD error = ErrorFromNative(errno);
      const DWORD unreachable = at ? MoveTo(file, place) : 0;
      return unreachable != 0 ? unreachable : error;
    }
    if (count == 0) break;
    *total += static_cast<DWORD>(count);
  }
  if (!at) return 0;
  at->InternalHigh = *total;
  return MoveTo(file, place + *total);
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition,
                   DWORD flags, HANDLE) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_HANDLE_VALUE);
  return host::OpenFileHandle(host::FindWithStream(host::WideFromAnsi(path ? path : "")),
                              {access, share, disposition, flags});
}

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                   DWORD disposition, DWORD flags, HANDLE) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_HANDLE_VALUE);
  return host::OpenFileHandle(host::FindWithStream(path ? path : u""),
                              {access, share, disposition, flags});
}

// At the end of the file: a success of 0 bytes, but error 38 where the offset was given.
BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD size, LPDWORD done, OVERLAPPED* at) {
  if (done) *done = 0;
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, FALSE);
  if (!file->MayRead()) return Fail(ERROR_ACCESS_DENIED, FALSE);
  DWORD total = 0;
  const DWORD error =
      host::TransferBytes(*file, static_cast<char*>(buffer), size, at, &total, read, pread);
  if (error != 0) return Fail(error, FALSE);
  if (done) *done = total;
  return at && total == 0 && size > 0 ? Fail(ERROR_HANDLE_EOF, FALSE) : TRUE;
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD size, LPDWORD done, OVERLAPPED* at) {
  if (done) *done = 0;
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, FALSE);
  if (!file->MayWrite()) return Fail(ERROR_ACCESS_DENIED, FALSE);
  DWORD total = 0;
  const DWORD error =
      host::TransferBytes(*file, static_cast<const char*>(buffer), size, at, &total, write, pwrite);
  if (error != 0) return Fail(error, FALSE);
  if (done) *done = total;
  return TRUE;
}

// Every transfer has ended when its call returns.
BOOL GetOverlappedResult(HANDLE handle, OVERLAPPED* at, LPDWORD done, BOOL) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::FindHandle<host::OpenFile>(handle)) return Fail(ERROR_INVALID_HANDLE, FALSE);
  *done = static_cast<DWORD>(at->InternalHigh);
  return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG low, LONG* high, DWORD origin) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{INVALID_SET_FILE_POINTER});
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, DWORD{INVALID_SET_FILE_POINTER});
  if (origin > FILE_END) return Fail(ERROR_INVALID_PARAMETER, DWORD{INVALID_SET_FILE_POINTER});
  const int64_t distance = high ? static_cast<int64_t>(uint64_t{static_cast<DWORD>(*high)} << 32 |
                                                       static_cast<DWORD>(low))
                                : low;
  const int native[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  const off_t place = lseek(file->number(), distance, native[origin]);
  if (place < 0) return Fail(ERROR_NEGATIVE_SEEK, DWORD{INVALID_SET_FILE_POINTER});
  if (high) *high = static_cast<LONG>(place >> 32);
  host::SetThreadError(0);
  return static_cast<DWORD>(place);
}

BOOL SetEndOfFile(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, FALSE);
  if (!file->MayWrite()) return Fail(ERROR_ACCESS_DENIED, FALSE);
  const off_t place = lseek(file->number(), 0, SEEK_CUR);
  if (place < 0 || ftruncate(file->number(), place) != 0) {
    return Fail(host::ErrorFromNative(errno), FALSE);
  }
  return TRUE;
}

BOOL FlushFileBuffers(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, FALSE);
  if (!file->MayWrite()) return Fail(ERROR_ACCESS_DENIED, FALSE);
  if (fsync(file->number()) != 0) return Fail(host::ErrorFromNative(errno), FALSE);
  return TRUE;
}

BOOL GetFileSizeEx(HANDLE handle, LARGE_INTEGER* size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, FALSE);
  struct stat status;
  if (fstat(file->number(), &status) != 0) return Fail(host::ErrorFromNative(errno), FALSE);
  size->QuadPart = status.st_size;
  return TRUE;
}
