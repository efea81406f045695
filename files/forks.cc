#include "files/forks.h"

#include <cstring>
#include <string_view>

#include "base/big_endian.h"
#include "files/errors.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr std::string_view kForkStream = ":AFP_Resource";
constexpr std::string_view kInfoStream = ":AFP_AfpInfo";
constexpr uint32_t kStreamPathSize = 276;
constexpr LONG kTypeAt = 16;  // in the information
constexpr Field kType = {0, 4}, kCreator = {4, 4};

bool AppendStream(char* path, uint32_t size, std::string_view stream) {
  const size_t length = strnlen(path, size);
  if (length + stream.size() >= size) return false;
  std::memcpy(path + length, stream.data(), stream.size());
  path[length + stream.size()] = 0;
  return true;
}

// A stream of a file, open for reading, or for writing and then made when it is not there.
class Stream {
 public:
  Stream(const char* file, std::string_view stream, DWORD access = GENERIC_READ) {
    char path[kStreamPathSize] = {};
    std::memcpy(path, file, strnlen(file, sizeof path - 1));
    fits_ = AppendStream(path, sizeof path, stream);
    if (!fits_) return;
    const DWORD disposition = access == GENERIC_READ ? OPEN_EXISTING : OPEN_ALWAYS;
    file_ = CreateFileA(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                        FILE_FLAG_RANDOM_ACCESS, nullptr);
  }
  ~Stream() {
    if (is_open()) CloseHandle(file_);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  bool fits() const { return fits_; }
  bool is_open() const { return file_ != INVALID_HANDLE_VALUE; }
  HANDLE file() const { return file_; }

 private:
  bool fits_ = false;
  HANDLE file_ = INVALID_HANDLE_VALUE;
};

// Where the place ended; false when the platform refuses.
bool Move(HANDLE file, LONG offset, DWORD origin, uint32_t* place) {
  *place = SetFilePointer(file, offset, nullptr, origin);
  return *place != INVALID_SET_FILE_POINTER || GetLastError() == 0;
}

}  // namespace

ZRError AppendResourceForkName(char* path, uint32_t size) {
  return AppendStream(path, size, kForkStream) ? ZRErrNone : ZRErrNotFound;
}

}  // namespace qv

ZRError ZRGetTypeCreator(const char* path, uint32_t* type, uint32_t* creator) {
  *type = *creator = 0;
  const qv::Stream stream(path, qv::kInfoStream);
  if (!stream.fits()) return ZRErrTooLong;
  if (!stream.is_open()) return ZRErrNotFound;
  uint8_t bytes[8];
  uint32_t place = 0;
  DWORD done = 0;
  if (!qv::Move(stream.file(), qv::kTypeAt, FILE_BEGIN, &place) ||
      !ReadFile(stream.file(), bytes, sizeof bytes, &done, nullptr) || done != sizeof bytes) {
    return ZRErrNotFound;
  }
  *type = qv::ReadBigEndian(bytes, qv::kType);
  *creator = qv::ReadBigEndian(bytes, qv::kCreator);
  return ZRErrNone;
}

ZRError ZRSetTypeCreator(const char* path, uint32_t type, uint32_t creator) {
  if (strnlen(path, qv::kStreamPathSize) + qv::kInfoStream.size() >= qv::kStreamPathSize) {
    return ZRErrTooLong;
  }
  // Opening the stream would make the file too.
  if (GetFileAttributesA(path) == INVALID_FILE_ATTRIBUTES) {
    return ZRTranslateNativeError(GetLastError(), path);
  }
  const qv::Stream stream(path, qv::kInfoStream, GENERIC_WRITE);
  if (!stream.is_open()) return ZRTranslateNativeError(GetLastError(), path);
  uint8_t bytes[8];
  for (int i = 0; i < 4; ++i) {
    bytes[i] = static_cast<uint8_t>(type >> (24 - 8 * i));
    bytes[4 + i] = static_cast<uint8_t>(creator >> (24 - 8 * i));
  }
  uint32_t place = 0;
  DWORD done = 0;
  if (!qv::Move(stream.file(), qv::kTypeAt, FILE_BEGIN, &place) ||
      !WriteFile(stream.file(), bytes, sizeof bytes, &done, nullptr)) {
    return ZRTranslateNativeError(GetLastError(), path);
  }
  return done == sizeof bytes ? ZRErrNone : ZRErrDiskFull;
}

ZRError ZRGetResourceForkSize(const char* path, uint64_t* size) {
  *size = 0;
  const qv::Stream stream(path, qv::kForkStream);
  if (!stream.is_open()) return ZRErrNotFound;
  uint32_t place = 0;
  if (!qv::Move(stream.file(), 0, FILE_END, &place)) return ZRErrSeek;
  *size = place;
  return ZRErrNone;
}

ZRError ZRGetAFPInfo(const char* path, uint64_t* fork_size, uint32_t* type, uint32_t* creator) {
  *fork_size = 0;
  ZRError error = ZRGetTypeCreator(path, type, creator);
  if (error == ZRErrNone) error = ZRGetResourceForkSize(path, fork_size);
  return error == ZRErrNotFound ? ZRErrNone : error;
}
