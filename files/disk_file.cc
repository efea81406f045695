#include "files/disk_file.h"

#include <cstring>

#include "app/debug_output.h"
#include "app/settings.h"
#include "files/errors.h"
#include "files/file_names.h"
#include "files/file_request.h"
#include "files/folder_tests.h"
#include "files/locations.h"
#include "platform/windows_api.h"
#include "text/length_prefixed.h"

namespace {

// The worker's hook decides whether there are workers.
constexpr bool kWorkersByDefault = true;

bool ReportsMissing() { return qv::ReadSetting(qv::setting::kReportMissing) != 0; }

}  // namespace

CDiskFile::CDiskFile() : use_worker_(kWorkersByDefault), listing_(kWorkersByDefault) {}

ZRError CDiskFile::GoToLocation(uint32_t level) {
  ResetSpec();
  return ZRGetLocation(level, folder_, kFolderSize);
}

ZRError CDiskFile::GoToAppFolder() { return GoToLocation(kLocationApplication); }
ZRError CDiskFile::GoToAppDriveRoot() { return GoToLocation(kLocationDriveRoot); }
ZRError CDiskFile::GoToDocuments() { return GoToLocation(kLocationDocuments); }
ZRError CDiskFile::GoToTempFolder() { return GoToLocation(kLocationTemporary); }

ZRError CDiskFile::GoToParent() {
  if (folder_[0] == 0) return ZRErrParam;
  char parent[kFolderSize], last[kNameSize];
  const ZRError error = ZRPathSplit(folder_, parent, last, use_worker_);
  if (error != ZRErrNone) return error;
  name_[0] = 0;
  if (parent[0] != 0) std::memcpy(folder_, parent, sizeof folder_);
  return ZRErrNone;
}

ZRError CDiskFile::RefuseFolder(const char* message, const char* name) {
  if (ReportsMissing()) DebugPrint(message, name);
  ResetSpec();
  return ZRErrNotFound;
}

ZRError CDiskFile::EnterFolder(const char* name, bool skip_check) {
  if (name == nullptr || *name == 0) return ZRErrBadFolder;
  if (folder_[0] == 0) {
    ResetSpec();
    return ZRErrParam;
  }
  name_[0] = 0;
  if (std::strlen(name) >= kNameSize || ZRPathJoin(folder_, name) == nullptr) {
    return RefuseFolder("Relative folder change (%s) is not a valid directory.\n", name);
  }
  if (!skip_check && !ZRFolderExists(folder_, use_worker_)) {
    return RefuseFolder("Relative folder change (%s) does not exist.\n", name);
  }
  return ZRErrNone;
}

ZRError CDiskFile::SetName(const char* name, bool clean) {
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

bool CDiskFile::Exists() const {
  char path[kPathSize];
  if (GetNativePath(path, sizeof path) != ZRErrNone || path[0] == 0) return false;
  return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
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

ZRError CDiskFile::Create() {
  if (name_[0] == 0) return ZRErrParam;
  if (Exists()) return ZRErrExists;
  if (!ZRFolderExists(folder_, use_worker_)) return ZRErrBadFolder;
  return Ask(kFileRequestCreate);
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

ZRError CDiskFile::SetPath(const char* path) {
  ResetSpec();
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
  folder_[0] = 0;
  name_[0] = 0;
  return true;
}
