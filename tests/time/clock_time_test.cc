#include "time/clock_time.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "text/length_prefixed.h"

namespace {

using qv::ClockHours;

class ClockTime : public testing::Test {
 protected:
  ~ClockTime() override { qv::ResetClockTimeForTest(); }
};

// "RESULT HOURS:MINUTES TEXT" of what a call gives.
std::string Parse(const std::string& text, bool reformat, int32_t seconds, int32_t threshold) {
  Str255 buffer;
  qv::CStrToLStr(buffer, kMostLStr, text.c_str());
  int32_t hours = -1, minutes = -1;
  const int result = ZRParseClockTime(buffer, &hours, &minutes, reformat, seconds, threshold);
  const std::string after(buffer + 1, buffer + 1 + buffer[0]);
  return std::to_string(result) + " " + std::to_string(hours) + ":" + std::to_string(minutes) +
         " " + after;
}

struct ReadRow {
  const char* in;
  const char *reformatted, *left;  // with and without reformat
};

void CheckRows(const ReadRow* rows, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    SCOPED_TRACE(rows[i].in);
    EXPECT_EQ(Parse(rows[i].in, true, qv::kReadClockTime, 7), rows[i].reformatted);
    EXPECT_EQ(Parse(rows[i].in, false, qv::kReadClockTime, 7), rows[i].left);
  }
}

TEST_F(ClockTime, ReadsTheTwelveHourClock) {
  qv::SetClockHours(ClockHours::kTwelve);
  const ReadRow kRows[] = {
      {"9:30p", "2 21:30 9:30 PM", "3 21:30 9:30P"},
      {"9:30 PM", "3 21:30 9:30 PM", "3 21:30 9:30 PM"},
      {"12:05a", "2 0:5 12:05 AM", "3 0:5 12:05A"},
      {"0:05 AM", "2 0:5 12:05 AM", "3 0:5 0:05 AM"},
      {"0:05", "2 0:5 12:05 AM", "3 0:5 0:05"},
      {"0:05 PM", "2 12:5 12:05 PM", "3 12:5 0:05 PM"},
      {"12:05", "2 12:5 12:05 PM", "3 12:5 12:05"},
      {"12:05 AM", "3 0:5 12:05 AM", "3 0:5 12:05 AM"},
      {"13:15", "2 13:15 1:15 PM", "3 13:15 13:15"},
      {"13:15 PM", "2 13:15 1:15 PM", "3 13:15 13:15 PM"},
      {"13:15 AM", "0 0:0 13:15 AM", "0 0:0 13:15 AM"},
      {"9.45", "2 9:45 9:45 AM", "3 9:45 9.45"},
      {"7:00", "2 7:0 7:00 AM", "3 7:0 7:00"},
      {"6:59", "2 18:59 6:59 PM", "3 18:59 6:59"},
      {"8", "2 8:0 8:00 AM", "3 8:0 8"},
      {"9:5", "2 9:5 9:05 AM", "3 9:5 9:5"},
      {"9 o'clock p", "2 21:0 9:00 PM", "3 21:0 9 O'CLOCK P"},
      {"9:30 xam", "2 9:30 9:30 AM", "3 9:30 9:30 XAM"},
      {"9:30 px", "0 0:0 9:30 PX", "0 0:0 9:30 PX"},
      {"9:30 pm ", "0 0:0 9:30 PM ", "0 0:0 9:30 PM "},
      {":30 a", "2 0:30 12:30 AM", "3 0:30 :30 A"},
      {"0:00", "0 0:0 0:00", "0 0:0 0:00"},
      {"am", "0 0:0 AM", "0 0:0 AM"},
      {"24:00", "0 0:0 24:00", "0 0:0 24:00"},
      {"9:60", "0 0:0 9:60", "0 0:0 9:60"},
      {"99999999999999999999:0", "0 0:0 99999999999999999999:0", "0 0:0 99999999999999999999:0"},
      {"9:30             pmx", "0 0:0 9:30             PMx", "0 0:0 9:30             PMx"},
      {"9:30              p", "2 21:30 9:30 PM", "3 21:30 9:30              P"},
      // Letters behind the 19th byte are no capitals, so no letters of a time.
      {"9:30               p", "2 9:30 9:30 AM", "3 9:30 9:30               p"},
      {"", "0 0:0 ", "0 0:0 "},
  };
  CheckRows(kRows, std::size(kRows));
}

