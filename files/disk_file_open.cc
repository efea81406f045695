// Opening, making and closing the named file.
#include <cstring>
#include <utility>

#include "app/debug_output.h"
#include "base/file_time.h"
#include "base/hooks.h"
#include "files/disk_file.h"
#include "files/errors.h"
#include "files/file_options.h"
#include "files/file_request.h"
#include "files/file_trace.h"
#include "files/folder_tests.h"
#include "files/forks.h"
#include "files/locations.h"
#include "platform/windows_api.h"

using qv::kTraceOpens;
using qv::TraceFile;

namespace {

// Where a user keeps copies of files that he may not write to: each user may write there, and a
// search over the levels finds it before the levels that all users share.
constexpr uint32_t kOwnLevel = kLocationRoamingData;

bool MayYield() {
  const qv::Hooks& hooks = qv::GlobalHooks();
  return hooks.on_kernel_thread() && hooks.switching_allowed();
}

bool IsSharedLevel(uint32_t level) {
  return level == kLocationCommonData || level == kLocationApplication ||
         level == kLocationApplicationToo;
}

// Everything from the mark of one open file on, to the mark of another.
bool CopyBytes(CDiskFile& from, CDiskFile& to) {
  constexpr uint32_t kBlock = 65536;
  const qv::HookBlock block(kBlock);
  if (block.data() == nullptr) return false;
  for (ZRError error = ZRErrNone; error != ZRErrEOF;) {
    uint32_t count = kBlock;
    error = from.Read(block.data(), &count);
    if (error != ZRErrNone && error != ZRErrEOF) return false;
    if (to.Write(block.data(), static_cast<int32_t>(count)) != ZRErrNone) return false;
  }
  return true;
}

// Fills an empty file. Both are closed afterwards; a file that is not whole is deleted. The
// system's own copy would take the protection from writing along.
bool FillCopy(CDiskFile& from, CDiskFile& to) {
  bool done = from.OpenHere(kFileRead, kShareRead) == ZRErrNone &&
              to.OpenHere(kFileWrite, kShareNone) == ZRErrNone && CopyBytes(from, to);
  from.Close();
  const ZRError closed = to.Close();
  done = done && closed == ZRErrNone;
  if (!done) to.Delete();
  return done;
}

struct OpenMode {
  DWORD access, share;
  const char* access_text;
  const char* share_text;
};

OpenMode ModeOf(uint32_t access, uint32_t share) {
  OpenMode mode = {0, FILE_SHARE_READ | FILE_SHARE_WRITE, "W/O", " SH-RW"};
  if ((access & kFileRead) != 0) mode.access |= GENERIC_READ;
  if ((access & kFileWrite) != 0) mode.access |= GENERIC_WRITE;
  if ((access & kFileRead) != 0) mode.access_text = (access & kFileWrite) != 0 ? "R/W" : "R/O";
  if (share == kShareWrite) mode.share = FILE_SHARE_WRITE, mode.share_text = " SH-W";
  if (share == kShareRead) mode.share = FILE_SHARE_READ, mode.share_text = " SH-R";
  if (share == kShareNone) mode.share = 0, mode.share_text = " DENYALL";
  return mode;
}

FileRequest OpenRequest(const char* path, const OpenMode& mode, bool use_worker) {
  ZRFileIOOptions options;
  ZRGetFileIOOptions(&options);
  FileRequest request;
  request.operation = kFileRequestOpen;
  request.path = path;
  request.access = mode.access;
  request.share = mode.share;
  if (options.write_through != 0) request.platform_flags |= FILE_FLAG_WRITE_THROUGH;
  if (options.overlapped != 0 && use_worker) request.platform_flags |= FILE_FLAG_OVERLAPPED;
  return request;
}

}  // namespace

ZRError CDiskFile::OpenExclusive() { return Open(kFileRead | kFileWrite, kShareNone); }

ZRError CDiskFile::Open(uint32_t access, uint32_t share) {
  const ZRError error = OpenHere(access, share);
  // A file in use is ZRErrAccess too, but needs no copy.
  const bool may_not_write =
      open_error_ == ERROR_ACCESS_DENIED || open_error_ == ERROR_WRITE_PROTECT;
  const bool tried = error == ZRErrAccess || error == ZRErrWriteProtected;
  if (!tried || !may_not_write || (access & kFileWrite) == 0 || !IsSharedLevel(level_)) {
    return error;
  }
  return OpenOwnCopy(access, share, error);
}

