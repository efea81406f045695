// File times: units of 100 nanoseconds from 1 January 1601.
#pragma once

#include <ctime>

#include "platform/host/types.h"

QV_HOST_API BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local);
QV_HOST_API BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* time);
QV_HOST_API BOOL SetFileTime(HANDLE file, const FILETIME* created, const FILETIME* read,
                             const FILETIME* written);

namespace host {

FILETIME FileTimeFromNative(const timespec& time);

}  // namespace host
