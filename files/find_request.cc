#include "files/find_request.h"

#include <mutex>

#include "diag/system/system_record.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

using FindFirstEx = HANDLE(WINAPI*)(LPCSTR, FINDEX_INFO_LEVELS, LPVOID, FINDEX_SEARCH_OPS, LPVOID,
                                    DWORD);

struct FindLibraryState {
  std::mutex mutex;  // around the rest
  bool looked_up = false;
  HMODULE library = nullptr;
  FindFirstEx find_first = nullptr;  // null where the system has none
};

FindLibraryState& State() {
  static auto& state = *new FindLibraryState;
  return state;
}

void LookUp(FindLibraryState& state) {
  constexpr uint32_t kLeastVersion = 4000;
  state.looked_up = true;
  if (ZRSystemPlatform() != kPlatformNt || ZRSystemVersion() < kLeastVersion) return;
  state.library = LoadLibraryA("KERNEL32.DLL");
  if (state.library == nullptr) return;
  const FARPROC found = GetProcAddress(state.library, "FindFirstFileExA");
  state.find_first = reinterpret_cast<FindFirstEx>(reinterpret_cast<void*>(found));
}

FindFirstEx FindFirstCall() {
  FindLibraryState& state = State();
  std::lock_guard hold(state.mutex);
  if (!state.looked_up) LookUp(state);
  return state.find_first;
}

HANDLE StartListing(const FileRequest& request, WIN32_FIND_DATAA* data) {
  const FindFirstEx find_first = FindFirstCall();
  if (find_first == nullptr) return FindFirstFileA(request.path, data);
  const bool folders = (request.flags & kRequestFoldersOnly) != 0;
  return find_first(request.path, FindExInfoStandard, data,
                    folders ? FindExSearchLimitToDirectories : FindExSearchNameMatch, nullptr, 0);
}

// Goes on to a folder where only those are wanted.
uint32_t SkipUnwanted(const FileRequest& request, WIN32_FIND_DATAA* data) {
  if ((request.flags & kRequestFoldersOnly) == 0) return 0;
  while ((data->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    if (!FindNextFileA(request.file, data)) return GetLastError();
  }
  return 0;
}

}  // namespace

uint32_t FindFirst(FileRequest& request) {
  auto* data = static_cast<WIN32_FIND_DATAA*>(request.buffer);
  request.file = StartListing(request, data);
  if (request.file == INVALID_HANDLE_VALUE) return GetLastError();
  const uint32_t error = SkipUnwanted(request, data);
  if (error == 0) return 0;
  FindClose(request.file);
  request.file = INVALID_HANDLE_VALUE;
  return error;
}

uint32_t FindNext(FileRequest& request) {
  auto* data = static_cast<WIN32_FIND_DATAA*>(request.buffer);
  if (!FindNextFileA(request.file, data)) return GetLastError();
  return SkipUnwanted(request, data);
}

void ReleaseFindLibrary() {
  FindLibraryState& state = State();
  std::lock_guard hold(state.mutex);
  if (state.library != nullptr) FreeLibrary(state.library);
  state.looked_up = false;
  state.library = nullptr;
  state.find_first = nullptr;
}

}  // namespace qv
