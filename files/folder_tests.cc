#include "files/folder_tests.h"

#include <cstring>

#include "files/drives.h"
#include "files/file_request.h"
#include "files/paths.h"
#include "platform/windows_api.h"

bool ZRIsFolder(const char* path, bool use_worker) {
  if (path == nullptr || *path == 0) return false;
  FileRequest request;
  request.operation = kFileRequestIsFolder;
  request.path = path;
  qv::RunFileRequest(request, use_worker);
  return request.answer;
}

bool ZRFolderExists(const char* path, bool use_worker) {
  const int32_t drive = qv::DriveOfPath(path);
  if (drive < 0) return ZRIsFolder(path, use_worker);
  if (qv::ReadDriveKind(static_cast<uint32_t>(drive)) == kDriveAbsent) return false;
  const char* rest = path + 2;
  if (*rest == 0 || std::strcmp(rest, "\\") == 0) return true;
  return ZRIsFolder(path, use_worker);
}

namespace qv {

bool PathExists(const char* path, bool use_worker) {
  if (path == nullptr || *path == 0) return false;
  struct Question {
    const char* path;
    bool answer;
  } question = {path, false};
  RunFileJob(
      use_worker,
      [](void* job) {
        auto* asked = static_cast<Question*>(job);
        asked->answer = GetFileAttributesA(asked->path) != INVALID_FILE_ATTRIBUTES;
      },
      &question);
  return question.answer;
}

}  // namespace qv
