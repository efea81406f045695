// Drives. C: and Z: are fixed ones; tests add others through control.h, which have no contents.
#pragma once

#include "platform/host/types.h"

#define DRIVE_UNKNOWN 0
#define DRIVE_NO_ROOT_DIR 1
#define DRIVE_REMOVABLE 2
#define DRIVE_FIXED 3
#define DRIVE_REMOTE 4
#define DRIVE_CDROM 5
#define DRIVE_RAMDISK 6

#define ERROR_NOT_CONNECTED 2250

union ULARGE_INTEGER {
  struct {
    DWORD LowPart, HighPart;
  } u;
  ULONGLONG QuadPart;
};

QV_HOST_API UINT GetDriveTypeA(LPCSTR root);
QV_HOST_API BOOL GetDiskFreeSpaceExA(LPCSTR folder, ULARGE_INTEGER* free_to_caller,
                                     ULARGE_INTEGER* total, ULARGE_INTEGER* free);
QV_HOST_API BOOL GetVolumeInformationW(LPCWSTR root, LPWSTR label, DWORD label_size, LPDWORD serial,
                                       LPDWORD longest_name, LPDWORD flags, LPWSTR file_system,
                                       DWORD file_system_size);
// Gives its error back; the last error stays.
QV_HOST_API DWORD WNetGetConnectionW(LPCWSTR drive, LPWSTR name, LPDWORD size);
