// Folders that the system names.
#include <cstdlib>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/environment.h"
#include "platform/host/files.h"
#include "platform/host/paths.h"
#include "platform/host/state_directory.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057);
constexpr HRESULT kPathNotFound = static_cast<HRESULT>(0x80070003);
constexpr int kFolderMask = 0xFF;  // the rest of the word are flags
constexpr char kFreshTempFolder[] = "C:\\Temp\\";

bool HasWindowsForm(const std::string& path) {
  return path.size() >= 3 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

// UTF-8, with a "\" at the end. The machine's own TMP, a native path, does not count.
std::string TempFolder() {
  for (const char* name : {"TMP", "TEMP"}) {
    std::string folder = EnvironmentValue(name).value_or("");
    if (!HasWindowsForm(folder)) continue;
    if (folder.back() != '\\' && folder.back() != '/') folder += '\\';
    return folder;
  }
  return kFreshTempFolder;
}

// UTF-8; "" for a folder that this system does not have.
std::string KnownFolder(int folder) {
  const std::string user = "C:\\users\\" + UserName();
  switch (folder & kFolderMask) {
    case CSIDL_PERSONAL:
      return user + "\\Documents";
    case CSIDL_APPDATA:
      return user + "\\AppData\\Roaming";
    case CSIDL_LOCAL_APPDATA:
      return user + "\\AppData\\Local";
    case CSIDL_COMMON_APPDATA:
      return "C:\\ProgramData";
    default:
      return "";
  }
}

// Makes a folder of drive C: and those above it.
void MakeDriveFolder(std::string path) {
  for (char& c : path) c = c == '\\' ? '/' : c;
  MakeFolders(StatePath("drive_c") + path.substr(2));
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

DWORD GetTempPathA(DWORD size, LPSTR buffer) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  return host::CopyOut(std::string_view(host::AnsiFromUtf8(host::TempFolder())), buffer, size);
}

DWORD GetTempPathW(DWORD size, LPWSTR buffer) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  return host::CopyOut(std::u16string_view(host::WideFromUtf8(host::TempFolder())), buffer, size);
}

namespace host {
namespace {

HRESULT CopyKnownFolder(int folder, LPSTR path) {
  std::string known = KnownFolder(folder);
  if (known.empty() || !path) return kInvalidArgument;
  // A folder that someone removed comes back, as its creation flag asks.
  MakeDriveFolder(known);
  std::string text = AnsiFromUtf8(known);
  return CopyOut(std::string_view(text), path, MAX_PATH) < MAX_PATH ? S_OK : kPathNotFound;
}

class Allocator final : public IMalloc {
 public:
  void Free(void* block) override { delete static_cast<ITEMIDLIST*>(block); }
  ULONG Release() override { return 1; }
};

}  // namespace
}  // namespace host

HRESULT SHGetFolderPathA(HWND, int folder, HANDLE, DWORD, LPSTR path) {
  if (DWORD fault = Enter(__func__)) return static_cast<HRESULT>(0x80070000u | fault);
  return host::CopyKnownFolder(folder, path);
}

HRESULT SHGetSpecialFolderLocation(HWND, int folder, LPITEMIDLIST* list) {
  if (DWORD fault = Enter(__func__)) return static_cast<HRESULT>(0x80070000u | fault);
  if (host::KnownFolder(folder).empty()) return host::kInvalidArgument;
  *list = new ITEMIDLIST{folder};
  return S_OK;
}

BOOL SHGetPathFromIDListA(const ITEMIDLIST* list, LPSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::CopyKnownFolder(list->folder, path) == S_OK;
}

HRESULT SHGetMalloc(IMalloc** allocator) {
  if (DWORD fault = Enter(__func__)) return static_cast<HRESULT>(0x80070000u | fault);
  static host::Allocator shell_allocator;
  *allocator = &shell_allocator;
  return S_OK;
}
