// Loaded modules and the resources in their files.
//
// A module handle stands for one ELF object of the process. Its resources are the section
// ".qvres" of its own file, written by the project's resource tool, so a library reads the strings
// of the executable that loaded it from that executable. "KERNEL32.DLL" is the stand-in itself: its
// calls are found by name there.
#pragma once

#include "platform/host/types.h"

#define IS_INTRESOURCE(name) ((reinterpret_cast<ULONG_PTR>(name) >> 16) == 0)
#define MAKEINTRESOURCEA(number) \
  (reinterpret_cast<LPSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(number))))
#define MAKEINTRESOURCEW(number) \
  (reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(number))))
#define RT_MENU MAKEINTRESOURCEA(4)
#define RT_STRING MAKEINTRESOURCEA(6)

#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

using ENUMRESTYPEPROCA = BOOL (*)(HMODULE module, LPSTR type, LONG_PTR parameter);
using ENUMRESNAMEPROCA = BOOL (*)(HMODULE module, LPCSTR type, LPSTR name, LONG_PTR parameter);

QV_HOST_API HMODULE GetModuleHandleA(LPCSTR name);
QV_HOST_API DWORD GetModuleFileNameA(HMODULE module, LPSTR buffer, DWORD size);
QV_HOST_API DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size);
QV_HOST_API HMODULE LoadLibraryA(LPCSTR path);
QV_HOST_API HMODULE LoadLibraryW(LPCWSTR path);
QV_HOST_API BOOL FreeLibrary(HMODULE module);
QV_HOST_API FARPROC GetProcAddress(HMODULE module, LPCSTR name);

QV_HOST_API HRSRC FindResourceA(HMODULE module, LPCSTR name, LPCSTR type);
QV_HOST_API HGLOBAL LoadResource(HMODULE module, HRSRC resource);
QV_HOST_API LPVOID LockResource(HGLOBAL data);
QV_HOST_API DWORD SizeofResource(HMODULE module, HRSRC resource);
QV_HOST_API int LoadStringA(HINSTANCE module, UINT number, LPSTR buffer, int size);
QV_HOST_API BOOL EnumResourceTypesA(HMODULE module, ENUMRESTYPEPROCA callback, LONG_PTR parameter);
QV_HOST_API BOOL EnumResourceNamesA(HMODULE module, LPCSTR type, ENUMRESNAMEPROCA callback,
                                    LONG_PTR parameter);
