#include "files/special_folders.h"

#include <cstring>

#include "base/never_destroyed.h"
#include "files/locations.h"
#include "files/paths.h"
#include "files/system_call.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

using GetFolderPath = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, LPSTR);

SystemCall<GetFolderPath>& FolderCall() {
  static NeverDestroyed<SystemCall<GetFolderPath>> call;
  return call.value;
}

void FreeItemList(LPITEMIDLIST list) {
  IMalloc* allocator = nullptr;
  if (SHGetMalloc(&allocator) != S_OK || allocator == nullptr) return;
  allocator->Free(list);
  allocator->Release();
}

bool FolderFromItemList(int32_t id, char* path) {
  LPITEMIDLIST list = nullptr;
  if (SHGetSpecialFolderLocation(nullptr, id, &list) != S_OK || list == nullptr) return false;
  const bool found = SHGetPathFromIDListA(list, path) != FALSE;
  FreeItemList(list);
  return found;
}

}  // namespace

void ReleaseShellLibrary() { FolderCall().Release(); }

}  // namespace qv

bool ZRGetSpecialFolder(int32_t id, char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return false;
  buffer[0] = 0;
  char path[MAX_PATH + 1] = {};
  const qv::GetFolderPath call =
      qv::FolderCall().Get("SHGetFolderPathA", "SHFOLDER.DLL", "SHELL32.DLL");
  const bool found = call != nullptr ? call(nullptr, id, nullptr, 0, path) == S_OK
                                     : qv::FolderFromItemList(id, path);
  if (!found || path[0] == 0) return false;
  ZRPathNormalize(path);
  const size_t bytes = std::strlen(path) + 1;
  if (bytes > size) return false;
  std::memcpy(buffer, path, bytes);
  return true;
}
