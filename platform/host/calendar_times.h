// Calendar fields and file times: units of 100 nanoseconds since 1 January 1601.
#pragma once

#include "platform/host/types.h"

// Fails with ERROR_INVALID_PARAMETER for fields that are no date and time from 1601 on; the day of
// the week is not looked at.
QV_HOST_API BOOL SystemTimeToFileTime(const SYSTEMTIME* fields, FILETIME* time);
// Fails likewise for times of 2^63 and more.
QV_HOST_API BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* fields);
