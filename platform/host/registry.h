// The registry: one text file of the state directory, changed under a lock and replaced as a whole,
// so that several processes may work on it.
//
// Values keep exactly the bytes they were given. (The real system adds a text's terminator when it
// was not counted but stands right behind the bytes; it is not looked for here.)
#pragma once

#include "platform/host/types.h"

#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000000)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000001)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002)))

#define KEY_READ 0x20019
#define KEY_ALL_ACCESS 0xF003F
#define REG_OPTION_NON_VOLATILE 0
#define REG_CREATED_NEW_KEY 1
#define REG_OPENED_EXISTING_KEY 2
#define REG_NONE 0
#define REG_SZ 1
#define REG_BINARY 3
#define REG_DWORD 4

using REGSAM = DWORD;
using LSTATUS = LONG;

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

QV_HOST_API LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subkey, DWORD options, REGSAM access,
                                  HKEY* result);
QV_HOST_API LSTATUS RegCreateKeyExA(HKEY key, LPCSTR subkey, DWORD reserved, LPSTR key_class,
                                    DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security,
                                    HKEY* result, LPDWORD disposition);
QV_HOST_API LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type,
                                     LPBYTE data, LPDWORD size);
QV_HOST_API LSTATUS RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD size);
QV_HOST_API LSTATUS RegDeleteValueA(HKEY key, LPCSTR name);
QV_HOST_API LSTATUS RegDeleteTreeA(HKEY key, LPCSTR subkey);
QV_HOST_API LSTATUS RegCloseKey(HKEY key);
