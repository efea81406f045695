#include "platform/host/drives.h"

#include <sys/statvfs.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/native_errors.h"
#include "platform/host/paths.h"
#include "platform/host/text.h"

namespace host {
namespace {

struct DriveList {
  std::mutex mutex;
  std::map<char, TestDrive> added;
};

DriveList& State() {
  static auto& state = *new DriveList;
  return state;
}

// The drive that a root such as "C:\" names; none for another form or an absent drive.
std::optional<TestDrive> FindDrive(const std::string& root) {
  if (root.size() < 2 || root[1] != ':') return {};
  const char letter = UpperCaseUtf8(root.substr(0, 1))[0];
  DriveList& list = State();
  std::lock_guard hold(list.mutex);
  auto found = list.added.find(letter);
  if (found != list.added.end()) return found->second;
  if (letter == 'C' || letter == 'Z') return TestDrive{};
  return {};
}

}  // namespace

void AddDrive(char letter, const TestDrive& drive) {
  DriveList& list = State();
  std::lock_guard hold(list.mutex);
  list.added[letter] = drive;
}

void RemoveAddedDrives() {
  DriveList& list = State();
  std::lock_guard hold(list.mutex);
  list.added.clear();
}

}  // namespace host

using host::Enter;
using host::Fail;

UINT GetDriveTypeA(LPCSTR root) {
  if (Enter(__func__) != 0) return DRIVE_UNKNOWN;
  const auto drive = host::FindDrive(root ? root : "");
  return drive ? drive->type : DRIVE_NO_ROOT_DIR;
}

BOOL GetDiskFreeSpaceExA(LPCSTR folder, ULARGE_INTEGER* free_to_caller, ULARGE_INTEGER* total,
                         ULARGE_INTEGER* free) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  const host::FoundName name = host::FindNative(folder);
  if (name.error != 0) return Fail(name.error, FALSE);
  struct statvfs status;
  if (statvfs(name.path.c_str(), &status) != 0) return Fail(host::ErrorFromNative(errno), FALSE);
  if (free_to_caller) free_to_caller->QuadPart = uint64_t{status.f_bavail} * status.f_frsize;
  if (total) total->QuadPart = uint64_t{status.f_blocks} * status.f_frsize;
  if (free) free->QuadPart = uint64_t{status.f_bfree} * status.f_frsize;
  return TRUE;
}

BOOL GetVolumeInformationW(LPCWSTR root, LPWSTR label, DWORD label_size, LPDWORD serial, LPDWORD,
                           LPDWORD, LPWSTR, DWORD) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  const auto drive = host::FindDrive(host::Utf8FromWide(root ? root : u""));
  if (!drive) return Fail(ERROR_PATH_NOT_FOUND, FALSE);
  if (serial) *serial = drive->serial;
  const std::u16string text = host::WideFromUtf8(drive->label);
  if (label && host::CopyOut(std::u16string_view(text), label, label_size) > text.size()) {
    return Fail(ERROR_BAD_LENGTH, FALSE);
  }
  return TRUE;
}

DWORD WNetGetConnectionW(LPCWSTR drive, LPWSTR name, LPDWORD size) {
  if (DWORD fault = Enter(__func__)) return fault;
  const auto found = host::FindDrive(host::Utf8FromWide(drive ? drive : u""));
  if (!found || found->type != DRIVE_REMOTE) return ERROR_NOT_CONNECTED;
  const std::u16string text = host::WideFromUtf8(found->connection);
  const DWORD needed = static_cast<DWORD>(text.size() + 1);
  const bool fits = host::CopyOut(std::u16string_view(text), name, *size) < needed;
  if (!fits) *size = needed;
  return fits ? 0 : ERROR_MORE_DATA;
}
