// Code pages of the system, and the conversions of its narrow calls.
#pragma once

#include "platform/host/types.h"

#define CP_ACP 0
#define CP_UTF8 65001
#define CP_SUPPORTED 2
#define MB_ERR_INVALID_CHARS 8
#define WC_ERR_INVALID_CHARS 0x80
#define WC_NO_BEST_FIT_CHARS 0x400

using CODEPAGE_ENUMPROCA = BOOL (*)(LPSTR code_page);

QV_HOST_API UINT GetACP(void);
QV_HOST_API BOOL IsValidCodePage(UINT code_page);
QV_HOST_API BOOL EnumSystemCodePagesA(CODEPAGE_ENUMPROCA callback, DWORD flags);
QV_HOST_API int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR text, int bytes,
                                    LPWSTR wide, int wide_size);
QV_HOST_API int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR wide, int units,
                                    LPSTR text, int size, LPCSTR replacement, LPBOOL replaced);
