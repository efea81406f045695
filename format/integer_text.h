// Integers out of text, in bases 2 to 64.
//
//   const char* end;
//   int64_t size = ZRParseInt64("0x1F KB", 0, &end, 0);       // 31, end at the blank
//   uint64_t id = ZRParseUInt64("BAz", 0, nullptr, 64);       // 4147
//
// Base 0: "0x" or "0X" selects 16, another leading '0' selects 8, else it is 10; the prefix is
// passed over. Base 16 passes over "0x" and "0X" too. A prefix counts only where it and the text
// have two characters at least. Digits up to base 36: '0' to '9', then letters of either case. From
// base 37 on those of Base64: 'A' to 'Z', 'a' to 'z', '0' to '9', '+', '/'.
//
// Reading ends at the terminator, at the limit (of all characters, '-' and prefix among them; 0: no
// limit) or at the first character that is no digit of the base. Blanks are not passed over. Larger
// values are cut to 64 bits. *end (null: not wanted) is where reading ended: behind a '-' or a
// prefix also when no digit follows.
//
// Errors: a null text, or a base below 0 or above 64, gives 0 and *end = text. In base 1 only '0'
// is a digit. Threads: any; no state.
#pragma once

#include <cstdint>

// One '-' may come first.
int64_t ZRParseInt64(const char* text, uint32_t limit, const char** end, int32_t base);
int64_t ZRParseInt64(const char* text, const char** end, int32_t base);

// Without a sign.
uint64_t ZRParseUInt64(const char* text, uint32_t limit, const char** end, int32_t base);
uint64_t ZRParseUInt64(const char* text, const char** end, int32_t base);
