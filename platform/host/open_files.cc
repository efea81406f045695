#include "platform/host/open_files.h"

#include <mutex>
#include <set>
#include <utility>

#include "platform/host/files.h"

namespace host {
namespace {

struct OpenFileList {
  std::mutex mutex;
  std::set<const OpenFile*> files;
};

OpenFileList& State() {
  static auto& state = *new OpenFileList;
  return state;
}

constexpr DWORD kWriteAccess = GENERIC_WRITE | FILE_APPEND_DATA;

// Whether each access that one side has is in the other's share mode.
bool Shares(DWORD access, DWORD share) {
  bool reads = (access & GENERIC_READ) != 0, writes = (access & kWriteAccess) != 0;
  return (!reads || (share & FILE_SHARE_READ) != 0) && (!writes || (share & FILE_SHARE_WRITE) != 0);
}

}  // namespace

DWORD AttributesOf(const struct stat& status) {
  DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  if (S_ISLNK(status.st_mode)) return attributes | FILE_ATTRIBUTE_REPARSE_POINT;
  if ((status.st_mode & S_IWUSR) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  return attributes;
}

OpenFile::OpenFile(Descriptor file, const struct stat& status, DWORD access, DWORD share)
    : file_(std::move(file)),
      device_(status.st_dev),
      inode_(status.st_ino),
      access_(access),
      share_(share) {
  OpenFileList& list = State();
  std::lock_guard hold(list.mutex);
  list.files.insert(this);
}

OpenFile::~OpenFile() {
  OpenFileList& list = State();
  std::lock_guard hold(list.mutex);
  list.files.erase(this);
}

bool OpenFile::MayRead() const { return (access_ & GENERIC_READ) != 0; }
bool OpenFile::MayWrite() const { return (access_ & kWriteAccess) != 0; }

bool MayOpen(const struct stat& status, DWORD access, DWORD share) {
  OpenFileList& list = State();
  std::lock_guard hold(list.mutex);
  for (const OpenFile* file : list.files) {
    bool same = file->device_ == status.st_dev && file->inode_ == status.st_ino;
    if (same && (!Shares(access, file->share_) || !Shares(file->access_, share))) return false;
  }
  return true;
}

bool MayDelete(const struct stat& status) {
  OpenFileList& list = State();
  std::lock_guard hold(list.mutex);
  for (const OpenFile* file : list.files) {
    bool same = file->device_ == status.st_dev && file->inode_ == status.st_ino;
    if (same && (file->share_ & FILE_SHARE_DELETE) == 0) return false;
  }
  return true;
}

}  // namespace host
