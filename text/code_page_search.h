// Searching and comparing code-page strings; the companion of text/code_page_strings.h.
//
// Errors: a null string gives null. Comparisons: two nulls are equal, one is not. ASCII letters are
// the only ones whose case can be ignored, and only where they have one byte (not in UTF-16 and
// UTF-32).
#pragma once

#include <cstdint>

#include "text/characters.h"

// First and last position whose character equals the character at c. (strchr, strrchr on c's first
// byte, which find the terminator; the character walk does not)
const char* CPStrChr(const char* s, const char* c, CodePage cp);
const char* CPStrRChr(const char* s, const char* c, CodePage cp);

// First position in s of any character of `set`. (strpbrk)
const char* CPStrPBrk(const char* s, const char* set, CodePage cp);

// 0 when equal. Single-byte code pages pass on the sign of strcmp; elsewhere it says nothing.
int CPStrCmp(const char* a, const char* b, CodePage cp);
int CPStrICmp(const char* a, const char* b, CodePage cp);
// 0 when the first n bytes are equal; n = 0 compares all, and a string below n bytes is unequal.
int CPStrNCmp(const char* a, const char* b, uint32_t n, CodePage cp);
int CPStrNICmp(const char* a, const char* b, uint32_t n, CodePage cp);

// First occurrence of needle; an empty one is found at the start. (strstr; the second ignores ASCII
// case)
const char* CPStrStr(const char* haystack, const char* needle, CodePage cp);
const char* CPStrIStr(const char* haystack, const char* needle, CodePage cp);

// Next token as strtok, or null: s on the first call, null afterwards. `context` keeps the
// position; null stands for one process-wide position, which one thread may use at a time. The
// token's terminator is written over the delimiter behind it.
//
//   char* at = nullptr;
//   for (char* t = CPStrTok(text, ";", cp, &at); t; t = CPStrTok(nullptr, ";", cp, &at)) ...
char* CPStrTok(char* s, const char* delimiters, CodePage cp, char** context);
