#include "files/disk_file.h"

#include <cstring>

#include "app/debug_output.h"
#include "files/errors.h"
#include "files/file_names.h"
#include "files/file_options.h"
#include "files/file_request.h"
#include "files/folder_tests.h"
#include "files/locations.h"
#include "platform/windows_api.h"
#include "text/length_prefixed.h"

CDiskFile::CDiskFile()
    : use_worker_(qv::FileWorkersByDefault()), listing_(qv::FileWorkersByDefault()) {
  qv::CachedReadLimit();
}

CDiskFile::~CDiskFile() {
  WaitForTransfers();
  Close();
  qv::FileBlocks::Destroy(blocks_);
}

void CDiskFile::UseWorker(bool use_worker) {
  use_worker_ = use_worker;
  listing_.UseWorker(use_worker);
}

ZRError CDiskFile::GoToLocation(uint32_t level) {
  if (!ResetSpec()) return ZRErrFileOpen;
  return ZRGetLocation(level, folder_, kFolderSize);
}

ZRError CDiskFile::GoToAppFolder() { return GoToLocation(kLocationApplication); }
ZRError CDiskFile::GoToAppDriveRoot() { return GoToLocation(kLocationDriveRoot); }
ZRError CDiskFile::GoToDocuments() { return GoToLocation(kLocationDocuments); }
ZRError CDiskFile::GoToTempFolder() { return GoToLocation(kLocationTemporary); }

ZRError CDiskFile::GoToParent() {
  if (IsOpen()) return ZRErrFileOpen;
  if (folder_[0] == 0) return ZRErrParam;
  char parent[kFolderSize], last[kNameSize];
  const ZRError error = ZRPathSplit(folder_, parent, last, use_worker_);
  if (error != ZRErrNone) return error;
  name_[0] = 0;
  if (parent[0] != 0) std::memcpy(folder_, parent, sizeof folder_);
  return ZRErrNone;
}

ZRError CDiskFile::RefuseFolder(const char* message, const char* name) {
  if (qv::ReportsMissing()) DebugPrint(message, name);
  ResetSpec();
  return ZRErrNotFound;
}

ZRError CDiskFile::EnterFolder(const char* name, bool skip_check) {
  if (IsOpen()) return ZRErrFileOpen;
  if (name == nullptr || *name == 0) return ZRErrBadFolder;
  if (folder_[0] == 0) {
    ResetSpec();
    return ZRErrParam;
  }
  name_[0] = 0;
  fork_ = kDataFork;
  if (std::strlen(name) >= kNameSize || ZRPathJoin(folder_, name) == nullptr) {
    return RefuseFolder("Relative folder change (%s) is not a valid directory.\n", name);
  }
  if (!skip_check && !ZRFolderExists(folder_, use_worker_)) {
    return RefuseFolder("Relative folder change (%s) does not exist.\n", name);
  }
  return ZRErrNone;
}

ZRError CDiskFile::SetName(const char* name, bool clean) {
  if (IsOpen()) return ZRErrFileOpen;
  char cleaned[kFolderSize];
  if (clean && name != nullptr) {
    const size_t copied = strnlen(name, sizeof cleaned - 1);
    std::memcpy(cleaned, name, copied);
    cleaned[copied] = 0;
    ZRSanitizeName(cleaned, false);
    name = cleaned;
  }
  const size_t length = name == nullptr ? 0 : std::strlen(name);
  if (folder_[0] == 0 || length >= kNameSize) {
    ResetSpec();
    return ZRErrNotFound;
  }
  std::memmove(name_, name == nullptr ? "" : name, length + 1);
  return ZRErrNone;
}

ZRError CDiskFile::SetNameLStr(const uint8_t* name, bool clean) {
  char text[kFolderSize];
  qv::LStrToCStr(text, name);
  return SetName(text, clean);
}

ZRError CDiskFile::CopyName(char* buffer) const { return qv::CopyWhole(name_, buffer, kNameSize); }

ZRError CDiskFile::CopyNameLStr(uint8_t* buffer) const {
  if (buffer == nullptr) return ZRErrTooLong;
  qv::CStrToLStr(buffer, kNameSize - 1, name_);
  return ZRErrNone;
}

uint32_t CDiskFile::FileKind() const { return kPlainFileKind; }

