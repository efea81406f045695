// The bytes of a string list ("STR#"): a big-endian 16-bit count, then length-prefixed strings.
//
//   00 02  02 'O' 'K'  06 'C' 'a' 'n' 'c' 'e' 'l'
//
// The bytes may be hostile: a string that is not wholly inside them is not there.
#pragma once

#include <cstdint>
#include <optional>

#include "base/big_endian.h"

namespace qv {

// What the list says; 0 for one of less than two bytes.
int32_t CountOfList(Bytes list);

// The text of string `index` (from 1), or none.
std::optional<Bytes> StringOfList(Bytes list, int32_t index);

}  // namespace qv
