// Type names, widths, calling conventions and error numbers of the Windows interface.
//
// Widths are those of Windows on every target: LONG and DWORD have 32 bits, WCHAR has 16, and only
// what carries an address follows the target. Numbers are the published ones (Win32 reference).
#pragma once

#include <cstdint>

#define WINAPI
#define CALLBACK
#define __stdcall
#define __cdecl
#define QV_HOST_API extern "C" __attribute__((visibility("default")))

using BOOL = int32_t;
using BYTE = uint8_t;
using UCHAR = uint8_t;
using CHAR = char;
using WCHAR = char16_t;
using SHORT = int16_t;
using USHORT = uint16_t;
using WORD = uint16_t;
using INT = int32_t;
using UINT = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using DWORD = uint32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using DWORDLONG = uint64_t;
using INT_PTR = intptr_t;
using UINT_PTR = uintptr_t;
using LONG_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using DWORD_PTR = uintptr_t;
using SIZE_T = uintptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using ATOM = WORD;
using HRESULT = LONG;
using LCID = DWORD;

using LPVOID = void*;
using PVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using LPBOOL = BOOL*;
using LPLONG = LONG*;

using HANDLE = void*;
// Each kind of handle is a type of its own, as with STRICT on Windows.
#define QV_HOST_DECLARE_HANDLE(name) \
  struct name##__ {                  \
    int unused;                      \
  };                                 \
  using name = name##__*
QV_HOST_DECLARE_HANDLE(HINSTANCE);
QV_HOST_DECLARE_HANDLE(HWND);
QV_HOST_DECLARE_HANDLE(HDC);
QV_HOST_DECLARE_HANDLE(HKEY);
QV_HOST_DECLARE_HANDLE(HRSRC);
using HMODULE = HINSTANCE;
using HGLOBAL = HANDLE;
using HLOCAL = HANDLE;
using HGDIOBJ = void*;
using HFONT = HGDIOBJ;
using FARPROC = INT_PTR (*)();

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif
#define MAX_PATH 260
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

// Error numbers (winerror.h).
#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_PROTECT 19
#define ERROR_BAD_LENGTH 24
#define ERROR_READ_FAULT 30
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_HANDLE_EOF 38
#define ERROR_NOT_SUPPORTED 50
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_DISK_FULL 112
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_NEGATIVE_SEEK 131
#define ERROR_DIR_NOT_EMPTY 145
#define ERROR_ALREADY_EXISTS 183
#define ERROR_BAD_EXE_FORMAT 193
#define ERROR_ENVVAR_NOT_FOUND 203
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_MORE_DATA 234
#define ERROR_DIRECTORY 267
#define ERROR_KEY_DELETED 1018
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_RESOURCE_DATA_NOT_FOUND 1812
#define ERROR_RESOURCE_TYPE_NOT_FOUND 1813
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814
