#include "files/special_folders.h"

#include <cstring>
#include <mutex>

#include "files/locations.h"
#include "files/paths.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

using GetFolderPath = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, LPSTR);

struct ShellState {
  std::mutex mutex;  // around the rest
  bool looked_up = false;
  HMODULE library = nullptr;
  GetFolderPath get_folder_path = nullptr;  // null where the shell has none
};

ShellState& State() {
  static auto& state = *new ShellState;
  return state;
}

void LookUp(ShellState& state) {
  state.looked_up = true;
  state.library = LoadLibraryA("SHFOLDER.DLL");
  if (state.library == nullptr) state.library = LoadLibraryA("SHELL32.DLL");
  if (state.library == nullptr) return;
  const FARPROC found = GetProcAddress(state.library, "SHGetFolderPathA");
  state.get_folder_path = reinterpret_cast<GetFolderPath>(reinterpret_cast<void*>(found));
}

GetFolderPath FolderPathCall() {
  ShellState& state = State();
  std::lock_guard hold(state.mutex);
  if (!state.looked_up) LookUp(state);
  return state.get_folder_path;
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

void ReleaseShellLibrary() {
  ShellState& state = State();
  std::lock_guard hold(state.mutex);
  if (state.library != nullptr) FreeLibrary(state.library);
  state.looked_up = false;
  state.library = nullptr;
  state.get_folder_path = nullptr;
}

}  // namespace qv

bool ZRGetSpecialFolder(int32_t id, char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return false;
  buffer[0] = 0;
  char path[MAX_PATH + 1] = {};
  const qv::GetFolderPath call = qv::FolderPathCall();
  const bool found = call != nullptr ? call(nullptr, id, nullptr, 0, path) == S_OK
                                     : qv::FolderFromItemList(id, path);
  if (!found || path[0] == 0) return false;
  ZRPathNormalize(path);
  const size_t bytes = std::strlen(path) + 1;
  if (bytes > size) return false;
  std::memcpy(buffer, path, bytes);
  return true;
}