TEST_F(ClockTime, ReadsTheTwentyFourHourClock) {
  qv::SetClockHours(ClockHours::kTwentyFour);
  const ReadRow kRows[] = {
      {"9.5p", "2 21:5 21:05", "3 21:5 21:05"},
      {"12:05 am", "2 0:5 0:05", "3 0:5 0:05"},
      {"0:00", "2 0:0 0:00", "3 0:0 0:00"},
      {"0", "2 0:0 0:00", "3 0:0 0:00"},
      {"13 pm", "2 13:0 13:00", "3 13:0 13:00"},
      {"9 pomegranates", "2 21:0 21:00", "3 21:0 21:00"},
      {"x", "0 0:0 X", "0 0:0 X"},
      {"24:00", "0 0:0 24:00", "0 0:0 24:00"},
  };
  CheckRows(kRows, std::size(kRows));
}

TEST_F(ClockTime, WritesSeconds) {
  const struct {
    int32_t seconds;
    const char *twelve, *twenty_four;
  } kRows[] = {
      {0, "2 0:0 12:00 AM", "2 0:0 0:00"},          {59, "2 0:0 12:00 AM", "2 0:0 0:00"},
      {34200, "2 9:30 9:30 AM", "2 9:30 9:30"},     {43200, "2 12:0 12:00 PM", "2 12:0 12:00"},
      {86399, "2 23:59 11:59 PM", "2 23:59 23:59"}, {90000, "2 25:0 13:00 PM", "2 25:0 25:00"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.seconds);
    qv::SetClockHours(ClockHours::kTwelve);
    EXPECT_EQ(Parse("", false, row.seconds, 7), row.twelve);
    qv::SetClockHours(ClockHours::kTwentyFour);
    EXPECT_EQ(Parse("what stood there", true, row.seconds, 7), row.twenty_four);
  }
  int32_t hours = -1, minutes = -1;
  EXPECT_EQ(ZRParseClockTime(nullptr, &hours, &minutes, true, 5, 7), qv::kNoClockText);
  EXPECT_EQ(hours + minutes, 0);
}

TEST_F(ClockTime, IsFoundInAText) {
  qv::SetClockHours(ClockHours::kTwelve);
  const struct {
    const char* in;
    const char* found;  // what of the text; null: nothing
    int hours, minutes;
  } kRows[] = {
      {"9:30", "9:30", 9, 30},
      {"9:30 PM", "9:30 PM", 21, 30},
      {"9:30pm today", "9:30pm", 21, 30},
      {"9:30 p today", "9:30", 9, 30},
      {"9:30 a", "9:30 a", 9, 30},
      {"9:30 apples", "9:30", 9, 30},
      {"9:30 amber", "9:30", 9, 30},
      {"6:15 am5", "6:15", 18, 15},
      {"9:30, then", "9:30", 9, 30},
      {"9:30   ", "9:30", 9, 30},
      {"9.30 Meeting", "9.30", 9, 30},
      {"9:30 am.", nullptr, 0, 0},
      {"13 am ", nullptr, 0, 0},
      {"2001 x", nullptr, 0, 0},
      {" 9:30", nullptr, 0, 0},
      {"PM", nullptr, 0, 0},
      {"", nullptr, 0, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.in);
    Str255 text;
    qv::CStrToLStr(text, kMostLStr, row.in);
    int32_t hours = -1, minutes = -1;
    const uint8_t* end = ZRFindClockTime(text, &hours, &minutes, 7);
    ASSERT_EQ(end != nullptr, row.found != nullptr);
    EXPECT_EQ(end == nullptr ? "" : std::string(text + 1, const_cast<uint8_t*>(end)),
              row.found == nullptr ? "" : row.found);
    EXPECT_EQ(hours, row.hours);
    EXPECT_EQ(minutes, row.minutes);
    EXPECT_EQ(std::string(text + 1, text + 1 + text[0]), row.in) << "the text stays";
  }
  EXPECT_EQ(ZRFindClockTime(nullptr, nullptr, nullptr, 7), nullptr);
}

}  // namespace
