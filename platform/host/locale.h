// What the system knows of the user's language and country.
#pragma once

#include "platform/host/types.h"

using LCID = DWORD;
using LCTYPE = DWORD;

#define LOCALE_SISO639LANGNAME 0x59   // "en"
#define LOCALE_SISO3166CTRYNAME 0x5A  // "US"

QV_HOST_API LCID GetUserDefaultLCID(void);
// Returns the units written, terminator included; with a size of 0 the units needed.
QV_HOST_API int GetLocaleInfoW(LCID locale, LCTYPE which, LPWSTR buffer, int size);
