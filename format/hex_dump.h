// Bytes in the debug output, as lines of hexadecimal numbers.
//
//   ZRHexDump("Hello\n", 6, 4, true);
//     48 65 6c 6c Hell
//     6f 0a       o.
//
// Threads: as DebugPrint; a line of up to 1000 characters is one text, longer ones are several.
#pragma once

#include <cstdint>

// `bytes_per_line` of 0 counts as 16. With `with_characters` each line ends with its bytes as
// characters, those below 0x20 as "."; bytes from 0x80 on are written as they are. Null bytes, or
// no bytes, write nothing.
void ZRHexDump(const void* bytes, uint32_t count, uint32_t bytes_per_line, bool with_characters);
