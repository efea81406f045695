#include "platform/host/system_info.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/host/calls.h"
#include "platform/host/control.h"

namespace host {
namespace {

// What the machine leaves to a program: all of the lower half but its last page. A stack may begin
// right below that.
constexpr uintptr_t kLowestAddress = 0x10000;
constexpr uint64_t kAddressSpace = (uint64_t{1} << 47) - 0x1000 - kLowestAddress;
constexpr DWORD kAllocationGranularity = 0x10000;
constexpr WORD kArchitectureAmd64 = 9;
constexpr DWORD kProcessorAmd64 = 8664;

struct SystemState {
  std::mutex mutex;  // guards all below
  UINT error_mode = 0;
  SystemVersion version;
  std::optional<MemoryFigures> memory;  // none: those of the machine
};

SystemState& State() {
  static auto& state = *new SystemState;
  return state;
}

// Lines such as "MemTotal:   8056892 kB".
MemoryFigures MachineMemory() {
  uint64_t swap_total = 0, swap_free = 0;
  MemoryFigures figures;
  const struct {
    const char* name;
    uint64_t* bytes;
  } kLines[] = {{"MemTotal:", &figures.total_physical},
                {"MemAvailable:", &figures.available_physical},
                {"SwapTotal:", &swap_total},
                {"SwapFree:", &swap_free}};
  std::ifstream file("/proc/meminfo");
  for (std::string name, rest; file >> name && std::getline(file, rest);) {
    for (const auto& line : kLines) {
      if (name == line.name) *line.bytes = std::strtoull(rest.c_str(), nullptr, 10) * 1024;
    }
  }
  figures.total_page_file = figures.total_physical + swap_total;
  figures.available_page_file = figures.available_physical + swap_free;
  uint64_t used_pages = 0;
  std::ifstream("/proc/self/statm") >> used_pages;
  figures.total_virtual = kAddressSpace;
  uint64_t used = used_pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  figures.available_virtual = kAddressSpace - std::min(used, kAddressSpace);
  return figures;
}

MemoryFigures CurrentMemory() {
  SystemState& state = State();
  std::lock_guard hold(state.mutex);
  return state.memory ? *state.memory : MachineMemory();
}

// Percent of the physical memory that is in use.
DWORD MemoryLoad(const MemoryFigures& figures) {
  if (figures.total_physical == 0) return 0;
  uint64_t used = figures.total_physical - figures.available_physical;
  return static_cast<DWORD>(used * 100 / figures.total_physical);
}

SYSTEM_INFO DescribeMachine() {
  SYSTEM_INFO info{};
  info.wProcessorArchitecture = kArchitectureAmd64;
  info.dwPageSize = static_cast<DWORD>(sysconf(_SC_PAGESIZE));
  info.lpMinimumApplicationAddress = reinterpret_cast<LPVOID>(kLowestAddress);
  info.lpMaximumApplicationAddress =
      reinterpret_cast<LPVOID>(static_cast<uintptr_t>(kAddressSpace) + kLowestAddress - 1);
  auto processors = std::max<long>(sysconf(_SC_NPROCESSORS_ONLN), 1);
  constexpr long kMaskBits = sizeof(DWORD_PTR) * 8;
  info.dwActiveProcessorMask = ~DWORD_PTR{0} >> (kMaskBits - std::min(processors, kMaskBits));
  info.dwNumberOfProcessors = static_cast<DWORD>(processors);
  info.dwProcessorType = kProcessorAmd64;
  info.dwAllocationGranularity = kAllocationGranularity;
  return info;
}

}  // namespace

void SetSystemVersion(const SystemVersion& version) {
  SystemState& state = State();
  std::lock_guard hold(state.mutex);
  state.version = version;
}

void SetMemoryFigures(const MemoryFigures& figures) {
  SystemState& state = State();
  std::lock_guard hold(state.mutex);
  state.memory = figures;
}

void ResetSystem() {
  SystemState& state = State();
  std::lock_guard hold(state.mutex);
  state.version = {};
  state.memory.reset();
}

}  // namespace host

using host::Enter;
using host::Fail;

BOOL GetVersionExA(OSVERSIONINFOA* version) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  bool extended = version->dwOSVersionInfoSize == sizeof(OSVERSIONINFOEXA);
  if (!extended && version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
    return Fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
  }
  host::SystemState& state = host::State();
  std::lock_guard hold(state.mutex);
  OSVERSIONINFOEXA filled{};
  filled.dwOSVersionInfoSize = version->dwOSVersionInfoSize;
  filled.dwMajorVersion = state.version.major;
  filled.dwMinorVersion = state.version.minor;
  filled.dwBuildNumber = state.version.build;
  filled.dwPlatformId = state.version.platform;
  std::snprintf(filled.szCSDVersion, sizeof filled.szCSDVersion, "%s",
                state.version.service_pack.c_str());
  filled.wSuiteMask = state.version.suite;
  filled.wProductType = state.version.product;
  std::memcpy(version, &filled, version->dwOSVersionInfoSize);
  return TRUE;
}

void GetSystemInfo(SYSTEM_INFO* info) {
  Enter(__func__);
  *info = host::DescribeMachine();
}

void GlobalMemoryStatus(MEMORYSTATUS* status) {
  Enter(__func__);
  host::MemoryFigures figures = host::CurrentMemory();
  status->dwLength = sizeof *status;
  status->dwMemoryLoad = host::MemoryLoad(figures);
  status->dwTotalPhys = figures.total_physical;
  status->dwAvailPhys = figures.available_physical;
  status->dwTotalPageFile = figures.total_page_file;
  status->dwAvailPageFile = figures.available_page_file;
  status->dwTotalVirtual = figures.total_virtual;
  status->dwAvailVirtual = figures.available_virtual;
}

BOOL GlobalMemoryStatusEx(MEMORYSTATUSEX* status) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (status->dwLength != sizeof *status) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  host::MemoryFigures figures = host::CurrentMemory();
  status->dwMemoryLoad = host::MemoryLoad(figures);
  status->ullTotalPhys = figures.total_physical;
  status->ullAvailPhys = figures.available_physical;
  status->ullTotalPageFile = figures.total_page_file;
  status->ullAvailPageFile = figures.available_page_file;
  status->ullTotalVirtual = figures.total_virtual;
  status->ullAvailVirtual = figures.available_virtual;
  status->ullAvailExtendedVirtual = 0;
  return TRUE;
}

int GetSystemMetrics(int index) {
  if (Enter(__func__)) return 0;
  host::SystemState& state = host::State();
  std::lock_guard hold(state.mutex);
  switch (index) {
    case SM_CYSCREEN:
      return 768;  // of a screen that nobody looks at
    case SM_CYMENU:
      return 20;
    case SM_SERVERR2:
      return state.version.server_r2;
    default:
      return 0;
  }
}

UINT SetErrorMode(UINT mode) {
  host::Enter(__func__);
  host::SystemState& state = host::State();
  std::lock_guard hold(state.mutex);
  return std::exchange(state.error_mode, mode);
}
