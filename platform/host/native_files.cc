#include "platform/host/native_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/host/native_errors.h"

namespace host {
namespace {

// Where a symbolic link leads, so that replacing a file does not replace the link to it.
std::string FollowLinks(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  std::string result = real ? real : path;
  std::free(real);
  return result;
}

// Writes `text` to the temporary file and moves it into place.
DWORD WriteAndMove(int file, const std::string& temporary, const std::string& path,
                   std::string_view text, mode_t mode) {
  if (DWORD error = WriteAllBytes(file, text)) return error;
  if (fchmod(file, mode) != 0 || rename(temporary.c_str(), path.c_str()) != 0) {
    return ErrorFromNative(errno);
  }
  return 0;
}

}  // namespace

Descriptor::~Descriptor() { Close(); }

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    Close();
    number_ = other.Release();
  }
  return *this;
}

int Descriptor::Release() { return std::exchange(number_, -1); }

void Descriptor::Close() {
  if (number_ >= 0) close(Release());
}

DWORD ReadNativeFile(const std::string& path, size_t limit, std::string* text) {
  text->clear();
  // A pipe under this name must not make us wait for its other end.
  Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!file.is_open() || fstat(file.number(), &status) != 0) return ErrorFromNative(errno);
  if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
  char block[16384];
  for (;;) {
    ssize_t count = read(file.number(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count == 0) return 0;
    DWORD error = count < 0 ? ErrorFromNative(errno) : 0;
    if (error == 0 && text->size() + static_cast<size_t>(count) > limit) {
      error = ERROR_NOT_ENOUGH_MEMORY;
    }
    if (error != 0) {
      text->clear();
      return error;
    }
    text->append(block, static_cast<size_t>(count));
  }
}

DWORD ReplaceNativeFile(const std::string& path, std::string_view text, unsigned mode) {
  std::string target = FollowLinks(path);
  struct stat status;
  if (stat(target.c_str(), &status) == 0) {
    if (!S_ISREG(status.st_mode) || (status.st_mode & S_IWUSR) == 0) return ERROR_ACCESS_DENIED;
    mode = status.st_mode & 07777;
  }
  std::string temporary = target + ".XXXXXX";
  Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
  if (!file.is_open()) return ErrorFromNative(errno);
  DWORD error = WriteAndMove(file.number(), temporary, target, text, mode);
  if (error != 0) unlink(temporary.c_str());
  return error;
}

DWORD WriteAllBytes(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t done = write(file, bytes.data(), bytes.size());
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) return ErrorFromNative(errno);
    bytes.remove_prefix(static_cast<size_t>(done));
  }
  return 0;
}

Descriptor LockFile(const std::string& path, bool wait) {
  Descriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!lock.is_open()) return lock;
  int operation = wait ? LOCK_EX : LOCK_EX | LOCK_NB;
  while (flock(lock.number(), operation) != 0) {
    if (errno != EINTR) return Descriptor();
  }
  return lock;
}

}  // namespace host
