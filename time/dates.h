// Framework times and dates.
//
// A framework time counts the seconds since 1 January 1904 00:00 of the local clock, in 32 bits
// without a sign, so it ends in February 2040. 0 also stands for an unknown time.
//
//   ZRDate date;
//   ZRTimeToDate(ZRGetCurrentTime(), &date);
//   date.day += 1;                                  // normalised on the way back
//   uint32_t tomorrow;
//   if (!ZRDateToTime(date, &tomorrow)) ...
//
// The system does the conversions. Threads: any; no state.
#pragma once

#include <cstdint>

struct ZRDate {
  uint16_t year;
  uint16_t month;  // 1 to 12
  uint16_t day;    // 1 to 31
  uint16_t hour;   // 0 to 23
  uint16_t minute, second;
  uint16_t weekday;  // 1 Sunday to 7 Saturday; not looked at in a date that is given
};
static_assert(sizeof(ZRDate) == 14);

// The local clock; 0 when it cannot be converted.
uint32_t ZRGetCurrentTime();

// The fields are all 0 when the system fails.
void ZRTimeToDate(uint32_t time, ZRDate* date);

// A date that the system refuses is normalised once: seconds, minutes and hours beyond their range
// carry, months beyond 12 carry into years, and a day beyond its month's length moves into the next
// month once. 30 February becomes 2 March (or 1 March).
//
// False, and *time is 0 for a date before 1904 and for one that is refused a second time,
// 0xFFFFFFFF for one whose time does not fit.
bool ZRDateToTime(const ZRDate& date, uint32_t* time);
