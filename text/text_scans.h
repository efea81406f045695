// Scans over the bytes of a text: blanks at its ends, marks around it, a character outside quotes,
// and whether it is a phone number.
//
//   char field[] = "\"Smith, J. (home)\" , next";
//   const char* comma = ZRFindUnquoted(field, ',');   // the second comma
//
// Texts are zero-terminated unless a function says otherwise. Bytes are bytes: in a double-byte
// code page the second half of a character can look like one of the marks. Whitespace is the blank
// and the control characters 0x09 to 0x0D.
//
// Errors: a null text is an empty one. Threads: any; no state.
#pragma once

#include <cstdint>

namespace qv {

constexpr bool IsWhitespace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace qv

// --- a character outside quotes ---

// The first and the last place where `character` stands outside strings in double quotes and
// comments in parentheses; null when there is none. Comments nest. A double quote begins and ends a
// string in a comment too, a parenthesis in a string is nothing; a '\' in either passes over the
// next character. What is left open goes on to the end; a ')' without a '(' is a plain character.
//
// Asked for '"' or '(', they find where a string or a comment begins outside all others; its end
// lies inside it. The terminator is never found.
const char* ZRFindUnquoted(const char* text, char character);
const char* ZRFindLastUnquoted(const char* text, char character);

// --- the ends of a text ---

// The first byte that is not whitespace; it may be the terminator. Null for null.
const char* ZRSkipSpaces(const char* text);
// Removes whitespace at the end, in place. The first character stays, whatever it is.
void ZRTrimTrailing(char* text);
// Removes the first and the last character, in place, when they are `first` and `last` and there
// are at least two characters. True when they were removed.
bool ZRStripEnclosing(char* text, char first, char last);

// --- what a text is ---

// True when a length-prefixed text has at least one digit and no other characters than digits and
// "#*+-() .x,;".
bool ZRIsPhoneNumber(const uint8_t* text);
