// Delivery of text out of resources: from the source's code page into a caller's buffer.
//
// Bytes are copied when either code page is kNoConversion or both are the same, else converted with
// line ends left as they are. What does not fit is cut, at a whole character where the code page is
// known. A conversion without a table, or one of which nothing fits, fails: false, an empty text.
// `text` may not lie in the buffer.
#pragma once

#include <cstdint>

#include "base/big_endian.h"
#include "text/code_pages.h"

namespace qv {

// Into a length-prefixed string of at most `maximum` bytes (0 to 255) behind the length byte.
bool DeliverLStr(Bytes text, CodePage from, uint8_t* out, int32_t maximum, CodePage to);

// Makes a buffer of `size` bytes an empty text of the code page; false, and nothing written, when
// it does not hold the terminator.
bool BeginCString(char* out, int32_t size, CodePage cp);
// Into a buffer that BeginCString has accepted, with the terminator of the code page behind.
bool DeliverCString(Bytes text, CodePage from, char* out, int32_t size, CodePage to);

// Bytes of the terminator of text asked for in that code page.
int32_t TerminatorSize(CodePage cp);

}  // namespace qv
