#include "platform/host/calendar_times.h"

#include <time.h>

#include "platform/host/calls.h"

namespace host {
namespace {

constexpr int64_t kUnitsPerSecond = 10000000, kUnitsPerMillisecond = 10000;
constexpr int64_t kSecondsFrom1601To1970 = 11644473600;
constexpr int kFirstYear = 1601, kLastYear = 30827;

constexpr int kTmYear = 1900;  // year 0 of tm

WORD Word(int64_t value) { return static_cast<WORD>(value); }

bool InRange(const SYSTEMTIME& fields) {
  return fields.wYear >= kFirstYear && fields.wYear <= kLastYear && fields.wMonth >= 1 &&
         fields.wMonth <= 12 && fields.wDay >= 1 && fields.wDay <= 31 && fields.wHour < 24 &&
         fields.wMinute < 60 && fields.wSecond < 60 && fields.wMilliseconds < 1000;
}

// False for a day that the month does not have.
bool SecondsOf(const SYSTEMTIME& fields, int64_t* seconds) {
  tm calendar{};
  calendar.tm_year = fields.wYear - kTmYear;
  calendar.tm_mon = fields.wMonth - 1;
  calendar.tm_mday = fields.wDay;
  calendar.tm_hour = fields.wHour;
  calendar.tm_min = fields.wMinute;
  calendar.tm_sec = fields.wSecond;
  *seconds = timegm(&calendar);
  return calendar.tm_mday == fields.wDay;
}

}  // namespace
}  // namespace host

BOOL SystemTimeToFileTime(const SYSTEMTIME* fields, FILETIME* time) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, FALSE);
  int64_t seconds = 0;
  if (!host::InRange(*fields) || !host::SecondsOf(*fields, &seconds)) {
    return host::Fail(ERROR_INVALID_PARAMETER, FALSE);
  }
  const int64_t units = (seconds + host::kSecondsFrom1601To1970) * host::kUnitsPerSecond +
                        fields->wMilliseconds * host::kUnitsPerMillisecond;
  time->dwLowDateTime = static_cast<DWORD>(units);
  time->dwHighDateTime = static_cast<DWORD>(units >> 32);
  return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* fields) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, FALSE);
  const auto units =
      static_cast<int64_t>(uint64_t{time->dwHighDateTime} << 32 | time->dwLowDateTime);
  if (units < 0) return host::Fail(ERROR_INVALID_PARAMETER, FALSE);
  const time_t seconds = units / host::kUnitsPerSecond - host::kSecondsFrom1601To1970;
  tm calendar;
  gmtime_r(&seconds, &calendar);
  *fields = {host::Word(calendar.tm_year + host::kTmYear),
             host::Word(calendar.tm_mon + 1),
             host::Word(calendar.tm_wday),
             host::Word(calendar.tm_mday),
             host::Word(calendar.tm_hour),
             host::Word(calendar.tm_min),
             host::Word(calendar.tm_sec),
             host::Word(units % host::kUnitsPerSecond / host::kUnitsPerMillisecond)};
  return TRUE;
}
