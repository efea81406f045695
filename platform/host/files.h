// Files and folders. Drive C: is a folder of the state directory, Z: is the root of the machine's
// file system; names match without regard to letter case.
#pragma once

#include "platform/host/registry.h"
#include "platform/host/types.h"

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_APPEND_DATA 4
#define FILE_SHARE_READ 1
#define FILE_SHARE_WRITE 2
#define FILE_SHARE_DELETE 4
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define FILE_ATTRIBUTE_READONLY 0x01
#define FILE_ATTRIBUTE_HIDDEN 0x02
#define FILE_ATTRIBUTE_SYSTEM 0x04
#define FILE_ATTRIBUTE_DIRECTORY 0x10
#define FILE_ATTRIBUTE_ARCHIVE 0x20
#define FILE_ATTRIBUTE_NORMAL 0x80
#define FILE_ATTRIBUTE_REPARSE_POINT 0x400
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define MOVEFILE_REPLACE_EXISTING 1
#define CSIDL_PERSONAL 0x05
#define CSIDL_APPDATA 0x1A
#define CSIDL_LOCAL_APPDATA 0x1C
#define CSIDL_COMMON_APPDATA 0x23
#define S_OK 0

#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u
#define FILE_FLAG_OVERLAPPED 0x40000000u  // transfers end at once all the same
#define FILE_FLAG_WRITE_THROUGH 0x80000000u
#define ERROR_IO_INCOMPLETE 996
#define ERROR_IO_PENDING 997

struct OVERLAPPED {
  ULONG_PTR Internal, InternalHigh;
  DWORD Offset, OffsetHigh;
  HANDLE hEvent;
};

QV_HOST_API HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share,
                               LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                               HANDLE template_file);
QV_HOST_API HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share,
                               LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                               HANDLE template_file);
QV_HOST_API BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, OVERLAPPED* at);
QV_HOST_API BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, OVERLAPPED* at);
QV_HOST_API BOOL GetOverlappedResult(HANDLE file, OVERLAPPED* at, LPDWORD done, BOOL wait);
QV_HOST_API DWORD SetFilePointer(HANDLE file, LONG low, LONG* high, DWORD origin);
QV_HOST_API BOOL SetEndOfFile(HANDLE file);
QV_HOST_API BOOL FlushFileBuffers(HANDLE file);
QV_HOST_API BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
QV_HOST_API BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL fail_if_exists);
QV_HOST_API BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security);
QV_HOST_API BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security);
QV_HOST_API BOOL RemoveDirectoryA(LPCSTR path);
QV_HOST_API BOOL DeleteFileA(LPCSTR path);
QV_HOST_API BOOL DeleteFileW(LPCWSTR path);
QV_HOST_API BOOL MoveFileA(LPCSTR from, LPCSTR to);
QV_HOST_API BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);
QV_HOST_API DWORD GetFileAttributesA(LPCSTR path);
QV_HOST_API DWORD GetFileAttributesW(LPCWSTR path);
QV_HOST_API BOOL SetFileAttributesA(LPCSTR path, DWORD attributes);
QV_HOST_API BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes);
QV_HOST_API DWORD GetShortPathNameA(LPCSTR path, LPSTR buffer, DWORD size);
QV_HOST_API DWORD GetFullPathNameW(LPCWSTR path, DWORD size, LPWSTR buffer, LPWSTR* name_part);
QV_HOST_API DWORD GetTempPathA(DWORD size, LPSTR buffer);
QV_HOST_API DWORD GetTempPathW(DWORD size, LPWSTR buffer);
QV_HOST_API HRESULT SHGetFolderPathA(HWND owner, int folder, HANDLE token, DWORD flags, LPSTR path);

// The shell's older way to its folders: an item list, freed through the shell's allocator.
struct ITEMIDLIST {
  int folder;
};
using LPITEMIDLIST = ITEMIDLIST*;
struct IMalloc {
  virtual void Free(void* block) = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IMalloc() = default;
};
QV_HOST_API HRESULT SHGetSpecialFolderLocation(HWND owner, int folder, LPITEMIDLIST* list);
QV_HOST_API BOOL SHGetPathFromIDListA(const ITEMIDLIST* list, LPSTR path);
QV_HOST_API HRESULT SHGetMalloc(IMalloc** allocator);
