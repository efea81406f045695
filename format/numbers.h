// Numbers as people read them: with a unit letter, in groups of three digits, in hexadecimal.
//
//   Str255 text;
//   ZRFormatCount(1500000, false, text);            // "1.5M"
//   ZRFormatScaled(2500000, text, 3, 1000);         // appends "2.50M"
//   char grouped[qv::kGroupedSize];
//   ZRFormatGrouped(1234567, grouped);              // "1,234,567"
//
// Digits, points and letters are ASCII's, whatever the user's language. Null outputs are left out.
// Threads: any; no state.
#pragma once

#include <cstdint>

namespace qv {

constexpr uint32_t kGroupedSize = 27;  // bytes of the longest grouped number and its terminator
constexpr uint32_t kHex32Size = 9;     // eight digits and a terminator
constexpr uint32_t kCountSize = 10;    // bytes of the longest count, with its length byte

// What ZRFormatScaled does differently; any other style is plain.
constexpr int32_t kThreeDigits = 3, kSmallerUnit = 4;

}  // namespace qv

// Makes a length-prefixed text of at most kCountSize bytes: the number as it is up to 1000, else in
// thousands "K", millions "M", 10^9 "G" or 10^12 "T", cut to whole ones; below ten of them with one
// digit behind the point, unless it is 0. With `in_thousands` the value counts thousands: no letter
// becomes "K", "K" becomes "M" and so on up to "P". A unit reaches up to a thousand of it: 1000 is
// "1000", 1001 is "1K", a million is "1000K".
void ZRFormatCount(uint64_t value, bool in_thousands, uint8_t* text);

// Appends a value in units of `base`, its square and so on, with the letter "K", "M", "G", "T", "P"
// or "E", to a length-prefixed text, as much as fits into 255 bytes. A value below the base is
// rounded to a whole number without a letter. A value above 10^19, one that is not a number, or one
// that is not below a base of 0 or 1 appends nothing.
//
// The number times its unit is always the value. By the number's size:
//
//            below 10       below 100   below 1000   from 1000 on
//   style 3  2.50M          25.0M       250M         2500M
//   others   2.500M         25.00M      250.0M       2500M
//   style 4  in the next smaller unit (a blank below "K"): 2500K, 2500 and a blank
//
// Behind "E" there is no letter: the number grows. The square of the base is taken in 64 bits.
void ZRFormatScaled(double value, uint8_t* text, int32_t style, uint32_t base);

// Decimal with "," between groups of three digits, in kGroupedSize bytes at most.
void ZRFormatGrouped(uint64_t value, char* output);

// Eight upper-case hexadecimal digits and a terminator: kHex32Size bytes.
void ZRFormatHex32(uint32_t value, char* output);
