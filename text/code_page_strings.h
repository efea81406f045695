// Code-page strings: NUL-terminated bytes with a code page beside them, and the primitives that
// walk them without ever splitting a character.
//
//   char name[257];
//   CPStrNCopy(name, subject, 256, GetSystemCodePage());
//
// The terminator is one zero character of the unit width: 2 zero bytes for 1200 and 1201, 4 for
// 12000 and 12001, else 1. Code page 20000 means the current default. For code pages that are not
// character-wise each primitive is the byte routine of the C runtime named beside it.
//
// Errors: a null string does nothing and gives 0 or null. A byte that begins no valid character
// counts as one character of one byte, so every walk ends.
// Threads: no state, except CPStrTok without a context (one process-wide saved position).
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/code_pages.h"
#include "text/process_code_pages.h"

// --- Characters ---

constexpr uint32_t kMostCharacterBytes = 7;

// Bytes of the character at p when at most `available` bytes may be read; 0 when it is incomplete
// or invalid, or p is null.
uint32_t CPCharSize(const char* p, CodePage cp, uint32_t available = kMostCharacterBytes);

// The same with 1 in place of 0, so that a walk always advances; 0 only for a null p. Reads no byte
// behind a NUL that cuts the character.
uint32_t CPCharSizeOrOne(const char* p, CodePage cp, uint32_t available = kMostCharacterBytes);

// True when all bytes of the character at p are zero.
bool CPIsTerminator(const char* p, CodePage cp);

// 1 to 6 for a valid UTF-8 sequence (the older six-byte form is accepted; overlong forms and
// surrogates are not checked) that lies within `available` bytes, else 0.
uint32_t UTF8SequenceLength(const char* p, uint32_t available);

// Checks a fragment that continues one with `pending` continuation bytes outstanding; length 0
// means up to the first NUL. Returns the continuation bytes expected after it, or -1 when the
// fragment is invalid, the buffer null or `pending` negative.
int UTF8PendingCount(const char* buffer, uint32_t length, int pending);

// Compares the first characters by code point: 0 equal, 1 when a's is greater, 2 when smaller, -1
// when either cannot be converted or the converted sizes differ.
int CPCharCompare(const char* a, const char* b, CodePage cp);

// --- Strings ---

// Bytes before the terminator, in whole characters.
size_t CPStrLen(const char* s, CodePage cp);

// Appends src; returns dst. (strncat with the full length)
char* CPStrCat(char* dst, const char* src, CodePage cp);

// Appends at most `limit` bytes (0: all). Single-byte code pages: strncat, the terminator is not
// counted, so dst needs limit + 1 bytes behind its text. Character-wise: whole characters, the
// terminator counted.
char* CPStrNCat(char* dst, const char* src, uint32_t limit, CodePage cp);

// Clears dst (one terminator), then CPStrCat or CPStrNCat.
char* CPStrCopy(char* dst, const char* src, CodePage cp);
char* CPStrNCopy(char* dst, const char* src, uint32_t limit, CodePage cp);

// First and last position whose character equals the character at c. (strchr, strrchr on c's first
// byte)
const char* CPStrChr(const char* s, const char* c, CodePage cp);
const char* CPStrRChr(const char* s, const char* c, CodePage cp);

// First position in s of any character of `set`. (strpbrk)
const char* CPStrPBrk(const char* s, const char* set, CodePage cp);

// 0 when equal. Single-byte code pages pass on the sign of strncmp. Case folding is ASCII's.
int CPStrCmp(const char* a, const char* b, CodePage cp);
int CPStrICmp(const char* a, const char* b, CodePage cp);
// 0 when the first n bytes are equal; n = 0 compares all, and a string below n bytes is unequal.
int CPStrNCmp(const char* a, const char* b, uint32_t n, CodePage cp);
int CPStrNICmp(const char* a, const char* b, uint32_t n, CodePage cp);

// First occurrence of needle. (strstr; the second ignores ASCII case)
const char* CPStrStr(const char* haystack, const char* needle, CodePage cp);
const char* CPStrIStr(const char* haystack, const char* needle, CodePage cp);

// Next token as strtok: s on the first call, null afterwards. `context` keeps the position; null
// stands for one process-wide position.
char* CPStrTok(char* s, const char* delimiters, CodePage cp, char** context);

// Source counts that mean "measure with CPStrLen".
constexpr uint32_t kMeasure = 0xFFFFFFFF;
constexpr uint32_t kMeasureToo = 0xFFFFFFFE;

// Copies whole characters while they fit both counts; no terminator. On return both counts hold the
// bytes used. Returns the bytes written.
uint32_t CPCopyChars(char* dst, uint32_t* dst_bytes, const char* src, uint32_t* src_bytes,
                     CodePage cp);

// Length-prefixed strings (a length byte and up to 255 bytes): copies whole characters, at most
// min(max, 255) bytes; returns the bytes written.
uint32_t CPLStrCopy(uint8_t* dst, const uint8_t* src, uint32_t max, CodePage cp);
// Shortens in place to at most min(max, 255) bytes; returns the new length.
uint32_t CPLStrTruncate(uint8_t* str, uint32_t max, CodePage cp);

// --- Conversion ---

// Converts NUL-terminated text in place, at least one of the code pages being Unicode; every line
// end becomes CR LF; no byte-order mark. Returns the bytes of the result, terminator included. The
// buffer must hold `limit` bytes; a longer result is cut at a whole character with its terminator
// inside (for a single-byte target up to limit bytes and a NUL at limit, as CPStrNCopy does).
// Returns 0 and leaves the buffer as it was when neither is Unicode, a table is missing, or there
// is no memory for a work area (needed when limit is above 4096).
uint32_t CPConvert(char* buffer, CodePage from, CodePage to, uint32_t limit);
