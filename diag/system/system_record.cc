#include "diag/system/system_record.h"

#include "platform/windows_api.h"

namespace qv {
namespace {

uint32_t VersionNumber(uint32_t major, uint32_t minor) {
  while (minor > 1000) minor /= 10;
  return major * 1000 + minor;
}

VersionAnswer AskVersion() {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof version;
  if (!GetVersionExA(&version)) return {};
  return {true, version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion};
}

const SystemRecord& State() {
  static const SystemRecord record = ReadSystemRecord();
  return record;
}

}  // namespace

SystemRecord MakeSystemRecord(const VersionAnswer& answer, uint32_t processors) {
  SystemRecord record{1, kPlatformUnknown, 0, 0, processors, kSystemWorkersAllowed};
  if (!answer.known) return record;
  switch (answer.platform) {
    case VER_PLATFORM_WIN32_NT:
      record.platform = kPlatformNt;
      record.flags |= kSystemNtFamily;
      break;
    case VER_PLATFORM_WIN32_WINDOWS:
      record.platform = kPlatformWindows95;
      break;
    case VER_PLATFORM_WIN32s:
      record.platform = kPlatformWin32s;
      break;
    default:
      return record;
  }
  record.flags |= kSystemThreadsAvailable;
  record.version = VersionNumber(answer.major, answer.minor);
  return record;
}

SystemRecord ReadSystemRecord() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return MakeSystemRecord(AskVersion(), info.dwNumberOfProcessors);
}

}  // namespace qv

uint32_t ZRSystemValid() { return qv::State().valid; }
int32_t ZRSystemPlatform() { return qv::State().platform; }
uint32_t ZRSystemVersion() { return qv::State().version; }
uint32_t ZRSystemProcessors() { return qv::State().processors; }
uint32_t ZRSystemFlags(uint32_t mask) { return qv::State().flags & mask; }
