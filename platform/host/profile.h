// Private-profile files: sections in square brackets, key=value lines.
#pragma once

#include "platform/host/types.h"

QV_HOST_API DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR default_text,
                                           LPSTR buffer, DWORD size, LPCSTR file);
QV_HOST_API UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, INT default_value, LPCSTR file);
QV_HOST_API BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR file);
