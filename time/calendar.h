// The Gregorian calendar in days since 1 January 1904, day 0 of framework times.
//
//   int64_t day = qv::DayNumber(2000, 3, 1);             // 35124
//   uint32_t year = qv::YearOfDay(day);                  // 2000
//   uint32_t weekday = qv::WeekdayOfDay(day);            // 4, a Wednesday
//
// Pure arithmetic; threads: any.
#pragma once

#include <cstdint>

namespace qv {

constexpr int64_t kSecondsPerDay = 86400, kSecondsPerHour = 3600, kSecondsPerMinute = 60;
constexpr uint32_t kFirstYear = 1904;
constexpr uint32_t kMonthsPerYear = 12, kDaysPerWeek = 7;

constexpr bool IsLeapYear(uint32_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// `month` is 1 to 12.
constexpr uint32_t DaysInMonth(uint32_t year, uint32_t month) {
  constexpr uint8_t kDays[kMonthsPerYear] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1u : 0u);
}

// Days from 1 January of year 1 to 1 January of `year`, which is 1 or more.
constexpr int64_t DaysBeforeYear(uint32_t year) {
  const int64_t past = int64_t{year} - 1;
  return past * 365 + past / 4 - past / 100 + past / 400;
}

// `month` is 1 to 12, the year 1 or more; a day outside the month counts on from it. Negative
// before 1904.
constexpr int64_t DayNumber(uint32_t year, uint32_t month, int64_t day) {
  int64_t number = DaysBeforeYear(year) - DaysBeforeYear(kFirstYear) + day - 1;
  for (uint32_t before = 1; before < month; ++before) number += DaysInMonth(year, before);
  return number;
}

// Of a day that is not negative.
constexpr uint32_t YearOfDay(int64_t day) {
  // Too late by a year at most: the quotient takes every year for a short one.
  auto year = static_cast<uint32_t>(kFirstYear + day / 365);
  while (DayNumber(year, 1, 1) > day) --year;
  return year;
}

// 1 Sunday to 7 Saturday.
constexpr uint32_t WeekdayOfDay(int64_t day) {
  constexpr int64_t kFirstWeekday = 5;  // 1 January 1904 was a Friday, counted from 0
  const int64_t rest = (day + kFirstWeekday) % kDaysPerWeek;
  return static_cast<uint32_t>(rest < 0 ? rest + kDaysPerWeek : rest) + 1;
}

}  // namespace qv
