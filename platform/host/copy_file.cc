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
#include "platform/host/streams.h"

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

// Ways to move bytes, the fastest first; none serves every pair of files.
enum class Way { kRange, kSend, kBuffer };

ssize_t MoveThroughBuffer(const CopyJob& job) {
  char buffer[65536];
  ssize_t count = read(job.source.number(), buffer, sizeof buffer);
  if (count <= 0) return count;
  DWORD error = WriteAllBytes(job.target.number(), {buffer, static_cast<size_t>(count)});
  return error == 0 ? count : -1;
}

ssize_t MovePortion(const CopyJob& job, Way way) {
  ssize_t done;
  int source = job.source.number(), target = job.target.number();
  do {
    done = way == Way::kRange  ? copy_file_range(source, nullptr, target, nullptr, kPortion, 0)
           : way == Way::kSend ? sendfile(target, source, nullptr, kPortion)
                               : MoveThroughBuffer(job);
  } while (done < 0 && errno == EINTR);
  return done;
}

// Whether this end of one way is only that way's, and another may go on from here.
bool TryAnotherWay(const CopyJob& job, ssize_t done) {
  // A file whose size is not known (of /proc, say) gives the first way nothing.
  if (done == 0) return job.source_status.st_size == 0;
  return errno == EINVAL || errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP ||
         errno == EBADF || errno == EPERM;
}

// Copies from where the two files stand to the source's end.
DWORD CopyContents(const CopyJob& job) {
  for (Way way : {Way::kRange, Way::kSend, Way::kBuffer}) {
    ssize_t done;
    while ((done = MovePortion(job, way)) > 0) {
    }
    if (way != Way::kBuffer && TryAnotherWay(job, done)) continue;
    return done == 0 ? 0 : ErrorFromNative(errno);
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

// A file with its streams. Without one of them there is no copy.
DWORD CopyWhole(const std::string& from, const std::string& to, bool fail_if_exists) {
  CopyJob job{from, to, Descriptor(), Descriptor()};
  DWORD error = CopyNative(job, fail_if_exists);
  if (error != 0) return error;
  DeleteStreams(to);
  error = CopyStreams(from, to, [](const std::string& source, const std::string& target) {
    CopyJob stream{source, target, Descriptor(), Descriptor()};
    return CopyNative(stream, true);
  });
  if (error != 0) unlink(to.c_str());
  return error;
}

}  // namespace
}  // namespace host

BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL fail_if_exists) {
  using host::Fail;
  if (DWORD fault = host::Enter(__func__)) return Fail(fault, FALSE);
  host::FoundName source = host::FindNative(from), target = host::FindNative(to);
  if (source.error != 0) return Fail(source.error, FALSE);
  if (target.error != 0) return Fail(target.error, FALSE);
  DWORD error = host::CopyWhole(source.path, target.path, fail_if_exists);
  return error == 0 ? TRUE : Fail(error, FALSE);
}
