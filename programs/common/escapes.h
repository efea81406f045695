// Percent-escapes: "%" and two hexadecimal digits stand for a byte.
#pragma once

#include <string>
#include <string_view>

namespace program {

// The bytes that the escapes stand for. A "%" that begins no escape stays as it is and sets
// *damaged (which may be null and is never cleared).
std::string Unescape(std::string_view text, bool* damaged);

// Escapes, in upper case, every byte that is not kept.
std::string Escape(std::string_view text, bool (*is_kept)(unsigned char byte));

}  // namespace program
