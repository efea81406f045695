#include "files/find_request.h"

#include "base/never_destroyed.h"
#include "diag/system/system_record.h"
#include "files/system_call.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

using FindFirstEx = HANDLE(WINAPI*)(LPCSTR, FINDEX_INFO_LEVELS, LPVOID, FINDEX_SEARCH_OPS, LPVOID,
                                    DWORD);

SystemCall<FindFirstEx>& FindCall() {
  static NeverDestroyed<SystemCall<FindFirstEx>> call;
  return call.value;
}

// Null where the system has none.
FindFirstEx FindFirstCall() {
  constexpr uint32_t kLeastVersion = 4000;
  if (ZRSystemPlatform() != kPlatformNt || ZRSystemVersion() < kLeastVersion) return nullptr;
  return FindCall().Get("FindFirstFileExA", "KERNEL32.DLL");
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

void ReleaseFindLibrary() { FindCall().Release(); }

}  // namespace qv
