// CopyFileA. Large files go through the kernel alone.
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/files.h"
#include "platform/host/native_errors.h"
#include "platform/host/native_files.h"
#include "platform/host/open_files.h"
#include "platform/host/paths.h"

namespace host {
namespace {

constexpr size_t kPortion = size_t{1} << 30;  // what one call to the kernel moves at most

struct CopyJob {
  std::string from, to;
  Descriptor source, target;
  struct stat source_status {};
};

DWORD OpenSource(CopyJob& job) {
  job.source = Descriptor(open(job.from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!job.source.is_open() || fstat(job.source.number(), &job.source_status) != 0) {
    return ErrorFromNative(errno);
  }
  // Folders, and devices that never end.
  if (!S_ISREG(job.source_status.st_mode)) return ERROR_ACCESS_DENIED;
  return MayOpen(job.source_status, GENERIC_READ, FILE_SHARE_READ) ? 0 : ERROR_SHARING_VIOLATION;
}

// Opens the target without emptying it: it may turn out to be the source.
DWORD OpenTarget(CopyJob& job, bool fail_if_exists) {
  struct stat status;
  bool exists = stat(job.to.c_str(), &status) == 0;
  if (exists) {
    if (fail_if_exists) return ERROR_FILE_EXISTS;
    if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
    if ((AttributesOf(status) & FILE_ATTRIBUTE_READONLY) != 0) return ERROR_ACCESS_DENIED;
    bool same =
        status.st_dev == job.source_status.st_dev && status.st_ino == job.source_status.st_ino;
    if (same || !MayOpen(status, GENERIC_WRITE, 0)) return ERROR_SHARING_VIOLATION;
  }
  int flags = O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_CREAT | (exists ? 0 : O_EXCL);
  job.target = Descriptor(open(job.to.c_str(), flags, 0666));
  return job.target.is_open() ? 0 : ErrorFromNative(errno);
}

// Copies by one of the kernel's two calls; -1 when that call cannot serve these files.
ssize_t MovePortion(const CopyJob& job, bool by_range) {
  ssize_t done;
  do {
    done = by_range ? copy_file_range(job.source.number(), nullptr, job.target.number(), nullptr,
                                      kPortion, 0)
                    : sendfile(job.target.number(), job.source.number(), nullptr, kPortion);
  } while (done < 0 && errno == EINTR);
  return done;
}

// Copies from where the two files stand to the source's end.
DWORD CopyContents(const CopyJob& job) {
  for (bool by_range : {true, false}) {
    ssize_t done;
    while ((done = MovePortion(job, by_range)) > 0) {
    }
    // A file whose size is not known (of /proc, say) gives the first call nothing.
    bool next = done == 0 ? by_range && job.source_status.st_size == 0 : by_range;
    if (done < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) next = false;
    if (!next) return done == 0 ? 0 : ErrorFromNative(errno);
  }
  return 0;
}

// The attributes and the time of the last change go along, as on Windows.
void CopyAttributes(const CopyJob& job) {
  const timespec times[] = {{0, UTIME_OMIT}, job.source_status.st_mtim};
  futimens(job.target.number(), times);
  if ((AttributesOf(job.source_status) & FILE_ATTRIBUTE_READONLY) != 0) {
    fchmod(job.target.number(), 0444);
  }
}

DWORD CopyNative(CopyJob& job, bool fail_if_exists) {
  if (DWORD error = OpenSource(job)) return error;
  if (DWORD error = OpenTarget(job, fail_if_exists)) return error;
  DWORD error = ftruncate(job.target.number(), 0) == 0 ? 0 : ErrorFromNative(errno);
  if (error == 0) error = CopyContents(job);
  if (error != 0) {
    unlink(job.to.c_str());  // no half copy stays
    return error;
  }
  CopyAttributes(job);
  return 0;
}

}  // namespace
}  // namespace host

BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL fail_if_exists) {
  using host::Fail;
  if (DWORD fault = host::Enter(__func__)) return Fail(fault, FALSE);
  host::FoundName source = host::FindNative(from), target = host::FindNative(to);
  if (source.error != 0) return Fail(source.error, FALSE);
  if (target.error != 0) return Fail(target.error, FALSE);
  host::CopyJob job{source.path, target.path, host::Descriptor(), host::Descriptor()};
  DWORD error = host::CopyNative(job, fail_if_exists);
  return error == 0 ? TRUE : Fail(error, FALSE);
}
