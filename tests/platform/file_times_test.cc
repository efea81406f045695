// Calendar fields and file times, on both platforms.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/windows_api.h"

namespace {

TEST(FileTimes, BothWays) {
  const struct {
    const char* name;
    SYSTEMTIME fields;
    uint64_t units;  // counted by another calendar
  } kRows[] = {
      {"the first", {1601, 1, 1, 1, 0, 0, 0, 0}, 0},
      {"a millisecond", {1601, 1, 1, 1, 0, 0, 0, 1}, 10000},
      {"1904", {1904, 1, 5, 1, 0, 0, 0, 0}, 95616288000000000},
      {"1970", {1970, 1, 4, 1, 0, 0, 0, 0}, 116444736000000000},
      {"a leap day", {2000, 2, 2, 29, 23, 59, 59, 0}, 125963423990000000},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    FILETIME time{};
    SYSTEMTIME back{};
    SYSTEMTIME fields = row.fields;
    fields.wDayOfWeek = 99;  // not looked at
    ASSERT_TRUE(SystemTimeToFileTime(&fields, &time));
    EXPECT_EQ(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime, row.units);
    ASSERT_TRUE(FileTimeToSystemTime(&time, &back));
    EXPECT_EQ(memcmp(&back, &row.fields, sizeof back), 0);
  }
}

// 29 February of other years is refused, too, but not by Wine.
TEST(FileTimes, WhatIsRefused) {
  const SYSTEMTIME kRows[] = {
      {1600, 12, 0, 31, 0, 0, 0, 0},  {2001, 0, 0, 1, 0, 0, 0, 0},  {2001, 13, 0, 1, 0, 0, 0, 0},
      {2001, 1, 0, 0, 0, 0, 0, 0},    {2001, 2, 0, 30, 0, 0, 0, 0}, {2001, 4, 0, 31, 0, 0, 0, 0},
      {2001, 1, 0, 1, 24, 0, 0, 0},   {2001, 1, 0, 1, 0, 60, 0, 0}, {2001, 1, 0, 1, 0, 0, 60, 0},
      {2001, 1, 0, 1, 0, 0, 0, 1000},
  };
  for (const SYSTEMTIME& row : kRows) {
    FILETIME time{};
    EXPECT_FALSE(SystemTimeToFileTime(&row, &time)) << &row - kRows;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  }
  const FILETIME late = {0, 0x80000000};
  SYSTEMTIME fields{};
  EXPECT_FALSE(FileTimeToSystemTime(&late, &fields));
}

}  // namespace
