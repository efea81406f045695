#include "files/disk_file.h"

#include <cstring>

#include "files/errors.h"
#include "files/locations.h"
#include "files/paths.h"
#include "platform/windows_api.h"

namespace {

bool IsFolder(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

ZRError CDiskFile::GoToTempFolder() {
  ResetSpec();
  return ZRGetTempFolder(folder_, kFolderSize);
}

ZRError CDiskFile::SetName(const char* name) {
  const size_t length = name == nullptr ? 0 : std::strlen(name);
  if (folder_[0] == 0 || length >= kNameSize) {
    ResetSpec();
    return ZRErrNotFound;
  }
  std::memmove(name_, name == nullptr ? "" : name, length + 1);
  return ZRErrNone;
}

bool CDiskFile::Exists() const {
  char path[kPathSize];
  if (GetNativePath(path, sizeof path) != ZRErrNone || path[0] == 0) return false;
  return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

ZRError CDiskFile::CreateFolder() {
  if (name_[0] == 0) return ZRErrParam;
  char path[kPathSize];
  const ZRError error = GetNativePath(path, sizeof path);
  if (error != ZRErrNone) return error;
  if (CreateDirectoryA(path, nullptr)) return ZRErrNone;
  const DWORD native = GetLastError();
  if (native == ERROR_ALREADY_EXISTS && IsFolder(path)) return ZRErrNone;
  return ZRTranslateNativeError(native, path);
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
