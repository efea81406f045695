#include "files/file_request.h"

#include "base/hooks.h"
#include "base/stopwatch.h"
#include "files/find_request.h"
#include "files/folder_listing.h"
#include "files/forks.h"
#include "files/request_statistics.h"
#include "files/transfer_request.h"
#include "files/volume_info.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

uint32_t Result(BOOL done) { return done ? 0 : GetLastError(); }

uint32_t Create(FileRequest& request) {
  HANDLE file = CreateFileA(request.path, GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                            FILE_FLAG_RANDOM_ACCESS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  return Result(CloseHandle(file));
}

uint32_t Open(FileRequest& request) {
  request.file = CreateFileA(request.path, request.access, request.share, nullptr, OPEN_EXISTING,
                             request.platform_flags, nullptr);
  return request.file == INVALID_HANDLE_VALUE ? GetLastError() : 0;
}

uint32_t SetTimes(FileRequest& request) {
  auto time = [&request](int i) { return static_cast<const FILETIME*>(request.times[i]); };
  return Result(SetFileTime(request.file, time(0), time(1), time(2)));
}

uint32_t FillForkInfo(FileRequest& request) {
  auto* entry = static_cast<FolderEntry*>(request.buffer);
  if (entry == nullptr || request.path == nullptr) return ERROR_INVALID_PARAMETER;
  return static_cast<uint32_t>(
      ZRGetAFPInfo(request.path, &entry->fork_size, &entry->type, &entry->creator));
}

uint32_t IsFolder(FileRequest& request) {
  const DWORD attributes = GetFileAttributesA(request.path);
  request.answer =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return 0;
}

uint32_t CarryOut(FileRequest& request) {
  switch (request.operation) {
    case kFileRequestCreate:
      return Create(request);
    case kFileRequestOpen:
      return Open(request);
    case kFileRequestSeek:
      return SeekFile(request);
    case kFileRequestRead:
      return ReadBytes(request);
    case kFileRequestWrite:
      return WriteBytes(request);
    case kFileRequestFlush:
      return Result(FlushFileBuffers(request.file));
    case kFileRequestClose:
      return Result(CloseHandle(request.file));
    case kFileRequestSetEOF:
      return SetFileEnd(request);
    case kFileRequestFindFirst:
      return FindFirst(request);
    case kFileRequestFindNext:
      return FindNext(request);
    case kFileRequestFindClose:
      return Result(FindClose(request.file));
    case kFileRequestForkInfo:
      return FillForkInfo(request);
    case kFileRequestVolumeInfo:
      return FillVolumeInfo(request);
    case kFileRequestMakeFolder:
      return Result(CreateDirectoryA(request.path, nullptr));
    case kFileRequestRemoveFolder:
      return Result(RemoveDirectoryA(request.path));
    case kFileRequestSetTimes:
      return SetTimes(request);
    case kFileRequestDelete:
      return Result(DeleteFileA(request.path));
    case kFileRequestIsFolder:
      return IsFolder(request);
    default:
      return uint32_t{ZRErrNotSupported};
  }
}

}  // namespace

void RunFileJob(bool use_worker, void (*job)(void*), void* argument) {
  if (use_worker) {
    GlobalHooks().run_on_worker(job, argument);
  } else {
    job(argument);
  }
}

uint32_t RunFileRequest(FileRequest& request, bool use_worker) {
  RunFileJob(
      use_worker, [](void* r) { ZRFileWorkerRun(static_cast<FileRequest*>(r)); }, &request);
  return request.result;
}

void ResetFileRequestsForTest() {
  ResetRequestStatistics();
  ResetTransfersForTest();
  ReleaseFindLibrary();
}

}  // namespace qv

uint32_t ZRFileWorkerRun(FileRequest* request) {
  const qv::Stopwatch watch;
  request->result = qv::CarryOut(*request);
  qv::CountRequest(request->operation, watch.Seconds());
  return request->result;
}