ZRError CDiskFile::OpenOwnCopy(uint32_t access, uint32_t share, ZRError refusal) {
  CDiskFile shared, own;
  shared.UseWorker(use_worker_);
  own.UseWorker(use_worker_);
  // The object may have gone elsewhere since it was at its level.
  if (fork_ != kDataFork || shared.GoToLevel(level_, subfolder_, name_) != ZRErrNone ||
      std::strcmp(shared.folder_, folder_) != 0) {
    return refusal;
  }
  ZRError error = own.GoToLevel(kOwnLevel, subfolder_, name_);
  if (error == ZRErrNotFound) {
    error = own.CreateAtLevel(kOwnLevel, subfolder_, name_);
    if (error == ZRErrNone && !FillCopy(shared, own)) return refusal;
  }
  if (error != ZRErrNone || own.OpenHere(access, share) != ZRErrNone) return refusal;
  std::memcpy(folder_, own.folder_, sizeof folder_);
  level_ = kOwnLevel;
  std::swap(file_, own.file_);
  return ZRErrNone;
}

ZRError CDiskFile::PathWithFork(char* path) const {
  return fork_ == kResourceFork ? qv::AppendResourceForkName(path, kPathSize) : ZRErrNone;
}

ZRError CDiskFile::OpenHere(uint32_t access, uint32_t share) {
  while (opening_) qv::GlobalHooks().yield();
  if (IsOpen()) return ZRErrFileOpen;
  char path[kPathSize];
  ZRError error = GetNativePath(path, sizeof path);
  if (error != ZRErrNone) return error;
  TraceFile(kTraceOpens, "ZRFile: Open(\"%s\")", path);
  error = PathWithFork(path);
  if (error != ZRErrNone) return error;
  if ((access & (kFileRead | kFileWrite)) == 0) {
    qv::ReportFailedCheck("((AccessBits&fsRead)|(AccessBits&fsWrite))", "cdfile", 487);
    return ZRErrParam;
  }
  return OpenNative(path, access, share);
}

ZRError CDiskFile::OpenNative(char* path, uint32_t access, uint32_t share) {
  const OpenMode mode = ModeOf(access, share);
  TraceFile(kTraceOpens, "%s%s%s", mode.access_text, mode.share_text, use_worker_ ? "\n" : "");
  FileRequest request = OpenRequest(path, mode, use_worker_);
  opening_ = true;
  const uint32_t native = qv::RunFileRequest(request, use_worker_);
  opening_ = false;
  open_error_ = native;
  if (native != 0) {
    TraceFile(kTraceOpens, " - error %lu (%08lxh)\n", native, native);
    return ZRTranslateNativeError(native, path);
  }
  file_ = request.file;
  TraceFile(kTraceOpens, " - OK (%p) [+%lu]\n", file_, qv::ChangeOpenFiles(1));
  return ZRErrNone;
}

bool CDiskFile::IsOpen() const { return file_ != INVALID_HANDLE_VALUE; }

ZRError CDiskFile::CheckCreate(char* path) const {
  const ZRError error = GetNativePath(path, kPathSize);
  if (error != ZRErrNone) return error;
  if (name_[0] == 0) return ZRErrParam;
  if (Exists()) return ZRErrExists;
  if (!ZRFolderExists(folder_, use_worker_)) return ZRErrBadFolder;
  return IsOpen() ? ZRErrFileOpen : ZRErrNone;
}

ZRError CDiskFile::Create() {
  char path[kPathSize];
  ZRError error = CheckCreate(path);
  if (error != ZRErrNone) return error;
  TraceFile(kTraceOpens, "ZRFile: Create(\"%s\"%s)", path,
            fork_ == kResourceFork ? ",ResourceFork" : "");
  error = PathWithFork(path);
  if (error != ZRErrNone) return error;
  if (use_worker_) TraceFile(kTraceOpens, "\n");
  FileRequest request;
  request.operation = kFileRequestCreate;
  request.path = path;
  const uint32_t native = qv::RunFileRequest(request, use_worker_);
  if (native != 0) {
    TraceFile(kTraceOpens, " - error %lu (%08lxh)\n", native, native);
    return ZRTranslateNativeError(native, path);
  }
  TraceFile(kTraceOpens, " - OK [+%lu]\n", qv::ChangeOpenFiles(0));
  return ZRErrNone;
}

ZRError CDiskFile::Flush() {
  if (!IsOpen()) return ZRErrNotOpen;
  FileRequest request;
  request.operation = kFileRequestFlush;
  request.file = file_;
  return ZRTranslateNativeError(qv::RunFileRequest(request, use_worker_));
}

