// Length-prefixed strings: one length byte (0 to 255) and that many bytes, no terminator.
// Resources, file names in some interfaces and several formatters speak them.
//
//   Str255 name;
//   qv::CStrToLStr(name, 63, "Quorvantis");
//   if (!qv::InsertLStr(name, 0, prefix, 63, true)) ...  // it was shortened, or refused
//   qv::LStrToCStr(text, name, sizeof text - 1);
//
// Here they are `uint8_t*`: a Str255 passes by itself, a shorter buffer too when the limit given is
// the bytes behind its length byte. Bytes are bytes: nothing here knows of code pages, so a cut can
// split a character (CPLStrCopy and CPLStrTruncate of text/code_page_strings.h do not).
//
// Limits and maxima count the bytes of a text without its length byte or terminator, and are taken
// as 0 below 0 and as 255 above, except where a function says otherwise. Positions before which
// something is inserted count from 0, positions of a run from 1. Letter case is ASCII's.
//
// Errors: a null string does nothing and gives false, -1 or an empty text. Both texts of an
// operation may be the same one. Threads: no state, except the one buffer of NthWord.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/big_endian.h"

constexpr int32_t kMostLStr = 255;  // bytes behind the length byte

using Str255 = uint8_t[kMostLStr + 1];

namespace qv {

// The bytes of a length-prefixed string; empty for null.
Bytes LStrBytes(const uint8_t* text);

// --- between the two forms ---

// In place: the bytes move up by one and the length goes before them, 255 for a longer text.
void CStrToLStrInPlace(uint8_t* text);
// In place: the bytes move down by one and a terminator goes behind them.
void LStrToCStrInPlace(uint8_t* text);

// Copies at most `limit` bytes of a zero-terminated text. A null source is an empty text.
void CStrToLStr(uint8_t* out, int32_t limit, const char* text);
// Copies at most `limit` bytes and a terminator, so `out` holds limit + 1 bytes (256 without one).
// A null source is an empty text.
void LStrToCStr(char* out, const uint8_t* text, int32_t limit = kMostLStr);
// From bytes and a count, which is clamped to 0 and to the limit. Null bytes are none.
void SetLStr(uint8_t* out, int32_t limit, const void* bytes, int32_t count);

// --- copying and appending ---

// The whole text when it fits, else its first `limit` bytes.
void CopyLStr(uint8_t* out, const uint8_t* text, int32_t limit);

// Appends as much of `text` as fits into `limit` bytes in all; never shortens `out`.
void AppendLStr(uint8_t* out, const uint8_t* text, int32_t limit);

// Appends into a whole Str255. When the sum passes 255, the length becomes 255 and the whole of
// `text` ends at byte 255, over the last bytes of what stood there: the end (a suffix, a name at
// the end of a path) is what must survive.
void AppendLStrToEnd(Str255 out, const uint8_t* text);

// Zero-terminated: appends as much of `text` as fits. The limit counts the whole destination, its
// terminator too, so sizeof is the right value; it may pass 255. What stood there is never
// shortened; without a terminator inside the limit nothing is written.
void AppendCStr(char* out, const char* text, size_t limit);

// --- inserting and deleting ---

// Inserts before `position` (below 0: at the front). False, nothing done, when the position lies
// past the end or the string already has `maximum` bytes.
bool InsertChar(uint8_t* text, int32_t position, uint8_t c, int32_t maximum);

// Inserts a string before `position` (below 0: at the front). False, nothing done, when the
// position lies past the end. When the whole does not fit into `limit` bytes the result is false
// too: with `cut` as much of `inserted` as fits was inserted, without it nothing.
bool InsertLStr(uint8_t* text, int32_t position, const uint8_t* inserted, int32_t limit, bool cut);

// Deletes `count` bytes from the position on (1 is the first; less counts as 1), as many as there
// are. A count below 1 deletes nothing.
void DeleteRun(uint8_t* text, int32_t position, int32_t count);

// --- comparing and finding ---

bool EqualLStr(const uint8_t* a, const uint8_t* b);
bool EqualLStrIgnoringCase(const uint8_t* a, const uint8_t* b);
// -1, 0 or 1, by byte values (in upper case); of two strings that agree the shorter is the less.
// Null comes before every string.
int CompareLStr(const uint8_t* a, const uint8_t* b);
int CompareLStrIgnoringCase(const uint8_t* a, const uint8_t* b);

// True when the zero-terminated text begins with the prefix; an empty prefix always matches.
bool HasPrefix(const char* text, const char* prefix, bool ignore_case);

// Offset of the first match of `wanted` in the bytes, letter case ignored; -1 when there is none.
// An empty string matches at 0.
int32_t FindLStr(Bytes bytes, const uint8_t* wanted);

// --- changing characters in place ---

void UpperCaseLStr(uint8_t* text);
void UpperCaseCStr(char* text);
void RemoveBlanks(uint8_t* text);  // 0x20 only

// Each byte that stands in `from` becomes the byte at the same place in `to`; the first place
// counts. A byte without a partner in a shorter `to` stays.
void TranslateLStr(uint8_t* text, const uint8_t* from, const uint8_t* to);

// The n-th word (0 is the first) of a zero-terminated text, words being parted by runs of blanks;
// empty when there is none. It lies in one buffer of the process until the next call, at most 255
// bytes of it: one thread only.
const char* NthWord(const char* text, int32_t n);

}  // namespace qv
