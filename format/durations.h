// Durations as people read them, in words that the resources hold and translations replace.
//
//   char text[64];
//   uint32_t bytes = ZRFormatDuration(93784, text, sizeof text, qv::kLongDuration,
//                                     qv::kAllDurationFields);
//   // "1 day 2 hours 3 minutes 4 seconds", without a terminator
//
//   style        93784 s                              entries
//   1 long       1 day 2 hours 3 minutes 4 seconds    1, 4, 7, 10, 13
//   0 short      1 d 2 h 3 mins 4 secs                2, 5, 8, 11, 14
//   3 clock      02:03:04                             16
//   any other    1 d 02:03:04                         3, 6, 9, 12, 15
//
// The words are entries of string list 143, of list 147 where the value is 1. Each is a text with
// one number ("%ld", "%02ld"; entry 16 has three): its conversions "d" and "u", with zeros, width
// and "l", take the number, "%%" is "%", and everything else stands as it is written, so that no
// text of a resource can do harm. An entry that is not there counts as empty.
//
// A duration of 0 has no text, and its buffer stays as it is. Threads: as the resource chain.
// Errors: none; what does not fit is cut at a whole character of UTF-8.
#pragma once

#include <cstdint>

namespace qv {

constexpr int32_t kShortDuration = 0, kLongDuration = 1, kMixedDuration = 2, kClockDuration = 3;

// Which units a duration is split into; what is left over without the seconds is dropped.
constexpr uint32_t kWeeksField = 1, kDaysField = 2, kHoursField = 4, kMinutesField = 8,
                   kSecondsField = 16, kAllDurationFields = 31;

constexpr int32_t kDurationList = 143, kSingleDurationList = 147;

}  // namespace qv

// Makes the length-prefixed text of one unit, in a Str255 that is empty before. `list` is 147 for a
// value of 1, else 143; `form` is 1 long, 2 short, 3 the third form, whatever the unit; `unit` is
// "weeks", "days", "hours", "minutes" or "seconds", which tells the unit; `zero` is 0.
using ZRDurationUnitHook = void (*)(uint8_t* text, int32_t list, int32_t form, int32_t zero,
                                    const char* unit, uint32_t value);

// Writes at most `size` bytes without a terminator and returns how many. When a duration that is
// not 0 has no text, 0, and the first byte of a buffer that has one becomes 0.
//
// The units that `fields` names are split off from the largest down, then written in that order:
// those that are not 0, and in the third form hours, minutes and seconds always. The clock form
// shows hours, minutes and seconds only, whatever was split off above them. Each text begins with a
// blank, of which the first is dropped. With a hook (null: none) the words come from it, but for
// the clock form.
uint32_t ZRFormatDuration(uint32_t seconds, char* buffer, uint32_t size, int32_t style,
                          uint32_t fields, ZRDurationUnitHook hook = nullptr);

// The same into a Str255; returns the bytes behind its length byte.
uint32_t ZRFormatDurationLStr(uint32_t seconds, uint8_t* text, int32_t style, uint32_t fields,
                              ZRDurationUnitHook hook = nullptr);
