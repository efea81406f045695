// Clock times as people type them: "9:30", "9.30p", "21:30".
//
//   Str255 text = ...;                                        // "9:30p"
//   int32_t hours, minutes;
//   switch (ZRParseClockTime(text, &hours, &minutes, true, qv::kReadClockTime, 7)) {
//     case qv::kClockRewritten: ...                           // "9:30 PM", 21 and 30
//
// Texts are length-prefixed, in a Str255, and ASCII letters count. Hours are leading digits,
// minutes the digits behind a ':' or '.' that follows; then comes, anywhere, an 'A' or 'P', with or
// without an 'M'.
//
//   12-hour clock   without a letter the time is in the afternoon, unless the hours are 0, or from
//                   the threshold to 11: with 7, 8:00 is in the morning and 3:00 is not.
//                   Hours from 13 on are afternoon; "AM" makes them invalid. 0:00 is invalid.
//                   Behind the letter nothing but its 'M' may stand.
//   24-hour clock   letters are taken where they come first behind the minutes, and what follows
//                   them is ignored. 0:00 is valid.
//
// The clock is that of the user's locale, asked for once: a 24-hour one when its time format has an
// 'H'. SetClockHours chooses another one.
//
// Taken here: a null text is "no text" and an empty one invalid; a text without digits is no 0:00;
// on the 24-hour clock times are written without seconds, whatever the locale, and as "9:30" when
// the system does not write them.
// Threads: any; SetClockHours before others read or write.
#pragma once

#include <cstdint>

namespace qv {

enum ClockTextResult : int {
  kClockInvalid = 0,
  kNoClockText = 1,
  kClockRewritten = 2,
  kClockValid = 3,  // and left as it was, but for what ZRParseClockTime says
};

constexpr int32_t kReadClockTime = -1;  // in place of seconds

enum class ClockHours { kOfLocale, kTwelve, kTwentyFour };
void SetClockHours(ClockHours hours);
bool Has24HourClock();

// The locale is asked again.
void ResetClockTimeForTest();

}  // namespace qv

// Reads a clock time (`seconds` negative). Hours (0 to 23) and minutes are 0 when it is invalid.
// Lower-case letters among the first 19 bytes become upper case, whatever the result. Then:
//
//   12-hour clock   with `reformat` a text that was changed or can be written better becomes
//                   "9:30 AM", "12:05 AM", "9:30 PM" or "12:05 PM", and the result says so
//   24-hour clock   every valid text becomes what the locale's format says, such as "09:30"; the
//                   result says so only with `reformat`
//
// With `seconds` (from midnight on) the text becomes that time, and the result is always
// kClockRewritten.
int ZRParseClockTime(uint8_t* text, int32_t* hours, int32_t* minutes, bool reformat,
                     int32_t seconds, int32_t afternoon_threshold);

// Finds a clock time at the beginning of a text, which has to begin with a digit, and reads it as
// above without changing the text. Returns the place behind it, inside the text or at its end; null
// and hours and minutes of 0 when there is none.
//
// The time goes on over digits, ':', '.' and blanks, the first 'A' or 'P' and an 'M' right behind
// that. It ends before any other character, and behind a whole "AM" or "PM" before a digit or a
// blank. Where a letter turns out to begin a word ("9:30 apples") the time ends before it. Blanks
// at the end are no part of it.
const uint8_t* ZRFindClockTime(const uint8_t* text, int32_t* hours, int32_t* minutes,
                               int32_t afternoon_threshold);
