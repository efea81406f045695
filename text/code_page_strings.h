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

#include "text/characters.h"
#include "text/code_page_search.h"
#include "text/code_pages.h"
#include "text/convert_in_place.h"
#include "text/process_code_pages.h"

// Compares the first characters by code point: 0 equal, 1 when a's is greater, 2 when smaller, -1
// when either cannot be converted or the converted sizes differ. A surrogate pair is one character.
int CPCharCompare(const char* a, const char* b, CodePage cp);

// Bytes before the terminator, in whole characters.
size_t CPStrLen(const char* s, CodePage cp);

// Appends src; returns dst. (strncat with the full length) Texts may overlap.
char* CPStrCat(char* dst, const char* src, CodePage cp);

// Appends at most `limit` bytes (0: all). Single-byte code pages: strncat, the terminator is not
// counted, so dst needs limit + 1 bytes behind its text. Character-wise: whole characters, the
// terminator counted. A terminator is written whatever the limit, so dst always has room for one.
char* CPStrNCat(char* dst, const char* src, uint32_t limit, CodePage cp);

// Clears dst (one terminator), then CPStrCat or CPStrNCat.
char* CPStrCopy(char* dst, const char* src, CodePage cp);
char* CPStrNCopy(char* dst, const char* src, uint32_t limit, CodePage cp);

// Source counts that mean "measure with CPStrLen".
constexpr uint32_t kMeasure = 0xFFFFFFFF;
constexpr uint32_t kMeasureToo = 0xFFFFFFFE;

// Copies whole characters while they fit both counts; no terminator. A character that a counted
// source cuts stays behind, so the rest can be offered again. On return both counts hold the bytes
// used (0 after a null argument). Returns the bytes written.
uint32_t CPCopyChars(char* dst, uint32_t* dst_bytes, const char* src, uint32_t* src_bytes,
                     CodePage cp);

// Length-prefixed strings (a length byte and up to 255 bytes): copies whole characters, at most
// min(max, 255) bytes; returns the bytes written.
uint32_t CPLStrCopy(uint8_t* dst, const uint8_t* src, uint32_t max, CodePage cp);
// Shortens in place to at most min(max, 255) bytes; returns the new length.
uint32_t CPLStrTruncate(uint8_t* str, uint32_t max, CodePage cp);
