// The built-in tables of code page 20005: ASCII, to which letters come without their accents.
#pragma once

#include <vector>

#include "base/big_endian.h"

namespace qv {

// Bodies of kind 0 and of kind 8000. Western letters, quotation marks and dashes have a plain
// letter or sign; bytes from 80 on have no character.
std::vector<uint8_t> PlainAsciiToUnicode();
std::vector<uint8_t> PlainAsciiFromUnicode();

}  // namespace qv
