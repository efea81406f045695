// Moving and renaming the named file or folder, and names that nothing has.
#include <cstring>

#include "files/disk_file.h"
#include "files/errors.h"
#include "files/file_request.h"
#include "files/file_trace.h"
#include "files/folder_tests.h"
#include "files/unique_names.h"
#include "platform/windows_api.h"
#include "text/length_prefixed.h"

using qv::kTraceOpens;
using qv::kTraceTransfers;
using qv::TraceFile;

namespace {

constexpr uint32_t kMovePathSize = 256;  // of both paths of a move

// To another volume a move is a copy, which can take long.
ZRError Move(const char* from, const char* to, bool use_worker) {
  struct Job {
    const char *from, *to;
    uint32_t error;
  } job = {from, to, 0};
  qv::RunFileJob(
      use_worker,
      [](void* argument) {
        auto* move = static_cast<Job*>(argument);
        move->error = MoveFileA(move->from, move->to) ? 0 : GetLastError();
      },
      &job);
  return ZRTranslateNativeError(job.error, from);
}

// The name at the end of a path.
const char* LastPart(const char* path) {
  const char* separator = ZRLastSeparator(path, '\\');
  return separator != nullptr ? separator + 1 : path;
}

bool HasDrive(const char* path) {
  return std::strlen(path) >= 3 && path[1] == ':' && path[2] == '\\';
}

bool SamePath(const char* a, const char* b) {
  Str255 first, second;
  qv::CStrToLStr(first, kMostLStr, a);
  qv::CStrToLStr(second, kMostLStr, b);
  return qv::EqualLStrIgnoringCase(first, second);
}

}  // namespace

ZRError CDiskFile::Name(const char* path) {
  if (!ZRFolderExists(path, use_worker_)) return ZRPathSplit(path, folder_, name_, use_worker_);
  name_[0] = 0;
  return qv::CopyWhole(path, folder_, kFolderSize);
}

// The end of a move that answered `error`.
ZRError CDiskFile::FinishMove(uint32_t trace, ZRError error, const char* target) {
  TraceFile(trace, error == ZRErrNone ? "OK\n" : "FAILED!\n");
  return error == ZRErrNone ? Name(target) : error;
}

ZRError CDiskFile::MoveIntoFolder(const char* source, const char* folder, uint8_t* unique_name,
                                  char* target) {
  qv::UniqueNames names(folder);
  const auto exists = [&](const char* path) { return qv::PathExists(path, use_worker_); };
  const ZRError error = qv::MakeUnique(
      names, exists, [&](const char* path) { return Move(source, path, use_worker_); });
  if (error != ZRErrNone) return error;
  TraceFile(kTraceTransfers, " as \"%s\") -- ", names.name());
  qv::CStrToLStr(unique_name, kNameSize - 1, names.name());
  return qv::CopyWhole(names.path(), target, kMovePathSize);
}

ZRError CDiskFile::MoveTo(CDiskFile* destination, uint8_t* unique_name) {
  if (destination == nullptr) return ZRErrNotFound;
  char source[kMovePathSize], target[kMovePathSize];
  ZRError error = GetNativePath(source, sizeof source);
  if (error != ZRErrNone) return error;
  if (IsOpen()) return ZRErrFileOpen;
  EndFind();
  error = destination->GetNativePath(target, sizeof target);
  if (error != ZRErrNone) return error;
  if (qv::PathExists(target, use_worker_) && ZRPathJoin(target, LastPart(source)) == nullptr)
    return ZRErrTooLong;
  if (unique_name != nullptr) {
    TraceFile(kTraceTransfers, "ZRFile: MOVEUNIQ(\"%s\" to \"%s\") -- ", source, target);
    char folder[kFolderSize], name[kNameSize];
    error = ZRPathSplit(target, folder, name, use_worker_);
    if (error == ZRErrNone) error = MoveIntoFolder(source, folder, unique_name, target);
  } else {
    TraceFile(kTraceTransfers, "ZRFile: MOVEFILE(\"%s\" to \"%s\") -- ", source, target);
    error = Move(source, target, use_worker_);
  }
  return FinishMove(kTraceTransfers, error, target);
}

ZRError CDiskFile::RenameTarget(const char* new_name, char* target) const {
  if (HasDrive(new_name)) return qv::CopyWhole(new_name, target, kMovePathSize);
  char path[2 * kMovePathSize] = {};
  size_t length = std::strlen(folder_);
  std::memcpy(path, folder_, length + 1);
  if (name_[0] == 0) {  // a folder: its parent, with the separator taken off
    const char* colon = std::strchr(path, ':');
    const char* separator = ZRLastSeparator(path, '\\');
    length = separator != nullptr && separator > colon ? static_cast<size_t>(separator - path) : 0;
  } else if (length > 0 && ZRLastSeparator(path, '\\') == path + length - 1) {
    --length;  // a drive root has one of its own
  }
  const size_t name_length = strnlen(new_name, kMovePathSize);
  if (length + 1 + name_length >= kMovePathSize) return ZRErrTooLong;
  path[length] = '\\';
  std::memcpy(path + length + 1, new_name, name_length + 1);
  return qv::CopyWhole(path, target, kMovePathSize);
}

ZRError CDiskFile::Rename(const char* new_name) {
  if (new_name == nullptr || *new_name == 0) return ZRErrUnexpected;
  char source[kMovePathSize], target[kMovePathSize];
  ZRError error = GetNativePath(source, sizeof source);
  if (error == ZRErrNone) error = RenameTarget(new_name, target);
  if (error != ZRErrNone) return error;
  if (SamePath(source, target)) {
    TraceFile(kTraceOpens, "Logic error: Request to move '%s' to original location.\n", target);
    return ZRErrNone;
  }
  EndFind();
  TraceFile(kTraceOpens, "ZRFile: RENAME(\"%s\" to \"%s\") -- ", source, target);
  return FinishMove(kTraceOpens, Move(source, target, use_worker_), target);
}

ZRError CDiskFile::CreateUnique(bool folder) {
  if (IsOpen()) return ZRErrFileOpen;
  if (folder_[0] == 0 || !ZRFolderExists(folder_, use_worker_)) return ZRErrBadFolder;
  qv::UniqueNames names(folder_);
  const auto exists = [&](const char* path) { return qv::PathExists(path, use_worker_); };
  const ZRError error = qv::MakeUnique(names, exists, [&](const char*) {
    const ZRError named = SetName(names.name());
    if (named != ZRErrNone) return named;
    return folder ? Ask(kFileRequestMakeFolder) : Create();
  });
  if (error != ZRErrNone) name_[0] = 0;
  return error;
}
