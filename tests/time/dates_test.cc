#include "time/dates.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "time/calendar.h"

bool operator==(const ZRDate& a, const ZRDate& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.weekday == b.weekday;
}

namespace {

constexpr int64_t kRange = int64_t{1} << 32;

// By the standard library's calendar.
ZRDate Expected(uint32_t time) {
  using namespace std::chrono;
  const sys_days day = sys_days(January / 1 / 1904) + days(time / 86400);
  const year_month_day date(day);
  const uint32_t second = time % 86400;
  const auto word = [](auto value) { return static_cast<uint16_t>(value); };
  return {word(int(date.year())),
          word(unsigned(date.month())),
          word(unsigned(date.day())),
          word(second / 3600),
          word(second / 60 % 60),
          word(second % 60),
          word(weekday(day).c_encoding() + 1)};
}

void CheckBothWays(uint32_t time) {
  const ZRDate expected = Expected(time);
  ZRDate date;
  uint32_t back = 0;
  ZRTimeToDate(time, &date);
  ASSERT_TRUE(date == expected) << time;
  ASSERT_TRUE(ZRDateToTime(date, &back));
  ASSERT_EQ(back, time);
}

TEST(Dates, EveryDayOfTheRangeBothWays) {
  for (int64_t day = 0; day * 86400 < kRange; ++day) {
    const auto first = static_cast<uint32_t>(day * 86400);
    CheckBothWays(first);
    CheckBothWays(static_cast<uint32_t>(std::min(first + int64_t{86399}, kRange - 1)));
    const ZRDate date = Expected(first);
    ASSERT_EQ(qv::DayNumber(date.year, date.month, date.day), day);
    ASSERT_EQ(qv::YearOfDay(day), date.year);
    ASSERT_EQ(qv::WeekdayOfDay(day), date.weekday);
  }
  std::mt19937 random(1904);
  for (int i = 0; i < 20000; ++i) CheckBothWays(static_cast<uint32_t>(random()));
}

TEST(Dates, AreNormalisedOnceOrRefused) {
  const struct {
    const char* name;
    ZRDate in, out;  // what the time reads as; year 0: refused, with a time of `second`
  } kRows[] = {
      {"90 seconds", {2001, 5, 6, 7, 8, 90, 0}, {2001, 5, 6, 7, 9, 30, 1}},
      {"90 minutes", {2001, 5, 6, 7, 90, 0, 0}, {2001, 5, 6, 8, 30, 0, 1}},
      {"24 hours", {2001, 5, 6, 24, 0, 0, 0}, {2001, 5, 7, 0, 0, 0, 2}},
      {"all carry into a new year", {2001, 12, 31, 23, 59, 60, 0}, {2002, 1, 1, 0, 0, 0, 3}},
      {"month 13", {2001, 13, 6, 0, 0, 0, 0}, {2002, 1, 6, 0, 0, 0, 1}},
      {"month 25", {2001, 25, 6, 0, 0, 0, 0}, {2003, 1, 6, 0, 0, 0, 2}},
      {"29 February of a leap year", {2000, 2, 29, 0, 0, 0, 0}, {2000, 2, 29, 0, 0, 0, 3}},
      {"29 February of another", {1999, 2, 29, 0, 0, 0, 0}, {1999, 3, 1, 0, 0, 0, 2}},
      {"30 February", {1999, 2, 30, 0, 0, 0, 0}, {1999, 3, 2, 0, 0, 0, 3}},
      {"30 February of a leap year", {2000, 2, 30, 0, 0, 0, 0}, {2000, 3, 1, 0, 0, 0, 4}},
      {"a day that moves on twice", {2001, 1, 62, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"hours of years", {2001, 1, 1, 65535, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"day 0", {2001, 1, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"month 0", {2001, 0, 1, 25, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"day 65535 and a carry", {2001, 1, 65535, 24, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"year 65535 and a carry", {65535, 13, 1, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"before 1904", {1903, 12, 31, 23, 59, 59, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"before the system's calendar", {1600, 12, 31, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0}},
      {"a carry into 1904", {1903, 12, 31, 24, 0, 0, 0}, {1904, 1, 1, 0, 0, 0, 6}},
      {"the last second", {2040, 2, 6, 6, 28, 15, 0}, {2040, 2, 6, 6, 28, 15, 2}},
      {"one later", {2040, 2, 6, 6, 28, 16, 0}, {0, 0, 0, 0, 0, 0xFFFF, 0}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    uint32_t time = 1;
    const bool good = ZRDateToTime(row.in, &time);
    EXPECT_EQ(good, row.out.year != 0);
    if (good) {
      EXPECT_TRUE(Expected(time) == row.out);
    } else {
      EXPECT_EQ(time, row.out.second == 0 ? 0 : 0xFFFFFFFF);
    }
  }
}

}  // namespace
