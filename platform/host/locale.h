// What the system knows of the user's language and country, and times as that user writes them.
#pragma once

#include "platform/host/types.h"

using LCID = DWORD;
using LCTYPE = DWORD;

#define LOCALE_SISO639LANGNAME 0x59   // "en"
#define LOCALE_SISO3166CTRYNAME 0x5A  // "US"
#define LOCALE_STIMEFORMAT 0x1003     // "h:mm:ss tt"

#define TIME_NOSECONDS 2
#define TIME_NOTIMEMARKER 4
#define TIME_FORCE24HOURFORMAT 8

QV_HOST_API LCID GetUserDefaultLCID(void);
// Returns the units written, terminator included; with a size of 0 the units needed.
QV_HOST_API int GetLocaleInfoW(LCID locale, LCTYPE which, LPWSTR buffer, int size);
QV_HOST_API int GetLocaleInfoA(LCID locale, LCTYPE which, LPSTR buffer, int size);

// The hour, minute and second in the user's format; `format` has to be null. Returns the bytes
// written as above.
QV_HOST_API int GetTimeFormatA(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCSTR format,
                               LPSTR buffer, int size);
