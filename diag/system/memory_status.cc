#include "diag/system/memory_status.h"

#include <algorithm>

#include "platform/windows_api.h"

namespace {

constexpr uint32_t kMegabyte = 1048576;
constexpr double kWrapped = 4294967296.0;  // what a 32-bit figure of 0 stands for

using MemoryStatusCall = BOOL(WINAPI*)(MEMORYSTATUSEX* status);

// Systems older than the call lack it, so it is taken by name.
bool AskExtended(MEMORYSTATUSEX* status) {
  HMODULE kernel = GetModuleHandleA("KERNEL32.DLL");
  if (kernel == nullptr) return false;
  FARPROC address = GetProcAddress(kernel, "GlobalMemoryStatusEx");
  if (address == nullptr) return false;
  auto call = reinterpret_cast<MemoryStatusCall>(reinterpret_cast<void*>(address));
  *status = {};
  status->dwLength = sizeof *status;
  return call(status) != FALSE;
}

// Where addresses have 64 bits the call reports more than our figures hold.
uint32_t Capped(SIZE_T bytes) {
  return static_cast<uint32_t>(std::min<uint64_t>(bytes, UINT32_MAX));
}

void FillFromExtended(const MEMORYSTATUSEX& status, MemoryStatusFull* out) {
  out->total_physical = static_cast<double>(status.ullTotalPhys);
  out->available_physical = static_cast<double>(status.ullAvailPhys);
  out->total_page_file = static_cast<double>(status.ullTotalPageFile);
  out->available_page_file = static_cast<double>(status.ullAvailPageFile);
  out->total_virtual = static_cast<double>(status.ullTotalVirtual);
  out->available_virtual = static_cast<double>(status.ullAvailVirtual);
  out->usable_total = out->total_page_file;
  out->usable_available =
      std::min({out->available_page_file, out->total_physical, out->available_virtual});
}

double ZeroIsWrapped(uint32_t figure) { return figure == 0 ? kWrapped : figure; }

// The sum may wrap to 0, which then reads as 2^32, as it should.
double WholeMegabytes(uint32_t bytes) {
  return ZeroIsWrapped((bytes + (kMegabyte - 1)) / kMegabyte * kMegabyte);
}

void FillFromBasic(const MemoryStatus& basic, MemoryStatusFull* out) {
  out->usable_total = WholeMegabytes(basic.usable_total);
  out->usable_available = ZeroIsWrapped(basic.usable_available);
  out->total_physical = WholeMegabytes(basic.total_physical);
  out->available_physical = ZeroIsWrapped(basic.available_physical);
  out->total_page_file = WholeMegabytes(basic.total_page_file);
  out->available_page_file = ZeroIsWrapped(basic.available_page_file);
}

}  // namespace

bool ZRMemoryStatus(MemoryStatus* out) {
  if (out == nullptr) return false;
  MEMORYSTATUS status{};
  status.dwLength = sizeof status;
  GlobalMemoryStatus(&status);
  out->total_physical = Capped(status.dwTotalPhys);
  out->available_physical = Capped(status.dwAvailPhys);
  out->total_page_file = Capped(status.dwTotalPageFile);
  out->available_page_file = Capped(status.dwAvailPageFile);
  out->total_virtual = Capped(status.dwTotalVirtual);
  out->available_virtual = Capped(status.dwAvailVirtual);
  out->usable_total = std::min({out->total_page_file, out->total_physical, out->total_virtual});
  out->usable_available =
      std::min({out->available_page_file, out->total_physical, out->available_virtual});
  return true;
}

bool ZRMemoryStatusFull(MemoryStatusFull* out) {
  if (out == nullptr) return false;
  MEMORYSTATUSEX extended;
  MemoryStatus basic;
  if (AskExtended(&extended)) {
    FillFromExtended(extended, out);
  } else if (ZRMemoryStatus(&basic)) {
    FillFromBasic(basic, out);
  }
  return true;
}
