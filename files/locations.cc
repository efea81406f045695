#include "files/locations.h"

#include <cstring>

#include "files/drives.h"
#include "files/folder_tests.h"
#include "files/paths.h"
#include "files/special_folders.h"
#include "platform/windows_api.h"
#include "text/code_page_strings.h"

namespace qv {
namespace {

constexpr uint32_t kProductNameSize = 32;  // bytes, terminator included
constexpr uint32_t kPathSize = MAX_PATH + 2;

struct LocationState {
  // Set at start-up.
  HMODULE module = nullptr;
  char app_folder[kFolderSize] = {};  // empty: the module's folder
  char product_folder[kProductNameSize] = "Quorvantis";
};

LocationState& State() {
  static constinit LocationState state;
  return state;
}

ZRError Refuse(ZRError error, char* buffer, uint32_t size) {
  if (buffer != nullptr && size > 0) buffer[0] = 0;
  return error;
}

// The library's file; false when the platform does not say or it does not fit.
bool ModulePath(char (&path)[kPathSize]) {
  const DWORD length = GetModuleFileNameA(State().module, path, sizeof path);
  return length > 0 && length < sizeof path;
}

// Cuts a path behind its folder; "X:" of "X:file" too.
void CutToFolder(char* path) {
  const char* separator = ZRLastSeparator(path, '\\');
  size_t length = 0;
  if (separator != nullptr) {
    length = static_cast<size_t>(separator - path);
  } else if (DriveOfPath(path) >= 0) {
    length = 2;
  }
  path[length] = 0;
  ZRPathNormalize(path);
}

ZRError SetProductName(const char* name, size_t length) {
  if (length >= kProductNameSize) return ZRErrTooLong;
  std::memmove(State().product_folder, name, length);
  State().product_folder[length] = 0;
  return ZRErrNone;
}

ZRError ExistingFolder(int32_t id, char* buffer, uint32_t size) {
  char path[kPathSize];
  if (!ZRGetSpecialFolder(id, path, sizeof path) || !ZRFolderExists(path, false)) {
    return Refuse(ZRErrNotFound, buffer, size);
  }
  return CopyWhole(path, buffer, size);
}

ZRError DriveRoot(char* buffer, uint32_t size) {
  char path[kPathSize];
  const ZRError error = ZRGetAppFolder(path, sizeof path);
  if (error != ZRErrNone) return Refuse(error, buffer, size);
  if (DriveOfPath(path) >= 0) {
    path[2] = 0;
    ZRPathDriveRoot(path);
  }
  return CopyWhole(path, buffer, size);
}

}  // namespace

void SetLocationsModule(void* module) { State().module = static_cast<HMODULE>(module); }

void ResetLocationsForTest() {
  State() = {};
  ReleaseShellLibrary();
}

}  // namespace qv

ZRError ZRGetLocation(uint32_t level, char* buffer, uint32_t size) {
  switch (level) {
    case kLocationUserDocuments:
      return qv::ExistingFolder(CSIDL_PERSONAL, buffer, size);
    case kLocationLocalData:
      return qv::ExistingFolder(CSIDL_LOCAL_APPDATA, buffer, size);
    case kLocationRoamingData:
      return qv::ExistingFolder(CSIDL_APPDATA, buffer, size);
    case kLocationCommonData:
      return qv::ExistingFolder(CSIDL_COMMON_APPDATA, buffer, size);
    case 5:
    case 6:
      return qv::Refuse(ZRErrNotSupported, buffer, size);
    case kLocationDocuments:
      return ZRGetDocumentsFolder(buffer, size);
    case kLocationApplication:
    case kLocationApplicationToo:
      return ZRGetAppFolder(buffer, size);
    case kLocationDriveRoot:
      return qv::DriveRoot(buffer, size);
    case kLocationTemporary:
      return ZRGetTempFolder(buffer, size);
    default:
      return qv::Refuse(ZRErrRange, buffer, size);
  }
}

ZRError ZRGetAppFolder(char* buffer, uint32_t size) {
  const char* override_path = qv::State().app_folder;
  if (*override_path != 0) return qv::CopyWhole(override_path, buffer, size);
  char path[qv::kPathSize];
  if (!qv::ModulePath(path)) return qv::Refuse(ZRErrNotFound, buffer, size);
  qv::CutToFolder(path);
  return qv::CopyWhole(path, buffer, size);
}

ZRError ZRGetModuleName(char* buffer, uint32_t size, bool without_extension) {
  char path[qv::kPathSize];
  if (!qv::ModulePath(path)) return qv::Refuse(ZRErrNotFound, buffer, size);
  const char* separator = ZRLastSeparator(path, '\\');
  char* name = separator == nullptr ? path : path + (separator - path) + 1;
  char* dot = without_extension ? std::strchr(name, '.') : nullptr;
  if (dot != nullptr) *dot = 0;
  return qv::CopyWhole(name, buffer, size);
}

ZRError ZRGetDocumentsFolder(char* buffer, uint32_t size) {
  char path[qv::kPathSize];
  if (!ZRGetSpecialFolder(CSIDL_PERSONAL, path, sizeof path)) return ZRGetAppFolder(buffer, size);
  return qv::CopyWhole(path, buffer, size);
}

ZRError ZRGetTempFolder(char* buffer, uint32_t size) {
  char path[qv::kPathSize] = {};  // the longest that the platform gives has MAX_PATH + 1 characters
  const DWORD length = GetTempPathA(sizeof path, path);
  if (length == 0) return qv::Refuse(ZRErrNotFound, buffer, size);
  if (length >= sizeof path) return qv::Refuse(ZRErrTooLong, buffer, size);
  ZRPathNormalize(path);
  return qv::CopyWhole(path, buffer, size);
}

ZRError ZRSetProductFolderName(const char* name) {
  return name == nullptr ? ZRErrParam : qv::SetProductName(name, std::strlen(name));
}

ZRError ZRSetProductFolderName(const uint8_t* name) {
  if (name == nullptr) return ZRErrParam;
  return qv::SetProductName(reinterpret_cast<const char*>(name + 1), name[0]);
}

const char* ZRGetProductFolderName() { return qv::State().product_folder; }

ZRError ZRSetAppFolder(const char* path) {
  char* folder = qv::State().app_folder;
  const char* text = path == nullptr ? "" : path;
  const size_t length = std::strlen(text);
  if (length >= kFolderSize - 1) return ZRErrTooLong;
  std::memmove(folder, text, length + 1);
  ZRPathNormalize(folder);
  return ZRErrNone;
}
