// What the converters between two code pages share: bytes mapped or copied, line ends rewritten.
#pragma once

#include <cstdint>

#include "text/code_pages.h"

namespace qv {

// Maps bytes through 256 bytes; line_ends is one of kCr, kLf, kCrLf, kKeep. A line end that does
// not fit is taken back. Returns the bytes consumed and sets *output_bytes to the bytes written.
uint32_t MapBytes(const uint8_t* map, const char* input, uint32_t input_bytes, char* output,
                  uint32_t* output_bytes, LineEndMode line_ends);

// The identity conversion of a code page: only line ends change. A double-byte character is not
// split, nor one of the ISO-2022 pages or a sequence there.
uint32_t CopyWithLineEnds(CodePage cp, const char* input, uint32_t input_bytes, char* output,
                          uint32_t* output_bytes, int line_end_mode);

}  // namespace qv
