// Mail address cleaning: one address as a user or another program wrote it, reduced to the bare
// address and, when asked for, the display name around it.
//
//   char clean[256], name[64];
//   if (ZRCleanAddress("\"Ann Lee\" <ann@example.com>", clean, sizeof clean, name, sizeof name))
//     ...  // "ann@example.com" and "Ann Lee"
//
// What is read, besides mailbox@domain: display names, angle brackets, comments in parentheses,
// quoted local parts, source routes (cut away), the domain forms #number and [a.b.c.d]. A text
// without '@' gives its last word, or what stands in its angle brackets. The domain is labels of
// letters, digits, '-' and '_'; a mailbox ends at any byte that is not plain ASCII. What stands on
// the two sides of the address must belong together: '<' with '>', blanks, twice the same
// character, or nothing.
//
// Of several bracketed addresses in one text the first that has exactly one '@' is taken.
//
// Diagnostics: lines of level 4 (5 for a source route) through app/leveled_log.h, so none is
// written by default. Cost: linear in the text, no allocation. Threads: any.
#pragma once

#include <cstdint>

// Returns 1 for success, else 0. The address is NUL-terminated and is only read.
//
// `output` (output_size bytes, terminator included) receives the address. It may be the address's
// own buffer: then the address's first 255 bytes are taken, and no display name is produced.
// `display_name` (display_name_size bytes) may be null or its size 0; the name is cut to fit, first
// to 255 bytes.
//
// After failure the buffers hold whatever was written before it was found, perhaps a part of an
// address; they are not to be used. An address longer than the output fails, it is never cut.
// Without an address or room for an output (null, size 0) nothing is written or logged.
int ZRCleanAddress(const char* address, char* output, uint32_t output_size, char* display_name,
                   uint32_t display_name_size);
