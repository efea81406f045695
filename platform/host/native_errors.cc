#include "platform/host/native_errors.h"

#include <cerrno>

namespace host {
namespace {

constexpr struct {
  int native;
  DWORD error;
} kErrors[] = {
    {EPERM, ERROR_ACCESS_DENIED},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {EIO, ERROR_READ_FAULT},
    {ENXIO, ERROR_NOT_SUPPORTED},
    {ENOEXEC, ERROR_BAD_EXE_FORMAT},
    {EBADF, ERROR_INVALID_HANDLE},
    {EAGAIN, ERROR_NOT_ENOUGH_MEMORY},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EACCES, ERROR_ACCESS_DENIED},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {EEXIST, ERROR_FILE_EXISTS},
    {EXDEV, ERROR_NOT_SUPPORTED},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EFBIG, ERROR_DISK_FULL},
    {ENOSPC, ERROR_DISK_FULL},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {EDQUOT, ERROR_DISK_FULL},
};

}  // namespace

DWORD ErrorFromNative(int native) {
  for (const auto& row : kErrors) {
    if (row.native == native) return row.error;
  }
  return ERROR_GEN_FAILURE;
}

}  // namespace host
