// Where a line of East Asian text may be broken: the characters that may not end a line (opening
// brackets and quotation marks, currency signs) and those that may not begin one (closing brackets,
// punctuation, small kana).
//
//   if (qv::MayEndLine(932, before) && qv::MayBeginLine(932, after)) ...  // break between the two
//
// A character is given as its code in the page: 00XX for a single byte, else lead byte * 256 +
// trail byte. For a page without lists every character may do both.
//
// The lists are those of the module's "QVLB" resources, big-endian: a 2-byte count and that many
// 2-byte codes, twice; 932, 936, 949 and 950 have them.
// Threads: loaded before a second thread asks, then only read.
#pragma once

#include <cstdint>

#include "base/big_endian.h"
#include "text/code_pages.h"

namespace qv {

bool MayEndLine(CodePage cp, uint32_t code);
bool MayBeginLine(CodePage cp, uint32_t code);

// Takes over the lists of a page from a whole "QVLB" resource, in place of those it had; the order
// of the codes is free. kRefused, and nothing changed, when the counts do not add up to exactly the
// resource's size.
enum class LineBreakLoad { kDone, kRefused, kNoMemory };
LineBreakLoad AddLineBreakLists(CodePage cp, Bytes resource);
void ReleaseLineBreakLists();

}  // namespace qv
