// Single characters of code-page strings: how many bytes they have, without ever reading behind
// the string.
//
//   for (const char* p = s; !CPIsTerminator(p, cp); p += CPCharSizeOrOne(p, cp)) ...
//
// 20000 means the default code page. Threads: any; no state.
#pragma once

#include <cstdint>

#include "text/code_pages.h"

constexpr uint32_t kMostCharacterBytes = 7;

// Bytes of the character at p when at most `available` bytes may be read; 0 when it is incomplete
// or invalid, `available` is 0 or p is null.
//
// A NUL is never part of a longer character (it is no UTF-8 continuation byte and no trail byte),
// so in a text that ends in one the default for `available` reads nothing behind it.
uint32_t CPCharSize(const char* p, CodePage cp, uint32_t available = kMostCharacterBytes);

// The same with 1 in place of 0, so that a walk always advances; 0 only for a null p.
uint32_t CPCharSizeOrOne(const char* p, CodePage cp, uint32_t available = kMostCharacterBytes);

// True when all bytes of the character at p are zero; false for a null p.
bool CPIsTerminator(const char* p, CodePage cp);

// 1 to 6 for a valid UTF-8 sequence (the older six-byte form is accepted; overlong forms and
// surrogates are not checked) that lies within `available` bytes, else 0.
uint32_t UTF8SequenceLength(const char* p, uint32_t available);

// Checks a fragment that continues one with `pending` continuation bytes outstanding; length 0
// means up to the first NUL. Returns the continuation bytes expected after it, or -1 when the
// fragment is invalid, the buffer null or `pending` negative.
//
//   F0 9F | 98 80   the first fragment gives 2, the second (with pending 2) gives 0
int UTF8PendingCount(const char* buffer, uint32_t length, int pending);

namespace qv {

// True when the `available` bytes at p begin a character that continues behind them.
bool IsCutCharacter(const char* p, CodePage cp, uint32_t available);

}  // namespace qv
