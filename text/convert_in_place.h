// Conversion of a text where it lies, between any two code pages.
//
//   char name[256] = "Fran\x8Dois";                                // Mac Roman
//   ConvertTextInPlace(name, sizeof name, 10000, kUtf8);           // line ends stay
//
// The result is made in a work area: on the stack up to 4096 bytes, above that from the allocation
// hook. Threads: any, once the tables are loaded; the text is the caller's.
#pragma once

#include <cstdint>

#include "text/code_pages.h"

// Converts NUL-terminated text in place, at least one of the code pages being Unicode; every line
// end becomes CR LF; no byte-order mark. Returns the bytes of the result, terminator included. The
// buffer must hold `limit` bytes; a longer result is cut at a whole character with its terminator
// inside (for a single-byte target up to limit bytes and a NUL at limit, as CPStrNCopy does).
// Returns 0 and leaves the buffer as it was when neither is Unicode, a table is missing, or there
// is no memory for a work area (needed when limit is above 4096).
uint32_t CPConvert(char* buffer, CodePage from, CodePage to, uint32_t limit);

// Converts NUL-terminated text in place with ConvertText; line ends stay as they are. The buffer
// holds `limit` bytes, into which the result is cut at a whole character, the terminator of `to`
// inside. Returns the bytes of the result, terminator included. What ConvertText cannot convert
// stays as it is, but for its terminator. 0, and the buffer as it was, for a null text, a limit
// without room for the terminator, and without memory for a work area.
uint32_t ConvertTextInPlace(char* text, uint32_t limit, CodePage from, CodePage to);

// The same for a length-prefixed string: the whole text, as long as its length byte says, is
// converted, and the result has at most min(255, size - 1) bytes behind its length byte. Returns
// the new length; needs no memory.
uint32_t ConvertLStrInPlace(uint8_t* text, uint32_t size, CodePage from, CodePage to);
