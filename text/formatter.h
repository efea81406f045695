// The formatter: printf's language with the same sizes and forms on every platform.
//
//   char line[8000];
//   FormatText(line, "%#s has %lld bytes\n", name, size);
//
// Differences from the C runtime:
//   %#s            a length-prefixed string (length byte, then bytes)
//   %s             null prints "(null)", also with "#"
//   %ld %lu %lx    32 bits (an int or a long may be passed);  %lld %I64d 64 bits;
//                  %Id %zd %td the size of a pointer
//   %hd %hhd %wd %I8d %I16d   16 bits
//   %p             upper-case hexadecimal, as many digits as a pointer has
//   %e %g          exponents of two digits at least, a decimal point, "inf" and "nan", everywhere
//   %S %C          as %s and %c
//   %n             stores the bytes produced so far into an int (or the size that size letters
//                  say); prints nothing
// Size letters may stand before the width ("%l08X"). Texts are never padded with zeros. Every other
// conversion character, and a specification that the end of the format cuts off, is printed as it
// stands and takes no argument (a "*" in it does).
//
// The whole result is cut at 7999 bytes, whatever the limit and the widths. dst may also be an
// argument: the text is put together in a scratch block. Threads: any.
// Errors: without scratch memory, or without a format, dst becomes empty and 0 is returned; a null
// dst gives 0.
#pragma once

#include <cstdarg>
#include <cstdint>

constexpr uint32_t kFormatLimit = 7999;

// dst holds limit + 1 bytes. Returns the length of the text put there.
uint32_t FormatTextV(char* dst, uint32_t limit, const char* format, va_list arguments);
uint32_t FormatTextN(char* dst, uint32_t limit, const char* format, ...);
// With the limit of 7999: dst holds 8000 bytes.
uint32_t FormatText(char* dst, const char* format, ...);
uint32_t FormatTextList(char* dst, const char* format, va_list arguments);
