// The machine: version of the system, processors, memory.
//
// The version is the one that Wine reports by default (6.1, build 7601, a workstation); tests
// choose another through control.h. Processors and memory are those of the machine.
#pragma once

#include "platform/host/types.h"

#define VER_PLATFORM_WIN32s 0
#define VER_PLATFORM_WIN32_WINDOWS 1
#define VER_PLATFORM_WIN32_NT 2

#define VER_NT_WORKSTATION 1
#define VER_NT_DOMAIN_CONTROLLER 2
#define VER_NT_SERVER 3

#define VER_SUITE_ENTERPRISE 0x2
#define VER_SUITE_DATACENTER 0x80
#define VER_SUITE_SINGLEUSERTS 0x100
#define VER_SUITE_PERSONAL 0x200
#define VER_SUITE_BLADE 0x400

#define SM_CYSCREEN 1
#define SM_CYMENU 15
#define SM_SERVERR2 89

struct OSVERSIONINFOA {
  DWORD dwOSVersionInfoSize, dwMajorVersion, dwMinorVersion, dwBuildNumber, dwPlatformId;
  CHAR szCSDVersion[128];
};
struct OSVERSIONINFOEXA {
  DWORD dwOSVersionInfoSize, dwMajorVersion, dwMinorVersion, dwBuildNumber, dwPlatformId;
  CHAR szCSDVersion[128];
  WORD wServicePackMajor, wServicePackMinor, wSuiteMask;
  BYTE wProductType, wReserved;
};
static_assert(sizeof(OSVERSIONINFOA) == 148 && sizeof(OSVERSIONINFOEXA) == 156);

struct SYSTEM_INFO {
  WORD wProcessorArchitecture, wReserved;
  DWORD dwPageSize;
  LPVOID lpMinimumApplicationAddress, lpMaximumApplicationAddress;
  DWORD_PTR dwActiveProcessorMask;
  DWORD dwNumberOfProcessors, dwProcessorType, dwAllocationGranularity;
  WORD wProcessorLevel, wProcessorRevision;
};
#define SEM_FAILCRITICALERRORS 1
struct MEMORYSTATUS {
  DWORD dwLength, dwMemoryLoad;
  SIZE_T dwTotalPhys, dwAvailPhys, dwTotalPageFile, dwAvailPageFile, dwTotalVirtual, dwAvailVirtual;
};
struct MEMORYSTATUSEX {
  DWORD dwLength, dwMemoryLoad;
  DWORDLONG ullTotalPhys, ullAvailPhys, ullTotalPageFile, ullAvailPageFile, ullTotalVirtual,
      ullAvailVirtual, ullAvailExtendedVirtual;
};
static_assert(sizeof(MEMORYSTATUSEX) == 64);

// Takes a record of either size.
QV_HOST_API BOOL GetVersionExA(OSVERSIONINFOA* version);
QV_HOST_API void GetSystemInfo(SYSTEM_INFO* info);
QV_HOST_API void GlobalMemoryStatus(MEMORYSTATUS* status);
QV_HOST_API BOOL GlobalMemoryStatusEx(MEMORYSTATUSEX* status);
// The mode before. Nothing here shows boxes, so the mode is kept and has no effect.
QV_HOST_API UINT SetErrorMode(UINT mode);
// The three numbers above; every other one reads 0.
QV_HOST_API int GetSystemMetrics(int index);
