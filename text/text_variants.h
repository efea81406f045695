// One text out of a string that holds several: fields, and within a field variants for platforms.
//
//   fields   := field { ";" field }
//   field    := plain text [ "$" anything ]  |  { "$" letter text }
//
//   "Quit"                      plain
//   "$mQuit$wE&xit"             variant w is "E&xit", variant m "Quit"
//   "Open;$wOpen file$mOpen..." field 0 is plain, field 1 has two variants
//
// Threads: no state.
#pragma once

#include <cstdint>

constexpr char kWindowsVariant = 'w';

// Reduces a length-prefixed string in place to the text of one of its fields, for the variant
// `letter` (0: kWindowsVariant). Only its first `maximum` bytes are looked at. A field that begins
// with anything but "$" is plain text, the same for every letter; "$" ends it. "$" and a letter
// begin a variant, which the next "$" or the field's end ends; the first variant of the letter
// counts, and the letter is not part of it. With `strip` every "&" of the text is left out.
//
// Returns whether a text was selected. It may be empty only as a variant ("$w$mQuit"): an empty
// field holds no text. Null, a maximum below 1 and a field that is not there give false and leave
// the string as it is; a field without a fitting text gives false and leaves it empty. A field
// number below 0 counts as 0.
bool ZRSelectVariant(uint8_t* text, int32_t maximum, int32_t field, bool strip,
                     char letter = kWindowsVariant);
