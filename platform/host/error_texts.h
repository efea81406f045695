// The system's texts for its error numbers (English, the most usual numbers only).
#pragma once

#include <cstdarg>

#include "platform/host/types.h"

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x200u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000u
#define ERROR_MR_MID_NOT_FOUND 317
#define LANG_NEUTRAL 0
#define SUBLANG_DEFAULT 1
#define MAKELANGID(primary, sub) ((WORD)(((WORD)(sub) << 10) | (WORD)(primary)))

// Into `buffer` of `size` bytes, or with FORMAT_MESSAGE_ALLOCATE_BUFFER into a block that LocalFree
// frees and whose address `buffer` receives.
QV_HOST_API DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD number, DWORD language,
                                 LPSTR buffer, DWORD size, va_list* inserts);
QV_HOST_API HLOCAL LocalFree(HLOCAL block);
