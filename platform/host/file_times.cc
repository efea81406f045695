#include "platform/host/file_times.h"

#include <sys/stat.h>

#include <cerrno>

#include "platform/host/calls.h"
#include "platform/host/native_errors.h"
#include "platform/host/open_files.h"

namespace host {
namespace {

constexpr int64_t kSecondsTo1970 = 11'644'473'600;
constexpr int64_t kUnitsPerSecond = 10'000'000;
constexpr int64_t kNanosecondsPerUnit = 100;

FILETIME FromUnits(int64_t units) {
  return {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
}

int64_t Units(const FILETIME& time) {
  return static_cast<int64_t>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

// Null and 0 leave the file's time as it is.
timespec NativeFrom(const FILETIME* time) {
  if (!time || Units(*time) == 0) return {0, UTIME_OMIT};
  const int64_t units = Units(*time) - kSecondsTo1970 * kUnitsPerSecond;
  int64_t seconds = units / kUnitsPerSecond, rest = units % kUnitsPerSecond;
  if (rest < 0) seconds -= 1, rest += kUnitsPerSecond;
  return {seconds, rest * kNanosecondsPerUnit};
}

// The distance from UTC that holds now, as on Windows.
int64_t UnitsFromUtc() {
  const time_t now = std::time(nullptr);
  tm here{};
  localtime_r(&now, &here);
  return here.tm_gmtoff * kUnitsPerSecond;
}

}  // namespace

FILETIME FileTimeFromNative(const timespec& time) {
  return FromUnits((time.tv_sec + kSecondsTo1970) * kUnitsPerSecond +
                   time.tv_nsec / kNanosecondsPerUnit);
}

}  // namespace host

using host::Enter;
using host::Fail;

BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  *local = host::FromUnits(host::Units(*time) + host::UnitsFromUtc());
  return TRUE;
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* time) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  *time = host::FromUnits(host::Units(*local) - host::UnitsFromUtc());
  return TRUE;
}

// A native file keeps no time of its creation.
BOOL SetFileTime(HANDLE handle, const FILETIME*, const FILETIME* read, const FILETIME* written) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto file = host::FindHandle<host::OpenFile>(handle);
  if (!file) return Fail(ERROR_INVALID_HANDLE, FALSE);
  const timespec times[] = {host::NativeFrom(read), host::NativeFrom(written)};
  if (futimens(file->number(), times) != 0) return Fail(host::ErrorFromNative(errno), FALSE);
  return TRUE;
}
