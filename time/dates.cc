#include "time/dates.h"

#include <algorithm>

#include "base/file_time.h"
#include "platform/windows_api.h"
#include "time/calendar.h"

namespace qv {
namespace {

SYSTEMTIME FieldsOf(const ZRDate& date) {
  SYSTEMTIME fields{};
  fields.wYear = date.year;
  fields.wMonth = date.month;
  fields.wDay = date.day;
  fields.wHour = date.hour;
  fields.wMinute = date.minute;
  fields.wSecond = date.second;
  return fields;
}

WORD Word(uint32_t value) { return static_cast<WORD>(value); }

void CarryMonths(uint32_t& year, uint32_t& month) {
  if (month <= kMonthsPerYear) return;
  year += (month - 1) / kMonthsPerYear;
  month = (month - 1) % kMonthsPerYear + 1;
}

// False for a month 0 and when a field outgrows its 16 bits.
bool Normalise(SYSTEMTIME& fields) {
  if (fields.wMonth == 0) return false;
  const uint32_t minutes = fields.wMinute + fields.wSecond / 60u;
  const uint32_t hours = fields.wHour + minutes / 60;
  uint32_t year = fields.wYear, month = fields.wMonth, day = fields.wDay + hours / 24;
  CarryMonths(year, month);
  const uint32_t length = DaysInMonth(year, month);
  if (day > length) {
    day -= length;
    ++month;
    CarryMonths(year, month);
  }
  if (std::max(day, year) > 0xFFFF) return false;
  const WORD second = fields.wSecond % 60;
  fields = {Word(year), Word(month), 0, Word(day), Word(hours % 24), Word(minutes % 60), second, 0};
  return true;
}

bool FileTimeOf(const SYSTEMTIME& fields, uint64_t* file_time) {
  FILETIME halves;
  if (!SystemTimeToFileTime(&fields, &halves)) return false;
  *file_time = uint64_t{halves.dwHighDateTime} << 32 | halves.dwLowDateTime;
  return true;
}

bool TimeOfFields(SYSTEMTIME fields, uint32_t* time) {
  uint64_t file_time = 0;
  *time = 0;
  if (!FileTimeOf(fields, &file_time) && (!Normalise(fields) || !FileTimeOf(fields, &file_time))) {
    return false;
  }
  *time = FrameworkTimeFromFileTime(file_time);
  return file_time >= kFileTimeOf1904 &&
         file_time - FileTimeFromFrameworkTime(*time) < kFileTimeUnitsPerSecond;
}

}  // namespace
}  // namespace qv

uint32_t ZRGetCurrentTime() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  now.wMilliseconds = 0;
  uint32_t time = 0;
  return qv::TimeOfFields(now, &time) ? time : 0;
}

void ZRTimeToDate(uint32_t time, ZRDate* date) {
  const uint64_t units = qv::FileTimeFromFrameworkTime(time);
  const FILETIME file_time = {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
  SYSTEMTIME fields;
  *date = {};
  if (!FileTimeToSystemTime(&file_time, &fields)) return;
  *date = {fields.wYear,
           fields.wMonth,
           fields.wDay,
           fields.wHour,
           fields.wMinute,
           fields.wSecond,
           static_cast<uint16_t>(fields.wDayOfWeek + 1)};
}

bool ZRDateToTime(const ZRDate& date, uint32_t* time) {
  return qv::TimeOfFields(qv::FieldsOf(date), time);
}