bool CDiskFile::Exists() const {
  char path[kPathSize];
  if (GetNativePath(path, sizeof path) != ZRErrNone || path[0] == 0) return false;
  return qv::PathExists(path, use_worker_);
}

ZRError CDiskFile::Ask(uint32_t operation) const {
  if (name_[0] == 0) return ZRErrParam;
  char path[kPathSize];
  const ZRError error = GetNativePath(path, sizeof path);
  if (error != ZRErrNone) return error;
  FileRequest request;
  request.operation = operation;
  request.path = path;
  return ZRTranslateNativeError(qv::RunFileRequest(request, use_worker_), path);
}

ZRError CDiskFile::CreateFolder() {
  if (name_[0] == 0) return ZRErrParam;
  char path[kPathSize];
  ZRError error = GetNativePath(path, sizeof path);
  if (error == ZRErrNone) error = Ask(kFileRequestMakeFolder);
  return error == ZRErrExists && ZRIsFolder(path, use_worker_) ? ZRErrNone : error;
}

ZRError CDiskFile::Delete() { return Ask(kFileRequestDelete); }
ZRError CDiskFile::RemoveFolder() { return Ask(kFileRequestRemoveFolder); }

ZRError CDiskFile::FirstEntry(qv::FolderEntry* entry, uint32_t options) {
  return listing_.First(folder_, name_[0] == 0 ? "*.*" : name_, options, entry);
}

ZRError CDiskFile::NextEntry(qv::FolderEntry* entry) { return listing_.Next(entry); }

ZRError CDiskFile::NextEntryLStr(qv::FolderEntry* entry, uint8_t* name) {
  const ZRError error = listing_.Next(entry);
  qv::CStrToLStr(name, kNameSize - 1, entry->name);
  return error;
}

void CDiskFile::EndFind() { listing_.End(); }

ZRError CDiskFile::ReadLine(char*, int32_t*) { return ZRErrParam; }
ZRError CDiskFile::WriteLine(const char*, int32_t*) { return ZRErrParam; }
ZRError CDiskFile::PrintText(const char*, ...) { return ZRErrParam; }
ZRError CDiskFile::WriteText(const char*, uint32_t) { return ZRErrParam; }
ZRError CDiskFile::SetReadLimit(int64_t) { return ZRErrParam; }
ZRError CDiskFile::SetLineEnding(const char*) { return ZRErrParam; }

ZRError CDiskFile::SetPath(const char* path) {
  if (!ResetSpec()) return ZRErrFileOpen;
  if (path == nullptr || *path == 0) return ZRErrParam;
  const size_t length = std::strlen(path);
  if (length >= kFolderSize) return ZRErrTooLong;
  char whole[kFolderSize + 1];  // a bare drive grows by one
  std::memcpy(whole, path, length + 1);
  ZRPathNormalize(whole);
  if (ZRFolderExists(whole, use_worker_)) {
    std::memcpy(folder_, whole, std::strlen(whole) + 1);
    return ZRErrNone;
  }
  const ZRError error = ZRPathSplit(whole, folder_, name_, use_worker_);
  if (error != ZRErrNone || ZRFolderExists(folder_, use_worker_)) return error;
  char folder[kFolderSize];
  std::memcpy(folder, folder_, sizeof folder);
  return RefuseFolder("Path (%s) is not a valid directory.\n", folder);
}

ZRError CDiskFile::SetPathLStr(const uint8_t* path) {
  char text[kFolderSize];
  qv::LStrToCStr(text, path);
  return SetPath(text);
}

ZRError CDiskFile::GetNativePath(char* buffer, uint32_t size) const {
  constexpr uint32_t kLeastSize = 4;
  if (buffer == nullptr || size == 0) return ZRErrTooLong;
  buffer[0] = 0;
  const size_t folder_length = std::strlen(folder_);
  if (size < kLeastSize || folder_length >= size - 1) return ZRErrTooLong;
  char path[kPathSize];
  std::memcpy(path, folder_, folder_length + 1);
  ZRPathDriveRoot(path);
  if (name_[0] != 0 && ZRPathJoin(path, name_) == nullptr) return ZRErrTooLong;
  const size_t length = std::strlen(path);
  if (length >= size) return ZRErrTooLong;
  std::memcpy(buffer, path, length + 1);
  return ZRErrNone;
}

bool CDiskFile::ResetSpec() {
  if (IsOpen()) return false;
  folder_[0] = 0;
  name_[0] = 0;
  return true;
}