ZRError CDiskFile::Close() {
  if (!IsOpen() || IsClosing()) return ZRErrNotOpen;
  TraceFile(kTraceOpens, "ZRFile[%p]: CLOSE -- %s", file_, use_worker_ ? "\n" : "");
  qv::FileOperation closing(blocks_, qv::FileOperation::kClose);
  // The platform may give the handle to another file as soon as it is closed.
  const auto is_waiting = [&] {
    return !closing.IsOrphan() && blocks_ != nullptr && blocks_->HasOthersThan(closing);
  };
  while (is_waiting() && MayYield()) qv::GlobalHooks().yield();
  if (!closing.IsOrphan()) DropForChange(&closing);
  if (closing.IsOrphan()) return ZRErrNotOpen;
  FileRequest request;
  request.operation = kFileRequestClose;
  request.file = std::exchange(file_, INVALID_HANDLE_VALUE);
  mark_ = 0;
  const uint32_t native = qv::RunFileRequest(request, use_worker_);
  if (!closing.IsOrphan()) DropForChange(&closing);
  const uint32_t open_files = qv::ChangeOpenFiles(native == 0 ? -1 : 0);
  if (native != 0) {
    TraceFile(kTraceOpens, "FAILED!\n");
    return ZRTranslateNativeError(native);
  }
  TraceFile(kTraceOpens, "OK [+%lu]\n", open_files);
  return ZRErrNone;
}

void CDiskFile::WaitForTransfers() const {
  while (blocks_ != nullptr && blocks_->HasOperations() && MayYield()) {
    qv::DumpForUnfinishedTransfers();
    qv::GlobalHooks().yield();
  }
}

void CDiskFile::SetFork(uint32_t fork) { fork_ = fork == kResourceFork ? fork : kDataFork; }
uint32_t CDiskFile::GetFork() const { return fork_; }

ZRError CDiskFile::GetInfo(qv::FolderEntry* entry) {
  *entry = {};
  if (!Exists()) return ZRErrNotFound;
  char folder[kFolderSize], name[kNameSize];
  std::memcpy(folder, folder_, sizeof folder);
  std::memcpy(name, name_, sizeof name);
  ZRError error = ZRErrNone;
  if (name[0] == 0) error = ZRPathSplit(folder_, folder, name, use_worker_);
  if (error != ZRErrNone) return error;
  qv::FolderListing listing(use_worker_);
  error = listing.First(folder, name, qv::kListForkInfo, entry);
  return error == ZRErrEOF ? ZRErrNotFound : error;
}

namespace {

// On the local clock to the platform's.
bool NativeTime(const uint32_t* time, FILETIME* native) {
  if (time == nullptr) return true;
  const uint64_t units = qv::FileTimeFromFrameworkTime(*time);
  const FILETIME local = {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
  return LocalFileTimeToFileTime(&local, native) != FALSE;
}

}  // namespace

ZRError CDiskFile::SetNativeTimes(void* file, const void* created, const void* modified) const {
  FileRequest request;
  request.operation = kFileRequestSetTimes;
  request.file = file;
  request.times[0] = created;
  request.times[2] = modified;
  return ZRTranslateNativeError(qv::RunFileRequest(request, use_worker_));
}

ZRError CDiskFile::SetTimes(const uint32_t* created, const uint32_t* modified) {
  char path[kPathSize];
  ZRError error = GetNativePath(path, sizeof path);
  if (error != ZRErrNone) return error;
  FILETIME native_created{}, native_modified{};
  if (!NativeTime(created, &native_created) || !NativeTime(modified, &native_modified)) {
    return ZRTranslateNativeError(GetLastError(), path);
  }
  const void* times[] = {created != nullptr ? &native_created : nullptr,
                         modified != nullptr ? &native_modified : nullptr};
  if (IsOpen()) return SetNativeTimes(file_, times[0], times[1]);
  FileRequest request;
  request.operation = kFileRequestOpen;
  request.path = path;
  request.access = GENERIC_WRITE;
  request.share = FILE_SHARE_READ | FILE_SHARE_WRITE;
  const uint32_t native = qv::RunFileRequest(request, use_worker_);
  if (native != 0) return ZRTranslateNativeError(native, path);
  error = SetNativeTimes(request.file, times[0], times[1]);
  request.operation = kFileRequestClose;
  const ZRError closed = ZRTranslateNativeError(qv::RunFileRequest(request, use_worker_));
  return error != ZRErrNone ? error : closed;
}
